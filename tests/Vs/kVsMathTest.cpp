// Percentile against the Hazen definition, and the uniform draw from the process-wide rand.
#include <kTestSupport.h>

#include <kSolan/Vs/kVsMath.h>
#include <kSolan/Vs/kVsRand.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

namespace
{
/* Hazen: the sorted values sit at 1-based positions (k − 0.5)/n · 100 percent. */
double Hazen(std::vector<double> v, double percent)
{
    std::sort(v.begin(), v.end());
    const double n = (double)v.size();
    const double h = n * percent / 100.0 + 0.5; // 1-based rank
    if (h <= 1.0) return v.front();
    if (h >= n) return v.back();
    const size_t lo = (size_t)std::floor(h);
    return v[lo - 1] + (h - (double)lo) * (v[lo] - v[lo - 1]);
}

TEST(VsMath, PercentileOfOneToFour)
{
    const double v[] = {4.0, 1.0, 3.0, 2.0};
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, 50.0), 2.5);
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, 0.0), 1.0);
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, 100.0), 4.0);
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, 25.0), 1.5);
    EXPECT_EQ(v[0], 4.0) << "the input is not sorted in place";
}

TEST(VsMath, PercentileRefusesOutOfRangeInTheValue)
{
    const double v[] = {1.0, 2.0, 3.0, 4.0};
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, 101.0), -997.0);
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, -0.5), -997.0);
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, std::numeric_limits<double>::quiet_NaN()), -997.0);
    EXPECT_EQ(kVsMath_Percentile64f(v, 0, 50.0), -997.0);
    EXPECT_EQ(kVsMath_Percentile64f(kNULL, 4, 50.0), -997.0);
}

TEST(VsMath, PercentileAgreesWithHazenOnRandomVectors)
{
    std::mt19937_64 rng(21);
    std::uniform_real_distribution<double> u(-100.0, 100.0);
    std::uniform_real_distribution<double> pct(0.0, 100.0);
    for (size_t n : {1, 2, 3, 7, 50, 101})
    {
        std::vector<double> v(n);
        for (double& value : v)
            value = u(rng);
        for (int t = 0; t < 20; ++t)
        {
            const double p = (t == 0) ? 0.0 : (t == 1) ? 100.0 : pct(rng);
            EXPECT_NEAR(kVsMath_Percentile64f(v.data(), n, p), Hazen(v, p), 1e-12)
                << "n " << n << ", " << p << " %";
        }
    }
}

TEST(VsMath, PercentileSurvivesNaN)
{
    const double v[] = {std::numeric_limits<double>::quiet_NaN(), 1.0, 2.0, 3.0};
    EXPECT_EQ(kVsMath_Percentile64f(v, 4, 0.0), 1.0) << "NaN sorts last";
}

TEST(VsRand, UniformComposesThreeDrawsOfRand)
{
    srand(77);
    std::vector<double> expected;
    for (int i = 0; i < 1000; ++i)
    {
        double u;
        do
        {
            const double a = rand(), b = rand(), c = rand();
            u = ((a / 2147483648.0 + b) / 2147483648.0 + c) / 2147483648.0;
        } while (u >= 1.0);
        expected.push_back(u);
    }
    srand(77);
    double sum = 0;
    for (int i = 0; i < 1000; ++i)
    {
        const double u = kVsRand_Uniform();
        ASSERT_EQ(u, expected[i]) << "draw " << i;
        ASSERT_GE(u, 0.0);
        ASSERT_LT(u, 1.0);
        sum += u;
    }
    EXPECT_NEAR(sum / 1000.0, 0.5, 0.05);
}
} // namespace
