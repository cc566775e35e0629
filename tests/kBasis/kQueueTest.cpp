// kQueue: ring order across wrap-around and growth, object items, and a random run against
// std::deque.
#include <kTestSupport.h>

#include <cstring>
#include <deque>
#include <random>

namespace
{
kQueue MakeQueue(kType type, kSize capacity, kAlloc alloc)
{
    kQueue queue = kNULL;
    EXPECT_EQ(kQueue_Construct(&queue, type, capacity, alloc), kOK);
    return queue;
}

std::vector<k32s> Contents(kQueue queue)
{
    std::vector<k32s> items;
    for (kSize i = 0; i < kQueue_Count(queue); ++i)
        items.push_back(*static_cast<k32s*>(kQueue_At(queue, i)));
    return items;
}

void AddAll(kQueue queue, std::initializer_list<k32s> items)
{
    for (k32s v : items)
        ASSERT_EQ(kQueue_Add(queue, &v), kOK);
}

/* A small object that clones deeply: the text in a kArray1 of kChar. */
kArray1 MakeText(kAlloc alloc, const char* text)
{
    kArray1 array = kNULL;
    EXPECT_EQ(kArray1_Construct(&array, kTypeOf(kChar), strlen(text) + 1, alloc), kOK);
    memcpy(kArray1_Data(array), text, strlen(text) + 1);
    return array;
}

const char* TextOf(kArray1 array) { return static_cast<const char*>(kArray1_Data(array)); }
} // namespace

TEST(Queue, KeepsOrderAcrossWrapAroundGrowthAndReserve)
{
    ktest::CountingAlloc alloc;
    kQueue queue = MakeQueue(kTypeOf(k32s), 4, alloc);
    EXPECT_EQ(kQueue_Capacity(queue), 4u);
    EXPECT_EQ(kQueue_ItemType(queue), kTypeOf(k32s));
    EXPECT_EQ(kQueue_ItemSize(queue), 4u);

    AddAll(queue, {1, 2, 3});
    k32s out = 0;
    ASSERT_EQ(kQueue_Remove(queue, &out), kOK);
    EXPECT_EQ(out, 1);
    ASSERT_EQ(kQueue_Remove(queue, kNULL), kOK); // dropped
    AddAll(queue, {4, 5, 6});                    // 5 and 6 wrap to the front slots
    EXPECT_EQ(kQueue_Capacity(queue), 4u);
    EXPECT_EQ(Contents(queue), (std::vector<k32s>{3, 4, 5, 6}));
    EXPECT_EQ(kQueue_At(queue, 4), nullptr);

    AddAll(queue, {7}); // full and wrapped: grows, order kept
    EXPECT_EQ(kQueue_Capacity(queue), 8u);
    EXPECT_EQ(Contents(queue), (std::vector<k32s>{3, 4, 5, 6, 7}));

    ASSERT_EQ(kQueue_Remove(queue, &out), kOK);
    ASSERT_EQ(kQueue_Reserve(queue, 3), kOK); // never shrinks
    EXPECT_EQ(kQueue_Capacity(queue), 8u);
    ASSERT_EQ(kQueue_Reserve(queue, 100), kOK);
    EXPECT_EQ(kQueue_Capacity(queue), 100u);
    EXPECT_EQ(Contents(queue), (std::vector<k32s>{4, 5, 6, 7}));
    EXPECT_EQ(kObject_Size(queue), kType_InnerSize(kTypeOf(kQueue)) + 400u);

    /* Adding an item of the queue itself while it grows reads it before the old ring goes. */
    kQueue small = MakeQueue(kTypeOf(k32s), 1, alloc);
    AddAll(small, {42});
    ASSERT_EQ(kQueue_Add(small, kQueue_At(small, 0)), kOK);
    EXPECT_EQ(Contents(small), (std::vector<k32s>{42, 42}));

    ASSERT_EQ(kQueue_Clear(queue), kOK);
    EXPECT_EQ(kQueue_Count(queue), 0u);
    EXPECT_EQ(kQueue_Remove(queue, &out), kSTATUS_BAD_STATE);
    EXPECT_EQ(kQueue_Add(queue, kNULL), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(small);
    kObject_Destroy(queue);
}

TEST(Queue, RandomOperationsMatchADeque)
{
    ktest::CountingAlloc alloc;
    kQueue queue = MakeQueue(kTypeOf(kPoint3d64f), 0, alloc);
    std::deque<kPoint3d64f> reference;
    std::mt19937 random(5);
    for (int step = 0; step < 20000; ++step)
    {
        if (random() % 5 < 3)
        {
            kPoint3d64f p = {(k64f)step, -(k64f)step, 0.5};
            ASSERT_EQ(kQueue_Add(queue, &p), kOK);
            reference.push_back(p);
        }
        else
        {
            kPoint3d64f p = {};
            kStatus status = kQueue_Remove(queue, &p);
            if (reference.empty())
            {
                ASSERT_EQ(status, kSTATUS_BAD_STATE);
                continue;
            }
            ASSERT_EQ(status, kOK);
            ASSERT_EQ(p.x, reference.front().x);
            reference.pop_front();
        }
        ASSERT_EQ(kQueue_Count(queue), reference.size());
    }
    for (kSize i = 0; i < reference.size(); ++i)
        ASSERT_EQ(static_cast<kPoint3d64f*>(kQueue_At(queue, i))->y, reference[i].y);
    kObject_Destroy(queue);
}

TEST(Queue, ObjectItemsAreClonedDisposedOrLeftAlone)
{
    ktest::CountingAlloc alloc;
    kQueue queue = MakeQueue(kTypeOf(kArray1), 2, alloc);
    const char* names[] = {"a", "bb", "ccc"};
    kArray1 first = MakeText(alloc, "gone");
    ASSERT_EQ(kQueue_Add(queue, &first), kOK);
    for (const char* n : names)
    {
        kArray1 text = MakeText(alloc, n);
        ASSERT_EQ(kQueue_Add(queue, &text), kOK);
    }
    kArray1 removed = kNULL;
    ASSERT_EQ(kQueue_Remove(queue, &removed), kOK); // the caller owns it now
    EXPECT_EQ(removed, first);
    kObject_Destroy(removed);

    kQueue copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, queue, alloc), kOK);
    ASSERT_EQ(kQueue_Count(copy), 3u);
    for (kSize i = 0; i < 3; ++i)
    {
        kArray1 a = *static_cast<kArray1*>(kQueue_At(queue, i));
        kArray1 b = *static_cast<kArray1*>(kQueue_At(copy, i));
        EXPECT_NE(a, b);
        EXPECT_STREQ(TextOf(b), names[i]);
    }
    EXPECT_GT(kObject_Size(copy), kType_InnerSize(kTypeOf(kQueue)) + 3 * sizeof(kObject));

    ASSERT_EQ(kQueue_Purge(copy), kOK);
    EXPECT_EQ(kQueue_Count(copy), 0u);
    kObject_Destroy(copy);
    EXPECT_EQ(kObject_Dispose(queue), kOK); // disposes the three held objects
}

