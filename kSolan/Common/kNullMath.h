/**
 * @file    kNullMath.h
 * @brief   Statistics and element-wise arithmetic over sample arrays with invalid samples.
 *
 * A sample equal to the null value of its type is invalid: k64F_NULL (-1.7976931348623157e308,
 * the most negative finite double) for `k64f` arrays, k16S_NULL (-32768) for `k16s` arrays.
 * Statistics skip invalid samples; element-wise operations propagate them.
 *
 * Several operations report "true/false" rather than a status: they return 1 when at least one
 * valid sample exists and 0 otherwise, and then write 0 to their output. Every operation
 * returns kSTATUS_BAD_PARAMETER for a null array (unless count is 0) or a null output pointer
 * (the optional outputs of the k16s statistics excepted), and then writes nothing.
 *
 * Sums run over the samples in index order, starting from 0, so that results are reproducible
 * bit for bit. All operations are reentrant.
 */
#ifndef K_SOLAN_NULL_MATH_H
#define K_SOLAN_NULL_MATH_H

#include <kSolan/kSolanDef.h>

/* ----- Statistics over k64f samples ---------------------------------------------------------- */

/** Mean of the valid samples; true/false. */
kFx(kStatus) kNullMath_Average64f(const k64f* values, kSize count, k64f* mean);

/** Mean of |v| over the valid samples; true/false. */
kFx(kStatus) kNullMath_AverageAbs64f(const k64f* values, kSize count, k64f* mean);

/** Largest valid sample; true/false. */
kFx(kStatus) kNullMath_Max64f(const k64f* values, kSize count, k64f* max);

/** Smallest valid sample; true/false. */
kFx(kStatus) kNullMath_Min64f(const k64f* values, kSize count, k64f* min);

/** Largest |v| over the valid samples (a magnitude, never negative); true/false. */
kFx(kStatus) kNullMath_AbsMax64f(const k64f* values, kSize count, k64f* max);

/** Index of the first largest valid sample (the earliest of equal values); true/false. */
kFx(kStatus) kNullMath_FindMax64f(const k64f* values, kSize count, kSize* index);

/** Index of the first smallest valid sample (the earliest of equal values); true/false. */
kFx(kStatus) kNullMath_FindMin64f(const k64f* values, kSize count, kSize* index);

/**
 * Sample standard deviation of the n valid samples, √((n·Σv² − (Σv)²)/(n·(n−1))); 0 when the
 * radicand is not positive.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer, count < 2 or fewer than 2 valid
 *         samples (stdev then untouched).
 */
kFx(kStatus) kNullMath_Stdev64f(const k64f* values, kSize count, k64f* stdev);

/** As kNullMath_Stdev64f with Σ|v| in place of Σv (Σv² unchanged). */
kFx(kStatus) kNullMath_StdevAbs64f(const k64f* values, kSize count, k64f* stdev);

/** Sum of the valid samples (0 when there is none). */
kFx(kStatus) kNullMath_Sum64f(const k64f* values, kSize count, k64f* sum);

/** Number of valid samples (0 for a null array). */
kFx(kSize) kNullMath_Valid64f(const k64f* values, kSize count);

/** Median of all samples, nulls included (they sort as the smallest values). kSTATUS_FAILED for
 * count 0. */
kFx(kStatus) kNullMath_Median64f(const k64f* values, kSize count, k64f* median);

/* ----- Element-wise arithmetic over k64f samples -------------------------------------------- */

/** out[i] = a[i] + b[i]; null when either is null. out may alias a or b. */
kFx(kStatus) kNullMath_Add64f(const k64f* a, const k64f* b, k64f* out, kSize count);

/** out[i] = a[i] − b[i]; null when either is null. */
kFx(kStatus) kNullMath_Sub64f(const k64f* a, const k64f* b, k64f* out, kSize count);

/** out[i] = |a[i]| − |b[i]|; null when either is null. */
kFx(kStatus) kNullMath_SubAbs64f(const k64f* a, const k64f* b, k64f* out, kSize count);

/** out[i] = in[i] + constant; null stays null. */
kFx(kStatus) kNullMath_AddC64f(const k64f* in, k64f* out, kSize count, k64f constant);

/** out[i] = in[i] · constant; null stays null. */
kFx(kStatus) kNullMath_MulC64f(const k64f* in, k64f* out, kSize count, k64f constant);

