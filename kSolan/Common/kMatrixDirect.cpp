/* Small direct solvers on raw arrays: 3×3 inverse and symmetric Jacobi eigen-decomposition. */
#include <kSolan/Common/kMatrixDirect.h>

#include <algorithm>
#include <cmath>

namespace
{
/* Determinants below this (absolute) are treated as singular by the 3×3 inverse. */
constexpr double kMATRIX_DIRECT_MIN_DET = 1e-12;
/* The Jacobi sweeps end when the threshold falls below this fraction of ‖off-diagonal‖/n. */
constexpr double kMATRIX_DIRECT_JACOBI_EPS = 1e-12;

/* Jacobi state: the working matrix (lower triangle authoritative) and the eigenvector rows. */
struct Jacobi
{
    double* a;
    double* v;
    kSize n;

    double& A(kSize i, kSize j) const { return a[i * n + j]; }
    double& V(kSize i, kSize j) const { return v[i * n + j]; }
    /* Element (i, j) of the symmetric matrix, read from the lower triangle. */
    double& Lower(kSize i, kSize j) const { return i > j ? A(i, j) : A(j, i); }

    /*
     * One rotation annihilating a[q][p] (p < q). Returns false, changing nothing, when the
     * angle underflows to 0 (off-diagonal negligible beside a diagonal difference whose square
     * overflows): such a rotation would leave a[q][p] as it is and the sweeps would never end.
     */
    bool Rotate(kSize p, kSize q) const
    {
        const double app = A(p, p), aqq = A(q, q), apq = A(q, p);
        const double mu = (app - aqq) * 0.5;
        const double h = apq * apq + mu * mu;
        double omega, s2;
        if (h <= 0)
        {
            omega = -1;
            s2 = 0;
        }
        else
        {
            omega = -apq / std::sqrt(h);
            s2 = std::max(0.0, 1 - omega * omega);
        }
        if (mu < 0) omega = -omega;
        const double sin = omega / std::sqrt(2 * (1 + std::sqrt(s2)));
        const double cos = std::sqrt(1 - sin * sin);
        if (sin == 0) return false;

        for (kSize i = 0; i < n; ++i)
        {
            if (i == p || i == q) continue;
            double& aip = Lower(i, p);
            double& aiq = Lower(i, q);
            double t = aip * cos - aiq * sin;
            aiq = aip * sin + aiq * cos;
            aip = t;
        }
        for (kSize i = 0; i < n; ++i)
        {
            double t = V(p, i) * cos - V(q, i) * sin;
            V(q, i) = V(p, i) * sin + V(q, i) * cos;
            V(p, i) = t;
        }

        const double x = sin * cos * (2 * apq);
        const double cos2 = cos * cos, sin2 = sin * sin;
        const double appNew = app * cos2 + aqq * sin2 - x;
        const double aqqNew = x + (app * sin2 + aqq * cos2);
        A(q, p) = (app - aqq) * sin * cos + apq * (cos2 - sin2);
        A(p, p) = appNew;
        A(q, q) = aqqNew;
        return true;
    }

    /* One cyclic sweep over the pairs at or above the threshold; true when any was rotated. */
    bool Sweep(double threshold) const
    {
        bool rotated = false;
        for (kSize p = 0; p + 1 < n; ++p)
        {
            for (kSize q = p + 1; q < n; ++q)
            {
                if (std::fabs(A(q, p)) < threshold) continue;
                if (Rotate(p, q)) rotated = true;
            }
        }
        return rotated;
    }
};
} // namespace

kFx(kStatus) kMatrixDirect_Invert3x3(const double a[9], double inv[9], double* det)
{
    if (!a || !inv) return kSTATUS_BAD_PARAMETER;
    const double d = a[0] * (a[4] * a[8] - a[5] * a[7]) - a[1] * (a[3] * a[8] - a[5] * a[6]) +
                     a[2] * (a[3] * a[7] - a[4] * a[6]);
    if (det) *det = d;
    if (std::fabs(d) < kMATRIX_DIRECT_MIN_DET) return kSTATUS_FAILED;

    const double r[9] = {
        (a[4] * a[8] - a[5] * a[7]) / d, (a[2] * a[7] - a[1] * a[8]) / d,
        (a[1] * a[5] - a[2] * a[4]) / d, (a[5] * a[6] - a[3] * a[8]) / d,
        (a[0] * a[8] - a[2] * a[6]) / d, (a[2] * a[3] - a[0] * a[5]) / d,
        (a[3] * a[7] - a[4] * a[6]) / d, (a[1] * a[6] - a[0] * a[7]) / d,
        (a[0] * a[4] - a[1] * a[3]) / d,
    };
    std::copy(r, r + 9, inv);
    return kOK;
}

kFx(kStatus) kMatrixDirect_Eigen(double* a, double* vectors, double* values, kSize n)
{
    if (n == 0) return kOK;
    if (!a || !vectors || !values) return kSTATUS_BAD_PARAMETER;
    // A NaN never falls below the threshold and would rotate forever.
    for (kSize i = 0; i < n * n; ++i)
    {
        if (!std::isfinite(a[i])) return kSTATUS_BAD_PARAMETER;
    }

    const Jacobi jacobi = {a, vectors, n};
    double off = 0;
    for (kSize i = 0; i < n; ++i)
    {
        for (kSize j = 0; j < n; ++j)
        {
            jacobi.V(i, j) = (i == j) ? 1.0 : 0.0;
            if (i != j) off += jacobi.A(i, j) * jacobi.A(i, j);
        }
    }

    if (off > 0)
    {
        const double norm = std::sqrt(off);
        const double finalThreshold = norm * kMATRIX_DIRECT_JACOBI_EPS / (double)n;
        for (double threshold = norm / (double)n; threshold > finalThreshold;
             threshold = threshold / (double)n)
        {
            while (jacobi.Sweep(threshold))
            {
            }
        }
    }

    for (kSize i = 0; i < n; ++i)
        values[i] = jacobi.A(i, i);
    for (kSize i = 0; i < n; ++i)
    {
        for (kSize j = i + 1; j < n; ++j)
        {
            if (values[i] < values[j])
            {
                std::swap(values[i], values[j]);
                std::swap_ranges(&jacobi.V(i, 0), &jacobi.V(i, 0) + n, &jacobi.V(j, 0));
            }
        }
    }
    return kOK;
}

kFx(kStatus) Matrix_SymEigInpl(double* a, double* vectors, double* values, kSize n)
{
    return kMatrixDirect_Eigen(a, vectors, values, n);
}
