// Threads, locks, semaphores, message queues, thread pools, parallel loops, time and atomics.
#include <kTestSupport.h>

#include <atomic>
#include <ctime>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{
#ifdef KSOLAN_STRESS_FULL
constexpr int kStressScale = 10;
#else
constexpr int kStressScale = 1;
#endif

/* A waiter that is woken promptly returns long before this (microseconds). */
constexpr k64u kLongWait = 10000000;

kStatus ReturnStatus(kPointer context) { return *static_cast<kStatus*>(context); }

kStatus WaitOnSemaphore(kPointer context)
{
    return kSemaphore_Wait(static_cast<kSemaphore>(context), kINFINITE);
}
} // namespace

/* ----- kThread ------------------------------------------------------------------------------ */

TEST(Thread, RunsJoinsAndRestartsWithItsExitCode)
{
    ktest::CountingAlloc alloc;
    kObjectGuard thread;
    ASSERT_EQ(kThread_Construct(&thread, alloc), kOK);
    EXPECT_EQ(kThread_Join(thread, 0, kNULL), kSTATUS_BAD_STATE); // never started

    kStatus code = kSTATUS_NO_SOLUTION, exit = kOK;
    ASSERT_EQ(kThread_Start(thread, ReturnStatus, &code), kOK);
    EXPECT_EQ(kThread_Start(thread, ReturnStatus, &code), kSTATUS_BAD_STATE);
    EXPECT_EQ(kThread_SetName(thread, "late"), kSTATUS_BAD_STATE);
    EXPECT_EQ(kThread_SetPriority(thread, kTHREAD_PRIORITY_LOW), kSTATUS_BAD_STATE);
    EXPECT_EQ(kThread_Join(thread, kINFINITE, &exit), kOK);
    EXPECT_EQ(exit, kSTATUS_NO_SOLUTION);
    EXPECT_EQ(kThread_Join(thread, kINFINITE, &exit), kSTATUS_BAD_STATE); // already reaped

    code = kOK;
    ASSERT_EQ(kThread_Start(thread, ReturnStatus, &code), kOK);
    EXPECT_EQ(kThread_Join(thread, kINFINITE, &exit), kOK);
    EXPECT_EQ(exit, kOK);
    EXPECT_EQ(kThread_Start(thread, kNULL, kNULL), kSTATUS_BAD_PARAMETER);
}

TEST(Thread, JoinTimesOutWhileTheThreadRunsThenSucceeds)
{
    kObjectGuard thread, gate;
    ASSERT_EQ(kThread_Construct(&thread, kNULL), kOK);
    ASSERT_EQ(kSemaphore_Construct(&gate, 0, kNULL), kOK);
    ASSERT_EQ(kThread_Start(thread, WaitOnSemaphore, gate), kOK);

    k64u start = kTimer_Now();
    EXPECT_EQ(kThread_Join(thread, 20000, kNULL), kSTATUS_TIMEOUT);
    EXPECT_GE(kTimer_Now() - start, 20000u);
    EXPECT_EQ(kThread_Join(thread, 0, kNULL), kSTATUS_TIMEOUT);

    ASSERT_EQ(kSemaphore_Post(gate), kOK);
    kStatus exit = kSTATUS_FAILED;
    EXPECT_EQ(kThread_Join(thread, kLongWait, &exit), kOK);
    EXPECT_EQ(exit, kOK);
}

TEST(Thread, DestroyWaitsForARunningThread)
{
    static std::atomic<bool> finished;
    finished = false;
    kThread thread = kNULL;
    ASSERT_EQ(kThread_Construct(&thread, kNULL), kOK);
    ASSERT_EQ(kThread_Start(
                  thread,
                  [](kPointer) -> kStatus
                  {
                      kThread_Sleep(20000);
                      finished = true;
                      return kOK;
                  },
                  kNULL),
              kOK);
    EXPECT_EQ(kObject_Destroy(thread), kOK);
    EXPECT_TRUE(finished);
}

