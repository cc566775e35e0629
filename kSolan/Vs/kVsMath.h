/**
 * @file    kVsMath.h
 * @brief   Statistics helpers of the imaging utilities.
 */
#ifndef K_VS_MATH_H
#define K_VS_MATH_H

#include <kSolan/kSolanDef.h>

/**
 * Percentile of count values by linear interpolation between order statistics (the Hazen
 * definition): pos = count·percent/100 − 0.5, clamped to [0, count − 1], interpolated
 * between the sorted values at ⌊pos⌋ and ⌊pos⌋ + 1. For {1, 2, 3, 4}: 50 gives 2.5, 0 gives
 * 1, 100 gives 4. The values are not modified; a sorted copy comes from the application
 * allocator. NaN values sort after every number.
 *
 * Failures are returned in the value itself, which callers have always relied on: -997.0
 * (kSTATUS_BAD_PARAMETER) when percent is outside [0, 100], count is 0 or values is null,
 * and the allocation's status as a double when the copy cannot be made.
 */
kFx(k64f) kVsMath_Percentile64f(const k64f* values, kSize count, k64f percent);

#endif
