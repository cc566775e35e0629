/**
 * @file    kL3dArrayUtils.cpp
 */
#include <kSolan/L3d/kL3dArrayUtils.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{
template <typename T>
struct Tag
{
    using Type = T;
};

// Null codes of the scalar item types; a point is null when its x is.
inline bool IsNull(k16s v) { return v == k16S_NULL; }
inline bool IsNull(k32s v) { return v == k32S_NULL; }
inline bool IsNull(k32u v) { return v == k32U_NULL; }
inline bool IsNull(k32f v) { return v == k32F_NULL; }
inline bool IsNull(k64f v) { return v == k64F_NULL; }
inline bool IsNull(k8u) { return false; }
inline bool IsNull(k16u) { return false; }
template <typename P>
inline auto IsNull(const P& p) -> decltype(IsNull(p.x))
{
    return IsNull(p.x);
}

// The only switches from a runtime item type to the kernels' template parameter.
template <typename Op>
kStatus WithNullableType(kType type, const Op& op)
{
    if (type == kTypeOf(k16s)) return op(Tag<k16s>());
    if (type == kTypeOf(k32s)) return op(Tag<k32s>());
    if (type == kTypeOf(k32u)) return op(Tag<k32u>());
    if (type == kTypeOf(k32f)) return op(Tag<k32f>());
    if (type == kTypeOf(k64f)) return op(Tag<k64f>());
    if (type == kTypeOf(kPoint16s)) return op(Tag<kPoint16s>());
    if (type == kTypeOf(kPoint32s)) return op(Tag<kPoint32s>());
    if (type == kTypeOf(kPoint32f)) return op(Tag<kPoint32f>());
    if (type == kTypeOf(kPoint64f)) return op(Tag<kPoint64f>());
    if (type == kTypeOf(kPoint3d16s)) return op(Tag<kPoint3d16s>());
    if (type == kTypeOf(kPoint3d32s)) return op(Tag<kPoint3d32s>());
    if (type == kTypeOf(kPoint3d32f)) return op(Tag<kPoint3d32f>());
    if (type == kTypeOf(kPoint3d64f)) return op(Tag<kPoint3d64f>());
    return kSTATUS_BAD_PARAMETER;
}

template <typename Op>
kStatus WithScalarType(kType type, const Op& op)
{
    if (type == kTypeOf(k8u)) return op(Tag<k8u>());
    if (type == kTypeOf(k16u)) return op(Tag<k16u>());
    if (type == kTypeOf(k16s)) return op(Tag<k16s>());
    if (type == kTypeOf(k32s)) return op(Tag<k32s>());
    if (type == kTypeOf(k32u)) return op(Tag<k32u>());
    if (type == kTypeOf(k32f)) return op(Tag<k32f>());
    if (type == kTypeOf(k64f)) return op(Tag<k64f>());
    return kSTATUS_BAD_PARAMETER;
}

template <typename Op>
kStatus WithRealType(kType type, const Op& op)
{
    if (type == kTypeOf(k32f)) return op(Tag<k32f>());
    if (type == kTypeOf(k64f)) return op(Tag<k64f>());
    return kSTATUS_BAD_PARAMETER;
}

// Swaps whole items end for end; items of any size, moved byte by byte.
void ReverseItems(void* data, kSize count, kSize itemSize)
{
    k8u* bytes = (k8u*)data;
    for (kSize i = 0, j = count; i + 1 < j; ++i, --j)
        std::swap_ranges(bytes + i * itemSize, bytes + (i + 1) * itemSize,
                         bytes + (j - 1) * itemSize);
}

// Walks a row-major matrix along one axis: lines are rows (step 1 between items, columns
// apart between lines) or columns (the reverse).
struct Lines
{
    kSize count;  // lines
    kSize length; // items per line
    kSize itemStep;
    kSize lineStep;

    static Lines Rows(kArray2 a)
    {
        const kSize rows = kArray2_Length(a, 0), columns = kArray2_Length(a, 1);
        return {rows, columns, 1, columns};
    }
    static Lines Columns(kArray2 a)
    {
        const kSize rows = kArray2_Length(a, 0), columns = kArray2_Length(a, 1);
        return {columns, rows, columns, 1};
    }
};

// Mean of the non-null items of one line, or the k64f null when there are none.
template <typename T>
k64f LineMean(const T* items, const Lines& lines, kSize line)
{
    k64f sum = 0.0;
    kSize n = 0;
    const T* p = items + line * lines.lineStep;
    for (kSize k = 0; k < lines.length; ++k, p += lines.itemStep)
    {
        if (IsNull(*p)) continue;
        sum += (k64f)*p;
        ++n;
    }
    return n > 0 ? sum / (k64f)n : k64F_NULL;
}

