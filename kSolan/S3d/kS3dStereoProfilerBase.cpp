#include <kSolan/S3d/kS3dStereoProfilerBase.x.h>
#include <kSolan/L3d/kL3dUtils.h>

#include <cmath>

kDefineClass(kS3dStereoProfilerBase, kObject)

namespace
{
/* Largest full-resolution image side whose 1/256-pixel coordinates fit 32-bit signed values. */
constexpr k64u kMaxImageSide = (k64u)1 << 23;

bool IsStep(k64u step, k64u most) { return step <= most && (step & (step - 1)) == 0; }

k32u Log2(k64u value) { return (k32u)kL3dLog2i(value); }

/* Shift, mask and round of one axis; a step of 0 gets all three 0, so fractions vanish. */
void SetAxis(k32u step, k32u* shift, k32u* mask, k32u* round)
{
    *shift = Log2(step);
    *mask = step ? step - 1 : 0;
    *round = step / 2;
}

void SetLattice(kS3dStereoProfilerLutParams3d* p, k32u countX, k32u countY, k32s originX,
                k32s originY, k32u stepX, k32u stepY, k32u stepZ)
{
    p->countX = countX;
    p->countY = countY;
    p->originX = originX;
    p->originY = originY;
    p->stepX = stepX;
    p->stepY = stepY;
    p->stepZ = stepZ;
    SetAxis(stepX, &p->shiftX, &p->maskX, &p->roundX);
    SetAxis(stepY, &p->shiftY, &p->maskY, &p->roundY);
    SetAxis(stepZ, &p->shiftZ, &p->maskZ, &p->roundZ);
}

/* Every step usable as a shift: 0 or a power of two, the map's x step at most 256 (its shift
 * includes the 8 fractional bits of image coordinates), others at most 65536. */
bool StepsUsable(const kS3dStereoCalParams* p)
{
    const k64u most = (k64u)1 << 16;
    return IsStep(p->ProjectionXStep, 256) && IsStep(p->ProjectionYStep, most) &&
           IsStep(p->DisparityXStep, most) && IsStep(p->DisparityYStep, most) &&
           IsStep(p->DisparityDStep, most) && IsStep(p->PhaseXStep, most) &&
           IsStep(p->PhaseYStep, most) && IsStep(p->PhasePStep, most);
}

bool IsArray2(kArray2 array, kType itemType, k64u rows, k64u columns)
{
    return kObject_Is(array, kTypeOf(kArray2)) && kArray2_ItemType(array) == itemType &&
           kArray2_Length(array, 0) == rows && kArray2_Length(array, 1) == columns;
}

bool IsEntries(kArray1 array)
{
    return kObject_Is(array, kTypeOf(kArray1)) && kArray1_ItemType(array) == kTypeOf(k32f);
}

/* The record's arrays have the classes, item types and shapes its counts give. */
bool RecordUsable(kS3dStereoCal cal)
{
    const kS3dStereoCalParams* p = kS3dStereoCal_Parameters(cal);
    const kType k32sType = kTypeOf(k32s), cellType = kTypeOf(kPoint32s);
    return IsArray2(kS3dStereoCal_ProjectionX0(cal), k32sType, p->ProjectionYCount,
                    p->ProjectionXCount) &&
           IsArray2(kS3dStereoCal_ProjectionY0(cal), k32sType, p->ProjectionYCount,
                    p->ProjectionXCount) &&
           IsArray2(kS3dStereoCal_ProjectionX1(cal), k32sType, p->ProjectionYCount,
                    p->ProjectionXCount) &&
           IsArray2(kS3dStereoCal_ProjectionY1(cal), k32sType, p->ProjectionYCount,
                    p->ProjectionXCount) &&
           IsArray2(kS3dStereoCal_DisparityMap(cal), cellType, p->DisparityYCount,
                    p->DisparityXCount) &&
           IsArray2(kS3dStereoCal_PhaseMap0(cal), cellType, p->PhaseYCount, p->PhaseXCount) &&
           IsArray2(kS3dStereoCal_PhaseMap1(cal), cellType, p->PhaseYCount, p->PhaseXCount) &&
           IsEntries(kS3dStereoCal_DisparityToX(cal)) &&
           IsEntries(kS3dStereoCal_DisparityToY(cal)) &&
           IsEntries(kS3dStereoCal_DisparityToZ(cal)) && IsEntries(kS3dStereoCal_PhaseToX0(cal)) &&
           IsEntries(kS3dStereoCal_PhaseToY0(cal)) && IsEntries(kS3dStereoCal_PhaseToZ0(cal)) &&
           IsEntries(kS3dStereoCal_PhaseToX1(cal)) && IsEntries(kS3dStereoCal_PhaseToY1(cal)) &&
           IsEntries(kS3dStereoCal_PhaseToZ1(cal));
}

/*
 * Third-axis bounds of a sparse-column map: origin = smallest begin, count = (last − origin)
 * / step + 1 with last = largest begin + (entries − 1) × step; 1 for a step of 0. A map
 * without a valid cell gives origin k32S_NULL and count 1. Computed in 64 bits: begins come
 * from files.
 */
void xkS3dStereoProfilerBase_FindLutBounds(kArray2 map, k32u step, k64s* origin, k64s* count)
{
    const kPoint32s* cells = kArray2_DataT<kPoint32s>(map);
    const kSize cellCount = kArray2_Count(map);
    bool found = false;
    k64s first = 0, last = 0;
    for (kSize i = 0; i < cellCount; ++i)
    {
        if (cells[i].x == k32S_NULL) continue;
        const k64s begin = cells[i].x;
        const k64s end = begin + ((k64s)cells[i].y - 1) * (k64s)step;
        first = found ? kMin_(first, begin) : begin;
        last = found ? kMax_(last, end) : end;
        found = true;
    }
    if (!found)
    {
        *origin = k32S_NULL;
        *count = 1;
        return;
    }
    *origin = first;
    *count = step ? (last - first) / (k64s)step + 1 : 1;
}

bool EntriesFit(k64u countX, k64u countY, k64s countZ)
{
    return countZ >= 0 && countZ <= (k64s)k32S_MAX &&
           countX * countY * (k64u)countZ <= kS3D_STEREO_PROFILER_MAX_ENTRIES;
}

/* Rows of a projection grid interpolated to every full-resolution image row. */
void FillRectMap(kArray2 out, kArray2 gridX, kArray2 gridY, k32u stepY, k32u gridRows)
{
    const kSize rows = kArray2_Length(out, 0), columns = kArray2_Length(out, 1);
    const k32s* gx = kArray2_DataT<k32s>(gridX);
    const k32s* gy = kArray2_DataT<k32s>(gridY);
    kPoint16s* map = kArray2_DataT<kPoint16s>(out);
    const k32u s = Log2(stepY);

    for (kSize r = 0; r < rows; ++r)
    {
        const k32u g = (k32u)(r / stepY), f = (k32u)(r - (kSize)g * stepY);
        for (kSize c = 0; c < columns; ++c)
        {
            kPoint16s& entry = map[r * columns + c];
            entry.x = entry.y = kS3D_STEREO_NULL16;
            if (g + 1 >= gridRows) continue;
            const kSize at = (kSize)g * columns + c, below = at + columns;
            if (gx[at] == k32S_NULL || gx[below] == k32S_NULL || gy[at] == k32S_NULL ||
                gy[below] == k32S_NULL)
                continue;
            // 64-bit so that any grid values interpolate without overflow; the arithmetic
            // shift floors, so rows between grid rows lean towards the upper grid row.
            const k64s x = (((k64s)gx[below] - gx[at]) * f >> s) + gx[at];
            const k64s y = (((k64s)gy[below] - gy[at]) * f >> s) + gy[at];
            if (x < -32767 || x >= 32767 || y < -32767 || y >= 32767) continue;
            entry.x = (k16s)x;
            entry.y = (k16s)y;
        }
    }
}

/* Rounds half away from zero: p + 0.5 for positive values, p − 0.5 otherwise, truncated. */
k16s RoundCount(k32f p) { return (k16s)(p > 0 ? p + 0.5f : p - 0.5f); }

/*
 * Scatters a sparse-column table into a dense table [countZ][countY][countX]. Entries whose
 * layer falls outside the table are skipped; entry arrays shorter than the map claims end the
 * fill with kSTATUS_FAILED (0).
 */
kStatus xkS3dStereoProfilerBase_UpdateLut(kS3dStereoProfilerBaseClass* obj, kArray2 map,
                                          kArray1 toX, kArray1 toY, kArray1 toZ, k32s originZ,
                                          k32u stepZ, kArray3 table)
{
    const k32f k = (k32f)(1.0 / obj->resolution);
    const kSize countZ = kArray3_Length(table, 0), countY = kArray3_Length(table, 1),
                countX = kArray3_Length(table, 2);
    kPoint3d16s* out = kArray3_DataT<kPoint3d16s>(table);
    const kSize total = kArray3_Count(table);
    for (kSize i = 0; i < total; ++i)
        out[i].x = out[i].y = out[i].z = kS3D_STEREO_NULL16;

    const kPoint32s* cells = kArray2_DataT<kPoint32s>(map);
    const k32f* xs = kArray1_DataT<k32f>(toX);
    const k32f* ys = kArray1_DataT<k32f>(toY);
    const k32f* zs = kArray1_DataT<k32f>(toZ);
    const kSize length =
        kMin_(kArray1_Length(toX), kMin_(kArray1_Length(toY), kArray1_Length(toZ)));
    const kSize mapRows = kArray2_Length(map, 0), mapColumns = kArray2_Length(map, 1);
    kSize index = 0;

    for (kSize y = 0; y < mapRows; ++y)
    {
        for (kSize x = 0; x < mapColumns; ++x)
        {
            const kPoint32s cell = cells[y * mapColumns + x];
            if (cell.x == k32S_NULL || cell.y <= 0) continue;
            const kSize n = (kSize)cell.y;
            if (index + n > length) return kSTATUS_FAILED;
            const k64s z0 = stepZ ? ((k64s)cell.x - originZ) / (k64s)stepZ : 0;
            for (kSize i = 0; i < n; ++i, ++index)
            {
                const k64s z = z0 + (k64s)i;
                if (z < 0 || z >= (k64s)countZ || y >= countY || x >= countX) continue;
                if (xs[index] == k32F_NULL || ys[index] == k32F_NULL || zs[index] == k32F_NULL)
                    continue;
                const k32f px = xs[index] * k, py = ys[index] * k, pz = zs[index] * k;
                // NaN fails every comparison and stays null.
                if (!(px >= -32767.0f && px < 32766.0f && py >= -32767.0f && py < 32766.0f &&
                      pz >= -32767.0f && pz < 32766.0f))
                    continue;
                kPoint3d16s& entry = out[((kSize)z * countY + y) * countX + x];
                entry.x = RoundCount(px);
                entry.y = RoundCount(py);
                entry.z = RoundCount(pz);
            }
        }
    }
    return kOK;
}

/* Component-wise bounds of the valid entries of a table; false when it has none. */
bool xkS3dStereoProfilerBase_LutLimits(kArray3 table, kPoint3d16s* lo, kPoint3d16s* hi)
{
    const kPoint3d16s* entries = kArray3_DataT<kPoint3d16s>(table);
    const kSize count = kArray3_Count(table);
    bool found = false;
    for (kSize i = 0; i < count; ++i)
    {
        const kPoint3d16s e = entries[i];
        if (e.x == kS3D_STEREO_NULL16) continue;
        if (!found)
        {
            *lo = *hi = e;
            found = true;
            continue;
        }
        lo->x = kMin_(lo->x, e.x);
        lo->y = kMin_(lo->y, e.y);
        lo->z = kMin_(lo->z, e.z);
        hi->x = kMax_(hi->x, e.x);
        hi->y = kMax_(hi->y, e.y);
        hi->z = kMax_(hi->z, e.z);
    }
    return found;
}

void xkS3dStereoProfilerBase_UpdateLimits(kS3dStereoProfilerBaseClass* obj)
{
    const kArray3 tables[] = {obj->dispLut, obj->phaseLut0, obj->phaseLut1};
    kPoint3d16s lo{}, hi{};
    bool any = false;
    for (kArray3 table : tables)
    {
        kPoint3d16s tlo, thi;
        if (!xkS3dStereoProfilerBase_LutLimits(table, &tlo, &thi)) continue;
        if (!any)
        {
            lo = tlo;
            hi = thi;
            any = true;
            continue;
        }
        lo.x = kMin_(lo.x, tlo.x);
        lo.y = kMin_(lo.y, tlo.y);
        lo.z = kMin_(lo.z, tlo.z);
        hi.x = kMax_(hi.x, thi.x);
        hi.y = kMax_(hi.y, thi.y);
        hi.z = kMax_(hi.z, thi.z);
    }
    kRect3d64f& v = obj->calibrationVolume;
    if (!any)
    {
        v.x = v.y = v.z = v.width = v.height = v.depth = k64F_NULL;
        return;
    }
    const k64f r = obj->resolution;
    v.x = lo.x * r;
    v.y = lo.y * r;
    v.z = lo.z * r;
    v.width = ((k64f)hi.x - lo.x) * r;
    v.height = ((k64f)hi.y - lo.y) * r;
    v.depth = ((k64f)hi.z - lo.z) * r;
}

/* Rounds half away from zero to 32 bits; false when the value cannot be held. */
bool ToFixed(k64f value, k64f scale, k32s* out)
{
    const k64f v = value * scale;
    if (!(v > -2147483648.0 && v < 2147483647.0)) return false;
    *out = (k32s)std::round(v);
    return true;
}

k64f Scaled(k16s value, k64f resolution)
{
    return value == kS3D_STEREO_NULL16 ? k64F_NULL : value * resolution;
}

void SetPoint(kPoint3d64f* out, kPoint3d16s point, k64f resolution)
{
    out->x = Scaled(point.x, resolution);
    out->y = Scaled(point.y, resolution);
    out->z = Scaled(point.z, resolution);
}

void SetNullPoint(kPoint3d64f* out) { out->x = out->y = out->z = k64F_NULL; }

/* Rectifies a window point given in pixels; false when it cannot be held or does not rectify. */
bool RectifyPoint(const kS3dStereoProfilerBaseClass* obj, k32u view, const kPoint64f* point,
                  k16s* px, k16s* py)
{
    k32s x, y;
    if (!ToFixed(point->x, 256.0, &x) || !ToFixed(point->y, 256.0, &y)) return false;
    kS3dStereoProfilerHwContext_Rectify(obj->hwContext, view, x, y, px, py);
    return *px != kS3D_STEREO_NULL16;
}
} // namespace

