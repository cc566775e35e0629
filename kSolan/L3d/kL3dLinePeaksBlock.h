/**
 * @file    kL3dLinePeaksBlock.h
 * @brief   Line peaks block: turns images into column peaks.
 */
#ifndef K_SOLAN_L3D_LINE_PEAKS_BLOCK_H
#define K_SOLAN_L3D_LINE_PEAKS_BLOCK_H

#include <kSolan/kSolanDef.h>

/**
 * Port ids of the line peaks block.
 * Its registration operation exists, but the library deliberately does not register it:
 * the name never resolves and the type handle stays empty.
 */
typedef k32s kL3dLinePeaksBlockPort;
#define kL3D_LINE_PEAKS_BLOCK_INFPGA (0)       ///< "InFPGA".
#define kL3D_LINE_PEAKS_BLOCK_OUTLINEPEAKS (1) ///< "OutLinePeaks".
kDeclareValue(kL3dLinePeaksBlockPort);

#endif
