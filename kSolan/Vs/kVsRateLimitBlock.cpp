#include <kSolan/Vs/kVsRateLimitBlock.h>

#include <cstdlib>

struct kVsRateLimitBlockClass
{
    kPxBlockClass base;
    kVsRateLimitBlockInfo info; // loaded at start
};

kDefineClass(kVsRateLimitBlock, kPxBlock);

namespace
{
bool Passes(const kStamp* stamp, k32u divisor)
{
    return divisor == 0 || stamp->frameIndex % divisor == 0;
}

/* Rebuilds a profile message from the profiles that pass and sends it; disposes of the input.
 */
kStatus ReceiveProfiles(kVsRateLimitBlock block, kPxPort out, kProfileMsg input, k32u divisor)
{
    kSize count = kProfileMsg_Count(input), width = kProfileMsg_Width(input), passing = 0;
    kType pointType = kProfileMsg_PointType(input);
    kBool hasSlices = kProfileMsg_HasSlices(input);
    kProfileMsg output = kNULL;
    kStatus status;

    for (kSize i = 0; i < count; ++i)
        passing += Passes(kProfileMsg_StampAt(input, i), divisor);

    kTest(kProfileMsg_Construct(&output, pointType, passing, width, hasSlices,
                                kPxBlock_MessageAlloc(block)));
    for (kSize i = 0, o = 0; i < count; ++i)
    {
        if (!Passes(kProfileMsg_StampAt(input, i), divisor)) continue;
        *kProfileMsg_StampAt(output, o) = *kProfileMsg_StampAt(input, i);
        if (width > 0)
        {
            kMemCopy(kProfileMsg_PointsAt(output, o), kProfileMsg_PointsAt(input, i),
                     width * kType_Size(pointType));
            kMemCopy(kProfileMsg_IntensitiesAt(output, o), kProfileMsg_IntensitiesAt(input, i),
                     width);
            if (hasSlices)
                kMemCopy(kProfileMsg_SlicesAt(output, o), kProfileMsg_SlicesAt(input, i),
                         width * sizeof(k16u));
        }
        ++o;
    }
    kObject_Dispose(input);
    input = kNULL;
    kTest(kPxBlock_Send(block, out, output));
    return kOK;

cleanup:
    kObject_Dispose(input);
    kObject_Dispose(output);
    return status;
}
} // namespace

static const kChar* xkVsRateLimitBlock_VDescription(void)
{
    return "Limits message rate by only passing 1 in divisor messages";
}

static kStatus xkVsRateLimitBlock_VOnSetup(kPxBlock block)
{
    kXml settings = kPxBlock_Settings(block);
    kXmlItem root = kXml_Root(settings);
    kVsRateLimitBlockInfo info = kNULL;
    kStatus status;

    kCheck(kVsRateLimitBlockInfo_Construct(&info));
    if (!kSuccess(kVsRateLimitBlockInfo_Read(info, settings, root)) ||
        !kSuccess(kVsRateLimitBlock_ValidateInfo(info)))
        kVsRateLimitBlockInfo_SetDivisor(info, 1);
    kTest(kVsRateLimitBlockInfo_Write(info, settings, root));
    kTest(kPxBlock_DefineInput(block, "In", kVS_RATE_LIMIT_BLOCK_IN, kNULL));
    kTest(kPxBlock_DefineOutput(block, "Out", kVS_RATE_LIMIT_BLOCK_OUT, kNULL));

cleanup:
    kVsRateLimitBlockInfo_Destroy(info);
    return status;
}

static kStatus xkVsRateLimitBlock_VOnStart(kPxBlock block)
{
    kObjR(kVsRateLimitBlock, block);
    return kVsRateLimitBlockInfo_Load(&obj->info, kPxBlock_Settings(block));
}

static kStatus xkVsRateLimitBlock_VOnStop(kPxBlock block)
{
    kObjR(kVsRateLimitBlock, block);
    kStatus status = kVsRateLimitBlockInfo_Destroy(obj->info);
    obj->info = kNULL;
    return status;
}

static kStatus xkVsRateLimitBlock_VOnReceive(kPxBlock block, kPxPort, kObject message)
{
    kObjR(kVsRateLimitBlock, block);
    k32u divisor = kVsRateLimitBlockInfo_Divisor(obj->info);
    kPxPort out = kNULL;
    kStatus status;

    if (!kSuccess(status = kPxBlock_FindPort(block, kVS_RATE_LIMIT_BLOCK_OUT, &out)))
    {
        kObject_Dispose(message);
        return status;
    }

    if (kObject_Is(message, kTypeOf(kMsg)))
    {
        /* Dropped on purpose, silently: rate limiting is not a loss to report. */
        if (!Passes(kMsg_Stamp(message), divisor)) return kObject_Dispose(message);
        if (!kSuccess(status = kPxBlock_Send(block, out, message))) kObject_Dispose(message);
        return status;
    }
    if (kObject_Is(message, kTypeOf(kProfileMsg)))
        return ReceiveProfiles(block, out, message, divisor);

    kLogf("kVsRateLimitBlock: unsupported message type %s", kType_Name(kObject_Type(message)));
    abort();
}

kFx(kStatus) kVsRateLimitBlock_ValidateInfo(kVsRateLimitBlockInfo info)
{
    return kVsRateLimitBlockInfo_Divisor(info) != 0 ? kOK : kSTATUS_BAD_PARAMETER;
}

kFx(kStatus) xxkVsRateLimitBlock_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kVsRateLimitBlock, kPxBlock));
    kCheck(kAddVMethod(kVsRateLimitBlock, VDescription));
    kCheck(kAddVMethod(kVsRateLimitBlock, VOnSetup));
    kCheck(kAddVMethod(kVsRateLimitBlock, VOnStart));
    kCheck(kAddVMethod(kVsRateLimitBlock, VOnStop));
    return kAddVMethod(kVsRateLimitBlock, VOnReceive);
}
