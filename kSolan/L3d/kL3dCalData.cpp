#include <kSolan/L3d/kL3dCalData.h>

kDefineValue(kL3dCalDataType, kValue);

kFx(kStatus) xxkL3dCalDataType_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dCalDataType));
    kCheck(kAddEnumerator(kL3dCalDataType, kL3D_CAL_POLYNOMIAL));
    return kAddEnumerator(kL3dCalDataType, kL3D_CAL_RANGE);
}
