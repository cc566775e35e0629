#include <kSolan/S3d/kS3dStereoProfilerCuda.h>
#include <kSolan/S3d/kS3dStereoProfilerBase.x.h>

#if defined(KSOLAN_CUDA_KERNELS)
#include <kSolan/S3d/kernels/kS3dStereoProfilerCudaKernels.h>
#endif

struct kS3dStereoProfilerCudaClass
{
    kS3dStereoProfilerBaseClass base;
    kArray3 dispLut; // device copies of the host tables
    void* dispParams;
    kArray3 phaseLut0;
    kArray3 phaseLut1;
    void* phaseParams;
    kArray2 rectMap0;
    kArray2 rectMap1;
    void* rectParams;
    void* hwContext; // device kS3dStereoProfilerHwContextClass pointing at the copies
};

kDefineClass(kS3dStereoProfilerCuda, kS3dStereoProfilerBase)

namespace
{
template <typename T>
kStatus PrepareValue(void** device, const T* host)
{
    return kCudaUtils_PrepareDeviceValue(device, host, sizeof(T));
}

kStatus xkS3dStereoProfilerCuda_InitDevice(kS3dStereoProfilerCudaClass* obj)
{
    const kS3dStereoProfilerBaseClass& host = obj->base;
    kCheck(kCudaUtils_PrepareDeviceArray(&obj->dispLut, host.dispLut, kNULL));
    kCheck(kCudaUtils_PrepareDeviceArray(&obj->phaseLut0, host.phaseLut0, kNULL));
    kCheck(kCudaUtils_PrepareDeviceArray(&obj->phaseLut1, host.phaseLut1, kNULL));
    kCheck(kCudaUtils_PrepareDeviceArray(&obj->rectMap0, host.rectMap0, kNULL));
    kCheck(kCudaUtils_PrepareDeviceArray(&obj->rectMap1, host.rectMap1, kNULL));
    kCheck(PrepareValue(&obj->dispParams, &host.dispParams));
    kCheck(PrepareValue(&obj->phaseParams, &host.phaseParams));
    kCheck(PrepareValue(&obj->rectParams, &host.rectParams));

    kS3dStereoProfilerHwContextClass ctx;
    ctx.dispParams = static_cast<const kS3dStereoProfilerLutParams3d*>(obj->dispParams);
    ctx.dispLut = kArray3_DataT<kPoint3d16s>(obj->dispLut);
    ctx.phaseParams = static_cast<const kS3dStereoProfilerLutParams3d*>(obj->phaseParams);
    ctx.phaseLut0 = kArray3_DataT<kPoint3d16s>(obj->phaseLut0);
    ctx.phaseLut1 = kArray3_DataT<kPoint3d16s>(obj->phaseLut1);
    ctx.rectParams = static_cast<const kS3dStereoProfilerLutParams2d*>(obj->rectParams);
    ctx.rectMap0 = kArray2_DataT<kPoint16s>(obj->rectMap0);
    ctx.rectMap1 = kArray2_DataT<kPoint16s>(obj->rectMap1);
    return PrepareValue(&obj->hwContext, &ctx);
}

kSize DeviceSize(kObject array) { return array ? kObject_Size(array) : 0; }
} // namespace

kStatus xkS3dStereoProfilerCuda_VRelease(kObject profiler)
{
    kS3dStereoProfilerCudaClass* obj = kCastRaw(kS3dStereoProfilerCuda, profiler);
    kCheck(kCudaUtils_FreeDeviceRef(&obj->hwContext));
    kCheck(kCudaUtils_FreeDeviceRef(&obj->dispParams));
    kCheck(kCudaUtils_FreeDeviceRef(&obj->phaseParams));
    kCheck(kCudaUtils_FreeDeviceRef(&obj->rectParams));
    kCheck(kDestroyRef(&obj->dispLut));
    kCheck(kDestroyRef(&obj->phaseLut0));
    kCheck(kDestroyRef(&obj->phaseLut1));
    kCheck(kDestroyRef(&obj->rectMap0));
    kCheck(kDestroyRef(&obj->rectMap1));
    return xkS3dStereoProfilerBase_VRelease(profiler);
}

kStatus xkS3dStereoProfilerCuda_VInitClone(kObject profiler, kObject source, kAlloc alloc)
{
    return xkS3dStereoProfilerBase_VInitClone(profiler, source, alloc);
}

