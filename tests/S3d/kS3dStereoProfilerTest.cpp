// Stereo profiler: fixed-point rectification and lookups against the affine formulas of a
// hand-built calibration (within one count, nulls where the tables end), the window
// arithmetic, the float helpers against the fixed-point path, construction edge cases, the
// CUDA variant's bookkeeping on the host, allocation failure, and a synthetic rig whose random
// points come back through image disparity and image phase over its whole volume, with its
// phase tables checked against the rig's geometry at and between lattice points.
#include "kS3dStereoTestSupport.h"

#include <kSolan/S3d/kS3dStereoProfiler.h>

#include <kSimStereoRig.h>

#include <cmath>
#include <cstdio>
#include <random>

using ktest::BuildAffineCal;
using ktest::CalHolder;

namespace
{
class StereoProfiler : public ktest::SolanSuite
{
};

kS3dStereoProfilerParams AffineProfilerParams()
{
    kS3dStereoProfilerParams p{};
    p.window0 = kL3dCameraWindow{0, 0, 32, 36, 1, 1};
    p.window1 = p.window0;
    p.transform[0] = p.transform[5] = p.transform[10] = 1;
    p.rangeResolution = ktest::kAffineResolution;
    return p;
}

/* Owns a profiler for a test. */
struct Profiler
{
    kObject handle = kNULL;
    ~Profiler() { kObject_Destroy(handle); }
    operator kObject() const { return handle; }
    kObject* operator&() { return &handle; }
};

bool IsNull(const kPoint3d16s& p) { return p.x == -32768 && p.y == -32768 && p.z == -32768; }

void ExpectNear(const kPoint3d16s& got, const double expected[3], double tolerance)
{
    EXPECT_LE(std::fabs(got.x - expected[0]), tolerance) << got.x << " vs " << expected[0];
    EXPECT_LE(std::fabs(got.y - expected[1]), tolerance) << got.y << " vs " << expected[1];
    EXPECT_LE(std::fabs(got.z - expected[2]), tolerance) << got.z << " vs " << expected[2];
}

/* Phase-table entry (view, cell i, j, layer) of the affine calibration: present or not. */
bool AffinePhasePresent(kSize view, k32s i, k32s j, k32s layer)
{
    if (ktest::AffinePhaseEmpty(view, (k32u)i, (k32u)j)) return false;
    const k32s phase = -2048 + 1024 * layer, begin = ktest::AffinePhaseBegin((k32u)i, (k32u)j);
    return phase >= begin && phase <= begin + 7 * 1024;
}
} // namespace

TEST_F(StereoProfiler, RectificationReproducesTheAffineGridWithinOneCount)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);
    EXPECT_FALSE(kS3dStereoProfiler_IsCuda(profiler));

    std::mt19937 random(5);
    std::uniform_int_distribution<k32s> xs(0, 28 * 256 - 1), ys(0, 31 * 256 - 1);
    for (int n = 0; n < 4000; ++n)
    {
        const k32u view = n & 1;
        const k32s x = xs(random), y = ys(random);
        k16s px, py;
        kS3dStereoProfiler_Rectify(profiler, view, x, y, &px, &py);
        EXPECT_LE(std::fabs(px - ktest::AffineGridX(view, x / 256.0, y / 256.0)), 1.0)
            << x << "," << y;
        EXPECT_LE(std::fabs(py - ktest::AffineGridY(view, x / 256.0, y / 256.0)), 1.0)
            << x << "," << y;

        // The linear variant keeps the map row of y: the sub-row part is ignored.
        kS3dStereoProfilerHwContext_RectifyLinear(kS3dStereoProfiler_HwContext(profiler), view, x,
                                                  y, &px, &py);
        const double row = y / 256;
        EXPECT_LE(std::fabs(px - ktest::AffineGridX(view, x / 256.0, row)), 1.0);
        EXPECT_LE(std::fabs(py - ktest::AffineGridY(view, x / 256.0, row)), 1.0);
    }

    // Nulls: at or beyond the last column (limitX = 7 × 4 × 256), from the last grid row on
    // (row 32, and row 31 whose lower neighbour is null), and for negative coordinates.
    const k32s probes[][2] = {{28 * 256, 0}, {0, 32 * 256}, {5 * 256, 31 * 256 + 7},
                              {0, 35 * 256}, {-1, 4 * 256}, {4 * 256, -256},
                              {k32S_MAX, 0}, {0, k32S_MIN}};
    for (const auto& probe : probes)
    {
        k16s px = 0, py = 0;
        kS3dStereoProfiler_Rectify(profiler, 0, probe[0], probe[1], &px, &py);
        EXPECT_EQ(px, -32768) << probe[0] << "," << probe[1];
        EXPECT_EQ(py, -32768);
        kS3dStereoProfilerHwContext_RectifyLinear(kS3dStereoProfiler_HwContext(profiler), 1,
                                                  probe[0], probe[1] & ~255, &px, &py);
        if (probe[1] != 31 * 256 + 7)
        {
            EXPECT_EQ(px, -32768) << probe[0] << "," << probe[1];
        }
    }
}

