#include <kSolan/L3d/kL3dRangeCalData.h>

kDefineValue(kL3dRangeCalDataChannel, kValue);
kDefineValue(kL3dRangeCalDataParams, kValue);

kFx(kStatus) xxkL3dRangeCalDataChannel_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dRangeCalDataChannel));
    kCheck(kAddEnumerator(kL3dRangeCalDataChannel, kL3D_RANGE_CAL_DATA_CHANNEL_Z));
    kCheck(kAddEnumerator(kL3dRangeCalDataChannel, kL3D_RANGE_CAL_DATA_CHANNEL_X));
    return kAddEnumerator(kL3dRangeCalDataChannel, kL3D_RANGE_CAL_DATA_CHANNEL_Y);
}

kFx(kStatus) xxkL3dRangeCalDataParams_Register(kAssembly assembly, const kChar* name)
{
    return kAddValue(kL3dRangeCalDataParams, kValue);
}
