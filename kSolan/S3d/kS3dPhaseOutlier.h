/**
 * @file    kS3dPhaseOutlier.h
 * @brief   Phase outlier filter: pulls pixels that stand out from a 5 × 5 box mean towards
 *          the mean of their neighbours.
 *
 * The map holds 32-bit phase values; a `k8u` mask marks the valid pixels (non-zero). Run
 *
 * 1. keeps the input in the copy map;
 * 2. row pass: every pixel of columns 2 … width − 3 whose mask is non-zero at x − 2 … x + 2
 *    becomes the mean of those five (signed division toward zero) and its mask m becomes
 *    m + (m & 63) × 4 (modulo 256), so that a mask of 1 counts the 5 pixels averaged;
 * 3. column pass: the same down the columns, rows 2 … height − 3, on the row-pass result;
 *    a mask of 5 becomes 25, a full 5 × 5 box;
 * 4. deviation: the mean of |copy − smoothed| over the pixels whose mask is exactly 25
 *    (integer division); unchanged from the last Run when there is no such pixel;
 * 5. area: with m = max(deviation, 1) and w = max(3m − m, 1), every pixel whose mask is above
 *    1, with input o, smoothed value s, d = |o − s| and n = (s × mask − o) div (mask − 1)
 *    (the mean of the others of its box), becomes o for d ≤ m, the blend
 *    (o × (w + m − d) + n × (d − m)) div w for m < d ≤ 3m, and n beyond. Pixels with mask 0
 *    or 1 keep their input.
 *
 * The mask formula is kept as is for masks other than 0 and 1: a mask of 2 becomes 10, then
 * 50, and the area step divides by 49 for it, as the phase correction that passes such masks
 * expects. Blends are computed in 128 bits; results are taken modulo 2^32.
 *
 * The row, deviation and area steps split rows into batches on the job queue, the column pass
 * columns (so that each batch updates the mask of its own columns only); the result is the
 * same for any number of workers.
 */
#ifndef K_S3D_PHASE_OUTLIER_H
#define K_S3D_PHASE_OUTLIER_H

#include <kSolan/Vs/kVsJobQueue.h>

typedef kObject kS3dPhaseOutlier;
kDeclareClass(kS3dPhaseOutlier, kObject);

/**
 * Constructs a filter without a job queue; its mean deviation starts at 0. Cloning is not
 * offered (kSTATUS_NOT_IMPLEMENTED).
 *
 * @param filter     Receives the filter (the caller owns one reference).
 * @param allocator  Allocator of the filter and its lock (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dPhaseOutlier_Construct(kS3dPhaseOutlier* filter, kAlloc allocator);

/**
 * Sets the job queue that runs the steps' batches (borrowed; must outlive the filter's use of
 * it). Null runs them on the caller's thread.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an object that is not a kVsJobQueue.
 */
kFx(kStatus) kS3dPhaseOutlier_SetJobQueue(kS3dPhaseOutlier filter, kVsJobQueue queue);
kFx(kVsJobQueue) kS3dPhaseOutlier_JobQueue(kS3dPhaseOutlier filter);

/**
 * Filters a map in place.
 *
 * @param data     `kArray2` of `k32s` (rows × columns): the map, filtered in place.
 * @param copy     `kArray2` of `k32s`, same shape: receives the input map.
 * @param scratch  `kArray2` of `k32s`, same shape: overwritten.
 * @param mask     `kArray2` of `k8u`, same shape, non-zero for valid pixels: receives the box
 *                 counts (25 inside fully valid areas).
 * @return kOK; kSTATUS_BAD_PARAMETER for a missing map, maps of another class, item type or
 *         shape, the same map given twice, or maps the host cannot read (nothing is written
 *         then); the first failure of a batch.
 */
kFx(kStatus) kS3dPhaseOutlier_Run(kS3dPhaseOutlier filter, kArray2 data, kArray2 copy,
                                  kArray2 scratch, kArray2 mask);

/** Mean absolute deviation from the 5 × 5 box mean found by the last Run (0 before any). */
kFx(k32s) kS3dPhaseOutlier_MeanDeviation(kS3dPhaseOutlier filter);

/**
 * Steps of the current Run, in Run's order: the row pass (which first keeps the input in the
 * copy map and copies it to the scratch map), the column pass (which first copies the row-pass
 * result to the scratch map), the deviation and the area step. Each returns kOK,
 * kSTATUS_BAD_STATE outside Run, or the first failure of a batch.
 */
kFx(kStatus) kS3dPhaseOutlier_Row(kS3dPhaseOutlier filter);
kFx(kStatus) kS3dPhaseOutlier_Column(kS3dPhaseOutlier filter);
kFx(kStatus) kS3dPhaseOutlier_Deviation(kS3dPhaseOutlier filter);
kFx(kStatus) kS3dPhaseOutlier_Area(kS3dPhaseOutlier filter);

/**
 * One batch of a step (kVsJobFx: context is the filter, index the batch; rows, or columns for
 * the column pass).
 *
 * @return kOK (also for a batch past the last line); kSTATUS_BAD_STATE outside Run.
 */
kFx(kStatus) kS3dPhaseOutlier_RowThread(kPointer filter, kSize batch);
kFx(kStatus) kS3dPhaseOutlier_ColumnThread(kPointer filter, kSize batch);
kFx(kStatus) kS3dPhaseOutlier_DeviationThread(kPointer filter, kSize batch);
kFx(kStatus) kS3dPhaseOutlier_AreaThread(kPointer filter, kSize batch);

#endif
