/**
 * @file    kPolynomialFitParams.h
 * @brief   kPolynomialFitParams: fit settings of one direction of a kPolynomial2Fit.
 */
#ifndef K_SOLAN_POLYNOMIAL_FIT_PARAMS_H
#define K_SOLAN_POLYNOMIAL_FIT_PARAMS_H

#include <kSolan/kSolanDef.h>

/** Registered by size alone (24 bytes), copied byte for byte. */
typedef struct kPolynomialFitParams
{
    k32u order;        ///< Polynomial order in this direction (at most 12).
    k64f targetError;  ///< The order search stops once the fit error is at or below this.
    k64f orderPenalty; ///< Error penalty per order; > 0 in either direction starts the search.
} kPolynomialFitParams;
kDeclareValue(kPolynomialFitParams);

#endif
