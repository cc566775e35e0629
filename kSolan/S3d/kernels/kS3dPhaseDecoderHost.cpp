// Vector host kernels of the phase decoder; compiled once per vector target, dispatched at
// run time. Pixels are processed in whole vectors; a frame's last partial vector runs through
// the same code on a zero-padded copy.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kSolan/S3d/kernels/kS3dPhaseDecoderHost.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <kSolan/S3d/kernels/kS3dPhaseDecoderHost.h>

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace xkS3dPhaseDecoderHost
{
namespace HWY_NAMESPACE
{
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<int32_t>;
using V = hn::Vec<D>;

/*
 * One accumulator is three 32-bit words: cosine sum, sine sum, and min | max << 8 | sum << 16
 * (little-endian bytes of the 8-bit minimum, 8-bit maximum and 16-bit sum). Loading whole
 * records deinterleaves them into three vectors.
 */
static_assert(sizeof(kS3dPhaseDecoderAccum) == 12, "three words per accumulator");

HWY_INLINE V LoadPixels(D d, const k8u* HWY_RESTRICT pixels)
{
    const hn::Rebind<uint8_t, D> d8;
    return hn::PromoteTo(d, hn::LoadU(d8, pixels));
}

/* Runs block(words, pixels, out) over whole vectors, then once over a padded copy of the rest. */
template <class Block>
HWY_INLINE void ForEachVector(void* accum, const k8u* pixels, void* output, size_t count,
                              const Block& block)
{
    const D d;
    const size_t n = hn::Lanes(d);
    int32_t* words = static_cast<int32_t*>(accum);
    int32_t* out = static_cast<int32_t*>(output);
    size_t i = 0;
    for (; i + n <= count; i += n)
        block(words + 3 * i, pixels + i, out ? out + i : nullptr);
    if (i == count) return;

    constexpr size_t kMax = hn::MaxLanes(D());
    HWY_ALIGN int32_t tailWords[3 * kMax] = {};
    HWY_ALIGN k8u tailPixels[kMax] = {};
    HWY_ALIGN int32_t tailOut[kMax] = {};
    const size_t rest = count - i;
    memcpy(tailWords, words + 3 * i, rest * sizeof(kS3dPhaseDecoderAccum));
    memcpy(tailPixels, pixels + i, rest);
    block(tailWords, tailPixels, tailOut);
    memcpy(words + 3 * i, tailWords, rest * sizeof(kS3dPhaseDecoderAccum));
    if (out) memcpy(out + i, tailOut, rest * sizeof(kPhasePixel));
}

/* The record words after adding one frame, as vectors. */
struct Sums
{
    V cosSum, sinSum, packed;
};

HWY_INLINE Sums AddFrame(D d, const int32_t* HWY_RESTRICT words, V p, V sine, V cosine)
{
    const V byteMask = hn::Set(d, 0xFF);
    Sums s;
    hn::LoadInterleaved3(d, words, s.cosSum, s.sinSum, s.packed);
    s.cosSum = hn::Add(s.cosSum, hn::Mul(p, cosine));
    s.sinSum = hn::Add(s.sinSum, hn::Mul(p, sine));
    const V low = hn::Min(hn::And(s.packed, byteMask), p);
    const V high = hn::Max(hn::And(hn::ShiftRight<8>(s.packed), byteMask), p);
    const V sum = hn::Add(hn::ShiftRight<16>(s.packed), p); // at most 31 × 255: never negative
    s.packed = hn::Or(hn::Or(low, hn::ShiftLeft<8>(high)), hn::ShiftLeft<16>(sum));
    return s;
}

void First(kS3dPhaseDecoderAccum* accum, const k8u* pixels, size_t count, k32s sine, k32s cosine)
{
    const D d;
    const V vs = hn::Set(d, sine), vc = hn::Set(d, cosine);
    ForEachVector(accum, pixels, nullptr, count,
                  [&](int32_t* words, const k8u* px, int32_t*)
                  {
                      const V p = LoadPixels(d, px);
                      const V packed = hn::Or(hn::Or(p, hn::ShiftLeft<8>(p)), hn::ShiftLeft<16>(p));
                      hn::StoreInterleaved3(hn::Mul(p, vc), hn::Mul(p, vs), packed, d, words);
                  });
}

void Add(kS3dPhaseDecoderAccum* accum, const k8u* pixels, size_t count, k32s sine, k32s cosine)
{
    const D d;
    const V vs = hn::Set(d, sine), vc = hn::Set(d, cosine);
    ForEachVector(accum, pixels, nullptr, count,
                  [&](int32_t* words, const k8u* px, int32_t*)
                  {
                      const Sums s = AddFrame(d, words, LoadPixels(d, px), vs, vc);
                      hn::StoreInterleaved3(s.cosSum, s.sinSum, s.packed, d, words);
                  });
}

/*
 * Exact quotient n / den for 0 <= n < 2^31, 1 <= den < 2^15, integer only: q0 = (n × r) >> 32
 * with r = floor(2^32 / den) from a table is q or q − 1; one remainder test corrects it.
 */
HWY_INLINE V Divide(D d, V n, V den, const k32u* HWY_RESTRICT reciprocals)
{
#if HWY_TARGET == HWY_SCALAR
    // One lane and no 64-bit repartition: the plain division is the same integer.
    (void)reciprocals;
    return hn::Set(d, hn::GetLane(n) / hn::GetLane(den));
#else
    const hn::RebindToUnsigned<D> du;
    const hn::Repartition<uint64_t, D> d64;
    const auto r = hn::GatherIndex(du, reciprocals, den);
    const auto nu = hn::BitCast(du, n);
    const auto even = hn::MulEven(nu, r);
    const auto odd = hn::MulEven(hn::BitCast(du, hn::ShiftRight<32>(hn::BitCast(d64, nu))),
                                 hn::BitCast(du, hn::ShiftRight<32>(hn::BitCast(d64, r))));
    const V q = hn::BitCast(
        d, hn::OddEven(hn::BitCast(du, odd), hn::BitCast(du, hn::ShiftRight<32>(even))));
    const V remainder = hn::Sub(n, hn::Mul(q, den));
    const auto short1 = hn::Gt(remainder, hn::Sub(den, hn::Set(d, 1)));
    return hn::Sub(q, hn::VecFromMask(d, short1)); // the mask lanes are -1
#endif
}

/* kS3dPhase_Table on vectors; invalid lanes are k16S_NULL. */
HWY_INLINE V TablePhase(D d, V sinSum, V cosSum, const kS3dPhaseDecoderOutputParams* params,
                        const k32u* HWY_RESTRICT reciprocals)
{
    const V zero = hn::Zero(d);
    const V a = hn::Abs(sinSum), b = hn::Abs(cosSum);
    const V aHigh = hn::ShiftRight<12>(a), bHigh = hn::ShiftRight<12>(b);
    const auto nearCosine = hn::And(hn::Lt(a, b), hn::Ne(bHigh, zero));
    const auto nearSine = hn::AndNot(nearCosine, hn::Ne(aHigh, zero));

    const V numerator = hn::ShiftLeft<4>(hn::IfThenElse(nearCosine, a, b));
    const V den = hn::Max(hn::IfThenElse(nearCosine, bHigh, aHigh), hn::Set(d, 1));
    const V k = hn::Min(Divide(d, numerator, den, reciprocals), hn::Set(d, 65536));
    const V t = hn::GatherIndex(d, params->arctan, k);

    const auto cosPositive = hn::Gt(cosSum, zero);
    const V half = hn::Set(d, params->halfPeriod), quarter = hn::Set(d, params->quarterPeriod);
    const V value =
        hn::IfThenElse(nearCosine, hn::IfThenElse(cosPositive, t, hn::Sub(half, t)),
                       hn::IfThenElse(cosPositive, hn::Sub(quarter, t), hn::Add(quarter, t)));
    V phase = hn::IfThenElse(hn::Gt(sinSum, zero), value, hn::Neg(value));
    phase = hn::IfThenElse(hn::Lt(phase, zero), hn::Add(phase, hn::Set(d, params->period)), phase);
    return hn::IfThenElse(hn::Or(nearCosine, nearSine), phase, hn::Set(d, k16S_NULL));
}

template <bool kExact>
void Last(const kS3dPhaseDecoderAccum* accum, const k8u* pixels, kPhasePixel* output, size_t count,
          k32s sine, k32s cosine, const kS3dPhaseDecoderOutputParams* params,
          const k32u* reciprocals)
{
    const D d;
    const V vs = hn::Set(d, sine), vc = hn::Set(d, cosine);
    const V byteMask = hn::Set(d, 0xFF);
    const V factor = hn::Set(d, params->intensityFactor);
    const V threshold = hn::Set(d, params->contrastThreshold);
    const V invalid = hn::Set(d, k16S_NULL);
    auto block = [&](int32_t* words, const k8u* px, int32_t* out)
    {
        const Sums s = AddFrame(d, words, LoadPixels(d, px), vs, vc);
        const V contrast =
            hn::Sub(hn::And(hn::ShiftRight<8>(s.packed), byteMask), hn::And(s.packed, byteMask));
        const V intensity = hn::ShiftRightSame(hn::Mul(hn::ShiftRight<16>(s.packed), factor),
                                               params->intensityShift);
        V phase;
        if constexpr (kExact)
        {
            constexpr size_t kMax = hn::MaxLanes(D());
            HWY_ALIGN int32_t sinSums[kMax], cosSums[kMax], phases[kMax];
            hn::Store(s.sinSum, d, sinSums);
            hn::Store(s.cosSum, d, cosSums);
            for (size_t i = 0; i < hn::Lanes(d); ++i)
                phases[i] = kS3dPhase_Exact(sinSums[i], cosSums[i], params->period);
            phase = hn::Load(d, phases);
        }
        else
        {
            phase = TablePhase(d, s.sinSum, s.cosSum, params, reciprocals);
        }
        phase = hn::IfThenElse(hn::Gt(contrast, threshold), phase, invalid);
        const V pixel =
            hn::Or(hn::Or(contrast, hn::ShiftLeft<8>(intensity)), hn::ShiftLeft<16>(phase));
        hn::StoreU(pixel, d, out);
    };
    // The accumulators are only read: ForEachVector's tail copy writes back what it read.
    ForEachVector(const_cast<kS3dPhaseDecoderAccum*>(accum), pixels, output, count, block);
}

void LastTable(const kS3dPhaseDecoderAccum* accum, const k8u* pixels, kPhasePixel* output,
               size_t count, k32s sine, k32s cosine, const kS3dPhaseDecoderOutputParams* params,
               const k32u* reciprocals)
{
    Last<false>(accum, pixels, output, count, sine, cosine, params, reciprocals);
}

void LastExact(const kS3dPhaseDecoderAccum* accum, const k8u* pixels, kPhasePixel* output,
               size_t count, k32s sine, k32s cosine, const kS3dPhaseDecoderOutputParams* params,
               const k32u* reciprocals)
{
    Last<true>(accum, pixels, output, count, sine, cosine, params, reciprocals);
}
} // namespace HWY_NAMESPACE
} // namespace xkS3dPhaseDecoderHost
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <array>

