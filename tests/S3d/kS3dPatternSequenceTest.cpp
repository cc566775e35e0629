// Pattern sequences and the stripe pattern generator: documented rows and profiles, the Gray
// code boundaries, phase steps, refusals, allocation failure, and rendered sequences decoded
// back through the stripe and phase decoders.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dPatternSequence.h>
#include <kSolan/S3d/kS3dPatternSequence.x.h>
#include <kSolan/S3d/kS3dPatternSequenceInt.h>
#include <kSolan/S3d/kS3dPhaseDecoder.h>
#include <kSolan/S3d/kS3dStripeDecoder.h>
#include <kSolan/S3d/kS3dStripePattern.h>

#include <kSimFringe.h>

#include <algorithm>
#include <cmath>
#include <string>

using ktest::Frame;
using ktest::Map;

namespace
{
constexpr double kPi = 3.14159265358979323846264338327950;

/* A sequence owned by the test, of either class. */
template <bool kInt>
class Sequence
{
public:
    explicit Sequence(kSize width, kAlloc alloc = kNULL)
    {
        if constexpr (kInt)
            EXPECT_EQ(kS3dPatternSequenceInt_Construct(&m_sequence, width, alloc), kOK);
        else
            EXPECT_EQ(kS3dPatternSequence_Construct(&m_sequence, width, alloc), kOK);
    }
    ~Sequence() { kObject_Destroy(m_sequence); }
    Sequence(const Sequence&) = delete;
    Sequence& operator=(const Sequence&) = delete;
    operator kObject() const { return m_sequence; }

    kStatus SetupStripePhase(kSize references, kSize stripes, kSize phases, k64f period)
    {
        if constexpr (kInt)
            return kS3dPatternSequenceInt_SetupStripePhase(m_sequence, references, stripes, phases,
                                                           period);
        else
            return kS3dPatternSequence_SetupStripePhase(m_sequence, references, stripes, phases,
                                                        period);
    }

    /* Rendered rows; empty when Render fails. */
    std::vector<std::vector<k8u>> Rows(kStatus expected = kOK)
    {
        kArray2 map = kNULL;
        kStatus status = kInt ? kS3dPatternSequenceInt_Render(m_sequence, &map)
                              : kS3dPatternSequence_Render(m_sequence, &map);
        EXPECT_EQ(status, expected);
        std::vector<std::vector<k8u>> rows;
        if (!kSuccess(status)) return rows;
        const kSize width = kArray2_Length(map, 1);
        for (kSize r = 0; r < kArray2_Length(map, 0); ++r)
        {
            const k8u* row = kArray2_DataT<k8u>(map) + r * width;
            rows.emplace_back(row, row + width);
        }
        kObject_Destroy(map);
        return rows;
    }

private:
    kObject m_sequence = kNULL;
};

/* Columns where a row changes value. */
std::vector<kSize> Changes(const std::vector<k8u>& row)
{
    std::vector<kSize> at;
    for (kSize x = 1; x < row.size(); ++x)
        if (row[x] != row[x - 1]) at.push_back(x);
    return at;
}

class PatternSequence : public ktest::SolanSuite
{
};
} // namespace