TEST_F(StereoProfiler, DisparityLookupReproducesTheAffineTableWithinOneCount)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);

    std::mt19937 random(6);
    std::uniform_int_distribution<int> xs(64, 367), ys(-64, 55), ds(-20, 19);
    for (int n = 0; n < 5000; ++n)
    {
        const int px0 = xs(random), py = ys(random), d = ds(random);
        kPoint3d16s point;
        kS3dStereoProfiler_LookupDisparity(profiler, (k16s)px0, (k16s)(px0 + d), (k16s)py, &point);
        double expected[3];
        ktest::AffineDisparity(px0, py, d, expected);
        ExpectNear(point, expected, 1.0);
    }

    // Out of the table: last lattice step of each axis, before the origin, null inputs.
    const int nulls[][3] = {{368, 0, 0},  {63, 0, 0},    {100, 56, 0},  {100, -65, 0},
                            {100, 0, 20}, {100, 0, -21}, {-32768, 0, 0}};
    for (const auto& q : nulls)
    {
        kPoint3d16s point;
        kS3dStereoProfiler_LookupDisparity(profiler, (k16s)q[0], (k16s)(q[0] + q[2]), (k16s)q[1],
                                           &point);
        EXPECT_TRUE(IsNull(point)) << q[0] << "," << q[1] << "," << q[2];
    }
    kPoint3d16s point;
    kS3dStereoProfiler_LookupDisparity(profiler, 100, -32768, 0, &point);
    EXPECT_TRUE(IsNull(point));
    kS3dStereoProfiler_LookupDisparity(profiler, 100, 100, -32768, &point);
    EXPECT_TRUE(IsNull(point));

    EXPECT_EQ(kS3dStereoProfiler_DisparityMin(profiler), -20);
    EXPECT_EQ(kS3dStereoProfiler_DisparityMax(profiler), -20 + 4 * (11 + 1));
    EXPECT_EQ(kS3dStereoProfiler_LeftViewIndex(profiler), 0u);

    // The batch gives what the single lookups give.
    kObjectGuard in, out;
    ASSERT_EQ(kArray1_Construct(&in, kTypeOf(kPoint3d16s), 500, kNULL), kOK);
    ASSERT_EQ(kArray1_Construct(&out, kTypeOf(kPoint3d16s), 500, kNULL), kOK);
    for (kSize i = 0; i < 500; ++i)
    {
        const int px0 = xs(random) - 10;
        *kArray1_AtT<kPoint3d16s>(in.get(), i) =
            kPoint3d16s{(k16s)px0, (k16s)(px0 + ds(random)), (k16s)ys(random)};
    }
    ASSERT_EQ(kS3dStereoProfiler_LookupDisparityN(profiler, in.get(), out.get()), kOK);
    for (kSize i = 0; i < 500; ++i)
    {
        const kPoint3d16s r = *kArray1_AtT<kPoint3d16s>(in.get(), i);
        kS3dStereoProfiler_LookupDisparity(profiler, r.x, r.y, r.z, &point);
        const kPoint3d16s batch = *kArray1_AtT<kPoint3d16s>(out.get(), i);
        EXPECT_EQ(memcmp(&batch, &point, sizeof(point)), 0) << i;
    }
    kObjectGuard shortOut;
    ASSERT_EQ(kArray1_Construct(&shortOut, kTypeOf(kPoint3d16s), 499, kNULL), kOK);
    EXPECT_EQ(kS3dStereoProfiler_LookupDisparityN(profiler, in.get(), shortOut.get()),
              kSTATUS_BAD_PARAMETER);
}

TEST_F(StereoProfiler, PhaseLookupReproducesTheAffineTablesAndItsSparseColumns)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);
    const kS3dStereoProfilerLutParams3d* pp = kS3dStereoProfiler_HwContext(profiler)->phaseParams;
    EXPECT_EQ(pp->originZ, -2048);
    EXPECT_EQ(pp->countZ, 10u); // (0 + 8 × 1024 − (−2048)) / 1024

    std::mt19937 random(7);
    std::uniform_int_distribution<int> xs(64, 367), ys(-64, 55), phases(-2048, 7167);
    int valid = 0, nulls = 0;
    for (int n = 0; n < 6000; ++n)
    {
        const k32u view = n & 1;
        const int px = xs(random), py = ys(random), phase = phases(random);
        kPoint3d16s point;
        kS3dStereoProfiler_LookupPhase(profiler, view, (k16s)px, (k16s)py, phase, &point);
        const k32s i = (py + 64) / 8, j = (px - 64) / 16, layer = (phase + 2048) / 1024;
        bool present = true;
        for (int c = 0; c < 8; ++c)
            present &= AffinePhasePresent(view, i + (c >> 1 & 1), j + (c & 1), layer + (c >> 2));
        if (!present)
        {
            EXPECT_TRUE(IsNull(point)) << view << ": " << px << "," << py << "," << phase;
            ++nulls;
            continue;
        }
        double expected[3];
        ktest::AffinePhase(view, px, py, phase, expected);
        ExpectNear(point, expected, 1.0);
        ++valid;
    }
    EXPECT_GT(valid, 1000);
    EXPECT_GT(nulls, 1000);

    kPoint3d16s point;
    kS3dStereoProfiler_LookupPhase(profiler, 0, 100, 0, -2048 + 9 * 1024, &point); // last step
    EXPECT_TRUE(IsNull(point));
    kS3dStereoProfiler_LookupPhase(profiler, 0, -32768, 0, 0, &point);
    EXPECT_TRUE(IsNull(point));
    kS3dStereoProfiler_LookupPhase(profiler, 0, 100, -32768, 0, &point);
    EXPECT_TRUE(IsNull(point));
    kS3dStereoProfiler_LookupPhase(profiler, 1, 100, 0, k32S_MIN, &point);
    EXPECT_TRUE(IsNull(point));
}

