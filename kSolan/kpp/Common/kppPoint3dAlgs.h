/**
 * @file    kppPoint3dAlgs.h
 * @brief   kpp::Point3dAlgs: dot and cross products, angles and bounding boxes of points.
 */
#ifndef KPP_POINT3D_ALGS_H
#define KPP_POINT3D_ALGS_H

#include <kSolan/kpp/Common/kppPoint3d.h>

#include <vector>

namespace kpp::Point3dAlgs
{
/** a · b in the points' Wide type (wrapping for integer points). */
template <typename B, typename T, typename W>
inline W Dot(const Point3d<B, T, W>& a, const Point3d<B, T, W>& b)
{
    using namespace PointDetail;
    return Add<W>(Add<W>(Mul<W>(a.x, b.x), Mul<W>(a.y, b.y)), Mul<W>(a.z, b.z));
}

/** a × b into result (which may be a or b), each component formed in W and narrowed to T. */
template <typename B, typename T, typename W>
inline void Cross(const Point3d<B, T, W>& a, const Point3d<B, T, W>& b, Point3d<B, T, W>& result)
{
    using namespace PointDetail;
    const T x = (T)Sub<W>(Mul<W>(a.y, b.z), Mul<W>(a.z, b.y));
    const T y = (T)Sub<W>(Mul<W>(a.z, b.x), Mul<W>(a.x, b.z));
    const T z = (T)Sub<W>(Mul<W>(a.x, b.y), Mul<W>(a.y, b.x));
    result = Point3d<B, T, W>(x, y, z);
}

template <typename B, typename T, typename W>
inline Point3d<B, T, W> Cross(const Point3d<B, T, W>& a, const Point3d<B, T, W>& b)
{
    Point3d<B, T, W> result;
    Cross(a, b, result);
    return result;
}

/**
 * Angle between a and b in degrees: RadToDeg(acos(Dot / (Abs(a)·Abs(b)))), in W for the
 * floating points and in double for the integer ones. The quotient is not clamped, so nearly
 * parallel vectors can round just past ±1 and give NaN, as can a zero vector.
 */
template <typename B, typename T, typename W>
inline auto Angle(const Point3d<B, T, W>& a, const Point3d<B, T, W>& b)
{
    using Real = std::conditional_t<std::is_floating_point_v<W>, W, double>;
    const Real cosine = (Real)Dot(a, b) / ((Real)a.Abs() * (Real)b.Abs());
    return Math::RadToDeg(Math::Acos(cosine));
}

/**
 * Smallest and largest coordinates of points. Null points take part like any other; with no
 * points, min is P::Max() and max is P::Min() (an empty box, min above max).
 */
template <typename P>
inline void CalculateBoundingBox(const std::vector<P>& points, P* min, P* max)
{
    P low = P::Max(), high = P::Min();
    for (const P& p : points)
    {
        low.ExtendDown(p);
        high.ExtendUp(p);
    }
    *min = low;
    *max = high;
}
} // namespace kpp::Point3dAlgs

#endif
