// Job queue: batches, first-failure reporting, ordering, completion under stress, teardown.
#include <kTestSupport.h>

#include <kSolan/kSolan.h>
#include <kSolan/Vs/kVsJobQueue.h>

#include <atomic>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

namespace
{
#ifdef KSOLAN_STRESS_FULL
constexpr kSize kStressBatches = 10000; // per thread count, in kStressShards tests
constexpr kSize kStressShards = 10;
constexpr kSize kBackToBackBatches = 100000;
#else
constexpr kSize kStressBatches = 100;
constexpr kSize kStressShards = 1;
constexpr kSize kBackToBackBatches = 3000;
#endif

class JobQueue : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_EQ(kSolan_Construct(&s_assembly), kOK); }
    static void TearDownTestSuite() { kDestroyRef(&s_assembly); }

    static kAssembly s_assembly;
};
kAssembly JobQueue::s_assembly = kNULL;

/* Shared by the jobs of one batch. Slots are plain: only End's ordering makes them safe. */
struct Batch
{
    std::vector<k32s> slots;
    std::vector<kStatus> results; // per index; empty: every job succeeds
    std::atomic<int> running{0};
    std::atomic<int> maxRunning{0};
    kSize spin = 0; // busy work per job, so that completions spread out
};

kStatus CountJob(kPointer context, kSize index)
{
    Batch* batch = static_cast<Batch*>(context);
    int now = ++batch->running;
    for (int seen = batch->maxRunning.load();
         now > seen && !batch->maxRunning.compare_exchange_weak(seen, now);)
    {
    }
    volatile kSize sink = 0;
    for (kSize i = 0; i < batch->spin; ++i)
        sink = sink + i;
    batch->slots[index]++;
    --batch->running;
    return batch->results.empty() ? kOK : batch->results[index];
}

kObject Construct(kSize threads, kAlloc alloc = kNULL)
{
    kVsJobQueue queue = kNULL;
    EXPECT_EQ(kVsJobQueue_Construct(&queue, threads, alloc), kOK);
    return queue;
}
} // namespace

TEST_F(JobQueue, EmptyBatchEndsAtOnce)
{
    ktest::CountingAlloc alloc;
    kObjectGuard queue(Construct(3, alloc));
    EXPECT_EQ(kVsJobQueue_ThreadCount(queue), 3u);
    EXPECT_EQ(kVsJobQueue_Begin(queue), kOK);
    EXPECT_EQ(kVsJobQueue_End(queue), kOK);
    EXPECT_EQ(kVsJobQueue_RunIndexedBatch(queue, CountJob, kNULL, 0), kOK);
    EXPECT_EQ(kVsJobQueue_Run(queue), kOK);
    EXPECT_EQ(kVsJobQueue_Count(queue), 0);
    EXPECT_EQ(kVsJobQueue_Status(queue), kOK);
    EXPECT_EQ(kVsJobQueue_State(queue), kVS_JOB_QUEUE_STATE_RUNNING);
}

TEST_F(JobQueue, FirstOfTwoFailuresIsReturnedAndEveryJobRuns)
{
    for (kSize threads : {1u, 2u, 4u})
        for (int round = 0; round < 20; ++round)
        {
            kObjectGuard queue(Construct(threads));
            Batch batch;
            batch.slots.assign(10, 0);
            batch.results.assign(10, kOK);
            batch.results[3] = kSTATUS_BAD_PARAMETER;
            batch.results[7] = kSTATUS_FAILED;

            kStatus status = kVsJobQueue_RunIndexedBatch(queue, CountJob, &batch, 10);
            EXPECT_TRUE(status == kSTATUS_BAD_PARAMETER || status == kSTATUS_FAILED) << status;
            if (threads == 1)
            {
                EXPECT_EQ(status, kSTATUS_BAD_PARAMETER); // job 3 ends first
            }
            for (k32s slot : batch.slots)
                EXPECT_EQ(slot, 1);

            // The next batch starts clean.
            batch.results.assign(10, kOK);
            EXPECT_EQ(kVsJobQueue_RunIndexedBatch(queue, CountJob, &batch, 10), kOK);
        }
}

