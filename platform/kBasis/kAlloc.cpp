#include <kBasis/kAlloc.h>
#include <kBasis/kAssembly.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

kDefineClass(kAlloc, kObject)
kDefineClass(kCountingAlloc, kAlloc)
kDefineClass(kMemory, kObject)

namespace
{
/* The application allocator. Its calls go straight to the heap, without dispatch, so that it
   works while the foundation assembly itself is being built. */
kAllocClass s_app = {{kNULL, kNULL, 1, kOBJECT_TAG}};

inline bool IsApp(kAlloc alloc) { return alloc == &s_app; }
}  // namespace

/* Binds the application allocator to its class once the foundation types exist. */
void xkAlloc_BindApp() { s_app.base.type = kTypeOf(kAlloc); }

/* ----- kAlloc: the heap allocator class ---------------------------------------------------- */

kStatus xkAlloc_VGet(kAlloc, kSize size, void** mem)
{
    *mem = kNULL;
    if (size == 0) return kOK;
    *mem = malloc(size);
    return *mem ? kOK : kSTATUS_MEMORY;
}

kStatus xkAlloc_VFree(kAlloc, void* mem)
{
    free(mem);
    return kOK;
}

k32u xkAlloc_VTraits(kAlloc) { return kALLOC_TRAIT_HOST; }

kFx(kStatus) xxkAlloc_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kAlloc, kObject));
    kCheck(kAddVMethod(kAlloc, VGet));
    kCheck(kAddVMethod(kAlloc, VFree));
    kCheck(kAddVMethod(kAlloc, VTraits));
    return kOK;
}

kFx(kAlloc) kAlloc_App(void) { return &s_app; }
kFx(kAlloc) kAlloc_Fallback(kAlloc allocator) { return allocator ? allocator : &s_app; }

kFx(kStatus) kAlloc_Get(kAlloc allocator, kSize size, void* mem)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    void** out = static_cast<void**>(mem);
    if (IsApp(alloc)) return xkAlloc_VGet(alloc, size, out);
    return kVTableOf<kAllocVTable>(alloc)->VGet(alloc, size, out);
}

kFx(kStatus) kAlloc_GetZero(kAlloc allocator, kSize size, void* mem)
{
    kCheck(kAlloc_Get(allocator, size, mem));
    if (size) memset(*static_cast<void**>(mem), 0, size);
    return kOK;
}

kFx(kStatus) kAlloc_Free(kAlloc allocator, void* mem)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    if (!mem) return kOK;
    if (IsApp(alloc)) return xkAlloc_VFree(alloc, mem);
    return kVTableOf<kAllocVTable>(alloc)->VFree(alloc, mem);
}

kFx(kStatus) kAlloc_FreeRef(kAlloc allocator, void* mem)
{
    void** ref = static_cast<void**>(mem);
    kStatus status = kAlloc_Free(allocator, *ref);
    *ref = kNULL;
    return status;
}

kFx(kStatus) kAlloc_GetObject(kAlloc allocator, kType type, void* object)
{
    *static_cast<void**>(object) = kNULL;
    kCheckArgs(kType_IsClass(type));
    return kAlloc_GetZero(allocator, kType_InnerSize(type), object);
}

kFx(k32u) kAlloc_Traits(kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    if (IsApp(alloc)) return kALLOC_TRAIT_HOST;
    return kVTableOf<kAllocVTable>(alloc)->VTraits(alloc);
}

kFx(kBool) kAlloc_IsForeign(kAlloc allocator)
{
    return (kAlloc_Traits(allocator) & kALLOC_TRAIT_HOST) == 0;
}

kFx(kStatus) kMemAlloc(kSize size, void* mem) { return kAlloc_Get(&s_app, size, mem); }
kFx(kStatus) kMemAllocZero(kSize size, void* mem) { return kAlloc_GetZero(&s_app, size, mem); }
kFx(kStatus) kMemFree(void* mem) { return kAlloc_Free(&s_app, mem); }
kFx(kStatus) kMemFreeRef(void* mem) { return kAlloc_FreeRef(&s_app, mem); }

