// Comma-separated value lists: exact text, bit-exact round trips, malformed fields.
#include <kTestSupport.h>

#include <kSolan/L3d/kL3dCsv.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{
struct Csv
{
    kArrayList list = kNULL;
    kString text = kNULL;
    Csv(kAlloc alloc, kType type)
    {
        EXPECT_EQ(kArrayList_Construct(&list, type, 0, alloc), kOK);
        EXPECT_EQ(kString_Construct(&text, "", alloc), kOK);
    }
    ~Csv()
    {
        kObject_Destroy(list);
        kObject_Destroy(text);
    }
    template <typename T>
    void Set(const std::vector<T>& items)
    {
        ASSERT_EQ(kArrayList_Import(list, kArrayList_ItemType(list), items.data(), items.size()),
                  kOK);
    }
    template <typename T>
    std::vector<T> Items() const
    {
        const T* p = (const T*)kArrayList_Data(list);
        return std::vector<T>(p, p + kArrayList_Count(list));
    }
};

kText32 Text(const char* s)
{
    kText32 t;
    kText32_Set(&t, s, strlen(s));
    return t;
}
} // namespace

TEST(L3dCsv, IntegersWriteExactlyAndReadBack)
{
    ktest::CountingAlloc alloc;
    Csv s(alloc, kTypeOf(k32s));
    s.Set<k32s>({-12, 0, 7, INT32_MIN, INT32_MAX});
    ASSERT_EQ(kL3dCsv_Write32s(s.list, s.text), kOK);
    EXPECT_STREQ(kString_Chars(s.text), "-12,0,7,-2147483648,2147483647");
    ASSERT_EQ(kL3dCsv_Read32s(s.list, " 3 ,\t-1,2\r\n"), kOK);
    EXPECT_EQ(s.Items<k32s>(), (std::vector<k32s>{3, -1, 2}));
    ASSERT_EQ(kL3dCsv_Read32s(s.list, kString_Chars(s.text)), kOK);
    EXPECT_EQ(s.Items<k32s>(), (std::vector<k32s>{-12, 0, 7, INT32_MIN, INT32_MAX}));
    ASSERT_EQ(kL3dCsv_Read32s(s.list, "\"5\",6"), kOK); // quoting is transparent
    EXPECT_EQ(s.Items<k32s>(), (std::vector<k32s>{5, 6}));

    Csv u(alloc, kTypeOf(k32u));
    u.Set<k32u>({0, 4294967295u, 42});
    ASSERT_EQ(kL3dCsv_Write32u(u.list, u.text), kOK);
    EXPECT_STREQ(kString_Chars(u.text), "0,4294967295,42");
    ASSERT_EQ(kL3dCsv_Read32u(u.list, kString_Chars(u.text)), kOK);
    EXPECT_EQ(u.Items<k32u>(), (std::vector<k32u>{0, 4294967295u, 42}));

    Csv z(alloc, kTypeOf(kSize));
    z.Set<kSize>({18446744073709551615ull, 1});
    ASSERT_EQ(kL3dCsv_WriteSize(z.list, z.text), kOK);
    EXPECT_STREQ(kString_Chars(z.text), "18446744073709551615,1");
    ASSERT_EQ(kL3dCsv_ReadSize(z.list, kString_Chars(z.text)), kOK);
    EXPECT_EQ(z.Items<kSize>(), (std::vector<kSize>{18446744073709551615ull, 1}));

    // Empty lists and blank text.
    z.Set<kSize>({});
    ASSERT_EQ(kL3dCsv_WriteSize(z.list, z.text), kOK);
    EXPECT_STREQ(kString_Chars(z.text), "");
    ASSERT_EQ(kL3dCsv_ReadSize(z.list, " \n"), kOK);
    EXPECT_EQ(kArrayList_Count(z.list), 0u);
}

TEST(L3dCsv, RealsReadBackBitExactly)
{
    ktest::CountingAlloc alloc;
    Csv s(alloc, kTypeOf(k64f));
    std::vector<k64f> v = {0.1,
                           -0.0,
                           1.0 / 3.0,
                           k64F_NULL,
                           std::numeric_limits<double>::denorm_min(),
                           std::numeric_limits<double>::min(),
                           std::numeric_limits<double>::max(),
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity(),
                           1e22,
                           -123456789.125};
    std::mt19937_64 rng(7);
    while (v.size() < 500)
    {
        const k64u bits = rng();
        k64f x;
        memcpy(&x, &bits, sizeof(x));
        if (!std::isnan(x)) v.push_back(x);
    }
    s.Set(v);
    ASSERT_EQ(kL3dCsv_Write64f(s.list, s.text), kOK);
    EXPECT_EQ(std::string(kString_Chars(s.text)).substr(0, 26), "0.1,-0,0.3333333333333333,");
    ASSERT_EQ(kL3dCsv_Read64f(s.list, kString_Chars(s.text)), kOK);
    std::vector<k64f> back = s.Items<k64f>();
    ASSERT_EQ(back.size(), v.size());
    EXPECT_EQ(memcmp(back.data(), v.data(), v.size() * sizeof(k64f)), 0);

    s.Set<k64f>({std::nan("")});
    ASSERT_EQ(kL3dCsv_Write64f(s.list, s.text), kOK);
    EXPECT_STREQ(kString_Chars(s.text), "nan");
    ASSERT_EQ(kL3dCsv_Read64f(s.list, "nan, 2.5e-3"), kOK);
    EXPECT_TRUE(std::isnan(s.Items<k64f>()[0]));
    EXPECT_EQ(s.Items<k64f>()[1], 2.5e-3);
}

