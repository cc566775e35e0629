// Dense matrices and the small direct solvers, against exact cases and Eigen as the reference.
#include <kTestSupport.h>

#include <kSolan/Common/kMatrix.h>
#include <kSolan/Common/kMatrixDirect.h>

#include <Eigen/Dense>

#include <cmath>
#include <initializer_list>
#include <random>
#include <vector>

namespace
{
using Eigen::MatrixXd;

/* A k64f kArray2 owned by the test. */
class Mat
{
public:
    Mat(kSize rows, kSize columns)
    {
        EXPECT_EQ(kArray2_Construct(&m_h, kTypeOf(k64f), rows, columns, kNULL), kOK);
    }
    Mat(std::initializer_list<std::initializer_list<double>> rows)
        : Mat(rows.size(), rows.begin()->size())
    {
        kSize i = 0;
        for (const auto& row : rows)
        {
            kSize j = 0;
            for (double v : row)
                (*this)(i, j++) = v;
            ++i;
        }
    }
    explicit Mat(const MatrixXd& m) : Mat(m.rows(), m.cols())
    {
        for (kSize i = 0; i < Rows(); ++i)
            for (kSize j = 0; j < Columns(); ++j)
                (*this)(i, j) = m(i, j);
    }
    ~Mat() { kObject_Destroy(m_h); }
    Mat(const Mat&) = delete;
    Mat& operator=(const Mat&) = delete;

    operator kArray2() const { return m_h; }
    kSize Rows() const { return kArray2_Length(m_h, 0); }
    kSize Columns() const { return kArray2_Length(m_h, 1); }
    double& operator()(kSize i, kSize j) const { return *kArray2_AtT<k64f>(m_h, i, j); }
    MatrixXd Eigen() const
    {
        MatrixXd m(Rows(), Columns());
        for (kSize i = 0; i < Rows(); ++i)
            for (kSize j = 0; j < Columns(); ++j)
                m(i, j) = (*this)(i, j);
        return m;
    }
    std::vector<double> Values() const
    {
        const k64f* d = static_cast<const k64f*>(kArray2_Data(m_h));
        return std::vector<double>(d, d + Rows() * Columns());
    }

private:
    kArray2 m_h = kNULL;
};

double RelativeError(const MatrixXd& value, const MatrixXd& reference)
{
    return (value - reference).norm() / reference.norm();
}

/* Random matrix with entries in [-1, 1] plus shift on the diagonal (well conditioned for n). */
MatrixXd RandomMatrix(std::mt19937_64& rng, kSize rows, kSize columns, double shift = 0)
{
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    MatrixXd m(rows, columns);
    for (kSize i = 0; i < rows; ++i)
        for (kSize j = 0; j < columns; ++j)
            m(i, j) = u(rng) + (i == j ? shift : 0.0);
    return m;
}
} // namespace

/* ----- Accessors and element-wise arithmetic ------------------------------------------------- */

TEST(Matrix, AccessorsAndFill)
{
    Mat m(2, 3);
    EXPECT_EQ(kMatrix_Rows(m), 2u);
    EXPECT_EQ(kMatrix_Columns(m), 3u);
    EXPECT_EQ(kMatrix_At(m, 1, 2), kArray2_AtT<k64f>(m, 1, 2));
    EXPECT_EQ(kMatrix_At(m, 2, 0), nullptr); // row equal to the row count
    EXPECT_EQ(kMatrix_At(m, 0, 3), nullptr);

    ASSERT_EQ(kMatrix_Set64f(m, 2.5), kOK);
    EXPECT_EQ(m.Values(), std::vector<double>(6, 2.5));
    ASSERT_EQ(kMatrix_SetIdentity64f(m), kOK);
    EXPECT_EQ(m.Values(), (std::vector<double>{1, 0, 0, 0, 1, 0}));
}

