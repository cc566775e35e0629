/* Least-squares fits of two-variable polynomials, at fixed orders or with an order search. */
#include <kSolan/Common/kPolynomial2Fit.h>
#include <kSolan/Common/kPolynomial.x.h>
#include <kSolan/Common/kMatrix.h>

#include <cmath>

kDefineClass(kPolynomial2Fit, kObject);

struct kPolynomial2FitClass
{
    kObjectClass base;
    kPolynomialFitParams paramsX;
    kPolynomialFitParams paramsY;
};

static kStatus xkPolynomial2Fit_VRelease(kObject fit) { return xkObject_VRelease(fit); }

static kStatus xkPolynomial2Fit_Init(kPolynomial2Fit fit, kType type, kPolynomialFitParams paramsX,
                                     kPolynomialFitParams paramsY, kAlloc alloc)
{
    kPolynomial2FitClass* obj = kCastRaw(kPolynomial2Fit, fit);

    kCheck(kObject_Init(fit, type, alloc));
    obj->paramsX = paramsX;
    obj->paramsY = paramsY;
    return kOK;
}

kStatus xxkPolynomial2Fit_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPolynomial2Fit, kObject));
    kCheck(kAddVMethod(kPolynomial2Fit, VRelease));
    return kOK;
}

kFx(kStatus) kPolynomial2Fit_Construct(kPolynomial2Fit* fit, kPolynomialFitParams paramsX,
                                       kPolynomialFitParams paramsY, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPolynomial2FitClass* obj = kNULL;
    kStatus status;

    kCheckArgs(fit);
    kCheckTrue(paramsX.order == paramsY.order && paramsX.order <= kPOLYNOMIAL2_MAX_ORDER,
               kSTATUS_NOT_IMPLEMENTED);

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPolynomial2Fit), &obj))) return status;
    if (!kSuccess(
            status = xkPolynomial2Fit_Init(obj, kTypeOf(kPolynomial2Fit), paramsX, paramsY, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *fit = obj;
    return kOK;
}

kFx(kStatus) kPolynomial2Fit_Apply(kPolynomial2Fit fit, const k64f* x, const k64f* y, const k64f* z,
                                   kSize count, kPolynomial2 poly)
{
    kObjR(kPolynomial2Fit, fit);
    const kPolynomialFitParams& px = obj->paramsX;
    const kPolynomialFitParams& py = obj->paramsY;

    if (!(px.orderPenalty > 0) && !(py.orderPenalty > 0))
        return kPolynomial2Fit_ApplyOrder(fit, x, y, z, count, px.order, py.order, poly);

    const k64f penalty = kMax_(px.orderPenalty, py.orderPenalty);
    const k64f target = kMax_(px.targetError, py.targetError);
    k64f best = k64F_MAX;
    k32u chosen = 0;

    for (k32u k = 0; k <= px.order; ++k)
    {
        kCheck(kPolynomial2Fit_ApplyOrder(fit, x, y, z, count, k, k, poly));

        const k64f err = kPolynomial2Fit_EvaluateError(fit, x, y, z, count, poly);
        const k64f score = err + (k64f)k * penalty;
        if (score < best)
        {
            best = score;
            chosen = k;
        }
        if (target > 0 && err <= target)
        {
            chosen = k;
            break;
        }
    }
    return kPolynomial2Fit_ApplyOrder(fit, x, y, z, count, chosen, chosen, poly);
}

kFx(kStatus)
    kPolynomial2Fit_ApplyOrder(kPolynomial2Fit fit, const k64f* x, const k64f* y, const k64f* z,
                               kSize count, k32u orderX, k32u orderY, kPolynomial2 poly)
{
    kObjR(kPolynomial2Fit, fit);
    kCheckArgs(x && y && z && count > 0 && kObject_Is(poly, kTypeOf(kPolynomial2)));

    const kSize terms = xkPolynomial2_CoeffCountOf(orderX);
    kArray2 a = kNULL;
    kArray2 b = kNULL;
    kArray2 s = kNULL;
    kStatus status;

    kTest(kArray2_Construct(&a, kTypeOf(k64f), count, terms, obj->base.alloc));
    kTest(kArray2_Construct(&b, kTypeOf(k64f), count, 1, obj->base.alloc));
    kTest(kArray2_Construct(&s, kTypeOf(k64f), terms, 1, obj->base.alloc));

    {
        k64f* row = static_cast<k64f*>(kArray2_Data(a));
        k64f* rhs = static_cast<k64f*>(kArray2_Data(b));
        for (kSize i = 0; i < count; ++i)
        {
            kSize t = 0;
            row[t++] = 1.0;
            for (k64u d = 1; d <= orderX; ++d)
            {
                for (k64u j = d + 1; j-- > 0;)
                    row[t++] = std::pow(x[i], (int)j) * std::pow(y[i], (int)(d - j));
            }
            rhs[i] = z[i];
            row += terms;
        }
    }
    kTest(kMatrix_SolveSystem(a, s, b));
    kTest(kPolynomial2_Set(poly, orderX, orderY, static_cast<const k64f*>(kArray2_Data(s))));

cleanup:
    kDestroyRef(&s);
    kDestroyRef(&b);
    kDestroyRef(&a);
    return status;
}

kFx(k64f) kPolynomial2Fit_EvaluateError(kPolynomial2Fit fit, const k64f* x, const k64f* y,
                                        const k64f* z, kSize count, kPolynomial2 poly)
{
    kObjN(kPolynomial2Fit, obj, fit);
    if (!obj || !x || !y || !z || !kObject_Is(poly, kTypeOf(kPolynomial2))) return k64F_NULL;

    k64f sum = 0.0;
    for (kSize i = 0; i < count; ++i)
    {
        const k64f r = kPolynomial2_Apply(poly, x[i], y[i]) - z[i];
        sum = sum + r * r;
    }
    return std::sqrt(sum);
}

kFx(kPolynomialFitParams) kPolynomial2Fit_ParametersX(kPolynomial2Fit fit)
{
    kObjN(kPolynomial2Fit, obj, fit);
    return obj ? obj->paramsX : kPolynomialFitParams{};
}

kFx(kPolynomialFitParams) kPolynomial2Fit_ParametersY(kPolynomial2Fit fit)
{
    kObjN(kPolynomial2Fit, obj, fit);
    return obj ? obj->paramsY : kPolynomialFitParams{};
}
