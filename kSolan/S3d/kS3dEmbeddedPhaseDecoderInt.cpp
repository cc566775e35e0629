#include <kSolan/S3d/kS3dEmbeddedPhaseDecoderInt.h>
#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.x.h>

#include <cmath>

struct kS3dEmbeddedPhaseDecoderIntClass
{
    kObjectClass base;
    xkS3dEmbeddedPhaseCore core;
};

kDefineClass(kS3dEmbeddedPhaseDecoderInt, kObject)

namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;
constexpr k32s kOnePeriod = 65536;
constexpr k32s kQuarter = kOnePeriod / 4;
constexpr k32s kHalf = kOnePeriod / 2;
constexpr kSize kArctanCount = 65537;
constexpr k64s kRampLimit = 6554; // 0.1 period, rounded

/* 16.16 maps: phases in 1/65536 period, orders as whole numbers, k32S_NULL invalid. */
struct IntArith
{
    using Value = k32s;
    using Acc = k32s;
    using Coef = k32s;
    static constexpr k32s kInvalid = k32S_NULL;
    static constexpr k32s kOne = kOnePeriod;

    static kType ValueType() { return kTypeOf(k32s); }
    static kType AccType() { return kTypeOf(kPoint32s); }
    static kType CoefType() { return kTypeOf(k32s); }

    static kStatus ConstructMatrix(kArray2* matrix, kSize n, kSize count, const kSize* steps,
                                   kAlloc alloc)
    {
        return kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s(matrix, n, count, steps, alloc);
    }
    static k32s Coefficient(kArray2 matrix, kSize row, kSize column)
    {
        return kArray2_DataT<k32s>(matrix)[row * kArray2_Length(matrix, 1) + column];
    }
    static bool Skip(k32s a, k32s b) { return a == 0 && b == 0; }
    static void Accumulate(k32s* pairs, const k8u* pixels, kSize count, k32s a, k32s b, bool first)
    {
        kS3dEmbeddedPhaseDecoderInt_MatrixMul_32s_8u(pairs, pixels, count, a, b, first);
    }

    /* Entry i = round(atan(i / 65536) / 2π × 65536): the first octant in 1/65536 turn. */
    static kStatus BuildArctan(kArray1* table, kAlloc alloc)
    {
        kCheck(kArray1_Construct(table, kTypeOf(k32s), kArctanCount, alloc));
        k32s* t = kArray1_DataT<k32s>(*table);
        for (kSize i = 0; i < kArctanCount; ++i)
            t[i] = (k32s)std::round(std::atan((double)i / 65536.0) / kTwoPi * kOnePeriod);
        return kOK;
    }

    static k32s Phase(k32s sine, k32s cosine, const void* arctan)
    {
        const k32s* table = static_cast<const k32s*>(arctan);
        if (sine == 0 && cosine == 0) return 0;
        const k64s s = std::llabs((k64s)sine), c = std::llabs((k64s)cosine);
        k32s angle = s <= c ? table[(s << 16) / c] : kQuarter - table[(c << 16) / s];
        if (cosine < 0) angle = kHalf - angle;
        if (sine < 0) angle = -angle;
        if (angle < 0) angle += kOnePeriod;
        return angle >= kOnePeriod ? angle - kOnePeriod : angle;
    }

    static k32s RampThreshold(kSize index, kSize length)
    {
        if (length <= 1) return (k32s)-kRampLimit;
        const k64s span = (k64s)length - 1;
        return (k32s)((2 * (k64s)index - span) * kRampLimit / span);
    }

    static k64s Ratio(k64f ratio) { return std::llround(ratio * kOnePeriod); }

