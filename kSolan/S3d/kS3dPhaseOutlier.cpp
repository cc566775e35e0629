#include <kSolan/S3d/kS3dPhaseOutlier.h>
#include <kSolan/S3d/kS3dPhaseFilter.x.h>

struct kS3dPhaseOutlierClass
{
    kObjectClass base;
    kVsJobQueue queue; // borrowed; null: steps run inline
    kSize width;       // shape of the current Run's maps
    kSize height;
    kArray2 data;    // k32s, the map (borrowed; null outside Run)
    kArray2 copy;    // k32s, the input map
    kArray2 scratch; // k32s, what the pass in progress reads
    kArray2 mask;    // k8u, validity, then box counts
    kSize batchSize; // lines per batch of the step in progress
    k32s deviation;  // mean |input − box mean| of the last Run
    kLock lock;      // guards the deviation sums
    k64s deviationSum;
    k64s deviationCount;
};

kDefineClass(kS3dPhaseOutlier, kObject)

namespace
{
/* Mask of a pixel whose full box is valid after both passes. */
constexpr k8u kFullBox = 25;

/* Sides of a box (the box is 5 taps wide). */
constexpr kSize kReach = 2;

/* Pixels per chunk of a line: the chunk's flags stay in the first-level cache. */
constexpr kSize kChunk = 256;

/*
 * One box pass over the pixels (y, x), y in rows, x in columns, of a map `width` items wide:
 * a pixel whose mask is non-zero at its four neighbours ±1, ±2 × stride items away and at
 * itself becomes the mean of those five scratch values, and counts them in its mask. The row
 * pass uses stride 1, the column pass stride width; the caller keeps every neighbour inside the
 * map.
 *
 * The mask is updated in place. Only whether a mask is zero decides a box, and counting never
 * changes that (m + 4 (m & 63) is never 0 modulo 256 for m ≠ 0), so the flags of a chunk can
 * be taken in one sweep before its pixels are updated in a second.
 */
void BoxBlock(const k32s* scratch, k32s* data, k8u* mask, kSize width, xkS3dLineRange rows,
              xkS3dLineRange columns, kSSize stride)
{
    k8u full[kChunk];

    for (kSize y = rows.begin; y < rows.end; ++y)
    {
        for (kSize x = columns.begin; x < columns.end; x += kChunk)
        {
            const kSize count = kMin_(kChunk, columns.end - x);
            const kSize first = y * width + x;
            const k8u* m = mask + first;
            const k32s* s = scratch + first;

#pragma omp simd
            for (kSize i = 0; i < count; ++i)
                full[i] = (m[i - 2 * stride] != 0) & (m[i - stride] != 0) & (m[i] != 0) &
                          (m[i + stride] != 0) & (m[i + 2 * stride] != 0);

            for (kSize i = 0; i < count; ++i)
            {
                if (!full[i]) continue;
                const k64s sum = (k64s)s[i - 2 * stride] + s[i - stride] + s[i] + s[i + stride] +
                                 s[i + 2 * stride];
                data[first + i] = (k32s)(sum / 5);
                mask[first + i] = (k8u)(mask[first + i] + (mask[first + i] & 63) * 4);
            }
        }
    }
}

/* Lines 2 … count − 3 of a dimension of count lines (possibly none). */
xkS3dLineRange Interior(kSize count)
{
    return (count > 2 * kReach) ? xkS3dLineRange{kReach, count - kReach} : xkS3dLineRange{0, 0};
}

/*
 * The area rule for a pixel that moves (box count above 1, d = |o − s| above m): input o, box
 * mean s over `count` pixels, deviation m, blend width w. Beyond 3m it takes n, the mean of the
 * others of its box; in between it blends from o towards n.
 */
k32s AreaValue(k32s o, k32s s, k8u count, k64s m, k64s w)
{
    const k64s d = (o > s) ? (k64s)o - s : (k64s)s - o;
    const k64s n = ((k64s)s * count - o) / (count - 1);
    if (d > 3 * m) return (k32s)n;

    const __int128 blend = (__int128)o * (w + m - d) + (__int128)n * (d - m);
    return (k32s)(k64s)(blend / w);
}

kStatus Init(kS3dPhaseOutlierClass* obj, kType type, kAlloc alloc)
{
    kCheck(kObject_Init(obj, type, alloc));
    obj->queue = kNULL;
    obj->width = 0;
    obj->height = 0;
    obj->data = kNULL;
    obj->copy = kNULL;
    obj->scratch = kNULL;
    obj->mask = kNULL;
    obj->batchSize = 1;
    obj->deviation = 0;
    obj->deviationSum = 0;
    obj->deviationCount = 0;
    obj->lock = kNULL;
    return kLock_Construct(&obj->lock, alloc);
}

} // namespace

