#include <kSolan/Vs/kVsJobQueue.h>

static_assert(sizeof(kVsJob) == 3 * sizeof(kPointer), "job records are three words");

struct kVsJobQueueClass
{
    kObjectClass base;
    kArray1 threads; // kThread workers
    kMsgQueue jobs;  // kVsJob records waiting for a worker
    kSemaphore done; // posted once per completed job
    kLock lock;      // guards state, jobStatus and active
    kVsJobQueueState state;
    kStatus jobStatus; // first failure of the current batch, else kOK
    k32s active;       // jobs added but not completed
};

kDefineClass(kVsJobQueue, kObject)

    namespace
{
    /* How long an idle worker sleeps, and a running one waits for a job, before it looks at the
       state again (microseconds). An arriving job wakes a waiting worker at once. */
    constexpr k64u kPollPeriod = 1000;

    kStatus Work(kPointer context)
    {
        kVsJobQueue queue = context;
        kVsJobQueueClass* obj = kCastRaw(kVsJobQueue, queue);
        kVsJob job;

        for (;;)
        {
            kVsJobQueueState state = kVsJobQueue_State(queue);
            if (state == kVS_JOB_QUEUE_STATE_STOPPING) return kOK;
            if (state == kVS_JOB_QUEUE_STATE_IDLE)
            {
                kThread_Sleep(kPollPeriod);
                continue;
            }
            if (!kSuccess(kMsgQueue_Remove(obj->jobs, &job, kPollPeriod))) continue;

            kCheck(kVsJobQueue_JobCompleted(queue, job.function(job.context, job.index)));
            kCheck(kSemaphore_Post(obj->done));
        }
    }

    /* Runs f under the queue's lock. The lock is recursive, so that Begin can hold it across two
       bookkeeping steps that take it themselves. */
    template <typename F>
    auto Locked(kVsJobQueueClass * obj, F f)
    {
        kLock_Enter(obj->lock);
        auto result = f();
        kLock_Exit(obj->lock);
        return result;
    }
} // namespace

static kStatus xkVsJobQueue_Init(kVsJobQueue queue, kSize threadCount, kAlloc alloc)
{
    kVsJobQueueClass* obj = kCastRaw(kVsJobQueue, queue);
    kCheck(kObject_Init(queue, kTypeOf(kVsJobQueue), alloc));
    obj->state = kVS_JOB_QUEUE_STATE_IDLE;
    obj->jobStatus = kOK;
    obj->active = 0;

    kCheck(kLock_Construct(&obj->lock, alloc));
    kCheck(kSemaphore_Construct(&obj->done, 0, alloc));
    kCheck(kMsgQueue_Construct(&obj->jobs, sizeof(kVsJob), 0, alloc));
    kCheck(kArray1_Construct(&obj->threads, kTypeOf(kThread), threadCount, alloc));
    for (kSize i = 0; i < threadCount; ++i)
    {
        kThread* thread = static_cast<kThread*>(kArray1_At(obj->threads, i));
        kCheck(kThread_Construct(thread, alloc));
        kCheck(kThread_Start(*thread, Work, queue));
    }
    return kOK;
}

static kStatus xkVsJobQueue_VRelease(kObject queue)
{
    kVsJobQueueClass* obj = kCastRaw(kVsJobQueue, queue);

    /* Workers see the stop at their next look at the state; closing the job queue wakes those
       waiting for a job at once instead of at the end of their wait. Destroying a thread
       waits for it to leave its loop. */
    if (obj->lock) kVsJobQueue_SetState(queue, kVS_JOB_QUEUE_STATE_STOPPING);
    if (obj->jobs) kMsgQueue_Close(obj->jobs);
    kDisposeRef(&obj->threads);
    kDisposeRef(&obj->jobs);
    kDisposeRef(&obj->lock);
    kDisposeRef(&obj->done);
    return xkObject_VRelease(queue);
}

static kStatus xkVsJobQueue_VInitClone(kObject, kObject, kAlloc) { return kSTATUS_NOT_IMPLEMENTED; }

kFx(kStatus) xxkVsJobQueue_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kVsJobQueue, kObject));
    kCheck(kAddVMethod(kVsJobQueue, VRelease));
    kCheck(kAddVMethod(kVsJobQueue, VInitClone));
    return kOK;
}

kFx(kStatus) kVsJobQueue_Construct(kVsJobQueue* queue, kSize threadCount, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kVsJobQueueClass* obj = kNULL;
    kStatus status;

    kCheckArgs(queue);
    *queue = kNULL;
    kCheckArgs(threadCount > 0);
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kVsJobQueue), &obj));
    if (!kSuccess(status = xkVsJobQueue_Init(obj, threadCount, alloc)))
    {
        xkVsJobQueue_VRelease(obj);
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *queue = obj;
    return kOK;
}

