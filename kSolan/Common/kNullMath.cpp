/* Null-aware statistics and element-wise arithmetic. */
#include <kSolan/Common/kNullMath.h>

#include <kBasis/kArray1.h>

#include <cmath>
#include <cstdlib>

namespace
{
template <typename T>
constexpr T NullOf();
template <>
constexpr k64f NullOf<k64f>()
{
    return k64F_NULL;
}
template <>
constexpr k16s NullOf<k16s>()
{
    return k16S_NULL;
}

template <typename T>
inline bool IsValid(T value)
{
    return value != NullOf<T>();
}

/* An array pointer may be null only when there is nothing to read. */
inline bool Readable(const void* items, kSize count) { return items != kNULL || count == 0; }

/* Sum (of magnitudes when Abs) over the valid samples in index order, and their number. */
template <typename T, bool Abs>
k64f SumValid(const T* values, kSize count, kSize* valid)
{
    k64f sum = 0;
    kSize n = 0;
    for (kSize i = 0; i < count; ++i)
    {
        if (!IsValid(values[i])) continue;
        k64f v = values[i];
        sum += Abs ? std::fabs(v) : v;
        ++n;
    }
    *valid = n;
    return sum;
}

/* Mean of the valid samples; false (and 0) when there is none. */
template <typename T, bool Abs>
bool MeanValid(const T* values, kSize count, k64f* mean)
{
    kSize n = 0;
    k64f sum = SumValid<T, Abs>(values, count, &n);
    *mean = (n == 0) ? 0.0 : sum / (k64f)n;
    return n != 0;
}

/*
 * Sample deviation by the one-pass formula √((n·Σv² − (Σv)²)/(n·(n−1))). Σv² always uses the
 * signed samples; Abs only changes the plain sum. kSTATUS_BAD_PARAMETER below two valid samples.
 */
template <typename T, bool Abs>
kStatus StdevValid(const T* values, kSize count, k64f* stdev)
{
    if (values == kNULL || count < 2) return kSTATUS_BAD_PARAMETER;
    k64f sum = 0, sumSq = 0;
    kSize n = 0;
    for (kSize i = 0; i < count; ++i)
    {
        if (!IsValid(values[i])) continue;
        k64f v = values[i];
        sum += Abs ? std::fabs(v) : v;
        sumSq += v * v;
        ++n;
    }
    if (n < 2) return kSTATUS_BAD_PARAMETER;
    k64f nf = (k64f)n;
    k64f radicand = (nf * sumSq - sum * sum) / (nf * (nf - 1.0));
    *stdev = (radicand > 0) ? std::sqrt(radicand) : 0.0;
    return kOK;
}

/* Index of the first extreme valid sample; Better(v, best) is a strict comparison. */
template <typename Better>
kStatus FindExtreme(const k64f* values, kSize count, kSize* index, Better better)
{
    if (!Readable(values, count) || !index) return kSTATUS_BAD_PARAMETER;
    kSize found = count;
    for (kSize i = 0; i < count; ++i)
    {
        if (IsValid(values[i]) && (found == count || better(values[i], values[found]))) found = i;
    }
    *index = (found == count) ? 0 : found;
    return (found == count) ? kSTATUS_FAILED : kOK;
}

/* out[i] = op(a[i], b[i]), null where either operand is null. */
template <typename T, typename Op>
kStatus Binary(const T* a, const T* b, T* out, kSize count, Op op)
{
    if (!Readable(a, count) || !Readable(b, count) || !Readable(out, count))
        return kSTATUS_BAD_PARAMETER;
    for (kSize i = 0; i < count; ++i)
        out[i] = (IsValid(a[i]) && IsValid(b[i])) ? op(a[i], b[i]) : NullOf<T>();
    return kOK;
}

/* out[i] = op(in[i]); null stays null. */
template <typename Op>
kStatus Unary(const k64f* in, k64f* out, kSize count, Op op)
{
    if (!Readable(in, count) || !Readable(out, count)) return kSTATUS_BAD_PARAMETER;
    for (kSize i = 0; i < count; ++i)
        out[i] = IsValid(in[i]) ? op(in[i]) : k64F_NULL;
    return kOK;
}

/* out[i] = pick(a[i], b[i]) when both are valid; otherwise b[i] when a[i] is null, else a[i]. */
template <typename Pick>
kStatus Pairwise(const k64f* a, const k64f* b, k64f* out, kSize count, Pick pick)
{
    if (!Readable(a, count) || !Readable(b, count) || !Readable(out, count))
        return kSTATUS_BAD_PARAMETER;
    for (kSize i = 0; i < count; ++i)
    {
        if (!IsValid(a[i]))
            out[i] = b[i];
        else if (!IsValid(b[i]))
            out[i] = a[i];
        else
            out[i] = pick(a[i], b[i]);
    }
    return kOK;
}

struct Run
{
    kSize start;
    kSize length;
};

/* First run of consecutive valid samples; {0, 0} when there is none. */
Run FirstRun(const k64f* values, kSize count)
{
    kSize i = 0;
    while (i < count && !IsValid(values[i]))
        ++i;
    if (i == count) return {0, 0};
    kSize start = i;
    while (i < count && IsValid(values[i]))
        ++i;
    return {start, i - start};
}

/* First run, extended over every following gap of fewer than maxGap nulls. */
Run InterruptedRun(const k64f* values, kSize count, k32u maxGap)
{
    Run first = FirstRun(values, count);
    kSize end = first.start + first.length;
    Run next = first;
    while (end < count && next.length != 0)
    {
        next = FirstRun(values + end, count - end);
        if (next.start >= maxGap) break;
        end += next.start + next.length;
    }
    return {first.start, end - first.start};
}

kStatus WriteRun(Run run, k32u* start, k32u* length)
{
    *start = (k32u)run.start;
    *length = (k32u)run.length;
    return kOK;
}

/* Valid-point count and per-axis sums; a point is valid when all three coordinates are. */
kSize PointSums(const kPoint3d64f* points, kSize count, kPoint3d64f* sum)
{
    kSize n = 0;
    *sum = {0, 0, 0};
    for (kSize i = 0; i < count; ++i)
    {
        const kPoint3d64f& p = points[i];
        if (!IsValid(p.x) || !IsValid(p.y) || !IsValid(p.z)) continue;
        sum->x += p.x;
        sum->y += p.y;
        sum->z += p.z;
        ++n;
    }
    return n;
}

const kPoint3d64f kNullPoint = {k64F_NULL, k64F_NULL, k64F_NULL};
} // namespace

