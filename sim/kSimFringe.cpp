#include "kSimFringe.h"

#include <kSolan/S3d/kS3dEncodingMath.h>
#include <kSolan/S3d/kS3dPatternSequence.h>

#include <algorithm>
#include <cmath>

namespace ksim
{
namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;
/* Projector sub-columns per column: the resolution of the projector's optical blur. */
constexpr k32s kSub = 8;

/* Box-Muller on the scene's generator: the same draws on every standard library. */
class Gaussian
{
public:
    double operator()(std::mt19937& random)
    {
        if (m_haveSpare)
        {
            m_haveSpare = false;
            return m_spare;
        }
        double u1 = (random() + 1.0) / 4294967296.0; // (0, 1]
        double u2 = random() / 4294967296.0;
        double r = std::sqrt(-2.0 * std::log(u1));
        m_spare = r * std::sin(kTwoPi * u2);
        m_haveSpare = true;
        return r * std::cos(kTwoPi * u2);
    }

private:
    double m_spare = 0;
    bool m_haveSpare = false;
};

std::vector<float> GaussianKernel(double sigma)
{
    kSize radius = (kSize)std::ceil(3.0 * sigma);
    std::vector<float> kernel(2 * radius + 1);
    double total = 0;
    for (kSize i = 0; i < kernel.size(); ++i)
    {
        double d = (double)i - (double)radius;
        total += kernel[i] = (float)std::exp(-0.5 * d * d / (sigma * sigma));
    }
    for (float& k : kernel)
        k = (float)(k / total);
    return kernel;
}

/* Separable blur of a width × height image in place; edges clamped (the caller pads). */
void Blur(std::vector<float>& image, kSize width, kSize height, double sigma)
{
    std::vector<float> kernel = GaussianKernel(sigma);
    k32s radius = (k32s)(kernel.size() / 2);
    std::vector<float> line(std::max(width, height));
    auto pass = [&](kSize count, kSize length, kSize stride, kSize step)
    {
        for (kSize n = 0; n < count; ++n)
        {
            float* base = image.data() + n * stride;
            for (kSize i = 0; i < length; ++i)
                line[i] = base[i * step];
            for (kSize i = 0; i < length; ++i)
            {
                float sum = 0;
                for (k32s k = -radius; k <= radius; ++k)
                {
                    k32s j = std::clamp((k32s)i + k, 0, (k32s)length - 1);
                    sum += kernel[k + radius] * line[j];
                }
                base[i * step] = sum;
            }
        }
    };
    pass(height, width, width, 1);
    pass(width, height, 1, width);
}
} // namespace

ColumnMap AffineColumns(double u0, double dudx, double dudy)
{
    return [=](double x, double y) { return u0 + dudx * x + dudy * y; };
}

ColumnMap SmoothColumns(double u0, double dudx, double dudy, double amplitude, double wavelength)
{
    return [=](double x, double y)
    {
        return u0 + dudx * x + dudy * y +
               amplitude * std::sin(kTwoPi * x / wavelength) * std::cos(kTwoPi * y / wavelength);
    };
}

AlbedoMap ConstantAlbedo(double value)
{
    return [=](double, double) { return value; };
}

AlbedoMap SmoothAlbedo(double lo, double hi, double width, double height)
{
    return [=](double x, double y)
    {
        double s = std::sin(0.5 * kTwoPi * x / width) * std::sin(0.5 * kTwoPi * y / height);
        return lo + (hi - lo) * s; // lo at the image border, hi in the middle
    };
}