TEST_F(StereoProfiler, FloatHelpersFollowTheFixedPointPath)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);
    const double r = ktest::kAffineResolution;

    std::mt19937 random(8);
    std::uniform_real_distribution<double> xs(0, 27.9), ys(0, 30.9), shift(-6, 6);
    auto fixed = [](double v) { return (k32s)std::round(v * 256); };
    auto scaled = [r](k16s v) { return v == -32768 ? k64F_NULL : v * r; };
    int checked = 0;
    for (int n = 0; n < 2000; ++n)
    {
        const kPoint64f a{xs(random), ys(random)};
        const kPoint64f b{a.x + shift(random), a.y};
        k16s px0, py0, px1, py1;
        kS3dStereoProfiler_Rectify(profiler, 0, fixed(a.x), fixed(a.y), &px0, &py0);
        kS3dStereoProfiler_Rectify(profiler, 1, fixed(b.x), fixed(b.y), &px1, &py1);

        kPoint3d64f got;
        kPoint3d16s want;
        ASSERT_EQ(kS3dStereoProfiler_EvaluateImageDisparity64f(profiler, &a, &b, &got), kOK);
        if (px1 == -32768)
            want = kPoint3d16s{-32768, -32768, -32768};
        else
            kS3dStereoProfiler_LookupDisparity(profiler, px0, px1, py0, &want);
        EXPECT_EQ(got.x, scaled(want.x));
        EXPECT_EQ(got.y, scaled(want.y));
        EXPECT_EQ(got.z, scaled(want.z));
        checked += want.x != -32768;

        const double phase = (n % 110) / 1000.0 - 0.01; // some negative: they give phase 0
        const k32s phaseFixed = phase < 0 ? 0 : (k32s)(k32u)(phase * 65536 + 0.5);
        ASSERT_EQ(kS3dStereoProfiler_EvaluateImagePhase64f(profiler, 1, &b, &got, phase), kOK);
        if (px1 == -32768)
            want = kPoint3d16s{-32768, -32768, -32768};
        else
            kS3dStereoProfiler_LookupPhase(profiler, 1, px1, py1, phaseFixed, &want);
        EXPECT_EQ(got.x, scaled(want.x));
        EXPECT_EQ(got.z, scaled(want.z));

        k64f error = 0;
        ASSERT_EQ(kS3dStereoProfiler_RectificationError(profiler, &a, &b, &error), kOK);
        if (px1 == -32768)
            EXPECT_EQ(error, k64F_NULL);
        else
            EXPECT_DOUBLE_EQ(error, py1 * 0.01 - py0 * 0.01);
    }
    EXPECT_GT(checked, 1000);

    kPoint3d64f out;
    k64f error = 0;
    const kPoint64f inside{10, 10}, nullPoint{k64F_NULL, 10}, far{1e12, 10};
    EXPECT_EQ(kS3dStereoProfiler_RectificationError(profiler, &inside, kNULL, &error),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStereoProfiler_RectificationError(profiler, &inside, &nullPoint, &error), kOK);
    EXPECT_EQ(error, k64F_NULL);
    EXPECT_EQ(kS3dStereoProfiler_EvaluateImageDisparity64f(profiler, &far, &inside, &out), kOK);
    EXPECT_EQ(out.x, k64F_NULL);
    EXPECT_EQ(kS3dStereoProfiler_EvaluateImagePhase64f(profiler, 2, &inside, &out, 0),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStereoProfiler_EvaluateImagePhase64f(profiler, 0, &nullPoint, &out, 0), kOK);
    EXPECT_EQ(out.z, k64F_NULL);
}

TEST_F(StereoProfiler, WindowsFollowInversionTranspositionAndSubsampling)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    kS3dStereoCal_SetInvertX0(cal, kTRUE);
    kS3dStereoCal_SetInvertYAt(cal, 1, kTRUE);
    kS3dStereoCal_SetTransposeAt(cal, 1, kTRUE);
    kS3dStereoProfilerParams params = AffineProfilerParams();
    params.window0 = kL3dCameraWindow{4, 8, 16, 20, 2, 1};
    params.window1 = kL3dCameraWindow{2, 6, 10, 12, 1, 4};
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);
    const kS3dStereoProfilerLutParams2d* rp = kS3dStereoProfiler_HwContext(profiler)->rectParams;

    // Image 32 × 36. View 0: x inverted → 32 − (4 + 16) = 12, y = 8. View 1 transposed
    // (width and height swap: 36 × 32), y inverted → 32 − (6 + 12) = 14; then x and y swap.
    EXPECT_EQ(rp->imageWidth, 32u);
    EXPECT_EQ(rp->imageHeight, 36u);
    EXPECT_EQ(rp->windowX0, 12);
    EXPECT_EQ(rp->windowY0, 8);
    EXPECT_EQ(rp->windowX1, 14);
    EXPECT_EQ(rp->windowY1, 2);
    // View 1 is applied last and transposed: its y sub-sampling (4) drives x.
    EXPECT_EQ(rp->windowShiftX, 2u);
    EXPECT_EQ(rp->windowShiftY, 0u);
    EXPECT_EQ(rp->mapWidth, 8u);
    EXPECT_EQ(rp->mapHeight, 36u);
    EXPECT_EQ(rp->shiftX, 10u);
    EXPECT_EQ(rp->shiftY, 8u);
    EXPECT_EQ(rp->roundX, 512u);
    EXPECT_EQ(rp->maskY, 255u);
    EXPECT_EQ(rp->limitX, 7 * 4 * 256);
    EXPECT_EQ(rp->limitY, 35 * 256);
    EXPECT_TRUE(kS3dStereoProfiler_TransposeAt(profiler, 1));
    EXPECT_FALSE(kS3dStereoProfiler_TransposeAt(profiler, 0));
    {
        ktest::AssertCapture asserts;
        EXPECT_FALSE(kS3dStereoProfiler_TransposeAt(profiler, 2));
        EXPECT_EQ(asserts.Count(), 1);
    }

    // Window coordinates land at (x << shiftX) + origin in the full-resolution map.
    const kL3dCameraWindow plain{3, 5, 20, 20, 2, 1};
    ASSERT_EQ(kS3dStereoProfiler_UpdateWindow(profiler, &plain, &plain), kOK);
    EXPECT_EQ(rp->windowX0, 32 - 23);
    EXPECT_EQ(rp->windowY0, 5);
    EXPECT_EQ(rp->windowShiftX, 0u); // transposed view 1: its y sub-sampling of 1
    EXPECT_EQ(rp->windowShiftY, 1u);
    EXPECT_EQ(kS3dStereoProfiler_UpdateWindow(profiler, &plain, kNULL), kSTATUS_BAD_PARAMETER);
    const kL3dCameraWindow huge{0, 0, 8, 8, 1u << 20, 1};
    EXPECT_EQ(kS3dStereoProfiler_UpdateWindow(profiler, &plain, &huge), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(rp->windowShiftY, 1u); // unchanged

    CalHolder straight;
    ASSERT_EQ(BuildAffineCal(&straight), kOK);
    Profiler full, windowed;
    params = AffineProfilerParams();
    ASSERT_EQ(kS3dStereoProfiler_Construct(&full, 0, &params, straight, kNULL), kOK);
    params.window0 = kL3dCameraWindow{4, 6, 8, 8, 2, 2};
    params.window1 = params.window0;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&windowed, 0, &params, straight, kNULL), kOK);
    for (k32s x = 0; x < 8 * 256; x += 37)
        for (k32s y = 0; y < 8 * 256; y += 41)
        {
            k16s a, b, c, d;
            kS3dStereoProfiler_Rectify(windowed, 0, x, y, &a, &b);
            kS3dStereoProfiler_Rectify(full, 0, 2 * x + 4 * 256, 2 * y + 6 * 256, &c, &d);
            ASSERT_EQ(a, c);
            ASSERT_EQ(b, d);
        }
}

