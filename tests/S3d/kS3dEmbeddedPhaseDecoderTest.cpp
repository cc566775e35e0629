// Embedded phase decoder: the shift matrix against an independent least-squares inverse, wrapped
// phases against atan2 of the sums, the map steps, the Kuwahara filter against a slow
// reference, rendered scenes with known fringe order for every orientation and for two, three
// and four frequencies, worker-count independence, refusals, guard rows and allocation failure.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.h>
#include <kSolan/S3d/kS3dEmbeddedPhaseDecoderInt.h>
#include <kSolan/S3d/kS3dEncodingMath.h>
#include <kSolan/Common/kMatrix.h>

#include <kSimFringe.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

using ktest::Frame;
using ktest::Map;

namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;
using Frames = std::vector<std::vector<k8u>>;

/* Phase steps of a block as the pattern sequence renders them (written out here). */
std::vector<double> Steps(kSize count)
{
    const double trim = count <= 3 ? kTwoPi / count / 3 : 0;
    std::vector<double> steps;
    for (kSize j = 0; j < count; ++j)
        steps.push_back(j * (kTwoPi - trim) / count);
    return steps;
}

/* A: frame rows of 1, cos(step), −sin(step) in the columns of the frame's frequency. */
std::vector<std::vector<double>> DesignMatrix(const std::vector<kSize>& counts)
{
    const kSize n = counts.size();
    std::vector<std::vector<double>> a;
    for (kSize i = 0; i < n; ++i)
        for (double s : Steps(counts[i]))
        {
            std::vector<double> row(2 * n + 1, 0.0);
            row[0] = 1;
            row[2 * i + 1] = std::cos(s);
            row[2 * i + 2] = -std::sin(s);
            a.push_back(row);
        }
    return a;
}

/* (AᵀA)⁻¹Aᵀ by Gauss-Jordan elimination with partial pivoting in long double. */
std::vector<std::vector<double>> PseudoInverse(const std::vector<std::vector<double>>& a)
{
    const kSize rows = a.size(), cols = a[0].size();
    std::vector<std::vector<long double>> g(cols, std::vector<long double>(cols + rows, 0));
    for (kSize i = 0; i < cols; ++i)
    {
        for (kSize j = 0; j < cols; ++j)
            for (kSize r = 0; r < rows; ++r)
                g[i][j] += (long double)a[r][i] * a[r][j];
        for (kSize r = 0; r < rows; ++r)
            g[i][cols + r] = a[r][i];
    }
    for (kSize c = 0; c < cols; ++c)
    {
        kSize pivot = c;
        for (kSize r = c + 1; r < cols; ++r)
            if (std::fabs(g[r][c]) > std::fabs(g[pivot][c])) pivot = r;
        std::swap(g[c], g[pivot]);
        const long double p = g[c][c];
        for (long double& v : g[c])
            v /= p;
        for (kSize r = 0; r < cols; ++r)
        {
            if (r == c) continue;
            const long double f = g[r][c];
            for (kSize k = 0; k < cols + rows; ++k)
                g[r][k] -= f * g[c][k];
        }
    }
    std::vector<std::vector<double>> m(cols, std::vector<double>(rows));
    for (kSize i = 0; i < cols; ++i)
        for (kSize r = 0; r < rows; ++r)
            m[i][r] = (double)g[i][cols + r];
    return m;
}

/* Frames in which pixel p shows the wrapped phase phi[i][p] (periods) in block i. */
Frames PhaseFrames(const std::vector<std::vector<double>>& phi, const std::vector<kSize>& counts,
                   double amplitude = 100, double offset = 127)
{
    Frames frames;
    for (kSize i = 0; i < counts.size(); ++i)
        for (double s : Steps(counts[i]))
        {
            std::vector<k8u> frame(phi[i].size());
            for (kSize p = 0; p < frame.size(); ++p)
                frame[p] = (k8u)std::lround(offset + amplitude * std::cos(kTwoPi * phi[i][p] + s));
            frames.push_back(frame);
        }
    return frames;
}

/* A decoder owned by the test. */
template <bool kInt = false>
class Decoder
{
public:
    Decoder(kSize width, kSize height, const std::vector<k64f>& coefficients,
            const std::vector<kSize>& counts, kAlloc alloc = kNULL)
        : m_width(width), m_height(height)
    {
        if constexpr (kInt)
        {
            EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_Construct(&m_decoder, alloc), kOK);
            EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_SetImageSize(m_decoder, width, height), kOK);
            EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_SetSequenceInfo(m_decoder, coefficients.data(),
                                                                  counts.data(), counts.size()),
                      kOK);
        }
        else
        {
            EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Construct(&m_decoder, alloc), kOK);
            EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetImageSize(m_decoder, width, height), kOK);
            EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(m_decoder, coefficients.data(),
                                                               counts.data(), counts.size()),
                      kOK);
        }
    }
    ~Decoder() { kObject_Destroy(m_decoder); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    operator kObject() const { return m_decoder; }

    /* Decodes frames into codes and phase pixels; the last Update's status is returned. */
    kStatus Decode(const Frames& frames, std::vector<k8u>& codes, std::vector<kPhasePixel>& phases)
    {
        Map<k8u> codeMap(kTypeOf(k8u), m_height, m_width);
        Map<kPhasePixel> phaseMap(kTypeOf(kPhasePixel), m_height, m_width);
        kStatus status = kInt ? kS3dEmbeddedPhaseDecoderInt_Begin(m_decoder, codeMap, phaseMap)
                              : kS3dEmbeddedPhaseDecoder_Begin(m_decoder, codeMap, phaseMap);
        for (kSize f = 0; kSuccess(status) && f < frames.size(); ++f)
        {
            Frame frame(m_width, m_height, frames[f]);
            status = kInt ? kS3dEmbeddedPhaseDecoderInt_Update(m_decoder, frame)
                          : kS3dEmbeddedPhaseDecoder_Update(m_decoder, frame);
        }
        codes = codeMap.Values();
        phases = phaseMap.Values();
        return status;
    }

private:
    kObject m_decoder = kNULL;
    kSize m_width, m_height;
};

