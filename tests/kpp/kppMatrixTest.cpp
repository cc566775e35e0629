// The data layer's matrix against Eigen and plain loops, its shape failures and its ownership.
#include <kSolan/kpp/Data/kppMatrix.h>

#include <kTestSupport.h>
#include "kppTestAssembly.h"

#include <Eigen/Dense>

#include <cstring>
#include <random>

namespace
{
using kpp::Data::Array1;
using kpp::Data::Array2;
using kpp::Data::Matrix;
using RowMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

k32s Refs(kObject o) { return kObject_RefCount(o); }

void Fill(Matrix<double>& m, kSize rows, kSize cols, kAlloc alloc, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    ASSERT_EQ(m.Init(rows, cols, alloc), kOK);
    for (kSize k = 0; k < m.Count(); ++k)
        m[k] = u(rng);
}

RowMatrix ToEigen(const Matrix<double>& m)
{
    return Eigen::Map<const RowMatrix>(m.Data(), (Eigen::Index)m.RowCount(),
                                       (Eigen::Index)m.ColumnCount());
}

void ExpectNear(const Matrix<double>& m, const RowMatrix& reference, double tolerance)
{
    ASSERT_EQ(m.RowCount(), (kSize)reference.rows());
    ASSERT_EQ(m.ColumnCount(), (kSize)reference.cols());
    EXPECT_LE((ToEigen(m) - reference).cwiseAbs().maxCoeff(), tolerance);
}

TEST(KppMatrix, MultiplyMatchesEigenAndTheAccumulationOrder)
{
    ktest::CountingAlloc alloc;
    Matrix<double> a, b, product;
    Fill(a, 3, 5, alloc, 1);
    Fill(b, 5, 2, alloc, 2);
    ASSERT_EQ(product.Multiply(a, b), kOK); // empty result: made from a's allocator
    EXPECT_EQ(product.Alloc(), alloc.get());
    ExpectNear(product, ToEigen(a) * ToEigen(b), 1e-14);
    for (kSize i = 0; i < 3; ++i)
        for (kSize j = 0; j < 2; ++j)
        {
            double sum = 0.0; // k = 0 upward, in double: bit-exact
            for (kSize k = 0; k < 5; ++k)
                sum += a.At(i, k) * b.At(k, j);
            EXPECT_EQ(product.At(i, j), sum);
        }

    // A result of another shape is reshaped in place; an operand may be the result.
    Matrix<double> square;
    Fill(square, 4, 4, alloc, 3);
    const RowMatrix squared = ToEigen(square) * ToEigen(square);
    kObject handle = square.Handle();
    ASSERT_EQ(square.Multiply(square, square), kOK);
    EXPECT_EQ(square.Handle(), handle);
    ExpectNear(square, squared, 1e-14);

    Matrix<double> m4a, m4b, m4;
    Fill(m4a, 4, 4, alloc, 4);
    Fill(m4b, 4, 4, alloc, 5);
    ASSERT_EQ(m4.Mult(m4a, m4b), kOK);
    ExpectNear(m4, ToEigen(m4a) * ToEigen(m4b), 1e-14);
}

TEST(KppMatrix, ShapeFailuresLeaveTheResultUntouched)
{
    ktest::CountingAlloc alloc;
    Matrix<double> a, b, result;
    Fill(a, 2, 3, alloc, 6);
    Fill(b, 2, 3, alloc, 7);
    Fill(result, 2, 2, alloc, 8);
    const RowMatrix before = ToEigen(result);
    kObject handle = result.Handle();
    EXPECT_EQ(result.Multiply(a, b), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(result.Handle(), handle);
    ExpectNear(result, before, 0.0);
    Matrix<double> empty;
    EXPECT_EQ(empty.Multiply(a, b), kSTATUS_BAD_PARAMETER);
    EXPECT_TRUE(empty.IsNull());

    const double data[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(result.Assign(2, 2, data, 6), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(result.Assign(4, 2, data, 6), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(result.Assign(kSIZE_MAX / 2 + 1, 2, data, 0), kSTATUS_BAD_PARAMETER); // no overflow
    EXPECT_EQ(result.Assign(3, 2, nullptr, 6), kSTATUS_BAD_PARAMETER);
    ExpectNear(result, before, 0.0);
    ASSERT_EQ(result.Assign(3, 2, data, 6), kOK);
    EXPECT_EQ(result.RowCount(), 3u);
    EXPECT_EQ(result.At(2, 0), 5.0);
    ASSERT_EQ(empty.Assign(1, 3, data, 3), kOK);
    EXPECT_EQ(empty.At(0, 2), 3.0);

    Array1<double> row;
    EXPECT_EQ(result.Row(3, row), kSTATUS_BAD_PARAMETER);
    EXPECT_TRUE(row.IsNull());

    // The fixed-shape operations assert and then do nothing.
    ktest::AssertCapture asserts;
    EXPECT_EQ(result.Mult(a, a), kSTATUS_FAILED);
    Matrix<double> sum;
    Fill(sum, 2, 3, alloc, 9);
    const RowMatrix sumBefore = ToEigen(sum);
    sum += result;
    sum -= result;
    ExpectNear(sum, sumBefore, 0.0);
    EXPECT_TRUE(sum.Mult(kpp::Point3d64f(1, 2, 3)).IsNull());
    EXPECT_EQ(sum.MultTranspose(kpp::Point3d64f(1, 2, 3), kpp::Point3d64f(1, 2, 3)),
              kSTATUS_FAILED);
    kL3dTransform3d t{};
    EXPECT_EQ(sum.ToTransform3d(t), kSTATUS_FAILED);
    EXPECT_EQ(asserts.Count(), 6);
}

TEST(KppMatrix, ElementwiseTransposeTraceIdentityRow)
{
    ktest::CountingAlloc alloc;
    Matrix<double> a, b;
    Fill(a, 3, 4, alloc, 10);
    Fill(b, 3, 4, alloc, 11);
    const RowMatrix ea = ToEigen(a), eb = ToEigen(b);

    a += b;
    ExpectNear(a, ea + eb, 0.0);
    a -= b;
    a -= b;
    ExpectNear(a, ea - eb, 1e-14);
    a *= -2.5;
    ExpectNear(a, (ea - eb) * -2.5, 1e-14);

    Matrix<double> t;
    ASSERT_EQ(t.Transpose(b), kOK);
    ExpectNear(t, eb.transpose(), 0.0);
    ASSERT_EQ(b.Transpose(b), kOK); // in place, non-square
    ExpectNear(b, eb.transpose(), 0.0);

    EXPECT_DOUBLE_EQ(t.Trace(), eb(0, 0) + eb(1, 1) + eb(2, 2)); // min(4, 3) terms
    ASSERT_EQ(t.Identity(), kOK);
    ExpectNear(t, RowMatrix::Identity(4, 3), 0.0);

    Array1<double> row;
    ASSERT_EQ(b.Row(2, row), kOK);
    ASSERT_EQ(row.Length(), 3u);
    for (kSize j = 0; j < 3; ++j)
        EXPECT_EQ(row.At(j), eb(j, 2));
    ASSERT_EQ(a.Row(0, row), kOK); // an existing output is reshaped
    EXPECT_EQ(row.Length(), 4u);
}

TEST(KppMatrix, OuterProductAndPointTransform)
{
    ktest::CountingAlloc alloc;
    Matrix<double> outer;
    ASSERT_EQ(outer.Init(3, 3, alloc.get()), kOK);
    const kpp::Point3d16s a(2, -3, 4);
    const kpp::Point3d16s b(5, 6, -7);
    ASSERT_EQ(outer.MultTranspose(a, b), kOK);
    for (kSize i = 0; i < 3; ++i)
        for (kSize j = 0; j < 3; ++j)
            EXPECT_EQ(outer.At(i, j), (double)a[i] * b[j]);

    // A projective 4 × 4 matrix against the direct formula.
    const double values[16] = {1.5, 0.25, -0.5, 3.0,  -1.0, 2.0, 0.75, -4.0,
                               0.5, 0.5,  1.25, 10.0, 0.0,  0.0, 0.5,  2.0};
    Matrix<double> m;
    ASSERT_EQ(m.Assign(4, 4, values, 16), kOK);
    const double x = 1.25, y = -2.5, z = 4.0;
    double r[4];
    for (int i = 0; i < 4; ++i)
        r[i] =
            values[4 * i] * x + values[4 * i + 1] * y + values[4 * i + 2] * z + values[4 * i + 3];
    const kpp::Point3d64f p = m.Mult(kpp::Point3d64f(x, y, z));
    EXPECT_EQ(p.x, r[0] / r[3]);
    EXPECT_EQ(p.y, r[1] / r[3]);
    EXPECT_EQ(p.z, r[2] / r[3]);
    const kpp::Point3d32f pf = m.Mult(kpp::Point3d32f((float)x, (float)y, (float)z));
    EXPECT_EQ(pf.z, (float)r[2] / (float)r[3]); // converted first, divided in float

    // 16-bit points: each sum truncated to short, then an integer division.
    const kpp::Point3d16s ps = m.Mult(kpp::Point3d16s(3, -2, 4));
    const double sx = 1.5 * 3 + 0.25 * -2 + -0.5 * 4 + 3.0; // 5.0
    const double sy = -1.0 * 3 + 2.0 * -2 + 0.75 * 4 - 4.0; // -8.0
    const double sz = 0.5 * 3 + 0.5 * -2 + 1.25 * 4 + 10.0; // 15.5
    const double sw = 0.5 * 4 + 2.0;                        // 4.0
    EXPECT_EQ(ps.x, (short)sx / (short)sw);
    EXPECT_EQ(ps.y, (short)sy / (short)sw);
    EXPECT_EQ(ps.z, (short)sz / (short)sw); // 15 / 4
    // w truncating to 0 gives the null point instead of a division by zero.
    const double zeroW[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.5};
    ASSERT_EQ(m.Assign(4, 4, zeroW, 16), kOK);
    EXPECT_TRUE(m.Mult(kpp::Point3d16s(1, 2, 3)).IsNull());
    EXPECT_EQ(m.Mult(kpp::Point3d64f(1, 2, 3)).z, 6.0);
}

TEST(KppMatrix, TransformRoundTripAgreesWithTheTransformHelpers)
{
    ktest::CountingAlloc alloc;
    kL3dTransform3d t;
    ASSERT_EQ(kL3dTransform3d_Identity(&t), kOK);
    ASSERT_EQ(kL3dTransform3d_Rotate(&t, &t, kL3D_AXIS_Z, 30.0), kOK);
    ASSERT_EQ(kL3dTransform3d_Rotate(&t, &t, kL3D_AXIS_X, -12.5), kOK);
    ASSERT_EQ(kL3dTransform3d_Translate(&t, &t, 4.0, -1.5, 20.0), kOK);

    Matrix<double> m;
    ASSERT_EQ(m.Init(alloc.get()), kOK);
    ASSERT_EQ(m.FromTransform3d(t), kOK);
    ASSERT_EQ(m.RowCount(), 4u);
    EXPECT_EQ(m.At(0, 3), t.xt);
    EXPECT_EQ(m.At(1, 0), t.yx);
    EXPECT_EQ(m.At(2, 2), t.zz);
    EXPECT_EQ(m.At(3, 0), 0.0);
    EXPECT_EQ(m.At(3, 3), 1.0);

    k64f x, y, z;
    ASSERT_EQ(kL3dTransform3d_Apply(&t, 1.0, 2.0, 3.0, &x, &y, &z), kOK);
    const kpp::Point3d64f p = m.Mult(kpp::Point3d64f(1.0, 2.0, 3.0));
    EXPECT_NEAR(p.x, x, 1e-12);
    EXPECT_NEAR(p.y, y, 1e-12);
    EXPECT_NEAR(p.z, z, 1e-12);

    // Composition as a matrix product matches kL3dTransform3d_Mul.
    kL3dTransform3d u, composed, back;
    ASSERT_EQ(kL3dTransform3d_Identity(&u), kOK);
    ASSERT_EQ(kL3dTransform3d_Scale(&u, &u, 2.0, 0.5, -1.0), kOK);
    ASSERT_EQ(kL3dTransform3d_Mul(&composed, &t, &u), kOK);
    Matrix<double> mu, product;
    ASSERT_EQ(mu.FromTransform3d(u), kOK); // empty wrapper: default allocator
    ASSERT_EQ(product.Multiply(m, mu), kOK);
    ASSERT_EQ(product.ToTransform3d(back), kOK);
    const double* got = &back.xx;
    const double* want = &composed.xx;
    for (int k = 0; k < 12; ++k)
        EXPECT_NEAR(got[k], want[k], 1e-12) << k;
    ASSERT_EQ(m.ToTransform3d(back), kOK);
    EXPECT_EQ(std::memcmp(&back, &t, sizeof(t)), 0);
}

TEST(KppMatrix, EigenMatchesEigenLibrary)
{
    ktest::CountingAlloc alloc;
    Matrix<double> m;
    Fill(m, 5, 5, alloc, 12);
    Matrix<double> transposed;
    ASSERT_EQ(transposed.Transpose(m), kOK);
    m += transposed; // symmetric
    const RowMatrix before = ToEigen(m);

    Matrix<double> vectors;
    Array1<double> values;
    ASSERT_EQ(m.Eigen(vectors, values), kOK);
    ExpectNear(m, before, 0.0); // the matrix is left as it was
    ASSERT_EQ(values.Length(), 5u);
    ASSERT_EQ(vectors.RowCount(), 5u);

    Eigen::SelfAdjointEigenSolver<RowMatrix> solver(before);
    const Eigen::VectorXd reference = solver.eigenvalues(); // ascending
    for (kSize i = 0; i < 5; ++i)
    {
        EXPECT_NEAR(values.At(i), reference(4 - (Eigen::Index)i), 1e-10);
        const Eigen::VectorXd v = ToEigen(vectors).row((Eigen::Index)i).transpose();
        EXPECT_NEAR(std::abs(v.dot(solver.eigenvectors().col(4 - (Eigen::Index)i))), 1.0, 1e-9);
        EXPECT_LE((before * v - values.At(i) * v).norm(), 1e-10);
    }

    Matrix<double> wide, untouched;
    Fill(wide, 2, 3, alloc, 13);
    Array1<double> none;
    EXPECT_EQ(wide.Eigen(untouched, none), kSTATUS_FAILED); // 0, without work
    EXPECT_TRUE(untouched.IsNull());
    EXPECT_TRUE(none.IsNull());

    m.At(1, 3) = m.At(3, 1) = std::nan("");
    EXPECT_EQ(m.Eigen(vectors, values), kSTATUS_BAD_PARAMETER);
    Matrix<double> empty;
    EXPECT_EQ(empty.Eigen(vectors, values), kSTATUS_BAD_PARAMETER);
}

TEST(KppMatrix, OwnershipAcrossCopyAttachExportDisposeLoad)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    const std::string path = dir.File("m.kdat");
    {
        Matrix<double> m;
        Fill(m, 2, 3, alloc, 14);
        kObject handle = m.Handle();
        {
            Matrix<double> copy(m);
            EXPECT_EQ(Refs(handle), 2);
            Matrix<double> attached;
            ASSERT_EQ(attached.Attach(m), kOK);
            EXPECT_EQ(Refs(handle), 3);
            void* exported = nullptr;
            ASSERT_EQ(m.Export(exported), kOK);
            EXPECT_EQ(Refs(handle), 4);
            EXPECT_EQ(kObject_Dispose(exported), kOK);
            EXPECT_EQ(copy.Dispose(), kOK); // only a share goes
            EXPECT_TRUE(copy.IsNull());
            EXPECT_EQ(Refs(handle), 2);
        }
        EXPECT_EQ(Refs(handle), 1);

        // Any kArray2 of k64f is a matrix; other item types and classes are refused.
        Array2<double> array;
        ASSERT_EQ(array.Attach(m), kOK);
        Matrix<double> back;
        ASSERT_EQ(back.Attach(array), kOK);
        EXPECT_EQ(Refs(handle), 3);
        Matrix<float> floats;
        EXPECT_EQ(floats.Attach(m), kSTATUS_BAD_PARAMETER);
        Array1<double> line;
        ASSERT_EQ(line.Init(3, alloc.get()), kOK);
        EXPECT_EQ(back.Attach(line), kSTATUS_BAD_PARAMETER);
        EXPECT_TRUE(back.IsNull());
        EXPECT_EQ(Refs(handle), 2);
        EXPECT_EQ(array.Destroy(), kOK);
        EXPECT_EQ(Refs(handle), 1);

        ASSERT_EQ(m.Save6(path), kOK);
        Matrix<double> loaded;
        ASSERT_EQ(loaded.Load6(path, alloc.get()), kOK);
        EXPECT_EQ(Refs(loaded.Handle()), 1);
        ExpectNear(loaded, ToEigen(m), 0.0);
        EXPECT_EQ(loaded.Load6(path, alloc.get()), kSTATUS_BAD_PARAMETER); // not empty
        EXPECT_EQ(floats.Load6(path, alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_TRUE(floats.IsNull());

        // Matrix<float> stores and reads.
        ASSERT_EQ(floats.Init(2, 2, alloc.get()), kOK);
        floats.At(1, 0) = 2.5f;
        EXPECT_EQ(floats[2], 2.5f);
        EXPECT_EQ(floats.ColumnCount(), 2u);
        ASSERT_EQ(floats.Save6(dir.File("f.kdat")), kOK);
        Matrix<float> floatsLoaded;
        ASSERT_EQ(floatsLoaded.Load6(dir.File("f.kdat"), alloc.get()), kOK);
        EXPECT_EQ(floatsLoaded.At(1, 0), 2.5f);
    }
    EXPECT_EQ(alloc.Outstanding(), 0u);
}

TEST(KppMatrix, OperationsFailCleanlyWithoutMemory)
{
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* handle)
        {
            Matrix<double> a, product;
            kStatus status = a.Init(3, 3, alloc);
            if (kSuccess(status)) status = a.Identity();
            if (kSuccess(status)) status = product.Multiply(a, a);
            if (kSuccess(status)) status = product.Transpose(product);
            if (kSuccess(status)) product.Export(*handle);
            return status;
        });
    ktest::ExpectCleanFailures(
        [](kAlloc alloc, kObject* handle)
        {
            Matrix<double> a, vectors;
            Array1<double> values;
            kStatus status = a.Init(2, 2, alloc);
            if (kSuccess(status)) status = a.Identity();
            if (kSuccess(status)) status = a.Eigen(vectors, values);
            if (kSuccess(status)) vectors.Export(*handle);
            return status;
        });
}
} // namespace