kStatus xkS3dStereoProfilerBase_InitFields(kS3dStereoProfilerBase profiler,
                                           const kS3dStereoProfilerParams* params,
                                           kS3dStereoCal cal, kAlloc alloc)
{
    kS3dStereoProfilerBaseClass* obj = kCastRaw(kS3dStereoProfilerBase, profiler);
    kCheckArgs(params && cal && kS3dStereoCal_DisparityMap(cal) && RecordUsable(cal));
    const kS3dStereoCalParams* cp = kS3dStereoCal_Parameters(cal);
    kCheckArgs(std::isfinite(params->rangeResolution) && params->rangeResolution > 0);
    kCheckArgs(StepsUsable(cp));

    // 1. Scalars.
    obj->expansionDistance0 = params->expansionDistance0;
    obj->expansionDistance1 = params->expansionDistance1;
    obj->expansionCoefficient = params->expansionCoefficient;
    kCheck(kS3dStereoProfilerBase_SetActiveAreaRoi(profiler, kNULL));
    obj->lookupType = 0;
    obj->leftViewIndex = 0;
    for (kSize i = 0; i < 12; ++i)
        obj->transform[i] = params->transform[i];
    obj->resolution = params->rangeResolution;
    obj->projectionResolution = cp->ProjectionResolution;

    // 2-4. Rectification description.
    kS3dStereoProfilerLutParams2d& rp = obj->rectParams;
    const k64u imageWidth = (k64u)cp->ProjectionXCount * cp->ProjectionXStep;
    const k64u imageHeight = (k64u)cp->ProjectionYCount * cp->ProjectionYStep;
    kCheckArgs(imageWidth < kMaxImageSide && imageHeight < kMaxImageSide);
    rp.invertX0 = kS3dStereoCal_InvertXAt(cal, 0) ? 1 : 0;
    rp.invertX1 = kS3dStereoCal_InvertXAt(cal, 1) ? 1 : 0;
    rp.invertY0 = kS3dStereoCal_InvertYAt(cal, 0) ? 1 : 0;
    rp.invertY1 = kS3dStereoCal_InvertYAt(cal, 1) ? 1 : 0;
    rp.transpose0 = kS3dStereoCal_TransposeAt(cal, 0) ? 1 : 0;
    rp.transpose1 = kS3dStereoCal_TransposeAt(cal, 1) ? 1 : 0;
    rp.imageWidth = (k32u)imageWidth;
    rp.imageHeight = (k32u)imageHeight;
    kCheck(kS3dStereoProfilerBase_UpdateWindow(profiler, &params->window0, &params->window1));
    rp.mapWidth = cp->ProjectionXCount;
    rp.mapHeight = (k32u)imageHeight;
    rp.mapStepX = cp->ProjectionXStep;
    rp.mapStepY = 1;
    rp.shiftX = Log2((k64u)rp.mapStepX * 256);
    rp.shiftY = Log2((k64u)rp.mapStepY * 256);
    rp.roundX = (k32u)1 << rp.shiftX >> 1;
    rp.roundY = (k32u)1 << rp.shiftY >> 1;
    rp.maskX = ((k32u)1 << rp.shiftX) - 1;
    rp.maskY = ((k32u)1 << rp.shiftY) - 1;
    // An empty map gets limits of 0: nothing rectifies.
    rp.limitX = rp.mapWidth ? (k32s)(((k64s)rp.mapWidth - 1) * rp.mapStepX * 256) : 0;
    rp.limitY = rp.mapHeight ? (k32s)(((k64s)rp.mapHeight - 1) * rp.mapStepY * 256) : 0;
    kCheckArgs((k64u)rp.mapWidth * rp.mapHeight <= kS3D_STEREO_PROFILER_MAX_ENTRIES);

    // 5-7. Table lattices and third-axis bounds.
    SetLattice(&obj->dispParams, cp->DisparityXCount, cp->DisparityYCount, cp->DisparityXBegin,
               cp->DisparityYBegin, cp->DisparityXStep, cp->DisparityYStep, cp->DisparityDStep);
    SetLattice(&obj->phaseParams, cp->PhaseXCount, cp->PhaseYCount, cp->PhaseXBegin,
               cp->PhaseYBegin, cp->PhaseXStep, cp->PhaseYStep, cp->PhasePStep);

    k64s dispOrigin, dispCount;
    xkS3dStereoProfilerBase_FindLutBounds(kS3dStereoCal_DisparityMap(cal), cp->DisparityDStep,
                                          &dispOrigin, &dispCount);
    kCheckArgs(EntriesFit(cp->DisparityXCount, cp->DisparityYCount, dispCount));
    obj->dispParams.originZ = (k32s)dispOrigin;
    obj->dispParams.countZ = (k32u)dispCount;

    // A phase view without a valid cell is left out of the shared bounds; with neither view
    // valid the table is one null layer at k32S_NULL, like an empty disparity map.
    k64s min0, count0, min1, count1;
    const k64s pStep = cp->PhasePStep;
    xkS3dStereoProfilerBase_FindLutBounds(kS3dStereoCal_PhaseMap0(cal), cp->PhasePStep, &min0,
                                          &count0);
    xkS3dStereoProfilerBase_FindLutBounds(kS3dStereoCal_PhaseMap1(cal), cp->PhasePStep, &min1,
                                          &count1);
    const bool valid0 = min0 != k32S_NULL, valid1 = min1 != k32S_NULL;
    k64s phaseOrigin = k32S_NULL, phaseCount = 1;
    if (valid0 || valid1)
    {
        const k64s end0 = pStep * count0 + min0, end1 = pStep * count1 + min1;
        phaseOrigin = valid0 && valid1 ? kMin_(min0, min1) : valid0 ? min0 : min1;
        const k64s end = valid0 && valid1 ? kMax_(end0, end1) : valid0 ? end0 : end1;
        phaseCount = pStep ? (end - phaseOrigin) / pStep : 0;
    }
    kCheckArgs(EntriesFit(cp->PhaseXCount, cp->PhaseYCount, phaseCount));
    obj->phaseParams.originZ = (k32s)phaseOrigin;
    obj->phaseParams.countZ = (k32u)phaseCount;

    // 8. Tables.
    const kS3dStereoProfilerLutParams3d& dp = obj->dispParams;
    const kS3dStereoProfilerLutParams3d& pp = obj->phaseParams;
    kCheck(kArray2_Construct(&obj->rectMap0, kTypeOf(kPoint16s), rp.mapHeight, rp.mapWidth, alloc));
    kCheck(kArray2_Construct(&obj->rectMap1, kTypeOf(kPoint16s), rp.mapHeight, rp.mapWidth, alloc));
    kCheck(kArray3_Construct(&obj->dispLut, kTypeOf(kPoint3d16s), dp.countZ, dp.countY, dp.countX,
                             alloc));
    kCheck(kArray3_Construct(&obj->phaseLut0, kTypeOf(kPoint3d16s), pp.countZ, pp.countY, pp.countX,
                             alloc));
    kCheck(kArray3_Construct(&obj->phaseLut1, kTypeOf(kPoint3d16s), pp.countZ, pp.countY, pp.countX,
                             alloc));

    // 9-10. Fill.
    FillRectMap(obj->rectMap0, kS3dStereoCal_ProjectionX0(cal), kS3dStereoCal_ProjectionY0(cal),
                cp->ProjectionYStep, cp->ProjectionYCount);
    FillRectMap(obj->rectMap1, kS3dStereoCal_ProjectionX1(cal), kS3dStereoCal_ProjectionY1(cal),
                cp->ProjectionYStep, cp->ProjectionYCount);
    kCheck(xkS3dStereoProfilerBase_UpdateLut(
        obj, kS3dStereoCal_DisparityMap(cal), kS3dStereoCal_DisparityToX(cal),
        kS3dStereoCal_DisparityToY(cal), kS3dStereoCal_DisparityToZ(cal), dp.originZ,
        cp->DisparityDStep, obj->dispLut));
    kCheck(xkS3dStereoProfilerBase_UpdateLut(
        obj, kS3dStereoCal_PhaseMap0(cal), kS3dStereoCal_PhaseToX0(cal),
        kS3dStereoCal_PhaseToY0(cal), kS3dStereoCal_PhaseToZ0(cal), pp.originZ, cp->PhasePStep,
        obj->phaseLut0));
    kCheck(xkS3dStereoProfilerBase_UpdateLut(
        obj, kS3dStereoCal_PhaseMap1(cal), kS3dStereoCal_PhaseToX1(cal),
        kS3dStereoCal_PhaseToY1(cal), kS3dStereoCal_PhaseToZ1(cal), pp.originZ, cp->PhasePStep,
        obj->phaseLut1));

    // 11-13. Orientation, limits, temperatures.
    kCheck(kS3dStereoCal_LeftViewIndex(cal, &obj->leftViewIndex));
    xkS3dStereoProfilerBase_UpdateLimits(obj);
    obj->referenceTemperature = kS3dStereoCal_Temperature(cal);
    obj->temperature = k64F_NULL;
    obj->expansionCorrectionEnabled = kFALSE;

    // 14. Host context.
    kCheck(kAlloc_GetZero(alloc, sizeof(kS3dStereoProfilerHwContextClass), &obj->hwContext));
    kS3dStereoProfilerHwContextClass* ctx = obj->hwContext;
    ctx->dispParams = &obj->dispParams;
    ctx->dispLut = kArray3_DataT<kPoint3d16s>(obj->dispLut);
    ctx->phaseParams = &obj->phaseParams;
    ctx->phaseLut0 = kArray3_DataT<kPoint3d16s>(obj->phaseLut0);
    ctx->phaseLut1 = kArray3_DataT<kPoint3d16s>(obj->phaseLut1);
    ctx->rectParams = &obj->rectParams;
    ctx->rectMap0 = kArray2_DataT<kPoint16s>(obj->rectMap0);
    ctx->rectMap1 = kArray2_DataT<kPoint16s>(obj->rectMap1);
    return kOK;
}