/* The wrapped-phase maps of one recorded state. */
std::vector<std::vector<float>> StateMaps(kArrayList states, kSize index)
{
    kArray1 state = *kArrayList_AtT<kArray1>(states, index);
    std::vector<std::vector<float>> maps;
    for (kSize i = 0; i < kArray1_Count(state); ++i)
    {
        kArray2 map = *kArray1_AtT<kArray2>(state, i);
        maps.push_back(map ? std::vector<float>(kArray2_DataT<k32f>(map),
                                                kArray2_DataT<k32f>(map) + kArray2_Count(map))
                           : std::vector<float>());
    }
    return maps;
}

/* Kuwahara filter written out: four clipped quadrants, smallest variance, its mean. */
std::vector<double> SlowKuwahara(const std::vector<float>& in, kSize width, kSize height, int h)
{
    std::vector<double> out(in.size(), k32F_NULL);
    for (int y = 0; y < (int)height; ++y)
        for (int x = 0; x < (int)width; ++x)
        {
            if (in[y * width + x] == k32F_NULL) continue;
            double best = 1e300, mean = 0;
            for (int qy : {-1, 1})
                for (int qx : {-1, 1})
                {
                    double s = 0, s2 = 0, n = 0;
                    for (int dy = 0; dy <= h; ++dy)
                        for (int dx = 0; dx <= h; ++dx)
                        {
                            const int yy = y + qy * dy, xx = x + qx * dx;
                            if (yy < 0 || xx < 0 || yy >= (int)height || xx >= (int)width) continue;
                            const double v = in[yy * width + xx];
                            if (v == k32F_NULL) continue;
                            s += v;
                            s2 += v * v;
                            n += 1;
                        }
                    const double variance = s2 / n - (s / n) * (s / n);
                    if (variance < best)
                    {
                        best = variance;
                        mean = s / n;
                    }
                }
            out[y * width + x] = mean;
        }
    return out;
}

/* Rendered scene of an orientation: columns 0.5 … 685.5 over the long side, 1.2 to 2 pixels per
   column (a ripple of 12 columns), the short side 64 pixels. */
ksim::Scene OrientedScene(int orientation, kSize length = 1040, kSize across = 64)
{
    const double rate = 685.0 / (double)length;
    const ksim::ColumnMap base = ksim::SmoothColumns(0.5, rate, 0.0, 12.0, length / 2.0);
    const bool transposed = orientation >= 2, flipped = orientation == 1 || orientation == 3;
    ksim::Scene scene;
    scene.width = transposed ? across : length;
    scene.height = transposed ? length : across;
    scene.column = [=](double x, double y)
    {
        const double u = transposed ? base(y, x) : base(x, y);
        return flipped ? 686.0 - u : u;
    };
    scene.gain = 0.85;
    scene.ambient = 10;
    scene.noiseSigma = 1.5;
    scene.projectorBlur = 0.7;
    scene.seed = 17 + orientation;
    return scene;
}

struct Figures
{
    double orderRate; // interior pixels with the true fringe order
    double columnRms; // interior pixels: order × C0 + in-period position against u
    double validRate; // interior pixels decoded at all
};

/* Order and column accuracy over pixels more than `border` pixels from the image border. */
Figures Measure(const ksim::FringeCamera& camera, const ksim::EmbeddedPhaseScan& scan,
                const std::vector<k8u>& codes, const std::vector<kPhasePixel>& phases, double P,
                kSize border = 8)
{
    const kSize w = camera.Width(), h = camera.Height();
    const double c0 = scan.periods[0];
    double n = 0, right = 0, valid = 0, sq = 0, counted = 0;
    for (kSize y = border; y + border < h; ++y)
        for (kSize x = border; x + border < w; ++x)
        {
            const kSize i = y * w + x;
            n += 1;
            if (codes[i] == 255) continue;
            valid += 1;
            if (codes[i] == scan.order[i]) right += 1;
            const double column = c0 * (codes[i] + 1.0 - phases[i].phase / P);
            const double e = column - camera.GroundTruth().column[i];
            if (std::fabs(e) > c0 / 2) continue; // an order error: counted above
            sq += e * e;
            counted += 1;
        }
    return {right / n, std::sqrt(sq / std::max(counted, 1.0)), valid / n};
}

using EmbeddedPhase = ktest::SolanSuite;
} // namespace

TEST_F(EmbeddedPhase, ShiftMatrixIsTheLeastSquaresInverseOfTheSteps)
{
    for (const std::vector<kSize>& counts :
         {std::vector<kSize>{5, 5, 5}, std::vector<kSize>{3, 4}, std::vector<kSize>{4, 6, 3, 8}})
    {
        kSize total = 0;
        for (kSize c : counts)
            total += c;
        kArray2 m = kNULL, fixed = kNULL;
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(&m, counts.size(), total,
                                                                   counts.data(), kNULL),
                  kOK);
        ASSERT_EQ(kArray2_Length(m, 0), 2 * counts.size() + 1);
        ASSERT_EQ(kArray2_Length(m, 1), total);
        const std::vector<std::vector<double>> a = DesignMatrix(counts);
        const std::vector<std::vector<double>> ref = PseudoInverse(a);
        const k64f* mm = kArray2_DataT<k64f>(m);
        const kSize rows = a[0].size();
        for (kSize i = 0; i < rows; ++i)
        {
            for (kSize j = 0; j < rows; ++j)
            {
                double s = 0;
                for (kSize k = 0; k < total; ++k)
                    s += mm[i * total + k] * a[k][j];
                EXPECT_NEAR(s, i == j ? 1.0 : 0.0, 1e-9) << i << ", " << j;
            }
            for (kSize k = 0; k < total; ++k)
                EXPECT_NEAR(mm[i * total + k], ref[i][k], 1e-12);
        }
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s(&fixed, counts.size(), total,
                                                                   counts.data(), kNULL),
                  kOK);
        ASSERT_EQ(kArray2_ItemType(fixed), kTypeOf(k32s));
        for (kSize k = 0; k < kArray2_Count(m); ++k)
            EXPECT_EQ(kArray2_DataT<k32s>(fixed)[k], (k32s)std::trunc(mm[k] * 1048576.0));
        kObject_Destroy(m);
        kObject_Destroy(fixed);
    }
}

