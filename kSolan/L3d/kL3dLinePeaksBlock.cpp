#include <kSolan/L3d/kL3dLinePeaksBlock.h>

kDefineValue(kL3dLinePeaksBlockPort, kValue);

kFx(kStatus) xxkL3dLinePeaksBlockPort_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddEnum(kL3dLinePeaksBlockPort));
    kCheck(kAddEnumerator(kL3dLinePeaksBlockPort, kL3D_LINE_PEAKS_BLOCK_INFPGA));
    return kAddEnumerator(kL3dLinePeaksBlockPort, kL3D_LINE_PEAKS_BLOCK_OUTLINEPEAKS);
}