kFx(kStatus) kNullMath_Average64f(const k64f* values, kSize count, k64f* mean)
{
    if (!Readable(values, count) || !mean) return kSTATUS_BAD_PARAMETER;
    return MeanValid<k64f, false>(values, count, mean) ? kOK : kSTATUS_FAILED;
}

kFx(kStatus) kNullMath_AverageAbs64f(const k64f* values, kSize count, k64f* mean)
{
    if (!Readable(values, count) || !mean) return kSTATUS_BAD_PARAMETER;
    return MeanValid<k64f, true>(values, count, mean) ? kOK : kSTATUS_FAILED;
}

kFx(kStatus) kNullMath_Max64f(const k64f* values, kSize count, k64f* max)
{
    kSize index = 0;
    kStatus status = FindExtreme(values, count, &index, [](k64f v, k64f best) { return v > best; });
    if (status == kSTATUS_BAD_PARAMETER || !max) return kSTATUS_BAD_PARAMETER;
    *max = kSuccess(status) ? values[index] : 0.0;
    return status;
}

kFx(kStatus) kNullMath_Min64f(const k64f* values, kSize count, k64f* min)
{
    kSize index = 0;
    kStatus status = FindExtreme(values, count, &index, [](k64f v, k64f best) { return v < best; });
    if (status == kSTATUS_BAD_PARAMETER || !min) return kSTATUS_BAD_PARAMETER;
    *min = kSuccess(status) ? values[index] : 0.0;
    return status;
}

kFx(kStatus) kNullMath_AbsMax64f(const k64f* values, kSize count, k64f* max)
{
    if (!Readable(values, count) || !max) return kSTATUS_BAD_PARAMETER;
    // The running maximum starts at the null value, so the first valid sample always replaces it;
    // >= lets a later sample of equal magnitude take over.
    k64f best = k64F_NULL;
    for (kSize i = 0; i < count; ++i)
    {
        if (IsValid(values[i]) && std::fabs(values[i]) >= best) best = std::fabs(values[i]);
    }
    bool found = IsValid(best);
    *max = found ? best : 0.0;
    return found ? kOK : kSTATUS_FAILED;
}

kFx(kStatus) kNullMath_FindMax64f(const k64f* values, kSize count, kSize* index)
{
    return FindExtreme(values, count, index, [](k64f v, k64f best) { return v > best; });
}

kFx(kStatus) kNullMath_FindMin64f(const k64f* values, kSize count, kSize* index)
{
    return FindExtreme(values, count, index, [](k64f v, k64f best) { return v < best; });
}

kFx(kStatus) kNullMath_Stdev64f(const k64f* values, kSize count, k64f* stdev)
{
    if (!stdev) return kSTATUS_BAD_PARAMETER;
    return StdevValid<k64f, false>(values, count, stdev);
}

