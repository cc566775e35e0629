/* Bootstrap families of one-variable polynomial fits. */
#include <kSolan/Common/kBootstrapFit.h>
#include <kSolan/Common/kPolynomialFit.h>
#include <kSolan/Vs/kVsMath.h>
#include <kSolan/Vs/kVsRand.h>

kDefineClass(kBootstrapFit, kObject);

struct kBootstrapFitClass
{
    kObjectClass base;
    kPolynomialFit fit;
    kArrayList polynomials; // kPolynomial, owned with their items
    kSize fitCount;
    kBool blockMode;
    kAlloc allocator; // temporaries
};

namespace
{
/*
 * Moves k entries of pool into a new list *taken, each at the position that next(count of
 * pool) gives. Both selectors below draw their positions through it.
 */
template <typename Next>
kStatus TakeEntries(kArrayList* taken, kArrayList pool, kSize k, kAlloc alloc, Next next)
{
    kStatus status;

    kCheck(kArrayList_Construct(taken, kTypeOf(kSize), k, alloc));
    for (kSize j = 0; j < k; ++j)
    {
        kSize entry = 0;
        kTest(kArrayList_RemoveT(pool, next(kArrayList_Count(pool)), &entry));
        kTest(kArrayList_AddT(*taken, entry));
    }
    return kOK;

cleanup:
    kDestroyRef(taken);
    return status;
}

/* k consecutive entries of pool from a random start, wrapping to the front; one draw. */
kStatus kBootstrapFit_ConstructRandomBlock(kArrayList* taken, kArrayList pool, kSize k,
                                           kAlloc alloc)
{
    kCheckArgs(k <= kArrayList_Count(pool));
    const kSize start = (kSize)(kVsRand_Uniform() * (k64f)kArrayList_Count(pool));
    return TakeEntries(taken, pool, k, alloc,
                       [start](kSize count) { return start < count ? start : 0; });
}

/* k entries of pool drawn at random without replacement; k draws. */
kStatus kBootstrapFit_ConstructRandomSubset(kArrayList* taken, kArrayList pool, kSize k,
                                            kAlloc alloc)
{
    kCheckArgs(k <= kArrayList_Count(pool));
    return TakeEntries(taken, pool, k, alloc,
                       [](kSize count)
                       {
                           // Clamped in case the product rounds up to count.
                           return kMin_((kSize)(kVsRand_Uniform() * (k64f)count), count - 1);
                       });
}

kStatus ConstructRandomSelection(kBootstrapFitClass* obj, kArrayList* taken, kArrayList pool,
                                 kSize k)
{
    return obj->blockMode ? kBootstrapFit_ConstructRandomBlock(taken, pool, k, obj->allocator)
                          : kBootstrapFit_ConstructRandomSubset(taken, pool, k, obj->allocator);
}

/*
 * Copies of xs and ys (lists of k64f) in which blockLen samples are overwritten by copies of
 * blockLen others; the two index sets are disjoint, so every value is an input value.
 */
kStatus kBootstrapFit_SynthesiseDataset(kBootstrapFitClass* obj, kArrayList xs, kArrayList ys,
                                        kArrayList* synthX, kArrayList* synthY)
{
    const kSize n = kArrayList_Count(xs);
    const kSize blockLen = (kSize)(kVsRand_Uniform() * (k64f)(n / 2));
    kArrayList indices = kNULL;
    kArrayList destinations = kNULL;
    kArrayList sources = kNULL;
    kStatus status;

    kCheckArgs(kArrayList_Count(ys) == n);

    kTest(kObject_Clone(synthX, xs, obj->allocator));
    kTest(kObject_Clone(synthY, ys, obj->allocator));
    kTest(kArrayList_Construct(&indices, kTypeOf(kSize), n, obj->allocator));
    for (kSize i = 0; i < n; ++i)
        kTest(kArrayList_AddT(indices, i));

    kTest(ConstructRandomSelection(obj, &destinations, indices, blockLen));
    kTest(ConstructRandomSelection(obj, &sources, indices, blockLen));
    {
        k64f* x = kArrayList_DataT<k64f>(*synthX);
        k64f* y = kArrayList_DataT<k64f>(*synthY);
        const kSize* dst = kArrayList_DataT<kSize>(destinations);
        const kSize* src = kArrayList_DataT<kSize>(sources);
        for (kSize j = 0; j < blockLen; ++j)
        {
            x[dst[j]] = x[src[j]];
            y[dst[j]] = y[src[j]];
        }
    }

cleanup:
    kDestroyRef(&sources);
    kDestroyRef(&destinations);
    kDestroyRef(&indices);
    if (!kSuccess(status))
    {
        kDestroyRef(synthY);
        kDestroyRef(synthX);
    }
    return status;
}

kSize PolynomialOrder(kBootstrapFitClass* obj)
{
    const k32s order = kPolynomialFit_Order(obj->fit);
    return (kSize)(order < 0 ? -(k64s)order : (k64s)order);
}

/*
 * One synthetic data set and its fit, appended on success. The fit's own status goes to
 * *fitStatus; the return value reports the other failures (memory), which end Apply.
 */
kStatus TryOneFit(kBootstrapFitClass* obj, kArrayList xs, kArrayList ys, kStatus* fitStatus)
{
    kPolynomial poly = kNULL;
    kArrayList synthX = kNULL;
    kArrayList synthY = kNULL;
    kStatus status;

    kTest(kPolynomial_Construct(&poly, (k32u)PolynomialOrder(obj), obj->allocator));
    kTest(kBootstrapFit_SynthesiseDataset(obj, xs, ys, &synthX, &synthY));

    *fitStatus =
        kPolynomialFit_Apply(obj->fit, kArrayList_DataT<k64f>(synthX),
                             kArrayList_DataT<k64f>(synthY), kArrayList_Count(synthX), poly);
    if (kSuccess(*fitStatus))
    {
        kTest(kArrayList_AddT(obj->polynomials, poly));
        poly = kNULL; // the list holds it now
    }

cleanup:
    kDestroyRef(&synthY);
    kDestroyRef(&synthX);
    kDestroyRef(&poly);
    return status;
}
} // namespace

