// Phase decoder: exact cases, a slow 64-bit reference on random frames, rendered fringe scenes
// with known phase, every refusal, and allocation failure at every step.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dPhaseDecoder.h>
#include <kTessel/kCudaUtils.h>

#include <kSimFringe.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

using ktest::Frame;
using ktest::Map;

static bool operator==(const kPhasePixel& a, const kPhasePixel& b)
{
    return a.contrast == b.contrast && a.intensity == b.intensity && a.phase == b.phase;
}

namespace
{
constexpr double kTwoPi = 6.283185307179586476925286766559;

/* Deliberately plain: 64-bit sums over all frames, the tables built here, one pixel at a time. */
class Reference
{
public:
    Reference(k32s count, k32s period, k32s threshold, bool exact)
        : m_count(count), m_period(period), m_threshold(threshold), m_exact(exact)
    {
        for (k32s i = 0; i < count; ++i)
        {
            m_cos.push_back(std::lround(16384.0 * std::cos(kTwoPi * i / count)));
            m_sin.push_back(std::lround(16384.0 * std::sin(kTwoPi * i / count)));
        }
        for (k64s i = 0; i <= 65536; ++i)
            m_arctan.push_back(std::lround(period * std::atan((double)i / 65536.0) / kTwoPi));
    }

    k64s SinSum(const std::vector<k8u>& samples) const { return Dot(samples, m_sin); }
    k64s CosSum(const std::vector<k8u>& samples) const { return Dot(samples, m_cos); }

    kPhasePixel Pixel(const std::vector<k8u>& samples) const
    {
        k64s sum = 0;
        k32s lo = 255, hi = 0;
        for (k8u p : samples)
        {
            sum += p;
            lo = std::min<k32s>(lo, p);
            hi = std::max<k32s>(hi, p);
        }
        kPhasePixel out;
        out.contrast = (k8u)(hi - lo);
        out.intensity = (k8u)((sum * (256 / m_count)) >> 8);
        out.phase = hi - lo > m_threshold ? Phase(SinSum(samples), CosSum(samples)) : k16S_NULL;
        return out;
    }

    std::vector<kPhasePixel> Decode(const std::vector<std::vector<k8u>>& frames) const
    {
        std::vector<kPhasePixel> out(frames[0].size());
        std::vector<k8u> samples(frames.size());
        for (kSize i = 0; i < out.size(); ++i)
        {
            for (kSize f = 0; f < frames.size(); ++f)
                samples[f] = frames[f][i];
            out[i] = Pixel(samples);
        }
        return out;
    }

private:
    static k64s Dot(const std::vector<k8u>& samples, const std::vector<k64s>& table)
    {
        k64s s = 0;
        for (kSize i = 0; i < samples.size(); ++i)
            s += samples[i] * table[i];
        return s;
    }

    k16s Phase(k64s s, k64s c) const
    {
        k64s phase;
        if (m_exact)
        {
            phase = (k64s)std::round(std::atan2((double)s, (double)c) / kTwoPi * m_period);
        }
        else
        {
            k64s a = std::llabs(s), b = std::llabs(c), value;
            if (a < b && b / 4096 != 0)
            {
                k64s t = m_arctan[std::min<k64s>(a * 16 / (b / 4096), 65536)];
                value = c > 0 ? t : m_period / 2 - t;
            }
            else if (a / 4096 != 0)
            {
                k64s t = m_arctan[std::min<k64s>(b * 16 / (a / 4096), 65536)];
                value = c > 0 ? m_period / 4 - t : m_period / 4 + t;
            }
            else
            {
                return k16S_NULL;
            }
            phase = s > 0 ? value : -value;
        }
        return (k16s)(phase < 0 ? phase + m_period : phase);
    }

