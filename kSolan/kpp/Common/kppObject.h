/**
 * @file    kppObject.h
 * @brief   kpp::Object, the owning wrapper of one platform handle; kpp::Allocator; the holder
 *          and grid-id value types.
 *
 * A wrapper owns one reference to its object: Attach and copying take a new share, Export
 * hands one out, the destructor and Destroy() drop the wrapper's own, Dispose() drops it
 * together with the objects the object holds. A wrapper adds no storage beyond the handle
 * (and the allocator that holds the wrapper itself, when kpp::Allocator::GetObject made it).
 *
 * The virtual table of kpp::Object is fixed, in this order: destructor, the three Load6
 * overloads, the two Save6 overloads, Dispose, Destroy. Derived wrappers add no virtual
 * operations and override none but their destructor.
 */
#ifndef KPP_OBJECT_H
#define KPP_OBJECT_H

#include <kSolan/kpp/Common/kppApiDef.h>

#include <new>
#include <typeinfo>
#include <string>

/** Platform value holding one object handle without owning it. */
typedef struct kObjectHolder
{
    kObject handle;
} kObjectHolder;

/** Cell address in a point grid: row, then column. */
typedef struct kGridId16u
{
    k16u row;
    k16u col;
} kGridId16u;

kDeclareValue(kObjectHolder);
kDeclareValue(kGridId16u);

namespace kpp
{
class Allocator;

class kEXPORT_ATTR Object
{
public:
    Object() = default;
    /** Shares other's object. */
    Object(const Object& other);
    /** Drops the current object and shares other's (Attach). */
    Object& operator=(const Object& other);
    /** Drops the wrapper's reference; asserts that this succeeded. */
    virtual ~Object();

    /**
     * Loads an object from a kdat6 file and attaches it, with the class checks of the wrapper
     * (a container accepts only its container class and item type).
     *
     * @return kOK; kSTATUS_BAD_PARAMETER (-997) when the wrapper already holds an object
     *         (left unchanged) or the loaded object does not fit the wrapper (left empty);
     *         the platform's status when loading fails (left empty).
     */
    virtual kStatus Load6(const char* path, Allocator& alloc);
    virtual kStatus Load6(const char* path, void* alloc);
    virtual kStatus Load6(const std::string& path, void* alloc);
    virtual kStatus Save6(const char* path) const;
    virtual kStatus Save6(const std::string& path) const;
    /** Drops the reference together with the objects held by the object; the handle is nulled. */
    virtual kStatus Dispose();
    /** Drops the reference; the handle is nulled. */
    virtual kStatus Destroy();

    /** Creates a plain kObject (null alloc: the platform default). The wrapper must be empty. */
    kStatus Init(Allocator& alloc);
    kStatus Init(void* alloc);

    /**
     * Drops the current object and co-owns handle (a share is taken). Attaching the current
     * handle does nothing; a null handle leaves the wrapper empty.
     */
    kStatus Attach(void* handle);
    kStatus Attach(const Object& other);

    /** Gives out a new share of the handle; the receiver owns it. */
    kStatus Export(void*& handle) const;
    kStatus Share();
    kBool IsShared() const;

    void* Handle() const { return m_handle; }
    operator void*() const { return m_handle; }
    bool IsNull() const { return m_handle == kNULL; }
    /** Allocator of the object; null for an empty wrapper. */
    kAlloc Alloc() const;

    /** True when handle fits this kind of wrapper (any object; containers narrow it). */
    static bool Accepts(kObject handle);

protected:
    using AcceptsFx = bool (*)(kObject handle);

    /** Attach with a class check: a non-null handle that fails `accepts` gives -997. */
    kStatus AttachChecked(void* handle, AcceptsFx accepts);

    /**
     * Makes the check of wrapper class Derived known to Load6, which runs the check of the
     * wrapper's dynamic class; derived wrappers call it from their constructors.
     */
    template <typename Derived>
    static void RegisterAccepts()
    {
        static const bool registered = (RegisterAccepts(typeid(Derived), &Derived::Accepts), true);
        (void)registered;
    }

    kObject m_handle = kNULL;

private:
    friend class Allocator;
    static void RegisterAccepts(const std::type_info& type, AcceptsFx accepts);
    AcceptsFx DynamicAccepts() const;

    kAlloc m_ownerAllocator = kNULL;
};

/** A wrapper of a platform allocator; empty means the platform default. */
class kEXPORT_ATTR Allocator : public Object
{
public:
    Allocator() = default;
    ~Allocator() override;

    /** Shares alloc (the wrapper must be empty); a null allocator leaves it empty. */
    void Attach(void* alloc);
    /** Shares other's allocator, when it has one (the wrapper must be empty). */
    void Attach(Allocator& other);

    /**
     * Makes a wrapper of type T in memory from this allocator; the new wrapper remembers the
     * allocator and must be released with DisposeRef.
     *
     * @return kOK; kSTATUS_MEMORY (object left null).
     */
    template <typename T>
    kStatus GetObject(T*& object)
    {
        kAlloc alloc = kAlloc_Fallback(m_handle);
        void* memory = kNULL;
        object = kNULL;
        kCheck(kAlloc_Get(alloc, sizeof(T), &memory));
        T* created = new (memory) T(T());
        created->m_ownerAllocator = alloc;
        object = created;
        return kOK;
    }
    template <typename T>
    T* GetObject()
    {
        T* object = kNULL;
        GetObject(object);
        return object;
    }

    /**
     * Disposes of a wrapper made by GetObject, runs its destructor and frees its memory.
     *
     * @return kOK (also for null); 0 after an assertion for a wrapper not made by GetObject;
     *         the status of Dispose() when it fails (the wrapper is then left alive).
     */
    template <typename T>
    static kStatus DisposeRef(T*& object)
    {
        if (!object) return kOK;
        kAlloc owner = object->m_ownerAllocator;
        kAssert(owner != kNULL);
        if (!owner) return kSTATUS_FAILED;
        kCheck(object->Dispose());
        object->~T();
        kStatus status = kAlloc_Free(owner, object);
        object = kNULL;
        return status;
    }
};

/** kObjectHolder as a value of the data layer: a handle, not owned. */
struct ObjectHolder : kObjectHolder
{
    ObjectHolder(kObject h = kNULL) : kObjectHolder{h} {}
    static ObjectHolder Null() { return ObjectHolder(); }
    static kType Type() { return kTypeOf(kObjectHolder); }
};

namespace S3d::PointGridAlgs
{
/** A cell address in a point grid (the platform's kGridId16u). */
struct GridId : kGridId16u
{
    GridId(k16u r = 0, k16u c = 0) : kGridId16u{r, c} {}
    static kType Type() { return kTypeOf(kGridId16u); }
};
} // namespace S3d::PointGridAlgs
} // namespace kpp

#endif
