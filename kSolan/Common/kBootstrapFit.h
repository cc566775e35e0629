/**
 * @file    kBootstrapFit.h
 * @brief   kBootstrapFit: a family of polynomial fits to perturbed copies of a data set.
 *
 * Apply fits fitCount synthetic data sets with an inner kPolynomialFit and appends each
 * fitted polynomial to a list that the object owns; from that family come the 1 %, 50 % and
 * 99 % percentiles of the fitted value at any x. The list is never cleared: a second Apply
 * appends fitCount more, and Evaluate reads the first fitCount.
 *
 * A synthetic data set is the input with blockLen = ⌊U·⌊n/2⌋⌋ samples (U uniform in [0, 1))
 * overwritten by copies of blockLen other samples: destinations and sources are disjoint
 * sets of indices chosen as one contiguous run each (block mode, wrapping at the end) or
 * one by one at random without replacement (subset mode). Draws come from kVsRand_Uniform,
 * that is from the process-wide `rand`: seed it with `srand` for repeatable results.
 *
 * A synthetic set whose fit fails is replaced by a new one. So that a data set that can
 * never be fitted (too few distinct x for the order, a matrix left sized by an earlier
 * search) does not run forever, one polynomial gets at most kBOOTSTRAP_FIT_MAX_ATTEMPTS
 * synthetic sets; Apply then returns the last fit's status, keeping the polynomials already
 * appended.
 *
 * Cloning is refused (kSTATUS_NOT_IMPLEMENTED). One object per thread.
 */
#ifndef K_SOLAN_BOOTSTRAP_FIT_H
#define K_SOLAN_BOOTSTRAP_FIT_H

#include <kSolan/kSolanDef.h>
#include <kSolan/Common/kPolynomial.h>

/** Synthetic data sets tried for one polynomial before Apply gives up. */
#define kBOOTSTRAP_FIT_MAX_ATTEMPTS (1000)

typedef kObject kBootstrapFit;
kDeclareClass(kBootstrapFit, kObject);

/**
 * Constructs a bootstrap with an inner fit of the given order (penalty and target 0).
 *
 * @param fit        Receives the bootstrap (one reference, owned by the caller).
 * @param order      Order of the inner kPolynomialFit; the polynomials have its absolute value.
 * @param fitCount   Fits per Apply.
 * @param blockMode  kTRUE: contiguous blocks; kFALSE: random subsets.
 * @param allocator  Allocator of the object, its polynomials and temporaries (null: application).
 * @return kOK; kSTATUS_BAD_PARAMETER for a null output; kSTATUS_MEMORY.
 */
kFx(kStatus) kBootstrapFit_Construct(kBootstrapFit* fit, k32s order, kSize fitCount,
                                     kBool blockMode, kAlloc allocator);

/**
 * Appends fitCount polynomials, each fitted to a fresh synthetic data set.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0; the inner fit's status
 *         when kBOOTSTRAP_FIT_MAX_ATTEMPTS sets in a row fail; kSTATUS_MEMORY.
 */
kFx(kStatus) kBootstrapFit_Apply(kBootstrapFit fit, const k64f* x, const k64f* y, kSize count);

/**
 * values[i] = polynomial i at x, for i < fitCount.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null values (fitCount > 0) or valueCount ≠
 *         fitCount; kSTATUS_BAD_STATE while fewer than fitCount polynomials exist.
 */
kFx(kStatus) kBootstrapFit_Evaluate(kBootstrapFit fit, k64f x, k64f* values, kSize valueCount);

/**
 * The 1st, 50th and 99th percentiles (kVsMath_Percentile64f) of the fitCount values at x.
 *
 * @return As kBootstrapFit_Evaluate; kSTATUS_MEMORY.
 */
kFx(kStatus) kBootstrapFit_EvaluateConfidenceLevels(kBootstrapFit fit, k64f x, k64f* low,
                                                    k64f* median, k64f* high);

/** Polynomials held (fitCount per successful Apply). */
kFx(kSize) kBootstrapFit_PolynomialCount(kBootstrapFit fit);

/** Polynomial index (borrowed, owned by the bootstrap); null when out of range. */
kFx(kPolynomial) kBootstrapFit_PolynomialAt(kBootstrapFit fit, kSize index);

kFx(kSize) kBootstrapFit_FitCount(kBootstrapFit fit);

/** The inner fit's order, penalty and target error (see kPolynomialFit). */
kFx(k32s) kBootstrapFit_Order(kBootstrapFit fit);
kFx(k64f) kBootstrapFit_OrderPenalty(kBootstrapFit fit);
kFx(kStatus) kBootstrapFit_SetOrderPenalty(kBootstrapFit fit, k64f penalty);
kFx(k64f) kBootstrapFit_TargetError(kBootstrapFit fit);
kFx(kStatus) kBootstrapFit_SetTargetError(kBootstrapFit fit, k64f error);

#endif