kFx(kStatus) kVsJobQueue_Begin(kVsJobQueue queue)
{
    kObjR(kVsJobQueue, queue);
    return Locked(obj,
                  [&]
                  {
                      kCheck(kVsJobQueue_ClearJobStatus(queue));
                      return kVsJobQueue_SetState(queue, kVS_JOB_QUEUE_STATE_RUNNING);
                  });
}

kFx(kStatus) kVsJobQueue_Add(kVsJobQueue queue, kVsJobFx function, kPointer context, kSize index)
{
    kObjR(kVsJobQueue, queue);
    kCheckArgs(function);
    kVsJob job = {function, context, index};
    kStatus status;

    kCheck(kVsJobQueue_JobAdded(queue));
    if (!kSuccess(status = kMsgQueue_Add(obj->jobs, &job)))
    {
        /* Not queued: take it off the count again (a success does not touch the batch status),
           so that End does not wait for it. */
        kVsJobQueue_JobCompleted(queue, kOK);
        return status;
    }
    return kOK;
}

kFx(kStatus) kVsJobQueue_End(kVsJobQueue queue)
{
    kObjR(kVsJobQueue, queue);
    /* Every completion posts once; posts left over from a batch that ended before End waited
       only cost an extra look at the count. */
    while (kVsJobQueue_ActiveCount(queue) != 0)
        kCheck(kSemaphore_Wait(obj->done, kINFINITE));
    return kVsJobQueue_JobStatus(queue);
}

kFx(kStatus) kVsJobQueue_Run(kVsJobQueue queue)
{
    kCheck(kVsJobQueue_Begin(queue));
    return kVsJobQueue_End(queue);
}

kFx(kStatus)
    kVsJobQueue_RunIndexedBatch(kVsJobQueue queue, kVsJobFx function, kPointer context, kSize count)
{
    kStatus status = kOK;
    kCheck(kVsJobQueue_Begin(queue));
    for (kSize i = 0; i < count && kSuccess(status); ++i)
        status = kVsJobQueue_Add(queue, function, context, i);

    /* Jobs already added use the caller's context: wait for them even when an Add failed. */
    kStatus ended = kVsJobQueue_End(queue);
    return kSuccess(status) ? ended : status;
}

kFx(k32s) kVsJobQueue_Count(kVsJobQueue queue) { return kVsJobQueue_ActiveCount(queue); }

kFx(kStatus) kVsJobQueue_Status(kVsJobQueue queue) { return kVsJobQueue_JobStatus(queue); }

kFx(kSize) kVsJobQueue_ThreadCount(kVsJobQueue queue)
{
    kObjN(kVsJobQueue, obj, queue);
    return obj ? kArray1_Length(obj->threads) : 0;
}

kFx(kStatus) kVsJobQueue_SetState(kVsJobQueue queue, kVsJobQueueState state)
{
    kObjR(kVsJobQueue, queue);
    return Locked(obj,
                  [&]
                  {
                      obj->state = state;
                      return kOK;
                  });
}

kFx(kVsJobQueueState) kVsJobQueue_State(kVsJobQueue queue)
{
    kObjN(kVsJobQueue, obj, queue);
    if (!obj) return kVS_JOB_QUEUE_STATE_STOPPING;
    return Locked(obj, [&] { return obj->state; });
}

kFx(kStatus) kVsJobQueue_ClearJobStatus(kVsJobQueue queue)
{
    kObjR(kVsJobQueue, queue);
    return Locked(obj,
                  [&]
                  {
                      obj->jobStatus = kOK;
                      return kOK;
                  });
}

kFx(kStatus) kVsJobQueue_JobStatus(kVsJobQueue queue)
{
    kObjR(kVsJobQueue, queue);
    return Locked(obj, [&] { return obj->jobStatus; });
}

kFx(kStatus) kVsJobQueue_JobAdded(kVsJobQueue queue)
{
    kObjR(kVsJobQueue, queue);
    return Locked(obj,
                  [&]
                  {
                      ++obj->active;
                      return kOK;
                  });
}

kFx(kStatus) kVsJobQueue_JobCompleted(kVsJobQueue queue, kStatus jobStatus)
{
    kObjR(kVsJobQueue, queue);
    return Locked(obj,
                  [&]
                  {
                      --obj->active;
                      if (kSuccess(obj->jobStatus)) obj->jobStatus = jobStatus;
                      return obj->active < 0 ? kSTATUS_BAD_STATE : kOK;
                  });
}

kFx(k32s) kVsJobQueue_ActiveCount(kVsJobQueue queue)
{
    kObjN(kVsJobQueue, obj, queue);
    if (!obj) return 0;
    return Locked(obj, [&] { return obj->active; });
}
