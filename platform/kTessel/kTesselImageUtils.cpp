#include <kTessel/kTesselImageUtils.h>

#include <cmath>

namespace
{
bool IsPixelLut(kArray1 lut)
{
    return kObject_Is(lut, kTypeOf(kArray1)) && kArray1_ItemType(lut) == kTypeOf(k8u);
}
} // namespace

kFx(kStatus) kTesselImageUtils_PixelLutFillDefault(kArray1 lut)
{
    kCheckArgs(IsPixelLut(lut));
    kSize count = kArray1_Length(lut);
    k8u* entries = kArray1_DataT<k8u>(lut);
    for (kSize i = 0; i < count; ++i)
        entries[i] = (k8u)((k64u)i * 256 / count);
    return kOK;
}

kFx(kStatus) kTesselImageUtils_PixelLutFillGammaCorrection(kArray1 lut, k64f gamma)
{
    kCheckArgs(IsPixelLut(lut) && gamma > 0);
    kSize count = kArray1_Length(lut);
    k8u* entries = kArray1_DataT<k8u>(lut);
    for (kSize i = 0; i < count; ++i)
    {
        k64f level = count > 1 ? (k64f)i / (k64f)(count - 1) : 1.0;
        entries[i] = (k8u)std::round(255.0 * std::pow(level, gamma)); // round: half away from zero
    }
    return kOK;
}
