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
/*
 * Statistics as 32-bit words, minimum | maximum << 8 | sum << 16 (the little-endian bytes of
 * kS3dEmbeddedPhaseStats); the 16-bit sum wraps as the field does.
 */
HWY_INLINE uint32_t StatisticsWord(uint32_t w, uint32_t p, bool first)
{
    if (first) return p * 0x10101u;
    const uint32_t lo = HWY_MIN(w & 0xFFu, p), hi = HWY_MAX((w >> 8) & 0xFFu, p);
    return lo | hi << 8 | ((w >> 16) + p) << 16;
}

template <bool kFirst>
HWY_INLINE void StatisticsRun(uint32_t* HWY_RESTRICT words, const k8u* HWY_RESTRICT pixels,
                              size_t count)
{
    const hn::ScalableTag<uint32_t> d;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const size_t n = hn::Lanes(d);
    const auto byteMask = hn::Set(d, 0xFFu);
    size_t i = 0;
    for (; i + n <= count; i += n)
    {
        const auto p = hn::PromoteTo(d, hn::LoadU(d8, pixels + i));
        if constexpr (kFirst)
        {
            hn::StoreU(hn::Mul(p, hn::Set(d, 0x10101u)), d, words + i);
        }
        else
        {
            const auto w = hn::LoadU(d, words + i);
            const auto lo = hn::Min(hn::And(w, byteMask), p);
            const auto hi = hn::Max(hn::And(hn::ShiftRight<8>(w), byteMask), p);
            const auto sum = hn::Add(hn::ShiftRight<16>(w), p);
            hn::StoreU(hn::Or(lo, hn::Or(hn::ShiftLeft<8>(hi), hn::ShiftLeft<16>(sum))), d,
                       words + i);
        }
    }
    for (; i < count; ++i)
        words[i] = StatisticsWord(words[i], pixels[i], kFirst);
}

void Statistics(uint32_t* words, const k8u* pixels, size_t count, bool first)
{
    if (first)
        StatisticsRun<true>(words, pixels, count);
    else
        StatisticsRun<false>(words, pixels, count);
}
} // namespace HWY_NAMESPACE
} // namespace xkS3dEmbeddedPhaseHost
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace xkS3dEmbeddedPhaseHost
{
HWY_EXPORT(Accumulate32f);
HWY_EXPORT(Accumulate32s);
HWY_EXPORT(Statistics);

void Dispatch32f(k32f* pairs, const k8u* pixels, kSize count, k32f a, k32f b, kBool first)
{
    HWY_DYNAMIC_DISPATCH(Accumulate32f)(pairs, pixels, count, a, b, first != kFALSE);
}

void Dispatch32s(k32s* pairs, const k8u* pixels, kSize count, k32s a, k32s b, kBool first)
{
    HWY_DYNAMIC_DISPATCH(Accumulate32s)(pairs, pixels, count, a, b, first != kFALSE);
}

void DispatchStatistics(kS3dEmbeddedPhaseStats* stats, const k8u* pixels, kSize count, kBool first)
{
    static_assert(sizeof(kS3dEmbeddedPhaseStats) == sizeof(uint32_t), "one word per pixel");
    HWY_DYNAMIC_DISPATCH(Statistics)
    (reinterpret_cast<uint32_t*>(stats), pixels, count, first != kFALSE);
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
    xkS3dEmbeddedPhaseHost::DispatchStatistics(stats, pixels, count, first);
}
#endif