kStatus xkS3dPhaseOutlier_VRelease(kObject filter)
{
    kCheck(kDestroyRef(&kCastRaw(kS3dPhaseOutlier, filter)->lock));
    return xkObject_VRelease(filter);
}

/* A copy of a filter would share its borrowed queue and maps; cloning is refused instead. */
kStatus xkS3dPhaseOutlier_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kSize xkS3dPhaseOutlier_VSize(kObject filter)
{
    return sizeof(kS3dPhaseOutlierClass) + kObject_Size(kCastRaw(kS3dPhaseOutlier, filter)->lock);
}

kFx(kStatus) xxkS3dPhaseOutlier_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dPhaseOutlier, kObject));
    kCheck(kAddVMethod(kS3dPhaseOutlier, VRelease));
    kCheck(kAddVMethod(kS3dPhaseOutlier, VInitClone));
    kCheck(kAddVMethod(kS3dPhaseOutlier, VSize));
    return kOK;
}

kFx(kStatus) kS3dPhaseOutlier_Construct(kS3dPhaseOutlier* filter, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dPhaseOutlierClass* obj = kNULL;
    kStatus status;

    kCheckArgs(filter);
    *filter = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kS3dPhaseOutlier), &obj));
    if (!kSuccess(status = Init(obj, kTypeOf(kS3dPhaseOutlier), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *filter = obj;
    return kOK;
}

kFx(kStatus) kS3dPhaseOutlier_SetJobQueue(kS3dPhaseOutlier filter, kVsJobQueue queue)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckArgs(!queue || kObject_Is(queue, kTypeOf(kVsJobQueue)));
    obj->queue = queue;
    return kOK;
}

kFx(kVsJobQueue) kS3dPhaseOutlier_JobQueue(kS3dPhaseOutlier filter)
{
    kObjN(kS3dPhaseOutlier, obj, filter);
    return obj ? obj->queue : kNULL;
}

kFx(k32s) kS3dPhaseOutlier_MeanDeviation(kS3dPhaseOutlier filter)
{
    kObjN(kS3dPhaseOutlier, obj, filter);
    return obj ? obj->deviation : 0;
}

kFx(kStatus) kS3dPhaseOutlier_Run(kS3dPhaseOutlier filter, kArray2 data, kArray2 copy,
                                  kArray2 scratch, kArray2 mask)
{
    kObjR(kS3dPhaseOutlier, filter);
    kSize rows = 0, columns = 0;
    kStatus status;

    kCheckArgs(data && copy && scratch && mask);
    kCheckArgs(data != copy && data != scratch && copy != scratch);
    kCheckArgs(xkS3dPhaseFilter_IsMap(data, kTypeOf(k32s), &rows, &columns));
    kCheckArgs(xkS3dPhaseFilter_IsMapOfShape(copy, kTypeOf(k32s), rows, columns));
    kCheckArgs(xkS3dPhaseFilter_IsMapOfShape(scratch, kTypeOf(k32s), rows, columns));
    kCheckArgs(xkS3dPhaseFilter_IsMapOfShape(mask, kTypeOf(k8u), rows, columns));
    if (rows == 0 || columns == 0) return kOK;

    obj->width = columns;
    obj->height = rows;
    obj->data = data;
    obj->copy = copy;
    obj->scratch = scratch;
    obj->mask = mask;

    kTest(kS3dPhaseOutlier_Row(filter));
    kTest(kS3dPhaseOutlier_Column(filter));
    kTest(kS3dPhaseOutlier_Deviation(filter));
    kTest(kS3dPhaseOutlier_Area(filter));

cleanup:
    obj->data = kNULL;
    obj->copy = kNULL;
    obj->scratch = kNULL;
    obj->mask = kNULL;
    return status;
}

kFx(kStatus) kS3dPhaseOutlier_Row(kS3dPhaseOutlier filter)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    return xkS3dPhaseFilter_RunPass(obj->queue, kS3dPhaseOutlier_RowThread, obj, obj->height,
                                    &obj->batchSize);
}

kFx(kStatus) kS3dPhaseOutlier_Column(kS3dPhaseOutlier filter)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    return xkS3dPhaseFilter_RunPass(obj->queue, kS3dPhaseOutlier_ColumnThread, obj, obj->width,
                                    &obj->batchSize);
}

kFx(kStatus) kS3dPhaseOutlier_Deviation(kS3dPhaseOutlier filter)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    obj->deviationSum = 0;
    obj->deviationCount = 0;
    kCheck(xkS3dPhaseFilter_RunPass(obj->queue, kS3dPhaseOutlier_DeviationThread, obj, obj->height,
                                    &obj->batchSize));
    if (obj->deviationCount > 0)
        obj->deviation = (k32s)kMin_(obj->deviationSum / obj->deviationCount, (k64s)k32S_MAX);
    return kOK;
}

