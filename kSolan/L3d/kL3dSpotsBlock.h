/**
 * @file    kL3dSpotsBlock.h
 * @brief   Spots block: turns camera images or hardware spot lists into spot lists.
 */
#ifndef K_SOLAN_L3D_SPOTS_BLOCK_H
#define K_SOLAN_L3D_SPOTS_BLOCK_H

#include <kSolan/kSolanDef.h>

/**
 * Port ids of the spots block.
 */
typedef k32s kL3dSpotsBlockPort;
#define kL3D_SPOTS_BLOCK_INFPGA (0)   ///< "InFPGA": images or hardware spot lists.
#define kL3D_SPOTS_BLOCK_OUTSPOTS (1) ///< "OutSpots".
#define kL3D_SPOTS_BLOCK_OUTPLOT (2)  ///< "OutPlot".
kDeclareValue(kL3dSpotsBlockPort);

/**
 * Spot detector of the spots block ("SpotAlgorithm").
 */
typedef k32s kL3dSpotsBlockAlgType;
#define kL3D_SPOTS_BLOCK_ALG_TYPE_ACG (0)   ///< Centre of gravity.
#define kL3D_SPOTS_BLOCK_ALG_TYPE_SOBEL (1) ///< Sobel edge pairs.
kDeclareValue(kL3dSpotsBlockAlgType);

/**
 * Spot record format of an output list ("SpotType").
 */
typedef k32s kL3dSpotType;
#define kL3D_SPOT_TYPE_SPOT (0)           ///< kSpot.
#define kL3D_SPOT_TYPE_FPGA_SPOT (1)      ///< kFpgaSpot.
#define kL3D_SPOT_TYPE_FPGA_WIDE_SPOT (2) ///< kFpgaWideSpot.
kDeclareValue(kL3dSpotType);

#endif
