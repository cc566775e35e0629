/**
 * @file    kppDeltaCompressor.h
 * @brief   kpp::Vs::DeltaCompressor: rebuilds delta-compressed pixel and spot streams.
 *
 * A camera sends a value stream as predicted differences: each value is the previous one plus
 * a constant prediction plus a small delta. Values whose delta does not fit the delta width
 * travel in a first-fail list (a wider signed delta), values that do not fit that either in a
 * second-fail list (the absolute value), and runs of missing values in a null-run list. The
 * platform unpacks a message into these four lists; Decode walks them once and writes each
 * value, or a null, into one field of the destination items through an accessor.
 *
 * Event lists hold (index, value) pairs. index counts the items skipped since the end of the
 * previous event of the same list; a pair whose value is the list's null marker is a pure
 * skip, which lets distances exceed the index width.
 */
#ifndef KPP_VS_DELTA_COMPRESSOR_H
#define KPP_VS_DELTA_COMPRESSOR_H

#include <kSolan/kpp/Data/kppArrayList.h>

/** One event of a delta stream's event lists. */
typedef struct kVsDeltaCompressorPair
{
    k32s index; ///< Items skipped since the end of the list's previous event.
    k32s value; ///< Payload; the list's null marker makes the pair a pure skip.
} kVsDeltaCompressorPair;

kDeclareValue(kVsDeltaCompressorPair);

namespace kpp::Vs
{
class kEXPORT_ATTR DeltaCompressor : public Object
{
public:
    struct Pair : kVsDeltaCompressorPair
    {
        Pair(k32s i = 0, k32s v = 0) : kVsDeltaCompressorPair{i, v} {}
        static kType Type() { return kTypeOf(kVsDeltaCompressorPair); }
    };

    /** The four lists of one stream, attached (not copied) to the platform's lists. */
    struct Encoding
    {
        Data::ArrayList<int> deltas;       ///< One difference per ordinary item, in order.
        Data::ArrayList<Pair> firstFails;  ///< Differences too wide for the delta width.
        Data::ArrayList<Pair> secondFails; ///< Absolute values too far for the first-fail width.
        Data::ArrayList<Pair> nulls;       ///< Null runs; the value is the run length.
    };

    /** kCompactSpot centre: bits 0-21; patch bit 31 cleared, or all set for a null. */
    struct CompactSpotCenterAccessor
    {
        static void Set(kCompactSpot& item, k32s value)
        {
            item.word = (item.word & ~(kCOMPACT_SPOT_CENTRE_MASK | kCOMPACT_SPOT_PATCH_BIT)) |
                        ((k32u)value & kCOMPACT_SPOT_CENTRE_MASK);
        }
        static void SetNull(kCompactSpot& item)
        {
            item.word |= kCOMPACT_SPOT_CENTRE_MASK | kCOMPACT_SPOT_PATCH_BIT;
        }
    };

    /** kCompactSpot intensity: bits 22-29; patch bit 31 cleared, or all set for a null. */
    struct CompactSpotIntensityAccessor
    {
        static void Set(kCompactSpot& item, k32s value)
        {
            item.word = (item.word & ~(kCOMPACT_SPOT_INTENSITY_MASK | kCOMPACT_SPOT_PATCH_BIT)) |
                        (((k32u)value << 22) & kCOMPACT_SPOT_INTENSITY_MASK);
        }
        static void SetNull(kCompactSpot& item)
        {
            item.word |= kCOMPACT_SPOT_INTENSITY_MASK | kCOMPACT_SPOT_PATCH_BIT;
        }
    };

    /** kPhasePixel2 phase (24 bits); null is 0xFFFFFF. */
    struct Pixel2PhaseAccessor
    {
        static void Set(kPhasePixel2& item, k32s value)
        {
            kPhasePixel2_SetPhase(&item, (k32u)value);
        }
        static void SetNull(kPhasePixel2& item) { kPhasePixel2_SetPhase(&item, k24U_NULL); }
    };