TEST(Matrix, ElementWiseArithmetic)
{
    Mat a{{1, 2}, {3, 49}}, b{{0.5, -2}, {10, 1}}, d(2, 2);
    ASSERT_EQ(kMatrix_AddC64f(a, d, 1.0), kOK);
    EXPECT_EQ(d.Values(), (std::vector<double>{2, 3, 4, 50}));
    ASSERT_EQ(kMatrix_SubC64f(a, d, 1.0), kOK);
    EXPECT_EQ(d.Values(), (std::vector<double>{0, 1, 2, 48}));
    ASSERT_EQ(kMatrix_MulC64f(a, d, -2.0), kOK);
    EXPECT_EQ(d.Values(), (std::vector<double>{-2, -4, -6, -98}));
    // A true division: 49 · (1/49) is 0.9999999999999999, 49 / 49 is 1.
    ASSERT_EQ(kMatrix_DivC64f(a, d, 49.0), kOK);
    EXPECT_EQ(d(1, 1), 1.0);
    EXPECT_EQ(d(0, 0), 1.0 / 49.0);

    ASSERT_EQ(kMatrix_Add64f(a, b, d), kOK);
    EXPECT_EQ(d.Values(), (std::vector<double>{1.5, 0, 13, 50}));
    ASSERT_EQ(kMatrix_Sub64f(a, b, a), kOK); // in place
    EXPECT_EQ(a.Values(), (std::vector<double>{0.5, 4, -7, 48}));

    // The constant operations run over the source's element count.
    Mat small(1, 2), large(2, 2);
    kMatrix_Set64f(small, 7);
    kMatrix_Set64f(large, -1);
    ASSERT_EQ(kMatrix_AddC64f(small, large, 1), kOK);
    EXPECT_EQ(large.Values(), (std::vector<double>{8, 8, -1, -1}));
}

TEST(Matrix, ProductSumsInIncreasingOrder)
{
    // In order, 1e16 + 1 rounds back to 1e16 and the row sums to 0; any other order gives 1.
    Mat a{{1e16, 1, -1e16}}, b{{1}, {1}, {1}}, d(1, 1);
    ASSERT_EQ(kMatrix_Mul64f(a, b, d), kOK);
    EXPECT_EQ(d(0, 0), 0.0);

    std::mt19937_64 rng(7);
    MatrixXd ea = RandomMatrix(rng, 4, 7), eb = RandomMatrix(rng, 7, 5);
    Mat ma(ea), mb(eb), product(4, 5);
    ASSERT_EQ(kMatrix_Mul64f(ma, mb, product), kOK);
    for (kSize i = 0; i < 4; ++i)
    {
        for (kSize c = 0; c < 5; ++c)
        {
            double sum = 0;
            for (kSize j = 0; j < 7; ++j)
                sum += ea(i, j) * eb(j, c);
            EXPECT_EQ(product(i, c), sum) << i << "," << c; // bit for bit
        }
    }
}

TEST(Matrix, CopyAndTransposeCheckShapes)
{
    Mat a{{1, 2, 3}, {4, 5, 6}}, t(3, 2), same(2, 3), wrong(2, 2);
    ASSERT_EQ(kMatrix_Transpose(a, t), kOK);
    EXPECT_EQ(t.Values(), (std::vector<double>{1, 4, 2, 5, 3, 6}));
    EXPECT_EQ(kMatrix_Transpose(a, same), kSTATUS_FAILED);
    ASSERT_EQ(kMatrix_Copy(a, same), kOK);
    EXPECT_EQ(same.Values(), a.Values());
    EXPECT_EQ(kMatrix_Copy(a, t), kSTATUS_FAILED);
    EXPECT_EQ(kMatrix_Copy(a, wrong), kSTATUS_FAILED);
}

