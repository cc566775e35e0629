/**
 * @file    kS3dStereoProfilerKernels.h
 * @brief   Fixed-point lookups of the stereo profiler, shared by the host and GPU paths.
 *
 * A hardware context is a flat set of pointers to the profiler's table descriptions and
 * tables, all in host memory or all in device memory, so that the functions below run
 * unchanged on either side. Units:
 * - image coordinates: k32s in 1/256 pixel of the (sub-sampled) camera window;
 * - projection (rectified) coordinates: k16s, one unit = the calibration's projection
 *   resolution; -32768 is null;
 * - phase: k32s, 16 fractional bits of the calibration's phase unit;
 * - 3D points: `kPoint3d16s` in counts of the range resolution; a point is null when its x is
 *   -32768 (all three components are written as -32768 then).
 *
 * Interpolation keeps 16-bit endpoints: a + (((b − a) × f + r) >> s) with the product taken in
 * 32-bit unsigned arithmetic and the sum truncated to 16 bits. Shifts never exceed 16, so the
 * kept bits equal those of an arithmetic shift.
 *
 * Bounds: the lookups test every lattice index before reading, so any input, including
 * coordinates outside the calibrated area, gives a null result rather than a read outside a
 * table. Rectify additionally refuses negative full-resolution coordinates (X < 0 or Y < 0):
 * they would address the map before its first column or row.
 */
#ifndef K_S3D_STEREO_PROFILER_KERNELS_H
#define K_S3D_STEREO_PROFILER_KERNELS_H

#include <kBasis/kValue.h>

#if defined(__CUDACC__)
#define kS3D_STEREO_FX __host__ __device__ inline
#else
#define kS3D_STEREO_FX inline
#endif

/** Description of one 3D table, [countZ][countY][countX] of `kPoint3d16s`. */
typedef struct kS3dStereoProfilerLutParams3d
{
    k32u countX, countY, countZ;
    k32s originX, originY, originZ; ///< Lattice coordinates of entry [0][0][0].
    k32u shiftX, shiftY, shiftZ;    ///< log2 of the steps.
    k32u maskX, maskY, maskZ;       ///< step − 1 (0 for a step of 0).
    k32u roundX, roundY, roundZ;    ///< step / 2.
    k32u stepX, stepY, stepZ;
} kS3dStereoProfilerLutParams3d;

/** Description of the two rectification maps, [mapHeight][mapWidth] of `kPoint16s`. */
typedef struct kS3dStereoProfilerLutParams2d
{
    k32u invertX0, invertX1, invertY0, invertY1, transpose0, transpose1;
    k32u imageWidth;  ///< ProjectionXCount × ProjectionXStep, full-resolution pixels.
    k32u imageHeight; ///< ProjectionYCount × ProjectionYStep.
    k32s windowX0, windowY0, windowX1, windowY1; ///< Window origins, full-resolution pixels.
    k32u windowShiftX, windowShiftY;             ///< log2 of the window sub-sampling.
    k32u mapWidth;                               ///< ProjectionXCount.
    k32u mapHeight; ///< ProjectionYCount × ProjectionYStep: one map row per image row.
    k32u mapStepX;  ///< ProjectionXStep.
    k32u mapStepY;  ///< Always 1.
    k32u maskX, maskY;
    k32s limitX, limitY; ///< (mapWidth − 1) × mapStepX × 256, (mapHeight − 1) × 256.
    k32u shiftX, shiftY; ///< log2(mapStepX × 256), 8.
    k32u roundX, roundY;
} kS3dStereoProfilerLutParams2d;

/** Everything a lookup reads: host or device pointers, never mixed. */
typedef struct kS3dStereoProfilerHwContextClass
{
    const kS3dStereoProfilerLutParams3d* dispParams;
    const kPoint3d16s* dispLut;
    const kS3dStereoProfilerLutParams3d* phaseParams;
    const kPoint3d16s* phaseLut0;
    const kPoint3d16s* phaseLut1;
    const kS3dStereoProfilerLutParams2d* rectParams;
    const kPoint16s* rectMap0;
    const kPoint16s* rectMap1;
} kS3dStereoProfilerHwContextClass;

