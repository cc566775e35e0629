/**
 * @file    kSparseMatrix.h
 * @brief   kSparseMatrix: a sparse k64f matrix in compressed-column form.
 *
 * The entries of all columns lie in one list, column after column. Column c owns the slots
 * columnStart[c] … columnStart[c+1] − 1 of that list and uses the first columnCount[c] of
 * them. Within a column, entries keep their insertion order: they are not sorted by row, and
 * duplicate (row, column) pairs stay separate entries whose values the products add up.
 *
 * A matrix is built either from a list of triplets (`kSparseMatrix_Import`), or column by
 * column: Resize, then for each column in turn `kSparseMatrix_InsertColumnBack` its entries
 * and `kSparseMatrix_EndColumn` it. Reserve and Insert fill columns in any order into room
 * reserved beforehand.
 *
 * Dimension and type contracts are checked through the platform assertion handler; a broken
 * one is reported and the operation returns kSTATUS_BAD_PARAMETER without touching memory.
 * Indices are passed as kSize and stored in 32 bits. Cloning is refused
 * (kSTATUS_NOT_IMPLEMENTED). One object per thread.
 */
#ifndef K_SOLAN_SPARSE_MATRIX_H
#define K_SOLAN_SPARSE_MATRIX_H

#include <kSolan/kSolanDef.h>
#include <kBasis/kArray1.h>
#include <kBasis/kArray2.h>
#include <kBasis/kArrayList.h>

/** One (row, column, value) element given to kSparseMatrix_Import. */
typedef struct kSparseMatrixTriplet
{
    k32u row;
    k32u column;
    k64f value;
} kSparseMatrixTriplet;
kDeclareValue(kSparseMatrixTriplet);

/** One stored entry of a column: its row and value. */
typedef struct kSparseMatrixEntry
{
    k32u row;
    k64f value;
} kSparseMatrixEntry;
kDeclareValue(kSparseMatrixEntry);

typedef kObject kSparseMatrix;
kDeclareClass(kSparseMatrix, kObject);

/**
 * Constructs an empty 0 × 0 matrix.
 *
 * @param matrix     Receives the matrix (one reference, owned by the caller).
 * @param allocator  Allocator of the matrix and its arrays (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kSparseMatrix_Construct(kSparseMatrix* matrix, kAlloc allocator);

/** Empties the matrix and gives it rows × columns, every column without room. */
kFx(kStatus) kSparseMatrix_Resize(kSparseMatrix matrix, kSize rows, kSize columns);

/**
 * Reserves counts[c] slots for each column c, in order; the entry list must be empty.
 *
 * @param counts  kArray1 of k32u, one per column.
 */
kFx(kStatus) kSparseMatrix_Reserve(kSparseMatrix matrix, kArray1 counts);

/**
 * Resizes the matrix and fills it from triplets, counting them per column first so that the
 * entry list is reserved exactly once. Triplets are inserted in list order.
 *
 * @param triplets  kArrayList of kSparseMatrixTriplet, every row < rows and column < columns.
 */
kFx(kStatus)
    kSparseMatrix_Import(kSparseMatrix matrix, kArrayList triplets, kSize rows, kSize columns);

/**
 * Transpose into destination (another matrix). Each destination column lists its entries in
 * increasing source-column order.
 */
kFx(kStatus) kSparseMatrix_Transpose(kSparseMatrix source, kSparseMatrix destination);

/**
 * product = a · b, a matrix distinct from both operands. Each product column lists its rows
 * in the order they were first reached (b's entries in stored order, then a's), unsorted.
 */
kFx(kStatus)
    kSparseMatrix_MultiplySparseSparse(kSparseMatrix a, kSparseMatrix b, kSparseMatrix product);

/**
 * y = a · x for dense kArray2 of k64f: x of a's column count in rows, y of a's row count,
 * both with the same column count.
 */
kFx(kStatus) kSparseMatrix_MultiplySparseDense(kSparseMatrix a, kArray2 x, kArray2 y);

/** Number of stored entries (duplicates counted separately). */
kFx(kSize) kSparseMatrix_NonZeroCount(kSparseMatrix matrix);

kFx(kSize) kSparseMatrix_Rows(kSparseMatrix matrix);
kFx(kSize) kSparseMatrix_Columns(kSparseMatrix matrix);

/** Number of entries stored in column (0 when out of range). */
kFx(kSize) kSparseMatrix_ColumnLength(kSparseMatrix matrix, kSize column);

/** The entries of column in stored order (borrowed; null when the column is empty). */
kFx(const kSparseMatrixEntry*) kSparseMatrix_ColumnEntries(kSparseMatrix matrix, kSize column);

/* ----- Building blocks --------------------------------------------------------------------- */

/**
 * Writes an entry into the next free slot of column (reserved with Reserve).
 *
 * The room check compares the column's count with the sum of its start and the next
 * column's start, not their difference: deliberately loose, as callers have always relied
 * on. A slot beyond the entry list is refused all the same.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an index out of range or no slot left.
 */
kFx(kStatus) kSparseMatrix_Insert(kSparseMatrix matrix, kSize row, kSize column, k64f value);

/**
 * Appends an entry to column, which must be the column being built (its next slot is the end
 * of the entry list).
 */
kFx(kStatus)
    kSparseMatrix_InsertColumnBack(kSparseMatrix matrix, kSize row, kSize column, k64f value);

/** Closes column: the next column starts right after its entries. */
kFx(kStatus) kSparseMatrix_EndColumn(kSparseMatrix matrix, kSize column);

#endif
