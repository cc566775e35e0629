#include <kBasis/kMap.h>
#include <kBasis/kAssembly.h>
#include <kBasis/kItems.x.h>

#include <functional>
#include <string_view>

kDefineClass(kMap, kObject)

/* An entry is a header, the key and the value, each part starting at a multiple of 8 bytes.
   Entries are dense (0 … count - 1); each bucket holds the first entry of its chain. */
struct kMapEntry
{
    kSize hash;
    kSize next; // index + 1 of the next entry of the chain, 0 at its end
};

struct kMapClass
{
    kObjectClass base;
    kType keyType;
    kType valueType;
    kSize keySize;
    kSize valueSize;
    kSize valueOffset; // from the start of an entry
    kSize entrySize;
    kByte* entries; // capacity entries
    kSize capacity;
    kSize count;
    kSize* buckets;    // bucketCount chain heads (index + 1, 0 for none)
    kSize bucketCount; // power of two, >= capacity (load factor at most 1)
};

namespace
{
constexpr kSize kEntryAlign = 8;
constexpr kSize kKeyOffset = sizeof(kMapEntry);

kSize RoundUp(kSize n) { return (n + kEntryAlign - 1) & ~(kEntryAlign - 1); }

kMapEntry* EntryAt(const kMapClass* obj, kSize index)
{
    return reinterpret_cast<kMapEntry*>(obj->entries + index * obj->entrySize);
}
kByte* KeyOf(kMapEntry* e) { return reinterpret_cast<kByte*>(e) + kKeyOffset; }
kByte* ValueOf(const kMapClass* obj, kMapEntry* e)
{
    return reinterpret_cast<kByte*>(e) + obj->valueOffset;
}
kSize IndexOf(const kMapClass* obj, const void* item)
{
    return (kSize)(static_cast<const kByte*>(item) - obj->entries) / obj->entrySize;
}

kSize HashOf(const kMapClass* obj, const void* key)
{
    if (kType_IsReference(obj->keyType)) return kObject_HashCode(*static_cast<const kObject*>(key));
    return std::hash<std::string_view>()(
        std::string_view(static_cast<const char*>(key), obj->keySize));
}

bool KeysEqual(const kMapClass* obj, const void* a, const void* b)
{
    if (kType_IsReference(obj->keyType))
        return kObject_Equals(*static_cast<const kObject*>(a), *static_cast<const kObject*>(b));
    return kMemEquals(a, b, obj->keySize);
}

kSize* BucketOf(const kMapClass* obj, kSize hash)
{
    return &obj->buckets[hash & (obj->bucketCount - 1)];
}

kMapEntry* Lookup(const kMapClass* obj, const void* key, kSize hash)
{
    if (obj->count == 0) return kNULL;
    for (kSize i = *BucketOf(obj, hash); i != 0; i = EntryAt(obj, i - 1)->next)
    {
        kMapEntry* e = EntryAt(obj, i - 1);
        if (e->hash == hash && KeysEqual(obj, KeyOf(e), key)) return e;
    }
    return kNULL;
}

void Rehash(kMapClass* obj)
{
    kMemZero(obj->buckets, obj->bucketCount * sizeof(kSize));
    for (kSize i = 0; i < obj->count; ++i)
    {
        kSize* head = BucketOf(obj, EntryAt(obj, i)->hash);
        EntryAt(obj, i)->next = *head;
        *head = i + 1;
    }
}

/* Grows entries and buckets to hold capacity items; on failure the map is unchanged. */
kStatus Reserve(kMapClass* obj, kSize capacity)
{
    if (capacity <= obj->capacity) return kOK;
    kSize bucketCount = 1, entryBytes = 0;
    while (bucketCount < capacity)
    {
        kCheckArgs(bucketCount <= kSIZE_MAX / 2 / sizeof(kSize));
        bucketCount *= 2;
    }
    kCheckArgs(!__builtin_mul_overflow(capacity, obj->entrySize, &entryBytes));

    kByte* entries = kNULL;
    kSize* buckets = kNULL;
    kCheck(kAlloc_Get(obj->base.alloc, entryBytes, &entries));
    kStatus status = kAlloc_Get(obj->base.alloc, bucketCount * sizeof(kSize), &buckets);
    if (!kSuccess(status))
    {
        kAlloc_Free(obj->base.alloc, entries);
        return status;
    }
    kMemCopy(entries, obj->entries, obj->count * obj->entrySize);
    kAlloc_Free(obj->base.alloc, obj->entries);
    kAlloc_Free(obj->base.alloc, obj->buckets);
    obj->entries = entries;
    obj->buckets = buckets;
    obj->capacity = capacity;
    obj->bucketCount = bucketCount;
    Rehash(obj);
    return kOK;
}

kStatus Insert(kMapClass* obj, const void* key, kSize hash, const void* value)
{
    if (obj->count == obj->capacity)
    {
        kCheckArgs(obj->capacity < kSIZE_MAX / 2);
        kCheck(Reserve(obj, kMax_(obj->capacity * 2, (kSize)8)));
    }
    kMapEntry* e = EntryAt(obj, obj->count);
    kMemZero(e, obj->entrySize);
    e->hash = hash;
    kMemCopy(KeyOf(e), key, obj->keySize);
    if (value) kMemCopy(ValueOf(obj, e), value, obj->valueSize);
    kSize* head = BucketOf(obj, hash);
    e->next = *head;
    *head = ++obj->count;
    return kOK;
}

/* Unlinks entry index + 1 from its chain, or re-points the link to it at replacement. */
void Relink(kMapClass* obj, kSize index, kSize replacement)
{
    kSize* link = BucketOf(obj, EntryAt(obj, index)->hash);
    while (*link != index + 1)
        link = &EntryAt(obj, *link - 1)->next;
    *link = replacement ? replacement : EntryAt(obj, index)->next;
}

void Erase(kMapClass* obj, kSize index)
{
    Relink(obj, index, 0);
    kSize last = obj->count - 1;
    if (index != last)
    {
        Relink(obj, last, index + 1);
        kMemCopy(EntryAt(obj, index), EntryAt(obj, last), obj->entrySize);
    }
    obj->count--;
}

kStatus DisposeEntries(kMapClass* obj, kSize count)
{
    kStatus result = kOK;
    for (kSize i = 0; i < count; ++i)
    {
        kStatus k = xkItems_Dispose(obj->keyType, KeyOf(EntryAt(obj, i)), 1);
        kStatus v = xkItems_Dispose(obj->valueType, ValueOf(obj, EntryAt(obj, i)), 1);
        if (kSuccess(result)) result = kSuccess(k) ? v : k;
    }
    return result;
}

kStatus Init(kMapClass* obj, kType type, kType keyType, kType valueType, kAlloc alloc)
{
    kCheck(kObject_Init(obj, type, alloc));
    kCheckArgs(xkItems_IsValidType(keyType) && xkItems_IsValidType(valueType));
    obj->keyType = keyType;
    obj->valueType = valueType;
    obj->keySize = kType_Size(keyType);
    obj->valueSize = kType_Size(valueType);
    kCheckArgs(obj->keySize < kSIZE_MAX / 4 && obj->valueSize < kSIZE_MAX / 4);
    obj->valueOffset = kKeyOffset + RoundUp(obj->keySize);
    obj->entrySize = RoundUp(obj->valueOffset + obj->valueSize);
    return kOK;
}

kStatus Release(kMapClass* obj)
{
    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->entries));
    return kAlloc_FreeRef(obj->base.alloc, &obj->buckets);
}
} // namespace