TEST_F(PatternSequence, ReferenceRowsAndTheUniformityProfile)
{
    Sequence<false> empty(16);
    EXPECT_EQ(kS3dPatternSequence_ImageCount(empty), 0u);
    EXPECT_TRUE(empty.Rows().empty());

    Sequence<false> sequence(4);
    ASSERT_EQ(sequence.SetupStripePhase(2, 0, 0, 8.0), kOK);
    ASSERT_EQ(kS3dPatternSequence_SetUniformity(sequence, 0.5), kOK);
    std::vector<std::vector<k8u>> rows = sequence.Rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], (std::vector<k8u>{0, 0, 0, 0}));
    // Profile 1.0, 0.625, 0.5, 0.625: truncate(255 × profile + 0.5).
    EXPECT_EQ(rows[1], (std::vector<k8u>{255, 159, 128, 159}));

    ASSERT_EQ(kS3dPatternSequence_SetUniformity(sequence, 1.0), kOK);
    ASSERT_EQ(kS3dPatternSequence_SetIntensity(sequence, 0.5), kOK);
    EXPECT_EQ(sequence.Rows()[1], (std::vector<k8u>{128, 128, 128, 128}));

    ASSERT_EQ(sequence.SetupStripePhase(1, 0, 0, 8.0), kOK);
    EXPECT_EQ(sequence.Rows()[0], (std::vector<k8u>{64, 64, 64, 64})); // 255 × 0.5 / 2

    for (k64f bad : {0.0, -0.1, 1.01})
    {
        EXPECT_EQ(kS3dPatternSequence_SetIntensity(sequence, bad), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(kS3dPatternSequence_SetUniformity(sequence, bad), kSTATUS_BAD_PARAMETER);
    }
    EXPECT_EQ(kS3dPatternSequence_Intensity(sequence), 0.5);
    EXPECT_EQ(kS3dPatternSequence_Uniformity(sequence), 1.0);
    EXPECT_EQ(kS3dPatternSequence_Width(sequence), 4u);
}

TEST_F(PatternSequence, StripeFramesChangeAtTheGrayCodeBoundaries)
{
    Sequence<false> real(64);
    Sequence<true> integer(64);
    ASSERT_EQ(real.SetupStripePhase(0, 3, 0, 8.0), kOK);
    ASSERT_EQ(integer.SetupStripePhase(0, 3, 0, 8.0), kOK);
    for (const auto& rows : {real.Rows(), integer.Rows()})
    {
        ASSERT_EQ(rows.size(), 3u);
        EXPECT_EQ(Changes(rows[0]), (std::vector<kSize>{32}));
        EXPECT_EQ(Changes(rows[1]), (std::vector<kSize>{16, 48}));
        EXPECT_EQ(Changes(rows[2]), (std::vector<kSize>{8, 24, 40, 56}));
        EXPECT_EQ(rows[0][0], 0);
        EXPECT_EQ(rows[0][63], 255);
    }

    // Integer widths wrap at 16 bits, on purpose: 5000 × 2^4 = 80000 becomes 14464.
    Sequence<true> wrapped(8000);
    ASSERT_EQ(wrapped.SetupStripePhase(0, 4, 0, 5000.0), kOK);
    EXPECT_EQ(Changes(wrapped.Rows()[0]), (std::vector<kSize>{7232}));
}

TEST_F(PatternSequence, PhaseStepsAreCompressedForShortBlocks)
{
    k64f steps[30];
    ASSERT_EQ(kS3dEncodingMath_PhaseSteps(4, kS3dEncodingMath_PhaseStepsTrim(4), steps, 30), kOK);
    for (kSize i = 0; i < 4; ++i)
        EXPECT_NEAR(steps[i], i * kPi / 2, 1e-12);
    ASSERT_EQ(kS3dEncodingMath_PhaseSteps(3, kS3dEncodingMath_PhaseStepsTrim(3), steps, 30), kOK);
    EXPECT_EQ(steps[0], 0.0);
    EXPECT_NEAR(steps[1], 16 * kPi / 27, 1e-12);
    EXPECT_NEAR(steps[2], 32 * kPi / 27, 1e-12);
    EXPECT_EQ(kS3dEncodingMath_PhaseSteps(31, 0, steps, 30), kSTATUS_BAD_PARAMETER);

    Sequence<false> sequence(32);
    const k64f periods[] = {16.0};
    const kSize counts[] = {31};
    ASSERT_EQ(kS3dPatternSequence_SetupEmbeddedPhase(sequence, periods, counts, 1), kOK);
    EXPECT_EQ(kS3dPatternSequence_ImageCount(sequence), 31u);
    sequence.Rows(kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kS3dPatternSequence_SetupPhaseEPS(sequence, 4, periods, counts, 0, 16.0), kOK);
    std::vector<std::vector<k8u>> rows = sequence.Rows();
    ASSERT_EQ(rows.size(), 4u);
    // Quarter-period shifts of a 16-column fringe: frame 2 is frame 0 shifted by half a period.
    for (kSize x = 0; x < 24; ++x)
        EXPECT_EQ(rows[2][x], rows[0][x + 8]) << x;
    EXPECT_EQ(rows[0][0], 253); // 255 × (cos(2π × 0.5 / 16) + 1) / 2, rounded
}

