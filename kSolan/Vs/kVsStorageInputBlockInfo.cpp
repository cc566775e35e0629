#include <kSolan/Vs/kVsStorageInputBlockInfo.h>

#include <cstring>

struct kVsStorageInputBlockInfoStruct
{
    kChar inputFileName[kVS_STORAGE_INPUT_FILE_NAME_CAPACITY];
};

namespace
{
const kSettingKey kKeys[] = {
    {.path = "inputFileName",
     .type = kSETTING_TYPE_TEXT,
     kSETTING_FIELD(kVsStorageInputBlockInfoStruct, inputFileName),
     .defaultText = "InputFile.kdat"},
};
const kSettingsSchema kSchema = {kKeys, kCountOf(kKeys)};
} // namespace

kFx(kStatus) kVsStorageInputBlockInfo_Construct(kVsStorageInputBlockInfo* info)
{
    kVsStorageInputBlockInfo created = kNULL;
    kCheckArgs(info);
    kCheck(kMemAllocZero(sizeof(kVsStorageInputBlockInfoStruct), &created));
    kSettings_Clear(&kSchema, created);
    *info = created;
    return kOK;
}

kFx(kStatus) kVsStorageInputBlockInfo_Destroy(kVsStorageInputBlockInfo info)
{
    return kMemFree(info);
}

kFx(kStatus) kVsStorageInputBlockInfo_Load(kVsStorageInputBlockInfo* info, kXml settings)
{
    kVsStorageInputBlockInfo loaded = kNULL;
    kCheck(kVsStorageInputBlockInfo_Construct(&loaded));
    kStatus status = kSettings_Load(&kSchema, loaded, settings);
    if (!kSuccess(status))
    {
        kVsStorageInputBlockInfo_Destroy(loaded);
        return status;
    }
    *info = loaded;
    return kOK;
}

kFx(kStatus) kVsStorageInputBlockInfo_Store(kVsStorageInputBlockInfo info, kXml settings)
{
    return kSettings_Store(&kSchema, info, settings);
}

kFx(kStatus)
    kVsStorageInputBlockInfo_Read(kVsStorageInputBlockInfo info, kXml settings, kXmlItem element)
{
    return kSettings_Read(&kSchema, info, settings, element);
}

kFx(kStatus)
    kVsStorageInputBlockInfo_Write(kVsStorageInputBlockInfo info, kXml settings, kXmlItem element)
{
    return kSettings_Write(&kSchema, info, settings, element);
}

kFx(const kChar*) kVsStorageInputBlockInfo_InputFileName(kVsStorageInputBlockInfo info)
{
    return info ? info->inputFileName : "";
}

kFx(kStatus)
    kVsStorageInputBlockInfo_SetInputFileName(kVsStorageInputBlockInfo info, const kChar* fileName)
{
    kCheckArgs(info && fileName && strlen(fileName) < sizeof(info->inputFileName));
    strcpy(info->inputFileName, fileName);
    return kOK;
}

kFx(kStatus) kVsStorageInputBlockInfo_Normalize(kXml settings)
{
    kVsStorageInputBlockInfo info = kNULL;
    kCheck(kVsStorageInputBlockInfo_Construct(&info));
    kStatus status = kSettings_Normalize(&kSchema, info, settings);
    kVsStorageInputBlockInfo_Destroy(info);
    return status;
}
