// XML forms of the laser family's value types, merge helpers and value lists.
#include <kTestSupport.h>

#include <kSolan/L3d/kL3dValueList.h>
#include <kSolan/L3d/kL3dXml.h>

#include <vector>

namespace
{
struct Doc
{
    kXml xml = kNULL;
    kXmlItem root = kNULL;
    explicit Doc(kAlloc alloc, const char* text = "<Root/>")
    {
        EXPECT_EQ(kXml_FromText(&xml, text, alloc), kOK);
        root = kXml_Root(xml);
    }
    ~Doc() { kObject_Destroy(xml); }
};

std::vector<k32s> ToVector(kArrayList list)
{
    const k32s* v = (const k32s*)kArrayList_Data(list);
    return std::vector<k32s>(v, v + kArrayList_Count(list));
}

kArrayList List(kAlloc alloc, std::vector<k32s> values)
{
    kArrayList list = kNULL;
    EXPECT_EQ(kArrayList_Construct(&list, kTypeOf(k32s), 0, alloc), kOK);
    for (k32s v : values)
        kArrayList_Add(list, &v);
    return list;
}

kXmlItem AddItem(const Doc& d, const char* name)
{
    kXmlItem item = kNULL;
    EXPECT_EQ(kXml_AddItem(d.xml, d.root, name, &item), kOK);
    return item;
}
} // namespace

TEST(L3dXml, FormsRoundTrip)
{
    ktest::CountingAlloc alloc;
    Doc d(alloc);

    const kL3dCameraWindow w = {16, 8, 1280, 1024, 2, 1};
    kL3dCameraWindow w2 = {};
    ASSERT_EQ(kL3dCameraWindow_Write(&w, d.xml, AddItem(d, "Window")), kOK);
    const kRect32s r32 = {-5, 6, 70, 80};
    ASSERT_EQ(kL3dRect32s_Write(&r32, d.xml, AddItem(d, "R32")), kOK);
    const kRect64f r64 = {-1.25, 2.5e-7, 1e10, 0.1};
    ASSERT_EQ(kL3dRect64f_Write(&r64, d.xml, AddItem(d, "R64")), kOK);
    const kRect3d64f box = {-340.0, 0.0, -101.6, 680.0, 0.0, 203.2};
    ASSERT_EQ(kL3dRect3d64f_Write(&box, d.xml, AddItem(d, "Box")), kOK);
    const kL3dTransform2d t2 = {0.1, -0.2, 0.3, 1.0 / 3.0, 5e-300, -7.0};
    ASSERT_EQ(kL3dTransform2d_Write(&t2, d.xml, AddItem(d, "T2")), kOK);
    const kL3dTransform3d t3 = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 3.14159265358979};
    ASSERT_EQ(kL3dTransform3d_Write(&t3, d.xml, AddItem(d, "T3")), kOK);

    // Through text, so that the written form is what is read.
    kString text = kNULL;
    ASSERT_EQ(kString_Construct(&text, "", alloc), kOK);
    ASSERT_EQ(kXml_ToString(d.xml, text), kOK);
    Doc e(alloc, kString_Chars(text));
    kObject_Destroy(text);

    ASSERT_EQ(kL3dCameraWindow_Read(&w2, e.xml, kXml_Child(e.xml, e.root, "Window")), kOK);
    EXPECT_TRUE(kL3dCameraWindow_Equals(&w, &w2));
    EXPECT_EQ(kXml_ChildExists(e.xml, e.root, "Window\\XSubsampling"), kTRUE);
    kRect32s r32b;
    ASSERT_EQ(kL3dRect32s_Read(&r32b, e.xml, kXml_Child(e.xml, e.root, "R32")), kOK);
    EXPECT_EQ(memcmp(&r32, &r32b, sizeof(r32)), 0);
    kRect64f r64b;
    ASSERT_EQ(kL3dRect64f_Read(&r64b, e.xml, kXml_Child(e.xml, e.root, "R64")), kOK);
    EXPECT_EQ(memcmp(&r64, &r64b, sizeof(r64)), 0);
    kRect3d64f boxb;
    ASSERT_EQ(kL3dRect3d64f_Read(&boxb, e.xml, kXml_Child(e.xml, e.root, "Box")), kOK);
    EXPECT_EQ(memcmp(&box, &boxb, sizeof(box)), 0);
    kL3dTransform2d t2b;
    ASSERT_EQ(kL3dTransform2d_Read(&t2b, e.xml, kXml_Child(e.xml, e.root, "T2")), kOK);
    EXPECT_EQ(memcmp(&t2, &t2b, sizeof(t2)), 0);
    kL3dTransform3d t3b;
    ASSERT_EQ(kL3dTransform3d_Read(&t3b, e.xml, kXml_Child(e.xml, e.root, "T3")), kOK);
    EXPECT_EQ(memcmp(&t3, &t3b, sizeof(t3)), 0);

    kL3dCameraWindow c;
    kL3dCameraWindow_CopyFrom(&c, &w);
    EXPECT_TRUE(kL3dCameraWindow_Equals(&c, &w));
    c.ySubsampling = 4;
    EXPECT_FALSE(kL3dCameraWindow_Equals(&c, &w));
}

