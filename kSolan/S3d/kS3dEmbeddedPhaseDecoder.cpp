#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.x.h>
#include <kSolan/S3d/kS3dEncodingMath.h>
#include <kSolan/S3d/kS3dPatternSequence.x.h>
#include <kSolan/Common/kMatrix.h>

#include <array>
#include <cmath>

struct kS3dEmbeddedPhaseDecoderClass
{
    kObjectClass base;
    xkS3dEmbeddedPhaseCore core;
};

kDefineClass(kS3dEmbeddedPhaseDecoder, kObject)

namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;
constexpr kSize kArctanCount = 65536;
constexpr kSize kDefaultWindow = 15;

/* Float maps: phases in periods, [0, 1); orders as whole numbers; k32F_NULL marks invalid. */
struct FloatArith
{
    using Value = k32f;
    using Acc = k32f;
    using Coef = k32f;
    static constexpr k32f kInvalid = k32F_NULL;
    static constexpr k32f kOne = 1.0f;

    static kType ValueType() { return kTypeOf(k32f); }
    static kType AccType() { return kTypeOf(kPoint32f); }
    static kType CoefType() { return kTypeOf(k32f); }

    static kStatus ConstructMatrix(kArray2* matrix, kSize n, kSize count, const kSize* steps,
                                   kAlloc alloc)
    {
        return kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(matrix, n, count, steps, alloc);
    }
    static k32f Coefficient(kArray2 matrix, kSize row, kSize column)
    {
        return (k32f)kArray2_DataT<k64f>(matrix)[row * kArray2_Length(matrix, 1) + column];
    }
    static bool Skip(k32f a, k32f b) { return std::fabs(a) < 1e-6f && std::fabs(b) < 1e-6f; }
    static void Accumulate(k32f* pairs, const k8u* pixels, kSize count, k32f a, k32f b, bool first)
    {
        xkS3dEmbeddedPhaseHost_Accumulate32f(pairs, pixels, count, a, b, first);
    }

    /* Entry i = atan(i / 65536), radians. */
    static kStatus BuildArctan(kArray1* table, kAlloc alloc)
    {
        kCheck(kArray1_Construct(table, kTypeOf(k32f), kArctanCount, alloc));
        k32f* t = kArray1_DataT<k32f>(*table);
        for (kSize i = 0; i < kArctanCount; ++i)
            t[i] = (k32f)std::atan((double)i / 65536.0);
        return kOK;
    }

    /* Table arctangent; the index scale 65535 (not 65536) is the sensor's and kept. */
    static k32f Atan(k32f x, const k32f* table)
    {
        const k32f ax = std::fabs(x);
        const k32f r = ax <= 1.0f ? table[(k32s)(ax * 65535.0f)]
                                  : (k32f)(kTwoPi / 4) - table[(k32s)(65535.0f / ax)];
        return x < 0 ? -r : r;
    }

    /* Wrapped phase in periods, [0, 1). */
    static k32f Phase(k32f sine, k32f cosine, const void* arctan)
    {
        const k32f* table = static_cast<const k32f*>(arctan);
        const k32f pi = (k32f)(kTwoPi / 2);
        k32f angle;
        if (cosine > 0)
            angle = Atan(sine / cosine, table);
        else if (cosine < 0)
            angle = Atan(sine / cosine, table) + (sine >= 0 ? pi : -pi);
        else
            angle = sine > 0 ? pi / 2 : (sine < 0 ? -pi / 2 : 0.0f);
        if (angle < 0) angle += (k32f)kTwoPi;
        const k32f phase = angle / (k32f)kTwoPi;
        return phase >= 1.0f ? phase - 1.0f : phase; // a tiny negative angle rounds up to 2π
    }

    static k32f RampThreshold(kSize index, kSize length)
    {
        const k32f t = length > 1 ? (k32f)index / (k32f)(length - 1) : 0.0f;
        return (2.0f * t - 1.0f) * 0.1f;
    }

    static k32f Order(k64f ratio, k32f a, k32f b)
    {
        const k32f r = (k32f)ratio;
        const k32f t = std::clamp(r * b, -2.0f * r, 2.0f * r); // a map value far out of range
        k32s k = (k32s)t;
        const k32f f = t - (k32f)k;
        if (a - f > 0.5f)
            k -= 1;
        else if (f - a > 0.5f)
            k += 1;
        return (k32f)std::clamp(k, 0, (k32s)(r - 1.0f));
    }

    static k32f Unwrapped(k64f ratio, k32f a, k32f b) { return (b + a) / (k32f)ratio; }