namespace xkS3dPhaseDecoderHost
{
HWY_EXPORT(First);
HWY_EXPORT(Add);
HWY_EXPORT(LastTable);
HWY_EXPORT(LastExact);

/* floor(2^32 / den) for every denominator of the table arctangent (below 2^15 with at most
   31 frames); den = 1 stores 2^32 - 1, which the remainder test corrects like the others. */
const k32u* Reciprocals()
{
    static const std::array<k32u, 32768> table = []
    {
        std::array<k32u, 32768> r{};
        r[1] = 0xFFFFFFFFu;
        for (k64u den = 2; den < r.size(); ++den)
            r[den] = (k32u)((1ull << 32) / den);
        return r;
    }();
    return table.data();
}

void DispatchFirst(kS3dPhaseDecoderAccum* accum, const k8u* pixels, kSize count, k32s sine,
                   k32s cosine)
{
    HWY_DYNAMIC_DISPATCH(First)(accum, pixels, count, sine, cosine);
}

void DispatchAdd(kS3dPhaseDecoderAccum* accum, const k8u* pixels, kSize count, k32s sine,
                 k32s cosine)
{
    HWY_DYNAMIC_DISPATCH(Add)(accum, pixels, count, sine, cosine);
}

void DispatchLast(const kS3dPhaseDecoderAccum* accum, const k8u* pixels, kPhasePixel* output,
                  kSize count, k32s sine, k32s cosine, const kS3dPhaseDecoderOutputParams* params,
                  kBool exact)
{
    if (exact)
        HWY_DYNAMIC_DISPATCH(LastExact)
        (accum, pixels, output, count, sine, cosine, params, Reciprocals());
    else
        HWY_DYNAMIC_DISPATCH(LastTable)
        (accum, pixels, output, count, sine, cosine, params, Reciprocals());
}
} // namespace xkS3dPhaseDecoderHost

void xkS3dPhaseDecoderHost_First(kS3dPhaseDecoderAccum* accum, const k8u* pixels, kSize count,
                                 k32s sine, k32s cosine)
{
    xkS3dPhaseDecoderHost::DispatchFirst(accum, pixels, count, sine, cosine);
}

void xkS3dPhaseDecoderHost_Add(kS3dPhaseDecoderAccum* accum, const k8u* pixels, kSize count,
                               k32s sine, k32s cosine)
{
    xkS3dPhaseDecoderHost::DispatchAdd(accum, pixels, count, sine, cosine);
}

void xkS3dPhaseDecoderHost_Last(const kS3dPhaseDecoderAccum* accum, const k8u* pixels,
                                kPhasePixel* output, kSize count, k32s sine, k32s cosine,
                                const kS3dPhaseDecoderOutputParams* params, kBool exact)
{
    xkS3dPhaseDecoderHost::DispatchLast(accum, pixels, output, count, sine, cosine, params, exact);
}
#endif
