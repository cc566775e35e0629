// Phase median filter: the documented cases, a smooth surface with injected whole-period
// errors repaired to the exact ground truth, a direct reference of the pass rules for any
// number of workers, refusals without stray writes, and allocation failure.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dPhaseMedian.h>

#include <algorithm>
#include <random>

using ktest::Map;

namespace
{
/* A filter owned by the test. */
class Median
{
public:
    Median(k32s period, k32s window = 2, k32s repeat = 2)
    {
        EXPECT_EQ(kS3dPhaseMedian_Construct(&m_filter, kNULL), kOK);
        EXPECT_EQ(kS3dPhaseMedian_SetPeriod(m_filter, period), kOK);
        EXPECT_EQ(kS3dPhaseMedian_SetWindow(m_filter, window), kOK);
        EXPECT_EQ(kS3dPhaseMedian_SetRepeat(m_filter, repeat), kOK);
    }
    ~Median() { kObject_Destroy(m_filter); }
    Median(const Median&) = delete;
    Median& operator=(const Median&) = delete;
    operator kS3dPhaseMedian() const { return m_filter; }

    /* Filters values (rows × columns) and returns the result. */
    std::vector<k32s> Run(const std::vector<k32s>& values, kSize rows, kSize columns,
                          kVsJobQueue queue = kNULL) const
    {
        Map<k32s> data(kTypeOf(k32s), rows, columns), scratch(kTypeOf(k32s), rows, columns);
        std::copy(values.begin(), values.end(), data.Data());
        EXPECT_EQ(kS3dPhaseMedian_SetJobQueue(m_filter, queue), kOK);
        EXPECT_EQ(kS3dPhaseMedian_Run(m_filter, data, scratch), kOK);
        return data.Values();
    }

private:
    kS3dPhaseMedian m_filter = kNULL;
};

/* A job queue with a given number of workers, owned by the test. */
class Queue
{
public:
    explicit Queue(kSize threads)
    {
        EXPECT_EQ(kVsJobQueue_Construct(&m_queue, threads, kNULL), kOK);
    }
    ~Queue() { kObject_Destroy(m_queue); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    operator kVsJobQueue() const { return m_queue; }

private:
    kVsJobQueue m_queue = kNULL;
};

/* The limit rule as written, with 64-bit arithmetic and no shortcut. */
k32s ReferenceLimit(k32s value, k32s reference, k32s period, k32s limit)
{
    if (period <= 0 || limit < 0) return value;
    long long v = value, r = reference, p = period;
    v = v - ((v - r) / p) * p;
    while (v - r > limit)
        v -= p;
    while (v - r < -limit)
        v += p;
    return (k32s)v;
}

k32s ReferenceMedian3(k32s a, k32s b, k32s c)
{
    k32s v[3] = {a, b, c};
    std::sort(v, v + 3);
    return v[1];
}

/*
 * The filter as described: repeat × (copy, row pass, copy, column pass); a pass works on
 * positions window + 1 … n − window − 2 of its direction, takes the median cascade from the
 * copy, invalidates on a zero reference, and leaves invalid pixels invalid.
 */
std::vector<k32s> ReferenceFilter(std::vector<k32s> data, long rows, long columns, long window,
                                  long repeat, k32s period)
{
    if (period == 0) return data;
    auto pass = [&](bool alongRows)
    {
        const std::vector<k32s> scratch = data;
        for (long y = 0; y < rows; ++y)
            for (long x = 0; x < columns; ++x)
            {
                long position = alongRows ? x : y, count = alongRows ? columns : rows;
                if (position < window + 1 || position > count - window - 2) continue;
                if (data[y * columns + x] == 0) continue;
                k32s m = scratch[y * columns + x];
                for (long k = 1; k <= window; ++k)
                {
                    long before = alongRows ? y * columns + x - k : (y - k) * columns + x;
                    long after = alongRows ? y * columns + x + k : (y + k) * columns + x;
                    m = ReferenceMedian3(m, scratch[before], scratch[after]);
                }
                data[y * columns + x] =
                    m == 0 ? 0 : ReferenceLimit(data[y * columns + x], m, period, period / 2);
            }
    };
    for (long i = 0; i < repeat; ++i)
    {
        pass(true);
        pass(false);
    }
    return data;
}

/* Tilted plane plus a gentle paraboloid plus fine detail, all valid (> 0) phase. */
std::vector<k32s> SmoothSurface(kSize rows, kSize columns, std::mt19937& random)
{
    std::uniform_int_distribution<int> detail(-60, 60);
    std::vector<k32s> map(rows * columns);
    const long cx = (long)columns / 2, cy = (long)rows / 3;
    for (long y = 0; y < (long)rows; ++y)
        for (long x = 0; x < (long)columns; ++x)
            map[y * columns + x] =
                (k32s)(20000 + 37 * x + 11 * y + ((x - cx) * (x - cx) + (y - cy) * (y - cy)) / 8 +
                       detail(random));
    return map;
}

/*
 * Adds ±1 or ±2 periods to isolated pixels and small clusters (1 × 1 … 3 × 1, 2 × 2), one
 * per 7 × 7 cell at most, at least 3 pixels apart and 3 pixels from the border. Returns the
 * number of pixels changed.
 */
kSize InjectErrors(std::vector<k32s>& map, kSize rows, kSize columns, k32s period,
                   std::mt19937& random)
{
    static const int shapes[][2] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {1, 3}, {3, 1}};
    const int cell = 7, margin = 3;
    std::uniform_int_distribution<int> shapeOf(0, 5), offsets(-2, 1), chance(0, 9);
    kSize changed = 0;

