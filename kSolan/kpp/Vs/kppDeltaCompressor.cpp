#include <kSolan/kpp/Vs/kppDeltaCompressor.h>

namespace kpp::Vs
{
namespace
{
using Pair = DeltaCompressor::Pair;

/* The next event of one list: the pair that carries it and its position. */
struct EventCursor
{
    const Pair* at;
    const Pair* end;
    k32s marker;
    kSize position;

    EventCursor(const Data::ArrayList<Pair>& list, k32s nullMarker)
        : at(list.Data()), end(list.Data() + list.Count()), marker(nullMarker), position(kSIZE_MAX)
    {
    }

    /* Moves on to the list's next event, counting from base. */
    kStatus Advance(kSize base)
    {
        if (at == end)
        {
            position = kSIZE_MAX;
            return kOK;
        }
        return DeltaCompressor::NextPair(end, marker, at, base, at, position);
    }

    kStatus Consume(kSize base)
    {
        ++at;
        return Advance(base);
    }
};

bool IsBitCount(k32s bits) { return bits >= 1 && bits <= 32; }
} // namespace

kStatus DeltaCompressor::NextPair(const Pair* end, k32s nullMarker, const Pair* pair, kSize base,
                                  const Pair*& next, kSize& position)
{
    next = end;
    position = kSIZE_MAX;
    kCheckArgs(pair->index >= 0);
    kSize at = base + (kSize)pair->index;
    while (pair->value == nullMarker && pair + 1 != end)
    {
        ++pair;
        kCheckArgs(pair->index >= 0);
        at += (kSize)pair->index;
    }
    if (pair->value == nullMarker) return kOK;
    next = pair;
    position = at;
    return kOK;
}

template <typename Item, typename Accessor>
kStatus DeltaCompressor::Decode(const Encoding& encoding, Item* items, kSize count) const
{
    kCheckArgs(m_prediction != PredictionUnset);
    kCheckArgs(IsBitCount(m_deltaBitCount) && IsBitCount(m_failFirstBitCount) &&
               IsBitCount(m_failSecondBitCount) && IsBitCount(m_indexBitCount));

    EventCursor nulls(encoding.nulls, ValueNull(m_indexBitCount, false));
    EventCursor first(encoding.firstFails, ValueNull(m_failFirstBitCount, true));
    EventCursor second(encoding.secondFails, ValueNull(m_failSecondBitCount, false));
    kCheck(nulls.Advance(0));
    kCheck(first.Advance(0));
    kCheck(second.Advance(0));

    const int* delta = encoding.deltas.Data();
    const int* deltaEnd = delta + encoding.deltas.Count();
    const k32u prediction = (k32u)m_prediction;
    k32u last = 0;
    kSize p = 0;

    while (p < count)
    {
        if (p == nulls.position)
        {
            const k32s run = nulls.at->value;
            kCheckArgs(run >= 0 && (kSize)run <= count - p);
            p += SetNulls<Item, Accessor>(*nulls.at, nulls.marker, items + p);
            kCheck(nulls.Consume(p));
            continue;
        }

        k32u value;
        if (p == first.position)
        {
            value = prediction + last + (k32u)first.at->value;
            kCheck(first.Consume(p + 1));
        }
        else if (p == second.position)
        {
            value = (k32u)second.at->value;
            kCheck(second.Consume(p + 1));
        }
        else
        {
            kCheckArgs(delta != deltaEnd);
            value = prediction + last + (k32u)*delta++;
        }
        Accessor::Set(items[p], (k32s)value);
        last = value;
        ++p;
    }

    /* An event left over lies past the items or was shadowed by another event. */
    kCheckArgs(nulls.position == kSIZE_MAX && first.position == kSIZE_MAX &&
               second.position == kSIZE_MAX);
    return kOK;
}

// Exported explicitly: clang gives an instantiation the visibility of its template arguments,
// and the platform's item structs are hidden under -fvisibility=hidden.
template kEXPORT_ATTR kStatus
DeltaCompressor::Decode<kCompactSpot, DeltaCompressor::CompactSpotCenterAccessor>(const Encoding&,
                                                                                  kCompactSpot*,
                                                                                  kSize) const;
template kEXPORT_ATTR kStatus
DeltaCompressor::Decode<kCompactSpot, DeltaCompressor::CompactSpotIntensityAccessor>(
    const Encoding&, kCompactSpot*, kSize) const;
template kEXPORT_ATTR kStatus
DeltaCompressor::Decode<kPhasePixel2, DeltaCompressor::Pixel2PhaseAccessor>(const Encoding&,
                                                                            kPhasePixel2*,
                                                                            kSize) const;
template kEXPORT_ATTR kStatus
DeltaCompressor::Decode<kPhasePixel2, DeltaCompressor::Pixel2IntensityAccessor>(const Encoding&,
                                                                                kPhasePixel2*,
                                                                                kSize) const;
} // namespace kpp::Vs

kDefineValue(kVsDeltaCompressorPair, kValue);

kFx(kStatus) xxkVsDeltaCompressorPair_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kVsDeltaCompressorPair, kValue));
    kCheck(kAddField(kVsDeltaCompressorPair, k32s, index));
    return kAddField(kVsDeltaCompressorPair, k32s, value);
}
