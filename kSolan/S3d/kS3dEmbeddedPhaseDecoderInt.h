/**
 * @file    kS3dEmbeddedPhaseDecoderInt.h
 * @brief   Embedded phase decoder in integer arithmetic.
 *
 * Decodes the same sequences into the same outputs as kS3dEmbeddedPhaseDecoder (see there for
 * the method, the orientation, the Kuwahara filter and the conventions), with integers
 * throughout, as a camera's decoder computes them:
 * - the shift matrix is the camera's 32-bit form, truncate(M × 2^20)
 *   (kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s);
 * - a frame adds p × entry to 32-bit sums (kS3dEmbeddedPhaseDecoderInt_MatrixMul_32s_8u);
 * - the arctangent is a table of 65537 angles in 1/65536 turn, indexed by the 16-bit quotient
 *   of the smaller sum magnitude by the larger;
 * - maps hold phases in 16.16 fixed point (65536 = one period, k32S_NULL invalid) and orders
 *   as whole numbers; the ramp correction is ±6554 (0.1 period), ratios of periods are 16.16.
 * Results agree with the float decoder within a few 1/65536 of a period in phase; the order
 * may differ only where the float decoder's order is itself on a knife edge. Recorded
 * phase-array states hold `k32s` maps.
 */
#ifndef K_S3D_EMBEDDED_PHASE_DECODER_INT_H
#define K_S3D_EMBEDDED_PHASE_DECODER_INT_H

#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.h>

typedef kObject kS3dEmbeddedPhaseDecoderInt;
kDeclareClass(kS3dEmbeddedPhaseDecoderInt, kObject);

/** Constructs a decoder with the defaults of kS3dEmbeddedPhaseDecoder_Construct. */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoderInt_Construct(kS3dEmbeddedPhaseDecoderInt* decoder, kAlloc allocator);

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetImageSize(kS3dEmbeddedPhaseDecoderInt decoder,
                                                      kSize width, kSize height);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_ImageSize(kS3dEmbeddedPhaseDecoderInt decoder,
                                                   kSize* width, kSize* height);
kFx(kStatus)
    kS3dEmbeddedPhaseDecoderInt_SetPhasePeriod(kS3dEmbeddedPhaseDecoderInt decoder, kSize period);
kFx(kSize) kS3dEmbeddedPhaseDecoderInt_PhasePeriod(kS3dEmbeddedPhaseDecoderInt decoder);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetContrastThreshold(kS3dEmbeddedPhaseDecoderInt decoder,
                                                              kSize threshold);
kFx(kSize) kS3dEmbeddedPhaseDecoderInt_ContrastThreshold(kS3dEmbeddedPhaseDecoderInt decoder);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetOrientation(kS3dEmbeddedPhaseDecoderInt decoder,
                                                        k32s orientation);
kFx(k32s) kS3dEmbeddedPhaseDecoderInt_Orientation(kS3dEmbeddedPhaseDecoderInt decoder);
kFx(kStatus)
    kS3dEmbeddedPhaseDecoderInt_SetJobQueue(kS3dEmbeddedPhaseDecoderInt decoder, kVsJobQueue queue);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetSequenceInfo(kS3dEmbeddedPhaseDecoderInt decoder,
                                                         const k64f* coefficients,
                                                         const kSize* stepCounts, kSize count);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SequenceInfo(kS3dEmbeddedPhaseDecoderInt decoder,
                                                      k64f* coefficients, kSize* stepCounts,
                                                      kSize capacity, kSize* count);
kFx(kSize) kS3dEmbeddedPhaseDecoderInt_SequenceLength(kS3dEmbeddedPhaseDecoderInt decoder);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Setup(kS3dEmbeddedPhaseDecoderInt decoder);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Begin(kS3dEmbeddedPhaseDecoderInt decoder, kArray2 codeMap,
                                               kArray2 phaseMap);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Update(kS3dEmbeddedPhaseDecoderInt decoder, kImage image);
kFx(kBool) kS3dEmbeddedPhaseDecoderInt_IsComplete(kS3dEmbeddedPhaseDecoderInt decoder);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetPhaseArrayStates(kS3dEmbeddedPhaseDecoderInt decoder,
                                                             kSize index, kArrayList list);

/*
 * The map steps of kS3dEmbeddedPhaseDecoder (SubtractPhase, SubtractPhaseBase, BaseRamp,
 * Unwrap) on `kArray2`s of `k32s` in 16.16 periods (orders as whole numbers), k32S_NULL invalid.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SubtractPhase(kArray2 a, kArray2 b);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SubtractPhaseBase(kArray2 a, kArray2 b, k32s orientation);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_BaseRamp(k64f pa, kArray2 a, k64f pb, kArray2 b);
kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Unwrap(k64f pa, kArray2 a, k64f pb, kArray2 b);

/**
 * One frame of one frequency into 32-bit sums: pairs[2i] = p a, pairs[2i + 1] = p b for the
 * first frame of a sequence, += afterwards (p = pixels[i], a and b the frame's entries of the
 * 32-bit shift matrix).
 */
kFx(void) kS3dEmbeddedPhaseDecoderInt_MatrixMul_32s_8u(k32s* pairs, const k8u* pixels, kSize count,
                                                       k32s a, k32s b, kBool first);

#endif
