// Bootstrap fits: noise-free families equal the truth, seeds repeat, bands and statuses.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Common/kBootstrapFit.h>
#include <kSolan/Vs/kVsMath.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace
{
class BootstrapFit : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }

    kBootstrapFit Bootstrap(k32s order, kSize fitCount, kBool blockMode)
    {
        kBootstrapFit fit = kNULL;
        EXPECT_EQ(kBootstrapFit_Construct(&fit, order, fitCount, blockMode, m_alloc), kOK);
        m_owned.push_back(fit);
        return fit;
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
kAssembly BootstrapFit::s_assembly = kNULL;

struct Data
{
    std::vector<double> x, y;
};

/* y = 1 − 2x + 0.5x³ at 20 distinct x, plus optional noise. */
Data Cubic(double noiseSigma, unsigned seed)
{
    std::mt19937_64 rng(seed);
    std::normal_distribution<double> noise(0.0, noiseSigma);
    Data d;
    for (int i = 0; i < 20; ++i)
    {
        const double x = -1.0 + 0.1 * i;
        d.x.push_back(x);
        d.y.push_back(1.0 - 2.0 * x + 0.5 * x * x * x + (noiseSigma > 0 ? noise(rng) : 0.0));
    }
    return d;
}

std::vector<std::vector<double>> Family(kBootstrapFit fit)
{
    std::vector<std::vector<double>> family;
    for (kSize i = 0; i < kBootstrapFit_PolynomialCount(fit); ++i)
    {
        kPolynomial p = kBootstrapFit_PolynomialAt(fit, i);
        const double* c = kPolynomial_Coefficients(p);
        family.emplace_back(c, c + kPolynomial_Order(p) + 1);
    }
    return family;
}

TEST_F(BootstrapFit, NoiseFreeDataGivesTheTruthInEveryFit)
{
    const Data d = Cubic(0.0, 0);
    const double truth[] = {1.0, -2.0, 0.0, 0.5};
    for (kBool blockMode : {kTRUE, kFALSE})
    {
        srand(17);
        kBootstrapFit fit = Bootstrap(3, 25, blockMode);
        ASSERT_EQ(kBootstrapFit_Apply(fit, d.x.data(), d.y.data(), d.x.size()), kOK);
        ASSERT_EQ(kBootstrapFit_PolynomialCount(fit), 25u);
        EXPECT_EQ(kBootstrapFit_FitCount(fit), 25u);
        for (const std::vector<double>& c : Family(fit))
        {
            ASSERT_EQ(c.size(), 4u);
            for (int k = 0; k < 4; ++k)
                EXPECT_NEAR(c[k], truth[k], 1e-9) << "block mode " << blockMode;
        }

        double low = 0, median = 0, high = 0;
        ASSERT_EQ(kBootstrapFit_EvaluateConfidenceLevels(fit, 0.5, &low, &median, &high), kOK);
        EXPECT_NEAR(low, 1.0 - 1.0 + 0.0625, 1e-9);
        EXPECT_NEAR(median, low, 1e-9);
        EXPECT_NEAR(high, low, 1e-9);
    }
}

TEST_F(BootstrapFit, SameSeedGivesIdenticalFamiliesAndPerturbationsDiffer)
{
    const Data d = Cubic(0.2, 8);
    for (kBool blockMode : {kTRUE, kFALSE})
    {
        srand(1234);
        kBootstrapFit first = Bootstrap(2, 30, blockMode);
        ASSERT_EQ(kBootstrapFit_Apply(first, d.x.data(), d.y.data(), d.x.size()), kOK);
        srand(1234);
        kBootstrapFit second = Bootstrap(2, 30, blockMode);
        ASSERT_EQ(kBootstrapFit_Apply(second, d.x.data(), d.y.data(), d.x.size()), kOK);

        const auto a = Family(first), b = Family(second);
        EXPECT_EQ(a, b);
        int distinct = 0;
        for (size_t i = 1; i < a.size(); ++i)
            distinct += (a[i] != a[0]);
        EXPECT_GT(distinct, 10) << "synthetic sets should differ from one another";
    }
}

TEST_F(BootstrapFit, EvaluateAndConfidenceLevelsReadTheFirstFitCount)
{
    const Data d = Cubic(0.3, 2);
    srand(99);
    kBootstrapFit fit = Bootstrap(3, 40, kFALSE);
    std::vector<double> values(40);
    double low, median, high;
    EXPECT_EQ(kBootstrapFit_Evaluate(fit, 0.2, values.data(), 40), kSTATUS_BAD_STATE);
    EXPECT_EQ(kBootstrapFit_EvaluateConfidenceLevels(fit, 0.2, &low, &median, &high),
              kSTATUS_BAD_STATE);

    ASSERT_EQ(kBootstrapFit_Apply(fit, d.x.data(), d.y.data(), d.x.size()), kOK);
    EXPECT_EQ(kBootstrapFit_Evaluate(fit, 0.2, values.data(), 39), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kBootstrapFit_Evaluate(fit, 0.2, kNULL, 40), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kBootstrapFit_Evaluate(fit, 0.2, values.data(), 40), kOK);
    for (kSize i = 0; i < 40; ++i)
        EXPECT_EQ(values[i], kPolynomial_Apply(kBootstrapFit_PolynomialAt(fit, i), 0.2));

    ASSERT_EQ(kBootstrapFit_EvaluateConfidenceLevels(fit, 0.2, &low, &median, &high), kOK);
    EXPECT_EQ(low, kVsMath_Percentile64f(values.data(), 40, 1.0));
    EXPECT_EQ(median, kVsMath_Percentile64f(values.data(), 40, 50.0));
    EXPECT_EQ(high, kVsMath_Percentile64f(values.data(), 40, 99.0));
    EXPECT_LT(low, high);

    // A second Apply appends; Evaluate keeps reading the first 40.
    ASSERT_EQ(kBootstrapFit_Apply(fit, d.x.data(), d.y.data(), d.x.size()), kOK);
    EXPECT_EQ(kBootstrapFit_PolynomialCount(fit), 80u);
    std::vector<double> again(40);
    ASSERT_EQ(kBootstrapFit_Evaluate(fit, 0.2, again.data(), 40), kOK);
    EXPECT_EQ(again, values);
    EXPECT_EQ(kBootstrapFit_PolynomialAt(fit, 80), kNULL);
}

TEST_F(BootstrapFit, SingleSampleSetsEqualTheInput)
{
    const double x = 2.0, y = -3.5;
    srand(5);
    kBootstrapFit fit = Bootstrap(0, 6, kTRUE);
    ASSERT_EQ(kBootstrapFit_Apply(fit, &x, &y, 1), kOK);
    for (const std::vector<double>& c : Family(fit))
        EXPECT_EQ(c, std::vector<double>{-3.5});
}

TEST_F(BootstrapFit, ForwardsToTheInnerFitAndRefusesBadInput)
{
    kBootstrapFit fit = Bootstrap(-2, 4, kTRUE);
    EXPECT_EQ(kBootstrapFit_Order(fit), -2);
    ASSERT_EQ(kBootstrapFit_SetOrderPenalty(fit, 1.25), kOK);
    ASSERT_EQ(kBootstrapFit_SetTargetError(fit, 0.5), kOK);
    EXPECT_EQ(kBootstrapFit_OrderPenalty(fit), 1.25);
    EXPECT_EQ(kBootstrapFit_TargetError(fit), 0.5);

    const double x[] = {0, 1, 2}, y[] = {1, 2, 3};
    EXPECT_EQ(kBootstrapFit_Apply(fit, kNULL, y, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kBootstrapFit_Apply(fit, x, kNULL, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kBootstrapFit_Apply(fit, x, y, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kBootstrapFit_PolynomialCount(fit), 0u);
    EXPECT_EQ(kBootstrapFit_Construct(kNULL, 1, 1, kTRUE, m_alloc), kSTATUS_BAD_PARAMETER);
}

TEST_F(BootstrapFit, DataThatCanNeverBeFittedEndsWithTheFitStatus)
{
    // Every x equal: the order-1 system is singular whatever the resampling.
    const double x[] = {1, 1, 1, 1, 1, 1}, y[] = {1, 2, 3, 4, 5, 6};
    kBootstrapFit fit = Bootstrap(1, 3, kFALSE);
    EXPECT_EQ(kBootstrapFit_Apply(fit, x, y, 6), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kBootstrapFit_PolynomialCount(fit), 0u);
}

TEST_F(BootstrapFit, ConstructionAndApplyLeakNothingWhenAllocationFails)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kBootstrapFit_Construct(handle, 2, 5, kTRUE, alloc); });

    const Data d = Cubic(0.1, 3);
    for (kBool blockMode : {kTRUE, kFALSE})
        ktest::ExpectCleanFailures(
            [&](kAlloc alloc, kObject* handle)
            {
                kBootstrapFit fit = kNULL;
                srand(3);
                kStatus status = kBootstrapFit_Construct(&fit, 2, 4, blockMode, alloc);
                if (kSuccess(status)) status = kBootstrapFit_SetOrderPenalty(fit, 1.1);
                if (kSuccess(status))
                    status = kBootstrapFit_Apply(fit, d.x.data(), d.y.data(), d.x.size());
                if (kSuccess(status))
                    *handle = fit;
                else
                    kObject_Destroy(fit);
                return status;
            });
}
} // namespace