TEST_F(StereoProfiler, SettingsQueriesAndExpansionSwitch)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    kS3dStereoProfilerParams params = AffineProfilerParams();
    params.transform[3] = 12.5;
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 7, &params, cal, kNULL), kOK);
    EXPECT_FALSE(kS3dStereoProfiler_IsCuda(profiler)); // mode 7: host
    EXPECT_EQ(kS3dStereoProfiler_HwContextCuda(profiler), kNULL);

    EXPECT_EQ(kS3dStereoProfiler_LookupType(profiler), 0u);
    EXPECT_EQ(kS3dStereoProfiler_SetLookupType(profiler, 4), kOK);
    EXPECT_EQ(kS3dStereoProfiler_LookupType(profiler), 4u);
    EXPECT_EQ(kS3dStereoProfiler_Transform(profiler)[3], 12.5);
    k64f transform[12] = {0, 1, 0, 5, 1, 0, 0, 6, 0, 0, -1, 7};
    EXPECT_EQ(kS3dStereoProfiler_SetTransform(profiler, transform), kOK);
    EXPECT_EQ(kS3dStereoProfiler_Transform(profiler)[11], 7.0);
    EXPECT_EQ(kS3dStereoProfiler_ActiveAreaRoi(profiler).depth, k64F_NULL);
    const kRect3d64f roi{1, 2, 3, 4, 5, 6};
    EXPECT_EQ(kS3dStereoProfiler_SetActiveAreaRoi(profiler, &roi), kOK);
    EXPECT_EQ(kS3dStereoProfiler_ActiveAreaRoi(profiler).height, 5.0);
    EXPECT_EQ(kS3dStereoProfiler_SetActiveAreaRoi(profiler, kNULL), kOK);
    EXPECT_EQ(kS3dStereoProfiler_ActiveAreaRoi(profiler).x, k64F_NULL);
    EXPECT_EQ(kS3dStereoProfiler_ReferenceTemperature(profiler), 31.5);
    EXPECT_EQ(kS3dStereoProfiler_Temperature(profiler), k64F_NULL);
    EXPECT_EQ(kS3dStereoProfiler_SetTemperature(profiler, 40), kOK);
    EXPECT_EQ(kS3dStereoProfiler_Temperature(profiler), 40.0);
    EXPECT_EQ(kS3dStereoProfiler_Resolution(profiler), 0.5);
    EXPECT_EQ(kS3dStereoProfiler_ProjectionResolution(profiler), 0.01);
    EXPECT_EQ(kS3dStereoProfiler_SetResolution(profiler, 0.25), kOK);
    EXPECT_EQ(kS3dStereoProfiler_SetProjectionResolution(profiler, 0.02), kOK);
    EXPECT_EQ(kS3dStereoProfiler_Resolution(profiler), 0.25);
    EXPECT_EQ(kS3dStereoProfiler_ProjectionResolution(profiler), 0.02);

    // Zero expansion parameters: enabling fails and leaves the switch off.
    EXPECT_EQ(kS3dStereoProfiler_EnableExpansionCorrection(profiler, kTRUE), kSTATUS_BAD_PARAMETER);
    EXPECT_FALSE(kS3dStereoProfiler_ExpansionCorrectionEnabled(profiler));
    EXPECT_EQ(kS3dStereoProfiler_EnableExpansionCorrection(profiler, kFALSE), kOK);

    CalHolder cal2;
    ASSERT_EQ(BuildAffineCal(&cal2), kOK);
    params.expansionDistance0 = 10;
    params.expansionDistance1 = 20;
    params.expansionCoefficient = k64F_NULL;
    Profiler nullCoefficient;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&nullCoefficient, 0, &params, cal2, kNULL), kOK);
    EXPECT_EQ(kS3dStereoProfiler_EnableExpansionCorrection(nullCoefficient, kTRUE),
              kSTATUS_BAD_PARAMETER);
    params.expansionCoefficient = 2.3e-5;
    Profiler expanding;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&expanding, 0, &params, cal2, kNULL), kOK);
    EXPECT_EQ(kS3dStereoProfiler_EnableExpansionCorrection(expanding, kTRUE), kOK);
    EXPECT_TRUE(kS3dStereoProfiler_ExpansionCorrectionEnabled(expanding));
    k64f d0 = 0, d1 = 0, k = 0;
    EXPECT_EQ(kS3dStereoProfiler_TermalExpansionParams(expanding, &d0, &d1, &k), kOK);
    EXPECT_EQ(d0, 10.0);
    EXPECT_EQ(d1, 20.0);
    EXPECT_EQ(k, 2.3e-5);

    // Memory: the object plus the two maps and three tables.
    const kS3dStereoProfilerHwContext ctx = kS3dStereoProfiler_HwContext(profiler);
    const kSize tables = 2 * 36 * 8 * sizeof(kPoint16s) +
                         (kSize)ctx->dispParams->countZ * 16 * 20 * sizeof(kPoint3d16s) +
                         2 * (kSize)ctx->phaseParams->countZ * 16 * 20 * sizeof(kPoint3d16s);
    EXPECT_GT(kS3dStereoProfiler_MemoryUsage(profiler), tables);
    EXPECT_LT(kS3dStereoProfiler_MemoryUsage(profiler), tables + 1024);
    EXPECT_GE(kObject_Size(profiler), kS3dStereoProfiler_MemoryUsage(profiler));

    kObject clone = kNULL;
    EXPECT_EQ(kObject_Clone(&clone, profiler, kNULL), kSTATUS_NOT_IMPLEMENTED);
}

