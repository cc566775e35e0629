#include <kBasis/kSpline.h>
#include <kBasis/kAlloc.h>

#include <algorithm>
#include <cmath>

kDefineClass(kSpline, kObject)

    /* One block of 4 * count values: positions, values, second derivatives, solver scratch. */
    struct kSplineClass
{
    kObjectClass base;
    k64f* knots;
    kSize count; // 0 before the first successful fit
    k64f domainMin;
    k64f domainMax;
};

namespace
{
const k64f* X(const kSplineClass* obj) { return obj->knots; }
const k64f* Y(const kSplineClass* obj) { return obj->knots + obj->count; }
const k64f* M(const kSplineClass* obj) { return obj->knots + 2 * obj->count; }

/*
 * Second derivatives of the natural spline: M[0] = M[n-1] = 0 and, for the inner knots,
 * h[i-1] M[i-1] + 2 (h[i-1] + h[i]) M[i] + h[i] M[i+1] = 6 (d[i] - d[i-1]), with h the knot
 * spacing and d the slopes of the chords. The system is diagonally dominant: the forward
 * sweep of the tridiagonal elimination needs no pivoting.
 */
void SolveSecondDerivatives(const k64f* x, const k64f* y, kSize n, k64f* m, k64f* scratch)
{
    m[0] = m[n - 1] = 0.0;
    if (n < 3) return;

    k64f* upper = scratch; // eliminated super-diagonal
    k64f previousUpper = 0.0, previousRhs = 0.0;
    for (kSize i = 1; i + 1 < n; ++i)
    {
        k64f h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
        k64f rhs = 6.0 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0);
        k64f pivot = 2.0 * (h0 + h1) - h0 * previousUpper;
        upper[i] = h1 / pivot;
        m[i] = (rhs - h0 * previousRhs) / pivot;
        previousUpper = upper[i];
        previousRhs = m[i];
    }
    for (kSize i = n - 2; i >= 1; --i)
        m[i] -= upper[i] * m[i + 1];
}

k64f Evaluate(const kSplineClass* obj, k64f t)
{
    const k64f *x = X(obj), *y = Y(obj), *m = M(obj);
    kSize n = obj->count;

    /* Straight continuation beyond the ends, with the end slopes (M is zero there). */
    if (t < x[0])
    {
        k64f h = x[1] - x[0];
        k64f slope = (y[1] - y[0]) / h - h * m[1] / 6.0;
        return y[0] + slope * (t - x[0]);
    }
    if (t > x[n - 1])
    {
        k64f h = x[n - 1] - x[n - 2];
        k64f slope = (y[n - 1] - y[n - 2]) / h + h * m[n - 2] / 6.0;
        return y[n - 1] + slope * (t - x[n - 1]);
    }

    kSize i = (kSize)(std::upper_bound(x, x + n, t) - x);
    i = std::clamp<kSize>(i, 1, n - 1) - 1; // segment [x[i], x[i+1]]
    k64f h = x[i + 1] - x[i];
    k64f a = (x[i + 1] - t) / h, b = (t - x[i]) / h;
    return a * y[i] + b * y[i + 1] +
           ((a * a * a - a) * m[i] + (b * b * b - b) * m[i + 1]) * h * h / 6.0;
}
} // namespace

kStatus xkSpline_VRelease(kObject spline)
{
    kSplineClass* obj = kCastRaw(kSpline, spline);
    kAlloc_FreeRef(obj->base.alloc, &obj->knots);
    return xkObject_VRelease(spline);
}

kFx(kStatus) xxkSpline_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kSpline, kObject));
    kCheck(kAddVMethod(kSpline, VRelease));
    return kOK;
}

kFx(kStatus) kSpline_Construct(kSpline* spline, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kSplineClass* obj = kNULL;
    kStatus status;

    kCheckArgs(spline);
    *spline = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kSpline), &obj));
    kTest(kObject_Init(obj, kTypeOf(kSpline), alloc));
    *spline = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kSpline_Fit(kSpline spline, const k64f* x, const k64f* y, kSize count)
{
    kObjR(kSpline, spline);
    kCheckArgs(x && y && count >= 2 && count <= kSIZE_MAX / (4 * sizeof(k64f)));
    for (kSize i = 0; i < count; ++i)
    {
        kCheckArgs(std::isfinite(x[i]) && std::isfinite(y[i]));
        kCheckArgs(i == 0 || x[i] > x[i - 1]);
    }

    k64f* knots = kNULL;
    kCheck(kAlloc_Get(obj->base.alloc, 4 * count * sizeof(k64f), &knots));
    std::copy(x, x + count, knots);
    std::copy(y, y + count, knots + count);
    SolveSecondDerivatives(knots, knots + count, count, knots + 2 * count, knots + 3 * count);

    kAlloc_Free(obj->base.alloc, obj->knots);
    obj->knots = knots;
    obj->count = count;
    obj->domainMin = x[0];
    obj->domainMax = x[count - 1];
    return kOK;
}

kFx(kStatus) kSpline_SetDomain(kSpline spline, k64f min, k64f max)
{
    kObjR(kSpline, spline);
    kCheckArgs(std::isfinite(min) && std::isfinite(max) && min <= max);
    obj->domainMin = min;
    obj->domainMax = max;
    return kOK;
}

kFx(kStatus) kSpline_ApplyN(kSpline spline, const k64f* x, k64f* y, kSize count)
{
    kObjR(kSpline, spline);
    kCheckArgs((x && y) || count == 0);
    kCheckState(obj->count >= 2);
    for (kSize i = 0; i < count; ++i)
        y[i] = Evaluate(obj, std::clamp(x[i], obj->domainMin, obj->domainMax));
    return kOK;
}
