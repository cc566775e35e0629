// One- and two-variable least-squares fits against Eigen, the order searches and their statuses.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Common/kPolynomialFit.h>
#include <kSolan/Common/kPolynomial2Fit.h>

#include <Eigen/Dense>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

namespace
{
using Eigen::MatrixXd;
using Eigen::VectorXd;

class PolynomialFit : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }

    kPolynomialFit Fit(k32s order)
    {
        kPolynomialFit fit = kNULL;
        EXPECT_EQ(kPolynomialFit_Construct(&fit, order, m_alloc), kOK);
        m_owned.push_back(fit);
        return fit;
    }
    kPolynomial Poly(k32u order)
    {
        kPolynomial poly = kNULL;
        EXPECT_EQ(kPolynomial_Construct(&poly, order, m_alloc), kOK);
        m_owned.push_back(poly);
        return poly;
    }
    kPolynomial2Fit Fit2(kPolynomialFitParams px, kPolynomialFitParams py)
    {
        kPolynomial2Fit fit = kNULL;
        EXPECT_EQ(kPolynomial2Fit_Construct(&fit, px, py, m_alloc), kOK);
        m_owned.push_back(fit);
        return fit;
    }
    kPolynomial2 Poly2(k32u order)
    {
        kPolynomial2 poly = kNULL;
        EXPECT_EQ(kPolynomial2_Construct(&poly, order, order, m_alloc), kOK);
        m_owned.push_back(poly);
        return poly;
    }
    void TearDown() override
    {
        for (kObject o : m_owned)
            kObject_Destroy(o);
    }

    static kAssembly s_assembly;
    ktest::CountingAlloc m_alloc;
    std::vector<kObject> m_owned;
};
kAssembly PolynomialFit::s_assembly = kNULL;

std::vector<double> Coefficients(kPolynomial poly)
{
    const double* c = kPolynomial_Coefficients(poly);
    return std::vector<double>(c, c + kPolynomial_Order(poly) + 1);
}

/* Least squares of the Vandermonde system by column-pivoting QR. */
VectorXd EigenPolyFit(const std::vector<double>& x, const std::vector<double>& y, int order)
{
    MatrixXd a(x.size(), order + 1);
    VectorXd b(x.size());
    for (size_t i = 0; i < x.size(); ++i)
    {
        for (int j = 0; j <= order; ++j)
            a(i, j) = std::pow(x[i], j);
        b(i) = y[i];
    }
    return a.colPivHouseholderQr().solve(b);
}

/* Design matrix of a two-variable polynomial in graded order, solved by QR. */
VectorXd EigenPoly2Fit(const std::vector<double>& x, const std::vector<double>& y,
                       const std::vector<double>& z, int order)
{
    const int terms = (order + 1) * (order + 2) / 2;
    MatrixXd a(x.size(), terms);
    VectorXd b(x.size());
    for (size_t i = 0; i < x.size(); ++i)
    {
        int t = 0;
        for (int d = 0; d <= order; ++d)
            for (int j = d; j >= 0; --j)
                a(i, t++) = std::pow(x[i], j) * std::pow(y[i], d - j);
        b(i) = z[i];
    }
    return a.colPivHouseholderQr().solve(b);
}

VectorXd Vec(std::initializer_list<double> values)
{
    VectorXd v(values.size());
    Eigen::Index i = 0;
    for (double value : values)
        v(i++) = value;
    return v;
}

void ExpectRelativelyNear(const std::vector<double>& actual, const VectorXd& expected, double tol)
{
    ASSERT_EQ(actual.size(), (size_t)expected.size());
    const double scale = expected.cwiseAbs().maxCoeff();
    for (size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected(i), tol * scale) << "coefficient " << i;
}

std::vector<double> Linspace(double lo, double hi, size_t count)
{
    std::vector<double> v(count);
    for (size_t i = 0; i < count; ++i)
        v[i] = (count == 1) ? lo : lo + (hi - lo) * (double)i / (double)(count - 1);
    return v;
}

TEST_F(PolynomialFit, NoisyCubicMatchesEigenLeastSquaresTo1e9Relative)
{
    std::mt19937_64 rng(3);
    std::normal_distribution<double> noise(0.0, 0.05);
    std::vector<double> x = Linspace(-1.0, 1.0, 41), y(x.size());
    for (size_t i = 0; i < x.size(); ++i)
        y[i] = 0.5 - 1.25 * x[i] + 2.0 * x[i] * x[i] + 0.75 * x[i] * x[i] * x[i] + noise(rng);

    kPolynomial poly = Poly(3);
    ASSERT_EQ(kPolynomialFit_Apply(Fit(3), x.data(), y.data(), x.size(), poly), kOK);
    ExpectRelativelyNear(Coefficients(poly), EigenPolyFit(x, y, 3), 1e-9);
}

