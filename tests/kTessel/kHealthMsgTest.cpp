// Health messages: ownership of the content, cloning, size, construction failures.
#include <kTestSupport.h>

#include <kTessel.h>

namespace
{
kArrayList Stats(kAlloc alloc)
{
    kArrayList stats = kNULL;
    EXPECT_EQ(kArrayList_Construct(&stats, kTypeOf(kHealthStat), 0, alloc), kOK);
    for (kHealthStat s : {kHealthStat{2002, 41250}, kHealthStat{2027, -3000}})
        EXPECT_EQ(kArrayList_Add(stats, &s), kOK);
    return stats;
}
} // namespace

TEST(HealthMsg, OwnsItsContent)
{
    ktest::CountingAlloc alloc;
    kArrayList stats = Stats(alloc);
    kHealthMsg msg = kNULL;
    ASSERT_EQ(kHealthMsg_Construct(&msg, stats, alloc), kOK);
    EXPECT_TRUE(kObject_Is(msg, kTypeOf(kHealthMsg)));
    EXPECT_EQ(kHealthMsg_Content(msg), stats);
    EXPECT_GE(kObject_Size(msg), kObject_Size(stats));

    kHealthMsg copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, msg, alloc), kOK);
    kArrayList copied = kHealthMsg_Content(copy);
    ASSERT_NE(copied, stats);
    ASSERT_EQ(kArrayList_Count(copied), 2u);
    EXPECT_EQ(((kHealthStat*)kArrayList_At(copied, 1))->id, 2027u);
    EXPECT_EQ(((kHealthStat*)kArrayList_At(copied, 1))->value, -3000);
    kObject_Destroy(copy);
    kObject_Destroy(msg); // takes the list with it: the counting allocator sees no leak

    // A list of objects goes with its objects.
    kArrayList texts = kNULL;
    ASSERT_EQ(kArrayList_Construct(&texts, kTypeOf(kString), 0, alloc), kOK);
    kString s = kNULL;
    ASSERT_EQ(kString_Construct(&s, "overheat", alloc), kOK);
    ASSERT_EQ(kArrayList_Add(texts, &s), kOK);
    ASSERT_EQ(kHealthMsg_Construct(&msg, texts, alloc), kOK);
    kObject_Destroy(msg);
    EXPECT_EQ(alloc.Outstanding(), 0u);

    EXPECT_EQ(kHealthMsg_Content(kNULL), kNULL);
}

TEST(HealthMsg, FailedConstructionLeavesTheContentToTheCaller)
{
    ktest::CountingAlloc alloc;
    kHealthMsg msg = kNULL;
    EXPECT_EQ(kHealthMsg_Construct(&msg, kNULL, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(msg, kNULL);

    // After a failure the caller still owns the content and releases it.
    ktest::ExpectCleanFailures(
        [](kAlloc a, kObject* out)
        {
            kArrayList list = kNULL;
            kCheck(kArrayList_Construct(&list, kTypeOf(kHealthStat), 4, a));
            kStatus status = kHealthMsg_Construct(out, list, a);
            if (!kSuccess(status)) kObject_Destroy(list);
            return status;
        });

    // Cloning fails cleanly at every allocation of the copy.
    kHealthMsg original = kNULL;
    ASSERT_EQ(kHealthMsg_Construct(&original, Stats(alloc), alloc), kOK);
    ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                               { return kObject_Clone(out, original, a); });
    kObject_Destroy(original);
}
