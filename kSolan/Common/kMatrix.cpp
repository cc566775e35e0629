/* Dense k64f matrices held in kArray2. */
#include <kSolan/Common/kMatrix.x.h>

#include <cmath>

namespace
{
/* The pivot index lists of the inverse hold this many entries. */
constexpr kSize kMATRIX_INVERT_MAX = 100;
/* Inverses up to this order work in a stack buffer instead of a heap copy. */
constexpr kSize kMATRIX_INVERT_LOCAL = 16;
/* Elimination results below this fraction of the value they replace are cancellation noise. */
constexpr k64f kMATRIX_FLUSH = 0x1p-51; // 4.440892098500626e-16
/* Least squares refuses normal equations whose determinant is at most this (absolute). */
constexpr k64f kMATRIX_MIN_NORMAL_DET = 0.001;

/* Row-major view of a matrix already checked by xkMatrix_Is64f. */
struct View
{
    k64f* data;
    kSize rows;
    kSize columns;

    explicit View(kArray2 matrix)
        : data(static_cast<k64f*>(kArray2_Data(matrix))), rows(kArray2_Length(matrix, 0)),
          columns(kArray2_Length(matrix, 1))
    {
    }
    k64f& operator()(kSize row, kSize column) const { return data[row * columns + column]; }
    kSize Count() const { return rows * columns; }
    bool SameShape(const View& other) const
    {
        return rows == other.rows && columns == other.columns;
    }
};

/* destination[i] = op(source[i]) over the source's element count. */
template <typename Op>
kStatus MapConstant(kArray2 source, kArray2 destination, Op op)
{
    kMatrixAssert(xkMatrix_Is64f(source) && xkMatrix_Is64f(destination));
    View s(source), d(destination);
    kMatrixAssert(d.Count() >= s.Count());
    for (kSize i = 0; i < s.Count(); ++i)
        d.data[i] = op(s.data[i]);
    return kOK;
}

/* destination[i] = op(a[i], b[i]) over three matrices of one shape. */
template <typename Op>
kStatus MapPair(kArray2 a, kArray2 b, kArray2 destination, Op op)
{
    kMatrixAssert(xkMatrix_Is64f(a) && xkMatrix_Is64f(b) && xkMatrix_Is64f(destination));
    View va(a), vb(b), d(destination);
    kMatrixAssert(va.SameShape(vb) && va.SameShape(d));
    for (kSize i = 0; i < d.Count(); ++i)
        d.data[i] = op(va.data[i], vb.data[i]);
    return kOK;
}

/*
 * Gauss–Jordan inverse of the n×n row-major w in place, full pivoting. Exchanges negate one
 * of the two lines so that they keep the determinant; the product of the pivots is then the
 * determinant without a sign to track. On a zero pivot w is left partly eliminated.
 */
kStatus GaussJordan(k64f* w, kSize n, k64f* determinant)
{
    auto W = [w, n](kSize i, kSize j) -> k64f& { return w[i * n + j]; };
    kSize rowIdx[kMATRIX_INVERT_MAX], colIdx[kMATRIX_INVERT_MAX];
    k64f det = 1;

    for (kSize k = 0; k < n; ++k)
    {
        kSize pr = k, pc = k;
        k64f big = W(k, k);
        for (kSize i = k; i < n; ++i)
        {
            for (kSize j = k; j < n; ++j)
            {
                if (std::fabs(W(i, j)) > std::fabs(big))
                {
                    big = W(i, j);
                    pr = i;
                    pc = j;
                }
            }
        }
        rowIdx[k] = pr;
        colIdx[k] = pc;

        if (pr > k)
        {
            for (kSize j = 0; j < n; ++j)
            {
                k64f t = -W(k, j);
                W(k, j) = W(pr, j);
                W(pr, j) = t;
            }
        }
        if (pc > k)
        {
            for (kSize i = 0; i < n; ++i)
            {
                k64f t = -W(i, k);
                W(i, k) = W(i, pc);
                W(i, pc) = t;
            }
        }
        if (big == 0)
        {
            if (determinant) *determinant = 0;
            return kSTATUS_FAILED;
        }

        for (kSize i = 0; i < n; ++i)
        {
            if (i != k) W(i, k) = -W(i, k) / big;
        }
        for (kSize i = 0; i < n; ++i)
        {
            if (i == k) continue;
            for (kSize j = 0; j < n; ++j)
            {
                if (j != k) W(i, j) = W(i, j) + W(k, j) * W(i, k);
            }
        }
        for (kSize j = 0; j < n; ++j)
        {
            if (j != k) W(k, j) = W(k, j) / big;
        }
        det = det * big;
        W(k, k) = 1 / big;
    }

    // Undo the exchanges in reverse: a row exchange of the source is a column exchange of the
    // inverse and vice versa, again negating one line. The last step never exchanges.
    for (kSize m = n; m >= 2; --m)
    {
        kSize k = m - 2;
        if (rowIdx[k] > k)
        {
            kSize i = rowIdx[k];
            for (kSize j = 0; j < n; ++j)
            {
                k64f hold = W(j, k);
                W(j, k) = -W(j, i);
                W(j, i) = hold;
            }
        }
        if (colIdx[k] > k)
        {
            kSize j = colIdx[k];
            for (kSize i = 0; i < n; ++i)
            {
                k64f hold = W(k, i);
                W(k, i) = -W(j, i);
                W(j, i) = hold;
            }
        }
    }
    if (determinant) *determinant = det;
    return kOK;
}
} // namespace

