// Stereo calibration record: round trips through local files and a node's storage, a tree
// written key by key by the test (optional keys left out, required keys missing, values of the
// wrong kind), strict refusal of inconsistent arrays and of truncated files, the left-view
// rule, and allocation failure at every step of construction and loading.
#include "kS3dStereoTestSupport.h"

#include <kSolan/L3d/kL3dDataFile.h>
#include <kTessel/kNode.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

using ktest::BuildAffineCal;
using ktest::CalHolder;

namespace
{
class StereoCal : public ktest::SolanSuite
{
};

kSize ByteSize(kObject array)
{
    return kObject_Is(array, kTypeOf(kArray1)) ? kArray1_DataSize(array) : kArray2_DataSize(array);
}

void ExpectSameArray(kObject a, kObject b, const char* name)
{
    SCOPED_TRACE(name);
    ASSERT_NE(a, kNULL);
    ASSERT_NE(b, kNULL);
    ASSERT_EQ(kObject_Type(a), kObject_Type(b));
    if (kObject_Is(a, kTypeOf(kArray1)))
    {
        EXPECT_EQ(kArray1_ItemType(a), kArray1_ItemType(b));
        EXPECT_EQ(kArray1_Length(a), kArray1_Length(b));
        ASSERT_EQ(ByteSize(a), ByteSize(b));
        EXPECT_EQ(memcmp(kArray1_Data(a), kArray1_Data(b), ByteSize(a)), 0);
    }
    else
    {
        EXPECT_EQ(kArray2_ItemType(a), kArray2_ItemType(b));
        EXPECT_EQ(kArray2_Length(a, 0), kArray2_Length(b, 0));
        EXPECT_EQ(kArray2_Length(a, 1), kArray2_Length(b, 1));
        ASSERT_EQ(ByteSize(a), ByteSize(b));
        EXPECT_EQ(memcmp(kArray2_Data(a), kArray2_Data(b), ByteSize(a)), 0);
    }
}

struct NamedArray
{
    const char* name;
    kObject (*get)(kS3dStereoCal);
};
const NamedArray kArrays[] = {
    {"ProjectionX0", kS3dStereoCal_ProjectionX0}, {"ProjectionY0", kS3dStereoCal_ProjectionY0},
    {"ProjectionX1", kS3dStereoCal_ProjectionX1}, {"ProjectionY1", kS3dStereoCal_ProjectionY1},
    {"DisparityMap", kS3dStereoCal_DisparityMap}, {"DisparityToX", kS3dStereoCal_DisparityToX},
    {"DisparityToY", kS3dStereoCal_DisparityToY}, {"DisparityToZ", kS3dStereoCal_DisparityToZ},
    {"PhaseMap0", kS3dStereoCal_PhaseMap0},       {"PhaseToX0", kS3dStereoCal_PhaseToX0},
    {"PhaseToY0", kS3dStereoCal_PhaseToY0},       {"PhaseToZ0", kS3dStereoCal_PhaseToZ0},
    {"PhaseMap1", kS3dStereoCal_PhaseMap1},       {"PhaseToX1", kS3dStereoCal_PhaseToX1},
    {"PhaseToY1", kS3dStereoCal_PhaseToY1},       {"PhaseToZ1", kS3dStereoCal_PhaseToZ1},
};

void ExpectSameRecord(kS3dStereoCal a, kS3dStereoCal b)
{
    EXPECT_EQ(memcmp(kS3dStereoCal_Parameters(a), kS3dStereoCal_Parameters(b),
                     sizeof(kS3dStereoCalParams)),
              0);
    EXPECT_EQ(kS3dStereoCal_Id(a), kS3dStereoCal_Id(b));
    EXPECT_STREQ(kS3dStereoCal_Timestamp(a), kS3dStereoCal_Timestamp(b));
    EXPECT_EQ(kS3dStereoCal_Temperature(a), kS3dStereoCal_Temperature(b));
    for (kSize v = 0; v < 2; ++v)
    {
        EXPECT_EQ(kS3dStereoCal_InvertXAt(a, v), kS3dStereoCal_InvertXAt(b, v));
        EXPECT_EQ(kS3dStereoCal_InvertYAt(a, v), kS3dStereoCal_InvertYAt(b, v));
        EXPECT_EQ(kS3dStereoCal_TransposeAt(a, v), kS3dStereoCal_TransposeAt(b, v));
    }
    for (const NamedArray& array : kArrays)
        ExpectSameArray(array.get(a), array.get(b), array.name);
}

/*
 * The file format written out by the test itself, key by key, so that the reader is checked
 * against the documented keys rather than against the library's writer. Keys in `skip` are
 * left out; `replace` may swap in another value for one key.
 */
struct TreeOptions
{
    std::set<std::string> skip;
    std::string wrongKindKey; // written as a 64-bit real instead of its kind
    std::string arrayKey;     // replaced by `array`
    kObject array = kNULL;
};

kStatus WriteByHand(kS3dStereoCal cal, kDataTree tree, kDataTreeItem root, const TreeOptions& o)
{
    const kS3dStereoCalParams* p = kS3dStereoCal_Parameters(cal);
    auto skip = [&](const std::string& key) { return o.skip.count(key) != 0; };
    auto u32 = [&](const std::string& key, k32u value) -> kStatus
    {
        if (skip(key)) return kOK;
        if (key == o.wrongKindKey) return kDataTree_SetChild64f(tree, root, key.c_str(), value);
        return kDataTree_SetChild32u(tree, root, key.c_str(), value);
    };
    auto s32 = [&](const std::string& key, k32s value) -> kStatus
    { return skip(key) ? kOK : kDataTree_SetChild32s(tree, root, key.c_str(), value); };
    auto f64 = [&](const std::string& key, k64f value) -> kStatus
    { return skip(key) ? kOK : kDataTree_SetChild64f(tree, root, key.c_str(), value); };
    kString stamp = kNULL;
    kCheck(kString_Construct(&stamp, kS3dStereoCal_Timestamp(cal), kNULL));
    kObjectGuard stampGuard(stamp);

    kCheck(u32("Attributes\\Version", 3));
    kCheck(u32("Attributes\\Id", kS3dStereoCal_Id(cal)));
    if (!skip("Attributes\\Timestamp"))
        kCheck(kDataTree_SetChildData(tree, root, "Attributes\\Timestamp", stamp));
    kCheck(f64("Attributes\\Temperature", kS3dStereoCal_Temperature(cal)));
    kCheck(f64("Attributes\\ProjectionResolution", p->ProjectionResolution));
    kCheck(u32("Attributes\\ProjectionXCount", p->ProjectionXCount));
    kCheck(u32("Attributes\\ProjectionXStep", p->ProjectionXStep));
    kCheck(u32("Attributes\\ProjectionYCount", p->ProjectionYCount));
    kCheck(u32("Attributes\\ProjectionYStep", p->ProjectionYStep));
    kCheck(s32("Attributes\\DisparityXBegin", p->DisparityXBegin));
    kCheck(u32("Attributes\\DisparityXStep", p->DisparityXStep));
    kCheck(u32("Attributes\\DisparityXCount", p->DisparityXCount));
    kCheck(s32("Attributes\\DisparityYBegin", p->DisparityYBegin));
    kCheck(u32("Attributes\\DisparityYStep", p->DisparityYStep));
    kCheck(u32("Attributes\\DisparityYCount", p->DisparityYCount));
    kCheck(u32("Attributes\\DisparityDStep", p->DisparityDStep));
    kCheck(u32("Attributes\\DisparityCount", p->DisparityCount));
    kCheck(s32("Attributes\\PhaseXBegin", p->PhaseXBegin));
    kCheck(u32("Attributes\\PhaseXStep", p->PhaseXStep));
    kCheck(u32("Attributes\\PhaseXCount", p->PhaseXCount));
    kCheck(s32("Attributes\\PhaseYBegin", p->PhaseYBegin));
    kCheck(u32("Attributes\\PhaseYStep", p->PhaseYStep));
    kCheck(u32("Attributes\\PhaseYCount", p->PhaseYCount));
    kCheck(u32("Attributes\\PhasePStep", p->PhasePStep));
    kCheck(u32("Attributes\\PhaseCount0", p->PhaseCount0));
    kCheck(u32("Attributes\\PhaseCount1", p->PhaseCount1));
    kCheck(u32("Attributes\\PhasePeriod", p->PhasePeriod));
    kCheck(u32("Attributes\\PhaseRepetitions", p->PhaseRepetitions));
    const char* views[2] = {"ViewInfo\\View0\\", "ViewInfo\\View1\\"};
    for (kSize v = 0; v < 2; ++v)
    {
        const std::string base = views[v];
        if (!skip(base + "InvertX"))
            kCheck(kDataTree_SetChildBool(tree, root, (base + "InvertX").c_str(),
                                          kS3dStereoCal_InvertXAt(cal, v)));
        if (!skip(base + "InvertY"))
            kCheck(kDataTree_SetChildBool(tree, root, (base + "InvertY").c_str(),
                                          kS3dStereoCal_InvertYAt(cal, v)));
        if (!skip(base + "Transpose"))
            kCheck(kDataTree_SetChildBool(tree, root, (base + "Transpose").c_str(),
                                          kS3dStereoCal_TransposeAt(cal, v)));
    }
    for (const NamedArray& array : kArrays)
    {
        if (skip(array.name)) continue;
        kObject data = array.name == o.arrayKey ? o.array : array.get(cal);
        kCheck(kDataTree_SetChildData(tree, root, array.name, data));
    }
    return kOK;
}

/* Reads a hand-written tree into a fresh record. */
kStatus ReadHandTree(kS3dStereoCal cal, const TreeOptions& options, kS3dStereoCal into)
{
    kObjectGuard tree;
    kDataTreeItem root = kNULL;
    kCheck(kDataTree_Construct(&tree, kNULL));
    kCheck(kDataTree_Add(tree.get(), kNULL, "StereoCal", &root));
    kCheck(WriteByHand(cal, tree.get(), root, options));
    return kS3dStereoCal_Read(into, tree.get(), kNULL);
}

std::vector<k8u> FileBytes(const std::string& path)
{
    void* data = kNULL;
    kSize size = 0;
    EXPECT_EQ(kFile_Load(path.c_str(), &data, &size, kNULL), kOK);
    std::vector<k8u> bytes(static_cast<k8u*>(data), static_cast<k8u*>(data) + size);
    kMemFree(data);
    return bytes;
}
} // namespace

