// One- and two-variable polynomials: evaluation order bit for bit, cloning, sizes, statuses.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Common/kPolynomial.h>
#include <kSolan/Common/kPolynomial2.h>

#include <random>
#include <vector>

namespace
{
class Polynomial : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }

    static kAssembly s_assembly;
    ktest::CountingAlloc m_alloc;
};
kAssembly Polynomial::s_assembly = kNULL;

/* Powers by repeated multiplication, each term added in turn. */
double PowerSum(const std::vector<double>& c, double x)
{
    double sum = c[0];
    for (size_t i = 1; i < c.size(); ++i)
    {
        double p = 1.0;
        for (size_t k = 0; k < i; ++k)
            p *= x;
        sum += c[i] * p;
    }
    return sum;
}

/* Graded order with power tables px, py, each term as (c·px[i])·py[d−i]. */
double GradedSum(const std::vector<double>& c, unsigned n, double x, double y)
{
    std::vector<double> px(n + 1, 1.0), py(n + 1, 1.0);
    for (unsigned k = 1; k <= n; ++k)
    {
        px[k] = px[k - 1] * x;
        py[k] = py[k - 1] * y;
    }
    double sum = c[0];
    size_t k = 1;
    for (unsigned d = 1; d <= n; ++d)
        for (int i = (int)d; i >= 0; --i)
            sum += (c[k++] * px[i]) * py[d - i];
    return sum;
}

std::vector<double> RandomValues(std::mt19937_64& rng, size_t count, double lo, double hi)
{
    std::uniform_real_distribution<double> u(lo, hi);
    std::vector<double> v(count);
    for (double& value : v)
        value = u(rng);
    return v;
}

TEST_F(Polynomial, EvaluatesPowersByRepeatedMultiplicationBitForBit)
{
    std::mt19937_64 rng(7);
    for (k32u order : {0u, 1u, 3u, 9u})
    {
        kPolynomial poly = kNULL;
        ASSERT_EQ(kPolynomial_Construct(&poly, order, m_alloc), kOK);
        ASSERT_EQ(kPolynomial_Order(poly), order);
        std::vector<double> c = RandomValues(rng, order + 1, -3.0, 3.0);
        std::copy(c.begin(), c.end(), kPolynomial_Coefficients(poly));

        std::vector<double> x = RandomValues(rng, 64, -2.5, 2.5);
        std::vector<double> y(x.size(), 0.0);
        ASSERT_EQ(kPolynomial_ApplyN(poly, x.data(), y.data(), x.size()), kOK);
        for (size_t i = 0; i < x.size(); ++i)
        {
            EXPECT_EQ(kPolynomial_Apply(poly, x[i]), PowerSum(c, x[i])) << "order " << order;
            EXPECT_EQ(y[i], PowerSum(c, x[i]));
            if (order == 0)
            {
                EXPECT_EQ(y[i], c[0]);
            }
        }
        kObject_Destroy(poly);
    }
}

