/**
 * @file    kL3dUtils.h
 * @brief   Small numeric helpers of the laser family: integer logarithm and power,
 *          interpolation, bounds, clipping of 16-bit range data and axis names.
 */
#ifndef K_SOLAN_L3D_UTILS_H
#define K_SOLAN_L3D_UTILS_H

#include <kSolan/kSolanDef.h>

/** Coordinate axis. */
typedef k32s kL3dAxis;
#define kL3D_AXIS_X (0) ///< X.
#define kL3D_AXIS_Y (1) ///< Y.
#define kL3D_AXIS_Z (2) ///< Z.

/** Axis name: "X", "Y" or "Z"; "Unknown" for any other value. */
kFx(const kChar*) kL3dAxisToString(kL3dAxis axis);

/**
 * Base-2 logarithm rounded to the nearest integer, halves away from zero: exact for powers of
 * two, 3 gives 2, 6 gives 3, 12 gives 4. Rounding rather than a floor is intended. 0 gives 0.
 */
kFx(k32s) kL3dLog2i(k64u value);

/** base multiplied exponent times (1.0 for 0), or divided -exponent times when negative. */
kFx(k64f) kL3dPower64fi(k32s exponent, k64f base);

/**
 * Bilinear interpolation between four corners: v00 at (0, 0), v10 at (1, 0), v01 at (0, 1),
 * v11 at (1, 1); fx and fy are the fractions in [0, 1]. Any null corner gives the 64-bit null.
 */
kFx(k64f) kL3dBilinearInterp64f(k64f v00, k64f v10, k64f v01, k64f v11, k64f fx, k64f fy);

/**
 * Trilinear interpolation between eight corners, corner (i, j, k) at index i + 2j + 4k; fx, fy
 * and fz are the fractions in [0, 1]. Any null corner gives the 64-bit null.
 */
kFx(k64f) kL3dTrilinearInterp64f(const k64f corners[8], k64f fx, k64f fy, k64f fz);

/**
 * Locates value among ascending step positions: the index i with values[i] <= value <
 * values[i + 1] (value equal to the last position gives the last step, i = count - 2) and the
 * fraction of the way from values[i] to values[i + 1].
 *
 * @return kOK; kSTATUS_NOT_FOUND when value lies outside [values[0], values[count - 1]];
 *         kSTATUS_BAD_PARAMETER for fewer than two positions.
 */
kFx(kStatus) kL3dValues64f_FindStepLocation(const k64f* values, kSize count, k64f value,
                                            kSize* index, k64f* fraction);

/**
 * Bounding rectangle of the points whose x is not null.
 *
 * @return kOK; kSTATUS_NOT_FOUND when no point is valid (bounds untouched).
 */
kFx(kStatus) kL3dPoints64f_FindBounds(const kPoint64f* points, kSize count, kRect64f* bounds);

/** Sets each value outside [min, max] to -32768; null values stay null. */
kFx(kStatus) kL3dValues16s_Clip(k16s* values, kSize count, k16s min, k16s max);

/** Sets both channels of each point with x or z outside its inclusive range to -32768. */
kFx(kStatus)
    kL3dPoints16s_Clip(kPoint16s* points, kSize count, k16s xMin, k16s xMax, k16s zMin, k16s zMax);

/** Sets all channels of each point with any coordinate outside its inclusive range to -32768. */
kFx(kStatus) kL3dPoints3d16s_Clip(kPoint3d16s* points, kSize count, k16s xMin, k16s xMax, k16s yMin,
                                  k16s yMax, k16s zMin, k16s zMax);

#endif
