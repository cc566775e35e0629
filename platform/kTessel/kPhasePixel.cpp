#include <kTessel/kPhasePixel.h>

kDefineValue(kPhasePixel, kValue);
kDefineValue(kPhasePixel2, kValue);

kFx(kStatus) xxkPhasePixel_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kPhasePixel, kValue));
    kCheck(kAddField(kPhasePixel, k8u, contrast));
    kCheck(kAddField(kPhasePixel, k8u, intensity));
    return kAddField(kPhasePixel, k16s, phase);
}

kFx(kStatus) xxkPhasePixel2_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kPhasePixel2, kValue));
    return kAddField(kPhasePixel2, k32u, word);
}