typedef kS3dStereoProfilerHwContextClass* kS3dStereoProfilerHwContext;

#define kS3D_STEREO_NULL16 ((k16s)-32768)

/* ----- Interpolation primitives ------------------------------------------------------------- */

kS3D_STEREO_FX k16s xkS3dStereoProfilerBase_Interpolate(k16s a, k16s b, k32u f, k32u s, k32u r)
{
    const k32u delta = (k32u)((k32s)b - (k32s)a);
    return (k16s)(k16u)((k32u)a + ((delta * f + r) >> s));
}

kS3D_STEREO_FX kPoint3d16s xkS3dStereoProfilerBase_InterpolateLinear(kPoint3d16s a, kPoint3d16s b,
                                                                     k32u f, k32u s, k32u r)
{
    kPoint3d16s out;
    if (a.x == kS3D_STEREO_NULL16 || b.x == kS3D_STEREO_NULL16)
    {
        out.x = out.y = out.z = kS3D_STEREO_NULL16;
        return out;
    }
    out.x = xkS3dStereoProfilerBase_Interpolate(a.x, b.x, f, s, r);
    out.y = xkS3dStereoProfilerBase_Interpolate(a.y, b.y, f, s, r);
    out.z = xkS3dStereoProfilerBase_Interpolate(a.z, b.z, f, s, r);
    return out;
}

/* Entries [0][0], [0][1] (along x), [1][0], [1][1] of row pitch `pitch` from `at`. */
kS3D_STEREO_FX kPoint3d16s xkS3dStereoProfilerBase_InterpolateBilinear(
    const kPoint3d16s* at, k32u pitch, k32u fx, k32u fy, const kS3dStereoProfilerLutParams3d* p)
{
    const kPoint3d16s r0 =
        xkS3dStereoProfilerBase_InterpolateLinear(at[0], at[1], fx, p->shiftX, p->roundX);
    const kPoint3d16s r1 = xkS3dStereoProfilerBase_InterpolateLinear(at[pitch], at[pitch + 1], fx,
                                                                     p->shiftX, p->roundX);
    return xkS3dStereoProfilerBase_InterpolateLinear(r0, r1, fy, p->shiftY, p->roundY);
}

/* Two bilinear layers [iz] and [iz + 1] of table `lut` and a linear step between them. */
kS3D_STEREO_FX kPoint3d16s xkS3dStereoProfilerBase_InterpolateTrilinear(
    const kPoint3d16s* lut, const kS3dStereoProfilerLutParams3d* p, k32u ix, k32u iy, k32u iz,
    k32u fx, k32u fy, k32u fz)
{
    const kSize layer = (kSize)p->countX * p->countY;
    const kPoint3d16s* at = lut + (kSize)iz * layer + (kSize)iy * p->countX + ix;
    const kPoint3d16s l0 = xkS3dStereoProfilerBase_InterpolateBilinear(at, p->countX, fx, fy, p);
    const kPoint3d16s l1 =
        xkS3dStereoProfilerBase_InterpolateBilinear(at + layer, p->countX, fx, fy, p);
    return xkS3dStereoProfilerBase_InterpolateLinear(l0, l1, fz, p->shiftZ, p->roundZ);
}

kS3D_STEREO_FX kPoint16s xkS3dStereoProfilerBase_InterpolateLinear2d(kPoint16s a, kPoint16s b,
                                                                     k32u f, k32u s, k32u r)
{
    kPoint16s out;
    if (a.x == kS3D_STEREO_NULL16 || b.x == kS3D_STEREO_NULL16)
    {
        out.x = out.y = kS3D_STEREO_NULL16;
        return out;
    }
    out.x = xkS3dStereoProfilerBase_Interpolate(a.x, b.x, f, s, r);
    out.y = xkS3dStereoProfilerBase_Interpolate(a.y, b.y, f, s, r);
    return out;
}

