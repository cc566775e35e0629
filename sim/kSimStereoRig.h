/**
 * @file    kSimStereoRig.h
 * @brief   Synthetic stereo sensor: two pinhole cameras and a fringe projector with known
 *          intrinsics and extrinsics, and the stereo calibration they imply.
 *
 * Frames and units (lengths in millimetres):
 * - World: x to the right along the baseline, y down, z away from the sensor (range). The
 *   projector's centre is the origin and it looks along +z; the cameras sit at
 *   x = ∓baseline / 2 and are turned to look at (0, 0, aimZ).
 * - Camera and projector: x right, y down, z forward (optical axis). A device at centre C with
 *   rotation R (rows: the device's axes in world coordinates) sees world point P at
 *   Pc = R (P − C); pixel (fx Pc.x / Pc.z + cx, fy Pc.y / Pc.z + cy).
 * - Image coordinates are in pixels with the centre of pixel (i, j) at (i, j) (add 0.5 for
 *   renderers that put pixel centres at half-integers). Projector columns use the same
 *   convention: column u is the continuous projector x coordinate.
 * - Rectified (projection) frame of the calibration: origin at the midpoint M of the camera
 *   centres, x along the baseline (pointing to world +x), z the world z made perpendicular to
 *   it, y = z × x. A view maps a point to where the ray from its camera centre through the
 *   point meets the reference plane z = referenceZ (the middle of the measurement range by
 *   default); projection coordinates are that plane point divided by projectionResolution.
 *   Disparity px1 − px0 = b (1 − referenceZ / z) / projectionResolution with b the signed
 *   baseline along x (negative when camera 0 is the right one), so it is 0 on the reference
 *   plane.
 * - Phase of projector column u for fringe period p: u / p − 1 periods; the phase tables hold
 *   65536 × (u / p − 1), as the phase processor looks them up.
 *
 * The calibration is built through the library's own record (kS3dStereoCal):
 * - projection grids at every (ProjectionXStep, ProjectionYStep) image point, rounded to
 *   projection units;
 * - a disparity lattice covering view 0's rectified image, every cell with the disparities of
 *   zMin … zMax plus one step on either side (the same range in every cell);
 * - a phase lattice covering both views' rectified images, every cell with the phases that
 *   the rays of the lattice squares around it see between zMin and zMax, limited to the
 *   projector's columns, plus one step, so that the eight corners of any lookup inside the
 *   range exist.
 *
 * Accuracy (random points over 100 … 300 mm, counts of 0.02 mm): the disparity path returns
 * 0.91 counts RMS (worst 2.5), the phase path 1.22 counts RMS (worst 4.0). The disparity
 * lattice is cheap because depth depends on disparity alone. A phase entry is a camera ray
 * against a projector column plane, and at a fixed phase depth changes across the fringes by
 * z² / (referenceZ · B) per unit of rectified x, B the camera-projector baseline (9 mm per mm
 * at 300 mm with B = 50), and curves as z³; linear interpolation then errs by that curvature
 * times the square of the step, growing as the cube of the range. The projector sits midway
 * between the cameras (B = baseline / 2 for both views, the most both can have at once)
 * and looks at the middle of the volume with its columns parallel to the rectified y axis, so
 * that along the fringes depth does not change at all and x and y are linear. The phase
 * lattice therefore spends its entries across the fringes (128 units, 0.64 mm on the
 * reference plane) and along the phase (1/8 period, 4 projector columns), where each halving
 * of the step quarters the error, and is coarse along the fringes (4096 units), where it costs
 * nothing; it spans only the projector's 40 periods, not every phase the rays of the volume
 * cross. Each phase table is then 347 × 13 × 323 entries (8.7 MB), the profiler 33 MB. What
 * remains is about 1 count RMS of curvature, mostly beyond 250 mm, and the rectified x of the
 * view, whose error (0.45 units RMS with the 16-pixel grid, mostly the rounding to whole
 * units) moves depth by 2.25 counts per unit at 300 mm. A projector rolled against the baseline
 * would make depth change along the fringes as well and need a finer y step.
 */
#ifndef K_SIM_STEREO_RIG_H
#define K_SIM_STEREO_RIG_H

#include <kSolan/S3d/kS3dStereoCal.h>

#include <array>
#include <random>

namespace ksim
{
using Vec3 = std::array<double, 3>;
using Mat3 = std::array<Vec3, 3>; ///< Rows.

/** A pinhole device: image size, intrinsics in pixels, pose in world millimetres. */
struct Pinhole
{
    kSize width = 1280;
    kSize height = 1024;
    double fx = 1400, fy = 1400; ///< Focal lengths in pixels.
    double cx = 639.5, cy = 511.5;
    Vec3 centre{0, 0, 0};
    Mat3 rotation{Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}}; ///< Rows: device axes in world.

