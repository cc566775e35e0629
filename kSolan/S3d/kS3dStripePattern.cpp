#include <kSolan/S3d/kS3dStripePattern.h>

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kPi = 3.14159265358979323846264338327950;

inline k8u Level(double value) { return (k8u)(k32s)(value + 0.5); }

/* First map row of each kind, and the row count of each kind. */
k32u xkS3dStripePattern_GroupStart(const kS3dStripePatternParams& p, k32u kind)
{
    const k32u starts[4] = {0, p.referenceCount, p.referenceCount + p.grayCount,
                            p.referenceCount + p.grayCount + p.phaseCount};
    return starts[kind];
}

k32u xkS3dStripePattern_GroupCount(const kS3dStripePatternParams& p, k32u kind)
{
    const k32u counts[4] = {p.referenceCount, p.grayCount, p.phaseCount, p.secondPhaseCount};
    return counts[kind];
}

/* factor(x) = ((x − c) / c)² (1 − u) + u, clamped to 0 … 1, c = width / 2; u = 0: all 1. */
kStatus xkS3dStripePattern_BuildProfile(kS3dStripePattern* pattern)
{
    const kS3dStripePatternParams& p = pattern->params;
    kCheck(kArray1_Construct(&pattern->profile, kTypeOf(k64f), p.width, kNULL));
    k64f* profile = kArray1_DataT<k64f>(pattern->profile);
    const double u = p.uniformity, c = p.width / 2.0;
    for (k32u x = 0; x < p.width; ++x)
    {
        double r = (x - c) / c;
        profile[x] = u == 0 ? 1.0 : std::clamp(r * r * (1.0 - u) + u, 0.0, 1.0);
    }
    return kOK;
}

void xkS3dStripePattern_RenderFringes(const kS3dStripePattern* pattern, k8u* rows, double w, k32u n)
{
    const kS3dStripePatternParams& p = pattern->params;
    const k64f* profile = kArray1_DataT<k64f>(pattern->profile);
    for (k32u r = 0; r < n; ++r)
    {
        for (k32u x = 0; x < p.width; ++x)
        {
            double t = x + r * w / n + 0.5;
            double d = t - std::round(t / w) * w;
            double z = 2 * d / (p.fringeDuty * w);
            z = z > 1 ? 1 : z >= -1 ? z : -1; // a zero duty (0 / 0) gives -1: dark
            rows[r * p.width + x] =
                Level(profile[x] * pattern->amplitude * (std::cos(kPi * z) + 1) / 2);
        }
    }
}

kStatus xkS3dStripePattern_Release(kS3dStripePattern* pattern)
{
    kCheck(kDestroyRef(&pattern->map));
    kCheck(kDestroyRef(&pattern->profile));
    *pattern = kS3dStripePattern{};
    return kOK;
}

kStatus xkS3dStripePattern_CopyRows(const kS3dStripePattern* pattern, k32u rows, kArray2* map)
{
    const k32u width = pattern->params.width;
    kArray2 copy = kNULL;
    kCheck(kArray2_Construct(&copy, kTypeOf(k8u), rows, width, kNULL));
    kMemCopy(kArray2_Data(copy), kArray2_Data(pattern->map), (kSize)rows * width);
    *map = copy;
    return kOK;
}
} // namespace

kFx(kStatus) kS3dStripePattern_Create(kS3dStripePattern** pattern)
{
    kCheckArgs(pattern);
    return kMemAllocZero(sizeof(kS3dStripePattern), pattern);
}

kFx(kStatus)
    kS3dStripePattern_Construct(kS3dStripePattern** pattern, const kS3dStripePatternParams* params)
{
    kCheckArgs(pattern && params);
    kS3dStripePattern* output = kNULL;
    kStatus status;
    kCheck(kS3dStripePattern_Create(&output));
    if (!kSuccess(status = kS3dStripePattern_Init(output, params)))
    {
        kS3dStripePattern_Destroy(output);
        return status;
    }
    *pattern = output;
    return kOK;
}

kFx(kStatus)
    kS3dStripePattern_Init(kS3dStripePattern* pattern, const kS3dStripePatternParams* params)
{
    kCheckArgs(pattern && params);
    kCheck(xkS3dStripePattern_Release(pattern));
    pattern->params = *params;
    if (pattern->params.referenceCount == 0) pattern->params.referenceCount = 1;
    if (pattern->params.lineWidth == 0) pattern->params.lineWidth = pattern->params.width;
    kCheck(xkS3dStripePattern_BuildProfile(pattern));
    return kS3dStripePattern_Update(pattern);
}

kFx(kStatus) kS3dStripePattern_Destroy(kS3dStripePattern* pattern)
{
    if (!pattern) return kOK;
    kCheck(xkS3dStripePattern_Release(pattern));
    return kMemFree(pattern);
}

kFx(const kS3dStripePatternParams*) kS3dStripePattern_Params(const kS3dStripePattern* pattern)
{
    return &pattern->params;
}