TEST_F(StereoProfiler, CalibrationVolumeIsTheBoundingBoxOfTheRoundedEntries)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    // An entry at the edge of the 16-bit range: 32765 is kept, 32766 and −32768 stay null.
    *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToX(cal), 0) = 32765 * 0.5f;
    *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToY(cal), 0) = -32767 * 0.5f;
    *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToZ(cal), 1) = 32766 * 0.5f;
    *kArray1_AtT<k32f>(kS3dStereoCal_PhaseToZ0(cal), 3) = -32768 * 0.5f;
    *kArray1_AtT<k32f>(kS3dStereoCal_PhaseToY1(cal), 4) = k32F_NULL;
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);

    // Independent bounds: every entry rounded half away from zero, in-range ones only.
    double lo[3] = {1e9, 1e9, 1e9}, hi[3] = {-1e9, -1e9, -1e9};
    const kArray1 lists[3][3] = {
        {kS3dStereoCal_DisparityToX(cal), kS3dStereoCal_DisparityToY(cal),
         kS3dStereoCal_DisparityToZ(cal)},
        {kS3dStereoCal_PhaseToX0(cal), kS3dStereoCal_PhaseToY0(cal), kS3dStereoCal_PhaseToZ0(cal)},
        {kS3dStereoCal_PhaseToX1(cal), kS3dStereoCal_PhaseToY1(cal), kS3dStereoCal_PhaseToZ1(cal)}};
    for (const auto& list : lists)
        for (kSize i = 0; i < kArray1_Length(list[0]); ++i)
        {
            double v[3];
            bool ok = true;
            for (int a = 0; a < 3; ++a)
            {
                const double raw = *kArray1_AtT<k32f>(list[a], i);
                v[a] = raw / 0.5;
                ok &= raw != k32F_NULL && v[a] >= -32767 && v[a] < 32766;
                v[a] = v[a] > 0 ? std::trunc(v[a] + 0.5) : std::trunc(v[a] - 0.5);
            }
            if (!ok) continue;
            for (int a = 0; a < 3; ++a)
            {
                lo[a] = std::fmin(lo[a], v[a]);
                hi[a] = std::fmax(hi[a], v[a]);
            }
        }
    const kRect3d64f volume = kS3dStereoProfiler_CalibrationVolume(profiler);
    EXPECT_EQ(volume.x, lo[0] * 0.5);
    EXPECT_EQ(volume.y, lo[1] * 0.5);
    EXPECT_EQ(volume.z, lo[2] * 0.5);
    EXPECT_EQ(volume.width, (hi[0] - lo[0]) * 0.5);
    EXPECT_EQ(volume.height, (hi[1] - lo[1]) * 0.5);
    EXPECT_EQ(volume.depth, (hi[2] - lo[2]) * 0.5);
    EXPECT_EQ(hi[0], 32765);
    EXPECT_EQ(lo[1], -32767);
}

