/**
 * @file    kL3dTransform.cpp
 */
#include <kSolan/L3d/kL3dTransform.h>

#include <cmath>

kDefineValue(kL3dTransform2d, kValue);
kDefineValue(kL3dTransform3d, kValue);

kFx(kStatus) xxkL3dTransform2d_Register(kAssembly assembly, const kChar* name)
{
    return kAddValue(kL3dTransform2d, kValue);
}

kFx(kStatus) xxkL3dTransform3d_Register(kAssembly assembly, const kChar* name)
{
    return kAddValue(kL3dTransform3d, kValue);
}

namespace
{
constexpr k64f kDegToRad = 3.14159265358979323846 / 180.0;

// Below this many points the parallel region costs more than it saves.
constexpr kSize kParallelMinCount = 4096;

template <typename PointOp>
void ForEachPoint(kSize count, const PointOp& op)
{
    const k64s n = (k64s)count;
#pragma omp parallel for schedule(static) if (count >= kParallelMinCount)
    for (k64s i = 0; i < n; ++i)
    {
        op((kSize)i);
    }
}

struct Point3dOp
{
    const kL3dTransform3d& t;
    const kPoint3d64f* in;
    kPoint3d64f* out;
    void operator()(kSize i) const
    {
        const kPoint3d64f p = in[i];
        if (p.x == k64F_NULL)
        {
            out[i] = p;
            return;
        }
        kL3dTransform3d_Apply(&t, p.x, p.y, p.z, &out[i].x, &out[i].y, &out[i].z);
    }
};

// One output row of the 16-bit transform, in units of the output resolution.
struct Row16s
{
    k64f c0, c1, c2, c3;

    Row16s(k64f a, k64f b, k64f c, k64f t, k64f outRes, k64f xRes, k64f yRes, k64f zRes)
        : c0(a * xRes / outRes), c1(b * yRes / outRes), c2(c * zRes / outRes), c3(t / outRes)
    {
    }

    k16s operator()(k16s x, k16s y, k16s z) const
    {
        const k64f v = std::round(((c0 * x + c1 * y) + c2 * z) + c3);
        if (v > 32767.0) return 32767;
        if (v < -32767.0) return -32767;
        return (k16s)v;
    }
};

struct Point16sOp
{
    Row16s rx, ry, rz;
    const kPoint3d16s* in;
    kPoint3d16s* out;
    void operator()(kSize i) const
    {
        const kPoint3d16s p = in[i];
        if (p.x == k16S_NULL || p.z == k16S_NULL)
        {
            out[i] = p;
            return;
        }
        out[i].x = rx(p.x, p.y, p.z);
        out[i].y = ry(p.x, p.y, p.z);
        out[i].z = rz(p.x, p.y, p.z);
    }
};
} // namespace

kFx(kStatus) kL3dTransform2d_Identity(kL3dTransform2d* transform)
{
    *transform = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
    return kOK;
}

kFx(kStatus) kL3dTransform2d_Translate(kL3dTransform2d* result, const kL3dTransform2d* source,
                                       k64f tx, k64f ty)
{
    const kL3dTransform2d t = {1.0, 0.0, tx, 0.0, 1.0, ty};
    return kL3dTransform2d_Mul(result, &t, source);
}

kFx(kStatus)
    kL3dTransform2d_Rotate(kL3dTransform2d* result, const kL3dTransform2d* source, k64f angle)
{
    const k64f c = std::cos(angle * kDegToRad);
    const k64f s = std::sin(angle * kDegToRad);
    const kL3dTransform2d r = {c, -s, 0.0, s, c, 0.0};
    return kL3dTransform2d_Mul(result, &r, source);
}

kFx(kStatus)
    kL3dTransform2d_Scale(kL3dTransform2d* result, const kL3dTransform2d* source, k64f sx, k64f sy)
{
    const kL3dTransform2d s = *source;
    *result = {s.xx * sx, s.xy * sx, s.xt * sx, s.yx * sy, s.yy * sy, s.yt * sy};
    return kOK;
}

kFx(kStatus)
    kL3dTransform2d_Mul(kL3dTransform2d* result, const kL3dTransform2d* a, const kL3dTransform2d* b)
{
    const kL3dTransform2d A = *a;
    const kL3dTransform2d B = *b;
    result->xx = A.xx * B.xx + A.xy * B.yx;
    result->xy = A.xx * B.xy + A.xy * B.yy;
    result->xt = A.xx * B.xt + A.xy * B.yt + A.xt;
    result->yx = A.yx * B.xx + A.yy * B.yx;
    result->yy = A.yx * B.xy + A.yy * B.yy;
    result->yt = A.yx * B.xt + A.yy * B.yt + A.yt;
    return kOK;
}

kFx(kStatus)
    kL3dTransform2d_Apply(const kL3dTransform2d* transform, k64f x, k64f y, k64f* xOut, k64f* yOut)
{
    const kL3dTransform2d& t = *transform;
    *xOut = t.xx * x + t.xy * y + t.xt;
    *yOut = t.yx * x + t.yy * y + t.yt;
    return kOK;
}

kFx(kStatus) kL3dTransform2d_ApplyN(const kL3dTransform2d* transform, const k64f* x, const k64f* y,
                                    kSize count, k64f* xOut, k64f* yOut)
{
    for (kSize i = 0; i < count; ++i)
    {
        const k64f px = x[i];
        const k64f py = y[i];
        if (px == k64F_NULL)
        {
            xOut[i] = px;
            yOut[i] = py;
            continue;
        }
        kL3dTransform2d_Apply(transform, px, py, &xOut[i], &yOut[i]);
    }
    return kOK;
}