    for (int cy = margin; cy + cell <= (int)rows - margin; cy += cell)
        for (int cx = margin; cx + cell <= (int)columns - margin; cx += cell)
        {
            if (chance(random) == 0) continue;
            const int* shape = shapes[shapeOf(random)];
            int oy = std::uniform_int_distribution<int>(0, cell - shape[0] - 3)(random);
            int ox = std::uniform_int_distribution<int>(0, cell - shape[1] - 3)(random);
            for (int y = 0; y < shape[0]; ++y)
                for (int x = 0; x < shape[1]; ++x)
                {
                    int k = offsets(random);
                    map[(cy + oy + y) * columns + cx + ox + x] += (k >= 0 ? k + 1 : k) * period;
                    ++changed;
                }
        }
    return changed;
}

/* Values of a random map: smooth runs with jumps of a few periods, holes and noise. */
std::vector<k32s> RandomMap(kSize count, k32s period, std::mt19937& random)
{
    std::uniform_int_distribution<int> pick(0, 99), noise(-period, period), jump(-3, 3);
    std::vector<k32s> map(count);
    k32s base = 5 * period;
    for (kSize i = 0; i < count; ++i)
    {
        base += (k32s)(noise(random) / 8);
        int p = pick(random);
        map[i] = p < 10 ? 0 : p < 25 ? base + jump(random) * period : base + noise(random) / 4;
    }
    return map;
}

class PhaseMedian : public ktest::SolanSuite
{
};
} // namespace

TEST_F(PhaseMedian, SingleRowSpikeOfOnePeriodReturnsToItsNeighbours)
{
    std::vector<k32s> row(11, 100);
    row[5] = 164;
    Median filter(64);
    std::vector<k32s> expected(11, 100);
    EXPECT_EQ(filter.Run(row, 1, 11), expected);

    // The column pass changes nothing on a single row; on the single column it does the work.
    EXPECT_EQ(filter.Run(row, 11, 1), expected);
}

TEST_F(PhaseMedian, ZeroReferenceInvalidatesAndInvalidPixelsStayInvalid)
{
    // First row: column 5 is valid between holes: median(164, 0, 0) = 0, then
    // median(0, 0, 100) = 0, and it is invalidated. Second row: with a hole at distance 2 on
    // one side only the cascade recovers (median(0, 100, 100) = 100) and column 5 is shifted
    // by one period onto its neighbours. The holes at columns 6 (first row) and 4 (second row)
    // have references of 100 but stay invalid.
    std::vector<k32s> row = {100, 100, 100, 0,   0, 164, 0, 100, 100, 100, 100,
                             100, 100, 100, 100, 0, 164, 0, 100, 100, 100, 100};
    std::vector<k32s> expected = {100, 100, 100, 0,   0, 0,   0, 100, 100, 100, 100,
                                  100, 100, 100, 100, 0, 100, 0, 100, 100, 100, 100};
    Median filter(64, 2, 1);
    EXPECT_EQ(filter.Run(row, 2, 11), expected);
}

