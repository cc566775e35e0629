#include <kSolan/Vs/kVsRateLimitBlockInfo.h>

struct kVsRateLimitBlockInfoStruct
{
    k32u divisor;
};

namespace
{
const kSettingKey kKeys[] = {
    {.path = "Divisor",
     .type = kSETTING_TYPE_32U,
     kSETTING_FIELD(kVsRateLimitBlockInfoStruct, divisor)},
};
const kSettingsSchema kSchema = {kKeys, kCountOf(kKeys)};
} // namespace

kFx(kStatus) kVsRateLimitBlockInfo_Construct(kVsRateLimitBlockInfo* info)
{
    kCheckArgs(info);
    return kMemAllocZero(sizeof(kVsRateLimitBlockInfoStruct), info);
}

kFx(kStatus) kVsRateLimitBlockInfo_Destroy(kVsRateLimitBlockInfo info) { return kMemFree(info); }

kFx(kStatus) kVsRateLimitBlockInfo_Load(kVsRateLimitBlockInfo* info, kXml settings)
{
    kVsRateLimitBlockInfo loaded = kNULL;
    kCheck(kVsRateLimitBlockInfo_Construct(&loaded));
    kStatus status = kSettings_Load(&kSchema, loaded, settings);
    if (!kSuccess(status))
    {
        kVsRateLimitBlockInfo_Destroy(loaded);
        return status;
    }
    *info = loaded;
    return kOK;
}

kFx(kStatus) kVsRateLimitBlockInfo_Store(kVsRateLimitBlockInfo info, kXml settings)
{
    return kSettings_Store(&kSchema, info, settings);
}

kFx(kStatus) kVsRateLimitBlockInfo_Read(kVsRateLimitBlockInfo info, kXml settings, kXmlItem element)
{
    return kSettings_Read(&kSchema, info, settings, element);
}

kFx(kStatus)
    kVsRateLimitBlockInfo_Write(kVsRateLimitBlockInfo info, kXml settings, kXmlItem element)
{
    return kSettings_Write(&kSchema, info, settings, element);
}

kFx(k32u) kVsRateLimitBlockInfo_Divisor(kVsRateLimitBlockInfo info)
{
    return info ? info->divisor : 0;
}

kFx(kStatus) kVsRateLimitBlockInfo_SetDivisor(kVsRateLimitBlockInfo info, k32u divisor)
{
    kCheckArgs(info);
    info->divisor = divisor;
    return kOK;
}
