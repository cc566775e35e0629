/*
 * Coefficient storage shared by the one- and two-variable polynomials.
 */
#ifndef K_SOLAN_POLYNOMIAL_X_H
#define K_SOLAN_POLYNOMIAL_X_H

#include <kSolan/Common/kPolynomial.h>

/**
 * Replaces *coefficients (from alloc, or null) with a new array of count k64f, filled from
 * values when values is not null (values may be the old array), uninitialised otherwise.
 * The old array is freed only once the new one is filled, so on failure *coefficients is
 * unchanged.
 *
 * @return kOK; kSTATUS_MEMORY, also when count·8 bytes do not fit in a kSize.
 */
kStatus xkPolynomial_Replace(kAlloc alloc, k64f** coefficients, kSize count, const k64f* values);

/** Terms of a two-variable polynomial of total degree order: (n+1)(n+2)/2, for every k32u. */
kSize xkPolynomial2_CoeffCountOf(k32u order);

#endif
