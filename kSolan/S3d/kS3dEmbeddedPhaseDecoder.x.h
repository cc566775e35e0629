/*
 * Private to the embedded phase decoders: the state both classes share and the decoding steps,
 * written once over an arithmetic (float maps in periods for kS3dEmbeddedPhaseDecoder, 16.16
 * fixed point for kS3dEmbeddedPhaseDecoderInt). An arithmetic supplies:
 *
 *   Value, Acc, Coef          map item, accumulator component, per-frame matrix coefficient
 *   kInvalid, kOne            the invalid marker of a map and one period
 *   ValueType(), AccType(), CoefType()   the kTypes of a map item, an accumulator pair and
 *                             a coefficient
 *   ConstructMatrix(...)      the shift matrix in the arithmetic's form
 *   Coefficient(m, r, c)      entry (r, c) of that matrix as a Coef
 *   Skip(a, b)                true when a frame does not touch a frequency (after frame 0)
 *   Accumulate(...)           one frame of one frequency into its pairs
 *   BuildArctan(&table, a)    the arctangent table; Phase(sine, cosine, table) in [0, kOne)
 *   RampThreshold(i, L)       (2t − 1) × 0.1 periods at index i of a line of L
 *   Order(r, a, b), Unwrapped(r, a, b)   the base ramp and unwrap of one pixel (r = pb / pa)
 *   ToFixed(v), FromFixed(sum, count)    values in the Kuwahara sums (exact integers)
 *   ExportPhase(φ0, P), ExportCode(order)
 */
#ifndef K_S3D_EMBEDDED_PHASE_DECODER_X_H
#define K_S3D_EMBEDDED_PHASE_DECODER_X_H

#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.h>
#include <kSolan/S3d/kernels/kS3dEmbeddedPhaseHost.h>

#include <algorithm>
#include <type_traits>

/** State shared by both decoders; the instance structs hold it after their object header. */
typedef struct xkS3dEmbeddedPhaseCore
{
    kSize width;
    kSize height;
    kSize pixelCount;
    kArray1 coefficients;   // k64f, per frequency
    kArray1 periods;        // k64f: cumulative periods C
    kArray1 patternPeriods; // k64f: projected periods Q
    kArray1 stepCounts;     // kSize
    kSize frequencyCount;
    kSize sequenceLength;
    kSize phasePeriod;
    kSize contrastThreshold;
    kSize window; // Kuwahara window, 15: quadrants of at most 64 samples keep the sums exact
    k32s orientation;
    kArray2 shiftMatrix;  // (2n + 1) × sequence length, k64f or k32s
    kArray1 frameCoefs;   // Coef, sequence length × n × 2: (a, b) of frame k, frequency i
    kArray1 accumulators; // kArray2 per frequency, height × width pairs; null once consumed
    kArray2 statistics;   // kS3dEmbeddedPhaseStats, height × width
    kArray1 phases;       // kArray2 of Value per frequency, formed when a sequence completes
    kArray2 smoothed;     // Value, height × width
    kArray1 scratch;      // Kuwahara cells, two rows per worker
    kArray1 arctan;       // arctangent table of the arithmetic
    kSize frameCount;
    kArray2 codeMap;      // k8u, borrowed from Begin
    kArray2 phaseMap;     // kPhasePixel, borrowed from Begin
    kArrayList states;    // kArray1 copies of the phase maps; borrowed; null: not recording
    kVsJobQueue jobQueue; // borrowed
    kBool changed;        // sequence info changed since the shift matrix was built
} xkS3dEmbeddedPhaseCore;

/* Largest ratio of the last cumulative period to the first that a sequence may have. */
#define xkS3D_EMBEDDED_MAX_PERIOD_RATIO (65536.0)

/* Fixed-point scale of float values in the Kuwahara sums, and their range there. */
#define xkS3D_EMBEDDED_KUWAHARA_ONE (1048576.0)
#define xkS3D_EMBEDDED_KUWAHARA_RANGE (4.0)