TEST(Thread, ThreadCannotJoinItself)
{
    struct Self
    {
        kThread thread;
        kStatus joined;
    } self = {kNULL, kOK};
    ASSERT_EQ(kThread_Construct(&self.thread, kNULL), kOK);
    ASSERT_EQ(kThread_Start(
                  self.thread,
                  [](kPointer context) -> kStatus
                  {
                      Self* s = static_cast<Self*>(context);
                      s->joined = kThread_Join(s->thread, 0, kNULL);
                      return kOK;
                  },
                  &self),
              kOK);
    EXPECT_EQ(kThread_Join(self.thread, kINFINITE, kNULL), kOK);
    EXPECT_EQ(self.joined, kSTATUS_BAD_STATE);
    kObject_Destroy(self.thread);
}

TEST(Thread, NameAndPriorityApplyWhenTheThreadStarts)
{
    struct Seen
    {
        char name[32];
        int nice;
    } seen = {};
    kObjectGuard thread;
    ASSERT_EQ(kThread_Construct(&thread, kNULL), kOK);
    EXPECT_EQ(kThread_SetName(thread, "0123456789abcdef"), kSTATUS_BAD_PARAMETER); // 16 > 15
    EXPECT_EQ(kThread_SetName(thread, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kThread_SetPriority(thread, 2), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kThread_SetName(thread, "kSolanWorker-7"), kOK);
    ASSERT_EQ(kThread_SetPriority(thread, kTHREAD_PRIORITY_LOW), kOK);

    errno = 0;
    int base = getpriority(PRIO_PROCESS, 0);
    ASSERT_EQ(errno, 0);
    ASSERT_EQ(kThread_Start(
                  thread,
                  [](kPointer context) -> kStatus
                  {
                      Seen* s = static_cast<Seen*>(context);
                      pthread_getname_np(pthread_self(), s->name, sizeof(s->name));
                      s->nice = getpriority(PRIO_PROCESS, (id_t)gettid());
                      return kOK;
                  },
                  &seen),
              kOK);
    ASSERT_EQ(kThread_Join(thread, kINFINITE, kNULL), kOK);
    EXPECT_STREQ(seen.name, "kSolanWorker-7");
    EXPECT_EQ(seen.nice, std::min(base + 10, 19));
}

TEST(Thread, SleepLastsAtLeastItsDurationAndProcessorsAreCounted)
{
    k64u start = kTimer_Now();
    EXPECT_EQ(kThread_Sleep(3000), kOK);
    EXPECT_GE(kTimer_Now() - start, 3000u);
    EXPECT_EQ(kThread_Sleep(0), kOK);
    EXPECT_GE(kThread_ProcessorCount(), 1u);
}

TEST(Thread, ConstructorsFailCleanlyAtEveryAllocation)
{
    EXPECT_EQ(
        ktest::ExpectCleanFailures([](kAlloc a, kObject* o) { return kThread_Construct(o, a); }),
        2u);
    EXPECT_EQ(
        ktest::ExpectCleanFailures([](kAlloc a, kObject* o) { return kLock_Construct(o, a); }), 2u);
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* o)
                                         { return kSemaphore_Construct(o, 3, a); }),
              2u);
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* o)
                                         { return kMsgQueue_Construct(o, 8, 4, a); }),
              2u);
    EXPECT_EQ(
        ktest::ExpectCleanFailures([](kAlloc a, kObject* o) { return kTimer_Construct(o, a); }),
        1u);
    // Pool: instance, state, queue (2), thread handles, two threads (2 each).
    EXPECT_EQ(ktest::ExpectCleanFailures([](kAlloc a, kObject* o)
                                         { return kThreadPool_Construct(o, 2, a); }),
              9u);
}

/* ----- kLock -------------------------------------------------------------------------------- */