bool xkMatrix_Is64f(kArray2 matrix)
{
    return matrix && kObject_Is(matrix, kTypeOf(kArray2)) &&
           kArray2_ItemType(matrix) == kTypeOf(k64f) &&
           (kArray2_Count(matrix) == 0 || kArray2_At(matrix, 0, 0) != kNULL);
}

kFx(k64f*) kMatrix_At(kArray2 matrix, kSize row, kSize column)
{
    bool valid = xkMatrix_Is64f(matrix);
    kAssert(valid);
    if (!valid) return kNULL;
    View m(matrix);
    return (row < m.rows && column < m.columns) ? &m(row, column) : kNULL;
}

kFx(kSize) kMatrix_Rows(kArray2 matrix)
{
    bool valid = xkMatrix_Is64f(matrix);
    kAssert(valid);
    return valid ? kArray2_Length(matrix, 0) : 0;
}

kFx(kSize) kMatrix_Columns(kArray2 matrix)
{
    bool valid = xkMatrix_Is64f(matrix);
    kAssert(valid);
    return valid ? kArray2_Length(matrix, 1) : 0;
}

kFx(kStatus) kMatrix_Set64f(kArray2 matrix, k64f value)
{
    return MapConstant(matrix, matrix, [value](k64f) { return value; });
}

kFx(kStatus) kMatrix_SetIdentity64f(kArray2 matrix)
{
    kMatrixAssert(xkMatrix_Is64f(matrix));
    View m(matrix);
    for (kSize i = 0; i < m.rows; ++i)
    {
        for (kSize j = 0; j < m.columns; ++j)
            m(i, j) = (i == j) ? 1.0 : 0.0;
    }
    return kOK;
}

kFx(kStatus) kMatrix_AddC64f(kArray2 source, kArray2 destination, k64f constant)
{
    return MapConstant(source, destination, [constant](k64f v) { return v + constant; });
}

kFx(kStatus) kMatrix_SubC64f(kArray2 source, kArray2 destination, k64f constant)
{
    return MapConstant(source, destination, [constant](k64f v) { return v - constant; });
}

kFx(kStatus) kMatrix_MulC64f(kArray2 source, kArray2 destination, k64f constant)
{
    return MapConstant(source, destination, [constant](k64f v) { return v * constant; });
}

kFx(kStatus) kMatrix_DivC64f(kArray2 source, kArray2 destination, k64f constant)
{
    return MapConstant(source, destination, [constant](k64f v) { return v / constant; });
}

kFx(kStatus) kMatrix_Add64f(kArray2 a, kArray2 b, kArray2 destination)
{
    return MapPair(a, b, destination, [](k64f x, k64f y) { return x + y; });
}

kFx(kStatus) kMatrix_Sub64f(kArray2 a, kArray2 b, kArray2 destination)
{
    return MapPair(a, b, destination, [](k64f x, k64f y) { return x - y; });
}

kFx(kStatus) kMatrix_Mul64f(kArray2 a, kArray2 b, kArray2 destination)
{
    kMatrixAssert(xkMatrix_Is64f(a) && xkMatrix_Is64f(b) && xkMatrix_Is64f(destination));
    View va(a), vb(b), d(destination);
    kMatrixAssert(va.columns == vb.rows && d.rows == va.rows && d.columns == vb.columns);
    kMatrixAssert(destination != a && destination != b);

    for (kSize i = 0; i < d.rows; ++i)
    {
        for (kSize c = 0; c < d.columns; ++c)
        {
            k64f sum = 0;
            for (kSize j = 0; j < va.columns; ++j)
                sum += va(i, j) * vb(j, c);
            d(i, c) = sum;
        }
    }
    return kOK;
}

kFx(kStatus) kMatrix_Copy(kArray2 source, kArray2 destination)
{
    kMatrixAssert(xkMatrix_Is64f(source) && xkMatrix_Is64f(destination));
    View s(source), d(destination);
    if (!s.SameShape(d)) return kSTATUS_FAILED;
    if (s.data != d.data) kMemCopy(d.data, s.data, s.Count() * sizeof(k64f));
    return kOK;
}

