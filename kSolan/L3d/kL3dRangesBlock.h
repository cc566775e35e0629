/**
 * @file    kL3dRangesBlock.h
 * @brief   Ranges block: turns spot lists into calibrated range profiles.
 */
#ifndef K_SOLAN_L3D_RANGES_BLOCK_H
#define K_SOLAN_L3D_RANGES_BLOCK_H

#include <kSolan/kSolanDef.h>

/**
 * Port ids of the ranges block; spot inputs take the ids from kL3D_RANGES_BLOCK_INSPOTS_BEGIN on,
 * one per configured input.
 */
typedef k32s kL3dRangesBlockPort;
#define kL3D_RANGES_BLOCK_OUTRANGES (0)     ///< "OutRanges".
#define kL3D_RANGES_BLOCK_OUTPLOT_XY (1)    ///< "OutPlotXY".
#define kL3D_RANGES_BLOCK_OUTPLOT_XZ (2)    ///< "OutPlotXZ".
#define kL3D_RANGES_BLOCK_INSPOTS_BEGIN (3) ///< First "InSpots" input.
kDeclareValue(kL3dRangesBlockPort);

#endif
