#include <kSolan/S3d/kS3dPatternSequence.h>
#include <kSolan/S3d/kS3dPatternSequence.x.h>

#include <algorithm>
#include <cmath>

struct kS3dPatternSequenceClass
{
    kObjectClass base;
    kSize width;
    k64f intensity;    // peak brightness, (0, 1]
    k64f uniformity;   // profile value at the centre column, (0, 1]
    kArrayList blocks; // kS3dPatternBlock
    kArray1 profile;   // k64f per column, recomputed by every Render
};

kDefineValue(kS3dPatternBlock, kValue) kDefineClass(kS3dPatternSequence, kObject)

    namespace
{
    constexpr double kTwoPi = 6.283185307179586476925286766559;

    inline k8u Level(double value) { return (k8u)(k32s)(value + 0.5); }

    kStatus xkS3dPatternSequence_Init(kS3dPatternSequence sequence, kType type, kSize width,
                                      kAlloc alloc)
    {
        kS3dPatternSequenceClass* obj = static_cast<kS3dPatternSequenceClass*>(sequence);
        kStatus status;
        kCheck(kObject_Init(sequence, type, alloc));
        obj->width = width;
        obj->intensity = 1.0;
        obj->uniformity = 1.0;
        obj->blocks = kNULL;
        obj->profile = kNULL;
        kTest(kArrayList_Construct(&obj->blocks, kTypeOf(kS3dPatternBlock), 0, alloc));
        kTest(kArray1_Construct(&obj->profile, kTypeOf(k64f), width, alloc));
        return kOK;
    cleanup:
        kVTableOf<kObjectVTable>(sequence)->VRelease(sequence);
        return status;
    }

    /* profile[x] = clamp(u + ((x − h) / h)² × (1 − u), 0, 1) with h = width / 2: u at the centre, 1
     * at the edges. */
    void xkS3dPatternSequence_UpdateProfile(kS3dPatternSequenceClass * obj)
    {
        k64f* profile = kArray1_DataT<k64f>(obj->profile);
        const double h = obj->width / 2.0, u = obj->uniformity;
        for (kSize x = 0; x < obj->width; ++x)
        {
            double r = ((double)x - h) / h;
            profile[x] = std::clamp(u + r * r * (1.0 - u), 0.0, 1.0);
        }
    }

    kStatus xkS3dPatternSequence_RenderBlock(const kS3dPatternSequenceClass* obj,
                                             const kS3dPatternBlock& block, k8u* rows)
    {
        const k64f* profile = kArray1_DataT<k64f>(obj->profile);
        const kSize width = obj->width, n = block.count;
        const double intensity = obj->intensity;

        switch (block.type)
        {
        case kS3D_PATTERN_BLOCK_REFERENCE:
            for (kSize i = 0; i < n; ++i)
            {
                double level = n == 1 ? intensity / 2 : (double)i * intensity / (double)(n - 1);
                for (kSize x = 0; x < width; ++x)
                    rows[i * width + x] = Level(profile[x] * 255 * level);
            }
            return kOK;

        case kS3D_PATTERN_BLOCK_STRIPE:
        {
            kCheckArgs(block.period > 0);
            double w = block.period * std::pow(2.0, (double)n);
            for (kSize i = 0; i < n; ++i, w /= 2)
            {
                for (kSize x = 0; x < width; ++x)
                {
                    bool bright = std::fmod(std::floor((x + 0.5 + w / 2) / w), 2.0) != 0;
                    rows[i * width + x] = Level(profile[x] * 255 * (bright ? intensity : 0.0));
                }
            }
            return kOK;
        }

        case kS3D_PATTERN_BLOCK_PHASE:
        {
            k64f steps[xkS3D_PATTERN_MAX_PHASE_STEPS];
            kCheckArgs(block.period > 0);
            kCheck(kS3dEncodingMath_PhaseSteps(n, kS3dEncodingMath_PhaseStepsTrim(n), steps,
                                               kCountOf(steps)));
            for (kSize i = 0; i < n; ++i)
            {
                for (kSize x = 0; x < width; ++x)
                {
                    double wave = (std::cos(kTwoPi * (x + 0.5) / block.period + steps[i]) + 1) / 2;
                    rows[i * width + x] = Level(profile[x] * 255 * intensity * wave);
                }
            }
            return kOK;
        }

        default:
            return kSTATUS_FAILED;
        }
    }
} // namespace