TEST(Lock, IsRecursiveAndRefusesExitsByOthers)
{
    kObjectGuard lock;
    ASSERT_EQ(kLock_Construct(&lock, kNULL), kOK);
    EXPECT_EQ(kLock_Exit(lock), kSTATUS_BAD_STATE);
    ASSERT_EQ(kLock_Enter(lock), kOK);
    ASSERT_EQ(kLock_Enter(lock), kOK);

    kStatus otherExit = kOK;
    std::thread other([&] { otherExit = kLock_Exit(lock); });
    other.join();
    EXPECT_EQ(otherExit, kSTATUS_BAD_STATE);

    EXPECT_EQ(kLock_Exit(lock), kOK);
    EXPECT_EQ(kLock_Exit(lock), kOK);
    EXPECT_EQ(kLock_Exit(lock), kSTATUS_BAD_STATE);

    bool entered = false;
    std::thread after(
        [&]
        {
            entered = kSuccess(kLock_Enter(lock));
            kLock_Exit(lock);
        });
    after.join();
    EXPECT_TRUE(entered);
}

TEST(Lock, ExcludesConcurrentIncrements)
{
    kObjectGuard lock;
    ASSERT_EQ(kLock_Construct(&lock, kNULL), kOK);
    const int threads = 4, rounds = 20000 * kStressScale;
    k64u counter = 0; // plain: only the lock protects it
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back(
            [&]
            {
                for (int i = 0; i < rounds; ++i)
                {
                    kLock_Enter(lock);
                    kLock_Enter(lock);
                    ++counter;
                    kLock_Exit(lock);
                    kLock_Exit(lock);
                }
            });
    for (std::thread& w : workers)
        w.join();
    EXPECT_EQ(counter, (k64u)threads * rounds);
}

/* ----- kSemaphore --------------------------------------------------------------------------- */

TEST(Semaphore, CountsPostsAndTimesOut)
{
    kObjectGuard semaphore;
    ASSERT_EQ(kSemaphore_Construct(&semaphore, 2, kNULL), kOK);
    EXPECT_EQ(kSemaphore_Count(semaphore), 2u);
    EXPECT_EQ(kSemaphore_Wait(semaphore, 0), kOK);
    EXPECT_EQ(kSemaphore_Wait(semaphore, 0), kOK);
    EXPECT_EQ(kSemaphore_Wait(semaphore, 0), kSTATUS_TIMEOUT);

    k64u start = kTimer_Now();
    EXPECT_EQ(kSemaphore_Wait(semaphore, 15000), kSTATUS_TIMEOUT);
    EXPECT_GE(kTimer_Now() - start, 15000u);

    EXPECT_EQ(kSemaphore_Post(semaphore), kOK);
    EXPECT_EQ(kSemaphore_Count(semaphore), 1u);
    EXPECT_EQ(kSemaphore_Wait(semaphore, kINFINITE), kOK);
    EXPECT_EQ(kSemaphore_Count(semaphore), 0u);
}

TEST(Semaphore, WaiterWakesWhenPostedNotAtItsTimeout)
{
    kObjectGuard semaphore;
    ASSERT_EQ(kSemaphore_Construct(&semaphore, 0, kNULL), kOK);
    std::thread poster(
        [&]
        {
            kThread_Sleep(10000);
            kSemaphore_Post(semaphore);
        });
    k64u start = kTimer_Now();
    EXPECT_EQ(kSemaphore_Wait(semaphore, kLongWait), kOK);
    EXPECT_LT(kTimer_Now() - start, kLongWait / 2);
    poster.join();
}

