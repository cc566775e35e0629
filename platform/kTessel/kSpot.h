/**
 * @file    kSpot.h
 * @brief   Spot records: the working spot, the camera hardware's packed spots, and the dot record.
 *
 * A spot is the sub-pixel centre of the laser line in one slice (image column of a
 * column-based sensor, row otherwise). Centres are in 1/256 pixel throughout. Spot lists have
 * a fixed capacity and unused entries hold the format's null spot, so consumers skip nulls
 * rather than trust the count.
 *
 * The packed formats are what the camera hardware writes; their bit layouts are fixed and
 * little-endian, and every accessor here is bit-exact to them. Readers and writers are inline
 * so that detectors and their GPU kernels share them.
 */
#ifndef K_TESSEL_SPOT_H
#define K_TESSEL_SPOT_H

#include <kTessel/kTsApiDef.h>

/** Working spot, 12 bytes. A null spot has every field 0 (centre 0 means no spot). */
typedef struct kSpot
{
    k32u centre;   ///< Position along the scan direction, 1/256 pixel; 0 = no spot.
    k16u slice;    ///< Column (or row) the spot belongs to.
    k16u sum;      ///< Strength: sum of the pixel intensities over the spot, low 16 bits.
    k16u width;    ///< Number of pixels counted as part of the spot.
    k16u reserved; ///< Not written by detectors; 0 in null spots.
} kSpot;

/**
 * The hardware's compact spot, 8 bytes, in three little-endian words:
 *
 *     centerWidth (word0, bytes 0-3): bits 0-19 centre bits 0-19, bits 20-23 extra bits 0-3,
 *                                     bits 24-28 width, bits 29-30 centre bits 20-21
 *     sliceEntry  (half4, bytes 4-5): bits 0-11 slice bits 0-11, bits 12-15 extra bits 4-7
 *     sumSlice    (half6, bytes 6-7): bits 0-12 sum, bits 13-14 slice bits 12-13, bit 15 null
 *
 * The 8-bit extra value holds the baseline, the entry offset or the exit offset, by the
 * detector's spot format. A null spot is {0, 0, 0x8000}.
 */
typedef struct kFpgaSpot
{
    k32u centerWidth;
    k16u sliceEntry;
    k16u sumSlice;
} kFpgaSpot;

/**
 * Hardware spot of a wide line: the kFpgaSpot layout with width and sum stored divided by 4
 * (shifted right by 2 when written); the width and sum readers give them back times 4.
 */
typedef struct kFpgaWideSpot
{
    k32u centerWidth;
    k16u sliceEntry;
    k16u sumSlice;
} kFpgaWideSpot;

/**
 * The zero-crossing detector's spot, one little-endian 64-bit word:
 *
 *     bits  0-21  centre (1/256 pixel)       bits 24-35  detection (edge) strength
 *     bits 36-47  intensity                  bits 48-61  slice
 *     bit  63     patch: 1 = no spot         bits 22-23 and 62 are always 0
 *
 * The null spot is the patch bit alone (kFPGA_SPOT2I_NULL).
 */
typedef struct kFpgaSpot2i
{
    k64u word;
} kFpgaSpot2i;

/** Dot of a multi-point sensor, 12 bytes. */
typedef struct kSpot2
{
    k32u x;   ///< Row-direction centre, 1/256 pixel.
    k32u y;   ///< Column-direction centre, 1/256 pixel.
    k32u sum; ///< Strength.
} kSpot2;

kDeclareValue(kSpot);
kDeclareValue(kFpgaSpot);
kDeclareValue(kFpgaWideSpot);
kDeclareValue(kFpgaSpot2i);
/**
 * The decompressed spot, one little-endian 32-bit word, as the delta decoder writes it:
 *
 *     bits  0-21  centre (1/256 pixel)       bits 22-29  intensity (8 bits)
 *     bit  30     always 0                   bit  31     patch: 1 = no spot
 *
 * The centre and the intensity arrive as separate streams, so a spot is written field by
 * field and either stream may mark it null: a null field has all its bits set together with
 * the patch bit. The null spot is every field at its all-ones value with the patch bit
 * (kCOMPACT_SPOT_NULL).
 */
typedef struct kCompactSpot
{
    k32u word;
} kCompactSpot;

kDeclareValue(kSpot2);
kDeclareValue(kCompactSpot);

#define kFPGA_SPOT_NULL_FLAG ((k16u)0x8000)
#define kFPGA_SPOT2I_NULL (0x8000000000000000ull)
#define kCOMPACT_SPOT_CENTRE_MASK (0x003FFFFFu)
#define kCOMPACT_SPOT_INTENSITY_MASK (0x3FC00000u)
#define kCOMPACT_SPOT_PATCH_BIT (0x80000000u)
#define kCOMPACT_SPOT_NULL (0xBFFFFFFFu)