TEST_F(Polynomial, ApplyNRefusesNullPointersAndZeroCountWritingNothing)
{
    kPolynomial poly = kNULL;
    ASSERT_EQ(kPolynomial_Construct(&poly, 1, m_alloc), kOK);
    kPolynomial_Coefficients(poly)[0] = 1.0;
    kPolynomial_Coefficients(poly)[1] = 2.0;
    double x = 3.0, y = -1.0;
    EXPECT_EQ(kPolynomial_ApplyN(poly, &x, &y, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial_ApplyN(poly, kNULL, &y, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial_ApplyN(poly, &x, kNULL, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(y, -1.0);
    EXPECT_EQ(kPolynomial_Construct(kNULL, 1, m_alloc), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(poly);
}

TEST_F(Polynomial, AllocAssignCloneAndSize)
{
    kPolynomial a = kNULL, b = kNULL, clone = kNULL;
    ASSERT_EQ(kPolynomial_Construct(&a, 2, m_alloc), kOK);
    ASSERT_EQ(kPolynomial_Construct(&b, 0, m_alloc), kOK);
    const double c[] = {1.5, -2.0, 0.25};
    std::copy(c, c + 3, kPolynomial_Coefficients(a));
    EXPECT_EQ(kObject_Size(a), kType_InnerSize(kTypeOf(kPolynomial)) + 3 * sizeof(k64f));

    ASSERT_EQ(kPolynomial_Assign(b, a), kOK);
    EXPECT_EQ(kPolynomial_Order(b), 2u);
    EXPECT_EQ(std::vector<double>(kPolynomial_Coefficients(b), kPolynomial_Coefficients(b) + 3),
              std::vector<double>(c, c + 3));
    ASSERT_EQ(kPolynomial_Assign(b, b), kOK); // self-assignment keeps the values
    EXPECT_EQ(kPolynomial_Coefficients(b)[2], 0.25);

    ASSERT_EQ(kObject_Clone(&clone, a, m_alloc), kOK);
    EXPECT_NE(kPolynomial_Coefficients(clone), kPolynomial_Coefficients(a));
    kPolynomial_Coefficients(a)[1] = 100.0;
    EXPECT_EQ(kPolynomial_Order(clone), 2u);
    EXPECT_EQ(kPolynomial_Coefficients(clone)[1], -2.0);
    EXPECT_EQ(kObject_Size(clone), kObject_Size(a));

    ASSERT_EQ(kPolynomial_Alloc(a, 5), kOK);
    EXPECT_EQ(kPolynomial_Order(a), 5u);
    EXPECT_EQ(kObject_Size(a), kType_InnerSize(kTypeOf(kPolynomial)) + 6 * sizeof(k64f));

    kObject_Destroy(clone);
    kObject_Destroy(b);
    kObject_Destroy(a);
}

TEST_F(Polynomial, ConstructionAndCloneFailCleanlyAtEveryAllocation)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kPolynomial_Construct(handle, 4, alloc); });
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kPolynomial2_Construct(handle, 3, 3, alloc); });

    kPolynomial source = kNULL;
    kPolynomial2 source2 = kNULL;
    ASSERT_EQ(kPolynomial_Construct(&source, 3, m_alloc), kOK);
    ASSERT_EQ(kPolynomial2_Construct(&source2, 2, 2, m_alloc), kOK);
    ktest::ExpectCleanFailures([&](kAlloc alloc, kObject* handle)
                               { return kObject_Clone(handle, source, alloc); });
    ktest::ExpectCleanFailures([&](kAlloc alloc, kObject* handle)
                               { return kObject_Clone(handle, source2, alloc); });
    kObject_Destroy(source2);
    kObject_Destroy(source);
}

TEST_F(Polynomial, FailedAllocKeepsTheOldCoefficients)
{
    ktest::CountingAlloc alloc;
    kPolynomial poly = kNULL;
    ASSERT_EQ(kPolynomial_Construct(&poly, 1, alloc), kOK);
    kPolynomial_Coefficients(poly)[0] = 4.0;
    kPolynomial_Coefficients(poly)[1] = 5.0;
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_NE(kPolynomial_Alloc(poly, 3), kOK);
    EXPECT_EQ(kPolynomial_Order(poly), 1u);
    EXPECT_EQ(kPolynomial_Apply(poly, 2.0), 14.0);
    kObject_Destroy(poly);
}

TEST_F(Polynomial, TwoVariableEvaluationFollowsGradedOrderBitForBit)
{
    std::mt19937_64 rng(11);
    for (k32u n : {0u, 1u, 2u, 5u, 12u})
    {
        kPolynomial2 poly = kNULL;
        ASSERT_EQ(kPolynomial2_Construct(&poly, n, n, m_alloc), kOK);
        const kSize terms = (n + 1) * (n + 2) / 2;
        ASSERT_EQ(kPolynomial2_CoeffCount(poly), terms);
        EXPECT_TRUE(kPolynomial2_IsValid(poly));
        EXPECT_EQ(kObject_Size(poly), kType_InnerSize(kTypeOf(kPolynomial2)) + terms * 8);
        std::vector<double> c = RandomValues(rng, terms, -2.0, 2.0);
        std::copy(c.begin(), c.end(), kPolynomial2_Coefficients(poly));

        std::vector<double> x = RandomValues(rng, 32, -1.5, 1.5);
        std::vector<double> y = RandomValues(rng, 32, -1.5, 1.5);
        std::vector<double> z(x.size());
        ASSERT_EQ(kPolynomial2_ApplyN(poly, x.data(), y.data(), z.data(), x.size()), kOK);
        for (size_t i = 0; i < x.size(); ++i)
        {
            EXPECT_EQ(z[i], GradedSum(c, n, x[i], y[i])) << "n " << n;
            EXPECT_EQ(kPolynomial2_Apply(poly, x[i], y[i]), z[i]);
        }
        kObject_Destroy(poly);
    }
}

