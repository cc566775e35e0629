/**
 * @file    kVsJobQueue.h
 * @brief   kVsJobQueue: a fixed pool of worker threads running batches of indexed jobs.
 *
 * A caller opens a batch (Begin), adds jobs (a function, a context pointer and an index) and
 * waits for all of them (End), which returns the first failure any job of the batch returned,
 * or success. Jobs keep running after a failure. The threads live as long as the object.
 *
 *     kCheck(kVsJobQueue_RunIndexedBatch(queue, RowBatch, &rows, threadCount));
 *
 * Once End returns, every job of the batch has returned and everything the jobs wrote is
 * visible to the caller. With one thread, jobs run strictly in the order they were added.
 *
 * Threads: one thread at a time may wait in End. A job may add further jobs to its own batch
 * (End then waits for those too), but must not call Begin or End on its own queue. Jobs added
 * before the first Begin wait in the queue until then.
 */
#ifndef K_VS_JOB_QUEUE_H
#define K_VS_JOB_QUEUE_H

#include <kSolan/kSolanDef.h>

/** A job: the work on one index of a batch. Its status is recorded by the queue. */
typedef kStatus (*kVsJobFx)(kPointer context, kSize index);

/** Job record as queued (24 bytes on 64-bit targets). */
typedef struct kVsJob
{
    kVsJobFx function;
    kPointer context;
    kSize index;
} kVsJob;

/** Queue state: idle until the first Begin, then running until release. */
typedef k32s kVsJobQueueState;
#define kVS_JOB_QUEUE_STATE_IDLE (0)
#define kVS_JOB_QUEUE_STATE_RUNNING (1)
#define kVS_JOB_QUEUE_STATE_STOPPING (2)

typedef kObject kVsJobQueue;
kDeclareClass(kVsJobQueue, kObject);

/**
 * Builds the queue and starts its workers. Cloning is not offered (kSTATUS_NOT_IMPLEMENTED).
 *
 * @param queue        Receives the queue (one reference for the caller).
 * @param threadCount  Worker threads, at least 1.
 * @param allocator    Memory for the queue, its threads and records (null: application).
 * @return kOK; kSTATUS_BAD_PARAMETER for no threads; kSTATUS_MEMORY; kSTATUS_FAILED when
 *         the system refuses a thread.
 */
kFx(kStatus) kVsJobQueue_Construct(kVsJobQueue* queue, kSize threadCount, kAlloc allocator);

/** Opens a batch: clears the batch status and lets the workers take jobs. */
kFx(kStatus) kVsJobQueue_Begin(kVsJobQueue queue);

/**
 * Adds one job to the current batch; a waiting worker takes it at once.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null function; kSTATUS_MEMORY (the job is not
 *         added and End does not wait for it).
 */
kFx(kStatus) kVsJobQueue_Add(kVsJobQueue queue, kVsJobFx function, kPointer context, kSize index);

/**
 * Waits until every job added so far has returned. The queue stays open for the next batch.
 *
 * @return kOK; else the status of the first job of the batch that failed, in the order they
 *         completed.
 */
kFx(kStatus) kVsJobQueue_End(kVsJobQueue queue);

/** Begin, then End: waits for jobs added before the call. */
kFx(kStatus) kVsJobQueue_Run(kVsJobQueue queue);

/**
 * Runs function(context, i) for i = 0 .. count - 1 as one batch: Begin, Add each, End.
 *
 * @return As End; or the failure of an Add, after waiting for the jobs already added.
 */
kFx(kStatus) kVsJobQueue_RunIndexedBatch(kVsJobQueue queue, kVsJobFx function, kPointer context,
                                         kSize count);

/** Jobs added and not yet completed. */
kFx(k32s) kVsJobQueue_Count(kVsJobQueue queue);
/** First failure of the current batch so far, or kOK. */
kFx(kStatus) kVsJobQueue_Status(kVsJobQueue queue);
/** Number of worker threads. */
kFx(kSize) kVsJobQueue_ThreadCount(kVsJobQueue queue);

/*
 * Bookkeeping of the workers and of Begin, Add and End; each runs under the queue's lock.
 * Callers have no need of them.
 */
kFx(kStatus) kVsJobQueue_SetState(kVsJobQueue queue, kVsJobQueueState state);
kFx(kVsJobQueueState) kVsJobQueue_State(kVsJobQueue queue);
/** Sets the batch status to kOK. */
kFx(kStatus) kVsJobQueue_ClearJobStatus(kVsJobQueue queue);
/** The batch status. */
kFx(kStatus) kVsJobQueue_JobStatus(kVsJobQueue queue);
/** Counts one more active job. */
kFx(kStatus) kVsJobQueue_JobAdded(kVsJobQueue queue);
/**
 * Counts one job as done; the first failure of a batch becomes the batch status and later
 * results do not replace it.
 *
 * @return kOK; kSTATUS_BAD_STATE when more jobs completed than were added.
 */
kFx(kStatus) kVsJobQueue_JobCompleted(kVsJobQueue queue, kStatus jobStatus);
/** Jobs added and not yet completed. */
kFx(k32s) kVsJobQueue_ActiveCount(kVsJobQueue queue);

#endif
