// Structured-light decoding: the phase decoder's host path on 1280 × 1024 frames, N = 8, one
// core, set against a plain scalar loop over the same 12-byte accumulators and against the
// usual OpenCV float formulation (per frame: conversion, scaleAdd into sine and cosine sums,
// min and max; then cv::phase).
//
// Ratios to read: ScalarAccumulate / DecoderUpdate (per-frame update), OpenCvSequence /
// DecoderSequence (whole sequence: Begin, 8 updates, output).
#include <kSolan/kSolan.h>
#include <kSolan/S3d/kS3dPhaseDecoder.h>
#include <kSolan/S3d/kS3dStripeDecoder.h>
#include <kSolan/S3d/kernels/kS3dPhaseDecoderKernels.h>

#include <kSimFringe.h>

#include <benchmark/benchmark.h>

#if defined(KSOLAN_BENCH_OPENCV)
#include <opencv2/core.hpp>
#endif

#include <cmath>
#include <cstring>
#include <vector>

namespace
{
constexpr kSize kWidth = 1280, kHeight = 1024, kCount = 8, kArea = kWidth * kHeight;
constexpr k32u kPeriod = 1024;
constexpr double kTwoPi = 6.283185307179586476925286766559;

/* The library, the frames of one fringe sequence, and owned images of them. */
struct Fixture
{
    Fixture()
    {
        kSolan_Construct(&assembly);
        ksim::Scene scene;
        scene.width = kWidth;
        scene.height = kHeight;
        scene.column = ksim::SmoothColumns(20, 0.8, 0.05, 5, 300);
        scene.albedo = ksim::SmoothAlbedo(0.4, 1.0, kWidth, kHeight);
        scene.gain = 0.9;
        scene.ambient = 8;
        scene.noiseSigma = 2;
        scene.samples = 1;
        ksim::FringeCamera camera(scene);
        for (kSize i = 0; i < kCount; ++i)
        {
            std::vector<k8u> row = ksim::PhaseShiftRow(1200, 24, i, kCount);
            frames.push_back(camera.Render(row.data(), row.size()));
            kImage image = kNULL;
            kImage_Construct(&image, kTypeOf(k8u), kWidth, kHeight, kNULL);
            memcpy(kImage_Data(image), frames.back().data(), kArea);
            images.push_back(image);
        }
        kArray2_Construct(&output, kTypeOf(kPhasePixel), kHeight, kWidth, kNULL);
    }
    ~Fixture()
    {
        for (kImage image : images)
            kObject_Destroy(image);
        kObject_Destroy(output);
        kObject_Destroy(assembly);
    }

