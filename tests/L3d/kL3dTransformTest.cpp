// Laser-family transforms against direct matrix arithmetic; the 16-bit point transform against
// a double reference with rounding half away from zero and saturation.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/L3d/kL3dTransform.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace
{
using Mat4 = std::array<std::array<double, 4>, 4>;

Mat4 ToMat(const kL3dTransform3d& t)
{
    const double* v = &t.xx;
    Mat4 m{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            m[i][j] = v[4 * i + j];
    m[3][3] = 1.0;
    return m;
}

Mat4 MatMul(const Mat4& a, const Mat4& b)
{
    Mat4 r{};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k)
                r[i][j] += a[i][k] * b[k][j];
    return r;
}

void ExpectNear(const Mat4& a, const Mat4& b, double tol)
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(a[i][j], b[i][j], tol) << i << "," << j;
}

kL3dTransform3d Rigid()
{
    kL3dTransform3d t;
    kL3dTransform3d_Identity(&t);
    EXPECT_EQ(kL3dTransform3d_Rotate(&t, &t, kL3D_AXIS_X, 12.5), kOK);
    EXPECT_EQ(kL3dTransform3d_Rotate(&t, &t, kL3D_AXIS_Y, -31.0), kOK);
    EXPECT_EQ(kL3dTransform3d_Rotate(&t, &t, kL3D_AXIS_Z, 47.0), kOK);
    EXPECT_EQ(kL3dTransform3d_Translate(&t, &t, 10.0, -4.5, 250.0), kOK);
    return t;
}

// Independent reference: the world-unit transform evaluated in plain double arithmetic.
k16s Reference16s(double v)
{
    double r = v >= 0 ? std::floor(v + 0.5) : -std::floor(-v + 0.5);
    if (r > 32767) r = 32767;
    if (r < -32767) r = -32767;
    return (k16s)r;
}
} // namespace

TEST(L3dTransform2d, ComposesAsMatrices)
{
    kL3dTransform2d t, r;
    kL3dTransform2d_Identity(&t);
    kL3dTransform2d_Rotate(&t, &t, 90.0);
    kL3dTransform2d_Translate(&t, &t, 3.0, -2.0);
    k64f x, y;
    kL3dTransform2d_Apply(&t, 1.0, 0.0, &x, &y);
    EXPECT_NEAR(x, 3.0, 1e-12);
    EXPECT_NEAR(y, -1.0, 1e-12);

    // Scale multiplies rows, translation included: a flip of X.
    kL3dTransform2d_Scale(&r, &t, -1.0, 2.0);
    EXPECT_EQ(r.xx, -t.xx);
    EXPECT_EQ(r.xt, -3.0);
    EXPECT_EQ(r.yt, -4.0);

    const kL3dTransform2d a = {1, 2, 3, 4, 5, 6}, b = {-1, 0.5, 2, 3, -2, 1};
    kL3dTransform2d_Mul(&r, &a, &b);
    EXPECT_EQ(r.xx, 1 * -1 + 2 * 3.0);
    EXPECT_EQ(r.xy, 1 * 0.5 + 2 * -2.0);
    EXPECT_EQ(r.xt, 1 * 2 + 2 * 1.0 + 3);
    EXPECT_EQ(r.yt, 4 * 2 + 5 * 1.0 + 6);

    const k64f xs[] = {1.0, k64F_NULL}, ys[] = {2.0, 7.0};
    k64f xo[2], yo[2];
    kL3dTransform2d_ApplyN(&a, xs, ys, 2, xo, yo);
    EXPECT_EQ(xo[0], 1 + 4 + 3.0);
    EXPECT_EQ(yo[0], 4 + 10 + 6.0);
    EXPECT_EQ(xo[1], k64F_NULL);
    EXPECT_EQ(yo[1], 7.0);
}

TEST(L3dTransform3d, MatchesMatrixArithmetic)
{
    const kL3dTransform3d a = Rigid();
    kL3dTransform3d b = {1.5, 0.2, -0.3, 4, 0.1, 0.9, 0.0, -2, 0.05, 0.4, 1.1, 8};
    kL3dTransform3d ab;
    ASSERT_EQ(kL3dTransform3d_Mul(&ab, &a, &b), kOK);
    ExpectNear(ToMat(ab), MatMul(ToMat(a), ToMat(b)), 1e-12);

    kL3dTransform3d s;
    kL3dTransform3d_Scale(&s, &b, 2.0, -1.0, 0.5);
    const Mat4 S = {{{2, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, 0.5, 0}, {0, 0, 0, 1}}};
    ExpectNear(ToMat(s), MatMul(S, ToMat(b)), 1e-15);

    kL3dTransform3d inv, id;
    ASSERT_EQ(kL3dTransform3d_InvertOrtho(&inv, &a), kOK);
    kL3dTransform3d_Mul(&id, &inv, &a);
    kL3dTransform3d eye;
    kL3dTransform3d_Identity(&eye);
    ExpectNear(ToMat(id), ToMat(eye), 1e-12);
    kL3dTransform3d_Mul(&id, &a, &inv);
    ExpectNear(ToMat(id), ToMat(eye), 1e-12);

    k64f x, y, z;
    kL3dTransform3d_Apply(&b, 1.0, 2.0, 3.0, &x, &y, &z);
    EXPECT_DOUBLE_EQ(x, 1.5 + 0.4 - 0.9 + 4);
    EXPECT_DOUBLE_EQ(z, 0.05 + 0.8 + 3.3 + 8);

    EXPECT_EQ(kL3dTransform3d_Rotate(&s, &b, 7, 10.0), kSTATUS_BAD_PARAMETER);

    // A quarter turn about Z takes X to Y.
    kL3dTransform3d_Identity(&s);
    kL3dTransform3d_Rotate(&s, &s, kL3D_AXIS_Z, 90.0);
    kL3dTransform3d_Apply(&s, 1.0, 0.0, 0.0, &x, &y, &z);
    EXPECT_NEAR(x, 0.0, 1e-15);
    EXPECT_NEAR(y, 1.0, 1e-15);
}