kStatus AverageLines(kArray1* averages, kArray2 source, const Lines& lines, kAlloc allocator)
{
    return WithScalarType(kArray2_ItemType(source),
                          [&](auto tag)
                          {
                              using T = typename decltype(tag)::Type;
                              kArray1 out = kNULL;
                              kCheck(
                                  kArray1_Construct(&out, kTypeOf(k64f), lines.count, allocator));
                              k64f* v = (k64f*)kArray1_Data(out);
                              for (kSize i = 0; i < lines.count; ++i)
                                  v[i] = LineMean((const T*)kArray2_Data(source), lines, i);
                              *averages = out;
                              return kOK;
                          });
}

kStatus SubtractLineMeans(kArray2 array, const Lines& lines)
{
    return WithRealType(kArray2_ItemType(array),
                        [&](auto tag)
                        {
                            using T = typename decltype(tag)::Type;
                            T* items = (T*)kArray2_Data(array);
                            for (kSize i = 0; i < lines.count; ++i)
                            {
                                const k64f mean = LineMean((const T*)items, lines, i);
                                if (mean == k64F_NULL) continue;
                                T* p = items + i * lines.lineStep;
                                for (kSize k = 0; k < lines.length; ++k, p += lines.itemStep)
                                {
                                    if (!IsNull(*p)) *p = (T)((k64f)*p - mean);
                                }
                            }
                            return kOK;
                        });
}

bool IsValueType(kType type) { return !kType_IsClass(type); }

// Intersection of the region with the image, as half-open column and row ranges.
struct Span
{
    kSize x0, x1, y0, y1;
};

Span Clip(kImage image, const kRect32s* region)
{
    const k64s w = (k64s)kImage_Width(image), h = (k64s)kImage_Height(image);
    const k64s x0 = std::clamp((k64s)region->x, (k64s)0, w);
    const k64s y0 = std::clamp((k64s)region->y, (k64s)0, h);
    const k64s x1 = std::clamp((k64s)region->x + std::max((k64s)region->width, (k64s)0), x0, w);
    const k64s y1 = std::clamp((k64s)region->y + std::max((k64s)region->height, (k64s)0), y0, h);
    return {(kSize)x0, (kSize)x1, (kSize)y0, (kSize)y1};
}

void FillSpan(kImage image, kSize y, kSize x0, kSize x1, const void* pixel)
{
    const kSize size = kImage_PixelSize(image);
    k8u* p = (k8u*)kImage_RowAt(image, y) + x0 * size;
    for (kSize x = x0; x < x1; ++x, p += size)
        memcpy(p, pixel, size);
}
} // namespace

kFx(kStatus) kL3dArray2_GenerateGrid(kArray2* grid, kSize rows, kSize columns, k64f xStart,
                                     k64f xStep, k64f yStart, k64f yStep, kAlloc allocator)
{
    kArray2 out = kNULL;
    kCheck(kArray2_Construct(&out, kTypeOf(kPoint64f), rows, columns, allocator));
    kPoint64f* p = (kPoint64f*)kArray2_Data(out);
    for (kSize i = 0; i < rows; ++i)
    {
        for (kSize j = 0; j < columns; ++j)
            *p++ = {xStart + (k64f)j * xStep, yStart + (k64f)i * yStep};
    }
    *grid = out;
    return kOK;
}

kFx(kStatus)
    kL3dArray1_GenerateSteps(kArray1* steps, k64f start, k64f step, kSize count, kAlloc allocator)
{
    kArray1 out = kNULL;
    kCheck(kArray1_Construct(&out, kTypeOf(k64f), count, allocator));
    k64f* v = (k64f*)kArray1_Data(out);
    for (kSize i = 0; i < count; ++i)
        v[i] = start + (k64f)i * step;
    *steps = out;
    return kOK;
}

kFx(kStatus) kL3dArray1_FilterNull(kArray1* result, kArray1 source, kAlloc allocator)
{
    return WithNullableType(
        kArray1_ItemType(source),
        [&](auto tag)
        {
            using T = typename decltype(tag)::Type;
            const T* in = (const T*)kArray1_Data(source);
            const kSize n = kArray1_Length(source);
            const kSize kept =
                (kSize)std::count_if(in, in + n, [](const T& v) { return !IsNull(v); });
            kArray1 out = kNULL;
            kCheck(kArray1_Construct(&out, kArray1_ItemType(source), kept, allocator));
            std::copy_if(in, in + n, (T*)kArray1_Data(out), [](const T& v) { return !IsNull(v); });
            *result = out;
            return kOK;
        });
}

kFx(kStatus) kL3dArrayList_Reverse(kArrayList list)
{
    ReverseItems(kArrayList_Data(list), kArrayList_Count(list), kArrayList_ItemSize(list));
    return kOK;
}

