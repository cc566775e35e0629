#include <kTessel/kCameraPhaseDecoder.h>
#include <kTessel/kNode.x.h>
#include <kBasis/kArray2.h>

struct kCameraPhaseDecoderClass
{
    kCameraExtClass base;
    kObject luts[kCAMERA_PHASE_DECODER_LUT_CAPACITY]; // copies of the written tables
};

kDefineClass(kCameraPhaseDecoder, kCameraExt);

namespace
{
/* Records "<operation> <camera> <arguments>" on the camera's node. */
template <typename... Args>
kStatus Call(kCameraPhaseDecoder decoder, const kChar* operation, const kChar* format, Args... args)
{
    kObjR(kCameraPhaseDecoder, decoder);
    kCamera camera = obj->base.camera;
    return xkNode_Call(xkCamera_Node(camera), operation, format, (unsigned)kCamera_Index(camera),
                       args...);
}

/* Tables are kArray1 or kArray2 of values. */
bool IsTable(kObject table)
{
    if (kObject_Is(table, kTypeOf(kArray1))) return kType_IsValue(kArray1_ItemType(table));
    return kObject_Is(table, kTypeOf(kArray2)) && kType_IsValue(kArray2_ItemType(table));
}

kSize TableCount(kObject table)
{
    return kObject_Is(table, kTypeOf(kArray1)) ? kArray1_Count(table) : kArray2_Count(table);
}
} // namespace

static kStatus xkCameraPhaseDecoder_VRelease(kObject decoder)
{
    kCameraPhaseDecoderClass* obj = kCastRaw(kCameraPhaseDecoder, decoder);
    for (kObject& lut : obj->luts)
        kCheck(kDestroyRef(&lut));
    return xkObject_VRelease(decoder);
}

kFx(kStatus) xxkCameraPhaseDecoder_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kCameraPhaseDecoder, kCameraExt));
    return kAddVMethod(kCameraPhaseDecoder, VRelease);
}

kFx(kStatus) kCameraPhaseDecoder_SetPhaseCount(kCameraPhaseDecoder decoder, k32u count)
{
    return Call(decoder, "kCameraPhaseDecoder_SetPhaseCount", "%u %u", count);
}

kFx(kStatus) kCameraPhaseDecoder_SetPhasePeriod(kCameraPhaseDecoder decoder, k32u period)
{
    return Call(decoder, "kCameraPhaseDecoder_SetPhasePeriod", "%u %u", period);
}

kFx(kStatus) kCameraPhaseDecoder_SetStripeThreshold(kCameraPhaseDecoder decoder, k32u threshold)
{
    return Call(decoder, "kCameraPhaseDecoder_SetStripeThreshold", "%u %u", threshold);
}

kFx(kStatus) kCameraPhaseDecoder_SetPhaseThreshold(kCameraPhaseDecoder decoder, k32u threshold)
{
    return Call(decoder, "kCameraPhaseDecoder_SetPhaseThreshold", "%u %u", threshold);
}

kFx(kStatus) kCameraPhaseDecoder_SetFormat(kCameraPhaseDecoder decoder, k32u format)
{
    return Call(decoder, "kCameraPhaseDecoder_SetFormat", "%u %u", format);
}

kFx(kStatus) kCameraPhaseDecoder_SetSubframeCount(kCameraPhaseDecoder decoder, k32u count)
{
    return Call(decoder, "kCameraPhaseDecoder_SetSubframeCount", "%u %u", count);
}

kFx(kStatus) kCameraPhaseDecoder_SetPhasePrediction(kCameraPhaseDecoder decoder, k32u prediction)
{
    return Call(decoder, "kCameraPhaseDecoder_SetPhasePrediction", "%u %u", prediction);
}

kFx(kStatus) kCameraPhaseDecoder_SetEpsFrequencyCount(kCameraPhaseDecoder decoder, k32u count)
{
    return Call(decoder, "kCameraPhaseDecoder_SetEpsFrequencyCount", "%u %u", count);
}

kFx(kStatus) kCameraPhaseDecoder_SetEpsF1PhaseCount(kCameraPhaseDecoder decoder, k32u count)
{
    return Call(decoder, "kCameraPhaseDecoder_SetEpsF1PhaseCount", "%u %u", count);
}

kFx(kStatus)
    kCameraPhaseDecoder_SetEpsEmbeddedPeriod(kCameraPhaseDecoder decoder, k32u index, k32u period)
{
    kCheckArgs(index < kCAMERA_PHASE_DECODER_EPS_CAPACITY);
    return Call(decoder, "kCameraPhaseDecoder_SetEpsEmbeddedPeriod", "%u %u %u", index, period);
}

kFx(kStatus) kCameraPhaseDecoder_WriteLut(kCameraPhaseDecoder decoder, k32u id, kObject table)
{
    kObjR(kCameraPhaseDecoder, decoder);
    kObject copy = kNULL;

    kCheckArgs(id < kCAMERA_PHASE_DECODER_LUT_CAPACITY && IsTable(table));
    kCheck(Call(decoder, "kCameraPhaseDecoder_WriteLut", "%u %u %zu", id, TableCount(table)));
    kCheck(kObject_Clone(&copy, table, kObject_Alloc(decoder)));
    kObject_Destroy(obj->luts[id]);
    obj->luts[id] = copy;
    return kOK;
}

kFx(kObject) kCameraPhaseDecoder_Lut(kCameraPhaseDecoder decoder, k32u id)
{
    kObjN(kCameraPhaseDecoder, obj, decoder);
    return (obj && id < kCAMERA_PHASE_DECODER_LUT_CAPACITY) ? obj->luts[id] : kNULL;
}