TEST(Queue, ConstructionAndCloneFailCleanly)
{
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                         { return kQueue_Construct(out, kTypeOf(k16u), 16, a); }),
              2u); // instance, ring
    kQueue none = kNULL;
    EXPECT_EQ(kQueue_Construct(&none, kTypeOf(kVoid), 1, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kQueue_Construct(&none, kTypeOf(k64f), kSIZE_MAX / 4, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(none, nullptr);

    /* A wrapped queue of four objects: every clone made before a failure is disposed of. */
    ktest::CountingAlloc alloc;
    kQueue queue = MakeQueue(kTypeOf(kArray1), 4, alloc);
    for (int i = 0; i < 6; ++i)
    {
        kArray1 text = MakeText(alloc, "item");
        ASSERT_EQ(kQueue_Add(queue, &text), kOK);
        if (i < 2)
        {
            ASSERT_EQ(kQueue_Remove(queue, &text), kOK);
            kObject_Destroy(text);
        }
    }
    for (kSize step = 0;; ++step)
    {
        ktest::CountingAlloc failing; // checks at scope exit that nothing is left
        kCountingAlloc_SetFailAfter(failing, step);
        kQueue copy = kNULL;
        kStatus status = kObject_Clone(&copy, queue, failing);
        if (kSuccess(status))
        {
            EXPECT_EQ(step, 2u + 4 * 2); // instance, ring, then each array and its items
            EXPECT_EQ(kObject_Dispose(copy), kOK);
            break;
        }
        EXPECT_EQ(copy, nullptr);
    }
    kObject_Dispose(queue);
}
