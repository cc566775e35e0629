/**
 * @file    kPolynomialFit.h
 * @brief   kPolynomialFit: least-squares fit of a kPolynomial to (x, y) samples.
 *
 * A plain fit solves the normal equations at the order of the target polynomial, in an
 * augmented (n+1) × (n+2) matrix that the object keeps and reuses. It runs when neither the
 * target error nor the order penalty is greater than 0.
 *
 * Otherwise the order search fits orders k = 0 … min(order, count − 1) in turn and keeps the
 * fit of the lowest score rms·penalty^(2^k) (strictly lower than the best so far), where rms
 * is the root mean square residual; it stops early once a kept fit's rms is strictly below
 * the target error. The penalty is squared after every order, fit or not: that weighting is
 * deliberate. With a penalty of 0 every score is 0 and only order 0 is ever kept, unless the
 * target error ends the search first.
 *
 * Once the squared penalty is no longer finite no later order can score below the best, so
 * the search ends there rather than fitting orders that cannot be kept.
 *
 * The search leaves the matrix sized for the last order tried: a later plain fit at another
 * order returns kSTATUS_BAD_PARAMETER until a search or a new object restores the size.
 * Cloning is refused (kSTATUS_NOT_IMPLEMENTED). One object per thread.
 */
#ifndef K_SOLAN_POLYNOMIAL_FIT_H
#define K_SOLAN_POLYNOMIAL_FIT_H

#include <kSolan/kSolanDef.h>
#include <kSolan/Common/kPolynomial.h>

typedef kObject kPolynomialFit;
kDeclareClass(kPolynomialFit, kObject);

/**
 * Constructs a fitter with penalty and target error 0 (plain fits).
 *
 * @param fit        Receives the fitter (one reference, owned by the caller).
 * @param order      Requested (for the search: highest) order; a negative value sizes the
 *                   matrix by its absolute value and limits the search to order 0.
 * @param allocator  Allocator of the object, its matrix and its temporaries (null: application).
 * @return kOK; kSTATUS_BAD_PARAMETER for a null output; kSTATUS_MEMORY.
 */
kFx(kStatus) kPolynomialFit_Construct(kPolynomialFit* fit, k32s order, kAlloc allocator);

/**
 * Fits poly to the samples: a plain fit at poly's order, or the order search (see above),
 * which gives poly the order and coefficients of the kept fit.
 *
 * @param x      count abscissae.
 * @param y      count ordinates.
 * @param poly   Receives the fit; unchanged when the fit fails.
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0, for a matrix not sized
 *         for poly's order (plain fit), or for a singular system (plain fit, e.g. repeated x);
 *         kSTATUS_FAILED when the search kept no order; kSTATUS_MEMORY.
 */
kFx(kStatus) kPolynomialFit_Apply(kPolynomialFit fit, const k64f* x, const k64f* y, kSize count,
                                  kPolynomial poly);

/** Requested order, as constructed. */
kFx(k32s) kPolynomialFit_Order(kPolynomialFit fit);

kFx(k64f) kPolynomialFit_OrderPenalty(kPolynomialFit fit);
kFx(kStatus) kPolynomialFit_SetOrderPenalty(kPolynomialFit fit, k64f penalty);

kFx(k64f) kPolynomialFit_TargetError(kPolynomialFit fit);
kFx(kStatus) kPolynomialFit_SetTargetError(kPolynomialFit fit, k64f error);

#endif
