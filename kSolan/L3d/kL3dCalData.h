/**
 * @file    kL3dCalData.h
 * @brief   Per-line calibration data of a laser sensor (the abstract base of its two kinds).
 */
#ifndef K_SOLAN_L3D_CAL_DATA_H
#define K_SOLAN_L3D_CAL_DATA_H

#include <kSolan/kSolanDef.h>

/**
 * Kind of per-line calibration data.
 */
typedef k32s kL3dCalDataType;
#define kL3D_CAL_POLYNOMIAL (0) ///< Polynomial fits per slice.
#define kL3D_CAL_RANGE (1)      ///< Range tables per slice.
kDeclareValue(kL3dCalDataType);

#endif
