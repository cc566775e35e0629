/**
 * @file    kMsgQueue.h
 * @brief   Thread-safe first-in first-out queue of fixed-size items, with timed removal.
 *
 * Items are copied in and out byte for byte; a queue of handles does not own the objects. Any
 * number of threads may add and remove at once. A remover that waits is woken as soon as an
 * item arrives (or the queue closes), not at the end of its timeout.
 *
 * Closing is how an owner stops its consumers: after Close, Add refuses, the items already
 * queued can still be removed, and then every Remove returns kSTATUS_CLOSED at once.
 */
#ifndef K_BASIS_MSG_QUEUE_H
#define K_BASIS_MSG_QUEUE_H

#include <kBasis/kObject.h>

typedef kObject kMsgQueue;
kDeclareClass(kMsgQueue, kObject);

/**
 * Creates an empty, open queue. Its storage grows on demand, up to the capacity.
 *
 * @param queue      Receives the queue (one reference for the caller).
 * @param itemSize   Bytes per item (at least 1).
 * @param capacity   Most items held at once; 0 for no limit.
 * @param allocator  Memory for the object and its items (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a zero item size; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kMsgQueue_Construct(kMsgQueue* queue, kSize itemSize, kSize capacity, kAlloc allocator);

/**
 * Copies one item to the tail of the queue. Never waits.
 *
 * @param queue  Queue.
 * @param item   Item of the queue's item size (copied).
 * @return kOK; kSTATUS_OVERFLOW when a bounded queue is full; kSTATUS_CLOSED after Close;
 *         kSTATUS_MEMORY when storage cannot grow.
 */
kFx(kStatus) kMsgQueue_Add(kMsgQueue queue, const void* item);

/**
 * Takes the item at the head of the queue, waiting for one if the queue is empty.
 *
 * @param queue    Queue.
 * @param item     Receives the item (the queue's item size).
 * @param timeout  Longest wait in microseconds; 0 only tries; kINFINITE waits without limit.
 * @return kOK; kSTATUS_TIMEOUT when nothing arrived in time; kSTATUS_CLOSED when the queue
 *         is closed and empty.
 */
kFx(kStatus) kMsgQueue_Remove(kMsgQueue queue, void* item, k64u timeout);

/** Discards every queued item; the queue stays open (or closed). */
kFx(kStatus) kMsgQueue_Flush(kMsgQueue queue);

/** Refuses further items and wakes every waiting remover. Closing twice is harmless. */
kFx(kStatus) kMsgQueue_Close(kMsgQueue queue);

/** Items queued now (a snapshot). */
kFx(kSize) kMsgQueue_Count(kMsgQueue queue);
/** Most items held at once; 0 for no limit. */
kFx(kSize) kMsgQueue_Capacity(kMsgQueue queue);
/** Bytes per item. */
kFx(kSize) kMsgQueue_ItemSize(kMsgQueue queue);

#endif
