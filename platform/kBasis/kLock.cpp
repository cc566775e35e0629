#include <kBasis/kLock.h>
#include <kBasis/kThread.x.h>

#include <atomic>
#include <thread>

kDefineClass(kLock, kObject)

    struct kLockImpl
{
    std::mutex mutex;
    /* Holder, read by other threads to tell whether an Enter is a re-entry. */
    std::atomic<std::thread::id> owner{};
    kSize depth = 0; // entries of the holder; touched by the holder only
};

struct kLockClass
{
    kObjectClass base;
    kLockImpl* impl;
};

kStatus xkLock_VRelease(kObject lock)
{
    xkImpl_Delete(kObject_Alloc(lock), &kCastRaw(kLock, lock)->impl);
    return xkObject_VRelease(lock);
}

kFx(kStatus) xxkLock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kLock, kObject));
    kCheck(kAddVMethod(kLock, VRelease));
    return kOK;
}

kFx(kStatus) kLock_Construct(kLock* lock, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kLockClass* obj = kNULL;
    kStatus status;

    kCheckArgs(lock);
    *lock = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kLock), &obj));
    kTest(kObject_Init(obj, kTypeOf(kLock), alloc));
    kTest(xkImpl_New(alloc, &obj->impl));
    *lock = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kLock_Enter(kLock lock)
{
    kObjR(kLock, lock);
    kLockImpl* impl = obj->impl;
    std::thread::id self = std::this_thread::get_id();

    if (impl->owner.load(std::memory_order_relaxed) != self)
    {
        impl->mutex.lock();
        impl->owner.store(self, std::memory_order_relaxed);
    }
    ++impl->depth;
    return kOK;
}

kFx(kStatus) kLock_Exit(kLock lock)
{
    kObjR(kLock, lock);
    kLockImpl* impl = obj->impl;

    kCheckState(impl->owner.load(std::memory_order_relaxed) == std::this_thread::get_id());
    if (--impl->depth == 0)
    {
        impl->owner.store(std::thread::id(), std::memory_order_relaxed);
        impl->mutex.unlock();
    }
    return kOK;
}