TEST_F(StereoCal, InitBuildsZeroedArraysOfTheDocumentedShapes)
{
    CalHolder cal;
    const kS3dStereoCalParams p = ktest::AffineParams();
    ASSERT_EQ(kS3dStereoCal_Construct(&cal, &p), kOK);
    EXPECT_EQ(kArray2_ItemType(kS3dStereoCal_ProjectionX0(cal)), kTypeOf(k32s));
    EXPECT_EQ(kArray2_Length(kS3dStereoCal_ProjectionY1(cal), 0), p.ProjectionYCount);
    EXPECT_EQ(kArray2_Length(kS3dStereoCal_ProjectionY1(cal), 1), p.ProjectionXCount);
    EXPECT_EQ(kArray2_ItemType(kS3dStereoCal_DisparityMap(cal)), kTypeOf(kPoint32s));
    EXPECT_EQ(kArray2_Length(kS3dStereoCal_PhaseMap1(cal), 0), p.PhaseYCount);
    EXPECT_EQ(kArray1_ItemType(kS3dStereoCal_DisparityToZ(cal)), kTypeOf(k32f));
    EXPECT_EQ(kArray1_Length(kS3dStereoCal_DisparityToZ(cal)), p.DisparityCount);
    EXPECT_EQ(kArray1_Length(kS3dStereoCal_PhaseToX1(cal)), p.PhaseCount1);
    EXPECT_EQ(*kArray1_AtT<k32f>(kS3dStereoCal_PhaseToY0(cal), 5), 0.0f);
    EXPECT_STREQ(kS3dStereoCal_Timestamp(cal), "");
    EXPECT_EQ(kS3dStereoCal_PhasePeriod(cal), 16u);
    EXPECT_EQ(kS3dStereoCal_PhaseRepetitions(cal), 80u);
    EXPECT_TRUE(kS3dStereoCal_PhaseCalExists(cal));

    // Release empties the record; Destroy accepts null.
    EXPECT_EQ(kS3dStereoCal_Release(cal), kOK);
    EXPECT_EQ(kS3dStereoCal_ProjectionX0(cal), kNULL);
    EXPECT_EQ(kS3dStereoCal_Parameters(cal)->DisparityCount, 0u);
    EXPECT_FALSE(kS3dStereoCal_PhaseCalExists(cal));
    EXPECT_EQ(kS3dStereoCal_SetTimestamp(cal, "x"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStereoCal_Destroy(kNULL), kOK);
    EXPECT_EQ(kS3dStereoCal_Init(cal, kNULL), kSTATUS_BAD_PARAMETER);
}

TEST_F(StereoCal, FlagAccessorsAndShorthandsAddressTheSameViews)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    EXPECT_EQ(kS3dStereoCal_SetInvertX1(cal, kTRUE), kOK);
    EXPECT_EQ(kS3dStereoCal_SetInvertY0(cal, kTRUE), kOK);
    EXPECT_EQ(kS3dStereoCal_SetTransposeAt(cal, 1, kTRUE), kOK);
    EXPECT_TRUE(kS3dStereoCal_InvertXAt(cal, 1));
    EXPECT_FALSE(kS3dStereoCal_InvertX0(cal));
    EXPECT_TRUE(kS3dStereoCal_InvertY0(cal));
    EXPECT_FALSE(kS3dStereoCal_InvertY1(cal));
    EXPECT_TRUE(kS3dStereoCal_TransposeAt(cal, 1));
    EXPECT_FALSE(kS3dStereoCal_TransposeAt(cal, 0));
    EXPECT_EQ(kS3dStereoCal_SetInvertXAt(cal, 2, kTRUE), kSTATUS_BAD_PARAMETER);
    EXPECT_FALSE(kS3dStereoCal_InvertXAt(cal, 2));
    EXPECT_EQ(kS3dStereoCal_SetInvertX0(cal, kTRUE), kOK);
    EXPECT_EQ(kS3dStereoCal_SetInvertY1(cal, kTRUE), kOK);
    EXPECT_TRUE(kS3dStereoCal_InvertX0(cal));
    EXPECT_TRUE(kS3dStereoCal_InvertY1(cal));
}