TEST(Semaphore, StressManyPostersAndTimedWaiters)
{
    kObjectGuard semaphore;
    ASSERT_EQ(kSemaphore_Construct(&semaphore, 0, kNULL), kOK);
    const int posters = 4, waiters = 4, posts = 20000 * kStressScale;
    const int total = posters * posts;
    std::atomic<int> taken{0}, timeouts{0};

    std::vector<std::thread> threads;
    for (int w = 0; w < waiters; ++w)
        threads.emplace_back(
            [&]
            {
                while (taken.load() < total)
                {
                    kStatus status = kSemaphore_Wait(semaphore, 200);
                    if (status == kOK)
                        taken++;
                    else if (status == kSTATUS_TIMEOUT)
                        timeouts++;
                    else
                        ADD_FAILURE() << status;
                }
            });
    for (int p = 0; p < posters; ++p)
        threads.emplace_back(
            [&]
            {
                for (int i = 0; i < posts; ++i)
                    kSemaphore_Post(semaphore);
            });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(taken.load(), total);
    EXPECT_EQ(kSemaphore_Count(semaphore), 0u);
}

/* ----- kMsgQueue ---------------------------------------------------------------------------- */

TEST(MsgQueue, KeepsOrderGrowsAndRespectsItsCapacity)
{
    ktest::CountingAlloc alloc;
    kObjectGuard queue;
    EXPECT_EQ(kMsgQueue_Construct(&queue, 0, 0, alloc), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kMsgQueue_Construct(&queue, sizeof(k64u), 0, alloc), kOK);
    EXPECT_EQ(kMsgQueue_ItemSize(queue), 8u);
    EXPECT_EQ(kMsgQueue_Capacity(queue), 0u);

    // Interleaved adds and removes move the head, so growth has to unwrap the ring.
    k64u next = 0, expected = 0, item = 0;
    for (int round = 0; round < 200; ++round)
    {
        for (int i = 0; i < 7; ++i)
        {
            ++next;
            ASSERT_EQ(kMsgQueue_Add(queue, &next), kOK);
        }
        for (int i = 0; i < 5; ++i)
        {
            ASSERT_EQ(kMsgQueue_Remove(queue, &item, 0), kOK);
            ASSERT_EQ(item, ++expected);
        }
    }
    EXPECT_EQ(kMsgQueue_Count(queue), 400u);
    while (kSuccess(kMsgQueue_Remove(queue, &item, 0)))
        ASSERT_EQ(item, ++expected);
    EXPECT_EQ(expected, next);
    EXPECT_EQ(kMsgQueue_Remove(queue, &item, 0), kSTATUS_TIMEOUT);
    EXPECT_EQ(kMsgQueue_Add(queue, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kMsgQueue_Remove(queue, kNULL, 0), kSTATUS_BAD_PARAMETER);

    kObjectGuard bounded;
    ASSERT_EQ(kMsgQueue_Construct(&bounded, 3, 2, alloc), kOK);
    EXPECT_EQ(kMsgQueue_Add(bounded, "ab"), kOK);
    EXPECT_EQ(kMsgQueue_Add(bounded, "cd"), kOK);
    EXPECT_EQ(kMsgQueue_Add(bounded, "ef"), kSTATUS_OVERFLOW);
    char text[3];
    EXPECT_EQ(kMsgQueue_Remove(bounded, text, 0), kOK);
    EXPECT_STREQ(text, "ab");
    EXPECT_EQ(kMsgQueue_Add(bounded, "ef"), kOK);
    EXPECT_EQ(kMsgQueue_Flush(bounded), kOK);
    EXPECT_EQ(kMsgQueue_Count(bounded), 0u);
    EXPECT_EQ(kMsgQueue_Remove(bounded, text, 1000), kSTATUS_TIMEOUT);
}

TEST(MsgQueue, GrowthFailureKeepsTheQueue)
{
    ktest::CountingAlloc alloc;
    kObjectGuard queue;
    ASSERT_EQ(kMsgQueue_Construct(&queue, 4, 0, alloc), kOK);
    kCountingAlloc_SetFailAfter(alloc, 0);
    k32u value = 7;
    EXPECT_EQ(kMsgQueue_Add(queue, &value), kSTATUS_MEMORY);
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
    EXPECT_EQ(kMsgQueue_Count(queue), 0u);
    for (k32u i = 0; i < 16; ++i)
        ASSERT_EQ(kMsgQueue_Add(queue, &i), kOK);
    kCountingAlloc_SetFailAfter(alloc, 0);
    EXPECT_EQ(kMsgQueue_Add(queue, &value), kSTATUS_MEMORY); // 17th needs a larger ring
    kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
    for (k32u i = 0; i < 16; ++i)
    {
        ASSERT_EQ(kMsgQueue_Remove(queue, &value, 0), kOK);
        EXPECT_EQ(value, i);
    }
}

TEST(MsgQueue, CloseDrainsThenRefusesAndWakesWaiters)
{
    kObjectGuard queue;
    ASSERT_EQ(kMsgQueue_Construct(&queue, sizeof(int), 0, kNULL), kOK);

    kStatus waiterStatus = kOK;
    k64u waited = 0;
    std::thread waiter(
        [&]
        {
            int item;
            k64u start = kTimer_Now();
            waiterStatus = kMsgQueue_Remove(queue, &item, kINFINITE);
            waited = kTimer_Now() - start;
        });
    kThread_Sleep(10000);
    ASSERT_EQ(kMsgQueue_Close(queue), kOK);
    waiter.join();
    EXPECT_EQ(waiterStatus, kSTATUS_CLOSED);
    EXPECT_GE(waited, 5000u);

    kObjectGuard drained;
    ASSERT_EQ(kMsgQueue_Construct(&drained, sizeof(int), 0, kNULL), kOK);
    int one = 1, two = 2, item = 0;
    ASSERT_EQ(kMsgQueue_Add(drained, &one), kOK);
    ASSERT_EQ(kMsgQueue_Add(drained, &two), kOK);
    ASSERT_EQ(kMsgQueue_Close(drained), kOK);
    EXPECT_EQ(kMsgQueue_Close(drained), kOK);
    EXPECT_EQ(kMsgQueue_Add(drained, &one), kSTATUS_CLOSED);
    EXPECT_EQ(kMsgQueue_Remove(drained, &item, kINFINITE), kOK);
    EXPECT_EQ(item, 1);
    EXPECT_EQ(kMsgQueue_Remove(drained, &item, kINFINITE), kOK);
    EXPECT_EQ(item, 2);
    EXPECT_EQ(kMsgQueue_Remove(drained, &item, kINFINITE), kSTATUS_CLOSED);
}

TEST(MsgQueue, RemoveWakesAsSoonAsAnItemArrives)
{
    kObjectGuard queue;
    ASSERT_EQ(kMsgQueue_Construct(&queue, sizeof(k64u), 0, kNULL), kOK);
    for (int round = 0; round < 5; ++round)
    {
        k64u sent = 0, received = 0, latency = 0;
        std::thread producer(
            [&]
            {
                kThread_Sleep(5000);
                sent = kTimer_Now();
                kMsgQueue_Add(queue, &sent);
            });
        ASSERT_EQ(kMsgQueue_Remove(queue, &received, kLongWait), kOK);
        latency = kTimer_Now() - received;
        producer.join();
        EXPECT_EQ(received, sent);
        // A poller with a long sleep or a waiter that slept through the arrival would only
        // return at the ten-second timeout.
        EXPECT_LT(latency, kLongWait / 2) << "round " << round;
    }
}

TEST(MsgQueue, StressProducersAndConsumersDeliverEachItemOnceInOrder)
{
    struct Item
    {
        k32u producer;
        k32u sequence;
    };
    const k32u producers = 4, consumers = 3, items = 20000 * kStressScale;
    kObjectGuard queue;
    ASSERT_EQ(kMsgQueue_Construct(&queue, sizeof(Item), 64, kNULL), kOK);

    std::vector<std::vector<Item>> received(consumers);
    std::vector<std::thread> threads;
    for (k32u c = 0; c < consumers; ++c)
        threads.emplace_back(
            [&, c]
            {
                Item item;
                for (;;)
                {
                    kStatus status = kMsgQueue_Remove(queue, &item, 500);
                    if (status == kSTATUS_CLOSED) return;
                    if (status == kOK)
                        received[c].push_back(item);
                    else if (status != kSTATUS_TIMEOUT)
                    {
                        ADD_FAILURE() << status;
                        return;
                    }
                }
            });
    std::vector<std::thread> adders;
    for (k32u p = 0; p < producers; ++p)
        adders.emplace_back(
            [&, p]
            {
                for (k32u i = 0; i < items;)
                {
                    Item item = {p, i};
                    kStatus status = kMsgQueue_Add(queue, &item);
                    if (status == kOK)
                        ++i;
                    else if (status == kSTATUS_OVERFLOW)
                        std::this_thread::yield();
                    else
                    {
                        ADD_FAILURE() << status;
                        return;
                    }
                }
            });
    for (std::thread& t : adders)
        t.join();
    ASSERT_EQ(kMsgQueue_Close(queue), kOK);
    for (std::thread& t : threads)
        t.join();

    std::vector<std::vector<int>> seen(producers, std::vector<int>(items, 0));
    for (const auto& list : received)
    {
        std::vector<k64s> last(producers, -1);
        for (const Item& item : list)
        {
            ASSERT_LT(item.producer, producers);
            ASSERT_LT(item.sequence, items);
            seen[item.producer][item.sequence]++;
            EXPECT_GT((k64s)item.sequence, last[item.producer]) << "out of order";
            last[item.producer] = item.sequence;
        }
    }
    for (k32u p = 0; p < producers; ++p)
        for (k32u i = 0; i < items; ++i)
            ASSERT_EQ(seen[p][i], 1) << p << " " << i;
}

/* ----- kThreadPool -------------------------------------------------------------------------- */

namespace
{
struct PoolJob
{
    std::atomic<int>* runs;
    kStatus result;
    std::vector<int>* order; // appended without a lock: single-thread pools only
    int id;
};

kStatus RunPoolJob(kPointer context)
{
    PoolJob* job = static_cast<PoolJob*>(context);
    if (job->runs) (*job->runs)++;
    if (job->order) job->order->push_back(job->id);
    return job->result;
}
} // namespace

TEST(ThreadPool, RunsEveryTaskAndReportsTheFirstFailure)
{
    ktest::CountingAlloc alloc;
    kObjectGuard pool;
    ASSERT_EQ(kThreadPool_Construct(&pool, 3, alloc), kOK);
    EXPECT_EQ(kThreadPool_ThreadCount(pool), 3u);
    EXPECT_EQ(kThreadPool_EndExecute(pool), kOK); // nothing begun
    EXPECT_EQ(kThreadPool_BeginExecute(pool, kNULL, kNULL), kSTATUS_BAD_PARAMETER);

    std::atomic<int> runs{0};
    std::vector<PoolJob> jobs(50, PoolJob{&runs, kOK, kNULL, 0});
    jobs[20].result = kSTATUS_BAD_PARAMETER;
    for (PoolJob& job : jobs)
        ASSERT_EQ(kThreadPool_BeginExecute(pool, RunPoolJob, &job), kOK);
    EXPECT_EQ(kThreadPool_EndExecute(pool), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(runs.load(), 50);

    for (PoolJob& job : jobs)
        job.result = kOK;
    for (PoolJob& job : jobs)
        ASSERT_EQ(kThreadPool_BeginExecute(pool, RunPoolJob, &job), kOK);
    EXPECT_EQ(kThreadPool_EndExecute(pool), kOK); // the earlier failure is not carried over
    EXPECT_EQ(runs.load(), 100);

    kObjectGuard everyProcessor;
    ASSERT_EQ(kThreadPool_Construct(&everyProcessor, 0, alloc), kOK);
    EXPECT_EQ(kThreadPool_ThreadCount(everyProcessor), kThread_ProcessorCount());
}

TEST(ThreadPool, OneThreadRunsTasksInOrderAndDestroyFinishesPendingTasks)
{
    std::vector<int> order;
    std::vector<PoolJob> jobs(200);
    for (int i = 0; i < 200; ++i)
        jobs[i] = PoolJob{kNULL, kOK, &order, i};

    kThreadPool pool = kNULL;
    ASSERT_EQ(kThreadPool_Construct(&pool, 1, kNULL), kOK);
    for (PoolJob& job : jobs)
        ASSERT_EQ(kThreadPool_BeginExecute(pool, RunPoolJob, &job), kOK);
    EXPECT_EQ(kObject_Destroy(pool), kOK); // no EndExecute: release still runs them all
    ASSERT_EQ(order.size(), 200u);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(order[i], i);
}

/* ----- kParallel ---------------------------------------------------------------------------- */

namespace
{
struct Coverage
{
    std::vector<int> hits;            // per index; each written by one part only
    std::vector<kParallelArgs> parts; // per part, as seen by its body
    kSize failPart = kSIZE_MAX;
};

kStatus CoverRange(kPointer context, const kParallelArgs* args)
{
    Coverage* c = static_cast<Coverage*>(context);
    c->parts[kParallelArgs_Index(args)] = *args;
    for (kSize i = kParallelArgs_Begin(args); i < kParallelArgs_End(args); ++i)
        c->hits[i]++;
    if (kParallelArgs_Index(args) >= c->failPart)
        return (kStatus)(-2000 - (k32s)kParallelArgs_Index(args));
    return kOK;
}
} // namespace

TEST(Parallel, CoversEveryIndexExactlyOnceInContiguousParts)
{
    for (kSize count : {0u, 1u, 2u, 3u, 7u, 16u, 17u, 100u, 1001u, 4097u})
        for (kSize threads : {1u, 2u, 3u, 4u, 8u, 16u, 33u})
        {
            Coverage c;
            c.hits.assign(count, 0);
            kSize parts = std::min(threads, count);
            c.parts.assign(std::max<kSize>(parts, 1), kParallelArgs{kSIZE_MAX, 0, 0, 0});
            ASSERT_EQ(kParallel_ExecuteEx(CoverRange, &c, count, threads), kOK);
            for (kSize i = 0; i < count; ++i)
                ASSERT_EQ(c.hits[i], 1) << count << "/" << threads << " @" << i;

            // First count mod n parts hold one index more; parts follow each other.
            kSize begin = 0;
            for (kSize p = 0; p < parts; ++p)
            {
                kSize length = count / parts + (p < count % parts ? 1 : 0);
                EXPECT_EQ(c.parts[p].index, p);
                EXPECT_EQ(kParallelArgs_Count(&c.parts[p]), parts);
                EXPECT_EQ(c.parts[p].begin, begin);
                EXPECT_EQ(c.parts[p].end, begin + length);
                begin += length;
            }
        }

    Coverage c;
    c.hits.assign(10, 0);
    c.parts.assign(kThread_ProcessorCount(), kParallelArgs{});
    EXPECT_EQ(kParallel_Execute(CoverRange, &c, 10), kOK);
    for (int hit : c.hits)
        EXPECT_EQ(hit, 1);
    EXPECT_EQ(kParallel_Execute(kNULL, kNULL, 10), kSTATUS_BAD_PARAMETER);
}

TEST(Parallel, ReturnsTheLowestFailingPartAfterAllParts)
{
    Coverage c;
    c.hits.assign(80, 0);
    c.parts.assign(8, kParallelArgs{});
    c.failPart = 5; // parts 5, 6 and 7 fail
    EXPECT_EQ(kParallel_ExecuteEx(CoverRange, &c, 80, 8), -2005);
    for (int hit : c.hits)
        EXPECT_EQ(hit, 1);
}

/* ----- Time --------------------------------------------------------------------------------- */

TEST(Time, TimerMeasuresMonotonicMicroseconds)
{
    kObjectGuard timer;
    ASSERT_EQ(kTimer_Construct(&timer, kNULL), kOK);
    kThread_Sleep(2000);
    k64u first = kTimer_Elapsed(timer);
    EXPECT_GE(first, 2000u);
    ASSERT_EQ(kTimer_Start(timer), kOK);
    EXPECT_LT(kTimer_Elapsed(timer), kLongWait); // counts from the restart
    k64u a = kTimer_Now(), b = kTimer_Now();
    EXPECT_LE(a, b);
}

TEST(Time, DateTimeFormatsUtcCalendarTime)
{
    struct Case
    {
        kDateTime time;
        const char* text;
    } cases[] = {
        {0, "1970-01-01 00:00:00"},
        {1700000000123456, "2023-11-14 22:13:20"},
        {951782400000000, "2000-02-29 00:00:00"},
        {-1, "1969-12-31 23:59:59"}, // whole seconds round down
        {-62167219200000000, "0000-01-01 00:00:00"},
        {253402300799999999, "9999-12-31 23:59:59"},
    };
    char text[kDATE_TIME_FORMAT_LENGTH + 1];
    for (const Case& c : cases)
    {
        ASSERT_EQ(kDateTime_Format(c.time, text, sizeof(text)), kOK) << c.text;
        EXPECT_STREQ(text, c.text);
    }
    EXPECT_EQ(kDateTime_Format(0, text, kDATE_TIME_FORMAT_LENGTH), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDateTime_Format(0, kNULL, 64), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDateTime_Format(253402300800000000, text, sizeof(text)), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDateTime_Format(-62167219200000001, text, sizeof(text)), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kDateTime_Format(INT64_MIN, text, sizeof(text)), kSTATUS_BAD_PARAMETER);

    k64s wall = (k64s)time(nullptr) * 1000000;
    EXPECT_NEAR((double)kDateTime_Now(), (double)wall, 5e6);
}

/* ----- Atomics ------------------------------------------------------------------------------ */

TEST(Atomic, OperationsReturnTheDocumentedValues)
{
    kAtomic32s a = 5;
    EXPECT_EQ(kAtomic32s_Increment(&a), 6);
    EXPECT_EQ(kAtomic32s_Decrement(&a), 5);
    EXPECT_EQ(kAtomic32s_Exchange(&a, 9), 5);
    EXPECT_FALSE(kAtomic32s_CompareExchange(&a, 5, 1));
    EXPECT_EQ(kAtomic32s_Get(&a), 9);
    EXPECT_TRUE(kAtomic32s_CompareExchange(&a, 9, 1));
    EXPECT_EQ(kAtomic32s_Get(&a), 1);
    a = k32S_MAX;
    EXPECT_EQ(kAtomic32s_Increment(&a), k32S_MIN);
    EXPECT_EQ(kAtomic32s_Decrement(&a), k32S_MAX);
}

TEST(Atomic, ConcurrentCountersLoseNothing)
{
    kAtomic32s counter = 0, claims = 0;
    const int threads = 4, rounds = 50000 * kStressScale;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back(
            [&]
            {
                for (int i = 0; i < rounds; ++i)
                {
                    kAtomic32s_Increment(&counter);
                    k32s seen = kAtomic32s_Get(&claims);
                    while (!kAtomic32s_CompareExchange(&claims, seen, seen + 2))
                        seen = kAtomic32s_Get(&claims);
                    kAtomic32s_Decrement(&claims);
                }
            });
    for (std::thread& w : workers)
        w.join();
    EXPECT_EQ(kAtomic32s_Get(&counter), threads * rounds);
    EXPECT_EQ(kAtomic32s_Get(&claims), threads * rounds);
}
