// Arrays of one to three dimensions: shapes, row-major layout, attached and separate item
// memory, deep copies of object items, disposal, and allocation failure at every step.
#include "kContainerTestSupport.h"

#include <vector>

/* An allocator that reports device memory (the blocks are ordinary heap memory underneath, so
   a test can see that nothing reached them from the host). */
typedef kAlloc kTestDeviceAlloc;
kDeclareClass(kTestDeviceAlloc, kAlloc);
struct kTestDeviceAllocClass
{
    kAllocClass base;
    kSize outstanding;
};

static kStatus xkTestDeviceAlloc_VGet(kAlloc alloc, kSize size, void** mem)
{
    *mem = size ? malloc(size) : kNULL;
    if (*mem) ++kCastRaw(kTestDeviceAlloc, alloc)->outstanding;
    return kOK;
}

static kStatus xkTestDeviceAlloc_VFree(kAlloc alloc, void* mem)
{
    if (mem) --kCastRaw(kTestDeviceAlloc, alloc)->outstanding;
    free(mem);
    return kOK;
}

static k32u xkTestDeviceAlloc_VTraits(kAlloc) { return kALLOC_TRAIT_DEVICE; }

kStatus xxkTestDeviceAlloc_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kTestDeviceAlloc, kAlloc));
    kCheck(kAddVMethod(kTestDeviceAlloc, VGet));
    kCheck(kAddVMethod(kTestDeviceAlloc, VFree));
    return kAddVMethod(kTestDeviceAlloc, VTraits);
}

namespace
{
kAssembly s_assembly = kNULL;

/* The device allocator lives in an assembly of its own, built once per test. */
class DeviceAlloc
{
public:
    DeviceAlloc()
    {
        kVersion version = kVersion_Create(1, 0, 0, 0);
        EXPECT_EQ(
            xkAssembly_ConstructInternal(&m_assembly, &s_assembly, "kTestArrays", version, version),
            kOK);
        EXPECT_EQ(xkAssembly_AddDependency(m_assembly, kBasisLib_Construct), kOK);
        EXPECT_EQ(xkAssembly_AddType(m_assembly, xxkTestDeviceAlloc_Register, "kTestDeviceAlloc"),
                  kOK);
        EXPECT_EQ(xkAssembly_Finalize(m_assembly), kOK);
        EXPECT_EQ(kAlloc_GetObject(kNULL, kTypeOf(kTestDeviceAlloc), &m_alloc), kOK);
        EXPECT_EQ(kObject_Init(m_alloc, kTypeOf(kTestDeviceAlloc), kNULL), kOK);
    }
    ~DeviceAlloc()
    {
        EXPECT_EQ(kCastRaw(kTestDeviceAlloc, m_alloc)->outstanding, 0u);
        kObject_Destroy(m_alloc);
        kObject_Destroy(m_assembly);
    }
    operator kAlloc() const { return m_alloc; }

private:
    kAssembly m_assembly = kNULL;
    kAlloc m_alloc = kNULL;
};

/* Builds an array of n arrays (k32s, lengths 1..n, item j of array i = 100 i + j). */
kArray1 MakeNested(kSize n, kAlloc alloc)
{
    kArray1 outer = kNULL;
    EXPECT_EQ(kArray1_Construct(&outer, kTypeOf(kArray1), n, alloc), kOK);
    for (kSize i = 0; i < n; ++i)
    {
        kArray1 inner = kNULL;
        EXPECT_EQ(kArray1_Construct(&inner, kTypeOf(k32s), i + 1, alloc), kOK);
        for (kSize j = 0; j <= i; ++j)
            *kArray1_AtT<k32s>(inner, j) = (k32s)(100 * i + j);
        EXPECT_EQ(kArray1_SetItemT(outer, i, inner), kOK);
    }
    return outer;
}

void ExpectNested(kArray1 outer, kSize n)
{
    ASSERT_EQ(kArray1_Length(outer), n);
    for (kSize i = 0; i < n; ++i)
    {
        kArray1 inner = *kArray1_AtT<kArray1>(outer, i);
        ASSERT_EQ(kArray1_Length(inner), i + 1);
        for (kSize j = 0; j <= i; ++j)
            EXPECT_EQ(*kArray1_AtT<k32s>(inner, j), (k32s)(100 * i + j));
    }
}
} // namespace

