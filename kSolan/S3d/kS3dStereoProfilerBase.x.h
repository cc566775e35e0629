/* Instance struct and private operations of the stereo profiler, for its two variants. */
#ifndef K_S3D_STEREO_PROFILER_BASE_X_H
#define K_S3D_STEREO_PROFILER_BASE_X_H

#include <kSolan/S3d/kS3dStereoProfilerBase.h>

struct kS3dStereoProfilerBaseClass
{
    kObjectClass base;
    kS3dStereoProfilerLutParams3d dispParams;
    kArray3 dispLut; // kPoint3d16s, [countZ][countY][countX]
    kS3dStereoProfilerLutParams3d phaseParams;
    kArray3 phaseLut0;
    kArray3 phaseLut1;
    kS3dStereoProfilerLutParams2d rectParams;
    kArray2 rectMap0; // kPoint16s, [mapHeight][mapWidth]
    kArray2 rectMap1;
    kS3dStereoProfilerHwContextClass* hwContext; // owned; points at the fields above
    k32u lookupType;                             // a stripe lookup type, default 0
    k64f resolution;
    k64f projectionResolution;
    kRect3d64f calibrationVolume;
    kRect3d64f activeAreaRoi;
    k64f transform[12];
    k32u leftViewIndex;
    k64f referenceTemperature;
    kBool expansionCorrectionEnabled;
    k64f temperature;
    k64f expansionDistance0;
    k64f expansionDistance1;
    k64f expansionCoefficient;
};

/**
 * Builds every table from the calibration (after kObject_Init). On failure the caller
 * releases the half-built object with xkS3dStereoProfilerBase_VRelease.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for missing arguments, a record without arrays or with
 *         arrays of another shape, a non-positive resolution, a step that is not 0 or a power
 *         of two (projection x step at most 256, others at most 65536), an image of 2^23
 *         pixels or more, or a table above kS3D_STEREO_PROFILER_MAX_ENTRIES; kSTATUS_FAILED
 *         (0) when entry arrays are shorter than their maps claim; allocation failures.
 */
kStatus xkS3dStereoProfilerBase_InitFields(kS3dStereoProfilerBase profiler,
                                           const kS3dStereoProfilerParams* params,
                                           kS3dStereoCal cal, kAlloc alloc);

kStatus xkS3dStereoProfilerBase_VRelease(kObject profiler);
kStatus xkS3dStereoProfilerBase_VInitClone(kObject profiler, kObject source, kAlloc alloc);
kSize xkS3dStereoProfilerBase_VSize(kObject profiler);

#endif