TEST_F(StereoCal, StoreAndLoadRoundTripExactlyOnFilesAndNodeStorage)
{
    ktest::TempDir dir;
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    kS3dStereoCal_SetInvertXAt(cal, 1, kTRUE);
    kS3dStereoCal_SetTransposeAt(cal, 0, kTRUE);
    // A null entry and an odd value survive too.
    *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToY(cal), 17) = k32F_NULL;
    *kArray2_AtT<k32s>(kS3dStereoCal_ProjectionX1(cal), 2, 3) = k32S_NULL;

    const std::string path = dir.File(kS3D_STEREO_CAL_FILE_NAME);
    ASSERT_EQ(kS3dStereoCal_Store(cal, path.c_str()), kOK);
    CalHolder loaded;
    ASSERT_EQ(kS3dStereoCal_Load(&loaded, path.c_str()), kOK);
    ExpectSameRecord(cal, loaded);

    // Storing what was loaded gives the same bytes.
    const std::string again = dir.File("again.kdat");
    ASSERT_EQ(kS3dStereoCal_Store(loaded, again.c_str()), kOK);
    EXPECT_EQ(FileBytes(path), FileBytes(again));

    // The tree: root "StereoCal", version 3, every optional key present.
    kObject tree = kNULL;
    ASSERT_EQ(kLoad5(&tree, path.c_str(), kNULL), kOK);
    kObjectGuard treeGuard(tree, true);
    EXPECT_STREQ(kDataTreeItem_Name(kDataTree_Root(tree)), "StereoCal");
    k32u version = 0, period = 0;
    kBool transpose = kFALSE;
    EXPECT_EQ(kDataTree_Child32u(tree, kNULL, "StereoCal\\Attributes\\Version", &version), kOK);
    EXPECT_EQ(version, 3u);
    EXPECT_EQ(kDataTree_Child32u(tree, kNULL, "StereoCal\\Attributes\\PhasePeriod", &period), kOK);
    EXPECT_EQ(kDataTree_ChildBool(tree, kNULL, "StereoCal\\ViewInfo\\View0\\Transpose", &transpose),
              kOK);
    EXPECT_TRUE(transpose);

    // On a simulated sensor's storage, in both data-file versions.
    kNode node = kNULL;
    ASSERT_EQ(kNode_Construct(&node, kNULL, kNULL), kOK);
    kObjectGuard nodeGuard(node);
    for (const char* name : {"StereoCal.kdat", "cal/StereoCal.kdat6"})
    {
        SCOPED_TRACE(name);
        ASSERT_EQ(kS3dStereoCal_StoreToNode(cal, kNode_Storage(node), name), kOK);
        EXPECT_TRUE(kStorage_FileExists(kNode_Storage(node), name));
        CalHolder fromNode;
        ASSERT_EQ(kS3dStereoCal_LoadFromNode(&fromNode, kNode_Storage(node), name), kOK);
        ExpectSameRecord(cal, fromNode);
    }
    // An "xml" file holds no data tree; an unknown extension is refused by the loader.
    kS3dStereoCal none = kNULL;
    ASSERT_EQ(kL3dString_Save("<a/>", kNode_Storage(node), "x.xml"), kOK);
    EXPECT_EQ(kS3dStereoCal_LoadFromNode(&none, kNode_Storage(node), "x.xml"), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(kS3dStereoCal_LoadFromNode(&none, kNode_Storage(node), "x.bin"),
              kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kS3dStereoCal_LoadFromNode(&none, kNode_Storage(node), "missing.kdat"),
              kSTATUS_NOT_FOUND);
    EXPECT_EQ(kS3dStereoCal_Load(&none, dir.File("missing.kdat").c_str()), kSTATUS_NOT_FOUND);
    EXPECT_EQ(none, kNULL);

    // Writing under an item of an existing tree, and into a tree without a root.
    kObjectGuard other;
    kDataTreeItem sub = kNULL;
    ASSERT_EQ(kDataTree_Construct(&other, kNULL), kOK);
    EXPECT_EQ(kS3dStereoCal_Write(cal, other.get(), kNULL), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kDataTree_Add(other.get(), kNULL, "Sensor", kNULL), kOK);
    ASSERT_EQ(kDataTree_Add(other.get(), kDataTree_Root(other.get()), "StereoCal", &sub), kOK);
    ASSERT_EQ(kS3dStereoCal_Write(cal, other.get(), sub), kOK);
    CalHolder fromItem;
    ASSERT_EQ(kS3dStereoCal_Create(&fromItem), kOK);
    ASSERT_EQ(kS3dStereoCal_Read(fromItem, other.get(), sub), kOK);
    ExpectSameRecord(cal, fromItem);
}