TEST_F(JobQueue, OneThreadRunsJobsStrictlyInTheOrderAdded)
{
    struct Order
    {
        std::vector<kSize> seen; // appended by the only worker
    } order;
    order.seen.reserve(10000);
    kObjectGuard queue(Construct(1));
    ASSERT_EQ(kVsJobQueue_Begin(queue), kOK);
    // Indices added out of numeric order: the run order must be the add order.
    for (kSize i = 0; i < 10000; ++i)
        ASSERT_EQ(kVsJobQueue_Add(
                      queue,
                      [](kPointer context, kSize index) -> kStatus
                      {
                          static_cast<Order*>(context)->seen.push_back(index);
                          return kOK;
                      },
                      &order, (i * 7919) % 10000),
                  kOK);
    ASSERT_EQ(kVsJobQueue_End(queue), kOK);
    ASSERT_EQ(order.seen.size(), 10000u);
    for (kSize i = 0; i < 10000; ++i)
        ASSERT_EQ(order.seen[i], (i * 7919) % 10000) << i;
}

TEST_F(JobQueue, JobsAddedBeforeTheFirstBeginWaitForIt)
{
    kObjectGuard queue(Construct(2));
    Batch batch;
    batch.slots.assign(4, 0);
    for (kSize i = 0; i < 4; ++i)
        ASSERT_EQ(kVsJobQueue_Add(queue, CountJob, &batch, i), kOK);
    kThread_Sleep(20000);
    EXPECT_EQ(kVsJobQueue_Count(queue), 4);
    EXPECT_EQ(kVsJobQueue_Run(queue), kOK);
    for (k32s slot : batch.slots)
        EXPECT_EQ(slot, 1);
}

/* (thread count, shard): the batches of a thread count are spread over shards, so that each
   test of the full-size run stays within a test's time limit. */
class JobQueueStress : public JobQueue,
                       public ::testing::WithParamInterface<std::tuple<kSize, kSize>>
{
};

TEST_P(JobQueueStress, RandomBatchesRunEachJobOnceAndFinishBeforeEnd)
{
    auto [threads, shard] = GetParam();
    std::mt19937 rng((unsigned)(threads * 1000 + shard));
    std::uniform_int_distribution<kSize> size(0, 1000);
    kObjectGuard queue(Construct(threads));
    Batch batch;
    batch.slots.assign(1000, 0);

    for (kSize b = 0; b < kStressBatches / kStressShards; ++b)
    {
        kSize count = size(rng);
        if (b % 2)
        {
            ASSERT_EQ(kVsJobQueue_RunIndexedBatch(queue, CountJob, &batch, count), kOK);
        }
        else
        {
            ASSERT_EQ(kVsJobQueue_Begin(queue), kOK);
            for (kSize i = count; i-- > 0;)
                ASSERT_EQ(kVsJobQueue_Add(queue, CountJob, &batch, i), kOK);
            ASSERT_EQ(kVsJobQueue_End(queue), kOK);
        }
        ASSERT_EQ(batch.running.load(), 0) << "a job still ran after End";
        ASSERT_EQ(kVsJobQueue_Count(queue), 0);
        for (kSize i = 0; i < batch.slots.size(); ++i)
        {
            ASSERT_EQ(batch.slots[i], i < count ? 1 : 0) << "batch " << b << " index " << i;
            batch.slots[i] = 0;
        }
    }
    EXPECT_LE(batch.maxRunning.load(), (int)threads);
}

INSTANTIATE_TEST_SUITE_P(Threads, JobQueueStress,
                         ::testing::Combine(::testing::Values(1u, 2u, 4u, 8u, 16u),
                                            ::testing::Range<kSize>(0, kStressShards)));

TEST_F(JobQueue, BackToBackSmallBatchesLeaveNoStaleCompletions)
{
    std::mt19937 rng(11);
    kObjectGuard queue(Construct(4));
    Batch batch;
    batch.slots.assign(3, 0);
    batch.spin = 200;

    for (kSize b = 0; b < kBackToBackBatches; ++b)
    {
        kSize count = 1 + rng() % 3;
        ASSERT_EQ(kVsJobQueue_Begin(queue), kOK);
        for (kSize i = 0; i < count; ++i)
            ASSERT_EQ(kVsJobQueue_Add(queue, CountJob, &batch, i), kOK);
        // Sometimes every job is done before End looks: their posts stay in the semaphore
        // and must not let a later End return early.
        if (rng() % 8 == 0) std::this_thread::yield();
        ASSERT_EQ(kVsJobQueue_End(queue), kOK);
        ASSERT_EQ(batch.running.load(), 0);
        for (kSize i = 0; i < 3; ++i)
        {
            ASSERT_EQ(batch.slots[i], i < count ? 1 : 0) << "batch " << b;
            batch.slots[i] = 0;
        }
    }
}

