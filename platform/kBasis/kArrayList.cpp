#include <kBasis/kArrayList.h>
#include <kBasis/kArray.x.h>

#include <cstdint>

struct kArrayListClass : xkArrayClass
{
};

namespace
{
/* Smallest capacity given to a list that grows from empty. */
constexpr kSize kMinGrowth = 8;

void SetCount(kArrayListClass* obj, kSize count) { xkArray_SetShape(obj, &count); }

/* Room for count items; grows geometrically so that appending is amortised constant time. */
kStatus Grow(kArrayListClass* obj, kSize count)
{
    kSize capacity = xkItemStore_Capacity(&obj->items);
    if (count <= capacity) return kOK;
    kSize grown = capacity > kSIZE_MAX / 2 ? kSIZE_MAX : 2 * capacity;
    return xkItemStore_Reserve(&obj->items, kMax_(count, kMax_(grown, kMinGrowth)), obj->count);
}

/* An item may point into the list itself (Add(list, At(list, 0))): it is found again after the
   memory moves and the tail shifts. */
kStatus InsertAt(kArrayListClass* obj, kSize before, const void* item)
{
    kItemStore* items = &obj->items;
    const kSize size = items->size;
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(items->data);
    const std::uintptr_t source = reinterpret_cast<std::uintptr_t>(item);
    const bool inside = items->data && source >= begin && source < begin + obj->count * size;
    const kSize offset = inside ? source - begin : 0;

    kCheckArgs(item && before <= obj->count);
    kCheck(xkItemStore_CheckHost(items));
    kCheck(Grow(obj, obj->count + 1));

    kByte* at = static_cast<kByte*>(xkItemStore_At(items, before));
    kMemMove(at + size, at, (obj->count - before) * size);
    if (inside)
    {
        kSize moved = offset >= before * size ? offset + size : offset;
        item = static_cast<kByte*>(items->data) + moved;
    }
    kMemCopy(at, item, size);
    SetCount(obj, obj->count + 1);
    return kOK;
}
} // namespace

kFx(kStatus) xxkArrayList_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kArrayList, kObject));
    return xkArray_AddVMethods(kTypeOf(kArrayList));
}

kFx(kStatus)
    kArrayList_Construct(kArrayList* list, kType itemType, kSize capacity, kAlloc allocator)
{
    return kArrayList_ConstructEx(list, itemType, capacity, allocator, kNULL);
}

kFx(kStatus) kArrayList_ConstructEx(kArrayList* list, kType itemType, kSize capacity,
                                    kAlloc allocator, kAlloc valueAllocator)
{
    const kSize empty = 0;
    kArrayList output = kNULL;
    kStatus status;

    kCheckArgs(list);
    kCheck(xkArray_Construct(&output, kTypeOf(kArrayList), 1, itemType, &empty, allocator,
                             valueAllocator));
    kTest(xkItemStore_Reserve(&kCastRaw(kArrayList, output)->items, capacity, 0));
    *list = output;
    return kOK;

cleanup:
    kObject_Destroy(output);
    return status;
}

kFx(kStatus) kArrayList_Allocate(kArrayList list, kType itemType, kSize capacity)
{
    kObjR(kArrayList, list);
    kCheck(xkItemStore_Reshape(&obj->items, itemType, capacity));
    SetCount(obj, 0);
    return kOK;
}

kFx(kStatus) kArrayList_Attach(kArrayList list, kType itemType, void* items, kSize count)
{
    kObjR(kArrayList, list);
    return xkArray_Attach(obj, itemType, items, &count);
}

kFx(kStatus) kArrayList_Import(kArrayList list, kType itemType, const void* items, kSize count)
{
    kObjR(kArrayList, list);
    kCheckArgs(items || count == 0);
    kCheck(xkItemStore_CheckHost(&obj->items));
    kCheck(xkItemStore_Reshape(&obj->items, itemType, count));
    kMemCopy(obj->items.data, items, count * obj->items.size);
    SetCount(obj, count);
    return kOK;
}

