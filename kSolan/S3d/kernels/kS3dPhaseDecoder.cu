// GPU path of the phase decoder: one thread per pixel, the per-pixel arithmetic shared with
// the host. Only the exact arctangent runs here.
#include <kSolan/S3d/kernels/kS3dPhaseDecoderCuda.h>
#include <kTessel/kCudaUtils.h>

#include <cuda_runtime.h>

namespace
{
const dim3 kBlock(32, 8);

dim3 Grid(k32s width, k32s height)
{
    return dim3((unsigned)(width + 31) / 32, (unsigned)(height + 7) / 8);
}

kStatus Launch(const void* kernel, k32s width, k32s height, void** args, void* stream)
{
    cudaError_t error = cudaLaunchKernel(kernel, Grid(width, height), kBlock, args, 0,
                                         static_cast<cudaStream_t>(stream));
    if (error == cudaSuccess) error = cudaPeekAtLastError();
    return kCudaStatus_Convert(kCudaStatus_Filter((k32s)error));
}
} // namespace

__global__ void kS3dPhaseDecoder_UpdateFirstFrameKernel(kS3dPhaseDecoderAccum* accum,
                                                        const k8u* image, k32s sine, k32s cosine,
                                                        k32s width, k32s height)
{
    k32s x = (k32s)(blockIdx.x * blockDim.x + threadIdx.x);
    k32s y = (k32s)(blockIdx.y * blockDim.y + threadIdx.y);
    if (x >= width || y >= height) return;
    k32s i = y * width + x;
    kS3dPhaseAccum_First(&accum[i], image[i], sine, cosine);
}

__global__ void kS3dPhaseDecoder_UpdateDefaultFrameKernel(kS3dPhaseDecoderAccum* accum,
                                                          const k8u* image, k32s sine, k32s cosine,
                                                          k32s width, k32s height)
{
    k32s x = (k32s)(blockIdx.x * blockDim.x + threadIdx.x);
    k32s y = (k32s)(blockIdx.y * blockDim.y + threadIdx.y);
    if (x >= width || y >= height) return;
    k32s i = y * width + x;
    kS3dPhaseAccum_Add(&accum[i], image[i], sine, cosine);
}

__global__ void kS3dPhaseDecoder_UpdateLastFrameKernel(kS3dPhaseDecoderAccum* accum,
                                                       const k8u* image, kPhasePixel* output,
                                                       k32s sine, k32s cosine, k32s intensityShift,
                                                       k32s intensityFactor, k32s contrastThreshold,
                                                       k32s period, k32s width, k32s height)
{
    k32s x = (k32s)(blockIdx.x * blockDim.x + threadIdx.x);
    k32s y = (k32s)(blockIdx.y * blockDim.y + threadIdx.y);
    if (x >= width || y >= height) return;
    k32s i = y * width + x;
    kS3dPhaseDecoderOutputParams params = {};
    params.intensityFactor = intensityFactor;
    params.intensityShift = intensityShift;
    params.contrastThreshold = contrastThreshold;
    params.period = period;
    kS3dPhaseDecoderAccum acc = accum[i];
    kS3dPhaseAccum_Add(&acc, image[i], sine, cosine);
    accum[i] = acc;
    output[i] = kS3dPhase_Output<true>(&acc, &params);
}

kStatus xkS3dPhaseDecoderCuda_UpdateFirst(void* stream, kS3dPhaseDecoderAccum* accum,
                                          const k8u* image, k32s sine, k32s cosine, k32s width,
                                          k32s height)
{
    void* args[] = {&accum, &image, &sine, &cosine, &width, &height};
    return Launch((const void*)kS3dPhaseDecoder_UpdateFirstFrameKernel, width, height, args,
                  stream);
}

kStatus xkS3dPhaseDecoderCuda_UpdateDefault(void* stream, kS3dPhaseDecoderAccum* accum,
                                            const k8u* image, k32s sine, k32s cosine, k32s width,
                                            k32s height)
{
    void* args[] = {&accum, &image, &sine, &cosine, &width, &height};
    return Launch((const void*)kS3dPhaseDecoder_UpdateDefaultFrameKernel, width, height, args,
                  stream);
}

kStatus xkS3dPhaseDecoderCuda_UpdateLast(void* stream, kS3dPhaseDecoderAccum* accum,
                                         const k8u* image, kPhasePixel* output, k32s sine,
                                         k32s cosine, k32s intensityShift, k32s intensityFactor,
                                         k32s contrastThreshold, k32s period, k32s width,
                                         k32s height)
{
    void* args[] = {&accum,  &image,          &output,          &sine,
                    &cosine, &intensityShift, &intensityFactor, &contrastThreshold,
                    &period, &width,          &height};
    return Launch((const void*)kS3dPhaseDecoder_UpdateLastFrameKernel, width, height, args, stream);
}