/** Moving sums of the Kuwahara filter (24 bytes). */
typedef struct xkS3dEmbeddedCell
{
    k64s sum;
    k64s squares;
    k64s count;
} xkS3dEmbeddedCell;

void xkS3dEmbeddedPhaseCore_Init(xkS3dEmbeddedPhaseCore* core);
kStatus xkS3dEmbeddedPhaseCore_Release(xkS3dEmbeddedPhaseCore* core);
kSize xkS3dEmbeddedPhaseCore_Size(const xkS3dEmbeddedPhaseCore* core);
kStatus xkS3dEmbeddedPhaseCore_SetSequenceInfo(xkS3dEmbeddedPhaseCore* core, kAlloc alloc,
                                               const k64f* coefficients, const kSize* stepCounts,
                                               kSize count);
kStatus xkS3dEmbeddedPhaseCore_SequenceInfo(const xkS3dEmbeddedPhaseCore* core, k64f* coefficients,
                                            kSize* stepCounts, kSize capacity, kSize* count);
kStatus xkS3dEmbeddedPhaseCore_SetPhasePeriod(xkS3dEmbeddedPhaseCore* core, kSize period);
kStatus xkS3dEmbeddedPhaseCore_SetOrientation(xkS3dEmbeddedPhaseCore* core, k32s orientation);
kStatus xkS3dEmbeddedPhaseCore_SetPhaseArrayStates(xkS3dEmbeddedPhaseCore* core, kSize index,
                                                   kArrayList list);
kBool xkS3dEmbeddedPhaseCore_IsComplete(const xkS3dEmbeddedPhaseCore* core);

/** Runs fn(block, firstRow, endRow) over the row blocks of the job queue (inline without one). */
template <class Fn>
kStatus xkS3dEmbeddedPhaseCore_ForEachRowBlock(const xkS3dEmbeddedPhaseCore* core, const Fn& fn)
{
    const kSize workers = core->jobQueue ? kVsJobQueue_ThreadCount(core->jobQueue) : 1;
    struct Batch
    {
        const Fn* fn;
        kSize size;
        kSize height;
    } batch{&fn, core->height / workers + 1, core->height};

    if (!core->jobQueue) return fn((kSize)0, (kSize)0, core->height);
    auto job = [](kPointer context, kSize block) -> kStatus
    {
        const Batch* b = static_cast<const Batch*>(context);
        const kSize first = block * b->size;
        if (first >= b->height) return kOK; // a block beyond the image does nothing
        return (*b->fn)(block, first, std::min(first + b->size, b->height));
    };
    return kVsJobQueue_RunIndexedBatch(core->jobQueue, job, &batch, workers);
}

/** Workers of the current job queue (1 without one). */
inline kSize xkS3dEmbeddedPhaseCore_Workers(const xkS3dEmbeddedPhaseCore* core)
{
    return core->jobQueue ? kVsJobQueue_ThreadCount(core->jobQueue) : 1;
}

/** True for a kArray2 of itemType, rows × columns. */
inline bool xkS3dEmbeddedPhase_IsShape(kArray2 array, kType itemType, kSize columns, kSize rows)
{
    return kObject_Is(array, kTypeOf(kArray2)) && kArray2_ItemType(array) == itemType &&
           kArray2_Length(array, 0) == rows && kArray2_Length(array, 1) == columns;
}

/** True when a and b are kArray2s of itemType with one shape. */
inline bool xkS3dEmbeddedPhase_IsPair(kArray2 a, kArray2 b, kType itemType)
{
    return kObject_Is(a, kTypeOf(kArray2)) &&
           xkS3dEmbeddedPhase_IsShape(a, itemType, kArray2_Length(a, 1), kArray2_Length(a, 0)) &&
           xkS3dEmbeddedPhase_IsShape(b, itemType, kArray2_Length(a, 1), kArray2_Length(a, 0));
}

/*
 * Map steps, on whole maps (they are cheap next to the accumulation).
 */