    k32s m_count, m_period, m_threshold;
    bool m_exact;
    std::vector<k64s> m_cos, m_sin, m_arctan;
};

/* A decoder owned by the test. */
class Decoder
{
public:
    Decoder(kSize width, kSize height, kSize count, k32u period, bool exact = false,
            kAlloc alloc = kNULL)
        : m_width(width), m_height(height)
    {
        EXPECT_EQ(kS3dPhaseDecoder_Construct(&m_decoder, alloc), kOK);
        EXPECT_EQ(kS3dPhaseDecoder_SetImageSize(m_decoder, width, height), kOK);
        EXPECT_EQ(kS3dPhaseDecoder_SetImageCount(m_decoder, count), kOK);
        EXPECT_EQ(kS3dPhaseDecoder_SetPhasePeriod(m_decoder, period), kOK);
        EXPECT_EQ(kS3dPhaseDecoder_EnableExactArctan(m_decoder, exact), kOK);
    }
    ~Decoder() { kObject_Destroy(m_decoder); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    operator kS3dPhaseDecoder() const { return m_decoder; }

    /* Decodes frames fed in the given order (default: 0 … N − 1). */
    std::vector<kPhasePixel> Decode(const std::vector<std::vector<k8u>>& frames,
                                    std::vector<kSize> order = {})
    {
        if (order.empty())
        {
            order.resize(frames.size());
            std::iota(order.begin(), order.end(), 0);
        }
        Map<kPhasePixel> output(kTypeOf(kPhasePixel), m_height, m_width);
        EXPECT_EQ(kS3dPhaseDecoder_Begin(m_decoder, output), kOK);
        for (kSize index : order)
        {
            Frame frame(m_width, m_height, frames[index]);
            EXPECT_EQ(kS3dPhaseDecoder_Update(m_decoder, index, frame), kOK);
        }
        EXPECT_TRUE(kS3dPhaseDecoder_IsComplete(m_decoder));
        return output.Values();
    }

private:
    kS3dPhaseDecoder m_decoder = kNULL;
    kSize m_width, m_height;
};

/* N frames of one pixel each, repeated over a width × height image. */
std::vector<std::vector<k8u>> Uniform(const std::vector<k8u>& samples, kSize area)
{
    std::vector<std::vector<k8u>> frames;
    for (k8u s : samples)
        frames.emplace_back(area, s);
    return frames;
}

std::vector<std::vector<k8u>> RandomFrames(kSize count, kSize area, std::mt19937& random)
{
    std::vector<std::vector<k8u>> frames(count, std::vector<k8u>(area));
    // Mostly wide-range fringes, with runs of saturated and black samples.
    for (auto& frame : frames)
        for (k8u& p : frame)
        {
            k32u r = random();
            p = (r & 15) == 0 ? 255 : (r & 15) == 1 ? 0 : (k8u)(r >> 8);
        }
    return frames;
}

class PhaseDecoder : public ktest::SolanSuite
{
};
} // namespace

TEST_F(PhaseDecoder, FourStepCasesGiveTheDocumentedPhases)
{
    // 37 × 3: whole vectors and a partial one.
    const kSize w = 37, h = 3;
    for (bool exact : {false, true})
    {
        Decoder decoder(w, h, 4, 32767, exact);
        std::vector<kPhasePixel> a = decoder.Decode(Uniform({200, 100, 0, 100}, w * h));
        std::vector<kPhasePixel> b = decoder.Decode(Uniform({100, 200, 100, 0}, w * h));
        for (kSize i = 0; i < w * h; ++i)
        {
            EXPECT_EQ(a[i].phase, 0);
            EXPECT_EQ(a[i].contrast, 200);
            EXPECT_EQ(a[i].intensity, 100);
            EXPECT_EQ(b[i].phase, exact ? 8192 : 8191) << (exact ? "exact" : "table");
        }
    }
}

TEST_F(PhaseDecoder, ContrastMustExceedTheThreshold)
{
    Decoder decoder(9, 1, 4, 1000);
    ASSERT_EQ(kS3dPhaseDecoder_SetContrastThreshold(decoder, 10), kOK);
    EXPECT_EQ(kS3dPhaseDecoder_ContrastThreshold(decoder), 10);
    EXPECT_EQ(decoder.Decode(Uniform({100, 110, 100, 100}, 9))[8].phase, k16S_NULL);
    kPhasePixel above = decoder.Decode(Uniform({100, 111, 100, 100}, 9))[8];
    EXPECT_EQ(above.contrast, 11);
    EXPECT_EQ(above.phase, 250); // S > 0, C = 0: a quarter period
}

TEST_F(PhaseDecoder, SmallSumsAreInvalidForTheTableOnly)
{
    // N = 5: these samples leave S = 0 and |C| well below 4096 with a contrast of 34.
    const std::vector<k8u> samples = {0, 34, 13, 13, 34};
    Reference ref(5, 32767, 10, false);
    ASSERT_LT(std::llabs(ref.CosSum(samples)), 4096);
    ASSERT_LT(std::llabs(ref.SinSum(samples)), 4096);
    Decoder table(3, 3, 5, 32767, false), exact(3, 3, 5, 32767, true);
    EXPECT_EQ(table.Decode(Uniform(samples, 9))[4].phase, k16S_NULL);
    EXPECT_EQ(exact.Decode(Uniform(samples, 9))[4].phase, 16384); // atan2(0, C < 0) = π
}

TEST_F(PhaseDecoder, MatchesTheSlowReferenceBitForBit)
{
    std::mt19937 random(7);
    struct Case
    {
        kSize width, height, count;
        k32u period;
        k32s threshold;
    };
    for (const Case& c :
         {Case{1, 1, 3, 1, 10}, Case{2, 2, 4, 32767, 0}, Case{13, 7, 5, 320, 10},
          Case{64, 3, 8, 1000, 25}, Case{31, 5, 7, 12345, -1}, Case{17, 9, 31, 32767, 10},
          Case{40, 2, 3, 7, 250}, Case{37, 11, 8, 1024, 10}, Case{300, 3, 4, 32767, 5}})
    {
        std::vector<std::vector<k8u>> frames = RandomFrames(c.count, c.width * c.height, random);
        for (bool exact : {false, true})
        {
            Decoder decoder(c.width, c.height, c.count, c.period, exact);
            ASSERT_EQ(kS3dPhaseDecoder_SetContrastThreshold(decoder, c.threshold), kOK);
            Reference ref((k32s)c.count, (k32s)c.period, c.threshold, exact);
            std::vector<kPhasePixel> expected = ref.Decode(frames), got = decoder.Decode(frames);
            for (kSize i = 0; i < expected.size(); ++i)
                ASSERT_TRUE(got[i] == expected[i])
                    << c.width << "x" << c.height << " N=" << c.count << " P=" << c.period
                    << (exact ? " exact" : " table") << " pixel " << i << ": " << got[i].phase
                    << " vs " << expected[i].phase;
        }
    }
}

TEST_F(PhaseDecoder, FrameOrderAndRepeatedFirstFrames)
{
    std::mt19937 random(11);
    const kSize w = 23, h = 5, n = 6;
    std::vector<std::vector<k8u>> frames = RandomFrames(n, w * h, random);
    Decoder decoder(w, h, n, 4000);
    std::vector<kPhasePixel> inOrder = decoder.Decode(frames);
    std::vector<kPhasePixel> reversed = decoder.Decode(frames, {5, 4, 3, 2, 1, 0});
    EXPECT_TRUE(std::equal(inOrder.begin(), inOrder.end(), reversed.begin()));

    // A first frame delivered twice: the second delivery starts the sums again.
    Map<kPhasePixel> output(kTypeOf(kPhasePixel), h, w);
    ASSERT_EQ(kS3dPhaseDecoder_Begin(decoder, output), kOK);
    EXPECT_FALSE(kS3dPhaseDecoder_IsComplete(decoder));
    Frame noise(w, h, RandomFrames(1, w * h, random)[0]);
    ASSERT_EQ(kS3dPhaseDecoder_Update(decoder, 3, noise), kOK);
    for (kSize index : {3, 0, 1, 2, 4, 5})
    {
        Frame frame(w, h, frames[index]);
        ASSERT_EQ(kS3dPhaseDecoder_Update(decoder, index, frame), kOK);
        EXPECT_EQ(kS3dPhaseDecoder_IsComplete(decoder), index == 5);
    }
    std::vector<kPhasePixel> again = output.Values();
    EXPECT_TRUE(std::equal(inOrder.begin(), inOrder.end(), again.begin()));
}

TEST_F(PhaseDecoder, RefusalsLeaveTheOutputAlone)
{
    const kSize w = 8, h = 4;
    Decoder decoder(w, h, 4, 100);
    Map<kPhasePixel> output(kTypeOf(kPhasePixel), h, w);
    const kPhasePixel sentinel = {1, 2, 3};
    output.Fill(sentinel);
    Frame frame(w, h, std::vector<k8u>(w * h, 50));

    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 0, frame), kSTATUS_BAD_STATE); // before Begin

    EXPECT_EQ(kS3dPhaseDecoder_SetImageCount(decoder, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_SetImageCount(decoder, 32), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_ImageCount(decoder), 4u);
    EXPECT_EQ(kS3dPhaseDecoder_SetPhasePeriod(decoder, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_SetPhasePeriod(decoder, 32768), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_PhasePeriod(decoder), 100u);

    Map<kPhasePixel> wrongShape(kTypeOf(kPhasePixel), w, h);
    Map<k32u> wrongType(kTypeOf(k32u), h, w);
    EXPECT_EQ(kS3dPhaseDecoder_Begin(decoder, wrongShape), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_Begin(decoder, wrongType), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_Begin(decoder, frame), kSTATUS_BAD_PARAMETER); // not an array
    EXPECT_EQ(kS3dPhaseDecoder_Begin(decoder, kNULL), kSTATUS_BAD_PARAMETER);

    ASSERT_EQ(kS3dPhaseDecoder_Begin(decoder, output), kOK);
    kImage padded = kNULL, wide = kNULL, deep = kNULL;
    ASSERT_EQ(kImage_ConstructEx(&padded, kTypeOf(k8u), w, h, 64, kNULL), kOK);
    ASSERT_EQ(kImage_Construct(&wide, kTypeOf(k8u), w + 1, h, kNULL), kOK);
    ASSERT_EQ(kImage_Construct(&deep, kTypeOf(k16u), w, h, kNULL), kOK);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 4, frame), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 0, padded), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 0, wide), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 0, deep), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 0, output), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(padded);
    kObject_Destroy(wide);
    kObject_Destroy(deep);

    // Settings changed under an open sequence: refused until the next Begin.
    ASSERT_EQ(kS3dPhaseDecoder_Update(decoder, 0, frame), kOK);
    ASSERT_EQ(kS3dPhaseDecoder_SetImageCount(decoder, 5), kOK);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 4, frame), kSTATUS_BAD_STATE);
    ASSERT_EQ(kS3dPhaseDecoder_SetImageCount(decoder, 4), kOK);
    ASSERT_EQ(kS3dPhaseDecoder_SetImageSize(decoder, w, h + 1), kOK);
    Frame taller(w, h + 1, std::vector<k8u>(w * (h + 1), 50));
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 1, taller), kSTATUS_BAD_STATE);
    ASSERT_EQ(kS3dPhaseDecoder_SetImageSize(decoder, w, h), kOK);
    for (kSize i = 0; i < output.Count(); ++i)
        ASSERT_TRUE(output[i] == sentinel);

    for (kSize index : {1, 2, 3})
        ASSERT_EQ(kS3dPhaseDecoder_Update(decoder, index, frame), kOK);
    EXPECT_TRUE(kS3dPhaseDecoder_IsComplete(decoder));
    EXPECT_EQ(output[0].phase, k16S_NULL); // flat: no contrast
    output.Fill(sentinel);
    EXPECT_EQ(kS3dPhaseDecoder_Update(decoder, 2, frame), kSTATUS_BAD_STATE); // complete
    EXPECT_TRUE(output[0] == sentinel);

    kObject copy = kNULL;
    EXPECT_EQ(kObject_Clone(&copy, decoder, kNULL), kSTATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(copy, kNULL);
}

