#include <kBasis/kSemaphore.h>
#include <kBasis/kThread.x.h>

kDefineClass(kSemaphore, kObject)

    struct kSemaphoreImpl
{
    std::mutex mutex;
    std::condition_variable posted;
    kSize count = 0;
};

struct kSemaphoreClass
{
    kObjectClass base;
    kSemaphoreImpl* impl;
};

kStatus xkSemaphore_VRelease(kObject semaphore)
{
    xkImpl_Delete(kObject_Alloc(semaphore), &kCastRaw(kSemaphore, semaphore)->impl);
    return xkObject_VRelease(semaphore);
}

kFx(kStatus) xxkSemaphore_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kSemaphore, kObject));
    kCheck(kAddVMethod(kSemaphore, VRelease));
    return kOK;
}

kFx(kStatus) kSemaphore_Construct(kSemaphore* semaphore, kSize count, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kSemaphoreClass* obj = kNULL;
    kStatus status;

    kCheckArgs(semaphore);
    *semaphore = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kSemaphore), &obj));
    kTest(kObject_Init(obj, kTypeOf(kSemaphore), alloc));
    kTest(xkImpl_New(alloc, &obj->impl));
    obj->impl->count = count;
    *semaphore = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kSemaphore_Post(kSemaphore semaphore)
{
    kObjR(kSemaphore, semaphore);
    std::lock_guard<std::mutex> guard(obj->impl->mutex);
    ++obj->impl->count;
    obj->impl->posted.notify_one();
    return kOK;
}

kFx(kStatus) kSemaphore_Wait(kSemaphore semaphore, k64u timeout)
{
    kObjR(kSemaphore, semaphore);
    kSemaphoreImpl* impl = obj->impl;
    std::unique_lock<std::mutex> lock(impl->mutex);
    if (!xkWaitFor(impl->posted, lock, timeout, [impl] { return impl->count > 0; }))
        return kSTATUS_TIMEOUT;
    --impl->count;
    return kOK;
}

kFx(kSize) kSemaphore_Count(kSemaphore semaphore)
{
    kObjN(kSemaphore, obj, semaphore);
    if (!obj) return 0;
    std::lock_guard<std::mutex> guard(obj->impl->mutex);
    return obj->impl->count;
}
