// Pixel lookup-table contents against direct computation.
#include <kTestSupport.h>

#include <kTessel.h>
#include <kTessel/kTesselImageUtils.h>

#include <cmath>

TEST(PixelLut, DefaultAndGammaTables)
{
    ktest::CountingAlloc alloc;
    kArray1 lut = kNULL;
    ASSERT_EQ(kArray1_Construct(&lut, kTypeOf(k8u), 1024, alloc), kOK);
    ASSERT_EQ(kTesselImageUtils_PixelLutFillDefault(lut), kOK);
    for (kSize i : {0u, 3u, 4u, 515u, 1023u})
        EXPECT_EQ(*kArray1_AtT<k8u>(lut, i), (k8u)(i / 4)) << i;

    ASSERT_EQ(kTesselImageUtils_PixelLutFillGammaCorrection(lut, 2.0), kOK);
    EXPECT_EQ(*kArray1_AtT<k8u>(lut, 0), 0);
    EXPECT_EQ(*kArray1_AtT<k8u>(lut, 1023), 255);
    // 255 × (511 / 1023)² = 63.62…
    EXPECT_EQ(*kArray1_AtT<k8u>(lut, 511), 64);
    ASSERT_EQ(kTesselImageUtils_PixelLutFillGammaCorrection(lut, 0.2), kOK);
    for (kSize i = 0; i < 1024; i += 93)
    {
        k64f expected = 255.0 * std::pow(i / 1023.0, 0.2);
        EXPECT_EQ(*kArray1_AtT<k8u>(lut, i), (k8u)(expected + 0.5)) << i;
    }

    ASSERT_EQ(kArray1_Allocate(lut, kTypeOf(k8u), 1), kOK);
    ASSERT_EQ(kTesselImageUtils_PixelLutFillGammaCorrection(lut, 2.0), kOK);
    EXPECT_EQ(*kArray1_AtT<k8u>(lut, 0), 255);
    EXPECT_EQ(kTesselImageUtils_PixelLutFillGammaCorrection(lut, 0.0), kSTATUS_BAD_PARAMETER);
    ASSERT_EQ(kArray1_Allocate(lut, kTypeOf(k16u), 4), kOK);
    EXPECT_EQ(kTesselImageUtils_PixelLutFillDefault(lut), kSTATUS_BAD_PARAMETER);
    kObject_Destroy(lut);
}