TEST_F(PolynomialFit, InterpolatesOrderPlusOneDistinctPointsExactly)
{
    for (int n : {0, 1, 2, 4})
    {
        std::vector<double> x = Linspace(-1.5, 2.0, n + 1), y(x.size());
        for (size_t i = 0; i < x.size(); ++i)
            y[i] = std::cos(3.0 * x[i]) + (double)i;

        kPolynomial poly = Poly((k32u)n);
        ASSERT_EQ(kPolynomialFit_Apply(Fit(n), x.data(), y.data(), x.size(), poly), kOK);
        ExpectRelativelyNear(Coefficients(poly), EigenPolyFit(x, y, n), 1e-9);
        for (size_t i = 0; i < x.size(); ++i)
            EXPECT_NEAR(kPolynomial_Apply(poly, x[i]), y[i], 1e-9 * (1.0 + std::fabs(y[i])));
    }
}

TEST_F(PolynomialFit, PlainFitStatuses)
{
    kPolynomialFit fit = Fit(1);
    kPolynomial poly = Poly(1);
    kPolynomial_Coefficients(poly)[0] = 7.0;
    kPolynomial_Coefficients(poly)[1] = 8.0;
    const double x[] = {1.0, 1.0}, y[] = {2.0, 3.0};

    EXPECT_EQ(kPolynomialFit_Apply(fit, x, y, 2, poly), kSTATUS_BAD_PARAMETER) << "zero pivot";
    EXPECT_EQ(Coefficients(poly), (std::vector<double>{7.0, 8.0})) << "left unchanged";
    EXPECT_EQ(kPolynomialFit_Apply(fit, kNULL, y, 2, poly), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomialFit_Apply(fit, x, kNULL, 2, poly), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomialFit_Apply(fit, x, y, 0, poly), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomialFit_Apply(fit, x, y, 2, Poly(2)), kSTATUS_BAD_PARAMETER)
        << "matrix sized for order 1";
    EXPECT_EQ(kPolynomialFit_Construct(kNULL, 1, m_alloc), kSTATUS_BAD_PARAMETER);

    // A negative order sizes the matrix by its magnitude.
    const double x3[] = {0.0, 1.0, 2.0}, y3[] = {1.0, 3.0, 7.0};
    kPolynomial quad = Poly(2);
    ASSERT_EQ(kPolynomialFit_Apply(Fit(-2), x3, y3, 3, quad), kOK);
    ExpectRelativelyNear(Coefficients(quad), Vec({1, 1, 1}), 1e-12);
}

TEST_F(PolynomialFit, OrderSearchStopsAtTheQuadraticOfExactQuadraticData)
{
    std::vector<double> x = Linspace(-2.0, 3.0, 25), y(x.size());
    for (size_t i = 0; i < x.size(); ++i)
        y[i] = 3.0 - 2.0 * x[i] + 0.5 * x[i] * x[i];

    kPolynomialFit fit = Fit(6);
    ASSERT_EQ(kPolynomialFit_SetOrderPenalty(fit, 1.5), kOK);
    ASSERT_EQ(kPolynomialFit_SetTargetError(fit, 1e-6), kOK);
    EXPECT_EQ(kPolynomialFit_OrderPenalty(fit), 1.5);
    EXPECT_EQ(kPolynomialFit_TargetError(fit), 1e-6);
    EXPECT_EQ(kPolynomialFit_Order(fit), 6);

    kPolynomial poly = Poly(6);
    ASSERT_EQ(kPolynomialFit_Apply(fit, x.data(), y.data(), x.size(), poly), kOK);
    ASSERT_EQ(kPolynomial_Order(poly), 2u);
    ExpectRelativelyNear(Coefficients(poly), Vec({3, -2, 0.5}), 1e-9);

    // The search left the matrix sized for order 2: a plain fit works at order 2 only.
    ASSERT_EQ(kPolynomialFit_SetOrderPenalty(fit, 0.0), kOK);
    ASSERT_EQ(kPolynomialFit_SetTargetError(fit, 0.0), kOK);
    EXPECT_EQ(kPolynomialFit_Apply(fit, x.data(), y.data(), x.size(), Poly(6)),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomialFit_Apply(fit, x.data(), y.data(), x.size(), Poly(2)), kOK);
}

