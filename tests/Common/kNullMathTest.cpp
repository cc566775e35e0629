// Null-aware statistics: exact cases, null handling and slow two-pass references.
#include <kTestSupport.h>

#include <kSolan/Common/kNullMath.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
const k64f N = k64F_NULL;
const k16s N16 = k16S_NULL;

/* Two-pass sample deviation over the valid samples (an independent formula). */
double SlowStdev(const std::vector<double>& v)
{
    double sum = 0;
    int n = 0;
    for (double x : v)
        if (x != N) sum += x, ++n;
    double mean = sum / n, sq = 0;
    for (double x : v)
        if (x != N) sq += (x - mean) * (x - mean);
    return std::sqrt(sq / (n - 1));
}
} // namespace

TEST(NullMath, AveragesSkipNulls)
{
    std::vector<double> v = {N, 1, -3, N, 8};
    double out = 7;
    EXPECT_EQ(kNullMath_Average64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, 2.0);
    EXPECT_EQ(kNullMath_AverageAbs64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, 4.0);
    EXPECT_EQ(kNullMath_Sum64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, 6.0);
    EXPECT_EQ(kNullMath_Valid64f(v.data(), v.size()), 3u);

    // Only nulls: the true/false operations return 0 and write 0.
    std::vector<double> none = {N, N};
    out = 7;
    EXPECT_EQ(kNullMath_Average64f(none.data(), none.size(), &out), kSTATUS_FAILED);
    EXPECT_EQ(out, 0.0);
    out = 7;
    EXPECT_EQ(kNullMath_AverageAbs64f(none.data(), 0, &out), kSTATUS_FAILED);
    EXPECT_EQ(out, 0.0);
    EXPECT_EQ(kNullMath_Sum64f(none.data(), none.size(), &out), kOK);
    EXPECT_EQ(out, 0.0);
    EXPECT_EQ(kNullMath_Valid64f(none.data(), none.size()), 0u);
    EXPECT_EQ(kNullMath_Valid64f(kNULL, 5), 0u);
}

TEST(NullMath, ExtremesAndTheirIndices)
{
    std::vector<double> v = {N, -7, 3, 7, N, 3, -7};
    double out = 0;
    kSize index = 99;
    EXPECT_EQ(kNullMath_Max64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, 7.0);
    EXPECT_EQ(kNullMath_Min64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, -7.0);
    EXPECT_EQ(kNullMath_AbsMax64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, 7.0); // a magnitude
    EXPECT_EQ(kNullMath_FindMax64f(v.data(), v.size(), &index), kOK);
    EXPECT_EQ(index, 3u);
    EXPECT_EQ(kNullMath_FindMin64f(v.data(), v.size(), &index), kOK);
    EXPECT_EQ(index, 1u); // the earliest of equal values
    std::vector<double> negative = {-5, -2};
    EXPECT_EQ(kNullMath_AbsMax64f(negative.data(), negative.size(), &out), kOK);
    EXPECT_EQ(out, 5.0);

    std::vector<double> none = {N};
    out = 1;
    index = 1;
    EXPECT_EQ(kNullMath_Max64f(none.data(), 1, &out), kSTATUS_FAILED);
    EXPECT_EQ(out, 0.0);
    out = 1;
    EXPECT_EQ(kNullMath_Min64f(none.data(), 1, &out), kSTATUS_FAILED);
    EXPECT_EQ(out, 0.0);
    out = 1;
    EXPECT_EQ(kNullMath_AbsMax64f(none.data(), 1, &out), kSTATUS_FAILED);
    EXPECT_EQ(out, 0.0);
    EXPECT_EQ(kNullMath_FindMax64f(none.data(), 1, &index), kSTATUS_FAILED);
    EXPECT_EQ(index, 0u);
    index = 1;
    EXPECT_EQ(kNullMath_FindMin64f(kNULL, 0, &index), kSTATUS_FAILED);
    EXPECT_EQ(index, 0u);
}