kFx(kStatus) kL3dArray1_Reverse(kArray1 array)
{
    ReverseItems(kArray1_Data(array), kArray1_Length(array), kArray1_ItemSize(array));
    return kOK;
}

kFx(kStatus) kL3dArray2_AverageColumns(kArray1* averages, kArray2 source, kAlloc allocator)
{
    return AverageLines(averages, source, Lines::Columns(source), allocator);
}

kFx(kStatus) kL3dArray2_AverageRows(kArray1* averages, kArray2 source, kAlloc allocator)
{
    return AverageLines(averages, source, Lines::Rows(source), allocator);
}

kFx(kStatus) kL3dArray2_SubRowAverage(kArray2 array)
{
    return SubtractLineMeans(array, Lines::Rows(array));
}

kFx(kStatus) kL3dArray2_SubColumnAverage(kArray2 array)
{
    return SubtractLineMeans(array, Lines::Columns(array));
}

kFx(kStatus) kL3dArray2_ReverseRows(kArray2 array)
{
    const kSize rowSize = kArray2_Length(array, 1) * kArray2_ItemSize(array);
    ReverseItems(kArray2_Data(array), kArray2_Length(array, 0), rowSize);
    return kOK;
}

kFx(kStatus) kL3dArray2_Transpose(kArray2* result, kArray2 source, kAlloc allocator)
{
    const kType type = kArray2_ItemType(source);
    kCheckArgs(IsValueType(type));
    const kSize rows = kArray2_Length(source, 0), columns = kArray2_Length(source, 1);
    const kSize size = kArray2_ItemSize(source);

    kArray2 out = kNULL;
    kCheck(kArray2_Construct(&out, type, columns, rows, allocator));
    const k8u* in = (const k8u*)kArray2_Data(source);
    k8u* o = (k8u*)kArray2_Data(out);
    for (kSize i = 0; i < rows; ++i)
    {
        for (kSize j = 0; j < columns; ++j)
            memcpy(o + (j * rows + i) * size, in + (i * columns + j) * size, size);
    }
    *result = out;
    return kOK;
}

kFx(kStatus) kL3dArray2_SliceColumn(kArray1* column, kArray2 source, kSize index, kAlloc allocator)
{
    const kType type = kArray2_ItemType(source);
    const kSize rows = kArray2_Length(source, 0), columns = kArray2_Length(source, 1);
    kCheckArgs(IsValueType(type) && index < columns);
    const kSize size = kArray2_ItemSize(source);

    kArray1 out = kNULL;
    kCheck(kArray1_Construct(&out, type, rows, allocator));
    const k8u* in = (const k8u*)kArray2_Data(source) + index * size;
    k8u* o = (k8u*)kArray1_Data(out);
    for (kSize i = 0; i < rows; ++i)
        memcpy(o + i * size, in + i * columns * size, size);
    *column = out;
    return kOK;
}

kFx(kStatus) kL3dImage_Pack(kImage* result, kImage source, kAlloc allocator)
{
    const kSize width = kImage_Width(source), height = kImage_Height(source);
    const kSize rowSize = width * kImage_PixelSize(source);

    kImage out = kNULL;
    kCheck(kImage_Construct(&out, kImage_PixelType(source), width, height, allocator));
    kStatus status = kImage_SetPixelFormat(out, kImage_PixelFormat(source));
    if (!kSuccess(status))
    {
        kObject_Destroy(out);
        return status;
    }
    for (kSize y = 0; y < height && rowSize > 0; ++y)
        memcpy(kImage_RowAt(out, y), kImage_RowAt(source, y), rowSize);
    *result = out;
    return kOK;
}

kFx(kStatus) kL3dImage_FillInner(kImage image, const kRect32s* region, const void* pixel)
{
    kCheckArgs(region && pixel);
    const Span s = Clip(image, region);
    for (kSize y = s.y0; y < s.y1; ++y)
        FillSpan(image, y, s.x0, s.x1, pixel);
    return kOK;
}

kFx(kStatus) kL3dImage_FillOuter(kImage image, const kRect32s* region, const void* pixel)
{
    kCheckArgs(region && pixel);
    const Span s = Clip(image, region);
    const kSize width = kImage_Width(image);
    const bool empty = s.x0 == s.x1 || s.y0 == s.y1;
    for (kSize y = 0; y < kImage_Height(image); ++y)
    {
        if (empty || y < s.y0 || y >= s.y1)
        {
            FillSpan(image, y, 0, width, pixel);
        }
        else
        {
            FillSpan(image, y, 0, s.x0, pixel);
            FillSpan(image, y, s.x1, width, pixel);
        }
    }
    return kOK;
}