TEST_F(StereoProfiler, EmptyMapsShortEntriesAndUnusableRecords)
{
    // All cells empty: one null layer at k32S_NULL, and a null volume.
    kS3dStereoCalParams p = ktest::AffineParams();
    p.DisparityCount = p.PhaseCount0 = p.PhaseCount1 = 0;
    CalHolder empty;
    ASSERT_EQ(kS3dStereoCal_Construct(&empty, &p), kOK);
    for (kArray2 map : {kS3dStereoCal_DisparityMap(empty), kS3dStereoCal_PhaseMap0(empty),
                        kS3dStereoCal_PhaseMap1(empty)})
        for (kSize i = 0; i < kArray2_Count(map); ++i)
            kArray2_DataT<kPoint32s>(map)[i] = kPoint32s{k32S_NULL, 0};
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, empty, kNULL), kOK);
    const kS3dStereoProfilerHwContext ctx = kS3dStereoProfiler_HwContext(profiler);
    EXPECT_EQ(ctx->dispParams->originZ, k32S_NULL);
    EXPECT_EQ(ctx->dispParams->countZ, 1u);
    EXPECT_EQ(ctx->phaseParams->originZ, k32S_NULL);
    EXPECT_EQ(ctx->phaseParams->countZ, 1u);
    const kRect3d64f volume = kS3dStereoProfiler_CalibrationVolume(profiler);
    EXPECT_EQ(volume.x, k64F_NULL);
    EXPECT_EQ(volume.depth, k64F_NULL);
    kPoint3d16s point;
    kS3dStereoProfiler_LookupDisparity(profiler, 100, 100, 0, &point);
    EXPECT_TRUE(IsNull(point));
    kS3dStereoProfiler_LookupPhase(profiler, 1, 100, 0, 0, &point);
    EXPECT_TRUE(IsNull(point));

    // A record without a third-axis step: the phase table has no layer and looks up null.
    CalHolder noStep;
    ASSERT_EQ(BuildAffineCal(&noStep), kOK);
    const_cast<kS3dStereoCalParams*>(kS3dStereoCal_Parameters(noStep))->PhasePStep = 0;
    Profiler flat;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&flat, 0, &params, noStep, kNULL), kOK);
    EXPECT_EQ(kS3dStereoProfiler_HwContext(flat)->phaseParams->countZ, 0u);
    kS3dStereoProfiler_LookupPhase(flat, 0, 100, 0, 0, &point);
    EXPECT_TRUE(IsNull(point));

    // Entries shorter than the map claims: status 0, nothing left.
    {
        CalHolder shortZ;
        ASSERT_EQ(BuildAffineCal(&shortZ), kOK);
        ASSERT_EQ(kArray1_Allocate(kS3dStereoCal_DisparityToZ(shortZ), kTypeOf(k32f), 1000), kOK);
        ktest::CountingAlloc alloc;
        kS3dStereoProfiler bad = kNULL;
        EXPECT_EQ(kS3dStereoProfiler_Construct(&bad, 0, &params, shortZ, alloc), kSTATUS_FAILED);
        EXPECT_EQ(bad, kNULL);
        ASSERT_EQ(kArray1_Allocate(kS3dStereoCal_PhaseToX1(shortZ), kTypeOf(k32f), 10), kOK);
        EXPECT_EQ(kS3dStereoProfiler_Construct(&bad, 0, &params, shortZ, alloc), kSTATUS_FAILED);
    }

    // Records the tables cannot be built from.
    auto refused = [&](auto modify, kS3dStereoProfilerParams prm)
    {
        CalHolder c;
        EXPECT_EQ(BuildAffineCal(&c), kOK);
        modify(const_cast<kS3dStereoCalParams*>(kS3dStereoCal_Parameters(c)),
               static_cast<kS3dStereoCal>(c));
        kS3dStereoProfiler bad = kNULL;
        const kStatus status = kS3dStereoProfiler_Construct(&bad, 0, &prm, c, kNULL);
        EXPECT_EQ(bad, kNULL);
        return status;
    };
    auto none = [](kS3dStereoCalParams*, kS3dStereoCal) {};
    EXPECT_EQ(refused([](kS3dStereoCalParams* q, kS3dStereoCal) { q->DisparityDStep = 3; }, params),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(
        refused([](kS3dStereoCalParams* q, kS3dStereoCal) { q->ProjectionXStep = 512; }, params),
        kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(
        refused([](kS3dStereoCalParams* q, kS3dStereoCal) { q->DisparityXCount = 21; }, params),
        kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(refused(
                  [](kS3dStereoCalParams*, kS3dStereoCal c)
                  {
                      // One cell far away: the third axis would need 2^31 layers.
                      kArray2_AtT<kPoint32s>(kS3dStereoCal_DisparityMap(c), 0, 0)->x = 2000000000;
                  },
                  params),
              kSTATUS_BAD_PARAMETER);
    kS3dStereoProfilerParams zero = params;
    zero.rangeResolution = 0;
    EXPECT_EQ(refused(none, zero), kSTATUS_BAD_PARAMETER);
    kS3dStereoProfiler bad = kNULL;
    EXPECT_EQ(kS3dStereoProfiler_Construct(&bad, 0, &params, kNULL, kNULL), kSTATUS_BAD_PARAMETER);
    CalHolder released;
    ASSERT_EQ(kS3dStereoCal_Create(&released), kOK);
    EXPECT_EQ(kS3dStereoProfiler_Construct(&bad, 0, &params, released, kNULL),
              kSTATUS_BAD_PARAMETER);
}

TEST_F(StereoProfiler, CudaVariantKeepsDeviceCopiesAndFallsBackSilently)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    for (k32u mode : {1u, 2u})
    {
        Profiler profiler;
        ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, mode, &params, cal, kNULL), kOK);
        EXPECT_EQ(kS3dStereoProfiler_IsCuda(profiler), kCudaDevice_IsAvailable(mode == 1));
    }

    // The variant itself builds without a device: its "device" copies are then host memory.
    kS3dStereoProfilerCuda cuda = kNULL;
    ASSERT_EQ(kS3dStereoProfilerCuda_Construct(&cuda, &params, cal, kNULL), kOK);
    kObjectGuard guard(cuda);
    EXPECT_TRUE(kObject_Is(cuda, kTypeOf(kS3dStereoProfilerBase)));
    const kS3dStereoProfilerHwContext device = kS3dStereoProfilerCuda_HwContextCuda(cuda);
    ASSERT_NE(device, kNULL);
    EXPECT_GT(kObject_Size(cuda), kS3dStereoProfilerBase_MemoryUsage(cuda));
    if (!kCudaDevice_IsAvailable(kFALSE))
    {
        const kS3dStereoProfilerHwContext host = kS3dStereoProfilerBase_HwContext(cuda);
        EXPECT_NE(device->dispLut, host->dispLut);
        EXPECT_EQ(memcmp(device->dispParams, host->dispParams, sizeof(*host->dispParams)), 0);
        EXPECT_EQ(memcmp(device->rectMap1, host->rectMap1, 36 * 8 * sizeof(kPoint16s)), 0);
        kPoint3d16s a, b;
        kS3dStereoProfilerHwContext_LookupDisparity(device, 200, 205, 10, &a);
        kS3dStereoProfilerHwContext_LookupDisparity(host, 200, 205, 10, &b);
        EXPECT_EQ(memcmp(&a, &b, sizeof(a)), 0);

        // A window update reaches the device copy of the rectification description.
        const kL3dCameraWindow window{2, 4, 8, 8, 1, 1};
        ASSERT_EQ(kS3dStereoProfilerCuda_UpdateWindow(cuda, &window, &window), kOK);
        EXPECT_EQ(device->rectParams->windowY1, 4);
        EXPECT_EQ(memcmp(device->rectParams, host->rectParams, sizeof(*host->rectParams)), 0);
    }
    EXPECT_EQ(kS3dStereoProfilerCuda_HwContextCuda(kNULL), kNULL);

    EXPECT_EQ(ktest::ExpectCleanFailures(
                  [&](kAlloc alloc, kObject* out)
                  { return kS3dStereoProfilerCuda_Construct(out, &params, cal, alloc); }) > 8,
              true);
}

TEST_F(StereoProfiler, AllocationFailureAtEveryStepOfConstruction)
{
    CalHolder cal;
    ASSERT_EQ(BuildAffineCal(&cal), kOK);
    const kS3dStereoProfilerParams params = AffineProfilerParams();
    const kSize host = ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* out)
        { return kS3dStereoProfilerHost_Construct(out, &params, cal, alloc); });
    EXPECT_GE(host, 6u);
    const kSize facade = ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* out)
        { return kS3dStereoProfiler_Construct(out, 0, &params, cal, alloc); });
    EXPECT_EQ(facade, host + 1);
}

