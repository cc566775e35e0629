/**
 * @file    kS3dStereoProfilerCudaKernels.h
 * @brief   GPU kernels of the stereo profiler (built with CUDA only).
 */
#ifndef K_S3D_STEREO_PROFILER_CUDA_KERNELS_H
#define K_S3D_STEREO_PROFILER_CUDA_KERNELS_H

#include <kSolan/S3d/kernels/kS3dStereoProfilerKernels.h>

/**
 * Looks up count disparity points (x = px0, y = px1, z = py) through a device context, one
 * thread per point, on the default stream, and waits for the result.
 */
kStatus xkS3dStereoProfilerCuda_LookupDisparity(const kS3dStereoProfilerHwContextClass* context,
                                                const kPoint3d16s* rectified, kPoint3d16s* points,
                                                k32s count);

#endif
