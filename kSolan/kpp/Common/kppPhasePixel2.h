/**
 * @file    kppPhasePixel2.h
 * @brief   kpp::PhasePixel2: a view of one packed phase pixel, with the period split.
 *
 * A `kPhasePixel2` word holds a 24-bit absolute phase (fringe order times the period P plus
 * the position inside the period) and an 8-bit intensity. The period split turns the absolute
 * phase into the stripe code and the in-period phase of the decoders, whose in-period phase
 * runs downwards from P (a residual r inside the period is the phase P − r, so the start of a
 * period reads P, not 0):
 *
 *     phase24 = code × P + (P − phase)
 *
 * Null pixels have all 24 phase bits set; they split into code 255 and phase k16S_NULL.
 */
#ifndef KPP_PHASE_PIXEL2_H
#define KPP_PHASE_PIXEL2_H

#include <kTessel/kPhasePixel.h>

namespace kpp
{
/** Precomputed division by P: code = (reciprocal × phase24) >> shift, then corrected by one. */
struct PhaseSplitContext
{
    k32u reciprocal; ///< 2^shift div P.
    k32u shift;      ///< 2 × ceil(log2 P).
    k32u period;     ///< P.
};

/** View of one `kPhasePixel2`; it refers to the pixel and never owns it. */
class PhasePixel2
{
public:
    explicit PhasePixel2(kPhasePixel2& pixel) : m_pixel(&pixel) {}

    k8u Intensity() const { return kPhasePixel2_Intensity(m_pixel); }
    void SetIntensity(k8u intensity) { kPhasePixel2_SetIntensity(m_pixel, intensity); }

    /** The 24-bit phase (k24U_NULL for a null pixel). */
    k32u Phase() const { return kPhasePixel2_Phase(m_pixel); }
    /** Replaces the phase with the low 24 bits of phase24; the intensity is kept. */
    void SetPhase(k32u phase24) { kPhasePixel2_SetPhase(m_pixel, phase24); }

    void SetNull() { SetPhase(k24U_NULL); }
    bool IsNull() const { return Phase() == k24U_NULL; }
    bool IsValid() const { return !IsNull(); }

    /**
     * Splits the phase for period P: code = phase24 div P, kept to 8 bits, and
     * phase = P − (phase24 − code × P), computed with that 8-bit code.
     * A null pixel gives code 255 and phase k16S_NULL.
     */
    void PhaseSplit(k32u period, k8u* code, k16s* phase) const
    {
        if (IsNull())
        {
            *code = 255;
            *phase = k16S_NULL;
            return;
        }
        const k32u phase24 = Phase();
        *code = (k8u)(phase24 / period);
        *phase = (k16s)(period - (phase24 - (k32u)*code * period));
    }

    /**
     * The split with a precomputed context: the estimated code is corrected by one when its
     * residual falls outside 0 … P − 1, which is exact for codes up to 255 when P ≥ 256. A
     * null pixel gives code 255 and phase 32768 (k16S_NULL read as unsigned).
     */
    void PhaseSplit(const PhaseSplitContext& context, k8u* code, k16u* phase) const
    {
        if (IsNull())
        {
            *code = 255;
            *phase = 32768;
            return;
        }
        const k64s phase24 = Phase(), period = context.period;
        k64s q = (k64s)(((k64u)context.reciprocal * (k64u)phase24) >> context.shift);
        k64s residual = phase24 - q * period;
        if (residual >= period)
        {
            ++q;
            residual -= period;
        }
        else if (residual < 0)
        {
            --q;
            residual += period;
        }
        *code = (k8u)q;
        *phase = (k16u)(period - residual);
    }

    /** Inverse of the split: phase24 = code × P + (P − phase), masked to 24 bits. */
    void SetPhase(k32u period, k8u code, k16s phase)
    {
        SetPhase((k32u)code * period + (k32u)((k32s)period - phase));
    }

    /**
     * Builds the split context for period P.
     *
     * @return kOK; kSTATUS_FAILED (0) when 2 × ceil(log2 P) exceeds 22 (P above 2048) or P is 0.
     */
    static kStatus CalculatePhaseSplitContext(k32u period, PhaseSplitContext* context)
    {
        if (period == 0) return kSTATUS_FAILED;
        k32u log2 = 0;
        while (((k64u)1 << log2) < period)
            ++log2;
        const k32u shift = 2 * log2;
        if (shift > 22) return kSTATUS_FAILED;
        context->reciprocal = (k32u)(((k64u)1 << shift) / period);
        context->shift = shift;
        context->period = period;
        return kOK;
    }

private:
    kPhasePixel2* m_pixel;
};
} // namespace kpp

#endif
