#include "Demo.h"

#include "Progress.h"

#include <kSolan/S3d/kS3dPatternSequence.h>
#include <kSolan/kpp/Common/kppPhasePixel2.h>

#include <kBasis/kArray2.h>
#include <kBasis/kImage.h>

#include <cmath>
#include <cstdio>

namespace ksolan
{
namespace
{
double Logistic(double t) { return 1.0 / (1.0 + std::exp(-t)); }
} // namespace

ksim::Scene DemoScene(kSize width, kSize height, k32u seed)
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
    scene.column = [=](double x, double y)
    { return 40 + 1.45 * x + 0.12 * y + kDepthShift * heightAt(x, y); };
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
    const kSize projector = (kSize)kDemoPeriod << encoding.stripes;
    Handle sequence, rows;
    Check(kS3dPatternSequence_Construct(sequence.Out(), projector, kNULL),
          "cannot construct the pattern sequence");
    Check(kS3dPatternSequence_SetupStripePhase(sequence, 1, encoding.stripes, encoding.phases,
                                               kDemoPeriod),
          "cannot set up the pattern sequence");
    Check(kS3dPatternSequence_Render(sequence, rows.Out()), "cannot render the pattern sequence");

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

Accuracy Measure(const Maps& maps, const ksim::Truth& truth, const Encoding& encoding,
                 double projectorWidth)
{
    const kPhasePixel* phase = kArray2_DataT<kPhasePixel>(maps.phase);
    kPhasePixel2* absolute = kArray2_DataT<kPhasePixel2>(maps.absolute);
    const double P = encoding.phasePeriod;
    Accuracy a;
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
                ksim::WrappedPhaseError(phase[i].phase, ksim::ExpectedPhase(u, kDemoPeriod, P), P);
            sumSq += e * e;
            a.phaseMax = std::max(a.phaseMax, std::fabs(e));
            ++a.phaseValid;
        }
        if (pixel.IsValid())
        {
            ++a.valid;
            double column = pixel.Phase() / P * kDemoPeriod;
            a.orderErrors += std::fabs(column - u) > kDemoPeriod / 2;
        }
    }
    a.phaseRms = a.phaseValid ? std::sqrt(sumSq / a.phaseValid) : 0;
    return a;
}

void Accuracy::Print(const Encoding& encoding) const
{
    const double toColumns = kDemoPeriod / encoding.phasePeriod;
    auto share = [](kSize part, kSize whole) { return whole ? 100.0 * part / whole : 0.0; };
    printf("accuracy against ground truth:\n");
    printf("  lit pixels             %zu\n", lit);
    printf("  valid share            %.2f %% of lit pixels (%zu)\n", share(valid, lit), valid);
    printf("  wrapped-phase error    RMS %.2f, max %.1f phase units of %u"
           " (RMS %.3f, max %.2f projector columns)\n",
           phaseRms, phaseMax, encoding.phasePeriod, phaseRms * toColumns, phaseMax * toColumns);
    printf("  fringe-order errors    %.3f %% of valid pixels (%zu)\n", share(orderErrors, valid),
           orderErrors);
    printf("  valid but unlit        %zu\n", validUnlit);
}
} // namespace ksolan
