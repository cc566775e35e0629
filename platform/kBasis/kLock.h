/**
 * @file    kLock.h
 * @brief   Mutual exclusion between threads.
 *
 * A kLock is recursive: the thread that holds it may enter again, and releases it after as
 * many exits as entries. Recursion lets an operation that holds an object's lock call the
 * object's other locked operations (the job queue's bookkeeping does).
 */
#ifndef K_BASIS_LOCK_H
#define K_BASIS_LOCK_H

#include <kBasis/kObject.h>

typedef kObject kLock;
kDeclareClass(kLock, kObject);

/**
 * Creates an unheld lock.
 *
 * @param lock       Receives the lock (one reference for the caller).
 * @param allocator  Memory for the object (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kLock_Construct(kLock* lock, kAlloc allocator);

/** Waits until the calling thread holds the lock (at once when it holds it already). */
kFx(kStatus) kLock_Enter(kLock lock);

/**
 * Undoes one Enter of the calling thread.
 *
 * @return kOK; kSTATUS_BAD_STATE when the calling thread does not hold the lock.
 */
kFx(kStatus) kLock_Exit(kLock lock);

#endif
