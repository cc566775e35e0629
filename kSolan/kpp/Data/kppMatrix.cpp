#include <kSolan/kpp/Data/kppMatrix.h>

#include <kSolan/Common/kMatrixDirect.h>

#include <cstring>

namespace kpp::Data
{
template <typename T>
kStatus Matrix<T>::Multiply(const Matrix& a, const Matrix& b) requires MatrixNumeric<T>
{
    kCheckArgs(a.ColumnCount() == b.RowCount());
    if (Aliases(a) || Aliases(b))
    {
        Matrix product;
        kCheck(product.Multiply(a, b));
        return Assign(product);
    }

    const kSize rows = a.RowCount(), inner = a.ColumnCount(), cols = b.ColumnCount();
    kCheck(Reshape(rows, cols, a.Alloc()));
    const T* left = a.Data();
    const T* right = b.Data();
    T* out = this->Data();
    for (kSize i = 0; i < rows; ++i)
        for (kSize j = 0; j < cols; ++j)
        {
            double sum = 0.0;
            for (kSize k = 0; k < inner; ++k)
                sum += left[i * inner + k] * right[k * cols + j];
            out[i * cols + j] = sum;
        }
    return kOK;
}

template <typename T>
kStatus Matrix<T>::Mult(const Matrix& a, const Matrix& b) requires MatrixNumeric<T>
{
    const bool square4 = a.IsShape(4, 4) && b.IsShape(4, 4);
    kAssert(square4);
    if (!square4) return kSTATUS_FAILED;
    return Multiply(a, b);
}

template <typename T>
Matrix<T>& Matrix<T>::operator+=(const Matrix& m) requires MatrixNumeric<T>
{
    const bool same = IsShape(m.RowCount(), m.ColumnCount());
    kAssert(same);
    if (same)
        for (kSize k = 0; k < this->Count(); ++k)
            this->Data()[k] += m.Data()[k];
    return *this;
}

template <typename T>
Matrix<T>& Matrix<T>::operator-=(const Matrix& m) requires MatrixNumeric<T>
{
    const bool same = IsShape(m.RowCount(), m.ColumnCount());
    kAssert(same);
    if (same)
        for (kSize k = 0; k < this->Count(); ++k)
            this->Data()[k] -= m.Data()[k];
    return *this;
}

template <typename T>
Matrix<T>& Matrix<T>::operator*=(T s) requires MatrixNumeric<T>
{
    for (kSize k = 0; k < this->Count(); ++k)
        this->Data()[k] *= s;
    return *this;
}

template <typename T>
kStatus Matrix<T>::Transpose(const Matrix& m) requires MatrixNumeric<T>
{
    if (Aliases(m))
    {
        Matrix transposed;
        kCheck(transposed.Transpose(m));
        return Assign(transposed);
    }
    const kSize rows = m.RowCount(), cols = m.ColumnCount();
    kCheck(Reshape(cols, rows, m.Alloc()));
    for (kSize i = 0; i < rows; ++i)
        for (kSize j = 0; j < cols; ++j)
            this->At(j, i) = m.At(i, j);
    return kOK;
}

template <typename T>
double Matrix<T>::Trace() const requires MatrixNumeric<T>
{
    const kSize n = Math::Min(RowCount(), ColumnCount());
    double sum = 0.0;
    for (kSize i = 0; i < n; ++i)
        sum += this->At(i, i);
    return sum;
}

template <typename T>
kStatus Matrix<T>::Identity() requires MatrixNumeric<T>
{
    kCheck(this->Zero());
    const kSize n = Math::Min(RowCount(), ColumnCount());
    for (kSize i = 0; i < n; ++i)
        this->At(i, i) = 1.0;
    return kOK;
}

template <typename T>
kStatus Matrix<T>::Row(kSize i, Array1<T>& out) const requires MatrixNumeric<T>
{
    kCheckArgs(i < RowCount());
    const kSize cols = ColumnCount();
    kCheck(out.IsNull() ? out.Init(cols, this->Alloc()) : out.Allocate(cols));
    if (cols) std::memcpy(out.Data(), &this->At(i, 0), cols * sizeof(T));
    return kOK;
}

template <typename T>
kStatus Matrix<T>::Assign(kSize rows, kSize cols, const T* data,
                          kSize count) requires MatrixNumeric<T>
{
    // count = rows × cols, tested without forming the product (it could overflow).
    kCheckArgs(cols == 0 ? count == 0 : count % cols == 0 && count / cols == rows);
    kCheckArgs(data || count == 0);
    kCheck(Reshape(rows, cols, this->Alloc()));
    if (count) std::memcpy(this->Data(), data, count * sizeof(T));
    return kOK;
}

template <typename T>
kStatus Matrix<T>::Eigen(Matrix& vectors, Array1<T>& values) const requires MatrixNumeric<T>
{
    const kSize n = RowCount();
    if (ColumnCount() != n) return kSTATUS_FAILED;

    Matrix scratch;
    kCheck(scratch.Assign(*this));
    kCheck(vectors.Reshape(n, n, this->Alloc()));
    kCheck(values.IsNull() ? values.Init(n, this->Alloc()) : values.Allocate(n));
    return kMatrixDirect_Eigen(scratch.Data(), vectors.Data(), values.Data(), n);
}

template <typename T>
kStatus Matrix<T>::FromTransform3d(const kL3dTransform3d& t) requires MatrixNumeric<T>
{
    const double values[16] = {t.xx, t.xy, t.xz, t.xt, t.yx, t.yy, t.yz, t.yt,
                               t.zx, t.zy, t.zz, t.zt, 0.0,  0.0,  0.0,  1.0};
    kCheck(Reshape(4, 4, this->Alloc()));
    std::memcpy(this->Data(), values, sizeof(values));
    return kOK;
}

template <typename T>
kStatus Matrix<T>::ToTransform3d(kL3dTransform3d& t) const requires MatrixNumeric<T>
{
    const bool square4 = IsShape(4, 4);
    kAssert(square4);
    if (!square4) return kSTATUS_FAILED;
    const double* m = this->Data();
    t = kL3dTransform3d{m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11]};
    return kOK;
}

template class Matrix<double>;
} // namespace kpp::Data
