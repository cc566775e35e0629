// Laser-family numeric helpers: logarithm and power, interpolation, bounds, clipping, axes.
#include <kTestSupport.h>

#include <kSolan/L3d/kL3dUtils.h>

TEST(L3dUtils, Log2iRoundsToNearest)
{
    EXPECT_EQ(kL3dLog2i(8), 3);
    EXPECT_EQ(kL3dLog2i(12), 4);
    EXPECT_EQ(kL3dLog2i(3), 2);
    EXPECT_EQ(kL3dLog2i(6), 3);
    EXPECT_EQ(kL3dLog2i(1), 0);
    EXPECT_EQ(kL3dLog2i(0), 0);
    for (int s = 0; s < 40; ++s)
        EXPECT_EQ(kL3dLog2i(1ull << s), s);
}

TEST(L3dUtils, Power64fi)
{
    EXPECT_EQ(kL3dPower64fi(-2, 4.0), 0.0625);
    EXPECT_EQ(kL3dPower64fi(0, 7.0), 1.0);
    EXPECT_EQ(kL3dPower64fi(3, -2.0), -8.0);
}

TEST(L3dUtils, InterpolationAndSteps)
{
    EXPECT_DOUBLE_EQ(kL3dBilinearInterp64f(0, 10, 20, 40, 0.5, 0.25), 5 + (30 - 5) * 0.25);
    EXPECT_EQ(kL3dBilinearInterp64f(0, k64F_NULL, 20, 40, 0.5, 0.25), k64F_NULL);
    const k64f c[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    // Corner i + 2j + 4k holds i + 2j + 4k: linear, so the result is fx + 2 fy + 4 fz.
    EXPECT_DOUBLE_EQ(kL3dTrilinearInterp64f(c, 0.25, 0.5, 0.75), 0.25 + 1.0 + 3.0);

    const k64f steps[] = {0.0, 1.0, 3.0, 7.0};
    kSize i;
    k64f f;
    ASSERT_EQ(kL3dValues64f_FindStepLocation(steps, 4, 2.0, &i, &f), kOK);
    EXPECT_EQ(i, 1u);
    EXPECT_DOUBLE_EQ(f, 0.5);
    ASSERT_EQ(kL3dValues64f_FindStepLocation(steps, 4, 7.0, &i, &f), kOK);
    EXPECT_EQ(i, 2u);
    EXPECT_DOUBLE_EQ(f, 1.0);
    EXPECT_EQ(kL3dValues64f_FindStepLocation(steps, 4, 7.5, &i, &f), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kL3dValues64f_FindStepLocation(steps, 1, 0.0, &i, &f), kSTATUS_BAD_PARAMETER);

    const kPoint64f pts[] = {{k64F_NULL, 100}, {1, -2}, {-3, 5}, {4, 0}};
    kRect64f b;
    ASSERT_EQ(kL3dPoints64f_FindBounds(pts, 4, &b), kOK);
    EXPECT_EQ(b.x, -3);
    EXPECT_EQ(b.y, -2);
    EXPECT_EQ(b.width, 7);
    EXPECT_EQ(b.height, 7);
    EXPECT_EQ(kL3dPoints64f_FindBounds(pts, 1, &b), kSTATUS_NOT_FOUND);
}

TEST(L3dUtils, ClippingKeepsNullsNull)
{
    k16s v[] = {k16S_NULL, -10, 0, 10, 11};
    kL3dValues16s_Clip(v, 5, -10, 10);
    EXPECT_EQ(v[0], k16S_NULL);
    EXPECT_EQ(v[1], -10);
    EXPECT_EQ(v[3], 10);
    EXPECT_EQ(v[4], k16S_NULL);

    // A range starting at the null code still treats nulls as outside.
    k16s n[] = {k16S_NULL, 0};
    kL3dValues16s_Clip(n, 2, k16S_NULL, 10);
    EXPECT_EQ(n[0], k16S_NULL);
    EXPECT_EQ(n[1], 0);

    kPoint16s p[] = {{0, 0}, {0, 21}, {-6, 0}, {k16S_NULL, k16S_NULL}};
    kL3dPoints16s_Clip(p, 4, -5, 5, -20, 20);
    EXPECT_EQ(p[0].x, 0);
    EXPECT_EQ(p[1].x, k16S_NULL);
    EXPECT_EQ(p[1].y, k16S_NULL);
    EXPECT_EQ(p[2].y, k16S_NULL);
    EXPECT_EQ(p[3].x, k16S_NULL);

    kPoint3d16s q[] = {{1, 2, 3}, {1, 9, 3}, {1, 2, k16S_NULL}};
    kL3dPoints3d16s_Clip(q, 3, 0, 5, 0, 5, 0, 5);
    EXPECT_EQ(q[0].z, 3);
    EXPECT_EQ(q[1].x, k16S_NULL);
    EXPECT_EQ(q[1].z, k16S_NULL);
    EXPECT_EQ(q[2].x, k16S_NULL);
}

TEST(L3dUtils, AxisNames)
{
    EXPECT_STREQ(kL3dAxisToString(kL3D_AXIS_X), "X");
    EXPECT_STREQ(kL3dAxisToString(kL3D_AXIS_Y), "Y");
    EXPECT_STREQ(kL3dAxisToString(kL3D_AXIS_Z), "Z");
    EXPECT_STREQ(kL3dAxisToString(3), "Unknown");
}