TEST(L3dXml, CameraWindowDataTreeRoundTrip)
{
    ktest::CountingAlloc alloc;
    kDataTree tree = kNULL;
    ASSERT_EQ(kDataTree_Construct(&tree, alloc), kOK);
    kDataTreeItem root = kNULL;
    ASSERT_EQ(kDataTree_Add(tree, kNULL, "Window", &root), kOK);
    const kL3dCameraWindow w = {1, 2, 3, 4, 5, 6};
    kL3dCameraWindow w2 = {};
    ASSERT_EQ(kL3dCameraWindow_WriteTree(&w, tree, root), kOK);
    ASSERT_EQ(kL3dCameraWindow_ReadTree(&w2, tree, root), kOK);
    EXPECT_TRUE(kL3dCameraWindow_Equals(&w, &w2));
    kObject_Destroy(tree);
}

TEST(L3dXml, MissingChildFailsWithItsStatus)
{
    ktest::CountingAlloc alloc;
    Doc d(alloc, "<Root><T><XX>1</XX><XY>2</XY><YX>3</YX><YY>4</YY><YT>5</YT></T>"
                 "<W><X>1</X><Y>-2</Y></W></Root>");
    kL3dTransform2d t;
    kL3dTransform2d_Identity(&t);
    EXPECT_EQ(kL3dTransform2d_Read(&t, d.xml, kXml_Child(d.xml, d.root, "T")), kSTATUS_NOT_FOUND);
    EXPECT_EQ(t.xx, 1.0); // unchanged
    EXPECT_EQ(t.xy, 0.0);
    kL3dCameraWindow w = {};
    const kStatus s = kL3dCameraWindow_Read(&w, d.xml, kXml_Child(d.xml, d.root, "W"));
    kL3dCameraWindow zero = {};
    EXPECT_NE(s, kOK);
    EXPECT_TRUE(kL3dCameraWindow_Equals(&w, &zero));
}