kStatus xkS3dStereoProfilerBase_VRelease(kObject profiler)
{
    kS3dStereoProfilerBaseClass* obj = kCastRaw(kS3dStereoProfilerBase, profiler);
    kCheck(kAlloc_FreeRef(kObject_Alloc(profiler), &obj->hwContext));
    kCheck(kDestroyRef(&obj->rectMap0));
    kCheck(kDestroyRef(&obj->rectMap1));
    kCheck(kDestroyRef(&obj->dispLut));
    kCheck(kDestroyRef(&obj->phaseLut0));
    kCheck(kDestroyRef(&obj->phaseLut1));
    return xkObject_VRelease(profiler);
}

/* The tables are large and never change: profilers are shared, not cloned. */
kStatus xkS3dStereoProfilerBase_VInitClone(kObject, kObject, kAlloc)
{
    return kSTATUS_NOT_IMPLEMENTED;
}

kSize xkS3dStereoProfilerBase_VSize(kObject profiler)
{
    return kS3dStereoProfilerBase_MemoryUsage(profiler);
}

kFx(kStatus) xxkS3dStereoProfilerBase_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kS3dStereoProfilerBase, kObject));
    kCheck(kAddVMethod(kS3dStereoProfilerBase, VRelease));
    kCheck(kAddVMethod(kS3dStereoProfilerBase, VInitClone));
    return kAddVMethod(kS3dStereoProfilerBase, VSize);
}