TEST_F(JobQueue, JobsMayAddJobsToTheirOwnBatch)
{
    // A binary tree of jobs: job n adds 2n + 1 and 2n + 2 while they are below the total.
    struct Tree
    {
        kVsJobQueue queue;
        kSize total;
        std::vector<k32s> slots;
    };
    static kVsJobFx grow = [](kPointer context, kSize index) -> kStatus
    {
        Tree* tree = static_cast<Tree*>(context);
        tree->slots[index]++;
        for (kSize child = 2 * index + 1; child <= 2 * index + 2 && child < tree->total; ++child)
            kCheck(kVsJobQueue_Add(tree->queue, grow, tree, child));
        return kOK;
    };
    for (kSize threads : {1u, 3u})
    {
        kObjectGuard queue(Construct(threads));
        Tree tree = {queue, 4095, std::vector<k32s>(4095, 0)};
        ASSERT_EQ(kVsJobQueue_RunIndexedBatch(queue, grow, &tree, 1), kOK);
        for (k32s slot : tree.slots)
            ASSERT_EQ(slot, 1);
    }
}

TEST_F(JobQueue, ConstructAndDestroyRepeatedlyWithAndWithoutBatches)
{
    ktest::CountingAlloc alloc;
    Batch batch;
    batch.slots.assign(8, 0);
    for (int cycle = 0; cycle < 1000; ++cycle)
    {
        kVsJobQueue queue = kNULL;
        ASSERT_EQ(kVsJobQueue_Construct(&queue, 1 + cycle % 4, alloc), kOK);
        if (cycle % 3 == 1)
        {
            ASSERT_EQ(kVsJobQueue_RunIndexedBatch(queue, CountJob, &batch, 8), kOK);
        }
        if (cycle % 3 == 2)
        {
            ASSERT_EQ(kVsJobQueue_Add(queue, CountJob, &batch, 0), kOK); // never run
        }
        ASSERT_EQ(kObject_Destroy(queue), kOK);
    }
    for (k32s slot : batch.slots)
        EXPECT_EQ(slot, 333);
}

TEST_F(JobQueue, RefusesBadArgumentsCloningAndFailsCleanly)
{
    kVsJobQueue queue = kNULL;
    EXPECT_EQ(kVsJobQueue_Construct(&queue, 0, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(queue, kNULL);

    ktest::CountingAlloc alloc;
    kObjectGuard q(Construct(2, alloc));
    EXPECT_EQ(kVsJobQueue_Add(q, kNULL, kNULL, 0), kSTATUS_BAD_PARAMETER);
    kObject copy = kNULL;
    EXPECT_EQ(kObject_Clone(&copy, q, alloc), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(copy, kNULL);

    // The first Add needs room for records; when that fails the job is not counted.
    Batch batch;
    batch.slots.assign(4, 0);
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kVsJobQueue_RunIndexedBatch(q, CountJob, &batch, 4), kSTATUS_MEMORY);
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
    EXPECT_EQ(kVsJobQueue_Count(q), 0);
    EXPECT_EQ(batch.slots[0], 0);
    EXPECT_EQ(kVsJobQueue_RunIndexedBatch(q, CountJob, &batch, 4), kOK);
    for (k32s slot : batch.slots)
        EXPECT_EQ(slot, 1);

    // More completions than jobs is reported, not hidden.
    EXPECT_EQ(kVsJobQueue_JobCompleted(q, kOK), kSTATUS_BAD_STATE);
    EXPECT_EQ(kVsJobQueue_JobAdded(q), kOK);
    EXPECT_EQ(kVsJobQueue_Count(q), 0);

    // Instance, lock, semaphore, message queue and thread array (two allocations each but the
    // first), two threads of two; failure at each step leaves nothing.
    kSize steps = ktest::ExpectCleanFailures([](kAlloc a, kObject* o)
                                             { return kVsJobQueue_Construct(o, 2, a); });
    EXPECT_EQ(steps, 13u);
}
