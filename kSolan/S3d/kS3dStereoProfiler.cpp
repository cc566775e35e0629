#include <kSolan/S3d/kS3dStereoProfiler.h>

struct kS3dStereoProfilerClass
{
    kObjectClass base;
    kS3dStereoProfilerBase inner; // owned: a kS3dStereoProfilerHost or kS3dStereoProfilerCuda
};

kDefineClass(kS3dStereoProfiler, kObject)
kDefineValue(kS3dStereoProfilerPair, kValue)
kDefineValue(kS3dStereoProfilerDepPair, kValue)

namespace
{
kS3dStereoProfilerBase Inner(kS3dStereoProfiler profiler)
{
    return kCastRaw(kS3dStereoProfiler, profiler)->inner;
}
} // namespace

kStatus xkS3dStereoProfiler_VRelease(kObject profiler)
{
    kCheck(kDestroyRef(&kCastRaw(kS3dStereoProfiler, profiler)->inner));
    return xkObject_VRelease(profiler);
}

/* The inner profiler refuses cloning, and so does its owner. */
kStatus xkS3dStereoProfiler_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kSize xkS3dStereoProfiler_VSize(kObject profiler)
{
    return sizeof(kS3dStereoProfilerClass) + kObject_Size(Inner(profiler));
}

kFx(kStatus) xxkS3dStereoProfiler_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dStereoProfiler, kObject));
    kCheck(kAddVMethod(kS3dStereoProfiler, VRelease));
    kCheck(kAddVMethod(kS3dStereoProfiler, VInitClone));
    return kAddVMethod(kS3dStereoProfiler, VSize);
}

kFx(kStatus) xxkS3dStereoProfilerPair_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kS3dStereoProfilerPair, kValue));
    kCheck(kAddField(kS3dStereoProfilerPair, kPoint3d16s, source));
    return kAddField(kS3dStereoProfilerPair, kPoint3d16s, target);
}

kFx(kStatus) xxkS3dStereoProfilerDepPair_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kS3dStereoProfilerDepPair, kValue));
    kCheck(kAddField(kS3dStereoProfilerDepPair, kPoint3d16s, source));
    return kAddField(kS3dStereoProfilerDepPair, kPoint3d16s, target);
}

kFx(kStatus) kS3dStereoProfiler_Construct(kS3dStereoProfiler* profiler, k32u cudaMode,
                                          const kS3dStereoProfilerParams* params, kS3dStereoCal cal,
                                          kAlloc allocator)
{
    kCheckArgs(profiler);
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dStereoProfilerClass* obj = kNULL;
    kStatus status;
    const bool cuda = (cudaMode == kS3D_STEREO_PROFILER_CUDA_PROBE ||
                       cudaMode == kS3D_STEREO_PROFILER_CUDA_CACHED) &&
                      kCudaDevice_IsAvailable(cudaMode == kS3D_STEREO_PROFILER_CUDA_PROBE);

    kCheck(kAlloc_GetObject(alloc, kTypeOf(kS3dStereoProfiler), &obj));
    kTest(kObject_Init(obj, kTypeOf(kS3dStereoProfiler), alloc));
    if (cuda)
        kTest(kS3dStereoProfilerCuda_Construct(&obj->inner, params, cal, alloc));
    else
        kTest(kS3dStereoProfilerHost_Construct(&obj->inner, params, cal, alloc));
    *profiler = obj;
    return kOK;
cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kBool) kS3dStereoProfiler_IsCuda(kS3dStereoProfiler profiler)
{
    return kObject_Is(Inner(profiler), kTypeOf(kS3dStereoProfilerCuda));
}

kFx(kS3dStereoProfilerHwContext) kS3dStereoProfiler_HwContext(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_HwContext(Inner(profiler));
}

kFx(kS3dStereoProfilerHwContext) kS3dStereoProfiler_HwContextCuda(kS3dStereoProfiler profiler)
{
    if (!kS3dStereoProfiler_IsCuda(profiler)) return kNULL;
    return kS3dStereoProfilerCuda_HwContextCuda(Inner(profiler));
}

kFx(kStatus)
    kS3dStereoProfiler_UpdateWindow(kS3dStereoProfiler profiler, const kL3dCameraWindow* window0,
                                    const kL3dCameraWindow* window1)
{
    if (kS3dStereoProfiler_IsCuda(profiler))
        return kS3dStereoProfilerCuda_UpdateWindow(Inner(profiler), window0, window1);
    return kS3dStereoProfilerBase_UpdateWindow(Inner(profiler), window0, window1);
}

kFx(kStatus) kS3dStereoProfiler_LookupDisparityN(kS3dStereoProfiler profiler, kArray1 rectified,
                                                 kArray1 points)
{
    if (kS3dStereoProfiler_IsCuda(profiler) && kCudaDevice_IsAvailable(kFALSE))
        return kS3dStereoProfilerCuda_LookupDisparityN(Inner(profiler), rectified, points);
    return kS3dStereoProfilerBase_LookupDisparityN(Inner(profiler), rectified, points);
}