TEST(NullMath, SampleDeviation)
{
    std::vector<double> v = {1, N, 2, 3, 4};
    double out = 0;
    ASSERT_EQ(kNullMath_Stdev64f(v.data(), v.size(), &out), kOK);
    EXPECT_EQ(out, std::sqrt(20.0 / 12.0)); // (4·30 − 10²)/(4·3)

    std::mt19937_64 rng(11);
    std::normal_distribution<double> g(5.0, 2.0);
    std::vector<double> r(301);
    for (double& x : r)
        x = (rng() % 7 == 0) ? N : g(rng);
    ASSERT_EQ(kNullMath_Stdev64f(r.data(), r.size(), &out), kOK);
    EXPECT_NEAR(out, SlowStdev(r), 1e-12 * SlowStdev(r));

    // Σ|v| in place of Σv: {−1, 1} has (2·2 − 2²)/2 = 0.
    std::vector<double> pm = {-1, 1};
    ASSERT_EQ(kNullMath_Stdev64f(pm.data(), 2, &out), kOK);
    EXPECT_EQ(out, std::sqrt(2.0));
    ASSERT_EQ(kNullMath_StdevAbs64f(pm.data(), 2, &out), kOK);
    EXPECT_EQ(out, 0.0);

    // Five equal 0.7 give a radicand of −8.9e-17 by rounding: 0, not NaN.
    std::vector<double> same(5, 0.7);
    ASSERT_EQ(kNullMath_Stdev64f(same.data(), same.size(), &out), kOK);
    EXPECT_EQ(out, 0.0);

    out = 42;
    EXPECT_EQ(kNullMath_Stdev64f(kNULL, 5, &out), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_Stdev64f(v.data(), 1, &out), kSTATUS_BAD_PARAMETER);
    std::vector<double> oneValid = {N, 3, N};
    EXPECT_EQ(kNullMath_Stdev64f(oneValid.data(), 3, &out), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_StdevAbs64f(oneValid.data(), 3, &out), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(out, 42.0);
}

TEST(NullMath, ElementWiseOperationsPropagateNulls)
{
    std::vector<double> a = {1, N, -3, 4}, b = {2, 5, N, -6}, out(4);
    ASSERT_EQ(kNullMath_Add64f(a.data(), b.data(), out.data(), 4), kOK);
    EXPECT_EQ(out, (std::vector<double>{3, N, N, -2}));
    ASSERT_EQ(kNullMath_Sub64f(a.data(), b.data(), out.data(), 4), kOK);
    EXPECT_EQ(out, (std::vector<double>{-1, N, N, 10}));
    ASSERT_EQ(kNullMath_SubAbs64f(a.data(), b.data(), out.data(), 4), kOK);
    EXPECT_EQ(out, (std::vector<double>{-1, N, N, -2}));
    ASSERT_EQ(kNullMath_AddC64f(a.data(), out.data(), 4, 0.5), kOK);
    EXPECT_EQ(out, (std::vector<double>{1.5, N, -2.5, 4.5}));
    ASSERT_EQ(kNullMath_MulC64f(a.data(), out.data(), 4, -2), kOK);
    EXPECT_EQ(out, (std::vector<double>{-2, N, 6, -8}));
    ASSERT_EQ(kNullMath_Abs64f(a.data(), out.data(), 4), kOK);
    EXPECT_EQ(out, (std::vector<double>{1, N, 3, 4}));

    // Pairwise: b when a is null, a when only b is null; both nulls stay null.
    std::vector<double> pa = {1, N, -3, 4, N}, pb = {2, 5, N, -6, N}, po(5);
    ASSERT_EQ(kNullMath_MinPairwise64f(pa.data(), pb.data(), po.data(), 5), kOK);
    EXPECT_EQ(po, (std::vector<double>{1, 5, -3, -6, N}));
    ASSERT_EQ(kNullMath_MaxPairwise64f(pa.data(), pb.data(), po.data(), 5), kOK);
    EXPECT_EQ(po, (std::vector<double>{2, 5, -3, 4, N}));

    ASSERT_EQ(kNullMath_Add64f(a.data(), b.data(), a.data(), 4), kOK); // in place
    EXPECT_EQ(a, (std::vector<double>{3, N, N, -2}));
    EXPECT_EQ(kNullMath_Add64f(kNULL, b.data(), out.data(), 4), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_Abs64f(a.data(), kNULL, 4), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_Abs64f(kNULL, kNULL, 0), kOK);
}

TEST(NullMath, Runs)
{
    const double v = 1;
    k32u start = 9, length = 9;
    std::vector<double> s = {N, v, v, N, v};
    ASSERT_EQ(kNullMath_FindRun64f(s.data(), s.size(), &start, &length), kOK);
    EXPECT_EQ(start, 1u);
    EXPECT_EQ(length, 2u);
    std::vector<double> none = {N, N, N};
    ASSERT_EQ(kNullMath_FindRun64f(none.data(), none.size(), &start, &length), kOK);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(length, 0u);

    // Gaps shorter than maxGap lie inside the run.
    std::vector<double> gap = {v, N, v, v};
    ASSERT_EQ(kNullMath_FindInterruptedRun64f(gap.data(), 4, 2, &start, &length), kOK);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(length, 4u);
    ASSERT_EQ(kNullMath_FindInterruptedRun64f(gap.data(), 4, 1, &start, &length), kOK);
    EXPECT_EQ(length, 1u);
    std::vector<double> trailing = {N, v, N, N}; // a trailing gap is not part of the run
    ASSERT_EQ(kNullMath_FindInterruptedRun64f(trailing.data(), 4, 5, &start, &length), kOK);
    EXPECT_EQ(start, 1u);
    EXPECT_EQ(length, 1u);
    ASSERT_EQ(kNullMath_FindInterruptedRun64f(none.data(), 3, 5, &start, &length), kOK);
    EXPECT_EQ(length, 0u);

    // Runs (0,1), (3,3), (7,2) with gaps 2 and 1.
    std::vector<double> many = {v, N, N, v, v, v, N, v, v};
    ASSERT_EQ(kNullMath_FindLongestRun64f(many.data(), many.size(), 1, &start, &length), kOK);
    EXPECT_EQ(start, 3u);
    EXPECT_EQ(length, 3u);
    ASSERT_EQ(kNullMath_FindLongestRun64f(many.data(), many.size(), 2, &start, &length), kOK);
    EXPECT_EQ(start, 3u); // (0,1), then (3,6) over the gap of 1
    EXPECT_EQ(length, 6u);
    ASSERT_EQ(kNullMath_FindLongestRun64f(many.data(), many.size(), 3, &start, &length), kOK);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(length, 9u);
    std::vector<double> ties = {v, v, N, v, v}; // the first of equally long runs
    ASSERT_EQ(kNullMath_FindLongestRun64f(ties.data(), ties.size(), 1, &start, &length), kOK);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(length, 2u);
    ASSERT_EQ(kNullMath_FindLongestRun64f(none.data(), 3, 1, &start, &length), kOK);
    EXPECT_EQ(length, 0u);

    std::vector<double> clear = {v, N, v, v};
    ASSERT_EQ(kNullMath_ClearRuns64f(clear.data(), clear.size(), 1), kOK);
    EXPECT_EQ(clear, (std::vector<double>{N, N, v, v}));
    std::vector<double> islands = {N, v, N, v, v, v, N, v, v};
    ASSERT_EQ(kNullMath_ClearRuns64f(islands.data(), islands.size(), 2), kOK);
    EXPECT_EQ(islands, (std::vector<double>{N, N, N, v, v, v, N, N, N}));
    EXPECT_EQ(kNullMath_FindRun64f(kNULL, 3, &start, &length), kSTATUS_BAD_PARAMETER);
}

TEST(NullMath, MedianAndSorting)
{
    std::vector<double> even = {4, 1, 3, 2}, odd = {3, 1, 2}, withNull = {N, 5, 7};
    double out = 0;
    ASSERT_EQ(kNullMath_Median64f(even.data(), even.size(), &out), kOK);
    EXPECT_EQ(out, 2.5);
    ASSERT_EQ(kNullMath_Median64f(odd.data(), odd.size(), &out), kOK);
    EXPECT_EQ(out, 2.0);
    ASSERT_EQ(kNullMath_Median64f(withNull.data(), withNull.size(), &out), kOK);
    EXPECT_EQ(out, 5.0);                                // nulls are samples too
    EXPECT_EQ(even, (std::vector<double>{4, 1, 3, 2})); // input untouched
    EXPECT_EQ(kNullMath_Median64f(even.data(), 0, &out), kSTATUS_FAILED);

    double a = 1, b = 2;
    EXPECT_EQ(kNullMath_LessThan64f(&a, &b), 1);
    EXPECT_EQ(kNullMath_LessThan64f(&b, &a), -1);
    EXPECT_EQ(kNullMath_LessThan64f(&a, &a), 0);
    EXPECT_EQ(kNullMath_GreaterThan64f(&a, &b), -1);

    std::vector<double> v = {3, N, -1, 8, 0};
    ASSERT_EQ(kNullMath_Sort64f_Ascending(v.data(), v.size()), kOK);
    EXPECT_EQ(v, (std::vector<double>{N, -1, 0, 3, 8}));
    ASSERT_EQ(kNullMath_Sort64f_Descending(v.data(), v.size()), kOK);
    EXPECT_EQ(v, (std::vector<double>{8, 3, 0, -1, N}));
}

TEST(NullMath, PointMeanAndDeviation)
{
    std::vector<kPoint3d64f> p = {{1, 2, 3}, {N, 0, 0}, {3, 6, 9}, {0, 0, N}, {5, 10, 15}};
    kPoint3d64f mean, stdev;
    ASSERT_EQ(kNullMath_MeanPoint3d64f(p.data(), p.size(), &mean), kOK);
    EXPECT_EQ(mean.x, 3.0);
    EXPECT_EQ(mean.y, 6.0);
    EXPECT_EQ(mean.z, 9.0);
    ASSERT_EQ(kNullMath_StdevPoint3d64f(p.data(), p.size(), &stdev), kOK);
    EXPECT_EQ(stdev.x, std::sqrt(8.0 / 3.0)); // population: Σd² = 8 over 3 points
    EXPECT_EQ(stdev.y, std::sqrt(32.0 / 3.0));
    EXPECT_EQ(stdev.z, std::sqrt(72.0 / 3.0));

    std::vector<kPoint3d64f> none = {{N, 1, 1}, {1, N, 1}};
    ASSERT_EQ(kNullMath_MeanPoint3d64f(none.data(), none.size(), &mean), kOK);
    EXPECT_EQ(mean.x, N);
    EXPECT_EQ(mean.y, N);
    EXPECT_EQ(mean.z, N);
    ASSERT_EQ(kNullMath_StdevPoint3d64f(none.data(), none.size(), &stdev), kOK);
    EXPECT_EQ(stdev.x, N);
    EXPECT_EQ(stdev.z, N);

    EXPECT_EQ(kNullMath_MeanPoint3d64f(kNULL, 3, &mean), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_MeanPoint3d64f(p.data(), 0, &mean), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_StdevPoint3d64f(p.data(), 0, &stdev), kSTATUS_BAD_PARAMETER);
}

TEST(NullMath, SixteenBitSamples)
{
    std::vector<k16s> a = {30000, N16, -5, 100}, b = {10000, 3, N16, -200}, out(4);
    ASSERT_EQ(kNullMath_Add16s(a.data(), b.data(), out.data(), 4), kOK);
    EXPECT_EQ(out, (std::vector<k16s>{-25536, N16, N16, -100})); // 40000 wraps
    ASSERT_EQ(kNullMath_Sub16s(b.data(), a.data(), out.data(), 4), kOK);
    EXPECT_EQ(out, (std::vector<k16s>{-20000, N16, N16, -300}));
    std::vector<k16s> low = {-30000}, high = {10000};
    ASSERT_EQ(kNullMath_Sub16s(low.data(), high.data(), out.data(), 1), kOK);
    EXPECT_EQ(out[0], 25536);

    std::vector<k16s> v = {-3, N16, -4};
    k16s mean16 = 0;
    double mean64 = 0;
    ASSERT_EQ(kNullMath_Average16s(v.data(), v.size(), &mean16, &mean64), kOK);
    EXPECT_EQ(mean64, -3.5);
    EXPECT_EQ(mean16, -3); // toward zero
    ASSERT_EQ(kNullMath_Average16s(v.data(), v.size(), kNULL, &mean64), kOK);
    std::vector<k16s> none = {N16};
    mean16 = 7;
    mean64 = 7;
    EXPECT_EQ(kNullMath_Average16s(none.data(), 1, &mean16, &mean64), kSTATUS_FAILED);
    EXPECT_EQ(mean16, 0);
    EXPECT_EQ(mean64, 0.0);

    std::vector<k16s> s = {1, 2, N16, 3, 4};
    k16s stdev16 = 0;
    double stdev64 = 0;
    ASSERT_EQ(kNullMath_Stdev16s(s.data(), s.size(), &stdev16, &stdev64), kOK);
    EXPECT_EQ(stdev64, std::sqrt(20.0 / 12.0));
    EXPECT_EQ(stdev16, 1);
    std::vector<k16s> spread = {-32767, 32767}; // 46339.5: saturates
    ASSERT_EQ(kNullMath_Stdev16s(spread.data(), 2, &stdev16, &stdev64), kOK);
    EXPECT_EQ(stdev16, 32767);
    EXPECT_EQ(stdev64, std::sqrt(2147352578.0)); // 32767·√2
    std::vector<k16s> flat = {9, 9, 9};
    ASSERT_EQ(kNullMath_Stdev16s(flat.data(), 3, &stdev16, &stdev64), kOK);
    EXPECT_EQ(stdev64, 0.0);

    EXPECT_EQ(kNullMath_Stdev16s(kNULL, 3, &stdev16, &stdev64), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_Stdev16s(s.data(), 1, &stdev16, &stdev64), kSTATUS_BAD_PARAMETER);
    std::vector<k16s> oneValid = {N16, 5};
    EXPECT_EQ(kNullMath_Stdev16s(oneValid.data(), 2, &stdev16, &stdev64), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kNullMath_Add16s(a.data(), kNULL, out.data(), 4), kSTATUS_BAD_PARAMETER);
}