TEST_F(PhaseDecoder, SettingsSizeAndTheHostFallback)
{
    kS3dPhaseDecoder decoder = kNULL;
    ASSERT_EQ(kS3dPhaseDecoder_ConstructEx(&decoder, kTRUE, kNULL), kOK);
    EXPECT_EQ(kS3dPhaseDecoder_CudaEnabled(decoder), kCudaDevice_IsAvailable(kTRUE));
    kSize w = 0, h = 0;
    ASSERT_EQ(kS3dPhaseDecoder_ImageSize(decoder, &w, &h), kOK);
    EXPECT_EQ(w, 1u);
    EXPECT_EQ(h, 1u);
    EXPECT_EQ(kS3dPhaseDecoder_ImageCount(decoder), 1u);
    EXPECT_EQ(kS3dPhaseDecoder_ContrastThreshold(decoder), 10);
    EXPECT_EQ(kS3dPhaseDecoder_PhasePeriod(decoder), 1u);
    EXPECT_FALSE(kS3dPhaseDecoder_ExactArctanEnabled(decoder));
    EXPECT_EQ(kS3dPhaseDecoder_SetCudaStream(decoder, kNULL), kOK);
    EXPECT_EQ(kObject_Size(decoder),
              kType_InnerSize(kTypeOf(kS3dPhaseDecoder))); // nothing built yet

    ASSERT_EQ(kS3dPhaseDecoder_SetImageSize(decoder, 10, 6), kOK);
    ASSERT_EQ(kS3dPhaseDecoder_SetImageCount(decoder, 8), kOK);
    ASSERT_EQ(kS3dPhaseDecoder_Setup(decoder), kOK);
    // Accumulators of 12 bytes, a 65537-entry table and two 8-entry tables at least.
    EXPECT_GE(kObject_Size(decoder), 60u * 12 + 65537u * 4 + 2 * 8 * 2);
    EXPECT_EQ(kObject_Destroy(decoder), kOK);
}

