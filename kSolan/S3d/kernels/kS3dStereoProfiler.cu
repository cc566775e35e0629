// GPU lookups of the stereo profiler: the host's fixed-point arithmetic on the device context.
#include <kSolan/S3d/kernels/kS3dStereoProfilerCudaKernels.h>
#include <kTessel/kCudaUtils.h>

#include <cuda_runtime.h>

__global__ void
kS3dStereoProfiler_LookupDisparityKernel(const kS3dStereoProfilerHwContextClass* context,
                                         const kPoint3d16s* rectified, kPoint3d16s* points,
                                         k32s count)
{
    const k32s i = (k32s)(blockIdx.x * blockDim.x + threadIdx.x);
    if (i >= count) return;
    const kPoint3d16s r = rectified[i];
    kS3dStereoProfilerHwContext_LookupDisparity(context, r.x, r.y, r.z, &points[i]);
}

kStatus xkS3dStereoProfilerCuda_LookupDisparity(const kS3dStereoProfilerHwContextClass* context,
                                                const kPoint3d16s* rectified, kPoint3d16s* points,
                                                k32s count)
{
    if (count <= 0) return kOK;
    void* args[] = {&context, &rectified, &points, &count};
    cudaError_t error =
        cudaLaunchKernel((const void*)kS3dStereoProfiler_LookupDisparityKernel,
                         dim3((unsigned)(count + 255) / 256), dim3(256), args, 0, 0);
    if (error == cudaSuccess) error = cudaDeviceSynchronize();
    return kCudaStatus_Convert(kCudaStatus_Filter((k32s)error));
}
