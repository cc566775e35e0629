// Strings and the C-string helpers: editing, self-referencing arguments, equality and hashing,
// splitting, comma-separated records, and allocation failure.
#include "kContainerTestSupport.h"

#include <cstring>

using Texts = std::vector<std::string>;

TEST(String, EditsKeepTheTextAndItsTerminator)
{
    ktest::CountingAlloc alloc;
    kString str = kNULL;
    ASSERT_EQ(kString_Construct(&str, kNULL, alloc), kOK);
    EXPECT_STREQ(kString_Chars(str), "");
    EXPECT_EQ(kString_Length(str), 0u);

    ASSERT_EQ(kString_Set(str, "Sensor"), kOK);
    ASSERT_EQ(kString_Add(str, " "), kOK);
    ASSERT_EQ(kString_Addf(str, "%d/%03u %.2f %s", -7, 42u, 2.5, "mm"), kOK);
    EXPECT_STREQ(kString_Chars(str), "Sensor -7/042 2.50 mm");
    EXPECT_EQ(kString_Length(str), strlen("Sensor -7/042 2.50 mm"));
    EXPECT_GE(kString_Capacity(str), kString_Length(str));

    ASSERT_EQ(kString_Setf(str, "[%s]", "x"), kOK);
    EXPECT_STREQ(kString_Chars(str), "[x]");
    ASSERT_EQ(kString_Add(str, kNULL), kOK);
    ASSERT_EQ(kString_AddSubstring(str, "abcdef", 2, 3), kOK);
    EXPECT_STREQ(kString_Chars(str), "[x]cde");
    ASSERT_EQ(kString_AddSubstring(str, "abc", 3, 0), kOK);
    EXPECT_EQ(kString_AddSubstring(str, "abc", 2, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kString_AddSubstring(str, "abc", kSIZE_MAX, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kString_AddSubstring(str, kNULL, 0, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kString_Setf(str, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(kString_Chars(str), "[x]cde");

    ASSERT_EQ(kString_Reserve(str, 100), kOK);
    EXPECT_EQ(kString_Capacity(str), 100u);
    EXPECT_EQ(kObject_Size(str), kType_InnerSize(kTypeOf(kString)) + 101u);
    ASSERT_EQ(kString_Reserve(str, 10), kOK); // never shrinks
    EXPECT_EQ(kString_Capacity(str), 100u);
    EXPECT_EQ(alloc.Outstanding(), 2u);

    ASSERT_EQ(kString_SetLength(str, 3), kOK);
    EXPECT_STREQ(kString_Chars(str), "[x]");
    ASSERT_EQ(kString_SetLength(str, 6), kOK); // extended with NULs to be written over
    EXPECT_EQ(kString_Length(str), 6u);
    EXPECT_EQ(kString_Chars(str)[4], 0);
    memcpy(kString_Chars(str) + 3, "abc", 3);
    EXPECT_STREQ(kString_Chars(str), "[x]abc");

    ASSERT_EQ(kString_Clear(str), kOK);
    EXPECT_STREQ(kString_Chars(str), "");
    EXPECT_EQ(kString_Capacity(str), 100u);
    kObject_Destroy(str);
}

TEST(String, TextTakenFromTheStringItselfSurvivesReallocation)
{
    ktest::CountingAlloc alloc;
    kString str = kNULL;
    ASSERT_EQ(kString_Construct(&str, "abc", alloc), kOK);
    EXPECT_EQ(kString_Capacity(str), 3u);
    ASSERT_EQ(kString_Add(str, kString_Chars(str)), kOK); // grows while reading itself
    EXPECT_STREQ(kString_Chars(str), "abcabc");
    ASSERT_EQ(kString_Set(str, kString_Chars(str) + 2), kOK); // overlapping, in place
    EXPECT_STREQ(kString_Chars(str), "cabc");
    ASSERT_EQ(kString_AddSubstring(str, kString_Chars(str), 1, 2), kOK);
    EXPECT_STREQ(kString_Chars(str), "cabcab");
    ASSERT_EQ(kString_Assign(str, str), kOK);
    EXPECT_STREQ(kString_Chars(str), "cabcab");
    kObject_Destroy(str);
}

TEST(String, TrimRemovesSurroundingWhiteSpaceOnly)
{
    ktest::CountingAlloc alloc;
    kString str = kNULL;
    ASSERT_EQ(kString_Construct(&str, kNULL, alloc), kOK);
    const struct
    {
        const char* in;
        const char* out;
    } cases[] = {{" \t\r\n\v\fa b\t \n", "a b"},
                 {"   ", ""},
                 {"", ""},
                 {"x", "x"},
                 {"x  ", "x"},
                 {"\ny", "y"}};
    for (const auto& c : cases)
    {
        ASSERT_EQ(kString_Set(str, c.in), kOK);
        ASSERT_EQ(kString_Trim(str), kOK);
        EXPECT_STREQ(kString_Chars(str), c.out) << "'" << c.in << "'";
        EXPECT_EQ(kString_Length(str), strlen(c.out));
    }
    kObject_Destroy(str);
}

TEST(String, EqualityAndHashFollowTheText)
{
    ktest::CountingAlloc alloc;
    kString a = kNULL, b = kNULL, c = kNULL;
    ASSERT_EQ(kString_Construct(&a, "foobar", alloc), kOK);
    ASSERT_EQ(kString_Construct(&b, "foo", alloc), kOK);
    ASSERT_EQ(kString_Construct(&c, "", alloc), kOK);
    EXPECT_FALSE(kObject_Equals(a, b));
    ASSERT_EQ(kString_Add(b, "bar"), kOK);
    EXPECT_TRUE(kObject_Equals(a, b));
    EXPECT_TRUE(kString_Equals(a, "foobar"));
    EXPECT_FALSE(kString_Equals(a, "foobaR"));
    EXPECT_FALSE(kString_Equals(a, "foo"));
    EXPECT_TRUE(kString_Equals(c, kNULL));

    /* Published 64-bit FNV-1a values. */
    EXPECT_EQ(kObject_HashCode(a), (kSize)0x85944171f73967e8ull);
    EXPECT_EQ(kObject_HashCode(b), kObject_HashCode(a));
    EXPECT_EQ(kObject_HashCode(c), (kSize)0xcbf29ce484222325ull);
    ASSERT_EQ(kString_Set(c, "a"), kOK);
    EXPECT_EQ(kObject_HashCode(c), (kSize)0xaf63dc4c8601ec8cull);

    kArray1 other = kNULL;
    ASSERT_EQ(kArray1_Construct(&other, kTypeOf(kChar), 6, alloc), kOK);
    memcpy(kArray1_Data(other), "foobar", 6);
    EXPECT_FALSE(kObject_Equals(a, other));

    kString copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, a, alloc), kOK);
    EXPECT_NE(kString_Chars(copy), kString_Chars(a));
    EXPECT_TRUE(kObject_Equals(copy, a));
    ASSERT_EQ(kString_Assign(c, copy), kOK);
    EXPECT_STREQ(kString_Chars(c), "foobar");
    {
        ktest::CastFailCapture capture;
        EXPECT_EQ(kString_Assign(c, other), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(kString_Add(other, "x"), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(kString_Chars(other), nullptr);
        EXPECT_FALSE(kString_Equals(other, "foobar"));
    }
    EXPECT_EQ(kString_Construct(kNULL, "x", alloc), kSTATUS_BAD_PARAMETER);
    for (kObject o : {a, b, c, other, copy})
        kObject_Destroy(o);
}

TEST(String, SplitExKeepsOrDropsEmptyTokens)
{
    ktest::CountingAlloc alloc;
    kString str = kNULL;
    kArrayList tokens = kNULL;
    ASSERT_EQ(kString_Construct(&str, ",a,b,,c d,", alloc), kOK);

    ASSERT_EQ(kString_SplitEx(str, &tokens, ",", kTRUE, alloc), kOK);
    EXPECT_EQ(ktest::Texts(tokens), (Texts{"", "a", "b", "", "c d", ""}));
    EXPECT_EQ(kArrayList_ItemType(tokens), kTypeOf(kString));
    kDisposeRef(&tokens);

    ASSERT_EQ(kString_SplitEx(str, &tokens, ", ", kFALSE, alloc), kOK);
    EXPECT_EQ(ktest::Texts(tokens), (Texts{"a", "b", "c", "d"}));
    kDisposeRef(&tokens);

    ASSERT_EQ(kString_SplitEx(str, &tokens, kNULL, kFALSE, alloc), kOK);
    EXPECT_EQ(ktest::Texts(tokens), (Texts{",a,b,,c d,"}));
    kDisposeRef(&tokens);

    ASSERT_EQ(kString_Set(str, ""), kOK);
    ASSERT_EQ(kString_SplitEx(str, &tokens, ",", kTRUE, alloc), kOK);
    EXPECT_EQ(ktest::Texts(tokens), (Texts{""}));
    kDisposeRef(&tokens);
    ASSERT_EQ(kString_SplitEx(str, &tokens, ",", kFALSE, alloc), kOK);
    EXPECT_EQ(kArrayList_Count(tokens), 0u);
    kDisposeRef(&tokens);

    EXPECT_EQ(kString_SplitEx(str, kNULL, ",", kTRUE, alloc), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(str);
}

TEST(CString, CopyAndPrintfRefuseToTruncateSilently)
{
    kChar buffer[6] = "-----";
    EXPECT_EQ(kStrCopy(buffer, 6, "abcde"), kOK); // exactly fits with its NUL
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_EQ(kStrCopy(buffer, 6, "abcdef"), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "abcde"); // truncated, still terminated
    EXPECT_EQ(kStrCopy(buffer, 3, "xyz"), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "xy");
    EXPECT_EQ(kStrCopy(buffer, 0, ""), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStrCopy(kNULL, 6, "a"), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kStrCopy(buffer, 6, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "xy");
    EXPECT_EQ(kStrCopy(buffer, 6, ""), kOK);
    EXPECT_STREQ(buffer, "");

    EXPECT_EQ(kStrPrintf(buffer, 6, "%d-%s", 12, "ab"), kOK);
    EXPECT_STREQ(buffer, "12-ab");
    EXPECT_EQ(kStrPrintf(buffer, 6, "%d-%s", 123, "ab"), kSTATUS_BAD_PARAMETER);
    EXPECT_STREQ(buffer, "123-a");
    EXPECT_EQ(kStrPrintf(buffer, 0, "x"), kSTATUS_BAD_PARAMETER);
}

TEST(CString, CompareMeasureAndFind)
{
    EXPECT_TRUE(kStrEquals("abc", "abc"));
    EXPECT_FALSE(kStrEquals("abc", "abC"));
    EXPECT_FALSE(kStrEquals("abc", kNULL));
    EXPECT_TRUE(kStrEquals(kNULL, kNULL));

    EXPECT_EQ(kStrCompareLower("Hello", "hELLO"), 0);
    EXPECT_LT(kStrCompareLower("ABC", "abd"), 0);
    EXPECT_GT(kStrCompareLower("abd", "ABC"), 0);
    EXPECT_GT(kStrCompareLower("a", ""), 0);
    EXPECT_LT(kStrCompareLower("Ab", "abc"), 0);
    EXPECT_EQ(kStrCompareLower(kNULL, ""), 0);
    EXPECT_GT(kStrCompareLower("Z", "["), 0); // 'z' (122) sorts after '[' (91); 'Z' (90) would not
    EXPECT_EQ(kStrLength("four"), 4u);
    EXPECT_EQ(kStrLength(kNULL), 0u);

    const kChar* text = "abcabcab";
    EXPECT_EQ(kStrFindFirst(text, "bc"), text + 1);
    EXPECT_EQ(kStrFindLast(text, "bc"), text + 4);
    EXPECT_EQ(kStrFindLast(text, "ab"), text + 6);
    EXPECT_EQ(kStrFindLast(text, "abcabcab"), text);
    EXPECT_EQ(kStrFindFirst(text, "cc"), nullptr);
    EXPECT_EQ(kStrFindLast(text, "cc"), nullptr);
    EXPECT_EQ(kStrFindFirst(text, ""), text);
    EXPECT_EQ(kStrFindLast(text, ""), text + 8);
    EXPECT_EQ(kStrFindLast(kNULL, "a"), nullptr);
    EXPECT_EQ(kStrFindFirst(text, kNULL), nullptr);
}

TEST(Csv, FieldsQuotesAndRecordEnds)
{
    ktest::CountingAlloc alloc;
    const struct
    {
        const char* record;
        Texts fields;
    } cases[] = {
        {"a,b,c", {"a", "b", "c"}},
        {"", {""}},
        {",", {"", ""}},
        {" a , b", {" a ", " b"}},
        {"\"x,y\",\"say \"\"hi\"\"\",", {"x,y", "say \"hi\"", ""}},
        {"\"\"", {""}},
        {"\"line 1\nline 2\",z\r\nignored,after", {"line 1\nline 2", "z"}},
        {"1.5,-2,\"3\"\n", {"1.5", "-2", "3"}},
        {"a\"b,c", {"a\"b", "c"}},
    };
    for (const auto& c : cases)
    {
        kArrayList fields = kNULL;
        ASSERT_EQ(kParseCsv(&fields, c.record, alloc), kOK) << c.record;
        EXPECT_EQ(ktest::Texts(fields), c.fields) << c.record;
        kObject_Dispose(fields);
    }

    for (const char* bad : {"\"open", "a,\"b\"c", "\"a\"\"", "x,\"y\" "})
    {
        kArrayList fields = kNULL;
        EXPECT_EQ(kParseCsv(&fields, bad, alloc), kSTATUS_BAD_FORMAT) << bad;
        EXPECT_EQ(fields, kNULL);
    }
    kArrayList fields = kNULL;
    EXPECT_EQ(kParseCsv(&fields, kNULL, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kParseCsv(kNULL, "a", alloc), kSTATUS_BAD_PARAMETER);
}

TEST(String, AllocationFailureAtEveryStepLeavesNothing)
{
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                         { return kString_Construct(out, "text", a); }),
              2u);
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* out)
                                         { return kString_Construct(out, kNULL, a); }),
              2u);

    ktest::CountingAlloc alloc;
    kString str = kNULL;
    ASSERT_EQ(kString_Construct(&str, "x;yy;zzz", alloc), kOK);
    EXPECT_EQ(ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                                         { return kObject_Clone(out, str, a); }),
              2u);
    /* List, then instance and characters per token, with the list's growth after the first. */
    EXPECT_EQ(
        ktest::ExpectCleanFailuresDisposing([&](kAlloc a, kObject* out)
                                            { return kString_SplitEx(str, out, ";", kFALSE, a); }),
        1u + 3u * 2u + 1u);
    EXPECT_EQ(ktest::ExpectCleanFailuresDisposing([&](kAlloc a, kObject* out)
                                                  { return kParseCsv(out, "a,\"b\"\"c\",d", a); }),
              1u + 3u * 2u + 1u);

    /* A failed growth leaves the text as it was. */
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kString_Add(str, "more text than fits"), kSTATUS_MEMORY);
    EXPECT_EQ(kString_Addf(str, "%s", "more text than fits"), kSTATUS_MEMORY);
    EXPECT_EQ(kString_SetLength(str, 100), kSTATUS_MEMORY);
    EXPECT_STREQ(kString_Chars(str), "x;yy;zzz");
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
    kObject_Destroy(str);
}
