#include <kSolan/L3d/kL3dRangeLookup.h>

kDefineValue(kL3dRangeLookupMethod, kValue);

kFx(kStatus) xxkL3dRangeLookupMethod_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dRangeLookupMethod));
    kCheck(kAddEnumerator(kL3dRangeLookupMethod, kL3D_LOOKUP_SINGULAR_LINEAR));
    kCheck(kAddEnumerator(kL3dRangeLookupMethod, kL3D_LOOKUP_LINEAR_CUBIC));
    return kAddEnumerator(kL3dRangeLookupMethod, kL3D_LOOKUP_PL_LINEAR_CUBIC);
}