TEST_F(StereoCal, MissingOptionalKeysTakeTheirDefaults)
{
    CalHolder cal, read;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    kS3dStereoCal_SetInvertYAt(cal, 0, kTRUE);
    ASSERT_EQ(kS3dStereoCal_Create(&read), kOK);

    TreeOptions options;
    options.skip = {
        "Attributes\\Temperature",  "Attributes\\PhasePeriod",  "Attributes\\PhaseRepetitions",
        "ViewInfo\\View0\\InvertX", "ViewInfo\\View0\\InvertY", "ViewInfo\\View0\\Transpose",
        "ViewInfo\\View1\\InvertX", "ViewInfo\\View1\\InvertY", "ViewInfo\\View1\\Transpose"};
    ASSERT_EQ(ReadHandTree(cal, options, read), kOK);
    EXPECT_EQ(kS3dStereoCal_Temperature(read), 0.0);
    EXPECT_EQ(kS3dStereoCal_PhasePeriod(read), 4294967295u);
    EXPECT_EQ(kS3dStereoCal_PhaseRepetitions(read), 4294967295u);
    EXPECT_FALSE(kS3dStereoCal_InvertYAt(read, 0));
    EXPECT_EQ(kS3dStereoCal_Id(read), 42u);
    EXPECT_STREQ(kS3dStereoCal_Timestamp(read), "2026-11-22 03:00:00");
    ExpectSameArray(kS3dStereoCal_PhaseToZ1(cal), kS3dStereoCal_PhaseToZ1(read), "PhaseToZ1");

    // A timestamp stored as text is accepted as well.
    kObjectGuard tree;
    kDataTreeItem root = kNULL;
    options.skip = {"Attributes\\Timestamp"};
    ASSERT_EQ(kDataTree_Construct(&tree, kNULL), kOK);
    ASSERT_EQ(kDataTree_Add(tree.get(), kNULL, "StereoCal", &root), kOK);
    ASSERT_EQ(kDataTree_SetChildText(tree.get(), root, "Attributes\\Timestamp", "text stamp"), kOK);
    ASSERT_EQ(WriteByHand(cal, tree.get(), root, options), kOK);
    ASSERT_EQ(kS3dStereoCal_Read(read, tree.get(), kNULL), kOK);
    EXPECT_STREQ(kS3dStereoCal_Timestamp(read), "text stamp");
}

