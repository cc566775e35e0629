// kMap: value and string keys, iteration order, removal while iterating, and a random run
// against std::unordered_map.
#include <kTestSupport.h>

#include <map>
#include <random>
#include <string>
#include <unordered_map>

namespace
{
kMap MakeMap(kType keyType, kType valueType, kAlloc alloc)
{
    kMap map = kNULL;
    EXPECT_EQ(kMap_Construct(&map, keyType, valueType, alloc), kOK);
    return map;
}

kString MakeString(const char* text, kAlloc alloc)
{
    kString str = kNULL;
    EXPECT_EQ(kString_Construct(&str, text, alloc), kOK);
    return str;
}

/* Adds text → number, the map taking the key object. */
kStatus AddText(kMap map, const char* text, k32s value, kAlloc alloc)
{
    kString key = MakeString(text, alloc);
    kStatus status = kMap_AddItem(map, &key, &value);
    if (!kSuccess(status)) kObject_Destroy(key);
    return status;
}
} // namespace

TEST(Map, ValueKeysAddFindIterateAndGrow)
{
    ktest::CountingAlloc alloc;
    kMap map = MakeMap(kTypeOf(k32s), kTypeOf(k64f), alloc);
    EXPECT_EQ(kMap_KeyType(map), kTypeOf(k32s));
    EXPECT_EQ(kMap_ValueType(map), kTypeOf(k64f));
    EXPECT_EQ(kMap_First(map), nullptr);

    const k32s count = 1000;
    for (k32s k = 0; k < count; ++k)
    {
        k64f v = k * 0.5;
        ASSERT_EQ(kMap_AddItem(map, &k, &v), kOK);
    }
    EXPECT_EQ(kMap_Count(map), (kSize)count);
    k64f v = 0;
    for (k32s k = 0; k < count; ++k)
    {
        ASSERT_EQ(kMap_Find(map, &k, &v), kOK);
        ASSERT_EQ(v, k * 0.5);
    }
    k32s missing = count;
    EXPECT_EQ(kMap_Find(map, &missing, &v), kSTATUS_NOT_FOUND);
    k32s seven = 7;
    k64f other = -1;
    EXPECT_EQ(kMap_AddItem(map, &seven, &other), kSTATUS_DUPLICATE);
    ASSERT_EQ(kMap_Find(map, &seven, &v), kOK);
    EXPECT_EQ(v, 3.5); // unchanged

    /* Before any removal, iteration follows insertion order. */
    k32s expected = 0;
    for (kMapItem item = kMap_First(map); item; item = kMap_Next(map, item), ++expected)
    {
        ASSERT_EQ(*static_cast<const k32s*>(kMap_Key(map, item)), expected);
        ASSERT_EQ(*static_cast<k64f*>(kMap_Value(map, item)), expected * 0.5);
    }
    EXPECT_EQ(expected, count);

    ASSERT_EQ(kMap_ReplaceItem(map, &seven, &other), kOK);
    ASSERT_EQ(kMap_Find(map, &seven, &v), kOK);
    EXPECT_EQ(v, -1.0);
    ASSERT_EQ(kMap_ReplaceItem(map, &missing, kNULL), kOK); // adds, zero value
    ASSERT_EQ(kMap_Find(map, &missing, &v), kOK);
    EXPECT_EQ(v, 0.0);
    kMapItem item = kNULL;
    ASSERT_EQ(kMap_FindItem(map, &seven, &item), kOK);
    *static_cast<k64f*>(kMap_Value(map, item)) = 9.0;
    ASSERT_EQ(kMap_Find(map, &seven, kNULL), kOK);
    ASSERT_EQ(kMap_Find(map, &seven, &v), kOK);
    EXPECT_EQ(v, 9.0);

    ASSERT_EQ(kMap_Clear(map), kOK);
    EXPECT_EQ(kMap_Count(map), 0u);
    EXPECT_EQ(kMap_Find(map, &seven, &v), kSTATUS_NOT_FOUND);
    ASSERT_EQ(kMap_AddItem(map, &seven, &other), kOK);
    kObject_Destroy(map);
}