kFx(kStatus) kS3dStereoProfilerBase_UpdateWindow(kS3dStereoProfilerBase profiler,
                                                 const kL3dCameraWindow* window0,
                                                 const kL3dCameraWindow* window1)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    kCheckArgs(window0 && window1);
    // Sub-sampling becomes a shift of 32-bit coordinates: at most 2^16.
    kCheckArgs(window0->xSubsampling <= 65536 && window0->ySubsampling <= 65536 &&
               window1->xSubsampling <= 65536 && window1->ySubsampling <= 65536);
    kS3dStereoProfilerLutParams2d& rp = obj->rectParams;
    const kL3dCameraWindow* windows[2] = {window0, window1};
    const k32u invertX[2] = {rp.invertX0, rp.invertX1};
    const k32u invertY[2] = {rp.invertY0, rp.invertY1};
    const k32u transpose[2] = {rp.transpose0, rp.transpose1};
    k32s* originX[2] = {&rp.windowX0, &rp.windowX1};
    k32s* originY[2] = {&rp.windowY0, &rp.windowY1};

    for (kSize v = 0; v < 2; ++v)
    {
        const kL3dCameraWindow& w = *windows[v];
        const k64s width = transpose[v] ? rp.imageHeight : rp.imageWidth;
        const k64s height = transpose[v] ? rp.imageWidth : rp.imageHeight;
        const k32s ox = (k32s)(invertX[v] ? width - ((k64s)w.x + w.width) : (k64s)w.x);
        const k32s oy = (k32s)(invertY[v] ? height - ((k64s)w.y + w.height) : (k64s)w.y);
        if (transpose[v])
        {
            *originX[v] = oy;
            *originY[v] = ox;
            rp.windowShiftX = Log2(w.ySubsampling);
            rp.windowShiftY = Log2(w.xSubsampling);
        }
        else
        {
            *originX[v] = ox;
            *originY[v] = oy;
            rp.windowShiftX = Log2(w.xSubsampling);
            rp.windowShiftY = Log2(w.ySubsampling);
        }
    }
    return kOK;
}