/* ----- Word-level fields shared by kFpgaSpot and kFpgaWideSpot ------------------------------ */

inline k32u xkFpgaSpotWord_Centre(k32u word0)
{
    return (word0 & 0xFFFFF) | (((word0 >> 29) & 3) << 20);
}
inline k32u xkFpgaSpotWord_Width(k32u word0) { return (word0 >> 24) & 0x1F; }
inline k32u xkFpgaSpotWord_Extra(k32u word0, k16u half4)
{
    return ((word0 >> 20) & 0xF) | (half4 & 0xF000u) >> 8;
}
inline k32u xkFpgaSpotWord_Slice(k16u half4, k16u half6)
{
    return (half4 & 0xFFFu) | (((k32u)half6 >> 13) & 3) << 12;
}

/* ----- kFpgaSpot ----------------------------------------------------------------------------- */

/** 22-bit centre in 1/256 pixel. */
inline k32u kFpgaSpot_Center(const kFpgaSpot* spot)
{
    return xkFpgaSpotWord_Centre(spot->centerWidth);
}
/** 5-bit width in pixels. */
inline k32u kFpgaSpot_SpotWidth(const kFpgaSpot* spot)
{
    return xkFpgaSpotWord_Width(spot->centerWidth);
}
/** 8-bit extra value (baseline, entry offset or exit offset, by spot format). */
inline k32u kFpgaSpot_EntryValue(const kFpgaSpot* spot)
{
    return xkFpgaSpotWord_Extra(spot->centerWidth, spot->sliceEntry);
}
/** The extra value, read where the spot format says it holds the entry offset (half pixels). */
inline k32u kFpgaSpot_EntryOffset(const kFpgaSpot* spot) { return kFpgaSpot_EntryValue(spot); }
/** The extra value, read where the spot format says it holds the exit offset (half pixels). */
inline k32u kFpgaSpot_ExitOffset(const kFpgaSpot* spot) { return kFpgaSpot_EntryValue(spot); }
/** 14-bit slice (column) index. */
inline k32u kFpgaSpot_Slice(const kFpgaSpot* spot)
{
    return xkFpgaSpotWord_Slice(spot->sliceEntry, spot->sumSlice);
}
/** 13-bit sum. */
inline k32u kFpgaSpot_Sum(const kFpgaSpot* spot) { return spot->sumSlice & 0x1FFFu; }
inline kBool kFpgaSpot_IsNull(const kFpgaSpot* spot)
{
    return (spot->sumSlice & kFPGA_SPOT_NULL_FLAG) != 0;
}

/** Word 0 from a centre (22 bits used), a width (5 bits) and the extra value's low nibble. */
inline k32u kFpgaSpot_SetCenterWidth(k32u centre, k32u width, k32u extra)
{
    return (width & 0x1F) << 24 | (extra & 0xF) << 20 | ((centre >> 20) & 3) << 29 |
           (centre & 0xFFFFF);
}

/** Half 4 from a slice (12 bits used) and the extra value's high nibble. */
inline k16u kFpgaSpot_SetSliceEntry(k32u slice, k32u extra)
{
    return (k16u)((extra & 0xF0) << 8 | (slice & 0xFFF));
}

/**
 * Half 6 from a sum and a slice (bits 12-13 used). The sum is deliberately not masked to
 * 13 bits, as in the hardware: a sum of 8192 or more spills into the slice and null bits, so
 * callers keep sums in range.
 */
inline k16u kFpgaSpot_SetSumSlice(k32u sum, k32u slice)
{
    return (k16u)(((slice >> 12) & 3) << 13 | sum);
}

inline void kFpgaSpot_SetNull(kFpgaSpot* spot)
{
    spot->centerWidth = 0;
    spot->sliceEntry = 0;
    spot->sumSlice = kFPGA_SPOT_NULL_FLAG;
}

/* ----- kFpgaWideSpot ------------------------------------------------------------------------- */

