// Embedded phase decoder on a 15-frame 1280 × 1024 sequence (coefficients 7, 7, 14, steps 5, 5,
// 5), inline (0) and on job queues of 1 and 2 workers, set against a memory-traffic reference in
// the same run: a loop that reads the 8-bit frame and read-modify-writes one float pair per
// pixel, the bytes a frame moves in the decoder (frames 1 … 4 also update 4 bytes of
// statistics).
//
// Ratios to read: EmbeddedFrame / TrafficReference at the same thread count (time per middle
// frame: the accumulation), and EmbeddedSequence / 15 (Begin, 15 frames and the finish:
// wrapped phases, two Kuwahara passes, ramps and the outputs).
#include <kSolan/kSolan.h>
#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.h>

#include <kSimFringe.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <algorithm>
#include <vector>

namespace
{
constexpr kSize kWidth = 1280, kHeight = 1024, kArea = kWidth * kHeight;
const std::vector<k64f> kCoefficients{7, 7, 14};
const std::vector<kSize> kSteps{5, 5, 5};

/* The library and the frames of one embedded-phase scan of a sloped, rippled surface. */
struct Fixture
{
    Fixture()
    {
        kSolan_Construct(&assembly);
        ksim::Scene scene;
        scene.width = kWidth;
        scene.height = kHeight;
        scene.column = ksim::SmoothColumns(1, 684.0 / kWidth, 0.0, 10, 400);
        scene.albedo = ksim::SmoothAlbedo(0.4, 1.0, kWidth, kHeight);
        scene.gain = 0.85;
        scene.ambient = 10;
        scene.noiseSigma = 1.5;
        scene.samples = 1;
        ksim::FringeCamera camera(scene);
        const ksim::EmbeddedPhaseScan scan =
            ksim::RenderEmbeddedPhase(camera, kCoefficients, kSteps, 686, 1024);
        for (const std::vector<k8u>& frame : scan.frames)
        {
            kImage image = kNULL;
            kImage_Construct(&image, kTypeOf(k8u), kWidth, kHeight, kNULL);
            memcpy(kImage_Data(image), frame.data(), kArea);
            images.push_back(image);
        }
        kArray2_Construct(&codes, kTypeOf(k8u), kHeight, kWidth, kNULL);
        kArray2_Construct(&phases, kTypeOf(kPhasePixel), kHeight, kWidth, kNULL);
    }
    ~Fixture()
    {
        for (kImage image : images)
            kObject_Destroy(image);
        kObject_Destroy(codes);
        kObject_Destroy(phases);
        kObject_Destroy(assembly);
    }

    kAssembly assembly = kNULL;
    std::vector<kImage> images;
    kArray2 codes = kNULL, phases = kNULL;
};

Fixture& TheFixture()
{
    static Fixture fixture;
    return fixture;
}

/* A set-up decoder on a job queue of `workers` threads (0: inline). */
struct Bench
{
    explicit Bench(kSize workers)
    {
        if (workers > 0) kVsJobQueue_Construct(&queue, workers, kNULL);
        kS3dEmbeddedPhaseDecoder_Construct(&decoder, kNULL);
        kS3dEmbeddedPhaseDecoder_SetImageSize(decoder, kWidth, kHeight);
        kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, kCoefficients.data(), kSteps.data(), 3);
        kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 1024);
        kS3dEmbeddedPhaseDecoder_SetJobQueue(decoder, queue);
        kS3dEmbeddedPhaseDecoder_Setup(decoder);
    }
    ~Bench()
    {
        kObject_Destroy(decoder);
        kObject_Destroy(queue);
    }
    kS3dEmbeddedPhaseDecoder decoder = kNULL;
    kVsJobQueue queue = kNULL;
};

/* Time per frame of frames 1 … 13 (the accumulation alone). */
void EmbeddedFrame(benchmark::State& state)
{
    Fixture& f = TheFixture();
    Bench bench((kSize)state.range(0));
    for (auto _ : state)
    {
        kS3dEmbeddedPhaseDecoder_Begin(bench.decoder, f.codes, f.phases);
        kS3dEmbeddedPhaseDecoder_Update(bench.decoder, f.images[0]);
        const auto start = std::chrono::steady_clock::now();
        for (kSize i = 1; i + 1 < f.images.size(); ++i)
            kS3dEmbeddedPhaseDecoder_Update(bench.decoder, f.images[i]);
        const auto stop = std::chrono::steady_clock::now();
        kS3dEmbeddedPhaseDecoder_Update(bench.decoder, f.images.back());
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count() /
                               (double)(f.images.size() - 2));
    }
    state.SetBytesProcessed((int64_t)state.iterations() * kArea * (1 + 2 * 8));
}
// Fixed iterations: each also runs a first frame, a Begin and a finish outside the timing.
BENCHMARK(EmbeddedFrame)
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->UseManualTime()
    ->Iterations(8)
    ->Unit(benchmark::kMillisecond);

/* The whole sequence: Begin, 15 frames, the finish. */
void EmbeddedSequence(benchmark::State& state)
{
    Fixture& f = TheFixture();
    Bench bench((kSize)state.range(0));
    for (auto _ : state)
    {
        kS3dEmbeddedPhaseDecoder_Begin(bench.decoder, f.codes, f.phases);
        for (kImage image : f.images)
            kS3dEmbeddedPhaseDecoder_Update(bench.decoder, image);
        benchmark::DoNotOptimize(kArray2_Data(f.phases));
    }
}
BENCHMARK(EmbeddedSequence)
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Iterations(4)
    ->Unit(benchmark::kMillisecond);

/* Reads the frame and read-modify-writes one float pair per pixel, in the decoder's row blocks
   on a job queue of `workers` threads (0: inline). */
struct Traffic
{
    const k8u* pixels;
    float* pairs;
    kSize rows;
};

kStatus TrafficRows(kPointer context, kSize block)
{
    const Traffic* t = static_cast<const Traffic*>(context);
    const kSize first = block * t->rows, end = std::min(first + t->rows, kHeight);
    for (kSize i = first * kWidth; i < end * kWidth; ++i)
    {
        const float v = t->pixels[i];
        t->pairs[2 * i] += v;
        t->pairs[2 * i + 1] += v;
    }
    return kOK;
}

void TrafficReference(benchmark::State& state)
{
    Fixture& f = TheFixture();
    const kSize workers = (kSize)state.range(0);
    std::vector<float> pairs(2 * kArea, 0.0f);
    kVsJobQueue queue = kNULL;
    if (workers > 0) kVsJobQueue_Construct(&queue, workers, kNULL);
    Traffic traffic{static_cast<const k8u*>(kImage_Data(f.images[1])), pairs.data(),
                    workers > 0 ? kHeight / workers + 1 : kHeight};
    for (auto _ : state)
    {
        if (queue)
            kVsJobQueue_RunIndexedBatch(queue, TrafficRows, &traffic, workers);
        else
            TrafficRows(&traffic, 0);
        benchmark::DoNotOptimize(pairs.data());
    }
    kObject_Destroy(queue);
    state.SetBytesProcessed((int64_t)state.iterations() * kArea * (1 + 2 * 8));
}
BENCHMARK(TrafficReference)->Arg(0)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);
} // namespace
