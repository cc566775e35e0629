// Stripe decoder: documented codes, the undecided and saturated rules, refusals, allocation
// failure, and a rendered Gray-code scene with known stripes.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dPatternSequence.h>
#include <kSolan/S3d/kS3dStripeDecoder.h>

#include <kSimFringe.h>

#include <random>

using ktest::Frame;
using ktest::Map;

namespace
{
/* A decoder owned by the test; frames are given as one value per pixel of a w × 1 image. */
class Decoder
{
public:
    Decoder(kSize width, kSize height, kSize count, kAlloc alloc = kNULL)
        : m_width(width), m_height(height)
    {
        EXPECT_EQ(kS3dStripeDecoder_Construct(&m_decoder, alloc), kOK);
        EXPECT_EQ(kS3dStripeDecoder_SetImageSize(m_decoder, width, height), kOK);
        EXPECT_EQ(kS3dStripeDecoder_SetStripeImageCount(m_decoder, count), kOK);
    }
    ~Decoder() { kObject_Destroy(m_decoder); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    operator kS3dStripeDecoder() const { return m_decoder; }

    /* Decodes stripe frames given in the order of indices (default: 0 … n − 1). */
    std::vector<k8u> Decode(const std::vector<k8u>& reference,
                            const std::vector<std::vector<k8u>>& stripes,
                            std::vector<kSize> order = {})
    {
        if (order.empty())
            for (kSize i = 0; i < stripes.size(); ++i)
                order.push_back(i);
        Map<k8u> codes(kTypeOf(k8u), m_height, m_width);
        EXPECT_EQ(kS3dStripeDecoder_Begin(m_decoder, codes), kOK);
        Frame ref(m_width, m_height, reference);
        EXPECT_EQ(kS3dStripeDecoder_UpdateReferenceImage(m_decoder, ref), kOK);
        for (kSize index : order)
        {
            EXPECT_FALSE(kS3dStripeDecoder_IsComplete(m_decoder));
            Frame frame(m_width, m_height, stripes[index]);
            EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(m_decoder, index, frame), kOK);
        }
        EXPECT_TRUE(kS3dStripeDecoder_IsComplete(m_decoder));
        return codes.Values();
    }

private:
    kS3dStripeDecoder m_decoder = kNULL;
    kSize m_width, m_height;
};

class StripeDecoder : public ktest::SolanSuite
{
};
} // namespace

TEST_F(StripeDecoder, GrayCodesBecomePeriodIndices)
{
    for (kSize bits = 1; bits <= 8; ++bits)
        for (k32u b = 0; b < (1u << bits); ++b)
            ASSERT_EQ(kS3dGrayCode_ToBinary(b ^ (b >> 1), bits), b) << bits << " bits";

    // Columns: bright-dark-bright (Gray 101), bright-bright-dark (Gray 110), and one pixel
    // within the threshold in the middle frame.
    Decoder decoder(3, 1, 3);
    const std::vector<k8u> reference = {100, 100, 100};
    const std::vector<std::vector<k8u>> stripes = {{200, 200, 200}, {20, 200, 105}, {200, 20, 200}};
    EXPECT_EQ(decoder.Decode(reference, stripes), (std::vector<k8u>{6, 4, 255}));
    EXPECT_EQ(decoder.Decode(reference, stripes, {2, 0, 1}), (std::vector<k8u>{6, 4, 255}));
    EXPECT_EQ(kS3dStripeDecoder_StripeImageCount(decoder), 3u);
    EXPECT_EQ(kS3dStripeDecoder_ContrastThreshold(decoder), 10u);
}

