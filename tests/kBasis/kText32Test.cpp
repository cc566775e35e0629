// The fixed 32-character text value: registration, truncation, use as a container item.
#include <kTestSupport.h>

#include <cstring>
#include <string>

TEST(Text32, IsAThirtyTwoByteValue)
{
    EXPECT_EQ(sizeof(kText32), 32u);
    EXPECT_EQ(kType_Size(kTypeOf(kText32)), 32u);
    EXPECT_STREQ(kType_Name(kTypeOf(kText32)), "kText32");
    ASSERT_EQ(kType_FieldCount(kTypeOf(kText32)), 1u);
    const kFieldInfo* f = kType_FieldAt(kTypeOf(kText32), 0);
    EXPECT_STREQ(f->name, "chars");
    EXPECT_EQ(f->type, kTypeOf(kChar));
    EXPECT_EQ(f->offset, 0u);
    EXPECT_EQ(f->count, 32u);
}

TEST(Text32, SetTruncatesToThirtyOneBytesAndZeroFills)
{
    kText32 t;
    memset(&t, 'x', sizeof(t));
    ASSERT_EQ(kText32_Set(&t, "Camera 0", 100), kOK);
    EXPECT_STREQ(t.chars, "Camera 0");
    for (kSize i = 8; i < 32; ++i)
        EXPECT_EQ(t.chars[i], 0) << i;

    ASSERT_EQ(kText32_Set(&t, "Camera 0", 6), kOK); // length limits the copy
    EXPECT_STREQ(t.chars, "Camera");

    const std::string longText = "0123456789abcdefghijklmnopqrstuvwxyz";
    ASSERT_EQ(kText32_Set(&t, longText.c_str(), longText.size()), kOK);
    EXPECT_EQ(std::string(t.chars), longText.substr(0, 31));
    EXPECT_EQ(t.chars[31], 0);

    EXPECT_EQ(kText32_Set(kNULL, "a", 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kText32_Set(&t, kNULL, 1), kSTATUS_BAD_PARAMETER);
}

TEST(Text32, ListsOfTextsSaveAndLoad)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(kText32), 0, alloc), kOK);
    for (const char* s : {"Camera 0", "", "State 12"})
    {
        kText32 t;
        kText32_Set(&t, s, strlen(s));
        ASSERT_EQ(kArrayList_Add(list, &t), kOK);
    }
    const std::string path = dir.File("texts.kdat");
    ASSERT_EQ(kSave5(list, path.c_str()), kOK);
    kObject loaded = kNULL;
    ASSERT_EQ(kLoad5(&loaded, path.c_str(), alloc), kOK);
    ASSERT_EQ(kArrayList_ItemType(loaded), kTypeOf(kText32));
    ASSERT_EQ(kArrayList_Count(loaded), 3u);
    EXPECT_EQ(memcmp(kArrayList_Data(loaded), kArrayList_Data(list), 3 * sizeof(kText32)), 0);
    kObject_Destroy(loaded);
    kObject_Destroy(list);
}