template <class A>
kStatus xkS3dEmbeddedPhase_SubtractPhase(kArray2 a, kArray2 b)
{
    using V = typename A::Value;
    kCheckArgs(xkS3dEmbeddedPhase_IsPair(a, b, A::ValueType()));
    V* x = kArray2_DataT<V>(a);
    const V* y = kArray2_DataT<V>(b);
    const kSize count = kArray2_Count(a);
    for (kSize i = 0; i < count; ++i)
    {
        if (x[i] == A::kInvalid || y[i] == A::kInvalid)
        {
            x[i] = A::kInvalid;
            continue;
        }
        const V d = x[i] - y[i];
        x[i] = d < 0 ? d + A::kOne : d;
    }
    return kOK;
}

template <class A>
kStatus xkS3dEmbeddedPhase_SubtractPhaseBase(kArray2 a, kArray2 b, k32s orientation)
{
    using V = typename A::Value;
    kCheckArgs(xkS3dEmbeddedPhase_IsPair(a, b, A::ValueType()));
    kCheckArgs(orientation >= 0 && orientation <= 3);
    const kSize rows = kArray2_Length(a, 0), columns = kArray2_Length(a, 1);
    const bool alongRows = orientation < 2, backwards = orientation == 1 || orientation == 3;
    const kSize length = alongRows ? columns : rows;
    V* x = kArray2_DataT<V>(a);
    const V* y = kArray2_DataT<V>(b);
    for (kSize r = 0; r < rows; ++r)
    {
        for (kSize c = 0; c < columns; ++c)
        {
            const kSize i = r * columns + c;
            if (x[i] == A::kInvalid || y[i] == A::kInvalid)
            {
                x[i] = A::kInvalid;
                continue;
            }
            const kSize along = alongRows ? c : r;
            const V threshold = A::RampThreshold(backwards ? length - 1 - along : along, length);
            const V d = x[i] - y[i];
            x[i] = d < threshold ? d + A::kOne : (d < 0 ? 0 : d);
        }
    }
    return kOK;
}

template <class A>
kStatus xkS3dEmbeddedPhase_BaseRamp(k64f pa, kArray2 a, k64f pb, kArray2 b)
{
    using V = typename A::Value;
    kCheckArgs(xkS3dEmbeddedPhase_IsPair(a, b, A::ValueType()));
    kCheckArgs(pa > 0 && pb > 0 && pb / pa <= xkS3D_EMBEDDED_MAX_PERIOD_RATIO);
    const k64f r = pb / pa;
    const V* x = kArray2_DataT<V>(a);
    V* y = kArray2_DataT<V>(b);
    const kSize count = kArray2_Count(a);
    for (kSize i = 0; i < count; ++i)
        y[i] = (x[i] == A::kInvalid || y[i] == A::kInvalid) ? A::kInvalid : A::Order(r, x[i], y[i]);
    return kOK;
}

template <class A>
kStatus xkS3dEmbeddedPhase_Unwrap(k64f pa, kArray2 a, k64f pb, kArray2 b)
{
    using V = typename A::Value;
    kCheckArgs(xkS3dEmbeddedPhase_IsPair(a, b, A::ValueType()));
    kCheckArgs(pa > 0 && pb > 0 && pb / pa <= xkS3D_EMBEDDED_MAX_PERIOD_RATIO);
    const k64f r = pb / pa;
    const V* x = kArray2_DataT<V>(a);
    V* y = kArray2_DataT<V>(b);
    const kSize count = kArray2_Count(a);
    for (kSize i = 0; i < count; ++i)
        y[i] = (x[i] == A::kInvalid || y[i] == A::kInvalid) ? A::kInvalid
                                                            : A::Unwrapped(r, x[i], y[i]);
    return kOK;
}

/*
 * Kuwahara filter of rows [first, end) of source into target, with two rows of cells: up[x]
 * sums rows y − h … y of column x, down[x] rows y … y + h (clipped to the image). Sums are
 * exact integers, so a row's result does not depend on where its block starts.
 */
