#include <kTessel/kCudaAlloc.h>
#include <kTessel/kCudaUtils.x.h>

struct kCudaAllocClass
{
    kAllocClass base;
    k32s kind; // xkCUDA_MEMORY_DEVICE or xkCUDA_MEMORY_MANAGED
};

kDefineClass(kCudaAlloc, kAlloc)

    namespace
{
    /* The two shared instances, kept in the type's static state. */
    struct Instances
    {
        kCudaAllocClass device;
        kCudaAllocClass managed;
    };

    Instances* TheInstances() { return static_cast<Instances*>(kType_Static(kTypeOf(kCudaAlloc))); }

    kStatus InitInstance(kCudaAllocClass * instance, k32s kind)
    {
        kCheck(kObject_Init(instance, kTypeOf(kCudaAlloc), kNULL));
        instance->kind = kind;
        return kOK;
    }

    kStatus InitStatic()
    {
        Instances* instances = TheInstances();
        kCheck(InitInstance(&instances->device, xkCUDA_MEMORY_DEVICE));
        return InitInstance(&instances->managed, xkCUDA_MEMORY_MANAGED);
    }
} // namespace

static kStatus xkCudaAlloc_VGet(kAlloc alloc, kSize size, void** mem)
{
    return xkCuda_Malloc(mem, size, kCastRaw(kCudaAlloc, alloc)->kind);
}

static kStatus xkCudaAlloc_VFree(kAlloc alloc, void* mem)
{
    return xkCuda_Free(mem, kCastRaw(kCudaAlloc, alloc)->kind);
}

static k32u xkCudaAlloc_VTraits(kAlloc alloc)
{
    return xkCuda_Traits(kCastRaw(kCudaAlloc, alloc)->kind);
}

kFx(kStatus) xxkCudaAlloc_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kCudaAlloc, kAlloc));
    kCheck(xkType_AddStatic(kTypeOf(kCudaAlloc), sizeof(Instances), InitStatic, kNULL));
    kCheck(kAddVMethod(kCudaAlloc, VGet));
    kCheck(kAddVMethod(kCudaAlloc, VFree));
    return kAddVMethod(kCudaAlloc, VTraits);
}

kFx(kAlloc) kCudaDeviceAlloc_Instance(void) { return &TheInstances()->device; }

kFx(kAlloc) kCudaManagedAlloc_Instance(void) { return &TheInstances()->managed; }
