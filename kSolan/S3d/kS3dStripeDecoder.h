/**
 * @file    kS3dStripeDecoder.h
 * @brief   Stripe decoder: Gray-coded stripe frames to a map of fringe period indices.
 *
 * The projector shows n Gray-code stripe frames (frame 0 carries the most significant bit)
 * and a reference frame at half intensity. Each stripe frame is compared with the reference:
 * a pixel at least T grey levels brighter is a 1 bit, at least T darker a 0 bit, anything in
 * between leaves the pixel undecided (code 255). A saturated pixel (255) counts as bright on
 * purpose, so that saturation does not make pixels undecided; in the frame that completes the
 * sequence only when it is not below the reference. The completed map holds, per pixel, the
 * period index 0 … 2^n − 1 (the binary value of the Gray code) or 255. Together with a phase
 * map (kS3dPhaseDecoder) it gives the absolute phase code × P + (P − phase).
 *
 * Usage: construct; set the image size and stripe count; Begin with a code map (`kArray2` of
 * `k8u`, height × width); UpdateReferenceImage; UpdateStripeImage once per stripe frame in any
 * order; the map is final when kS3dStripeDecoder_IsComplete says so.
 */
#ifndef K_S3D_STRIPE_DECODER_H
#define K_S3D_STRIPE_DECODER_H

#include <kSolan/kSolanDef.h>

/** Code of a pixel whose stripes could not be told apart. */
#define kS3D_STRIPE_CODE_NULL (255)

/** Binary value of an n-bit reflected Gray code: v ^= v >> s for s = 1, 2, 4, … below n. */
kFx(k32u) kS3dGrayCode_ToBinary(k32u gray, kSize bits);

typedef kObject kS3dStripeDecoder;
kDeclareClass(kS3dStripeDecoder, kObject);

/**
 * Constructs a decoder with defaults: 1 × 1 images, one stripe frame, contrast threshold 10.
 *
 * @param decoder    Receives the decoder (the caller owns one reference).
 * @param allocator  Allocator of the decoder and what it owns (null: application allocator).
 */
kFx(kStatus) kS3dStripeDecoder_Construct(kS3dStripeDecoder* decoder, kAlloc allocator);

/** Sets the frame size; takes effect at the next Setup or Begin. */
kFx(kStatus) kS3dStripeDecoder_SetImageSize(kS3dStripeDecoder decoder, kSize width, kSize height);
kFx(kStatus) kS3dStripeDecoder_ImageSize(kS3dStripeDecoder decoder, kSize* width, kSize* height);

/**
 * Sets the number n of stripe frames.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (unchanged) outside 1 … 8: codes are 8-bit.
 */
kFx(kStatus) kS3dStripeDecoder_SetStripeImageCount(kS3dStripeDecoder decoder, kSize count);
kFx(kSize) kS3dStripeDecoder_StripeImageCount(kS3dStripeDecoder decoder);

/** Grey levels a stripe pixel must differ from the reference by to count as a bit. */
kFx(kStatus) kS3dStripeDecoder_SetContrastThreshold(kS3dStripeDecoder decoder, kSize threshold);
kFx(kSize) kS3dStripeDecoder_ContrastThreshold(kS3dStripeDecoder decoder);

/** Builds the Gray-to-binary table and the reference image for the current settings. */
kFx(kStatus) kS3dStripeDecoder_Setup(kS3dStripeDecoder decoder);

/**
 * Starts a sequence that writes into codeMap.
 *
 * @param codeMap  `kArray2` of `k8u`, height × width (borrowed; must outlive the sequence).
 * @return kOK; kSTATUS_BAD_PARAMETER for a map of another kind or shape; allocation failures.
 */
kFx(kStatus) kS3dStripeDecoder_Begin(kS3dStripeDecoder decoder, kArray2 codeMap);

/**
 * Copies the reference (half-intensity) frame.
 *
 * @param image  `k8u` frame of the configured size, unpadded rows (borrowed).
 * @return kOK; kSTATUS_BAD_PARAMETER for a wrong pixel type, size or stride;
 *         kSTATUS_BAD_STATE before Begin.
 */
kFx(kStatus) kS3dStripeDecoder_UpdateReferenceImage(kS3dStripeDecoder decoder, kImage image);

/**
 * Adds stripe frame index (0 … n − 1; frame 0 is the most significant bit). The frame that
 * completes the sequence turns the Gray codes into period indices.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a wrong index, pixel type, size or stride;
 *         kSTATUS_BAD_STATE before Begin, after the sequence is complete, or when the size or
 *         count changed since Begin. A refused frame changes nothing.
 */
kFx(kStatus)
    kS3dStripeDecoder_UpdateStripeImage(kS3dStripeDecoder decoder, kSize index, kImage image);

/** True when all n stripe frames of the current sequence have arrived. */
kFx(kBool) kS3dStripeDecoder_IsComplete(kS3dStripeDecoder decoder);

#endif
