// XML settings documents: typed round trips, strict readers, paths, editing, files and bad input.
#include <kTestSupport.h>

#include <kBasis/kFile.h>
#include <kBasis/kMemoryStream.h>
#include <kBasis/kXml.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{
/** Owns a document for one test. */
struct Doc
{
    Doc() { EXPECT_EQ(kXml_Construct(&xml, kNULL), kOK); }
    explicit Doc(const char* text) { EXPECT_EQ(kXml_FromText(&xml, text, kNULL), kOK); }
    ~Doc() { kObject_Destroy(xml); }
    operator kXml() const { return xml; }
    kXml xml = kNULL;
};

std::string Text(kXml xml)
{
    kMemoryStream stream = kNULL;
    EXPECT_EQ(kMemoryStream_Construct(&stream, kNULL), kOK);
    EXPECT_EQ(kXml_Write(xml, stream), kOK);
    std::string text((const char*)kMemoryStream_Data(stream), kMemoryStream_Length(stream));
    kObject_Destroy(stream);
    return text;
}

k64u Bits(k64f v)
{
    k64u b;
    memcpy(&b, &v, 8);
    return b;
}

k64f FromBits(k64u b)
{
    k64f v;
    memcpy(&v, &b, 8);
    return v;
}
} // namespace

TEST(kXml, SettingsRoundTripIsExactForEveryType)
{
    std::mt19937_64 random(20240611);
    std::vector<k64f> reals = {0.0,
                               -0.0,
                               1e308,
                               -1e308,
                               5e-324,
                               -5e-324,
                               2.2250738585072014e-308,
                               2.225073858507201e-308,
                               0.1,
                               1.0 / 3.0,
                               k64F_NULL,
                               k64F_MAX,
                               std::numeric_limits<k64f>::infinity(),
                               -std::numeric_limits<k64f>::infinity()};
    while (reals.size() < 600)
    {
        k64f v = FromBits(random());
        if (!std::isnan(v)) reals.push_back(v);
    }
    for (int i = 0; i < 100; ++i)
        reals.push_back(FromBits(random() & 0x800FFFFFFFFFFFFFull)); // subnormals

    const k32s ints[] = {0, 1, -1, k32S_MIN, k32S_MAX, 123456789};
    const k32u uints[] = {0u, 1u, k32U_MAX, 3000000000u};
    const k64u longs[] = {0ull, k64U_MAX, 18446744073709551557ull};
    const kSize sizes[] = {0, kSIZE_MAX, 4096};

    Doc doc;
    kXmlItem root = kNULL;
    ASSERT_EQ(kXml_AddItem(doc, kNULL, "Settings", &root), kOK);
    char path[64];
    for (size_t i = 0; i < reals.size(); ++i)
    {
        snprintf(path, sizeof(path), "Reals\\R%zu", i);
        ASSERT_EQ(kXml_SetChild64f(doc, root, path, reals[i]), kOK);
    }
    for (size_t i = 0; i < kCountOf(ints); ++i)
    {
        snprintf(path, sizeof(path), "Ints/I%zu", i); // both separators build the same tree
        ASSERT_EQ(kXml_SetChild32s(doc, root, path, ints[i]), kOK);
    }
    for (size_t i = 0; i < kCountOf(uints); ++i)
    {
        snprintf(path, sizeof(path), "Uints\\U%zu", i);
        ASSERT_EQ(kXml_SetChild32u(doc, root, path, uints[i]), kOK);
    }
    for (size_t i = 0; i < kCountOf(longs); ++i)
    {
        snprintf(path, sizeof(path), "Longs\\L%zu", i);
        ASSERT_EQ(kXml_SetChild64u(doc, root, path, longs[i]), kOK);
    }
    for (size_t i = 0; i < kCountOf(sizes); ++i)
    {
        snprintf(path, sizeof(path), "Sizes\\S%zu", i);
        ASSERT_EQ(kXml_SetChildSize(doc, root, path, sizes[i]), kOK);
    }
    ASSERT_EQ(kXml_SetChildBool(doc, root, "Flags\\On", kTRUE), kOK);
    ASSERT_EQ(kXml_SetChildBool(doc, root, "Flags\\Off", kFALSE), kOK);
    ASSERT_EQ(kXml_SetChildText(doc, root, "Name", "Cal <A&B> \"x\" 'y'\ttab\nline"), kOK);
    ASSERT_EQ(kXml_SetChild64f(doc, root, "NotANumber", std::nan("")), kOK);

    std::string text = Text(doc);
    kXml back = kNULL;
    ASSERT_EQ(kXml_LoadBytes(&back, text.data(), text.size(), kNULL), kOK);
    kXmlItem r = kXml_Root(back);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(kXml_ItemName(back, r), "Settings");

    for (size_t i = 0; i < reals.size(); ++i)
    {
        snprintf(path, sizeof(path), "Reals\\R%zu", i);
        k64f v = 0;
        ASSERT_EQ(kXml_Child64f(back, r, path, &v), kOK);
        EXPECT_EQ(Bits(v), Bits(reals[i])) << path << " " << reals[i];
    }
    for (size_t i = 0; i < kCountOf(ints); ++i)
    {
        snprintf(path, sizeof(path), "Ints\\I%zu", i);
        k32s v = 0;
        ASSERT_EQ(kXml_Child32s(back, r, path, &v), kOK);
        EXPECT_EQ(v, ints[i]);
    }
    for (size_t i = 0; i < kCountOf(uints); ++i)
    {
        snprintf(path, sizeof(path), "Uints\\U%zu", i);
        k32u v = 0;
        ASSERT_EQ(kXml_Child32u(back, r, path, &v), kOK);
        EXPECT_EQ(v, uints[i]);
    }
    for (size_t i = 0; i < kCountOf(longs); ++i)
    {
        snprintf(path, sizeof(path), "Longs\\L%zu", i);
        k64u v = 0;
        ASSERT_EQ(kXml_Child64u(back, r, path, &v), kOK);
        EXPECT_EQ(v, longs[i]);
    }
    for (size_t i = 0; i < kCountOf(sizes); ++i)
    {
        snprintf(path, sizeof(path), "Sizes\\S%zu", i);
        kSize v = 0;
        ASSERT_EQ(kXml_ChildSize(back, r, path, &v), kOK);
        EXPECT_EQ(v, sizes[i]);
    }
    kBool on = kFALSE, off = kTRUE;
    EXPECT_EQ(kXml_ChildBool(back, r, "Flags\\On", &on), kOK);
    EXPECT_EQ(kXml_ChildBool(back, r, "Flags\\Off", &off), kOK);
    EXPECT_EQ(on, kTRUE);
    EXPECT_EQ(off, kFALSE);
    char name[64];
    EXPECT_EQ(kXml_ChildText(back, r, "Name", name, sizeof(name)), kOK);
    EXPECT_STREQ(name, "Cal <A&B> \"x\" 'y'\ttab\nline");
    k64f nan = 0;
    EXPECT_EQ(kXml_Child64f(back, r, "NotANumber", &nan), kOK);
    EXPECT_TRUE(std::isnan(nan));
    EXPECT_EQ(kXml_ChildText(back, r, "NotANumber", name, sizeof(name)), kOK);
    EXPECT_STREQ(name, "nan");

    // The re-written document is byte-identical.
    EXPECT_EQ(Text(back), text);
    kObject_Destroy(back);
}

