// Points of the data layer against direct arithmetic, their nulls, conversions and the
// containers that hold them.
#include <kSolan/kpp/Common/kppPoint3dAlgs.h>
#include <kSolan/kpp/Data/kppArray1.h>
#include <kSolan/kpp/Data/kppArray2.h>
#include <kSolan/kpp/Data/kppArrayList.h>

#include <kTestSupport.h>
#include "kppTestAssembly.h"

#include <cmath>
#include <random>

namespace
{
using kpp::Point2d64f;
using kpp::Point3d16s;
using kpp::Point3d16u;
using kpp::Point3d32f;
using kpp::Point3d64f;
namespace Algs = kpp::Point3dAlgs;

template <typename P>
void ExpectPoint(const P& p, double x, double y, double z)
{
    EXPECT_EQ((double)p.x, x);
    EXPECT_EQ((double)p.y, y);
    EXPECT_EQ((double)p.z, z);
}

TEST(KppPoint, NullsTypesAndLimits)
{
    ExpectPoint(Point3d64f::Null(), k64F_NULL, k64F_NULL, k64F_NULL);
    ExpectPoint(Point3d32f::Null(), k32F_NULL, k32F_NULL, k32F_NULL);
    ExpectPoint(Point3d16s::Null(), -32768, -32768, -32768);
    // The unsigned view of a kPoint3d16s keeps the bit pattern of the 16-bit null.
    ExpectPoint(Point3d16u::Null(), 32768, 32768, 32768);
    EXPECT_EQ(Point2d64f::Null().y, k64F_NULL);

    // IsNull looks at x only.
    EXPECT_TRUE(Point3d16s(-32768, 5, 6).IsNull());
    EXPECT_FALSE(Point3d16s(0, -32768, -32768).IsNull());
    EXPECT_FALSE(Point3d64f(0, 0, 0).IsNull());
    EXPECT_TRUE(Point2d64f(k64F_NULL, 1).IsNull());

    EXPECT_EQ(Point3d64f::Type(), kTypeOf(kPoint3d64f));
    EXPECT_EQ(Point3d32f::Type(), kTypeOf(kPoint3d32f));
    EXPECT_EQ(Point3d16s::Type(), kTypeOf(kPoint3d16s));
    EXPECT_EQ(Point3d16u::Type(), kTypeOf(kPoint3d16s));
    EXPECT_EQ(Point2d64f::Type(), kTypeOf(kPoint64f));

    ExpectPoint(Point3d16s::Min(), -32768, -32768, -32768);
    ExpectPoint(Point3d16s::Max(), 32767, 32767, 32767);
    ExpectPoint(Point3d16u::Min(), 0, 0, 0);
    ExpectPoint(Point3d16u::Max(), 65535, 65535, 65535);
    EXPECT_EQ(Point3d32f::Min().x, -std::numeric_limits<float>::max());
    EXPECT_EQ(Point3d64f::Max().z, std::numeric_limits<double>::max());
}

TEST(KppPoint, IndexAssertsPastZ)
{
    Point3d32f p(1.5f, 2.5f, 3.5f);
    EXPECT_EQ(p[0], 1.5f);
    EXPECT_EQ(p[1], 2.5f);
    EXPECT_EQ(p[2], 3.5f);
    p[1] = 7.0f;
    EXPECT_EQ(p.y, 7.0f);

    ktest::AssertCapture asserts;
    const Point3d32f& c = p;
    EXPECT_EQ(c[3], 3.5f); // asserted, then z rather than a read past the point
    EXPECT_EQ(asserts.Count(), 1);
}

TEST(KppPoint, ArithmeticMatchesDirectComputation)
{
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> u(-100.0, 100.0);
    for (int trial = 0; trial < 50; ++trial)
    {
        const double ax = u(rng), ay = u(rng), az = u(rng);
        const double bx = u(rng), by = u(rng), bz = u(rng);
        const double s = u(rng);
        const Point3d64f a(ax, ay, az), b(bx, by, bz);

        Point3d64f sum = a;
        sum += b;
        ExpectPoint(sum, ax + bx, ay + by, az + bz);
        ExpectPoint(a - b, ax - bx, ay - by, az - bz);
        ExpectPoint(-a, -ax, -ay, -az);
        ExpectPoint(a * s, ax * s, ay * s, az * s);
        ExpectPoint(a / s, ax / s, ay / s, az / s);

        const double sqr = ax * ax + ay * ay + az * az;
        EXPECT_EQ(a.SqrAbs(), sqr);
        EXPECT_EQ(a.Abs(), std::sqrt(sqr));
        const Point3d64f unit = a.Unit();
        const double length = std::sqrt(sqr);
        ExpectPoint(unit, ax / length, ay / length, az / length);

        EXPECT_EQ(Algs::Dot(a, b), ax * bx + ay * by + az * bz);
        const Point3d64f cross = Algs::Cross(a, b);
        ExpectPoint(cross, ay * bz - az * by, az * bx - ax * bz, ax * by - ay * bx);
        Point3d64f into = a; // the output may be an operand
        Algs::Cross(into, b, into);
        ExpectPoint(into, cross.x, cross.y, cross.z);

        const double cosine = (ax * bx + ay * by + az * bz) /
                              (std::sqrt(sqr) * std::sqrt(bx * bx + by * by + bz * bz));
        EXPECT_NEAR(Algs::Angle(a, b), std::acos(cosine) * 180.0 / M_PI, 1e-12);
    }

    // float points compute in float.
    const Point3d32f f(0.1f, 0.2f, 0.3f);
    EXPECT_EQ(f.SqrAbs(), 0.1f * 0.1f + 0.2f * 0.2f + 0.3f * 0.3f);
    EXPECT_EQ(Algs::Angle(Point3d32f(1, 0, 0), Point3d32f(1, 1, 0)), 45.0f);
}

TEST(KppPoint, IntegerPointsComputeInIntAndNarrow)
{
    const Point3d16s a(3, -4, 12), b(-2, 5, 7);
    EXPECT_EQ(a.SqrAbs(), 169);
    EXPECT_EQ(a.Abs(), 13);
    EXPECT_EQ(Algs::Dot(a, b), -6 - 20 + 84);
    ExpectPoint(Algs::Cross(a, b), -4 * 7 - 12 * 5, 12 * -2 - 3 * 7, 3 * 5 - (-4) * -2);
    ExpectPoint(a / 2, 1, -2, 6); // integer division toward zero
    ExpectPoint(a * 3, 9, -12, 36);
    EXPECT_DOUBLE_EQ(Algs::Angle(Point3d16s(10, 0, 0), Point3d16s(0, 5, 0)), 90.0);

    // Narrowing keeps the low 16 bits; sums in int wrap rather than overflow.
    Point3d16s big(30000, -30000, 1);
    big += Point3d16s(10000, -10000, 1);
    ExpectPoint(big, 40000 - 65536, -40000 + 65536, 2);
    const Point3d16s full = Point3d16s::Min();
    EXPECT_EQ(full.SqrAbs(), (int)(3u << 30)); // 3·2^30 wrapped to int
    EXPECT_EQ(full.Abs(), 56755);              // √3221225472 = 56755.8, truncated
    ExpectPoint(-Point3d16s(1, -2, 3), -1, 2, -3);

    const Point3d16u u(3, 4, 0);
    EXPECT_EQ(u.SqrAbs(), 25u);
    ExpectPoint(u - Point3d16u(4, 0, 0), 65535, 4, 0);
}

TEST(KppPoint, UnitOfZeroIsNull)
{
    EXPECT_TRUE(Point3d64f(0, 0, 0).Unit().IsNull());
    EXPECT_TRUE(Point3d32f(0, 0, 0).Unit().IsNull());
    EXPECT_TRUE(Point3d16s(0, 0, 0).Unit().IsNull());
    ExpectPoint(Point3d16s(0, 0, 0).Unit(), -32768, -32768, -32768);
    ExpectPoint(Point3d16s(0, 0, 9).Unit(), 0, 0, 1);
    ExpectPoint(Point3d64f(0, -2, 0).Unit(), 0, -1, 0);
}

TEST(KppPoint, ExtendAndBoundingBox)
{
    Point3d16s high = Point3d16s::Min(), low = Point3d16s::Max();
    for (const Point3d16s& p : {Point3d16s(1, 9, -3), Point3d16s(-4, 2, 8), Point3d16s(0, 0, 0)})
    {
        high.ExtendUp(p);
        low.ExtendDown(p);
    }
    ExpectPoint(high, 1, 9, 8);
    ExpectPoint(low, -4, 0, -3);

    std::vector<Point2d64f> points = {{1.5, -2.0}, {-3.25, 4.0}, {0.0, 7.5}};
    Point2d64f min, max;
    Algs::CalculateBoundingBox(points, &min, &max);
    EXPECT_EQ(min.x, -3.25);
    EXPECT_EQ(min.y, -2.0);
    EXPECT_EQ(max.x, 1.5);
    EXPECT_EQ(max.y, 7.5);

    // No points: an empty box, min above max.
    Algs::CalculateBoundingBox(std::vector<Point2d64f>{}, &min, &max);
    EXPECT_EQ(min.x, std::numeric_limits<double>::max());
    EXPECT_EQ(max.x, std::numeric_limits<double>::lowest());
}

TEST(KppPoint, CastConversionRules)
{
    // float to 16-bit: truncation toward zero, low 16 bits kept.
    ExpectPoint(Point3d16s::Cast(Point3d32f(1.9f, -1.9f, 32767.99f)), 1, -1, 32767);
    ExpectPoint(Point3d16s::Cast(Point3d32f(40000.7f, -40000.7f, 65537.5f)), 40000 - 65536,
                -40000 + 65536, 1);
    ExpectPoint(Point3d16u::Cast(Point3d32f(-1.5f, 65536.0f, 70000.25f)), 65535, 0, 70000 - 65536);
    // Values far past 16 bits (the float null among them): exact low bits; NaN and infinities: 0.
    ExpectPoint(Point3d16s::Cast(Point3d32f(k32F_NULL, 1e20f, std::nanf(""))), 0, 0, 0);
    const float inf = std::numeric_limits<float>::infinity();
    ExpectPoint(Point3d16u::Cast(Point3d32f(inf, -inf, -1e20f)), 0, 0, 0);
    ExpectPoint(Point3d16s::Cast(Point3d32f(16777216.0f + 2.0f * 65536.0f + 8.0f, 0, 0)), 8, 0, 0);

    // double to float: ordinary rounding conversion.
    const Point3d32f f = Point3d32f::Cast(Point3d64f(0.1, -1.0 / 3.0, 1e10 + 1));
    ExpectPoint(f, (double)0.1f, (double)(float)(-1.0 / 3.0), (double)1e10f);
    // Integer to real is exact; null stays null that way.
    ExpectPoint(Point3d64f::Cast(Point3d16s(-32768, 7, -9)), -32768, 7, -9);
    ExpectPoint(Point3d16u::Cast(Point3d16s(-1, -32768, 5)), 65535, 32768, 5);
}

TEST(KppPoint, ContainersHoldPointsAsTheirBaseStructs)
{
    EXPECT_EQ(kpp::Data::Array2<Point3d64f>::ItemType(), kTypeOf(kPoint3d64f));
    EXPECT_EQ(kpp::Data::Array2<Point3d32f>::ItemType(), kTypeOf(kPoint3d32f));
    EXPECT_EQ(kpp::Data::Array2<Point3d16s>::ItemType(), kTypeOf(kPoint3d16s));
    EXPECT_EQ(kpp::Data::ArrayList<Point3d64f>::ItemType(), kTypeOf(kPoint3d64f));
    EXPECT_EQ(kpp::Data::ArrayList<Point3d32f>::ItemType(), kTypeOf(kPoint3d32f));

    ktest::CountingAlloc alloc;
    {
        // A platform map of kPoint3d16s attaches to the point wrapper and reads through it.
        kObjectGuard map;
        ASSERT_EQ(kArray2_Construct(&map, kTypeOf(kPoint3d16s), 2, 3, alloc.get()), kOK);
        static_cast<kPoint3d16s*>(kArray2_At(map.get(), 1, 2))[0] = kPoint3d16s{4, -5, 6};
        kpp::Data::Array2<Point3d16s> points;
        ASSERT_EQ(points.Attach(map.get()), kOK);
        ExpectPoint(points.At(1, 2), 4, -5, 6);
        ASSERT_EQ(points.Null(), kOK);
        EXPECT_EQ(static_cast<kPoint3d16s*>(kArray2_At(map.get(), 0, 1))->x, -32768);
        EXPECT_TRUE(points[5].IsNull());

        kpp::Data::Array2<Point3d64f> wrong;
        EXPECT_EQ(wrong.Attach(map.get()), kSTATUS_BAD_PARAMETER);

        kpp::Data::ArrayList<Point3d32f> list;
        ASSERT_EQ(list.Init(alloc.get()), kOK);
        ASSERT_EQ(list.Add(Point3d32f(1, 2, 3)), kOK);
        ASSERT_EQ(list.Add(Point3d32f::Null()), kOK);
        EXPECT_EQ(list.Count(), 2u);
        ExpectPoint(list.At(0), 1, 2, 3);
        EXPECT_TRUE(list.Back().IsNull());
        EXPECT_EQ(static_cast<kPoint3d32f*>(kArrayList_At(list.Handle(), 0))->z, 3.0f);

        kpp::Data::Array1<Point3d64f> line;
        ASSERT_EQ(line.Init(2, alloc.get()), kOK);
        line.At(1) = Point3d64f(1, 2, 3);
        EXPECT_EQ(static_cast<kPoint3d64f*>(kArray1_At(line.Handle(), 1))->y, 2.0);
    }
}
} // namespace
