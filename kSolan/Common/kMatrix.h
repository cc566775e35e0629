/**
 * @file    kMatrix.h
 * @brief   Dense matrices: element access, arithmetic, product, transpose, inverse and solvers.
 *
 * A matrix is a `kArray2` of `k64f`: length 0 is the number of rows, length 1 the number of
 * columns, elements row-major and contiguous. There is no matrix class of its own.
 *
 * Every operation checks, through the platform assertion handler, that its matrices are
 * `kArray2` objects of `k64f` and that shapes agree where stated. Such a check reports the
 * broken contract; the operation then returns kSTATUS_BAD_PARAMETER without touching
 * memory (accessors return null or 0). Callers pass consistent shapes: the check guards
 * against programming errors, not data.
 *
 * Sums accumulate in increasing index order from 0, with no fused multiply-adds, so that
 * results are reproducible bit for bit across builds. Destinations must be distinct from
 * sources unless an operation says otherwise. Temporaries come from the application allocator.
 * All operations are reentrant.
 */
#ifndef K_SOLAN_MATRIX_H
#define K_SOLAN_MATRIX_H

#include <kSolan/kSolanDef.h>
#include <kBasis/kArray2.h>

/** Address of element (row, column), or null when either is out of range. */
kFx(k64f*) kMatrix_At(kArray2 matrix, kSize row, kSize column);

/** Number of rows (length 0). */
kFx(kSize) kMatrix_Rows(kArray2 matrix);

/** Number of columns (length 1). */
kFx(kSize) kMatrix_Columns(kArray2 matrix);

/** Sets every element to value. */
kFx(kStatus) kMatrix_Set64f(kArray2 matrix, k64f value);

/** 1 on the diagonal, 0 elsewhere; rectangular matrices allowed. */
kFx(kStatus) kMatrix_SetIdentity64f(kArray2 matrix);

/**
 * destination[i] = source[i] + constant over the source's element count (the destination
 * holds at least as many; it may be the source).
 */
kFx(kStatus) kMatrix_AddC64f(kArray2 source, kArray2 destination, k64f constant);

/** destination[i] = source[i] − constant; see kMatrix_AddC64f. */
kFx(kStatus) kMatrix_SubC64f(kArray2 source, kArray2 destination, k64f constant);

/** destination[i] = source[i] · constant; see kMatrix_AddC64f. */
kFx(kStatus) kMatrix_MulC64f(kArray2 source, kArray2 destination, k64f constant);

/** destination[i] = source[i] / constant, a true division; see kMatrix_AddC64f. */
kFx(kStatus) kMatrix_DivC64f(kArray2 source, kArray2 destination, k64f constant);

/** Element-wise a + b; the three shapes must be equal (destination may be a or b). */
kFx(kStatus) kMatrix_Add64f(kArray2 a, kArray2 b, kArray2 destination);

/** Element-wise a − b; the three shapes must be equal (destination may be a or b). */
kFx(kStatus) kMatrix_Sub64f(kArray2 a, kArray2 b, kArray2 destination);

/**
 * Matrix product: a (m×k) · b (k×n) into destination (m×n). Each element is the sum over j in
 * increasing order of a[i][j]·b[j][c], starting from 0.
 */
kFx(kStatus) kMatrix_Mul64f(kArray2 a, kArray2 b, kArray2 destination);

/** Element copy. @return kOK; kSTATUS_FAILED when the shapes differ. */
kFx(kStatus) kMatrix_Copy(kArray2 source, kArray2 destination);

/** Transpose of source (m×n) into destination (n×m). @return kOK; kSTATUS_FAILED for other shapes.
 */
kFx(kStatus) kMatrix_Transpose(kArray2 source, kArray2 destination);

/**
 * Inverse by Gauss–Jordan elimination with full pivoting. Row and column exchanges negate one
 * of the exchanged lines, so the product of the pivots is the determinant.
 *
 * @param source       Square matrix, n ≤ 100 (unchanged).
 * @param destination  Matrix of the source's shape; untouched on failure (it may be source).
 * @param determinant  Receives the determinant (0 for a singular source); may be null.
 * @return kOK; kSTATUS_FAILED when source is not square, destination not of its shape,
 *         n > 100, or a pivot is exactly 0.
 */
kFx(kStatus) kMatrix_Invert(kArray2 source, kArray2 destination, k64f* determinant);

/**
 * Solves an augmented system in place by elimination with partial pivoting: the left R×R
 * block ends as the identity and columns R … C−1 hold the solutions of their right-hand sides.
 * Elimination flushes results below 2⁻⁵¹ of the value they replace to exactly 0, so that
 * cancellation noise in a singular system ends as an exact-zero pivot.
 *
 * @param matrix  R rows × C columns, C > R.
 * @return kOK; kSTATUS_BAD_PARAMETER for R = 0, C ≤ R, or a zero pivot (singular system;
 *         the matrix is then partly eliminated).
 */
kFx(kStatus) kMatrix_Solve64f(kArray2 matrix);

/**
 * Least-squares solution of A·x = b through the normal equations, x = (AᵀA)⁻¹·Aᵀ·b.
 *
 * @param a  A, m×n with n ≤ m.
 * @param x  Receives x, n×k.
 * @param b  b, m×k.
 * @return kOK; kSTATUS_FAILED when rows(A) ≠ rows(b), columns(x) ≠ columns(b) or
 *         columns(A) > rows(A), when AᵀA is singular, or when |det(AᵀA)| ≤ 0.001 (an
 *         absolute threshold, whatever the scale of A); a failure of a temporary.
 */
kFx(kStatus) kMatrix_SolveSystem(kArray2 a, kArray2 x, kArray2 b);

#endif