kFx(kStatus) kArrayList_Assign(kArrayList list, kArrayList source)
{
    kObjR(kArrayList, list);
    kCheckArgs(source);
    kObjN(kArrayList, src, source);
    kCheckArgs(src);
    return xkArray_Assign(obj, src);
}

kFx(kStatus) kArrayList_Add(kArrayList list, const void* item)
{
    kObjR(kArrayList, list);
    return InsertAt(obj, obj->count, item);
}

kFx(kStatus) kArrayList_Insert(kArrayList list, kSize before, const void* item)
{
    kObjR(kArrayList, list);
    return InsertAt(obj, before, item);
}

kFx(kStatus) kArrayList_Remove(kArrayList list, kSize index, void* item)
{
    kObjR(kArrayList, list);
    kCheckArgs(index < obj->count);
    kCheck(xkItemStore_CheckHost(&obj->items));

    const kSize size = obj->items.size;
    kByte* at = static_cast<kByte*>(xkItemStore_At(&obj->items, index));
    if (item) kMemCopy(item, at, size);
    kMemMove(at, at + size, (obj->count - index - 1) * size);
    SetCount(obj, obj->count - 1);
    return kOK;
}

kFx(kStatus) kArrayList_SetItem(kArrayList list, kSize index, const void* item)
{
    kObjR(kArrayList, list);
    kCheckArgs(index < obj->count);
    return xkItemStore_SetItem(&obj->items, index, item);
}

kFx(kStatus) kArrayList_Resize(kArrayList list, kSize count)
{
    kObjR(kArrayList, list);
    kCheck(Grow(obj, count));
    if (count > obj->count && kSuccess(xkItemStore_CheckHost(&obj->items)))
        kMemZero(xkItemStore_At(&obj->items, obj->count), (count - obj->count) * obj->items.size);
    SetCount(obj, count);
    return kOK;
}

kFx(kStatus) kArrayList_Reserve(kArrayList list, kSize capacity)
{
    kObjR(kArrayList, list);
    if (capacity <= xkItemStore_Capacity(&obj->items)) return kOK;
    return xkItemStore_Reserve(&obj->items, capacity, obj->count);
}

kFx(kStatus) kArrayList_Zero(kArrayList list)
{
    kObjR(kArrayList, list);
    return xkArray_Zero(obj);
}

kFx(kStatus) kArrayList_Clear(kArrayList list)
{
    kObjR(kArrayList, list);
    SetCount(obj, 0);
    return kOK;
}

kFx(kStatus) kArrayList_Purge(kArrayList list)
{
    kObjR(kArrayList, list);
    kCheck(xkItemStore_CheckHost(&obj->items));
    kStatus status = xkItems_Dispose(obj->items.type, obj->items.data, obj->count);
    SetCount(obj, 0);
    return status;
}

kFx(kType) kArrayList_ItemType(kArrayList list)
{
    kObjN(kArrayList, obj, list);
    return obj ? obj->items.type : kNULL;
}

kFx(kSize) kArrayList_ItemSize(kArrayList list)
{
    kObjN(kArrayList, obj, list);
    return obj ? obj->items.size : 0;
}

kFx(kSize) kArrayList_Count(kArrayList list)
{
    kObjN(kArrayList, obj, list);
    return obj ? obj->count : 0;
}

kFx(kSize) kArrayList_Capacity(kArrayList list)
{
    kObjN(kArrayList, obj, list);
    return obj ? xkItemStore_Capacity(&obj->items) : 0;
}

kFx(kSize) kArrayList_DataSize(kArrayList list)
{
    kObjN(kArrayList, obj, list);
    return obj ? obj->count * obj->items.size : 0;
}

kFx(void*) kArrayList_Data(kArrayList list)
{
    kObjN(kArrayList, obj, list);
    return obj ? obj->items.data : kNULL;
}

kFx(void*) kArrayList_At(kArrayList list, kSize index)
{
    kObjN(kArrayList, obj, list);
    return obj ? xkArray_HostAt(obj, index) : kNULL;
}

kDefineClass(kArrayList, kObject)
