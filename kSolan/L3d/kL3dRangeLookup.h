/**
 * @file    kL3dRangeLookup.h
 * @brief   Range lookup of the laser profiler: spot centres to world coordinates.
 */
#ifndef K_SOLAN_L3D_RANGE_LOOKUP_H
#define K_SOLAN_L3D_RANGE_LOOKUP_H

#include <kSolan/kSolanDef.h>

/**
 * Interpolation used by a range lookup.
 */
typedef k32s kL3dRangeLookupMethod;
#define kL3D_LOOKUP_SINGULAR_LINEAR (0) ///< Linear.
#define kL3D_LOOKUP_LINEAR_CUBIC (1)    ///< Linear along slices, cubic along centres.
#define kL3D_LOOKUP_PL_LINEAR_CUBIC (2) ///< Piecewise-linear variant of linear-cubic.
kDeclareValue(kL3dRangeLookupMethod);

#endif
