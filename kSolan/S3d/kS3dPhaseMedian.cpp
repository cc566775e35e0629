#include <kSolan/S3d/kS3dPhaseMedian.h>
#include <kSolan/S3d/kS3dPhaseFilter.x.h>

struct kS3dPhaseMedianClass
{
    kObjectClass base;
    k32s repeat;
    k32s period; // 0: disabled
    k32s window;
    kVsJobQueue queue; // borrowed; null: passes run inline
    kSize width;       // shape of the current Run's maps
    kSize height;
    kArray2 data;    // k32s, the current Run's map (borrowed; null outside Run)
    kArray2 scratch; // k32s, copy of data that the passes read (borrowed; null outside Run)
    kSize batchSize; // lines per batch of the pass in progress
};

kDefineClass(kS3dPhaseMedian, kObject)

namespace
{
inline k32s Median3(k32s a, k32s b, k32s c) { return kMax_(kMin_(a, b), kMin_(kMax_(a, b), c)); }

inline k32s CheckPhaseLimit(k32s value, k32s reference, k32s period, k32s limit)
{
    if (period <= 0 || limit < 0) return value;

    const k64s p = period, r = reference;
    k64s v = value;

    /* Within min(limit, P − 1) of the reference neither the division nor the loops move the
       value: the common case of a correct pixel costs no division. */
    const k64s within = kMin_((k64s)limit, p - 1);
    if (v - r >= -within && v - r <= within) return value;

    v -= ((v - r) / p) * p;
    while (v - r > limit)
        v -= p;
    while (v - r < -limit)
        v += p;
    return (k32s)v;
}

/* Pixels per chunk of a line: the references of a chunk stay in the first-level cache. */
constexpr kSize kChunk = 256;

/*
 * One pass over the pixels (y, x), y in rows, x in columns, of a map `width` items wide: the
 * reference of a pixel is the cascade of three-point medians with its neighbours at
 * ±k × stride items (k = 1 … window) in scratch; the corrected value goes to data. The row
 * pass uses stride 1, the column pass stride width; the caller keeps every neighbour inside
 * the map.
 *
 * A chunk of a line is done in three sweeps that vectorise: the cascade, one k at a time;
 * invalidation and the pixels already within half a period of their reference (nearly all);
 * then, only when some are not, CheckPhaseLimit on those.
 */
void MedianBlock(const k32s* scratch, k32s* data, kSize width, xkS3dLineRange rows,
                 xkS3dLineRange columns, kSSize stride, k32s window, k32s period)
{
    const k32s limit = period / 2;
    k32s reference[kChunk];

    for (kSize y = rows.begin; y < rows.end; ++y)
    {
        for (kSize x = columns.begin; x < columns.end; x += kChunk)
        {
            const kSize count = kMin_(kChunk, columns.end - x);
            const k32s* centre = scratch + y * width + x;
            k32s* out = data + y * width + x;

            for (kSize i = 0; i < count; ++i)
                reference[i] = centre[i];
            for (kSSize k = 1; k <= window; ++k)
            {
                const k32s* before = centre - k * stride;
                const k32s* after = centre + k * stride;
#pragma omp simd
                for (kSize i = 0; i < count; ++i)
                    reference[i] = Median3(reference[i], before[i], after[i]);
            }

            k32s far = 0;
#pragma omp simd reduction(| : far)
            for (kSize i = 0; i < count; ++i)
            {
                const k32s value = out[i], m = reference[i];
                const k32s valid = (value != 0) & (m != 0);
                out[i] = value & -valid;
                far |= valid & !xkS3dPhaseFilter_IsWithin(value, m, limit);
            }
            if (!far) continue;

            for (kSize i = 0; i < count; ++i)
                if (out[i] != 0 && reference[i] != 0)
                    out[i] = CheckPhaseLimit(out[i], reference[i], period, limit);
        }
    }
}

/* Lines window + 1 … count − window − 2 of a dimension of count lines (possibly none). */
xkS3dLineRange Interior(kSize count, k32s window)
{
    const kSize border = (kSize)window + 1;
    return (count > 2 * border) ? xkS3dLineRange{border, count - border} : xkS3dLineRange{0, 0};
}

kStatus Init(kS3dPhaseMedianClass* obj, kType type, kAlloc alloc)
{
    kCheck(kObject_Init(obj, type, alloc));
    obj->repeat = 2;
    obj->period = 0;
    obj->window = 2;
    obj->queue = kNULL;
    obj->width = 0;
    obj->height = 0;
    obj->data = kNULL;
    obj->scratch = kNULL;
    obj->batchSize = 1;
    return kOK;
}

} // namespace

kStatus xkS3dPhaseMedian_VRelease(kObject filter) { return xkObject_VRelease(filter); }

/* A copy of a filter would share its borrowed queue and maps; cloning is refused instead. */
kStatus xkS3dPhaseMedian_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kSize xkS3dPhaseMedian_VSize(kObject) { return sizeof(kS3dPhaseMedianClass); }

kFx(kStatus) xxkS3dPhaseMedian_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dPhaseMedian, kObject));
    kCheck(kAddVMethod(kS3dPhaseMedian, VRelease));
    kCheck(kAddVMethod(kS3dPhaseMedian, VInitClone));
    kCheck(kAddVMethod(kS3dPhaseMedian, VSize));
    return kOK;
}

