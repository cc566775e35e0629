/**
 * @file    kSemaphore.h
 * @brief   Counting semaphore with timed waits.
 *
 * Post adds one to the count; Wait takes one, waiting for a Post while the count is zero.
 * Timeouts are in microseconds. A timed-out wait is not an error to most callers, who wait
 * again: it reports kSTATUS_TIMEOUT, never a failure of the semaphore.
 */
#ifndef K_BASIS_SEMAPHORE_H
#define K_BASIS_SEMAPHORE_H

#include <kBasis/kObject.h>

typedef kObject kSemaphore;
kDeclareClass(kSemaphore, kObject);

/**
 * Creates a semaphore.
 *
 * @param semaphore  Receives the semaphore (one reference for the caller).
 * @param count      Initial count.
 * @param allocator  Memory for the object (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kSemaphore_Construct(kSemaphore* semaphore, kSize count, kAlloc allocator);

/** Adds one to the count, waking one waiter. */
kFx(kStatus) kSemaphore_Post(kSemaphore semaphore);

/**
 * Takes one from the count.
 *
 * @param semaphore  Semaphore.
 * @param timeout    Longest wait in microseconds; 0 only tries; kINFINITE waits without limit.
 * @return kOK; kSTATUS_TIMEOUT when the count stayed zero for the whole timeout.
 */
kFx(kStatus) kSemaphore_Wait(kSemaphore semaphore, k64u timeout);

/** Current count (a snapshot: other threads may change it at once). */
kFx(kSize) kSemaphore_Count(kSemaphore semaphore);

#endif