TEST(L3dXml, MergeAndBooleans)
{
    ktest::CountingAlloc alloc;
    Doc d(alloc, "<Root><A>7</A><B>-3</B><C>12</C><D>2.5</D><E>name</E><F>TRUE</F>"
                 "<G>0</G><H>x1</H></Root>");
    k32u a = 1;
    k32s b = 1;
    kSize c = 1;
    k64f dd = 1;
    kChar e[8] = "keep";
    kBool f = kFALSE, g = kTRUE;
    EXPECT_EQ(kL3dXml_MergeChild32u(d.xml, d.root, "A", &a), kOK);
    EXPECT_EQ(kL3dXml_MergeChild32s(d.xml, d.root, "B", &b), kOK);
    EXPECT_EQ(kL3dXml_MergeChildSize(d.xml, d.root, "C", &c), kOK);
    EXPECT_EQ(kL3dXml_MergeChild64f(d.xml, d.root, "D", &dd), kOK);
    EXPECT_EQ(kL3dXml_MergeChildText(d.xml, d.root, "E", e, sizeof(e)), kOK);
    EXPECT_EQ(kL3dXml_MergeChildBool(d.xml, d.root, "F", &f), kOK);
    EXPECT_EQ(kL3dXml_MergeChildBool(d.xml, d.root, "G", &g), kOK);
    EXPECT_EQ(a, 7u);
    EXPECT_EQ(b, -3);
    EXPECT_EQ(c, 12u);
    EXPECT_EQ(dd, 2.5);
    EXPECT_STREQ(e, "name");
    EXPECT_EQ(f, kTRUE);
    EXPECT_EQ(g, kFALSE);

    // Missing children keep the current values.
    EXPECT_EQ(kL3dXml_MergeChild32u(d.xml, d.root, "Z", &a), kOK);
    EXPECT_EQ(kL3dXml_MergeChildText(d.xml, d.root, "Z", e, sizeof(e)), kOK);
    EXPECT_EQ(a, 7u);
    EXPECT_STREQ(e, "name");
    // Present but malformed, or too long: an error, value kept.
    EXPECT_NE(kL3dXml_MergeChild32u(d.xml, d.root, "H", &a), kOK);
    EXPECT_EQ(a, 7u);
    kChar small[3] = "ab";
    EXPECT_EQ(kL3dXml_MergeChildText(d.xml, d.root, "E", small, sizeof(small)),
              kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(small, "ab");

    kBool v = kFALSE;
    EXPECT_EQ(kL3dXml_ChildBool(d.xml, d.root, "Z", &v), kSTATUS_NOT_FOUND);
    ASSERT_EQ(kL3dXml_SetChildBool(d.xml, d.root, "Z", kTRUE), kOK);
    kChar text[8];
    ASSERT_EQ(kXml_ChildText(d.xml, d.root, "Z", text, sizeof(text)), kOK);
    EXPECT_STREQ(text, "true");
    ASSERT_EQ(kL3dXml_ChildBool(d.xml, d.root, "Z", &v), kOK);
    EXPECT_EQ(v, kTRUE);
    kXmlItem z = kXml_Child(d.xml, d.root, "Z");
    ASSERT_EQ(kL3dXml_SetItemBool(d.xml, z, kFALSE), kOK);
    ASSERT_EQ(kL3dXml_ItemBool(d.xml, z, &v), kOK);
    EXPECT_EQ(v, kFALSE);
}

TEST(L3dValueList, TextFormAndStatuses)
{
    ktest::CountingAlloc alloc;
    Doc d(alloc, "<Root><L>3, 1,,2</L><Bad>1,x</Bad><Big>99999999999</Big><E></E></Root>");
    kArrayList list = List(alloc, {9});
    ASSERT_EQ(kL3dValueList_Read(list, d.xml, kXml_Child(d.xml, d.root, "L")), kOK);
    EXPECT_EQ(ToVector(list), (std::vector<k32s>{3, 1, 2}));
    kXmlItem out = AddItem(d, "Out");
    ASSERT_EQ(kL3dValueList_Write(list, d.xml, out), kOK);
    kChar text[32];
    ASSERT_EQ(kXml_ItemText(d.xml, out, text, sizeof(text)), kOK);
    EXPECT_STREQ(text, "3,1,2");

    EXPECT_EQ(kL3dValueList_Read(list, d.xml, kXml_Child(d.xml, d.root, "Bad")),
              kSTATUS_BAD_FORMAT);
    EXPECT_EQ(kArrayList_Count(list), 0u);
    EXPECT_EQ(kL3dValueList_Read(list, d.xml, kXml_Child(d.xml, d.root, "Big")),
              kSTATUS_BAD_FORMAT);
    ASSERT_EQ(kL3dValueList_Read(list, d.xml, kXml_Child(d.xml, d.root, "E")), kOK);
    EXPECT_EQ(kArrayList_Count(list), 0u);

    kArrayList wrong = kNULL;
    ASSERT_EQ(kArrayList_Construct(&wrong, kTypeOf(k16s), 0, alloc), kOK);
    EXPECT_EQ(kL3dValueList_Read(wrong, d.xml, d.root), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(wrong);
    kObject_Destroy(list);
}

TEST(L3dValueList, SetOperations)
{
    ktest::CountingAlloc alloc;
    kArrayList a = List(alloc, {5, 3, 5, -1, 3, 8});
    kArrayList b = List(alloc, {8, 2, 5, 8});
    kArrayList r = List(alloc, {100});

    EXPECT_EQ(kL3dValueList_Find(a, -1), 3);
    EXPECT_EQ(kL3dValueList_Find(a, 42), -1);

    ASSERT_EQ(kL3dValueList_Union(a, b, r), kOK);
    EXPECT_EQ(ToVector(r), (std::vector<k32s>{5, 3, -1, 8, 2}));
    ASSERT_EQ(kL3dValueList_Intersection(a, b, r), kOK);
    EXPECT_EQ(ToVector(r), (std::vector<k32s>{5, 8}));
    EXPECT_EQ(kL3dValueList_Union(a, b, a), kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kL3dValueList_Append(r, b), kOK);
    EXPECT_EQ(ToVector(r), (std::vector<k32s>{5, 8, 8, 2, 5, 8}));
    ASSERT_EQ(kL3dValueList_FilterUnique(a), kOK);
    EXPECT_EQ(ToVector(a), (std::vector<k32s>{5, 3, -1, 8}));
    ASSERT_EQ(kL3dValueList_Sort(a), kOK);
    EXPECT_EQ(ToVector(a), (std::vector<k32s>{-1, 3, 5, 8}));
    ASSERT_EQ(kL3dValueList_Reverse(a), kOK);
    EXPECT_EQ(ToVector(a), (std::vector<k32s>{8, 5, 3, -1}));

    kObject_Destroy(a);
    kObject_Destroy(b);
    kObject_Destroy(r);
}