/* ----- Blocks and phase steps, shared with kS3dPatternSequenceInt ------------------------- */

kFx(kStatus) kS3dPatternBlock_Init(kS3dPatternBlock* block, kSize type, kSize count, k64f period)
{
    kCheckArgs(block);
    block->type = type;
    block->count = count;
    block->period = period;
    return kOK;
}

kStatus xkS3dPatternBlocks_Add(kArrayList blocks, kSize type, kSize count, k64f period)
{
    kS3dPatternBlock block;
    kCheck(kS3dPatternBlock_Init(&block, type, count, period));
    return kArrayList_Add(blocks, &block);
}

kStatus xkS3dPatternBlocks_SetupPhases(kArrayList blocks, const k64f* periods, const kSize* counts,
                                       kSize count)
{
    kCheckArgs(count == 0 || (periods && counts));
    kCheck(kArrayList_Clear(blocks));
    for (kSize i = 0; i < count; ++i)
        kCheck(xkS3dPatternBlocks_Add(blocks, kS3D_PATTERN_BLOCK_PHASE, counts[i], periods[i]));
    return kOK;
}

kSize xkS3dPatternBlocks_ImageCount(kArrayList blocks)
{
    kSize total = 0;
    for (kSize i = 0; i < kArrayList_Count(blocks); ++i)
        total += static_cast<const kS3dPatternBlock*>(kArrayList_At(blocks, i))->count;
    return total;
}

kFx(k64f) kS3dEncodingMath_PhaseStepsTrim(kSize count)
{
    return count >= 1 && count <= 3 ? (kTwoPi / (double)count) / 3.0 : 0.0;
}

kFx(kStatus) kS3dEncodingMath_PhaseSteps(kSize count, k64f trim, k64f* steps, kSize capacity)
{
    kCheckArgs(count <= capacity);
    for (kSize i = 0; i < count; ++i)
        steps[i] = (double)i * (kTwoPi - trim) / (double)count;
    return kOK;
}

/* ----- kS3dPatternSequence ----------------------------------------------------------------- */

kStatus xkS3dPatternSequence_VRelease(kObject sequence)
{
    kS3dPatternSequenceClass* obj = kCastRaw(kS3dPatternSequence, sequence);
    kCheck(kDestroyRef(&obj->blocks));
    kCheck(kDestroyRef(&obj->profile));
    return xkObject_VRelease(sequence);
}

kStatus xkS3dPatternSequence_VInitClone(kObject, kObject, kAlloc)
{
    return kSTATUS_NOT_IMPLEMENTED;
}

kFx(kStatus) xxkS3dPatternBlock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kS3dPatternBlock, kValue));
    kCheck(kAddField(kS3dPatternBlock, kSize, type));
    kCheck(kAddField(kS3dPatternBlock, kSize, count));
    kCheck(kAddField(kS3dPatternBlock, k64f, period));
    return kOK;
}

kFx(kStatus) xxkS3dPatternSequence_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dPatternSequence, kObject));
    kCheck(kAddVMethod(kS3dPatternSequence, VRelease));
    kCheck(kAddVMethod(kS3dPatternSequence, VInitClone));
    return kOK;
}

