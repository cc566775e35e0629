#include <kTessel/kCudaUtils.x.h>
#include <kTessel/kCudaAlloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#if defined(K_HAVE_CUDA)
#include <cuda_runtime_api.h>
#endif

namespace
{
/* Runtime codes the conversion names (stable across CUDA releases). */
constexpr k32s kCudaSuccess = 0;
constexpr k32s kCudaInvalidValue = 1;
constexpr k32s kCudaMemoryAllocation = 2;
constexpr k32s kCudaInsufficientDriver = 35;
constexpr k32s kCudaInvalidDevicePointer = 17;
constexpr k32s kCudaNoDevice = 100;
constexpr k32s kCudaNotReady = 600;

/* -1 until the first probe, then 0 or 1. */
std::atomic<k32s> s_deviceFound{-1};

/* Memory and streams follow the first probe for the life of the process, so that a block is
   always freed by the allocator that made it, whatever later probes say. */
bool UseDevice()
{
    static const bool device = kCudaDevice_IsAvailable(kFALSE) == kTRUE;
    return device;
}

#if defined(K_HAVE_CUDA)
kStatus Convert(cudaError_t error) { return kCudaStatus_Convert((k32s)error); }

cudaStream_t Stream(void* handle) { return static_cast<cudaStream_t>(handle); }
#endif
} // namespace

kFx(kBool) kCudaRuntime_IsAvailable(void)
{
#if defined(K_HAVE_CUDA)
    return kTRUE;
#else
    return kFALSE;
#endif
}

kFx(kBool) kCudaDevice_IsAvailable(kBool probe)
{
    k32s found = s_deviceFound.load();
    if (probe || found < 0)
    {
#if defined(K_HAVE_CUDA)
        int count = 0;
        found = (cudaGetDeviceCount(&count) == cudaSuccess && count > 0) ? 1 : 0;
        /* A failed probe leaves a sticky-free error behind; clear it so that Peek stays clean. */
        cudaGetLastError();
#else
        found = 0;
#endif
        s_deviceFound.store(found);
    }
    return found == 1 ? kTRUE : kFALSE;
}

kFx(k32s) kCudaStatus_Peek(void)
{
#if defined(K_HAVE_CUDA)
    return (k32s)cudaPeekAtLastError();
#else
    return kCudaSuccess;
#endif
}

kFx(k32s) kCudaStatus_Filter(k32s cudaError)
{
    return cudaError == kCudaNotReady ? kCudaSuccess : cudaError;
}

kFx(kStatus) kCudaStatus_Convert(k32s cudaError)
{
    switch (cudaError)
    {
    case kCudaSuccess:
        return kOK;
    case kCudaMemoryAllocation:
        return kSTATUS_MEMORY;
    case kCudaInvalidValue:
    case kCudaInvalidDevicePointer:
        return kSTATUS_BAD_PARAMETER;
    case kCudaNoDevice:
    case kCudaInsufficientDriver:
        return kSTATUS_NOT_IMPLEMENTED;
    default:
        return kSTATUS_FAILED;
    }
}

/* ----- Runtime wrappers -------------------------------------------------------------------- */

kStatus xkCuda_Malloc(void** memory, kSize size, k32s kind)
{
    *memory = kNULL;
    if (size == 0) return kOK;
#if defined(K_HAVE_CUDA)
    if (UseDevice())
    {
        cudaError_t error = kind == xkCUDA_MEMORY_MANAGED
                                ? cudaMallocManaged(memory, size, cudaMemAttachGlobal)
                                : cudaMalloc(memory, size);
        if (error != cudaSuccess) *memory = kNULL;
        return Convert(error);
    }
#else
    (void)kind;
#endif
    *memory = malloc(size);
    return *memory ? kOK : kSTATUS_MEMORY;
}

kStatus xkCuda_Free(void* memory, k32s kind)
{
    if (!memory) return kOK;
#if defined(K_HAVE_CUDA)
    if (UseDevice()) return Convert(cudaFree(memory));
#endif
    (void)kind;
    free(memory);
    return kOK;
}

k32u xkCuda_Traits(k32s kind)
{
    if (!UseDevice()) return kALLOC_TRAIT_HOST;
    return kind == xkCUDA_MEMORY_MANAGED ? (kALLOC_TRAIT_HOST | kALLOC_TRAIT_DEVICE)
                                         : kALLOC_TRAIT_DEVICE;
}

kStatus xkCuda_StreamCreate(void** handle)
{
    *handle = kNULL;
#if defined(K_HAVE_CUDA)
    if (UseDevice())
    {
        cudaStream_t stream = kNULL;
        kCheck(Convert(cudaStreamCreateWithFlags(&stream, cudaStreamNonBlocking)));
        *handle = stream;
    }
#endif
    return kOK;
}

kStatus xkCuda_StreamDestroy(void* handle)
{
#if defined(K_HAVE_CUDA)
    if (handle) return Convert(cudaStreamDestroy(Stream(handle)));
#endif
    (void)handle;
    return kOK;
}

kStatus xkCuda_StreamSynchronize(void* handle)
{
#if defined(K_HAVE_CUDA)
    if (UseDevice()) return Convert(cudaStreamSynchronize(Stream(handle)));
#endif
    (void)handle;
    return kOK;
}

kStatus xkCuda_StreamAttach(void* handle, void* memory)
{
#if defined(K_HAVE_CUDA)
    if (UseDevice())
        return Convert(cudaStreamAttachMemAsync(
            Stream(handle), memory, 0, handle ? cudaMemAttachSingle : cudaMemAttachGlobal));
#endif
    (void)handle, (void)memory;
    return kOK;
}

/* ----- Copies ------------------------------------------------------------------------------ */

kFx(kStatus) kCudaUtils_Copy(void* destination, const void* source, kSize size, kCudaStream stream)
{
    if (size == 0) return kOK;
    kCheckArgs(destination && source);
#if defined(K_HAVE_CUDA)
    if (UseDevice())
    {
        cudaStream_t handle = Stream(stream ? kCudaStream_Handle(stream) : kNULL);
        kCheck(Convert(cudaMemcpyAsync(destination, source, size, cudaMemcpyDefault, handle)));
        return Convert(cudaStreamSynchronize(handle));
    }
#endif
    (void)stream;
    memcpy(destination, source, size);
    return kOK;
}

kFx(kStatus) kCudaUtils_PrepareDeviceValue(void** device, const void* host, kSize size)
{
    kCheckArgs(device);
    if (!*device) kCheck(xkCuda_Malloc(device, size, xkCUDA_MEMORY_DEVICE));
    return host ? kCudaUtils_Copy(*device, host, size, kNULL) : kOK;
}

kFx(kStatus) kCudaUtils_FreeDeviceRef(void** device)
{
    kCheckArgs(device);
    kStatus status = xkCuda_Free(*device, xkCUDA_MEMORY_DEVICE);
    *device = kNULL;
    return status;
}