namespace
{
kS3dStereoProfilerParams RigParams(const ksim::StereoRigConfig& config)
{
    kS3dStereoProfilerParams params{};
    params.window0 =
        kL3dCameraWindow{0, 0, (k32u)config.cameraWidth, (k32u)config.cameraHeight, 1, 1};
    params.window1 = params.window0;
    params.transform[0] = params.transform[5] = params.transform[10] = 1;
    params.rangeResolution = 0.02;
    return params;
}

double Distance(const kPoint3d64f& q, const ksim::Vec3& p)
{
    return std::sqrt((q.x - p[0]) * (q.x - p[0]) + (q.y - p[1]) * (q.y - p[1]) +
                     (q.z - p[2]) * (q.z - p[2]));
}

/* RMS and worst error in counts of random rig points through image disparity (phase false)
 * or image phase of alternating views (phase true). */
void RigErrors(const ksim::StereoRig& rig, kS3dStereoProfiler profiler, bool phase, double* rms,
               double* worst)
{
    std::mt19937 random(11);
    const double resolution = kS3dStereoProfiler_Resolution(profiler);
    double sum = 0;
    int count = 0;
    *worst = 0;
    while (count < 2000)
    {
        const ksim::Vec3 p = rig.RandomPoint(random, 24);
        kPoint64f image[2];
        for (kSize v = 0; v < 2; ++v)
            ASSERT_TRUE(rig.ProjectToCamera(v, p, &image[v].x, &image[v].y));
        kPoint3d64f q;
        if (phase)
        {
            double u = 0;
            ASSERT_TRUE(rig.ProjectToProjector(p, &u));
            if (rig.PhaseOfColumn(u) < 0) continue; // the float helper clamps these to 0
            const kSize view = count & 1;
            ASSERT_EQ(kS3dStereoProfiler_EvaluateImagePhase64f(profiler, view, &image[view], &q,
                                                               rig.PhaseOfColumn(u)),
                      kOK);
        }
        else
            ASSERT_EQ(
                kS3dStereoProfiler_EvaluateImageDisparity64f(profiler, &image[0], &image[1], &q),
                kOK);
        ASSERT_NE(q.x, k64F_NULL) << p[0] << "," << p[1] << "," << p[2];
        const double e = Distance(q, p) / resolution;
        sum += e * e;
        *worst = std::fmax(*worst, e);
        ++count;
    }
    *rms = std::sqrt(sum / count);
}
} // namespace

TEST_F(StereoProfiler, SyntheticRigDisparityWithinTwoCountsRmsOverTheDefaultVolume)
{
    ksim::StereoRigConfig config;
    const ksim::StereoRig rig(config);
    CalHolder cal;
    ASSERT_EQ(rig.BuildCalibration(&cal, kNULL), kOK);
    const kS3dStereoProfilerParams params = RigParams(config);
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);
    EXPECT_EQ(kS3dStereoProfiler_LeftViewIndex(profiler), rig.LeftViewIndex());
    EXPECT_EQ(rig.LeftViewIndex(), 0u);

    double rms = 0, worst = 0;
    RigErrors(rig, profiler, false, &rms, &worst);
    printf("rig 100-300 mm: image disparity %.3f counts RMS (worst %.2f) of 0.02 mm\n", rms, worst);
    EXPECT_LT(rms, 2.0);

    // Disparity 0 lies on the reference plane, in the middle of the range.
    k32s d0 = kS3dStereoProfiler_DisparityMin(profiler),
         d1 = kS3dStereoProfiler_DisparityMax(profiler);
    EXPECT_LT(d0, 0);
    EXPECT_GT(d1, 0);
    // The volume covers the measurement range.
    const kRect3d64f volume = kS3dStereoProfiler_CalibrationVolume(profiler);
    EXPECT_LT(volume.z, config.zMin);
    EXPECT_GT(volume.z + volume.depth, config.zMax);

    // Swapped cameras: camera 0 on the right, so view 1 is the left one.
    config.swapCameras = true;
    const ksim::StereoRig swapped(config);
    CalHolder swappedCal;
    ASSERT_EQ(swapped.BuildCalibration(&swappedCal, kNULL), kOK);
    k32u index = 0;
    ASSERT_EQ(kS3dStereoCal_LeftViewIndex(swappedCal, &index), kOK);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(swapped.LeftViewIndex(), 1u);
}

TEST_F(StereoProfiler, SyntheticRigPhaseWithinTwoCountsRmsOverTheDefaultVolume)
{
    const ksim::StereoRig rig;
    CalHolder cal;
    ASSERT_EQ(rig.BuildCalibration(&cal, kNULL), kOK);
    const kS3dStereoProfilerParams params = RigParams(rig.Config());
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);

    double rms = 0, worst = 0;
    RigErrors(rig, profiler, true, &rms, &worst);
    const kS3dStereoProfilerLutParams3d* p = kS3dStereoProfiler_HwContext(profiler)->phaseParams;
    printf("rig 100-300 mm: image phase %.3f counts RMS (worst %.2f) of 0.02 mm; phase tables "
           "%u x %u x %u, profiler %.1f MB\n",
           rms, worst, p->countX, p->countY, p->countZ,
           kS3dStereoProfiler_MemoryUsage(profiler) / 1e6);
    EXPECT_LT(rms, 2.0);
    // The tables span the projector's phases only, and are coarse along the fringes.
    EXPECT_LT(kS3dStereoProfiler_MemoryUsage(profiler), (kSize)64e6);
}