TEST(kXml, OptionalSettingsOfAnEmptyDocumentKeepTheirDefaults)
{
    Doc doc;
    kXmlItem root = kNULL;
    EXPECT_EQ(kXml_FindRoot(doc, &root), kSTATUS_NOT_FOUND);
    ASSERT_EQ(kXml_AddItem(doc, kNULL, "Settings", &root), kOK);
    ASSERT_EQ(kXml_FindRoot(doc, &root), kOK);

    k32u count = 7;
    k64f gain = 1.5;
    kBool enable = kTRUE;
    char file[256] = "StereoCal.kdat";
    if (kXml_ChildExists(doc, root, "Count"))
    {
        ASSERT_EQ(kXml_Child32u(doc, root, "Count", &count), kOK);
    }
    if (kXml_ChildExists(doc, root, "Gain"))
    {
        ASSERT_EQ(kXml_Child64f(doc, root, "Gain", &gain), kOK);
    }
    if (kXml_ChildExists(doc, root, "Window0\\Enable"))
    {
        ASSERT_EQ(kXml_ChildBool(doc, root, "Window0\\Enable", &enable), kOK);
    }
    if (kXml_ChildExists(doc, root, "CalFileName"))
    {
        ASSERT_EQ(kXml_ChildText(doc, root, "CalFileName", file, sizeof(file)), kOK);
    }
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(gain, 1.5);
    EXPECT_EQ(enable, kTRUE);
    EXPECT_STREQ(file, "StereoCal.kdat");

    // Without the check, a missing setting is a failed read that leaves the output alone.
    EXPECT_EQ(kXml_Child32u(doc, root, "Count", &count), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_Child32s(doc, root, "A", (k32s*)&count), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_Child64u(doc, root, "A", (k64u*)&gain), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_ChildSize(doc, root, "A", (kSize*)&gain), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_Child64f(doc, root, "A", &gain), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_ChildBool(doc, root, "A", &enable), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_ChildText(doc, root, "A", file, sizeof(file)), kSTATUS_NOT_FOUND);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(gain, 1.5);
}

