// Data files by extension, on local files and on the simulated node's storage.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/L3d/kL3dDataFile.h>

#include <cstring>
#include <string>

namespace
{
class L3dDataFile : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }
    static kAssembly s_assembly;
};
kAssembly L3dDataFile::s_assembly = kNULL;

kArray1 Sample(kAlloc alloc)
{
    kArray1 a = kNULL;
    EXPECT_EQ(kArray1_Construct(&a, kTypeOf(k32s), 100, alloc), kOK);
    for (kSize i = 0; i < 100; ++i)
        ((k32s*)kArray1_Data(a))[i] = (k32s)(i * i) - 7;
    return a;
}

void ExpectSame(kObject loaded, kArray1 a)
{
    ASSERT_TRUE(kObject_Is(loaded, kTypeOf(kArray1)));
    ASSERT_EQ(kArray1_Length(loaded), kArray1_Length(a));
    EXPECT_EQ(memcmp(kArray1_Data(loaded), kArray1_Data(a), kArray1_DataSize(a)), 0);
}

void RoundTrips(kStorage storage, const std::string& dir, kAlloc alloc)
{
    kArray1 a = Sample(alloc);
    for (const char* name : {"a.kdat", "b.kdat6", "c.KDAT", "d.Kdat6"})
    {
        for (bool compressed : {false, true})
        {
            const std::string path = dir + name;
            ASSERT_EQ(compressed ? kL3dData_SaveCompressed(a, storage, path.c_str())
                                 : kL3dData_Save(a, storage, path.c_str()),
                      kOK)
                << path;
            kObject loaded = kNULL;
            ASSERT_EQ(kL3dData_Load(&loaded, storage, path.c_str(), alloc), kOK) << path;
            ExpectSame(loaded, a);
            kObject_Destroy(loaded);
        }
    }

    // The upper-case extension really is version 5: the version-5 loader reads it back.
    if (storage == kNULL)
    {
        kObject loaded = kNULL;
        ASSERT_EQ(kLoad5(&loaded, (dir + "c.KDAT").c_str(), alloc), kOK);
        ExpectSame(loaded, a);
        kObject_Destroy(loaded);
    }

    kXml xml = kNULL;
    ASSERT_EQ(kXml_FromText(&xml, "<Settings><X>5</X></Settings>", alloc), kOK);
    const std::string xmlPath = dir + "s.Xml";
    ASSERT_EQ(kL3dData_Save(xml, storage, xmlPath.c_str()), kOK);
    EXPECT_EQ(kL3dData_Save(a, storage, xmlPath.c_str()), kSTATUS_BAD_PARAMETER);
    kObject loaded = kNULL;
    ASSERT_EQ(kL3dData_Load(&loaded, storage, xmlPath.c_str(), alloc), kOK);
    ASSERT_TRUE(kObject_Is(loaded, kTypeOf(kXml)));
    k32u x = 0;
    EXPECT_EQ(kXml_Child32u(loaded, kXml_Root(loaded), "X", &x), kOK);
    EXPECT_EQ(x, 5u);

    // Replace disposes of what it held; a failure keeps it.
    ASSERT_EQ(kL3dData_Replace(&loaded, storage, (dir + "a.kdat").c_str(), alloc), kOK);
    ExpectSame(loaded, a);
    EXPECT_EQ(kL3dData_Replace(&loaded, storage, (dir + "none.kdat").c_str(), alloc),
              kSTATUS_NOT_FOUND);
    ExpectSame(loaded, a);
    kObject_Destroy(loaded);

    EXPECT_EQ(kL3dData_Save(a, storage, (dir + "a.bin").c_str()), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kL3dData_Load(&loaded, storage, (dir + "a.bin").c_str(), alloc),
              kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kL3dData_Load(&loaded, storage, (dir + "noext").c_str(), alloc),
              kSTATUS_NOT_IMPLEMENTED);

    ASSERT_EQ(kL3dString_Save("a,b\n", storage, (dir + "t.csv").c_str()), kOK);
    kStream stream = kNULL;
    ASSERT_EQ(kL3dFile_Get(storage, (dir + "t.csv").c_str(), kTRUE, &stream, alloc), kOK);
    char buf[5] = {};
    EXPECT_EQ(kStream_Read(stream, buf, 4), kOK);
    EXPECT_STREQ(buf, "a,b\n");
    kObject_Destroy(stream);

    kObject_Destroy(xml);
    kObject_Destroy(a);
}
} // namespace

TEST_F(L3dDataFile, LocalFiles)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    RoundTrips(kNULL, dir.Path() + "/", alloc);
}

TEST_F(L3dDataFile, NodeStorage)
{
    ktest::CountingAlloc alloc;
    kNode node = kNULL;
    ASSERT_EQ(kNode_Construct(&node, kNULL, alloc), kOK);
    RoundTrips(kNode_Storage(node), "user/", alloc);
    EXPECT_TRUE(kNode_HasCall(node, "kStorage_UploadFromBuffer user/a.kdat") ||
                kNode_CountCalls(node, "kStorage_") > 0);
    kObject_Destroy(node);
}

TEST(L3dString, ReplaceSubstr)
{
    ktest::CountingAlloc alloc;
    kString s = kNULL;
    ASSERT_EQ(kString_Construct(&s, "Camera %u of Camera %u", alloc), kOK);
    ASSERT_EQ(kL3dString_ReplaceSubstr(s, "Camera", "CameraCamera"), kOK);
    EXPECT_STREQ(kString_Chars(s), "CameraCamera %u of CameraCamera %u");
    ASSERT_EQ(kL3dString_ReplaceSubstr(s, "%u", ""), kOK);
    EXPECT_STREQ(kString_Chars(s), "CameraCamera  of CameraCamera ");
    EXPECT_EQ(kL3dString_ReplaceSubstr(s, "", "x"), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(s);
}
