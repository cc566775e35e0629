// Stereo profiler on the host: image-disparity lookups to 3D through the tables of the
// synthetic rig (1280 × 1024 cameras, 100 … 300 mm), one core. Items are point pairs.
//
// - EvaluateImageDisparity64f: the float helper (rounding to 1/256 pixel, two rectifications,
//   the disparity lookup, scaling to world units);
// - RectifyLookupDisparity: the fixed-point path a pixel loop runs through the host context
//   (two rectifications and the lookup);
// - LookupDisparityN: the batch lookup of already rectified pairs.
#include <kSolan/S3d/kS3dStereoProfiler.h>
#include <kSolan/kSolan.h>

#include <kSimStereoRig.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace
{
constexpr kSize kPoints = 4096;

struct Fixture
{
    Fixture()
    {
        kSolan_Construct(&assembly);
        const ksim::StereoRig rig;
        rig.BuildCalibration(&cal, kNULL);
        kS3dStereoProfilerParams params{};
        params.window0 = kL3dCameraWindow{0, 0, 1280, 1024, 1, 1};
        params.window1 = params.window0;
        params.transform[0] = params.transform[5] = params.transform[10] = 1;
        params.rangeResolution = 0.02;
        kS3dStereoProfiler_Construct(&profiler, 0, &params, cal, kNULL);
        kArray1_Construct(&rectified, kTypeOf(kPoint3d16s), kPoints, kNULL);
        kArray1_Construct(&points, kTypeOf(kPoint3d16s), kPoints, kNULL);

        std::mt19937 random(3);
        for (kSize i = 0; i < kPoints; ++i)
        {
            const ksim::Vec3 p = rig.RandomPoint(random, 8);
            kPoint64f a, b;
            rig.ProjectToCamera(0, p, &a.x, &a.y);
            rig.ProjectToCamera(1, p, &b.x, &b.y);
            image0.push_back(a);
            image1.push_back(b);
            fixed.push_back({(k32s)std::lround(a.x * 256), (k32s)std::lround(a.y * 256),
                             (k32s)std::lround(b.x * 256), (k32s)std::lround(b.y * 256)});
            k16s px0, py0, px1, py1;
            kS3dStereoProfiler_Rectify(profiler, 0, fixed.back()[0], fixed.back()[1], &px0, &py0);
            kS3dStereoProfiler_Rectify(profiler, 1, fixed.back()[2], fixed.back()[3], &px1, &py1);
            kArray1_DataT<kPoint3d16s>(rectified)[i] = kPoint3d16s{px0, px1, py0};
        }
    }
    ~Fixture()
    {
        kObject_Destroy(points);
        kObject_Destroy(rectified);
        kObject_Destroy(profiler);
        kS3dStereoCal_Destroy(cal);
        kObject_Destroy(assembly);
    }

    kAssembly assembly = kNULL;
    kS3dStereoCal cal = kNULL;
    kS3dStereoProfiler profiler = kNULL;
    std::vector<kPoint64f> image0, image1;
    std::vector<std::array<k32s, 4>> fixed;
    kArray1 rectified = kNULL;
    kArray1 points = kNULL;
};

Fixture& Shared()
{
    static Fixture fixture;
    return fixture;
}

void EvaluateImageDisparity64f(benchmark::State& state)
{
    Fixture& f = Shared();
    kPoint3d64f out{};
    for (auto _ : state)
    {
        for (kSize i = 0; i < kPoints; ++i)
        {
            kS3dStereoProfiler_EvaluateImageDisparity64f(f.profiler, &f.image0[i], &f.image1[i],
                                                         &out);
            benchmark::DoNotOptimize(out);
        }
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * kPoints));
}
BENCHMARK(EvaluateImageDisparity64f);

void RectifyLookupDisparity(benchmark::State& state)
{
    Fixture& f = Shared();
    const kS3dStereoProfilerHwContextClass* ctx = kS3dStereoProfiler_HwContext(f.profiler);
    kPoint3d16s out{};
    for (auto _ : state)
    {
        for (kSize i = 0; i < kPoints; ++i)
        {
            const std::array<k32s, 4>& q = f.fixed[i];
            k16s px0, py0, px1, py1;
            kS3dStereoProfilerHwContext_Rectify(ctx, 0, q[0], q[1], &px0, &py0);
            kS3dStereoProfilerHwContext_Rectify(ctx, 1, q[2], q[3], &px1, &py1);
            kS3dStereoProfilerHwContext_LookupDisparity(ctx, px0, px1, py0, &out);
            benchmark::DoNotOptimize(out);
        }
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * kPoints));
}
BENCHMARK(RectifyLookupDisparity);

void LookupDisparityN(benchmark::State& state)
{
    Fixture& f = Shared();
    for (auto _ : state)
    {
        kS3dStereoProfiler_LookupDisparityN(f.profiler, f.rectified, f.points);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * kPoints));
}
BENCHMARK(LookupDisparityN);
} // namespace