kStatus xkMap_VRelease(kObject map)
{
    kCheck(Release(kCastRaw(kMap, map)));
    return xkObject_VRelease(map);
}

kStatus xkMap_VDisposeItems(kObject map)
{
    kMapClass* obj = kCastRaw(kMap, map);
    return DisposeEntries(obj, obj->count);
}

/* Entries are copied whole (hashes and chains stay valid), then object keys and values are
   replaced by clones; on failure only the clones made so far are disposed of. */
kStatus xkMap_VInitClone(kObject map, kObject source, kAlloc allocator)
{
    kMapClass* obj = kCastRaw(kMap, map);
    const kMapClass* src = kCastRaw(kMap, source);
    kStatus status = kOK;
    kSize i = 0;

    kTest(Init(obj, kObject_Type(source), src->keyType, src->valueType, allocator));
    kTest(Reserve(obj, src->count));
    kMemCopy(obj->entries, src->entries, src->count * src->entrySize);
    obj->count = src->count;
    Rehash(obj);
    for (; i < obj->count; ++i)
    {
        kMapEntry* from = EntryAt(src, i);
        kMapEntry* to = EntryAt(obj, i);
        kTest(xkItems_Clone(obj->keyType, KeyOf(to), KeyOf(from), 1, allocator));
        status = xkItems_Clone(obj->valueType, ValueOf(obj, to), ValueOf(src, from), 1, allocator);
        if (!kSuccess(status))
        {
            xkItems_Dispose(obj->keyType, KeyOf(to), 1);
            goto cleanup;
        }
    }
    return kOK;

cleanup:
    DisposeEntries(obj, i);
    Release(obj);
    return status;
}

kSize xkMap_VSize(kObject map)
{
    const kMapClass* obj = kCastRaw(kMap, map);
    kSize size =
        sizeof(kMapClass) + obj->capacity * obj->entrySize + obj->bucketCount * sizeof(kSize);
    for (kSize i = 0; i < obj->count; ++i)
    {
        size += xkItems_ObjectSize(obj->keyType, KeyOf(EntryAt(obj, i)), 1);
        size += xkItems_ObjectSize(obj->valueType, ValueOf(obj, EntryAt(obj, i)), 1);
    }
    return size;
}

