/* Least-squares fits of one-variable polynomials: normal equations and the order search. */
#include <kSolan/Common/kPolynomialFit.h>
#include <kSolan/Common/kMatrix.h>

#include <cmath>

kDefineClass(kPolynomialFit, kObject);

struct kPolynomialFitClass
{
    kObjectClass base;
    kArray2 matrix; // k64f, (n+1) × (n+2): augmented normal equations of the last order used
    k32s order;
    k64f orderPenalty;
    k64f targetError;
};

namespace
{
kSize MagnitudeOf(k32s order) { return (kSize)(order < 0 ? -(k64s)order : (k64s)order); }

/* Normal equations at poly's order, solved in the fit's matrix; poly is written on success. */
kStatus FitPlain(kPolynomialFitClass* obj, const k64f* x, const k64f* y, kSize count,
                 kPolynomial poly)
{
    const kSize n = kPolynomial_Order(poly);
    const kSize columns = n + 2;
    kArray2 matrix = obj->matrix;

    kCheckArgs(kArray2_ItemType(matrix) == kTypeOf(k64f) && kArray2_Length(matrix, 0) == n + 1 &&
               kArray2_Length(matrix, 1) == columns);
    kCheck(kArray2_Zero(matrix));

    k64f* m = static_cast<k64f*>(kArray2_Data(matrix));
    for (kSize s = 0; s < count; ++s)
    {
        const k64f xs = x[s];
        k64f a = 1.0; // xs^r
        for (kSize r = 0; r <= n; ++r)
        {
            k64f* row = m + r * columns;
            k64f p = a; // xs^(r+c)
            for (kSize c = 0; c <= n; ++c)
            {
                row[c] = row[c] + p;
                p = p * xs;
            }
            row[n + 1] = row[n + 1] + y[s] * a;
            a = a * xs;
        }
    }
    kCheck(kMatrix_Solve64f(matrix));

    k64f* coefficients = kPolynomial_Coefficients(poly);
    for (kSize i = 0; i <= n; ++i)
        coefficients[i] = m[i * columns + n + 1];
    return kOK;
}

k64f RmsError(kPolynomial poly, const k64f* x, const k64f* y, kSize count)
{
    k64f sum = 0.0;
    for (kSize i = 0; i < count; ++i)
    {
        const k64f r = kPolynomial_Apply(poly, x[i]) - y[i];
        sum = sum + r * r;
    }
    return std::sqrt(sum / (k64f)count);
}

/* Orders 0 … min(order, count − 1); the penalty factor of order k is orderPenalty^(2^k). */
kStatus SearchOrder(kPolynomialFitClass* obj, const k64f* x, const k64f* y, kSize count,
                    kPolynomial poly)
{
    const k64s maxOrder = kMax_(kMin_((k64s)obj->order, (k64s)count - 1), (k64s)0);
    k64f factor = obj->orderPenalty;
    k64f best = k64F_MAX;
    kBool accepted = kFALSE;
    kPolynomial scratch = kNULL;
    kStatus status;

    kTest(kPolynomial_Construct(&scratch, 0, obj->base.alloc));
    for (k64s k = 0; k <= maxOrder; ++k)
    {
        kTest(kPolynomial_Alloc(scratch, (k32u)k));
        kTest(kArray2_Allocate(obj->matrix, kTypeOf(k64f), (kSize)k + 1, (kSize)k + 2));

        if (kSuccess(FitPlain(obj, x, y, count, scratch)))
        {
            const k64f rms = RmsError(scratch, x, y, count);
            const k64f score = rms * factor;
            if (score < best)
            {
                kTest(kPolynomial_Assign(poly, scratch));
                best = score;
                accepted = kTRUE;
                if (rms < obj->targetError) break;
            }
        }
        factor = factor * factor;
        if (!std::isfinite(factor)) break;
    }
    status = accepted ? kOK : kSTATUS_FAILED;

cleanup:
    kDestroyRef(&scratch);
    return status;
}
} // namespace

static kStatus xkPolynomialFit_VRelease(kObject fit)
{
    kPolynomialFitClass* obj = kCastRaw(kPolynomialFit, fit);
    kCheck(kDestroyRef(&obj->matrix));
    return xkObject_VRelease(fit);
}

static kStatus xkPolynomialFit_Init(kPolynomialFit fit, kType type, k32s order, kAlloc alloc)
{
    kPolynomialFitClass* obj = kCastRaw(kPolynomialFit, fit);
    const kSize n = MagnitudeOf(order);
    kStatus status;

    kCheck(kObject_Init(fit, type, alloc));
    obj->matrix = kNULL;
    obj->order = order;
    obj->orderPenalty = 0.0;
    obj->targetError = 0.0;

    kTest(kArray2_Construct(&obj->matrix, kTypeOf(k64f), n + 1, n + 2, alloc));
    return kOK;

cleanup:
    xkPolynomialFit_VRelease(fit);
    return status;
}

kStatus xxkPolynomialFit_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPolynomialFit, kObject));
    kCheck(kAddVMethod(kPolynomialFit, VRelease));
    return kOK;
}

kFx(kStatus) kPolynomialFit_Construct(kPolynomialFit* fit, k32s order, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPolynomialFitClass* obj = kNULL;
    kStatus status;

    kCheckArgs(fit);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPolynomialFit), &obj))) return status;
    if (!kSuccess(status = xkPolynomialFit_Init(obj, kTypeOf(kPolynomialFit), order, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *fit = obj;
    return kOK;
}

kFx(kStatus) kPolynomialFit_Apply(kPolynomialFit fit, const k64f* x, const k64f* y, kSize count,
                                  kPolynomial poly)
{
    kObjR(kPolynomialFit, fit);
    kCheckArgs(x && y && count > 0 && kObject_Is(poly, kTypeOf(kPolynomial)));

    if (obj->targetError > 0 || obj->orderPenalty > 0) return SearchOrder(obj, x, y, count, poly);
    return FitPlain(obj, x, y, count, poly);
}

kFx(k32s) kPolynomialFit_Order(kPolynomialFit fit)
{
    kObjN(kPolynomialFit, obj, fit);
    return obj ? obj->order : 0;
}

kFx(k64f) kPolynomialFit_OrderPenalty(kPolynomialFit fit)
{
    kObjN(kPolynomialFit, obj, fit);
    return obj ? obj->orderPenalty : 0.0;
}

kFx(kStatus) kPolynomialFit_SetOrderPenalty(kPolynomialFit fit, k64f penalty)
{
    kObjR(kPolynomialFit, fit);
    obj->orderPenalty = penalty;
    return kOK;
}

kFx(k64f) kPolynomialFit_TargetError(kPolynomialFit fit)
{
    kObjN(kPolynomialFit, obj, fit);
    return obj ? obj->targetError : 0.0;
}

kFx(kStatus) kPolynomialFit_SetTargetError(kPolynomialFit fit, k64f error)
{
    kObjR(kPolynomialFit, fit);
    obj->targetError = error;
    return kOK;
}
