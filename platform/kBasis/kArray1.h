/**
 * @file    kArray1.h
 * @brief   kArray1: a vector of items of one registered type.
 *
 * Items are values (`kTypeOf(k32s)`, `kTypeOf(kPoint3d64f)`, `kBytes_GetType(n)`) copied byte
 * for byte, or object handles when the item type is a class (`kTypeOf(kString)`). Destroying
 * the array leaves held objects alone; disposing of it (`kObject_Dispose`) disposes of them
 * too; cloning it (`kObject_Clone`) clones them.
 *
 * The item memory may come from an allocator of its own (`kArray1_ConstructEx`), for example
 * device memory for a GPU path while the object lives on the host. Such memory is reached
 * only through `kArray1_Data` / `kArray1_DataAt`; operations that would read or write it on
 * the host fail with kSTATUS_NOT_IMPLEMENTED.
 */
#ifndef K_BASIS_ARRAY1_H
#define K_BASIS_ARRAY1_H

#include <kBasis/kAlloc.h>

typedef kObject kArray1;
kDeclareClass(kArray1, kObject);

/**
 * Constructs an array of length items, zero-filled.
 *
 * @param array      Receives the array (one reference, owned by the caller).
 * @param itemType   Item type: a value type of non-zero size, or a class.
 * @param length     Number of items.
 * @param allocator  Allocator of the object and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad item type or a length whose size overflows;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kArray1_Construct(kArray1* array, kType itemType, kSize length, kAlloc allocator);

/**
 * Constructs an array whose items come from valueAllocator (null: allocator). Items are
 * zero-filled when valueAllocator gives host memory. Object items need host memory.
 */
kFx(kStatus) kArray1_ConstructEx(kArray1* array, kType itemType, kSize length, kAlloc allocator,
                                 kAlloc valueAllocator);

/**
 * Re-shapes the array in place to length items of itemType. Contents are unspecified: new
 * memory is zero-filled, reused memory keeps its bytes, object handles are null (held objects
 * are not released: dispose of them first). Owned memory is reused when large enough; after
 * Attach, owned memory is allocated again.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad type or size (the array is unchanged).
 */
kFx(kStatus) kArray1_Allocate(kArray1 array, kType itemType, kSize length);

/**
 * Wraps length items of external memory without taking ownership; the memory must outlive
 * the array or the next Allocate/Attach. Owned memory is freed.
 */
kFx(kStatus) kArray1_Attach(kArray1 array, kType itemType, void* items, kSize length);

/**
 * Makes array a deep copy of source: length and items, objects cloned with the array's
 * allocator. Held objects are not released first.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when the item types differ; on a failure after the
 *         checks the array is left empty.
 */
kFx(kStatus) kArray1_Assign(kArray1 array, kArray1 source);

/** Zero-fills every item (object handles become null; held objects are not released). */
kFx(kStatus) kArray1_Zero(kArray1 array);

/**
 * Copies one item into position index. item points at one item of the array's item size (for
 * object arrays: at a handle, whose reference the array takes over; the previous one in that
 * place is not released). Use kArray1_SetItemT to have the size checked.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an index out of range or a null item.
 */
kFx(kStatus) kArray1_SetItem(kArray1 array, kSize index, const void* item);

/** Item type handle. */
kFx(kType) kArray1_ItemType(kArray1 array);
/** Item size in bytes (a handle's size for object items). */
kFx(kSize) kArray1_ItemSize(kArray1 array);
/** Number of items. */
kFx(kSize) kArray1_Length(kArray1 array);
/** Number of items (same as the length). */
kFx(kSize) kArray1_Count(kArray1 array);
/** Bytes of item data (count × item size). */
kFx(kSize) kArray1_DataSize(kArray1 array);
/** Address of the first item, in whatever memory holds it (null when empty). */
kFx(void*) kArray1_Data(kArray1 array);
/** Address of item index, in whatever memory holds it; null when index is out of range. */
kFx(void*) kArray1_DataAt(kArray1 array, kSize index);
/** Host address of item index; null when out of range or when the host cannot reach the items. */
kFx(void*) kArray1_At(kArray1 array, kSize index);

/** Typed item access; the item size is checked in debug builds. */
template <typename T>
inline T* kArray1_AtT(kArray1 array, kSize index)
{
#ifndef NDEBUG
    kAssert(kArray1_ItemSize(array) == sizeof(T));
#endif
    return static_cast<T*>(kArray1_At(array, index));
}

/** Typed first item (host or device memory); the item size is checked in debug builds. */
template <typename T>
inline T* kArray1_DataT(kArray1 array)
{
#ifndef NDEBUG
    kAssert(kArray1_ItemSize(array) == sizeof(T));
#endif
    return static_cast<T*>(kArray1_Data(array));
}

/** Typed SetItem: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArray1_SetItemT(kArray1 array, kSize index, const T& item)
{
    kCheckArgs(kArray1_ItemSize(array) == sizeof(T));
    return kArray1_SetItem(array, index, &item);
}

#endif
