#include <kBasis/kMsgQueue.h>
#include <kBasis/kThread.x.h>

kDefineClass(kMsgQueue, kObject)

    /* Items live in a ring of `slots` items starting at `head`; guarded by the mutex. */
    struct kMsgQueueImpl
{
    std::mutex mutex;
    std::condition_variable arrived;
    kByte* ring = kNULL;
    kSize slots = 0;
    kSize head = 0;
    kSize count = 0;
    bool closed = false;
};

struct kMsgQueueClass
{
    kObjectClass base;
    kMsgQueueImpl* impl;
    kSize itemSize;
    kSize capacity;
};

namespace
{
constexpr kSize kInitialSlots = 16;

kByte* Slot(kMsgQueueClass* obj, kSize position)
{
    return obj->impl->ring + ((obj->impl->head + position) % obj->impl->slots) * obj->itemSize;
}

/* Doubles the ring (up to the capacity), keeping the items in order from slot 0. */
kStatus Grow(kMsgQueueClass* obj)
{
    kMsgQueueImpl* impl = obj->impl;
    kSize slots = impl->slots ? impl->slots * 2 : kInitialSlots;
    if (obj->capacity) slots = kMin_(slots, obj->capacity);
    kCheckTrue(slots <= kSIZE_MAX / obj->itemSize, kSTATUS_MEMORY);

    kByte* ring = kNULL;
    kCheck(kAlloc_Get(obj->base.alloc, slots * obj->itemSize, &ring));
    for (kSize i = 0; i < impl->count; ++i)
        kMemCopy(ring + i * obj->itemSize, Slot(obj, i), obj->itemSize);
    kAlloc_Free(obj->base.alloc, impl->ring);
    impl->ring = ring;
    impl->slots = slots;
    impl->head = 0;
    return kOK;
}
} // namespace

kStatus xkMsgQueue_VRelease(kObject queue)
{
    kMsgQueueClass* obj = kCastRaw(kMsgQueue, queue);
    if (obj->impl) kAlloc_Free(obj->base.alloc, obj->impl->ring);
    xkImpl_Delete(obj->base.alloc, &obj->impl);
    return xkObject_VRelease(queue);
}

kFx(kStatus) xxkMsgQueue_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kMsgQueue, kObject));
    kCheck(kAddVMethod(kMsgQueue, VRelease));
    return kOK;
}

kFx(kStatus) kMsgQueue_Construct(kMsgQueue* queue, kSize itemSize, kSize capacity, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kMsgQueueClass* obj = kNULL;
    kStatus status;

    kCheckArgs(queue);
    *queue = kNULL;
    kCheckArgs(itemSize > 0);
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kMsgQueue), &obj));
    kTest(kObject_Init(obj, kTypeOf(kMsgQueue), alloc));
    obj->itemSize = itemSize;
    obj->capacity = capacity;
    kTest(xkImpl_New(alloc, &obj->impl));
    *queue = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kMsgQueue_Add(kMsgQueue queue, const void* item)
{
    kObjR(kMsgQueue, queue);
    kMsgQueueImpl* impl = obj->impl;
    kCheckArgs(item);

    std::lock_guard<std::mutex> guard(impl->mutex);
    kCheckTrue(!impl->closed, kSTATUS_CLOSED);
    kCheckTrue(obj->capacity == 0 || impl->count < obj->capacity, kSTATUS_OVERFLOW);
    if (impl->count == impl->slots) kCheck(Grow(obj));

    kMemCopy(Slot(obj, impl->count), item, obj->itemSize);
    ++impl->count;
    impl->arrived.notify_one();
    return kOK;
}

kFx(kStatus) kMsgQueue_Remove(kMsgQueue queue, void* item, k64u timeout)
{
    kObjR(kMsgQueue, queue);
    kMsgQueueImpl* impl = obj->impl;
    kCheckArgs(item);

    std::unique_lock<std::mutex> lock(impl->mutex);
    if (!xkWaitFor(impl->arrived, lock, timeout,
                   [impl] { return impl->count > 0 || impl->closed; }))
        return kSTATUS_TIMEOUT;
    kCheckTrue(impl->count > 0, kSTATUS_CLOSED);

    kMemCopy(item, Slot(obj, 0), obj->itemSize);
    impl->head = (impl->head + 1) % impl->slots;
    --impl->count;
    return kOK;
}

kFx(kStatus) kMsgQueue_Flush(kMsgQueue queue)
{
    kObjR(kMsgQueue, queue);
    std::lock_guard<std::mutex> guard(obj->impl->mutex);
    obj->impl->head = 0;
    obj->impl->count = 0;
    return kOK;
}

kFx(kStatus) kMsgQueue_Close(kMsgQueue queue)
{
    kObjR(kMsgQueue, queue);
    std::lock_guard<std::mutex> guard(obj->impl->mutex);
    obj->impl->closed = true;
    obj->impl->arrived.notify_all();
    return kOK;
}

kFx(kSize) kMsgQueue_Count(kMsgQueue queue)
{
    kObjN(kMsgQueue, obj, queue);
    if (!obj) return 0;
    std::lock_guard<std::mutex> guard(obj->impl->mutex);
    return obj->impl->count;
}

kFx(kSize) kMsgQueue_Capacity(kMsgQueue queue)
{
    kObjN(kMsgQueue, obj, queue);
    return obj ? obj->capacity : 0;
}

kFx(kSize) kMsgQueue_ItemSize(kMsgQueue queue)
{
    kObjN(kMsgQueue, obj, queue);
    return obj ? obj->itemSize : 0;
}