kFx(kStatus) kNullMath_StdevAbs64f(const k64f* values, kSize count, k64f* stdev)
{
    if (!stdev) return kSTATUS_BAD_PARAMETER;
    return StdevValid<k64f, true>(values, count, stdev);
}

kFx(kStatus) kNullMath_Sum64f(const k64f* values, kSize count, k64f* sum)
{
    if (!Readable(values, count) || !sum) return kSTATUS_BAD_PARAMETER;
    kSize n = 0;
    *sum = SumValid<k64f, false>(values, count, &n);
    return kOK;
}

kFx(kSize) kNullMath_Valid64f(const k64f* values, kSize count)
{
    if (!values) return 0;
    kSize n = 0;
    for (kSize i = 0; i < count; ++i)
        n += IsValid(values[i]) ? 1 : 0;
    return n;
}

kFx(kStatus) kNullMath_Median64f(const k64f* values, kSize count, k64f* median)
{
    if (count == 0) return kSTATUS_FAILED;
    if (!values || !median) return kSTATUS_BAD_PARAMETER;

    kArray1 sorted = kNULL;
    kCheck(kArray1_Construct(&sorted, kTypeOf(k64f), count, kNULL));
    k64f* v = static_cast<k64f*>(kArray1_Data(sorted));
    kMemCopy(v, values, count * sizeof(k64f));
    std::qsort(v, count, sizeof(k64f), kNullMath_LessThan64f);
    *median = (count % 2 == 1) ? v[count / 2] : (v[count / 2] + v[count / 2 - 1]) / 2;
    return kObject_Destroy(sorted);
}

kFx(kStatus) kNullMath_Add64f(const k64f* a, const k64f* b, k64f* out, kSize count)
{
    return Binary(a, b, out, count, [](k64f x, k64f y) { return x + y; });
}

kFx(kStatus) kNullMath_Sub64f(const k64f* a, const k64f* b, k64f* out, kSize count)
{
    return Binary(a, b, out, count, [](k64f x, k64f y) { return x - y; });
}

kFx(kStatus) kNullMath_SubAbs64f(const k64f* a, const k64f* b, k64f* out, kSize count)
{
    return Binary(a, b, out, count, [](k64f x, k64f y) { return std::fabs(x) - std::fabs(y); });
}

kFx(kStatus) kNullMath_AddC64f(const k64f* in, k64f* out, kSize count, k64f constant)
{
    return Unary(in, out, count, [constant](k64f v) { return v + constant; });
}

kFx(kStatus) kNullMath_MulC64f(const k64f* in, k64f* out, kSize count, k64f constant)
{
    return Unary(in, out, count, [constant](k64f v) { return v * constant; });
}

kFx(kStatus) kNullMath_Abs64f(const k64f* in, k64f* out, kSize count)
{
    return Unary(in, out, count, [](k64f v) { return std::fabs(v); });
}

kFx(kStatus) kNullMath_MinPairwise64f(const k64f* a, const k64f* b, k64f* out, kSize count)
{
    return Pairwise(a, b, out, count, [](k64f x, k64f y) { return x < y ? x : y; });
}

kFx(kStatus) kNullMath_MaxPairwise64f(const k64f* a, const k64f* b, k64f* out, kSize count)
{
    return Pairwise(a, b, out, count, [](k64f x, k64f y) { return x > y ? x : y; });
}

kFx(kStatus) kNullMath_FindRun64f(const k64f* values, kSize count, k32u* start, k32u* length)
{
    if (!Readable(values, count) || !start || !length) return kSTATUS_BAD_PARAMETER;
    return WriteRun(FirstRun(values, count), start, length);
}

kFx(kStatus) kNullMath_FindInterruptedRun64f(const k64f* values, kSize count, k32u maxGap,
                                             k32u* start, k32u* length)
{
    if (!Readable(values, count) || !start || !length) return kSTATUS_BAD_PARAMETER;
    return WriteRun(InterruptedRun(values, count, maxGap), start, length);
}

kFx(kStatus) kNullMath_FindLongestRun64f(const k64f* values, kSize count, k32u maxGap, k32u* start,
                                         k32u* length)
{
    if (!Readable(values, count) || !start || !length) return kSTATUS_BAD_PARAMETER;
    Run best = {0, 0};
    kSize pos = 0;
    while (pos < count)
    {
        Run run = InterruptedRun(values + pos, count - pos, maxGap);
        if (run.length == 0) break;
        if (run.length > best.length) best = {pos + run.start, run.length};
        pos += run.start + run.length;
    }
    return WriteRun(best, start, length);
}

