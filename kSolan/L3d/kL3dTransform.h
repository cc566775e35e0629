/**
 * @file    kL3dTransform.h
 * @brief   2D and 3D affine transforms of the laser family, and their application to points.
 *
 * Building operations compose on the left: `kL3dTransform3d_Translate(&r, &t, ...)` gives the
 * transform that first applies t and then the translation. `result` may be the same object as
 * any source. Angles are in degrees, counter-clockwise seen from the positive end of the axis.
 */
#ifndef K_SOLAN_L3D_TRANSFORM_H
#define K_SOLAN_L3D_TRANSFORM_H

#include <kSolan/L3d/kL3dUtils.h>

/** 2D affine transform: x' = xx·x + xy·y + xt, y' = yx·x + yy·y + yt. */
typedef struct kL3dTransform2d
{
    k64f xx, xy, xt;
    k64f yx, yy, yt;
} kL3dTransform2d;
kDeclareValue(kL3dTransform2d);

/** 3D affine transform, a 3 × 4 matrix by rows: x' = xx·x + xy·y + xz·z + xt, and so on. */
typedef struct kL3dTransform3d
{
    k64f xx, xy, xz, xt;
    k64f yx, yy, yz, yt;
    k64f zx, zy, zz, zt;
} kL3dTransform3d;
kDeclareValue(kL3dTransform3d);

/** Sets the identity. */
kFx(kStatus) kL3dTransform2d_Identity(kL3dTransform2d* transform);

/** result = translation by (tx, ty) after source. */
kFx(kStatus) kL3dTransform2d_Translate(kL3dTransform2d* result, const kL3dTransform2d* source,
                                       k64f tx, k64f ty);

/** result = rotation by angle (degrees, counter-clockwise) about the origin after source. */
kFx(kStatus)
    kL3dTransform2d_Rotate(kL3dTransform2d* result, const kL3dTransform2d* source, k64f angle);

/**
 * result = source with its X row multiplied by sx and its Y row by sy (translation included),
 * that is a scaling after source; -1 flips an axis.
 */
kFx(kStatus)
    kL3dTransform2d_Scale(kL3dTransform2d* result, const kL3dTransform2d* source, k64f sx, k64f sy);

/** result = a · b: b is applied first, then a. */
kFx(kStatus) kL3dTransform2d_Mul(kL3dTransform2d* result, const kL3dTransform2d* a,
                                 const kL3dTransform2d* b);

/** Transforms one point. */
kFx(kStatus)
    kL3dTransform2d_Apply(const kL3dTransform2d* transform, k64f x, k64f y, k64f* xOut, k64f* yOut);

/**
 * Transforms count points given as coordinate arrays; outputs may alias the inputs. A point
 * whose x is the 64-bit null is copied unchanged.
 */
kFx(kStatus) kL3dTransform2d_ApplyN(const kL3dTransform2d* transform, const k64f* x, const k64f* y,
                                    kSize count, k64f* xOut, k64f* yOut);

kFx(kStatus) kL3dTransform3d_Identity(kL3dTransform3d* transform);

/** result = translation by (tx, ty, tz) after source. */
kFx(kStatus) kL3dTransform3d_Translate(kL3dTransform3d* result, const kL3dTransform3d* source,
                                       k64f tx, k64f ty, k64f tz);

/**
 * result = rotation by angle (degrees, right-handed) about the given axis after source.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an axis other than X, Y or Z.
 */
kFx(kStatus) kL3dTransform3d_Rotate(kL3dTransform3d* result, const kL3dTransform3d* source,
                                    kL3dAxis axis, k64f angle);

/** result = source with its X, Y and Z rows multiplied by sx, sy and sz. */
kFx(kStatus) kL3dTransform3d_Scale(kL3dTransform3d* result, const kL3dTransform3d* source, k64f sx,
                                   k64f sy, k64f sz);

/** result = a · b: b is applied first, then a. */
kFx(kStatus) kL3dTransform3d_Mul(kL3dTransform3d* result, const kL3dTransform3d* a,
                                 const kL3dTransform3d* b);

/**
 * Inverse of a transform whose 3 × 3 part is orthonormal (a rigid motion): the transposed
 * rotation and the translation -Rᵀ·t. Other transforms give a meaningless result, unchecked.
 */
kFx(kStatus) kL3dTransform3d_InvertOrtho(kL3dTransform3d* result, const kL3dTransform3d* source);

kFx(kStatus) kL3dTransform3d_Apply(const kL3dTransform3d* transform, k64f x, k64f y, k64f z,
                                   k64f* xOut, k64f* yOut, k64f* zOut);

/**
 * Transforms count points given as coordinate arrays; outputs may alias the inputs. A point
 * whose x is the 64-bit null is copied unchanged.
 */
kFx(kStatus) kL3dTransform3d_ApplyN(const kL3dTransform3d* transform, const k64f* x, const k64f* y,
                                    const k64f* z, kSize count, k64f* xOut, k64f* yOut, k64f* zOut);

/**
 * Transforms count points, in parallel over points (OpenMP). output may equal input. A point
 * whose x is the 64-bit null is copied unchanged.
 */
kFx(kStatus)
    kL3dTransform3d_ApplyNPoint3d64f(const kL3dTransform3d* transform, const kPoint3d64f* input,
                                     kSize count, kPoint3d64f* output);

/**
 * Transforms count 16-bit points held in units of (xRes, yRes, zRes) world units; the
 * transform works in world units. Runs in parallel over points (OpenMP); output may equal
 * input. The result is defined bit for bit, so that other implementations can match it:
 *
 * - A point whose x or z is -32768 (null) is copied unchanged.
 * - Otherwise each output coordinate is, for the X row (Y and Z alike, each with its own
 *   resolution as divisor), in 64-bit reals without fused multiply-adds and in this order:
 *   c0 = xx·xRes/xRes, c1 = xy·yRes/xRes, c2 = xz·zRes/xRes, c3 = xt/xRes (products before
 *   divisions), v = ((c0·x + c1·y) + c2·z) + c3.
 * - v is rounded to the nearest integer, halves away from zero, and saturated to
 *   [-32767, 32767]: a valid point never turns into the null code.
 * - The identity returns every point unchanged, bit for bit (c0 = 1 exactly, the rest 0).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a resolution that is not positive.
 */
kFx(kStatus) kL3dTransform3d_ApplyNPoint3d16s(const kL3dTransform3d* transform,
                                              const kPoint3d16s* input, kSize count,
                                              kPoint3d16s* output, k64f xRes, k64f yRes, k64f zRes);

#endif