inline k32u kFpgaWideSpot_Centre(const kFpgaWideSpot* spot)
{
    return xkFpgaSpotWord_Centre(spot->centerWidth);
}
/** Width in pixels: the stored 5 bits times 4. */
inline k32u kFpgaWideSpot_Width(const kFpgaWideSpot* spot)
{
    return ((spot->centerWidth >> 24) << 2) & 0x7C;
}
inline k32u kFpgaWideSpot_EntryValue(const kFpgaWideSpot* spot)
{
    return xkFpgaSpotWord_Extra(spot->centerWidth, spot->sliceEntry);
}
inline k32u kFpgaWideSpot_Slice(const kFpgaWideSpot* spot)
{
    return xkFpgaSpotWord_Slice(spot->sliceEntry, spot->sumSlice);
}
/** Sum: the stored 13 bits times 4. */
inline k32u kFpgaWideSpot_Sum(const kFpgaWideSpot* spot)
{
    return ((k32u)spot->sumSlice << 2) & 0x7FFC;
}
inline kBool kFpgaWideSpot_IsNull(const kFpgaWideSpot* spot)
{
    return (spot->sumSlice & kFPGA_SPOT_NULL_FLAG) != 0;
}

inline void kFpgaWideSpot_SetNull(kFpgaWideSpot* spot)
{
    spot->centerWidth = 0;
    spot->sliceEntry = 0;
    spot->sumSlice = kFPGA_SPOT_NULL_FLAG;
}

/* ----- kFpgaSpot2i --------------------------------------------------------------------------- */

/** Writes `value` masked to `bits` bits at bit `shift`; the other bits are kept. */
inline void xkFpgaSpot2i_SetField(kFpgaSpot2i* spot, k32u shift, k32u bits, k64u value)
{
    k64u mask = ((1ull << bits) - 1) << shift;
    spot->word = (spot->word & ~mask) | ((value << shift) & mask);
}

inline k32u kFpgaSpot2i_Centre(const kFpgaSpot2i* spot) { return (k32u)(spot->word & 0x3FFFFF); }
inline k32u kFpgaSpot2i_Detection(const kFpgaSpot2i* spot)
{
    return (k32u)(spot->word >> 24) & 0xFFF;
}
inline k32u kFpgaSpot2i_Intensity(const kFpgaSpot2i* spot)
{
    return (k32u)(spot->word >> 36) & 0xFFF;
}
inline k32u kFpgaSpot2i_Slice(const kFpgaSpot2i* spot) { return (k32u)(spot->word >> 48) & 0x3FFF; }
/** 1 when the entry holds no spot. */
inline k32u kFpgaSpot2i_Patch(const kFpgaSpot2i* spot) { return (k32u)(spot->word >> 63); }

inline void kFpgaSpot2i_SetCentre(kFpgaSpot2i* spot, k32u centre)
{
    xkFpgaSpot2i_SetField(spot, 0, 22, centre);
}
inline void kFpgaSpot2i_SetDetection(kFpgaSpot2i* spot, k32u detection)
{
    xkFpgaSpot2i_SetField(spot, 24, 12, detection);
}
inline void kFpgaSpot2i_SetIntensity(kFpgaSpot2i* spot, k32u intensity)
{
    xkFpgaSpot2i_SetField(spot, 36, 12, intensity);
}
inline void kFpgaSpot2i_SetSlice(kFpgaSpot2i* spot, k32u slice)
{
    xkFpgaSpot2i_SetField(spot, 48, 14, slice);
}
inline void kFpgaSpot2i_SetPatch(kFpgaSpot2i* spot, k32u patch)
{
    xkFpgaSpot2i_SetField(spot, 63, 1, patch);
}
inline void kFpgaSpot2i_Zero(kFpgaSpot2i* spot) { spot->word = 0; }

/* ----- kCompactSpot -------------------------------------------------------------------------- */

inline k32u kCompactSpot_Centre(const kCompactSpot* spot)
{
    return spot->word & kCOMPACT_SPOT_CENTRE_MASK;
}
inline k32u kCompactSpot_Intensity(const kCompactSpot* spot) { return (spot->word >> 22) & 0xFF; }
/** 1 when the entry holds no spot. */
inline k32u kCompactSpot_Patch(const kCompactSpot* spot) { return spot->word >> 31; }

/** Writes the centre's low 22 bits; the other fields are kept. */
inline void kCompactSpot_SetCentre(kCompactSpot* spot, k32u centre)
{
    spot->word = (spot->word & ~kCOMPACT_SPOT_CENTRE_MASK) | (centre & kCOMPACT_SPOT_CENTRE_MASK);
}
/** Writes the intensity's low 8 bits; the other fields are kept. */
inline void kCompactSpot_SetIntensity(kCompactSpot* spot, k32u intensity)
{
    spot->word = (spot->word & ~kCOMPACT_SPOT_INTENSITY_MASK) |
                 ((intensity << 22) & kCOMPACT_SPOT_INTENSITY_MASK);
}
inline void kCompactSpot_SetPatch(kCompactSpot* spot, k32u patch)
{
    spot->word = (spot->word & ~kCOMPACT_SPOT_PATCH_BIT) | (patch & 1) << 31;
}

#endif