template <class A>
void xkS3dEmbeddedPhase_KuwaharaRows(const typename A::Value* source, typename A::Value* target,
                                     kSize width, kSize height, kSize h, kSize first, kSize end,
                                     xkS3dEmbeddedCell* up, xkS3dEmbeddedCell* down)
{
    using V = typename A::Value;
    // Adds (or, with std::true_type, removes) one source row to a row of column sums.
    auto addRow = [&](xkS3dEmbeddedCell* cells, kSize row, auto remove)
    {
        const V* in = source + row * width;
        for (kSize x = 0; x < width; ++x)
        {
            if (in[x] == A::kInvalid) continue;
            const k64s q = A::ToFixed(in[x]);
            xkS3dEmbeddedCell& c = cells[x];
            if constexpr (decltype(remove)::value)
                c = xkS3dEmbeddedCell{c.sum - q, c.squares - q * q, c.count - 1};
            else
                c = xkS3dEmbeddedCell{c.sum + q, c.squares + q * q, c.count + 1};
        }
    };
    auto add = [](xkS3dEmbeddedCell& s, const xkS3dEmbeddedCell& c)
    {
        s.sum += c.sum;
        s.squares += c.squares;
        s.count += c.count;
    };
    auto sub = [](xkS3dEmbeddedCell& s, const xkS3dEmbeddedCell& c)
    {
        s.sum -= c.sum;
        s.squares -= c.squares;
        s.count -= c.count;
    };
    if (width == 0 || first >= end) return;
    std::fill(up, up + width, xkS3dEmbeddedCell{0, 0, 0});
    std::fill(down, down + width, xkS3dEmbeddedCell{0, 0, 0});
    for (kSize r = (first > h ? first - h : 0); r <= first; ++r)
        addRow(up, r, std::false_type{});
    for (kSize r = first; r < height && r <= first + h; ++r)
        addRow(down, r, std::false_type{});

    for (kSize y = first; y < end; ++y)
    {
        xkS3dEmbeddedCell quad[4] = {}; // above-left, above-right, below-left, below-right
        add(quad[0], up[0]);
        add(quad[2], down[0]);
        for (kSize x = 0; x < width && x <= h; ++x)
        {
            add(quad[1], up[x]);
            add(quad[3], down[x]);
        }
        const V* in = source + y * width;
        V* out = target + y * width;
        for (kSize x = 0; x < width; ++x)
        {
            if (x > 0)
            {
                add(quad[0], up[x]);
                add(quad[2], down[x]);
                if (x > h)
                {
                    sub(quad[0], up[x - h - 1]);
                    sub(quad[2], down[x - h - 1]);
                }
                sub(quad[1], up[x - 1]);
                sub(quad[3], down[x - 1]);
                if (x + h < width)
                {
                    add(quad[1], up[x + h]);
                    add(quad[3], down[x + h]);
                }
            }
            if (in[x] == A::kInvalid)
            {
                out[x] = A::kInvalid;
                continue;
            }
            // Variance × count² = count × squares − sum², exact in 64 bits for values within
            // the fixed-point range and at most 64 samples; quadrants of unequal counts are
            // compared by cross-multiplying with the other count² in 128 bits.
            int best = -1;
            k64s bestSpread = 0, bestCount = 1, sum = 0, count = 0;
            for (int q = 0; q < 4; ++q)
            {
                const xkS3dEmbeddedCell& c = quad[q];
                if (c.count == 0) continue;
                const k64s spread = c.count * c.squares - c.sum * c.sum;
                int order = -1; // −1: smaller than the best so far, 0: equal, 1: larger
                if (best >= 0)
                {
                    if (c.count == bestCount)
                        order = spread < bestSpread ? -1 : (spread == bestSpread ? 0 : 1);
                    else
                    {
                        const __int128 lhs = (__int128)spread * (bestCount * bestCount);
                        const __int128 rhs = (__int128)bestSpread * (c.count * c.count);
                        order = lhs < rhs ? -1 : (lhs == rhs ? 0 : 1);
                    }
                }
                if (order < 0)
                {
                    best = q;
                    bestSpread = spread;
                    bestCount = c.count;
                    sum = c.sum;
                    count = c.count;
                }
                else if (order == 0) // a tie: pool the quadrants
                {
                    sum += c.sum;
                    count += c.count;
                }
            }
            out[x] = A::FromFixed(sum, count);
        }
        if (y + 1 < end)
        {
            addRow(up, y + 1, std::false_type{});
            if (y >= h) addRow(up, y - h, std::true_type{});
            if (y + 1 + h < height) addRow(down, y + 1 + h, std::false_type{});
            addRow(down, y, std::true_type{});
        }
    }
}