kFx(kStatus) kMemSet(void* dest, kByte fill, kSize size)
{
    if (size) memset(dest, fill, size);
    return kOK;
}

kFx(kStatus) kMemZero(void* dest, kSize size) { return kMemSet(dest, 0, size); }

kFx(kStatus) kMemCopy(void* dest, const void* src, kSize size)
{
    if (size) memcpy(dest, src, size);
    return kOK;
}

kFx(kStatus) kMemMove(void* dest, const void* src, kSize size)
{
    if (size) memmove(dest, src, size);
    return kOK;
}

kFx(kBool) kMemEquals(const void* a, const void* b, kSize size)
{
    return size == 0 || memcmp(a, b, size) == 0;
}

/* ----- kCountingAlloc ---------------------------------------------------------------------- */

struct kCountingAllocClass
{
    kAllocClass base;
    kAlloc inner;
    k64u allocated;
    k64u outstanding;
    k64u total;
    k64u peak;
    k64u failAfter;  // allocations still allowed
    k64u refused;
};

namespace
{
/* Each block carries its size in front so that Free can account for it. */
constexpr kSize kBlockHeader = 16;

std::atomic_ref<k64u> A(k64u& v) { return std::atomic_ref<k64u>(v); }
}  // namespace

kStatus xkCountingAlloc_VGet(kAlloc alloc, kSize size, void** mem)
{
    kCountingAllocClass* obj = kCastRaw(kCountingAlloc, alloc);
    *mem = kNULL;
    if (size == 0) return kOK;

    k64u allowed = A(obj->failAfter).load();
    do
    {
        if (allowed == 0)
        {
            A(obj->refused)++;
            return kSTATUS_MEMORY;
        }
    } while (allowed != UINT64_MAX && !A(obj->failAfter).compare_exchange_weak(allowed, allowed - 1));

    void* block = kNULL;
    kCheck(kAlloc_Get(obj->inner, size + kBlockHeader, &block));
    *static_cast<kSize*>(block) = size;
    *mem = static_cast<kByte*>(block) + kBlockHeader;

    k64u now = A(obj->allocated).fetch_add(size) + size;
    A(obj->outstanding)++;
    A(obj->total)++;
    k64u peak = A(obj->peak).load();
    while (now > peak && !A(obj->peak).compare_exchange_weak(peak, now)) {}
    return kOK;
}

kStatus xkCountingAlloc_VFree(kAlloc alloc, void* mem)
{
    kCountingAllocClass* obj = kCastRaw(kCountingAlloc, alloc);
    if (!mem) return kOK;
    void* block = static_cast<kByte*>(mem) - kBlockHeader;
    A(obj->allocated) -= *static_cast<kSize*>(block);
    A(obj->outstanding)--;
    return kAlloc_Free(obj->inner, block);
}

k32u xkCountingAlloc_VTraits(kAlloc alloc) { return kAlloc_Traits(kCastRaw(kCountingAlloc, alloc)->inner); }

kFx(kStatus) xxkCountingAlloc_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kCountingAlloc, kAlloc));
    kCheck(kAddVMethod(kCountingAlloc, VGet));
    kCheck(kAddVMethod(kCountingAlloc, VFree));
    kCheck(kAddVMethod(kCountingAlloc, VTraits));
    return kOK;
}

kFx(kStatus) kCountingAlloc_Construct(kCountingAlloc* alloc, kAlloc inner, kAlloc allocator)
{
    kAlloc a = kAlloc_Fallback(allocator);
    kCountingAllocClass* obj = kNULL;
    kCheck(kAlloc_GetObject(a, kTypeOf(kCountingAlloc), &obj));
    kObject_Init(obj, kTypeOf(kCountingAlloc), a);
    obj->inner = kAlloc_Fallback(inner);
    obj->failAfter = UINT64_MAX;
    *alloc = obj;
    return kOK;
}

kFx(kSize) kCountingAlloc_Allocated(kCountingAlloc alloc)
{
    kObjN(kCountingAlloc, obj, alloc);
    return obj ? (kSize)A(obj->allocated).load() : 0;
}