kFx(kStatus) kS3dStripePattern_Update(kS3dStripePattern* pattern)
{
    kCheckArgs(pattern && pattern->profile);
    const kS3dStripePatternParams& p = pattern->params;
    kArray2 map = kNULL;
    kCheck(kArray2_Construct(&map, kTypeOf(k8u), kS3dStripePattern_ImageCount(pattern), p.width,
                             kNULL));
    kCheck(kDestroyRef(&pattern->map));
    pattern->map = map;

    pattern->maxLevel = (k32s)(p.maxIntensity * 255 + 0.5);
    pattern->amplitude = (k32s)(p.phaseIntensity * 255 + 0.5);
    const k64f* profile = kArray1_DataT<k64f>(pattern->profile);
    k8u* rows = kArray2_DataT<k8u>(map);

    for (k32u r = 0; r < p.referenceCount; ++r, rows += p.width)
    {
        k32s level = p.referenceCount == 1
                         ? pattern->maxLevel / 2
                         : (k32s)((double)pattern->maxLevel * r / (p.referenceCount - 1));
        for (k32u x = 0; x < p.width; ++x)
            rows[x] = Level(profile[x] * level);
    }

    double w = p.lineWidth;
    for (k32u g = 0; g < p.grayCount; ++g, rows += p.width, w /= 2)
    {
        for (k32u x = 0; x < p.width; ++x)
        {
            bool bright = std::fmod(std::floor((x + 0.5 + w / 2) / w), 2.0) != 0;
            rows[x] = Level(profile[x] * (bright ? pattern->maxLevel : 0));
        }
    }

    xkS3dStripePattern_RenderFringes(pattern, rows, w, p.phaseCount);
    rows += (kSize)p.phaseCount * p.width;
    xkS3dStripePattern_RenderFringes(pattern, rows,
                                     std::ldexp((double)p.lineWidth, -(int)p.secondPeriodHalvings),
                                     p.secondPhaseCount);
    return kOK;
}

kFx(kStatus)
    kS3dStripePattern_SetReferenceIntensity(kS3dStripePattern* pattern, k32u row, k32u level)
{
    if (!pattern || !pattern->map || row >= pattern->params.referenceCount) return kSTATUS_FAILED;
    const k64f* profile = kArray1_DataT<k64f>(pattern->profile);
    k8u* values = kArray2_DataT<k8u>(pattern->map) + (kSize)row * pattern->params.width;
    for (k32u x = 0; x < pattern->params.width; ++x)
        values[x] = Level(profile[x] * level);
    return kOK;
}

kFx(kStatus)
    kS3dStripePattern_Image(const kS3dStripePattern* pattern, k32u kind, k32u index, kImage* image)
{
    kCheckArgs(pattern && pattern->map && image && kind <= kS3D_STRIPE_PATTERN_SECOND_PHASE);
    kCheckArgs(index < xkS3dStripePattern_GroupCount(pattern->params, kind));
    const kS3dStripePatternParams& p = pattern->params;
    const k8u* row = kArray2_DataT<k8u>(pattern->map) +
                     (kSize)(xkS3dStripePattern_GroupStart(p, kind) + index) * p.width;
    kImage output = kNULL;
    kCheck(kImage_Construct(&output, kTypeOf(k8u), p.width, p.height, kNULL));
    for (k32u y = 0; y < p.height; ++y)
        kMemCopy(kImage_RowAt(output, y), row, p.width);
    *image = output;
    return kOK;
}

kFx(kStatus) kS3dStripePattern_ImageList(const kS3dStripePattern* pattern, kArrayList* list)
{
    kCheckArgs(pattern && list);
    kArrayList output = kNULL;
    kImage image = kNULL;
    kStatus status;
    kTest(kArrayList_Construct(&output, kTypeOf(kImage), kS3dStripePattern_ImageCount(pattern),
                               kNULL));
    for (k32u kind = kS3D_STRIPE_PATTERN_REFERENCE; kind <= kS3D_STRIPE_PATTERN_SECOND_PHASE;
         ++kind)
    {
        for (k32u i = 0; i < xkS3dStripePattern_GroupCount(pattern->params, kind); ++i)
        {
            kTest(kS3dStripePattern_Image(pattern, kind, i, &image));
            kTest(kArrayList_Add(output, &image));
            image = kNULL;
        }
    }
    *list = output;
    return kOK;
cleanup:
    kObject_Destroy(image);
    kObject_Dispose(output);
    return status;
}

kFx(kStatus) kS3dStripePattern_Map(const kS3dStripePattern* pattern, kArray2* map)
{
    kCheckArgs(pattern && pattern->map && map);
    const kS3dStripePatternParams& p = pattern->params;
    return xkS3dStripePattern_CopyRows(pattern, p.referenceCount + p.grayCount + p.phaseCount, map);
}

kFx(kStatus) kS3dStripePattern_WideMap(const kS3dStripePattern* pattern, kArray2* map)
{
    kCheckArgs(pattern && pattern->map && map);
    return xkS3dStripePattern_CopyRows(pattern, kS3dStripePattern_ImageCount(pattern), map);
}

kFx(k32u) kS3dStripePattern_ImageCount(const kS3dStripePattern* pattern)
{
    const kS3dStripePatternParams& p = pattern->params;
    return p.referenceCount + p.grayCount + p.phaseCount + p.secondPhaseCount;
}

kFx(k32u) kS3dStripePattern_LineCount(const kS3dStripePattern* pattern)
{
    return pattern->params.grayCount < 32 ? (k32u)1 << pattern->params.grayCount : 0;
}

kFx(k32u) kS3dStripePattern_LineWidth(const kS3dStripePattern* pattern)
{
    const k32u count = kS3dStripePattern_LineCount(pattern);
    return count == 0 ? k32U_MAX : pattern->params.lineWidth / count;
}

kFx(kStatus) kS3dStripePattern_Export(const kS3dStripePattern* pattern, const kChar* fileName)
{
    kCheckArgs(pattern && fileName);
    kArrayList list = kNULL;
    kArray2 map = kNULL;
    kStatus status;
    kTest(kS3dStripePattern_ImageList(pattern, &list));
    kTest(kS3dStripePattern_Map(pattern, &map));
    kTest(kArrayList_Add(list, &map));
    map = kNULL; // the list holds it now
    kTest(kSave5(list, fileName));
cleanup:
    kObject_Dispose(map);
    kObject_Dispose(list);
    return status;
}
