// General numerics: small dense solvers and inverses against Eigen's equivalents.
//
// kMatrix_Invert (Gauss–Jordan, full pivoting) is set against Eigen's FullPivLU inverse, the
// same pivoting strategy, and Eigen's default inverse (partial pivoting). kMatrix_Solve64f
// (augmented elimination, partial pivoting, one right-hand side) is set against Eigen's
// PartialPivLU solve; both restart from the original system each iteration.
#include <kSolan/Common/kMatrix.h>
#include <kSolan/Common/kMatrixDirect.h>

#include <Eigen/Dense>
#include <benchmark/benchmark.h>

#include <random>

namespace
{
Eigen::MatrixXd WellConditioned(kSize rows, kSize columns, unsigned seed)
{
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Eigen::MatrixXd m(rows, columns);
    for (kSize i = 0; i < rows; ++i)
        for (kSize j = 0; j < columns; ++j)
            m(i, j) = u(rng) + (i == j ? (double)rows : 0.0);
    return m;
}

/* A k64f kArray2 holding m, released at scope exit. */
struct Array
{
    kArray2 handle = kNULL;
    explicit Array(const Eigen::MatrixXd& m)
    {
        kArray2_Construct(&handle, kTypeOf(k64f), m.rows(), m.cols(), kNULL);
        for (Eigen::Index i = 0; i < m.rows(); ++i)
            for (Eigen::Index j = 0; j < m.cols(); ++j)
                *kArray2_AtT<k64f>(handle, i, j) = m(i, j);
    }
    ~Array() { kObject_Destroy(handle); }
    k64f* Data() const { return static_cast<k64f*>(kArray2_Data(handle)); }
};

void BM_Invert_kMatrix(benchmark::State& state)
{
    const kSize n = state.range(0);
    Array source(WellConditioned(n, n, 1)), inverse(Eigen::MatrixXd::Zero(n, n));
    k64f det = 0;
    for (auto _ : state)
    {
        kMatrix_Invert(source.handle, inverse.handle, &det);
        benchmark::DoNotOptimize(inverse.Data());
        benchmark::DoNotOptimize(det);
    }
}

void BM_Invert_EigenFullPivLU(benchmark::State& state)
{
    const kSize n = state.range(0);
    Eigen::MatrixXd a = WellConditioned(n, n, 1), inverse(n, n);
    for (auto _ : state)
    {
        Eigen::FullPivLU<Eigen::MatrixXd> lu(a);
        inverse = lu.inverse();
        double det = lu.determinant();
        benchmark::DoNotOptimize(inverse.data());
        benchmark::DoNotOptimize(det);
    }
}

void BM_Invert_EigenDefault(benchmark::State& state)
{
    const kSize n = state.range(0);
    Eigen::MatrixXd a = WellConditioned(n, n, 1), inverse(n, n);
    for (auto _ : state)
    {
        inverse = a.inverse();
        benchmark::DoNotOptimize(inverse.data());
    }
}

void BM_Solve_kMatrix(benchmark::State& state)
{
    const kSize n = state.range(0);
    Eigen::MatrixXd augmented(n, n + 1);
    augmented << WellConditioned(n, n, 2), WellConditioned(n, 1, 3);
    Array pristine(augmented), work(augmented);
    const kSize bytes = n * (n + 1) * sizeof(k64f);
    for (auto _ : state)
    {
        kMemCopy(work.Data(), pristine.Data(), bytes);
        kMatrix_Solve64f(work.handle);
        benchmark::DoNotOptimize(work.Data());
    }
}

void BM_Solve_EigenPartialPivLU(benchmark::State& state)
{
    const kSize n = state.range(0);
    Eigen::MatrixXd a = WellConditioned(n, n, 2), b = WellConditioned(n, 1, 3), x(n, 1);
    for (auto _ : state)
    {
        x = a.partialPivLu().solve(b);
        benchmark::DoNotOptimize(x.data());
    }
}

void BM_Invert3x3_kMatrixDirect(benchmark::State& state)
{
    Eigen::Matrix<double, 3, 3, Eigen::RowMajor> a = WellConditioned(3, 3, 4);
    double inverse[9], det = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(a.data());
        kMatrixDirect_Invert3x3(a.data(), inverse, &det);
        benchmark::DoNotOptimize(inverse);
    }
}

void BM_Invert3x3_EigenFixed(benchmark::State& state)
{
    Eigen::Matrix3d a = WellConditioned(3, 3, 4), inverse;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(a.data());
        inverse = a.inverse();
        benchmark::DoNotOptimize(inverse.data());
    }
}
} // namespace

BENCHMARK(BM_Invert_kMatrix)->Arg(3)->Arg(6)->Arg(12);
BENCHMARK(BM_Invert_EigenFullPivLU)->Arg(3)->Arg(6)->Arg(12);
BENCHMARK(BM_Invert_EigenDefault)->Arg(3)->Arg(6)->Arg(12);
BENCHMARK(BM_Solve_kMatrix)->Arg(3)->Arg(6)->Arg(12);
BENCHMARK(BM_Solve_EigenPartialPivLU)->Arg(3)->Arg(6)->Arg(12);
BENCHMARK(BM_Invert3x3_kMatrixDirect);
BENCHMARK(BM_Invert3x3_EigenFixed);