TEST_F(EmbeddedPhase, ShiftMatrixRefusesBadSequences)
{
    kArray2 m = kNULL;
    const kSize big[2] = {5, 31}, fine[2] = {5, 5};
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(&m, 2, 36, big, kNULL),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(&m, 2, 11, fine, kNULL),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(&m, 0, 0, fine, kNULL),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s(&m, 2, 36, big, kNULL),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(m, kNULL);

    Map<k64f> real(kTypeOf(k64f), 2, 3);
    Map<k32s> wrong(kTypeOf(k32s), 3, 2);
    Map<k32f> other(kTypeOf(k32f), 2, 3);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_MatrixConvert(real, wrong), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_MatrixConvert(real, other), kSTATUS_BAD_PARAMETER);

    for (kSize count = 1; count <= 3; ++count)
    {
        kArray2 camera = kNULL;
        const kSize counts[3] = {5, 5, 5};
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s(&camera, count, 5 * count,
                                                                   counts, kNULL),
                  kOK);
        EXPECT_EQ(kArray2_Length(camera, 0), 2 * count + 1);
        kObject_Destroy(camera);
    }
}

TEST_F(EmbeddedPhase, WrappedPhasesAreAtan2OfTheSums)
{
    const kSize w = 23, h = 5;
    const std::vector<kSize> counts{5, 4, 3};
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<std::vector<double>> phi(3, std::vector<double>(w * h));
    for (auto& map : phi)
        for (double& v : map)
            v = unit(random);
    const Frames frames = PhaseFrames(phi, counts);

    Decoder<> decoder(w, h, {7, 7, 14}, counts);
    kArrayList states = kNULL;
    ASSERT_EQ(kArrayList_Construct(&states, kTypeOf(kArray1), 0, kNULL), kOK);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 0, states), kOK);
    std::vector<k8u> codes;
    std::vector<kPhasePixel> phases;
    ASSERT_EQ(decoder.Decode(frames, codes, phases), kOK);
    ASSERT_EQ(kArrayList_Count(states), 7u)
        << "wrapped, beats, then smooth, ramp, unwrap, smooth, ramp";
    const std::vector<std::vector<float>> wrapped = StateMaps(states, 0);

    // The sums in double from the same matrix and the rendered pixels.
    kArray2 m = kNULL;
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(&m, 3, 12, counts.data(), kNULL),
              kOK);
    double worst = 0;
    for (kSize i = 0; i < 3; ++i)
        for (kSize p = 0; p < w * h; ++p)
        {
            double c = 0, s = 0;
            for (kSize k = 0; k < 12; ++k)
            {
                c += frames[k][p] / 255.0 * *kMatrix_At(m, 2 * i + 1, k);
                s += frames[k][p] / 255.0 * *kMatrix_At(m, 2 * i + 2, k);
            }
            double expected = std::atan2(s, c) / kTwoPi;
            expected -= std::floor(expected);
            double e = std::fabs(wrapped[i][p] - expected);
            worst = std::max(worst, std::min(e, 1 - e));
            EXPECT_GE(wrapped[i][p], 0.0f);
            EXPECT_LT(wrapped[i][p], 1.0f);
        }
    EXPECT_LT(worst, 5e-5) << "table arctangent, in periods";
    // Contrast and intensity over the 5 frames of frequency 0 (the 4-byte statistics).
    for (kSize p = 0; p < w * h; ++p)
    {
        int lo = 255, hi = 0, sum = 0;
        for (kSize k = 0; k < 5; ++k)
        {
            lo = std::min<int>(lo, frames[k][p]);
            hi = std::max<int>(hi, frames[k][p]);
            sum += frames[k][p];
        }
        EXPECT_EQ(phases[p].contrast, hi - lo) << p;
        EXPECT_EQ(phases[p].intensity, sum / 5) << p;
    }
    kObject_Destroy(m);
    kObject_Dispose(states);
}

TEST_F(EmbeddedPhase, ContrastThresholdAndZeroSums)
{
    const kSize w = 6, h = 2;
    const std::vector<kSize> counts{5, 5};
    Frames dark(10, std::vector<k8u>(w * h, 0)), grey(10, std::vector<k8u>(w * h, 100));
    std::vector<k8u> codes;
    std::vector<kPhasePixel> phases;

    // Both sums exactly zero: phase 0 in every map, exported as P (the period's top end).
    Decoder<> decoder(w, h, {7, 98}, counts);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetContrastThreshold(decoder, 0), kOK);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 1000), kOK);
    kArrayList states = kNULL;
    ASSERT_EQ(kArrayList_Construct(&states, kTypeOf(kArray1), 0, kNULL), kOK);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 0, states), kOK);
    ASSERT_EQ(decoder.Decode(dark, codes, phases), kOK);
    for (const auto& map : StateMaps(states, 0))
        for (float v : map)
            EXPECT_EQ(v, 0.0f);
    for (kSize p = 0; p < w * h; ++p)
    {
        EXPECT_EQ(phases[p].phase, 1000);
        EXPECT_EQ(phases[p].contrast, 0);
        EXPECT_NE(codes[p], 255);
    }
    kObject_Dispose(states);

    // A constant scene passes threshold 0 and fails threshold 1 (at least the threshold).
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 0, kNULL), kOK);
    ASSERT_EQ(decoder.Decode(grey, codes, phases), kOK);
    for (kSize p = 0; p < w * h; ++p)
    {
        EXPECT_NE(phases[p].phase, k16S_NULL);
        EXPECT_EQ(phases[p].intensity, 100);
    }
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetContrastThreshold(decoder, 1), kOK);
    ASSERT_EQ(decoder.Decode(grey, codes, phases), kOK);
    for (kSize p = 0; p < w * h; ++p)
    {
        EXPECT_EQ(phases[p].phase, k16S_NULL);
        EXPECT_EQ(codes[p], 255);
        EXPECT_EQ(phases[p].contrast, 0);
        EXPECT_EQ(phases[p].intensity, 100);
    }
}