TEST_F(PatternSequence, IntegerSequenceRowsAndPlaceholders)
{
    Sequence<true> sequence(8);
    ASSERT_EQ(sequence.SetupStripePhase(3, 0, 0, 8.0), kOK);
    ASSERT_EQ(kS3dPatternSequenceInt_SetIntensity(sequence, 0.5), kOK); // I8 = 127
    std::vector<std::vector<k8u>> rows = sequence.Rows();
    EXPECT_EQ(rows[1][5], 63);  // 1 × (127 div 2)
    EXPECT_EQ(rows[2][0], 126); // 2 × 63: integer division first
    ASSERT_EQ(sequence.SetupStripePhase(1, 0, 0, 8.0), kOK);
    EXPECT_EQ(sequence.Rows()[0][7], 63); // 127 >> 1
    EXPECT_EQ(kS3dPatternSequenceInt_SetIntensity(sequence, 1.5), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPatternSequenceInt_Intensity(sequence), 0.5);
    EXPECT_EQ(kS3dPatternSequenceInt_Width(sequence), 8u);
    EXPECT_EQ(kS3dPatternSequenceInt_SaveCSV(sequence, "/nonexistent/dir/file.csv"), kOK);
    const k64f periods[] = {8.0, 4.0};
    const kSize counts[] = {4, 5};
    ASSERT_EQ(kS3dPatternSequenceInt_SetupEmbeddedPhase(sequence, periods, counts, 2), kOK);
    EXPECT_EQ(kS3dPatternSequenceInt_ImageCount(sequence), 9u);
    EXPECT_EQ(sequence.Rows().size(), 9u);

    kObject copy = kNULL;
    EXPECT_EQ(kObject_Clone(&copy, sequence, kNULL), kSTATUS_NOT_IMPLEMENTED);
    Sequence<false> real(8);
    EXPECT_EQ(kObject_Clone(&copy, real, kNULL), kSTATUS_NOT_IMPLEMENTED);
}

TEST_F(PatternSequence, AllocationFailureAtEveryStepLeavesNothing)
{
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out)
                               { return kS3dPatternSequence_Construct(out, 64, alloc); });
    ktest::ExpectCleanFailures([](kAlloc alloc, kObject* out)
                               { return kS3dPatternSequenceInt_Construct(out, 64, alloc); });
    for (kSize step = 0;; ++step)
    {
        ktest::CountingAlloc alloc;
        Sequence<false> sequence(64, alloc);
        ASSERT_EQ(sequence.SetupStripePhase(2, 3, 4, 8.0), kOK);
        kCountingAlloc_SetFailAfter(alloc, step);
        kArray2 map = kNULL;
        kStatus status = kS3dPatternSequence_Render(sequence, &map);
        kCountingAlloc_SetFailAfter(alloc, kSIZE_MAX);
        kObject_Destroy(map);
        if (kSuccess(status)) break;
        EXPECT_EQ(map, kNULL);
        ASSERT_LT(step, 10u);
    }
}

