/**
 * @file    kQueue.h
 * @brief   kQueue: a first-in, first-out queue of items of one registered type.
 *
 * Items live in a ring buffer that doubles when full, so Add and Remove cost a copy of one
 * item. Items are values copied byte for byte, or object handles when the item type is a
 * class. Destroying the queue leaves held objects alone; disposing of it (`kObject_Dispose`)
 * disposes of them too; cloning it (`kObject_Clone`) clones them. Not thread-safe: callers
 * that share a queue between threads hold a lock around every call.
 */
#ifndef K_BASIS_QUEUE_H
#define K_BASIS_QUEUE_H

#include <kBasis/kAlloc.h>

typedef kObject kQueue;
kDeclareClass(kQueue, kObject);

/**
 * Constructs an empty queue.
 *
 * @param queue      Receives the queue (one reference, owned by the caller).
 * @param itemType   Item type: a value type of non-zero size, or a class.
 * @param capacity   Items to make room for at once (0: none until the first Add).
 * @param allocator  Allocator of the queue and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a bad item type or a capacity whose size overflows;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kQueue_Construct(kQueue* queue, kType itemType, kSize capacity, kAlloc allocator);

/** Appends a copy of *item (item size bytes; for objects, the handle) at the tail. */
kFx(kStatus) kQueue_Add(kQueue queue, const void* item);

/**
 * Takes the item at the head.
 *
 * @param item  Receives the item (item size bytes), or null to drop it. An object removed
 *              this way is not destroyed.
 * @return kOK; kSTATUS_BAD_STATE when the queue is empty.
 */
kFx(kStatus) kQueue_Remove(kQueue queue, void* item);

/** Makes room for at least capacity items (never shrinks); items keep their order. */
kFx(kStatus) kQueue_Reserve(kQueue queue, kSize capacity);

/** Drops every item; held objects are not destroyed. The memory is kept. */
kFx(kStatus) kQueue_Clear(kQueue queue);

/** Disposes of every held object, then drops every item. */
kFx(kStatus) kQueue_Purge(kQueue queue);

/** Item index from the head (0 is the next to be removed); null when index >= count. */
kFx(void*) kQueue_At(kQueue queue, kSize index);

kFx(kSize) kQueue_Count(kQueue queue);
kFx(kSize) kQueue_Capacity(kQueue queue);
kFx(kType) kQueue_ItemType(kQueue queue);
kFx(kSize) kQueue_ItemSize(kQueue queue);

#endif