TEST_F(EmbeddedPhase, SubtractRampAndUnwrapStepsOnSmallMaps)
{
    const float N = k32F_NULL;
    auto map = [](kSize rows, kSize cols, std::vector<float> v)
    {
        auto m = std::make_unique<Map<k32f>>(kTypeOf(k32f), rows, cols);
        std::copy(v.begin(), v.end(), m->Data());
        return m;
    };

    auto a = map(1, 4, {0.2f, 0.1f, N, 0.5f});
    auto b = map(1, 4, {0.1f, 0.3f, 0.2f, N});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SubtractPhase(*a, *b), kOK);
    EXPECT_FLOAT_EQ((*a)[0], 0.1f);
    EXPECT_FLOAT_EQ((*a)[1], 0.8f);
    EXPECT_EQ((*a)[2], N);
    EXPECT_EQ((*a)[3], N);

    // The ramp along a scan line of 11: the threshold runs from −0.1 to +0.1.
    const std::vector<float> d{-0.05f, -0.15f, 0.3f, -0.01f, 0.2f, 0.0f,
                               0.5f,   -0.3f,  0.4f, 0.7f,   0.05f};
    const std::vector<float> expect{0.0f, 0.85f, 0.3f, 0.0f, 0.2f, 0.0f,
                                    0.5f, 0.7f,  0.4f, 0.7f, 1.05f};
    for (k32s orientation = 0; orientation < 4; ++orientation)
    {
        const bool columns = orientation >= 2, back = orientation == 1 || orientation == 3;
        const kSize rows = columns ? 11 : 2, cols = columns ? 2 : 11;
        auto x = map(rows, cols, std::vector<float>(22, 0.0f));
        auto zero = map(rows, cols, std::vector<float>(22, 0.0f));
        for (kSize line = 0; line < 2; ++line)
            for (kSize i = 0; i < 11; ++i)
            {
                const kSize along = back ? 10 - i : i;
                (*x)[columns ? along * 2 + line : line * 11 + along] = d[i];
            }
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SubtractPhaseBase(*x, *zero, orientation), kOK);
        for (kSize line = 0; line < 2; ++line)
            for (kSize i = 0; i < 11; ++i)
            {
                const kSize along = back ? 10 - i : i;
                EXPECT_NEAR((*x)[columns ? along * 2 + line : line * 11 + along], expect[i], 1e-6)
                    << "orientation " << orientation << ", index " << i;
            }
    }

    // Base ramp with r = 98: corrections by one either way and the clamp to 0 … 97.
    auto fine = map(1, 6, {0.9f, 0.1f, 0.9f, 0.05f, 0.5f, N});
    auto coarse = map(1, 6, {0.5f, 0.5f, 0.0f, 0.9999f, N, 0.5f});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_BaseRamp(7, *fine, 686, *coarse), kOK);
    const float orders[6] = {48, 49, 0, 97, N, N};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ((*coarse)[i], orders[i]) << i;

    auto order = map(1, 3, {3.0f, 13.0f, N});
    auto phase = map(1, 3, {0.5f, 0.75f, 0.1f});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Unwrap(49, *phase, 686, *order), kOK);
    EXPECT_FLOAT_EQ((*order)[0], 0.25f);
    EXPECT_FLOAT_EQ((*order)[1], 13.75f / 14.0f);
    EXPECT_EQ((*order)[2], N);

    // Shapes, item types and periods.
    auto other = map(2, 2, {0, 0, 0, 0});
    Map<k32s> integers(kTypeOf(k32s), 1, 4);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SubtractPhase(*a, *other), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SubtractPhase(*a, integers), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SubtractPhaseBase(*a, *b, 4), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_BaseRamp(0, *a, 686, *b), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_BaseRamp(0.001, *a, 686, *b), kSTATUS_BAD_PARAMETER)
        << "a ratio above 65536";
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Unwrap(7, *a, 686, *other), kSTATUS_BAD_PARAMETER);
}

TEST_F(EmbeddedPhase, KuwaharaSmoothingMatchesTheSlowFilter)
{
    // Two frequencies whose beat is random in 0.2 … 0.8 (no ramp correction), some pixels
    // without contrast; the states hold the beat before and after smoothing.
    const kSize w = 37, h = 29;
    const std::vector<kSize> counts{5, 5};
    std::mt19937 random(11);
    std::uniform_real_distribution<double> unit(0, 1), beat(0.2, 0.8);
    std::vector<std::vector<double>> phi(2, std::vector<double>(w * h));
    for (kSize p = 0; p < w * h; ++p)
    {
        phi[0][p] = unit(random);
        phi[1][p] = phi[0][p] + beat(random);
    }
    Frames frames = PhaseFrames(phi, counts);
    for (kSize p : {0u, 40u, 41u, 300u, 1072u})
        for (auto& frame : frames)
            frame[p] = 50;

    Decoder<> decoder(w, h, {7, 98}, counts);
    kArrayList states = kNULL;
    ASSERT_EQ(kArrayList_Construct(&states, kTypeOf(kArray1), 0, kNULL), kOK);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 0, states), kOK);
    std::vector<k8u> codes;
    std::vector<kPhasePixel> phases;
    ASSERT_EQ(decoder.Decode(frames, codes, phases), kOK);
    ASSERT_EQ(kArrayList_Count(states), 4u);
    const std::vector<float> before = StateMaps(states, 1)[1];
    const std::vector<float> after = StateMaps(states, 2)[1];
    const std::vector<double> expected = SlowKuwahara(before, w, h, 7);
    for (kSize p = 0; p < w * h; ++p)
    {
        if (expected[p] == k32F_NULL)
            EXPECT_EQ(after[p], k32F_NULL) << p;
        else
            EXPECT_NEAR(after[p], expected[p], 1e-6) << p;
    }
    EXPECT_EQ(after[0], k32F_NULL) << "an invalid pixel stays invalid";
    kObject_Dispose(states);
}