kFx(kStatus) xxkMap_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kMap, kObject));
    kCheck(kAddVMethod(kMap, VRelease));
    kCheck(kAddVMethod(kMap, VDisposeItems));
    kCheck(kAddVMethod(kMap, VInitClone));
    kCheck(kAddVMethod(kMap, VSize));
    return kOK;
}

kFx(kStatus) kMap_Construct(kMap* map, kType keyType, kType valueType, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kMapClass* obj = kNULL;
    kStatus status;

    kCheckArgs(map);
    *map = kNULL;
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kMap), &obj))) return status;
    if (!kSuccess(status = Init(obj, kTypeOf(kMap), keyType, valueType, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *map = obj;
    return kOK;
}

kFx(kStatus) kMap_AddItem(kMap map, const void* key, const void* value)
{
    kObjR(kMap, map);
    kCheckArgs(key);
    kSize hash = HashOf(obj, key);
    kCheckTrue(!Lookup(obj, key, hash), kSTATUS_DUPLICATE);
    return Insert(obj, key, hash, value);
}

kFx(kStatus) kMap_ReplaceItem(kMap map, const void* key, const void* value)
{
    kObjR(kMap, map);
    kCheckArgs(key);
    kSize hash = HashOf(obj, key);
    kMapEntry* e = Lookup(obj, key, hash);
    if (!e) return Insert(obj, key, hash, value);
    if (value)
        kMemCopy(ValueOf(obj, e), value, obj->valueSize);
    else
        kMemZero(ValueOf(obj, e), obj->valueSize);
    return kOK;
}

kFx(kStatus) kMap_FindItem(kMap map, const void* key, kMapItem* item)
{
    kObjR(kMap, map);
    kCheckArgs(key && item);
    *item = Lookup(obj, key, HashOf(obj, key));
    return *item ? kOK : kSTATUS_NOT_FOUND;
}

kFx(kStatus) kMap_Find(kMap map, const void* key, void* value)
{
    kMapItem item = kNULL;
    kCheck(kMap_FindItem(map, key, &item));
    if (value)
        kMemCopy(value, ValueOf(kCastRaw(kMap, map), static_cast<kMapEntry*>(item)),
                 kCastRaw(kMap, map)->valueSize);
    return kOK;
}

kFx(kStatus) kMap_Remove(kMap map, const void* key)
{
    kMapItem item = kNULL;
    kCheck(kMap_FindItem(map, key, &item));
    return kMap_RemoveItem(map, &item);
}

kFx(kStatus) kMap_RemoveItem(kMap map, kMapItem* item)
{
    kObjR(kMap, map);
    kCheckArgs(item);
    uintptr_t at = reinterpret_cast<uintptr_t>(*item),
              first = reinterpret_cast<uintptr_t>(obj->entries);
    kCheckArgs(at >= first && at < first + obj->count * obj->entrySize &&
               (at - first) % obj->entrySize == 0);
    kSize index = (at - first) / obj->entrySize;
    Erase(obj, index);
    *item = index < obj->count ? EntryAt(obj, index) : kNULL;
    return kOK;
}

kFx(kStatus) kMap_Clear(kMap map)
{
    kObjR(kMap, map);
    obj->count = 0;
    kMemZero(obj->buckets, obj->bucketCount * sizeof(kSize));
    return kOK;
}

kFx(kStatus) kMap_Purge(kMap map)
{
    kObjR(kMap, map);
    kStatus status = DisposeEntries(obj, obj->count);
    kCheck(kMap_Clear(map));
    return status;
}

kFx(kStatus) kMap_Reserve(kMap map, kSize capacity)
{
    kObjR(kMap, map);
    return Reserve(obj, capacity);
}

kFx(kMapItem) kMap_First(kMap map)
{
    kObjN(kMap, obj, map);
    return (obj && obj->count) ? obj->entries : kNULL;
}

kFx(kMapItem) kMap_Next(kMap map, kMapItem item)
{
    kObjN(kMap, obj, map);
    if (!obj || !item) return kNULL;
    kSize next = IndexOf(obj, item) + 1;
    return next < obj->count ? EntryAt(obj, next) : kNULL;
}

kFx(const void*) kMap_Key(kMap map, kMapItem item)
{
    kObjN(kMap, obj, map);
    return (obj && item) ? KeyOf(static_cast<kMapEntry*>(item)) : kNULL;
}

kFx(void*) kMap_Value(kMap map, kMapItem item)
{
    kObjN(kMap, obj, map);
    return (obj && item) ? ValueOf(obj, static_cast<kMapEntry*>(item)) : kNULL;
}

kFx(kSize) kMap_Count(kMap map)
{
    kObjN(kMap, obj, map);
    return obj ? obj->count : 0;
}

kFx(kType) kMap_KeyType(kMap map)
{
    kObjN(kMap, obj, map);
    return obj ? obj->keyType : kNULL;
}

kFx(kType) kMap_ValueType(kMap map)
{
    kObjN(kMap, obj, map);
    return obj ? obj->valueType : kNULL;
}