FringeCamera::FringeCamera(const Scene& scene) : m_scene(scene), m_random(scene.seed)
{
    const kSize w = scene.width, h = scene.height, s = std::max<kSize>(scene.samples, 1);
    const double delta = 1e-3;
    // The scene goes on beyond the sensor: a margin as wide as the blur is rendered and
    // blurred with the image, so that border pixels are blurred like all others.
    m_margin = scene.blurSigma > 0 ? GaussianKernel(scene.blurSigma).size() / 2 : 0;
    const kSize pw = w + 2 * m_margin, ph = h + 2 * m_margin;
    m_truth.column.resize(w * h);
    m_truth.columnRate.resize(w * h);
    m_truth.albedo.resize(w * h);
    m_albedo.resize(pw * ph);
    m_sampleColumn.resize(pw * ph * s * s);
    m_work.resize(pw * ph);
    for (kSize py = 0; py < ph; ++py)
    {
        for (kSize px = 0; px < pw; ++px)
        {
            const kSize i = py * pw + px;
            const double x = (double)px - (double)m_margin, y = (double)py - (double)m_margin;
            m_albedo[i] = scene.albedo(x + 0.5, y + 0.5);
            for (kSize sy = 0; sy < s; ++sy)
                for (kSize sx = 0; sx < s; ++sx)
                    m_sampleColumn[i * s * s + sy * s + sx] =
                        (k32s)std::floor(kSub * scene.column(x + (sx + 0.5) / (double)s,
                                                             y + (sy + 0.5) / (double)s));
        }
    }
    for (kSize y = 0; y < h; ++y)
    {
        for (kSize x = 0; x < w; ++x)
        {
            const kSize i = y * w + x;
            const double cx = x + 0.5, cy = y + 0.5;
            const double gx =
                (scene.column(cx + delta, cy) - scene.column(cx - delta, cy)) / (2 * delta);
            const double gy =
                (scene.column(cx, cy + delta) - scene.column(cx, cy - delta)) / (2 * delta);
            m_truth.column[i] = scene.column(cx, cy);
            m_truth.columnRate[i] = std::hypot(gx, gy);
            m_truth.albedo[i] = scene.albedo(cx, cy);
        }
    }
}

void FringeCamera::Render(k8u* frame, const k8u* row, kSize projectorWidth)
{
    const kSize pw = m_scene.width + 2 * m_margin, ph = m_scene.height + 2 * m_margin;
    const kSize s2 = std::max<kSize>(m_scene.samples, 1) * std::max<kSize>(m_scene.samples, 1);
    const k32s margin = m_scene.projectorBlur > 0
                            ? (k32s)(GaussianKernel(m_scene.projectorBlur * kSub).size() / 2)
                            : 0;
    m_projector.assign(projectorWidth * kSub + 2 * margin, 0.0f);
    for (kSize k = 0; k < projectorWidth * kSub; ++k)
        m_projector[margin + k] = row[k / kSub];
    if (margin > 0) Blur(m_projector, m_projector.size(), 1, m_scene.projectorBlur * kSub);
    const k32s end = (k32s)m_projector.size();

    for (kSize i = 0; i < pw * ph; ++i)
    {
        double total = 0;
        const k32s* columns = &m_sampleColumn[i * s2];
        for (kSize k = 0; k < s2; ++k)
        {
            k32s c = columns[k] + margin;
            if (c >= 0 && c < end) total += m_projector[c];
        }
        double level = total / (double)s2;
        m_work[i] = (float)(m_scene.gain * m_albedo[i] * level + m_scene.ambient);
    }
    if (m_scene.blurSigma > 0) Blur(m_work, pw, ph, m_scene.blurSigma);
    Gaussian gaussian;
    for (kSize y = 0; y < m_scene.height; ++y)
    {
        for (kSize x = 0; x < m_scene.width; ++x)
        {
            double v = m_work[(y + m_margin) * pw + x + m_margin];
            if (m_scene.noiseSigma > 0) v += m_scene.noiseSigma * gaussian(m_random);
            frame[y * m_scene.width + x] = (k8u)std::clamp(std::floor(v + 0.5), 0.0, 255.0);
        }
    }
}

