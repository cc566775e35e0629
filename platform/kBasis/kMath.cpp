#include <kBasis/kMath.h>

#include <bit>
#include <cmath>

namespace
{
bool Matches(k64f item, kComparison comparison, k64f value)
{
    switch (comparison)
    {
    case kCOMPARISON_EQ:
        return item == value;
    case kCOMPARISON_NEQ:
        return item != value;
    case kCOMPARISON_LT:
        return item < value;
    case kCOMPARISON_LTE:
        return item <= value;
    case kCOMPARISON_GT:
        return item > value;
    default:
        return item >= value;
    }
}

template <typename T>
kStatus Fill(T* values, kSize count, T value)
{
    kCheckArgs(values || count == 0);
    for (kSize i = 0; i < count; ++i)
        values[i] = value;
    return kOK;
}

/* Searches forward (step +1 from 0) or backward (step -1 from count - 1). */
kStatus Find(const k64f* values, kSize count, kComparison comparison, k64f value, kSize* index,
             bool forward)
{
    kCheckArgs((values || count == 0) && index);
    kCheckArgs(comparison >= kCOMPARISON_EQ && comparison <= kCOMPARISON_GTE);
    *index = count;
    for (kSize n = 0; n < count; ++n)
    {
        kSize i = forward ? n : count - 1 - n;
        if (Matches(values[i], comparison, value))
        {
            *index = i;
            return kOK;
        }
    }
    return kSTATUS_NOT_FOUND;
}
} // namespace

kFx(kStatus) kMath_Set32s(k32s* values, kSize count, k32s value)
{
    return Fill(values, count, value);
}

kFx(kStatus) kMath_Set64f(k64f* values, kSize count, k64f value)
{
    return Fill(values, count, value);
}

kFx(kStatus) kMath_SubC64f(const k64f* source, k64f* destination, kSize count, k64f value)
{
    kCheckArgs((source && destination) || count == 0);
    for (kSize i = 0; i < count; ++i)
        destination[i] = source[i] - value;
    return kOK;
}

kFx(kStatus) kMath_FindFirst64f(const k64f* values, kSize count, kComparison comparison, k64f value,
                                kSize* index)
{
    return Find(values, count, comparison, value, index, true);
}

kFx(kStatus) kMath_FindLast64f(const k64f* values, kSize count, kComparison comparison, k64f value,
                               kSize* index)
{
    return Find(values, count, comparison, value, index, false);
}

kFx(kStatus) kMath_FindMax32s(const k32s* values, kSize count, kSize* index)
{
    kCheckArgs(values && count > 0 && index);
    kSize best = 0;
    for (kSize i = 1; i < count; ++i)
        if (values[i] > values[best]) best = i;
    *index = best;
    return kOK;
}

kFx(kStatus) kMath_Span64f(k64f* values, kSize count, k64f first, k64f last)
{
    kCheckArgs(values || count == 0);
    if (count == 0) return kOK;
    values[0] = first;
    if (count == 1) return kOK;

    /* Each item from its own index, not by accumulating a step, so that error does not grow. */
    k64f range = last - first;
    k64f intervals = (k64f)(count - 1);
    for (kSize i = 1; i + 1 < count; ++i)
        values[i] = first + range * (k64f)i / intervals;
    values[count - 1] = last;
    return kOK;
}

kFx(k64f) kMath_Round64f(k64f value) { return std::round(value); }

kFx(k32u) kMath_Log2Ceil32u(k32u value) { return value <= 1 ? 0 : (k32u)std::bit_width(value - 1); }
