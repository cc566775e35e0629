// Data trees: typed items, paths, ownership of data objects, kdat round trips and bad files.
#include <kTestSupport.h>
#include <kDatTestFiles.h>

#include <kTessel.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

using ktest::Bytes;

namespace
{
/** Bytes of object as one version-6 frame: the comparison key for data objects. */
Bytes Frame(kObject object)
{
    kMemoryStream stream = kNULL;
    kSerializer serializer = kNULL;
    EXPECT_EQ(kMemoryStream_Construct(&stream, kNULL), kOK);
    EXPECT_EQ(kDat6Serializer_Construct(&serializer, stream, kNULL), kOK);
    EXPECT_EQ(kSerializer_WriteObject(serializer, object), kOK);
    Bytes bytes(kMemoryStream_Data(stream),
                kMemoryStream_Data(stream) + kMemoryStream_Length(stream));
    kObject_Destroy(serializer);
    kObject_Destroy(stream);
    return bytes;
}

/** Reads the object of a file's bytes as kLoad6 does, from memory. */
kStatus Unframe(const Bytes& bytes, kObject* object, kAlloc alloc)
{
    kMemoryStream stream = kNULL;
    kSerializer serializer = kNULL;
    EXPECT_EQ(kMemoryStream_ConstructView(&stream, bytes.data(), bytes.size(), alloc), kOK);
    EXPECT_EQ(kDat6Serializer_Construct(&serializer, stream, alloc), kOK);
    kStatus status = kSerializer_ReadObject(serializer, object, alloc);
    kObject_Destroy(serializer);
    kObject_Destroy(stream);
    return status;
}

/** Walks both trees together and compares names, types, values and data objects. */
void ExpectSameTree(kDataTree a, kDataTree b)
{
    struct Pair
    {
        kDataTreeItem x, y;
    };
    std::vector<Pair> todo = {{kDataTree_Root(a), kDataTree_Root(b)}};
    while (!todo.empty())
    {
        Pair p = todo.back();
        todo.pop_back();
        ASSERT_EQ(p.x == kNULL, p.y == kNULL);
        if (!p.x) continue;
        const std::string name = kDataTreeItem_Name(p.x);
        ASSERT_EQ(name, kDataTreeItem_Name(p.y));
        ASSERT_EQ(kDataTreeItem_Type(p.x), kDataTreeItem_Type(p.y)) << name;
        ASSERT_EQ(kDataTree_ChildCount(a, p.x), kDataTree_ChildCount(b, p.y)) << name;
        kObject dx = kDataTree_ItemData(a, p.x), dy = kDataTree_ItemData(b, p.y);
        if (dx)
        {
            EXPECT_EQ(Frame(dx), Frame(dy)) << name;
        }
        for (kSize i = 0; i < kDataTree_ChildCount(a, p.x); ++i)
            todo.push_back({kDataTree_ChildAt(a, p.x, i), kDataTree_ChildAt(b, p.y, i)});
    }
    // Values and everything else, as the bytes they are written as.
    EXPECT_EQ(Frame(a), Frame(b));
}

/** A calibration-like record with every item type and several data objects. */
kDataTree MakeCalibration(std::mt19937& random)
{
    kDataTree tree = kNULL;
    EXPECT_EQ(kDataTree_Construct(&tree, kNULL), kOK);
    EXPECT_EQ(kDataTree_Add(tree, kNULL, "StereoCal", kNULL), kOK);
    kDataTreeItem root = kDataTree_Root(tree);
    EXPECT_EQ(kDataTree_SetChild32s(tree, root, "Version\\Major", -3), kOK);
    EXPECT_EQ(kDataTree_SetChild32u(tree, root, "Version/Minor", 4000000000u), kOK);
    EXPECT_EQ(kDataTree_SetChild32f(tree, root, "Camera0\\Gain", -0.0f), kOK);
    EXPECT_EQ(kDataTree_SetChild64s(tree, root, "Camera0\\Serial", -(1ll << 60)), kOK);
    EXPECT_EQ(kDataTree_SetChild64f(tree, root, "Camera0\\Focal", 5e-324), kOK);
    EXPECT_EQ(kDataTree_SetChildBool(tree, root, "Camera0\\Mirrored", kTRUE), kOK);
    EXPECT_EQ(kDataTree_SetChildSize(tree, root, "Camera0\\Width", 2048), kOK);
    EXPECT_EQ(kDataTree_SetChildText(tree, root, "Camera0\\Model", "Sensor \"A\" \\ 2"), kOK);
    EXPECT_EQ(kDataTree_Add(tree, root, "Empty", kNULL), kOK);
    EXPECT_EQ(kDataTree_SetChild64f(tree, root, "Camera0\\Nan", std::nan("1")), kOK);

    kArray1 lut = kNULL;
    EXPECT_EQ(kArray1_Construct(&lut, kTypeOf(kPoint3d64f), 33, kNULL), kOK);
    for (kSize i = 0; i < kArray1_DataSize(lut); ++i)
        ((kByte*)kArray1_Data(lut))[i] = (kByte)random();
    EXPECT_EQ(kDataTree_PutChildData(tree, root, "Camera0\\Lut", lut), kOK);

    kImage image = kNULL;
    EXPECT_EQ(kImage_Construct(&image, kTypeOf(k16u), 9, 4, kNULL), kOK);
    for (kSize y = 0; y < 4; ++y)
        for (kSize x = 0; x < 9; ++x)
            *(k16u*)kImage_At(image, x, y) = (k16u)random();
    EXPECT_EQ(kDataTree_PutChildData(tree, root, "Camera1\\Prnu", image), kOK);

    kArrayList lines = kNULL;
    EXPECT_EQ(kArrayList_Construct(&lines, kTypeOf(kArray1), 0, kNULL), kOK);
    for (int i = 0; i < 3; ++i)
    {
        kArray1 line = kNULL;
        EXPECT_EQ(kArray1_Construct(&line, kTypeOf(k32f), (kSize)(5 + i), kNULL), kOK);
        for (kSize k = 0; k < kArray1_Length(line); ++k)
            *kArray1_AtT<k32f>(line, k) = (k32f)random();
        EXPECT_EQ(kArrayList_Add(lines, &line), kOK);
    }
    EXPECT_EQ(kDataTree_PutChildData(tree, root, "Lines", lines), kOK);

    kXml xml = kNULL;
    EXPECT_EQ(kXml_FromText(&xml, "<Settings><Exposure>100</Exposure></Settings>", kNULL), kOK);
    EXPECT_EQ(kDataTree_PutChildData(tree, root, "Settings", xml), kOK);

    kDataTree nested = kNULL;
    EXPECT_EQ(kDataTree_Construct(&nested, kNULL), kOK);
    EXPECT_EQ(kDataTree_SetChild32s(nested, kNULL, "Inner\\Value", 12), kOK);
    EXPECT_EQ(kDataTree_PutChildData(tree, root, "Nested", nested), kOK);
    return tree;
}
} // namespace