TEST_F(Polynomial, TwoVariableTermsAreInGradedOrder)
{
    // n = 2: c0, c1·x, c2·y, c3·x², c4·x·y, c5·y²; one term at a time.
    kPolynomial2 poly = kNULL;
    ASSERT_EQ(kPolynomial2_Construct(&poly, 2, 2, m_alloc), kOK);
    const double x = 3.0, y = 5.0;
    const double expected[] = {1.0, x, y, x * x, x * y, y * y};
    for (int t = 0; t < 6; ++t)
    {
        for (int k = 0; k < 6; ++k)
            kPolynomial2_Coefficients(poly)[k] = (k == t) ? 1.0 : 0.0;
        EXPECT_EQ(kPolynomial2_Apply(poly, x, y), expected[t]) << "term " << t;
    }
    kObject_Destroy(poly);
}

TEST_F(Polynomial, TwoVariableStatusesSetAssignAndClone)
{
    kPolynomial2 poly = kNULL, other = kNULL, clone = kNULL;
    EXPECT_EQ(kPolynomial2_Construct(&poly, 3, 4, m_alloc), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kPolynomial2_Construct(&poly, 13, 13, m_alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(poly, kNULL);

    ASSERT_EQ(kPolynomial2_Construct(&poly, 0, 0, m_alloc), kOK);
    EXPECT_EQ(kPolynomial2_CoeffCount(poly), 1u);
    const double c[] = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(kPolynomial2_Set(poly, 2, 7, c), kOK); // orderY is stored, not checked
    EXPECT_EQ(kPolynomial2_OrderX(poly), 2u);
    EXPECT_EQ(kPolynomial2_OrderY(poly), 7u);
    EXPECT_EQ(kPolynomial2_Apply(poly, 1.0, 2.0), 1 + 2 + 3 * 2 + 4 + 5 * 2 + 6 * 4);
    ASSERT_EQ(kPolynomial2_Set(poly, 2, 2, kPolynomial2_Coefficients(poly)), kOK);
    EXPECT_EQ(kPolynomial2_Coefficients(poly)[5], 6.0);

    double x = 1, y = 1, z = 0;
    EXPECT_EQ(kPolynomial2_ApplyN(poly, &x, &y, &z, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial2_ApplyN(poly, &x, kNULL, &z, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kPolynomial2_ApplyN(poly, &x, &y, kNULL, 1), kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kPolynomial2_Construct(&other, 1, 1, m_alloc), kOK);
    ASSERT_EQ(kPolynomial2_Assign(other, poly), kOK);
    EXPECT_EQ(kPolynomial2_CoeffCount(other), 6u);
    EXPECT_EQ(kPolynomial2_Apply(other, 1.0, 2.0), kPolynomial2_Apply(poly, 1.0, 2.0));

    ASSERT_EQ(kObject_Clone(&clone, poly, m_alloc), kOK);
    kPolynomial2_Coefficients(poly)[0] = -50.0;
    EXPECT_EQ(kPolynomial2_Coefficients(clone)[0], 1.0);
    EXPECT_EQ(kPolynomial2_OrderX(clone), 2u);
    EXPECT_EQ(kObject_Size(clone), kType_InnerSize(kTypeOf(kPolynomial2)) + 6 * 8);

    kObject_Destroy(clone);
    kObject_Destroy(other);
    kObject_Destroy(poly);
}
} // namespace