kFx(kStatus) kS3dPhaseOutlier_Area(kS3dPhaseOutlier filter)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    return xkS3dPhaseFilter_RunPass(obj->queue, kS3dPhaseOutlier_AreaThread, obj, obj->height,
                                    &obj->batchSize);
}

kFx(kStatus) kS3dPhaseOutlier_RowThread(kPointer filter, kSize batch)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    const xkS3dLineRange rows = xkS3dPhaseFilter_Batch(obj->batchSize, obj->height, batch);
    const xkS3dLineRange all = {0, obj->width};
    k32s* data = kArray2_DataT<k32s>(obj->data);
    k32s* scratch = kArray2_DataT<k32s>(obj->scratch);

    xkS3dPhaseFilter_CopyBlock(kArray2_DataT<k32s>(obj->copy), data, obj->width, rows, all);
    xkS3dPhaseFilter_CopyBlock(scratch, data, obj->width, rows, all);
    BoxBlock(scratch, data, kArray2_DataT<k8u>(obj->mask), obj->width, rows, Interior(obj->width),
             1);
    return kOK;
}

kFx(kStatus) kS3dPhaseOutlier_ColumnThread(kPointer filter, kSize batch)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    const xkS3dLineRange columns = xkS3dPhaseFilter_Batch(obj->batchSize, obj->width, batch);
    k32s* data = kArray2_DataT<k32s>(obj->data);
    k32s* scratch = kArray2_DataT<k32s>(obj->scratch);

    xkS3dPhaseFilter_CopyBlock(scratch, data, obj->width, {0, obj->height}, columns);
    BoxBlock(scratch, data, kArray2_DataT<k8u>(obj->mask), obj->width, Interior(obj->height),
             columns, (kSSize)obj->width);
    return kOK;
}

kFx(kStatus) kS3dPhaseOutlier_DeviationThread(kPointer filter, kSize batch)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    const xkS3dLineRange rows = xkS3dPhaseFilter_Batch(obj->batchSize, obj->height, batch);
    const k32s* input = kArray2_DataT<k32s>(obj->copy);
    const k32s* smooth = kArray2_DataT<k32s>(obj->data);
    const k8u* mask = kArray2_DataT<k8u>(obj->mask);
    k64s sum = 0, count = 0;

    for (kSize i = rows.begin * obj->width; i < rows.end * obj->width; ++i)
    {
        if (mask[i] != kFullBox) continue;
        sum += (input[i] > smooth[i]) ? (k64s)input[i] - smooth[i] : (k64s)smooth[i] - input[i];
        ++count;
    }

    kCheck(kLock_Enter(obj->lock));
    obj->deviationSum += sum;
    obj->deviationCount += count;
    return kLock_Exit(obj->lock);
}

kFx(kStatus) kS3dPhaseOutlier_AreaThread(kPointer filter, kSize batch)
{
    kObjR(kS3dPhaseOutlier, filter);
    kCheckState(obj->data);
    const xkS3dLineRange rows = xkS3dPhaseFilter_Batch(obj->batchSize, obj->height, batch);
    const kSize end = rows.end * obj->width;
    const k32s* input = kArray2_DataT<k32s>(obj->copy);
    const k8u* mask = kArray2_DataT<k8u>(obj->mask);
    k32s* data = kArray2_DataT<k32s>(obj->data);
    const k32s m = kMax_(obj->deviation, 1);
    const k64s w = kMax_(3 * (k64s)m - m, (k64s)1);
    k8u moved[kChunk];

    /* Most pixels keep their input: one sweep that vectorises settles those, the rule is
       evaluated for the others only. */
    for (kSize first = rows.begin * obj->width; first < end; first += kChunk)
    {
        const kSize count = kMin_(kChunk, end - first);
        const k32s* o = input + first;
        k32s* s = data + first;
        const k8u* c = mask + first;
        k32s any = 0;

#pragma omp simd reduction(| : any)
        for (kSize i = 0; i < count; ++i)
        {
            const k32s keep = (c[i] <= 1) | xkS3dPhaseFilter_IsWithin(o[i], s[i], m);
            s[i] = keep ? o[i] : s[i];
            moved[i] = (k8u)!keep;
            any |= !keep;
        }
        if (!any) continue;

        for (kSize i = 0; i < count; ++i)
            if (moved[i]) s[i] = AreaValue(o[i], s[i], c[i], m, w);
    }
    return kOK;
}