TEST(kDataTree, TypedItemsReadBackInOrder)
{
    ktest::CountingAlloc alloc;
    kDataTree tree = kNULL;
    ASSERT_EQ(kDataTree_Construct(&tree, alloc), kOK);
    EXPECT_EQ(kDataTree_Root(tree), nullptr);
    ASSERT_EQ(kDataTree_SetChild32s(tree, kNULL, "Cal\\A", k32S_MIN), kOK);
    ASSERT_EQ(kDataTree_SetChild32u(tree, kNULL, "Cal/B", k32U_MAX), kOK);
    ASSERT_EQ(kDataTree_SetChild32f(tree, kNULL, "Cal\\C", 1e-45f), kOK);
    ASSERT_EQ(kDataTree_SetChild64s(tree, kNULL, "Cal\\D", k64S_MAX), kOK);
    ASSERT_EQ(kDataTree_SetChild64f(tree, kNULL, "Cal\\E", -1e308), kOK);
    ASSERT_EQ(kDataTree_SetChildBool(tree, kNULL, "Cal\\F", 5), kOK); // any non-zero is true
    ASSERT_EQ(kDataTree_SetChildSize(tree, kNULL, "Cal\\G", kSIZE_MAX), kOK);
    ASSERT_EQ(kDataTree_SetChildText(tree, kNULL, "Cal\\H", "text"), kOK);
    ASSERT_EQ(kDataTree_SetChildText(tree, kNULL, "Cal\\Sub\\Deep\\I", ""), kOK);

    kDataTreeItem root = kDataTree_Root(tree);
    EXPECT_STREQ(kDataTreeItem_Name(root), "Cal");
    EXPECT_EQ(kDataTree_ChildCount(tree, kNULL), 1u);
    EXPECT_EQ(kDataTree_ChildCount(tree, root), 9u);
    std::string names;
    for (kDataTreeItem i = kDataTree_FirstChild(tree, root); i; i = kDataTree_NextSibling(tree, i))
        names += kDataTreeItem_Name(i);
    EXPECT_EQ(names, "ABCDEFGHSub");
    EXPECT_EQ(kDataTreeItem_Type(kDataTree_ChildAt(tree, root, 4)), kDATA_TREE_ITEM_64F);
    EXPECT_EQ(kDataTreeItem_Type(kDataTree_ChildAt(tree, root, 8)), kDATA_TREE_ITEM_NONE);
    EXPECT_EQ(kDataTree_ChildAt(tree, root, 9), nullptr);

    k32s a = 0;
    k32u b = 0;
    k32f c = 0;
    k64s d = 0;
    k64f e = 0;
    kBool f = 0;
    kSize g = 0;
    char h[8];
    EXPECT_EQ(kDataTree_Child32s(tree, root, "A", &a), kOK);
    EXPECT_EQ(kDataTree_Child32u(tree, root, "B", &b), kOK);
    EXPECT_EQ(kDataTree_Child32f(tree, root, "C", &c), kOK);
    EXPECT_EQ(kDataTree_Child64s(tree, root, "D", &d), kOK);
    EXPECT_EQ(kDataTree_Child64f(tree, root, "E", &e), kOK);
    EXPECT_EQ(kDataTree_ChildBool(tree, root, "F", &f), kOK);
    EXPECT_EQ(kDataTree_ChildSize(tree, root, "G", &g), kOK);
    EXPECT_EQ(kDataTree_ChildText(tree, root, "H", h, sizeof(h)), kOK);
    EXPECT_EQ(a, k32S_MIN);
    EXPECT_EQ(b, k32U_MAX);
    EXPECT_EQ(c, 1e-45f);
    EXPECT_EQ(d, k64S_MAX);
    EXPECT_EQ(e, -1e308);
    EXPECT_EQ(f, kTRUE);
    EXPECT_EQ(g, kSIZE_MAX);
    EXPECT_STREQ(h, "text");
    EXPECT_EQ(kDataTree_ChildText(tree, kNULL, "Cal\\Sub\\Deep\\I", h, 1), kOK);
    EXPECT_STREQ(h, "");

    kString str = kNULL;
    ASSERT_EQ(kString_Construct(&str, "old", alloc), kOK);
    EXPECT_EQ(kDataTree_ChildString(tree, root, "H", str), kOK);
    EXPECT_STREQ(kString_Chars(str), "text");
    EXPECT_EQ(kDataTree_ChildString(tree, root, "A", str), kSTATUS_BAD_FORMAT);
    kObject_Destroy(str);

    // A setter replaces value and type in place.
    ASSERT_EQ(kDataTree_SetChildText(tree, root, "A", "now text"), kOK);
    EXPECT_EQ(kDataTree_ChildCount(tree, root), 9u);
    EXPECT_EQ(kDataTree_Child32s(tree, root, "A", &a), kSTATUS_BAD_FORMAT);
    ASSERT_EQ(kDataTree_SetChild32s(tree, root, "A", 3), kOK);
    EXPECT_EQ(kDataTree_Child32s(tree, root, "A", &a), kOK);
    EXPECT_EQ(a, 3);
    EXPECT_EQ(kObject_Destroy(tree), kOK);
}

