/**
 * @file    Demo.h
 * @brief   The built-in scan: a scene with known ground truth, rendered through the simulated
 *          fringe camera, decoded, and checked against the truth.
 */
#ifndef KSOLAN_TOOL_DEMO_H
#define KSOLAN_TOOL_DEMO_H

#include "Scan.h"

#include <kSimFringe.h>

namespace ksolan
{
/** Fringe period of the demo's stripe-and-phase sequence, in projector columns. */
constexpr double kDemoPeriod = 32;

/**
 * A tilted plane carrying a spherical cap and a raised block with a steep, smooth step,
 * seen by a camera of the given size with blur, ambient light and sensor noise. The projector
 * is kDemoPeriod × 2^stripes columns wide; the plane runs off its right edge in one corner.
 */
ksim::Scene DemoScene(kSize width, kSize height, k32u seed);

/** Renders the pattern sequence of an encoding through the camera, one `k8u` image a frame. */
std::vector<Handle> RenderFrames(ksim::FringeCamera& camera, const Encoding& encoding);

/** Decoded maps against the ground truth. */
struct Accuracy
{
    kSize lit = 0;         ///< Pixels whose centre sees the projector.
    kSize valid = 0;       ///< Lit pixels with an absolute phase.
    kSize phaseValid = 0;  ///< Lit pixels with a wrapped phase.
    double phaseRms = 0;   ///< Wrapped-phase error RMS, phase units.
    double phaseMax = 0;   ///< Largest wrapped-phase error, phase units.
    kSize orderErrors = 0; ///< Valid pixels whose fringe order is wrong.
    kSize validUnlit = 0;  ///< Pixels with an absolute phase that see no projector.

    void Print(const Encoding& encoding) const;
};

Accuracy Measure(const Maps& maps, const ksim::Truth& truth, const Encoding& encoding,
                 double projectorWidth);
} // namespace ksolan

#endif
