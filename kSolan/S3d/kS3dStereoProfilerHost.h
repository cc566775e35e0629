/**
 * @file    kS3dStereoProfilerHost.h
 * @brief   Stereo profiler whose tables live in host memory only.
 */
#ifndef K_S3D_STEREO_PROFILER_HOST_H
#define K_S3D_STEREO_PROFILER_HOST_H

#include <kSolan/S3d/kS3dStereoProfilerBase.h>

typedef kObject kS3dStereoProfilerHost;
kDeclareClass(kS3dStereoProfilerHost, kS3dStereoProfilerBase);

/**
 * Builds the profiler's tables from a calibration (the record is not kept).
 *
 * @param profiler   Receives the profiler (the caller owns one reference); set only on success.
 * @param params     Windows, transform, range resolution and expansion parameters.
 * @param cal        Calibration record (borrowed for the call).
 * @param allocator  Allocator of the profiler and its tables (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for an unusable calibration or resolution (see
 *         kS3dStereoProfilerBase.x.h); kSTATUS_FAILED (0) for entry arrays shorter than their
 *         maps; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dStereoProfilerHost_Construct(kS3dStereoProfilerHost* profiler,
                                              const kS3dStereoProfilerParams* params,
                                              kS3dStereoCal cal, kAlloc allocator);

#endif
