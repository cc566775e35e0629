#include <kBasis/kArray3.h>
#include <kBasis/kArray.x.h>

struct kArray3Class : xkArrayClass
{
};

kFx(kStatus) xxkArray3_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kArray3, kObject));
    return xkArray_AddVMethods(kTypeOf(kArray3));
}

kFx(kStatus) kArray3_Construct(kArray3* array, kType itemType, kSize length0, kSize length1,
                               kSize length2, kAlloc allocator)
{
    return kArray3_ConstructEx(array, itemType, length0, length1, length2, allocator, kNULL);
}

kFx(kStatus) kArray3_ConstructEx(kArray3* array, kType itemType, kSize length0, kSize length1,
                                 kSize length2, kAlloc allocator, kAlloc valueAllocator)
{
    const kSize lengths[] = {length0, length1, length2};
    return xkArray_Construct(array, kTypeOf(kArray3), 3, itemType, lengths, allocator,
                             valueAllocator);
}

kFx(kStatus)
    kArray3_Allocate(kArray3 array, kType itemType, kSize length0, kSize length1, kSize length2)
{
    kObjR(kArray3, array);
    const kSize lengths[] = {length0, length1, length2};
    return xkArray_Allocate(obj, itemType, lengths);
}

kFx(kStatus) kArray3_Attach(kArray3 array, kType itemType, void* items, kSize length0,
                            kSize length1, kSize length2)
{
    kObjR(kArray3, array);
    const kSize lengths[] = {length0, length1, length2};
    return xkArray_Attach(obj, itemType, items, lengths);
}

kFx(kStatus) kArray3_Assign(kArray3 array, kArray3 source)
{
    kObjR(kArray3, array);
    kCheckArgs(source);
    kObjN(kArray3, src, source);
    kCheckArgs(src);
    return xkArray_Assign(obj, src);
}

kFx(kStatus) kArray3_Zero(kArray3 array)
{
    kObjR(kArray3, array);
    return xkArray_Zero(obj);
}

kFx(kStatus)
    kArray3_SetItem(kArray3 array, kSize index0, kSize index1, kSize index2, const void* item)
{
    kObjR(kArray3, array);
    const kSize indices[] = {index0, index1, index2};
    kSize index = xkArray_Index(obj, indices);
    kCheckArgs(index != kSIZE_MAX);
    return xkItemStore_SetItem(&obj->items, index, item);
}

kFx(kType) kArray3_ItemType(kArray3 array)
{
    kObjN(kArray3, obj, array);
    return obj ? obj->items.type : kNULL;
}

kFx(kSize) kArray3_ItemSize(kArray3 array)
{
    kObjN(kArray3, obj, array);
    return obj ? obj->items.size : 0;
}

kFx(kSize) kArray3_Length(kArray3 array, kSize dimension)
{
    kObjN(kArray3, obj, array);
    return obj && dimension < 3 ? obj->length[dimension] : 0;
}

kFx(kSize) kArray3_Count(kArray3 array)
{
    kObjN(kArray3, obj, array);
    return obj ? obj->count : 0;
}

kFx(kSize) kArray3_DataSize(kArray3 array)
{
    kObjN(kArray3, obj, array);
    return obj ? obj->count * obj->items.size : 0;
}

kFx(void*) kArray3_Data(kArray3 array)
{
    kObjN(kArray3, obj, array);
    return obj ? obj->items.data : kNULL;
}

kFx(void*) kArray3_DataAt(kArray3 array, kSize index0, kSize index1, kSize index2)
{
    kObjN(kArray3, obj, array);
    const kSize indices[] = {index0, index1, index2};
    return obj ? xkArray_DataAt(obj, xkArray_Index(obj, indices)) : kNULL;
}

kFx(void*) kArray3_At(kArray3 array, kSize index0, kSize index1, kSize index2)
{
    kObjN(kArray3, obj, array);
    const kSize indices[] = {index0, index1, index2};
    return obj ? xkArray_HostAt(obj, xkArray_Index(obj, indices)) : kNULL;
}

kDefineClass(kArray3, kObject)
