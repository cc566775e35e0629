// Numeric helpers and the natural cubic spline, against direct computations.
#include <kTestSupport.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

TEST(Math, SetAndSubtractFillEveryItem)
{
    std::vector<k32s> ints(7, 0);
    ASSERT_EQ(kMath_Set32s(ints.data(), ints.size(), -5), kOK);
    for (k32s v : ints)
        EXPECT_EQ(v, -5);
    std::vector<k64f> reals(5, 0.0), out(5, 0.0);
    ASSERT_EQ(kMath_Set64f(reals.data(), reals.size(), 2.5), kOK);
    for (k64f v : reals)
        EXPECT_EQ(v, 2.5);

    k64f source[] = {1.0, -2.0, 0.5, 1e300, k64F_NULL};
    ASSERT_EQ(kMath_SubC64f(source, out.data(), 5, 0.25), kOK);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(out[i], source[i] - 0.25);
    ASSERT_EQ(kMath_SubC64f(source, source, 5, 1.0), kOK); // in place
    EXPECT_EQ(source[0], 0.0);

    EXPECT_EQ(kMath_Set32s(kNULL, 0, 1), kOK);
    EXPECT_EQ(kMath_Set32s(kNULL, 1, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMath_Set64f(kNULL, 2, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMath_SubC64f(source, kNULL, 1, 1.0), kSTATUS_BAD_PARAMETER);
}

TEST(Math, FindFirstAndLastHonourEveryComparison)
{
    const k64f v[] = {3.0, 1.0, 4.0, 1.0, 5.0, 9.0, 2.0, 6.0};
    const kSize n = kCountOf(v);
    auto holds = [](k64f a, kComparison c, k64f b)
    {
        switch (c)
        {
        case kCOMPARISON_EQ:
            return a == b;
        case kCOMPARISON_NEQ:
            return a != b;
        case kCOMPARISON_LT:
            return a < b;
        case kCOMPARISON_LTE:
            return a <= b;
        case kCOMPARISON_GT:
            return a > b;
        default:
            return a >= b;
        }
    };
    for (kComparison c = kCOMPARISON_EQ; c <= kCOMPARISON_GTE; ++c)
        for (k64f value : {0.0, 1.0, 3.0, 5.0, 9.0, 10.0})
        {
            kSize first = n, last = n;
            for (kSize i = 0; i < n; ++i)
                if (holds(v[i], c, value)) last = i, first = first == n ? i : first;
            kSize index = 12345;
            EXPECT_EQ(kMath_FindFirst64f(v, n, c, value, &index),
                      first < n ? kOK : kSTATUS_NOT_FOUND);
            EXPECT_EQ(index, first) << c << " " << value;
            EXPECT_EQ(kMath_FindLast64f(v, n, c, value, &index),
                      last < n ? kOK : kSTATUS_NOT_FOUND);
            EXPECT_EQ(index, last) << c << " " << value;
        }
    kSize index;
    EXPECT_EQ(kMath_FindFirst64f(v, n, 6, 1.0, &index), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMath_FindLast64f(v, n, kCOMPARISON_EQ, 1.0, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMath_FindFirst64f(kNULL, 0, kCOMPARISON_EQ, 1.0, &index), kSTATUS_NOT_FOUND);
    EXPECT_EQ(index, 0u);
}

TEST(Math, FindMaxTakesTheFirstOfEqualMaxima)
{
    const k32s histogram[] = {0, 7, 3, 7, -1};
    kSize index = 99;
    ASSERT_EQ(kMath_FindMax32s(histogram, 5, &index), kOK);
    EXPECT_EQ(index, 1u);
    const k32s negative[] = {-9, -3, -4};
    ASSERT_EQ(kMath_FindMax32s(negative, 3, &index), kOK);
    EXPECT_EQ(index, 1u);
    const k32s zeros[16] = {};
    ASSERT_EQ(kMath_FindMax32s(zeros, 16, &index), kOK);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(kMath_FindMax32s(histogram, 0, &index), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMath_FindMax32s(kNULL, 3, &index), kSTATUS_BAD_PARAMETER);
}

TEST(Math, SpanRoundAndLog2Ceil)
{
    k64f span[5];
    ASSERT_EQ(kMath_Span64f(span, 5, -1.0, 1.0), kOK);
    const k64f expected[] = {-1.0, -0.5, 0.0, 0.5, 1.0};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(span[i], expected[i]);
    std::vector<k64f> many(1001);
    ASSERT_EQ(kMath_Span64f(many.data(), many.size(), 0.1, 0.7), kOK);
    EXPECT_EQ(many.front(), 0.1);
    EXPECT_EQ(many.back(), 0.7);
    for (kSize i = 0; i < many.size(); ++i)
        EXPECT_NEAR(many[i], 0.1 + 0.6 * i / 1000.0, 1e-15);
    ASSERT_EQ(kMath_Span64f(span, 1, 4.0, 8.0), kOK);
    EXPECT_EQ(span[0], 4.0);
    ASSERT_EQ(kMath_Span64f(span, 3, 2.0, -2.0), kOK); // descending
    EXPECT_EQ(span[1], 0.0);
    EXPECT_EQ(kMath_Span64f(kNULL, 0, 0.0, 1.0), kOK);
    EXPECT_EQ(kMath_Span64f(kNULL, 2, 0.0, 1.0), kSTATUS_BAD_PARAMETER);

    const k64f round[][2] = {{2.5, 3.0},   {-2.5, -3.0},     {0.5, 1.0},
                             {-0.5, -1.0}, {1.4999999, 1.0}, {-1.5, -2.0},
                             {0.0, 0.0},   {7.0, 7.0},       {1e300, 1e300}};
    for (const auto& r : round)
        EXPECT_EQ(kMath_Round64f(r[0]), r[1]) << r[0];

    for (k32u v = 0; v < 5000; ++v)
    {
        k32u n = 0;
        while (((k64u)1 << n) < v)
            ++n; // direct: first power of two not below v
        ASSERT_EQ(kMath_Log2Ceil32u(v), n) << v;
    }
    EXPECT_EQ(kMath_Log2Ceil32u(0x80000000u), 31u);
    EXPECT_EQ(kMath_Log2Ceil32u(0x80000001u), 32u);
    EXPECT_EQ(kMath_Log2Ceil32u(0xFFFFFFFFu), 32u);
}

/* ----- kSpline ------------------------------------------------------------------------------ */

namespace
{
/*
 * Reference natural cubic spline: the second derivatives from the full linear system (dense
 * Gaussian elimination with partial pivoting, no tridiagonal shortcut), evaluated in the
 * power form a + b dx + c dx^2 + d dx^3 of each segment.
 */
struct ReferenceSpline
{
    std::vector<double> x, a, b, c, d;

    ReferenceSpline(const std::vector<double>& xs, const std::vector<double>& ys) : x(xs)
    {
        size_t n = xs.size();
        std::vector<double> m(n, 0.0);
        size_t k = n - 2; // unknowns M[1..n-2]
        std::vector<std::vector<double>> A(k, std::vector<double>(k + 1, 0.0));
        for (size_t r = 0; r < k; ++r)
        {
            size_t i = r + 1;
            double h0 = xs[i] - xs[i - 1], h1 = xs[i + 1] - xs[i];
            if (r > 0) A[r][r - 1] = h0;
            A[r][r] = 2.0 * (h0 + h1);
            if (r + 1 < k) A[r][r + 1] = h1;
            A[r][k] = 6.0 * ((ys[i + 1] - ys[i]) / h1 - (ys[i] - ys[i - 1]) / h0);
        }
        for (size_t col = 0; col < k; ++col)
        {
            size_t pivot = col;
            for (size_t r = col + 1; r < k; ++r)
                if (std::fabs(A[r][col]) > std::fabs(A[pivot][col])) pivot = r;
            std::swap(A[col], A[pivot]);
            for (size_t r = 0; r < k; ++r)
            {
                if (r == col) continue;
                double f = A[r][col] / A[col][col];
                for (size_t j = col; j <= k; ++j)
                    A[r][j] -= f * A[col][j];
            }
        }
        for (size_t r = 0; r < k; ++r)
            m[r + 1] = A[r][k] / A[r][r];

        for (size_t i = 0; i + 1 < n; ++i)
        {
            double h = xs[i + 1] - xs[i];
            a.push_back(ys[i]);
            b.push_back((ys[i + 1] - ys[i]) / h - h * (2.0 * m[i] + m[i + 1]) / 6.0);
            c.push_back(m[i] / 2.0);
            d.push_back((m[i + 1] - m[i]) / (6.0 * h));
        }
    }

    double operator()(double t) const
    {
        size_t i = 0;
        while (i + 2 < x.size() && t >= x[i + 1])
            ++i;
        double dx = t - x[i];
        return a[i] + b[i] * dx + c[i] * dx * dx + d[i] * dx * dx * dx;
    }

    /* Slope at the last knot, from the last segment's polynomial. */
    double EndSlope() const
    {
        size_t i = a.size() - 1;
        double h = x[i + 1] - x[i];
        return b[i] + 2.0 * c[i] * h + 3.0 * d[i] * h * h;
    }
};
} // namespace

TEST(Spline, MatchesADirectNaturalSplineOnRandomKnots)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> step(0.05, 3.0), value(-50.0, 50.0);
    ktest::CountingAlloc alloc;
    kObjectGuard spline;
    ASSERT_EQ(kSpline_Construct(&spline, alloc), kOK);

    for (size_t n : {3u, 4u, 5u, 9u, 40u, 200u})
    {
        std::vector<double> xs(n), ys(n);
        double position = value(rng);
        for (size_t i = 0; i < n; ++i)
            xs[i] = position += step(rng), ys[i] = value(rng);
        ASSERT_EQ(kSpline_Fit(spline, xs.data(), ys.data(), n), kOK);
        ReferenceSpline reference(xs, ys);

        std::vector<double> t(1000), y(1000);
        ASSERT_EQ(kMath_Span64f(t.data(), t.size(), xs.front(), xs.back()), kOK);
        ASSERT_EQ(kSpline_ApplyN(spline, t.data(), y.data(), t.size()), kOK);
        for (size_t i = 0; i < t.size(); ++i)
            ASSERT_NEAR(y[i], reference(t[i]), 1e-9) << n << " @" << t[i];

        ASSERT_EQ(kSpline_ApplyN(spline, xs.data(), y.data(), n), kOK); // through every knot
        for (size_t i = 0; i < n; ++i)
            EXPECT_NEAR(y[i], ys[i], 1e-9);
    }
}

TEST(Spline, DomainClampsInputsAndWiderDomainsContinueStraight)
{
    const double xs[] = {0.0, 1.0, 2.5, 4.0}, ys[] = {1.0, 3.0, -2.0, 0.5};
    kObjectGuard spline;
    ASSERT_EQ(kSpline_Construct(&spline, kNULL), kOK);
    ASSERT_EQ(kSpline_Fit(spline, xs, ys, 4), kOK);
    ReferenceSpline reference({xs, xs + 4}, {ys, ys + 4});

    // Default domain: the knots; outside inputs take the end values.
    double in[] = {-3.0, 10.0}, out[2];
    ASSERT_EQ(kSpline_ApplyN(spline, in, out, 2), kOK);
    EXPECT_DOUBLE_EQ(out[0], 1.0);
    EXPECT_DOUBLE_EQ(out[1], 0.5);

    // A narrower domain clamps inside the knots.
    ASSERT_EQ(kSpline_SetDomain(spline, 1.0, 2.0), kOK);
    ASSERT_EQ(kSpline_ApplyN(spline, in, out, 2), kOK);
    EXPECT_NEAR(out[0], 3.0, 1e-12);
    EXPECT_NEAR(out[1], reference(2.0), 1e-12);

    // A wider domain follows the end tangents (the second derivative is zero at the ends).
    ASSERT_EQ(kSpline_SetDomain(spline, -10.0, 10.0), kOK);
    ASSERT_EQ(kSpline_ApplyN(spline, in, out, 2), kOK);
    EXPECT_NEAR(out[0], 1.0 - 3.0 * reference.b[0], 1e-9);
    EXPECT_NEAR(out[1], 0.5 + 6.0 * reference.EndSlope(), 1e-9);

    // A new fit resets the domain to its knots.
    ASSERT_EQ(kSpline_Fit(spline, xs, ys, 4), kOK);
    ASSERT_EQ(kSpline_ApplyN(spline, in, out, 2), kOK);
    EXPECT_DOUBLE_EQ(out[1], 0.5);
}

TEST(Spline, TwoKnotsGiveALineAndBadInputIsRefused)
{
    ktest::CountingAlloc alloc;
    kObjectGuard spline;
    ASSERT_EQ(kSpline_Construct(&spline, alloc), kOK);
    double t[] = {0.0, 0.5}, y[2];
    EXPECT_EQ(kSpline_ApplyN(spline, t, y, 2), kSTATUS_BAD_STATE); // before a fit

    const double xs[] = {-1.0, 3.0}, ys[] = {2.0, 10.0};
    ASSERT_EQ(kSpline_Fit(spline, xs, ys, 2), kOK);
    ASSERT_EQ(kSpline_ApplyN(spline, t, y, 2), kOK);
    EXPECT_DOUBLE_EQ(y[0], 4.0);
    EXPECT_DOUBLE_EQ(y[1], 5.0);

    const double flat[] = {0.0, 1.0, 1.0}, rising[] = {0.0, 1.0, 2.0}, nan[] = {0.0, NAN, 2.0};
    const double inf[] = {0.0, 1.0, INFINITY};
    EXPECT_EQ(kSpline_Fit(spline, flat, rising, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_Fit(spline, rising, nan, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_Fit(spline, inf, rising, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_Fit(spline, rising, rising, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_Fit(spline, kNULL, rising, 3), kSTATUS_BAD_PARAMETER);
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kSpline_Fit(spline, rising, rising, 3), kSTATUS_MEMORY);
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
    ASSERT_EQ(kSpline_ApplyN(spline, t, y, 2), kOK); // the line is kept
    EXPECT_DOUBLE_EQ(y[1], 5.0);

    EXPECT_EQ(kSpline_SetDomain(spline, 2.0, 1.0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_SetDomain(spline, NAN, 1.0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_ApplyN(spline, kNULL, y, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kSpline_ApplyN(spline, kNULL, kNULL, 0), kOK);

    EXPECT_EQ(
        ktest::ExpectCleanFailures([](kAlloc a, kObject* o) { return kSpline_Construct(o, a); }),
        1u);
}