TEST_F(PatternSequence, RenderedStripesAndFringesDecodeBack)
{
    // Identity map: camera pixel x sees projector column x.
    const kSize width = 256, height = 4, period = 8, stripes = 5, phases = 8;
    const k32u P = 1000;
    ksim::Scene scene;
    scene.width = width;
    scene.height = height;
    scene.column = ksim::AffineColumns(0, 1, 0);
    scene.samples = 1;
    ksim::FringeCamera camera(scene);

    Sequence<false> real(width);
    Sequence<true> integer(width);
    ASSERT_EQ(real.SetupStripePhase(1, stripes, phases, period), kOK);
    ASSERT_EQ(integer.SetupStripePhase(1, stripes, phases, period), kOK);
    for (const auto& rows : {real.Rows(), integer.Rows()})
    {
        ASSERT_EQ(rows.size(), 1 + stripes + phases);
        std::vector<std::vector<k8u>> frames;
        for (const auto& row : rows)
            frames.push_back(camera.Render(row.data(), width));

        kS3dStripeDecoder stripe = kNULL;
        ASSERT_EQ(kS3dStripeDecoder_Construct(&stripe, kNULL), kOK);
        ASSERT_EQ(kS3dStripeDecoder_SetImageSize(stripe, width, height), kOK);
        ASSERT_EQ(kS3dStripeDecoder_SetStripeImageCount(stripe, stripes), kOK);
        Map<k8u> codes(kTypeOf(k8u), height, width);
        ASSERT_EQ(kS3dStripeDecoder_Begin(stripe, codes), kOK);
        Frame reference(width, height, frames[0]);
        ASSERT_EQ(kS3dStripeDecoder_UpdateReferenceImage(stripe, reference), kOK);
        for (kSize i = 0; i < stripes; ++i)
        {
            Frame frame(width, height, frames[1 + i]);
            ASSERT_EQ(kS3dStripeDecoder_UpdateStripeImage(stripe, i, frame), kOK);
        }
        for (kSize i = 0; i < width * height; ++i)
            ASSERT_EQ(codes[i], (i % width) / period) << i;
        kObject_Destroy(stripe);

        kS3dPhaseDecoder phase = kNULL;
        ASSERT_EQ(kS3dPhaseDecoder_Construct(&phase, kNULL), kOK);
        ASSERT_EQ(kS3dPhaseDecoder_SetImageSize(phase, width, height), kOK);
        ASSERT_EQ(kS3dPhaseDecoder_SetImageCount(phase, phases), kOK);
        ASSERT_EQ(kS3dPhaseDecoder_SetPhasePeriod(phase, P), kOK);
        Map<kPhasePixel> output(kTypeOf(kPhasePixel), height, width);
        ASSERT_EQ(kS3dPhaseDecoder_Begin(phase, output), kOK);
        for (kSize i = 0; i < phases; ++i)
        {
            Frame frame(width, height, frames[1 + stripes + i]);
            ASSERT_EQ(kS3dPhaseDecoder_Update(phase, i, frame), kOK);
        }
        for (kSize i = 0; i < width * height; ++i)
        {
            // The phase runs against the column: P (1 − frac(u / period)).
            double expected = ksim::ExpectedPhase(camera.GroundTruth().column[i], period, P);
            ASSERT_LE(std::fabs(ksim::WrappedPhaseError(output[i].phase, expected, P)), 2.0) << i;
        }
        kObject_Destroy(phase);
    }
}