TEST(kXml, TypedReadersAreStrictAndRangeChecked)
{
    Doc doc("<S><v/></S>");
    kXmlItem v = kXml_Child(doc, kNULL, "S\\v");
    ASSERT_NE(v, nullptr);

    struct Case
    {
        const char* text;
        kStatus s32, u32, u64, f64;
    };
    const kStatus OK = kOK, F = kSTATUS_BAD_FORMAT, O = kSTATUS_OVERFLOW;
    const Case cases[] = {
        {"12", OK, OK, OK, OK},
        {" \t12\n ", OK, OK, OK, OK},
        {"+12", OK, F, F, OK},
        {"-12", OK, F, F, OK},
        {"", F, F, F, F},
        {"  ", F, F, F, F},
        {"12abc", F, F, F, F},
        {"1 2", F, F, F, F},
        {"0x10", F, F, F, F},
        {"++1", F, F, F, F},
        {"+-1", F, F, F, F},
        {"1.5", F, F, F, OK},
        {"2147483647", OK, OK, OK, OK},
        {"2147483648", O, OK, OK, OK},
        {"-2147483648", OK, F, F, OK},
        {"-2147483649", O, F, F, OK},
        {"4294967296", O, O, OK, OK},
        {"18446744073709551616", O, O, O, OK},
        {"1e400", F, F, F, O},
        {"-1e400", F, F, F, O},
        {"2e-324", F, F, F, O},
        {"inf", F, F, F, OK},
        {"nan", F, F, F, OK},
        {"1e", F, F, F, F},
    };
    for (const Case& c : cases)
    {
        ASSERT_EQ(kXml_SetItemText(doc, v, c.text), kOK);
        k32s s = 42;
        k32u u = 42;
        k64u l = 42;
        k64f f = 42;
        EXPECT_EQ(kXml_Item32s(doc, v, &s), c.s32) << c.text;
        EXPECT_EQ(kXml_Item32u(doc, v, &u), c.u32) << c.text;
        EXPECT_EQ(kXml_Item64u(doc, v, &l), c.u64) << c.text;
        EXPECT_EQ(kXml_Item64f(doc, v, &f), c.f64) << c.text;
        if (c.s32 != kOK)
        {
            EXPECT_EQ(s, 42) << c.text; // untouched on failure
        }
        if (c.f64 != kOK)
        {
            EXPECT_EQ(f, 42) << c.text;
        }
    }

    const struct
    {
        const char* text;
        kStatus status;
        kBool value;
    } bools[] = {{"1", kOK, kTRUE},
                 {"0", kOK, kFALSE},
                 {"true", kOK, kTRUE},
                 {"FALSE", kOK, kFALSE},
                 {" True ", kOK, kTRUE},
                 {"2", kSTATUS_BAD_FORMAT, 0},
                 {"yes", kSTATUS_BAD_FORMAT, 0},
                 {"truex", kSTATUS_BAD_FORMAT, 0}};
    for (const auto& b : bools)
    {
        ASSERT_EQ(kXml_SetItemText(doc, v, b.text), kOK);
        kBool value = -1;
        EXPECT_EQ(kXml_ItemBool(doc, v, &value), b.status) << b.text;
        if (b.status == kOK)
        {
            EXPECT_EQ(value, b.value) << b.text;
        }
    }

    ASSERT_EQ(kXml_SetItemSize(doc, v, 77), kOK);
    kSize size = 0;
    EXPECT_EQ(kXml_ItemSize(doc, v, &size), kOK);
    EXPECT_EQ(size, 77u);
    ASSERT_EQ(kXml_SetItem64f(doc, v, -0.25), kOK);
    char text[8];
    EXPECT_EQ(kXml_ItemText(doc, v, text, sizeof(text)), kOK);
    EXPECT_STREQ(text, "-0.25");
}

