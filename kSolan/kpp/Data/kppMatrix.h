/**
 * @file    kppMatrix.h
 * @brief   kpp::Data::Matrix<T>: a row-major kArray2 of T as a dense matrix, rows along
 *          dimension 0.
 *
 * Matrix<double> offers the matrix operations; Matrix<float> is a storage type only
 * (construction, element access and everything of Array2), which is all the library asks of
 * it: the numeric operations are constrained to double, so using them on float does not
 * compile rather than silently computing in another precision.
 *
 * Shape failures: operations that take arbitrary shapes return kSTATUS_BAD_PARAMETER (-997)
 * before touching the result; the fixed-size operations (4 × 4, 3 × 3, equal shapes) assert,
 * and then do nothing (returning kSTATUS_FAILED where they return a status).
 *
 * Results are reshaped in place (kArray2_Allocate); an empty result wrapper gets a new array
 * from the allocator of the first operand. A result may be one of the operands.
 */
#ifndef KPP_DATA_MATRIX_H
#define KPP_DATA_MATRIX_H

#include <kSolan/kpp/Common/kppPoint3d.h>
#include <kSolan/kpp/Data/kppArray1.h>
#include <kSolan/kpp/Data/kppArray2.h>
#include <kSolan/L3d/kL3dTransform.h>

#include <type_traits>

namespace kpp::Data
{
/**
 * Element types that have the matrix operations: double only. A namespace-scope constant
 * rather than a class member, because clang 14 does not match out-of-line definitions whose
 * constraint names a class member.
 */
template <typename T>
inline constexpr bool MatrixNumeric = std::is_same_v<T, double>;

template <typename T>
class kEXPORT_ATTR Matrix : public Array2<T>
{
public:
    using Array2<T>::Init;
    using Array2<T>::Assign;

    Matrix() { Container<T, Array2Traits>::template Register<Matrix>(); }

    kSize RowCount() const { return this->Length(0); }
    kSize ColumnCount() const { return this->Length(1); }

    /**
     * this = a · b, each element accumulated in double from k = 0 upward.
     *
     * @return kOK; kSTATUS_BAD_PARAMETER unless a.ColumnCount() = b.RowCount() (this untouched);
     *         kSTATUS_MEMORY.
     */
    kStatus Multiply(const Matrix& a, const Matrix& b) requires MatrixNumeric<T>;
    /** Multiply restricted to 4 × 4 operands (asserted; kSTATUS_FAILED otherwise). */
    kStatus Mult(const Matrix& a, const Matrix& b) requires MatrixNumeric<T>;

    /**
     * Applies this 4 × 4 matrix (asserted; the null point otherwise) to p as a projective
     * transform: x', y', z' and w are formed in double, converted to the point's component
     * type, and the result is (x'/w, y'/w, z'/w) divided in that type. An integer point whose
     * w converts to 0 gives the null point.
     */
    template <typename P>
    P Mult(const P& p) const requires MatrixNumeric<T>
    {
        using C = typename P::Component;
        const bool square4 = IsShape(4, 4);
        kAssert(square4);
        if (!square4) return P::Null();
        const double* m = this->Data();
        C v[4];
        for (kSize r = 0; r < 4; ++r)
        {
            const double* row = m + 4 * r;
            const double sum =
                row[0] * (double)p.x + row[1] * (double)p.y + row[2] * (double)p.z + row[3];
            v[r] = PointDetail::Convert<C>(sum);
        }
        if constexpr (std::is_integral_v<C>)
        {
            if (v[3] == 0) return P::Null();
        }
        return P((C)(v[0] / v[3]), (C)(v[1] / v[3]), (C)(v[2] / v[3]));
    }

    /** this(i, j) = a[i] · b[j]: the outer product of two points; this must be 3 × 3. */
    template <typename P>
    kStatus MultTranspose(const P& a, const P& b) requires MatrixNumeric<T>
    {
        const bool square3 = IsShape(3, 3);
        kAssert(square3);
        if (!square3) return kSTATUS_FAILED;
        for (kSize i = 0; i < 3; ++i)
            for (kSize j = 0; j < 3; ++j)
                this->At(i, j) = (double)a[i] * (double)b[j];
        return kOK;
    }

    /** Element-wise sum and difference; the shapes must be equal (asserted; else no change). */
    Matrix& operator+=(const Matrix& m) requires MatrixNumeric<T>;
    Matrix& operator-=(const Matrix& m) requires MatrixNumeric<T>;
    Matrix& operator*=(T s) requires MatrixNumeric<T>;

    /** this = mᵀ. @return kOK; kSTATUS_MEMORY. */
    kStatus Transpose(const Matrix& m) requires MatrixNumeric<T>;
    /** Sum of the diagonal up to min(RowCount, ColumnCount). */
    double Trace() const requires MatrixNumeric<T>;
    /** Zero, then 1 on the diagonal up to min(RowCount, ColumnCount); the shape is kept. */
    kStatus Identity() requires MatrixNumeric<T>;

    /**
     * Copies row i into out, which is reshaped to ColumnCount elements.
     * @return kOK; kSTATUS_BAD_PARAMETER for i ≥ RowCount(); kSTATUS_MEMORY.
     */
    kStatus Row(kSize i, Array1<T>& out) const requires MatrixNumeric<T>;

    /**
     * Reshapes to rows × cols and copies count values of data in row order.
     * @return kOK; kSTATUS_BAD_PARAMETER unless count = rows × cols (this untouched);
     *         kSTATUS_MEMORY.
     */
    kStatus Assign(kSize rows, kSize cols, const T* data, kSize count) requires MatrixNumeric<T>;

    /**
     * Eigen-decomposition of this symmetric matrix (kMatrixDirect_Eigen): vectors receives the
     * unit eigenvectors as rows, values the eigenvalues in descending order. The matrix itself
     * is left as it was (the solver works on a copy).
     *
     * @return kOK; kSTATUS_FAILED (0) for a non-square matrix, without work;
     *         kSTATUS_BAD_PARAMETER for a non-finite element or an empty wrapper;
     *         kSTATUS_MEMORY.
     */
    kStatus Eigen(Matrix& vectors, Array1<T>& values) const requires MatrixNumeric<T>;

    /** 4 × 4 homogeneous form of t: its three rows, then (0, 0, 0, 1). */
    kStatus FromTransform3d(const kL3dTransform3d& t) requires MatrixNumeric<T>;
    /** Rows 0-2 of this 4 × 4 matrix (asserted; kSTATUS_FAILED otherwise) into t. */
    kStatus ToTransform3d(kL3dTransform3d& t) const requires MatrixNumeric<T>;

private:
    bool IsShape(kSize rows, kSize cols) const
    {
        return RowCount() == rows && ColumnCount() == cols;
    }
    /** Gives this the shape rows × cols (contents unspecified); an empty wrapper uses alloc. */
    kStatus Reshape(kSize rows, kSize cols, kAlloc alloc)
    {
        return this->IsNull() ? this->Init(rows, cols, alloc) : this->Allocate(rows, cols);
    }
    bool Aliases(const Matrix& m) const { return !this->IsNull() && m.Handle() == this->Handle(); }
};
} // namespace kpp::Data

#endif