/* Smooths map into the smoothed map (row blocks on the job queue). */
template <class A>
kStatus xkS3dEmbeddedPhaseCore_Smooth(xkS3dEmbeddedPhaseCore* core, kArray2 map, kAlloc alloc)
{
    using V = typename A::Value;
    const kSize width = core->width, height = core->height, h = core->window / 2;
    const kSize cells = 2 * width * xkS3dEmbeddedPhaseCore_Workers(core);
    if (!core->scratch || kArray1_Count(core->scratch) < cells) // the queue changed since Setup
    {
        kCheck(kDestroyRef(&core->scratch));
        kCheck(kArray1_Construct(&core->scratch, kBytes_GetType(sizeof(xkS3dEmbeddedCell)), cells,
                                 alloc));
    }
    const V* source = kArray2_DataT<V>(map);
    V* target = kArray2_DataT<V>(core->smoothed);
    xkS3dEmbeddedCell* scratch = kArray1_DataT<xkS3dEmbeddedCell>(core->scratch);
    return xkS3dEmbeddedPhaseCore_ForEachRowBlock(
        core,
        [&](kSize block, kSize first, kSize end)
        {
            xkS3dEmbeddedCell* up = scratch + 2 * width * block;
            xkS3dEmbeddedPhase_KuwaharaRows<A>(source, target, width, height, h, first, end, up,
                                               up + width);
            return kOK;
        });
}

/* Smooths map and copies the result back into it. */
template <class A>
kStatus xkS3dEmbeddedPhaseCore_SmoothInPlace(xkS3dEmbeddedPhaseCore* core, kArray2 map,
                                             kAlloc alloc)
{
    kCheck(xkS3dEmbeddedPhaseCore_Smooth<A>(core, map, alloc));
    return kArray2_Assign(map, core->smoothed);
}

