/*
 * Private to the phase median and phase outlier filters: the map checks of their Run and the
 * batches their passes run in.
 *
 * A pass over count lines (rows or columns) runs in batches of (count div workers) + 1 lines,
 * so that there are at most as many batches as workers; without a job queue the batches run
 * inline, in order, on the caller's thread. A batch first copies the part of the map that it
 * will read into the shared scratch map, then reads only that part and writes lines of its
 * own: the result does not depend on the number of workers, and the copies run in parallel
 * too.
 */
#ifndef K_S3D_PHASE_FILTER_X_H
#define K_S3D_PHASE_FILTER_X_H

#include <kSolan/Vs/kVsJobQueue.h>

/** Lines [begin, end) of one batch. */
struct xkS3dLineRange
{
    kSize begin;
    kSize end;
};

/** Lines of batch index; empty past the last batch. */
inline xkS3dLineRange xkS3dPhaseFilter_Batch(kSize batchSize, kSize count, kSize index)
{
    kSize begin = kMin_(index * batchSize, count);
    return {begin, kMin_(begin + batchSize, count)};
}

/**
 * Runs job(context, i) for every batch i of a pass over count lines on queue (null: inline).
 * The batch size is stored in *batchSize before the first job runs, for the jobs to find
 * their lines with xkS3dPhaseFilter_Batch.
 *
 * @return kOK; else the first failure of a batch.
 */
inline kStatus xkS3dPhaseFilter_RunPass(kVsJobQueue queue, kVsJobFx job, kPointer context,
                                        kSize count, kSize* batchSize)
{
    const kSize workers = queue ? kMax_(kVsJobQueue_ThreadCount(queue), (kSize)1) : 1;
    *batchSize = count / workers + 1;
    const kSize batches = (count + *batchSize - 1) / *batchSize;
    if (queue) return kVsJobQueue_RunIndexedBatch(queue, job, context, batches);

    for (kSize i = 0; i < batches; ++i)
        kCheck(job(context, i));
    return kOK;
}

/** Copies the items (y, x), y in rows, x in columns, of a map `width` items wide. */
inline void xkS3dPhaseFilter_CopyBlock(k32s* destination, const k32s* source, kSize width,
                                       xkS3dLineRange rows, xkS3dLineRange columns)
{
    if (columns.begin >= columns.end) return;
    for (kSize y = rows.begin; y < rows.end; ++y)
        kMemCopy(destination + y * width + columns.begin, source + y * width + columns.begin,
                 (columns.end - columns.begin) * sizeof(k32s));
}

/**
 * 1 when a − b, taken exactly, lies within ±limit (limit ≥ 0), else 0. In 32-bit arithmetic
 * and without branches, so that loops over pixels vectorise; a difference that wraps is never
 * within.
 */
inline k32s xkS3dPhaseFilter_IsWithin(k32s a, k32s b, k32s limit)
{
    const k32s difference = (k32s)((k32u)a - (k32u)b);
    const k32s wrapped = ((a ^ b) & (a ^ difference)) < 0;
    return !wrapped & (difference >= -limit) & (difference <= limit);
}

/** True for a host-readable kArray2 of itemType; rows and columns receive its shape. */
inline kBool xkS3dPhaseFilter_IsMap(kArray2 map, kType itemType, kSize* rows, kSize* columns)
{
    if (!kObject_Is(map, kTypeOf(kArray2)) || kArray2_ItemType(map) != itemType) return kFALSE;
    *rows = kArray2_Length(map, 0);
    *columns = kArray2_Length(map, 1);
    return kArray2_Count(map) == 0 || kArray2_At(map, 0, 0) != kNULL;
}

/** True for a host-readable kArray2 of itemType with rows × columns items. */
inline kBool xkS3dPhaseFilter_IsMapOfShape(kArray2 map, kType itemType, kSize rows, kSize columns)
{
    kSize r = 0, c = 0;
    return xkS3dPhaseFilter_IsMap(map, itemType, &r, &c) && r == rows && c == columns;
}

#endif