TEST(StripePattern, DocumentedRowsAndProfile)
{
    kS3dStripePatternParams params = {};
    params.width = 8;
    params.height = 3;
    params.grayCount = 1;
    params.maxIntensity = 1.0;
    kS3dStripePattern* pattern = kNULL;
    ASSERT_EQ(kS3dStripePattern_Construct(&pattern, &params), kOK);
    EXPECT_EQ(kS3dStripePattern_Params(pattern)->referenceCount, 1u);
    EXPECT_EQ(kS3dStripePattern_Params(pattern)->lineWidth, 8u);
    kArray2 map = kNULL;
    ASSERT_EQ(kS3dStripePattern_WideMap(pattern, &map), kOK);
    ASSERT_EQ(kArray2_Length(map, 0), 2u);
    const k8u* rows = kArray2_DataT<k8u>(map);
    for (kSize x = 0; x < 8; ++x)
    {
        EXPECT_EQ(rows[x], 127) << x;                 // one reference row: 255 div 2
        EXPECT_EQ(rows[8 + x], x < 4 ? 0 : 255) << x; // dark left half, bright right half
    }
    kObject_Destroy(map);
    EXPECT_EQ(kS3dStripePattern_Destroy(pattern), kOK);

    params.width = 100;
    params.uniformity = 0.8;
    ASSERT_EQ(kS3dStripePattern_Construct(&pattern, &params), kOK);
    EXPECT_DOUBLE_EQ(kArray1_DataT<k64f>(pattern->profile)[50], 0.8);
    EXPECT_DOUBLE_EQ(kArray1_DataT<k64f>(pattern->profile)[0], 1.0);
    EXPECT_EQ(kS3dStripePattern_Destroy(pattern), kOK);
    EXPECT_EQ(kS3dStripePattern_Destroy(nullptr), kOK);
}

TEST(StripePattern, GroupsImagesAndFringeShifts)
{
    kS3dStripePatternParams params = {};
    params.width = 64;
    params.lineWidth = 64;
    params.height = 5;
    params.referenceCount = 2;
    params.grayCount = 2;
    params.phaseCount = 4;
    params.secondPhaseCount = 3;
    params.secondPeriodHalvings = 3;
    params.fringeDuty = 0.5;
    params.maxIntensity = 1.0;
    params.phaseIntensity = 0.8;
    kS3dStripePattern* pattern = kNULL;
    ASSERT_EQ(kS3dStripePattern_Construct(&pattern, &params), kOK);
    EXPECT_EQ(kS3dStripePattern_ImageCount(pattern), 11u);
    EXPECT_EQ(kS3dStripePattern_LineCount(pattern), 4u);
    EXPECT_EQ(kS3dStripePattern_LineWidth(pattern), 16u);

    kArray2 map = kNULL, wide = kNULL;
    ASSERT_EQ(kS3dStripePattern_Map(pattern, &map), kOK);
    ASSERT_EQ(kS3dStripePattern_WideMap(pattern, &wide), kOK);
    EXPECT_EQ(kArray2_Length(map, 0), 8u); // no second fringe set
    EXPECT_EQ(kArray2_Length(wide, 0), 11u);
    const k8u* rows = kArray2_DataT<k8u>(wide);
    EXPECT_EQ(rows[0], 0);    // reference 0 of 2: black
    EXPECT_EQ(rows[64], 255); // reference 1 of 2: full
    // First fringe set: period 16, each row the previous shifted by 4 columns; duty 0.5 leaves
    // half of every period dark. Second set: period 8, rows shifted by 8 / 3 columns.
    const k8u* fringes = rows + 4 * 64;
    for (kSize p = 1; p < 4; ++p)
        for (kSize x = 0; x + 4 * p < 64; ++x)
            EXPECT_EQ(fringes[p * 64 + x], fringes[x + 4 * p]);
    kSize dark = 0;
    for (kSize x = 0; x < 64; ++x)
        dark += fringes[x] == 0;
    EXPECT_GE(dark, 28u);
    EXPECT_LE(dark, 36u);
    // A = 204; half a column from a bump's centre z = 1/8: 204 (cos(π / 8) + 1) / 2, rounded.
    EXPECT_EQ(*std::max_element(fringes, fringes + 64), 196);
    const k8u* second = rows + 8 * 64;
    EXPECT_EQ(second[0], second[8]);
    EXPECT_NE(second[0], second[64]);
    kObject_Destroy(map);

    kImage image = kNULL;
    ASSERT_EQ(kS3dStripePattern_Image(pattern, kS3D_STRIPE_PATTERN_SECOND_PHASE, 2, &image), kOK);
    EXPECT_EQ(kImage_Width(image), 64u);
    EXPECT_EQ(kImage_Height(image), 5u);
    EXPECT_EQ(memcmp(kImage_RowAt(image, 4), rows + 10 * 64, 64), 0);
    kObject_Destroy(image);
    EXPECT_EQ(kS3dStripePattern_Image(pattern, kS3D_STRIPE_PATTERN_GRAY, 2, &image),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dStripePattern_Image(pattern, 4, 0, &image), kSTATUS_BAD_PARAMETER);

    kArrayList list = kNULL;
    ASSERT_EQ(kS3dStripePattern_ImageList(pattern, &list), kOK);
    ASSERT_EQ(kArrayList_Count(list), 11u);
    kImage third = *static_cast<kImage*>(kArrayList_At(list, 2)); // first Gray image
    EXPECT_EQ(memcmp(kImage_RowAt(third, 0), rows + 2 * 64, 64), 0);
    kObject_Dispose(list);

    kObject_Destroy(wide);

    EXPECT_EQ(kS3dStripePattern_SetReferenceIntensity(pattern, 2, 100), kSTATUS_FAILED);
    ASSERT_EQ(kS3dStripePattern_SetReferenceIntensity(pattern, 1, 100), kOK);
    EXPECT_EQ(kArray2_DataT<k8u>(pattern->map)[64 + 10], 100);
    EXPECT_EQ(kS3dStripePattern_Destroy(pattern), kOK);

    params.grayCount = 32;
    params.phaseCount = params.secondPhaseCount = 0;
    params.width = params.lineWidth = 4;
    ASSERT_EQ(kS3dStripePattern_Construct(&pattern, &params), kOK);
    EXPECT_EQ(kS3dStripePattern_LineCount(pattern), 0u);
    EXPECT_EQ(kS3dStripePattern_LineWidth(pattern), k32U_MAX);
    EXPECT_EQ(kS3dStripePattern_Destroy(pattern), kOK);
}

