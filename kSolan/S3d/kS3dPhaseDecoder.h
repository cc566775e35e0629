/**
 * @file    kS3dPhaseDecoder.h
 * @brief   Phase decoder: N phase-shifted fringe frames to one phase map, plus phase map helpers.
 *
 * The projector shows a sinusoidal fringe shifted by one N-th of a period from frame to
 * frame. The decoder takes the camera frames one at a time, in any order, and keeps per-pixel
 * running sums (12 bytes a pixel); the frame that completes the sequence writes, for every
 * pixel, a `kPhasePixel`: contrast (max − min of the samples), mean intensity and the phase
 * in units of the phase period P (0 … P − 1; k16S_NULL where the contrast does not exceed the
 * threshold). The phase runs against the projector column: a fringe cos(2π u / p + 2π i / N)
 * decodes to P · (1 − frac(u / p)).
 *
 * Two arctangents: the default table method is integer only (one division and one read of a
 * 65537-entry table per pixel); the exact method rounds atan2 in double precision. They agree
 * within one unit where the sums are large, and differ on purpose where both sums are below
 * 4096 in magnitude: the table method then reports k16S_NULL.
 *
 * Usage: construct; set the image size, image count (3 … 31) and phase period; Begin with an
 * output `kArray2` of `kPhasePixel` (height × width); Update once per frame; the output is
 * complete when kS3dPhaseDecoder_IsComplete says so. Begin again for the next sequence.
 *
 * GPU: constructed with the GPU requested and a CUDA device present, the frames are processed
 * on the decoder's stream (asynchronously: synchronise the stream before reading the output),
 * and only with the exact arctangent. Without a device the decoder silently uses the host.
 */
#ifndef K_S3D_PHASE_DECODER_H
#define K_S3D_PHASE_DECODER_H

#include <kSolan/kSolanDef.h>
#include <kTessel/kCudaStream.h>

typedef kObject kS3dPhaseDecoder;
kDeclareClass(kS3dPhaseDecoder, kObject);

/**
 * Constructs a host decoder with defaults: 1 × 1 images, image count 1 (set it before use),
 * contrast threshold 10, phase period 1, table arctangent.
 *
 * @param decoder    Receives the decoder (the caller owns one reference).
 * @param allocator  Allocator of the decoder and everything it owns (null: application).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dPhaseDecoder_Construct(kS3dPhaseDecoder* decoder, kAlloc allocator);

/**
 * Constructs a decoder that runs on the GPU when enableCuda is set and a CUDA device is
 * present (the accumulators then live in device memory); otherwise on the host.
 */
kFx(kStatus)
    kS3dPhaseDecoder_ConstructEx(kS3dPhaseDecoder* decoder, kBool enableCuda, kAlloc allocator);

/** True when the decoder runs its GPU path. */
kFx(kBool) kS3dPhaseDecoder_CudaEnabled(kS3dPhaseDecoder decoder);

/** Sets the frame size in pixels; takes effect at the next Setup or Begin. */
kFx(kStatus) kS3dPhaseDecoder_SetImageSize(kS3dPhaseDecoder decoder, kSize width, kSize height);
kFx(kStatus) kS3dPhaseDecoder_ImageSize(kS3dPhaseDecoder decoder, kSize* width, kSize* height);

/**
 * Sets the number of frames N per sequence; frame i is shifted by 2π i / N.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (nothing changed) for fewer than 3 or more than 31 frames:
 *         the frame mask is tested in 32 bits and the 32-bit sums hold at most 31 frames.
 */
kFx(kStatus) kS3dPhaseDecoder_SetImageCount(kS3dPhaseDecoder decoder, kSize count);
kFx(kSize) kS3dPhaseDecoder_ImageCount(kS3dPhaseDecoder decoder);

/** Pixels whose contrast (max − min) is not above the threshold get phase k16S_NULL. */
kFx(kStatus) kS3dPhaseDecoder_SetContrastThreshold(kS3dPhaseDecoder decoder, k32s threshold);
kFx(k32s) kS3dPhaseDecoder_ContrastThreshold(kS3dPhaseDecoder decoder);

/**
 * Sets the phase period P: one fringe period spans phases 0 … P − 1.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (nothing changed) for 0 or above 32767, which the 16-bit
 *         phase cannot hold.
 */