kFx(kStatus) kS3dPhaseMedian_Construct(kS3dPhaseMedian* filter, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dPhaseMedianClass* obj = kNULL;
    kStatus status;

    kCheckArgs(filter);
    *filter = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kS3dPhaseMedian), &obj));
    if (!kSuccess(status = Init(obj, kTypeOf(kS3dPhaseMedian), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *filter = obj;
    return kOK;
}

kFx(kStatus) kS3dPhaseMedian_SetRepeat(kS3dPhaseMedian filter, k32s repeat)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckArgs(repeat >= 0);
    obj->repeat = repeat;
    return kOK;
}

kFx(k32s) kS3dPhaseMedian_Repeat(kS3dPhaseMedian filter)
{
    kObjN(kS3dPhaseMedian, obj, filter);
    return obj ? obj->repeat : 0;
}

kFx(kStatus) kS3dPhaseMedian_SetPeriod(kS3dPhaseMedian filter, k32s period)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckArgs(period >= 0);
    obj->period = period;
    return kOK;
}

kFx(k32s) kS3dPhaseMedian_Period(kS3dPhaseMedian filter)
{
    kObjN(kS3dPhaseMedian, obj, filter);
    return obj ? obj->period : 0;
}

kFx(kStatus) kS3dPhaseMedian_SetWindow(kS3dPhaseMedian filter, k32s window)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckArgs(window >= 0);
    obj->window = window;
    return kOK;
}

kFx(k32s) kS3dPhaseMedian_Window(kS3dPhaseMedian filter)
{
    kObjN(kS3dPhaseMedian, obj, filter);
    return obj ? obj->window : 0;
}

kFx(kStatus) kS3dPhaseMedian_SetJobQueue(kS3dPhaseMedian filter, kVsJobQueue queue)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckArgs(!queue || kObject_Is(queue, kTypeOf(kVsJobQueue)));
    obj->queue = queue;
    return kOK;
}

kFx(kVsJobQueue) kS3dPhaseMedian_JobQueue(kS3dPhaseMedian filter)
{
    kObjN(kS3dPhaseMedian, obj, filter);
    return obj ? obj->queue : kNULL;
}

kFx(kStatus) kS3dPhaseMedian_Run(kS3dPhaseMedian filter, kArray2 data, kArray2 scratch)
{
    kObjR(kS3dPhaseMedian, filter);
    kSize rows = 0, columns = 0;
    kStatus status = kOK;

    kCheckArgs(data && scratch);
    if (obj->period == 0) return kOK;
    kCheckArgs(data != scratch);
    kCheckArgs(xkS3dPhaseFilter_IsMap(data, kTypeOf(k32s), &rows, &columns));
    kCheckArgs(xkS3dPhaseFilter_IsMapOfShape(scratch, kTypeOf(k32s), rows, columns));
    if (rows == 0 || columns == 0) return kOK;

    obj->width = columns;
    obj->height = rows;
    obj->data = data;
    obj->scratch = scratch;

    for (k32s i = 0; i < obj->repeat && kSuccess(status); ++i)
    {
        status = kS3dPhaseMedian_Row(filter);
        if (kSuccess(status)) status = kS3dPhaseMedian_Column(filter);
    }

    obj->data = kNULL;
    obj->scratch = kNULL;
    return status;
}

kFx(k32s) kS3dPhaseMedian_CheckPhaseLimit(k32s value, k32s reference, k32s period, k32s limit)
{
    return CheckPhaseLimit(value, reference, period, limit);
}

kFx(kStatus) kS3dPhaseMedian_Row(kS3dPhaseMedian filter)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckState(obj->data);
    return xkS3dPhaseFilter_RunPass(obj->queue, kS3dPhaseMedian_RowThread, obj, obj->height,
                                    &obj->batchSize);
}

kFx(kStatus) kS3dPhaseMedian_Column(kS3dPhaseMedian filter)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckState(obj->data);
    return xkS3dPhaseFilter_RunPass(obj->queue, kS3dPhaseMedian_ColumnThread, obj, obj->width,
                                    &obj->batchSize);
}

kFx(kStatus) kS3dPhaseMedian_RowThread(kPointer filter, kSize batch)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckState(obj->data);
    const xkS3dLineRange rows = xkS3dPhaseFilter_Batch(obj->batchSize, obj->height, batch);
    k32s* data = kArray2_DataT<k32s>(obj->data);
    k32s* scratch = kArray2_DataT<k32s>(obj->scratch);

    xkS3dPhaseFilter_CopyBlock(scratch, data, obj->width, rows, {0, obj->width});
    MedianBlock(scratch, data, obj->width, rows, Interior(obj->width, obj->window), 1, obj->window,
                obj->period);
    return kOK;
}

kFx(kStatus) kS3dPhaseMedian_ColumnThread(kPointer filter, kSize batch)
{
    kObjR(kS3dPhaseMedian, filter);
    kCheckState(obj->data);
    const xkS3dLineRange columns = xkS3dPhaseFilter_Batch(obj->batchSize, obj->width, batch);
    k32s* data = kArray2_DataT<k32s>(obj->data);
    k32s* scratch = kArray2_DataT<k32s>(obj->scratch);

    xkS3dPhaseFilter_CopyBlock(scratch, data, obj->width, {0, obj->height}, columns);
    MedianBlock(scratch, data, obj->width, Interior(obj->height, obj->window), columns,
                (kSSize)obj->width, obj->window, obj->period);
    return kOK;
}