TEST_F(PhaseMedian, PeriodZeroWindowZeroAndRepeatZeroChangeNothing)
{
    std::mt19937 random(7);
    const kSize rows = 23, columns = 31;
    std::vector<k32s> map = RandomMap(rows * columns, 256, random);

    Median window0(256, 0);
    EXPECT_EQ(window0.Run(map, rows, columns), map);
    Median repeat0(256, 2, 0);
    EXPECT_EQ(repeat0.Run(map, rows, columns), map);

    // Period 0 returns before looking at the maps' shapes.
    Median disabled(0);
    Map<k32s> data(kTypeOf(k32s), rows, columns), small(kTypeOf(k16s), 2, 2);
    std::copy(map.begin(), map.end(), data.Data());
    EXPECT_EQ(kS3dPhaseMedian_Run(disabled, data, small), kOK);
    EXPECT_EQ(data.Values(), map);
    EXPECT_EQ(kS3dPhaseMedian_Run(disabled, data, kNULL), kSTATUS_BAD_PARAMETER);
}

TEST_F(PhaseMedian, CheckPhaseLimitShiftsByWholePeriodsWithinTheLimit)
{
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(164, 100, 64, 32), 100);
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(132, 100, 64, 32), 132); // exactly at +limit
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(133, 100, 64, 32), 69);
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(68, 100, 64, 32), 68); // exactly at −limit
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(67, 100, 64, 32), 131);
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(-100, 30, 64, 32), 28);
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(100 + 5 * 4096 + 7, 100, 4096, 2048), 107);
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(50, 0, 10, 100), 0); // division first: limit > P
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(77, 0, 0, 5), 77);
    EXPECT_EQ(kS3dPhaseMedian_CheckPhaseLimit(77, 0, 10, -1), 77);

    std::mt19937 random(3);
    std::uniform_int_distribution<k32s> value(-3000000, 3000000), period(1, 5000);
    for (int i = 0; i < 20000; ++i)
    {
        k32s v = value(random), r = value(random), p = period(random);
        k32s limits[] = {p / 2, 0, p - 1, p, 3 * p};
        for (k32s l : limits)
            ASSERT_EQ(kS3dPhaseMedian_CheckPhaseLimit(v, r, p, l), ReferenceLimit(v, r, p, l))
                << v << " " << r << " " << p << " " << l;
    }
}

TEST_F(PhaseMedian, BordersOfWindowPlusOneLinesAreOnlyFixedAcross)
{
    const kSize n = 12;
    const k32s period = 1000;
    std::vector<k32s> truth(n * n);
    for (kSize i = 0; i < n * n; ++i)
        truth[i] = (k32s)(5000 + 3 * (i % n) + 2 * (i / n));

    std::vector<k32s> map = truth;
    map[0 * n + 0] += period;     // corner: never touched
    map[2 * n + 11] -= period;    // corner (row 2 < 3, column 11 > 8)
    map[0 * n + 5] += 2 * period; // top row, inner column: the row pass fixes it
    map[6 * n + 1] -= period;     // left border column, inner row: the column pass fixes it

    std::vector<k32s> expected = truth;
    expected[0] = map[0];
    expected[2 * n + 11] = map[2 * n + 11];
    Median filter(period);
    EXPECT_EQ(filter.Run(map, n, n), expected);
}

TEST_F(PhaseMedian, SmoothSurfaceWithWholePeriodErrorsIsRepairedExactly)
{
    struct Case
    {
        kSize rows, columns;
    } cases[] = {{120, 160}, {61, 97}};
    Queue one(1), two(2), four(4);
    kVsJobQueue queues[] = {kNULL, one, two, four};

    for (const Case& c : cases)
    {
        std::mt19937 random((unsigned)(c.rows * c.columns));
        const k32s period = 4096;
        std::vector<k32s> truth = SmoothSurface(c.rows, c.columns, random);
        std::vector<k32s> map = truth;
        kSize changed = InjectErrors(map, c.rows, c.columns, period, random);
        EXPECT_GT(changed, c.rows * c.columns / 50) << "at least 2 % of the pixels are wrong";

        Median filter(period);
        for (kVsJobQueue queue : queues)
        {
            std::vector<k32s> result = filter.Run(map, c.rows, c.columns, queue);
            kSize wrong = 0;
            for (kSize i = 0; i < result.size(); ++i)
                wrong += result[i] != truth[i];
            EXPECT_EQ(wrong, 0u) << c.columns << " x " << c.rows << ", " << changed
                                 << " pixels injected";
        }
    }
}

