#include <kTessel/kCudaStream.h>
#include <kTessel/kCudaUtils.x.h>

struct kCudaStreamClass
{
    kObjectClass base;
    void* handle; // cudaStream_t; null without a device
};

kDefineClass(kCudaStream, kObject);

static kStatus xkCudaStream_VRelease(kObject stream)
{
    kCudaStreamClass* obj = kCastRaw(kCudaStream, stream);
    kCheck(xkCuda_StreamDestroy(obj->handle));
    obj->handle = kNULL;
    return xkObject_VRelease(stream);
}

kFx(kStatus) xxkCudaStream_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kCudaStream, kObject));
    return kAddVMethod(kCudaStream, VRelease);
}

kFx(kStatus) kCudaStream_Construct(kCudaStream* stream, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kCudaStreamClass* obj = kNULL;
    kStatus status;

    kCheckArgs(stream);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kCudaStream), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kCudaStream), alloc)) ||
        !kSuccess(status = xkCuda_StreamCreate(&obj->handle)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *stream = obj;
    return kOK;
}

kFx(kStatus) kCudaStream_Synchronize(kCudaStream stream)
{
    return xkCuda_StreamSynchronize(kCudaStream_Handle(stream));
}

kFx(kStatus) kCudaStream_AttachMemory(kCudaStream stream, void* memory)
{
    kCheckArgs(memory);
    return xkCuda_StreamAttach(kCudaStream_Handle(stream), memory);
}

kFx(void*) kCudaStream_Handle(kCudaStream stream)
{
    if (!stream) return kNULL;
    kObjN(kCudaStream, obj, stream);
    return obj ? obj->handle : kNULL;
}