kFx(kStatus) kS3dPhaseDecoder_SetPhasePeriod(kS3dPhaseDecoder decoder, k32u period);
kFx(k32u) kS3dPhaseDecoder_PhasePeriod(kS3dPhaseDecoder decoder);

/** Chooses the exact (double-precision) arctangent instead of the integer table. */
kFx(kStatus) kS3dPhaseDecoder_EnableExactArctan(kS3dPhaseDecoder decoder, kBool enabled);
kFx(kBool) kS3dPhaseDecoder_ExactArctanEnabled(kS3dPhaseDecoder decoder);

/** Stream of the GPU path (borrowed; null selects the default stream). */
kFx(kStatus) kS3dPhaseDecoder_SetCudaStream(kS3dPhaseDecoder decoder, kCudaStream stream);

/**
 * Builds the tables and the accumulators for the current settings, rebuilding only what
 * changed. Begin calls it; call it early to allocate up front.
 *
 * @return kOK; allocation failures unchanged (what was dropped is rebuilt next time).
 */
kFx(kStatus) kS3dPhaseDecoder_Setup(kS3dPhaseDecoder decoder);

/**
 * Starts a sequence that writes into output.
 *
 * @param output  `kArray2` of `kPhasePixel`, height × width (borrowed; must outlive the
 *                sequence). On the GPU path its items must be reachable by the device.
 * @return kOK; kSTATUS_BAD_PARAMETER for an output of another class, item type or shape, or
 *         not device-reachable on the GPU path; allocation failures from Setup.
 */
kFx(kStatus) kS3dPhaseDecoder_Begin(kS3dPhaseDecoder decoder, kArray2 output);

/**
 * Accumulates one frame. When it completes the sequence, the output given to Begin is written.
 *
 * @param index  Frame index, 0 … N − 1; frames may come in any order. A frame whose index is
 *               the only one received so far starts the sums again.
 * @param image  `k8u` frame of the configured size with unpadded rows (borrowed).
 * @return kOK; kSTATUS_BAD_PARAMETER for a wrong index, pixel type, size or stride;
 *         kSTATUS_BAD_STATE before Begin, after the sequence is complete, or when the size,
 *         count or period changed since Begin. A refused frame changes nothing.
 */
kFx(kStatus) kS3dPhaseDecoder_Update(kS3dPhaseDecoder decoder, kSize index, kImage image);

/** True when all N frames of the current sequence have arrived. */
kFx(kBool) kS3dPhaseDecoder_IsComplete(kS3dPhaseDecoder decoder);

/**
 * Intensity map of a phase map: intensity where the phase is valid and the intensity is not
 * zero, k16S_NULL elsewhere (a zero intensity counts as missing, on purpose).
 *
 * @param phaseMap   `kArray2` of `kPhasePixel`.
 * @param intensity  Receives a new `kArray2` of `k16s` of the same shape (caller owns it).
 * @param allocator  Allocator of the new map (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a missing output or a map of another kind.
 */
kFx(kStatus) kS3dPhaseMap_Intensity(kArray2 phaseMap, kArray2* intensity, kAlloc allocator);

/**
 * Plot of a phase map: three images of its shape (width = columns, height = rows), in this
 * order "Contrast" (`k8u`), "Intensity" (`k8u`) and "Phase" (`k16s`, the raw phase including
 * k16S_NULL), in a world from (0, 0) over the width and down the height, titled
 * "Phase Map Plot".
 *
 * @param phaseMap   `kArray2` of `kPhasePixel`.
 * @param plot       Receives a new plot (the caller owns it); untouched on failure.
 * @param allocator  Allocator of the plot and its images (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a missing output or a map of another kind; allocation
 *         failures, with nothing left behind.
 */
kFx(kStatus) kS3dPhaseMap_Plot(kArray2 phaseMap, kPlot* plot, kAlloc allocator);

/**
 * Adds every valid intensity (not k16S_NULL) to its pixel's sum and counts it; over several
 * frames sum div count is the per-pixel mean.
 *
 * @param intensity  `kArray2` of `k16s`.
 * @param sum        `kArray2` of `k32s`, same shape.
 * @param count      `kArray2` of `k32s`, same shape.
 * @return kOK; kSTATUS_BAD_PARAMETER for different shapes or item types.
 */
kFx(kStatus) kS3dIntensity_Accumulate(kArray2 intensity, kArray2 sum, kArray2 count);

#endif