static kStatus xkBootstrapFit_VRelease(kObject fit)
{
    kBootstrapFitClass* obj = kCastRaw(kBootstrapFit, fit);
    kCheck(kObject_Dispose(obj->polynomials));
    obj->polynomials = kNULL;
    kCheck(kDestroyRef(&obj->fit));
    return xkObject_VRelease(fit);
}

static kStatus xkBootstrapFit_Init(kBootstrapFit fit, kType type, k32s order, kSize fitCount,
                                   kBool blockMode, kAlloc alloc)
{
    kBootstrapFitClass* obj = kCastRaw(kBootstrapFit, fit);
    kStatus status;

    kCheck(kObject_Init(fit, type, alloc));
    obj->fit = kNULL;
    obj->polynomials = kNULL;
    obj->fitCount = fitCount;
    obj->blockMode = blockMode;
    obj->allocator = alloc;

    kTest(kPolynomialFit_Construct(&obj->fit, order, alloc));
    kTest(kArrayList_Construct(&obj->polynomials, kTypeOf(kPolynomial), fitCount, alloc));
    return kOK;

cleanup:
    xkBootstrapFit_VRelease(fit);
    return status;
}

kStatus xxkBootstrapFit_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kBootstrapFit, kObject));
    kCheck(kAddVMethod(kBootstrapFit, VRelease));
    return kOK;
}

