#include <kBasis/kArray.x.h>

namespace
{
xkArrayClass* Core(kObject array) { return static_cast<xkArrayClass*>(array); }

kStatus VRelease(kObject array)
{
    kCheck(xkItemStore_Release(&Core(array)->items));
    return xkObject_VRelease(array);
}

kStatus VDisposeItems(kObject array)
{
    xkArrayClass* obj = Core(array);
    if (kSuccess(xkItemStore_CheckHost(&obj->items)))
        kCheck(xkItems_Dispose(obj->items.type, obj->items.data, obj->count));
    return xkObject_VDisposeItems(array);
}

kStatus VInitClone(kObject array, kObject source, kAlloc allocator)
{
    xkArrayClass* obj = Core(array);
    const xkArrayClass* src = Core(source);

    kCheck(kObject_Init(array, kObject_Type(source), allocator));
    kCheck(xkItemStore_InitClone(&obj->items, &src->items, src->count, src->base.alloc, allocator));
    obj->dimensions = src->dimensions;
    xkArray_SetShape(obj, src->length);
    return kOK;
}

/* The header's memory kind plus the items': device data or attached memory shows here. */
k32u VAllocTraits(kObject array)
{
    return xkObject_VAllocTraits(array) | xkItemStore_Traits(&Core(array)->items);
}

kSize VSize(kObject array)
{
    const xkArrayClass* obj = Core(array);
    return kType_InnerSize(kObject_Type(array)) + xkItemStore_Size(&obj->items, obj->count);
}

/* The function's signature must be the slot's: F is deduced from both. */
template <typename F>
kStatus AddOverride(kType type, F kObjectVTable::*slot, F function, const kChar* name)
{
    return xkType_AddVMethod(type, xkVTable_Slot(slot), reinterpret_cast<kFunction>(function),
                             name);
}
} // namespace

kStatus xkArray_AddVMethods(kType type)
{
    kCheck(AddOverride(type, &kObjectVTable::VRelease, VRelease, "VRelease"));
    kCheck(AddOverride(type, &kObjectVTable::VDisposeItems, VDisposeItems, "VDisposeItems"));
    kCheck(AddOverride(type, &kObjectVTable::VInitClone, VInitClone, "VInitClone"));
    kCheck(AddOverride(type, &kObjectVTable::VAllocTraits, VAllocTraits, "VAllocTraits"));
    return AddOverride(type, &kObjectVTable::VSize, VSize, "VSize");
}

kStatus xkArray_Construct(kObject* array, kType type, kSize dimensions, kType itemType,
                          const kSize* lengths, kAlloc allocator, kAlloc valueAllocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    xkArrayClass* obj = kNULL;
    kSize count = 0;
    kStatus status;

    kCheckArgs(array && xkItems_IsValidType(itemType));
    kCheckArgs(xkItems_CountOf(lengths, dimensions, kType_Size(itemType), &count));

    kCheck(kAlloc_GetObject(alloc, type, &obj));
    kTest(kObject_Init(obj, type, alloc));
    kTest(xkItemStore_Init(&obj->items, itemType, valueAllocator ? valueAllocator : alloc));
    kTest(xkItemStore_Reserve(&obj->items, count, 0));
    obj->dimensions = dimensions;
    xkArray_SetShape(obj, lengths);
    *array = obj;
    return kOK;

cleanup:
    kAlloc_Free(alloc, obj);
    return status;
}

void xkArray_SetShape(xkArrayClass* obj, const kSize* lengths)
{
    obj->count = 1;
    for (kSize d = 0; d < xkARRAY_MAX_DIMENSIONS; ++d)
    {
        obj->length[d] = d < obj->dimensions ? lengths[d] : 1;
        obj->count *= obj->length[d];
    }
}

kStatus xkArray_Allocate(xkArrayClass* obj, kType itemType, const kSize* lengths)
{
    kSize count = 0;
    kCheckArgs(xkItems_IsValidType(itemType));
    kCheckArgs(xkItems_CountOf(lengths, obj->dimensions, kType_Size(itemType), &count));
    kCheck(xkItemStore_Reshape(&obj->items, itemType, count));
    xkArray_SetShape(obj, lengths);
    return kOK;
}

kStatus xkArray_Attach(xkArrayClass* obj, kType itemType, void* items, const kSize* lengths)
{
    kSize count = 0;
    kCheckArgs(xkItems_IsValidType(itemType));
    kCheckArgs(xkItems_CountOf(lengths, obj->dimensions, kType_Size(itemType), &count));
    kCheck(xkItemStore_Attach(&obj->items, itemType, items, count));
    xkArray_SetShape(obj, lengths);
    return kOK;
}

kStatus xkArray_Assign(xkArrayClass* obj, const xkArrayClass* source)
{
    if (obj == source) return kOK;
    kCheckArgs(obj->items.type == source->items.type);

    kStatus status =
        xkItemStore_Assign(&obj->items, &source->items, source->count, obj->base.alloc);
    if (!kSuccess(status))
    {
        const kSize empty[xkARRAY_MAX_DIMENSIONS] = {0, 0, 0};
        xkArray_SetShape(obj, empty);
        return status;
    }
    xkArray_SetShape(obj, source->length);
    return kOK;
}

kStatus xkArray_Zero(xkArrayClass* obj) { return xkItemStore_Zero(&obj->items, obj->count); }

kSize xkArray_Index(const xkArrayClass* obj, const kSize* indices)
{
    kSize index = 0;
    for (kSize d = 0; d < obj->dimensions; ++d)
    {
        if (indices[d] >= obj->length[d]) return kSIZE_MAX;
        index = index * obj->length[d] + indices[d];
    }
    return index;
}

void* xkArray_DataAt(const xkArrayClass* obj, kSize index)
{
    return index < obj->count ? xkItemStore_At(&obj->items, index) : kNULL;
}

void* xkArray_HostAt(const xkArrayClass* obj, kSize index)
{
    return kSuccess(xkItemStore_CheckHost(&obj->items)) ? xkArray_DataAt(obj, index) : kNULL;
}
