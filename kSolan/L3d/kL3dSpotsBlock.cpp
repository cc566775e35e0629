#include <kSolan/L3d/kL3dSpotsBlock.h>

kDefineValue(kL3dSpotsBlockPort, kValue);
kDefineValue(kL3dSpotsBlockAlgType, kValue);
kDefineValue(kL3dSpotType, kValue);

kFx(kStatus) xxkL3dSpotsBlockPort_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dSpotsBlockPort));
    kCheck(kAddEnumerator(kL3dSpotsBlockPort, kL3D_SPOTS_BLOCK_INFPGA));
    kCheck(kAddEnumerator(kL3dSpotsBlockPort, kL3D_SPOTS_BLOCK_OUTSPOTS));
    return kAddEnumerator(kL3dSpotsBlockPort, kL3D_SPOTS_BLOCK_OUTPLOT);
}

kFx(kStatus) xxkL3dSpotsBlockAlgType_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dSpotsBlockAlgType));
    kCheck(kAddEnumerator(kL3dSpotsBlockAlgType, kL3D_SPOTS_BLOCK_ALG_TYPE_ACG));
    return kAddEnumerator(kL3dSpotsBlockAlgType, kL3D_SPOTS_BLOCK_ALG_TYPE_SOBEL);
}

kFx(kStatus) xxkL3dSpotType_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dSpotType));
    kCheck(kAddEnumerator(kL3dSpotType, kL3D_SPOT_TYPE_SPOT));
    kCheck(kAddEnumerator(kL3dSpotType, kL3D_SPOT_TYPE_FPGA_SPOT));
    return kAddEnumerator(kL3dSpotType, kL3D_SPOT_TYPE_FPGA_WIDE_SPOT);
}