TEST(Map, RemovalWhileIteratingMovesTheLastItemIntoTheGap)
{
    ktest::CountingAlloc alloc;
    kMap map = MakeMap(kTypeOf(kPoint32s), kTypeOf(k8u), alloc);
    for (k32s i = 0; i < 50; ++i)
    {
        kPoint32s key = {i, -i};
        k8u value = (k8u)(i % 3);
        ASSERT_EQ(kMap_AddItem(map, &key, &value), kOK);
    }
    /* Remove every item whose value is 0; each item is visited exactly once. */
    kSize visited = 0;
    for (kMapItem item = kMap_First(map); item; ++visited)
    {
        if (*static_cast<k8u*>(kMap_Value(map, item)) == 0)
            ASSERT_EQ(kMap_RemoveItem(map, &item), kOK);
        else
            item = kMap_Next(map, item);
    }
    EXPECT_EQ(visited, 50u);
    EXPECT_EQ(kMap_Count(map), 33u);
    for (k32s i = 0; i < 50; ++i)
    {
        kPoint32s key = {i, -i};
        k8u value = 0;
        EXPECT_EQ(kMap_Find(map, &key, &value), i % 3 == 0 ? kSTATUS_NOT_FOUND : kOK) << i;
        EXPECT_TRUE(i % 3 == 0 || value == i % 3) << i;
    }
    kPoint32s gone = {0, 0};
    EXPECT_EQ(kMap_Remove(map, &gone), kSTATUS_NOT_FOUND);
    kPoint32s one = {1, -1};
    EXPECT_EQ(kMap_Remove(map, &one), kOK);
    EXPECT_EQ(kMap_Count(map), 32u);
    int bogus = 0;
    kMapItem wrong = &bogus;
    EXPECT_EQ(kMap_RemoveItem(map, &wrong), kSTATUS_BAD_PARAMETER);
    wrong = static_cast<kByte*>(kMap_First(map)) + 1; // inside, but not at an item
    EXPECT_EQ(kMap_RemoveItem(map, &wrong), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(map);
}

TEST(Map, RandomOperationsMatchAnUnorderedMap)
{
    ktest::CountingAlloc alloc;
    kMap map = MakeMap(kTypeOf(k64u), kTypeOf(k32u), alloc);
    std::unordered_map<k64u, k32u> reference;
    std::mt19937_64 random(11);
    for (k32u step = 0; step < 30000; ++step)
    {
        k64u key = random() % 2000; // dense enough for chains, removals and re-adds
        switch (random() % 4)
        {
        case 0:
        {
            kStatus expected = reference.count(key) ? kSTATUS_DUPLICATE : kOK;
            ASSERT_EQ(kMap_AddItem(map, &key, &step), expected);
        }
            reference.emplace(key, step);
            break;
        case 1:
            ASSERT_EQ(kMap_ReplaceItem(map, &key, &step), kOK);
            reference[key] = step;
            break;
        case 2:
            ASSERT_EQ(kMap_Remove(map, &key), reference.erase(key) ? kOK : kSTATUS_NOT_FOUND);
            break;
        default:
        {
            k32u value = 0;
            auto it = reference.find(key);
            ASSERT_EQ(kMap_Find(map, &key, &value),
                      it == reference.end() ? kSTATUS_NOT_FOUND : kOK);
            ASSERT_TRUE(it == reference.end() || value == it->second) << key;
        }
        }
        ASSERT_EQ(kMap_Count(map), reference.size());
    }
    std::map<k64u, k32u> seen;
    for (kMapItem item = kMap_First(map); item; item = kMap_Next(map, item))
        seen.emplace(*static_cast<const k64u*>(kMap_Key(map, item)),
                     *static_cast<k32u*>(kMap_Value(map, item)));
    std::map<k64u, k32u> sorted(reference.begin(), reference.end());
    EXPECT_EQ(seen, sorted);
    kObject_Destroy(map);
}

TEST(Map, StringKeysMatchByTextAndAreDisposedWithTheMap)
{
    ktest::CountingAlloc alloc;
    kMap map = MakeMap(kTypeOf(kString), kTypeOf(k32s), alloc);
    const char* words[] = {"alpha", "beta", "gamma", "", "Alpha", "beta "};
    for (k32s i = 0; i < 6; ++i)
        ASSERT_EQ(AddText(map, words[i], i, alloc), kOK);
    EXPECT_EQ(AddText(map, "gamma", 99, alloc), kSTATUS_DUPLICATE);

    for (k32s i = 0; i < 6; ++i)
    {
        kString probe = MakeString(words[i], alloc); // another object with the same text
        k32s value = -1;
        EXPECT_EQ(kMap_Find(map, &probe, &value), kOK) << words[i];
        EXPECT_EQ(value, i);
        kObject_Destroy(probe);
    }
    kString absent = MakeString("delta", alloc);
    EXPECT_EQ(kMap_Find(map, &absent, kNULL), kSTATUS_NOT_FOUND);
    kString none = kNULL; // a null handle is a key of its own
    EXPECT_EQ(kMap_Find(map, &none, kNULL), kSTATUS_NOT_FOUND);
    k32s nullValue = 77;
    ASSERT_EQ(kMap_AddItem(map, &none, &nullValue), kOK);
    ASSERT_EQ(kMap_Find(map, &none, &nullValue), kOK);
    EXPECT_EQ(nullValue, 77);

    /* Removing by key leaves the stored key object to the caller. */
    kMapItem item = kNULL;
    kString beta = MakeString("beta", alloc);
    ASSERT_EQ(kMap_FindItem(map, &beta, &item), kOK);
    kString stored = *static_cast<const kString*>(kMap_Key(map, item));
    EXPECT_NE(stored, beta);
    ASSERT_EQ(kMap_Remove(map, &beta), kOK);
    EXPECT_STREQ(kString_Chars(stored), "beta");
    kObject_Destroy(stored);
    kObject_Destroy(beta);

    kMap copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, map, alloc), kOK);
    EXPECT_EQ(kMap_Count(copy), 6u);
    k32s value = 0;
    ASSERT_EQ(kMap_Find(copy, &absent, &value), kSTATUS_NOT_FOUND);
    kString gamma = MakeString("gamma", alloc);
    ASSERT_EQ(kMap_FindItem(copy, &gamma, &item), kOK);
    EXPECT_EQ(*static_cast<k32s*>(kMap_Value(copy, item)), 2);
    kMapItem original = kNULL;
    ASSERT_EQ(kMap_FindItem(map, &gamma, &original), kOK);
    EXPECT_NE(*static_cast<const kString*>(kMap_Key(copy, item)),
              *static_cast<const kString*>(kMap_Key(map, original)));
    EXPECT_GT(kObject_Size(copy), kType_InnerSize(kTypeOf(kMap)));

    ASSERT_EQ(kMap_Purge(copy), kOK);
    EXPECT_EQ(kMap_Count(copy), 0u);
    kObject_Destroy(copy);
    kObject_Destroy(gamma);
    kObject_Destroy(absent);
    EXPECT_EQ(kObject_Dispose(map), kOK); // the key strings go with it
}

