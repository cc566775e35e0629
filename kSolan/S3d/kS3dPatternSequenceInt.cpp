#include <kSolan/S3d/kS3dPatternSequenceInt.h>
#include <kSolan/S3d/kS3dPatternSequence.x.h>

#include <cmath>

struct kS3dPatternSequenceIntClass
{
    kObjectClass base;
    kSize width;
    k64f intensity;
    k8u intensity8;    // truncate(intensity × 255)
    kArrayList blocks; // kS3dPatternBlock
};

kDefineClass(kS3dPatternSequenceInt, kObject)

    namespace
{
    constexpr double kTwoPi = 6.283185307179586476925286766559;

    kStatus xkS3dPatternSequenceInt_Init(kS3dPatternSequenceInt sequence, kType type, kSize width,
                                         kAlloc alloc)
    {
        kS3dPatternSequenceIntClass* obj = static_cast<kS3dPatternSequenceIntClass*>(sequence);
        kCheck(kObject_Init(sequence, type, alloc));
        obj->width = width;
        obj->intensity = 1.0;
        obj->intensity8 = 255;
        obj->blocks = kNULL;
        return kArrayList_Construct(&obj->blocks, kTypeOf(kS3dPatternBlock), 0, alloc);
    }

    kStatus xkS3dPatternSequenceInt_RenderBlock(const kS3dPatternSequenceIntClass* obj,
                                                const kS3dPatternBlock& block, k8u* rows)
    {
        const kSize width = obj->width, n = block.count;
        const k32u i8 = obj->intensity8;

        switch (block.type)
        {
        case kS3D_PATTERN_BLOCK_REFERENCE:
            for (kSize i = 0; i < n; ++i)
            {
                k8u level = (k8u)(n == 1 ? i8 >> 1 : i * (i8 / (n - 1)));
                for (kSize x = 0; x < width; ++x)
                    rows[i * width + x] = level;
            }
            return kOK;

        case kS3D_PATTERN_BLOCK_STRIPE:
        {
            kCheckArgs(block.period >= 0 && block.period < 4294967296.0);
            // period × 2^n modulo 65536: nothing is left of it from 16 frames on.
            const k32u first = n < 16 ? ((k32u)block.period << n) & 0xFFFF : 0;
            for (kSize i = 0; i < n; ++i)
            {
                const k32u w = i < 16 ? first >> i : 0;
                for (kSize x = 0; x < width; ++x)
                {
                    bool bright = w != 0 && (((w >> 1) + x) / w) % 2 == 1;
                    rows[i * width + x] = bright ? (k8u)i8 : 0;
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
                    rows[i * width + x] = (k8u)(k32s)(255 * obj->intensity * wave + 0.5);
                }
            }
            return kOK;
        }

        default:
            return kSTATUS_FAILED;
        }
    }
} // namespace

kStatus xkS3dPatternSequenceInt_VRelease(kObject sequence)
{
    kCheck(kDestroyRef(&kCastRaw(kS3dPatternSequenceInt, sequence)->blocks));
    return xkObject_VRelease(sequence);
}

kStatus xkS3dPatternSequenceInt_VInitClone(kObject, kObject, kAlloc)
{
    return kSTATUS_NOT_IMPLEMENTED;
}

kFx(kStatus) xxkS3dPatternSequenceInt_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dPatternSequenceInt, kObject));
    kCheck(kAddVMethod(kS3dPatternSequenceInt, VRelease));
    kCheck(kAddVMethod(kS3dPatternSequenceInt, VInitClone));
    return kOK;
}

kFx(kStatus) kS3dPatternSequenceInt_Construct(kS3dPatternSequenceInt* sequence, kSize width,
                                              kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kS3dPatternSequenceIntClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kS3dPatternSequenceInt), &obj)))
        return status;
    if (!kSuccess(status = xkS3dPatternSequenceInt_Init(obj, kTypeOf(kS3dPatternSequenceInt), width,
                                                        alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *sequence = obj;
    return kOK;
}

kFx(kStatus) xkS3dPatternSequenceInt_AddReference(kS3dPatternSequenceInt sequence, kSize count)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    return xkS3dPatternBlocks_Add(obj->blocks, kS3D_PATTERN_BLOCK_REFERENCE, count, 0.0);
}

kFx(kStatus)
    xkS3dPatternSequenceInt_AddStripe(kS3dPatternSequenceInt sequence, k64f period, kSize count)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    return xkS3dPatternBlocks_Add(obj->blocks, kS3D_PATTERN_BLOCK_STRIPE, count, period);
}

kFx(kStatus)
    xkS3dPatternSequenceInt_AddPhase(kS3dPatternSequenceInt sequence, k64f period, kSize count)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    return xkS3dPatternBlocks_Add(obj->blocks, kS3D_PATTERN_BLOCK_PHASE, count, period);
}

kFx(kStatus)
    kS3dPatternSequenceInt_SetupStripePhase(kS3dPatternSequenceInt sequence, kSize referenceCount,
                                            kSize stripeCount, kSize phaseCount, k64f period)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    kCheck(kArrayList_Clear(obj->blocks));
    kCheck(xkS3dPatternSequenceInt_AddReference(sequence, referenceCount));
    kCheck(xkS3dPatternSequenceInt_AddStripe(sequence, period, stripeCount));
    return xkS3dPatternSequenceInt_AddPhase(sequence, period, phaseCount);
}

kFx(kStatus)
    kS3dPatternSequenceInt_SetupEmbeddedPhase(kS3dPatternSequenceInt sequence, const k64f* periods,
                                              const kSize* counts, kSize count)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    return xkS3dPatternBlocks_SetupPhases(obj->blocks, periods, counts, count);
}

kFx(kSize) kS3dPatternSequenceInt_ImageCount(kS3dPatternSequenceInt sequence)
{
    kObjN(kS3dPatternSequenceInt, obj, sequence);
    return obj ? xkS3dPatternBlocks_ImageCount(obj->blocks) : 0;
}

kFx(kStatus) kS3dPatternSequenceInt_Render(kS3dPatternSequenceInt sequence, kArray2* output)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    kCheckArgs(output);
    auto renderBlock = [obj](const kS3dPatternBlock& block, k8u* rows)
    { return xkS3dPatternSequenceInt_RenderBlock(obj, block, rows); };
    return xkS3dPatternBlocks_Render(obj->blocks, obj->width, kObject_Alloc(obj), renderBlock,
                                     output);
}

kFx(kSize) kS3dPatternSequenceInt_Width(kS3dPatternSequenceInt sequence)
{
    kObjN(kS3dPatternSequenceInt, obj, sequence);
    return obj ? obj->width : 0;
}

kFx(kStatus) kS3dPatternSequenceInt_SetIntensity(kS3dPatternSequenceInt sequence, k64f intensity)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    kCheckArgs(intensity > 0 && intensity <= 1);
    obj->intensity = intensity;
    obj->intensity8 = (k8u)(intensity * 255);
    return kOK;
}

kFx(k64f) kS3dPatternSequenceInt_Intensity(kS3dPatternSequenceInt sequence)
{
    kObjN(kS3dPatternSequenceInt, obj, sequence);
    return obj ? obj->intensity : 0;
}

kFx(kStatus) kS3dPatternSequenceInt_SaveCSV(kS3dPatternSequenceInt sequence, const kChar*)
{
    kObjR(kS3dPatternSequenceInt, sequence);
    (void)obj;
    return kOK;
}