TEST_F(StereoCal, EveryMissingRequiredKeyFailsTheRead)
{
    CalHolder cal, read;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    ASSERT_EQ(kS3dStereoCal_Create(&read), kOK);
    const char* required[] = {"Attributes\\Version",
                              "Attributes\\Id",
                              "Attributes\\Timestamp",
                              "Attributes\\ProjectionResolution",
                              "Attributes\\ProjectionXCount",
                              "Attributes\\ProjectionYStep",
                              "Attributes\\DisparityXBegin",
                              "Attributes\\DisparityDStep",
                              "Attributes\\DisparityCount",
                              "Attributes\\PhaseYBegin",
                              "Attributes\\PhasePStep",
                              "Attributes\\PhaseCount1",
                              "ProjectionX0",
                              "DisparityMap",
                              "DisparityToZ",
                              "PhaseMap1",
                              "PhaseToZ1"};
    for (const char* key : required)
    {
        SCOPED_TRACE(key);
        TreeOptions options;
        options.skip = {key};
        EXPECT_EQ(ReadHandTree(cal, options, read), kSTATUS_NOT_FOUND);
        // The failed read leaves the record released.
        EXPECT_EQ(kS3dStereoCal_DisparityMap(read), kNULL);
    }
    TreeOptions wrongKind;
    wrongKind.wrongKindKey = "Attributes\\Id";
    EXPECT_EQ(ReadHandTree(cal, wrongKind, read), kSTATUS_BAD_FORMAT);
}

