// Growable lists: growth, insertion and removal against std::vector, attached and imported
// items, lists of objects (clone, assign, dispose, purge) and allocation failure.
#include "kContainerTestSupport.h"

#include <vector>

namespace
{
kArrayList MakeStrings(const std::vector<std::string>& texts, kAlloc alloc)
{
    kArrayList list = kNULL;
    EXPECT_EQ(kArrayList_Construct(&list, kTypeOf(kString), 0, alloc), kOK);
    for (const std::string& text : texts)
    {
        kString str = kNULL;
        EXPECT_EQ(kString_Construct(&str, text.c_str(), alloc), kOK);
        EXPECT_EQ(kArrayList_AddT(list, str), kOK);
    }
    return list;
}

std::vector<k32s> Items(kArrayList list)
{
    const k32s* data = kArrayList_DataT<k32s>(list);
    return std::vector<k32s>(data, data + kArrayList_Count(list));
}
} // namespace

TEST(ArrayList, GrowsGeometricallyFromEmpty)
{
    ktest::CountingAlloc alloc;
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(k32s), 0, alloc), kOK);
    EXPECT_EQ(kArrayList_Count(list), 0u);
    EXPECT_EQ(kArrayList_Capacity(list), 0u);
    EXPECT_EQ(kArrayList_Data(list), nullptr);
    EXPECT_EQ(alloc.Outstanding(), 1u);

    std::vector<kSize> capacities;
    for (k32s i = 0; i < 100; ++i)
    {
        ASSERT_EQ(kArrayList_AddT(list, i * 3), kOK);
        if (capacities.empty() || capacities.back() != kArrayList_Capacity(list))
            capacities.push_back(kArrayList_Capacity(list));
    }
    EXPECT_EQ(capacities, (std::vector<kSize>{8, 16, 32, 64, 128}));
    EXPECT_EQ(alloc.Total(), 1u + capacities.size());
    EXPECT_EQ(kArrayList_Count(list), 100u);
    for (kSize i = 0; i < 100; ++i)
        EXPECT_EQ(*kArrayList_AtT<k32s>(list, i), (k32s)i * 3);
    EXPECT_EQ(kArrayList_At(list, 100), nullptr); // within capacity, past the count
    EXPECT_EQ(kObject_Size(list), kType_InnerSize(kTypeOf(kArrayList)) + 128 * 4);

    ASSERT_EQ(kArrayList_Reserve(list, 50), kOK); // never shrinks
    EXPECT_EQ(kArrayList_Capacity(list), 128u);
    ASSERT_EQ(kArrayList_Reserve(list, 300), kOK);
    EXPECT_EQ(kArrayList_Capacity(list), 300u);
    EXPECT_EQ(*kArrayList_AtT<k32s>(list, 99), 297);

    ASSERT_EQ(kArrayList_Clear(list), kOK);
    EXPECT_EQ(kArrayList_Count(list), 0u);
    EXPECT_EQ(kArrayList_Capacity(list), 300u);
    kObject_Destroy(list);
}