    static k32s Order(k64f ratio, k32s a, k32s b)
    {
        // Map values far out of range are held to ±2 periods, orders to ±65536 below, so that
        // the 64-bit products cannot overflow.
        const k64s t = (Ratio(ratio) * std::clamp<k64s>(b, -2 * kOnePeriod, 2 * kOnePeriod)) >> 16;
        k64s k = t >> 16;
        const k64s f = t - (k << 16);
        if (a - f > kHalf)
            k -= 1;
        else if (f - a > kHalf)
            k += 1;
        return (k32s)std::clamp<k64s>(k, 0, (k64s)(ratio - 1.0));
    }

    static k32s Unwrapped(k64f ratio, k32s a, k32s b)
    {
        const k64s order = std::clamp<k64s>(b, -kOnePeriod, kOnePeriod);
        return (k32s)(((order * kOnePeriod) + a) * kOnePeriod / Ratio(ratio));
    }

    static k64s ToFixed(k32s v) { return v; }
    static k32s FromFixed(k64s sum, k64s count)
    {
        return (k32s)(sum >= 0 ? (2 * sum + count) / (2 * count)
                               : -((count - 2 * sum) / (2 * count)));
    }

    static k16s ExportPhase(k32s phi0, kSize period)
    {
        return (k16s)(((k64s)(kOnePeriod - phi0) * (k64s)period) >> 16);
    }
    static k8u ExportCode(k32s order) { return (k8u)order; }
};
} // namespace

kStatus xkS3dEmbeddedPhaseDecoderInt_VRelease(kObject decoder)
{
    kS3dEmbeddedPhaseDecoderIntClass* obj = kCastRaw(kS3dEmbeddedPhaseDecoderInt, decoder);
    kCheck(xkS3dEmbeddedPhaseCore_Release(&obj->core));
    return xkObject_VRelease(decoder);
}

kSize xkS3dEmbeddedPhaseDecoderInt_VSize(kObject decoder)
{
    kS3dEmbeddedPhaseDecoderIntClass* obj = kCastRaw(kS3dEmbeddedPhaseDecoderInt, decoder);
    return sizeof(kS3dEmbeddedPhaseDecoderIntClass) + xkS3dEmbeddedPhaseCore_Size(&obj->core);
}

kFx(kStatus) xxkS3dEmbeddedPhaseDecoderInt_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dEmbeddedPhaseDecoderInt, kObject));
    kCheck(kAddVMethod(kS3dEmbeddedPhaseDecoderInt, VRelease));
    kCheck(kAddVMethod(kS3dEmbeddedPhaseDecoderInt, VSize));
    kCheck(xkCheckBase(kTypeOf(kS3dEmbeddedPhaseDecoderInt), "kVs"));
    return kOK;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoderInt_Construct(kS3dEmbeddedPhaseDecoderInt* decoder, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dEmbeddedPhaseDecoderIntClass* obj = kNULL;
    kStatus status;

    kCheckArgs(decoder);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kS3dEmbeddedPhaseDecoderInt), &obj)))
        return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kS3dEmbeddedPhaseDecoderInt), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    xkS3dEmbeddedPhaseCore_Init(&obj->core);
    *decoder = obj;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetImageSize(kS3dEmbeddedPhaseDecoderInt decoder,
                                                      kSize width, kSize height)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    obj->core.width = width;
    obj->core.height = height;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_ImageSize(kS3dEmbeddedPhaseDecoderInt decoder,
                                                   kSize* width, kSize* height)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    if (width) *width = obj->core.width;
    if (height) *height = obj->core.height;
    return kOK;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoderInt_SetPhasePeriod(kS3dEmbeddedPhaseDecoderInt decoder, kSize period)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_SetPhasePeriod(&obj->core, period);
}

kFx(kSize) kS3dEmbeddedPhaseDecoderInt_PhasePeriod(kS3dEmbeddedPhaseDecoderInt decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoderInt, obj, decoder);
    return obj ? obj->core.phasePeriod : 0;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetContrastThreshold(kS3dEmbeddedPhaseDecoderInt decoder,
                                                              kSize threshold)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    obj->core.contrastThreshold = threshold;
    return kOK;
}

