#include <kBasis/kArray1.h>
#include <kBasis/kArray.x.h>

struct kArray1Class : xkArrayClass
{
};

kFx(kStatus) xxkArray1_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kArray1, kObject));
    return xkArray_AddVMethods(kTypeOf(kArray1));
}

kFx(kStatus) kArray1_Construct(kArray1* array, kType itemType, kSize length, kAlloc allocator)
{
    return kArray1_ConstructEx(array, itemType, length, allocator, kNULL);
}

kFx(kStatus) kArray1_ConstructEx(kArray1* array, kType itemType, kSize length, kAlloc allocator,
                                 kAlloc valueAllocator)
{
    return xkArray_Construct(array, kTypeOf(kArray1), 1, itemType, &length, allocator,
                             valueAllocator);
}

kFx(kStatus) kArray1_Allocate(kArray1 array, kType itemType, kSize length)
{
    kObjR(kArray1, array);
    return xkArray_Allocate(obj, itemType, &length);
}

kFx(kStatus) kArray1_Attach(kArray1 array, kType itemType, void* items, kSize length)
{
    kObjR(kArray1, array);
    return xkArray_Attach(obj, itemType, items, &length);
}

kFx(kStatus) kArray1_Assign(kArray1 array, kArray1 source)
{
    kObjR(kArray1, array);
    kCheckArgs(source);
    kObjN(kArray1, src, source);
    kCheckArgs(src);
    return xkArray_Assign(obj, src);
}

kFx(kStatus) kArray1_Zero(kArray1 array)
{
    kObjR(kArray1, array);
    return xkArray_Zero(obj);
}

kFx(kStatus) kArray1_SetItem(kArray1 array, kSize index, const void* item)
{
    kObjR(kArray1, array);
    kCheckArgs(index < obj->count);
    return xkItemStore_SetItem(&obj->items, index, item);
}

kFx(kType) kArray1_ItemType(kArray1 array)
{
    kObjN(kArray1, obj, array);
    return obj ? obj->items.type : kNULL;
}

kFx(kSize) kArray1_ItemSize(kArray1 array)
{
    kObjN(kArray1, obj, array);
    return obj ? obj->items.size : 0;
}

kFx(kSize) kArray1_Length(kArray1 array)
{
    kObjN(kArray1, obj, array);
    return obj ? obj->count : 0;
}

kFx(kSize) kArray1_Count(kArray1 array) { return kArray1_Length(array); }

kFx(kSize) kArray1_DataSize(kArray1 array)
{
    kObjN(kArray1, obj, array);
    return obj ? obj->count * obj->items.size : 0;
}

kFx(void*) kArray1_Data(kArray1 array)
{
    kObjN(kArray1, obj, array);
    return obj ? obj->items.data : kNULL;
}

kFx(void*) kArray1_DataAt(kArray1 array, kSize index)
{
    kObjN(kArray1, obj, array);
    return obj ? xkArray_DataAt(obj, index) : kNULL;
}

kFx(void*) kArray1_At(kArray1 array, kSize index)
{
    kObjN(kArray1, obj, array);
    return obj ? xkArray_HostAt(obj, index) : kNULL;
}

kDefineClass(kArray1, kObject)
