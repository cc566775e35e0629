/*
 * Argument checks shared by the dense and sparse matrix operations.
 */
#ifndef K_SOLAN_MATRIX_X_H
#define K_SOLAN_MATRIX_X_H

#include <kSolan/Common/kMatrix.h>

/**
 * Reports a broken argument contract (wrong type, shape or index) through the platform
 * assertion handler, then returns kSTATUS_BAD_PARAMETER from the enclosing operation: going
 * on would read or write memory the operation does not own.
 */
#define kMatrixAssert(EXPR)                                                                        \
    do                                                                                             \
    {                                                                                              \
        if (!(EXPR))                                                                               \
        {                                                                                          \
            xkBasisLib_Assert(__FILE__, __LINE__, #EXPR);                                          \
            return kSTATUS_BAD_PARAMETER;                                                          \
        }                                                                                          \
    } while (0)

/** True for a kArray2 of k64f whose elements the host can read. */
bool xkMatrix_Is64f(kArray2 matrix);

#endif
