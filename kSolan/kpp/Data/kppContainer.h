/**
 * @file    kppContainer.h
 * @brief   The one template behind the container wrappers of kpp::Data.
 *
 * A container wrapper holds one platform container (kArray1, kArray2, kArray3, kArrayList or
 * kImage) whose item type is `ItemType()`, the registered type of element T. The platform
 * class is described by a traits struct; everything else is shared here.
 */
#ifndef KPP_DATA_CONTAINER_H
#define KPP_DATA_CONTAINER_H

#include <kSolan/kpp/Common/kppObject.h>

namespace kpp::Data
{
/** Platform class traits: class type, item type, element count and base, zero and assign. */
struct Array1Traits
{
    static kType Class() { return kTypeOf(kArray1); }
    static void* Data(kObject h) { return kArray1_Data(h); }
    static kType ItemType(kObject h) { return kArray1_ItemType(h); }
    static kSize Count(kObject h) { return kArray1_Count(h); }
    static void* ItemAt(kObject h, kSize k)
    {
        return static_cast<kByte*>(kArray1_Data(h)) + k * kArray1_ItemSize(h);
    }
    static kStatus Zero(kObject h) { return kArray1_Zero(h); }
    static kStatus Assign(kObject h, kObject source) { return kArray1_Assign(h, source); }
    static kStatus Construct(kObject* h, kType type, kAlloc a)
    {
        return kArray1_Construct(h, type, 0, a);
    }
};

struct Array2Traits
{
    static kType Class() { return kTypeOf(kArray2); }
    static void* Data(kObject h) { return kArray2_Data(h); }
    static kType ItemType(kObject h) { return kArray2_ItemType(h); }
    static kSize Count(kObject h) { return kArray2_Count(h); }
    static void* ItemAt(kObject h, kSize k)
    {
        return static_cast<kByte*>(kArray2_Data(h)) + k * kArray2_ItemSize(h);
    }
    static kStatus Zero(kObject h) { return kArray2_Zero(h); }
    static kStatus Assign(kObject h, kObject source) { return kArray2_Assign(h, source); }
    static kStatus Construct(kObject* h, kType type, kAlloc a)
    {
        return kArray2_Construct(h, type, 0, 0, a);
    }
};

struct Array3Traits
{
    static kType Class() { return kTypeOf(kArray3); }
    static void* Data(kObject h) { return kArray3_Data(h); }
    static kType ItemType(kObject h) { return kArray3_ItemType(h); }
    static kSize Count(kObject h) { return kArray3_Count(h); }
    static void* ItemAt(kObject h, kSize k)
    {
        return static_cast<kByte*>(kArray3_Data(h)) + k * kArray3_ItemSize(h);
    }
    static kStatus Zero(kObject h) { return kArray3_Zero(h); }
    static kStatus Assign(kObject h, kObject source) { return kArray3_Assign(h, source); }
    static kStatus Construct(kObject* h, kType type, kAlloc a)
    {
        return kArray3_Construct(h, type, 0, 0, 0, a);
    }
};

struct ArrayListTraits
{
    static kType Class() { return kTypeOf(kArrayList); }
    static void* Data(kObject h) { return kArrayList_Data(h); }
    static kType ItemType(kObject h) { return kArrayList_ItemType(h); }
    static kSize Count(kObject h) { return kArrayList_Count(h); }
    static void* ItemAt(kObject h, kSize k)
    {
        return static_cast<kByte*>(kArrayList_Data(h)) + k * kArrayList_ItemSize(h);
    }
    static kStatus Zero(kObject h) { return kArrayList_Zero(h); }
    static kStatus Assign(kObject h, kObject source) { return kArrayList_Assign(h, source); }
    static kStatus Construct(kObject* h, kType type, kAlloc a)
    {
        return kArrayList_Construct(h, type, 0, a);
    }
};

/** Images accept any pixel type on attach; rows may be padded, so elements go by (x, y). */
struct ImageTraits
{
    static kType Class() { return kTypeOf(kImage); }
    static void* Data(kObject h) { return kImage_Data(h); }
    static kType ItemType(kObject h) { return kImage_PixelType(h); }
    static kSize Count(kObject h) { return kImage_Area(h); }
    static void* ItemAt(kObject h, kSize k)
    {
        const kSize width = kImage_Width(h);
        return kImage_At(h, k % width, k / width);
    }
    static kStatus Zero(kObject h) { return kImage_Zero(h); }
    static kStatus Assign(kObject h, kObject source) { return kImage_Assign(h, source); }
    static kStatus Construct(kObject* h, kType type, kAlloc a)
    {
        return kImage_Construct(h, type, 0, 0, a);
    }
    static constexpr bool anyItemType = true;
};

template <typename T, typename Traits>
class Container : public Object
{
public:
    using Item = T;

    /** Registered platform type of the elements. */
    static kType ItemType() { return ItemTypeOf<T>::Get(); }

    /** The platform class with exactly ItemType() (images: any kImage). */
    static bool Accepts(kObject handle)
    {
        if (!kObject_Is(handle, Traits::Class())) return false;
        if constexpr (requires { Traits::anyItemType; })
            return true;
        else
            return Traits::ItemType(handle) == ItemType();
    }

    /**
     * Drops the current object and co-owns handle.
     *
     * @return kOK; kSTATUS_BAD_PARAMETER (-997) for another class or item type (the wrapper
     *         is then empty). A null handle is accepted.
     */
    kStatus Attach(void* handle) { return AttachChecked(handle, &Accepts); }
    kStatus Attach(const Object& other)
    {
        return &other == this ? kOK : AttachChecked(other.Handle(), &Accepts);
    }

    /** Constructs an empty container (zero length) from alloc (null: platform default). */
    kStatus Init(Allocator& alloc) { return Init(alloc.Handle()); }
    kStatus Init(void* alloc)
    {
        kAssert(m_handle == kNULL);
        return Traits::Construct(&m_handle, ItemType(), alloc);
    }

    T* Data() const { return m_handle ? static_cast<T*>(Traits::Data(m_handle)) : kNULL; }
    kSize Count() const { return m_handle ? Traits::Count(m_handle) : 0; }

    kStatus Zero() { return Traits::Zero(m_handle); }

    /** Writes T's null into every element. */
    kStatus Null()
    {
        const T null = NullOf<T>::Get();
        const kSize count = Count();
        for (kSize k = 0; k < count; ++k)
            *static_cast<T*>(Traits::ItemAt(m_handle, k)) = null;
        return kOK;
    }

    /** Copies other's shape and contents; an empty wrapper first gets an empty container. */
    kStatus Assign(const Container& other)
    {
        if (!m_handle) kCheck(Init(other.Alloc()));
        return Traits::Assign(m_handle, other.Handle());
    }

protected:
    template <typename Self>
    static void Register()
    {
        Object::RegisterAccepts<Self>();
    }
};
} // namespace kpp::Data

#endif