TEST(L3dTransform3d, ApplyNPoint3d64fKeepsNulls)
{
    const kL3dTransform3d t = Rigid();
    std::vector<kPoint3d64f> pts(10000);
    for (size_t i = 0; i < pts.size(); ++i)
        pts[i] = {i % 7 == 0 ? k64F_NULL : 0.5 * i, -1.0 * i, 3.0};
    std::vector<kPoint3d64f> out(pts.size());
    ASSERT_EQ(kL3dTransform3d_ApplyNPoint3d64f(&t, pts.data(), pts.size(), out.data()), kOK);
    k64f xs[1], ys[1], zs[1];
    for (size_t i = 0; i < pts.size(); ++i)
    {
        kL3dTransform3d_ApplyN(&t, &pts[i].x, &pts[i].y, &pts[i].z, 1, xs, ys, zs);
        ASSERT_EQ(memcmp(&out[i].x, xs, 8), 0) << i;
        ASSERT_EQ(memcmp(&out[i].y, ys, 8), 0) << i;
        ASSERT_EQ(memcmp(&out[i].z, zs, 8), 0) << i;
    }
    EXPECT_EQ(out[7].x, k64F_NULL);
    EXPECT_EQ(out[7].y, -7.0);
}

TEST(L3dTransform3d, ApplyNPoint3d16sAgainstDoubleReference)
{
    const kL3dTransform3d t = Rigid();
    const k64f xRes = 0.05, yRes = 0.1, zRes = 0.02;
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> d(-32767, 32767);
    std::vector<kPoint3d16s> pts(20000);
    for (auto& p : pts)
        p = {(k16s)d(rng), (k16s)d(rng), (k16s)d(rng)};
    pts[3] = {k16S_NULL, 5, 6};
    pts[4] = {5, 6, k16S_NULL};
    pts[5] = {32767, 32767, 32767};

    std::vector<kPoint3d16s> out(pts.size());
    ASSERT_EQ(
        kL3dTransform3d_ApplyNPoint3d16s(&t, pts.data(), pts.size(), out.data(), xRes, yRes, zRes),
        kOK);
    const double* m = &t.xx;
    const double res[3] = {xRes, yRes, zRes};
    int saturated = 0;
    for (size_t i = 0; i < pts.size(); ++i)
    {
        const kPoint3d16s p = pts[i];
        if (p.x == k16S_NULL || p.z == k16S_NULL)
        {
            EXPECT_EQ(memcmp(&out[i], &p, sizeof(p)), 0);
            continue;
        }
        const double w[3] = {p.x * xRes, p.y * yRes, p.z * zRes};
        const k16s* o = &out[i].x;
        for (int r = 0; r < 3; ++r)
        {
            const double v =
                (m[4 * r] * w[0] + m[4 * r + 1] * w[1] + m[4 * r + 2] * w[2] + m[4 * r + 3]) /
                res[r];
            const k16s expect = Reference16s(v);
            // Exact unless the value lies within rounding noise of a half.
            if (std::fabs(std::fabs(v - std::trunc(v)) - 0.5) > 1e-6)
            {
                ASSERT_EQ(o[r], expect) << i << " row " << r << " v " << v;
            }
            saturated += std::fabs(v) > 32767;
        }
    }
    EXPECT_GT(saturated, 0);

    // Parallel (large count) and serial (one point at a time) are bit-identical.
    for (size_t i = 0; i < pts.size(); i += 37)
    {
        kPoint3d16s one;
        kL3dTransform3d_ApplyNPoint3d16s(&t, &pts[i], 1, &one, xRes, yRes, zRes);
        ASSERT_EQ(memcmp(&one, &out[i], sizeof(one)), 0) << i;
    }

    // Identity: every point unchanged, in place.
    kL3dTransform3d eye;
    kL3dTransform3d_Identity(&eye);
    std::vector<kPoint3d16s> same = pts;
    ASSERT_EQ(kL3dTransform3d_ApplyNPoint3d16s(&eye, same.data(), same.size(), same.data(), 0.013,
                                               0.7, 3.0),
              kOK);
    EXPECT_EQ(memcmp(same.data(), pts.data(), pts.size() * sizeof(kPoint3d16s)), 0);

    // Halves round away from zero: 0.5 mm offset at 1 mm resolution.
    kL3dTransform3d half;
    kL3dTransform3d_Identity(&half);
    kL3dTransform3d_Translate(&half, &half, 0.5, -0.5, 1.5);
    kPoint3d16s h = {2, -2, 0};
    kL3dTransform3d_ApplyNPoint3d16s(&half, &h, 1, &h, 1.0, 1.0, 1.0);
    EXPECT_EQ(h.x, 3);
    EXPECT_EQ(h.y, -3);
    EXPECT_EQ(h.z, 2);

    EXPECT_EQ(kL3dTransform3d_ApplyNPoint3d16s(&eye, &h, 1, &h, 0.0, 1.0, 1.0),
              kSTATUS_BAD_PARAMETER);
}

TEST(L3dTransform, RegisteredAsValues)
{
    kAssembly assembly = kNULL;
    ASSERT_EQ(kSolan_Construct(&assembly), kOK);
    EXPECT_EQ(kType_Size(kTypeOf(kL3dTransform2d)), sizeof(kL3dTransform2d));
    EXPECT_EQ(kType_Size(kTypeOf(kL3dTransform3d)), sizeof(kL3dTransform3d));
    kDestroyRef(&assembly);
}
