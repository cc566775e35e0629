/**
 * @file    kSimFringe.h
 * @brief   Synthetic structured-light camera: projector rows seen through a known column map.
 *
 * A projector pattern is one row of 8-bit levels, one per projector column, repeated over the
 * projector's height. A camera pixel (x, y) sees the projector at the continuous column
 * u(x, y); column c covers [c, c + 1), so the level of column c applies to every u in that
 * interval and the centre of column c is u = c + 0.5. Camera pixel centres are at
 * (x + 0.5, y + 0.5).
 *
 * A frame is formed, in this order:
 * 0. projector optics: the row of levels, a staircase over the columns, is blurred by a
 *    Gaussian of projectorBlur columns (0: sharp projector pixels), at 1/8-column resolution;
 * 1. footprint: the projector level averaged over samples × samples points spread evenly over
 *    the pixel's square (outside the projector it is dark);
 * 2. radiance: gain × albedo(x, y) × level + ambient;
 * 3. optical blur: separable Gaussian of blurSigma camera pixels (the scene is rendered with a
 *    margin of the blur's radius around the sensor, so border pixels see real neighbours);
 * 4. sensor noise: additive Gaussian of noiseSigma grey levels from the scene's seeded
 *    generator (each rendered frame draws fresh noise; the sequence is reproducible);
 * 5. saturation and quantisation: rounded to the nearest level and clamped to 0 … 255.
 *
 * The ground truth (projector column and its local rate per camera pixel) is computed at the
 * pixel centres when the camera is built; the helpers below turn it into the stripe code and
 * the phase that the decoders should report.
 */
#ifndef K_SIM_FRINGE_H
#define K_SIM_FRINGE_H

#include <kBasis/kApiDef.h>

#include <functional>
#include <random>
#include <vector>

namespace ksim
{
/** Continuous projector column seen at camera point (x, y), in projector columns. */
using ColumnMap = std::function<double(double x, double y)>;
/** Surface reflectance at camera point (x, y), 0 … 1. */
using AlbedoMap = std::function<double(double x, double y)>;

/** u = u0 + dudx · x + dudy · y. */
ColumnMap AffineColumns(double u0, double dudx, double dudy);

/**
 * Affine map bent by a smooth ripple:
 * u = u0 + dudx · x + dudy · y + amplitude · sin(2π x / wavelength) · cos(2π y / wavelength).
 * Keep amplitude · 2π / wavelength well below dudx so that the map stays monotonic along x.
 */
ColumnMap SmoothColumns(double u0, double dudx, double dudy, double amplitude, double wavelength);

/** A constant reflectance. */
AlbedoMap ConstantAlbedo(double value);

/** A smooth reflectance field that spans lo … hi over the image (a product of slow sines). */
AlbedoMap SmoothAlbedo(double lo, double hi, double width, double height);

/** What the camera looks at and how it images it. */
struct Scene
{
    kSize width = 640;                    ///< Camera columns.
    kSize height = 480;                   ///< Camera rows.
    ColumnMap column;                     ///< Required: the projector column map.
    AlbedoMap albedo = ConstantAlbedo(1); ///< Reflectance.
    double gain = 1.0;                    ///< Grey levels per projector level on a white surface.
    double ambient = 0.0;                 ///< Grey levels of ambient light, added everywhere.
    double blurSigma = 0.0;               ///< Gaussian blur in camera pixels; 0 for none.
    double noiseSigma = 0.0;              ///< Gaussian sensor noise in grey levels; 0 for none.
    k32u seed = 1;                        ///< Seed of the noise generator.
    kSize samples = 3;          ///< Footprint samples per axis (1: the pixel centre only).
    double projectorBlur = 0.0; ///< Gaussian blur of the projector optics, in columns.
};

/** Ground truth at the camera pixel centres, row-major, width × height entries each. */
struct Truth
{
    std::vector<double> column;     ///< Projector column u at the pixel centre.
    std::vector<double> columnRate; ///< |∇u|: projector columns per camera pixel.
    std::vector<double> albedo;     ///< Reflectance at the pixel centre.
};

/** Renders projector rows as 8-bit camera frames of one scene. */
class FringeCamera
{
public:
    explicit FringeCamera(const Scene& scene);

    kSize Width() const { return m_scene.width; }
    kSize Height() const { return m_scene.height; }
    const Truth& GroundTruth() const { return m_truth; }

