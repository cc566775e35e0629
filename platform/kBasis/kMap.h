/**
 * @file    kMap.h
 * @brief   kMap: a hash map from keys of one registered type to values of another.
 *
 * Keys and values are values copied byte for byte, or object handles when their type is a
 * class. Value keys are hashed and compared byte for byte (zero the padding of structure
 * keys); object keys through their class's `VHashCode` and `VEquals` (a `kString` key matches
 * any string of the same text), and a null handle is a key of its own.
 *
 * Items are held in one block in the order they were added, so iteration (`kMap_First`,
 * `kMap_Next`) visits them in that order until an item is removed: removal moves the last item
 * into the gap. Adding or removing invalidates item handles. Destroying the map leaves held
 * objects alone; disposing of it (`kObject_Dispose`) disposes of keys and values; cloning it
 * (`kObject_Clone`) clones them. Not thread-safe.
 */
#ifndef K_BASIS_MAP_H
#define K_BASIS_MAP_H

#include <kBasis/kAlloc.h>

typedef kObject kMap;
kDeclareClass(kMap, kObject);

/** Handle of one item of a map, valid until the next Add or Remove; null at the end. */
typedef void* kMapItem;

/**
 * Constructs an empty map.
 *
 * @param map        Receives the map (one reference, owned by the caller).
 * @param keyType    Key type: a value type of non-zero size, or a class.
 * @param valueType  Value type: a value type of non-zero size, or a class.
 * @param allocator  Allocator of the map and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad key or value type; kSTATUS_MEMORY.
 */
kFx(kStatus) kMap_Construct(kMap* map, kType keyType, kType valueType, kAlloc allocator);

/**
 * Adds a copy of *key (key size bytes; for objects, the handle, which the map then holds)
 * with a copy of *value.
 *
 * @param value  Value, or null for a zero-filled one.
 * @return kOK; kSTATUS_DUPLICATE when an equal key is present (nothing changes).
 */
kFx(kStatus) kMap_AddItem(kMap map, const void* key, const void* value);

/** Sets the value of key, adding the item when the key is absent. A replaced object value
 *  is not destroyed. */
kFx(kStatus) kMap_ReplaceItem(kMap map, const void* key, const void* value);

/**
 * Looks a key up.
 *
 * @param value  Receives a copy of the value (value size bytes), or null.
 * @return kOK; kSTATUS_NOT_FOUND when no key is equal.
 */
kFx(kStatus) kMap_Find(kMap map, const void* key, void* value);

/** Looks a key up and gives its item; kSTATUS_NOT_FOUND when no key is equal. */
kFx(kStatus) kMap_FindItem(kMap map, const void* key, kMapItem* item);

/** Removes the item of an equal key; held objects are not destroyed. kSTATUS_NOT_FOUND when
 *  absent. */
kFx(kStatus) kMap_Remove(kMap map, const void* key);

/**
 * Removes an item by its handle; held objects are not destroyed. The last item moves into
 * the gap, so *item becomes the item that iteration visits next: that moved item, or null when
 * the removed item was the last. Removing while iterating:
 *
 *     for (kMapItem it = kMap_First(map); it;)
 *         if (Unwanted(it)) kMap_RemoveItem(map, &it); else it = kMap_Next(map, it);
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when *item is not an item of the map.
 */
kFx(kStatus) kMap_RemoveItem(kMap map, kMapItem* item);

/** Removes every item; held objects are not destroyed. The memory is kept. */
kFx(kStatus) kMap_Clear(kMap map);

/** Disposes of every held key and value object, then removes every item. */
kFx(kStatus) kMap_Purge(kMap map);

/** Makes room for capacity items without further allocation. */
kFx(kStatus) kMap_Reserve(kMap map, kSize capacity);

/** First item, or null for an empty map. */
kFx(kMapItem) kMap_First(kMap map);
/** Item after item, or null after the last. */
kFx(kMapItem) kMap_Next(kMap map, kMapItem item);
/** Key of an item (key size bytes; for objects, a pointer to the handle). Do not modify. */
kFx(const void*) kMap_Key(kMap map, kMapItem item);
/** Value of an item (value size bytes; for objects, a pointer to the handle); writable. */
kFx(void*) kMap_Value(kMap map, kMapItem item);

kFx(kSize) kMap_Count(kMap map);
kFx(kType) kMap_KeyType(kMap map);
kFx(kType) kMap_ValueType(kMap map);

#endif