TEST_F(PhaseDecoder, AllocationFailureAtEveryStepLeavesNothing)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out)
                               { return kS3dPhaseDecoder_Construct(out, alloc); });

    // Setup allocates tables and accumulators: fail each allocation once, then recover.
    const std::vector<std::vector<k8u>> frames = Uniform({200, 100, 0, 100}, 6);
    for (kSize step = 0;; ++step)
    {
        ktest::CountingAlloc alloc;
        Decoder decoder(3, 2, 4, 32767, false, alloc);
        Map<kPhasePixel> output(kTypeOf(kPhasePixel), 2, 3);
        kCountingAlloc_SetFailAfter(alloc, step);
        kStatus status = kS3dPhaseDecoder_Begin(decoder, output);
        kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
        if (kSuccess(status)) break;
        EXPECT_EQ(status, kSTATUS_MEMORY) << "step " << step;
        std::vector<kPhasePixel> out = decoder.Decode(frames);
        EXPECT_EQ(out[5].phase, 0) << "step " << step;
        ASSERT_LT(step, 20u);
    }
}

TEST_F(PhaseDecoder, RenderedFringesDecodeToTheirPhase)
{
    // 640 × 480 over a smooth non-linear column map; fringes of 16 projector columns, slightly
    // defocused projector pixels.
    const double period = 16, P = 320;
    ksim::Scene scene;
    scene.column = ksim::SmoothColumns(40, 0.9, 0.1, 6, 260);
    scene.albedo = ksim::SmoothAlbedo(0.7, 1.0, 640, 480);
    scene.gain = 0.9;
    scene.ambient = 10;
    scene.blurSigma = 0.6;
    scene.noiseSigma = 2;
    scene.projectorBlur = 0.5;
    scene.seed = 2024;
    ksim::FringeCamera camera(scene);
    const ksim::Truth& truth = camera.GroundTruth();
    const kSize area = 640 * 480, projector = 720;

    for (kSize n : {3, 4, 5, 8})
    {
        std::vector<std::vector<k8u>> frames;
        for (kSize i = 0; i < n; ++i)
            frames.push_back(
                camera.Render(ksim::PhaseShiftRow(projector, period, i, n).data(), projector));

        Decoder table(640, 480, n, (k32u)P), exact(640, 480, n, (k32u)P, true);
        std::vector<kPhasePixel> decoded = table.Decode(frames);
        std::vector<kPhasePixel> precise = exact.Decode(frames);

        Reference ref((k32s)n, (k32s)P, 10, false);
        double sumSq = 0, worst = 0;
        kSize valid = 0, large = 0;
        std::vector<k8u> samples(n);
        for (kSize i = 0; i < area; ++i)
        {
            if (decoded[i].contrast <= 10) continue;
            ASSERT_NE(decoded[i].phase, k16S_NULL) << "pixel " << i;
            double e = ksim::WrappedPhaseError(decoded[i].phase,
                                               ksim::ExpectedPhase(truth.column[i], period, P), P);
            sumSq += e * e;
            worst = std::max(worst, std::fabs(e));
            ++valid;

            for (kSize f = 0; f < n; ++f)
                samples[f] = frames[f][i];
            if (std::max(std::llabs(ref.SinSum(samples)), std::llabs(ref.CosSum(samples))) >=
                (1 << 20))
            {
                ++large;
                ASSERT_LE(std::fabs(ksim::WrappedPhaseError(decoded[i].phase, precise[i].phase, P)),
                          1.0)
                    << "N=" << n << " pixel " << i;
            }
        }
        double rms = std::sqrt(sumSq / valid);
        EXPECT_GT(valid, area * 99 / 100) << "N=" << n;
        EXPECT_GT(large, valid / 2) << "N=" << n;
        EXPECT_LT(rms, 1.5) << "N=" << n;
        EXPECT_LT(worst, 8.0) << "N=" << n;
        RecordProperty("rms_N" + std::to_string(n), std::to_string(rms));
        RecordProperty("worst_N" + std::to_string(n), std::to_string(worst));

        if (n == 8)
        {
            std::vector<kSize> order(n);
            std::iota(order.begin(), order.end(), 0);
            std::shuffle(order.begin(), order.end(), std::mt19937(5));
            std::vector<kPhasePixel> shuffled = table.Decode(frames, order);
            EXPECT_TRUE(std::equal(decoded.begin(), decoded.end(), shuffled.begin()));
        }
    }
}

