// Embedded-phase periods and the camera tables: the values the sensor expects, capacity and
// range refusals, and clean allocation failure.
#include "kS3dPhaseTestSupport.h"

#include <kSolan/S3d/kS3dEncodingMath.h>
#include <kSolan/S3d/kS3dStripeDecoder.h>

#include <cmath>

using EncodingMath = ktest::SolanSuite;

TEST_F(EncodingMath, PeriodsOfTheDefaultCoefficientsAre7_49_686)
{
    const k64f coefficients[3] = {7, 7, 14};
    k64f periods[3] = {}, pattern[3] = {};
    ASSERT_EQ(kS3dEncodingMath_EmbeddedPhasePeriods(coefficients, 3, periods, 3), kOK);
    EXPECT_EQ(periods[0], 7.0);
    EXPECT_EQ(periods[1], 49.0);
    EXPECT_EQ(periods[2], 686.0);

    ASSERT_EQ(kS3dEncodingMath_PatternPhasePeriods(periods, 3, pattern, 3), kOK);
    EXPECT_EQ(pattern[0], 7.0);
    EXPECT_EQ(pattern[1], 6.125);
    EXPECT_DOUBLE_EQ(pattern[2], 686.0 / 99.0); // 6.929292…
    // The beat of each block against block 0 has the cumulative period.
    for (int i = 1; i < 3; ++i)
        EXPECT_NEAR(1.0 / (1.0 / pattern[i] - 1.0 / pattern[0]), periods[i], 1e-9);
}

TEST_F(EncodingMath, PeriodHelpersRefuseShortCapacityAndNoPeriods)
{
    const k64f coefficients[3] = {7, 7, 14};
    k64f out[3] = {-1, -1, -1};
    EXPECT_EQ(kS3dEncodingMath_EmbeddedPhasePeriods(coefficients, 3, out, 2),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEncodingMath_PatternPhasePeriods(coefficients, 3, out, 2), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dEncodingMath_PatternPhasePeriods(coefficients, 0, out, 3), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(out[0], -1.0) << "a refused call writes nothing";
    EXPECT_EQ(kS3dEncodingMath_EmbeddedPhasePeriods(coefficients, 0, out, 0), kOK);
}

TEST_F(EncodingMath, CodeTableIsTheBinaryValueOfEachGrayCode)
{
    kArray1 table = kNULL;
    ASSERT_EQ(kS3dStripe_PlCodeLut(&table, 7, kNULL), kOK);
    ASSERT_EQ(kArray1_Count(table), 128u);
    ASSERT_EQ(kArray1_ItemType(table), kTypeOf(k32s));
    const k32s* t = kArray1_DataT<k32s>(table);
    const k32s first[16] = {0, 1, 3, 2, 7, 6, 4, 5, 15, 14, 12, 13, 8, 9, 11, 10};
    for (int g = 0; g < 16; ++g)
        EXPECT_EQ(t[g], first[g]) << g;
    for (k32s b = 0; b < 128; ++b)
        EXPECT_EQ(t[b ^ (b >> 1)], b) << "Gray code of " << b;
    kObject_Destroy(table);

    ASSERT_EQ(kS3dStripe_PlCodeLut(&table, 0, kNULL), kOK);
    EXPECT_EQ(kArray1_Count(table), 1u);
    kObject_Destroy(table);

    table = kNULL;
    EXPECT_EQ(kS3dStripe_PlCodeLut(&table, 8, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(table, kNULL);
}

TEST_F(EncodingMath, SineAndCosineTablesOfFiveStepsAt14Bits)
{
    kArray1 sine = kNULL, cosine = kNULL;
    ASSERT_EQ(kS3dPhase_PlSinCosLuts(&sine, &cosine, 5, 14, kNULL), kOK);
    const k32s s[5] = {0, 15582, 9630, -9630, -15582};
    const k32s c[5] = {16384, 5063, -13255, -13255, 5063};
    ASSERT_EQ(kArray1_Count(sine), 5u);
    ASSERT_EQ(kArray1_Count(cosine), 5u);
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(kArray1_DataT<k32s>(sine)[i], s[i]) << i;
        EXPECT_EQ(kArray1_DataT<k32s>(cosine)[i], c[i]) << i;
    }
    kObject_Destroy(sine);
    kObject_Destroy(cosine);

    // Unscaled quarter turns: the tiny residues of sin(π) and cos(π / 2) round to 0.
    ASSERT_EQ(kS3dPhase_PlSinCosLuts(&sine, &cosine, 4, 0, kNULL), kOK);
    const k32s s4[4] = {0, 1, 0, -1}, c4[4] = {1, 0, -1, 0};
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(kArray1_DataT<k32s>(sine)[i], s4[i]) << i;
        EXPECT_EQ(kArray1_DataT<k32s>(cosine)[i], c4[i]) << i;
    }
    kObject_Destroy(sine);
    kObject_Destroy(cosine);
}

TEST_F(EncodingMath, SineAndCosineTablesRefuseBadArgumentsAndFailCleanly)
{
    kArray1 sine = kNULL, cosine = kNULL;
    EXPECT_EQ(kS3dPhase_PlSinCosLuts(&sine, &cosine, 0, 14, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhase_PlSinCosLuts(&sine, &cosine, 5, 31, kNULL), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kS3dPhase_PlSinCosLuts(&sine, kNULL, 5, 14, kNULL), kSTATUS_BAD_PARAMETER);
    for (kSize step = 0; step < 2; ++step)
    {
        ktest::CountingAlloc alloc;
        kCountingAlloc_SetFailAfter(alloc, step);
        EXPECT_NE(kS3dPhase_PlSinCosLuts(&sine, &cosine, 5, 14, alloc), kOK) << step;
        EXPECT_EQ(sine, kNULL);
        EXPECT_EQ(cosine, kNULL);
        EXPECT_EQ(alloc.Outstanding(), 0u) << step;
    }
    ktest::CountingAlloc alloc;
    kCountingAlloc_SetFailAfter(alloc, 0);
    kArray1 table = kNULL;
    EXPECT_EQ(kS3dStripe_PlCodeLut(&table, 3, alloc), kSTATUS_MEMORY);
    EXPECT_EQ(table, kNULL);
}