TEST_F(PolynomialFit, OrderSearchEdgeCases)
{
    const double mean = 0.0;
    std::vector<double> x = Linspace(-2.0, 2.0, 9), y = x; // rms about the mean > 0.5

    // Penalty 0: every score is 0, only order 0 (the mean) is kept.
    kPolynomialFit fit = Fit(4);
    ASSERT_EQ(kPolynomialFit_SetTargetError(fit, 0.5), kOK);
    kPolynomial poly = Poly(4);
    ASSERT_EQ(kPolynomialFit_Apply(fit, x.data(), y.data(), x.size(), poly), kOK);
    ASSERT_EQ(kPolynomial_Order(poly), 0u);
    EXPECT_NEAR(kPolynomial_Coefficients(poly)[0], mean, 1e-12);

    // One sample: order 0 only.
    const double x1 = 3.0, y1 = 7.0;
    kPolynomialFit one = Fit(5);
    ASSERT_EQ(kPolynomialFit_SetOrderPenalty(one, 1.0), kOK);
    ASSERT_EQ(kPolynomialFit_Apply(one, &x1, &y1, 1, poly), kOK);
    EXPECT_EQ(Coefficients(poly), std::vector<double>{7.0});

    // Orders whose fit fails are skipped: repeated x admits order 0 only.
    const double xs[] = {2.0, 2.0, 2.0}, ys[] = {1.0, 2.0, 6.0};
    kPolynomialFit skip = Fit(2);
    ASSERT_EQ(kPolynomialFit_SetOrderPenalty(skip, 1.0), kOK);
    ASSERT_EQ(kPolynomialFit_Apply(skip, xs, ys, 3, poly), kOK);
    ASSERT_EQ(kPolynomial_Order(poly), 0u);
    EXPECT_NEAR(kPolynomial_Coefficients(poly)[0], 3.0, 1e-12);

    // A penalty whose square overflows ends the search: order 0 with rms·1e200 stays best.
    kPolynomialFit huge = Fit(8);
    ASSERT_EQ(kPolynomialFit_SetOrderPenalty(huge, 1e200), kOK);
    ASSERT_EQ(kPolynomialFit_Apply(huge, x.data(), y.data(), x.size(), poly), kOK);
    EXPECT_EQ(kPolynomial_Order(poly), 0u);

    // No order kept (every score NaN): kSTATUS_FAILED, the polynomial untouched.
    const double yn[] = {std::numeric_limits<double>::quiet_NaN(), 1.0, 2.0};
    const double xn[] = {0.0, 1.0, 2.0};
    kPolynomial untouched = Poly(1);
    kPolynomial_Coefficients(untouched)[0] = 9.0;
    ASSERT_EQ(kPolynomialFit_Apply(one, xn, yn, 3, untouched), kSTATUS_FAILED);
    EXPECT_EQ(kPolynomial_Order(untouched), 1u);
    EXPECT_EQ(kPolynomial_Coefficients(untouched)[0], 9.0);
}

TEST_F(PolynomialFit, OrderSearchPenaltyWeighsOrderKByPenaltyToThe2ToTheK)
{
    // Data that a line fits far better than a constant, scored by a brute-force reference.
    std::mt19937_64 rng(5);
    std::normal_distribution<double> noise(0.0, 0.1);
    std::vector<double> x = Linspace(0.0, 4.0, 30), y(x.size());
    for (size_t i = 0; i < x.size(); ++i)
        y[i] = 1.0 + 2.0 * x[i] - 0.3 * x[i] * x[i] + noise(rng);

    for (double penalty : {0.5, 1.05, 1.3, 3.0})
    {
        int bestOrder = -1;
        double best = std::numeric_limits<double>::max(), factor = penalty;
        for (int k = 0; k <= 5; ++k, factor *= factor)
        {
            VectorXd c = EigenPolyFit(x, y, k);
            double ss = 0;
            for (size_t i = 0; i < x.size(); ++i)
            {
                double p = 0;
                for (int j = k; j >= 0; --j)
                    p = p * x[i] + c(j);
                ss += (p - y[i]) * (p - y[i]);
            }
            const double score = std::sqrt(ss / (double)x.size()) * factor;
            if (score < best)
            {
                best = score;
                bestOrder = k;
            }
        }
        kPolynomialFit fit = Fit(5);
        ASSERT_EQ(kPolynomialFit_SetOrderPenalty(fit, penalty), kOK);
        kPolynomial poly = Poly(0);
        ASSERT_EQ(kPolynomialFit_Apply(fit, x.data(), y.data(), x.size(), poly), kOK);
        EXPECT_EQ((int)kPolynomial_Order(poly), bestOrder) << "penalty " << penalty;
        ExpectRelativelyNear(Coefficients(poly), EigenPolyFit(x, y, bestOrder), 1e-9);
    }
}