kFx(kStatus)
    kS3dPatternSequence_Construct(kS3dPatternSequence* sequence, kSize width, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dPatternSequenceClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kS3dPatternSequence), &obj)))
        return status;
    if (!kSuccess(status =
                      xkS3dPatternSequence_Init(obj, kTypeOf(kS3dPatternSequence), width, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *sequence = obj;
    return kOK;
}

kFx(kStatus) xkS3dPatternSequence_AddReference(kS3dPatternSequence sequence, kSize count)
{
    kObjR(kS3dPatternSequence, sequence);
    return xkS3dPatternBlocks_Add(obj->blocks, kS3D_PATTERN_BLOCK_REFERENCE, count, 0.0);
}

kFx(kStatus) xkS3dPatternSequence_AddStripe(kS3dPatternSequence sequence, k64f period, kSize count)
{
    kObjR(kS3dPatternSequence, sequence);
    return xkS3dPatternBlocks_Add(obj->blocks, kS3D_PATTERN_BLOCK_STRIPE, count, period);
}

kFx(kStatus) xkS3dPatternSequence_AddPhase(kS3dPatternSequence sequence, k64f period, kSize count)
{
    kObjR(kS3dPatternSequence, sequence);
    return xkS3dPatternBlocks_Add(obj->blocks, kS3D_PATTERN_BLOCK_PHASE, count, period);
}

kFx(kStatus)
    kS3dPatternSequence_SetupStripePhase(kS3dPatternSequence sequence, kSize referenceCount,
                                         kSize stripeCount, kSize phaseCount, k64f period)
{
    kObjR(kS3dPatternSequence, sequence);
    kCheck(kArrayList_Clear(obj->blocks));
    kCheck(xkS3dPatternSequence_AddReference(sequence, referenceCount));
    kCheck(xkS3dPatternSequence_AddStripe(sequence, period, stripeCount));
    return xkS3dPatternSequence_AddPhase(sequence, period, phaseCount);
}

kFx(kStatus)
    kS3dPatternSequence_SetupEmbeddedPhase(kS3dPatternSequence sequence, const k64f* periods,
                                           const kSize* counts, kSize count)
{
    kObjR(kS3dPatternSequence, sequence);
    return xkS3dPatternBlocks_SetupPhases(obj->blocks, periods, counts, count);
}

kFx(kStatus) kS3dPatternSequence_SetupPhaseEPS(kS3dPatternSequence sequence, kSize firstCount,
                                               const k64f* periods, const kSize* counts,
                                               kSize count, k64f firstPeriod)
{
    kObjR(kS3dPatternSequence, sequence);
    kCheckArgs(count == 0 || (periods && counts));
    kCheck(kArrayList_Clear(obj->blocks));
    kCheck(xkS3dPatternSequence_AddPhase(sequence, firstPeriod, firstCount));
    for (kSize i = 0; i < count; ++i)
        kCheck(xkS3dPatternSequence_AddPhase(sequence, periods[i], counts[i]));
    return kOK;
}

kFx(kSize) kS3dPatternSequence_ImageCount(kS3dPatternSequence sequence)
{
    kObjN(kS3dPatternSequence, obj, sequence);
    return obj ? xkS3dPatternBlocks_ImageCount(obj->blocks) : 0;
}

kFx(kStatus) kS3dPatternSequence_Render(kS3dPatternSequence sequence, kArray2* output)
{
    kObjR(kS3dPatternSequence, sequence);
    kCheckArgs(output);
    xkS3dPatternSequence_UpdateProfile(obj);
    auto renderBlock = [obj](const kS3dPatternBlock& block, k8u* rows)
    { return xkS3dPatternSequence_RenderBlock(obj, block, rows); };
    return xkS3dPatternBlocks_Render(obj->blocks, obj->width, kObject_Alloc(obj), renderBlock,
                                     output);
}

kFx(kSize) kS3dPatternSequence_Width(kS3dPatternSequence sequence)
{
    kObjN(kS3dPatternSequence, obj, sequence);
    return obj ? obj->width : 0;
}

kFx(kStatus) kS3dPatternSequence_SetIntensity(kS3dPatternSequence sequence, k64f intensity)
{
    kObjR(kS3dPatternSequence, sequence);
    kCheckArgs(intensity > 0 && intensity <= 1);
    obj->intensity = intensity;
    return kOK;
}

kFx(k64f) kS3dPatternSequence_Intensity(kS3dPatternSequence sequence)
{
    kObjN(kS3dPatternSequence, obj, sequence);
    return obj ? obj->intensity : 0;
}

kFx(kStatus) kS3dPatternSequence_SetUniformity(kS3dPatternSequence sequence, k64f uniformity)
{
    kObjR(kS3dPatternSequence, sequence);
    kCheckArgs(uniformity > 0 && uniformity <= 1);
    obj->uniformity = uniformity;
    return kOK;
}

kFx(k64f) kS3dPatternSequence_Uniformity(kS3dPatternSequence sequence)
{
    kObjN(kS3dPatternSequence, obj, sequence);
    return obj ? obj->uniformity : 0;
}
