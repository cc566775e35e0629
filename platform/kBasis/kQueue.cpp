#include <kBasis/kQueue.h>
#include <kBasis/kAssembly.h>
#include <kBasis/kItems.x.h>

kDefineClass(kQueue, kObject)

struct kQueueClass
{
    kObjectClass base;
    kType itemType;
    kSize itemSize;
    kByte* items; // ring of capacity items
    kSize capacity;
    kSize head; // slot of the oldest item
    kSize count;
};

namespace
{
kByte* Slot(const kQueueClass* obj, kSize index)
{
    kSize slot = obj->head + index;
    if (slot >= obj->capacity) slot -= obj->capacity;
    return obj->items + slot * obj->itemSize;
}

/* The ring as at most two runs of consecutive items, oldest first. */
kSize FirstRun(const kQueueClass* obj) { return kMin_(obj->count, obj->capacity - obj->head); }

kStatus ForEachRun(const kQueueClass* obj, kStatus (*fx)(kType, void*, kSize))
{
    kSize first = FirstRun(obj);
    kStatus a = first ? fx(obj->itemType, Slot(obj, 0), first) : kOK;
    kStatus b = obj->count > first ? fx(obj->itemType, obj->items, obj->count - first) : kOK;
    return kSuccess(a) ? b : a;
}

/* Moves the items into a new ring of capacity slots, head at slot 0. The old ring is handed
   back for the caller to free, so that an item being added may still be read from it. */
kStatus Grow(kQueueClass* obj, kSize capacity, kByte** old)
{
    kSize bytes = 0;
    kCheckArgs(!__builtin_mul_overflow(capacity, obj->itemSize, &bytes));
    kByte* items = kNULL;
    kCheck(kAlloc_GetZero(obj->base.alloc, bytes, &items));
    kSize first = FirstRun(obj);
    kMemCopy(items, Slot(obj, 0), first * obj->itemSize);
    kMemCopy(items + first * obj->itemSize, obj->items, (obj->count - first) * obj->itemSize);
    *old = obj->items;
    obj->items = items;
    obj->capacity = capacity;
    obj->head = 0;
    return kOK;
}

kStatus Init(kQueueClass* obj, kType type, kType itemType, kSize capacity, kAlloc alloc)
{
    kCheck(kObject_Init(obj, type, alloc));
    kCheckArgs(xkItems_IsValidType(itemType));
    obj->itemType = itemType;
    obj->itemSize = kType_Size(itemType);
    kByte* old = kNULL;
    return capacity ? Grow(obj, capacity, &old) : kOK;
}
} // namespace

kStatus xkQueue_VRelease(kObject queue)
{
    kCheck(kAlloc_FreeRef(kCastRaw(kQueue, queue)->base.alloc, &kCastRaw(kQueue, queue)->items));
    return xkObject_VRelease(queue);
}

kStatus xkQueue_VDisposeItems(kObject queue)
{
    return ForEachRun(kCastRaw(kQueue, queue), xkItems_Dispose);
}

kStatus xkQueue_VInitClone(kObject queue, kObject source, kAlloc allocator)
{
    kQueueClass* obj = kCastRaw(kQueue, queue);
    const kQueueClass* src = kCastRaw(kQueue, source);
    kStatus status;

    kTest(Init(obj, kObject_Type(source), src->itemType, src->count, allocator));
    {
        kSize first = FirstRun(src);
        kTest(xkItems_Clone(obj->itemType, obj->items, Slot(src, 0), first, allocator));
        status = xkItems_Clone(obj->itemType, obj->items + first * obj->itemSize, src->items,
                               src->count - first, allocator);
        if (!kSuccess(status))
        {
            xkItems_Dispose(obj->itemType, obj->items, first);
            goto cleanup;
        }
    }
    obj->count = src->count;
    return kOK;

cleanup:
    kAlloc_FreeRef(obj->base.alloc, &obj->items);
    return status;
}

