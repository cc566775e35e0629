#include <kTessel/kCudaUtils.x.h>
#include <kTessel/kCudaAlloc.h>
#include <kBasis/kArray1.h>
#include <kBasis/kArray2.h>
#include <kBasis/kArray3.h>

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
    /* Without a device no GPU work ran: the runtime's failed start-up is not an error here. */
    if (UseDevice()) return (k32s)cudaPeekAtLastError();
#endif
    return kCudaSuccess;
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

/* ----- Arrays ------------------------------------------------------------------------------ */

namespace
{
/* Class, item type and lengths (unused ones 1) of an array the GPU helpers handle. */
struct Shape
{
    kType type;
    kType itemType;
    kSize length[3];
};

kStatus ShapeOf(kObject array, Shape* shape)
{
    if (kObject_Is(array, kTypeOf(kArray1)))
        *shape = {kTypeOf(kArray1), kArray1_ItemType(array), {kArray1_Length(array), 1, 1}};
    else if (kObject_Is(array, kTypeOf(kArray2)))
        *shape = {kTypeOf(kArray2),
                  kArray2_ItemType(array),
                  {kArray2_Length(array, 0), kArray2_Length(array, 1), 1}};
    else if (kObject_Is(array, kTypeOf(kArray3)))
        *shape = {kTypeOf(kArray3),
                  kArray3_ItemType(array),
                  {kArray3_Length(array, 0), kArray3_Length(array, 1), kArray3_Length(array, 2)}};
    else
        return kSTATUS_BAD_PARAMETER;
    /* Handles mean nothing on the device: only value items cross. */
    kCheckArgs(kType_IsValue(shape->itemType));
    return kOK;
}

bool SameShape(const Shape& a, const Shape& b)
{
    return a.type == b.type && a.itemType == b.itemType && a.length[0] == b.length[0] &&
           a.length[1] == b.length[1] && a.length[2] == b.length[2];
}

kStatus Reshape(kObject array, const Shape& s)
{
    if (s.type == kTypeOf(kArray1)) return kArray1_Allocate(array, s.itemType, s.length[0]);
    if (s.type == kTypeOf(kArray2))
        return kArray2_Allocate(array, s.itemType, s.length[0], s.length[1]);
    return kArray3_Allocate(array, s.itemType, s.length[0], s.length[1], s.length[2]);
}

kStatus ConstructOnDevice(kObject* array, const Shape& s, kAlloc allocator)
{
    kAlloc device = kCudaDeviceAlloc_Instance();
    if (s.type == kTypeOf(kArray1))
        return kArray1_ConstructEx(array, s.itemType, s.length[0], allocator, device);
    if (s.type == kTypeOf(kArray2))
        return kArray2_ConstructEx(array, s.itemType, s.length[0], s.length[1], allocator, device);
    return kArray3_ConstructEx(array, s.itemType, s.length[0], s.length[1], s.length[2], allocator,
                               device);
}

void* DataOf(kObject array)
{
    if (kObject_Is(array, kTypeOf(kArray1))) return kArray1_Data(array);
    return kObject_Is(array, kTypeOf(kArray2)) ? kArray2_Data(array) : kArray3_Data(array);
}

kSize DataSizeOf(kObject array)
{
    if (kObject_Is(array, kTypeOf(kArray1))) return kArray1_DataSize(array);
    return kObject_Is(array, kTypeOf(kArray2)) ? kArray2_DataSize(array) : kArray3_DataSize(array);
}
} // namespace

kFx(kStatus) kCudaUtils_AssignArray(kObject destination, kObject source, kCudaStream stream)
{
    Shape to, from;
    kCheck(ShapeOf(source, &from));
    kCheck(ShapeOf(destination, &to));
    kCheckArgs(to.type == from.type);
    if (!SameShape(to, from)) kCheck(Reshape(destination, from));
    return kCudaUtils_Copy(DataOf(destination), DataOf(source), DataSizeOf(source), stream);
}

kFx(kStatus) kCudaUtils_PrepareDeviceArray(kObject* device, kObject host, kCudaStream stream)
{
    Shape shape;
    kObject created = kNULL;
    kStatus status;

    kCheckArgs(device);
    kCheck(ShapeOf(host, &shape));
    if (*device) return kCudaUtils_AssignArray(*device, host, stream);

    kCheck(ConstructOnDevice(&created, shape, kObject_Alloc(host)));
    if (!kSuccess(status = kCudaUtils_AssignArray(created, host, stream)))
    {
        kObject_Destroy(created);
        return status;
    }
    *device = created;
    return kOK;
}

kFx(kStatus) kCudaUtils_ExportDeviceArray(kObject host, kObject device, kCudaStream stream)
{
    return kCudaUtils_AssignArray(host, device, stream);
}