TEST_F(PhaseMedian, MatchesDirectReferenceForAnyWorkerCount)
{
    struct Case
    {
        kSize rows, columns;
        k32s window, repeat, period;
    } cases[] = {{1, 1, 2, 2, 64},  {2, 2, 0, 1, 64},   {1, 11, 2, 2, 64},  {11, 1, 2, 2, 64},
                 {7, 9, 1, 3, 100}, {9, 7, 3, 1, 4096}, {61, 97, 2, 2, 64}, {61, 97, 5, 2, 256},
                 {64, 64, 1, 1, 1}, {33, 47, 2, 3, 7},  {8, 8, 3, 2, 64},   {5, 200, 2, 2, 512}};
    Queue one(1), two(2), four(4);
    kVsJobQueue queues[] = {kNULL, one, two, four};
    std::mt19937 random(11);

    for (const Case& c : cases)
    {
        std::vector<k32s> map = RandomMap(c.rows * c.columns, c.period, random);
        std::vector<k32s> expected =
            ReferenceFilter(map, (long)c.rows, (long)c.columns, c.window, c.repeat, c.period);
        Median filter(c.period, c.window, c.repeat);
        for (kVsJobQueue queue : queues)
            EXPECT_EQ(filter.Run(map, c.rows, c.columns, queue), expected)
                << c.columns << " x " << c.rows << " window " << c.window << " workers "
                << (queue ? kVsJobQueue_ThreadCount(queue) : 0);
    }
}

TEST_F(PhaseMedian, ExtremeValuesFollowTheReference)
{
    // Values at both ends of the 32-bit range: differences to the reference leave 32 bits and
    // shifted values wrap; the filter agrees with the 64-bit rule throughout.
    std::mt19937 random(19);
    std::uniform_int_distribution<k32s> any(k32S_MIN, k32S_MAX);
    std::uniform_int_distribution<int> pick(0, 9);
    const kSize rows = 17, columns = 29;
    std::vector<k32s> map(rows * columns);
    for (k32s& v : map)
    {
        int p = pick(random);
        v = p < 4   ? any(random)
            : p < 6 ? k32S_MAX - pick(random)
            : p < 8 ? k32S_MIN + pick(random)
                    : 0;
    }
    const k32s periods[] = {1, 3, 4096, 1 << 30, k32S_MAX};
    for (k32s period : periods)
    {
        Median filter(period, 2, 2);
        EXPECT_EQ(filter.Run(map, rows, columns), ReferenceFilter(map, rows, columns, 2, 2, period))
            << "period " << period;
    }
}

TEST_F(PhaseMedian, RefusesBadMapsWithoutWriting)
{
    // Maps attached between guard rows: nothing outside the maps may change.
    const kSize rows = 6, columns = 9;
    const k32s guard = 0x5A5A5A5A;
    std::vector<k32s> dataItems((rows + 2) * columns, guard), scratchItems = dataItems;
    std::mt19937 random(5);
    std::vector<k32s> map = RandomMap(rows * columns, 64, random);
    std::copy(map.begin(), map.end(), dataItems.begin() + columns);

    kArray2 data = kNULL, scratch = kNULL, shortScratch = kNULL, wide = kNULL;
    ASSERT_EQ(kArray2_Construct(&data, kTypeOf(k32s), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Construct(&scratch, kTypeOf(k32s), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Construct(&shortScratch, kTypeOf(k32s), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Construct(&wide, kTypeOf(k16s), rows, columns, kNULL), kOK);
    ASSERT_EQ(kArray2_Attach(data, kTypeOf(k32s), &dataItems[columns], rows, columns), kOK);
    ASSERT_EQ(kArray2_Attach(scratch, kTypeOf(k32s), &scratchItems[columns], rows, columns), kOK);
    ASSERT_EQ(
        kArray2_Attach(shortScratch, kTypeOf(k32s), &scratchItems[columns], rows - 1, columns),
        kOK);
    kArray1 line = kNULL;
    ASSERT_EQ(kArray1_Construct(&line, kTypeOf(k32s), rows * columns, kNULL), kOK);

    Median filter(64);
    const std::vector<k32s> before = dataItems;
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, kNULL, scratch), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, data), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, shortScratch), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, wide), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, wide, scratch), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, line, scratch), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, line), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(dataItems, before);

    // A good run writes inside the maps only.
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, scratch), kOK);
    for (kSize i = 0; i < columns; ++i)
    {
        EXPECT_EQ(dataItems[i], guard);
        EXPECT_EQ(dataItems[(rows + 1) * columns + i], guard);
        EXPECT_EQ(scratchItems[i], guard);
        EXPECT_EQ(scratchItems[(rows + 1) * columns + i], guard);
    }
    std::vector<k32s> result(dataItems.begin() + columns, dataItems.end() - columns);
    EXPECT_EQ(result, ReferenceFilter(map, rows, columns, 2, 2, 64));

    // Empty maps are accepted and left alone.
    Map<k32s> empty(kTypeOf(k32s), 0, 5), emptyScratch(kTypeOf(k32s), 0, 5);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, empty, emptyScratch), kOK);

    for (kObject o : {data, scratch, shortScratch, wide, line})
        kObject_Destroy(o);
}