TEST_F(EmbeddedPhase, RenderedScenesGiveTheTrueOrderInEveryOrientation)
{
    const double P = 4096;
    for (int orientation = 0; orientation < 4; ++orientation)
    {
        ksim::FringeCamera camera(OrientedScene(orientation));
        const ksim::EmbeddedPhaseScan scan =
            ksim::RenderEmbeddedPhase(camera, {7, 7, 14}, {5, 5, 5}, 686, P);
        ASSERT_EQ(scan.frames.size(), 15u);
        Decoder<> decoder(camera.Width(), camera.Height(), {7, 7, 14}, {5, 5, 5});
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetOrientation(decoder, orientation), kOK);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, (kSize)P), kOK);
        std::vector<k8u> codes;
        std::vector<kPhasePixel> phases;
        ASSERT_EQ(decoder.Decode(scan.frames, codes, phases), kOK);
        const Figures f = Measure(camera, scan, codes, phases, P);
        std::printf("[ figures  ] orientation %d: order right %.4f, column RMS %.4f, valid %.4f\n",
                    orientation, f.orderRate, f.columnRms, f.validRate);
        EXPECT_GE(f.orderRate, 0.99) << "orientation " << orientation;
        EXPECT_LT(f.columnRms, 0.05) << "orientation " << orientation;
    }
}

TEST_F(EmbeddedPhase, RenderedScenesWithTwoAndFourFrequencies)
{
    const double P = 4096;
    struct Case
    {
        std::vector<k64f> coefficients;
        std::vector<kSize> counts;
    };
    for (const Case& c : {Case{{7, 98}, {5, 5}}, Case{{7, 7, 2, 7}, {5, 5, 4, 5}}})
    {
        ksim::FringeCamera camera(OrientedScene(0));
        const ksim::EmbeddedPhaseScan scan =
            ksim::RenderEmbeddedPhase(camera, c.coefficients, c.counts, 686, P);
        Decoder<> decoder(camera.Width(), camera.Height(), c.coefficients, c.counts);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, (kSize)P), kOK);
        std::vector<k8u> codes;
        std::vector<kPhasePixel> phases;
        ASSERT_EQ(decoder.Decode(scan.frames, codes, phases), kOK);
        const Figures f = Measure(camera, scan, codes, phases, P);
        std::printf("[ figures  ] %zu frequencies: order right %.4f, column RMS %.4f\n",
                    c.counts.size(), f.orderRate, f.columnRms);
        EXPECT_GE(f.orderRate, 0.99) << c.counts.size() << " frequencies";
        EXPECT_LT(f.columnRms, 0.05) << c.counts.size() << " frequencies";
    }
}

TEST_F(EmbeddedPhase, ResultsDoNotDependOnTheWorkerCount)
{
    ksim::FringeCamera camera(OrientedScene(0, 1040, 37));
    const ksim::EmbeddedPhaseScan scan =
        ksim::RenderEmbeddedPhase(camera, {7, 7, 14}, {5, 5, 5}, 686, 1000);
    std::vector<k8u> codes0;
    std::vector<kPhasePixel> phases0;
    {
        Decoder<> decoder(camera.Width(), camera.Height(), {7, 7, 14}, {5, 5, 5});
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 1000), kOK);
        ASSERT_EQ(decoder.Decode(scan.frames, codes0, phases0), kOK);
    }
    for (kSize workers : {1u, 2u, 4u})
    {
        kVsJobQueue queue = kNULL;
        ASSERT_EQ(kVsJobQueue_Construct(&queue, workers, kNULL), kOK);
        Decoder<> decoder(camera.Width(), camera.Height(), {7, 7, 14}, {5, 5, 5});
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 1000), kOK);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetJobQueue(decoder, queue), kOK);
        std::vector<k8u> codes;
        std::vector<kPhasePixel> phases;
        ASSERT_EQ(decoder.Decode(scan.frames, codes, phases), kOK);
        EXPECT_EQ(codes, codes0) << workers << " workers";
        kSize differ = 0;
        for (kSize p = 0; p < phases.size(); ++p)
            differ += phases[p].phase != phases0[p].phase ||
                      phases[p].contrast != phases0[p].contrast ||
                      phases[p].intensity != phases0[p].intensity;
        EXPECT_EQ(differ, 0u) << workers << " workers";
        kObject_Destroy(queue);
    }
}