    static k64s ToFixed(k32f v)
    {
        const double range = xkS3D_EMBEDDED_KUWAHARA_RANGE;
        const double x = std::clamp((double)v, -range, range) * xkS3D_EMBEDDED_KUWAHARA_ONE;
        return (k64s)(x + (x < 0 ? -0.5 : 0.5)); // half away from zero (x is far below 2^52)
    }
    /* The mean of count samples (at most four pooled quadrants of 64) by a table of 1 / count. */
    static k32f FromFixed(k64s sum, k64s count)
    {
        static const std::array<double, 4 * 64 + 1> inverse = []
        {
            std::array<double, 4 * 64 + 1> t{};
            for (kSize c = 1; c < t.size(); ++c)
                t[c] = 1.0 / ((double)c * xkS3D_EMBEDDED_KUWAHARA_ONE);
            return t;
        }();
        return (k32f)((double)sum * inverse[(kSize)count]);
    }

    static k16s ExportPhase(k32f phi0, kSize period)
    {
        return (k16s)(k32s)((1.0f - phi0) * (k32f)period);
    }
    static k8u ExportCode(k32f order) { return (k8u)(k32s)order; }
};
} // namespace

/*
 * The core shared with the integer decoder.
 */

void xkS3dEmbeddedPhaseCore_Init(xkS3dEmbeddedPhaseCore* core)
{
    *core = xkS3dEmbeddedPhaseCore{};
    core->width = 1;
    core->height = 1;
    core->pixelCount = 1;
    core->phasePeriod = 1;
    core->contrastThreshold = 10;
    core->window = kDefaultWindow;
    core->orientation = 0;
}

kStatus xkS3dEmbeddedPhaseCore_Release(xkS3dEmbeddedPhaseCore* core)
{
    kCheck(kDestroyRef(&core->coefficients));
    kCheck(kDestroyRef(&core->periods));
    kCheck(kDestroyRef(&core->patternPeriods));
    kCheck(kDestroyRef(&core->stepCounts));
    kCheck(kDestroyRef(&core->shiftMatrix));
    kCheck(kDestroyRef(&core->frameCoefs));
    kCheck(kDisposeRef(&core->accumulators));
    kCheck(kDestroyRef(&core->statistics));
    kCheck(kDisposeRef(&core->phases));
    kCheck(kDestroyRef(&core->smoothed));
    kCheck(kDestroyRef(&core->scratch));
    kCheck(kDestroyRef(&core->arctan));
    return kOK;
}

kSize xkS3dEmbeddedPhaseCore_Size(const xkS3dEmbeddedPhaseCore* core)
{
    kSize size = kObject_Size(core->coefficients) + kObject_Size(core->periods) +
                 kObject_Size(core->patternPeriods) + kObject_Size(core->stepCounts) +
                 kObject_Size(core->shiftMatrix) + kObject_Size(core->frameCoefs) +
                 kObject_Size(core->statistics) + kObject_Size(core->smoothed) +
                 kObject_Size(core->scratch) + kObject_Size(core->arctan);
    for (kArray1 list : {core->accumulators, core->phases})
    {
        if (!list) continue;
        size += kObject_Size(list);
        for (kSize i = 0; i < kArray1_Count(list); ++i)
            size += kObject_Size(*kArray1_AtT<kArray2>(list, i));
    }
    return size;
}

