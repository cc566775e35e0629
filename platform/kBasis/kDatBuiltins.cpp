/* kdat versions of the foundation containers: arrays, lists, images and strings. */
#include <kBasis/kSerializer.x.h>
#include <kBasis/kArray1.h>
#include <kBasis/kArray2.h>
#include <kBasis/kArray3.h>
#include <kBasis/kArrayList.h>
#include <kBasis/kImage.h>
#include <kBasis/kString.h>
#include <kBasis/kValue.h>

namespace
{
/* Objects need at least their record byte in the stream; values their size. */
kSize StreamItemSize(kType type) { return kType_IsClass(type) ? 1 : kType_Size(type); }

kStatus WriteItemsOf(kSerializer serializer, kType type, const void* items, kSize count)
{
    if (!kType_IsClass(type)) return kSerializer_WriteItems(serializer, type, items, count);
    const kObject* handles = static_cast<const kObject*>(items);
    for (kSize i = 0; i < count; ++i)
        kCheck(kSerializer_WriteObject(serializer, handles[i]));
    return kOK;
}

kStatus ReadItemsOf(kSerializer serializer, kType type, void* items, kSize count, kAlloc allocator)
{
    if (!kType_IsClass(type)) return kSerializer_ReadItems(serializer, type, items, count);
    kObject* handles = static_cast<kObject*>(items);
    for (kSize i = 0; i < count; ++i)
        kCheck(kSerializer_ReadObject(serializer, &handles[i], allocator));
    return kOK;
}

/* The shape of an n-dimensional container, so that one writer and one reader serve them all. */
struct Shape
{
    kSize rank;
    kType (*itemType)(kObject container);
    kSize (*length)(kObject container, kSize dimension);
    /* Host address of the first item; null when empty or out of the host's reach. */
    void* (*items)(kObject container);
    kStatus (*allocate)(kObject container, kType type, const kSize* lengths);
    kStatus (*construct)(kObject* container, kAlloc allocator);
};

template <const Shape& S>
kStatus WriteShaped(kSerializer serializer, kObject container)
{
    kType type = S.itemType(container);
    kSize count = 1;
    kCheck(kSerializer_WriteType(serializer, type));
    for (kSize d = 0; d < S.rank; ++d)
    {
        kSize length = S.length(container, d);
        count *= length;
        kCheck(kSerializer_WriteSize(serializer, length));
    }
    void* items = S.items(container);
    if (count > 0 && !items) return kSTATUS_NOT_IMPLEMENTED; // device memory
    return WriteItemsOf(serializer, type, items, count);
}

template <const Shape& S>
kStatus ReadShaped(kSerializer serializer, kObject container)
{
    kType type = kNULL;
    kSize lengths[3] = {0, 0, 0};
    kSize count = 1;
    kCheck(kSerializer_ReadType(serializer, &type));
    for (kSize d = 0; d < S.rank; ++d)
    {
        kCheck(kSerializer_ReadSize(serializer, &lengths[d]));
        if (__builtin_mul_overflow(count, lengths[d], &count)) return kSTATUS_INCOMPLETE;
    }
    kCheck(kSerializer_Expect(serializer, StreamItemSize(type), count));
    kCheck(S.allocate(container, type, lengths));
    return ReadItemsOf(serializer, type, S.items(container), count, kObject_Alloc(container));
}

template <const Shape& S>
kStatus ConstructShaped(kObject* container, kAlloc allocator)
{
    return S.construct(container, allocator);
}

constexpr Shape kArray1Shape = {
    1,
    kArray1_ItemType,
    [](kObject a, kSize) { return kArray1_Length(a); },
    [](kObject a) { return kArray1_At(a, 0); },
    [](kObject a, kType t, const kSize* n) { return kArray1_Allocate(a, t, n[0]); },
    [](kObject* a, kAlloc alloc) { return kArray1_Construct(a, kTypeOf(k8u), 0, alloc); },
};

constexpr Shape kArray2Shape = {
    2,
    kArray2_ItemType,
    kArray2_Length,
    [](kObject a) { return kArray2_At(a, 0, 0); },
    [](kObject a, kType t, const kSize* n) { return kArray2_Allocate(a, t, n[0], n[1]); },
    [](kObject* a, kAlloc alloc) { return kArray2_Construct(a, kTypeOf(k8u), 0, 0, alloc); },
};

constexpr Shape kArray3Shape = {
    3,
    kArray3_ItemType,
    kArray3_Length,
    [](kObject a) { return kArray3_At(a, 0, 0, 0); },
    [](kObject a, kType t, const kSize* n) { return kArray3_Allocate(a, t, n[0], n[1], n[2]); },
    [](kObject* a, kAlloc alloc) { return kArray3_Construct(a, kTypeOf(k8u), 0, 0, 0, alloc); },
};

constexpr Shape kArrayListShape = {
    1,
    kArrayList_ItemType,
    [](kObject l, kSize) { return kArrayList_Count(l); },
    [](kObject l) { return kArrayList_At(l, 0); },
    [](kObject l, kType t, const kSize* n)
    {
        kCheck(kArrayList_Allocate(l, t, n[0]));
        return kArrayList_Resize(l, n[0]);
    },
    [](kObject* l, kAlloc alloc) { return kArrayList_Construct(l, kTypeOf(k8u), 0, alloc); },
};

/* Images: rows written unpadded, top row first. */
kStatus WriteImage(kSerializer serializer, kObject image)
{
    kType type = kImage_PixelType(image);
    kSize width = kImage_Width(image), height = kImage_Height(image);
    kCheck(kSerializer_WriteType(serializer, type));
    kCheck(kSerializer_Write32s(serializer, kImage_PixelFormat(image)));
    kCheck(kSerializer_WriteSize(serializer, width));
    kCheck(kSerializer_WriteSize(serializer, height));
    for (kSize y = 0; y < height && width > 0; ++y)
    {
        const void* row = kImage_RowAt(image, y);
        if (!row) return kSTATUS_NOT_IMPLEMENTED;
        kCheck(kSerializer_WriteItems(serializer, type, row, width));
    }
    return kOK;
}

kStatus ReadImage(kSerializer serializer, kObject image)
{
    kType type = kNULL;
    k32s format = 0;
    kSize width = 0, height = 0, area = 0;
    kCheck(kSerializer_ReadType(serializer, &type));
    kCheck(kSerializer_Read32s(serializer, &format));
    kCheck(kSerializer_ReadSize(serializer, &width));
    kCheck(kSerializer_ReadSize(serializer, &height));
    if (!kType_IsValue(type)) return kSTATUS_BAD_FORMAT;
    if (__builtin_mul_overflow(width, height, &area)) return kSTATUS_INCOMPLETE;
    kCheck(kSerializer_Expect(serializer, kType_Size(type), area));
    kCheck(kImage_Allocate(image, type, width, height));
    kCheck(kImage_SetPixelFormat(image, format));
    for (kSize y = 0; y < height && width > 0; ++y)
        kCheck(kSerializer_ReadItems(serializer, type, kImage_RowAt(image, y), width));
    return kOK;
}

kStatus ConstructImage(kObject* image, kAlloc allocator)
{
    return kImage_Construct(image, kTypeOf(k8u), 0, 0, allocator);
}

/* Strings keep every character, NULs included. */
kStatus WriteString(kSerializer serializer, kObject str)
{
    kCheckArgs(kString_Length(str) <= k32U_MAX);
    kCheck(kSerializer_Write32u(serializer, (k32u)kString_Length(str)));
    return kSerializer_WriteBytes(serializer, kString_Chars(str), kString_Length(str));
}

kStatus ReadString(kSerializer serializer, kObject str)
{
    return kSerializer_ReadString(serializer, str);
}

kStatus ConstructString(kObject* str, kAlloc allocator)
{
    return kString_Construct(str, kNULL, allocator);
}

/* Every built-in type is readable from and writable to both formats with version "<Type>-0". */
kStatus AddVersions(kType type, const kChar* versionName, kSerializerWriteFx writer,
                    kSerializerReadFx reader, kFrameworkConstructorFx constructor)
{
    kCheck(xkSerializer_AddVersion(type, "kdat5", "5.0.0.0", versionName, writer, reader));
    kCheck(xkSerializer_AddVersion(type, "kdat6", "5.0.0.0", versionName, writer, reader));
    return xkSerializer_AddFrameworkConstructor(type, constructor);
}
} // namespace

kStatus xkSerializer_AddBuiltinVersions(void)
{
    kCheck(AddVersions(kTypeOf(kArray1), "kArray1-0", WriteShaped<kArray1Shape>,
                       ReadShaped<kArray1Shape>, ConstructShaped<kArray1Shape>));
    kCheck(AddVersions(kTypeOf(kArray2), "kArray2-0", WriteShaped<kArray2Shape>,
                       ReadShaped<kArray2Shape>, ConstructShaped<kArray2Shape>));
    kCheck(AddVersions(kTypeOf(kArray3), "kArray3-0", WriteShaped<kArray3Shape>,
                       ReadShaped<kArray3Shape>, ConstructShaped<kArray3Shape>));
    kCheck(AddVersions(kTypeOf(kArrayList), "kArrayList-0", WriteShaped<kArrayListShape>,
                       ReadShaped<kArrayListShape>, ConstructShaped<kArrayListShape>));
    kCheck(AddVersions(kTypeOf(kImage), "kImage-0", WriteImage, ReadImage, ConstructImage));
    kCheck(AddVersions(kTypeOf(kString), "kString-0", WriteString, ReadString, ConstructString));
    return kOK;
}