TEST_F(EmbeddedPhase, RefusalsAndStates)
{
    const kSize w = 8, h = 4;
    const std::vector<kSize> counts{5, 5};
    Decoder<> decoder(w, h, {7, 98}, counts);
    Map<k8u> codes(kTypeOf(k8u), h, w), shortCodes(kTypeOf(k8u), h - 1, w);
    Map<kPhasePixel> phases(kTypeOf(kPhasePixel), h, w);
    Map<k16s> wrongType(kTypeOf(k16s), h, w);
    Frame frame(w, h), small(w - 1, h), wide(w, h, nullptr, kTypeOf(k16u));

    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, frame), kSTATUS_BAD_STATE) << "before Begin";
    kS3dEmbeddedPhaseDecoder empty = kNULL;
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Construct(&empty, kNULL), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Setup(empty), kSTATUS_BAD_PARAMETER) << "no sequence";
    kObject_Destroy(empty);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Begin(decoder, shortCodes, phases), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Begin(decoder, codes, wrongType), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Begin(decoder, codes, phases), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, small), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, wide), kSTATUS_BAD_PARAMETER);
    std::vector<k8u> paddedPixels((w + 4) * h);
    kImage padded = kNULL;
    ASSERT_EQ(kImage_Construct(&padded, kTypeOf(k8u), 0, 0, kNULL), kOK);
    ASSERT_EQ(kImage_Attach(padded, paddedPixels.data(), kTypeOf(k8u), w, h, w + 4), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, padded), kSTATUS_BAD_PARAMETER) << "stride";
    kObject_Destroy(padded);
    EXPECT_FALSE(kS3dEmbeddedPhaseDecoder_IsComplete(decoder));
    for (int f = 0; f < 10; ++f)
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, frame), kOK);
    EXPECT_TRUE(kS3dEmbeddedPhaseDecoder_IsComplete(decoder));
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, frame), kSTATUS_BAD_STATE) << "complete";

    // Settings.
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetOrientation(decoder, 4), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetOrientation(decoder, 3), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Orientation(decoder), 3);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 32768), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_PhasePeriod(decoder), 1u);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_ContrastThreshold(decoder), 10u);
    kArrayList list = kNULL;
    ASSERT_EQ(kArrayList_Construct(&list, kTypeOf(kArray1), 0, kNULL), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 1, list),
              kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 0, codes),
              kSTATUS_BAD_PARAMETER);
    kObject_Destroy(list);

    // Sequence info.
    k64f coefficients[2] = {};
    kSize steps[2] = {}, count = 0;
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SequenceInfo(decoder, coefficients, steps, 1, &count),
              kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SequenceInfo(decoder, coefficients, steps, 2, &count), kOK);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(coefficients[1], 98.0);
    EXPECT_EQ(steps[1], 5u);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SequenceLength(decoder), 10u);
    const k64f zero[1] = {0};
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, zero, steps, 1),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, coefficients, steps, 0),
              kSTATUS_BAD_PARAMETER);
    const k64f infinite[2] = {7, INFINITY}, huge[2] = {7, 65537};
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, infinite, steps, 2),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, huge, steps, 2),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_SequenceLength(decoder), 10u) << "unchanged";

    // More than 30 steps: refused by Setup.
    const kSize tooMany[2] = {5, 31};
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, coefficients, tooMany, 2), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Setup(decoder), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Begin(decoder, codes, phases), kSTATUS_BAD_PARAMETER);

    // One frequency: accepted, decoded, refused when its last frame arrives.
    const k64f one[1] = {7};
    const kSize five[1] = {5};
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, one, five, 1), kOK);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Begin(decoder, codes, phases), kOK);
    for (int f = 0; f < 4; ++f)
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, frame), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, frame), kSTATUS_BAD_PARAMETER);

    kObject clone = kNULL;
    EXPECT_EQ(kObject_Clone(&clone, decoder, kNULL), kSTATUS_NOT_IMPLEMENTED);
}

TEST_F(EmbeddedPhase, NothingIsWrittenOutsideTheOutputs)
{
    ksim::FringeCamera camera(OrientedScene(0, 1040, 20));
    const ksim::EmbeddedPhaseScan scan =
        ksim::RenderEmbeddedPhase(camera, {7, 7, 14}, {5, 5, 5}, 686, 1000);
    const kSize w = camera.Width(), h = camera.Height(), guard = 2 * w;
    std::vector<k8u> codeBuffer(w * h + 2 * guard, 0xA5);
    std::vector<kPhasePixel> phaseBuffer(w * h + 2 * guard, kPhasePixel{0x5A, 0x5A, 0x5A5A});
    kArray2 codes = kNULL, phases = kNULL;
    ASSERT_EQ(kArray2_Construct(&codes, kTypeOf(k8u), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Construct(&phases, kTypeOf(kPhasePixel), 0, 0, kNULL), kOK);
    ASSERT_EQ(kArray2_Attach(codes, kTypeOf(k8u), codeBuffer.data() + guard, h, w), kOK);
    ASSERT_EQ(kArray2_Attach(phases, kTypeOf(kPhasePixel), phaseBuffer.data() + guard, h, w), kOK);

    kVsJobQueue queue = kNULL;
    ASSERT_EQ(kVsJobQueue_Construct(&queue, 3, kNULL), kOK);
    Decoder<> decoder(w, h, {7, 7, 14}, {5, 5, 5});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetJobQueue(decoder, queue), kOK);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Begin(decoder, codes, phases), kOK);
    for (const auto& pixels : scan.frames)
    {
        Frame frame(w, h, pixels);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_Update(decoder, frame), kOK);
    }
    for (kSize i = 0; i < guard; ++i)
    {
        ASSERT_EQ(codeBuffer[i], 0xA5);
        ASSERT_EQ(codeBuffer[guard + w * h + i], 0xA5);
        ASSERT_EQ(phaseBuffer[i].phase, 0x5A5A);
        ASSERT_EQ(phaseBuffer[guard + w * h + i].phase, 0x5A5A);
        ASSERT_EQ(phaseBuffer[guard + w * h + i].contrast, 0x5A);
    }
    kObject_Destroy(codes);
    kObject_Destroy(phases);
    kObject_Destroy(queue);
}

