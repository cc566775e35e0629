/**
 * @file    kS3dStereoProfilerCuda.h
 * @brief   Stereo profiler that also keeps device copies of its tables, for GPU lookups.
 *
 * The host tables and host context are those of every profiler; construction then copies the
 * five tables and the three table descriptions to device memory and builds a device context
 * whose pointers are the copies. Without a CUDA device the platform's device allocator hands
 * out host memory, so the variant still constructs and its "device" context is readable by
 * the host.
 */
#ifndef K_S3D_STEREO_PROFILER_CUDA_H
#define K_S3D_STEREO_PROFILER_CUDA_H

#include <kSolan/S3d/kS3dStereoProfilerBase.h>

typedef kObject kS3dStereoProfilerCuda;
kDeclareClass(kS3dStereoProfilerCuda, kS3dStereoProfilerBase);

/** As kS3dStereoProfilerHost_Construct, then the device copies (allocation failures as usual). */
kFx(kStatus) kS3dStereoProfilerCuda_Construct(kS3dStereoProfilerCuda* profiler,
                                              const kS3dStereoProfilerParams* params,
                                              kS3dStereoCal cal, kAlloc allocator);

/** Device context (device memory; borrowed). */
kFx(kS3dStereoProfilerHwContext)
    kS3dStereoProfilerCuda_HwContextCuda(kS3dStereoProfilerCuda profiler);

/**
 * Window update of the base, then the whole rectification description is copied to the
 * device again.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when a window or the device copy is missing; the copy's
 *         failure.
 */
kFx(kStatus) kS3dStereoProfilerCuda_UpdateWindow(kS3dStereoProfilerCuda profiler,
                                                 const kL3dCameraWindow* window0,
                                                 const kL3dCameraWindow* window1);

/**
 * Disparity lookups of a batch on the GPU (the same arithmetic as the host lookup).
 *
 * @param rectified  `kArray1` of `kPoint3d16s` (x = px0, y = px1, z = py), device-reachable.
 * @param points     `kArray1` of `kPoint3d16s` of the same length, device-reachable.
 * @return kOK; kSTATUS_BAD_PARAMETER for other arrays; kSTATUS_NOT_IMPLEMENTED in a build
 *         without GPU kernels; the launch's failure. Finished before returning.
 */
kFx(kStatus) kS3dStereoProfilerCuda_LookupDisparityN(kS3dStereoProfilerCuda profiler,
                                                     kArray1 rectified, kArray1 points);

#endif
