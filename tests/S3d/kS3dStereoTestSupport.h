/**
 * @file    kS3dStereoTestSupport.h
 * @brief   Shared by the stereo calibration and profiler tests: a small hand-built calibration
 *          whose every table is an affine function with known coefficients.
 *
 * Projection grids (image pixels x, y; image 32 × 36, grid steps 4):
 *   view 0: px = 100 + 3x + y,  py = −50 + 2y
 *   view 1: px = 90 + 3x + y,   py = −50 + 2y + 1 (one unit of vertical misalignment)
 * Disparity table (px0 lattice 64 + 16j, py lattice −64 + 8i, d = −20 + 4k, 11 entries): in
 *   counts of resolution 0.5, (px + 2d, 2py − d, 3000 + 2.5d).
 * Phase tables (same lattice, phase step 1024, eight entries starting at 1024 × ((i + j) mod 3)
 *   − 2048, cell (0, 3) of view 1 empty): counts (px + phase / 256, py − phase / 512 + 7v,
 *   2000 + phase / 128).
 */
#ifndef K_S3D_STEREO_TEST_SUPPORT_H
#define K_S3D_STEREO_TEST_SUPPORT_H

#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dStereoCal.h>

namespace ktest
{
constexpr double kAffineResolution = 0.5;

inline double AffineGridX(kSize view, double x, double y) { return (view ? 90 : 100) + 3 * x + y; }
inline double AffineGridY(kSize view, double, double y) { return -50 + 2 * y + (view ? 1 : 0); }

/** Disparity table in counts. */
inline void AffineDisparity(double px, double py, double d, double out[3])
{
    out[0] = px + 2 * d;
    out[1] = 2 * py - d;
    out[2] = 3000 + 2.5 * d;
}

/** Phase table of a view in counts. */
inline void AffinePhase(kSize view, double px, double py, double phase, double out[3])
{
    out[0] = px + phase / 256;
    out[1] = py - phase / 512 + 7.0 * view;
    out[2] = 2000 + phase / 128;
}

inline k32s AffinePhaseBegin(k32u i, k32u j) { return 1024 * (k32s)((i + j) % 3) - 2048; }
inline bool AffinePhaseEmpty(kSize view, k32u i, k32u j) { return view == 1 && i == 0 && j == 3; }

inline kS3dStereoCalParams AffineParams()
{
    kS3dStereoCalParams p{};
    p.ProjectionResolution = 0.01;
    p.ProjectionXCount = 8;
    p.ProjectionXStep = 4;
    p.ProjectionYCount = 9;
    p.ProjectionYStep = 4;
    p.DisparityXBegin = 64;
    p.DisparityXStep = 16;
    p.DisparityXCount = 20;
    p.DisparityYBegin = -64;
    p.DisparityYStep = 8;
    p.DisparityYCount = 16;
    p.DisparityDStep = 4;
    p.DisparityCount = 20 * 16 * 11;
    p.PhaseXBegin = 64;
    p.PhaseXStep = 16;
    p.PhaseXCount = 20;
    p.PhaseYBegin = -64;
    p.PhaseYStep = 8;
    p.PhaseYCount = 16;
    p.PhasePStep = 1024;
    p.PhaseCount0 = 20 * 16 * 8;
    p.PhaseCount1 = (20 * 16 - 1) * 8;
    p.PhasePeriod = 16;
    p.PhaseRepetitions = 80;
    return p;
}

/** Builds the affine calibration (allocator null: application). */
inline kStatus BuildAffineCal(kS3dStereoCal* cal, kAlloc allocator = kNULL)
{
    const kS3dStereoCalParams p = AffineParams();
    kS3dStereoCal c = kNULL;
    kCheck(kS3dStereoCal_ConstructEx(&c, &p, allocator));
    kArray2 grids[2][2] = {{kS3dStereoCal_ProjectionX0(c), kS3dStereoCal_ProjectionY0(c)},
                           {kS3dStereoCal_ProjectionX1(c), kS3dStereoCal_ProjectionY1(c)}};
    for (kSize v = 0; v < 2; ++v)
        for (k32u r = 0; r < p.ProjectionYCount; ++r)
            for (k32u col = 0; col < p.ProjectionXCount; ++col)
            {
                const double x = col * 4.0, y = r * 4.0;
                *kArray2_AtT<k32s>(grids[v][0], r, col) = (k32s)AffineGridX(v, x, y);
                *kArray2_AtT<k32s>(grids[v][1], r, col) = (k32s)AffineGridY(v, x, y);
            }

    kSize n = 0;
    for (k32u i = 0; i < p.DisparityYCount; ++i)
        for (k32u j = 0; j < p.DisparityXCount; ++j)
        {
            *kArray2_AtT<kPoint32s>(kS3dStereoCal_DisparityMap(c), i, j) = kPoint32s{-20, 11};
            for (k32s k = 0; k < 11; ++k, ++n)
            {
                double out[3];
                AffineDisparity(64 + 16.0 * j, -64 + 8.0 * i, -20 + 4.0 * k, out);
                *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToX(c), n) =
                    (k32f)(out[0] * kAffineResolution);
                *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToY(c), n) =
                    (k32f)(out[1] * kAffineResolution);
                *kArray1_AtT<k32f>(kS3dStereoCal_DisparityToZ(c), n) =
                    (k32f)(out[2] * kAffineResolution);
            }
        }

    kArray2 maps[2] = {kS3dStereoCal_PhaseMap0(c), kS3dStereoCal_PhaseMap1(c)};
    kArray1 to[2][3] = {
        {kS3dStereoCal_PhaseToX0(c), kS3dStereoCal_PhaseToY0(c), kS3dStereoCal_PhaseToZ0(c)},
        {kS3dStereoCal_PhaseToX1(c), kS3dStereoCal_PhaseToY1(c), kS3dStereoCal_PhaseToZ1(c)}};
    for (kSize v = 0; v < 2; ++v)
    {
        kSize e = 0;
        for (k32u i = 0; i < p.PhaseYCount; ++i)
            for (k32u j = 0; j < p.PhaseXCount; ++j)
            {
                if (AffinePhaseEmpty(v, i, j))
                {
                    *kArray2_AtT<kPoint32s>(maps[v], i, j) = kPoint32s{k32S_NULL, 0};
                    continue;
                }
                const k32s begin = AffinePhaseBegin(i, j);
                *kArray2_AtT<kPoint32s>(maps[v], i, j) = kPoint32s{begin, 8};
                for (k32s k = 0; k < 8; ++k, ++e)
                {
                    double out[3];
                    AffinePhase(v, 64 + 16.0 * j, -64 + 8.0 * i, begin + 1024.0 * k, out);
                    for (kSize a = 0; a < 3; ++a)
                        *kArray1_AtT<k32f>(to[v][a], e) = (k32f)(out[a] * kAffineResolution);
                }
            }
    }
    kS3dStereoCal_SetId(c, 42);
    kS3dStereoCal_SetTimestamp(c, "2026-11-22 03:00:00");
    kS3dStereoCal_SetTemperature(c, 31.5);
    *cal = c;
    return kOK;
}

/** Owns a calibration record for a test. */
class CalHolder
{
public:
    CalHolder() = default;
    ~CalHolder() { kS3dStereoCal_Destroy(m_cal); }
    CalHolder(const CalHolder&) = delete;
    CalHolder& operator=(const CalHolder&) = delete;
    kS3dStereoCal* operator&() { return &m_cal; }
    operator kS3dStereoCal() const { return m_cal; }

private:
    kS3dStereoCal m_cal = kNULL;
};
} // namespace ktest

#endif
