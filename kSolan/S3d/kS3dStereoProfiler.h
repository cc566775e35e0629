/**
 * @file    kS3dStereoProfiler.h
 * @brief   Stereo profiler: rectification and disparity or phase lookups from two camera views
 *          to 3D, through fixed-point tables built from a stereo calibration.
 *
 * The façade owns one inner profiler, a kS3dStereoProfilerHost or a kS3dStereoProfilerCuda,
 * chosen at construction, and forwards every operation to it (see kS3dStereoProfilerBase.h
 * for the tables and their units, kernels/kS3dStereoProfilerKernels.h for the lookups).
 *
 * Usage: load a kS3dStereoCal; construct with the windows, transform and range resolution;
 * optionally set the lookup type, active area, transform, temperature and expansion
 * correction, or update the windows between frames; then look points up from any number of
 * threads through kS3dStereoProfiler_HwContext (or the inline helpers below); destroy.
 */
#ifndef K_S3D_STEREO_PROFILER_H
#define K_S3D_STEREO_PROFILER_H

#include <kSolan/S3d/kS3dStereoProfilerCuda.h>
#include <kSolan/S3d/kS3dStereoProfilerHost.h>

/** A matched pair of points of the two views (the rigid merge's input). */
typedef struct kS3dStereoProfilerPair
{
    kPoint3d16s source;
    kPoint3d16s target;
} kS3dStereoProfilerPair;
kDeclareValue(kS3dStereoProfilerPair);

/** The same pair, as the dependent-view profiler names it. */
typedef struct kS3dStereoProfilerDepPair
{
    kPoint3d16s source;
    kPoint3d16s target;
} kS3dStereoProfilerDepPair;
kDeclareValue(kS3dStereoProfilerDepPair);

typedef kObject kS3dStereoProfiler;
kDeclareClass(kS3dStereoProfiler, kObject);

/** GPU requests of kS3dStereoProfiler_Construct. */
#define kS3D_STEREO_PROFILER_CUDA_OFF (0)    ///< Host.
#define kS3D_STEREO_PROFILER_CUDA_PROBE (1)  ///< GPU when the runtime, asked again, has a device.
#define kS3D_STEREO_PROFILER_CUDA_CACHED (2) ///< GPU when the first probe found a device.

/**
 * Constructs a profiler.
 *
 * @param profiler   Receives the profiler (the caller owns one reference); set only on success.
 * @param cudaMode   0 host; 1 or 2 the CUDA variant when kCudaDevice_IsAvailable(mode == 1)
 *                   says so, else host (silently); any other value host.
 * @param params     Windows, transform, range resolution, expansion parameters.
 * @param cal        Calibration (borrowed for the call; not kept).
 * @param allocator  Allocator of the profiler and its tables (null: application allocator).
 * @return as kS3dStereoProfilerHost_Construct.
 */
kFx(kStatus) kS3dStereoProfiler_Construct(kS3dStereoProfiler* profiler, k32u cudaMode,
                                          const kS3dStereoProfilerParams* params, kS3dStereoCal cal,
                                          kAlloc allocator);

/** True when the inner profiler is the CUDA variant. */
kFx(kBool) kS3dStereoProfiler_IsCuda(kS3dStereoProfiler profiler);
/** Host context (borrowed). */
kFx(kS3dStereoProfilerHwContext) kS3dStereoProfiler_HwContext(kS3dStereoProfiler profiler);
/** Device context of the CUDA variant (borrowed), or null for the host variant. */
kFx(kS3dStereoProfilerHwContext) kS3dStereoProfiler_HwContextCuda(kS3dStereoProfiler profiler);

/** Window update (see kS3dStereoProfilerBase_UpdateWindow); the CUDA variant re-copies the
 *  rectification description to the device. */
kFx(kStatus)
    kS3dStereoProfiler_UpdateWindow(kS3dStereoProfiler profiler, const kL3dCameraWindow* window0,
                                    const kL3dCameraWindow* window1);

/**
 * Disparity lookups of a batch (x = px0, y = px1, z = py): on the GPU for the CUDA variant
 * when a device is present (arrays must then be device memory), else on the host.
 */
kFx(kStatus) kS3dStereoProfiler_LookupDisparityN(kS3dStereoProfiler profiler, kArray1 rectified,
                                                 kArray1 points);

