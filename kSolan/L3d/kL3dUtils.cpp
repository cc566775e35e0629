/**
 * @file    kL3dUtils.cpp
 */
#include <kSolan/L3d/kL3dUtils.h>

#include <cmath>

namespace
{
// Channels of a 16-bit value or point, for the clipping kernel.
template <typename T>
struct Channels;

template <>
struct Channels<k16s>
{
    static constexpr int count = 1;
    static k16s* Of(k16s& v) { return &v; }
};

template <>
struct Channels<kPoint16s>
{
    static constexpr int count = 2;
    static k16s* Of(kPoint16s& p) { return &p.x; }
};

template <>
struct Channels<kPoint3d16s>
{
    static constexpr int count = 3;
    static k16s* Of(kPoint3d16s& p) { return &p.x; }
};

// ranges holds min, max per channel. The null code (-32768) lies below every range the type
// can express except one starting at -32768 itself, so nulls are tested explicitly.
template <typename T>
void Clip(T* items, kSize count, const k16s (&ranges)[2 * Channels<T>::count])
{
    for (kSize i = 0; i < count; ++i)
    {
        k16s* c = Channels<T>::Of(items[i]);
        bool outside = false;
        for (int k = 0; k < Channels<T>::count; ++k)
        {
            outside =
                outside || c[k] == k16S_NULL || c[k] < ranges[2 * k] || c[k] > ranges[2 * k + 1];
        }
        if (outside)
        {
            for (int k = 0; k < Channels<T>::count; ++k)
                c[k] = k16S_NULL;
        }
    }
}
} // namespace

kFx(const kChar*) kL3dAxisToString(kL3dAxis axis)
{
    switch (axis)
    {
    case kL3D_AXIS_X:
        return "X";
    case kL3D_AXIS_Y:
        return "Y";
    case kL3D_AXIS_Z:
        return "Z";
    default:
        return "Unknown";
    }
}

kFx(k32s) kL3dLog2i(k64u value)
{
    if (value == 0) return 0;
    return (k32s)kMath_Round64f(std::log((k64f)value) / std::log(2.0));
}

kFx(k64f) kL3dPower64fi(k32s exponent, k64f base)
{
    k64f result = 1.0;
    for (k32s i = 0; i < exponent; ++i)
        result *= base;
    for (k32s i = 0; i > exponent; --i)
        result /= base;
    return result;
}

kFx(k64f) kL3dBilinearInterp64f(k64f v00, k64f v10, k64f v01, k64f v11, k64f fx, k64f fy)
{
    if (v00 == k64F_NULL || v10 == k64F_NULL || v01 == k64F_NULL || v11 == k64F_NULL)
        return k64F_NULL;
    const k64f a = v00 + (v10 - v00) * fx;
    const k64f b = v01 + (v11 - v01) * fx;
    return a + (b - a) * fy;
}

kFx(k64f) kL3dTrilinearInterp64f(const k64f corners[8], k64f fx, k64f fy, k64f fz)
{
    const k64f a = kL3dBilinearInterp64f(corners[0], corners[1], corners[2], corners[3], fx, fy);
    const k64f b = kL3dBilinearInterp64f(corners[4], corners[5], corners[6], corners[7], fx, fy);
    if (a == k64F_NULL || b == k64F_NULL) return k64F_NULL;
    return a + (b - a) * fz;
}

kFx(kStatus) kL3dValues64f_FindStepLocation(const k64f* values, kSize count, k64f value,
                                            kSize* index, k64f* fraction)
{
    kCheckArgs(count >= 2);
    if (!(value >= values[0] && value <= values[count - 1])) return kSTATUS_NOT_FOUND;

    kSize lo = 0, hi = count - 1;
    while (hi - lo > 1)
    {
        const kSize mid = lo + (hi - lo) / 2;
        if (values[mid] <= value)
            lo = mid;
        else
            hi = mid;
    }
    const k64f span = values[hi] - values[lo];
    *index = lo;
    *fraction = span > 0.0 ? (value - values[lo]) / span : 0.0;
    return kOK;
}

kFx(kStatus) kL3dPoints64f_FindBounds(const kPoint64f* points, kSize count, kRect64f* bounds)
{
    k64f xMin = 0, xMax = 0, yMin = 0, yMax = 0;
    bool any = false;
    for (kSize i = 0; i < count; ++i)
    {
        const kPoint64f p = points[i];
        if (p.x == k64F_NULL) continue;
        xMin = any ? std::fmin(xMin, p.x) : p.x;
        xMax = any ? std::fmax(xMax, p.x) : p.x;
        yMin = any ? std::fmin(yMin, p.y) : p.y;
        yMax = any ? std::fmax(yMax, p.y) : p.y;
        any = true;
    }
    if (!any) return kSTATUS_NOT_FOUND;
    *bounds = {xMin, yMin, xMax - xMin, yMax - yMin};
    return kOK;
}

kFx(kStatus) kL3dValues16s_Clip(k16s* values, kSize count, k16s min, k16s max)
{
    Clip(values, count, {min, max});
    return kOK;
}

kFx(kStatus)
    kL3dPoints16s_Clip(kPoint16s* points, kSize count, k16s xMin, k16s xMax, k16s zMin, k16s zMax)
{
    Clip(points, count, {xMin, xMax, zMin, zMax});
    return kOK;
}

kFx(kStatus) kL3dPoints3d16s_Clip(kPoint3d16s* points, kSize count, k16s xMin, k16s xMax, k16s yMin,
                                  k16s yMax, k16s zMin, k16s zMax)
{
    Clip(points, count, {xMin, xMax, yMin, yMax, zMin, zMax});
    return kOK;
}