TEST(StripePattern, ExportSavesTheImagesAndTheMap)
{
    kS3dStripePatternParams params = {};
    params.width = 32;
    params.height = 2;
    params.grayCount = 2;
    params.phaseCount = 3;
    params.secondPhaseCount = 2;
    params.fringeDuty = 1.0;
    params.maxIntensity = 1.0;
    params.phaseIntensity = 1.0;
    kS3dStripePattern* pattern = kNULL;
    ASSERT_EQ(kS3dStripePattern_Construct(&pattern, &params), kOK);
    ktest::TempDir dir;
    const std::string path = dir.File("pattern.kdat");
    ASSERT_EQ(kS3dStripePattern_Export(pattern, path.c_str()), kOK);
    EXPECT_NE(kS3dStripePattern_Export(pattern, (dir.Path() + "/missing/pattern.kdat").c_str()),
              kOK);

    kObject loaded = kNULL;
    ASSERT_EQ(kLoad5(&loaded, path.c_str(), kNULL), kOK);
    ASSERT_TRUE(kObject_Is(loaded, kTypeOf(kArrayList)));
    ASSERT_EQ(kArrayList_Count(loaded), 9u); // 1 + 2 + 3 + 2 images, then the map
    kImage second = *static_cast<kImage*>(kArrayList_At(loaded, 1));
    EXPECT_EQ(memcmp(kImage_RowAt(second, 1), kArray2_DataT<k8u>(pattern->map) + 32, 32), 0);
    kArray2 map = *static_cast<kArray2*>(kArrayList_At(loaded, 8));
    ASSERT_TRUE(kObject_Is(map, kTypeOf(kArray2)));
    EXPECT_EQ(kArray2_Length(map, 0), 6u); // no second fringe set
    EXPECT_EQ(memcmp(kArray2_Data(map), kArray2_Data(pattern->map), 6 * 32), 0);
    kObject_Dispose(loaded);
    EXPECT_EQ(kS3dStripePattern_Destroy(pattern), kOK);
}
