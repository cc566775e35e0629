/**
 * @file    kObject.h
 * @brief   The root class: header, reference counting, destruction, cloning and the root table.
 *
 * Every class instance starts with `kObjectClass` (type, allocator, reference count). An
 * instance is created by `kAlloc_GetObject` (zero-filled memory of the class's registered size)
 * and initialised by its class's Init, which first calls `kObject_Init` (or its base's Init).
 *
 * Lifetime: a constructor gives the caller one reference. `kObject_Share` adds one;
 * `kObject_Destroy` drops one and, at the last, runs the type's `VRelease` and frees the
 * memory. `kObject_Dispose` does the same but first lets a container dispose of the objects it
 * holds (`VDisposeItems`). Null handles are accepted by Destroy and Dispose and succeed.
 */
#ifndef K_BASIS_OBJECT_H
#define K_BASIS_OBJECT_H

#include <kBasis/kType.h>

/** Platform header at the start of every class instance. */
typedef struct kObjectClass
{
    kType type;       ///< The instance's class.
    kAlloc alloc;     ///< Allocator that holds the instance's memory.
    k32s refCount;    ///< Reference count (atomic access only).
    k32u tag;         ///< kOBJECT_TAG while the instance is alive.
} kObjectClass;

#define kOBJECT_TAG (0x6B4F626Au)

/**
 * Virtual operations of the root class, in slot order:
 * 0 VRelease, 1 VDisposeItems, 2 VInitClone, 3 VClone, 4 VAllocTraits, 5 VHashCode,
 * 6 VEquals, 7 VSize.
 */
struct kObjectVTable
{
    /** Releases what the instance owns, then calls the base's release. */
    kStatus (*VRelease)(kObject object);
    /** Disposes of objects held as items (containers); then Destroy proceeds as usual. */
    kStatus (*VDisposeItems)(kObject object);
    /** Initialises freshly allocated `object` as a deep copy of `source`. */
    kStatus (*VInitClone)(kObject object, kObject source, kAlloc allocator);
    /** Creates a deep copy; the default allocates an instance and calls VInitClone. */
    kStatus (*VClone)(kObject* clone, kObject source, kAlloc allocator);
    /** Memory kinds held by the instance (kALLOC_TRAIT_* bits). */
    k32u (*VAllocTraits)(kObject object);
    /** Hash code used by maps keyed by objects. */
    kSize (*VHashCode)(kObject object);
    /** Content equality; the default is identity. */
    kBool (*VEquals)(kObject object, kObject other);
    /** Memory held by the instance and what it owns, in bytes. */
    kSize (*VSize)(kObject object);
};

kDeclareType(kObject);
kDeclareType(kValue);
kFx(kObjectClass*) xxkObject_Cast(kObject object, const kChar* file, k32s line);

/** Table of `object`'s type, as table struct VT (the object must be of a class using VT). */
template <typename VT>
inline const VT* kVTableOf(kObject object)
{
    return static_cast<const VT*>(kType_VTable(static_cast<kObjectClass*>(object)->type));
}

/** Initialises the platform header: type, allocator, one reference. */
kFx(kStatus) kObject_Init(kObject object, kType type, kAlloc allocator);
kFx(kStatus) kObject_Destroy(kObject object);
kFx(kStatus) kObject_Dispose(kObject object);
kFx(kStatus) kObject_Share(kObject object);
/** Deep copy through the type's VClone; kSTATUS_NOT_IMPLEMENTED for classes that refuse. */
kFx(kStatus) kObject_Clone(kObject* clone, kObject source, kAlloc allocator);
kFx(kSize) kObject_Size(kObject object);
kFx(kType) kObject_Type(kObject object);
kFx(kAlloc) kObject_Alloc(kObject object);
kFx(k32s) kObject_RefCount(kObject object);
kFx(kBool) kObject_Is(kObject object, kType type);
kFx(kBool) kObject_Equals(kObject object, kObject other);
kFx(kSize) kObject_HashCode(kObject object);
kFx(k32u) kObject_AllocTraits(kObject object);

/** Root implementations, called by derived classes at the end of their own. */
kFx(kStatus) xkObject_VRelease(kObject object);
kFx(kStatus) xkObject_VDisposeItems(kObject object);
kFx(kStatus) xkObject_VInitClone(kObject object, kObject source, kAlloc allocator);
kFx(kStatus) xkObject_VClone(kObject* clone, kObject source, kAlloc allocator);
kFx(k32u) xkObject_VAllocTraits(kObject object);
kFx(kSize) xkObject_VHashCode(kObject object);
kFx(kBool) xkObject_VEquals(kObject object, kObject other);
kFx(kSize) xkObject_VSize(kObject object);

/** Destroys *object and clears the handle. */
inline kStatus kDestroyRef(kObject* object)
{
    kStatus status = kObject_Destroy(*object);
    *object = kNULL;
    return status;
}
template <typename T>
inline kStatus kDestroyRef(T** object)
{
    kObject o = *object;
    *object = kNULL;
    return kObject_Destroy(o);
}
/** Disposes of *object (with held objects) and clears the handle. */
inline kStatus kDisposeRef(kObject* object)
{
    kStatus status = kObject_Dispose(*object);
    *object = kNULL;
    return status;
}
template <typename T>
inline kStatus kDisposeRef(T** object)
{
    kObject o = *object;
    *object = kNULL;
    return kObject_Dispose(o);
}

/**
 * Owns one reference for a C++ scope: destroys it at scope exit unless released.
 * For temporaries inside an operation; never stored in instance structs.
 */
class kObjectGuard
{
public:
    explicit kObjectGuard(kObject object = kNULL, bool dispose = false) : m_object(object), m_dispose(dispose) {}
    ~kObjectGuard()
    {
        if (m_dispose) kObject_Dispose(m_object);
        else kObject_Destroy(m_object);
    }
    kObjectGuard(const kObjectGuard&) = delete;
    kObjectGuard& operator=(const kObjectGuard&) = delete;
    kObject* operator&() { return &m_object; }
    kObject get() const { return m_object; }
    operator kObject() const { return m_object; }
    /** Gives the reference up to the caller. */
    kObject release()
    {
        kObject o = m_object;
        m_object = kNULL;
        return o;
    }

private:
    kObject m_object;
    bool m_dispose;
};

#endif