kFx(kStatus) kBootstrapFit_Construct(kBootstrapFit* fit, k32s order, kSize fitCount,
                                     kBool blockMode, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kBootstrapFitClass* obj = kNULL;
    kStatus status;

    kCheckArgs(fit);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kBootstrapFit), &obj))) return status;
    if (!kSuccess(status = xkBootstrapFit_Init(obj, kTypeOf(kBootstrapFit), order, fitCount,
                                               blockMode, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *fit = obj;
    return kOK;
}

kFx(kStatus) kBootstrapFit_Apply(kBootstrapFit fit, const k64f* x, const k64f* y, kSize count)
{
    kObjR(kBootstrapFit, fit);
    kCheckArgs(x && y && count > 0);

    kArrayList xs = kNULL;
    kArrayList ys = kNULL;
    kStatus status;

    kTest(kArrayList_Construct(&xs, kTypeOf(k64f), count, obj->allocator));
    kTest(kArrayList_Import(xs, kTypeOf(k64f), x, count));
    kTest(kArrayList_Construct(&ys, kTypeOf(k64f), count, obj->allocator));
    kTest(kArrayList_Import(ys, kTypeOf(k64f), y, count));

    for (kSize done = 0; done < obj->fitCount; ++done)
    {
        kStatus fitStatus = kSTATUS_FAILED;
        for (kSize attempt = 0; attempt < kBOOTSTRAP_FIT_MAX_ATTEMPTS; ++attempt)
        {
            kTest(TryOneFit(obj, xs, ys, &fitStatus));
            if (kSuccess(fitStatus)) break;
        }
        kTest(fitStatus);
    }

cleanup:
    kDestroyRef(&ys);
    kDestroyRef(&xs);
    return status;
}

kFx(kStatus) kBootstrapFit_Evaluate(kBootstrapFit fit, k64f x, k64f* values, kSize valueCount)
{
    kObjR(kBootstrapFit, fit);
    kCheckArgs(valueCount == obj->fitCount && (values || valueCount == 0));
    kCheckState(kArrayList_Count(obj->polynomials) >= obj->fitCount);

    const kPolynomial* polys = kArrayList_DataT<kPolynomial>(obj->polynomials);
    for (kSize i = 0; i < valueCount; ++i)
        values[i] = kPolynomial_Apply(polys[i], x);
    return kOK;
}

kFx(kStatus) kBootstrapFit_EvaluateConfidenceLevels(kBootstrapFit fit, k64f x, k64f* low,
                                                    k64f* median, k64f* high)
{
    kObjR(kBootstrapFit, fit);
    kCheckArgs(low && median && high);

    kArray1 values = kNULL;
    kStatus status;

    kTest(kArray1_Construct(&values, kTypeOf(k64f), obj->fitCount, obj->allocator));
    {
        k64f* v = static_cast<k64f*>(kArray1_Data(values));
        kTest(kBootstrapFit_Evaluate(fit, x, v, obj->fitCount));
        *low = kVsMath_Percentile64f(v, obj->fitCount, 1.0);
        *median = kVsMath_Percentile64f(v, obj->fitCount, 50.0);
        *high = kVsMath_Percentile64f(v, obj->fitCount, 99.0);
    }

cleanup:
    kDestroyRef(&values);
    return status;
}

kFx(kSize) kBootstrapFit_PolynomialCount(kBootstrapFit fit)
{
    kObjN(kBootstrapFit, obj, fit);
    return obj ? kArrayList_Count(obj->polynomials) : 0;
}

kFx(kPolynomial) kBootstrapFit_PolynomialAt(kBootstrapFit fit, kSize index)
{
    kObjN(kBootstrapFit, obj, fit);
    if (!obj || index >= kArrayList_Count(obj->polynomials)) return kNULL;
    return *kArrayList_AtT<kPolynomial>(obj->polynomials, index);
}

kFx(kSize) kBootstrapFit_FitCount(kBootstrapFit fit)
{
    kObjN(kBootstrapFit, obj, fit);
    return obj ? obj->fitCount : 0;
}

kFx(k32s) kBootstrapFit_Order(kBootstrapFit fit)
{
    kObjN(kBootstrapFit, obj, fit);
    return obj ? kPolynomialFit_Order(obj->fit) : 0;
}

kFx(k64f) kBootstrapFit_OrderPenalty(kBootstrapFit fit)
{
    kObjN(kBootstrapFit, obj, fit);
    return obj ? kPolynomialFit_OrderPenalty(obj->fit) : 0.0;
}

kFx(kStatus) kBootstrapFit_SetOrderPenalty(kBootstrapFit fit, k64f penalty)
{
    kObjR(kBootstrapFit, fit);
    return kPolynomialFit_SetOrderPenalty(obj->fit, penalty);
}

kFx(k64f) kBootstrapFit_TargetError(kBootstrapFit fit)
{
    kObjN(kBootstrapFit, obj, fit);
    return obj ? kPolynomialFit_TargetError(obj->fit) : 0.0;
}

kFx(kStatus) kBootstrapFit_SetTargetError(kBootstrapFit fit, k64f error)
{
    kObjR(kBootstrapFit, fit);
    return kPolynomialFit_SetTargetError(obj->fit, error);
}