TEST(Map, ConstructionCloneAndGrowthFailCleanly)
{
    EXPECT_EQ(ktest::ExpectCleanFailures(
                  [](kAlloc a, kObject* out)
                  { return kMap_Construct(out, kTypeOf(k32s), kTypeOf(kString), a); }),
              1u);
    kMap none = kNULL;
    EXPECT_EQ(kMap_Construct(&none, kTypeOf(kVoid), kTypeOf(k32s), kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMap_Construct(&none, kTypeOf(k32s), kTypeOf(kVoid), kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(none, nullptr);

    /* Growth that cannot allocate leaves the map as it was. */
    {
        ktest::CountingAlloc alloc;
        kMap map = MakeMap(kTypeOf(k16u), kTypeOf(k16u), alloc);
        for (k16u k = 0; k < 8; ++k)
            ASSERT_EQ(kMap_AddItem(map, &k, &k), kOK);
        kCountingAlloc_SetFailAfter(alloc, 1); // entries, then the buckets fail
        k16u k = 8;
        EXPECT_EQ(kMap_AddItem(map, &k, &k), kSTATUS_MEMORY);
        kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
        EXPECT_EQ(kMap_Count(map), 8u);
        for (k16u j = 0; j < 8; ++j)
            EXPECT_EQ(kMap_Find(map, &j, kNULL), kOK);
        ASSERT_EQ(kMap_Reserve(map, 100), kOK);
        EXPECT_EQ(kMap_AddItem(map, &k, &k), kOK);
        kObject_Destroy(map);
    }

    /* String keys and string values: every clone made before a failure is disposed of. */
    ktest::CountingAlloc alloc;
    kMap map = MakeMap(kTypeOf(kString), kTypeOf(kString), alloc);
    for (const char* word : {"one", "two", "three"})
    {
        kString key = MakeString(word, alloc), value = MakeString(word, alloc);
        ASSERT_EQ(kMap_AddItem(map, &key, &value), kOK);
    }
    for (kSize step = 0;; ++step)
    {
        ktest::CountingAlloc failing; // checks at scope exit that nothing is left
        kCountingAlloc_SetFailAfter(failing, step);
        kMap copy = kNULL;
        kStatus status = kObject_Clone(&copy, map, failing);
        if (kSuccess(status))
        {
            EXPECT_GE(step, 3u + 6); // instance, entries, buckets, then each string
            EXPECT_EQ(kObject_Dispose(copy), kOK);
            break;
        }
        EXPECT_EQ(copy, nullptr);
    }
    kObject_Dispose(map);
}
