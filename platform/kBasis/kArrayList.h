/**
 * @file    kArrayList.h
 * @brief   kArrayList: a growable list of items of one registered type.
 *
 * The list holds count items in memory for capacity items; Add and Insert grow the capacity
 * (at least doubling it) when it runs out. Item types, object items, separate item memory and
 * the host rule are as for kArray1 (see kArray1.h): destroying the list leaves held objects
 * alone, disposing of it or `kArrayList_Purge` disposes of them, cloning clones them.
 */
#ifndef K_BASIS_ARRAY_LIST_H
#define K_BASIS_ARRAY_LIST_H

#include <kBasis/kAlloc.h>

typedef kObject kArrayList;
kDeclareClass(kArrayList, kObject);

/**
 * Constructs an empty list.
 *
 * @param list       Receives the list (one reference, owned by the caller).
 * @param itemType   Item type: a value type of non-zero size, or a class.
 * @param capacity   Items to make room for at once (0: none).
 * @param allocator  Allocator of the object and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad item type or capacity; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kArrayList_Construct(kArrayList* list, kType itemType, kSize capacity, kAlloc allocator);

/** Constructs an empty list whose items come from valueAllocator (null: allocator). */
kFx(kStatus) kArrayList_ConstructEx(kArrayList* list, kType itemType, kSize capacity,
                                    kAlloc allocator, kAlloc valueAllocator);

/**
 * Empties the list and re-types it, with room for capacity items (owned memory; held objects
 * are not released).
 */
kFx(kStatus) kArrayList_Allocate(kArrayList list, kType itemType, kSize capacity);

/**
 * Wraps count items of external memory without taking ownership: count and capacity become
 * count. Growing past it moves the items into owned memory.
 */
kFx(kStatus) kArrayList_Attach(kArrayList list, kType itemType, void* items, kSize count);

/**
 * Replaces the contents with a copy of count items of itemType (byte copies: object handles
 * are taken over, not cloned).
 */
kFx(kStatus) kArrayList_Import(kArrayList list, kType itemType, const void* items, kSize count);

/**
 * Makes list a deep copy of source, objects cloned with the list's allocator. Held objects are
 * not released first.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when the item types differ; on a failure after the
 *         checks the list is left empty.
 */
kFx(kStatus) kArrayList_Assign(kArrayList list, kArrayList source);

/**
 * Appends one item (a copy of the item bytes; for object lists the list takes over the
 * handle's reference). Use kArrayList_AddT to have the size checked.
 */
kFx(kStatus) kArrayList_Add(kArrayList list, const void* item);

/**
 * Inserts one item before position before (0 .. count); later items move up by one.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a position past the end or a null item.
 */
kFx(kStatus) kArrayList_Insert(kArrayList list, kSize before, const void* item);

/**
 * Removes item index; later items move down by one. The removed item is copied to *item when
 * item is not null; a removed object is not released (the caller takes it over through item).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an index out of range.
 */
kFx(kStatus) kArrayList_Remove(kArrayList list, kSize index, void* item);

/** Copies one item into position index (< count); the previous item is not released. */
kFx(kStatus) kArrayList_SetItem(kArrayList list, kSize index, const void* item);

/**
 * Sets the count; new items are zero-filled (null handles). Items cut off are not released.
 */
kFx(kStatus) kArrayList_Resize(kArrayList list, kSize count);

/** Makes room for capacity items; never shrinks. */
kFx(kStatus) kArrayList_Reserve(kArrayList list, kSize capacity);

/** Zero-fills the count items (held objects are not released). */
kFx(kStatus) kArrayList_Zero(kArrayList list);

/** Sets the count to zero (held objects are not released; the capacity stays). */
kFx(kStatus) kArrayList_Clear(kArrayList list);

/**
 * Disposes of every held object (kObject_Dispose: items that are containers release their own
 * items too), then clears the list. For value items the same as Clear.
 */
kFx(kStatus) kArrayList_Purge(kArrayList list);

kFx(kType) kArrayList_ItemType(kArrayList list);
kFx(kSize) kArrayList_ItemSize(kArrayList list);
/** Number of items. */
kFx(kSize) kArrayList_Count(kArrayList list);
/** Number of items the memory can hold without moving. */
kFx(kSize) kArrayList_Capacity(kArrayList list);
/** Bytes of item data (count × item size). */
kFx(kSize) kArrayList_DataSize(kArrayList list);
/** Address of the first item, in whatever memory holds it (null when it holds none). */
kFx(void*) kArrayList_Data(kArrayList list);
/** Host address of item index; null when index ≥ count or the host cannot reach the items. */
kFx(void*) kArrayList_At(kArrayList list, kSize index);

/** Typed item access; the item size is checked in debug builds. */
template <typename T>
inline T* kArrayList_AtT(kArrayList list, kSize index)
{
#ifndef NDEBUG
    kAssert(kArrayList_ItemSize(list) == sizeof(T));
#endif
    return static_cast<T*>(kArrayList_At(list, index));
}

/** Typed first item; the item size is checked in debug builds. */
template <typename T>
inline T* kArrayList_DataT(kArrayList list)
{
#ifndef NDEBUG
    kAssert(kArrayList_ItemSize(list) == sizeof(T));
#endif
    return static_cast<T*>(kArrayList_Data(list));
}

/** Typed Add: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArrayList_AddT(kArrayList list, const T& item)
{
    kCheckArgs(kArrayList_ItemSize(list) == sizeof(T));
    return kArrayList_Add(list, &item);
}

/** Typed Insert: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArrayList_InsertT(kArrayList list, kSize before, const T& item)
{
    kCheckArgs(kArrayList_ItemSize(list) == sizeof(T));
    return kArrayList_Insert(list, before, &item);
}

/** Typed SetItem: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArrayList_SetItemT(kArrayList list, kSize index, const T& item)
{
    kCheckArgs(kArrayList_ItemSize(list) == sizeof(T));
    return kArrayList_SetItem(list, index, &item);
}

/** Typed Remove: kSTATUS_BAD_PARAMETER when T is not of the item size. */
template <typename T>
inline kStatus kArrayList_RemoveT(kArrayList list, kSize index, T* item)
{
    kCheckArgs(kArrayList_ItemSize(list) == sizeof(T));
    return kArrayList_Remove(list, index, item);
}

#endif