/* Host tables and their device copies. */
kSize xkS3dStereoProfilerCuda_VSize(kObject profiler)
{
    kS3dStereoProfilerCudaClass* obj = kCastRaw(kS3dStereoProfilerCuda, profiler);
    return xkS3dStereoProfilerBase_VSize(profiler) + DeviceSize(obj->dispLut) +
           DeviceSize(obj->phaseLut0) + DeviceSize(obj->phaseLut1) + DeviceSize(obj->rectMap0) +
           DeviceSize(obj->rectMap1);
}

kFx(kStatus) xxkS3dStereoProfilerCuda_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dStereoProfilerCuda, kS3dStereoProfilerBase));
    kCheck(kAddVMethod(kS3dStereoProfilerCuda, VRelease));
    kCheck(kAddVMethod(kS3dStereoProfilerCuda, VInitClone));
    return kAddVMethod(kS3dStereoProfilerCuda, VSize);
}

kFx(kStatus) kS3dStereoProfilerCuda_Construct(kS3dStereoProfilerCuda* profiler,
                                              const kS3dStereoProfilerParams* params,
                                              kS3dStereoCal cal, kAlloc allocator)
{
    kCheckArgs(profiler);
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dStereoProfilerCudaClass* obj = kNULL;
    kStatus status;

    kCheck(kAlloc_GetObject(alloc, kTypeOf(kS3dStereoProfilerCuda), &obj));
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kS3dStereoProfilerCuda), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    status = xkS3dStereoProfilerBase_InitFields(obj, params, cal, alloc);
    if (kSuccess(status)) status = xkS3dStereoProfilerCuda_InitDevice(obj);
    if (!kSuccess(status))
    {
        xkS3dStereoProfilerCuda_VRelease(obj);
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *profiler = obj;
    return kOK;
}

kFx(kS3dStereoProfilerHwContext)
    kS3dStereoProfilerCuda_HwContextCuda(kS3dStereoProfilerCuda profiler)
{
    kObjN(kS3dStereoProfilerCuda, obj, profiler);
    return obj ? static_cast<kS3dStereoProfilerHwContext>(obj->hwContext) : kNULL;
}

kFx(kStatus) kS3dStereoProfilerCuda_UpdateWindow(kS3dStereoProfilerCuda profiler,
                                                 const kL3dCameraWindow* window0,
                                                 const kL3dCameraWindow* window1)
{
    kObjR(kS3dStereoProfilerCuda, profiler);
    kCheckArgs(obj->rectParams);
    kCheck(kS3dStereoProfilerBase_UpdateWindow(profiler, window0, window1));
    return kCudaUtils_Copy(obj->rectParams, &obj->base.rectParams,
                           sizeof(kS3dStereoProfilerLutParams2d), kNULL);
}

kFx(kStatus) kS3dStereoProfilerCuda_LookupDisparityN(kS3dStereoProfilerCuda profiler,
                                                     kArray1 rectified, kArray1 points)
{
    kObjR(kS3dStereoProfilerCuda, profiler);
    kCheckArgs(kObject_Is(rectified, kTypeOf(kArray1)) && kObject_Is(points, kTypeOf(kArray1)));
    kCheckArgs(kArray1_ItemType(rectified) == kTypeOf(kPoint3d16s) &&
               kArray1_ItemType(points) == kTypeOf(kPoint3d16s));
    kCheckArgs(kArray1_Length(rectified) == kArray1_Length(points) &&
               kArray1_Length(points) <= (kSize)k32S_MAX);
#if defined(KSOLAN_CUDA_KERNELS)
    kCheckArgs((kObject_AllocTraits(rectified) & kALLOC_TRAIT_DEVICE) &&
               (kObject_AllocTraits(points) & kALLOC_TRAIT_DEVICE));
    return xkS3dStereoProfilerCuda_LookupDisparity(
        static_cast<const kS3dStereoProfilerHwContextClass*>(obj->hwContext),
        kArray1_DataT<kPoint3d16s>(rectified), kArray1_DataT<kPoint3d16s>(points),
        (k32s)kArray1_Length(points));
#else
    (void)obj; // no GPU kernels in this build
    return kSTATUS_NOT_IMPLEMENTED;
#endif
}