template <class A>
kStatus xkS3dEmbeddedPhaseCore_Setup(xkS3dEmbeddedPhaseCore* core, kAlloc alloc)
{
    using Coef = typename A::Coef;
    const kSize n = core->frequencyCount, length = core->sequenceLength;
    const kSize width = core->width, height = core->height;
    kArray1 accumulators = kNULL, phases = kNULL;
    kStatus status;

    kCheckArgs(n > 0);
    if (core->changed || !core->shiftMatrix)
    {
        kArray2 matrix = kNULL;
        kArray1 coefs = kNULL;
        kCheck(
            A::ConstructMatrix(&matrix, n, length, kArray1_DataT<kSize>(core->stepCounts), alloc));
        if (!kSuccess(status = kArray1_Construct(&coefs, A::CoefType(), length * n * 2, alloc)))
        {
            kObject_Destroy(matrix);
            return status;
        }
        Coef* c = kArray1_DataT<Coef>(coefs);
        for (kSize k = 0; k < length; ++k)
            for (kSize i = 0; i < n; ++i)
            {
                c[(k * n + i) * 2] = A::Coefficient(matrix, 2 * i + 1, k);
                c[(k * n + i) * 2 + 1] = A::Coefficient(matrix, 2 * i + 2, k);
            }
        kCheck(kDestroyRef(&core->shiftMatrix));
        kCheck(kDestroyRef(&core->frameCoefs));
        core->shiftMatrix = matrix;
        core->frameCoefs = coefs;
        core->changed = kFALSE;
    }
    if (!core->arctan) kCheck(A::BuildArctan(&core->arctan, alloc));

    // The accumulators always start anew: a completed sequence has consumed them.
    kTest(kArray1_Construct(&accumulators, kTypeOf(kArray2), n, alloc));
    for (kSize i = 0; i < n; ++i)
    {
        kArray2 pairs = kNULL;
        kTest(kArray2_Construct(&pairs, A::AccType(), height, width, alloc));
        *kArray1_AtT<kArray2>(accumulators, i) = pairs;
    }
    kTest(kArray1_Construct(&phases, kTypeOf(kArray2), n, alloc));
    if (!xkS3dEmbeddedPhase_IsShape(core->statistics,
                                    kBytes_GetType(sizeof(kS3dEmbeddedPhaseStats)), width, height))
    {
        kTest(kDestroyRef(&core->statistics));
        kTest(kArray2_Construct(&core->statistics, kBytes_GetType(sizeof(kS3dEmbeddedPhaseStats)),
                                height, width, alloc));
    }
    if (!xkS3dEmbeddedPhase_IsShape(core->smoothed, A::ValueType(), width, height))
    {
        kTest(kDestroyRef(&core->smoothed));
        kTest(kArray2_Construct(&core->smoothed, A::ValueType(), height, width, alloc));
    }
    {
        const kSize cells = 2 * width * xkS3dEmbeddedPhaseCore_Workers(core);
        if (!core->scratch || kArray1_Count(core->scratch) != cells)
        {
            kTest(kDestroyRef(&core->scratch));
            kTest(kArray1_Construct(&core->scratch, kBytes_GetType(sizeof(xkS3dEmbeddedCell)),
                                    cells, alloc));
        }
    }
    kTest(kDisposeRef(&core->accumulators));
    kTest(kDisposeRef(&core->phases));
    core->accumulators = accumulators;
    core->phases = phases;
    core->pixelCount = width * height;
    return kOK;
cleanup:
    kObject_Dispose(accumulators);
    kObject_Dispose(phases);
    return status;
}

template <class A>
kStatus xkS3dEmbeddedPhaseCore_Begin(xkS3dEmbeddedPhaseCore* core, kAlloc alloc, kArray2 codeMap,
                                     kArray2 phaseMap)
{
    kCheckArgs(xkS3dEmbeddedPhase_IsShape(codeMap, kTypeOf(k8u), core->width, core->height));
    kCheckArgs(
        xkS3dEmbeddedPhase_IsShape(phaseMap, kTypeOf(kPhasePixel), core->width, core->height));
    core->codeMap = kNULL;
    core->phaseMap = kNULL;
    kCheck(xkS3dEmbeddedPhaseCore_Setup<A>(core, alloc));
    core->codeMap = codeMap;
    core->phaseMap = phaseMap;
    core->frameCount = 0;
    return kOK;
}

/* Appends a copy of the phase maps to the state list, when one is set. */
inline kStatus xkS3dEmbeddedPhaseCore_Record(xkS3dEmbeddedPhaseCore* core, kAlloc alloc)
{
    if (!core->states) return kOK;
    kArray1 copy = kNULL;
    kCheck(kObject_Clone(&copy, core->phases, alloc));
    const kStatus status = kArrayList_Add(core->states, &copy);
    if (!kSuccess(status)) kObject_Dispose(copy);
    return status;
}

inline kArray2 xkS3dEmbeddedPhaseCore_Phase(const xkS3dEmbeddedPhaseCore* core, kSize i)
{
    return *kArray1_AtT<kArray2>(core->phases, i);
}