TEST(ArrayList, InsertRemoveAndResizeMatchAVectorReference)
{
    ktest::CountingAlloc alloc;
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(k32s), 3, alloc), kOK);
    EXPECT_EQ(kArrayList_Capacity(list), 3u);
    std::vector<k32s> reference;

    k64u state = 12345; // a fixed linear congruential sequence of operations
    for (k32s step = 0; step < 400; ++step)
    {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        kSize pick = (kSize)(state >> 33);
        kSize count = reference.size();
        switch (pick % 4)
        {
        case 0:
        case 1:
        {
            kSize before = pick / 4 % (count + 1);
            ASSERT_EQ(kArrayList_InsertT(list, before, step), kOK);
            reference.insert(reference.begin() + (ptrdiff_t)before, step);
            break;
        }
        case 2:
            if (count)
            {
                kSize index = pick / 4 % count;
                k32s removed = -1;
                ASSERT_EQ(kArrayList_RemoveT(list, index, &removed), kOK);
                EXPECT_EQ(removed, reference[index]);
                reference.erase(reference.begin() + (ptrdiff_t)index);
            }
            break;
        default:
        {
            if (count)
            {
                kSize index = pick / 4 % count;
                ASSERT_EQ(kArrayList_SetItemT(list, index, -step), kOK);
                reference[index] = -step;
            }
        }
        }
        ASSERT_EQ(Items(list), reference) << "after step " << step;
    }

    kSize count = reference.size();
    k32s item = 0;
    EXPECT_EQ(kArrayList_Insert(list, count + 1, &item), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Remove(list, count, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_SetItem(list, count, &item), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Add(list, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_AddT<k64f>(list, 1.0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_InsertT<k16s>(list, 0, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_SetItemT<k8u>(list, 0, 1), kSTATUS_BAD_PARAMETER);
    k64f wide = 0;
    EXPECT_EQ(kArrayList_RemoveT(list, 0, &wide), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(Items(list), reference);

    ASSERT_EQ(kArrayList_Remove(list, 0, kNULL), kOK);
    reference.erase(reference.begin());
    ASSERT_EQ(kArrayList_Resize(list, 2), kOK);
    reference.resize(2);
    ASSERT_EQ(kArrayList_Resize(list, count + 40), kOK); // exposed items are zero, not stale
    reference.resize(count + 40, 0);
    EXPECT_EQ(Items(list), reference);
    ASSERT_EQ(kArrayList_Zero(list), kOK);
    EXPECT_EQ(Items(list), std::vector<k32s>(count + 40, 0));
    kObject_Destroy(list);
}

TEST(ArrayList, ItemsTakenFromTheListItselfSurviveGrowth)
{
    ktest::CountingAlloc alloc;
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(kPoint3d64f), 2, alloc), kOK);
    ASSERT_EQ(kArrayList_AddT(list, kPoint3d64f{1, 2, 3}), kOK);
    ASSERT_EQ(kArrayList_AddT(list, kPoint3d64f{4, 5, 6}), kOK);

    /* Full: the memory moves and the source, after the insertion point, shifts up. */
    ASSERT_EQ(kArrayList_Insert(list, 0, kArrayList_At(list, 1)), kOK);
    EXPECT_EQ(kArrayList_AtT<kPoint3d64f>(list, 0)->x, 4.0);
    ASSERT_EQ(kArrayList_Add(list, kArrayList_At(list, 0)), kOK);
    EXPECT_EQ(kArrayList_AtT<kPoint3d64f>(list, 3)->z, 6.0);
    ASSERT_EQ(kArrayList_Insert(list, 3, kArrayList_At(list, 1)), kOK); // source stays put
    EXPECT_EQ(kArrayList_AtT<kPoint3d64f>(list, 3)->y, 2.0);
    const k64f expected[] = {4, 1, 4, 1, 4};
    ASSERT_EQ(kArrayList_Count(list), 5u);
    for (kSize i = 0; i < 5; ++i)
        EXPECT_EQ(kArrayList_AtT<kPoint3d64f>(list, i)->x, expected[i]);
    kObject_Destroy(list);
}

TEST(ArrayList, AttachImportAndAllocate)
{
    ktest::CountingAlloc alloc;
    k64f external[4] = {0.5, 1.5, 2.5, 3.5};
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(k32s), 16, alloc), kOK);
    ASSERT_EQ(kArrayList_Attach(list, kTypeOf(k64f), external, 4), kOK);
    EXPECT_EQ(alloc.Outstanding(), 1u);
    EXPECT_EQ(kArrayList_Count(list), 4u);
    EXPECT_EQ(kArrayList_Capacity(list), 4u);
    EXPECT_EQ(kArrayList_Data(list), (void*)external);
    EXPECT_EQ(kObject_Size(list), kType_InnerSize(kTypeOf(kArrayList)));
    ASSERT_EQ(kArrayList_RemoveT<k64f>(list, 3, kNULL), kOK); // in place
    EXPECT_EQ(kArrayList_Data(list), (void*)external);
    ASSERT_EQ(kArrayList_AddT(list, 9.0), kOK); // still fits
    EXPECT_EQ(external[3], 9.0);
    ASSERT_EQ(kArrayList_AddT(list, 10.0), kOK); // does not: moves into owned memory
    EXPECT_NE(kArrayList_Data(list), (void*)external);
    EXPECT_EQ(kArrayList_Count(list), 5u);
    EXPECT_EQ(*kArrayList_AtT<k64f>(list, 3), 9.0);
    EXPECT_EQ(*kArrayList_AtT<k64f>(list, 4), 10.0);
    EXPECT_EQ(external[0], 0.5);

    const k16u values[] = {7, 8, 9};
    ASSERT_EQ(kArrayList_Import(list, kTypeOf(k16u), values, 3), kOK);
    EXPECT_EQ(kArrayList_ItemType(list), kTypeOf(k16u));
    EXPECT_EQ(kArrayList_Count(list), 3u);
    EXPECT_NE(kArrayList_Data(list), (const void*)values);
    EXPECT_EQ(*kArrayList_AtT<k16u>(list, 2), 9);
    EXPECT_EQ(kArrayList_Import(list, kTypeOf(k16u), kNULL, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Import(list, kNULL, values, 3), kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kArrayList_Allocate(list, kTypeOf(kRect32s), 10), kOK);
    EXPECT_EQ(kArrayList_Count(list), 0u);
    EXPECT_EQ(kArrayList_Capacity(list), 10u);
    EXPECT_EQ(kArrayList_ItemSize(list), 16u);
    EXPECT_EQ(kArrayList_DataSize(list), 0u);
    EXPECT_EQ(kArrayList_Allocate(list, kTypeOf(kVoid), 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Reserve(list, kSIZE_MAX), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Resize(list, kSIZE_MAX / 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Capacity(list), 10u);
    kObject_Destroy(list);
}

TEST(ArrayList, ListsOfStringsCloneAssignDisposeAndPurge)
{
    ktest::CountingAlloc alloc;
    const std::vector<std::string> texts = {"alpha", "", "gamma", "delta"};
    kArrayList list = MakeStrings(texts, alloc);
    EXPECT_EQ(ktest::Texts(list), texts);

    kArrayList copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, list, alloc), kOK);
    EXPECT_EQ(ktest::Texts(copy), texts);
    for (kSize i = 0; i < texts.size(); ++i)
    {
        kString a = *kArrayList_AtT<kString>(list, i), b = *kArrayList_AtT<kString>(copy, i);
        EXPECT_NE(a, b);
        EXPECT_TRUE(kObject_Equals(a, b));
    }
    kSize itemBytes = 0;
    for (kSize i = 0; i < texts.size(); ++i)
        itemBytes += kObject_Size(*kArrayList_AtT<kString>(copy, i));
    EXPECT_EQ(kObject_Size(copy),
              kType_InnerSize(kTypeOf(kArrayList)) + 4 * sizeof(kObject) + itemBytes);

    kArrayList assigned = MakeStrings({"x"}, alloc);
    ASSERT_EQ(kArrayList_Purge(assigned), kOK); // releases "x"
    EXPECT_EQ(kArrayList_Count(assigned), 0u);
    ASSERT_EQ(kArrayList_Assign(assigned, list), kOK);
    EXPECT_EQ(ktest::Texts(assigned), texts);
    EXPECT_NE(*kArrayList_AtT<kString>(assigned, 0), *kArrayList_AtT<kString>(list, 0));

    kArrayList numbers = kNULL;
    ASSERT_EQ(kArrayList_Construct(&numbers, kTypeOf(k32s), 0, alloc), kOK);
    EXPECT_EQ(kArrayList_Assign(numbers, list), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Assign(numbers, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kArrayList_Purge(numbers), kOK); // value items: a plain clear

    /* A removed object is handed over, not released. */
    kString taken = kNULL;
    ASSERT_EQ(kArrayList_RemoveT(copy, 2, &taken), kOK);
    EXPECT_TRUE(kString_Equals(taken, "gamma"));
    EXPECT_EQ(kArrayList_Count(copy), 3u);
    EXPECT_EQ(kObject_Destroy(taken), kOK);

    /* Destroy leaves the items; Dispose and Purge release them. */
    kString survivor = *kArrayList_AtT<kString>(list, 0);
    ASSERT_EQ(kObject_Share(survivor), kOK);
    EXPECT_EQ(kObject_Dispose(list), kOK);
    EXPECT_EQ(kObject_RefCount(survivor), 1);
    EXPECT_TRUE(kString_Equals(survivor, "alpha"));
    kObject_Destroy(survivor);

    std::vector<kString> loose;
    for (kSize i = 0; i < kArrayList_Count(copy); ++i)
        loose.push_back(*kArrayList_AtT<kString>(copy, i));
    EXPECT_EQ(kObject_Destroy(copy), kOK);
    EXPECT_TRUE(kString_Equals(loose[0], "alpha")); // alive after Destroy of their list
    EXPECT_TRUE(kString_Equals(loose[2], "delta"));
    for (kString str : loose)
        EXPECT_EQ(kObject_Destroy(str), kOK);

    ASSERT_EQ(kArrayList_Purge(assigned), kOK);
    EXPECT_EQ(kArrayList_Count(assigned), 0u);
    kObject_Destroy(assigned);
    kObject_Destroy(numbers);
}

TEST(ArrayList, DisposeReleasesNestedContainers)
{
    ktest::CountingAlloc alloc;
    kArrayList outer = kNULL;
    ASSERT_EQ(kArrayList_Construct(&outer, kTypeOf(kObject), 1, alloc), kOK); // any objects
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(kArrayList_AddT(outer, MakeStrings({"a", "bb", "ccc"}, alloc)), kOK);
    kArray2 grid = kNULL; // a matrix of lists inside the list
    ASSERT_EQ(kArray2_Construct(&grid, kTypeOf(kArrayList), 2, 2, alloc), kOK);
    ASSERT_EQ(kArray2_SetItemT(grid, 1, 1, MakeStrings({"deep"}, alloc)), kOK);
    ASSERT_EQ(kArrayList_AddT(outer, grid), kOK);
    EXPECT_EQ(kArrayList_Count(outer), 4u);
    EXPECT_GT(alloc.Outstanding(), 20u);

    kArrayList copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, outer, alloc), kOK);
    kArray2 grid2 = *kArrayList_AtT<kArray2>(copy, 3);
    EXPECT_EQ(ktest::Texts(*kArray2_AtT<kArrayList>(grid2, 1, 1)),
              (std::vector<std::string>{"deep"}));
    EXPECT_EQ(*kArray2_AtT<kArrayList>(grid2, 0, 0), kNULL);

    EXPECT_EQ(kObject_Dispose(copy), kOK);
    EXPECT_EQ(kObject_Dispose(outer), kOK);
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(ArrayList, AllocationFailureAtEveryStepLeavesNothing)
{
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                         { return kArrayList_Construct(out, kTypeOf(k8u), 0, a); }),
              1u);
    EXPECT_EQ(ktest::ExpectCleanFailures(
                  [](kAlloc a, kObject* out)
                  { return kArrayList_ConstructEx(out, kTypeOf(k64f), 10, a, a); }),
              2u);

    ktest::CountingAlloc alloc;
    kArrayList numbers = kNULL;
    ASSERT_EQ(kArrayList_Construct(&numbers, kTypeOf(k32u), 0, alloc), kOK);
    for (k32u i = 0; i < 20; ++i)
        ASSERT_EQ(kArrayList_AddT(numbers, i), kOK);
    EXPECT_EQ(ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                                         { return kObject_Clone(out, numbers, a); }),
              2u);

    kArrayList strings = MakeStrings({"one", "two", "three"}, alloc);
    /* Instance, handle block, then instance and characters of each string. */
    EXPECT_EQ(ktest::ExpectCleanFailuresDisposing([&](kAlloc a, kObject* out)
                                                  { return kObject_Clone(out, strings, a); }),
              2u + 3u * 2u);

    /* A failed growth leaves the list as it was. */
    kCountingAlloc_SetFailAfter(alloc, 0);
    kSize capacity = kArrayList_Capacity(numbers);
    for (kSize i = kArrayList_Count(numbers); i < capacity; ++i)
        ASSERT_EQ(kArrayList_AddT<k32u>(numbers, 0), kOK);
    EXPECT_EQ(kArrayList_AddT<k32u>(numbers, 99), kSTATUS_MEMORY);
    EXPECT_EQ(kArrayList_InsertT<k32u>(numbers, 0, 99), kSTATUS_MEMORY);
    EXPECT_EQ(kArrayList_Count(numbers), capacity);
    EXPECT_EQ(*kArrayList_AtT<k32u>(numbers, 19), 19u);
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);

    kObject_Destroy(numbers);
    kObject_Dispose(strings);
}