TEST_F(StripeDecoder, ThresholdAndSaturation)
{
    // Threshold 10. Pixels 0 … 2: clear bits; pixel 3: 9 above the reference in the first
    // frame, undecided for good; pixels 4 and 5: saturated only 5 above a reference of 250, in
    // a middle and in the last frame: bright; pixel 6: 254 there is merely 4 above: undecided.
    Decoder decoder(7, 1, 3);
    const std::vector<k8u> reference = {100, 100, 100, 100, 250, 250, 250};
    const std::vector<std::vector<k8u>> stripes = {{110, 90, 110, 109, 200, 200, 255},
                                                   {90, 110, 111, 200, 255, 200, 254},
                                                   {110, 90, 90, 200, 200, 255, 255}};
    // Gray 101, 010, 110, -, 010, 001, -.
    EXPECT_EQ(decoder.Decode(reference, stripes), (std::vector<k8u>{6, 3, 4, 255, 3, 1, 255}));

    // The frame index first received starts the codes again when it comes twice.
    Map<k8u> codes(kTypeOf(k8u), 1, 7);
    ASSERT_EQ(kS3dStripeDecoder_Begin(decoder, codes), kOK);
    Frame ref(7, 1, reference), noise(7, 1, std::vector<k8u>(7, 0));
    ASSERT_EQ(kS3dStripeDecoder_UpdateReferenceImage(decoder, ref), kOK);
    ASSERT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 1, noise), kOK);
    for (kSize index : {1, 0, 2})
    {
        Frame frame(7, 1, stripes[index]);
        ASSERT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, index, frame), kOK);
    }
    EXPECT_EQ(codes.Values(), (std::vector<k8u>{6, 3, 4, 255, 3, 1, 255}));
}

TEST_F(StripeDecoder, RefusalsChangeNothing)
{
    const kSize w = 4, h = 2;
    Decoder decoder(w, h, 3);
    Frame frame(w, h, std::vector<k8u>(w * h, 200));
    EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 0, frame), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dStripeDecoder_UpdateReferenceImage(decoder, frame), kSTATUS_BAD_STATE);
    EXPECT_EQ(kS3dStripeDecoder_SetStripeImageCount(decoder, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStripeDecoder_SetStripeImageCount(decoder, 9), kSTATUS_BAD_PARAMETER);

    Map<k8u> codes(kTypeOf(k8u), h, w), wrongShape(kTypeOf(k8u), w, h);
    Map<k16s> wrongType(kTypeOf(k16s), h, w);
    EXPECT_EQ(kS3dStripeDecoder_Begin(decoder, wrongShape), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStripeDecoder_Begin(decoder, wrongType), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStripeDecoder_Begin(decoder, kNULL), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kS3dStripeDecoder_Begin(decoder, codes), kOK);
    codes.Fill(77);

    kImage padded = kNULL, deep = kNULL;
    ASSERT_EQ(kImage_ConstructEx(&padded, kTypeOf(k8u), w, h, 16, kNULL), kOK);
    ASSERT_EQ(kImage_Construct(&deep, kTypeOf(k16u), w, h, kNULL), kOK);
    Frame narrow(w - 1, h);
    for (kImage bad : {(kImage)padded, (kImage)deep, (kImage)narrow, (kImage)codes})
    {
        EXPECT_EQ(kS3dStripeDecoder_UpdateReferenceImage(decoder, bad), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 0, bad), kSTATUS_BAD_PARAMETER);
    }
    kObject_Destroy(padded);
    kObject_Destroy(deep);
    EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 3, frame), kSTATUS_BAD_PARAMETER);

    // Size or count changed under an open sequence: refused until the next Begin.
    ASSERT_EQ(kS3dStripeDecoder_SetStripeImageCount(decoder, 4), kOK);
    EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 0, frame), kSTATUS_BAD_STATE);
    ASSERT_EQ(kS3dStripeDecoder_SetStripeImageCount(decoder, 3), kOK);
    ASSERT_EQ(kS3dStripeDecoder_SetImageSize(decoder, w - 1, h), kOK);
    EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 0, narrow), kSTATUS_BAD_STATE);
    ASSERT_EQ(kS3dStripeDecoder_SetImageSize(decoder, w, h), kOK);
    for (kSize i = 0; i < codes.Count(); ++i)
        ASSERT_EQ(codes[i], 77);

    for (kSize index : {0, 1, 2})
        ASSERT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, index, frame), kOK);
    EXPECT_EQ(codes[0], 5); // bright, bright, bright: Gray 111 against a black reference
    EXPECT_EQ(kS3dStripeDecoder_UpdateStripeImage(decoder, 1, frame), kSTATUS_BAD_STATE);
    EXPECT_EQ(codes[0], 5);

    kSize width = 0, height = 0;
    ASSERT_EQ(kS3dStripeDecoder_ImageSize(decoder, &width, &height), kOK);
    EXPECT_EQ(width, w);
    EXPECT_EQ(height, h);
    EXPECT_GE(kObject_Size(decoder), 256u + w * h);
    kObject copy = kNULL;
    EXPECT_EQ(kObject_Clone(&copy, decoder, kNULL), kSTATUS_NOT_IMPLEMENTED);
}

