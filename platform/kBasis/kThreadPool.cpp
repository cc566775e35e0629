#include <kBasis/kThreadPool.h>
#include <kBasis/kMsgQueue.h>
#include <kBasis/kThread.x.h>

kDefineClass(kThreadPool, kObject)

    struct kThreadPoolTask
{
    kThreadFx function;
    kPointer context;
};

/* Completion of the current execution; guarded by the mutex. */
struct kThreadPoolImpl
{
    std::mutex mutex;
    std::condition_variable idle;
    kSize pending = 0;
    kStatus firstFailure = kOK;
};

struct kThreadPoolClass
{
    kObjectClass base;
    kThreadPoolImpl* impl;
    kMsgQueue tasks;  // kThreadPoolTask records; closed at release
    kThread* threads; // threadCount handles, null where not constructed
    kSize threadCount;
};

namespace
{
/* Runs tasks until the queue is closed and drained. */
kStatus Work(kPointer context)
{
    kThreadPoolClass* obj = static_cast<kThreadPoolClass*>(context);
    kThreadPoolImpl* impl = obj->impl;
    kThreadPoolTask task;

    while (kSuccess(kMsgQueue_Remove(obj->tasks, &task, kINFINITE)))
    {
        kStatus status = task.function(task.context);

        std::lock_guard<std::mutex> guard(impl->mutex);
        if (kSuccess(impl->firstFailure)) impl->firstFailure = status;
        if (--impl->pending == 0) impl->idle.notify_all();
    }
    return kOK;
}
} // namespace

kStatus xkThreadPool_VRelease(kObject pool)
{
    kThreadPoolClass* obj = kCastRaw(kThreadPool, pool);

    /* Workers finish the tasks still queued, then find the queue closed and leave. */
    if (obj->tasks) kMsgQueue_Close(obj->tasks);
    for (kSize i = 0; obj->threads && i < obj->threadCount; ++i)
        kObject_Destroy(obj->threads[i]);
    kAlloc_Free(obj->base.alloc, obj->threads);
    kObject_Destroy(obj->tasks);
    xkImpl_Delete(obj->base.alloc, &obj->impl);
    return xkObject_VRelease(pool);
}

kFx(kStatus) xxkThreadPool_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kThreadPool, kObject));
    kCheck(kAddVMethod(kThreadPool, VRelease));
    return kOK;
}

kFx(kStatus) kThreadPool_Construct(kThreadPool* pool, kSize threadCount, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kThreadPoolClass* obj = kNULL;
    kStatus status;

    kCheckArgs(pool);
    *pool = kNULL;
    kCheckArgs(threadCount <= kSIZE_MAX / sizeof(kThread));
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kThreadPool), &obj));
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kThreadPool), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->threadCount = threadCount ? threadCount : kThread_ProcessorCount();

    kTest(xkImpl_New(alloc, &obj->impl));
    kTest(kMsgQueue_Construct(&obj->tasks, sizeof(kThreadPoolTask), 0, alloc));
    kTest(kAlloc_GetZero(alloc, obj->threadCount * sizeof(kThread), &obj->threads));
    for (kSize i = 0; i < obj->threadCount; ++i)
    {
        kTest(kThread_Construct(&obj->threads[i], alloc));
        kTest(kThread_Start(obj->threads[i], Work, obj));
    }
    *pool = obj;
    return kOK;

cleanup:
    kObject_Destroy(obj);
    return status;
}

kFx(kStatus) kThreadPool_BeginExecute(kThreadPool pool, kThreadFx function, kPointer context)
{
    kObjR(kThreadPool, pool);
    kCheckArgs(function);
    kThreadPoolTask task = {function, context};
    kStatus status;

    {
        std::lock_guard<std::mutex> guard(obj->impl->mutex);
        ++obj->impl->pending;
    }
    if (!kSuccess(status = kMsgQueue_Add(obj->tasks, &task)))
    {
        std::lock_guard<std::mutex> guard(obj->impl->mutex);
        if (--obj->impl->pending == 0) obj->impl->idle.notify_all();
    }
    return status;
}

kFx(kStatus) kThreadPool_EndExecute(kThreadPool pool)
{
    kObjR(kThreadPool, pool);
    kThreadPoolImpl* impl = obj->impl;
    std::unique_lock<std::mutex> lock(impl->mutex);
    impl->idle.wait(lock, [impl] { return impl->pending == 0; });
    kStatus status = impl->firstFailure;
    impl->firstFailure = kOK;
    return status;
}

kFx(kSize) kThreadPool_ThreadCount(kThreadPool pool)
{
    kObjN(kThreadPool, obj, pool);
    return obj ? obj->threadCount : 0;
}