TEST(Matrix, BrokenContractsAreAssertedAndRefused)
{
    ktest::AssertCapture asserts;
    Mat a(2, 2), b(2, 3), d(2, 2);
    kArray2 ints = kNULL;
    ASSERT_EQ(kArray2_Construct(&ints, kTypeOf(k32s), 2, 2, kNULL), kOK);

    EXPECT_EQ(kMatrix_Add64f(a, b, d), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), 1);
    EXPECT_EQ(kMatrix_Mul64f(b, a, d), kSTATUS_BAD_PARAMETER);  // 2×3 · 2×2
    EXPECT_EQ(kMatrix_Mul64f(a, a, a), kSTATUS_BAD_PARAMETER);  // destination aliases
    EXPECT_EQ(kMatrix_AddC64f(b, a, 1), kSTATUS_BAD_PARAMETER); // destination too small
    EXPECT_EQ(kMatrix_Set64f(ints, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMatrix_At(ints, 0, 0), nullptr);
    EXPECT_EQ(kMatrix_Rows(ints), 0u);
    EXPECT_EQ(kMatrix_Invert(ints, d, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMatrix_Solve64f(kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(asserts.Count(), 9);
    kObject_Destroy(ints);
}

/* ----- Inverse ------------------------------------------------------------------------------- */

TEST(MatrixInvert, ExactCases)
{
    Mat swap{{0, 1}, {1, 0}}, inv(2, 2);
    k64f det = 0;
    ASSERT_EQ(kMatrix_Invert(swap, inv, &det), kOK);
    EXPECT_EQ(inv.Values(), swap.Values());
    EXPECT_EQ(det, -1.0);

    Mat cycle{{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}, cinv(3, 3);
    ASSERT_EQ(kMatrix_Invert(cycle, cinv, &det), kOK);
    EXPECT_EQ(cinv.Values(), (std::vector<double>{0, 0, 1, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(det, 1.0);

    Mat diag{{2, 0, 0}, {0, 8, 0}, {0, 0, 4}}, dinv(3, 3);
    ASSERT_EQ(kMatrix_Invert(diag, dinv, kNULL), kOK);
    EXPECT_EQ(dinv.Values(), (std::vector<double>{0.5, 0, 0, 0, 0.125, 0, 0, 0, 0.25}));

    // The destination may be the source.
    Mat self{{4, 7}, {2, 6}};
    ASSERT_EQ(kMatrix_Invert(self, self, &det), kOK);
    EXPECT_NEAR(det, 10.0, 1e-14);
    EXPECT_LT(RelativeError(self.Eigen(), (MatrixXd(2, 2) << 0.6, -0.7, -0.2, 0.4).finished()),
              1e-15);
}

TEST(MatrixInvert, FailuresLeaveTheDestinationUntouched)
{
    Mat singular{{1, 2}, {2, 4}}, dest(2, 2);
    kMatrix_Set64f(dest, 9);
    k64f det = 5;
    EXPECT_EQ(kMatrix_Invert(singular, dest, &det), kSTATUS_FAILED);
    EXPECT_EQ(det, 0.0);
    EXPECT_EQ(dest.Values(), std::vector<double>(4, 9));

    Mat zero(3, 3), zdest(3, 3);
    EXPECT_EQ(kMatrix_Invert(zero, zdest, &det), kSTATUS_FAILED);

    Mat rect(2, 3), rdest(2, 3), other(3, 3);
    EXPECT_EQ(kMatrix_Invert(rect, rdest, &det), kSTATUS_FAILED); // not square
    EXPECT_EQ(kMatrix_Invert(other, dest, &det), kSTATUS_FAILED); // shapes differ

    // The pivot index lists hold 100 entries.
    Mat big(101, 101), bigInv(101, 101);
    kMatrix_SetIdentity64f(big);
    det = 5;
    EXPECT_EQ(kMatrix_Invert(big, bigInv, &det), kSTATUS_FAILED);
    EXPECT_EQ(det, 5.0);
    Mat hundred(100, 100), hundredInv(100, 100);
    kMatrix_SetIdentity64f(hundred);
    EXPECT_EQ(kMatrix_Invert(hundred, hundredInv, &det), kOK);
    EXPECT_EQ(hundredInv.Values(), hundred.Values());
}

TEST(MatrixInvert, AgreesWithEigenUpTo20x20)
{
    std::mt19937_64 rng(1);
    for (kSize n : {1u, 2u, 3u, 4u, 5u, 6u, 8u, 12u, 17u, 20u}) // 17 and 20 work on the heap
    {
        for (int trial = 0; trial < 5; ++trial)
        {
            MatrixXd a = RandomMatrix(rng, n, n, trial % 2 ? (double)n : 0.5 * n);
            Mat ma(a), inv(n, n);
            k64f det = 0;
            ASSERT_EQ(kMatrix_Invert(ma, inv, &det), kOK) << n;
            Eigen::FullPivLU<MatrixXd> lu(a);
            EXPECT_LT(RelativeError(inv.Eigen(), lu.inverse()), 1e-12) << n;
            EXPECT_NEAR(det / lu.determinant(), 1.0, 1e-12) << n;
            EXPECT_EQ(ma.Eigen(), a); // source unchanged
        }
    }
}

/* ----- Augmented elimination -------------------------------------------------------------------
 */

TEST(MatrixSolve, SolvesEveryRightHandSideAndEndsWithTheIdentity)
{
    std::mt19937_64 rng(2);
    for (kSize n : {1u, 2u, 3u, 6u, 9u, 12u})
    {
        for (kSize k : {1u, 3u})
        {
            MatrixXd a = RandomMatrix(rng, n, n, 0.5 * n), b = RandomMatrix(rng, n, k);
            MatrixXd augmented(n, n + k);
            augmented << a, b;
            Mat m(augmented);
            ASSERT_EQ(kMatrix_Solve64f(m), kOK);
            MatrixXd result = m.Eigen();
            // The flush to zero makes the left block exactly the identity.
            EXPECT_EQ(MatrixXd(result.leftCols(n)), MatrixXd::Identity(n, n)) << n;
            MatrixXd reference = a.partialPivLu().solve(b);
            EXPECT_LT(RelativeError(result.rightCols(k), reference), 1e-12) << n << "x" << k;
        }
    }
}

TEST(MatrixSolve, SingularAndMalformedSystems)
{
    // The second pivot is flushed to exactly 0.
    Mat dependent{{1, 2, 3}, {2, 4, 6}};
    EXPECT_EQ(kMatrix_Solve64f(dependent), kSTATUS_BAD_PARAMETER);

    // Nearly dependent rows: the difference 2^-52 is below 2^-51 of the value it replaces.
    Mat nearly{{1, 1, 1}, {1, 1 + 0x1p-52, 2}};
    EXPECT_EQ(kMatrix_Solve64f(nearly), kSTATUS_BAD_PARAMETER);
    Mat resolvable{{1, 1, 1}, {1, 1 + 0x1p-40, 2}};
    EXPECT_EQ(kMatrix_Solve64f(resolvable), kOK);

    Mat rank2{{2, -1, 0, 1}, {1, 3, 1, 2}, {4, 5, 2, 5}}; // third = first + 2 · second
    EXPECT_EQ(kMatrix_Solve64f(rank2), kSTATUS_BAD_PARAMETER);

    Mat square(2, 2), wide(0, 3);
    EXPECT_EQ(kMatrix_Solve64f(square), kSTATUS_BAD_PARAMETER); // C ≤ R
    EXPECT_EQ(kMatrix_Solve64f(wide), kSTATUS_BAD_PARAMETER);   // R = 0
}

/* ----- Least squares ----------------------------------------------------------------------------
 */

TEST(MatrixSolveSystem, LeastSquaresAgreesWithEigen)
{
    std::mt19937_64 rng(3);
    for (kSize n : {1u, 2u, 3u, 6u})
    {
        for (kSize m : {n, n + 1, (kSize)12})
        {
            MatrixXd a = RandomMatrix(rng, m, n, 3.0), b = RandomMatrix(rng, m, 2);
            Mat ma(a), mb(b), x(n, 2);
            ASSERT_EQ(kMatrix_SolveSystem(ma, x, mb), kOK) << m << "x" << n;
            MatrixXd reference = a.colPivHouseholderQr().solve(b);
            EXPECT_LT(RelativeError(x.Eigen(), reference), 1e-12) << m << "x" << n;
        }
    }

    Mat identity(3, 3), b{{1.25}, {-3}, {7}}, x(3, 1);
    kMatrix_SetIdentity64f(identity);
    ASSERT_EQ(kMatrix_SolveSystem(identity, x, b), kOK);
    EXPECT_EQ(x.Values(), b.Values());
}

TEST(MatrixSolveSystem, RefusesDegenerateAndMisshapenProblems)
{
    // det(AᵀA) = 1e-8 ≤ 0.001: the absolute threshold refuses a well-conditioned but small A.
    Mat small{{0.01, 0}, {0, 0.01}}, b2{{1}, {1}}, x2(2, 1);
    kMatrix_Set64f(x2, 3);
    EXPECT_EQ(kMatrix_SolveSystem(small, x2, b2), kSTATUS_FAILED);
    EXPECT_EQ(x2.Values(), std::vector<double>(2, 3));

    Mat twin{{1, 1}, {2, 2}, {3, 3}}, b3{{1}, {2}, {3}};
    EXPECT_EQ(kMatrix_SolveSystem(twin, x2, b3), kSTATUS_FAILED); // AᵀA singular
    Mat nearTwin{{1, 1 + 1e-9}, {2, 2}, {3, 3}};                  // det(AᵀA) ≈ 1.3e-17
    EXPECT_EQ(kMatrix_SolveSystem(nearTwin, x2, b3), kSTATUS_FAILED);

    Mat a32(3, 2), a23(2, 3), x22(2, 2), x31(3, 1);
    EXPECT_EQ(kMatrix_SolveSystem(a32, x2, b2), kSTATUS_FAILED);  // rows(A) ≠ rows(b)
    EXPECT_EQ(kMatrix_SolveSystem(a32, x22, b3), kSTATUS_FAILED); // columns(x) ≠ columns(b)
    EXPECT_EQ(kMatrix_SolveSystem(a23, x31, b2), kSTATUS_FAILED); // columns(A) > rows(A)
}

/* ----- 3×3 inverse
 * -------------------------------------------------------------------------------- */

TEST(MatrixDirect, Invert3x3)
{
    const double diag[9] = {2, 0, 0, 0, 4, 0, 0, 0, 8};
    double inv[9], det = 0;
    ASSERT_EQ(kMatrixDirect_Invert3x3(diag, inv, &det), kOK);
    EXPECT_EQ(det, 64.0);
    EXPECT_EQ(std::vector<double>(inv, inv + 9),
              (std::vector<double>{0.5, 0, 0, 0, 0.25, 0, 0, 0, 0.125}));

    std::mt19937_64 rng(4);
    for (int trial = 0; trial < 20; ++trial)
    {
        MatrixXd a = RandomMatrix(rng, 3, 3, 1.0);
        Eigen::Matrix<double, 3, 3, Eigen::RowMajor> r = a;
        double out[9];
        ASSERT_EQ(kMatrixDirect_Invert3x3(r.data(), out, &det), kOK);
        EXPECT_LT(RelativeError(Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(out),
                                a.inverse()),
                  1e-12);
        EXPECT_NEAR(det / a.determinant(), 1.0, 1e-12);
        ASSERT_EQ(kMatrixDirect_Invert3x3(r.data(), r.data(), kNULL), kOK); // in place
        EXPECT_EQ(std::vector<double>(r.data(), r.data() + 9), std::vector<double>(out, out + 9));
    }

    // Singular: det is written, the output untouched.
    const double singular[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    double untouched[9] = {7, 7, 7, 7, 7, 7, 7, 7, 7};
    det = 1;
    EXPECT_EQ(kMatrixDirect_Invert3x3(singular, untouched, &det), kSTATUS_FAILED);
    EXPECT_EQ(det, 0.0);
    EXPECT_EQ(untouched[4], 7.0);
    const double tiny[9] = {1e-5, 0, 0, 0, 1e-4, 0, 0, 0, 1e-4}; // det 1e-13 < 1e-12
    EXPECT_EQ(kMatrixDirect_Invert3x3(tiny, untouched, &det), kSTATUS_FAILED);
    EXPECT_EQ(kMatrixDirect_Invert3x3(kNULL, untouched, &det), kSTATUS_BAD_PARAMETER);
}

/* ----- Symmetric eigen-decomposition ------------------------------------------------------------
 */

TEST(MatrixDirect, EigenOfADiagonalPermutesTheUnitVectors)
{
    double a[9] = {1, 0, 0, 0, 3, 0, 0, 0, 2};
    double vectors[9], values[3];
    ASSERT_EQ(kMatrixDirect_Eigen(a, vectors, values, 3), kOK);
    EXPECT_EQ(std::vector<double>(values, values + 3), (std::vector<double>{3, 2, 1}));
    EXPECT_EQ(std::vector<double>(vectors, vectors + 9),
              (std::vector<double>{0, 1, 0, 0, 0, 1, 1, 0, 0}));

    double one = -4, v1 = 0, e1 = 0;
    ASSERT_EQ(kMatrixDirect_Eigen(&one, &v1, &e1, 1), kOK);
    EXPECT_EQ(e1, -4.0);
    EXPECT_EQ(v1, 1.0);
}

TEST(MatrixDirect, EigenReconstructsSymmetricMatrices)
{
    std::mt19937_64 rng(5);
    for (kSize n : {2u, 3u, 4u, 6u, 9u, 12u})
    {
        for (int trial = 0; trial < 4; ++trial)
        {
            MatrixXd r = RandomMatrix(rng, n, n);
            MatrixXd s = r + r.transpose();
            if (trial == 3) s.diagonal().setConstant(1.5); // repeated diagonal: 45° rotations
            Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> work = s;
            std::vector<double> vectors(n * n), values(n), values2(n), vectors2(n * n);
            ASSERT_EQ(kMatrixDirect_Eigen(work.data(), vectors.data(), values.data(), n), kOK);

            Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>> v(
                vectors.data(), n, n);
            Eigen::Map<Eigen::VectorXd> d(values.data(), n);
            // Rows are the eigenvectors: A = Vᵀ·D·V.
            EXPECT_LT(RelativeError(v.transpose() * d.asDiagonal() * v, s), 1e-12) << n;
            EXPECT_LT((v * v.transpose() - MatrixXd::Identity(n, n)).norm(), 1e-12) << n;
            for (kSize i = 1; i < n; ++i)
                EXPECT_GE(values[i - 1], values[i]) << n;

            Eigen::SelfAdjointEigenSolver<MatrixXd> reference(s);
            Eigen::VectorXd expected = reference.eigenvalues().reverse(); // ascending there
            EXPECT_LT((d - expected).norm() / expected.norm(), 1e-12) << n;

            // The twin runs the same algorithm bit for bit.
            work = s;
            ASSERT_EQ(Matrix_SymEigInpl(work.data(), vectors2.data(), values2.data(), n), kOK);
            EXPECT_EQ(values2, values);
            EXPECT_EQ(vectors2, vectors);
        }
    }
}

TEST(MatrixDirect, EigenRefusesNonFiniteInputAndEndsOnExtremeScales)
{
    double values[2], vectors[4];
    double nan[4] = {1, NAN, NAN, 2};
    EXPECT_EQ(kMatrixDirect_Eigen(nan, vectors, values, 2), kSTATUS_BAD_PARAMETER);
    double nanDiagonal[4] = {NAN, 1, 1, 2};
    EXPECT_EQ(kMatrixDirect_Eigen(nanDiagonal, vectors, values, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMatrixDirect_Eigen(kNULL, vectors, values, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMatrixDirect_Eigen(kNULL, kNULL, kNULL, 0), kOK);

    // The diagonal difference squared overflows: the angle underflows to 0, and the sweeps end
    // instead of rotating by nothing forever.
    double wide[4] = {1e200, 1, 1, -1e200};
    ASSERT_EQ(kMatrixDirect_Eigen(wide, vectors, values, 2), kOK);
    EXPECT_EQ(values[0], 1e200);
    EXPECT_EQ(values[1], -1e200);

    double zero[4] = {0, 0, 0, 0};
    ASSERT_EQ(kMatrixDirect_Eigen(zero, vectors, values, 2), kOK);
    EXPECT_EQ(std::vector<double>(vectors, vectors + 4), (std::vector<double>{1, 0, 0, 1}));
}
