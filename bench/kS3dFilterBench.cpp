// Phase filters on a 1280 × 1024 unwrapped phase map (a tilted plane plus a paraboloid, period
// 4096): the median (window 2, repeat 2) with about 3 % of the pixels off by whole periods,
// and the outlier filter with about 2 % spikes, all pixels valid. The argument is the number of
// job-queue workers; 0 runs the passes inline on the calling thread.
//
// Figures to read: ms per frame for each filter (the "min" of --benchmark_repetitions=N on a
// shared machine), and the ratio of 1 to 2 workers.
#include <kSolan/kSolan.h>
#include <kSolan/S3d/kS3dPhaseMedian.h>
#include <kSolan/S3d/kS3dPhaseOutlier.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace
{
constexpr kSize kWidth = 1280, kHeight = 1024, kArea = kWidth * kHeight;
constexpr k32s kPeriod = 4096;

/* The library, the phase maps and the maps a filter run needs. */
struct Fixture
{
    Fixture()
    {
        kSolan_Construct(&assembly);
        std::mt19937 random(1);
        std::uniform_int_distribution<int> detail(-40, 40), pick(0, 999), periods(-2, 1);
        median.resize(kArea);
        outlier.resize(kArea);
        for (kSize y = 0; y < kHeight; ++y)
            for (kSize x = 0; x < kWidth; ++x)
            {
                const long dx = (long)x - 640, dy = (long)y - 400;
                const k32s phase =
                    (k32s)(30000 + 24 * x + 5 * y + (dx * dx + dy * dy) / 64 + detail(random));
                const int p = pick(random), k = periods(random);
                median[y * kWidth + x] = phase + (p < 30 ? (k >= 0 ? k + 1 : k) * kPeriod : 0);
                outlier[y * kWidth + x] = phase + (p < 20 ? (k >= 0 ? 900 : -900) : 0);
            }
        for (kArray2* map : {&data, &copy, &scratch})
            kArray2_Construct(map, kTypeOf(k32s), kHeight, kWidth, kNULL);
        kArray2_Construct(&mask, kTypeOf(k8u), kHeight, kWidth, kNULL);
    }
    ~Fixture()
    {
        for (kObject map : {data, copy, scratch, mask})
            kObject_Destroy(map);
        kObject_Destroy(assembly);
    }

    void Load(const std::vector<k32s>& values)
    {
        memcpy(kArray2_Data(data), values.data(), kArea * sizeof(k32s));
        memset(kArray2_Data(mask), 1, kArea);
    }

    kAssembly assembly = kNULL;
    std::vector<k32s> median, outlier;
    kArray2 data = kNULL, copy = kNULL, scratch = kNULL, mask = kNULL;
};

Fixture& Maps()
{
    static Fixture fixture;
    return fixture;
}

/* A job queue of `workers` threads, or none for 0. */
kVsJobQueue MakeQueue(kSize workers)
{
    kVsJobQueue queue = kNULL;
    if (workers > 0) kVsJobQueue_Construct(&queue, workers, kNULL);
    return queue;
}

void PhaseMedian(benchmark::State& state)
{
    Fixture& maps = Maps();
    kVsJobQueue queue = MakeQueue((kSize)state.range(0));
    kS3dPhaseMedian filter = kNULL;
    kS3dPhaseMedian_Construct(&filter, kNULL);
    kS3dPhaseMedian_SetPeriod(filter, kPeriod);
    kS3dPhaseMedian_SetJobQueue(filter, queue);

    for (auto _ : state)
    {
        state.PauseTiming();
        maps.Load(maps.median);
        state.ResumeTiming();
        if (!kSuccess(kS3dPhaseMedian_Run(filter, maps.data, maps.scratch)))
            state.SkipWithError("median failed");
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * kArea));
    kObject_Destroy(filter);
    kObject_Destroy(queue);
}

void PhaseOutlier(benchmark::State& state)
{
    Fixture& maps = Maps();
    kVsJobQueue queue = MakeQueue((kSize)state.range(0));
    kS3dPhaseOutlier filter = kNULL;
    kS3dPhaseOutlier_Construct(&filter, kNULL);
    kS3dPhaseOutlier_SetJobQueue(filter, queue);

    for (auto _ : state)
    {
        state.PauseTiming();
        maps.Load(maps.outlier);
        state.ResumeTiming();
        if (!kSuccess(kS3dPhaseOutlier_Run(filter, maps.data, maps.copy, maps.scratch, maps.mask)))
            state.SkipWithError("outlier failed");
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * kArea));
    kObject_Destroy(filter);
    kObject_Destroy(queue);
}
} // namespace

/* Fastest repetition: on a shared machine the least disturbed figure (run with
   --benchmark_repetitions). */
double Fastest(const std::vector<double>& times)
{
    return *std::min_element(times.begin(), times.end());
}

BENCHMARK(PhaseMedian)
    ->ArgName("workers")
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Fastest);
BENCHMARK(PhaseOutlier)
    ->ArgName("workers")
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("min", Fastest);
