// Phase outlier filter: the documented flat-map spike, a direct reference of the five steps
// for any number of workers and extreme values, spikes on a smooth surface, refusals without
// stray writes, and allocation failure.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dPhaseOutlier.h>

#include <algorithm>
#include <cstdlib>
#include <random>

using ktest::Map;

namespace
{
/* Maps of one Run and what the filter left in them. */
struct Maps
{
    std::vector<k32s> data, copy;
    std::vector<k8u> mask;
    k32s deviation = 0;
};

/* A filter owned by the test. */
class Outlier
{
public:
    Outlier() { EXPECT_EQ(kS3dPhaseOutlier_Construct(&m_filter, kNULL), kOK); }
    ~Outlier() { kObject_Destroy(m_filter); }
    Outlier(const Outlier&) = delete;
    Outlier& operator=(const Outlier&) = delete;
    operator kS3dPhaseOutlier() const { return m_filter; }

    Maps Run(const std::vector<k32s>& values, const std::vector<k8u>& valid, kSize rows,
             kSize columns, kVsJobQueue queue = kNULL) const
    {
        Map<k32s> data(kTypeOf(k32s), rows, columns), copy(kTypeOf(k32s), rows, columns),
            scratch(kTypeOf(k32s), rows, columns);
        Map<k8u> mask(kTypeOf(k8u), rows, columns);
        std::copy(values.begin(), values.end(), data.Data());
        std::copy(valid.begin(), valid.end(), mask.Data());
        EXPECT_EQ(kS3dPhaseOutlier_SetJobQueue(m_filter, queue), kOK);
        EXPECT_EQ(kS3dPhaseOutlier_Run(m_filter, data, copy, scratch, mask), kOK);
        return {data.Values(), copy.Values(), mask.Values(),
                kS3dPhaseOutlier_MeanDeviation(m_filter)};
    }

private:
    kS3dPhaseOutlier m_filter = kNULL;
};

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

/*
 * The filter as described, one pixel at a time: row means where the five pixels of the row are
 * valid, column means of those where the five of the column are, the mean deviation over full
 * boxes, and the area rule. Validity is read from the input mask (counting never makes a mask
 * zero); blends in 128 bits.
 */
Maps ReferenceFilter(const std::vector<k32s>& input, const std::vector<k8u>& valid, long rows,
                     long columns, k32s previousDeviation)
{
    Maps out{input, input, valid, previousDeviation};
    auto at = [&](long y, long x) { return y * columns + x; };
    auto count = [](k8u m) { return (k8u)((m + (m & 63) * 4) & 255); };

    std::vector<k32s> scratch = out.data;
    for (long y = 0; y < rows; ++y)
        for (long x = 2; x <= columns - 3; ++x)
        {
            bool full = true;
            long long sum = 0;
            for (long k = -2; k <= 2; ++k)
            {
                full = full && valid[at(y, x + k)] != 0;
                sum += scratch[at(y, x + k)];
            }
            if (!full) continue;
            out.mask[at(y, x)] = count(out.mask[at(y, x)]);
            out.data[at(y, x)] = (k32s)(sum / 5);
        }

    scratch = out.data;
    for (long y = 2; y <= rows - 3; ++y)
        for (long x = 0; x < columns; ++x)
        {
            bool full = true;
            long long sum = 0;
            for (long k = -2; k <= 2; ++k)
            {
                full = full && valid[at(y + k, x)] != 0;
                sum += scratch[at(y + k, x)];
            }
            if (!full) continue;
            out.mask[at(y, x)] = count(out.mask[at(y, x)]);
            out.data[at(y, x)] = (k32s)(sum / 5);
        }

    long long sum = 0, n = 0;
    for (long i = 0; i < rows * columns; ++i)
        if (out.mask[i] == 25)
        {
            sum += std::llabs((long long)out.copy[i] - out.data[i]);
            ++n;
        }
    if (n > 0) out.deviation = (k32s)(sum / n);

    const long long m = std::max<long long>(out.deviation, 1), w = std::max(3 * m - m, 1LL);
    for (long i = 0; i < rows * columns; ++i)
    {
        const long long o = out.copy[i], s = out.data[i], mask = out.mask[i];
        if (mask <= 1)
        {
            out.data[i] = (k32s)o;
            continue;
        }
        const long long d = std::llabs(o - s), others = (s * mask - o) / (mask - 1);
        if (d <= m)
            out.data[i] = (k32s)o;
        else if (d <= 3 * m)
            out.data[i] =
                (k32s)(long long)(((__int128)o * (w + m - d) + (__int128)others * (d - m)) / w);
        else
            out.data[i] = (k32s)others;
    }
    return out;
}

/* Random phase map: a gentle slope with noise and spikes; masks mostly 1, some 0 and 2. */
void RandomMaps(kSize count, std::mt19937& random, std::vector<k32s>& values,
                std::vector<k8u>& mask)
{
    std::uniform_int_distribution<int> pick(0, 99), noise(-40, 40), spike(-3000, 3000);
    values.resize(count);
    mask.resize(count);
    for (kSize i = 0; i < count; ++i)
    {
        int p = pick(random);
        values[i] = (k32s)(1000 + (i % 97) * 13 + noise(random) + (p < 6 ? spike(random) : 0));
        int q = pick(random);
        mask[i] = q < 8 ? 0 : q < 14 ? 2 : 1;
    }
}

class PhaseOutlier : public ktest::SolanSuite
{
};
} // namespace

