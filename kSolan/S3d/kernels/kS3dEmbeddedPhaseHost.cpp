// Vector host kernels of the embedded phase decoders; compiled once per vector target,
// dispatched at run time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kSolan/S3d/kernels/kS3dEmbeddedPhaseHost.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <kSolan/S3d/kernels/kS3dEmbeddedPhaseHost.h>

HWY_BEFORE_NAMESPACE();
namespace xkS3dEmbeddedPhaseHost
{
namespace HWY_NAMESPACE
{
namespace hn = hwy::HWY_NAMESPACE;

/* The value a pixel contributes: p / 255 for float sums, p itself for integer sums. */
template <typename T>
HWY_INLINE T Scaled(k8u p)
{
    if constexpr (hwy::IsFloat<T>())
        return (T)p * kS3D_EMBEDDED_PHASE_PIXEL_SCALE;
    else
        return (T)p;
}

/*
 * One frame into interleaved pairs. The sums are read and written in whole vectors with
 * de-interleaving loads and interleaving stores; the rest of the run, below one vector, goes
 * through the scalar form of the same products.
 */
template <typename T, bool kFirst>
HWY_INLINE void AccumulateRun(T* HWY_RESTRICT pairs, const k8u* HWY_RESTRICT pixels, size_t count,
                              T a, T b)
{
    const hn::ScalableTag<T> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const size_t n = hn::Lanes(d);
    const auto va = hn::Set(d, a), vb = hn::Set(d, b);
    size_t i = 0;
    for (; i + n <= count; i += n)
    {
        const auto wide = hn::PromoteTo(di, hn::LoadU(d8, pixels + i));
        hn::Vec<decltype(d)> v;
        if constexpr (hwy::IsFloat<T>())
            v = hn::Mul(hn::ConvertTo(d, wide), hn::Set(d, kS3D_EMBEDDED_PHASE_PIXEL_SCALE));
        else
            v = wide;
        auto cosine = hn::Mul(v, va), sine = hn::Mul(v, vb);
        if constexpr (!kFirst)
        {
            hn::Vec<decltype(d)> c, s;
            hn::LoadInterleaved2(d, pairs + 2 * i, c, s);
            cosine = hn::Add(c, cosine);
            sine = hn::Add(s, sine);
        }
        hn::StoreInterleaved2(cosine, sine, d, pairs + 2 * i);
    }
    for (; i < count; ++i)
    {
        const T v = Scaled<T>(pixels[i]);
        if constexpr (kFirst)
        {
            pairs[2 * i] = v * a;
            pairs[2 * i + 1] = v * b;
        }
        else
        {
            pairs[2 * i] = pairs[2 * i] + v * a;
            pairs[2 * i + 1] = pairs[2 * i + 1] + v * b;
        }
    }
}

void Accumulate32f(k32f* pairs, const k8u* pixels, size_t count, k32f a, k32f b, bool first)
{
    if (first)
        AccumulateRun<k32f, true>(pairs, pixels, count, a, b);
    else
        AccumulateRun<k32f, false>(pairs, pixels, count, a, b);
}

void Accumulate32s(k32s* pairs, const k8u* pixels, size_t count, k32s a, k32s b, bool first)
{
    if (first)
        AccumulateRun<k32s, true>(pairs, pixels, count, a, b);
    else
        AccumulateRun<k32s, false>(pairs, pixels, count, a, b);
}
} // namespace HWY_NAMESPACE
} // namespace xkS3dEmbeddedPhaseHost
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace xkS3dEmbeddedPhaseHost
{
HWY_EXPORT(Accumulate32f);
HWY_EXPORT(Accumulate32s);

void Dispatch32f(k32f* pairs, const k8u* pixels, kSize count, k32f a, k32f b, kBool first)
{
    HWY_DYNAMIC_DISPATCH(Accumulate32f)(pairs, pixels, count, a, b, first != kFALSE);
}

void Dispatch32s(k32s* pairs, const k8u* pixels, kSize count, k32s a, k32s b, kBool first)
{
    HWY_DYNAMIC_DISPATCH(Accumulate32s)(pairs, pixels, count, a, b, first != kFALSE);
}
} // namespace xkS3dEmbeddedPhaseHost

void xkS3dEmbeddedPhaseHost_Accumulate32f(k32f* pairs, const k8u* pixels, kSize count, k32f a,
                                          k32f b, kBool first)
{
    xkS3dEmbeddedPhaseHost::Dispatch32f(pairs, pixels, count, a, b, first);
}

void xkS3dEmbeddedPhaseHost_Accumulate32s(k32s* pairs, const k8u* pixels, kSize count, k32s a,
                                          k32s b, kBool first)
{
    xkS3dEmbeddedPhaseHost::Dispatch32s(pairs, pixels, count, a, b, first);
}

void xkS3dEmbeddedPhaseHost_Statistics(kS3dEmbeddedPhaseStats* stats, const k8u* pixels,
                                       kSize count, kBool first)
{
    if (first)
    {
        for (kSize i = 0; i < count; ++i)
            stats[i] = kS3dEmbeddedPhaseStats{pixels[i], pixels[i], pixels[i]};
        return;
    }
    for (kSize i = 0; i < count; ++i)
    {
        const k8u p = pixels[i];
        kS3dEmbeddedPhaseStats s = stats[i];
        s.minimum = p < s.minimum ? p : s.minimum;
        s.maximum = p > s.maximum ? p : s.maximum;
        s.sum = (k16u)(s.sum + p);
        stats[i] = s;
    }
}
#endif