kS3D_STEREO_FX kPoint16s xkS3dStereoProfilerBase_InterpolateBilinear2d(
    const kPoint16s* at, k32u pitch, k32u fx, k32u fy, const kS3dStereoProfilerLutParams2d* p)
{
    const kPoint16s r0 =
        xkS3dStereoProfilerBase_InterpolateLinear2d(at[0], at[1], fx, p->shiftX, p->roundX);
    const kPoint16s r1 = xkS3dStereoProfilerBase_InterpolateLinear2d(at[pitch], at[pitch + 1], fx,
                                                                     p->shiftX, p->roundX);
    return xkS3dStereoProfilerBase_InterpolateLinear2d(r0, r1, fy, p->shiftY, p->roundY);
}

/* ----- Context operations ------------------------------------------------------------------- */

/* Full-resolution image coordinates (1/256 pixel) of a window point of view v. */
kS3D_STEREO_FX void xkS3dStereoProfilerHwContext_ImagePoint(const kS3dStereoProfilerLutParams2d* p,
                                                            k32u view, k32s x, k32s y, k32s* X,
                                                            k32s* Y)
{
    const k32s wx = view ? p->windowX1 : p->windowX0;
    const k32s wy = view ? p->windowY1 : p->windowY0;
    *X = (k32s)(((k32u)x << p->windowShiftX) + ((k32u)wx << 8));
    *Y = (k32s)(((k32u)y << p->windowShiftY) + ((k32u)wy << 8));
}

/**
 * Rectifies window point (x, y) of view 0 or 1 (1/256 pixel) to projection coordinates by
 * bilinear interpolation of the view's map; (-32768, -32768) outside the map, for negative
 * full-resolution coordinates, or where a map entry is null.
 */
kS3D_STEREO_FX void kS3dStereoProfilerHwContext_Rectify(const kS3dStereoProfilerHwContextClass* ctx,
                                                        k32u view, k32s x, k32s y, k16s* px,
                                                        k16s* py)
{
    const kS3dStereoProfilerLutParams2d* p = ctx->rectParams;
    k32s X, Y;
    xkS3dStereoProfilerHwContext_ImagePoint(p, view, x, y, &X, &Y);
    if (X < 0 || Y < 0 || X >= p->limitX || Y >= p->limitY)
    {
        *px = *py = kS3D_STEREO_NULL16;
        return;
    }
    const k32u column = (k32u)X >> p->shiftX, row = (k32u)Y >> p->shiftY;
    const kPoint16s* map = view ? ctx->rectMap1 : ctx->rectMap0;
    const kPoint16s out = xkS3dStereoProfilerBase_InterpolateBilinear2d(
        map + (kSize)row * p->mapWidth + column, p->mapWidth, (k32u)X & p->maskX,
        (k32u)Y & p->maskY, p);
    *px = out.x;
    *py = out.y;
}

/**
 * As Rectify, interpolating along x only within the map row of Y (the sub-row part of Y is
 * ignored); requires 0 ≤ X < limitX and 0 ≤ Y < limitY.
 */
kS3D_STEREO_FX void
kS3dStereoProfilerHwContext_RectifyLinear(const kS3dStereoProfilerHwContextClass* ctx, k32u view,
                                          k32s x, k32s y, k16s* px, k16s* py)
{
    const kS3dStereoProfilerLutParams2d* p = ctx->rectParams;
    k32s X, Y;
    xkS3dStereoProfilerHwContext_ImagePoint(p, view, x, y, &X, &Y);
    if (X < 0 || Y < 0 || X >= p->limitX || Y >= p->limitY)
    {
        *px = *py = kS3D_STEREO_NULL16;
        return;
    }
    const k32u column = (k32u)X >> p->shiftX, row = (k32u)Y >> p->shiftY;
    const kPoint16s* at =
        (view ? ctx->rectMap1 : ctx->rectMap0) + (kSize)row * p->mapWidth + column;
    const kPoint16s out = xkS3dStereoProfilerBase_InterpolateLinear2d(
        at[0], at[1], (k32u)X & p->maskX, p->shiftX, p->roundX);
    *px = out.x;
    *py = out.y;
}

