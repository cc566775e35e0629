/**
 * @file    kL3dRangeCalData.h
 * @brief   Range-table calibration data of one laser line.
 */
#ifndef K_SOLAN_L3D_RANGE_CAL_DATA_H
#define K_SOLAN_L3D_RANGE_CAL_DATA_H

#include <kSolan/kSolanDef.h>

/**
 * World channel of a range table; the values are bits of a channel mask.
 */
typedef k32s kL3dRangeCalDataChannel;
#define kL3D_RANGE_CAL_DATA_CHANNEL_Z (1) ///< Z (range).
#define kL3D_RANGE_CAL_DATA_CHANNEL_X (2) ///< X.
#define kL3D_RANGE_CAL_DATA_CHANNEL_Y (4) ///< Y.
kDeclareValue(kL3dRangeCalDataChannel);

/**
 * Shape of range-table calibration data: which channels are present and the grid of the
 * tables. Registered by size alone; deliberately not registered with the library.
 */
typedef struct kL3dRangeCalDataParams
{
    k32u channels;     ///< kL3dRangeCalDataChannel bits.
    k32u centreCount;  ///< Table nodes along the centre direction.
    k32u centreStep;   ///< Centre distance between nodes, 1/256 pixel.
    k32u centreOffset; ///< Centre of the first node, 1/256 pixel.
    k32u sliceCount;   ///< Table rows, one per slice.
    k32u sliceStep;    ///< Slice distance between rows.
} kL3dRangeCalDataParams;
kDeclareValue(kL3dRangeCalDataParams);

#endif