    kAssembly assembly = kNULL;
    std::vector<std::vector<k8u>> frames;
    std::vector<kImage> images;
    kArray2 output = kNULL;
};

Fixture& TheFixture()
{
    static Fixture fixture;
    return fixture;
}

kS3dPhaseDecoder MakeDecoder(bool exact)
{
    kS3dPhaseDecoder decoder = kNULL;
    kS3dPhaseDecoder_Construct(&decoder, kNULL);
    kS3dPhaseDecoder_SetImageSize(decoder, kWidth, kHeight);
    kS3dPhaseDecoder_SetImageCount(decoder, kCount);
    kS3dPhaseDecoder_SetPhasePeriod(decoder, kPeriod);
    kS3dPhaseDecoder_EnableExactArctan(decoder, exact);
    kS3dPhaseDecoder_Setup(decoder);
    return decoder;
}

void PerPixelFrame(benchmark::State& state, kSize frames)
{
    state.SetItemsProcessed((int64_t)(state.iterations() * kArea * frames));
    state.counters["per_px_frame"] =
        benchmark::Counter((double)(state.iterations() * kArea * frames),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/* Reference: the straightforward loop over the 12-byte accumulators, one frame. */
void ScalarAccumulate(benchmark::State& state)
{
    Fixture& f = TheFixture();
    std::vector<kS3dPhaseDecoderAccum> accum(kArea);
    for (kSize i = 0; i < kArea; ++i)
        kS3dPhaseAccum_First(&accum[i], f.frames[0][i], 0, 16384);
    const k32s sine = (k32s)std::lround(16384 * std::sin(kTwoPi / kCount));
    const k32s cosine = (k32s)std::lround(16384 * std::cos(kTwoPi / kCount));
    const k8u* pixels = f.frames[1].data();
    k32s sign = 1; // alternate so that the sums stay in range however long it runs
    for (auto _ : state)
    {
        for (kSize i = 0; i < kArea; ++i)
            kS3dPhaseAccum_Add(&accum[i], pixels[i], sign * sine, sign * cosine);
        sign = -sign;
        benchmark::DoNotOptimize(accum.data());
        benchmark::ClobberMemory();
    }
    PerPixelFrame(state, 1);
}
BENCHMARK(ScalarAccumulate)->Unit(benchmark::kMillisecond);

/* The decoder's per-frame update of a frame in the middle of a sequence. */
void DecoderUpdate(benchmark::State& state)
{
    Fixture& f = TheFixture();
    kS3dPhaseDecoder decoder = MakeDecoder(false);
    kS3dPhaseDecoder_Begin(decoder, f.output);
    kS3dPhaseDecoder_Update(decoder, 0, f.images[0]);
    for (auto _ : state)
    {
        // Frame 1 again and again: the sequence never completes, every call accumulates.
        if (!kSuccess(kS3dPhaseDecoder_Update(decoder, 1, f.images[1])))
            state.SkipWithError("update");
    }
    PerPixelFrame(state, 1);
    kObject_Destroy(decoder);
}
BENCHMARK(DecoderUpdate)->Unit(benchmark::kMillisecond);

/* Begin, N updates and the output, with the table or the exact arctangent. */
void DecoderSequence(benchmark::State& state)
{
    Fixture& f = TheFixture();
    kS3dPhaseDecoder decoder = MakeDecoder(state.range(0) != 0);
    for (auto _ : state)
    {
        kS3dPhaseDecoder_Begin(decoder, f.output);
        for (kSize i = 0; i < kCount; ++i)
            kS3dPhaseDecoder_Update(decoder, i, f.images[i]);
        benchmark::DoNotOptimize(kArray2_Data(f.output));
    }
    if (!kS3dPhaseDecoder_IsComplete(decoder)) state.SkipWithError("incomplete");
    PerPixelFrame(state, kCount);
    kObject_Destroy(decoder);
}
BENCHMARK(DecoderSequence)->ArgName("exact")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

/* The stripe decoder over 7 Gray frames and a reference, for scale. */
void StripeSequence(benchmark::State& state)
{
    Fixture& f = TheFixture();
    kS3dStripeDecoder decoder = kNULL;
    kArray2 codes = kNULL;
    kS3dStripeDecoder_Construct(&decoder, kNULL);
    kS3dStripeDecoder_SetImageSize(decoder, kWidth, kHeight);
    kS3dStripeDecoder_SetStripeImageCount(decoder, 7);
    kArray2_Construct(&codes, kTypeOf(k8u), kHeight, kWidth, kNULL);
    for (auto _ : state)
    {
        kS3dStripeDecoder_Begin(decoder, codes);
        kS3dStripeDecoder_UpdateReferenceImage(decoder, f.images[7]);
        for (kSize i = 0; i < 7; ++i)
            kS3dStripeDecoder_UpdateStripeImage(decoder, i, f.images[i]);
        benchmark::DoNotOptimize(kArray2_Data(codes));
    }
    PerPixelFrame(state, 8);
    kObject_Destroy(codes);
    kObject_Destroy(decoder);
}
BENCHMARK(StripeSequence)->Unit(benchmark::kMillisecond);

#if defined(KSOLAN_BENCH_OPENCV)
/* The same sequence in OpenCV floats. */
void OpenCvSequence(benchmark::State& state)
{
    Fixture& f = TheFixture();
    cv::setNumThreads(1);
    cv::Mat sinSum(kHeight, kWidth, CV_32F), cosSum(kHeight, kWidth, CV_32F), value, phase;
    cv::Mat lo(kHeight, kWidth, CV_8U), hi(kHeight, kWidth, CV_8U);
    for (auto _ : state)
    {
        sinSum.setTo(0);
        cosSum.setTo(0);
        lo.setTo(255);
        hi.setTo(0);
        for (kSize i = 0; i < kCount; ++i)
        {
            cv::Mat frame(kHeight, kWidth, CV_8U, f.frames[i].data());
            frame.convertTo(value, CV_32F);
            cv::scaleAdd(value, std::sin(kTwoPi * i / kCount), sinSum, sinSum);
            cv::scaleAdd(value, std::cos(kTwoPi * i / kCount), cosSum, cosSum);
            cv::min(lo, frame, lo);
            cv::max(hi, frame, hi);
        }
        cv::phase(cosSum, sinSum, phase);
        benchmark::DoNotOptimize(phase.data);
    }
    PerPixelFrame(state, kCount);
}
BENCHMARK(OpenCvSequence)->Unit(benchmark::kMillisecond);
#endif
} // namespace
