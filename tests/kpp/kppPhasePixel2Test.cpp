// kpp::PhasePixel2: field access, null handling, and the period split with and without its
// precomputed context, round-tripped over every phase of a sweep.
#include <kTestSupport.h>

#include <kSolan/kpp/Common/kppPhasePixel2.h>

TEST(PhasePixel2, FieldsAndNull)
{
    kPhasePixel2 raw = {0};
    kpp::PhasePixel2 pixel(raw);
    pixel.SetIntensity(200);
    pixel.SetPhase(0x12345678u); // only 24 bits are kept
    EXPECT_EQ(pixel.Phase(), 0x345678u);
    EXPECT_EQ(pixel.Intensity(), 200);
    EXPECT_EQ(raw.word, 0xC8345678u);
    EXPECT_TRUE(pixel.IsValid());
    pixel.SetNull();
    EXPECT_TRUE(pixel.IsNull());
    EXPECT_FALSE(pixel.IsValid());
    EXPECT_EQ(pixel.Intensity(), 200);

    k8u code = 0;
    k16s phase = 0;
    pixel.PhaseSplit(320, &code, &phase);
    EXPECT_EQ(code, 255);
    EXPECT_EQ(phase, k16S_NULL);
    kpp::PhaseSplitContext context = {};
    ASSERT_EQ(kpp::PhasePixel2::CalculatePhaseSplitContext(320, &context), kOK);
    k16u unsignedPhase = 0;
    pixel.PhaseSplit(context, &code, &unsignedPhase);
    EXPECT_EQ(code, 255);
    EXPECT_EQ(unsignedPhase, 32768);
}

TEST(PhasePixel2, SplitContextLimits)
{
    kpp::PhaseSplitContext context = {};
    ASSERT_EQ(kpp::PhasePixel2::CalculatePhaseSplitContext(2048, &context), kOK);
    EXPECT_EQ(context.shift, 22u);
    EXPECT_EQ(context.reciprocal, 2048u);
    EXPECT_EQ(context.period, 2048u);
    ASSERT_EQ(kpp::PhasePixel2::CalculatePhaseSplitContext(320, &context), kOK);
    EXPECT_EQ(context.shift, 18u); // 2 × ceil(log2 320)
    EXPECT_EQ(context.reciprocal, 262144u / 320);
    EXPECT_EQ(kpp::PhasePixel2::CalculatePhaseSplitContext(2049, &context), kSTATUS_FAILED);
    EXPECT_EQ(kpp::PhasePixel2::CalculatePhaseSplitContext(0, &context), kSTATUS_FAILED);
}

TEST(PhasePixel2, SplitRoundTripsOverEveryPhaseOfASweep)
{
    // Every absolute phase with a code below 255, for periods where the context is exact.
    for (k32u period : {256u, 320u, 1000u, 1024u, 2047u, 2048u})
    {
        kpp::PhaseSplitContext context = {};
        ASSERT_EQ(kpp::PhasePixel2::CalculatePhaseSplitContext(period, &context), kOK);
        kPhasePixel2 raw = {0x7F000000u};
        kpp::PhasePixel2 pixel(raw);
        for (k32u phase24 = 0; phase24 < 255 * period; ++phase24)
        {
            pixel.SetPhase(phase24);
            k8u code = 0, contextCode = 0;
            k16s phase = 0;
            k16u contextPhase = 0;
            pixel.PhaseSplit(period, &code, &phase);
            // The in-period phase runs down from P: a period's first phase reads P.
            ASSERT_EQ(code, phase24 / period) << period << " " << phase24;
            ASSERT_EQ(phase, (k16s)(period - phase24 % period)) << period << " " << phase24;
            pixel.PhaseSplit(context, &contextCode, &contextPhase);
            ASSERT_EQ(contextCode, code) << period << " " << phase24;
            ASSERT_EQ(contextPhase, (k16u)phase) << period << " " << phase24;

            kPhasePixel2 back = {0x7F000000u};
            kpp::PhasePixel2(back).SetPhase(period, code, phase);
            ASSERT_EQ(back.word, raw.word) << period << " " << phase24;
        }
    }
}