kFx(kStatus) kS3dStereoProfiler_SetLookupType(kS3dStereoProfiler profiler, k32u type)
{
    return kS3dStereoProfilerBase_SetLookupType(Inner(profiler), type);
}
kFx(k32u) kS3dStereoProfiler_LookupType(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_LookupType(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_SetTransform(kS3dStereoProfiler profiler, const k64f* transform)
{
    return kS3dStereoProfilerBase_SetTransform(Inner(profiler), transform);
}
kFx(const k64f*) kS3dStereoProfiler_Transform(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_Transform(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_SetActiveAreaRoi(kS3dStereoProfiler profiler, const kRect3d64f* roi)
{
    return kS3dStereoProfilerBase_SetActiveAreaRoi(Inner(profiler), roi);
}
kFx(kRect3d64f) kS3dStereoProfiler_ActiveAreaRoi(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_ActiveAreaRoi(Inner(profiler));
}
kFx(k64f) kS3dStereoProfiler_ReferenceTemperature(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_ReferenceTemperature(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_SetTemperature(kS3dStereoProfiler profiler, k64f temperature)
{
    return kS3dStereoProfilerBase_SetTemperature(Inner(profiler), temperature);
}
kFx(k64f) kS3dStereoProfiler_Temperature(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_Temperature(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_EnableExpansionCorrection(kS3dStereoProfiler profiler, kBool enable)
{
    return kS3dStereoProfilerBase_EnableExpansionCorrection(Inner(profiler), enable);
}
kFx(kBool) kS3dStereoProfiler_ExpansionCorrectionEnabled(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_ExpansionCorrectionEnabled(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_TermalExpansionParams(kS3dStereoProfiler profiler, k64f* distance0,
                                                      k64f* distance1, k64f* coefficient)
{
    return kS3dStereoProfilerBase_TermalExpansionParams(Inner(profiler), distance0, distance1,
                                                        coefficient);
}
kFx(k32u) kS3dStereoProfiler_LeftViewIndex(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_LeftViewIndex(Inner(profiler));
}
kFx(k32s) kS3dStereoProfiler_DisparityMin(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_DisparityMin(Inner(profiler));
}
kFx(k32s) kS3dStereoProfiler_DisparityMax(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_DisparityMax(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_SetResolution(kS3dStereoProfiler profiler, k64f resolution)
{
    return kS3dStereoProfilerBase_SetResolution(Inner(profiler), resolution);
}
kFx(k64f) kS3dStereoProfiler_Resolution(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_Resolution(Inner(profiler));
}
kFx(kStatus)
    kS3dStereoProfiler_SetProjectionResolution(kS3dStereoProfiler profiler, k64f resolution)
{
    return kS3dStereoProfilerBase_SetProjectionResolution(Inner(profiler), resolution);
}
kFx(k64f) kS3dStereoProfiler_ProjectionResolution(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_ProjectionResolution(Inner(profiler));
}
kFx(kRect3d64f) kS3dStereoProfiler_CalibrationVolume(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_CalibrationVolume(Inner(profiler));
}
kFx(kBool) kS3dStereoProfiler_TransposeAt(kS3dStereoProfiler profiler, kSize view)
{
    return kS3dStereoProfilerBase_TransposeAt(Inner(profiler), view);
}
kFx(kSize) kS3dStereoProfiler_MemoryUsage(kS3dStereoProfiler profiler)
{
    return kS3dStereoProfilerBase_MemoryUsage(Inner(profiler));
}
kFx(kStatus) kS3dStereoProfiler_EvaluateImagePhase64f(kS3dStereoProfiler profiler, kSize view,
                                                      const kPoint64f* imagePoint,
                                                      kPoint3d64f* point3d, k64f phase)
{
    return kS3dStereoProfilerBase_EvaluateImagePhase64f(Inner(profiler), view, imagePoint, point3d,
                                                        phase);
}
kFx(kStatus)
    kS3dStereoProfiler_EvaluateImageDisparity64f(kS3dStereoProfiler profiler,
                                                 const kPoint64f* imagePoint0,
                                                 const kPoint64f* imagePoint1, kPoint3d64f* point3d)
{
    return kS3dStereoProfilerBase_EvaluateImageDisparity64f(Inner(profiler), imagePoint0,
                                                            imagePoint1, point3d);
}
kFx(kStatus)
    kS3dStereoProfiler_RectificationError(kS3dStereoProfiler profiler, const kPoint64f* imagePoint0,
                                          const kPoint64f* imagePoint1, k64f* error)
{
    return kS3dStereoProfilerBase_RectificationError(Inner(profiler), imagePoint0, imagePoint1,
                                                     error);
}