TEST_F(PhaseOutlier, SpikeOnAFlatMapBecomesTheMeanOfItsBox)
{
    // 9 × 9, all valid: the spike's row mean is 160, every full box holds it once (mean 112),
    // so the deviation is (24 × 12 + 288) / 25 = 23 and 288 > 3 × 23.
    std::vector<k32s> map(81, 100);
    map[4 * 9 + 4] = 400;
    std::vector<k8u> valid(81, 1);
    Outlier filter;
    Maps out = filter.Run(map, valid, 9, 9);
    EXPECT_EQ(out.deviation, 23);
    EXPECT_EQ(out.data, std::vector<k32s>(81, 100));
    EXPECT_EQ(out.copy, map);
    for (kSize y = 0; y < 9; ++y)
        for (kSize x = 0; x < 9; ++x)
        {
            bool rowBox = x >= 2 && x <= 6, columnBox = y >= 2 && y <= 6;
            k8u expected = rowBox && columnBox ? 25 : rowBox || columnBox ? 5 : 1;
            EXPECT_EQ(out.mask[y * 9 + x], expected) << x << ", " << y;
        }

    // The same area inside a larger map whose other pixels are invalid.
    std::vector<k32s> big(15 * 15, 7777);
    std::vector<k8u> bigValid(15 * 15, 0);
    for (kSize y = 0; y < 9; ++y)
        for (kSize x = 0; x < 9; ++x)
        {
            big[(y + 3) * 15 + x + 4] = map[y * 9 + x];
            bigValid[(y + 3) * 15 + x + 4] = 1;
        }
    Maps bigOut = filter.Run(big, bigValid, 15, 15);
    EXPECT_EQ(bigOut.deviation, 23);
    for (kSize i = 0; i < big.size(); ++i)
        EXPECT_EQ(bigOut.data[i], bigValid[i] ? 100 : 7777) << i;
}

TEST_F(PhaseOutlier, DeviationIsKeptWhenNoPixelHasAFullBox)
{
    std::vector<k32s> map(81, 100);
    map[40] = 400;
    Outlier filter;
    EXPECT_EQ(filter.Run(map, std::vector<k8u>(81, 1), 9, 9).deviation, 23);

    // 4 × 4: no box fits; 9 × 9 without valid pixels: no box at all. Both keep 23.
    std::vector<k32s> small = {0, 0, 0, 0, 10, 10, 500, 10, 0, 0, 0, 0, 0, 0, 0, 0};
    Maps out = filter.Run(small, std::vector<k8u>(16, 1), 4, 4);
    EXPECT_EQ(out.deviation, 23);
    EXPECT_EQ(out.data, small) << "columns 2 … width − 3 is empty for 4 columns";
    EXPECT_EQ(filter.Run(map, std::vector<k8u>(81, 0), 9, 9).deviation, 23);

    // 1 × 5: one row box and no full box; the kept 23 decides the area rule.
    std::vector<k32s> row = {10, 10, 500, 10, 10};
    Maps one = filter.Run(row, std::vector<k8u>(5, 1), 1, 5);
    EXPECT_EQ(one.deviation, 23);
    EXPECT_EQ(one.mask, (std::vector<k8u>{1, 1, 5, 1, 1}));
    // Row mean 108, d = 392 > 69: (108 × 5 − 500) / 4 = 10.
    EXPECT_EQ(one.data, (std::vector<k32s>{10, 10, 10, 10, 10}));
}

TEST_F(PhaseOutlier, MatchesDirectReferenceForAnyWorkerCount)
{
    struct Case
    {
        kSize rows, columns;
    } cases[] = {{1, 1}, {2, 2}, {5, 5},   {4, 7},   {7, 4},
                 {1, 9}, {9, 1}, {61, 97}, {48, 64}, {6, 200}};
    Queue one(1), two(2), four(4);
    kVsJobQueue queues[] = {kNULL, one, two, four};
    std::mt19937 random(17);

    for (const Case& c : cases)
    {
        std::vector<k32s> values;
        std::vector<k8u> mask;
        RandomMaps(c.rows * c.columns, random, values, mask);
        for (kVsJobQueue queue : queues)
        {
            Outlier filter;
            Maps expected = ReferenceFilter(values, mask, (long)c.rows, (long)c.columns, 0);
            Maps out = filter.Run(values, mask, c.rows, c.columns, queue);
            kSize workers = queue ? kVsJobQueue_ThreadCount(queue) : 0;
            EXPECT_EQ(out.data, expected.data) << c.columns << " x " << c.rows << " " << workers;
            EXPECT_EQ(out.mask, expected.mask) << c.columns << " x " << c.rows << " " << workers;
            EXPECT_EQ(out.copy, values);
            EXPECT_EQ(out.deviation, expected.deviation);
        }
    }
}

