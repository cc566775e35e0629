/**
 * @file    kArray3.h
 * @brief   kArray3: a three-dimensional, row-major array of items of one registered type.
 *
 * Item (i, j, k) lies at index (i × length1 + j) × length2 + k: the last index runs fastest.
 * Item types, object items, separate item memory and the host rule are as for kArray1 (see
 * kArray1.h).
 */
#ifndef K_BASIS_ARRAY3_H
#define K_BASIS_ARRAY3_H

#include <kBasis/kAlloc.h>

typedef kObject kArray3;
kDeclareClass(kArray3, kObject);

/**
 * Constructs a length0 × length1 × length2 array, zero-filled.
 *
 * @param array      Receives the array (one reference, owned by the caller).
 * @param itemType   Item type: a value type of non-zero size, or a class.
 * @param allocator  Allocator of the object and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad item type or a size that overflows;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kArray3_Construct(kArray3* array, kType itemType, kSize length0, kSize length1,
                               kSize length2, kAlloc allocator);

/** Constructs an array whose items come from valueAllocator (null: allocator). */
kFx(kStatus) kArray3_ConstructEx(kArray3* array, kType itemType, kSize length0, kSize length1,
                                 kSize length2, kAlloc allocator, kAlloc valueAllocator);

/** Re-shapes in place; contents unspecified (see kArray1_Allocate). */
kFx(kStatus)
    kArray3_Allocate(kArray3 array, kType itemType, kSize length0, kSize length1, kSize length2);

/** Wraps external, row-major memory of the given lengths without taking ownership. */
kFx(kStatus) kArray3_Attach(kArray3 array, kType itemType, void* items, kSize length0,
                            kSize length1, kSize length2);

/**
 * Makes array a deep copy of source: shape and items, objects cloned with the array's
 * allocator. Held objects are not released first.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when the item types differ; on a failure after the
 *         checks the array is left empty.
 */
kFx(kStatus) kArray3_Assign(kArray3 array, kArray3 source);

/** Zero-fills every item. */
kFx(kStatus) kArray3_Zero(kArray3 array);

/**
 * Copies one item into position (index0, index1, index2); see kArray1_SetItem.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an index out of range or a null item.
 */
kFx(kStatus)
    kArray3_SetItem(kArray3 array, kSize index0, kSize index1, kSize index2, const void* item);

kFx(kType) kArray3_ItemType(kArray3 array);
kFx(kSize) kArray3_ItemSize(kArray3 array);
/** Length of dimension 0, 1 or 2; 0 for any other dimension. */
kFx(kSize) kArray3_Length(kArray3 array, kSize dimension);
/** Number of items (product of the lengths). */
kFx(kSize) kArray3_Count(kArray3 array);
/** Bytes of item data. */
kFx(kSize) kArray3_DataSize(kArray3 array);
/** Address of the first item, in whatever memory holds it (null when empty). */
kFx(void*) kArray3_Data(kArray3 array);
/** Address of an item in whatever memory holds it; null when out of range. */
kFx(void*) kArray3_DataAt(kArray3 array, kSize index0, kSize index1, kSize index2);
/** Host address of an item; null when out of range or not reachable by the host. */
kFx(void*) kArray3_At(kArray3 array, kSize index0, kSize index1, kSize index2);

/** Typed item access; the item size is checked in debug builds. */
template <typename T>
inline T* kArray3_AtT(kArray3 array, kSize index0, kSize index1, kSize index2)
{
#ifndef NDEBUG
    kAssert(kArray3_ItemSize(array) == sizeof(T));
#endif
    return static_cast<T*>(kArray3_At(array, index0, index1, index2));
}

/** Typed first item (host or device memory); the item size is checked in debug builds. */
template <typename T>
inline T* kArray3_DataT(kArray3 array)
{
#ifndef NDEBUG
    kAssert(kArray3_ItemSize(array) == sizeof(T));
#endif
    return static_cast<T*>(kArray3_Data(array));
}

/** Typed SetItem: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArray3_SetItemT(kArray3 array, kSize index0, kSize index1, kSize index2,
                                const T& item)
{
    kCheckArgs(kArray3_ItemSize(array) == sizeof(T));
    return kArray3_SetItem(array, index0, index1, index2, &item);
}

#endif