kFx(kS3dStereoProfilerHwContext) kS3dStereoProfilerBase_HwContext(kS3dStereoProfilerBase profiler)
{
    kObjN(kS3dStereoProfilerBase, obj, profiler);
    return obj ? obj->hwContext : kNULL;
}

kFx(kStatus) kS3dStereoProfilerBase_LookupDisparityN(kS3dStereoProfilerBase profiler,
                                                     kArray1 rectified, kArray1 points)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    kCheckArgs(kObject_Is(rectified, kTypeOf(kArray1)) && kObject_Is(points, kTypeOf(kArray1)));
    kCheckArgs(kArray1_ItemType(rectified) == kTypeOf(kPoint3d16s) &&
               kArray1_ItemType(points) == kTypeOf(kPoint3d16s));
    kCheckArgs(kArray1_Length(rectified) == kArray1_Length(points));
    const kPoint3d16s* in = kArray1_DataT<kPoint3d16s>(rectified);
    kPoint3d16s* out = kArray1_DataT<kPoint3d16s>(points);
    const kSize count = kArray1_Length(points);
    for (kSize i = 0; i < count; ++i)
        kS3dStereoProfilerHwContext_LookupDisparity(obj->hwContext, in[i].x, in[i].y, in[i].z,
                                                    &out[i]);
    return kOK;
}

