/**
 * @file    kppPoint3d.h
 * @brief   kpp::Point3d and kpp::Point2d: points with the layout of the platform point structs.
 *
 * `Point3d<Base, T, Wide>` stores x, y, z of type T exactly as the platform struct Base does,
 * so arrays of points are arrays of Base and their item type is Base's registered type. Wide
 * (`OverflowType`) holds sums and products: int for the 16-bit points, the component type for
 * the floating ones. Integer arithmetic in Wide wraps (two's complement) instead of
 * overflowing, so a full-scale 16-bit point squares to a wrapped SqrAbs, not to undefined
 * behaviour; Abs() of such a point is still right.
 *
 * The null point has every component at Base's null seen as T: the platform's 64- and 32-bit
 * real nulls, -32768 for short. The unsigned view of a kPoint3d16s uses 32768, the same bit
 * pattern, so that nulls of a 16-bit map stay nulls through either view. IsNull() tests x.
 */
#ifndef KPP_POINT3D_H
#define KPP_POINT3D_H

#include <kSolan/kpp/Common/kppApiDef.h>

#include <type_traits>

namespace kpp
{
namespace PointDetail
{
/** Integer arithmetic of Wide done in its unsigned counterpart: wraps instead of overflowing. */
template <typename Wide>
inline Wide Add(Wide a, Wide b)
{
    if constexpr (std::is_integral_v<Wide>)
        return (Wide)((std::make_unsigned_t<Wide>)a + (std::make_unsigned_t<Wide>)b);
    else
        return a + b;
}
template <typename Wide>
inline Wide Sub(Wide a, Wide b)
{
    if constexpr (std::is_integral_v<Wide>)
        return (Wide)((std::make_unsigned_t<Wide>)a - (std::make_unsigned_t<Wide>)b);
    else
        return a - b;
}
template <typename Wide>
inline Wide Mul(Wide a, Wide b)
{
    if constexpr (std::is_integral_v<Wide>)
        return (Wide)((std::make_unsigned_t<Wide>)a * (std::make_unsigned_t<Wide>)b);
    else
        return a * b;
}

/** Registered type of a platform point struct (kTypeOf needs the name itself). */
template <typename Base>
struct TypeOf;
#define KPP_POINT_TYPE(B)                                                                          \
    template <>                                                                                    \
    struct TypeOf<B>                                                                               \
    {                                                                                              \
        static kType Get() { return kTypeOf(B); }                                                  \
    }
KPP_POINT_TYPE(kPoint3d64f);
KPP_POINT_TYPE(kPoint3d32f);
KPP_POINT_TYPE(kPoint3d16s);
KPP_POINT_TYPE(kPoint64f);
#undef KPP_POINT_TYPE

/**
 * Component conversion between point types. Real to integer truncates toward zero and keeps
 * the low bits of the integer type (exact through fmod, so huge values and the real nulls
 * give 0 rather than undefined behaviour; NaN and infinities give 0). Everything else is the
 * ordinary conversion (double to float rounds; integer to integer keeps the low bits).
 */
template <typename To, typename From>
inline To Convert(From v)
{
    if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>)
    {
        static_assert(sizeof(To) <= 4, "integer point components are at most 32 bits");
        if (!std::isfinite(v)) return To(0);
        const double low = std::fmod(std::trunc((double)v), 4294967296.0);
        return (To)(k64s)low;
    }
    else
        return (To)v;
}
} // namespace PointDetail

template <typename Base, typename T, typename Wide>
struct Point3d
{
    using Component = T;
    using OverflowType = Wide;

    T x{}, y{}, z{};