/* value − origin with 32-bit wrap-around: origins come from files and may be anything. */
kS3D_STEREO_FX k32s xkS3dStereoProfiler_Offset(k32s value, k32s origin)
{
    return (k32s)((k32u)value - (k32u)origin);
}

/* Trilinear lookup at lattice offsets (dx, dy, dz) from the table's origin, bounds tested. */
kS3D_STEREO_FX kPoint3d16s xkS3dStereoProfilerHwContext_Lookup(
    const kPoint3d16s* lut, const kS3dStereoProfilerLutParams3d* p, k32s dx, k32s dy, k32s dz)
{
    const k32s ix = dx >> p->shiftX, iy = dy >> p->shiftY, iz = dz >> p->shiftZ;
    if (ix < 0 || iy < 0 || iz < 0 || (k64s)ix >= (k64s)p->countX - 1 ||
        (k64s)iy >= (k64s)p->countY - 1 || (k64s)iz >= (k64s)p->countZ - 1)
    {
        kPoint3d16s out;
        out.x = out.y = out.z = kS3D_STEREO_NULL16;
        return out;
    }
    return xkS3dStereoProfilerBase_InterpolateTrilinear(lut, p, (k32u)ix, (k32u)iy, (k32u)iz,
                                                        (k32u)dx & p->maskX, (k32u)dy & p->maskY,
                                                        (k32u)dz & p->maskZ);
}

/**
 * World point of projection point (px, py) of view 0 or 1 at a phase (16 fractional bits);
 * null for a null input or outside the table (the last lattice step of every axis included).
 */
kS3D_STEREO_FX void
kS3dStereoProfilerHwContext_LookupPhase(const kS3dStereoProfilerHwContextClass* ctx, k32u view,
                                        k16s px, k16s py, k32s phase, kPoint3d16s* point)
{
    const kS3dStereoProfilerLutParams3d* p = ctx->phaseParams;
    if (px == kS3D_STEREO_NULL16 || py == kS3D_STEREO_NULL16)
    {
        point->x = point->y = point->z = kS3D_STEREO_NULL16;
        return;
    }
    const k32s dz = xkS3dStereoProfiler_Offset(phase, p->originZ);
    *point = xkS3dStereoProfilerHwContext_Lookup(view ? ctx->phaseLut1 : ctx->phaseLut0, p,
                                                 xkS3dStereoProfiler_Offset(px, p->originX),
                                                 xkS3dStereoProfiler_Offset(py, p->originY), dz);
}

/**
 * World point of the projection points px0 (view 0) and px1 (view 1) on row py: disparity
 * px1 − px0; null for a null input or outside the table.
 */
kS3D_STEREO_FX void
kS3dStereoProfilerHwContext_LookupDisparity(const kS3dStereoProfilerHwContextClass* ctx, k16s px0,
                                            k16s px1, k16s py, kPoint3d16s* point)
{
    const kS3dStereoProfilerLutParams3d* p = ctx->dispParams;
    if (px0 == kS3D_STEREO_NULL16 || px1 == kS3D_STEREO_NULL16 || py == kS3D_STEREO_NULL16)
    {
        point->x = point->y = point->z = kS3D_STEREO_NULL16;
        return;
    }
    const k32s d = xkS3dStereoProfiler_Offset((k32s)px1 - (k32s)px0, p->originZ);
    *point = xkS3dStereoProfilerHwContext_Lookup(ctx->dispLut, p,
                                                 xkS3dStereoProfiler_Offset(px0, p->originX),
                                                 xkS3dStereoProfiler_Offset(py, p->originY), d);
}

#endif