kSize xkQueue_VSize(kObject queue)
{
    const kQueueClass* obj = kCastRaw(kQueue, queue);
    kSize first = FirstRun(obj);
    return sizeof(kQueueClass) + obj->capacity * obj->itemSize +
           xkItems_ObjectSize(obj->itemType, Slot(obj, 0), first) +
           xkItems_ObjectSize(obj->itemType, obj->items, obj->count - first);
}

kFx(kStatus) xxkQueue_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kQueue, kObject));
    kCheck(kAddVMethod(kQueue, VRelease));
    kCheck(kAddVMethod(kQueue, VDisposeItems));
    kCheck(kAddVMethod(kQueue, VInitClone));
    kCheck(kAddVMethod(kQueue, VSize));
    return kOK;
}

kFx(kStatus) kQueue_Construct(kQueue* queue, kType itemType, kSize capacity, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kQueueClass* obj = kNULL;
    kStatus status;

    kCheckArgs(queue);
    *queue = kNULL;
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kQueue), &obj))) return status;
    if (!kSuccess(status = Init(obj, kTypeOf(kQueue), itemType, capacity, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *queue = obj;
    return kOK;
}

kFx(kStatus) kQueue_Reserve(kQueue queue, kSize capacity)
{
    kObjR(kQueue, queue);
    if (capacity <= obj->capacity) return kOK;
    kByte* old = kNULL;
    kCheck(Grow(obj, capacity, &old));
    return kAlloc_Free(obj->base.alloc, old);
}

kFx(kStatus) kQueue_Add(kQueue queue, const void* item)
{
    kObjR(kQueue, queue);
    kCheckArgs(item);
    kByte* old = kNULL;
    if (obj->count == obj->capacity)
    {
        kCheckArgs(obj->capacity < kSIZE_MAX / 2);
        kCheck(Grow(obj, kMax_(obj->capacity * 2, (kSize)8), &old));
    }
    kMemCopy(Slot(obj, obj->count), item, obj->itemSize);
    obj->count++;
    return kAlloc_Free(obj->base.alloc, old);
}

kFx(kStatus) kQueue_Remove(kQueue queue, void* item)
{
    kObjR(kQueue, queue);
    kCheckState(obj->count > 0);
    kByte* slot = Slot(obj, 0);
    if (item) kMemCopy(item, slot, obj->itemSize);
    kMemZero(slot, obj->itemSize); // no stale handles in free slots
    obj->head = obj->head + 1 == obj->capacity ? 0 : obj->head + 1;
    obj->count--;
    return kOK;
}

kFx(kStatus) kQueue_Clear(kQueue queue)
{
    kObjR(kQueue, queue);
    kMemZero(obj->items, obj->capacity * obj->itemSize);
    obj->head = obj->count = 0;
    return kOK;
}

kFx(kStatus) kQueue_Purge(kQueue queue)
{
    kObjR(kQueue, queue);
    kStatus status = ForEachRun(obj, xkItems_Dispose);
    kCheck(kQueue_Clear(queue));
    return status;
}

kFx(void*) kQueue_At(kQueue queue, kSize index)
{
    kObjN(kQueue, obj, queue);
    return (obj && index < obj->count) ? Slot(obj, index) : kNULL;
}

kFx(kSize) kQueue_Count(kQueue queue)
{
    kObjN(kQueue, obj, queue);
    return obj ? obj->count : 0;
}

kFx(kSize) kQueue_Capacity(kQueue queue)
{
    kObjN(kQueue, obj, queue);
    return obj ? obj->capacity : 0;
}

kFx(kType) kQueue_ItemType(kQueue queue)
{
    kObjN(kQueue, obj, queue);
    return obj ? obj->itemType : kNULL;
}

kFx(kSize) kQueue_ItemSize(kQueue queue)
{
    kObjN(kQueue, obj, queue);
    return obj ? obj->itemSize : 0;
}
