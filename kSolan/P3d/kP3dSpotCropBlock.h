/**
 * @file    kP3dSpotCropBlock.h
 * @brief   Spot crop block: finds the laser spot and crops later images to its region.
 */
#ifndef K_SOLAN_P3D_SPOT_CROP_BLOCK_H
#define K_SOLAN_P3D_SPOT_CROP_BLOCK_H

#include <kSolan/kSolanDef.h>

/**
 * Port ids of the spot crop block.
 */
typedef k32s kP3dSpotCropBlockPort;
#define kP3D_SPOT_CROP_BLOCK_IN_IMAGE (0)          ///< "InImage".
#define kP3D_SPOT_CROP_BLOCK_OUT_CROPPED_IMAGE (1) ///< "CroppedImage".
kDeclareValue(kP3dSpotCropBlockPort);

#endif
