/* Two-variable polynomials of a total degree, coefficients in graded order. */
#include <kSolan/Common/kPolynomial2.h>
#include <kSolan/Common/kPolynomial.x.h>

kDefineClass(kPolynomial2, kObject);

struct kPolynomial2Class
{
    kObjectClass base;
    k32u orderX;        // total degree n
    k32u orderY;        // stored only
    k64f* coefficients; // (n+1)(n+2)/2, from base.alloc
};

/* The even factor is halved first, so that no product overflows. */
kSize xkPolynomial2_CoeffCountOf(k32u order)
{
    const kSize a = (kSize)order + 1;
    const kSize b = (kSize)order + 2;
    return (a % 2 == 0) ? (a / 2) * b : a * (b / 2);
}

namespace
{
/* v^k as the k-th entry of the table t[0] = 1, t[j] = t[j−1]·v: the same rounding. */
k64f TablePower(k64f v, k64u k)
{
    k64f p = 1.0;
    for (k64u j = 0; j < k; ++j)
        p = p * v;
    return p;
}

/*
 * Terms in graded order. The x power descends within a degree, so it is rebuilt per term
 * rather than tabled: that keeps evaluation free of allocation at any stored order, and costs
 * little at the orders the fitter produces (≤ 12).
 */
k64f Evaluate(const kPolynomial2Class* obj, k64f x, k64f y)
{
    const k64f* c = obj->coefficients;
    k64f sum = c[0];
    kSize k = 1;
    for (k64u d = 1; d <= obj->orderX; ++d)
    {
        k64f py = 1.0; // py[d − i], ascending as i descends
        for (k64u i = d + 1; i-- > 0;)
        {
            sum = sum + (c[k] * TablePower(x, i)) * py;
            py = py * y;
            ++k;
        }
    }
    return sum;
}
} // namespace

static kStatus xkPolynomial2_VRelease(kObject poly)
{
    kPolynomial2Class* obj = kCastRaw(kPolynomial2, poly);
    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->coefficients));
    return xkObject_VRelease(poly);
}

static kStatus xkPolynomial2_Init(kPolynomial2 poly, kType type, k32u orderX, k32u orderY,
                                  kAlloc alloc)
{
    kPolynomial2Class* obj = kCastRaw(kPolynomial2, poly);
    kStatus status;

    kCheck(kObject_Init(poly, type, alloc));
    obj->orderX = 0;
    obj->orderY = 0;
    obj->coefficients = kNULL;

    kTest(kPolynomial2_Alloc(poly, orderX, orderY));
    return kOK;

cleanup:
    xkPolynomial2_VRelease(poly);
    return status;
}

static kStatus xkPolynomial2_VInitClone(kObject poly, kObject source, kAlloc alloc)
{
    kStatus status;

    kCheck(xkPolynomial2_Init(poly, kObject_Type(source), 0, 0, alloc));
    kTest(kPolynomial2_Assign(poly, source));
    return kOK;

cleanup:
    xkPolynomial2_VRelease(poly);
    return status;
}

static kSize xkPolynomial2_VSize(kObject poly)
{
    kPolynomial2Class* obj = kCastRaw(kPolynomial2, poly);
    return xkObject_VSize(poly) + xkPolynomial2_CoeffCountOf(obj->orderX) * sizeof(k64f);
}

kStatus xxkPolynomial2_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPolynomial2, kObject));
    kCheck(kAddVMethod(kPolynomial2, VRelease));
    kCheck(kAddVMethod(kPolynomial2, VInitClone));
    kCheck(kAddVMethod(kPolynomial2, VSize));
    return kOK;
}

kFx(kStatus) kPolynomial2_Construct(kPolynomial2* poly, k32u orderX, k32u orderY, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPolynomial2Class* obj = kNULL;
    kStatus status;

    kCheckArgs(poly);
    kCheckTrue(orderX == orderY, kSTATUS_NOT_IMPLEMENTED);
    kCheckArgs(orderX <= kPOLYNOMIAL2_MAX_ORDER);

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPolynomial2), &obj))) return status;
    if (!kSuccess(status = xkPolynomial2_Init(obj, kTypeOf(kPolynomial2), orderX, orderY, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *poly = obj;
    return kOK;
}

/* Alloc and Set: the new coefficients are filled from values (when given) before the old
 * ones go, so values may be the polynomial's own array. */
static kStatus xkPolynomial2_Replace(kPolynomial2 poly, k32u orderX, k32u orderY,
                                     const k64f* values)
{
    kObjR(kPolynomial2, poly);
    kCheck(xkPolynomial_Replace(obj->base.alloc, &obj->coefficients,
                                xkPolynomial2_CoeffCountOf(orderX), values));
    obj->orderX = orderX;
    obj->orderY = orderY;
    return kOK;
}

kFx(kStatus) kPolynomial2_Alloc(kPolynomial2 poly, k32u orderX, k32u orderY)
{
    return xkPolynomial2_Replace(poly, orderX, orderY, kNULL);
}

kFx(kStatus) kPolynomial2_Set(kPolynomial2 poly, k32u orderX, k32u orderY, const k64f* coefficients)
{
    kCheckArgs(coefficients);
    return xkPolynomial2_Replace(poly, orderX, orderY, coefficients);
}

kFx(kStatus) kPolynomial2_Assign(kPolynomial2 dst, kPolynomial2 src)
{
    kObjN(kPolynomial2, to, dst);
    kObjN(kPolynomial2, from, src);
    kCheckArgs(to && from);

    return kPolynomial2_Set(dst, from->orderX, from->orderY, from->coefficients);
}

kFx(k64f) kPolynomial2_Apply(kPolynomial2 poly, k64f x, k64f y)
{
    kObjN(kPolynomial2, obj, poly);
    return obj ? Evaluate(obj, x, y) : k64F_NULL;
}

kFx(kStatus)
    kPolynomial2_ApplyN(kPolynomial2 poly, const k64f* x, const k64f* y, k64f* z, kSize count)
{
    kObjR(kPolynomial2, poly);
    kCheckArgs(x && y && z && count > 0);

    for (kSize i = 0; i < count; ++i)
        z[i] = Evaluate(obj, x[i], y[i]);
    return kOK;
}

kFx(kBool) kPolynomial2_IsValid(kPolynomial2 poly)
{
    kObjN(kPolynomial2, obj, poly);
    return obj && obj->coefficients;
}

kFx(k32u) kPolynomial2_OrderX(kPolynomial2 poly)
{
    kObjN(kPolynomial2, obj, poly);
    return obj ? obj->orderX : 0;
}

kFx(k32u) kPolynomial2_OrderY(kPolynomial2 poly)
{
    kObjN(kPolynomial2, obj, poly);
    return obj ? obj->orderY : 0;
}

kFx(kSize) kPolynomial2_CoeffCount(kPolynomial2 poly)
{
    kObjN(kPolynomial2, obj, poly);
    return obj ? xkPolynomial2_CoeffCountOf(obj->orderX) : 0;
}

kFx(k64f*) kPolynomial2_Coefficients(kPolynomial2 poly)
{
    kObjN(kPolynomial2, obj, poly);
    return obj ? obj->coefficients : kNULL;
}