TEST_F(EmbeddedPhase, AllocationFailureAtEveryStepLeavesNothingBehind)
{
    const kSize w = 16, h = 6;
    std::vector<std::vector<double>> phi(3, std::vector<double>(w * h));
    for (kSize p = 0; p < w * h; ++p)
        for (kSize i = 0; i < 3; ++i)
            phi[i][p] = std::fmod(0.37 * p + 0.2 * i, 1.0);
    const Frames frames = PhaseFrames(phi, {5, 5, 5});
    for (bool record : {false, true})
    {
        kArrayList states = kNULL;
        ASSERT_EQ(kArrayList_Construct(&states, kTypeOf(kArray1), 0, kNULL), kOK);
        const kSize steps = ktest::ExpectCleanFailures(
            [&](kAlloc alloc, kObject* handle) -> kStatus
            {
                const k64f coefficients[3] = {7, 7, 14};
                const kSize counts[3] = {5, 5, 5};
                kS3dEmbeddedPhaseDecoder decoder = kNULL;
                Map<k8u> codes(kTypeOf(k8u), h, w);
                Map<kPhasePixel> phases(kTypeOf(kPhasePixel), h, w);
                kStatus status;
                kTest(kS3dEmbeddedPhaseDecoder_Construct(&decoder, alloc));
                kTest(kS3dEmbeddedPhaseDecoder_SetImageSize(decoder, w, h));
                kTest(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, coefficients, counts, 3));
                kTest(kS3dEmbeddedPhaseDecoder_Setup(decoder));
                if (record) kTest(kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(decoder, 0, states));
                kTest(kS3dEmbeddedPhaseDecoder_Begin(decoder, codes, phases));
                for (const auto& pixels : frames)
                {
                    Frame frame(w, h, pixels);
                    kTest(kS3dEmbeddedPhaseDecoder_Update(decoder, frame));
                }
                status = kOK;
                *handle = decoder;
                decoder = kNULL;
            cleanup:
                kObject_Destroy(decoder);
                // The recorded copies come from the allocator under test: free them with it.
                kObject_Dispose(states);
                EXPECT_EQ(kArrayList_Construct(&states, kTypeOf(kArray1), 0, kNULL), kOK);
                return status;
            });
        EXPECT_GT(steps, 10u);
        kObject_Dispose(states);
    }
}

TEST_F(EmbeddedPhase, IntegerProductsAreExactForEveryRunLength)
{
    std::mt19937 random(3);
    for (kSize count : {0u, 1u, 7u, 16u, 33u, 1000u})
    {
        std::vector<k8u> pixels(count);
        for (k8u& p : pixels)
            p = (k8u)random();
        std::vector<k32s> pairs(2 * count + 2, 12345), expected(2 * count + 2, 12345);
        const k32s a = -419430, b = 398893;
        kS3dEmbeddedPhaseDecoderInt_MatrixMul_32s_8u(pairs.data(), pixels.data(), count, a, b,
                                                     kTRUE);
        kS3dEmbeddedPhaseDecoderInt_MatrixMul_32s_8u(pairs.data(), pixels.data(), count, b, a,
                                                     kFALSE);
        for (kSize i = 0; i < count; ++i)
        {
            expected[2 * i] = (k32s)((k64s)pixels[i] * a + (k64s)pixels[i] * b);
            expected[2 * i + 1] = expected[2 * i];
        }
        EXPECT_EQ(pairs, expected) << count << " pixels; the guard pair stays";
    }
}

TEST_F(EmbeddedPhase, IntegerDecoderAgreesWithTheFloatDecoder)
{
    const double P = 4096;
    for (int orientation : {0, 3})
    {
        ksim::FringeCamera camera(OrientedScene(orientation));
        const ksim::EmbeddedPhaseScan scan =
            ksim::RenderEmbeddedPhase(camera, {7, 7, 14}, {5, 5, 5}, 686, P);
        std::vector<k8u> codes, intCodes;
        std::vector<kPhasePixel> phases, intPhases;
        Decoder<> real(camera.Width(), camera.Height(), {7, 7, 14}, {5, 5, 5});
        Decoder<true> fixed(camera.Width(), camera.Height(), {7, 7, 14}, {5, 5, 5});
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetOrientation(real, orientation), kOK);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_SetOrientation(fixed, orientation), kOK);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(real, (kSize)P), kOK);
        ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_SetPhasePeriod(fixed, (kSize)P), kOK);
        ASSERT_EQ(real.Decode(scan.frames, codes, phases), kOK);
        ASSERT_EQ(fixed.Decode(scan.frames, intCodes, intPhases), kOK);

        kSize sameCode = 0, worstPhase = 0;
        for (kSize p = 0; p < codes.size(); ++p)
        {
            sameCode += codes[p] == intCodes[p];
            EXPECT_EQ(phases[p].contrast, intPhases[p].contrast);
            EXPECT_EQ(phases[p].intensity, intPhases[p].intensity);
            if (phases[p].phase == k16S_NULL || intPhases[p].phase == k16S_NULL)
            {
                EXPECT_EQ(phases[p].phase, intPhases[p].phase) << p;
                continue;
            }
            const double e =
                std::fabs(ksim::WrappedPhaseError(phases[p].phase, intPhases[p].phase, P));
            worstPhase = std::max(worstPhase, (kSize)e);
        }
        const Figures f = Measure(camera, scan, intCodes, intPhases, P);
        std::printf("[ figures  ] integer, orientation %d: same code %.5f, worst phase step %zu "
                    "of %.0f, order right %.4f, column RMS %.4f\n",
                    orientation, (double)sameCode / codes.size(), worstPhase, P, f.orderRate,
                    f.columnRms);
        EXPECT_GE((double)sameCode / codes.size(), 0.999);
        EXPECT_LE(worstPhase, 2u) << "in 1/4096 of a period";
        EXPECT_GE(f.orderRate, 0.99);
        EXPECT_LT(f.columnRms, 0.05);
    }
}

