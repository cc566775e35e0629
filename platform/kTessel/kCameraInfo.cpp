#include <kTessel/kNode.x.h>

struct kCameraInfoClass
{
    kObjectClass base;
    kRangeLutCaps rangeLutCaps;
};

kDefineValue(kRangeLutCaps, kValue);
kDefineClass(kCameraInfo, kObject);

kFx(kStatus) xxkRangeLutCaps_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kRangeLutCaps, kValue));
    kCheck(kAddField(kRangeLutCaps, k32u, rowCount));
    kCheck(kAddField(kRangeLutCaps, k32u, sliceCount));
    kCheck(kAddField(kRangeLutCaps, k32u, minCentroidStep));
    kCheck(kAddField(kRangeLutCaps, k32u, minSliceStep));
    kCheck(kAddField(kRangeLutCaps, k32u, minValidCentroidStep));
    kCheck(kAddField(kRangeLutCaps, k32u, maxCentroidCount));
    kCheck(kAddField(kRangeLutCaps, k32u, maxValidCount));
    return kAddField(kRangeLutCaps, k32u, maxValueCount);
}

kFx(kStatus) xxkCameraInfo_Register(kAssembly assembly, const kChar* name)
{
    return kAddClass(kCameraInfo, kObject);
}

kStatus xkCameraInfo_Construct(kCameraInfo* info, const kRangeLutCaps* caps, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kCameraInfoClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kCameraInfo), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kCameraInfo), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->rangeLutCaps = *caps;
    *info = obj;
    return kOK;
}

kFx(kRangeLutCaps) kCameraInfo_RangeLutCaps(kCameraInfo info)
{
    kObjN(kCameraInfo, obj, info);
    return obj ? obj->rangeLutCaps : kRangeLutCaps{};
}