kFx(kStatus) kS3dStereoProfilerBase_SetLookupType(kS3dStereoProfilerBase profiler, k32u type)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    obj->lookupType = type;
    return kOK;
}

kFx(k32u) kS3dStereoProfilerBase_LookupType(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->lookupType;
}

kFx(kStatus)
    kS3dStereoProfilerBase_SetTransform(kS3dStereoProfilerBase profiler, const k64f* transform)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    kCheckArgs(transform);
    for (kSize i = 0; i < 12; ++i)
        obj->transform[i] = transform[i];
    return kOK;
}

kFx(const k64f*) kS3dStereoProfilerBase_Transform(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->transform;
}

kFx(kStatus)
    kS3dStereoProfilerBase_SetActiveAreaRoi(kS3dStereoProfilerBase profiler, const kRect3d64f* roi)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    if (roi)
        obj->activeAreaRoi = *roi;
    else
    {
        kRect3d64f& r = obj->activeAreaRoi;
        r.x = r.y = r.z = r.width = r.height = r.depth = k64F_NULL;
    }
    return kOK;
}

kFx(kRect3d64f) kS3dStereoProfilerBase_ActiveAreaRoi(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->activeAreaRoi;
}

kFx(k64f) kS3dStereoProfilerBase_ReferenceTemperature(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->referenceTemperature;
}

