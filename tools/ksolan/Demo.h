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
 * Width of an embedded-phase projector column in stripe-projector columns. The embedded
 * decoder smooths its beats over 8 × 8 pixel quadrants and needs more than one camera pixel per
 * projector column wherever the surface is steep. The stripe projector's columns cover about
 * 0.7 pixels each on the plane (1.45 columns a pixel) and less on the steep side of the sphere
 * (2.4) and the flanks of the block's step (about 3.5), so the embedded projector has wider
 * columns: 2.4 pixels each on the plane, 1.5 on the sphere, about 1 on the step's flanks (at
 * 2.5 stripe columns the flanks see 0.7 pixels a column and lose the fringe order there). The
 * scene then spans about 300 of its 686 columns at 640 × 480.
 */
constexpr double kEmbeddedColumnWidth = 3.5;

/**
 * Embedded-projector columns left of the scene, which puts a 640 × 480 scene in the middle of
 * the projector (columns 190 … 480). The decoder takes the coarsest beat (686 columns) to run
 * from 0 at the start of each row to 1 at its end and forgives 0.1 of a beat at the ends: a row
 * that sees only a short piece of the beat, as a small camera does, keeps it away from 0 and 1,
 * or its right half would be taken for the next beat.
 */
constexpr double kEmbeddedColumnShift = 180;

/** The demo's embedded-phase sequence: coefficients 7, 7, 14 (periods 7, 49, 686), 5 steps each. */
Encoding DemoEmbeddedEncoding();

/**
 * A tilted plane carrying a spherical cap and a raised block with a steep, smooth step,
 * seen by a camera of the given size with blur, ambient light and sensor noise, lit by the
 * projector of the encoding. The stripe projector is kDemoPeriod × 2^stripes columns wide, and
 * the plane runs off its right edge in one corner; an embedded projector has C_last columns of
 * kEmbeddedColumnWidth stripe columns each, the scene starting kEmbeddedColumnShift columns in.
 */
ksim::Scene DemoScene(kSize width, kSize height, k32u seed, const Encoding& encoding);

/** Projector columns of one fringe of the finest period: kDemoPeriod, or C_0. */
double DemoFringePeriod(const Encoding& encoding);

/** Projector width in columns: DemoFringePeriod × OrderCount. */
kSize DemoProjectorWidth(const Encoding& encoding);

/** Renders the pattern sequence of an encoding through the camera, one `k8u` image a frame. */
std::vector<Handle> RenderFrames(ksim::FringeCamera& camera, const Encoding& encoding);

/** Decoded maps against the ground truth. */
struct Accuracy
{
    double period = 0;      ///< Projector columns of one fringe.
    double phasePeriod = 0; ///< P.
    kSize lit = 0;          ///< Pixels whose centre sees the projector.
    kSize valid = 0;        ///< Lit pixels with an absolute phase.
    kSize phaseValid = 0;   ///< Lit pixels with a wrapped phase.
    double phaseRms = 0;    ///< Wrapped-phase error RMS, phase units.
    double phaseMax = 0;    ///< Largest wrapped-phase error, phase units.
    kSize orderErrors = 0;  ///< Valid pixels whose fringe order is wrong.
    kSize validUnlit = 0;   ///< Pixels with an absolute phase that see no projector.

    void Print() const;
};

Accuracy Measure(const Maps& maps, const ksim::Truth& truth, const Encoding& encoding);

/** One scan of the demo scene: rendered, decoded, measured and written. */
struct DemoScan
{
    Accuracy accuracy;
    StageTimes times;
    kSize frames = 0;
};

/**
 * Renders the demo scene with the encoding, decodes it, measures it, and writes its maps and
 * frames into the subfolder `where` of the folder.
 */
DemoScan RunDemoScan(OutputFolder& folder, const std::string& where, const Encoding& encoding,
                     kSize width, kSize height, k32u seed);
} // namespace ksolan

#endif