kFx(kStatus) kNullMath_ClearRuns64f(k64f* values, kSize count, k32u maxLength)
{
    if (!Readable(values, count)) return kSTATUS_BAD_PARAMETER;
    kSize pos = 0;
    while (pos < count)
    {
        Run run = FirstRun(values + pos, count - pos);
        if (run.length == 0) break;
        pos += run.start;
        if (run.length <= maxLength)
        {
            for (kSize i = 0; i < run.length; ++i)
                values[pos + i] = k64F_NULL;
        }
        pos += run.length;
    }
    return kOK;
}

kFx(int) kNullMath_LessThan64f(const void* a, const void* b)
{
    k64f x = *static_cast<const k64f*>(a);
    k64f y = *static_cast<const k64f*>(b);
    if (x > y) return -1;
    if (x < y) return 1;
    return 0;
}

kFx(int) kNullMath_GreaterThan64f(const void* a, const void* b)
{
    return -kNullMath_LessThan64f(a, b);
}

kFx(kStatus) kNullMath_Sort64f_Ascending(k64f* values, kSize count)
{
    if (!Readable(values, count)) return kSTATUS_BAD_PARAMETER;
    if (count > 0) std::qsort(values, count, sizeof(k64f), kNullMath_GreaterThan64f);
    return kOK;
}

kFx(kStatus) kNullMath_Sort64f_Descending(k64f* values, kSize count)
{
    if (!Readable(values, count)) return kSTATUS_BAD_PARAMETER;
    if (count > 0) std::qsort(values, count, sizeof(k64f), kNullMath_LessThan64f);
    return kOK;
}

kFx(kStatus) kNullMath_MeanPoint3d64f(const kPoint3d64f* points, kSize count, kPoint3d64f* mean)
{
    if (!points || count == 0 || !mean) return kSTATUS_BAD_PARAMETER;
    kPoint3d64f sum;
    kSize n = PointSums(points, count, &sum);
    if (n == 0)
        *mean = kNullPoint;
    else
        *mean = {sum.x / (k64f)n, sum.y / (k64f)n, sum.z / (k64f)n};
    return kOK;
}

kFx(kStatus) kNullMath_StdevPoint3d64f(const kPoint3d64f* points, kSize count, kPoint3d64f* stdev)
{
    kPoint3d64f mean;
    kCheck(kNullMath_MeanPoint3d64f(points, count, &mean));
    if (!stdev) return kSTATUS_BAD_PARAMETER;

    kPoint3d64f sq = {0, 0, 0};
    kSize n = 0;
    for (kSize i = 0; i < count; ++i)
    {
        const kPoint3d64f& p = points[i];
        if (!IsValid(p.x) || !IsValid(p.y) || !IsValid(p.z)) continue;
        k64f dx = p.x - mean.x, dy = p.y - mean.y, dz = p.z - mean.z;
        sq.x += dx * dx;
        sq.y += dy * dy;
        sq.z += dz * dz;
        ++n;
    }
    if (n == 0)
        *stdev = kNullPoint;
    else
        *stdev = {std::sqrt(sq.x / (k64f)n), std::sqrt(sq.y / (k64f)n), std::sqrt(sq.z / (k64f)n)};
    return kOK;
}

kFx(kStatus) kNullMath_Add16s(const k16s* a, const k16s* b, k16s* out, kSize count)
{
    return Binary(a, b, out, count, [](k16s x, k16s y) { return (k16s)(k16u)((k16u)x + (k16u)y); });
}

kFx(kStatus) kNullMath_Sub16s(const k16s* a, const k16s* b, k16s* out, kSize count)
{
    return Binary(a, b, out, count, [](k16s x, k16s y) { return (k16s)(k16u)((k16u)x - (k16u)y); });
}

kFx(kStatus) kNullMath_Average16s(const k16s* values, kSize count, k16s* mean16s, k64f* mean64f)
{
    if (!Readable(values, count)) return kSTATUS_BAD_PARAMETER;
    k64f mean = 0;
    bool found = MeanValid<k16s, false>(values, count, &mean);
    // The mean of 16-bit samples always fits; the cast truncates toward zero.
    if (mean16s) *mean16s = (k16s)mean;
    if (mean64f) *mean64f = mean;
    return found ? kOK : kSTATUS_FAILED;
}

kFx(kStatus) kNullMath_Stdev16s(const k16s* values, kSize count, k16s* stdev16s, k64f* stdev64f)
{
    k64f stdev = 0;
    kCheck((StdevValid<k16s, false>(values, count, &stdev)));
    // Truncated toward zero; deviations beyond 32767 (samples spread over the whole range)
    // saturate instead of wrapping.
    if (stdev16s) *stdev16s = (k16s)std::fmin(stdev, (k64f)k16S_MAX);
    if (stdev64f) *stdev64f = stdev;
    return kOK;
}