TEST_F(PhaseMedian, AQueueThatCannotTakeJobsFailsTheRun)
{
    // The queue's job records come from an allocator that refuses everything after the queue
    // is built: the first pass cannot hand out its batches.
    ktest::CountingAlloc alloc;
    kVsJobQueue queue = kNULL;
    ASSERT_EQ(kVsJobQueue_Construct(&queue, 2, alloc), kOK);
    ASSERT_EQ(kCountingAlloc_SetFailAfter(alloc, 0), kOK);

    Median filter(64);
    ASSERT_EQ(kS3dPhaseMedian_SetJobQueue(filter, queue), kOK);
    Map<k32s> data(kTypeOf(k32s), 40, 30), scratch(kTypeOf(k32s), 40, 30);
    data.Fill(100);
    EXPECT_EQ(kS3dPhaseMedian_Run(filter, data, scratch), kSTATUS_MEMORY);
    EXPECT_EQ(kS3dPhaseMedian_Row(filter), kSTATUS_BAD_STATE) << "the maps stay with the Run";
    EXPECT_EQ(kObject_Destroy(queue), kOK);
}

TEST_F(PhaseMedian, SettersRefuseWhatTheFilterCannotUse)
{
    Median filter(0);
    EXPECT_EQ(kS3dPhaseMedian_Repeat(filter), 2);
    EXPECT_EQ(kS3dPhaseMedian_Period(filter), 0);
    EXPECT_EQ(kS3dPhaseMedian_Window(filter), 2);
    EXPECT_EQ(kS3dPhaseMedian_JobQueue(filter), kNULL);

    EXPECT_EQ(kS3dPhaseMedian_SetRepeat(filter, -1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_SetPeriod(filter, -64), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_SetWindow(filter, -1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_Repeat(filter), 2);
    EXPECT_EQ(kS3dPhaseMedian_Period(filter), 0);
    EXPECT_EQ(kS3dPhaseMedian_Window(filter), 2);

    Map<k32s> notAQueue(kTypeOf(k32s), 1, 1);
    EXPECT_EQ(kS3dPhaseMedian_SetJobQueue(filter, notAQueue), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseMedian_JobQueue(filter), kNULL);

    // The passes work on the maps of a Run only.
    EXPECT_EQ(kS3dPhaseMedian_Row(filter), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseMedian_Column(filter), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseMedian_RowThread(filter, 0), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseMedian_ColumnThread(filter, 0), kSTATUS_BAD_STATE);

    ktest::CastFailCapture casts;
    EXPECT_EQ(kS3dPhaseMedian_SetPeriod(notAQueue, 64), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(casts.Count(), 1);
}

TEST_F(PhaseMedian, ConstructionFailsCleanlyAndCloningIsRefused)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                               { return kS3dPhaseMedian_Construct(handle, alloc); });

    Median source(4096, 3, 5);
    ktest::CountingAlloc alloc;
    kObject clone = kNULL;
    EXPECT_EQ(kObject_Clone(&clone, source, alloc), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(clone, kNULL);
    EXPECT_EQ(alloc.Outstanding(), 0u);
    EXPECT_GT(kObject_Size(source), sizeof(kObjectClass) + 3 * sizeof(k32s));
}
