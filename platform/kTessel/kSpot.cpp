#include <kTessel/kSpot.h>

kDefineValue(kSpot, kValue);
kDefineValue(kFpgaSpot, kValue);
kDefineValue(kFpgaWideSpot, kValue);
kDefineValue(kFpgaSpot2i, kValue);
kDefineValue(kSpot2, kValue);
kDefineValue(kCompactSpot, kValue);

kFx(kStatus) xxkSpot_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kSpot, kValue));
    kCheck(kAddField(kSpot, k32u, centre));
    kCheck(kAddField(kSpot, k16u, slice));
    kCheck(kAddField(kSpot, k16u, sum));
    kCheck(kAddField(kSpot, k16u, width));
    return kAddField(kSpot, k16u, reserved);
}

kFx(kStatus) xxkFpgaSpot_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kFpgaSpot, kValue));
    kCheck(kAddField(kFpgaSpot, k32u, centerWidth));
    kCheck(kAddField(kFpgaSpot, k16u, sliceEntry));
    return kAddField(kFpgaSpot, k16u, sumSlice);
}

kFx(kStatus) xxkFpgaWideSpot_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kFpgaWideSpot, kValue));
    kCheck(kAddField(kFpgaWideSpot, k32u, centerWidth));
    kCheck(kAddField(kFpgaWideSpot, k16u, sliceEntry));
    return kAddField(kFpgaWideSpot, k16u, sumSlice);
}

kFx(kStatus) xxkFpgaSpot2i_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kFpgaSpot2i, kValue));
    return kAddField(kFpgaSpot2i, k64u, word);
}

kFx(kStatus) xxkSpot2_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kSpot2, kValue));
    kCheck(kAddField(kSpot2, k32u, x));
    kCheck(kAddField(kSpot2, k32u, y));
    return kAddField(kSpot2, k32u, sum);
}

kFx(kStatus) xxkCompactSpot_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kCompactSpot, kValue));
    return kAddField(kCompactSpot, k32u, word);
}