    Point3d() = default;
    Point3d(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {}

    /** Base's null component as T (see the file comment). */
    static T NullComponent() { return (T)NullOf<decltype(Base::x)>::Get(); }
    static Point3d Null() { return Point3d(NullComponent(), NullComponent(), NullComponent()); }
    bool IsNull() const { return x == NullComponent(); }

    /** All components at T's lowest value (for signed T, equal to the null point). */
    static Point3d Min()
    {
        const T v = std::numeric_limits<T>::lowest();
        return Point3d(v, v, v);
    }
    static Point3d Max()
    {
        const T v = std::numeric_limits<T>::max();
        return Point3d(v, v, v);
    }

    /** Component 0, 1 or 2; i must be below 3 (z is returned after the assertion). */
    T& operator[](kSize i)
    {
        kAssert(i < 3);
        return i == 0 ? x : i == 1 ? y : z;
    }
    const T& operator[](kSize i) const { return const_cast<Point3d&>(*this)[i]; }

    Point3d& operator+=(const Point3d& p)
    {
        x = (T)PointDetail::Add<Wide>(x, p.x);
        y = (T)PointDetail::Add<Wide>(y, p.y);
        z = (T)PointDetail::Add<Wide>(z, p.z);
        return *this;
    }
    Point3d operator-(const Point3d& p) const
    {
        return Point3d((T)PointDetail::Sub<Wide>(x, p.x), (T)PointDetail::Sub<Wide>(y, p.y),
                       (T)PointDetail::Sub<Wide>(z, p.z));
    }
    Point3d operator-() const { return Point3d() - *this; }
    /** Each component times s in Wide, narrowed to T. */
    Point3d operator*(Wide s) const
    {
        return Point3d((T)PointDetail::Mul<Wide>(x, s), (T)PointDetail::Mul<Wide>(y, s),
                       (T)PointDetail::Mul<Wide>(z, s));
    }
    /** Each component divided by s in Wide (s must not be 0 for integer points). */
    Point3d operator/(Wide s) const
    {
        return Point3d((T)((Wide)x / s), (T)((Wide)y / s), (T)((Wide)z / s));
    }

    /** x² + y² + z² in Wide. */
    Wide SqrAbs() const
    {
        using namespace PointDetail;
        return Add<Wide>(Add<Wide>(Mul<Wide>(x, x), Mul<Wide>(y, y)), Mul<Wide>(z, z));
    }
    /** √SqrAbs(); integer points take the root of the unwrapped sum and truncate it. */
    Wide Abs() const
    {
        if constexpr (std::is_integral_v<Wide>)
            return (Wide)std::sqrt((double)(std::make_unsigned_t<Wide>)SqrAbs());
        else
            return Math::Sqrt(SqrAbs());
    }
    /** The point divided by Abs(); the null point when Abs() ≤ 0 (the zero vector). */
    Point3d Unit() const
    {
        const Wide length = Abs();
        return length > Wide(0) ? *this / length : Null();
    }

    /** Component-wise maximum with p (upper corner of a bounding box). */
    Point3d& ExtendUp(const Point3d& p)
    {
        x = Math::Max(x, p.x), y = Math::Max(y, p.y), z = Math::Max(z, p.z);
        return *this;
    }
    /** Component-wise minimum with p (lower corner of a bounding box). */
    Point3d& ExtendDown(const Point3d& p)
    {
        x = Math::Min(x, p.x), y = Math::Min(y, p.y), z = Math::Min(z, p.z);
        return *this;
    }

    /** Component-wise conversion from another point type (PointDetail::Convert). */
    template <typename Other>
    static Point3d Cast(const Other& p)
    {
        using PointDetail::Convert;
        return Point3d(Convert<T>(p.x), Convert<T>(p.y), Convert<T>(p.z));
    }

    static kType Type() { return PointDetail::TypeOf<Base>::Get(); }
};

template <typename Base, typename T, typename Wide>
struct Point2d
{
    using Component = T;
    using OverflowType = Wide;

    T x{}, y{};

    Point2d() = default;
    Point2d(T x_, T y_) : x(x_), y(y_) {}

    static Point2d Null()
    {
        const T v = (T)NullOf<decltype(Base::x)>::Get();
        return Point2d(v, v);
    }
    bool IsNull() const { return x == Null().x; }
    static Point2d Min()
    {
        const T v = std::numeric_limits<T>::lowest();
        return Point2d(v, v);
    }
    static Point2d Max()
    {
        const T v = std::numeric_limits<T>::max();
        return Point2d(v, v);
    }
    Point2d& ExtendUp(const Point2d& p)
    {
        x = Math::Max(x, p.x), y = Math::Max(y, p.y);
        return *this;
    }
    Point2d& ExtendDown(const Point2d& p)
    {
        x = Math::Min(x, p.x), y = Math::Min(y, p.y);
        return *this;
    }
    static kType Type() { return PointDetail::TypeOf<Base>::Get(); }
};

using Point3d64f = Point3d<kPoint3d64f, double, double>;
using Point3d32f = Point3d<kPoint3d32f, float, float>;
using Point3d16s = Point3d<kPoint3d16s, short, int>;
using Point3d16u = Point3d<kPoint3d16s, unsigned short, unsigned int>;
using Point2d64f = Point2d<kPoint64f, double, double>;

static_assert(sizeof(Point3d64f) == sizeof(kPoint3d64f) &&
              sizeof(Point3d32f) == sizeof(kPoint3d32f));
static_assert(sizeof(Point3d16s) == sizeof(kPoint3d16s) &&
              sizeof(Point3d16u) == sizeof(kPoint3d16s));
static_assert(sizeof(Point2d64f) == sizeof(kPoint64f));
static_assert(std::is_trivially_copyable_v<Point3d16s> && std::is_standard_layout_v<Point3d16s>);
} // namespace kpp

#endif
