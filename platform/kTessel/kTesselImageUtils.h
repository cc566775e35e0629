/**
 * @file    kTesselImageUtils.h
 * @brief   Contents of a camera's 8-bit pixel lookup table: the platform's default table and
 *          gamma tables.
 *
 * A pixel table of N entries maps the camera's N input levels (N = 1024 for a 10-bit imager)
 * onto 8-bit output values; entry i is the output for input level i.
 */
#ifndef K_TESSEL_IMAGE_UTILS_H
#define K_TESSEL_IMAGE_UTILS_H

#include <kTessel/kTsApiDef.h>
#include <kBasis/kArray1.h>

/**
 * Fills the default table: the input range scaled linearly onto 0 … 255, entry i =
 * floor(i × 256 / N) (for N = 1024, i >> 2: the imager's top eight bits).
 *
 * @param lut  kArray1 of k8u, N entries.
 * @return kOK; kSTATUS_BAD_PARAMETER for another array.
 */
kFx(kStatus) kTesselImageUtils_PixelLutFillDefault(kArray1 lut);

/**
 * Fills a gamma table: entry i = round(255 × (i / (N − 1))^gamma), rounded half away from zero
 * (a single entry is 255).
 *
 * @param lut    kArray1 of k8u, N entries.
 * @param gamma  Exponent, greater than 0 (0.2 brightens dark levels, 2.0 darkens them).
 * @return kOK; kSTATUS_BAD_PARAMETER for another array or a gamma that is not positive.
 */
kFx(kStatus) kTesselImageUtils_PixelLutFillGammaCorrection(kArray1 lut, k64f gamma);

#endif
