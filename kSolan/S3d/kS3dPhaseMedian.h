/**
 * @file    kS3dPhaseMedian.h
 * @brief   Phase median filter: repairs whole-period (fringe-order) errors of an unwrapped phase
 *          map.
 *
 * The map holds 32-bit unwrapped phase values; 0 marks an invalid pixel. The filter does not
 * replace values by a median: for every pixel it takes a robust local reference, a cascade of
 * three-point medians with its neighbours at distance 1 … window along the row (then the
 * column), and shifts the pixel's own value by whole periods P until it lies within P div 2 of
 * that reference. Fine phase detail is kept; only jumps of whole periods go.
 *
 *     m = v(x);  for k = 1 … window: m = median(m, v(x − k), v(x + k))
 *     v'(x) = 0 when m = 0;  CheckPhaseLimit(v(x), m, P, P div 2) otherwise
 *
 * Invalid pixels take part in the medians as the value 0, so a pixel surrounded by holes gets
 * a reference of 0 and is invalidated itself. An invalid pixel stays invalid: the filter never
 * invents phase where there was none.
 *
 * Borders: the row pass leaves the first and the last window + 1 columns of every row as they
 * are (it works on columns window + 1 … width − window − 2), the column pass likewise the
 * first and last window + 1 rows. The corners, outside both ranges, are never changed.
 *
 * Run makes `repeat` row-plus-column passes. Each pass reads a copy of the map (the scratch
 * map) and writes the data map; the row pass splits the rows into batches on the job queue,
 * the column pass the columns, and the result is the same for any number of workers.
 */
#ifndef K_S3D_PHASE_MEDIAN_H
#define K_S3D_PHASE_MEDIAN_H

#include <kSolan/Vs/kVsJobQueue.h>

typedef kObject kS3dPhaseMedian;
kDeclareClass(kS3dPhaseMedian, kObject);

/**
 * Constructs a filter with defaults: repeat 2, period 0 (disabled), window 2, no job queue.
 * Cloning is not offered (kSTATUS_NOT_IMPLEMENTED).
 *
 * @param filter     Receives the filter (the caller owns one reference).
 * @param allocator  Allocator of the filter (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dPhaseMedian_Construct(kS3dPhaseMedian* filter, kAlloc allocator);

/**
 * Sets how many row-plus-column passes Run makes (0: Run leaves the map as it is).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (nothing changed) for a negative count.
 */
kFx(kStatus) kS3dPhaseMedian_SetRepeat(kS3dPhaseMedian filter, k32s repeat);
kFx(k32s) kS3dPhaseMedian_Repeat(kS3dPhaseMedian filter);

/**
 * Sets the phase period P of the map, in phase units; 0 disables the filter.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (nothing changed) for a negative period.
 */
kFx(kStatus) kS3dPhaseMedian_SetPeriod(kS3dPhaseMedian filter, k32s period);
kFx(k32s) kS3dPhaseMedian_Period(kS3dPhaseMedian filter);

/**
 * Sets the number of cascaded three-point medians (neighbour distances 1 … window). Window 0
 * makes every pixel its own reference: only pixels already invalid stay invalid, nothing
 * changes.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (nothing changed) for a negative window.
 */
kFx(kStatus) kS3dPhaseMedian_SetWindow(kS3dPhaseMedian filter, k32s window);
kFx(k32s) kS3dPhaseMedian_Window(kS3dPhaseMedian filter);

/**
 * Sets the job queue that runs the passes' batches (borrowed; must outlive the filter's use
 * of it). Null runs them on the caller's thread.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an object that is not a kVsJobQueue.
 */
kFx(kStatus) kS3dPhaseMedian_SetJobQueue(kS3dPhaseMedian filter, kVsJobQueue queue);
kFx(kVsJobQueue) kS3dPhaseMedian_JobQueue(kS3dPhaseMedian filter);

/**
 * Filters a map in place.
 *
 * @param data     `kArray2` of `k32s` (rows × columns; 0 = invalid): the map, filtered in place.
 * @param scratch  `kArray2` of `k32s` of the same shape, another object: overwritten.
 * @return kOK; kSTATUS_BAD_PARAMETER for a missing map, and (with a non-zero period) for maps
 *         of another class, item type or shape, the same map twice or maps the host cannot
 *         read; nothing is written then. With period 0 Run returns kOK at once.
 */
kFx(kStatus) kS3dPhaseMedian_Run(kS3dPhaseMedian filter, kArray2 data, kArray2 scratch);

/**
 * Shifts value by whole periods towards reference: v = value − ((value − reference) div
 * period) × period (division toward zero), then while v − reference > limit subtract period,
 * and while v − reference < −limit add period. The passes use limit = period div 2.
 *
 * Computed in 64 bits; the result is taken modulo 2^32. A period ≤ 0 or a negative limit
 * returns value unchanged.
 */
kFx(k32s) kS3dPhaseMedian_CheckPhaseLimit(k32s value, k32s reference, k32s period, k32s limit);

/**
 * The row pass of the current Run, rows in batches on the job queue: copies the data map to
 * the scratch map, then reads the scratch map and writes the data map.
 *
 * @return kOK; kSTATUS_BAD_STATE outside Run; the first failure of a batch.
 */
kFx(kStatus) kS3dPhaseMedian_Row(kS3dPhaseMedian filter);

/** The column pass of the current Run, columns in batches; as kS3dPhaseMedian_Row. */
kFx(kStatus) kS3dPhaseMedian_Column(kS3dPhaseMedian filter);

/**
 * One batch of rows of the row pass (a kVsJobFx: context is the filter, index the batch).
 *
 * @return kOK (also for a batch past the last row); kSTATUS_BAD_STATE outside Run.
 */
kFx(kStatus) kS3dPhaseMedian_RowThread(kPointer filter, kSize batch);

/** One batch of columns of the column pass; as kS3dPhaseMedian_RowThread. */
kFx(kStatus) kS3dPhaseMedian_ColumnThread(kPointer filter, kSize batch);

#endif
