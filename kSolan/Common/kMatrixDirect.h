/**
 * @file    kMatrixDirect.h
 * @brief   Small direct solvers on raw row-major arrays of doubles.
 *
 * For callers that hold small fixed-size systems in plain arrays (the data layer's matrix,
 * line and plane fits): no objects, no allocation, reentrant.
 */
#ifndef K_SOLAN_MATRIX_DIRECT_H
#define K_SOLAN_MATRIX_DIRECT_H

#include <kSolan/kSolanDef.h>

/**
 * Inverse of a 3×3 matrix by its adjugate, the determinant by cofactor expansion along the
 * first row.
 *
 * @param a    Row-major 3×3 matrix.
 * @param inv  Receives the row-major inverse; untouched on failure. May be a.
 * @param det  Receives the determinant, also on failure; may be null.
 * @return kOK; kSTATUS_FAILED (0) when |det| < 1e-12 (absolute, whatever the scale of a).
 */
kFx(kStatus) kMatrixDirect_Invert3x3(const double a[9], double inv[9], double* det);

/**
 * Symmetric eigen-decomposition by the cyclic threshold Jacobi method.
 *
 * Only the lower triangle is read once the rotations begin, so a must be symmetric. The
 * sweeps stop when the rotation threshold falls to 1e-12·‖off-diagonal‖/n.
 *
 * @param a        Row-major n×n symmetric matrix; overwritten (its diagonal ends as the
 *                 eigenvalues in the order found, its upper triangle stale).
 * @param vectors  Receives the unit eigenvectors as rows, row i belonging to values[i].
 * @param values   Receives the eigenvalues in descending order.
 * @param n        Order.
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer (n > 0) or a non-finite element.
 */
kFx(kStatus) kMatrixDirect_Eigen(double* a, double* vectors, double* values, kSize n);

/** The same decomposition as kMatrixDirect_Eigen, under the name the line fits call. */
kFx(kStatus) Matrix_SymEigInpl(double* a, double* vectors, double* values, kSize n);

#endif
