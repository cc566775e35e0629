// Sensor imaging family: cost of a job-queue batch.
//
// A batch of trivial jobs measures what the queue itself costs: handing a job to a worker,
// the completion bookkeeping and the wake-up of End. The serial loop over the same jobs is the
// floor; Jobs/1 is the fixed cost of one batch, Jobs/1000 the cost per job once the workers
// are busy.
#include <kSolan/kSolan.h>
#include <kSolan/Vs/kVsJobQueue.h>

#include <benchmark/benchmark.h>

#include <vector>

namespace
{
/* The library's types are registered once for the whole run. */
struct Library
{
    kAssembly assembly = kNULL;
    Library() { kSolan_Construct(&assembly); }
    ~Library() { kObject_Destroy(assembly); }
} s_library;

/* A small job: a few arithmetic operations written to the job's own slot. */
kStatus SmallJob(kPointer context, kSize index)
{
    k64u* slots = static_cast<k64u*>(context);
    slots[index] = slots[index] * 2654435761u + index;
    return kOK;
}

void Serial(benchmark::State& state)
{
    kSize jobs = (kSize)state.range(0);
    std::vector<k64u> slots(jobs, 1);
    for (auto _ : state)
    {
        for (kSize i = 0; i < jobs; ++i)
            SmallJob(slots.data(), i);
        benchmark::DoNotOptimize(slots.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * jobs));
}

void JobQueueBatch(benchmark::State& state)
{
    kSize jobs = (kSize)state.range(0), threads = (kSize)state.range(1);
    std::vector<k64u> slots(jobs, 1);
    kVsJobQueue queue = kNULL;
    if (!kSuccess(kVsJobQueue_Construct(&queue, threads, kNULL)))
    {
        state.SkipWithError("construct failed");
        return;
    }
    for (auto _ : state)
    {
        if (!kSuccess(kVsJobQueue_RunIndexedBatch(queue, SmallJob, slots.data(), jobs)))
            state.SkipWithError("batch failed");
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed((int64_t)(state.iterations() * jobs));
    kObject_Destroy(queue);
}
} // namespace

BENCHMARK(Serial)->ArgName("Jobs")->Arg(1)->Arg(1000);
BENCHMARK(JobQueueBatch)
    ->ArgNames({"Jobs", "Threads"})
    ->ArgsProduct({{1, 1000}, {1, 2, 4, 8}})
    ->UseRealTime();