TEST_F(PolynomialFit, OneVariableFitsLeakNothingWhenAllocationFails)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kPolynomialFit_Construct(handle, 3, alloc); });

    std::vector<double> x = Linspace(-1.0, 1.0, 12), y(x.size());
    for (size_t i = 0; i < x.size(); ++i)
        y[i] = x[i] * x[i] * x[i];
    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* handle)
        {
            kPolynomialFit fit = kNULL;
            kPolynomial poly = kNULL;
            kStatus status = kPolynomialFit_Construct(&fit, 4, alloc);
            if (kSuccess(status)) status = kPolynomial_Construct(&poly, 0, alloc);
            if (kSuccess(status)) status = kPolynomialFit_SetOrderPenalty(fit, 1.1);
            if (kSuccess(status)) status = kPolynomialFit_Apply(fit, x.data(), y.data(), 12, poly);
            kObject_Destroy(fit);
            if (kSuccess(status))
                *handle = poly;
            else
                kObject_Destroy(poly);
            return status;
        });
}

/* ----- Two variables ----------------------------------------------------------------------- */

kPolynomialFitParams Params(k32u order, double targetError = 0.0, double orderPenalty = 0.0)
{
    kPolynomialFitParams p{};
    p.order = order;
    p.targetError = targetError;
    p.orderPenalty = orderPenalty;
    return p;
}

struct Samples
{
    std::vector<double> x, y, z;
};

Samples Quadratic2(double noiseSigma, unsigned seed)
{
    std::mt19937_64 rng(seed);
    std::normal_distribution<double> noise(0.0, noiseSigma);
    Samples s;
    for (double x : Linspace(-1.0, 1.5, 9))
        for (double y : Linspace(-2.0, 1.0, 8))
        {
            s.x.push_back(x);
            s.y.push_back(y);
            s.z.push_back(1 + 2 * x + 3 * y + 4 * x * x + 5 * x * y + 6 * y * y +
                          (noiseSigma > 0 ? noise(rng) : 0.0));
        }
    return s;
}

std::vector<double> Coefficients2(kPolynomial2 poly)
{
    const double* c = kPolynomial2_Coefficients(poly);
    return std::vector<double>(c, c + kPolynomial2_CoeffCount(poly));
}

TEST_F(PolynomialFit, TwoVariableQuadraticIsRecoveredInGradedOrder)
{
    Samples s = Quadratic2(0.0, 0);
    kPolynomial2 poly = Poly2(0);
    kPolynomial2Fit fit = Fit2(Params(2), Params(2));
    ASSERT_EQ(kPolynomial2Fit_Apply(fit, s.x.data(), s.y.data(), s.z.data(), s.x.size(), poly),
              kOK);
    EXPECT_EQ(kPolynomial2_OrderX(poly), 2u);
    ExpectRelativelyNear(Coefficients2(poly), Vec({1, 2, 3, 4, 5, 6}), 1e-9);
    EXPECT_NEAR(
        kPolynomial2Fit_EvaluateError(fit, s.x.data(), s.y.data(), s.z.data(), s.x.size(), poly),
        0.0, 1e-9);
}

TEST_F(PolynomialFit, TwoVariableNoisyCubicMatchesEigen)
{
    Samples s = Quadratic2(0.2, 9);
    for (size_t i = 0; i < s.x.size(); ++i)
        s.z[i] += 0.7 * s.x[i] * s.y[i] * s.y[i];
    kPolynomial2 poly = Poly2(0);
    kPolynomial2Fit fit = Fit2(Params(3), Params(3));
    ASSERT_EQ(
        kPolynomial2Fit_ApplyOrder(fit, s.x.data(), s.y.data(), s.z.data(), s.x.size(), 3, 3, poly),
        kOK);
    ExpectRelativelyNear(Coefficients2(poly), EigenPoly2Fit(s.x, s.y, s.z, 3), 1e-9);

    // The error is the root of the summed squares, not divided by the count.
    double ss = 0;
    for (size_t i = 0; i < s.x.size(); ++i)
    {
        const double r = kPolynomial2_Apply(poly, s.x[i], s.y[i]) - s.z[i];
        ss += r * r;
    }
    EXPECT_DOUBLE_EQ(
        kPolynomial2Fit_EvaluateError(fit, s.x.data(), s.y.data(), s.z.data(), s.x.size(), poly),
        std::sqrt(ss));
}