kFx(kStatus) kS3dStereoProfiler_SetLookupType(kS3dStereoProfiler profiler, k32u type);
kFx(k32u) kS3dStereoProfiler_LookupType(kS3dStereoProfiler profiler);
kFx(kStatus) kS3dStereoProfiler_SetTransform(kS3dStereoProfiler profiler, const k64f* transform);
kFx(const k64f*) kS3dStereoProfiler_Transform(kS3dStereoProfiler profiler);
kFx(kStatus)
    kS3dStereoProfiler_SetActiveAreaRoi(kS3dStereoProfiler profiler, const kRect3d64f* roi);
kFx(kRect3d64f) kS3dStereoProfiler_ActiveAreaRoi(kS3dStereoProfiler profiler);
kFx(k64f) kS3dStereoProfiler_ReferenceTemperature(kS3dStereoProfiler profiler);
kFx(kStatus) kS3dStereoProfiler_SetTemperature(kS3dStereoProfiler profiler, k64f temperature);
kFx(k64f) kS3dStereoProfiler_Temperature(kS3dStereoProfiler profiler);
kFx(kStatus)
    kS3dStereoProfiler_EnableExpansionCorrection(kS3dStereoProfiler profiler, kBool enable);
kFx(kBool) kS3dStereoProfiler_ExpansionCorrectionEnabled(kS3dStereoProfiler profiler);
kFx(kStatus) kS3dStereoProfiler_TermalExpansionParams(kS3dStereoProfiler profiler, k64f* distance0,
                                                      k64f* distance1, k64f* coefficient);
kFx(k32u) kS3dStereoProfiler_LeftViewIndex(kS3dStereoProfiler profiler);
kFx(k32s) kS3dStereoProfiler_DisparityMin(kS3dStereoProfiler profiler);
kFx(k32s) kS3dStereoProfiler_DisparityMax(kS3dStereoProfiler profiler);
kFx(kStatus) kS3dStereoProfiler_SetResolution(kS3dStereoProfiler profiler, k64f resolution);
kFx(k64f) kS3dStereoProfiler_Resolution(kS3dStereoProfiler profiler);
kFx(kStatus)
    kS3dStereoProfiler_SetProjectionResolution(kS3dStereoProfiler profiler, k64f resolution);
kFx(k64f) kS3dStereoProfiler_ProjectionResolution(kS3dStereoProfiler profiler);
kFx(kRect3d64f) kS3dStereoProfiler_CalibrationVolume(kS3dStereoProfiler profiler);
kFx(kBool) kS3dStereoProfiler_TransposeAt(kS3dStereoProfiler profiler, kSize view);
kFx(kSize) kS3dStereoProfiler_MemoryUsage(kS3dStereoProfiler profiler);
kFx(kStatus) kS3dStereoProfiler_EvaluateImagePhase64f(kS3dStereoProfiler profiler, kSize view,
                                                      const kPoint64f* imagePoint,
                                                      kPoint3d64f* point3d, k64f phase);
kFx(kStatus) kS3dStereoProfiler_EvaluateImageDisparity64f(kS3dStereoProfiler profiler,
                                                          const kPoint64f* imagePoint0,
                                                          const kPoint64f* imagePoint1,
                                                          kPoint3d64f* point3d);
kFx(kStatus)
    kS3dStereoProfiler_RectificationError(kS3dStereoProfiler profiler, const kPoint64f* imagePoint0,
                                          const kPoint64f* imagePoint1, k64f* error);

/** Rectify through the host context (see kS3dStereoProfilerHwContext_Rectify). */
inline void kS3dStereoProfiler_Rectify(kS3dStereoProfiler profiler, k32u view, k32s x, k32s y,
                                       k16s* px, k16s* py)
{
    kS3dStereoProfilerHwContext_Rectify(kS3dStereoProfiler_HwContext(profiler), view, x, y, px, py);
}

/** Phase lookup through the host context. */
inline void kS3dStereoProfiler_LookupPhase(kS3dStereoProfiler profiler, k32u view, k16s px, k16s py,
                                           k32s phase, kPoint3d16s* point)
{
    kS3dStereoProfilerHwContext_LookupPhase(kS3dStereoProfiler_HwContext(profiler), view, px, py,
                                            phase, point);
}

/** Disparity lookup through the host context. */
inline void kS3dStereoProfiler_LookupDisparity(kS3dStereoProfiler profiler, k16s px0, k16s px1,
                                               k16s py, kPoint3d16s* point)
{
    kS3dStereoProfilerHwContext_LookupDisparity(kS3dStereoProfiler_HwContext(profiler), px0, px1,
                                                py, point);
}

#endif