kStatus xkS3dEmbeddedPhaseCore_SetSequenceInfo(xkS3dEmbeddedPhaseCore* core, kAlloc alloc,
                                               const k64f* coefficients, const kSize* stepCounts,
                                               kSize count)
{
    kCheckArgs(coefficients && stepCounts);
    kCheckArgs(count >= 1 && count <= kS3D_EMBEDDED_PHASE_MAX_FREQUENCIES);
    kSize length = 0;
    for (kSize i = 0; i < count; ++i)
    {
        kCheckArgs(coefficients[i] > 0 && std::isfinite(coefficients[i]) && stepCounts[i] > 0);
        length += stepCounts[i];
    }

    kArray1 arrays[4] = {};
    kStatus status;
    kTest(kArray1_Construct(&arrays[0], kTypeOf(k64f), count, alloc));
    kTest(kArray1_Construct(&arrays[1], kTypeOf(k64f), count, alloc));
    kTest(kArray1_Construct(&arrays[2], kTypeOf(k64f), count, alloc));
    kTest(kArray1_Construct(&arrays[3], kTypeOf(kSize), count, alloc));
    for (kSize i = 0; i < count; ++i)
    {
        kArray1_DataT<k64f>(arrays[0])[i] = coefficients[i];
        kArray1_DataT<kSize>(arrays[3])[i] = stepCounts[i];
    }
    kTest(kS3dEncodingMath_EmbeddedPhasePeriods(coefficients, count, kArray1_DataT<k64f>(arrays[1]),
                                                count));
    kTest(kS3dEncodingMath_PatternPhasePeriods(kArray1_DataT<k64f>(arrays[1]), count,
                                               kArray1_DataT<k64f>(arrays[2]), count));
    {
        // Orders are 8-bit; a ratio this far beyond them would overflow the order arithmetic.
        const k64f* periods = kArray1_DataT<k64f>(arrays[1]);
        const k64f ratio = periods[count - 1] / periods[0];
        if (!(ratio <= xkS3D_EMBEDDED_MAX_PERIOD_RATIO))
        {
            status = kSTATUS_BAD_PARAMETER;
            goto cleanup;
        }
    }

    kTest(kDestroyRef(&core->coefficients));
    kTest(kDestroyRef(&core->periods));
    kTest(kDestroyRef(&core->patternPeriods));
    kTest(kDestroyRef(&core->stepCounts));
    core->coefficients = arrays[0];
    core->periods = arrays[1];
    core->patternPeriods = arrays[2];
    core->stepCounts = arrays[3];
    core->frequencyCount = count;
    core->sequenceLength = length;
    core->changed = kTRUE;
    return kOK;
cleanup:
    for (kArray1 array : arrays)
        kObject_Destroy(array);
    return status;
}

kStatus xkS3dEmbeddedPhaseCore_SequenceInfo(const xkS3dEmbeddedPhaseCore* core, k64f* coefficients,
                                            kSize* stepCounts, kSize capacity, kSize* count)
{
    const kSize n = core->frequencyCount;
    kCheckArgs(capacity >= n && (n == 0 || (coefficients && stepCounts)));
    for (kSize i = 0; i < n; ++i)
    {
        coefficients[i] = kArray1_DataT<k64f>(core->coefficients)[i];
        stepCounts[i] = kArray1_DataT<kSize>(core->stepCounts)[i];
    }
    if (count) *count = n;
    return kOK;
}

kStatus xkS3dEmbeddedPhaseCore_SetPhasePeriod(xkS3dEmbeddedPhaseCore* core, kSize period)
{
    kCheckArgs(period >= 1 && period <= (kSize)k16S_MAX);
    core->phasePeriod = period;
    return kOK;
}

kStatus xkS3dEmbeddedPhaseCore_SetOrientation(xkS3dEmbeddedPhaseCore* core, k32s orientation)
{
    kCheckArgs(orientation >= 0 && orientation <= 3);
    core->orientation = orientation;
    return kOK;
}

kStatus xkS3dEmbeddedPhaseCore_SetPhaseArrayStates(xkS3dEmbeddedPhaseCore* core, kSize index,
                                                   kArrayList list)
{
    if (index != 0) return kSTATUS_NOT_IMPLEMENTED;
    kCheckArgs(!list || kObject_Is(list, kTypeOf(kArrayList)));
    core->states = list;
    return kOK;
}

kBool xkS3dEmbeddedPhaseCore_IsComplete(const xkS3dEmbeddedPhaseCore* core)
{
    return core->sequenceLength > 0 && core->frameCount == core->sequenceLength;
}

/*
 * Registration and the float decoder.
 */

kStatus xkS3dEmbeddedPhaseDecoder_VRelease(kObject decoder)
{
    kS3dEmbeddedPhaseDecoderClass* obj = kCastRaw(kS3dEmbeddedPhaseDecoder, decoder);
    kCheck(xkS3dEmbeddedPhaseCore_Release(&obj->core));
    return xkObject_VRelease(decoder);
}

kSize xkS3dEmbeddedPhaseDecoder_VSize(kObject decoder)
{
    kS3dEmbeddedPhaseDecoderClass* obj = kCastRaw(kS3dEmbeddedPhaseDecoder, decoder);
    return sizeof(kS3dEmbeddedPhaseDecoderClass) + xkS3dEmbeddedPhaseCore_Size(&obj->core);
}