TEST(kDataTree, MissingMistypedAndMalformedRequestsFail)
{
    ktest::CountingAlloc alloc;
    kDataTree tree = kNULL;
    ASSERT_EQ(kDataTree_Construct(&tree, alloc), kOK);
    ASSERT_EQ(kDataTree_SetChild32f(tree, kNULL, "R\\Gain", 2.5f), kOK);
    ASSERT_EQ(kDataTree_SetChildText(tree, kNULL, "R\\Name", "abcdef"), kOK);
    kDataTreeItem root = kDataTree_Root(tree), item = kNULL;

    k64f real = 7;
    k32s i32 = 7;
    kObject data = (kObject)1;
    EXPECT_EQ(kDataTree_Child64f(tree, root, "Gain", &real), kSTATUS_BAD_FORMAT); // no conversion
    EXPECT_EQ(kDataTree_Child64f(tree, root, "Offset", &real), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kDataTree_Child32s(tree, root, "Gain\\X", &i32), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kDataTree_ChildData(tree, root, "Gain", &data), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(real, 7);
    EXPECT_EQ(i32, 7);
    EXPECT_EQ(data, (kObject)1);
    EXPECT_EQ(kDataTree_ChildItem(tree, root, "Gain", &item), kOK);
    EXPECT_EQ(kDataTreeItem_GetData(item, &data), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(kDataTree_ItemData(tree, item), nullptr);
    EXPECT_EQ(kDataTree_ChildItem(tree, root, "Nothing", &item), kSTATUS_NOT_FOUND);

    char buffer[8] = "x";
    EXPECT_EQ(kDataTree_ChildText(tree, root, "Name", buffer, 6), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(kDataTree_ChildText(tree, root, "Name", buffer, 7), kOK);
    EXPECT_EQ(kDataTree_ChildText(tree, root, "Gain", buffer, 7), kSTATUS_BAD_FORMAT);

    for (const char* bad : {"", "\\A", "A\\", "A//B"})
        EXPECT_EQ(kDataTree_SetChild32s(tree, root, bad, 1), kSTATUS_BAD_PARAMETER) << bad;
    EXPECT_EQ(kDataTree_ChildCount(tree, root), 2u); // nothing half-made
    EXPECT_EQ(kDataTree_Add(tree, root, "A/B", kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDataTree_Add(tree, root, "", kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDataTree_Add(tree, kNULL, "Second", kNULL), kSTATUS_DUPLICATE);
    EXPECT_EQ(kDataTree_SetChild32s(tree, kNULL, "Other\\X", 1), kSTATUS_DUPLICATE);
    EXPECT_EQ(kDataTree_SetChildText(tree, root, "T", nullptr), kSTATUS_BAD_PARAMETER);

    // Items of another tree are refused.
    kDataTree other = kNULL;
    ASSERT_EQ(kDataTree_Construct(&other, alloc), kOK);
    ASSERT_EQ(kDataTree_SetChild32s(other, kNULL, "O\\X", 1), kOK);
    kDataTreeItem foreign = kDataTree_Root(other);
    EXPECT_EQ(kDataTree_Child32s(tree, foreign, "X", &i32), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDataTree_Add(tree, foreign, "Y", kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDataTree_ChildCount(tree, foreign), 0u);
    EXPECT_EQ(kDataTree_NextSibling(tree, foreign), nullptr);
    kObject_Destroy(other);
    kObject_Destroy(tree);
}

TEST(kDataTree, SetCopiesPutAdoptsAndGettersBorrow)
{
    ktest::CountingAlloc alloc;
    kDataTree tree = kNULL;
    kArray1 mine = kNULL, adopted = kNULL;
    ASSERT_EQ(kDataTree_Construct(&tree, alloc), kOK);
    ASSERT_EQ(kArray1_Construct(&mine, kTypeOf(k32s), 4, alloc), kOK);
    ASSERT_EQ(kArray1_Construct(&adopted, kTypeOf(k64f), 2, alloc), kOK);
    *kArray1_AtT<k32s>(mine, 0) = 42;

    ASSERT_EQ(kDataTree_SetChildData(tree, kNULL, "R\\Copy", mine), kOK);
    ASSERT_EQ(kDataTree_PutChildData(tree, kNULL, "R\\Own", adopted), kOK);
    *kArray1_AtT<k32s>(mine, 0) = 43; // the tree's copy is its own

    kObject copy = kNULL, own = kNULL, viaItem = kNULL;
    ASSERT_EQ(kDataTree_ChildData(tree, kNULL, "R\\Copy", &copy), kOK);
    EXPECT_NE(copy, mine);
    EXPECT_EQ(*kArray1_AtT<k32s>(copy, 0), 42);
    EXPECT_EQ(kObject_Alloc(copy), alloc.get());
    ASSERT_EQ(kDataTree_ChildData(tree, kNULL, "R\\Own", &own), kOK);
    EXPECT_EQ(own, adopted);
    EXPECT_EQ(kObject_RefCount(own), 1); // borrowed, not shared
    kDataTreeItem item = kNULL;
    ASSERT_EQ(kDataTree_ChildItem(tree, kNULL, "R\\Own", &item), kOK);
    EXPECT_EQ(kDataTree_ItemData(tree, item), adopted);
    ASSERT_EQ(kDataTreeItem_GetData(item, &viaItem), kOK);
    EXPECT_EQ(viaItem, adopted);

    // Replacing a value releases the object the tree held; refusals leave things as they were.
    ASSERT_EQ(kDataTree_SetChild32s(tree, kNULL, "R\\Own", 1), kOK);
    kMemory memory = kNULL;
    ASSERT_EQ(kMemory_Construct(&memory, alloc), kOK);
    EXPECT_EQ(kDataTree_SetChildData(tree, kNULL, "R\\Copy", memory), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kDataTree_ChildData(tree, kNULL, "R\\Copy", &copy), kOK);
    EXPECT_EQ(kDataTree_SetChildData(tree, kNULL, "R\\Copy", kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDataTree_PutChildData(tree, kNULL, "R\\Copy", kNULL), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kDataTree_PutChildData(tree, kNULL, "R\\Memory", memory), kOK);

    kDataTree clone = kNULL;
    ASSERT_EQ(kDataTree_SetChild32s(tree, kNULL, "R\\Own", 1), kOK);
    ASSERT_EQ(kDataTree_PutChildData(tree, kNULL, "R\\Memory", mine), kOK);
    ASSERT_EQ(kObject_Clone(&clone, tree, alloc), kOK);
    ExpectSameTree(tree, clone);
    kObject_Destroy(clone);
    EXPECT_EQ(kObject_Destroy(tree), kOK);
}

TEST(kDataTree, FilesOfBothVersionsRoundTripEveryItemType)
{
    std::mt19937 random(31);
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    kDataTree tree = MakeCalibration(random);

    struct Way
    {
        const char* file;
        kStatus (*save)(kObject, const kChar*);
        kStatus (*load)(kObject*, const kChar*, kAlloc);
    };
    const Way ways[] = {{"StereoCal.kdat", kSave5, kLoad5},
                        {"PrnuCal0.kdat6", kSave6, kLoad6},
                        {"PrnuCalZ.kdat6", kSaveCompressed6, kLoad6}};
    for (const Way& way : ways)
    {
        const std::string path = dir.File(way.file), again = dir.File("again");
        ASSERT_EQ(way.save(tree, path.c_str()), kOK) << way.file;
        kObject back = kNULL;
        ASSERT_EQ(way.load(&back, path.c_str(), alloc), kOK) << way.file;
        ASSERT_TRUE(kObject_Is(back, kTypeOf(kDataTree)));
        ExpectSameTree(tree, back);

        k64f nan = 0, focal = 0;
        EXPECT_EQ(kDataTree_Child64f(back, kNULL, "StereoCal\\Camera0\\Nan", &nan), kOK);
        EXPECT_TRUE(std::isnan(nan));
        EXPECT_EQ(kDataTree_Child64f(back, kNULL, "StereoCal\\Camera0\\Focal", &focal), kOK);
        EXPECT_EQ(focal, 5e-324);
        kObject nested = kNULL;
        k32s value = 0;
        ASSERT_EQ(kDataTree_ChildData(back, kNULL, "StereoCal\\Nested", &nested), kOK);
        EXPECT_EQ(kDataTree_Child32s(nested, kNULL, "Inner\\Value", &value), kOK);
        EXPECT_EQ(value, 12);

        ASSERT_EQ(way.save(back, again.c_str()), kOK);
        EXPECT_EQ(ktest::ReadBytes(again), ktest::ReadBytes(path)) << way.file; // identical re-save
        kObject_Destroy(back);
    }

    // An empty tree is a tree too.
    kDataTree empty = kNULL;
    ASSERT_EQ(kDataTree_Construct(&empty, kNULL), kOK);
    ASSERT_EQ(kSave6(empty, dir.File("empty.kdat6").c_str()), kOK);
    kObject back = kNULL;
    ASSERT_EQ(kLoad6(&back, dir.File("empty.kdat6").c_str(), alloc), kOK);
    EXPECT_EQ(kDataTree_Root(back), nullptr);
    kObject_Destroy(back);
    kObject_Destroy(empty);
    kObject_Destroy(tree);
}

TEST(kDataTree, DeepTreesAreReleasedWrittenAndReadWithoutRecursion)
{
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    kDataTree tree = kNULL;
    ASSERT_EQ(kDataTree_Construct(&tree, kNULL), kOK);
    kDataTreeItem item = kNULL;
    ASSERT_EQ(kDataTree_Add(tree, kNULL, "L", &item), kOK);
    for (int depth = 0; depth < 100000; ++depth)
        ASSERT_EQ(kDataTree_Add(tree, item, "L", &item), kOK);
    ASSERT_EQ(kDataTree_SetChildSize(tree, item, "Bottom", 100000), kOK);

    const std::string path = dir.File("deep.kdat6");
    ASSERT_EQ(kSave6(tree, path.c_str()), kOK);
    kObject back = kNULL;
    ASSERT_EQ(kLoad6(&back, path.c_str(), alloc), kOK);
    kDataTreeItem leaf = kDataTree_Root(back);
    kSize depth = 0;
    while (kDataTree_ChildCount(back, leaf) == 1 &&
           kDataTreeItem_Type(kDataTree_FirstChild(back, leaf)) == kDATA_TREE_ITEM_NONE)
    {
        leaf = kDataTree_FirstChild(back, leaf);
        ++depth;
    }
    EXPECT_EQ(depth, 100000u);
    kSize bottom = 0;
    EXPECT_EQ(kDataTree_ChildSize(back, leaf, "Bottom", &bottom), kOK);
    EXPECT_EQ(bottom, 100000u);
    kObject_Destroy(back);
    kObject_Destroy(tree);
}

TEST(kDataTree, DamagedAndInconsistentFilesFailCleanly)
{
    std::mt19937 random(41);
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    kDataTree tree = MakeCalibration(random);
    const std::string path = dir.File("cal.kdat6");
    for (auto save : {kSave6, kSaveCompressed6})
    {
        ASSERT_EQ(save(tree, path.c_str()), kOK);
        const Bytes file = ktest::ReadBytes(path);
        for (size_t n = 0; n < file.size(); ++n)
        {
            kObject back = kNULL;
            kStatus status = Unframe(Bytes(file.begin(), file.begin() + n), &back, alloc);
            EXPECT_TRUE(status == kSTATUS_INCOMPLETE || status == kSTATUS_BAD_FORMAT) << n;
            EXPECT_EQ(back, nullptr);
        }
        for (size_t i = 0; i < file.size(); ++i)
        {
            Bytes damaged = file;
            damaged[i] ^= (kByte)(1 << (i % 8));
            kObject back = kNULL;
            EXPECT_TRUE(ktest::IsContentFailure(Unframe(damaged, &back, alloc))) << i;
            EXPECT_EQ(back, nullptr);
        }
    }
    kObject_Destroy(tree);

    // Hand-made bodies with valid checksums: the counts must agree exactly.
    auto body = [](k64u count)
    {
        ktest::Payload p;
        p.U8(1).ObjectType(0, "kDataTree", "kDataTree-0").U64(count);
        return p;
    };
    struct Case
    {
        const char* what;
        ktest::Payload payload;
        kStatus status;
    };
    std::vector<Case> cases;
    {
        ktest::Payload p = body(2);
        p.Text("R").U8(0).U64(1).Text("A").U8(1).U32(5).U64(0);
        cases.push_back({"valid", p, kOK});
    }
    {
        ktest::Payload p = body(2);
        p.Text("R").U8(0).U64(2).Text("A").U8(1).U32(5).U64(0);
        cases.push_back({"more children than items", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(2);
        p.Text("R").U8(0).U64(0).Text("A").U8(1).U32(5).U64(0);
        cases.push_back({"a second root", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(3);
        p.Text("R").U8(0).U64(1).Text("A").U8(1).U32(5).U64(0);
        cases.push_back({"fewer items than counted", p, kSTATUS_INCOMPLETE});
    }
    {
        ktest::Payload p = body(1);
        p.Text("R").U8(10).U64(0);
        cases.push_back({"unknown kind", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(1);
        p.Text("").U8(0).U64(0).U8(0);
        cases.push_back({"empty name", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(1);
        p.Text("A\\B").U8(0).U64(0);
        cases.push_back({"separator in a name", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(1);
        p.Text("R").U8(9).U8(0).U64(0);
        cases.push_back({"null data object", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(1);
        p.Text("R").U8(6).U8(2).U64(0);
        cases.push_back({"boolean other than 0 and 1", p, kSTATUS_BAD_FORMAT});
    }
    {
        ktest::Payload p = body(1);
        p.Text("R").U8(8).Text(std::string("a\0b", 3)).U64(0);
        cases.push_back({"NUL inside a text", p, kSTATUS_BAD_FORMAT});
    }
    for (Case& c : cases)
    {
        ktest::WriteBytes(path, ktest::MakeDatFile(5, c.payload.bytes));
        kObject back = kNULL;
        EXPECT_EQ(kLoad5(&back, path.c_str(), alloc), c.status) << c.what;
        EXPECT_EQ(back == kNULL, c.status != kOK) << c.what;
        kObject_Destroy(back);
    }
}

TEST(kDataTree, ConstructionLoadingAndCloningFailCleanly)
{
    std::mt19937 random(43);
    ktest::TempDir dir;
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kDataTree_Construct(handle, alloc); });
    kDataTree tree = MakeCalibration(random);
    const std::string path = dir.File("cal.kdat6");
    ASSERT_EQ(kSaveCompressed6(tree, path.c_str()), kOK);
    EXPECT_GT(ktest::ExpectCleanFailures([&](kAlloc alloc, kObject* handle)
                                         { return kLoad6(handle, path.c_str(), alloc); }),
              30u);
    ktest::ExpectCleanFailures([&](kAlloc alloc, kObject* handle)
                               { return kObject_Clone(handle, tree, alloc); });
    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* handle)
        {
            kStatus status = kDataTree_Construct(handle, alloc);
            if (kSuccess(status))
                status = kDataTree_SetChildText(*handle, kNULL, "A\\B\\C", "text");
            if (kSuccess(status)) status = kDataTree_SetChildData(*handle, kNULL, "A\\D", tree);
            if (!kSuccess(status)) kDestroyRef(handle);
            return status;
        });
    kObject_Destroy(tree);
}