    /**
     * Renders one projector row into an unpadded camera frame.
     *
     * @param frame           Output, width × height bytes, row-major.
     * @param row             Projector levels, one per column.
     * @param projectorWidth  Number of projector columns.
     */
    void Render(k8u* frame, const k8u* row, kSize projectorWidth);

    /** Same, returning the frame. */
    std::vector<k8u> Render(const k8u* row, kSize projectorWidth);

    /** Renders a whole pattern map (rows × projectorWidth bytes): one frame per row. */
    std::vector<std::vector<k8u>> RenderAll(const k8u* rows, kSize rowCount, kSize projectorWidth);

private:
    Scene m_scene;
    Truth m_truth;
    kSize m_margin = 0;               ///< Rendered pixels around the sensor (blur radius).
    std::vector<double> m_albedo;     ///< Reflectance over the rendered area.
    std::vector<k32s> m_sampleColumn; ///< floor(8 u) of every footprint sample.
    std::vector<float> m_projector;   ///< The row at 1/8 column, blurred, with dark margins.
    std::vector<float> m_work;        ///< Radiance over the rendered area.
    std::mt19937 m_random;
};

/** Period index of column u for a stripe period (in projector columns): floor(u / period). */
k32s StripeCode(double column, double period);

/**
 * Phase that the phase decoder reports for column u when the projector shows fringes of the
 * given period (projector columns) whose frame i is cos(2π u / period + 2π i / N): the decoder's
 * in-period phase runs against the column, P · (1 − frac(u / period)), reduced to 0 … P.
 * Returned unrounded.
 */
double ExpectedPhase(double column, double period, double phasePeriod);

/** Difference of two phases wrapped into (−P/2, P/2]. */
double WrappedPhaseError(double decoded, double expected, double phasePeriod);

/** Distance in camera pixels from the pixel centre to the nearest stripe boundary (u = k · period).
 */
double StripeEdgeDistance(const Truth& truth, kSize index, double period);

/** Fringe order of frequency 0 for column u: floor(u / period), or −1 off the projector. */
k32s FringeOrder(double column, double period, kSize projectorWidth);

/**
 * An embedded-phase (multi-frequency) scan of a scene, as kS3dEmbeddedPhaseDecoder takes it.
 * The projector patterns come from the library: kS3dPatternSequence_SetupEmbeddedPhase with
 * the pattern periods of kS3dEncodingMath_PatternPhasePeriods of the cumulative periods of the
 * coefficients (intensity 1, flat uniformity), rendered and imaged frame by frame. The library's
 * assembly must be constructed (kSolan_Construct) while scans are rendered.
 */
struct EmbeddedPhaseScan
{
    std::vector<std::vector<k8u>> frames; ///< One camera frame per projected row, in order.
    std::vector<double> periods;          ///< Cumulative periods C_i, projector columns.
    std::vector<double> patternPeriods;   ///< Projected periods Q_i.
    std::vector<k32s> order;   ///< Per pixel: true fringe order of frequency 0, FringeOrder.
    std::vector<double> phase; ///< Per pixel: ExpectedPhase(u, C_0, phasePeriod), unrounded.
};

/**
 * Renders an embedded-phase sequence through the camera.
 *
 * @param camera          The scene (each call draws fresh noise).
 * @param coefficients    Period coefficients (7, 7, 14: cumulative periods 7, 49, 686).
 * @param stepCounts      Phase steps per frequency.
 * @param projectorWidth  Projector columns.
 * @param phasePeriod     P of the expected phase.
 * @return The scan; empty frames when the library refuses the sequence.
 */
EmbeddedPhaseScan RenderEmbeddedPhase(FringeCamera& camera, const std::vector<double>& coefficients,
                                      const std::vector<kSize>& stepCounts, kSize projectorWidth,
                                      double phasePeriod);

/**
 * Ideal phase-shifted fringe row: level(c) = round(offset + amplitude · cos(2π (c + 0.5) / period
 * + 2π index / count)), clamped to 0 … 255; the same form as a pattern sequence's phase frames
 * but with the uncompressed shift for every count.
 */
std::vector<k8u> PhaseShiftRow(kSize projectorWidth, double period, kSize index, kSize count,
                               double amplitude = 127.5, double offset = 127.5);
} // namespace ksim

#endif
