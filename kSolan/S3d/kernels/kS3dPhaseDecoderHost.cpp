// Vector host kernels of the phase decoder; compiled once per vector target, dispatched at
// run time. Pixels are processed in whole vectors; what is left at the end of a frame runs
// through the same code on zero-padded copies.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kSolan/S3d/kernels/kS3dPhaseDecoderHost.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <kSolan/S3d/kernels/kS3dPhaseDecoderHost.h>

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace xkS3dPhaseDecoderHost
{
namespace HWY_NAMESPACE
{
namespace hn = hwy::HWY_NAMESPACE;

// At most 16 lanes: a group of records then takes its pixels from one 16-byte block.
using D = hn::CappedTag<int32_t, 16>;
using D8 = hn::Repartition<uint8_t, D>;
using V = hn::Vec<D>;

/*
 * One accumulator is three 32-bit words: cosine sum, sine sum, and min | max << 8 | sum << 16
 * (little-endian bytes of the 8-bit minimum, 8-bit maximum and 16-bit sum). A group of L
 * pixels (L lanes) owns 3 vectors of words.
 */
static_assert(sizeof(kS3dPhaseDecoderAccum) == 12, "three words per accumulator");

/*
 * Words ahead of the current record at which the record stream is prefetched (2 KB): with a
 * frame's records far larger than the caches, the hardware prefetcher alone leaves the loop
 * waiting for memory.
 */
constexpr size_t kPrefetchWords = 512;

/* Prefetches the two cache lines that a group of records reaches kPrefetchWords later. */
HWY_INLINE void PrefetchRecords(const int32_t* words)
{
    hwy::Prefetch(words + kPrefetchWords);
    hwy::Prefetch(words + kPrefetchWords + 16);
}

#if HWY_TARGET != HWY_SCALAR
/* Pixels a group reads: one 16-byte block, even when the group has fewer pixels. */
constexpr size_t kGroupRead = 16;

/*
 * Runs block(words, pixels) over each group of Lanes(d) pixels, then over zero-padded copies
 * of what is left, so that no block reads or writes past the caller's buffers.
 */
template <class Block>
HWY_INLINE void ForEachGroup(kS3dPhaseDecoderAccum* accum, const k8u* pixels, size_t count,
                             const Block& block)
{
    const size_t n = hn::Lanes(D());
    int32_t* words = reinterpret_cast<int32_t*>(accum);
    size_t i = 0;
    for (; i + HWY_MAX(n, kGroupRead) <= count; i += n)
    {
        PrefetchRecords(words + 3 * i);
        block(words + 3 * i, pixels + i);
    }

    constexpr size_t kMax = hn::MaxLanes(D());
    for (; i < count; i += n)
    {
        HWY_ALIGN int32_t tailWords[3 * kMax] = {};
        HWY_ALIGN k8u tailPixels[HWY_MAX(kMax, kGroupRead)] = {};
        const size_t rest = HWY_MIN(n, count - i);
        memcpy(tailWords, words + 3 * i, rest * sizeof(kS3dPhaseDecoderAccum));
        memcpy(tailPixels, pixels + i, rest);
        block(tailWords, tailPixels);
        memcpy(words + 3 * i, tailWords, rest * sizeof(kS3dPhaseDecoderAccum));
    }
}

/*
 * The frames before the last update the records in place, without deinterleaving: every lane
 * gets its record's pixel p by a byte shuffle, then word += p × factor (the cosine or sine
 * entry, or 1 << 16 for the sum in the packed word), and the packed word's bytes 0 and 1 take
 * the byte-wise min and max with p; the other bytes meet neutral fill (0xFF for min, 0 for
 * max). The first frame writes p × factor with factor 0x10101 for the packed word: p in the
 * minimum, the maximum and the sum at once.
 */
struct InPlaceLanes
{
    hn::Vec<D8> shuffle[3]; // lane's pixel into byte 0, zeros elsewhere
    V factor[3];
    V minFill[3]; // 0xFFFFFF00 in packed lanes, all ones elsewhere
    V maxMask[3]; // 0xFF00 in packed lanes, 0 elsewhere
};

HWY_INLINE InPlaceLanes MakeInPlaceLanes(k32s sine, k32s cosine, k32s packedFactor)
{
    const D d;
    const D8 d8;
    const size_t n = hn::Lanes(d);
    constexpr size_t kMax = hn::MaxLanes(D());
    HWY_ALIGN int32_t factor[kMax], minFill[kMax], maxMask[kMax];
    HWY_ALIGN uint8_t shuffle[4 * kMax];
    InPlaceLanes lanes;
    for (size_t v = 0; v < 3; ++v)
    {
        for (size_t j = 0; j < n; ++j)
        {
            const size_t word = v * n + j, pixel = word / 3, field = word % 3;
            factor[j] = field == 0 ? cosine : field == 1 ? sine : packedFactor;
            minFill[j] = field == 2 ? (int32_t)0xFFFFFF00u : -1;
            maxMask[j] = field == 2 ? 0xFF00 : 0;
            shuffle[4 * j] = (uint8_t)pixel; // every 16-byte block holds the group's pixels
            shuffle[4 * j + 1] = shuffle[4 * j + 2] = shuffle[4 * j + 3] = 0x80; // zero
        }
        lanes.shuffle[v] = hn::Load(d8, shuffle);
        lanes.factor[v] = hn::Load(d, factor);
        lanes.minFill[v] = hn::Load(d, minFill);
        lanes.maxMask[v] = hn::Load(d, maxMask);
    }
    return lanes;
}

template <bool kFirst>
struct InPlaceBlock
{
    InPlaceLanes lanes;

    HWY_INLINE void operator()(int32_t* HWY_RESTRICT words, const k8u* HWY_RESTRICT pixels) const
    {
        const D d;
        const D8 d8;
        const size_t n = hn::Lanes(d);
        const auto bytes = hn::LoadDup128(d8, pixels);
        for (size_t v = 0; v < 3; ++v)
        {
            const V p = hn::BitCast(d, hn::TableLookupBytesOr0(bytes, lanes.shuffle[v]));
            if constexpr (kFirst)
            {
                hn::StoreU(hn::Mul(p, lanes.factor[v]), d, words + v * n);
            }
            else
            {
                const V w = hn::Add(hn::LoadU(d, words + v * n), hn::Mul(p, lanes.factor[v]));
                auto b = hn::Min(hn::BitCast(d8, w), hn::BitCast(d8, hn::Or(p, lanes.minFill[v])));
                b = hn::Max(b, hn::BitCast(d8, hn::And(hn::ShiftLeft<8>(p), lanes.maxMask[v])));
                hn::StoreU(hn::BitCast(d, b), d, words + v * n);
            }
        }
    }
};
#endif

template <bool kFirst>
HWY_INLINE void Accumulate(kS3dPhaseDecoderAccum* accum, const k8u* pixels, size_t count, k32s sine,
                           k32s cosine)
{
#if HWY_TARGET == HWY_SCALAR
    // One lane: the records one by one.
    for (size_t i = 0; i < count; ++i)
    {
        if constexpr (kFirst)
            kS3dPhaseAccum_First(&accum[i], pixels[i], sine, cosine);
        else
            kS3dPhaseAccum_Add(&accum[i], pixels[i], sine, cosine);
    }
#else
    const InPlaceBlock<kFirst> block{MakeInPlaceLanes(sine, cosine, kFirst ? 0x10101 : 0x10000)};
    ForEachGroup(accum, pixels, count, block);
#endif
}

void First(kS3dPhaseDecoderAccum* accum, const k8u* pixels, size_t count, k32s sine, k32s cosine)
{
    Accumulate<true>(accum, pixels, count, sine, cosine);
}

void Add(kS3dPhaseDecoderAccum* accum, const k8u* pixels, size_t count, k32s sine, k32s cosine)
{
    Accumulate<false>(accum, pixels, count, sine, cosine);
}

/*
 * Exact quotient n / den for 0 <= n < 2^31, 1 <= den < 2^15, integer only: q0 = (n × r) >> 32
 * with r = floor(2^32 / den) from a table is q or q − 1; one remainder test corrects it.
 */
HWY_INLINE V Divide(D d, V n, V den, hn::Vec<hn::RebindToUnsigned<D>> r)
{
#if HWY_TARGET == HWY_SCALAR
    // One lane and no 64-bit repartition: the plain division is the same integer.
    (void)r;
    return hn::Set(d, hn::GetLane(n) / hn::GetLane(den));
#else
    const hn::RebindToUnsigned<D> du;
    const hn::Repartition<uint64_t, D> d64;
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

/*
 * The last frame runs in passes over chunks of pixels, so that the table reads of many
 * pixels are in flight at once instead of each pixel waiting for its own two in turn:
 * 1. deinterleave the records, add the frame, form contrast and intensity, and reduce the
 *    table arctangent to an index quotient and a final offset ± t;
 * 2. the quotient (first table read);
 * 3. the arctangent (second table read) and the output pixel.
 * The table reads are plain loads in a loop of their own: the vector gathers of the x86 targets
 * were no faster than loads there, and the Arm targets have none.
 * The exact arctangent shares pass 1 and then rounds atan2 per pixel.
 */
constexpr size_t kChunk = 256;

struct Staged
{
    HWY_ALIGN int32_t head[kChunk];        // contrast | intensity << 8; negative: phase invalid
    HWY_ALIGN int32_t first[kChunk];       // exact: sine sum; table: numerator, then the index
    HWY_ALIGN int32_t second[kChunk];      // exact: cosine sum; table: denominator
    HWY_ALIGN int32_t offset[kChunk];      // table: phase = offset ± t
    HWY_ALIGN int32_t negate[kChunk];      // table: all ones where t is subtracted
    HWY_ALIGN uint32_t reciprocal[kChunk]; // table: floor(2^32 / denominator)
};

struct LastFrame
{
    V sine, cosine, factor, threshold, half, quarter;
    int intensityShift;
};

template <bool kExact>
HWY_INLINE void StageRecords(const LastFrame& f, const int32_t* HWY_RESTRICT words,
                             const k8u* HWY_RESTRICT pixels, size_t count, Staged& staged)
{
    const D d;
    const hn::Rebind<uint8_t, D> d8;
    const V zero = hn::Zero(d), one = hn::Set(d, 1), byteMask = hn::Set(d, 0xFF);
    const V invalid = hn::Set(d, (int32_t)0x80000000u);
    for (size_t i = 0; i < count; i += hn::Lanes(d))
    {
        PrefetchRecords(words + 3 * i);
        const V p = hn::PromoteTo(d, hn::LoadU(d8, pixels + i));
        V cosSum, sinSum, packed;
        hn::LoadInterleaved3(d, words + 3 * i, cosSum, sinSum, packed);
        cosSum = hn::Add(cosSum, hn::Mul(p, f.cosine));
        sinSum = hn::Add(sinSum, hn::Mul(p, f.sine));
        const V low = hn::Min(hn::And(packed, byteMask), p);
        const V high = hn::Max(hn::And(hn::ShiftRight<8>(packed), byteMask), p);
        const V sum = hn::Add(hn::ShiftRight<16>(packed), p); // at most 31 × 255
        const V contrast = hn::Sub(high, low);
        const V intensity = hn::ShiftRightSame(hn::Mul(sum, f.factor), f.intensityShift);
        auto valid = hn::Gt(contrast, f.threshold);

        if constexpr (kExact)
        {
            hn::Store(sinSum, d, staged.first + i);
            hn::Store(cosSum, d, staged.second + i);
        }
        else
        {
            // kS3dPhase_Table: the octant from the signs and the larger magnitude; then
            // phase = ±(base ± t), folded here into offset ± t.
            const V a = hn::Abs(sinSum), b = hn::Abs(cosSum);
            const V aHigh = hn::ShiftRight<12>(a), bHigh = hn::ShiftRight<12>(b);
            const auto nearCosine = hn::And(hn::Lt(a, b), hn::Ne(bHigh, zero));
            const auto nearSine = hn::AndNot(nearCosine, hn::Ne(aHigh, zero));
            valid = hn::And(valid, hn::Or(nearCosine, nearSine));
            const auto cosPositive = hn::Gt(cosSum, zero);
            const auto sinPositive = hn::Gt(sinSum, zero);
            const V base =
                hn::IfThenElse(nearCosine, hn::IfThenZeroElse(cosPositive, f.half), f.quarter);
            const V subtract = hn::IfThenElse(nearCosine, hn::VecFromMask(d, hn::Not(cosPositive)),
                                              hn::VecFromMask(d, cosPositive));
            hn::Store(hn::ShiftLeft<4>(hn::IfThenElse(nearCosine, a, b)), d, staged.first + i);
            hn::Store(hn::Max(hn::IfThenElse(nearCosine, bHigh, aHigh), one), d, staged.second + i);
            hn::Store(hn::IfThenElse(sinPositive, base, hn::Neg(base)), d, staged.offset + i);
            hn::Store(hn::Xor(subtract, hn::VecFromMask(d, hn::Not(sinPositive))), d,
                      staged.negate + i);
        }
        const V head = hn::Or(contrast, hn::ShiftLeft<8>(intensity));
        hn::Store(hn::IfThenElse(valid, head, hn::Or(head, invalid)), d, staged.head + i);
    }
}

HWY_INLINE void StageTable(const kS3dPhaseDecoderOutputParams* params,
                           const k32u* HWY_RESTRICT reciprocals, size_t count, Staged& staged,
                           int32_t* HWY_RESTRICT out)
{
    const D d;
    const V limit = hn::Set(d, 65536), period = hn::Set(d, params->period);
    const V zero = hn::Zero(d), lowHalf = hn::Set(d, 0xFFFF), null = hn::Set(d, k16S_NULL);
    for (size_t i = 0; i < count; ++i)
        staged.reciprocal[i] = reciprocals[staged.second[i]];
    for (size_t i = 0; i < count; i += hn::Lanes(d))
    {
        const V k = Divide(d, hn::Load(d, staged.first + i), hn::Load(d, staged.second + i),
                           hn::Load(hn::RebindToUnsigned<D>(), staged.reciprocal + i));
        hn::Store(hn::Min(k, limit), d, staged.first + i);
    }
    for (size_t i = 0; i < count; ++i)
        staged.first[i] = params->arctan[staged.first[i]];
    for (size_t i = 0; i < count; i += hn::Lanes(d))
    {
        const V t = hn::Load(d, staged.first + i);
        const V offset = hn::Load(d, staged.offset + i);
        const auto negate = hn::MaskFromVec(hn::Load(d, staged.negate + i));
        V phase = hn::IfThenElse(negate, hn::Sub(offset, t), hn::Add(offset, t));
        phase = hn::IfThenElse(hn::Lt(phase, zero), hn::Add(phase, period), phase);
        const V head = hn::Load(d, staged.head + i);
        phase = hn::IfThenElse(hn::Lt(head, zero), null, phase);
        hn::StoreU(hn::Or(hn::And(head, lowHalf), hn::ShiftLeft<16>(phase)), d, out + i);
    }
}

HWY_INLINE void StageExact(const kS3dPhaseDecoderOutputParams* params, size_t count,
                           const Staged& staged, int32_t* HWY_RESTRICT out)
{
    for (size_t i = 0; i < count; ++i)
    {
        const k32s phase = staged.head[i] < 0
                               ? k16S_NULL
                               : kS3dPhase_Exact(staged.first[i], staged.second[i], params->period);
        out[i] = (int32_t)(((k32u)staged.head[i] & 0xFFFF) | ((k32u)(k16u)phase << 16));
    }
}

template <bool kExact>
void Last(const kS3dPhaseDecoderAccum* accum, const k8u* pixels, kPhasePixel* output, size_t count,
          k32s sine, k32s cosine, const kS3dPhaseDecoderOutputParams* params,
          const k32u* reciprocals)
{
    const D d;
    const LastFrame frame{hn::Set(d, sine),
                          hn::Set(d, cosine),
                          hn::Set(d, params->intensityFactor),
                          hn::Set(d, params->contrastThreshold),
                          hn::Set(d, params->halfPeriod),
                          hn::Set(d, params->quarterPeriod),
                          params->intensityShift};
    const int32_t* words = reinterpret_cast<const int32_t*>(accum);
    int32_t* out = reinterpret_cast<int32_t*>(output);
    Staged staged;

    auto run = [&](const int32_t* w, const k8u* px, size_t n, int32_t* o)
    {
        StageRecords<kExact>(frame, w, px, n, staged);
        if constexpr (kExact)
            StageExact(params, n, staged, o);
        else
            StageTable(params, reciprocals, n, staged, o);
    };

    size_t i = 0;
    for (; i + kChunk <= count; i += kChunk)
        run(words + 3 * i, pixels + i, kChunk, out + i);
    if (i == count) return;

    // The rest, on zero-padded copies of whole vectors.
    HWY_ALIGN int32_t tailWords[3 * kChunk] = {};
    HWY_ALIGN k8u tailPixels[kChunk] = {};
    HWY_ALIGN int32_t tailOut[kChunk];
    const size_t rest = count - i, padded = hwy::RoundUpTo(rest, hn::Lanes(d));
    memcpy(tailWords, words + 3 * i, rest * sizeof(kS3dPhaseDecoderAccum));
    memcpy(tailPixels, pixels + i, rest);
    run(tailWords, tailPixels, padded, tailOut);
    memcpy(out + i, tailOut, rest * sizeof(kPhasePixel));
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
    if (exact) HWY_DYNAMIC_DISPATCH(LastExact)
    (accum, pixels, output, count, sine, cosine, params, Reciprocals());
    else HWY_DYNAMIC_DISPATCH(LastTable)(accum, pixels, output, count, sine, cosine, params,
                                         Reciprocals());
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