kFx(kSize) kCountingAlloc_Outstanding(kCountingAlloc alloc)
{
    kObjN(kCountingAlloc, obj, alloc);
    return obj ? (kSize)A(obj->outstanding).load() : 0;
}

kFx(kSize) kCountingAlloc_Total(kCountingAlloc alloc)
{
    kObjN(kCountingAlloc, obj, alloc);
    return obj ? (kSize)A(obj->total).load() : 0;
}

kFx(kSize) kCountingAlloc_Peak(kCountingAlloc alloc)
{
    kObjN(kCountingAlloc, obj, alloc);
    return obj ? (kSize)A(obj->peak).load() : 0;
}

kFx(kStatus) kCountingAlloc_SetFailAfter(kCountingAlloc alloc, kSize count)
{
    kObjR(kCountingAlloc, alloc);
    A(obj->failAfter) = count == kSIZE_MAX ? UINT64_MAX : (k64u)count;
    A(obj->refused) = 0;
    return kOK;
}

kFx(kSize) kCountingAlloc_Refused(kCountingAlloc alloc)
{
    kObjN(kCountingAlloc, obj, alloc);
    return obj ? (kSize)A(obj->refused).load() : 0;
}

/* ----- kMemory ----------------------------------------------------------------------------- */

struct kMemoryClass
{
    kObjectClass base;
    kByte* data;
    kSize length;
    kSize capacity;
};

kStatus xkMemory_VRelease(kObject memory)
{
    kMemoryClass* obj = kCastRaw(kMemory, memory);
    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->data));
    return xkObject_VRelease(memory);
}

kSize xkMemory_VSize(kObject memory)
{
    return sizeof(kMemoryClass) + kCastRaw(kMemory, memory)->capacity;
}

kFx(kStatus) xxkMemory_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kMemory, kObject));
    kCheck(kAddVMethod(kMemory, VRelease));
    kCheck(kAddVMethod(kMemory, VSize));
    return kOK;
}

kFx(kStatus) kMemory_Construct(kMemory* memory, kAlloc allocator)
{
    kAlloc a = kAlloc_Fallback(allocator);
    kMemoryClass* obj = kNULL;
    kCheck(kAlloc_GetObject(a, kTypeOf(kMemory), &obj));
    kObject_Init(obj, kTypeOf(kMemory), a);
    *memory = obj;
    return kOK;
}

namespace
{
kStatus Reserve(kMemoryClass* obj, kSize capacity)
{
    if (capacity <= obj->capacity) return kOK;
    kSize grown = kMax_(capacity, obj->capacity * 2);
    kByte* data = kNULL;
    kCheck(kAlloc_Get(obj->base.alloc, grown, &data));
    kMemCopy(data, obj->data, obj->length);
    kAlloc_Free(obj->base.alloc, obj->data);
    obj->data = data;
    obj->capacity = grown;
    return kOK;
}
}  // namespace

kFx(kStatus) kMemory_Allocate(kMemory memory, kSize length)
{
    kObjR(kMemory, memory);
    kCheck(Reserve(obj, length));
    obj->length = length;
    return kOK;
}

kFx(kStatus) kMemory_Append(kMemory memory, const void* data, kSize length)
{
    kObjR(kMemory, memory);
    kCheckArgs(data || length == 0);
    kCheck(Reserve(obj, obj->length + length));
    kMemCopy(obj->data + obj->length, data, length);
    obj->length += length;
    return kOK;
}

kFx(void*) kMemory_At(kMemory memory, kSize offset)
{
    kObjN(kMemory, obj, memory);
    return (obj && offset <= obj->length) ? obj->data + offset : kNULL;
}

kFx(kSize) kMemory_Length(kMemory memory)
{
    kObjN(kMemory, obj, memory);
    return obj ? obj->length : 0;
}

kFx(kSize) kMemory_Capacity(kMemory memory)
{
    kObjN(kMemory, obj, memory);
    return obj ? obj->capacity : 0;
}