TEST_F(StereoCal, InconsistentArraysAreRefused)
{
    CalHolder cal, read;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    ASSERT_EQ(kS3dStereoCal_Create(&read), kOK);
    const kS3dStereoCalParams& p = *kS3dStereoCal_Parameters(cal);

    struct Case
    {
        const char* key;
        kType itemType;
        kSize rows, columns; // columns 0: a kArray1 of `rows`
        kStatus expected;
    };
    const Case cases[] = {
        {"ProjectionX0", kTypeOf(k32f), p.ProjectionYCount, p.ProjectionXCount, kSTATUS_BAD_FORMAT},
        {"ProjectionY1", kTypeOf(k32s), p.ProjectionYCount + 1, p.ProjectionXCount,
         kSTATUS_INCOMPLETE},
        {"DisparityMap", kTypeOf(k32s), p.DisparityYCount, p.DisparityXCount, kSTATUS_BAD_FORMAT},
        {"DisparityToX", kTypeOf(k32f), p.DisparityCount - 1, 0, kSTATUS_INCOMPLETE},
        {"PhaseToY1", kTypeOf(k64f), p.PhaseCount1, 0, kSTATUS_BAD_FORMAT},
        {"PhaseMap0", kTypeOf(kPoint32s), p.PhaseYCount, 0, kSTATUS_BAD_FORMAT}, // a kArray1
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.key);
        kObjectGuard array;
        if (c.columns)
            ASSERT_EQ(kArray2_Construct(&array, c.itemType, c.rows, c.columns, kNULL), kOK);
        else
            ASSERT_EQ(kArray1_Construct(&array, c.itemType, c.rows, kNULL), kOK);
        TreeOptions options;
        options.arrayKey = c.key;
        options.array = array.get();
        EXPECT_EQ(ReadHandTree(cal, options, read), c.expected);
    }

    // A map whose cells claim more entries than the arrays hold, an empty cell with entries,
    // a negative entry count, and a step that is not a power of two.
    auto readModified = [&](auto modify)
    {
        CalHolder copy;
        EXPECT_EQ(BuildAffineCal(&copy), kOK);
        modify(static_cast<kS3dStereoCal>(copy));
        return ReadHandTree(copy, TreeOptions(), read);
    };
    EXPECT_EQ(
        readModified([](kS3dStereoCal c)
                     { kArray2_AtT<kPoint32s>(kS3dStereoCal_DisparityMap(c), 3, 4)->y = 12; }),
        kSTATUS_INCOMPLETE);
    EXPECT_EQ(readModified([](kS3dStereoCal c)
                           { kArray2_AtT<kPoint32s>(kS3dStereoCal_PhaseMap1(c), 0, 3)->y = 2; }),
              kSTATUS_BAD_FORMAT);
    EXPECT_EQ(readModified([](kS3dStereoCal c)
                           { kArray2_AtT<kPoint32s>(kS3dStereoCal_PhaseMap0(c), 1, 1)->y = -8; }),
              kSTATUS_BAD_FORMAT);
    EXPECT_EQ(readModified(
                  [](kS3dStereoCal c) {
                      const_cast<kS3dStereoCalParams*>(kS3dStereoCal_Parameters(c))->PhasePStep =
                          1000;
                  }),
              kSTATUS_BAD_FORMAT);

    // A file that holds something other than a data tree.
    ktest::TempDir dir;
    kObjectGuard array;
    ASSERT_EQ(kArray1_Construct(&array, kTypeOf(k32s), 4, kNULL), kOK);
    ASSERT_EQ(kSave5(array.get(), dir.File("array.kdat").c_str()), kOK);
    kS3dStereoCal none = kNULL;
    EXPECT_EQ(kS3dStereoCal_Load(&none, dir.File("array.kdat").c_str()), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(none, kNULL);
}