kFx(kStatus) xxkS3dEmbeddedPhaseDecoder_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dEmbeddedPhaseDecoder, kObject));
    kCheck(kAddVMethod(kS3dEmbeddedPhaseDecoder, VRelease));
    kCheck(kAddVMethod(kS3dEmbeddedPhaseDecoder, VSize));
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_Construct(kS3dEmbeddedPhaseDecoder* decoder, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dEmbeddedPhaseDecoderClass* obj = kNULL;
    kStatus status;

    kCheckArgs(decoder);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kS3dEmbeddedPhaseDecoder), &obj)))
        return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kS3dEmbeddedPhaseDecoder), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    xkS3dEmbeddedPhaseCore_Init(&obj->core);
    *decoder = obj;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetImageSize(kS3dEmbeddedPhaseDecoder decoder, kSize width,
                                                   kSize height)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    obj->core.width = width;
    obj->core.height = height;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_ImageSize(kS3dEmbeddedPhaseDecoder decoder, kSize* width,
                                                kSize* height)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    if (width) *width = obj->core.width;
    if (height) *height = obj->core.height;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetPhasePeriod(kS3dEmbeddedPhaseDecoder decoder, kSize period)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_SetPhasePeriod(&obj->core, period);
}

kFx(kSize) kS3dEmbeddedPhaseDecoder_PhasePeriod(kS3dEmbeddedPhaseDecoder decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoder, obj, decoder);
    return obj ? obj->core.phasePeriod : 0;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SetContrastThreshold(kS3dEmbeddedPhaseDecoder decoder, kSize threshold)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    obj->core.contrastThreshold = threshold;
    return kOK;
}

kFx(kSize) kS3dEmbeddedPhaseDecoder_ContrastThreshold(kS3dEmbeddedPhaseDecoder decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoder, obj, decoder);
    return obj ? obj->core.contrastThreshold : 0;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SetOrientation(kS3dEmbeddedPhaseDecoder decoder, k32s orientation)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_SetOrientation(&obj->core, orientation);
}

kFx(k32s) kS3dEmbeddedPhaseDecoder_Orientation(kS3dEmbeddedPhaseDecoder decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoder, obj, decoder);
    return obj ? obj->core.orientation : 0;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SetJobQueue(kS3dEmbeddedPhaseDecoder decoder, kVsJobQueue queue)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    obj->core.jobQueue = queue;
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetSequenceInfo(kS3dEmbeddedPhaseDecoder decoder,
                                                      const k64f* coefficients,
                                                      const kSize* stepCounts, kSize count)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_SetSequenceInfo(&obj->core, kObject_Alloc(decoder), coefficients,
                                                  stepCounts, count);
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SequenceInfo(kS3dEmbeddedPhaseDecoder decoder, k64f* coefficients,
                                          kSize* stepCounts, kSize capacity, kSize* count)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_SequenceInfo(&obj->core, coefficients, stepCounts, capacity,
                                               count);
}

kFx(kSize) kS3dEmbeddedPhaseDecoder_SequenceLength(kS3dEmbeddedPhaseDecoder decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoder, obj, decoder);
    return obj ? obj->core.sequenceLength : 0;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_Setup(kS3dEmbeddedPhaseDecoder decoder)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_Setup<FloatArith>(&obj->core, kObject_Alloc(decoder));
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_Begin(kS3dEmbeddedPhaseDecoder decoder, kArray2 codeMap,
                                            kArray2 phaseMap)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_Begin<FloatArith>(&obj->core, kObject_Alloc(decoder), codeMap,
                                                    phaseMap);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_Update(kS3dEmbeddedPhaseDecoder decoder, kImage image)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_Update<FloatArith>(&obj->core, kObject_Alloc(decoder), image);
}

