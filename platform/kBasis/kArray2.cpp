#include <kBasis/kArray2.h>
#include <kBasis/kArray.x.h>

struct kArray2Class : xkArrayClass
{
};

kFx(kStatus) xxkArray2_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kArray2, kObject));
    return xkArray_AddVMethods(kTypeOf(kArray2));
}

kFx(kStatus) kArray2_Construct(kArray2* array, kType itemType, kSize length0, kSize length1,
                               kAlloc allocator)
{
    return kArray2_ConstructEx(array, itemType, length0, length1, allocator, kNULL);
}

kFx(kStatus) kArray2_ConstructEx(kArray2* array, kType itemType, kSize length0, kSize length1,
                                 kAlloc allocator, kAlloc valueAllocator)
{
    const kSize lengths[] = {length0, length1};
    return xkArray_Construct(array, kTypeOf(kArray2), 2, itemType, lengths, allocator,
                             valueAllocator);
}

kFx(kStatus) kArray2_Allocate(kArray2 array, kType itemType, kSize length0, kSize length1)
{
    kObjR(kArray2, array);
    const kSize lengths[] = {length0, length1};
    return xkArray_Allocate(obj, itemType, lengths);
}

kFx(kStatus)
    kArray2_Attach(kArray2 array, kType itemType, void* items, kSize length0, kSize length1)
{
    kObjR(kArray2, array);
    const kSize lengths[] = {length0, length1};
    return xkArray_Attach(obj, itemType, items, lengths);
}

kFx(kStatus) kArray2_Assign(kArray2 array, kArray2 source)
{
    kObjR(kArray2, array);
    kCheckArgs(source);
    kObjN(kArray2, src, source);
    kCheckArgs(src);
    return xkArray_Assign(obj, src);
}

kFx(kStatus) kArray2_Zero(kArray2 array)
{
    kObjR(kArray2, array);
    return xkArray_Zero(obj);
}

kFx(kStatus) kArray2_SetItem(kArray2 array, kSize index0, kSize index1, const void* item)
{
    kObjR(kArray2, array);
    const kSize indices[] = {index0, index1};
    kSize index = xkArray_Index(obj, indices);
    kCheckArgs(index != kSIZE_MAX);
    return xkItemStore_SetItem(&obj->items, index, item);
}

kFx(kType) kArray2_ItemType(kArray2 array)
{
    kObjN(kArray2, obj, array);
    return obj ? obj->items.type : kNULL;
}

kFx(kSize) kArray2_ItemSize(kArray2 array)
{
    kObjN(kArray2, obj, array);
    return obj ? obj->items.size : 0;
}

kFx(kSize) kArray2_Length(kArray2 array, kSize dimension)
{
    kObjN(kArray2, obj, array);
    return obj && dimension < 2 ? obj->length[dimension] : 0;
}

kFx(kSize) kArray2_Count(kArray2 array)
{
    kObjN(kArray2, obj, array);
    return obj ? obj->count : 0;
}

kFx(kSize) kArray2_DataSize(kArray2 array)
{
    kObjN(kArray2, obj, array);
    return obj ? obj->count * obj->items.size : 0;
}

kFx(void*) kArray2_Data(kArray2 array)
{
    kObjN(kArray2, obj, array);
    return obj ? obj->items.data : kNULL;
}

kFx(void*) kArray2_DataAt(kArray2 array, kSize index0, kSize index1)
{
    kObjN(kArray2, obj, array);
    const kSize indices[] = {index0, index1};
    return obj ? xkArray_DataAt(obj, xkArray_Index(obj, indices)) : kNULL;
}

kFx(void*) kArray2_At(kArray2 array, kSize index0, kSize index1)
{
    kObjN(kArray2, obj, array);
    const kSize indices[] = {index0, index1};
    return obj ? xkArray_HostAt(obj, xkArray_Index(obj, indices)) : kNULL;
}

kDefineClass(kArray2, kObject)