TEST(L3dCsv, TextsQuoteWhatNeedsItAndTruncateAt31)
{
    ktest::CountingAlloc alloc;
    Csv s(alloc, kTypeOf(kText32));
    s.Set<kText32>({Text("Camera 0"), Text("a,b"), Text("say \"hi\""), Text(""), Text(" pad"),
                    Text("line\nbreak"), Text("plain")});
    ASSERT_EQ(kL3dCsv_WriteText32(s.list, s.text), kOK);
    EXPECT_STREQ(kString_Chars(s.text),
                 "Camera 0,\"a,b\",\"say \"\"hi\"\"\",\"\",\" pad\",\"line\nbreak\",plain");
    ASSERT_EQ(kL3dCsv_ReadText32(s.list, kString_Chars(s.text)), kOK);
    std::vector<kText32> back = s.Items<kText32>();
    const char* expected[] = {"Camera 0", "a,b", "say \"hi\"", "", " pad", "line\nbreak", "plain"};
    ASSERT_EQ(back.size(), 7u);
    for (kSize i = 0; i < 7; ++i)
        EXPECT_STREQ(back[i].chars, expected[i]);

    // Unquoted fields lose surrounding blanks; an empty unquoted field is an empty text.
    ASSERT_EQ(kL3dCsv_ReadText32(s.list, "  x y  ,,z"), kOK);
    back = s.Items<kText32>();
    ASSERT_EQ(back.size(), 3u);
    EXPECT_STREQ(back[0].chars, "x y");
    EXPECT_STREQ(back[1].chars, "");

    // A text that fills all 32 bytes, without a terminator, is written whole.
    kText32 full;
    memset(full.chars, 'w', sizeof(full.chars));
    s.Set<kText32>({full});
    ASSERT_EQ(kL3dCsv_WriteText32(s.list, s.text), kOK);
    EXPECT_EQ(std::string(kString_Chars(s.text)), std::string(32, 'w'));

    const std::string longText(40, 'q');
    ASSERT_EQ(kL3dCsv_ReadText32(s.list, longText.c_str()), kOK);
    EXPECT_EQ(std::string(s.Items<kText32>()[0].chars), std::string(31, 'q'));
}

TEST(L3dCsv, MalformedFieldsAndWrongListsFail)
{
    ktest::CountingAlloc alloc;
    Csv s(alloc, kTypeOf(k32s));
    const char* bad32s[] = {"1,,2", "1,2,",       ",1",          "1 2", "x",   "1.5",    "0x10",
                            "+1",   "2147483648", "-2147483649", "1;2", "\"1", "\"1\"x", "7 \n 8"};
    for (const char* text : bad32s)
    {
        s.Set<k32s>({9});
        EXPECT_EQ(kL3dCsv_Read32s(s.list, text), kSTATUS_BAD_FORMAT) << text;
        EXPECT_EQ(kArrayList_Count(s.list), 0u) << text;
    }

    Csv u(alloc, kTypeOf(k32u));
    for (const char* text : {"-1", "4294967296", "1e3"})
        EXPECT_EQ(kL3dCsv_Read32u(u.list, text), kSTATUS_BAD_FORMAT) << text;
    Csv z(alloc, kTypeOf(kSize));
    EXPECT_EQ(kL3dCsv_ReadSize(z.list, "18446744073709551616"), kSTATUS_BAD_FORMAT);
    Csv r(alloc, kTypeOf(k64f));
    for (const char* text : {"1e999", "1.0.0", "--1", "1e", "abc", ""})
    {
        const kStatus expected = text[0] ? kSTATUS_BAD_FORMAT : kOK;
        EXPECT_EQ(kL3dCsv_Read64f(r.list, text), expected) << text;
    }
    Csv t(alloc, kTypeOf(kText32));
    EXPECT_EQ(kL3dCsv_ReadText32(t.list, "a\nb"), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(kL3dCsv_ReadText32(t.list, "\"open"), kSTATUS_BAD_FORMAT);

    // Each helper insists on its own item type (k32s and k32u have the same size).
    EXPECT_EQ(kL3dCsv_Read32u(s.list, "1"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_Write32u(s.list, s.text), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_Read32s(u.list, "1"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_WriteSize(r.list, s.text), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_Read64f(z.list, "1"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_Write64f(t.list, s.text), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_ReadText32(r.list, "1"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_WriteText32(s.list, s.text), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_Write32s(u.list, s.text), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kL3dCsv_ReadSize(s.list, "1"), kSTATUS_BAD_PARAMETER);
}

TEST(L3dCsv, AllocationFailuresLeakNothing)
{
    const std::string text = "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20";
    ktest::ExpectCleanFailures(
        [&](kAlloc a, kObject* out)
        {
            kArrayList list = kNULL;
            kCheck(kArrayList_Construct(&list, kTypeOf(k32u), 0, a));
            kStatus status = kL3dCsv_Read32u(list, text.c_str());
            if (!kSuccess(status))
            {
                EXPECT_EQ(kArrayList_Count(list), 0u);
                kObject_Destroy(list);
                return status;
            }
            *out = list;
            return kOK;
        });
    ktest::ExpectCleanFailures(
        [&](kAlloc a, kObject* out)
        {
            kArrayList list = kNULL;
            kString s = kNULL;
            kCheck(kArrayList_Construct(&list, kTypeOf(kText32), 0, a));
            kStatus status = kL3dCsv_ReadText32(list, "\"a,b\",c,\"\"\"q\"\"\"");
            if (kSuccess(status)) status = kString_Construct(&s, "", a);
            if (kSuccess(status)) status = kL3dCsv_WriteText32(list, s);
            if (kSuccess(status))
            {
                EXPECT_STREQ(kString_Chars(s), "\"a,b\",c,\"\"\"q\"\"\"");
            }
            kObject_Destroy(list);
            if (!kSuccess(status))
                kObject_Destroy(s);
            else
                *out = s;
            return status;
        });
}
