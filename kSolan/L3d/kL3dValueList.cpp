/**
 * @file    kL3dValueList.cpp
 */
#include <kSolan/L3d/kL3dValueList.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace
{
bool IsValueList(kArrayList list) { return kArrayList_ItemSize(list) == sizeof(k32s); }

k32s* Values(kArrayList list) { return (k32s*)kArrayList_Data(list); }

kStatus ParseValues(kArrayList list, const kChar* text)
{
    const kChar* p = text;
    while (*p != 0)
    {
        if (*p == ',' || *p == ' ' || *p == '\t' || *p == '\r' || *p == '\n')
        {
            ++p;
            continue;
        }
        kChar* end = kNULL;
        errno = 0;
        const long long v = strtoll(p, &end, 10);
        if (end == p || errno == ERANGE || v < INT32_MIN || v > INT32_MAX)
            return kSTATUS_BAD_FORMAT;
        const k32s value = (k32s)v;
        kCheck(kArrayList_Add(list, &value));
        p = end;
    }
    return kOK;
}
} // namespace

kFx(kStatus) kL3dValueList_Read(kArrayList list, kXml xml, kXmlItem item)
{
    kCheckArgs(IsValueList(list));
    kString text = kNULL;
    kCheck(kString_Construct(&text, "", kNULL));
    kStatus status = kArrayList_Clear(list);
    if (kSuccess(status)) status = kXml_ItemString(xml, item, text);
    if (kSuccess(status)) status = ParseValues(list, kString_Chars(text));
    if (!kSuccess(status)) kArrayList_Clear(list);
    kObject_Destroy(text);
    return status;
}

kFx(kStatus) kL3dValueList_Write(kArrayList list, kXml xml, kXmlItem item)
{
    kCheckArgs(IsValueList(list));
    kString text = kNULL;
    kCheck(kString_Construct(&text, "", kNULL));
    kStatus status = kOK;
    for (kSize i = 0; i < kArrayList_Count(list) && kSuccess(status); ++i)
    {
        status = kString_Addf(text, i == 0 ? "%d" : ",%d", Values(list)[i]);
    }
    if (kSuccess(status)) status = kXml_SetItemText(xml, item, kString_Chars(text));
    kObject_Destroy(text);
    return status;
}

kFx(kStatus) kL3dValueList_Append(kArrayList list, kArrayList other)
{
    kCheckArgs(IsValueList(list) && IsValueList(other));
    const kSize n = kArrayList_Count(other);
    kCheck(kArrayList_Reserve(list, kArrayList_Count(list) + n));
    for (kSize i = 0; i < n; ++i)
        kCheck(kArrayList_Add(list, &Values(other)[i]));
    return kOK;
}

kFx(kStatus) kL3dValueList_FilterUnique(kArrayList list)
{
    kCheckArgs(IsValueList(list));
    k32s* v = Values(list);
    kSize kept = 0;
    for (kSize i = 0; i < kArrayList_Count(list); ++i)
    {
        if (std::find(v, v + kept, v[i]) == v + kept) v[kept++] = v[i];
    }
    return kArrayList_Resize(list, kept);
}

kFx(kStatus) kL3dValueList_Sort(kArrayList list)
{
    kCheckArgs(IsValueList(list));
    std::sort(Values(list), Values(list) + kArrayList_Count(list));
    return kOK;
}

kFx(kStatus) kL3dValueList_Reverse(kArrayList list)
{
    kCheckArgs(IsValueList(list));
    std::reverse(Values(list), Values(list) + kArrayList_Count(list));
    return kOK;
}

kFx(k32s) kL3dValueList_Find(kArrayList list, k32s value)
{
    if (!IsValueList(list)) return -1;
    const k32s* v = Values(list);
    const kSize n = kArrayList_Count(list);
    const k32s* at = std::find(v, v + n, value);
    return at == v + n ? -1 : (k32s)(at - v);
}

kFx(kStatus) kL3dValueList_Union(kArrayList a, kArrayList b, kArrayList result)
{
    kCheckArgs(IsValueList(a) && IsValueList(b) && IsValueList(result));
    kCheckArgs(result != a && result != b);
    kCheck(kArrayList_Clear(result));
    kCheck(kL3dValueList_Append(result, a));
    kCheck(kL3dValueList_Append(result, b));
    return kL3dValueList_FilterUnique(result);
}

kFx(kStatus) kL3dValueList_Intersection(kArrayList a, kArrayList b, kArrayList result)
{
    kCheckArgs(IsValueList(a) && IsValueList(b) && IsValueList(result));
    kCheckArgs(result != a && result != b);
    kCheck(kArrayList_Clear(result));
    for (kSize i = 0; i < kArrayList_Count(a); ++i)
    {
        const k32s v = Values(a)[i];
        if (kL3dValueList_Find(b, v) >= 0 && kL3dValueList_Find(result, v) < 0)
            kCheck(kArrayList_Add(result, &v));
    }
    return kOK;
}
