/**
 * @file    kppApiDef.h
 * @brief   Foundations of the class data layer: element type traits, null values and kpp::Math.
 *
 * The data layer wraps platform handles in C++ classes. Every element type a wrapper can hold
 * maps to one registered platform item type (`ItemTypeOf<T>::Get()`) and to one null value
 * (`NullOf<T>()`), so that containers of any element type are one template.
 */
#ifndef KPP_API_DEF_H
#define KPP_API_DEF_H

#include <kSolan/kSolanDef.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace kpp
{
/**
 * Registered platform item type of element type T. Class-like elements (points, holders,
 * colours) name their own type through a static `Type()`; scalars and pointers are listed.
 */
template <typename T>
struct ItemTypeOf
{
    static kType Get() { return T::Type(); }
};
template <typename T>
struct ItemTypeOf<T*>
{
    static kType Get() { return kTypeOf(kPointer); }
};
#define KPP_ITEM_TYPE(T, K)                                                                        \
    template <>                                                                                    \
    struct ItemTypeOf<T>                                                                           \
    {                                                                                              \
        static kType Get() { return kTypeOf(K); }                                                  \
    }
KPP_ITEM_TYPE(double, k64f);
KPP_ITEM_TYPE(float, k32f);
KPP_ITEM_TYPE(unsigned char, k8u);
KPP_ITEM_TYPE(unsigned short, k16u);
KPP_ITEM_TYPE(short, k16s);
KPP_ITEM_TYPE(int, k32s);
KPP_ITEM_TYPE(unsigned int, k32u);
KPP_ITEM_TYPE(unsigned long long, k64u);
KPP_ITEM_TYPE(kRgb, kRgb);
#undef KPP_ITEM_TYPE

/**
 * Null value of element type T: the platform's nulls for 16- and 32-bit integers and for the
 * floating types; class-like elements give their own `Null()`. Types the platform has no null
 * for (8-, 16- and 64-bit unsigned, colours, records, pointers) use the zero value.
 */
template <typename T>
struct NullOf
{
    static T Get()
    {
        if constexpr (requires { T::Null(); })
            return T::Null();
        else
            return T{};
    }
};
template <>
struct NullOf<double>
{
    static double Get() { return k64F_NULL; }
};
template <>
struct NullOf<float>
{
    static float Get() { return k32F_NULL; }
};
template <>
struct NullOf<short>
{
    static short Get() { return k16S_NULL; }
};
template <>
struct NullOf<int>
{
    static int Get() { return k32S_NULL; }
};
template <>
struct NullOf<unsigned int>
{
    static unsigned int Get() { return k32U_NULL; }
};

/** Small numeric helpers over the element types of the layer. */
namespace Math
{
template <typename T>
inline T Min(T a, T b)
{
    return b < a ? b : a;
}
template <typename T>
inline T Max(T a, T b)
{
    return a < b ? b : a;
}
template <typename T>
inline T Clamp(T v, T low, T high)
{
    return Min(Max(v, low), high);
}
template <typename T>
inline T Abs(T v)
{
    return v < T(0) ? -v : v;
}
template <typename T>
inline T Sqr(T v)
{
    return v * v;
}
template <typename T>
inline T Sqrt(T v)
{
    return (T)std::sqrt(v);
}
template <typename T>
inline T Sin(T v)
{
    return (T)std::sin(v);
}
template <typename T>
inline T Asin(T v)
{
    return (T)std::asin(v);
}
template <typename T>
inline T Acos(T v)
{
    return (T)std::acos(v);
}
template <typename T>
inline T RadToDeg(T radians)
{
    return (T)(radians * (180.0 / 3.14159265358979323846));
}

/**
 * v + 0.5 truncated to an unsigned 64-bit value (negative results become 0), then narrowed
 * to To. Narrowing keeps the low bits, deliberately: 255.6 rounds to 256 and then to 0 as an
 * unsigned char.
 */
template <typename From, typename To>
inline To Round(From v)
{
    const double shifted = (double)v + 0.5;
    const k64u wide = shifted > 0.0 ? (k64u)shifted : 0;
    return (To)wide;
}

/** rand() scaled by 1 / 2147483647 (0 … 1 where RAND_MAX is 2^31 − 1). */
inline double Random() { return rand() / 2147483647.0; }

/** begin + truncation(Random() × (count − 1)); count must not be 0. */
template <typename T>
inline T Random(T begin, T count)
{
    kAssert(count != 0);
    return (T)(begin + (T)(Random() * (double)(count - 1)));
}
} // namespace Math
} // namespace kpp

#endif
