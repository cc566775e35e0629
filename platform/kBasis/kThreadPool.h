/**
 * @file    kThreadPool.h
 * @brief   A fixed set of worker threads running submitted tasks.
 *
 * A submitter begins any number of tasks and then ends the execution, which waits for all of
 * them and reports the first failure. Tasks run in submission order on whichever worker is
 * free; with one thread they run strictly one after another. One thread at a time submits and
 * ends (tasks must not submit to their own pool).
 */
#ifndef K_BASIS_THREAD_POOL_H
#define K_BASIS_THREAD_POOL_H

#include <kBasis/kThread.h>

typedef kObject kThreadPool;
kDeclareClass(kThreadPool, kObject);

/**
 * Creates the pool and starts its workers.
 *
 * @param pool         Receives the pool (one reference for the caller).
 * @param threadCount  Worker count; 0 for one per processor (kThread_ProcessorCount).
 * @param allocator    Memory for the pool and its threads (null: application allocator).
 * @return kOK; kSTATUS_MEMORY; kSTATUS_FAILED when the system refuses a thread.
 */
kFx(kStatus) kThreadPool_Construct(kThreadPool* pool, kSize threadCount, kAlloc allocator);

/**
 * Submits function(context) to run on a worker. Never waits.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null function; kSTATUS_MEMORY.
 */
kFx(kStatus) kThreadPool_BeginExecute(kThreadPool pool, kThreadFx function, kPointer context);

/**
 * Waits until every task begun since the last EndExecute has returned.
 *
 * @return kOK when all succeeded; else the status of the first task that failed (in the order
 *         they finished). Later executions start with a clean slate.
 */
kFx(kStatus) kThreadPool_EndExecute(kThreadPool pool);

/** Number of worker threads. */
kFx(kSize) kThreadPool_ThreadCount(kThreadPool pool);

#endif
