#include <kSolan/S3d/kS3dEncodingMath.h>
#include <kSolan/S3d/kS3dStripeDecoder.h>

#include <cmath>

namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;
constexpr kSize kMaxStripeFrames = 7;
constexpr kSize kMaxTableBits = 30;
} // namespace

kFx(kStatus) kS3dEncodingMath_EmbeddedPhasePeriods(const k64f* coefficients, kSize n, k64f* output,
                                                   kSize capacity)
{
    kCheckArgs(capacity >= n);
    kCheckArgs(n == 0 || (coefficients && output));
    k64f product = 1.0;
    for (kSize i = 0; i < n; ++i)
        output[i] = product *= coefficients[i];
    return kOK;
}

kFx(kStatus)
    kS3dEncodingMath_PatternPhasePeriods(const k64f* periods, kSize n, k64f* output, kSize capacity)
{
    kCheckArgs(n > 0 && capacity >= n && periods && output);
    const k64f first = periods[0];
    output[0] = first;
    for (kSize i = 1; i < n; ++i)
        output[i] = first * periods[i] / (first + periods[i]);
    return kOK;
}

kFx(kStatus) kS3dStripe_PlCodeLut(kArray1* table, kSize count, kAlloc allocator)
{
    kCheckArgs(table && count <= kMaxStripeFrames);
    const kSize entries = (kSize)1 << count;
    kArray1 output = kNULL;
    kCheck(kArray1_Construct(&output, kTypeOf(k32s), entries, allocator));
    k32s* items = kArray1_DataT<k32s>(output);
    for (kSize g = 0; g < entries; ++g)
        items[g] = (k32s)(kS3dGrayCode_ToBinary((k32u)g, count) & 0xFF);
    *table = output;
    return kOK;
}

kFx(kStatus) kS3dPhase_PlSinCosLuts(kArray1* sine, kArray1* cosine, kSize count, kSize bits,
                                    kAlloc allocator)
{
    kCheckArgs(sine && cosine && count > 0 && bits <= kMaxTableBits);
    kArray1 sines = kNULL, cosines = kNULL;
    kStatus status;

    kTest(kArray1_Construct(&sines, kTypeOf(k32s), count, allocator));
    kTest(kArray1_Construct(&cosines, kTypeOf(k32s), count, allocator));
    {
        const double scale = std::ldexp(1.0, (int)bits);
        k32s* s = kArray1_DataT<k32s>(sines);
        k32s* c = kArray1_DataT<k32s>(cosines);
        for (kSize i = 0; i < count; ++i)
        {
            // std::round rounds half away from zero.
            s[i] = (k32s)std::round(scale * std::sin(kTwoPi * (double)i / (double)count));
            c[i] = (k32s)std::round(scale * std::cos(kTwoPi * (double)i / (double)count));
        }
    }
    *sine = sines;
    *cosine = cosines;
    return kOK;
cleanup:
    kObject_Destroy(sines);
    kObject_Destroy(cosines);
    return status;
}