kFx(kStatus) kL3dTransform3d_Identity(kL3dTransform3d* transform)
{
    *transform = {1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0};
    return kOK;
}

kFx(kStatus) kL3dTransform3d_Translate(kL3dTransform3d* result, const kL3dTransform3d* source,
                                       k64f tx, k64f ty, k64f tz)
{
    const kL3dTransform3d t = {1.0, 0.0, 0.0, tx, 0.0, 1.0, 0.0, ty, 0.0, 0.0, 1.0, tz};
    return kL3dTransform3d_Mul(result, &t, source);
}

kFx(kStatus) kL3dTransform3d_Rotate(kL3dTransform3d* result, const kL3dTransform3d* source,
                                    kL3dAxis axis, k64f angle)
{
    const k64f c = std::cos(angle * kDegToRad);
    const k64f s = std::sin(angle * kDegToRad);
    kL3dTransform3d r;
    switch (axis)
    {
    case kL3D_AXIS_X:
        r = {1.0, 0.0, 0.0, 0.0, 0.0, c, -s, 0.0, 0.0, s, c, 0.0};
        break;
    case kL3D_AXIS_Y:
        r = {c, 0.0, s, 0.0, 0.0, 1.0, 0.0, 0.0, -s, 0.0, c, 0.0};
        break;
    case kL3D_AXIS_Z:
        r = {c, -s, 0.0, 0.0, s, c, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0};
        break;
    default:
        return kSTATUS_BAD_PARAMETER;
    }
    return kL3dTransform3d_Mul(result, &r, source);
}

kFx(kStatus) kL3dTransform3d_Scale(kL3dTransform3d* result, const kL3dTransform3d* source, k64f sx,
                                   k64f sy, k64f sz)
{
    const kL3dTransform3d s = *source;
    *result = {s.xx * sx, s.xy * sx, s.xz * sx, s.xt * sx, s.yx * sy, s.yy * sy,
               s.yz * sy, s.yt * sy, s.zx * sz, s.zy * sz, s.zz * sz, s.zt * sz};
    return kOK;
}

kFx(kStatus)
    kL3dTransform3d_Mul(kL3dTransform3d* result, const kL3dTransform3d* a, const kL3dTransform3d* b)
{
    const k64f* A = &a->xx;
    const k64f* B = &b->xx;
    k64f r[12];
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 4; ++j)
        {
            r[4 * i + j] = A[4 * i] * B[j] + A[4 * i + 1] * B[4 + j] + A[4 * i + 2] * B[8 + j] +
                           (j == 3 ? A[4 * i + 3] : 0.0);
        }
    }
    *result = {r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7], r[8], r[9], r[10], r[11]};
    return kOK;
}

kFx(kStatus) kL3dTransform3d_InvertOrtho(kL3dTransform3d* result, const kL3dTransform3d* source)
{
    const kL3dTransform3d s = *source;
    result->xx = s.xx, result->xy = s.yx, result->xz = s.zx;
    result->yx = s.xy, result->yy = s.yy, result->yz = s.zy;
    result->zx = s.xz, result->zy = s.yz, result->zz = s.zz;
    result->xt = -(s.xx * s.xt + s.yx * s.yt + s.zx * s.zt);
    result->yt = -(s.xy * s.xt + s.yy * s.yt + s.zy * s.zt);
    result->zt = -(s.xz * s.xt + s.yz * s.yt + s.zz * s.zt);
    return kOK;
}

kFx(kStatus) kL3dTransform3d_Apply(const kL3dTransform3d* transform, k64f x, k64f y, k64f z,
                                   k64f* xOut, k64f* yOut, k64f* zOut)
{
    const kL3dTransform3d& t = *transform;
    *xOut = t.xx * x + t.xy * y + t.xz * z + t.xt;
    *yOut = t.yx * x + t.yy * y + t.yz * z + t.yt;
    *zOut = t.zx * x + t.zy * y + t.zz * z + t.zt;
    return kOK;
}

kFx(kStatus) kL3dTransform3d_ApplyN(const kL3dTransform3d* transform, const k64f* x, const k64f* y,
                                    const k64f* z, kSize count, k64f* xOut, k64f* yOut, k64f* zOut)
{
    for (kSize i = 0; i < count; ++i)
    {
        const k64f px = x[i], py = y[i], pz = z[i];
        if (px == k64F_NULL)
        {
            xOut[i] = px, yOut[i] = py, zOut[i] = pz;
            continue;
        }
        kL3dTransform3d_Apply(transform, px, py, pz, &xOut[i], &yOut[i], &zOut[i]);
    }
    return kOK;
}

kFx(kStatus)
    kL3dTransform3d_ApplyNPoint3d64f(const kL3dTransform3d* transform, const kPoint3d64f* input,
                                     kSize count, kPoint3d64f* output)
{
    ForEachPoint(count, Point3dOp{*transform, input, output});
    return kOK;
}

kFx(kStatus) kL3dTransform3d_ApplyNPoint3d16s(const kL3dTransform3d* transform,
                                              const kPoint3d16s* input, kSize count,
                                              kPoint3d16s* output, k64f xRes, k64f yRes, k64f zRes)
{
    kCheckArgs(xRes > 0.0 && yRes > 0.0 && zRes > 0.0);
    const kL3dTransform3d& t = *transform;
    const Point16sOp op{Row16s(t.xx, t.xy, t.xz, t.xt, xRes, xRes, yRes, zRes),
                        Row16s(t.yx, t.yy, t.yz, t.yt, yRes, xRes, yRes, zRes),
                        Row16s(t.zx, t.zy, t.zz, t.zt, zRes, xRes, yRes, zRes), input, output};
    ForEachPoint(count, op);
    return kOK;
}
