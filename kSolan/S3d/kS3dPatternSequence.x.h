/*
 * Private to the pattern sequence classes: block appenders and the phase steps that both
 * renderers (and the tests) share.
 */
#ifndef K_S3D_PATTERN_SEQUENCE_X_H
#define K_S3D_PATTERN_SEQUENCE_X_H

#include <kSolan/S3d/kS3dPatternSequence.h>

/** Phase blocks of more frames than this are refused by the renderers. */
#define xkS3D_PATTERN_MAX_PHASE_STEPS (30)

/** Appends one block to a block list (kArrayList of kS3dPatternBlock). */
kStatus xkS3dPatternBlocks_Add(kArrayList blocks, kSize type, kSize count, k64f period);

/** Clears a block list and adds count phase blocks (periods[i], counts[i]). */
kStatus xkS3dPatternBlocks_SetupPhases(kArrayList blocks, const k64f* periods, const kSize* counts,
                                       kSize count);

/** Sum of the block counts of a list. */
kSize xkS3dPatternBlocks_ImageCount(kArrayList blocks);

/**
 * Renders a block list into a new k8u map (image count × width rows), block after block:
 * renderBlock(block, rows) writes block.count rows starting at rows.
 */
template <typename RenderBlock>
kStatus xkS3dPatternBlocks_Render(kArrayList blocks, kSize width, kAlloc alloc,
                                  const RenderBlock& renderBlock, kArray2* output)
{
    kCheckArgs(output);
    kArray2 map = kNULL;
    kStatus status;

    kTest(kArray2_Construct(&map, kTypeOf(k8u), xkS3dPatternBlocks_ImageCount(blocks), width,
                            alloc));
    {
        k8u* rows = kArray2_DataT<k8u>(map);
        for (kSize i = 0; i < kArrayList_Count(blocks); ++i)
        {
            const kS3dPatternBlock* block =
                static_cast<const kS3dPatternBlock*>(kArrayList_At(blocks, i));
            kTest(renderBlock(*block, rows));
            rows += block->count * width;
        }
    }
    *output = map;
    return kOK;
cleanup:
    kObject_Dispose(map);
    return status;
}

/**
 * Shift trim of a phase block: (2π / count) / 3 for count ≤ 3, else 0. Short blocks shift by
 * less than 2π / count on purpose: 3-frame blocks step by 16π/27, not 2π/3.
 */
kFx(k64f) kS3dEncodingMath_PhaseStepsTrim(kSize count);

/**
 * Phase steps of a block: step i = i × (2π − trim) / count, i = 0 … count − 1.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when count exceeds capacity.
 */
kFx(kStatus) kS3dEncodingMath_PhaseSteps(kSize count, k64f trim, k64f* steps, kSize capacity);

kFx(kStatus) xkS3dPatternSequence_AddReference(kS3dPatternSequence sequence, kSize count);
kFx(kStatus) xkS3dPatternSequence_AddStripe(kS3dPatternSequence sequence, k64f period, kSize count);
kFx(kStatus) xkS3dPatternSequence_AddPhase(kS3dPatternSequence sequence, k64f period, kSize count);

#endif