/** out[i] = |in[i]|; null stays null. */
kFx(kStatus) kNullMath_Abs64f(const k64f* in, k64f* out, kSize count);

/** out[i] = min(a[i], b[i]) when both are valid; otherwise b[i] when a[i] is null, else a[i]. */
kFx(kStatus) kNullMath_MinPairwise64f(const k64f* a, const k64f* b, k64f* out, kSize count);

/** out[i] = max(a[i], b[i]) when both are valid; otherwise b[i] when a[i] is null, else a[i]. */
kFx(kStatus) kNullMath_MaxPairwise64f(const k64f* a, const k64f* b, k64f* out, kSize count);

/* ----- Runs of valid samples ------------------------------------------------------------------ */

/** First run of consecutive valid samples; start 0 and length 0 when there is none. */
kFx(kStatus) kNullMath_FindRun64f(const k64f* values, kSize count, k32u* start, k32u* length);

/**
 * First run, extended over gaps of fewer than maxGap nulls: [v, null, v, v] gives start 0 and
 * length 4 with maxGap 2, length 1 with maxGap 1.
 */
kFx(kStatus) kNullMath_FindInterruptedRun64f(const k64f* values, kSize count, k32u maxGap,
                                             k32u* start, k32u* length);

/**
 * Longest interrupted run (the first of equally long ones). Each search starts where the
 * previous run ended.
 */
kFx(kStatus) kNullMath_FindLongestRun64f(const k64f* values, kSize count, k32u maxGap, k32u* start,
                                         k32u* length);

/** Sets every run of 1 … maxLength valid samples to null (drops short islands). */
kFx(kStatus) kNullMath_ClearRuns64f(k64f* values, kSize count, k32u maxLength);

/* ----- Sorting ----------------------------------------------------------------------------------
 */

/**
 * qsort comparator on two k64f: −1 when *a > *b, 1 when *a < *b, 0 when equal. Sorting with it
 * gives descending order (the name is historical and kept).
 */
kFx(int) kNullMath_LessThan64f(const void* a, const void* b);

/** Negation of kNullMath_LessThan64f: sorting with it gives ascending order. */
kFx(int) kNullMath_GreaterThan64f(const void* a, const void* b);

/** In-place ascending sort (qsort); nulls come first. */
kFx(kStatus) kNullMath_Sort64f_Ascending(k64f* values, kSize count);

/** In-place descending sort (qsort); nulls come last. */
kFx(kStatus) kNullMath_Sort64f_Descending(k64f* values, kSize count);

/* ----- Points ------------------------------------------------------------------------------------
 */

/**
 * Per-axis mean over the points whose three coordinates are all valid; all three null when no
 * point is valid.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0.
 */
kFx(kStatus) kNullMath_MeanPoint3d64f(const kPoint3d64f* points, kSize count, kPoint3d64f* mean);

/**
 * Per-axis population deviation √(Σd²/n) of the valid points about their mean; all three
 * null when no point is valid.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0.
 */
kFx(kStatus) kNullMath_StdevPoint3d64f(const kPoint3d64f* points, kSize count, kPoint3d64f* stdev);

/* ----- k16s samples (null −32768) ------------------------------------------------------------- */

/** out[i] = a[i] + b[i], wrapping in 16 bits; null when either is null. */
kFx(kStatus) kNullMath_Add16s(const k16s* a, const k16s* b, k16s* out, kSize count);

/** out[i] = a[i] − b[i], wrapping in 16 bits; null when either is null. */
kFx(kStatus) kNullMath_Sub16s(const k16s* a, const k16s* b, k16s* out, kSize count);

/**
 * Mean of the valid samples as a double, and truncated toward zero for the 16-bit output.
 * Either output may be null. True/false.
 */
kFx(kStatus) kNullMath_Average16s(const k16s* values, kSize count, k16s* mean16s, k64f* mean64f);

/**
 * Sample standard deviation (formula of kNullMath_Stdev64f), as a double and truncated toward
 * zero for the 16-bit output. Either output may be null.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null array, count < 2 or fewer than 2 valid samples.
 */
kFx(kStatus) kNullMath_Stdev16s(const k16s* values, kSize count, k16s* stdev16s, k64f* stdev64f);

#endif
