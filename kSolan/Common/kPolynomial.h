/**
 * @file    kPolynomial.h
 * @brief   kPolynomial: a polynomial in one variable, y = c0 + c1·x + … + cn·xⁿ.
 *
 * The n + 1 coefficients live in one array owned by the object, allocated from its allocator
 * and not cleared when allocated: whoever sizes a polynomial writes its coefficients.
 * Cloning (`kObject_Clone`) gives an independent deep copy. One object per thread.
 */
#ifndef K_SOLAN_POLYNOMIAL_H
#define K_SOLAN_POLYNOMIAL_H

#include <kSolan/kSolanDef.h>

typedef kObject kPolynomial;
kDeclareClass(kPolynomial, kObject);

/**
 * Constructs a polynomial of the given order with order + 1 uninitialised coefficients.
 *
 * @param poly       Receives the polynomial (one reference, owned by the caller).
 * @param order      Highest power n.
 * @param allocator  Allocator of the object and its coefficients (null: application).
 * @return kOK; kSTATUS_BAD_PARAMETER for a null output; kSTATUS_MEMORY.
 */
kFx(kStatus) kPolynomial_Construct(kPolynomial* poly, k32u order, kAlloc allocator);

/**
 * Replaces the coefficient array with one of order + 1 uninitialised entries and sets the
 * order. On failure the polynomial keeps its previous order and coefficients.
 */
kFx(kStatus) kPolynomial_Alloc(kPolynomial poly, k32u order);

/** Makes dst a copy of src: its order and coefficients. */
kFx(kStatus) kPolynomial_Assign(kPolynomial dst, kPolynomial src);

/**
 * Value at x. Powers are built by repeated multiplication (p = p·x, then sum = sum + ci·p),
 * not by Horner's rule: calibration tables built from it are compared bit for bit.
 *
 * @return The value; the 64-bit null value for a handle that is not a polynomial.
 */
kFx(k64f) kPolynomial_Apply(kPolynomial poly, k64f x);

/**
 * y[i] = kPolynomial_Apply(poly, x[i]) for i < count.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0 (nothing is written).
 */
kFx(kStatus) kPolynomial_ApplyN(kPolynomial poly, const k64f* x, k64f* y, kSize count);

/** Highest power n (0 for a handle that is not a polynomial). */
kFx(k32u) kPolynomial_Order(kPolynomial poly);

/** The owned coefficient array, n + 1 entries, writable (null for a bad handle). */
kFx(k64f*) kPolynomial_Coefficients(kPolynomial poly);

#endif
