#include <kSolan/S3d/kS3dStereoProfilerHost.h>
#include <kSolan/S3d/kS3dStereoProfilerBase.x.h>

struct kS3dStereoProfilerHostClass
{
    kS3dStereoProfilerBaseClass base;
};

kDefineClass(kS3dStereoProfilerHost, kS3dStereoProfilerBase)

kStatus xkS3dStereoProfilerHost_VRelease(kObject profiler)
{
    return xkS3dStereoProfilerBase_VRelease(profiler);
}

kStatus xkS3dStereoProfilerHost_VInitClone(kObject profiler, kObject source, kAlloc alloc)
{
    return xkS3dStereoProfilerBase_VInitClone(profiler, source, alloc);
}

kSize xkS3dStereoProfilerHost_VSize(kObject profiler)
{
    return xkS3dStereoProfilerBase_VSize(profiler);
}

kFx(kStatus) xxkS3dStereoProfilerHost_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dStereoProfilerHost, kS3dStereoProfilerBase));
    kCheck(kAddVMethod(kS3dStereoProfilerHost, VRelease));
    kCheck(kAddVMethod(kS3dStereoProfilerHost, VInitClone));
    return kAddVMethod(kS3dStereoProfilerHost, VSize);
}

kFx(kStatus) kS3dStereoProfilerHost_Construct(kS3dStereoProfilerHost* profiler,
                                              const kS3dStereoProfilerParams* params,
                                              kS3dStereoCal cal, kAlloc allocator)
{
    kCheckArgs(profiler);
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dStereoProfilerHostClass* obj = kNULL;
    kStatus status;

    kCheck(kAlloc_GetObject(alloc, kTypeOf(kS3dStereoProfilerHost), &obj));
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kS3dStereoProfilerHost), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    if (!kSuccess(status = xkS3dStereoProfilerBase_InitFields(obj, params, cal, alloc)))
    {
        xkS3dStereoProfilerHost_VRelease(obj);
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *profiler = obj;
    return kOK;
}