/* Forms the wrapped phase of frequency i and releases its accumulator. */
template <class A>
kStatus xkS3dEmbeddedPhaseCore_WrappedPhase(xkS3dEmbeddedPhaseCore* core, kAlloc alloc, kSize i)
{
    using V = typename A::Value;
    using Acc = typename A::Acc;
    kArray2* slot = kArray1_AtT<kArray2>(core->phases, i);
    kArray2* accumulator = kArray1_AtT<kArray2>(core->accumulators, i);
    kCheck(kDestroyRef(slot));
    kCheck(kArray2_Construct(slot, A::ValueType(), core->height, core->width, alloc));

    const Acc* pairs = static_cast<const Acc*>(kArray2_Data(*accumulator));
    const kS3dEmbeddedPhaseStats* stats = kArray2_DataT<kS3dEmbeddedPhaseStats>(core->statistics);
    const void* table = kArray1_Data(core->arctan);
    const k32s threshold = (k32s)core->contrastThreshold;
    V* phase = kArray2_DataT<V>(*slot);
    const kSize width = core->width;
    kCheck(xkS3dEmbeddedPhaseCore_ForEachRowBlock(
        core,
        [&](kSize, kSize first, kSize end)
        {
            for (kSize p = first * width; p < end * width; ++p)
            {
                const bool valid = stats[p].maximum - stats[p].minimum >= threshold;
                phase[p] = valid ? A::Phase(pairs[2 * p + 1], pairs[2 * p], table) : A::kInvalid;
            }
            return kOK;
        }));
    return kDestroyRef(accumulator);
}

/* Writes the outputs from φ0, the order map and the statistics. */
template <class A>
void xkS3dEmbeddedPhaseCore_Export(xkS3dEmbeddedPhaseCore* core, kArray2 order)
{
    using V = typename A::Value;
    const V* phi0 = kArray2_DataT<V>(xkS3dEmbeddedPhaseCore_Phase(core, 0));
    const V* k = kArray2_DataT<V>(order);
    const kS3dEmbeddedPhaseStats* stats = kArray2_DataT<kS3dEmbeddedPhaseStats>(core->statistics);
    const kSize steps0 = kArray1_DataT<kSize>(core->stepCounts)[0];
    k8u* codes = kArray2_DataT<k8u>(core->codeMap);
    kPhasePixel* out = kArray2_DataT<kPhasePixel>(core->phaseMap);
    for (kSize p = 0; p < core->pixelCount; ++p)
    {
        out[p].contrast = (k8u)(stats[p].maximum - stats[p].minimum);
        out[p].intensity = (k8u)(stats[p].sum / steps0);
        if (phi0[p] == A::kInvalid || k[p] == A::kInvalid)
        {
            out[p].phase = k16S_NULL;
            codes[p] = 255;
        }
        else
        {
            out[p].phase = A::ExportPhase(phi0[p], core->phasePeriod);
            codes[p] = A::ExportCode(k[p]);
        }
    }
}

