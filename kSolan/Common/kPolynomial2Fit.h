/**
 * @file    kPolynomial2Fit.h
 * @brief   kPolynomial2Fit: least-squares fit of a kPolynomial2 to (x, y, z) samples.
 *
 * A fit at fixed orders builds the design matrix (one row per sample, the terms in the
 * graded order of kPolynomial2) and solves it by kMatrix_SolveSystem: normal equations
 * through an inverse, refused when |det(AᵀA)| ≤ 0.001.
 *
 * The order search runs only when an order penalty (the larger of the two directions) is
 * greater than 0; a target error alone does not start it, unlike the one-variable fit. It
 * fits k = 0 … order at (k, k), scores err + k·penalty with err the root of the summed squared
 * residuals (not divided by the count), keeps the strictly lowest score, stops at the first
 * k whose err is at or below a positive target (the larger of the two), and fits the chosen
 * order once more. When no score is below the largest double (all NaN), order 0 is chosen.
 *
 * Cloning is refused (kSTATUS_NOT_IMPLEMENTED). One object per thread.
 */
#ifndef K_SOLAN_POLYNOMIAL2_FIT_H
#define K_SOLAN_POLYNOMIAL2_FIT_H

#include <kSolan/kSolanDef.h>
#include <kSolan/Common/kPolynomial2.h>
#include <kSolan/Common/kPolynomialFitParams.h>

typedef kObject kPolynomial2Fit;
kDeclareClass(kPolynomial2Fit, kObject);

/**
 * Constructs a fitter with a copy of both directions' settings.
 *
 * @param fit        Receives the fitter (one reference, owned by the caller).
 * @param paramsX    Settings of the X direction.
 * @param paramsY    Settings of the Y direction; its order must equal paramsX.order.
 * @param allocator  Allocator of the object and its temporaries (null: application).
 * @return kOK; kSTATUS_NOT_IMPLEMENTED unless both orders are equal and at most 12;
 *         kSTATUS_BAD_PARAMETER for a null output; kSTATUS_MEMORY.
 */
kFx(kStatus) kPolynomial2Fit_Construct(kPolynomial2Fit* fit, kPolynomialFitParams paramsX,
                                       kPolynomialFitParams paramsY, kAlloc allocator);

/**
 * Fits poly at the configured order, or by the order search (see above).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0; kSTATUS_FAILED for a
 *         near-singular system (also fewer samples than terms); kSTATUS_MEMORY.
 */
kFx(kStatus) kPolynomial2Fit_Apply(kPolynomial2Fit fit, const k64f* x, const k64f* y, const k64f* z,
                                   kSize count, kPolynomial2 poly);

/**
 * One fit at the given orders; the total degree is orderX, orderY is stored in poly.
 * Powers are those of std::pow. poly is unchanged when the fit fails.
 *
 * @return As kPolynomial2Fit_Apply.
 */
kFx(kStatus)
    kPolynomial2Fit_ApplyOrder(kPolynomial2Fit fit, const k64f* x, const k64f* y, const k64f* z,
                               kSize count, k32u orderX, k32u orderY, kPolynomial2 poly);

/**
 * Fit error: the square root of the sum of squared residuals p(x, y) − z, not divided by
 * the count (0 for count 0).
 *
 * @return The error; the 64-bit null value for a bad handle or a null pointer.
 */
kFx(k64f) kPolynomial2Fit_EvaluateError(kPolynomial2Fit fit, const k64f* x, const k64f* y,
                                        const k64f* z, kSize count, kPolynomial2 poly);

kFx(kPolynomialFitParams) kPolynomial2Fit_ParametersX(kPolynomial2Fit fit);
kFx(kPolynomialFitParams) kPolynomial2Fit_ParametersY(kPolynomial2Fit fit);

#endif