TEST_F(PolynomialFit, TwoVariableStatusesAndParameters)
{
    kPolynomial2Fit fit = kNULL;
    EXPECT_EQ(kPolynomial2Fit_Construct(&fit, Params(2), Params(3), m_alloc),
              kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kPolynomial2Fit_Construct(&fit, Params(13), Params(13), m_alloc),
              kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(fit, kNULL);

    fit = Fit2(Params(2, 0.25, 0.5), Params(2, 0.75, 0.125));
    EXPECT_EQ(kPolynomial2Fit_ParametersX(fit).targetError, 0.25);
    EXPECT_EQ(kPolynomial2Fit_ParametersY(fit).orderPenalty, 0.125);
    EXPECT_EQ(kPolynomial2Fit_ParametersY(fit).order, 2u);

    kPolynomial2 poly = Poly2(1);
    const double x[] = {1, 1, 1, 1, 1, 1, 1}, y[] = {2, 2, 2, 2, 2, 2, 2}, z[7] = {};
    EXPECT_EQ(kPolynomial2Fit_ApplyOrder(fit, kNULL, y, z, 7, 1, 1, poly), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial2Fit_ApplyOrder(fit, x, y, kNULL, 7, 1, 1, poly), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial2Fit_ApplyOrder(fit, x, y, z, 0, 1, 1, poly), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial2Fit_ApplyOrder(fit, x, y, z, 7, 1, 1, poly), kSTATUS_FAILED)
        << "singular system";
    EXPECT_EQ(kPolynomial2Fit_ApplyOrder(fit, x, y, z, 2, 1, 1, poly), kSTATUS_FAILED)
        << "fewer samples than terms";
    EXPECT_EQ(kPolynomial2_CoeffCount(poly), 3u) << "left unchanged";
}

TEST_F(PolynomialFit, TwoVariableOrderSearch)
{
    Samples s = Quadratic2(0.0, 0);
    kPolynomial2 poly = Poly2(0);

    // A target error alone does not search: the configured order is fitted.
    kPolynomial2Fit targetOnly = Fit2(Params(3, 1e6), Params(3, 1e6));
    ASSERT_EQ(
        kPolynomial2Fit_Apply(targetOnly, s.x.data(), s.y.data(), s.z.data(), s.x.size(), poly),
        kOK);
    EXPECT_EQ(kPolynomial2_OrderX(poly), 3u);

    // Penalty in one direction starts the search; the target stops it at the exact order.
    kPolynomial2Fit search = Fit2(Params(4, 1e-6), Params(4, 0.0, 1e-3));
    ASSERT_EQ(kPolynomial2Fit_Apply(search, s.x.data(), s.y.data(), s.z.data(), s.x.size(), poly),
              kOK);
    EXPECT_EQ(kPolynomial2_OrderX(poly), 2u);
    ExpectRelativelyNear(Coefficients2(poly), Vec({1, 2, 3, 4, 5, 6}), 1e-9);

    // Without a target, the lowest err + k·penalty wins: a large penalty keeps order 1.
    Samples line;
    for (double x : Linspace(-1, 1, 6))
        for (double y : Linspace(-1, 1, 6))
        {
            line.x.push_back(x);
            line.y.push_back(y);
            line.z.push_back(2 * x - y + 0.01 * x * y);
        }
    kPolynomial2Fit penalised = Fit2(Params(3, 0, 1.0), Params(3, 0, 0.5));
    ASSERT_EQ(kPolynomial2Fit_Apply(penalised, line.x.data(), line.y.data(), line.z.data(),
                                    line.x.size(), poly),
              kOK);
    EXPECT_EQ(kPolynomial2_OrderX(poly), 1u);
}

TEST_F(PolynomialFit, TwoVariableFitsLeakNothingWhenAllocationFails)
{
    Samples s = Quadratic2(0.1, 4);
    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* handle)
        {
            kPolynomial2Fit fit = kNULL;
            kPolynomial2 poly = kNULL;
            kStatus status = kPolynomial2Fit_Construct(&fit, Params(3, 0, 0.1), Params(3), alloc);
            if (kSuccess(status)) status = kPolynomial2_Construct(&poly, 0, 0, alloc);
            if (kSuccess(status))
                status = kPolynomial2Fit_Apply(fit, s.x.data(), s.y.data(), s.z.data(), s.x.size(),
                                               poly);
            kObject_Destroy(fit);
            if (kSuccess(status))
                *handle = poly;
            else
                kObject_Destroy(poly);
            return status;
        });
}
} // namespace