TEST_F(StereoCal, TruncatedFilesAreRefusedAtEveryLength)
{
    ktest::TempDir dir;
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const std::string path = dir.File("StereoCal.kdat"), cut = dir.File("cut.kdat");
    ASSERT_EQ(kS3dStereoCal_Store(cal, path.c_str()), kOK);
    const std::vector<k8u> bytes = FileBytes(path);
    ASSERT_GT(bytes.size(), 1000u);
    // Short steps over the header and the attributes, then coarse ones through the arrays.
    for (kSize length = 0; length < bytes.size(); length += length < 768 ? 5 : 1021)
    {
        ASSERT_EQ(kFile_Save(cut.c_str(), bytes.data(), length), kOK);
        kS3dStereoCal loaded = kNULL;
        const kStatus status = kS3dStereoCal_Load(&loaded, cut.c_str());
        ASSERT_FALSE(kSuccess(status)) << "length " << length;
        ASSERT_EQ(loaded, kNULL);
    }
}

TEST_F(StereoCal, LeftViewIndexFollowsTheCellWithTheLargestDepthChange)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    k32u index = 7;
    // z rises with disparity (3000 + 2.5 d) in every cell: view 0 is the left one.
    ASSERT_EQ(kS3dStereoCal_LeftViewIndex(cal, &index), kOK);
    EXPECT_EQ(index, 0u);

    // Reverse the cell with the largest change: only a strictly larger change wins.
    k32f* z = kArray1_DataT<k32f>(kS3dStereoCal_DisparityToZ(cal));
    std::swap(z[11 * 5], z[11 * 5 + 10]);
    ASSERT_EQ(kS3dStereoCal_LeftViewIndex(cal, &index), kOK);
    EXPECT_EQ(index, 0u); // ties with cell 0, which came first
    z[11 * 5] += 100;
    ASSERT_EQ(kS3dStereoCal_LeftViewIndex(cal, &index), kOK);
    EXPECT_EQ(index, 1u);

    // Entries shorter than the map claims: status 0.
    ASSERT_EQ(kArray1_Allocate(kS3dStereoCal_DisparityToZ(cal), kTypeOf(k32f), 100), kOK);
    EXPECT_EQ(kS3dStereoCal_LeftViewIndex(cal, &index), kSTATUS_FAILED);

    // A map without cells: view 0.
    kArray2_Zero(kS3dStereoCal_DisparityMap(cal));
    for (kSize i = 0; i < kArray2_Count(kS3dStereoCal_DisparityMap(cal)); ++i)
        kArray2_DataT<kPoint32s>(kS3dStereoCal_DisparityMap(cal))[i].x = k32S_NULL;
    ASSERT_EQ(kS3dStereoCal_LeftViewIndex(cal, &index), kOK);
    EXPECT_EQ(index, 0u);
}

