/**
 * @file    kPolynomial2.h
 * @brief   kPolynomial2: a polynomial in two variables of total degree n, z = Σ c·xⁱ·yʲ, i + j ≤ n.
 *
 * Coefficients are in graded order, which is also the column order of the design matrix of
 * kPolynomial2Fit: index 0 is the constant, then for each total degree d = 1 … n the d + 1
 * terms xᵈ, xᵈ⁻¹·y, …, yᵈ with the power of x descending. For n = 2:
 * c0, c1·x, c2·y, c3·x², c4·x·y, c5·y².
 *
 * Both orders are stored, but only orderX (the total degree) sizes the array and drives
 * evaluation. The array is owned, allocated from the object's allocator and not cleared.
 * Cloning (`kObject_Clone`) gives an independent deep copy. One object per thread.
 */
#ifndef K_SOLAN_POLYNOMIAL2_H
#define K_SOLAN_POLYNOMIAL2_H

#include <kSolan/kSolanDef.h>

/** Highest total degree accepted by kPolynomial2_Construct and kPolynomial2Fit_Construct. */
#define kPOLYNOMIAL2_MAX_ORDER (12)

typedef kObject kPolynomial2;
kDeclareClass(kPolynomial2, kObject);

/**
 * Constructs a polynomial of total degree n = orderX with (n+1)(n+2)/2 uninitialised
 * coefficients.
 *
 * @param poly       Receives the polynomial (one reference, owned by the caller).
 * @param orderX     Total degree n.
 * @param orderY     Must equal orderX.
 * @param allocator  Allocator of the object and its coefficients (null: application).
 * @return kOK; kSTATUS_NOT_IMPLEMENTED when orderX ≠ orderY; kSTATUS_BAD_PARAMETER when the
 *         order exceeds 12 or poly is null; kSTATUS_MEMORY.
 */
kFx(kStatus) kPolynomial2_Construct(kPolynomial2* poly, k32u orderX, k32u orderY, kAlloc allocator);

/**
 * Replaces the coefficients with (orderX+1)(orderX+2)/2 uninitialised entries and stores both
 * orders, unchecked. On failure the polynomial is unchanged.
 */
kFx(kStatus) kPolynomial2_Alloc(kPolynomial2 poly, k32u orderX, k32u orderY);

/** Alloc, then copies (orderX+1)(orderX+2)/2 values from coefficients. */
kFx(kStatus)
    kPolynomial2_Set(kPolynomial2 poly, k32u orderX, k32u orderY, const k64f* coefficients);

/** Makes dst a copy of src: both orders and the coefficients. */
kFx(kStatus) kPolynomial2_Assign(kPolynomial2 dst, kPolynomial2 src);

/**
 * Value at (x, y): powers px[k] = px[k−1]·x and py[k] = py[k−1]·y from 1, then
 * sum = c0 and, term by term in graded order, sum = sum + (c·px[i])·py[d−i].
 *
 * @return The value; the 64-bit null value for a handle that is not a kPolynomial2.
 */
kFx(k64f) kPolynomial2_Apply(kPolynomial2 poly, k64f x, k64f y);

/**
 * z[i] = kPolynomial2_Apply(poly, x[i], y[i]) for i < count.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer or count 0.
 */
kFx(kStatus)
    kPolynomial2_ApplyN(kPolynomial2 poly, const k64f* x, const k64f* y, k64f* z, kSize count);

/** True when the coefficient array exists. */
kFx(kBool) kPolynomial2_IsValid(kPolynomial2 poly);

kFx(k32u) kPolynomial2_OrderX(kPolynomial2 poly);
kFx(k32u) kPolynomial2_OrderY(kPolynomial2 poly);

/** (orderX+1)(orderX+2)/2. */
kFx(kSize) kPolynomial2_CoeffCount(kPolynomial2 poly);

/** The owned coefficient array, writable (null for a bad handle). */
kFx(k64f*) kPolynomial2_Coefficients(kPolynomial2 poly);

#endif