kFx(kStatus)
    kS3dStereoProfilerBase_SetTemperature(kS3dStereoProfilerBase profiler, k64f temperature)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    obj->temperature = temperature;
    return kOK;
}

kFx(k64f) kS3dStereoProfilerBase_Temperature(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->temperature;
}

kFx(kStatus)
    kS3dStereoProfilerBase_EnableExpansionCorrection(kS3dStereoProfilerBase profiler, kBool enable)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    if (enable)
    {
        const k64f values[3] = {obj->expansionDistance0, obj->expansionDistance1,
                                obj->expansionCoefficient};
        for (k64f v : values)
            kCheckArgs(v != 0 && v != k64F_NULL);
    }
    obj->expansionCorrectionEnabled = enable ? kTRUE : kFALSE;
    return kOK;
}

kFx(kBool) kS3dStereoProfilerBase_ExpansionCorrectionEnabled(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->expansionCorrectionEnabled;
}

kFx(kStatus)
    kS3dStereoProfilerBase_TermalExpansionParams(kS3dStereoProfilerBase profiler, k64f* distance0,
                                                 k64f* distance1, k64f* coefficient)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    if (distance0) *distance0 = obj->expansionDistance0;
    if (distance1) *distance1 = obj->expansionDistance1;
    if (coefficient) *coefficient = obj->expansionCoefficient;
    return kOK;
}

kFx(k32u) kS3dStereoProfilerBase_LeftViewIndex(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->leftViewIndex;
}

kFx(k32s) kS3dStereoProfilerBase_DisparityMin(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->dispParams.originZ;
}

kFx(k32s) kS3dStereoProfilerBase_DisparityMax(kS3dStereoProfilerBase profiler)
{
    const kS3dStereoProfilerLutParams3d& p = kCastRaw(kS3dStereoProfilerBase, profiler)->dispParams;
    return (k32s)((k64s)p.originZ + (k64s)p.stepZ * ((k64s)p.countZ + 1));
}

kFx(kStatus) kS3dStereoProfilerBase_SetResolution(kS3dStereoProfilerBase profiler, k64f resolution)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    obj->resolution = resolution;
    return kOK;
}