TEST_F(StereoCal, AllocationFailureAtEveryStepLeavesNothing)
{
    const kS3dStereoCalParams p = ktest::AffineParams();
    ktest::TempDir dir;
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const std::string path = dir.File("StereoCal.kdat");
    ASSERT_EQ(kS3dStereoCal_Store(cal, path.c_str()), kOK);

    kNode node = kNULL;
    ASSERT_EQ(kNode_Construct(&node, kNULL, kNULL), kOK);
    kObjectGuard nodeGuard(node);
    ASSERT_EQ(kS3dStereoCal_StoreToNode(cal, kNode_Storage(node), "StereoCal.kdat6"), kOK);

    // The record is not an object, so the fail-after-N loop is written out here.
    auto everyStep =
        [](const char* what, const std::function<kStatus(kAlloc, kS3dStereoCal*)>& build)
    {
        SCOPED_TRACE(what);
        for (kSize step = 0; step < 10000; ++step)
        {
            ktest::CountingAlloc alloc;
            kCountingAlloc_SetFailAfter(alloc, step);
            kS3dStereoCal record = kNULL;
            const kStatus status = build(alloc, &record);
            if (kSuccess(status))
            {
                EXPECT_GT(step, 3u);
                EXPECT_EQ(kS3dStereoCal_Destroy(record), kOK);
                return;
            }
            ASSERT_EQ(record, kNULL) << step;
            ASSERT_EQ(alloc.Outstanding(), 0u) << step;
        }
        ADD_FAILURE() << "never succeeded";
    };
    everyStep("Construct",
              [&](kAlloc a, kS3dStereoCal* r) { return kS3dStereoCal_ConstructEx(r, &p, a); });
    everyStep("Load",
              [&](kAlloc a, kS3dStereoCal* r) { return kS3dStereoCal_LoadEx(r, path.c_str(), a); });
    everyStep("LoadFromNode",
              [&](kAlloc a, kS3dStereoCal* r) {
                  return kS3dStereoCal_LoadFromNodeEx(r, kNode_Storage(node), "StereoCal.kdat6", a);
              });
}
