#include <kTessel/kProfileMsg.h>

/* One block of four sections, each starting on an 8-byte boundary so that every point type
   and the slice indices are naturally aligned: stamps, points, slices, intensities. */
struct kProfileMsgClass
{
    kObjectClass base;
    kType pointType;
    kSize count;
    kSize width;
    kBool hasSlices;
    kSize pointsOffset;
    kSize slicesOffset;
    kSize intensitiesOffset;
    kSize dataSize;
    kByte* data;
};

kDefineClass(kProfileMsg, kObject);

namespace
{
constexpr kSize kSectionAlign = 8;

/* Appends a section of count items of itemSize bytes at *end; false on overflow. */
bool AddSection(kSize* end, kSize* offset, kSize count, kSize itemSize)
{
    if (itemSize != 0 && count > (kSIZE_MAX - kSectionAlign - *end) / itemSize) return false;
    *offset = *end;
    *end += (count * itemSize + kSectionAlign - 1) / kSectionAlign * kSectionAlign;
    return true;
}

kProfileMsgClass* Profile(kProfileMsg msg, kSize index)
{
    kObjN(kProfileMsg, obj, msg);
    return (obj && index < obj->count && obj->width > 0) ? obj : kNULL;
}
} // namespace

static kStatus xkProfileMsg_Init(kProfileMsg msg, kType pointType, kSize count, kSize width,
                                 kBool hasSlices, kAlloc alloc)
{
    kProfileMsgClass* obj = static_cast<kProfileMsgClass*>(msg);
    kSize stampsOffset = 0, end = 0;

    kCheck(kObject_Init(msg, kTypeOf(kProfileMsg), alloc));
    obj->pointType = pointType;
    obj->count = count;
    obj->width = width;
    obj->hasSlices = hasSlices ? kTRUE : kFALSE;

    kSize points = (width == 0 || count <= kSIZE_MAX / width) ? count * width : kSIZE_MAX;
    kCheckArgs(points != kSIZE_MAX);
    kCheckArgs(AddSection(&end, &stampsOffset, count, sizeof(kStamp)));
    kCheckArgs(AddSection(&end, &obj->pointsOffset, points, kType_Size(pointType)));
    kCheckArgs(AddSection(&end, &obj->slicesOffset, obj->hasSlices ? points : 0, sizeof(k16u)));
    kCheckArgs(AddSection(&end, &obj->intensitiesOffset, points, sizeof(k8u)));
    obj->dataSize = end;
    return kAlloc_GetZero(alloc, obj->dataSize, &obj->data);
}

static kStatus xkProfileMsg_VRelease(kObject msg)
{
    kProfileMsgClass* obj = kCastRaw(kProfileMsg, msg);
    kCheck(kAlloc_FreeRef(kObject_Alloc(msg), &obj->data));
    return xkObject_VRelease(msg);
}

static kStatus xkProfileMsg_VInitClone(kObject msg, kObject source, kAlloc allocator)
{
    kProfileMsgClass* src = kCastRaw(kProfileMsg, source);
    kCheck(
        xkProfileMsg_Init(msg, src->pointType, src->count, src->width, src->hasSlices, allocator));
    return kMemCopy(kCastRaw(kProfileMsg, msg)->data, src->data, src->dataSize);
}

static kSize xkProfileMsg_VSize(kObject msg)
{
    return xkObject_VSize(msg) + kCastRaw(kProfileMsg, msg)->dataSize;
}

kFx(kStatus) xxkProfileMsg_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kProfileMsg, kObject));
    kCheck(kAddVMethod(kProfileMsg, VRelease));
    kCheck(kAddVMethod(kProfileMsg, VInitClone));
    return kAddVMethod(kProfileMsg, VSize);
}

kFx(kStatus) kProfileMsg_Construct(kProfileMsg* msg, kType pointType, kSize count, kSize width,
                                   kBool hasSlices, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kProfileMsgClass* obj = kNULL;
    kStatus status;

    kCheckArgs(msg && pointType && kType_IsValue(pointType) && kType_Size(pointType) > 0);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kProfileMsg), &obj))) return status;
    if (!kSuccess(status = xkProfileMsg_Init(obj, pointType, count, width, hasSlices, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *msg = obj;
    return kOK;
}

kFx(kType) kProfileMsg_PointType(kProfileMsg msg)
{
    kObjN(kProfileMsg, obj, msg);
    return obj ? obj->pointType : kNULL;
}

kFx(kSize) kProfileMsg_Count(kProfileMsg msg)
{
    kObjN(kProfileMsg, obj, msg);
    return obj ? obj->count : 0;
}

kFx(kSize) kProfileMsg_Width(kProfileMsg msg)
{
    kObjN(kProfileMsg, obj, msg);
    return obj ? obj->width : 0;
}

kFx(kBool) kProfileMsg_HasSlices(kProfileMsg msg)
{
    kObjN(kProfileMsg, obj, msg);
    return obj ? obj->hasSlices : kFALSE;
}

kFx(kStamp*) kProfileMsg_StampAt(kProfileMsg msg, kSize index)
{
    kObjN(kProfileMsg, obj, msg);
    return (obj && index < obj->count) ? reinterpret_cast<kStamp*>(obj->data) + index : kNULL;
}

kFx(void*) kProfileMsg_PointsAt(kProfileMsg msg, kSize index)
{
    kProfileMsgClass* obj = Profile(msg, index);
    return obj ? obj->data + obj->pointsOffset + index * obj->width * kType_Size(obj->pointType)
               : kNULL;
}

kFx(k8u*) kProfileMsg_IntensitiesAt(kProfileMsg msg, kSize index)
{
    kProfileMsgClass* obj = Profile(msg, index);
    return obj ? obj->data + obj->intensitiesOffset + index * obj->width : kNULL;
}

kFx(k16u*) kProfileMsg_SlicesAt(kProfileMsg msg, kSize index)
{
    kProfileMsgClass* obj = Profile(msg, index);
    if (!obj || !obj->hasSlices) return kNULL;
    return reinterpret_cast<k16u*>(obj->data + obj->slicesOffset) + index * obj->width;
}
