/**
 * @file    kPhasePixel.h
 * @brief   Phase pixels: the decoder's 4-byte pixel and the packed 24-bit phase word.
 *
 * `kPhasePixel` is what a phase decoder writes per camera pixel: fringe contrast, mean
 * intensity and the phase in units of the decoder's phase period P (0 .. P - 1, or
 * k16S_NULL for an invalid pixel).
 *
 * `kPhasePixel2` packs an absolute phase (fringe order times P plus the in-period phase) and
 * the intensity into one 32-bit word, the format that cameras decoding phase themselves send:
 *
 *     bits  0-23  phase, unsigned; 16777215 (k24U_NULL, all 24 bits set) marks a null pixel
 *     bits 24-31  intensity
 */
#ifndef K_TESSEL_PHASE_PIXEL_H
#define K_TESSEL_PHASE_PIXEL_H

#include <kTessel/kTsApiDef.h>

/** Decoded phase pixel, 4 bytes. */
typedef struct kPhasePixel
{
    k8u contrast;  ///< Maximum minus minimum of the pixel's samples.
    k8u intensity; ///< Mean brightness of the samples.
    k16s phase;    ///< Phase in units of the period P (0 .. P - 1); k16S_NULL when invalid.
} kPhasePixel;

/** Packed phase pixel: 24-bit phase and 8-bit intensity in one word (see the file comment). */
typedef struct kPhasePixel2
{
    k32u word;
} kPhasePixel2;

kDeclareValue(kPhasePixel);
kDeclareValue(kPhasePixel2);

#define kPHASE_PIXEL2_PHASE_MASK (0x00FFFFFFu)
#define kPHASE_PIXEL2_INTENSITY_SHIFT (24)

/** The 24-bit phase (k24U_NULL for a null pixel). */
inline k32u kPhasePixel2_Phase(const kPhasePixel2* pixel)
{
    return pixel->word & kPHASE_PIXEL2_PHASE_MASK;
}

/** The 8-bit intensity. */
inline k8u kPhasePixel2_Intensity(const kPhasePixel2* pixel)
{
    return (k8u)(pixel->word >> kPHASE_PIXEL2_INTENSITY_SHIFT);
}

/** Replaces the phase with the low 24 bits of `phase`; the intensity is kept. */
inline void kPhasePixel2_SetPhase(kPhasePixel2* pixel, k32u phase)
{
    pixel->word = (pixel->word & ~kPHASE_PIXEL2_PHASE_MASK) | (phase & kPHASE_PIXEL2_PHASE_MASK);
}

/** Replaces the intensity; the phase is kept. */
inline void kPhasePixel2_SetIntensity(kPhasePixel2* pixel, k8u intensity)
{
    pixel->word = (pixel->word & kPHASE_PIXEL2_PHASE_MASK) |
                  ((k32u)intensity << kPHASE_PIXEL2_INTENSITY_SHIFT);
}

#endif
