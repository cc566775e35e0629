/* One-variable polynomials. */
#include <kSolan/Common/kPolynomial.h>
#include <kSolan/Common/kPolynomial.x.h>

kDefineClass(kPolynomial, kObject);

struct kPolynomialClass
{
    kObjectClass base;
    k32u order;
    k64f* coefficients; // order + 1, from base.alloc
};

kStatus xkPolynomial_Replace(kAlloc alloc, k64f** coefficients, kSize count, const k64f* values)
{
    kSize bytes = 0;
    k64f* fresh = kNULL;

    if (__builtin_mul_overflow(count, sizeof(k64f), &bytes)) return kSTATUS_MEMORY;
    kCheck(kAlloc_Get(alloc, bytes, &fresh));
    if (values) kMemCopy(fresh, values, bytes);
    kAlloc_FreeRef(alloc, coefficients);
    *coefficients = fresh;
    return kOK;
}

static kStatus xkPolynomial_VRelease(kObject poly)
{
    kPolynomialClass* obj = kCastRaw(kPolynomial, poly);
    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->coefficients));
    return xkObject_VRelease(poly);
}

static kStatus xkPolynomial_Init(kPolynomial poly, kType type, k32u order, const k64f* values,
                                 kAlloc alloc)
{
    kPolynomialClass* obj = kCastRaw(kPolynomial, poly);
    kStatus status;

    kCheck(kObject_Init(poly, type, alloc));
    obj->order = 0;
    obj->coefficients = kNULL;

    kTest(xkPolynomial_Replace(alloc, &obj->coefficients, (kSize)order + 1, values));
    obj->order = order;
    return kOK;

cleanup:
    xkPolynomial_VRelease(poly);
    return status;
}

static kStatus xkPolynomial_VInitClone(kObject poly, kObject source, kAlloc alloc)
{
    kPolynomialClass* src = kCastRaw(kPolynomial, source);
    return xkPolynomial_Init(poly, kObject_Type(source), src->order, src->coefficients, alloc);
}

static kSize xkPolynomial_VSize(kObject poly)
{
    kPolynomialClass* obj = kCastRaw(kPolynomial, poly);
    return xkObject_VSize(poly) + ((kSize)obj->order + 1) * sizeof(k64f);
}

kStatus xxkPolynomial_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPolynomial, kObject));
    kCheck(kAddVMethod(kPolynomial, VRelease));
    kCheck(kAddVMethod(kPolynomial, VInitClone));
    kCheck(kAddVMethod(kPolynomial, VSize));
    return kOK;
}

kFx(kStatus) kPolynomial_Construct(kPolynomial* poly, k32u order, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPolynomialClass* obj = kNULL;
    kStatus status;

    kCheckArgs(poly);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPolynomial), &obj))) return status;
    if (!kSuccess(status = xkPolynomial_Init(obj, kTypeOf(kPolynomial), order, kNULL, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *poly = obj;
    return kOK;
}

kFx(kStatus) kPolynomial_Alloc(kPolynomial poly, k32u order)
{
    kObjR(kPolynomial, poly);
    kCheck(xkPolynomial_Replace(obj->base.alloc, &obj->coefficients, (kSize)order + 1, kNULL));
    obj->order = order;
    return kOK;
}

kFx(kStatus) kPolynomial_Assign(kPolynomial dst, kPolynomial src)
{
    kObjN(kPolynomial, to, dst);
    kObjN(kPolynomial, from, src);
    kCheckArgs(to && from);

    kCheck(xkPolynomial_Replace(to->base.alloc, &to->coefficients, (kSize)from->order + 1,
                                from->coefficients));
    to->order = from->order;
    return kOK;
}

/* Powers by repeated multiplication, in this order of operations (see kPolynomial_Apply). */
static k64f xkPolynomial_Evaluate(const kPolynomialClass* obj, k64f x)
{
    const k64f* c = obj->coefficients;
    k64f sum = c[0];
    k64f p = 1.0;
    for (k64u i = 1; i <= obj->order; ++i)
    {
        p = p * x;
        sum = sum + c[i] * p;
    }
    return sum;
}

kFx(k64f) kPolynomial_Apply(kPolynomial poly, k64f x)
{
    kObjN(kPolynomial, obj, poly);
    return obj ? xkPolynomial_Evaluate(obj, x) : k64F_NULL;
}

kFx(kStatus) kPolynomial_ApplyN(kPolynomial poly, const k64f* x, k64f* y, kSize count)
{
    kObjR(kPolynomial, poly);
    kCheckArgs(x && y && count > 0);

    for (kSize i = 0; i < count; ++i)
        y[i] = xkPolynomial_Evaluate(obj, x[i]);
    return kOK;
}

kFx(k32u) kPolynomial_Order(kPolynomial poly)
{
    kObjN(kPolynomial, obj, poly);
    return obj ? obj->order : 0;
}

kFx(k64f*) kPolynomial_Coefficients(kPolynomial poly)
{
    kObjN(kPolynomial, obj, poly);
    return obj ? obj->coefficients : kNULL;
}