/* The sequence is complete: phases, beats, orders, outputs. */
template <class A>
kStatus xkS3dEmbeddedPhaseCore_Finish(xkS3dEmbeddedPhaseCore* core, kAlloc alloc)
{
    const kSize n = core->frequencyCount, m = n - 1;
    const k64f* C = kArray1_DataT<k64f>(core->periods);
    const k64f* Q = kArray1_DataT<k64f>(core->patternPeriods);
    kCheckArgs(n >= 2);

    for (kSize i = 0; i < n; ++i)
        kCheck(xkS3dEmbeddedPhaseCore_WrappedPhase<A>(core, alloc, i));
    kArray2 phi0 = xkS3dEmbeddedPhaseCore_Phase(core, 0);
    kArray2 last = xkS3dEmbeddedPhaseCore_Phase(core, m);

    if (n == 2 && !core->states)
    {
        // Two frequencies: the smoothed beat itself becomes the order map; φ1 stays as it is.
        kCheck(xkS3dEmbeddedPhase_SubtractPhaseBase<A>(last, phi0, core->orientation));
        kCheck(xkS3dEmbeddedPhaseCore_Smooth<A>(core, last, alloc));
        kCheck(xkS3dEmbeddedPhase_BaseRamp<A>(C[0], phi0, C[1], core->smoothed));
        xkS3dEmbeddedPhaseCore_Export<A>(core, core->smoothed);
        return kOK;
    }

    // The general path; for three frequencies without a state list it is the three-frequency
    // path step for step (recording does nothing then).
    kCheck(xkS3dEmbeddedPhaseCore_Record(core, alloc));
    for (kSize i = 1; i < m; ++i)
        kCheck(xkS3dEmbeddedPhase_SubtractPhase<A>(xkS3dEmbeddedPhaseCore_Phase(core, i), phi0));
    kCheck(xkS3dEmbeddedPhase_SubtractPhaseBase<A>(last, phi0, core->orientation));
    kCheck(xkS3dEmbeddedPhaseCore_Record(core, alloc));
    for (kSize j = m; j-- > 0;)
    {
        kArray2 phi = xkS3dEmbeddedPhaseCore_Phase(core, j);
        kCheck(xkS3dEmbeddedPhaseCore_SmoothInPlace<A>(core, last, alloc));
        kCheck(xkS3dEmbeddedPhaseCore_Record(core, alloc));
        // The last ramp takes the first pattern period (equal to the first cumulative one).
        kCheck(xkS3dEmbeddedPhase_BaseRamp<A>(j == 0 ? Q[0] : C[j], phi, C[m], last));
        kCheck(xkS3dEmbeddedPhaseCore_Record(core, alloc));
        if (j == 0) break;
        kCheck(xkS3dEmbeddedPhase_Unwrap<A>(C[j], phi, C[m], last));
        kCheck(xkS3dEmbeddedPhaseCore_Record(core, alloc));
    }
    xkS3dEmbeddedPhaseCore_Export<A>(core, last);
    return kOK;
}

template <class A>
kStatus xkS3dEmbeddedPhaseCore_Update(xkS3dEmbeddedPhaseCore* core, kAlloc alloc, kImage image)
{
    using Acc = typename A::Acc;
    using Coef = typename A::Coef;
    kCheckArgs(kObject_Is(image, kTypeOf(kImage)) && kImage_PixelType(image) == kTypeOf(k8u));
    kCheckArgs(kImage_Width(image) == core->width && kImage_Height(image) == core->height);
    kCheckArgs(kImage_Stride(image) == core->width);
    kCheckState(core->codeMap && core->frameCount < core->sequenceLength && core->accumulators &&
                !core->changed && core->pixelCount == core->width * core->height);

    const kSize k = core->frameCount, n = core->frequencyCount, width = core->width;
    const kSize steps0 = kArray1_DataT<kSize>(core->stepCounts)[0];
    const Coef* coefs = kArray1_DataT<Coef>(core->frameCoefs) + k * n * 2;
    const k8u* pixels = static_cast<const k8u*>(kImage_Data(image));
    kS3dEmbeddedPhaseStats* stats = kArray2_DataT<kS3dEmbeddedPhaseStats>(core->statistics);
    Acc* sums[kS3D_EMBEDDED_PHASE_MAX_FREQUENCIES] = {};
    for (kSize i = 0; i < n; ++i)
        sums[i] = static_cast<Acc*>(kArray2_Data(*kArray1_AtT<kArray2>(core->accumulators, i)));

    kCheck(xkS3dEmbeddedPhaseCore_ForEachRowBlock(
        core,
        [&](kSize, kSize first, kSize end)
        {
            const kSize offset = first * width, count = (end - first) * width;
            if (k < steps0)
                xkS3dEmbeddedPhaseHost_Statistics(stats + offset, pixels + offset, count, k == 0);
            for (kSize i = 0; i < n; ++i)
            {
                const Coef a = coefs[2 * i], b = coefs[2 * i + 1];
                if (k > 0 && A::Skip(a, b)) continue;
                A::Accumulate(sums[i] + 2 * offset, pixels + offset, count, a, b, k == 0);
            }
            return kOK;
        }));
    if (++core->frameCount < core->sequenceLength) return kOK;
    return xkS3dEmbeddedPhaseCore_Finish<A>(core, alloc);
}

#endif
