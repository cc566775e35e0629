/**
 * @file    kMath.h
 * @brief   Small numeric helpers over plain arrays.
 *
 * Array arguments are (pointer, count); a null pointer is accepted with a count of 0 only.
 * Operations that write may write over their input.
 */
#ifndef K_BASIS_MATH_H
#define K_BASIS_MATH_H

#include <kBasis/kApiDef.h>

/** Comparisons for the search helpers: an item matches when (item OP value) holds. */
typedef k32s kComparison;
#define kCOMPARISON_EQ (0)  ///< item == value
#define kCOMPARISON_NEQ (1) ///< item != value
#define kCOMPARISON_LT (2)  ///< item < value
#define kCOMPARISON_LTE (3) ///< item <= value
#define kCOMPARISON_GT (4)  ///< item > value
#define kCOMPARISON_GTE (5) ///< item >= value

/** Sets every item to value. @return kOK; kSTATUS_BAD_PARAMETER for a null array. */
kFx(kStatus) kMath_Set32s(k32s* values, kSize count, k32s value);
/** Sets every item to value. @return kOK; kSTATUS_BAD_PARAMETER for a null array. */
kFx(kStatus) kMath_Set64f(k64f* values, kSize count, k64f value);

/**
 * Subtracts a constant: destination[i] = source[i] - value.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null array.
 */
kFx(kStatus) kMath_SubC64f(const k64f* source, k64f* destination, kSize count, k64f value);

/**
 * Index of the first item that compares to value as asked.
 *
 * @param values      Items.
 * @param count       Item count.
 * @param comparison  kCOMPARISON_*.
 * @param value       Value compared against (a NaN item matches only kCOMPARISON_NEQ).
 * @param index       Receives the index; count when none matches.
 * @return kOK; kSTATUS_NOT_FOUND when no item matches; kSTATUS_BAD_PARAMETER for a null
 *         argument or an unknown comparison.
 */
kFx(kStatus) kMath_FindFirst64f(const k64f* values, kSize count, kComparison comparison, k64f value,
                                kSize* index);

/** Like kMath_FindFirst64f, searching from the last item back. */
kFx(kStatus) kMath_FindLast64f(const k64f* values, kSize count, kComparison comparison, k64f value,
                               kSize* index);

/**
 * Index of the largest item; the first one when several are equal (a histogram's mode is the
 * lowest of its fullest bins).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null arguments or an empty array.
 */
kFx(kStatus) kMath_FindMax32s(const k32s* values, kSize count, kSize* index);

/**
 * Fills values with count evenly spaced numbers from first to last, both included:
 * values[i] = first + i * (last - first) / (count - 1), the last item exactly `last`.
 * A single item is `first`.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null array.
 */
kFx(kStatus) kMath_Span64f(k64f* values, kSize count, k64f first, k64f last);

/** Rounds to the nearest integer, halves away from zero (2.5 gives 3, -2.5 gives -3). */
kFx(k64f) kMath_Round64f(k64f value);

/**
 * Smallest n with 2^n >= value: the bit count of a power-of-two table that holds value
 * entries (0 and 1 give 0, 5 gives 3, 2^31 + 1 gives 32).
 */
kFx(k32u) kMath_Log2Ceil32u(k32u value);

#endif