kFx(kStatus) kMatrix_Transpose(kArray2 source, kArray2 destination)
{
    kMatrixAssert(xkMatrix_Is64f(source) && xkMatrix_Is64f(destination));
    View s(source), d(destination);
    if (s.rows != d.columns || s.columns != d.rows) return kSTATUS_FAILED;
    kMatrixAssert(source != destination);
    for (kSize i = 0; i < s.rows; ++i)
    {
        for (kSize j = 0; j < s.columns; ++j)
            d(j, i) = s(i, j);
    }
    return kOK;
}

kFx(kStatus) kMatrix_Invert(kArray2 source, kArray2 destination, k64f* determinant)
{
    kMatrixAssert(xkMatrix_Is64f(source) && xkMatrix_Is64f(destination));
    View s(source), d(destination);
    if (s.rows != s.columns || !s.SameShape(d)) return kSTATUS_FAILED;
    if (s.rows > kMATRIX_INVERT_MAX) return kSTATUS_FAILED;

    const kSize n = s.rows;
    const kSize bytes = n * n * sizeof(k64f);
    k64f local[kMATRIX_INVERT_LOCAL * kMATRIX_INVERT_LOCAL];
    k64f* w = local;
    if (n > kMATRIX_INVERT_LOCAL) kCheck(kMemAlloc(bytes, &w));

    kMemCopy(w, s.data, bytes);
    kStatus status = GaussJordan(w, n, determinant);
    if (kSuccess(status)) kMemCopy(d.data, w, bytes);

    if (w != local) kMemFree(w);
    return status;
}

kFx(kStatus) kMatrix_Solve64f(kArray2 matrix)
{
    kMatrixAssert(xkMatrix_Is64f(matrix));
    View M(matrix);
    const kSize R = M.rows, C = M.columns;
    if (R == 0 || C <= R) return kSTATUS_BAD_PARAMETER;

    for (kSize i = 0; i < R; ++i)
    {
        kSize pivot = i;
        for (kSize r = i + 1; r < R; ++r)
        {
            if (std::fabs(M(r, i)) > std::fabs(M(pivot, i))) pivot = r;
        }
        if (pivot != i)
        {
            for (kSize c = 0; c < C; ++c)
            {
                k64f t = M(i, c);
                M(i, c) = M(pivot, c);
                M(pivot, c) = t;
            }
        }
        if (M(i, i) == 0) return kSTATUS_BAD_PARAMETER;

        for (kSize r = i + 1; r < R; ++r)
        {
            k64f f = M(r, i) / M(i, i);
            for (kSize c = i; c < C; ++c)
            {
                k64f old = M(r, c);
                M(r, c) = old - M(i, c) * f;
                if (std::fabs(M(r, c)) < std::fabs(kMATRIX_FLUSH * old)) M(r, c) = 0;
            }
        }
    }

    for (kSize i = R; i-- > 0;)
    {
        k64f diagonal = M(i, i);
        for (kSize c = i; c < C; ++c)
            M(i, c) = M(i, c) / diagonal;
        for (kSize r = i; r-- > 0;)
        {
            k64f f = M(r, i);
            for (kSize c = i; c < C; ++c)
                M(r, c) = M(r, c) - M(i, c) * f;
        }
    }
    return kOK;
}

kFx(kStatus) kMatrix_SolveSystem(kArray2 a, kArray2 x, kArray2 b)
{
    kMatrixAssert(xkMatrix_Is64f(a) && xkMatrix_Is64f(x) && xkMatrix_Is64f(b));
    View va(a), vx(x), vb(b);
    if (va.rows != vb.rows || vx.columns != vb.columns || va.columns > va.rows)
        return kSTATUS_FAILED;

    const kSize m = va.rows, n = va.columns;
    kArray2 at = kNULL, ata = kNULL, inverse = kNULL, projection = kNULL;
    k64f det = 0;
    kStatus status;

    kTest(kArray2_Construct(&at, kTypeOf(k64f), n, m, kNULL));
    kTest(kMatrix_Transpose(a, at));
    kTest(kArray2_Construct(&ata, kTypeOf(k64f), n, n, kNULL));
    kTest(kMatrix_Mul64f(at, a, ata));
    kTest(kArray2_Construct(&inverse, kTypeOf(k64f), n, n, kNULL));
    kTest(kMatrix_Invert(ata, inverse, &det));
    if (std::fabs(det) <= kMATRIX_MIN_NORMAL_DET)
    {
        status = kSTATUS_FAILED;
        goto cleanup;
    }
    kTest(kArray2_Construct(&projection, kTypeOf(k64f), n, m, kNULL));
    kTest(kMatrix_Mul64f(inverse, at, projection));
    kTest(kMatrix_Mul64f(projection, b, x));

cleanup:
    kDestroyRef(&projection);
    kDestroyRef(&inverse);
    kDestroyRef(&ata);
    kDestroyRef(&at);
    return status;
}
