/**
 * @file    kArray2.h
 * @brief   kArray2: a row-major matrix of items of one registered type.
 *
 * Length 0 is the number of rows, length 1 the number of columns; item (i, j) lies at index
 * i × columns + j. Item types, object items, separate item memory and the host rule are as for
 * kArray1 (see kArray1.h).
 */
#ifndef K_BASIS_ARRAY2_H
#define K_BASIS_ARRAY2_H

#include <kBasis/kAlloc.h>

typedef kObject kArray2;
kDeclareClass(kArray2, kObject);

/**
 * Constructs a length0 × length1 array, zero-filled.
 *
 * @param array      Receives the array (one reference, owned by the caller).
 * @param itemType   Item type: a value type of non-zero size, or a class.
 * @param length0    Rows.
 * @param length1    Columns.
 * @param allocator  Allocator of the object and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad item type or a size that overflows;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kArray2_Construct(kArray2* array, kType itemType, kSize length0, kSize length1,
                               kAlloc allocator);

/** Constructs an array whose items come from valueAllocator (null: allocator). */
kFx(kStatus) kArray2_ConstructEx(kArray2* array, kType itemType, kSize length0, kSize length1,
                                 kAlloc allocator, kAlloc valueAllocator);

/** Re-shapes in place; contents unspecified (see kArray1_Allocate). */
kFx(kStatus) kArray2_Allocate(kArray2 array, kType itemType, kSize length0, kSize length1);

/** Wraps length0 × length1 items of external, row-major memory without taking ownership. */
kFx(kStatus)
    kArray2_Attach(kArray2 array, kType itemType, void* items, kSize length0, kSize length1);

/**
 * Makes array a deep copy of source: shape and items, objects cloned with the array's
 * allocator. Held objects are not released first.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when the item types differ; on a failure after the
 *         checks the array is left empty.
 */
kFx(kStatus) kArray2_Assign(kArray2 array, kArray2 source);

/** Zero-fills every item. */
kFx(kStatus) kArray2_Zero(kArray2 array);

/**
 * Copies one item into position (index0, index1); see kArray1_SetItem.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an index out of range or a null item.
 */
kFx(kStatus) kArray2_SetItem(kArray2 array, kSize index0, kSize index1, const void* item);

kFx(kType) kArray2_ItemType(kArray2 array);
kFx(kSize) kArray2_ItemSize(kArray2 array);
/** Length of dimension 0 (rows) or 1 (columns); 0 for any other dimension. */
kFx(kSize) kArray2_Length(kArray2 array, kSize dimension);
/** Number of items (rows × columns). */
kFx(kSize) kArray2_Count(kArray2 array);
/** Bytes of item data. */
kFx(kSize) kArray2_DataSize(kArray2 array);
/** Address of the first item, in whatever memory holds it (null when empty). */
kFx(void*) kArray2_Data(kArray2 array);
/** Address of item (index0, index1) in whatever memory holds it; null when out of range. */
kFx(void*) kArray2_DataAt(kArray2 array, kSize index0, kSize index1);
/** Host address of item (index0, index1); null when out of range or not reachable by the host. */
kFx(void*) kArray2_At(kArray2 array, kSize index0, kSize index1);

/** Typed item access; the item size is checked in debug builds. */
template <typename T>
inline T* kArray2_AtT(kArray2 array, kSize index0, kSize index1)
{
#ifndef NDEBUG
    kAssert(kArray2_ItemSize(array) == sizeof(T));
#endif
    return static_cast<T*>(kArray2_At(array, index0, index1));
}

/** Typed first item (host or device memory); the item size is checked in debug builds. */
template <typename T>
inline T* kArray2_DataT(kArray2 array)
{
#ifndef NDEBUG
    kAssert(kArray2_ItemSize(array) == sizeof(T));
#endif
    return static_cast<T*>(kArray2_Data(array));
}

/** Typed SetItem: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArray2_SetItemT(kArray2 array, kSize index0, kSize index1, const T& item)
{
    kCheckArgs(kArray2_ItemSize(array) == sizeof(T));
    return kArray2_SetItem(array, index0, index1, &item);
}

#endif
