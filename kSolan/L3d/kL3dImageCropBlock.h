/**
 * @file    kL3dImageCropBlock.h
 * @brief   Image crop block: crops and subsamples images to a region of the imager.
 */
#ifndef K_SOLAN_L3D_IMAGE_CROP_BLOCK_H
#define K_SOLAN_L3D_IMAGE_CROP_BLOCK_H

#include <kSolan/kSolanDef.h>

/**
 * Port ids of the image crop block.
 * Its registration operation exists, but the library deliberately does not register it:
 * the name never resolves and the type handle stays empty.
 */
typedef k32s kL3dImageCropBlockPort;
#define kL3D_IMAGE_CROP_BLOCK_INIMAGE (0)  ///< Image input.
#define kL3D_IMAGE_CROP_BLOCK_OUTIMAGE (1) ///< Cropped image output.
kDeclareValue(kL3dImageCropBlockPort);

#endif