kFx(kSize) kS3dEmbeddedPhaseDecoderInt_ContrastThreshold(kS3dEmbeddedPhaseDecoderInt decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoderInt, obj, decoder);
    return obj ? obj->core.contrastThreshold : 0;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetOrientation(kS3dEmbeddedPhaseDecoderInt decoder,
                                                        k32s orientation)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_SetOrientation(&obj->core, orientation);
}

kFx(k32s) kS3dEmbeddedPhaseDecoderInt_Orientation(kS3dEmbeddedPhaseDecoderInt decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoderInt, obj, decoder);
    return obj ? obj->core.orientation : 0;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoderInt_SetJobQueue(kS3dEmbeddedPhaseDecoderInt decoder, kVsJobQueue queue)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    obj->core.jobQueue = queue;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetSequenceInfo(kS3dEmbeddedPhaseDecoderInt decoder,
                                                         const k64f* coefficients,
                                                         const kSize* stepCounts, kSize count)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_SetSequenceInfo(&obj->core, kObject_Alloc(decoder), coefficients,
                                                  stepCounts, count);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SequenceInfo(kS3dEmbeddedPhaseDecoderInt decoder,
                                                      k64f* coefficients, kSize* stepCounts,
                                                      kSize capacity, kSize* count)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_SequenceInfo(&obj->core, coefficients, stepCounts, capacity,
                                               count);
}

kFx(kSize) kS3dEmbeddedPhaseDecoderInt_SequenceLength(kS3dEmbeddedPhaseDecoderInt decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoderInt, obj, decoder);
    return obj ? obj->core.sequenceLength : 0;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Setup(kS3dEmbeddedPhaseDecoderInt decoder)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_Setup<IntArith>(&obj->core, kObject_Alloc(decoder));
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Begin(kS3dEmbeddedPhaseDecoderInt decoder, kArray2 codeMap,
                                               kArray2 phaseMap)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_Begin<IntArith>(&obj->core, kObject_Alloc(decoder), codeMap,
                                                  phaseMap);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Update(kS3dEmbeddedPhaseDecoderInt decoder, kImage image)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_Update<IntArith>(&obj->core, kObject_Alloc(decoder), image);
}

kFx(kBool) kS3dEmbeddedPhaseDecoderInt_IsComplete(kS3dEmbeddedPhaseDecoderInt decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoderInt, obj, decoder);
    return obj ? xkS3dEmbeddedPhaseCore_IsComplete(&obj->core) : kFALSE;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SetPhaseArrayStates(kS3dEmbeddedPhaseDecoderInt decoder,
                                                             kSize index, kArrayList list)
{
    kObjR(kS3dEmbeddedPhaseDecoderInt, decoder);
    return xkS3dEmbeddedPhaseCore_SetPhaseArrayStates(&obj->core, index, list);
}

kFx(void) kS3dEmbeddedPhaseDecoderInt_MatrixMul_32s_8u(k32s* pairs, const k8u* pixels, kSize count,
                                                       k32s a, k32s b, kBool first)
{
    xkS3dEmbeddedPhaseHost_Accumulate32s(pairs, pixels, count, a, b, first);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SubtractPhase(kArray2 a, kArray2 b)
{
    return xkS3dEmbeddedPhase_SubtractPhase<IntArith>(a, b);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_SubtractPhaseBase(kArray2 a, kArray2 b, k32s orientation)
{
    return xkS3dEmbeddedPhase_SubtractPhaseBase<IntArith>(a, b, orientation);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_BaseRamp(k64f pa, kArray2 a, k64f pb, kArray2 b)
{
    return xkS3dEmbeddedPhase_BaseRamp<IntArith>(pa, a, pb, b);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoderInt_Unwrap(k64f pa, kArray2 a, k64f pb, kArray2 b)
{
    return xkS3dEmbeddedPhase_Unwrap<IntArith>(pa, a, pb, b);
}