std::vector<k8u> FringeCamera::Render(const k8u* row, kSize projectorWidth)
{
    std::vector<k8u> frame(m_scene.width * m_scene.height);
    Render(frame.data(), row, projectorWidth);
    return frame;
}

std::vector<std::vector<k8u>> FringeCamera::RenderAll(const k8u* rows, kSize rowCount,
                                                      kSize projectorWidth)
{
    std::vector<std::vector<k8u>> frames;
    for (kSize r = 0; r < rowCount; ++r)
        frames.push_back(Render(rows + r * projectorWidth, projectorWidth));
    return frames;
}

k32s StripeCode(double column, double period) { return (k32s)std::floor(column / period); }

double ExpectedPhase(double column, double period, double phasePeriod)
{
    double f = column / period - std::floor(column / period);
    double phase = phasePeriod * (1.0 - f);
    return phase >= phasePeriod ? phase - phasePeriod : phase;
}

double WrappedPhaseError(double decoded, double expected, double phasePeriod)
{
    double e = std::fmod(decoded - expected, phasePeriod);
    if (e > phasePeriod / 2) e -= phasePeriod;
    if (e <= -phasePeriod / 2) e += phasePeriod;
    return e;
}

double StripeEdgeDistance(const Truth& truth, kSize index, double period)
{
    double u = truth.column[index];
    double f = u / period - std::floor(u / period);
    double columns = std::min(f, 1.0 - f) * period;
    return columns / truth.columnRate[index];
}

k32s FringeOrder(double column, double period, kSize projectorWidth)
{
    if (column < 0 || column >= (double)projectorWidth) return -1;
    return (k32s)std::floor(column / period);
}

EmbeddedPhaseScan RenderEmbeddedPhase(FringeCamera& camera, const std::vector<double>& coefficients,
                                      const std::vector<kSize>& stepCounts, kSize projectorWidth,
                                      double phasePeriod)
{
    EmbeddedPhaseScan scan;
    const kSize n = coefficients.size();
    scan.periods.resize(n);
    scan.patternPeriods.resize(n);
    if (n == 0 || stepCounts.size() != n ||
        !kSuccess(kS3dEncodingMath_EmbeddedPhasePeriods(coefficients.data(), n, scan.periods.data(),
                                                        n)) ||
        !kSuccess(kS3dEncodingMath_PatternPhasePeriods(scan.periods.data(), n,
                                                       scan.patternPeriods.data(), n)))
        return scan;

    kS3dPatternSequence sequence = kNULL;
    kArray2 rows = kNULL;
    if (kSuccess(kS3dPatternSequence_Construct(&sequence, projectorWidth, kNULL)) &&
        kSuccess(kS3dPatternSequence_SetupEmbeddedPhase(sequence, scan.patternPeriods.data(),
                                                        stepCounts.data(), n)) &&
        kSuccess(kS3dPatternSequence_Render(sequence, &rows)))
    {
        scan.frames =
            camera.RenderAll(kArray2_DataT<k8u>(rows), kArray2_Length(rows, 0), projectorWidth);
    }
    kObject_Destroy(rows);
    kObject_Destroy(sequence);

    const std::vector<double>& column = camera.GroundTruth().column;
    for (double u : column)
    {
        scan.order.push_back(FringeOrder(u, scan.periods[0], projectorWidth));
        scan.phase.push_back(ExpectedPhase(u, scan.periods[0], phasePeriod));
    }
    return scan;
}

std::vector<k8u> PhaseShiftRow(kSize projectorWidth, double period, kSize index, kSize count,
                               double amplitude, double offset)
{
    std::vector<k8u> row(projectorWidth);
    for (kSize c = 0; c < projectorWidth; ++c)
    {
        double v =
            offset + amplitude * std::cos(kTwoPi * (c + 0.5) / period + kTwoPi * index / count);
        row[c] = (k8u)std::clamp(std::floor(v + 0.5), 0.0, 255.0);
    }
    return row;
}
} // namespace ksim