kFx(kBool) kS3dEmbeddedPhaseDecoder_IsComplete(kS3dEmbeddedPhaseDecoder decoder)
{
    kObjN(kS3dEmbeddedPhaseDecoder, obj, decoder);
    return obj ? xkS3dEmbeddedPhaseCore_IsComplete(&obj->core) : kFALSE;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(kS3dEmbeddedPhaseDecoder decoder,
                                                          kSize index, kArrayList list)
{
    kObjR(kS3dEmbeddedPhaseDecoder, decoder);
    return xkS3dEmbeddedPhaseCore_SetPhaseArrayStates(&obj->core, index, list);
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(kArray2* matrix, kSize frequencyCount,
                                                     kSize imageCount, const kSize* stepCounts,
                                                     kAlloc allocator)
{
    kCheckArgs(matrix && stepCounts && frequencyCount >= 1 &&
               frequencyCount <= kS3D_EMBEDDED_PHASE_MAX_FREQUENCIES);
    kSize total = 0;
    for (kSize i = 0; i < frequencyCount; ++i)
        total += stepCounts[i];
    kCheckArgs(total == imageCount);

    const kSize unknowns = 2 * frequencyCount + 1;
    kArray2 a = kNULL, at = kNULL, ata = kNULL, inverse = kNULL, m = kNULL;
    kStatus status;

    // A: one row per frame: 1, then cos(step) and −sin(step) in the columns of its frequency.
    kTest(kArray2_Construct(&a, kTypeOf(k64f), imageCount, unknowns, allocator));
    for (kSize i = 0, row = 0; i < frequencyCount; ++i)
    {
        k64f steps[kS3D_EMBEDDED_PHASE_MAX_STEPS];
        kTest(kS3dEncodingMath_PhaseSteps(stepCounts[i],
                                          kS3dEncodingMath_PhaseStepsTrim(stepCounts[i]), steps,
                                          kS3D_EMBEDDED_PHASE_MAX_STEPS));
        for (kSize j = 0; j < stepCounts[i]; ++j, ++row)
        {
            *kMatrix_At(a, row, 0) = 1.0;
            *kMatrix_At(a, row, 2 * i + 1) = std::cos(steps[j]);
            *kMatrix_At(a, row, 2 * i + 2) = -std::sin(steps[j]);
        }
    }
    // M = (AᵀA)⁻¹ Aᵀ.
    kTest(kArray2_Construct(&at, kTypeOf(k64f), unknowns, imageCount, allocator));
    kTest(kArray2_Construct(&ata, kTypeOf(k64f), unknowns, unknowns, allocator));
    kTest(kArray2_Construct(&inverse, kTypeOf(k64f), unknowns, unknowns, allocator));
    kTest(kArray2_Construct(&m, kTypeOf(k64f), unknowns, imageCount, allocator));
    kTest(kMatrix_Transpose(a, at));
    kTest(kMatrix_Mul64f(at, a, ata));
    if (!kSuccess(status = kMatrix_Invert(ata, inverse, kNULL)))
    {
        status = kSTATUS_BAD_PARAMETER; // singular: the steps cannot separate the terms
        goto cleanup;
    }
    kTest(kMatrix_Mul64f(inverse, at, m));
    *matrix = m;
    m = kNULL;
cleanup:
    kObject_Destroy(a);
    kObject_Destroy(at);
    kObject_Destroy(ata);
    kObject_Destroy(inverse);
    kObject_Destroy(m);
    return status;
}

kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s(kArray2* matrix, kSize frequencyCount,
                                                     kSize imageCount, const kSize* stepCounts,
                                                     kAlloc allocator)
{
    kCheckArgs(matrix);
    kArray2 real = kNULL, fixed = kNULL;
    kStatus status;

    kTest(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(&real, frequencyCount, imageCount,
                                                           stepCounts, allocator));
    kTest(kArray2_Construct(&fixed, kTypeOf(k32s), kArray2_Length(real, 0), kArray2_Length(real, 1),
                            allocator));
    kTest(kS3dEmbeddedPhaseDecoder_MatrixConvert(real, fixed));
    *matrix = fixed;
    fixed = kNULL;
cleanup:
    kObject_Destroy(real);
    kObject_Destroy(fixed);
    return status;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_MatrixConvert(kArray2 source, kArray2 destination)
{
    kCheckArgs(kObject_Is(source, kTypeOf(kArray2)) && kArray2_ItemType(source) == kTypeOf(k64f));
    kCheckArgs(xkS3dEmbeddedPhase_IsShape(destination, kTypeOf(k32s), kArray2_Length(source, 1),
                                          kArray2_Length(source, 0)));
    const k64f* in = kArray2_DataT<k64f>(source);
    k32s* out = kArray2_DataT<k32s>(destination);
    for (kSize i = 0; i < kArray2_Count(source); ++i)
        out[i] = (k32s)(in[i] * kS3D_EMBEDDED_PHASE_MATRIX_ONE); // truncated toward zero
    return kOK;
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_SubtractPhase(kArray2 a, kArray2 b)
{
    return xkS3dEmbeddedPhase_SubtractPhase<FloatArith>(a, b);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_SubtractPhaseBase(kArray2 a, kArray2 b, k32s orientation)
{
    return xkS3dEmbeddedPhase_SubtractPhaseBase<FloatArith>(a, b, orientation);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_BaseRamp(k64f pa, kArray2 a, k64f pb, kArray2 b)
{
    return xkS3dEmbeddedPhase_BaseRamp<FloatArith>(pa, a, pb, b);
}

kFx(kStatus) kS3dEmbeddedPhaseDecoder_Unwrap(k64f pa, kArray2 a, k64f pb, kArray2 b)
{
    return xkS3dEmbeddedPhase_Unwrap<FloatArith>(pa, a, pb, b);
}