    /** kPhasePixel2 intensity (8 bits); null is 255. */
    struct Pixel2IntensityAccessor
    {
        static void Set(kPhasePixel2& item, k32s value)
        {
            kPhasePixel2_SetIntensity(&item, (k8u)value);
        }
        static void SetNull(kPhasePixel2& item) { kPhasePixel2_SetIntensity(&item, 255); }
    };

    static constexpr k32s PredictionUnset = k32S_NULL;

    DeltaCompressor() = default;

    /** Creates the wrapper's object and sets the prediction. */
    kStatus Init(k32s prediction, void* alloc)
    {
        m_prediction = prediction;
        return Object::Init(alloc);
    }

    k32s& DeltaBitCount() { return m_deltaBitCount; }
    k32s& FailFirstBitCount() { return m_failFirstBitCount; }
    k32s& FailSecondBitCount() { return m_failSecondBitCount; }
    k32s& IndexBitCount() { return m_indexBitCount; }
    k32s& Prediction() { return m_prediction; }

    /** 2^(bits − s) − (hasNull ? 1 : 0) − 1, s = 1 for signed values (computed in 64 bits). */
    static k32s ValueMax(k32s bits, bool hasNull, bool isSigned)
    {
        return (k32s)(((k64s)1 << (bits - (isSigned ? 1 : 0))) - (hasNull ? 1 : 0) - 1);
    }
    /** The marker of a pure skip in a list of values of this width: 2^(bits − s) − 1. */
    static k32s ValueNull(k32s bits, bool isSigned) { return ValueMax(bits, false, isSigned); }

    /**
     * The next event of a list, from pair (at most end) and base position: position = base +
     * pair.index, then pure skips are followed and their indices added.
     *
     * @param next      Receives the event pair (or end when the list has no further event).
     * @param position  Receives the event's position (kSIZE_MAX when there is none).
     * @return kOK; kSTATUS_BAD_PARAMETER for a negative index.
     */
    static kStatus NextPair(const Pair* end, k32s nullMarker, const Pair* pair, kSize base,
                            const Pair*& next, kSize& position);

    /** Writes SetNull into pair.value items; returns that count. */
    template <typename Item, typename Accessor>
    static kSize SetNulls(const Pair& pair, k32s nullMarker, Item* items)
    {
        (void)nullMarker;
        const kSize run = (kSize)pair.value;
        for (kSize i = 0; i < run; ++i)
            Accessor::SetNull(items[i]);
        return run;
    }

    /**
     * Rebuilds count values into items. Arithmetic is 32-bit with wrap-around; a null run
     * leaves the running value alone, so the item after a run is predicted from the last
     * value before it.
     *
     * @return kOK; kSTATUS_BAD_PARAMETER (-997) for an unset prediction, a bit count outside
     *         1 … 32, too few deltas, or an event list that points past the items, overlaps
     *         another event or carries a negative index or run length. Nothing is ever
     *         written outside items[0 … count − 1]; after a failure the items are partial.
     */
    template <typename Item, typename Accessor>
    kStatus Decode(const Encoding& encoding, Item* items, kSize count) const;

private:
    k32s m_deltaBitCount = 8;
    k32s m_failFirstBitCount = 12;
    k32s m_failSecondBitCount = 24;
    k32s m_indexBitCount = 8;
    k32s m_prediction = PredictionUnset;
};

extern template kStatus
DeltaCompressor::Decode<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(const Encoding&,
                                                                                  kCompactSpot*,
                                                                                  kSize) const;
extern template kStatus
DeltaCompressor::Decode<kCompactSpot, DeltaCompressor::CompactSpotIntensityAccessor>(
    const Encoding&, kCompactSpot*, kSize) const;
extern template kStatus DeltaCompressor::Decode<kPhasePixel2, DeltaCompressor::Pixel2PhaseAccessor>(
    const Encoding&, kPhasePixel2*, kSize) const;
extern template kStatus
DeltaCompressor::Decode<kPhasePixel2, DeltaCompressor::Pixel2IntensityAccessor>(const Encoding&,
                                                                                kPhasePixel2*,
                                                                                kSize) const;
} // namespace kpp::Vs

#endif