namespace
{
ksim::Vec3 Minus(const ksim::Vec3& a, const ksim::Vec3& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
double Dot(const ksim::Vec3& a, const ksim::Vec3& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
ksim::Vec3 Unit(const ksim::Vec3& a)
{
    const double n = std::sqrt(Dot(a, a));
    return {a[0] / n, a[1] / n, a[2] / n};
}

/* The rig's geometry from its devices alone: the world point that view v's camera sees
 * through rectified plane point (X, Y) (projection units) where the projector casts a phase
 * (periods). */
class RigGeometry
{
public:
    explicit RigGeometry(const ksim::StereoRig& rig) : m_rig(rig)
    {
        const ksim::Vec3 c0 = rig.Camera(0).centre, c1 = rig.Camera(1).centre;
        m_origin = {(c0[0] + c1[0]) / 2, (c0[1] + c1[1]) / 2, (c0[2] + c1[2]) / 2};
        m_x = Unit(Minus(c1, c0));
        if (m_x[0] < 0) m_x = {-m_x[0], -m_x[1], -m_x[2]};
        m_z = Unit(Minus(ksim::Vec3{0, 0, 1}, {m_x[0] * m_x[2], m_x[1] * m_x[2], m_x[2] * m_x[2]}));
        m_y = {m_z[1] * m_x[2] - m_z[2] * m_x[1], m_z[2] * m_x[0] - m_z[0] * m_x[2],
               m_z[0] * m_x[1] - m_z[1] * m_x[0]};
    }

    ksim::Vec3 Point(kSize view, double X, double Y, double phase) const
    {
        const ksim::StereoRigConfig& c = m_rig.Config();
        const double x = X * c.projectionResolution, y = Y * c.projectionResolution;
        ksim::Vec3 onPlane;
        for (kSize k = 0; k < 3; ++k)
            onPlane[k] = m_origin[k] + m_x[k] * x + m_y[k] * y + m_z[k] * c.referenceZ;
        const ksim::Vec3 from = m_rig.Camera(view).centre, along = Minus(onPlane, from);
        // Projector column u is the plane fx (row 0 · q) = (u − cx) (row 2 · q), q = P − centre.
        const ksim::Pinhole& p = m_rig.Projector();
        const double u = c.fringePeriod * (phase + 1);
        ksim::Vec3 normal;
        for (kSize k = 0; k < 3; ++k)
            normal[k] = p.fx * p.rotation[0][k] - (u - p.cx) * p.rotation[2][k];
        const double t = -Dot(normal, Minus(from, p.centre)) / Dot(normal, along);
        return {from[0] + t * along[0], from[1] + t * along[1], from[2] + t * along[2]};
    }

private:
    const ksim::StereoRig& m_rig;
    ksim::Vec3 m_origin, m_x, m_y, m_z;
};
} // namespace

TEST_F(StereoProfiler, SyntheticRigPhaseTablesHoldTheGeometryAtAndBetweenLatticePoints)
{
    // At a lattice point a lookup returns the rounded geometry; between lattice points it
    // returns the trilinear blend of the geometry at the eight corners, give or take the
    // rounding of the 16-bit stages. What remains of the rig figure is the curvature of the
    // geometry within a lattice cell and the rectification.
    const ksim::StereoRig rig;
    const RigGeometry geometry(rig);
    CalHolder cal;
    ASSERT_EQ(rig.BuildCalibration(&cal, kNULL), kOK);
    const kS3dStereoProfilerParams params = RigParams(rig.Config());
    Profiler profiler;
    ASSERT_EQ(kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL), kOK);
    const kS3dStereoProfilerLutParams3d* p = kS3dStereoProfiler_HwContext(profiler)->phaseParams;
    const double resolution = params.rangeResolution;
    const double step[3] = {(double)p->stepX, (double)p->stepY, (double)p->stepZ};
    const double origin[3] = {(double)p->originX, (double)p->originY, (double)p->originZ};

    std::mt19937 random(3);
    double bias[3] = {};
    const int count = 1000;
    for (int n = 0; n < count; ++n)
    {
        const kSize view = n & 1;
        const ksim::Vec3 world = rig.RandomPoint(random, 24);
        double X, Y, u;
        rig.ProjectToPlane(view, world, &X, &Y);
        ASSERT_TRUE(rig.ProjectToProjector(world, &u));
        const k32s at[3] = {(k32s)std::lround(X), (k32s)std::lround(Y),
                            (k32s)std::lround(65536 * rig.PhaseOfColumn(u))};
        double corner[3], f[3];
        for (kSize a = 0; a < 3; ++a)
        {
            corner[a] = std::floor((at[a] - origin[a]) / step[a]) * step[a] + origin[a];
            f[a] = (at[a] - corner[a]) / step[a];
        }

        kPoint3d16s q;
        kS3dStereoProfiler_LookupPhase(profiler, (k32u)view, (k16s)corner[0], (k16s)corner[1],
                                       (k32s)corner[2], &q);
        ASSERT_FALSE(IsNull(q));
        const ksim::Vec3 node = geometry.Point(view, corner[0], corner[1], corner[2] / 65536);
        const double got[3] = {(double)q.x, (double)q.y, (double)q.z};
        for (kSize k = 0; k < 3; ++k)
            EXPECT_LE(std::fabs(got[k] - node[k] / resolution), 0.51) << n << " axis " << k;

        ksim::Vec3 blend{0, 0, 0};
        for (int c = 0; c < 8; ++c)
        {
            double w = 1, lattice[3];
            for (kSize a = 0; a < 3; ++a)
            {
                const bool upper = (c >> a) & 1;
                w *= upper ? f[a] : 1 - f[a];
                lattice[a] = corner[a] + (upper ? step[a] : 0);
            }
            const ksim::Vec3 e = geometry.Point(view, lattice[0], lattice[1], lattice[2] / 65536);
            for (kSize k = 0; k < 3; ++k)
                blend[k] += w * e[k] / resolution;
        }
        kS3dStereoProfiler_LookupPhase(profiler, (k32u)view, (k16s)at[0], (k16s)at[1], at[2], &q);
        ASSERT_FALSE(IsNull(q));
        const double between[3] = {(double)q.x, (double)q.y, (double)q.z};
        for (kSize k = 0; k < 3; ++k)
        {
            EXPECT_LE(std::fabs(between[k] - blend[k]), 2.01) << n << " axis " << k;
            bias[k] += (between[k] - blend[k]) / count;
        }
    }
    printf("phase lookups between lattice points minus the blend: mean %.3f %.3f %.3f counts\n",
           bias[0], bias[1], bias[2]);
    for (kSize k = 0; k < 3; ++k)
        EXPECT_LT(std::fabs(bias[k]), 0.25) << "axis " << k;
}
