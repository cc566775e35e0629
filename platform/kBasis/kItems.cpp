#include <kBasis/kItems.x.h>

kBool xkItems_IsValidType(kType itemType)
{
    return kType_IsReference(itemType) || (kType_IsValue(itemType) && kType_Size(itemType) > 0);
}

kStatus xkItems_Clone(kType itemType, void* dest, const void* src, kSize count, kAlloc allocator)
{
    if (!kType_IsReference(itemType))
    {
        /* Attached stores may share memory, so a copy onto itself must stay defined. */
        return kMemMove(dest, src, count * kType_Size(itemType));
    }

    kObject* out = static_cast<kObject*>(dest);
    const kObject* in = static_cast<const kObject*>(src);
    kStatus status = kOK;
    kSize i = 0;

    for (; i < count; ++i)
    {
        kObject source = in[i];
        out[i] = kNULL;
        if (source) kTest(kObject_Clone(&out[i], source, allocator));
    }
    return kOK;

cleanup:
    xkItems_Dispose(itemType, out, i);
    kMemZero(out, count * sizeof(kObject));
    return status;
}

kStatus xkItems_Dispose(kType itemType, void* items, kSize count)
{
    if (!kType_IsReference(itemType)) return kOK;

    kObject* objects = static_cast<kObject*>(items);
    kStatus result = kOK;
    for (kSize i = 0; i < count; ++i)
    {
        kStatus status = kDisposeRef(&objects[i]);
        if (kSuccess(result)) result = status;
    }
    return result;
}

kSize xkItems_ObjectSize(kType itemType, const void* items, kSize count)
{
    if (!kType_IsReference(itemType)) return 0;

    const kObject* objects = static_cast<const kObject*>(items);
    kSize size = 0;
    for (kSize i = 0; i < count; ++i)
        size += kObject_Size(objects[i]);
    return size;
}

bool xkItems_CountOf(const kSize* lengths, kSize dimensions, kSize itemSize, kSize* count)
{
    kSize product = 1;
    for (kSize d = 0; d < dimensions; ++d)
        if (__builtin_mul_overflow(product, lengths[d], &product)) return false;

    kSize bytes;
    if (__builtin_mul_overflow(product, itemSize, &bytes)) return false;
    *count = product;
    return true;
}

namespace
{
bool IsHost(const kItemStore* store) { return store->attached || !kAlloc_IsForeign(store->alloc); }

/* Object handles are only meaningful in memory the host can read. */
kStatus SetType(kItemStore* store, kType itemType)
{
    kCheckArgs(xkItems_IsValidType(itemType));
    kCheckArgs(!kType_IsReference(itemType) || !kAlloc_IsForeign(store->alloc));
    store->type = itemType;
    store->size = kType_Size(itemType);
    return kOK;
}
} // namespace

kStatus xkItemStore_Init(kItemStore* store, kType itemType, kAlloc alloc)
{
    kMemZero(store, sizeof(*store));
    store->alloc = kAlloc_Fallback(alloc);
    return SetType(store, itemType);
}

kStatus xkItemStore_Release(kItemStore* store)
{
    kStatus status = kOK;
    if (!store->attached) status = kAlloc_Free(store->alloc, store->data);
    store->data = kNULL;
    store->bytes = 0;
    store->attached = kFALSE;
    return status;
}

kStatus xkItemStore_CheckHost(const kItemStore* store)
{
    return IsHost(store) ? kOK : kSTATUS_NOT_IMPLEMENTED;
}

kStatus xkItemStore_Reserve(kItemStore* store, kSize count, kSize keep)
{
    kSize needed;
    kCheckArgs(keep <= count && !__builtin_mul_overflow(count, store->size, &needed));
    if (needed <= store->bytes) return kOK;

    const bool host = !kAlloc_IsForeign(store->alloc);
    const kSize kept = keep * store->size;
    kCheckTrue(host || kept == 0, kSTATUS_NOT_IMPLEMENTED);

    void* data = kNULL;
    kCheck(kAlloc_Get(store->alloc, needed, &data));
    if (host)
    {
        kMemCopy(data, store->data, kept);
        kMemZero(static_cast<kByte*>(data) + kept, needed - kept);
    }

    xkItemStore_Release(store);
    store->data = data;
    store->bytes = needed;
    return kOK;
}

kStatus xkItemStore_Reshape(kItemStore* store, kType itemType, kSize count)
{
    kItemStore next = *store;
    kCheck(SetType(&next, itemType));
    if (next.attached)
    {
        next.data = kNULL;
        next.bytes = 0;
        next.attached = kFALSE;
    }
    kCheck(xkItemStore_Reserve(&next, count, 0));
    *store = next;
    if (kType_IsReference(itemType)) kMemZero(store->data, count * store->size);
    return kOK;
}

kStatus xkItemStore_Attach(kItemStore* store, kType itemType, void* items, kSize count)
{
    kItemStore next = *store;
    kSize bytes;
    kCheck(SetType(&next, itemType));
    kCheckArgs(items || count == 0);
    kCheckArgs(!__builtin_mul_overflow(count, next.size, &bytes));

    kCheck(xkItemStore_Release(&next));
    next.data = items;
    next.bytes = bytes;
    next.attached = kTRUE;
    *store = next;
    return kOK;
}

kStatus xkItemStore_Assign(kItemStore* store, const kItemStore* source, kSize count,
                           kAlloc objectAlloc)
{
    kCheckArgs(store->type == source->type);
    kCheck(xkItemStore_CheckHost(store));
    kCheck(xkItemStore_CheckHost(source));
    kCheck(xkItemStore_Reserve(store, count, 0));
    return xkItems_Clone(store->type, store->data, source->data, count, objectAlloc);
}

kStatus xkItemStore_InitClone(kItemStore* store, const kItemStore* source, kSize count,
                              kAlloc sourceOwner, kAlloc alloc)
{
    kAlloc dataAlloc = source->alloc != sourceOwner ? source->alloc : alloc;
    kStatus status;

    kCheck(xkItemStore_Init(store, source->type, dataAlloc));
    kCheck(xkItemStore_CheckHost(source));
    kCheck(xkItemStore_CheckHost(store));
    kTest(xkItemStore_Reserve(store, count, 0));
    kTest(xkItems_Clone(store->type, store->data, source->data, count, alloc));
    return kOK;

cleanup:
    xkItemStore_Release(store);
    return status;
}

kStatus xkItemStore_Zero(kItemStore* store, kSize count)
{
    kCheck(xkItemStore_CheckHost(store));
    return kMemZero(store->data, count * store->size);
}

kStatus xkItemStore_SetItem(kItemStore* store, kSize index, const void* item)
{
    kCheckArgs(item);
    kCheck(xkItemStore_CheckHost(store));
    return kMemCopy(xkItemStore_At(store, index), item, store->size);
}

k32u xkItemStore_Traits(const kItemStore* store)
{
    return store->attached ? kALLOC_TRAIT_FOREIGN : kAlloc_Traits(store->alloc);
}

kSize xkItemStore_Size(const kItemStore* store, kSize count)
{
    kSize owned = store->attached ? 0 : store->bytes;
    if (!IsHost(store)) return owned;
    return owned + xkItems_ObjectSize(store->type, store->data, count);
}