TEST_F(StripeDecoder, AllocationFailureAtEveryStepLeavesNothing)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out)
                               { return kS3dStripeDecoder_Construct(out, alloc); });
    for (kSize step = 0;; ++step)
    {
        ktest::CountingAlloc alloc;
        Decoder decoder(2, 1, 1, alloc);
        Map<k8u> codes(kTypeOf(k8u), 1, 2);
        kCountingAlloc_SetFailAfter(alloc, step);
        kStatus status = kS3dStripeDecoder_Begin(decoder, codes);
        kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
        if (kSuccess(status)) break;
        EXPECT_EQ(status, kSTATUS_MEMORY);
        EXPECT_EQ(decoder.Decode({100, 100}, {{200, 0}}), (std::vector<k8u>{1, 0}));
        ASSERT_LT(step, 10u);
    }
}

TEST_F(StripeDecoder, RenderedGrayCodeGivesTheTrueStripe)
{
    // 7 Gray frames of period 8 on a camera that sees 0.75 px per projector column, albedo
    // 0.3 … 1, noise σ = 3: every pixel more than 1 px from a stripe edge decodes exactly.
    const kSize w = 640, h = 480, bits = 7, projector = 1024;
    const double period = 8;
    ksim::Scene scene;
    scene.column = ksim::AffineColumns(10, 1 / 0.75, 0.02);
    scene.albedo = ksim::SmoothAlbedo(0.3, 1.0, w, h);
    scene.gain = 0.9;
    scene.ambient = 5;
    scene.blurSigma = 0.5;
    scene.noiseSigma = 3;
    scene.seed = 99;
    ksim::FringeCamera camera(scene);

    kS3dPatternSequence sequence = kNULL;
    ASSERT_EQ(kS3dPatternSequence_Construct(&sequence, projector, kNULL), kOK);
    ASSERT_EQ(kS3dPatternSequence_SetupStripePhase(sequence, 1, bits, 0, period), kOK);
    kArray2 rows = kNULL;
    ASSERT_EQ(kS3dPatternSequence_Render(sequence, &rows), kOK);
    std::vector<std::vector<k8u>> frames =
        camera.RenderAll(kArray2_DataT<k8u>(rows), 1 + bits, projector);
    kObject_Destroy(rows);
    kObject_Destroy(sequence);

    Decoder decoder(w, h, bits);
    std::vector<k8u> codes =
        decoder.Decode(frames[0], std::vector<std::vector<k8u>>(frames.begin() + 1, frames.end()));
    kSize checked = 0;
    for (kSize i = 0; i < w * h; ++i)
    {
        if (ksim::StripeEdgeDistance(camera.GroundTruth(), i, period) <= 1.0) continue;
        ++checked;
        ASSERT_EQ(codes[i], ksim::StripeCode(camera.GroundTruth().column[i], period))
            << "pixel " << i;
    }
    EXPECT_GT(checked, w * h / 2);
}
