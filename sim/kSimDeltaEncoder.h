/**
 * @file    kSimDeltaEncoder.h
 * @brief   The camera side of the delta codec: turns a value sequence into the four lists
 *          (deltas, first fails, second fails, null runs) that the delta decoder reads.
 *
 * For tests and benchmarks only; the library decodes and never encodes. Each value is
 * predicted as the previous non-null value plus a constant prediction; the difference goes to
 * the delta list when it fits the delta width, to the first-fail list when it fits the
 * first-fail width (whose top value is the list's skip marker), and otherwise the absolute
 * value goes to the second-fail list. Null items become runs of at most marker − 1 items.
 * Event distances longer than maxIndex are split with skip pairs (the list's marker as value).
 */
#ifndef K_SIM_DELTA_ENCODER_H
#define K_SIM_DELTA_ENCODER_H

#include <kBasis/kApiDef.h>

#include <vector>

namespace ksim
{
/** Layout of one event pair: items skipped, then the payload. */
struct DeltaPair
{
    k32s index;
    k32s value;
};

struct DeltaEncoderParams
{
    k32s prediction = 0;
    k32s deltaBits = 8;
    k32s failFirstBits = 12;
    k32s failSecondBits = 24;
    k32s indexBits = 8;
    k32s maxIndex = 255; ///< Largest index written into one pair.
};

struct DeltaStream
{
    std::vector<k32s> deltas;
    std::vector<DeltaPair> firstFails;
    std::vector<DeltaPair> secondFails;
    std::vector<DeltaPair> nulls;
};

/** One event list being written: its marker and the end of its previous event. */
class DeltaEventWriter
{
public:
    DeltaEventWriter(std::vector<DeltaPair>& pairs, k32s marker, k32s maxIndex)
        : m_pairs(pairs), m_marker(marker), m_maxIndex(maxIndex)
    {
    }

    void Write(kSize position, kSize length, k32s value)
    {
        k64s distance = (k64s)(position - m_end);
        for (; distance > m_maxIndex; distance -= m_maxIndex)
            m_pairs.push_back({m_maxIndex, m_marker});
        m_pairs.push_back({(k32s)distance, value});
        m_end = position + length;
    }

private:
    std::vector<DeltaPair>& m_pairs;
    k32s m_marker;
    k32s m_maxIndex;
    kSize m_end = 0;
};

/**
 * Encodes values; isNull marks the null items (same length, or empty for none).
 * Returns false when a value cannot be coded (beyond the second-fail range).
 */
inline bool EncodeDeltas(const std::vector<k32s>& values, const std::vector<bool>& isNull,
                         const DeltaEncoderParams& params, DeltaStream& out)
{
    auto range = [](k32s bits, bool isSigned) { return (k64s)1 << (bits - (isSigned ? 1 : 0)); };
    const k64s deltaHalf = range(params.deltaBits, true);
    const k64s firstHalf = range(params.failFirstBits, true);
    const k64s secondTop = range(params.failSecondBits, false) - 2;
    const k32s nullMarker = (k32s)(range(params.indexBits, false) - 1);

    out = DeltaStream();
    DeltaEventWriter nulls(out.nulls, nullMarker, params.maxIndex);
    DeltaEventWriter first(out.firstFails, (k32s)(firstHalf - 1), params.maxIndex);
    DeltaEventWriter second(out.secondFails, (k32s)(secondTop + 1), params.maxIndex);

    k32u last = 0;
    const kSize count = values.size();
    for (kSize p = 0; p < count;)
    {
        if (!isNull.empty() && isNull[p])
        {
            kSize run = 0;
            while (p + run < count && isNull[p + run] && run < (kSize)(nullMarker - 1))
                ++run;
            nulls.Write(p, run, (k32s)run);
            p += run;
            continue;
        }
        const k32s value = values[p];
        const k32s delta = (k32s)((k32u)value - (k32u)params.prediction - last);
        if (delta >= -deltaHalf && delta < deltaHalf)
            out.deltas.push_back(delta);
        else if (delta >= -firstHalf && delta < firstHalf - 1)
            first.Write(p, 1, delta);
        else if (value >= 0 && value <= secondTop)
            second.Write(p, 1, value);
        else
            return false;
        last = (k32u)value;
        ++p;
    }
    return true;
}
} // namespace ksim

#endif
