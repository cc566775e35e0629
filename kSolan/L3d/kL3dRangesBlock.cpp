#include <kSolan/L3d/kL3dRangesBlock.h>

kDefineValue(kL3dRangesBlockPort, kValue);

kFx(kStatus) xxkL3dRangesBlockPort_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dRangesBlockPort));
    kCheck(kAddEnumerator(kL3dRangesBlockPort, kL3D_RANGES_BLOCK_OUTRANGES));
    kCheck(kAddEnumerator(kL3dRangesBlockPort, kL3D_RANGES_BLOCK_OUTPLOT_XY));
    kCheck(kAddEnumerator(kL3dRangesBlockPort, kL3D_RANGES_BLOCK_OUTPLOT_XZ));
    return kAddEnumerator(kL3dRangesBlockPort, kL3D_RANGES_BLOCK_INSPOTS_BEGIN);
}
