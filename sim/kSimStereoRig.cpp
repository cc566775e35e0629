#include "kSimStereoRig.h"

#include <cmath>
#include <vector>

namespace ksim
{
namespace
{
double Dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec3 Sub(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vec3 Add(const Vec3& a, const Vec3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Vec3 Scale(const Vec3& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
Vec3 Cross(const Vec3& a, const Vec3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vec3 Normalize(const Vec3& a) { return Scale(a, 1.0 / std::sqrt(Dot(a, a))); }
Vec3 Apply(const Mat3& m, const Vec3& v) { return {Dot(m[0], v), Dot(m[1], v), Dot(m[2], v)}; }
Vec3 ApplyTransposed(const Mat3& m, const Vec3& v)
{
    return Add(Add(Scale(m[0], v[0]), Scale(m[1], v[1])), Scale(m[2], v[2]));
}

/* A lattice over [lo, hi] in steps of step, with one spare step on either side. */
struct Lattice
{
    k32s begin = 0;
    k32u count = 0;
};

Lattice Cover(double lo, double hi, k32u step)
{
    const double s = step;
    Lattice lattice;
    lattice.begin = (k32s)(std::floor(lo / s) * s - s);
    const double end = std::ceil(hi / s) * s + s;
    lattice.count = (k32u)((end - lattice.begin) / s) + 1;
    return lattice;
}

struct Extent
{
    double lo = HUGE_VAL, hi = -HUGE_VAL;
    void Add(double v)
    {
        lo = std::fmin(lo, v);
        hi = std::fmax(hi, v);
    }
};

/* One sparse-column table while it is built. */
struct Table
{
    std::vector<kPoint32s> cells;
    std::vector<k32f> x, y, z;

    void Entry(bool valid, const Vec3& p)
    {
        x.push_back(valid ? (k32f)p[0] : k32F_NULL);
        y.push_back(valid ? (k32f)p[1] : k32F_NULL);
        z.push_back(valid ? (k32f)p[2] : k32F_NULL);
    }

    void CopyTo(kArray2 map, kArray1 toX, kArray1 toY, kArray1 toZ) const
    {
        std::copy(cells.begin(), cells.end(), kArray2_DataT<kPoint32s>(map));
        std::copy(x.begin(), x.end(), kArray1_DataT<k32f>(toX));
        std::copy(y.begin(), y.end(), kArray1_DataT<k32f>(toY));
        std::copy(z.begin(), z.end(), kArray1_DataT<k32f>(toZ));
    }
};
} // namespace

bool Pinhole::Project(const Vec3& p, double* x, double* y) const
{
    const Vec3 c = Apply(rotation, Sub(p, centre));
    if (c[2] <= 1e-9) return false;
    *x = fx * c[0] / c[2] + cx;
    *y = fy * c[1] / c[2] + cy;
    return true;
}

Vec3 Pinhole::Ray(double x, double y) const
{
    return Normalize(ApplyTransposed(rotation, Vec3{(x - cx) / fx, (y - cy) / fy, 1.0}));
}

bool Pinhole::Inside(double x, double y, double margin) const
{
    return x >= margin && y >= margin && x <= (double)width - 1 - margin &&
           y <= (double)height - 1 - margin;
}

Mat3 LookAt(const Vec3& centre, const Vec3& target)
{
    const Vec3 z = Normalize(Sub(target, centre));
    const Vec3 worldX{1, 0, 0};
    const Vec3 x = Normalize(Sub(worldX, Scale(z, Dot(worldX, z))));
    return Mat3{x, Cross(z, x), z};
}

StereoRig::StereoRig(const StereoRigConfig& config) : m_config(config)
{
    const double half = config.baseline / 2;
    const Vec3 aim{0, 0, config.aimZ};
    for (kSize v = 0; v < 2; ++v)
    {
        Pinhole& camera = m_cameras[v];
        const bool left = (v == 0) != config.swapCameras;
        camera.width = config.cameraWidth;
        camera.height = config.cameraHeight;
        camera.fx = camera.fy = config.cameraFocal;
        camera.cx = (config.cameraWidth - 1) / 2.0;
        camera.cy = (config.cameraHeight - 1) / 2.0;
        camera.centre = Vec3{left ? -half : half, 0, 0};
        camera.rotation = LookAt(camera.centre, aim);
    }
    m_projector.width = config.projectorWidth;
    m_projector.height = config.projectorHeight;
    m_projector.fx = m_projector.fy = config.projectorFocal;
    m_projector.cx = (config.projectorWidth - 1) / 2.0;
    m_projector.cy = (config.projectorHeight - 1) / 2.0;

    const Vec3 c0 = m_cameras[0].centre, c1 = m_cameras[1].centre;
    m_midpoint = Scale(Add(c0, c1), 0.5);
    Vec3 x = Normalize(Sub(c1, c0));
    if (x[0] < 0) x = Scale(x, -1);
    const Vec3 worldZ{0, 0, 1};
    const Vec3 z = Normalize(Sub(worldZ, Scale(x, Dot(worldZ, x))));
    m_rectified = Mat3{x, Cross(z, x), z};
    m_baseline = Dot(Sub(c1, c0), x);
    for (kSize v = 0; v < 2; ++v)
        m_cameraX[v] = Dot(Sub(m_cameras[v].centre, m_midpoint), x);
}

Vec3 StereoRig::ToRectified(const Vec3& world) const
{
    return Apply(m_rectified, Sub(world, m_midpoint));
}

Vec3 StereoRig::ToWorld(const Vec3& rectified) const
{
    return Add(m_midpoint, ApplyTransposed(m_rectified, rectified));
}

Vec3 StereoRig::OnRay(kSize view, double X, double Y, double z) const
{
    const double t = z / m_config.referenceZ, c = m_cameraX[view];
    return Vec3{c + (X - c) * t, Y * t, z};
}

bool StereoRig::ProjectToCamera(kSize view, const Vec3& p, double* x, double* y) const
{
    return m_cameras[view].Project(p, x, y);
}

bool StereoRig::ProjectToProjector(const Vec3& p, double* u) const
{
    double row;
    return m_projector.Project(p, u, &row);
}

bool StereoRig::Sees(const Vec3& p, double margin) const
{
    if (p[2] < m_config.zMin || p[2] > m_config.zMax) return false;
    double x, y;
    for (kSize v = 0; v < 2; ++v)
        if (!ProjectToCamera(v, p, &x, &y) || !m_cameras[v].Inside(x, y, margin)) return false;
    return m_projector.Project(p, &x, &y) && m_projector.Inside(x, y, margin);
}

Vec3 StereoRig::RandomPoint(std::mt19937& random, double margin) const
{
    const double reach = m_config.zMax;
    std::uniform_real_distribution<double> across(-reach, reach);
    std::uniform_real_distribution<double> depth(m_config.zMin, m_config.zMax);
    for (;;)
    {
        const Vec3 p{across(random), across(random), depth(random)};
        if (Sees(p, margin)) return p;
    }
}

void StereoRig::ProjectToPlane(kSize view, const Vec3& p, double* px, double* py) const
{
    const Vec3 r = ToRectified(p);
    const double t = m_config.referenceZ / r[2], c = m_cameraX[view];
    *px = (c + (r[0] - c) * t) / m_config.projectionResolution;
    *py = r[1] * t / m_config.projectionResolution;
}

bool StereoRig::DepthOfColumn(kSize view, double X, double Y, double u, double* z) const
{
    // Column u is the plane n · (P − projector centre) = 0 with n = fx · row 0 − (u − cx) · row 2.
    const Pinhole& p = m_projector;
    const Vec3 n = Sub(Scale(p.rotation[0], p.fx), Scale(p.rotation[2], u - p.cx));
    const Vec3 nr = Apply(m_rectified, n);
    const Vec3 a{m_cameraX[view], 0, 0};
    const Vec3 b{(X - m_cameraX[view]) / m_config.referenceZ, Y / m_config.referenceZ, 1};
    const double denominator = Dot(nr, b);
    if (std::fabs(denominator) < 1e-12) return false;
    *z = -(Dot(n, Sub(m_midpoint, p.centre)) + Dot(nr, a)) / denominator;
    double column, row;
    return *z > 0 && p.Project(ToWorld(OnRay(view, X, Y, *z)), &column, &row);
}

kStatus StereoRig::BuildCalibration(kS3dStereoCal* cal, kAlloc allocator) const
{
    const StereoRigConfig& c = m_config;
    const double res = c.projectionResolution, zRef = c.referenceZ;
    kS3dStereoCalParams params{};
    params.ProjectionResolution = res;
    params.ProjectionXStep = c.projectionXStep;
    params.ProjectionYStep = c.projectionYStep;
    params.ProjectionXCount = (k32u)(c.cameraWidth / c.projectionXStep + 1);
    params.ProjectionYCount = (k32u)(c.cameraHeight / c.projectionYStep + 1);

    // Projection grids, and the rectified extents of each view.
    const kSize gridCount = (kSize)params.ProjectionXCount * params.ProjectionYCount;
    std::vector<k32s> grids[2][2];
    Extent extentX[2], extentY[2];
    for (kSize v = 0; v < 2; ++v)
    {
        grids[v][0].assign(gridCount, k32S_NULL);
        grids[v][1].assign(gridCount, k32S_NULL);
        for (k32u row = 0; row < params.ProjectionYCount; ++row)
        {
            for (k32u column = 0; column < params.ProjectionXCount; ++column)
            {
                const Vec3 d =
                    Apply(m_rectified, m_cameras[v].Ray((double)column * c.projectionXStep,
                                                        (double)row * c.projectionYStep));
                if (d[2] <= 1e-9) continue;
                const double X = (m_cameraX[v] + d[0] * zRef / d[2]) / res;
                const double Y = d[1] * zRef / d[2] / res;
                const kSize at = (kSize)row * params.ProjectionXCount + column;
                grids[v][0][at] = (k32s)std::lround(X);
                grids[v][1][at] = (k32s)std::lround(Y);
                extentX[v].Add(X);
                extentY[v].Add(Y);
            }
        }
    }

    // Disparity table over view 0's rectified image: every cell spans zMin … zMax.
    const Lattice dx = Cover(extentX[0].lo, extentX[0].hi, c.disparityXStep);
    const Lattice dy = Cover(extentY[0].lo, extentY[0].hi, c.disparityYStep);
    const double dNear = m_baseline * (1 - zRef / c.zMin) / res;
    const double dFar = m_baseline * (1 - zRef / c.zMax) / res;
    const Lattice dd = Cover(std::fmin(dNear, dFar), std::fmax(dNear, dFar), c.disparityDStep);
    Table disparity;
    for (k32u i = 0; i < dy.count; ++i)
    {
        for (k32u j = 0; j < dx.count; ++j)
        {
            const double X = ((double)dx.begin + (double)j * c.disparityXStep) * res;
            const double Y = ((double)dy.begin + (double)i * c.disparityYStep) * res;
            disparity.cells.push_back(kPoint32s{dd.begin, (k32s)dd.count});
            for (k32u k = 0; k < dd.count; ++k)
            {
                const double d = ((double)dd.begin + (double)k * c.disparityDStep) * res;
                const double denominator = 1 - d / m_baseline;
                const bool valid = denominator > 1e-9;
                disparity.Entry(valid,
                                valid ? ToWorld(OnRay(0, X, Y, zRef / denominator)) : Vec3{});
            }
        }
    }

    // Phase tables over both views' rectified images: entries for the phases seen between
    // zMin and zMax along each cell's ray.
    const Lattice px = Cover(std::fmin(extentX[0].lo, extentX[1].lo),
                             std::fmax(extentX[0].hi, extentX[1].hi), c.phaseXStep);
    const Lattice py = Cover(std::fmin(extentY[0].lo, extentY[1].lo),
                             std::fmax(extentY[0].hi, extentY[1].hi), c.phaseYStep);
    const double phaseFirst = 65536 * PhaseOfColumn(0);
    const double phaseLast = 65536 * PhaseOfColumn((double)c.projectorWidth - 1);
    Table phase[2];
    for (kSize v = 0; v < 2; ++v)
    {
        for (k32u i = 0; i < py.count; ++i)
        {
            for (k32u j = 0; j < px.count; ++j)
            {
                const double X = ((double)px.begin + (double)j * c.phaseXStep) * res;
                const double Y = ((double)py.begin + (double)i * c.phaseYStep) * res;
                // A lookup between lattice points interpolates the four around it: each cell
                // covers the phases of every ray of the squares it touches.
                Extent phases;
                bool seen = true;
                for (int a = -1; a <= 1 && seen; ++a)
                    for (int b = -1; b <= 1 && seen; ++b)
                        for (double z : {c.zMin, c.zMax})
                        {
                            const double rx = X + a * (double)c.phaseXStep * res;
                            const double ry = Y + b * (double)c.phaseYStep * res;
                            double u;
                            seen = seen && ProjectToProjector(ToWorld(OnRay(v, rx, ry, z)), &u);
                            if (seen) phases.Add(65536 * PhaseOfColumn(u));
                        }
                // Only the projector's own columns are ever decoded: the volume's rays cross
                // columns far beyond them near the edges of the rectified images.
                const double lo = std::fmax(phases.lo, phaseFirst);
                const double hi = std::fmin(phases.hi, phaseLast);
                if (!seen || lo > hi)
                {
                    phase[v].cells.push_back(kPoint32s{k32S_NULL, 0});
                    continue;
                }
                const Lattice pp = Cover(lo, hi, c.phasePStep);
                phase[v].cells.push_back(kPoint32s{pp.begin, (k32s)pp.count});
                for (k32u k = 0; k < pp.count; ++k)
                {
                    const double fixed = (double)pp.begin + (double)k * c.phasePStep;
                    const double u = c.fringePeriod * (fixed / 65536 + 1);
                    double z = 0;
                    const bool valid = DepthOfColumn(v, X, Y, u, &z);
                    phase[v].Entry(valid, valid ? ToWorld(OnRay(v, X, Y, z)) : Vec3{});
                }
            }
        }
    }

    params.DisparityXBegin = dx.begin;
    params.DisparityXStep = c.disparityXStep;
    params.DisparityXCount = dx.count;
    params.DisparityYBegin = dy.begin;
    params.DisparityYStep = c.disparityYStep;
    params.DisparityYCount = dy.count;
    params.DisparityDStep = c.disparityDStep;
    params.DisparityCount = (k32u)disparity.z.size();
    params.PhaseXBegin = px.begin;
    params.PhaseXStep = c.phaseXStep;
    params.PhaseXCount = px.count;
    params.PhaseYBegin = py.begin;
    params.PhaseYStep = c.phaseYStep;
    params.PhaseYCount = py.count;
    params.PhasePStep = c.phasePStep;
    params.PhaseCount0 = (k32u)phase[0].z.size();
    params.PhaseCount1 = (k32u)phase[1].z.size();
    params.PhasePeriod = (k32u)std::lround(c.fringePeriod);
    params.PhaseRepetitions = (k32u)std::ceil(c.projectorWidth / c.fringePeriod);

    kS3dStereoCal record = kNULL;
    kCheck(kS3dStereoCal_ConstructEx(&record, &params, allocator));
    kStatus status;
    kTest(kS3dStereoCal_SetId(record, c.id));
    kTest(kS3dStereoCal_SetTimestamp(record, "synthetic stereo rig"));
    kTest(kS3dStereoCal_SetTemperature(record, c.temperature));
    std::copy(grids[0][0].begin(), grids[0][0].end(),
              kArray2_DataT<k32s>(kS3dStereoCal_ProjectionX0(record)));
    std::copy(grids[0][1].begin(), grids[0][1].end(),
              kArray2_DataT<k32s>(kS3dStereoCal_ProjectionY0(record)));
    std::copy(grids[1][0].begin(), grids[1][0].end(),
              kArray2_DataT<k32s>(kS3dStereoCal_ProjectionX1(record)));
    std::copy(grids[1][1].begin(), grids[1][1].end(),
              kArray2_DataT<k32s>(kS3dStereoCal_ProjectionY1(record)));
    disparity.CopyTo(kS3dStereoCal_DisparityMap(record), kS3dStereoCal_DisparityToX(record),
                     kS3dStereoCal_DisparityToY(record), kS3dStereoCal_DisparityToZ(record));
    phase[0].CopyTo(kS3dStereoCal_PhaseMap0(record), kS3dStereoCal_PhaseToX0(record),
                    kS3dStereoCal_PhaseToY0(record), kS3dStereoCal_PhaseToZ0(record));
    phase[1].CopyTo(kS3dStereoCal_PhaseMap1(record), kS3dStereoCal_PhaseToX1(record),
                    kS3dStereoCal_PhaseToY1(record), kS3dStereoCal_PhaseToZ1(record));
    *cal = record;
    return kOK;
cleanup:
    kS3dStereoCal_Destroy(record);
    return status;
}
} // namespace ksim