kFx(k64f) kS3dStereoProfilerBase_Resolution(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->resolution;
}

kFx(kStatus)
    kS3dStereoProfilerBase_SetProjectionResolution(kS3dStereoProfilerBase profiler, k64f resolution)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    obj->projectionResolution = resolution;
    return kOK;
}

kFx(k64f) kS3dStereoProfilerBase_ProjectionResolution(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->projectionResolution;
}

kFx(kRect3d64f) kS3dStereoProfilerBase_CalibrationVolume(kS3dStereoProfilerBase profiler)
{
    return kCastRaw(kS3dStereoProfilerBase, profiler)->calibrationVolume;
}

kFx(kBool) kS3dStereoProfilerBase_TransposeAt(kS3dStereoProfilerBase profiler, kSize view)
{
    kAssert(view <= 1);
    const kS3dStereoProfilerLutParams2d& rp =
        kCastRaw(kS3dStereoProfilerBase, profiler)->rectParams;
    if (view > 1) return kFALSE;
    return (view ? rp.transpose1 : rp.transpose0) ? kTRUE : kFALSE;
}

kFx(kSize) kS3dStereoProfilerBase_MemoryUsage(kS3dStereoProfilerBase profiler)
{
    kS3dStereoProfilerBaseClass* obj = kCastRaw(kS3dStereoProfilerBase, profiler);
    kSize size = kType_InnerSize(kObject_Type(profiler));
    if (obj->rectMap0) size += kArray2_DataSize(obj->rectMap0);
    if (obj->rectMap1) size += kArray2_DataSize(obj->rectMap1);
    if (obj->dispLut) size += kArray3_DataSize(obj->dispLut);
    if (obj->phaseLut0) size += kArray3_DataSize(obj->phaseLut0);
    if (obj->phaseLut1) size += kArray3_DataSize(obj->phaseLut1);
    return size;
}

kFx(kStatus) kS3dStereoProfilerBase_EvaluateImagePhase64f(kS3dStereoProfilerBase profiler,
                                                          kSize view, const kPoint64f* imagePoint,
                                                          kPoint3d64f* point3d, k64f phase)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    kCheckArgs(imagePoint && point3d && view <= 1);
    // Unsigned 16.16 fixed point, then handed on as the signed phase of the lookup.
    const k64f fixed = phase * 65536.0 + 0.5;
    const k32u unsignedPhase = !(fixed > 0) ? 0 : fixed >= 4294967295.0 ? k32U_MAX : (k32u)fixed;
    k16s px, py;
    if (!RectifyPoint(obj, (k32u)view, imagePoint, &px, &py))
    {
        SetNullPoint(point3d);
        return kOK;
    }
    kPoint3d16s point;
    kS3dStereoProfilerHwContext_LookupPhase(obj->hwContext, (k32u)view, px, py, (k32s)unsignedPhase,
                                            &point);
    SetPoint(point3d, point, obj->resolution);
    return kOK;
}

kFx(kStatus) kS3dStereoProfilerBase_EvaluateImageDisparity64f(kS3dStereoProfilerBase profiler,
                                                              const kPoint64f* imagePoint0,
                                                              const kPoint64f* imagePoint1,
                                                              kPoint3d64f* point3d)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    kCheckArgs(imagePoint0 && imagePoint1 && point3d);
    k16s px0, py0, px1, py1;
    if (!RectifyPoint(obj, 0, imagePoint0, &px0, &py0) ||
        !RectifyPoint(obj, 1, imagePoint1, &px1, &py1))
    {
        SetNullPoint(point3d);
        return kOK;
    }
    kPoint3d16s point;
    kS3dStereoProfilerHwContext_LookupDisparity(obj->hwContext, px0, px1, py0, &point);
    SetPoint(point3d, point, obj->resolution);
    return kOK;
}

kFx(kStatus) kS3dStereoProfilerBase_RectificationError(kS3dStereoProfilerBase profiler,
                                                       const kPoint64f* imagePoint0,
                                                       const kPoint64f* imagePoint1, k64f* error)
{
    kObjR(kS3dStereoProfilerBase, profiler);
    kCheckArgs(imagePoint0 && imagePoint1 && error);
    k16s px0, py0, px1, py1;
    const bool nullInput = imagePoint0->x == k64F_NULL || imagePoint0->y == k64F_NULL ||
                           imagePoint1->x == k64F_NULL || imagePoint1->y == k64F_NULL;
    if (nullInput || !RectifyPoint(obj, 0, imagePoint0, &px0, &py0) ||
        !RectifyPoint(obj, 1, imagePoint1, &px1, &py1))
    {
        *error = k64F_NULL;
        return kOK;
    }
    *error = py1 * obj->projectionResolution - py0 * obj->projectionResolution;
    return kOK;
}