TEST_F(EmbeddedPhase, IntegerDecoderRefusalsStatesAndAllocationFailure)
{
    const kSize w = 12, h = 5;
    std::vector<std::vector<double>> phi(2, std::vector<double>(w * h));
    for (kSize p = 0; p < w * h; ++p)
    {
        phi[0][p] = std::fmod(0.29 * p, 1.0);
        phi[1][p] = phi[0][p] + 0.4;
    }
    const Frames frames = PhaseFrames(phi, {4, 6});
    Decoder<true> decoder(w, h, {7, 98}, {4, 6});
    kArrayList states = kNULL;
    ASSERT_EQ(kArrayList_Construct(&states, kTypeOf(kArray1), 0, kNULL), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_SetPhaseArrayStates(decoder, 2, states),
              kSTATUS_NOT_IMPLEMENTED);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_SetPhaseArrayStates(decoder, 0, states), kOK);
    std::vector<k8u> codes;
    std::vector<kPhasePixel> phases;
    ASSERT_EQ(decoder.Decode(frames, codes, phases), kOK);
    ASSERT_EQ(kArrayList_Count(states), 4u);
    kArray2 wrapped = *kArray1_AtT<kArray2>(*kArrayList_AtT<kArray1>(states, 0), 0);
    ASSERT_EQ(kArray2_ItemType(wrapped), kTypeOf(k32s));
    for (kSize p = 0; p < w * h; ++p)
    {
        const double e = std::fabs(kArray2_DataT<k32s>(wrapped)[p] / 65536.0 - phi[0][p]);
        EXPECT_LT(std::min(e, 1 - e), 2e-3) << p;
    }
    kObject_Dispose(states);

    Frame frame(w, h), small(w, h - 1);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_Update(decoder, frame), kSTATUS_BAD_STATE);
    EXPECT_TRUE(kS3dEmbeddedPhaseDecoderInt_IsComplete(decoder));
    EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_SequenceLength(decoder), 10u);
    Map<k8u> codeMap(kTypeOf(k8u), h, w);
    Map<kPhasePixel> phaseMap(kTypeOf(kPhasePixel), h, w);
    ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_Begin(decoder, codeMap, phaseMap), kOK);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_Update(decoder, small), kSTATUS_BAD_PARAMETER);

    ktest::ExpectCleanFailures(
        [&](kAlloc alloc, kObject* handle) -> kStatus
        {
            const k64f coefficients[2] = {7, 98};
            const kSize counts[2] = {4, 6};
            kS3dEmbeddedPhaseDecoderInt d = kNULL;
            kStatus status;
            kTest(kS3dEmbeddedPhaseDecoderInt_Construct(&d, alloc));
            kTest(kS3dEmbeddedPhaseDecoderInt_SetImageSize(d, w, h));
            kTest(kS3dEmbeddedPhaseDecoderInt_SetSequenceInfo(d, coefficients, counts, 2));
            kTest(kS3dEmbeddedPhaseDecoderInt_Begin(d, codeMap, phaseMap));
            for (const auto& pixels : frames)
            {
                Frame f(w, h, pixels);
                kTest(kS3dEmbeddedPhaseDecoderInt_Update(d, f));
            }
            *handle = d;
            return kOK;
        cleanup:
            kObject_Destroy(d);
            return status;
        });
}

TEST_F(EmbeddedPhase, IntegerMapStepsInFixedPoint)
{
    const k32s N = k32S_NULL, one = 65536;
    auto map = [](kSize rows, kSize cols, std::vector<k32s> v)
    {
        auto m = std::make_unique<Map<k32s>>(kTypeOf(k32s), rows, cols);
        std::copy(v.begin(), v.end(), m->Data());
        return m;
    };
    auto a = map(1, 3, {one / 4, one / 8, N});
    auto b = map(1, 3, {one / 8, one / 2, 0});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_SubtractPhase(*a, *b), kOK);
    EXPECT_EQ((*a)[0], one / 8);
    EXPECT_EQ((*a)[1], one - 3 * one / 8);
    EXPECT_EQ((*a)[2], N);

    // Line of 11: the threshold runs from −6554 to +6554 (0.1 period).
    auto d = map(1, 11, {-3000, -7000, 0, 0, 0, 0, 0, 0, 0, 0, 3000});
    auto zero = map(1, 11, std::vector<k32s>(11, 0));
    ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_SubtractPhaseBase(*d, *zero, 0), kOK);
    EXPECT_EQ((*d)[0], 0);
    EXPECT_EQ((*d)[1], one - 7000);
    EXPECT_EQ((*d)[5], 0);
    EXPECT_EQ((*d)[10], one + 3000);

    auto fine = map(1, 4, {59000, 6554, 59000, 3277});
    auto coarse = map(1, 4, {one / 2, one / 2, 0, 65530});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_BaseRamp(7, *fine, 686, *coarse), kOK);
    const k32s orders[4] = {48, 49, 0, 97};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ((*coarse)[i], orders[i]) << i;

    auto order = map(1, 2, {3, N});
    auto phase = map(1, 2, {one / 2, 0});
    ASSERT_EQ(kS3dEmbeddedPhaseDecoderInt_Unwrap(49, *phase, 686, *order), kOK);
    EXPECT_EQ((*order)[0], one / 4);
    EXPECT_EQ((*order)[1], N);

    Map<k32f> real(kTypeOf(k32f), 1, 3);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_SubtractPhase(*a, real), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEmbeddedPhaseDecoderInt_Unwrap(0, *a, 686, *b), kSTATUS_BAD_PARAMETER);
}

TEST_F(EmbeddedPhase, TinyAndEmptyImages)
{
    for (auto [w, h] : {std::pair<kSize, kSize>{1, 1}, {2, 2}, {3, 1}, {1, 9}, {0, 4}, {5, 0}})
    {
        std::vector<std::vector<double>> phi(2, std::vector<double>(w * h, 0.3));
        const Frames frames = PhaseFrames(phi, {5, 5});
        for (kSize workers : {0u, 3u})
        {
            kVsJobQueue queue = kNULL;
            if (workers)
            {
                ASSERT_EQ(kVsJobQueue_Construct(&queue, workers, kNULL), kOK);
            }
            Decoder<> decoder(w, h, {7, 98}, {5, 5});
            ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetJobQueue(decoder, queue), kOK);
            ASSERT_EQ(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, 1000), kOK);
            std::vector<k8u> codes;
            std::vector<kPhasePixel> phases;
            ASSERT_EQ(decoder.Decode(frames, codes, phases), kOK) << w << " x " << h;
            for (kSize p = 0; p < w * h; ++p)
                EXPECT_NEAR(phases[p].phase, 700, 3) << "(1 − 0.3) × 1000";
            kObject_Destroy(queue);
        }
    }
}
