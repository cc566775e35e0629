/**
 * @file    kS3dEncodingMath.h
 * @brief   Embedded-phase periods and the lookup tables that a camera's phase decoder needs.
 *
 * An embedded-phase sequence projects n fringe blocks. Its coefficients chain the cumulative
 * periods (7, 7, 14 give 7, 49 and 686 projector columns): the beat of block i against block 0
 * has the cumulative period i, so the coarse beats resolve the fringe order of block 0. The
 * projected (pattern) periods follow from 1 / Q_i = 1 / C_0 + 1 / C_i.
 *
 * The camera tables are what the phase action writes into a camera's decoder: the Gray-code
 * table of a stripe sequence and the 14-bit sine and cosine tables of a phase block.
 */
#ifndef K_S3D_ENCODING_MATH_H
#define K_S3D_ENCODING_MATH_H

#include <kSolan/kSolanDef.h>

/**
 * Cumulative periods: output i = coefficients 0 × … × coefficients i, in projector columns.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when capacity is below n or a pointer is null (n > 0).
 */
kFx(kStatus) kS3dEncodingMath_EmbeddedPhasePeriods(const k64f* coefficients, kSize n, k64f* output,
                                                   kSize capacity);

/**
 * Pattern periods of cumulative periods p: output 0 = p0, output i = p0 pi / (p0 + pi), so that
 * the beat of block i against block 0 has the period pi (7, 49, 686 give 7, 6.125, 6.929…).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for n = 0, capacity below n or a null pointer.
 */
kFx(kStatus) kS3dEncodingMath_PatternPhasePeriods(const k64f* periods, kSize n, k64f* output,
                                                  kSize capacity);

/**
 * Camera code table of a Gray-code stripe sequence: a new `kArray1` of `k32s`, 2^count entries,
 * entry g = kS3dGrayCode_ToBinary(g, count) masked to 8 bits.
 *
 * @param table      Receives the table (the caller owns it); untouched on failure.
 * @param count      Stripe frames, 0 … 7.
 * @param allocator  Allocator of the table (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for more than 7 stripe frames or a null output;
 *         allocation failures.
 */
kFx(kStatus) kS3dStripe_PlCodeLut(kArray1* table, kSize count, kAlloc allocator);

/**
 * Camera sine and cosine tables of a phase block: new `kArray1`s of `k32s`, count entries,
 * round(2^bits sin(2π i / count)) and round(2^bits cos(2π i / count)), rounding half away from
 * zero. The phase action uses 14 bits.
 *
 * @param sine, cosine  Receive the tables (the caller owns both); untouched on failure.
 * @param count         Entries, at least 1.
 * @param bits          Scale 2^bits, 0 … 30.
 * @return kOK; kSTATUS_BAD_PARAMETER for no entries, more than 30 bits or a null output;
 *         allocation failures, with nothing left behind.
 */
kFx(kStatus) kS3dPhase_PlSinCosLuts(kArray1* sine, kArray1* cosine, kSize count, kSize bits,
                                    kAlloc allocator);

#endif
