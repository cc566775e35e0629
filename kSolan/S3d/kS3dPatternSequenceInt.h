/**
 * @file    kS3dPatternSequenceInt.h
 * @brief   Pattern sequence rendered in integers, without a brightness profile.
 *
 * The same blocks and row layout as `kS3dPatternSequence` (see kS3dPatternSequence.h), with
 * integer levels from the 8-bit intensity I8 = truncate(intensity × 255):
 * - reference frame i of n: i × (I8 div (n − 1)) (integer division first), I8 >> 1 when n = 1;
 * - stripe frame i: W = (unsigned period × 2^n) mod 65536, shifted right by i; the column is
 *   bright (I8) when ((W >> 1) + x) div W is odd, dark when even or when W is 0. The 16-bit
 *   wrap of W is kept on purpose;
 * - phase frame i: truncate(255 × intensity × (cos(2π (x + 0.5) / p + step i) + 1) / 2 + 0.5).
 */
#ifndef K_S3D_PATTERN_SEQUENCE_INT_H
#define K_S3D_PATTERN_SEQUENCE_INT_H

#include <kSolan/S3d/kS3dPatternSequence.h>

typedef kObject kS3dPatternSequenceInt;
kDeclareClass(kS3dPatternSequenceInt, kObject);

/** Constructs an empty sequence of width projector columns, intensity 1.0 (I8 = 255). */
kFx(kStatus) kS3dPatternSequenceInt_Construct(kS3dPatternSequenceInt* sequence, kSize width,
                                              kAlloc allocator);

kFx(kStatus)
    kS3dPatternSequenceInt_SetupStripePhase(kS3dPatternSequenceInt sequence, kSize referenceCount,
                                            kSize stripeCount, kSize phaseCount, k64f period);
kFx(kStatus)
    kS3dPatternSequenceInt_SetupEmbeddedPhase(kS3dPatternSequenceInt sequence, const k64f* periods,
                                              const kSize* counts, kSize count);
kFx(kSize) kS3dPatternSequenceInt_ImageCount(kS3dPatternSequenceInt sequence);

/** As kS3dPatternSequence_Render, in integers. */
kFx(kStatus) kS3dPatternSequenceInt_Render(kS3dPatternSequenceInt sequence, kArray2* output);

kFx(kSize) kS3dPatternSequenceInt_Width(kS3dPatternSequenceInt sequence);

/** Sets the intensity in (0, 1] and I8 = truncate(intensity × 255); outside: kSTATUS_BAD_PARAMETER.
 */
kFx(kStatus) kS3dPatternSequenceInt_SetIntensity(kS3dPatternSequenceInt sequence, k64f intensity);
kFx(k64f) kS3dPatternSequenceInt_Intensity(kS3dPatternSequenceInt sequence);

/** Accepted and does nothing (kept as a placeholder of the interface). */
kFx(kStatus) kS3dPatternSequenceInt_SaveCSV(kS3dPatternSequenceInt sequence, const kChar* path);

kFx(kStatus) xkS3dPatternSequenceInt_AddReference(kS3dPatternSequenceInt sequence, kSize count);
kFx(kStatus)
    xkS3dPatternSequenceInt_AddStripe(kS3dPatternSequenceInt sequence, k64f period, kSize count);
kFx(kStatus)
    xkS3dPatternSequenceInt_AddPhase(kS3dPatternSequenceInt sequence, k64f period, kSize count);

#endif
