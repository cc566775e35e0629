/**
 * @file    kL3dCsv.cpp
 */
#include <kSolan/L3d/kL3dCsv.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace
{
bool IsBlank(kChar c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

const kChar* SkipBlanks(const kChar* p)
{
    while (IsBlank(*p))
        ++p;
    return p;
}

// One field from p into field: quoted or plain, blanks around it stripped. On success *next
// is at the comma that ends the field or at the terminator.
kStatus NextField(const kChar* p, kString field, bool* quoted, const kChar** next)
{
    kCheck(kString_Clear(field));
    p = SkipBlanks(p);
    *quoted = *p == '"';
    if (*quoted)
    {
        for (++p;; ++p)
        {
            if (*p == 0) return kSTATUS_BAD_FORMAT;
            if (*p == '"')
            {
                if (p[1] != '"') break;
                ++p;
            }
            kCheck(kString_AddSubstring(field, p, 0, 1));
        }
        p = SkipBlanks(p + 1);
    }
    else
    {
        const kChar* end = p;
        while (*end != ',' && *end != 0)
            ++end;
        const kChar* last = end;
        while (last > p && IsBlank(last[-1]))
            --last;
        kCheck(kString_AddSubstring(field, p, 0, (kSize)(last - p)));
        p = end;
    }
    if (*p != ',' && *p != 0) return kSTATUS_BAD_FORMAT;
    *next = p;
    return kOK;
}

template <typename T>
kStatus ParseField(kString field, bool quoted, T* item)
{
    const kChar* b = kString_Chars(field);
    const kChar* e = b + kString_Length(field);
    if constexpr (std::is_same_v<T, kText32>)
    {
        if (!quoted && strpbrk(b, "\r\n") != kNULL) return kSTATUS_BAD_FORMAT;
        return kText32_Set(item, b, (kSize)(e - b));
    }
    else
    {
        std::from_chars_result r = std::from_chars(b, e, *item);
        return r.ec == std::errc() && r.ptr == e && b != e ? kOK : kSTATUS_BAD_FORMAT;
    }
}

template <typename T>
kStatus ParseItems(kArrayList list, const kChar* text, kString field)
{
    if (*SkipBlanks(text) == 0) return kOK;
    for (const kChar* p = text;; ++p)
    {
        bool quoted;
        T item{};
        kCheck(NextField(p, field, &quoted, &p));
        kCheck(ParseField(field, quoted, &item));
        kCheck(kArrayList_Add(list, &item));
        if (*p == 0) return kOK;
    }
}

template <typename T>
kStatus Read(kArrayList list, const kChar* text, kType type)
{
    kCheckArgs(kArrayList_ItemType(list) == type && text);
    kCheck(kArrayList_Clear(list));
    kString field = kNULL;
    kCheck(kString_Construct(&field, "", kObject_Alloc(list)));
    kStatus status = ParseItems<T>(list, text, field);
    if (!kSuccess(status)) kArrayList_Clear(list);
    kObject_Destroy(field);
    return status;
}

bool NeedsQuotes(const kChar* t)
{
    const kSize n = strlen(t);
    return n == 0 || strpbrk(t, ",\"\r\n") != kNULL || t[0] == ' ' || t[0] == '\t' ||
           t[n - 1] == ' ' || t[n - 1] == '\t';
}

template <typename T>
kStatus AddItem(kString text, const T& item)
{
    if constexpr (std::is_same_v<T, kText32>)
    {
        // A text filled without kText32_Set may use all 32 bytes, without a terminator.
        kChar chars[sizeof(item.chars) + 1] = {};
        memcpy(chars, item.chars, sizeof(item.chars));
        if (!NeedsQuotes(chars)) return kString_Add(text, chars);
        kCheck(kString_Add(text, "\""));
        for (const kChar* p = chars; *p != 0; ++p)
            kCheck(*p == '"' ? kString_Add(text, "\"\"") : kString_AddSubstring(text, p, 0, 1));
        return kString_Add(text, "\"");
    }
    else
    {
        // Large enough for any 64-bit integer and the shortest form of any double.
        kChar chars[40];
        if constexpr (std::is_floating_point_v<T>)
        {
            if (std::isnan(item)) return kString_Add(text, "nan");
        }
        std::to_chars_result r = std::to_chars(chars, chars + sizeof(chars) - 1, item);
        *r.ptr = 0;
        return kString_Add(text, chars);
    }
}

template <typename T>
kStatus Write(kArrayList list, kString text, kType type)
{
    kCheckArgs(kArrayList_ItemType(list) == type);
    kCheck(kString_Clear(text));
    const T* items = (const T*)kArrayList_Data(list);
    for (kSize i = 0; i < kArrayList_Count(list); ++i)
    {
        if (i > 0) kCheck(kString_Add(text, ","));
        kCheck(AddItem(text, items[i]));
    }
    return kOK;
}
} // namespace

kFx(kStatus) kL3dCsv_Read32s(kArrayList list, const kChar* text)
{
    return Read<k32s>(list, text, kTypeOf(k32s));
}
kFx(kStatus) kL3dCsv_Write32s(kArrayList list, kString text)
{
    return Write<k32s>(list, text, kTypeOf(k32s));
}
kFx(kStatus) kL3dCsv_Read32u(kArrayList list, const kChar* text)
{
    return Read<k32u>(list, text, kTypeOf(k32u));
}
kFx(kStatus) kL3dCsv_Write32u(kArrayList list, kString text)
{
    return Write<k32u>(list, text, kTypeOf(k32u));
}
kFx(kStatus) kL3dCsv_ReadSize(kArrayList list, const kChar* text)
{
    return Read<kSize>(list, text, kTypeOf(kSize));
}
kFx(kStatus) kL3dCsv_WriteSize(kArrayList list, kString text)
{
    return Write<kSize>(list, text, kTypeOf(kSize));
}
kFx(kStatus) kL3dCsv_Read64f(kArrayList list, const kChar* text)
{
    return Read<k64f>(list, text, kTypeOf(k64f));
}
kFx(kStatus) kL3dCsv_Write64f(kArrayList list, kString text)
{
    return Write<k64f>(list, text, kTypeOf(k64f));
}
kFx(kStatus) kL3dCsv_ReadText32(kArrayList list, const kChar* text)
{
    return Read<kText32>(list, text, kTypeOf(kText32));
}
kFx(kStatus) kL3dCsv_WriteText32(kArrayList list, kString text)
{
    return Write<kText32>(list, text, kTypeOf(kText32));
}
