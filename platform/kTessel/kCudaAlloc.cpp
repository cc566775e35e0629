#include <kTessel/kCudaAlloc.h>
#include <kTessel/kCudaUtils.x.h>

struct kCudaAllocClass
{
    kAllocClass base;
    k32s kind; // xkCUDA_MEMORY_DEVICE or xkCUDA_MEMORY_MANAGED
};

kDefineClass(kCudaAlloc, kAlloc);

namespace
{
/* The two shared instances live as long as the process; their header is bound to the type
   when the platform registers it. */
kCudaAllocClass s_device = {{{kNULL, kNULL, 1, kOBJECT_TAG}}, xkCUDA_MEMORY_DEVICE};
kCudaAllocClass s_managed = {{{kNULL, kNULL, 1, kOBJECT_TAG}}, xkCUDA_MEMORY_MANAGED};

kStatus BindInstances()
{
    s_device.base.base.type = kTypeOf(kCudaAlloc);
    s_managed.base.base.type = kTypeOf(kCudaAlloc);
    return kOK;
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
    kCheck(xkType_AddStatic(kTypeOf(kCudaAlloc), 0, BindInstances, kNULL));
    kCheck(kAddVMethod(kCudaAlloc, VGet));
    kCheck(kAddVMethod(kCudaAlloc, VFree));
    return kAddVMethod(kCudaAlloc, VTraits);
}

kFx(kAlloc) kCudaDeviceAlloc_Instance(void) { return &s_device; }

kFx(kAlloc) kCudaManagedAlloc_Instance(void) { return &s_managed; }
