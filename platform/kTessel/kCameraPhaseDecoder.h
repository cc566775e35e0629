/**
 * @file    kCameraPhaseDecoder.h
 * @brief   kCameraPhaseDecoder: the camera extension that decodes fringe and stripe patterns
 *          into phase on the camera itself.
 *
 * Added with kCamera_AddExtension(camera, kTypeOf(kCameraPhaseDecoder), &decoder). Each setter
 * records "<operation> <c> <value>" on the node, <c> being the camera's index; the embedded
 * period setter records "<operation> <c> <index> <period>".
 */
#ifndef K_TESSEL_CAMERA_PHASE_DECODER_H
#define K_TESSEL_CAMERA_PHASE_DECODER_H

#include <kTessel/kCameraExt.h>

typedef kCameraExt kCameraPhaseDecoder;
kDeclareClass(kCameraPhaseDecoder, kCameraExt);

/** Highest table id plus one (kCameraPhaseDecoder_WriteLut). */
#define kCAMERA_PHASE_DECODER_LUT_CAPACITY (16)
/** Embedded-phase frequencies the decoder handles. */
#define kCAMERA_PHASE_DECODER_EPS_CAPACITY (8)

/** Phase-shift frames per sequence. */
kFx(kStatus) kCameraPhaseDecoder_SetPhaseCount(kCameraPhaseDecoder decoder, k32u count);
kFx(kStatus) kCameraPhaseDecoder_SetPhasePeriod(kCameraPhaseDecoder decoder, k32u period);
/** Contrast below which a stripe bit is invalid. */
kFx(kStatus) kCameraPhaseDecoder_SetStripeThreshold(kCameraPhaseDecoder decoder, k32u threshold);
/** Contrast below which a phase is invalid. */
kFx(kStatus) kCameraPhaseDecoder_SetPhaseThreshold(kCameraPhaseDecoder decoder, k32u threshold);
/** Output format of the decoded phase. */
kFx(kStatus) kCameraPhaseDecoder_SetFormat(kCameraPhaseDecoder decoder, k32u format);
kFx(kStatus) kCameraPhaseDecoder_SetSubframeCount(kCameraPhaseDecoder decoder, k32u count);
kFx(kStatus) kCameraPhaseDecoder_SetPhasePrediction(kCameraPhaseDecoder decoder, k32u prediction);
/** Embedded-phase frequencies. */
kFx(kStatus) kCameraPhaseDecoder_SetEpsFrequencyCount(kCameraPhaseDecoder decoder, k32u count);
/** Phase steps of the first embedded-phase frequency. */
kFx(kStatus) kCameraPhaseDecoder_SetEpsF1PhaseCount(kCameraPhaseDecoder decoder, k32u count);
/** Cumulative period of embedded-phase frequency index; kSTATUS_BAD_PARAMETER for index >= 8. */
kFx(kStatus)
    kCameraPhaseDecoder_SetEpsEmbeddedPeriod(kCameraPhaseDecoder decoder, k32u index, k32u period);

/**
 * Loads one of the decoder's tables (1 stripe code, 2 sine, 4 cosine, 8 embedded-phase shift
 * matrix). "kCameraPhaseDecoder_WriteLut <c> <id> <item count>".
 *
 * @param table  kArray1 or kArray2 of values (copied).
 * @return kOK; kSTATUS_BAD_PARAMETER for an id >= 16 or a table that is not such an array.
 */
kFx(kStatus) kCameraPhaseDecoder_WriteLut(kCameraPhaseDecoder decoder, k32u id, kObject table);

/** Copy of the last table written under id (borrowed), or null. */
kFx(kObject) kCameraPhaseDecoder_Lut(kCameraPhaseDecoder decoder, k32u id);

#endif