TEST_F(PhaseOutlier, ExtremeValuesFollowTheReference)
{
    // Phases near the ends of the 32-bit range: sums, box means, the mean of the others and the
    // blends all leave 32 bits; the filter keeps them exact where the reference does.
    std::mt19937 random(23);
    std::uniform_int_distribution<k32s> any(k32S_MIN, k32S_MAX);
    std::uniform_int_distribution<int> pick(0, 9);
    const kSize rows = 19, columns = 23;
    std::vector<k32s> values(rows * columns);
    std::vector<k8u> mask(rows * columns);
    for (kSize i = 0; i < values.size(); ++i)
    {
        values[i] = pick(random) < 5 ? any(random) : (pick(random) < 5 ? k32S_MAX : k32S_MIN);
        mask[i] = (k8u)(pick(random) == 0 ? 0 : pick(random) < 7 ? 1 : pick(random) * 20 + 2);
    }
    Outlier filter;
    Maps out = filter.Run(values, mask, rows, columns);
    Maps expected = ReferenceFilter(values, mask, rows, columns, 0);
    EXPECT_EQ(out.data, expected.data);
    EXPECT_EQ(out.mask, expected.mask);
    EXPECT_EQ(out.deviation, expected.deviation);
}

TEST_F(PhaseOutlier, SpikesOnASmoothSurfaceArePulledTowardsTheirNeighbours)
{
    const kSize rows = 61, columns = 97;
    std::mt19937 random(29);
    std::uniform_int_distribution<int> noise(-3, 3), sign(0, 1), size(300, 3000);
    std::vector<k32s> truth(rows * columns), map;
    for (kSize y = 0; y < rows; ++y)
        for (kSize x = 0; x < columns; ++x)
            truth[y * columns + x] =
                (k32s)(8000 + 25 * x + 9 * y + (x - 48) * (x - 48) / 16 + noise(random));
    map = truth;

    // Isolated spikes, 7 pixels apart, away from the border: each lies in a full box.
    std::vector<kSize> spikes;
    for (kSize y = 4; y + 4 < rows; y += 7)
        for (kSize x = 4 + (y % 3); x + 4 < columns; x += 7)
        {
            kSize i = y * columns + x;
            map[i] += (sign(random) ? 1 : -1) * size(random);
            spikes.push_back(i);
        }
    std::vector<k8u> valid(rows * columns, 1);

    Queue two(2);
    Outlier filter;
    Maps out = filter.Run(map, valid, rows, columns, two);
    EXPECT_EQ(out.data, ReferenceFilter(map, valid, rows, columns, 0).data);
    for (kSize i : spikes)
    {
        long before = std::labs((long)map[i] - truth[i]),
             after = std::labs((long)out.data[i] - truth[i]);
        EXPECT_LT(after, before / 4) << "spike at " << i % columns << ", " << i / columns;
    }
}

