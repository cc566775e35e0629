#include "Demo.h"

#include "Progress.h"

#include <kSolan/S3d/kS3dEncodingMath.h>
#include <kSolan/S3d/kS3dPatternSequence.h>
#include <kSolan/kpp/Common/kppPhasePixel2.h>

#include <kBasis/kArray2.h>
#include <kBasis/kImage.h>

#include <chrono>
#include <cmath>
#include <cstdio>

namespace ksolan
{
namespace
{
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double Logistic(double t) { return 1.0 / (1.0 + std::exp(-t)); }

/* The projector's rows of the encoding's pattern sequence, one row a frame. */
Handle RenderPatterns(const Encoding& encoding)
{
    Handle sequence, rows;
    Check(kS3dPatternSequence_Construct(sequence.Out(), DemoProjectorWidth(encoding), kNULL),
          "cannot construct the pattern sequence");
    if (encoding.IsEmbedded())
    {
        const kSize n = encoding.coefficients.size();
        std::vector<k64f> periods(n), patternPeriods(n);
        Check(kS3dEncodingMath_EmbeddedPhasePeriods(encoding.coefficients.data(), n, periods.data(),
                                                    n),
              "cannot compute the embedded periods");
        Check(kS3dEncodingMath_PatternPhasePeriods(periods.data(), n, patternPeriods.data(), n),
              "cannot compute the pattern periods");
        Check(kS3dPatternSequence_SetupEmbeddedPhase(sequence, patternPeriods.data(),
                                                     encoding.steps.data(), n),
              "cannot set up the pattern sequence");
    }
    else
        Check(kS3dPatternSequence_SetupStripePhase(sequence, 1, encoding.stripes, encoding.phases,
                                                   kDemoPeriod),
              "cannot set up the pattern sequence");
    Check(kS3dPatternSequence_Render(sequence, rows.Out()), "cannot render the pattern sequence");
    return rows;
}
} // namespace

Encoding DemoEmbeddedEncoding()
{
    Encoding encoding;
    encoding.coefficients = {7, 7, 14};
    encoding.steps = {5, 5, 5};
    return encoding;
}

double DemoFringePeriod(const Encoding& encoding)
{
    return encoding.IsEmbedded() ? encoding.coefficients[0] : kDemoPeriod;
}

kSize DemoProjectorWidth(const Encoding& encoding)
{
    return (kSize)std::lround(DemoFringePeriod(encoding) * (double)encoding.OrderCount());
}

ksim::Scene DemoScene(kSize width, kSize height, k32u seed, const Encoding& encoding)
{
    const double w = (double)width, h = (double)height;
    // Heights are in camera pixels; the projector's baseline turns one pixel of height into
    // kDepthShift columns, so surface height bends the column map.
    constexpr double kDepthShift = 0.45;
    const double sphere = 0.32 * h, base = 0.9 * sphere;
    const double sink = std::sqrt(sphere * sphere - base * base);
    const double cx = 0.36 * w, cy = 0.5 * h, block = 40, edge = 1.2;

    auto heightAt = [=](double x, double y)
    {
        double z = 0;
        double r2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        if (r2 < base * base) z += std::sqrt(sphere * sphere - r2) - sink;
        z += block * Logistic((x - 0.72 * w) / edge) * Logistic((y - 0.2 * h) / edge) *
             Logistic((0.8 * h - y) / edge);
        return z;
    };

    ksim::Scene scene;
    scene.width = width;
    scene.height = height;
    const double columnWidth = encoding.IsEmbedded() ? kEmbeddedColumnWidth : 1.0;
    const double shift = encoding.IsEmbedded() ? kEmbeddedColumnShift : 0.0;
    scene.column = [=](double x, double y)
    { return shift + (40 + 1.45 * x + 0.12 * y + kDepthShift * heightAt(x, y)) / columnWidth; };
    scene.albedo = ksim::SmoothAlbedo(0.45, 1.0, w, h);
    scene.gain = 0.9;
    scene.ambient = 8;
    scene.blurSigma = 0.6;
    scene.noiseSigma = 2;
    scene.projectorBlur = 0.5;
    scene.seed = seed;
    return scene;
}

std::vector<Handle> RenderFrames(ksim::FringeCamera& camera, const Encoding& encoding)
{
    const kSize projector = DemoProjectorWidth(encoding);
    Handle rows = RenderPatterns(encoding);

    std::vector<Handle> frames;
    Progress progress("rendering", encoding.FrameCount());
    for (kSize i = 0; i < encoding.FrameCount(); ++i, progress.Step())
    {
        Handle frame;
        Check(kImage_Construct(frame.Out(), kTypeOf(k8u), camera.Width(), camera.Height(), kNULL),
              "cannot allocate a frame");
        camera.Render(static_cast<k8u*>(kImage_Data(frame)),
                      kArray2_DataT<k8u>(rows) + i * projector, projector);
        frames.push_back(std::move(frame));
    }
    return frames;
}

Accuracy Measure(const Maps& maps, const ksim::Truth& truth, const Encoding& encoding)
{
    const kPhasePixel* phase = kArray2_DataT<kPhasePixel>(maps.phase);
    kPhasePixel2* absolute = kArray2_DataT<kPhasePixel2>(maps.absolute);
    const double P = encoding.phasePeriod, period = DemoFringePeriod(encoding);
    const double projectorWidth = (double)DemoProjectorWidth(encoding);
    Accuracy a;
    a.period = period;
    a.phasePeriod = P;
    double sumSq = 0;
    for (kSize i = 0; i < truth.column.size(); ++i)
    {
        const double u = truth.column[i];
        const bool lit = u >= 0 && u < projectorWidth;
        kpp::PhasePixel2 pixel(absolute[i]);
        if (!lit)
        {
            a.validUnlit += pixel.IsValid();
            continue;
        }
        ++a.lit;
        if (phase[i].phase != k16S_NULL)
        {
            double e =
                ksim::WrappedPhaseError(phase[i].phase, ksim::ExpectedPhase(u, period, P), P);
            sumSq += e * e;
            a.phaseMax = std::max(a.phaseMax, std::fabs(e));
            ++a.phaseValid;
        }
        if (pixel.IsValid())
        {
            ++a.valid;
            double column = pixel.Phase() / P * period;
            a.orderErrors += std::fabs(column - u) > period / 2;
        }
    }
    a.phaseRms = a.phaseValid ? std::sqrt(sumSq / a.phaseValid) : 0;
    return a;
}

void Accuracy::Print() const
{
    const double toColumns = period / phasePeriod;
    auto share = [](kSize part, kSize whole) { return whole ? 100.0 * part / whole : 0.0; };
    printf("accuracy against ground truth:\n");
    printf("  lit pixels             %zu\n", lit);
    printf("  valid share            %.2f %% of lit pixels (%zu)\n", share(valid, lit), valid);
    printf("  wrapped-phase error    RMS %.2f, max %.1f phase units of %g"
           " (RMS %.3f, max %.2f projector columns)\n",
           phaseRms, phaseMax, phasePeriod, phaseRms * toColumns, phaseMax * toColumns);
    printf("  fringe-order errors    %.3f %% of valid pixels (%zu)\n", share(orderErrors, valid),
           orderErrors);
    printf("  valid but unlit        %zu\n", validUnlit);
}

DemoScan RunDemoScan(OutputFolder& folder, const std::string& where, const Encoding& encoding,
                     kSize width, kSize height, k32u seed)
{
    DemoScan scan;
    auto start = Clock::now();
    ksim::FringeCamera camera(DemoScene(width, height, seed, encoding));
    scan.times.Add("scene and truth", SecondsSince(start));

    start = Clock::now();
    std::vector<Handle> frames = RenderFrames(camera, encoding);
    scan.times.Add("rendering", SecondsSince(start));
    scan.frames = frames.size();

    Maps maps = Decode(frames, encoding, scan.times);
    scan.accuracy = Measure(maps, camera.GroundTruth(), encoding);

    start = Clock::now();
    WriteMaps(folder, where, maps, encoding);
    WriteFrames(folder, where, frames);
    scan.times.Add("writing files", SecondsSince(start));
    return scan;
}
} // namespace ksolan
