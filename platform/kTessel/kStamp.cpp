#include <kTessel/kStamp.h>

kDefineValue(kStamp, kValue);

/* Reserved bytes are not described: they are copied with the record but carry nothing. */
kFx(kStatus) xxkStamp_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kStamp, kValue));
    kCheck(kAddField(kStamp, k8u, status));
    kCheck(kAddField(kStamp, k16u, digitalInputs));
    kCheck(kAddField(kStamp, k64u, frameIndex));
    kCheck(kAddField(kStamp, k64u, time));
    kCheck(kAddField(kStamp, k64s, encoder));
    kCheck(kAddField(kStamp, k16u, width));
    kCheck(kAddField(kStamp, k16u, height));
    kCheck(kAddField(kStamp, k16u, roiX));
    kCheck(kAddField(kStamp, k16u, roiY));
    kCheck(kAddField(kStamp, k16u, roiWidth));
    kCheck(kAddField(kStamp, k16u, roiHeight));
    kCheck(kAddField(kStamp, k8u, roiXSubsampling));
    kCheck(kAddField(kStamp, k8u, roiYSubsampling));
    return kAddField(kStamp, k16s, temperature);
}