TEST_F(PhaseOutlier, RefusesBadMapsWithoutWriting)
{
    const kSize rows = 7, columns = 8;
    const k32s guard = 0x3C3C3C3C;
    std::vector<k32s> items[3];
    for (auto& v : items)
        v.assign((rows + 2) * columns, guard);
    std::vector<k8u> maskItems((rows + 2) * columns, 0xA5);
    std::mt19937 random(31);
    std::vector<k32s> values;
    std::vector<k8u> valid;
    RandomMaps(rows * columns, random, values, valid);
    std::copy(values.begin(), values.end(), items[0].begin() + columns);
    std::copy(valid.begin(), valid.end(), maskItems.begin() + columns);

    kArray2 maps[3] = {}, mask = kNULL, shortMap = kNULL, wrongType = kNULL, wideMask = kNULL;
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(kArray2_Construct(&maps[i], kTypeOf(k32s), 0, 0, kNULL), kOK);
        ASSERT_EQ(kArray2_Attach(maps[i], kTypeOf(k32s), &items[i][columns], rows, columns), kOK);
    }
    ASSERT_EQ(kArray2_Construct(&mask, kTypeOf(k8u), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Attach(mask, kTypeOf(k8u), &maskItems[columns], rows, columns), kOK);
    ASSERT_EQ(kArray2_Construct(&shortMap, kTypeOf(k32s), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Attach(shortMap, kTypeOf(k32s), &items[1][columns], rows, columns - 1), kOK);
    ASSERT_EQ(kArray2_Construct(&wrongType, kTypeOf(k32u), rows, columns, kNULL), kOK);
    ASSERT_EQ(kArray2_Construct(&wideMask, kTypeOf(k16u), rows, columns, kNULL), kOK);
    const kArray2 data = maps[0], copy = maps[1], scratch = maps[2];

    Outlier filter;
    const std::vector<k32s> dataBefore = items[0];
    const std::vector<k8u> maskBefore = maskItems;
    const kStatus bad = kSTATUS_BAD_PARAMETER;
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, kNULL, copy, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, kNULL, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, kNULL, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, scratch, kNULL), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, data, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, data, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, copy, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, shortMap, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, shortMap, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, shortMap, copy, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, wrongType, copy, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, wrongType, scratch, mask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, scratch, wideMask), bad);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, scratch, data), bad);
    EXPECT_EQ(items[0], dataBefore);
    EXPECT_EQ(maskItems, maskBefore);
    EXPECT_EQ(kS3dPhaseOutlier_MeanDeviation(filter), 0);

    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, scratch, mask), kOK);
    for (int i = 0; i < 3; ++i)
        for (kSize x = 0; x < columns; ++x)
        {
            EXPECT_EQ(items[i][x], guard);
            EXPECT_EQ(items[i][(rows + 1) * columns + x], guard);
        }
    for (kSize x = 0; x < columns; ++x)
    {
        EXPECT_EQ(maskItems[x], 0xA5);
        EXPECT_EQ(maskItems[(rows + 1) * columns + x], 0xA5);
    }
    Maps expected = ReferenceFilter(values, valid, rows, columns, 0);
    EXPECT_EQ(std::vector<k32s>(items[0].begin() + columns, items[0].end() - columns),
              expected.data);

    for (kObject o : {maps[0], maps[1], maps[2], mask, shortMap, wrongType, wideMask})
        kObject_Destroy(o);
}

TEST_F(PhaseOutlier, AQueueThatCannotTakeJobsFailsTheRun)
{
    ktest::CountingAlloc alloc;
    kVsJobQueue queue = kNULL;
    ASSERT_EQ(kVsJobQueue_Construct(&queue, 2, alloc), kOK);
    ASSERT_EQ(kCountingAlloc_SetFailAfter(alloc, 0), kOK);

    Outlier filter;
    ASSERT_EQ(kS3dPhaseOutlier_SetJobQueue(filter, queue), kOK);
    Map<k32s> data(kTypeOf(k32s), 12, 12), copy(kTypeOf(k32s), 12, 12),
        scratch(kTypeOf(k32s), 12, 12);
    Map<k8u> mask(kTypeOf(k8u), 12, 12);
    data.Fill(100);
    mask.Fill(1);
    EXPECT_EQ(kS3dPhaseOutlier_Run(filter, data, copy, scratch, mask), kSTATUS_MEMORY);
    EXPECT_EQ(kS3dPhaseOutlier_Area(filter), kSTATUS_BAD_STATE) << "the maps stay with the Run";
    EXPECT_EQ(kObject_Destroy(queue), kOK);
}

TEST_F(PhaseOutlier, StepsNeedARunAndTheQueueMustBeAQueue)
{
    Outlier filter;
    EXPECT_EQ(kS3dPhaseOutlier_Row(filter), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_Column(filter), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_Deviation(filter), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_Area(filter), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_RowThread(filter, 0), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_ColumnThread(filter, 0), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_DeviationThread(filter, 0), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dPhaseOutlier_AreaThread(filter, 0), kSTATUS_BAD_STATE);

    Map<k8u> notAQueue(kTypeOf(k8u), 1, 1);
    EXPECT_EQ(kS3dPhaseOutlier_SetJobQueue(filter, notAQueue), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseOutlier_JobQueue(filter), kNULL);

    ktest::CastFailCapture casts;
    EXPECT_EQ(kS3dPhaseOutlier_Row(notAQueue), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(casts.Count(), 1);
}

TEST_F(PhaseOutlier, ConstructionFailsCleanlyAndCloningIsRefused)
{
    kSize steps = ktest::ExpectCleanFailures([](kAlloc alloc, kObject* handle)
                                             { return kS3dPhaseOutlier_Construct(handle, alloc); });
    EXPECT_GE(steps, 2u) << "the filter and its lock";

    Outlier source;
    ktest::CountingAlloc alloc;
    kObject clone = kNULL;
    EXPECT_EQ(kObject_Clone(&clone, source, alloc), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(clone, kNULL);
    EXPECT_EQ(alloc.Outstanding(), 0u);
    EXPECT_GT(kObject_Size(source), sizeof(kObjectClass) + 4 * sizeof(kArray2));
}