TEST(Array1, ItemsAreTypedZeroFilledAndBoundsChecked)
{
    ktest::CountingAlloc alloc;
    kArray1 array = kNULL;
    ASSERT_EQ(kArray1_Construct(&array, kTypeOf(k32s), 5, alloc), kOK);
    EXPECT_EQ(kArray1_ItemType(array), kTypeOf(k32s));
    EXPECT_EQ(kArray1_ItemSize(array), 4u);
    EXPECT_EQ(kArray1_Length(array), 5u);
    EXPECT_EQ(kArray1_Count(array), 5u);
    EXPECT_EQ(kArray1_DataSize(array), 20u);
    EXPECT_EQ(kObject_AllocTraits(array), (k32u)kALLOC_TRAIT_HOST);
    for (kSize i = 0; i < 5; ++i)
        EXPECT_EQ(*kArray1_AtT<k32s>(array, i), 0);

    for (kSize i = 0; i < 5; ++i)
        EXPECT_EQ(kArray1_SetItemT<k32s>(array, i, (k32s)(i * i) - 3), kOK);
    const k32s* data = kArray1_DataT<k32s>(array);
    for (kSize i = 0; i < 5; ++i)
        EXPECT_EQ(data[i], (k32s)(i * i) - 3);
    EXPECT_EQ(kArray1_At(array, 3), (void*)(data + 3));
    EXPECT_EQ(kArray1_DataAt(array, 4), (void*)(data + 4));

    k32s value = 7;
    EXPECT_EQ(kArray1_At(array, 5), nullptr);
    EXPECT_EQ(kArray1_DataAt(array, kSIZE_MAX), nullptr);
    EXPECT_EQ(kArray1_SetItem(array, 5, &value), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_SetItem(array, 0, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_SetItemT<k64f>(array, 0, 1.0), kSTATUS_BAD_PARAMETER); // wrong size
    EXPECT_EQ(kArray1_SetItemT<k16s>(array, 0, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(data[0], -3);

    EXPECT_EQ(kArray1_Zero(array), kOK);
    for (kSize i = 0; i < 5; ++i)
        EXPECT_EQ(data[i], 0);
    EXPECT_EQ(kObject_Size(array), kType_InnerSize(kTypeOf(kArray1)) + 20u);
    EXPECT_EQ(kObject_Destroy(array), kOK);
}

TEST(Array1, BadItemTypesAndSizesAreRefused)
{
    ktest::CountingAlloc alloc;
    kArray1 array = kNULL;
    EXPECT_EQ(kArray1_Construct(&array, kNULL, 4, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_Construct(&array, kTypeOf(kVoid), 4, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_Construct(&array, kTypeOf(k64f), kSIZE_MAX / 4, alloc),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_Construct(kNULL, kTypeOf(k64f), 1, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(array, kNULL);

    ASSERT_EQ(kArray1_Construct(&array, kBytes_GetType(12), 3, alloc), kOK);
    EXPECT_EQ(kArray1_ItemSize(array), 12u);
    EXPECT_EQ(kArray1_DataSize(array), 36u);
    EXPECT_EQ(kArray1_Allocate(array, kTypeOf(k16u), kSIZE_MAX), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_Allocate(array, kNULL, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray1_ItemSize(array), 12u); // unchanged after the refusals
    EXPECT_EQ(kArray1_Length(array), 3u);

    {
        ktest::CastFailCapture capture;
        kArray2 matrix = kNULL;
        ASSERT_EQ(kArray2_Construct(&matrix, kBytes_GetType(12), 1, 3, alloc), kOK);
        EXPECT_EQ(kArray1_Assign(array, matrix), kSTATUS_BAD_PARAMETER); // another class
        EXPECT_EQ(kArray1_Zero(matrix), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(kArray1_Length(matrix), 0u);
        EXPECT_EQ(kArray1_At(matrix, 0), nullptr);
        EXPECT_EQ(capture.Count(), 4);
        kObject_Destroy(matrix);
    }
    kObject_Destroy(array);
}

TEST(Array2, RowMajorLayoutMatchesDirectIndexing)
{
    ktest::CountingAlloc alloc;
    const kSize rows = 3, cols = 5;
    kArray2 array = kNULL;
    ASSERT_EQ(kArray2_Construct(&array, kTypeOf(kPoint3d64f), rows, cols, alloc), kOK);
    EXPECT_EQ(kArray2_Length(array, 0), rows);
    EXPECT_EQ(kArray2_Length(array, 1), cols);
    EXPECT_EQ(kArray2_Length(array, 2), 0u);
    EXPECT_EQ(kArray2_Count(array), rows * cols);
    EXPECT_EQ(kArray2_ItemSize(array), sizeof(kPoint3d64f));

    std::vector<kPoint3d64f> reference(rows * cols);
    for (kSize r = 0; r < rows; ++r)
        for (kSize c = 0; c < cols; ++c)
        {
            kPoint3d64f p = {(k64f)r, (k64f)c, (k64f)(r * 10 + c) / 4};
            reference[r * cols + c] = p;
            ASSERT_EQ(kArray2_SetItemT(array, r, c, p), kOK);
        }

    const kByte* base = static_cast<const kByte*>(kArray2_Data(array));
    for (kSize r = 0; r < rows; ++r)
        for (kSize c = 0; c < cols; ++c)
        {
            EXPECT_EQ((const kByte*)kArray2_At(array, r, c) - base,
                      (ptrdiff_t)((r * cols + c) * 24));
            EXPECT_EQ(kArray2_DataAt(array, r, c), kArray2_At(array, r, c));
            EXPECT_EQ(kArray2_AtT<kPoint3d64f>(array, r, c)->z, reference[r * cols + c].z);
        }
    EXPECT_TRUE(kMemEquals(base, reference.data(), reference.size() * sizeof(kPoint3d64f)));

    kPoint3d64f p = {};
    EXPECT_EQ(kArray2_At(array, rows, 0), nullptr);
    EXPECT_EQ(kArray2_At(array, 0, cols), nullptr);
    EXPECT_EQ(kArray2_DataAt(array, 0, cols), nullptr);
    EXPECT_EQ(kArray2_SetItem(array, 0, cols, &p), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray2_SetItem(array, rows, 0, &p), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray2_SetItemT(array, 0, 0, kPoint3d32f{}), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kObject_Size(array), kType_InnerSize(kTypeOf(kArray2)) + rows * cols * 24);
    kObject_Destroy(array);
}

TEST(Array2, AllocateReshapesInPlaceAndReusesMemory)
{
    ktest::CountingAlloc alloc;
    kArray2 array = kNULL;
    ASSERT_EQ(kArray2_Construct(&array, kTypeOf(k16u), 4, 6, alloc), kOK);
    void* data = kArray2_Data(array);
    kSize total = alloc.Total();

    ASSERT_EQ(kArray2_Allocate(array, kTypeOf(k8u), 6, 8), kOK); // 48 bytes, as before
    EXPECT_EQ(kArray2_Data(array), data);
    EXPECT_EQ(alloc.Total(), total);
    EXPECT_EQ(kArray2_ItemType(array), kTypeOf(k8u));
    EXPECT_EQ(kArray2_Length(array, 0), 6u);
    EXPECT_EQ(kArray2_Length(array, 1), 8u);

    ASSERT_EQ(kArray2_Allocate(array, kTypeOf(k8u), 0, 9), kOK);
    EXPECT_EQ(kArray2_Count(array), 0u);
    EXPECT_EQ(kArray2_At(array, 0, 0), nullptr);

    ASSERT_EQ(kArray2_Allocate(array, kTypeOf(k64f), 7, 7), kOK); // grows: fresh, zero-filled
    EXPECT_EQ(alloc.Total(), total + 1);
    EXPECT_EQ(alloc.Outstanding(), 2u);
    for (kSize i = 0; i < 49; ++i)
        EXPECT_EQ(kArray2_DataT<k64f>(array)[i], 0.0);
    kObject_Destroy(array);
}

TEST(Array2, AttachWrapsExternalMemoryWithoutOwningIt)
{
    ktest::CountingAlloc alloc;
    k16s external[6] = {1, 2, 3, 4, 5, 6};
    kArray2 array = kNULL;
    ASSERT_EQ(kArray2_Construct(&array, kTypeOf(k16s), 10, 10, alloc), kOK);
    ASSERT_EQ(kArray2_Attach(array, kTypeOf(k16s), external, 2, 3), kOK);
    EXPECT_EQ(alloc.Outstanding(), 1u); // the owned block went back
    EXPECT_EQ(kArray2_Data(array), (void*)external);
    EXPECT_EQ(*kArray2_AtT<k16s>(array, 1, 0), 4);
    EXPECT_EQ(kArray2_SetItemT<k16s>(array, 1, 2, -9), kOK);
    EXPECT_EQ(external[5], -9);
    EXPECT_EQ(kObject_Size(array), kType_InnerSize(kTypeOf(kArray2))); // holds no memory
    EXPECT_EQ(kObject_AllocTraits(array), (k32u)(kALLOC_TRAIT_HOST | kALLOC_TRAIT_FOREIGN));

    kArray2 copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, array, alloc), kOK); // owns its items
    EXPECT_NE(kArray2_Data(copy), (void*)external);
    EXPECT_TRUE(kMemEquals(kArray2_Data(copy), external, sizeof(external)));

    EXPECT_EQ(kArray2_Attach(array, kTypeOf(k16s), kNULL, 1, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray2_Attach(array, kTypeOf(k16s), kNULL, 0, 4), kOK); // empty view

    ASSERT_EQ(kArray2_Attach(array, kTypeOf(k16s), external, 2, 3), kOK);
    ASSERT_EQ(kArray2_Allocate(array, kTypeOf(k16s), 2, 3), kOK); // owned memory again
    EXPECT_NE(kArray2_Data(array), (void*)external);
    EXPECT_EQ(alloc.Outstanding(), 4u); // array, its items, the clone and its items
    EXPECT_EQ(external[0], 1);
    kObject_Destroy(array);
    kObject_Destroy(copy);
    EXPECT_EQ(external[5], -9); // untouched by destruction
}

TEST(Array2, AssignCopiesShapeAndItemsOfTheSameTypeOnly)
{
    ktest::CountingAlloc alloc;
    kArray2 a = kNULL, b = kNULL, c = kNULL;
    ASSERT_EQ(kArray2_Construct(&a, kTypeOf(k32f), 2, 3, alloc), kOK);
    ASSERT_EQ(kArray2_Construct(&b, kTypeOf(k32f), 5, 1, alloc), kOK);
    ASSERT_EQ(kArray2_Construct(&c, kTypeOf(k32s), 2, 3, alloc), kOK);
    for (kSize i = 0; i < 6; ++i)
        kArray2_DataT<k32f>(a)[i] = 0.5f * (k32f)i;

    ASSERT_EQ(kArray2_Assign(b, a), kOK);
    EXPECT_EQ(kArray2_Length(b, 0), 2u);
    EXPECT_EQ(kArray2_Length(b, 1), 3u);
    EXPECT_NE(kArray2_Data(b), kArray2_Data(a));
    EXPECT_EQ(*kArray2_AtT<k32f>(b, 1, 2), 2.5f);
    *kArray2_AtT<k32f>(a, 1, 2) = -1.0f;
    EXPECT_EQ(*kArray2_AtT<k32f>(b, 1, 2), 2.5f); // deep

    EXPECT_EQ(kArray2_Assign(c, a), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray2_ItemType(c), kTypeOf(k32s));
    EXPECT_EQ(kArray2_Assign(a, a), kOK);
    EXPECT_EQ(*kArray2_AtT<k32f>(a, 1, 2), -1.0f);
    EXPECT_EQ(kArray2_Assign(a, kNULL), kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kArray2_Allocate(b, kTypeOf(k32f), 100, 100), kOK);
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kArray2_Assign(b, a), kOK); // fits in place
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
    ASSERT_EQ(kArray2_Allocate(a, kTypeOf(k32f), 200, 100), kOK);
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kArray2_Assign(b, a), kSTATUS_MEMORY);
    EXPECT_EQ(kArray2_Count(b), 0u); // left empty
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);

    kObject_Destroy(a);
    kObject_Destroy(b);
    kObject_Destroy(c);
}

TEST(Array1, ObjectItemsAreClonedDeeplyAndDisposedWithTheArray)
{
    ktest::CountingAlloc alloc;
    kArray1 outer = MakeNested(4, alloc);
    EXPECT_EQ(alloc.Outstanding(), 1u + 1u + 4u * 2u);
    EXPECT_EQ(kArray1_ItemSize(outer), sizeof(kObject));

    kSize itemBytes = 0;
    for (kSize i = 0; i < 4; ++i)
        itemBytes += kObject_Size(*kArray1_AtT<kArray1>(outer, i));
    EXPECT_EQ(kObject_Size(outer),
              kType_InnerSize(kTypeOf(kArray1)) + 4 * sizeof(kObject) + itemBytes);

    kArray1 copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, outer, alloc), kOK);
    ExpectNested(copy, 4);
    for (kSize i = 0; i < 4; ++i)
        EXPECT_NE(*kArray1_AtT<kArray1>(copy, i), *kArray1_AtT<kArray1>(outer, i));

    kArray1 assigned = kNULL;
    ASSERT_EQ(kArray1_Construct(&assigned, kTypeOf(kArray1), 0, alloc), kOK);
    ASSERT_EQ(kArray1_Assign(assigned, outer), kOK);
    ExpectNested(assigned, 4);
    EXPECT_NE(*kArray1_AtT<kArray1>(assigned, 0), *kArray1_AtT<kArray1>(outer, 0));

    /* A null handle among the items is copied as null. */
    kArray1 held = *kArray1_AtT<kArray1>(outer, 2);
    kArray1 none = kNULL;
    ASSERT_EQ(kArray1_SetItemT(outer, 2, none), kOK);
    kArray1 sparse = kNULL;
    ASSERT_EQ(kObject_Clone(&sparse, outer, alloc), kOK);
    EXPECT_EQ(*kArray1_AtT<kArray1>(sparse, 2), kNULL);
    ASSERT_EQ(kArray1_SetItemT(outer, 2, held), kOK);

    /* Destroy drops only the array: its items stay alive and must be disposed of apart. */
    kArray1 first = *kArray1_AtT<kArray1>(copy, 0);
    ASSERT_EQ(kObject_Share(first), kOK);
    EXPECT_EQ(kObject_Dispose(copy), kOK);
    EXPECT_EQ(kObject_RefCount(first), 1);
    EXPECT_EQ(kObject_Destroy(first), kOK);

    EXPECT_EQ(kObject_Dispose(sparse), kOK);
    EXPECT_EQ(kObject_Dispose(assigned), kOK);
    std::vector<kArray1> inner;
    for (kSize i = 0; i < 4; ++i)
        inner.push_back(*kArray1_AtT<kArray1>(outer, i));
    ASSERT_EQ(kObject_Destroy(outer), kOK);
    EXPECT_EQ(alloc.Outstanding(), 4u * 2u); // the items outlive a destroyed array
    for (kArray1 item : inner)
        EXPECT_EQ(kObject_Destroy(item), kOK);
}

TEST(Array1, SeparateItemAllocatorHoldsTheData)
{
    ktest::CountingAlloc objects, values;
    kArray1 array = kNULL;
    ASSERT_EQ(kArray1_ConstructEx(&array, kTypeOf(k64f), 10, objects, values), kOK);
    EXPECT_EQ(objects.Allocated(), kType_InnerSize(kTypeOf(kArray1)));
    EXPECT_EQ(values.Allocated(), 80u);
    ASSERT_EQ(kArray1_Allocate(array, kTypeOf(k64f), 20), kOK);
    EXPECT_EQ(values.Allocated(), 160u);
    EXPECT_EQ(objects.Outstanding(), 1u);

    kArray1 copy = kNULL; // the clone keeps the separate item allocator
    ASSERT_EQ(kObject_Clone(&copy, array, objects), kOK);
    EXPECT_EQ(values.Allocated(), 320u);
    EXPECT_EQ(objects.Outstanding(), 2u);
    kObject_Destroy(copy);
    kObject_Destroy(array);
}

TEST(Array1, DeviceItemsAreNeverTouchedByTheHost)
{
    DeviceAlloc device;
    ktest::CountingAlloc alloc;
    kArray1 array = kNULL, other = kNULL;
    ASSERT_EQ(kArray1_ConstructEx(&array, kTypeOf(k32u), 8, alloc, device), kOK);
    EXPECT_NE(kArray1_Data(array), nullptr);
    EXPECT_NE(kArray1_DataAt(array, 7), nullptr); // for kernels
    EXPECT_EQ(kArray1_At(array, 7), nullptr);     // not for the host
    EXPECT_EQ(kObject_AllocTraits(array), (k32u)(kALLOC_TRAIT_HOST | kALLOC_TRAIT_DEVICE));
    k32u value = 1;
    EXPECT_EQ(kArray1_SetItem(array, 0, &value), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kArray1_Zero(array), kSTATUS_NOT_IMPLEMENTED);
    kObject copy = kNULL;
    EXPECT_EQ(kObject_Clone(&copy, array, alloc), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(copy, kNULL);
    ASSERT_EQ(kArray1_Construct(&other, kTypeOf(k32u), 8, alloc), kOK);
    EXPECT_EQ(kArray1_Assign(array, other), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kArray1_Allocate(array, kTypeOf(k32u), 16), kOK); // shape only
    EXPECT_EQ(kArray1_ConstructEx(&copy, kTypeOf(kArray1), 2, alloc, device),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kObject_Dispose(array), kOK);
    kObject_Destroy(other);
}

TEST(Array3, LastIndexRunsFastestAndEveryLengthIsChecked)
{
    ktest::CountingAlloc alloc;
    const kSize n0 = 2, n1 = 3, n2 = 4;
    kArray3 array = kNULL;
    ASSERT_EQ(kArray3_Construct(&array, kTypeOf(k16s), n0, n1, n2, alloc), kOK);
    EXPECT_EQ(kArray3_Length(array, 0), n0);
    EXPECT_EQ(kArray3_Length(array, 1), n1);
    EXPECT_EQ(kArray3_Length(array, 2), n2);
    EXPECT_EQ(kArray3_Length(array, 3), 0u);
    EXPECT_EQ(kArray3_Count(array), 24u);
    EXPECT_EQ(kArray3_DataSize(array), 48u);

    for (kSize i = 0; i < n0; ++i)
        for (kSize j = 0; j < n1; ++j)
            for (kSize k = 0; k < n2; ++k)
                ASSERT_EQ(kArray3_SetItemT<k16s>(array, i, j, k, (k16s)(100 * i + 10 * j + k)),
                          kOK);
    const k16s* data = kArray3_DataT<k16s>(array);
    for (kSize index = 0; index < 24; ++index)
        EXPECT_EQ(data[index], (k16s)(100 * (index / 12) + 10 * (index / 4 % 3) + index % 4));
    EXPECT_EQ(kArray3_At(array, 1, 2, 3), (void*)(data + 23));
    EXPECT_EQ(kArray3_DataAt(array, 1, 0, 1), (void*)(data + 13));

    k16s v = 0;
    EXPECT_EQ(kArray3_At(array, 2, 0, 0), nullptr);
    EXPECT_EQ(kArray3_At(array, 0, 3, 0), nullptr);
    EXPECT_EQ(kArray3_At(array, 0, 0, 4), nullptr);
    EXPECT_EQ(kArray3_SetItem(array, 0, 0, 4, &v), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray3_SetItemT<k32s>(array, 0, 0, 0, 1), kSTATUS_BAD_PARAMETER);

    kArray3 copy = kNULL;
    ASSERT_EQ(kArray3_Construct(&copy, kTypeOf(k16s), 0, 0, 0, alloc), kOK);
    ASSERT_EQ(kArray3_Assign(copy, array), kOK);
    EXPECT_EQ(kArray3_Length(copy, 2), n2);
    EXPECT_TRUE(kMemEquals(kArray3_Data(copy), data, 48));
    ASSERT_EQ(kArray3_Allocate(copy, kTypeOf(k16s), 4, 1, 2), kOK); // same bytes: reused
    EXPECT_EQ(kArray3_Count(copy), 8u);
    EXPECT_EQ(kArray3_Zero(array), kOK);
    EXPECT_EQ(data[23], 0);

    k16s external[8] = {};
    ASSERT_EQ(kArray3_Attach(copy, kTypeOf(k16s), external, 2, 2, 2), kOK);
    EXPECT_EQ(kArray3_At(copy, 1, 1, 1), (void*)(external + 7));
    EXPECT_EQ(kArray3_Allocate(array, kTypeOf(k16s), kSIZE_MAX, 2, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArray3_Count(array), 24u);
    kObject_Destroy(copy);
    kObject_Destroy(array);
}

TEST(Arrays, AllocationFailureAtEveryStepLeavesNothing)
{
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                         { return kArray1_Construct(out, kTypeOf(k8u), 0, a); }),
              1u);
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                         { return kArray1_Construct(out, kTypeOf(k64f), 9, a); }),
              2u);
    EXPECT_EQ(ktest::ExpectCleanFailures(
                  [](kAlloc a, kObject* out)
                  { return kArray2_ConstructEx(out, kTypeOf(kRect32s), 3, 4, a, a); }),
              2u);
    EXPECT_EQ(
        ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                   { return kArray3_Construct(out, kTypeOf(k8u), 2, 2, 2, a); }),
        2u);

    ktest::CountingAlloc alloc;
    kArray2 matrix = kNULL;
    ASSERT_EQ(kArray2_Construct(&matrix, kTypeOf(k16s), 3, 3, alloc), kOK);
    EXPECT_EQ(ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                                         { return kObject_Clone(out, matrix, a); }),
              2u);
    kObject_Destroy(matrix);

    kArray1 nested = MakeNested(3, alloc);
    /* Outer instance, handle block, then instance and items of each inner array. */
    EXPECT_EQ(ktest::ExpectCleanFailuresDisposing([&](kAlloc a, kObject* out)
                                                  { return kObject_Clone(out, nested, a); }),
              2u + 3u * 2u);
    kObject_Dispose(nested);
}

/* Registration symbols of the test allocator. */
kDefineClass(kTestDeviceAlloc, kAlloc)