TEST_F(PhaseDecoder, IntensityMapsAndTheirMean)
{
    Map<kPhasePixel> phase(kTypeOf(kPhasePixel), 2, 3);
    const kPhasePixel pixels[6] = {{9, 40, 5},  {9, 0, 5},   {9, 41, k16S_NULL},
                                   {9, 255, 0}, {9, 7, 319}, {0, 1, 1}};
    for (kSize i = 0; i < 6; ++i)
        phase[i] = pixels[i];

    ktest::CountingAlloc alloc;
    kArray2 intensity = kNULL;
    ASSERT_EQ(kS3dPhaseMap_Intensity(phase, &intensity, alloc), kOK);
    ASSERT_EQ(kArray2_ItemType(intensity), kTypeOf(k16s));
    ASSERT_EQ(kArray2_Length(intensity, 0), 2u);
    ASSERT_EQ(kArray2_Length(intensity, 1), 3u);
    const k16s expected[6] = {40, k16S_NULL, k16S_NULL, 255, 7, 1};
    for (kSize i = 0; i < 6; ++i)
        EXPECT_EQ(kArray2_DataT<k16s>(intensity)[i], expected[i]) << i;

    Map<k32s> sum(kTypeOf(k32s), 2, 3), count(kTypeOf(k32s), 2, 3);
    ASSERT_EQ(kS3dIntensity_Accumulate(intensity, sum, count), kOK);
    kArray2_DataT<k16s>(intensity)[0] = 20;
    kArray2_DataT<k16s>(intensity)[1] = 30;
    ASSERT_EQ(kS3dIntensity_Accumulate(intensity, sum, count), kOK);
    EXPECT_EQ(sum[0] / count[0], 30);
    EXPECT_EQ(count[1], 1);
    EXPECT_EQ(count[2], 0);
    EXPECT_EQ(sum[3], 510);

    EXPECT_EQ(kS3dPhaseMap_Intensity(phase, kNULL, alloc), kSTATUS_BAD_PARAMETER);
    kArray2 none = kNULL;
    EXPECT_EQ(kS3dPhaseMap_Intensity(sum, &none, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(none, kNULL);
    Map<k32s> small(kTypeOf(k32s), 2, 2);
    EXPECT_EQ(kS3dIntensity_Accumulate(intensity, small, count), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dIntensity_Accumulate(intensity, count, phase), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dIntensity_Accumulate(sum, sum, count), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(intensity);
}

TEST_F(PhaseDecoder, PlotShowsEveryFieldOfTheMap)
{
    Map<kPhasePixel> phase(kTypeOf(kPhasePixel), 2, 3);
    for (kSize i = 0; i < 6; ++i)
        phase[i] = kPhasePixel{(k8u)(10 + i), (k8u)(20 + i), (k16s)(i == 4 ? k16S_NULL : 300 + i)};

    ktest::CountingAlloc alloc;
    kPlot plot = kNULL;
    ASSERT_EQ(kS3dPhaseMap_Plot(phase, &plot, alloc), kOK);
    ASSERT_EQ(kPlot_Count(plot), 3u);
    EXPECT_STREQ(kPlot_Title(plot), "Phase Map Plot");
    const char* names[] = {"Contrast", "Intensity", "Phase"};
    const kType types[] = {kTypeOf(k8u), kTypeOf(k8u), kTypeOf(k16s)};
    for (kSize n = 0; n < 3; ++n)
    {
        EXPECT_STREQ(kPlot_NameAt(plot, n), names[n]);
        kImage image = kPlot_ItemAt(plot, n);
        ASSERT_EQ(kImage_PixelType(image), types[n]);
        EXPECT_EQ(kImage_Width(image), 3u);
        EXPECT_EQ(kImage_Height(image), 2u);
    }
    EXPECT_EQ(*kImage_AtT<k8u>(kPlot_ItemAt(plot, 0), 2, 1), 15);
    EXPECT_EQ(*kImage_AtT<k8u>(kPlot_ItemAt(plot, 1), 0, 1), 23);
    EXPECT_EQ(*kImage_AtT<k16s>(kPlot_ItemAt(plot, 2), 1, 1), k16S_NULL);
    EXPECT_EQ(*kImage_AtT<k16s>(kPlot_ItemAt(plot, 2), 2, 1), 305);
    k64f x0, y0, x1, y1;
    ASSERT_EQ(kPlot_World(plot, &x0, &y0, &x1, &y1), kOK);
    EXPECT_EQ(x0, 0.0);
    EXPECT_EQ(y0, 0.0);
    EXPECT_EQ(x1, 3.0);
    EXPECT_EQ(y1, -2.0);
    kObject_Dispose(plot);

    EXPECT_EQ(kS3dPhaseMap_Plot(phase, kNULL, alloc), kSTATUS_BAD_PARAMETER);
    Map<k16s> other(kTypeOf(k16s), 2, 3);
    EXPECT_EQ(kS3dPhaseMap_Plot(other, &plot, alloc), kSTATUS_BAD_PARAMETER);
    ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                               { return kS3dPhaseMap_Plot(phase, out, a); });
}
