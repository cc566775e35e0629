/**
 * @file    kCameraInfo.h
 * @brief   kCameraInfo: the description of a camera model, with its range table limits.
 */
#ifndef K_TESSEL_CAMERA_INFO_H
#define K_TESSEL_CAMERA_INFO_H

#include <kTessel/kTsApiDef.h>

/** Limits of a camera model's range lookup tables, in the order the model declares them. */
typedef struct kRangeLutCaps
{
    k32u rowCount;             ///< Table rows (slices the camera can look up).
    k32u sliceCount;           ///< Calibration slices the tables are made from.
    k32u minCentroidStep;      ///< Smallest centre step, 1/256 pixel.
    k32u minSliceStep;         ///< Smallest slice step.
    k32u minValidCentroidStep; ///< Smallest centre step of the validity table.
    k32u maxCentroidCount;     ///< Most centre nodes per row.
    k32u maxValidCount;        ///< Most entries of the validity table.
    k32u maxValueCount;        ///< Most values of the X and Z tables together.
} kRangeLutCaps;

kDeclareValue(kRangeLutCaps);

typedef kObject kCameraInfo;
kDeclareClass(kCameraInfo, kObject);

/** Range table limits of the model. */
kFx(kRangeLutCaps) kCameraInfo_RangeLutCaps(kCameraInfo info);

#endif