TEST(kXml, TextReadersRefuseToTruncate)
{
    Doc doc;
    ASSERT_EQ(kXml_SetChildText(doc, kNULL, "S\\Name", "12345"), kOK);
    char buffer[8] = "junk";
    EXPECT_EQ(kXml_ChildText(doc, kNULL, "S\\Name", buffer, 6), kOK); // exactly fits
    EXPECT_STREQ(buffer, "12345");
    EXPECT_EQ(kXml_ChildText(doc, kNULL, "S\\Name", buffer, 5), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(kXml_ChildText(doc, kNULL, "S\\Name", nullptr, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_ItemText(doc, kXml_Child(doc, kNULL, "S\\Name"), buffer, 5),
              kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kXml_SetAttrText(doc, kXml_Root(doc), "id", "abcdefgh"), kOK);
    EXPECT_EQ(kXml_AttrText(doc, kXml_Root(doc), "id", buffer, 8), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "");
}

TEST(kXml, PathsCreateIntermediateItemsAndRejectBadNames)
{
    Doc doc;
    ASSERT_EQ(kXml_SetChild32s(doc, kNULL, "Settings\\Window0\\X", 5), kOK);
    ASSERT_EQ(kXml_SetChild32s(doc, kNULL, "Settings/Window0/Y", 6), kOK);
    kXmlItem root = kXml_Root(doc);
    kXmlItem window = kXml_Child(doc, root, "Window0");
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(kXml_ChildCount(doc, root), 1u);
    EXPECT_EQ(kXml_ChildCount(doc, window), 2u);
    EXPECT_EQ(kXml_Child(doc, kNULL, "Settings\\Window0\\Y"), kXml_ChildAt(doc, window, 1));
    EXPECT_EQ(kXml_ChildAt(doc, window, 2), nullptr);

    // Setting an existing item replaces its text and adds nothing.
    ASSERT_EQ(kXml_SetChild32s(doc, root, "Window0\\X", -5), kOK);
    EXPECT_EQ(kXml_ChildCount(doc, window), 2u);
    k32s x = 0;
    EXPECT_EQ(kXml_Child32s(doc, window, "X", &x), kOK);
    EXPECT_EQ(x, -5);

    EXPECT_EQ(kXml_SetChild32s(doc, kNULL, "Other\\X", 1), kSTATUS_DUPLICATE); // one root
    EXPECT_EQ(kXml_AddItem(doc, kNULL, "Other", kNULL), kSTATUS_DUPLICATE);
    const char* badPaths[] = {"", "\\X", "X\\", "A\\\\B", "1X", "a b", "a<b", "-x"};
    for (const char* p : badPaths)
        EXPECT_EQ(kXml_SetChild32s(doc, root, p, 1), kSTATUS_BAD_PARAMETER) << p;
    EXPECT_EQ(kXml_SetChild32s(doc, root, nullptr, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_AddItem(doc, root, "a b", kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_AddItem(doc, root, nullptr, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_ChildCount(doc, root), 1u); // nothing was half-created
    ASSERT_EQ(kXml_AddItem(doc, root, "_n-1.x:y", kNULL), kOK);
    ASSERT_EQ(kXml_AddItem(doc, root,
                           "Gr\xC3\xB6\xC3\x9F"
                           "e",
                           kNULL),
              kOK);

    // Items of another document are refused.
    Doc other("<S><A/></S>");
    ktest::CastFailCapture casts;
    kXmlItem foreign = kXml_Child(other, kNULL, "S\\A");
    EXPECT_EQ(kXml_SetItem32s(doc, foreign, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_Child(doc, foreign, "B"), nullptr);
    EXPECT_EQ(kXml_AddItem(doc, foreign, "B", kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(kXml_ItemName(doc, foreign), "");
    EXPECT_EQ(kXml_SetChild32s(other, kNULL, "S\\A", 3), kOK);
    kMemory memory = kNULL;
    ASSERT_EQ(kMemory_Construct(&memory, kNULL), kOK);
    EXPECT_EQ(kXml_SetChild32s(memory, kNULL, "S", 1), kSTATUS_BAD_PARAMETER); // not a document
    EXPECT_EQ(casts.Count(), 1);
    kObject_Destroy(memory);
}

TEST(kXml, NavigationVisitsItemsInDocumentOrder)
{
    Doc doc("<?xml version=\"1.0\"?><!-- c --><R>text<A/><!-- x --><B>b</B>tail<C/></R>");
    kXmlItem root = kXml_Root(doc);
    EXPECT_EQ(kXml_ChildCount(doc, kNULL), 1u);
    EXPECT_EQ(kXml_FirstChild(doc, kNULL), root);
    EXPECT_EQ(kXml_Parent(doc, root), nullptr);

    std::string names;
    for (kXmlItem i = kXml_FirstChild(doc, root); i; i = kXml_NextSibling(doc, i))
    {
        names += kXml_ItemName(doc, i);
        EXPECT_EQ(kXml_Parent(doc, i), root);
    }
    EXPECT_EQ(names, "ABC");
    EXPECT_EQ(kXml_ChildCount(doc, root), 3u);
    char text[8];
    EXPECT_EQ(kXml_ItemText(doc, root, text, sizeof(text)), kOK);
    EXPECT_STREQ(text, "text");
}

TEST(kXml, AttributesAreSetReadCountedAndDeleted)
{
    Doc doc;
    kXmlItem root = kNULL;
    ASSERT_EQ(kXml_AddItem(doc, kNULL, "R", &root), kOK);
    ASSERT_EQ(kXml_SetAttr32u(doc, root, "count", 4000000000u), kOK);
    ASSERT_EQ(kXml_SetAttrText(doc, root, "note", "a\"b<c>&\r\n\t"), kOK);
    ASSERT_EQ(kXml_SetAttr32u(doc, root, "count", 7), kOK); // replaces
    EXPECT_EQ(kXml_SetAttrText(doc, root, "bad name", "x"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_AttrCount(doc, root), 2u);
    EXPECT_STREQ(kXml_AttrNameAt(doc, root, 0), "count");
    EXPECT_STREQ(kXml_AttrNameAt(doc, root, 1), "note");
    EXPECT_EQ(kXml_AttrNameAt(doc, root, 2), nullptr);

    Doc back(Text(doc).c_str());
    kXmlItem r = kXml_Root(back);
    k32u count = 0;
    EXPECT_EQ(kXml_Attr32u(back, r, "count", &count), kOK);
    EXPECT_EQ(count, 7u);
    char text[16];
    EXPECT_EQ(kXml_AttrText(back, r, "note", text, sizeof(text)), kOK);
    EXPECT_STREQ(text, "a\"b<c>&\r\n\t"); // attribute text keeps every character
    EXPECT_EQ(kXml_Attr32u(back, r, "note", &count), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(kXml_Attr32u(back, r, "none", &count), kSTATUS_NOT_FOUND);
    EXPECT_TRUE(kXml_AttrExists(back, r, "note"));
    EXPECT_EQ(kXml_DeleteAttr(back, r, "note"), kOK);
    EXPECT_FALSE(kXml_AttrExists(back, r, "note"));
    EXPECT_EQ(kXml_DeleteAttr(back, r, "note"), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_AttrCount(back, r), 1u);
}

TEST(kXml, EditingClearsDeletesCopiesAndAssigns)
{
    Doc doc("<R a=\"1\"><A><X>1</X><Y>2</Y></A><B>b</B></R>");
    kXmlItem root = kXml_Root(doc);
    kXmlItem a = kXml_Child(doc, root, "A");

    // Copy within the document, then into another one.
    kXmlItem copy = kNULL;
    ASSERT_EQ(kXml_CopyItem(doc, kXml_Child(doc, root, "B"), doc, a, &copy), kOK);
    k32s y = 0;
    EXPECT_EQ(kXml_Child32s(doc, root, "B\\A\\Y", &y), kOK);
    EXPECT_EQ(y, 2);
    EXPECT_EQ(kXml_CopyItem(doc, kXml_Child(doc, a, "X"), doc, a, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_CopyItem(doc, a, doc, a, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kXml_CopyItem(doc, kNULL, doc, a, kNULL), kSTATUS_DUPLICATE);

    Doc other;
    ASSERT_EQ(kXml_CopyItem(other, kNULL, doc, a, &copy), kOK);
    EXPECT_EQ(kXml_Root(other), copy);
    EXPECT_EQ(Text(other), "<?xml version=\"1.0\"?>\n<A>\n  <X>1</X>\n  <Y>2</Y>\n</A>\n");

    ASSERT_EQ(kXml_ClearItem(doc, a), kOK);
    EXPECT_EQ(kXml_ChildCount(doc, a), 0u);
    EXPECT_STREQ(kXml_ItemName(doc, a), "A");
    ASSERT_EQ(kXml_ClearItem(doc, root), kOK);
    EXPECT_EQ(kXml_AttrCount(doc, root), 0u);
    EXPECT_EQ(kXml_ChildCount(doc, root), 0u);
    ASSERT_EQ(kXml_DeleteItem(doc, root), kOK);
    EXPECT_EQ(kXml_Root(doc), nullptr);

    ASSERT_EQ(kXml_Assign(doc, other), kOK);
    EXPECT_EQ(Text(doc), Text(other));
    ASSERT_EQ(kXml_Assign(doc, doc), kOK);
    EXPECT_EQ(Text(doc), Text(other));

    kXml clone = kNULL;
    ASSERT_EQ(kObject_Clone(&clone, doc, kNULL), kOK);
    EXPECT_EQ(Text(clone), Text(doc));
    ASSERT_EQ(kXml_Clear(doc), kOK);
    EXPECT_EQ(kXml_Root(doc), nullptr);
    EXPECT_NE(kXml_Root(clone), nullptr); // deep copy
    kObject_Destroy(clone);
}

TEST(kXml, FilesAndStreamsRoundTripAndBadDocumentsAreRefused)
{
    ktest::TempDir dir;
    ktest::CountingAlloc alloc;
    Doc doc;
    ASSERT_EQ(kXml_SetChild64f(doc, kNULL, "Settings\\Gain", 0.3), kOK);
    ASSERT_EQ(kXml_SetChildText(doc, kNULL, "Settings\\File", "a&b.kdat"), kOK);
    const std::string path = dir.File("settings.xml");
    ASSERT_EQ(kXml_Save(doc, path.c_str()), kOK);

    kXml loaded = kNULL;
    ASSERT_EQ(kXml_Load(&loaded, path.c_str(), alloc), kOK);
    const std::string text = Text(doc);
    EXPECT_EQ(Text(loaded), text);
    const std::string path2 = dir.File("again.xml");
    ASSERT_EQ(kXml_Save(loaded, path2.c_str()), kOK);
    EXPECT_EQ(kFile_Size(path2.c_str()), text.size());
    kObject_Destroy(loaded);

    // Read takes everything from the stream's position.
    kMemoryStream stream = kNULL;
    ASSERT_EQ(kMemoryStream_Construct(&stream, alloc), kOK);
    ASSERT_EQ(kStream_Write(stream, "junk", 4), kOK);
    ASSERT_EQ(kXml_Write(doc, stream), kOK);
    ASSERT_EQ(kStream_Seek(stream, 4, kSEEK_ORIGIN_BEGIN), kOK);
    ASSERT_EQ(kXml_Read(&loaded, stream, alloc), kOK);
    EXPECT_EQ(Text(loaded), text);
    kObject_Destroy(loaded);
    kObject_Destroy(stream);

    EXPECT_EQ(kXml_Save(doc, dir.File("no/such/dir.xml").c_str()), kSTATUS_STREAM);
    loaded = (kXml)1;
    EXPECT_EQ(kXml_Load(&loaded, dir.File("missing.xml").c_str(), alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(loaded, nullptr);
    const char* bad[] = {"",         "   ",       "<a>",      "<a></b>",
                         "<a/><b/>", "text only", "<a x=1/>", "<?xml version=\"1.0\"?>",
                         "<<a/>"};
    for (const char* b : bad)
    {
        ASSERT_EQ(kFile_Save(path.c_str(), b, strlen(b)), kOK);
        EXPECT_EQ(kXml_Load(&loaded, path.c_str(), alloc), kSTATUS_BAD_FORMAT) << b;
        EXPECT_EQ(loaded, nullptr);
        EXPECT_EQ(kXml_FromText(&loaded, b, alloc), kSTATUS_BAD_FORMAT) << b;
    }

    // Every prefix that cuts into the root element is malformed.
    const size_t rootStart = text.find("<Settings");
    for (size_t n = rootStart; n < text.size() - 1; ++n)
        EXPECT_EQ(kXml_LoadBytes(&loaded, text.data(), n, alloc), kSTATUS_BAD_FORMAT) << n;
    EXPECT_EQ(kXml_LoadBytes(&loaded, nullptr, 3, alloc), kSTATUS_BAD_PARAMETER);
}

TEST(kXml, ConstructionFailsCleanlyAtEveryAllocation)
{
    static const char text[] = "<S><A>1</A><B x=\"2\">t</B></S>";
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kXml_Construct(handle, alloc); });
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kXml_FromText(handle, text, alloc); });

    ktest::TempDir dir;
    const std::string path = dir.File("s.xml");
    ASSERT_EQ(kFile_Save(path.c_str(), text, strlen(text)), kOK);
    ktest::ExpectCleanFailures([&](kAlloc alloc, kObject* handle)
                               { return kXml_Load(handle, path.c_str(), alloc); });

    Doc source(text);
    ktest::ExpectCleanFailures([&](kAlloc alloc, kObject* handle)
                               { return kObject_Clone(handle, source, alloc); });
    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* handle)
        {
            kMemoryStream stream = kNULL;
            kStatus status = kMemoryStream_ConstructView(&stream, text, strlen(text), alloc);
            if (!kSuccess(status)) return status;
            status = kXml_Read(handle, stream, alloc);
            kObject_Destroy(stream);
            return status;
        });
}

TEST(kXml, StringReadersAndToStringFillAKString)
{
    ktest::CountingAlloc alloc;
    Doc doc;
    ASSERT_EQ(kXml_SetChildText(doc, kNULL, "S\\Name", "a long name & more"), kOK);
    kXmlItem root = kXml_Root(doc);
    ASSERT_EQ(kXml_SetAttrText(doc, root, "id", "x<y"), kOK);

    kString str = kNULL;
    ASSERT_EQ(kString_Construct(&str, "old", alloc), kOK);
    EXPECT_EQ(kXml_ChildString(doc, kNULL, "S\\Name", str), kOK);
    EXPECT_STREQ(kString_Chars(str), "a long name & more");
    EXPECT_EQ(kXml_ItemString(doc, root, str), kOK);
    EXPECT_STREQ(kString_Chars(str), "");
    EXPECT_EQ(kXml_AttrString(doc, root, "id", str), kOK);
    EXPECT_STREQ(kString_Chars(str), "x<y");
    EXPECT_EQ(kXml_ChildString(doc, kNULL, "S\\None", str), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kXml_AttrString(doc, root, "none", str), kSTATUS_NOT_FOUND);
    EXPECT_STREQ(kString_Chars(str), "x<y");

    EXPECT_EQ(kXml_ToString(doc, str), kOK);
    EXPECT_EQ(std::string(kString_Chars(str)), Text(doc));
    EXPECT_EQ(kObject_Destroy(str), kOK);
}
