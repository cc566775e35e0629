/**
 * @file    kS3dPatternSequence.h
 * @brief   Pattern sequences: the one-dimensional projector patterns of a structured-light scan.
 *
 * A sequence is a list of blocks: reference (flat) frames, Gray-coded stripe frames and
 * phase-shifted sinusoidal fringe frames. Rendering gives an 8-bit `kArray2` with one row per
 * projected frame and one column per projector column (the projector repeats a row over its
 * height). This class renders in floating point and shapes every row by a brightness profile
 * that is `uniformity` at the centre column and 1 at the edges (1.0: flat), to compensate the
 * projector's fall-off; `kS3dPatternSequenceInt` renders in integers without the profile.
 *
 * Block rows, for column x, intensity I, profile f(x), all values truncate(… + 0.5):
 * - reference, n frames: frame i at level i × I / (n − 1) (I / 2 when n = 1): 255 f(x) level;
 * - stripe, n frames of period p: frame i is bit n − 1 − i of the reflected Gray code of the
 *   period index x div p (most significant first), 255 f(x) I for a 1, 0 for a 0;
 * - phase, n frames of period p: 255 f(x) I (cos(2π (x + 0.5) / p + step i) + 1) / 2 with the
 *   steps of kS3dEncodingMath_PhaseSteps (2π i / n; compressed for n ≤ 3).
 */
#ifndef K_S3D_PATTERN_SEQUENCE_H
#define K_S3D_PATTERN_SEQUENCE_H

#include <kSolan/kSolanDef.h>

/** Block types. */
#define kS3D_PATTERN_BLOCK_REFERENCE (1) ///< Flat frames from black to the intensity.
#define kS3D_PATTERN_BLOCK_STRIPE (2)    ///< Gray-coded stripe frames.
#define kS3D_PATTERN_BLOCK_PHASE (3)     ///< Phase-shifted sinusoidal fringe frames.

/** One block of a pattern sequence (registered value; fields in this order). */
typedef struct kS3dPatternBlock
{
    kSize type;  ///< kS3D_PATTERN_BLOCK_REFERENCE, _STRIPE or _PHASE.
    kSize count; ///< Frames in the block.
    k64f period; ///< Fringe period in projector columns (stripe and phase); 0 for reference.
} kS3dPatternBlock;
kDeclareValue(kS3dPatternBlock);

/** Fills a block. */
kFx(kStatus) kS3dPatternBlock_Init(kS3dPatternBlock* block, kSize type, kSize count, k64f period);

typedef kObject kS3dPatternSequence;
kDeclareClass(kS3dPatternSequence, kObject);

/**
 * Constructs an empty sequence, intensity 1.0, uniformity 1.0.
 *
 * @param sequence   Receives the sequence (the caller owns one reference).
 * @param width      Projector width in columns.
 * @param allocator  Allocator of the sequence and of what Render returns (null: application).
 */
kFx(kStatus)
    kS3dPatternSequence_Construct(kS3dPatternSequence* sequence, kSize width, kAlloc allocator);

/** Clears the blocks, then adds a reference, a stripe and a phase block (the last two of one
 * period). */
kFx(kStatus)
    kS3dPatternSequence_SetupStripePhase(kS3dPatternSequence sequence, kSize referenceCount,
                                         kSize stripeCount, kSize phaseCount, k64f period);

/** Clears the blocks, then adds count phase blocks: periods[i] with counts[i] frames. */
kFx(kStatus)
    kS3dPatternSequence_SetupEmbeddedPhase(kS3dPatternSequence sequence, const k64f* periods,
                                           const kSize* counts, kSize count);

/** Clears the blocks, adds a phase block (firstPeriod, firstCount), then count phase blocks. */
kFx(kStatus) kS3dPatternSequence_SetupPhaseEPS(kS3dPatternSequence sequence, kSize firstCount,
                                               const k64f* periods, const kSize* counts,
                                               kSize count, k64f firstPeriod);

/** Number of frames: the sum of the block counts. */
kFx(kSize) kS3dPatternSequence_ImageCount(kS3dPatternSequence sequence);

/**
 * Renders every block into a new `kArray2` of `k8u`, ImageCount rows × width columns, from
 * the sequence's allocator.
 *
 * @param output  Receives the array (the caller owns it); untouched on failure.
 * @return kOK; kSTATUS_BAD_PARAMETER for a phase block of more than 30 frames or a stripe or
 *         phase block whose period is not positive;
 *         kSTATUS_FAILED (0) for a block of unknown type; allocation failures.
 */
kFx(kStatus) kS3dPatternSequence_Render(kS3dPatternSequence sequence, kArray2* output);

kFx(kSize) kS3dPatternSequence_Width(kS3dPatternSequence sequence);

/** Peak brightness as a fraction, in (0, 1]; outside: kSTATUS_BAD_PARAMETER, unchanged. */
kFx(kStatus) kS3dPatternSequence_SetIntensity(kS3dPatternSequence sequence, k64f intensity);
kFx(k64f) kS3dPatternSequence_Intensity(kS3dPatternSequence sequence);

/** Brightness of the centre column relative to the edges, in (0, 1]; outside:
 * kSTATUS_BAD_PARAMETER. */
kFx(kStatus) kS3dPatternSequence_SetUniformity(kS3dPatternSequence sequence, k64f uniformity);
kFx(k64f) kS3dPatternSequence_Uniformity(kS3dPatternSequence sequence);

#endif
