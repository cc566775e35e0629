#include <kBasis/kObject.h>
#include <kBasis/kAlloc.h>
#include <kBasis/kAssembly.h>

#include <atomic>
#include <functional>

kDefineType(kObject, kObject)
kDefineType(kValue, kValue)

namespace
{
std::atomic_ref<k32s> RefCount(kObject object)
{
    return std::atomic_ref<k32s>(static_cast<kObjectClass*>(object)->refCount);
}

/* Runs the release chain and gives the memory back, whatever the release reported. */
kStatus Free(kObject object, bool dispose)
{
    kObjectClass* obj = static_cast<kObjectClass*>(object);
    const kObjectVTable* vt = kVTableOf<kObjectVTable>(object);
    kStatus status = kOK;

    if (dispose) status = vt->VDisposeItems(object);
    kStatus released = vt->VRelease(object);
    if (kSuccess(status)) status = released;

    kAlloc alloc = obj->alloc;
    obj->tag = 0;
    kStatus freed = kAlloc_Free(alloc, object);
    return kSuccess(status) ? freed : status;
}

kStatus Drop(kObject object, bool dispose)
{
    if (!object) return kOK;
    kObjectClass* obj = static_cast<kObjectClass*>(object);
    kCheckArgs(obj->tag == kOBJECT_TAG);
    if (RefCount(object).fetch_sub(1, std::memory_order_acq_rel) > 1) return kOK;
    return Free(object, dispose);
}
}  // namespace

kFx(kObjectClass*) xxkObject_Cast(kObject object, const kChar* file, k32s line)
{
    if (xkCastClass_ObjectIs(object, kTypeOf(kObject))) return static_cast<kObjectClass*>(object);
    xkBasisLib_CastFailHandler(file, line);
    return kNULL;
}

kFx(kStatus) xxkObject_Register(kAssembly assembly, const kChar* name)
{
    kCheck(xkAssembly_AddClass(assembly, &xxkObject_type, name, kNULL, "", sizeof(kObjectClass),
                               sizeof(kObjectVTable)));
    kCheck(kAddVMethod(kObject, VRelease));
    kCheck(kAddVMethod(kObject, VDisposeItems));
    kCheck(kAddVMethod(kObject, VInitClone));
    kCheck(kAddVMethod(kObject, VClone));
    kCheck(kAddVMethod(kObject, VAllocTraits));
    kCheck(kAddVMethod(kObject, VHashCode));
    kCheck(kAddVMethod(kObject, VEquals));
    kCheck(kAddVMethod(kObject, VSize));
    return kOK;
}

kFx(kStatus) xxkValue_Register(kAssembly assembly, const kChar* name)
{
    return xkAssembly_AddValue(assembly, &xxkValue_type, name, kNULL, "", 0, kVALUE_FLAGS_STRUCT);
}

kFx(kStatus) kObject_Init(kObject object, kType type, kAlloc allocator)
{
    kCheckArgs(object && kType_IsClass(type));
    kObjectClass* obj = static_cast<kObjectClass*>(object);
    obj->type = type;
    obj->alloc = kAlloc_Fallback(allocator);
    obj->refCount = 1;
    obj->tag = kOBJECT_TAG;
    return kOK;
}

kFx(kStatus) kObject_Destroy(kObject object) { return Drop(object, false); }
kFx(kStatus) kObject_Dispose(kObject object) { return Drop(object, true); }

kFx(kStatus) kObject_Share(kObject object)
{
    kCheckArgs(object && static_cast<kObjectClass*>(object)->tag == kOBJECT_TAG);
    RefCount(object).fetch_add(1, std::memory_order_relaxed);
    return kOK;
}

kFx(kStatus) kObject_Clone(kObject* clone, kObject source, kAlloc allocator)
{
    kCheckArgs(clone && xkCastClass_ObjectIs(source, kTypeOf(kObject)));
    *clone = kNULL;
    return kVTableOf<kObjectVTable>(source)->VClone(clone, source, kAlloc_Fallback(allocator));
}

kFx(kSize) kObject_Size(kObject object)
{
    return object ? kVTableOf<kObjectVTable>(object)->VSize(object) : 0;
}

kFx(kType) kObject_Type(kObject object)
{
    return object ? static_cast<kObjectClass*>(object)->type : kNULL;
}

kFx(kAlloc) kObject_Alloc(kObject object)
{
    return object ? static_cast<kObjectClass*>(object)->alloc : kNULL;
}

kFx(k32s) kObject_RefCount(kObject object) { return object ? RefCount(object).load() : 0; }

kFx(kBool) kObject_Is(kObject object, kType type) { return xkCastClass_ObjectIs(object, type); }

kFx(kBool) kObject_Equals(kObject object, kObject other)
{
    if (!object || !other) return object == other;
    return kVTableOf<kObjectVTable>(object)->VEquals(object, other);
}

kFx(kSize) kObject_HashCode(kObject object)
{
    return object ? kVTableOf<kObjectVTable>(object)->VHashCode(object) : 0;
}

kFx(k32u) kObject_AllocTraits(kObject object)
{
    return object ? kVTableOf<kObjectVTable>(object)->VAllocTraits(object) : 0;
}

kFx(kStatus) xkObject_VRelease(kObject) { return kOK; }
kFx(kStatus) xkObject_VDisposeItems(kObject) { return kOK; }
/* Classes that do not register a VInitClone of their own refuse to be cloned. */
kFx(kStatus) xkObject_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kFx(kStatus) xkObject_VClone(kObject* clone, kObject source, kAlloc allocator)
{
    kObject obj = kNULL;
    kCheck(kAlloc_GetObject(allocator, kObject_Type(source), &obj));

    kStatus status = kVTableOf<kObjectVTable>(source)->VInitClone(obj, source, allocator);
    if (!kSuccess(status))
    {
        kAlloc_FreeRef(allocator, &obj);
        return status;
    }
    *clone = obj;
    return kOK;
}

kFx(k32u) xkObject_VAllocTraits(kObject object) { return kAlloc_Traits(kObject_Alloc(object)); }
kFx(kSize) xkObject_VHashCode(kObject object) { return std::hash<const void*>()(object); }
kFx(kBool) xkObject_VEquals(kObject object, kObject other) { return object == other; }
kFx(kSize) xkObject_VSize(kObject object) { return kType_InnerSize(kObject_Type(object)); }