    /** Image point of world point p; false behind the device. */
    bool Project(const Vec3& p, double* x, double* y) const;
    /** Unit direction (world) of the ray through image point (x, y). */
    Vec3 Ray(double x, double y) const;
    /** True when (x, y) lies at least margin pixels inside the image. */
    bool Inside(double x, double y, double margin) const;
};

/** Turns a device at centre to look at target, keeping its x axis in the world x-z plane. */
Mat3 LookAt(const Vec3& centre, const Vec3& target);

/** Rig geometry and calibration layout. Defaults: a 1280 × 1024 pair over 100 … 300 mm. */
struct StereoRigConfig
{
    double baseline = 100;    ///< Distance between the camera centres.
    double aimZ = 200;        ///< The cameras look at (0, 0, aimZ).
    bool swapCameras = false; ///< Camera 0 on the right (+x) instead of the left.
    kSize cameraWidth = 1280, cameraHeight = 1024;
    double cameraFocal = 1400;
    kSize projectorWidth = 1280, projectorHeight = 800;
    double projectorFocal = 1400;
    double fringePeriod = 32; ///< Projector columns per fringe period.
    double zMin = 100, zMax = 300;

    double referenceZ = 200;             ///< Rectified reference plane; disparity 0 there.
    double projectionResolution = 0.005; ///< World units per projection unit.
    k32u projectionXStep = 16, projectionYStep = 16; ///< Image pixels between grid points.
    k32u disparityXStep = 512, disparityYStep = 512, disparityDStep = 64;
    k32u phaseXStep = 128;  ///< Across the fringes: depth curves along this axis.
    k32u phaseYStep = 4096; ///< Along the fringes: depth is constant along this axis.
    k32u phasePStep = 8192; ///< Phase units (1/65536 period) between entries: 1/8 period.
    k32u id = 1;
    double temperature = 25;
};

/** The rig: cameras 0 and 1, the projector and the calibration they imply. */
class StereoRig
{
public:
    explicit StereoRig(const StereoRigConfig& config = StereoRigConfig());

    const StereoRigConfig& Config() const { return m_config; }
    const Pinhole& Camera(kSize view) const { return m_cameras[view]; }
    const Pinhole& Projector() const { return m_projector; }

    /** Sub-pixel image point of world point p in camera view (0 or 1); false behind it. */
    bool ProjectToCamera(kSize view, const Vec3& p, double* x, double* y) const;
    /** Projector column seen at world point p; false behind the projector. */
    bool ProjectToProjector(const Vec3& p, double* u) const;
    /** Phase in periods − 1 of projector column u: u / p − 1. */
    double PhaseOfColumn(double u) const { return u / m_config.fringePeriod - 1; }

    /**
     * True when p lies in zMin … zMax and both cameras (margin pixels inside their images)
     * and the projector (margin columns inside) see it.
     */
    bool Sees(const Vec3& p, double margin) const;
    /** A uniformly drawn point that Sees(margin) accepts. */
    Vec3 RandomPoint(std::mt19937& random, double margin) const;

    /** The view on the left (−x): 0, or 1 when the cameras are swapped. */
    k32u LeftViewIndex() const { return m_baseline > 0 ? 0 : 1; }

    /** Projection coordinates (units, not rounded) of world point p in view v. */
    void ProjectToPlane(kSize view, const Vec3& p, double* px, double* py) const;

    /**
     * Builds the rig's stereo calibration through the library's record.
     *
     * @param cal        Receives the record (destroy with kS3dStereoCal_Destroy).
     * @param allocator  Allocator of the record (null: application).
     * @return kOK; the record's failure (nothing left behind).
     */
    kStatus BuildCalibration(kS3dStereoCal* cal, kAlloc allocator) const;

private:
    Vec3 ToRectified(const Vec3& world) const;
    Vec3 ToWorld(const Vec3& rectified) const;
    /* Rectified point at depth z on the ray of view v through plane point (X, Y). */
    Vec3 OnRay(kSize view, double X, double Y, double z) const;
    /* Depth z where the ray of view v through plane point (X, Y) meets projector column u. */
    bool DepthOfColumn(kSize view, double X, double Y, double u, double* z) const;

    StereoRigConfig m_config;
    Pinhole m_cameras[2];
    Pinhole m_projector;
    Vec3 m_midpoint;
    Mat3 m_rectified;    // rows: rectified axes in world
    double m_baseline;   // signed: camera 1's rectified x minus camera 0's
    double m_cameraX[2]; // rectified x of each camera centre
};
} // namespace ksim

#endif
