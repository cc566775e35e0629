/**
 * @file    kS3dStereoProfilerBase.h
 * @brief   Stereo profiler tables and host logic, shared by the host and CUDA variants.
 *
 * Construction turns a stereo calibration into fixed-point tables (see
 * kernels/kS3dStereoProfilerKernels.h for the units and the lookups):
 * - two rectification maps, one `kPoint16s` per full-resolution image row and projection grid
 *   column, rows between grid rows interpolated linearly (truncating);
 * - one disparity table (projection x of view 0, projection y, disparity) → `kPoint3d16s`;
 * - two phase tables (projection x, projection y, phase) → `kPoint3d16s`, sharing one lattice.
 * Table entries are the calibration's world points divided by the range resolution and
 * rounded half away from zero; entries whose scaled value is below −32767 or not below 32766
 * stay null (the asymmetric range is deliberate).
 *
 * The calibration record is not kept: a new calibration needs a new profiler. After
 * construction the tables are read-only and lookups may run on any number of threads; the
 * setters are not synchronised.
 *
 * Bounds and refusals (decisions where the tables alone would allow reading outside them):
 * - entry arrays shorter than their map's cells claim end construction with kSTATUS_FAILED (0)
 *   before any entry past their end is read (the view-orientation rule fails the same way);
 * - entries whose layer falls outside the dense table are skipped, never written;
 * - a phase view without a valid cell is left out of the shared third-axis bounds (with
 *   neither view valid the tables are one null layer at k32S_NULL, like an empty disparity
 *   map), so an empty view never stretches the table from k32S_NULL;
 * - a step of 0 gives shift, mask and round 0; a third-axis step of 0 gives a disparity table
 *   of one layer and phase tables of none, which look up null;
 * - steps must be 0 or powers of two, at most 256 for ProjectionXStep (its shift includes the
 *   8 fractional bits of image coordinates) and 65536 for the others, images below 2^23
 *   pixels a side and every table at most kS3D_STEREO_PROFILER_MAX_ENTRIES entries, else
 *   construction fails with kSTATUS_BAD_PARAMETER;
 * - rectification refuses negative full-resolution coordinates as well as those at or beyond
 *   the map's limits, and every lookup tests its lattice indices (see the kernels header).
 *
 * Use the façade kS3dStereoProfiler; the operations here are what it forwards to.
 */
#ifndef K_S3D_STEREO_PROFILER_BASE_H
#define K_S3D_STEREO_PROFILER_BASE_H

#include <kSolan/S3d/kS3dStereoCal.h>
#include <kSolan/S3d/kernels/kS3dStereoProfilerKernels.h>
#include <kSolan/L3d/kL3dXml.h>

/** Construction parameters of a stereo profiler. */
typedef struct kS3dStereoProfilerParams
{
    kL3dCameraWindow window0; ///< Camera window of view 0 ("Window0\X" ... "\YSubsampling").
    kL3dCameraWindow window1; ///< Camera window of view 1.
    k64f transform[12];       ///< 3×4 row-major: XX, XY, XZ, XT, YX, ... ZT ("Transform\XX").
    k64f rangeResolution;     ///< World units per count of the 16-bit outputs (> 0).
    k64f expansionDistance0;  ///< Thermal expansion parameters (used by the surface generator).
    k64f expansionDistance1;
    k64f expansionCoefficient;
} kS3dStereoProfilerParams;

/** Largest number of entries of one table or map; larger calibrations are refused. */
#define kS3D_STEREO_PROFILER_MAX_ENTRIES ((k64u)1 << 28)

typedef kObject kS3dStereoProfilerBase;
kDeclareClass(kS3dStereoProfilerBase, kObject);

/**
 * Recomputes the window part of the rectification description: the window origins in
 * full-resolution pixels after inversion and transposition, and the sub-sampling shifts.
 * Both views share the shifts and view 1 is applied last, so view 1's sub-sampling governs
 * both; this is intended, and the two windows are expected to use the same sub-sampling.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (nothing changed) for a missing window or a sub-sampling
 *         above 65536.
 */
kFx(kStatus) kS3dStereoProfilerBase_UpdateWindow(kS3dStereoProfilerBase profiler,
                                                 const kL3dCameraWindow* window0,
                                                 const kL3dCameraWindow* window1);

/** Host context: pointers into the profiler's own tables (borrowed). */
kFx(kS3dStereoProfilerHwContext) kS3dStereoProfilerBase_HwContext(kS3dStereoProfilerBase profiler);

/**
 * Disparity lookups of a batch on the host: points[i] = LookupDisparity(rectified[i].x,
 * rectified[i].y, rectified[i].z), that is (px0, px1, py).
 *
 * @param rectified  `kArray1` of `kPoint3d16s`.
 * @param points     `kArray1` of `kPoint3d16s` of the same length.
 * @return kOK; kSTATUS_BAD_PARAMETER for other arrays.
 */
kFx(kStatus) kS3dStereoProfilerBase_LookupDisparityN(kS3dStereoProfilerBase profiler,
                                                     kArray1 rectified, kArray1 points);

/** Lookup type, a stripe lookup type of the surface generator (0 "Disparity" … 7). */
kFx(kStatus) kS3dStereoProfilerBase_SetLookupType(kS3dStereoProfilerBase profiler, k32u type);
kFx(k32u) kS3dStereoProfilerBase_LookupType(kS3dStereoProfilerBase profiler);

/** Output transform (twelve values, row-major 3×4), applied by the surface generator. */
kFx(kStatus)
    kS3dStereoProfilerBase_SetTransform(kS3dStereoProfilerBase profiler, const k64f* transform);
kFx(const k64f*) kS3dStereoProfilerBase_Transform(kS3dStereoProfilerBase profiler);

/** Clipping region in world units; null sets the null area (every member k64F_NULL). */
kFx(kStatus)
    kS3dStereoProfilerBase_SetActiveAreaRoi(kS3dStereoProfilerBase profiler, const kRect3d64f* roi);
kFx(kRect3d64f) kS3dStereoProfilerBase_ActiveAreaRoi(kS3dStereoProfilerBase profiler);

/** The calibration's temperature. */
kFx(k64f) kS3dStereoProfilerBase_ReferenceTemperature(kS3dStereoProfilerBase profiler);
/** Current sensor temperature (k64F_NULL until set). */
kFx(kStatus)
    kS3dStereoProfilerBase_SetTemperature(kS3dStereoProfilerBase profiler, k64f temperature);
kFx(k64f) kS3dStereoProfilerBase_Temperature(kS3dStereoProfilerBase profiler);

/**
 * Switches the thermal-expansion correction (applied by the surface generator).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (flag unchanged) when enabling while any of the three
 *         expansion parameters is 0 or k64F_NULL. Disabling always succeeds.
 */
kFx(kStatus)
    kS3dStereoProfilerBase_EnableExpansionCorrection(kS3dStereoProfilerBase profiler, kBool enable);
kFx(kBool) kS3dStereoProfilerBase_ExpansionCorrectionEnabled(kS3dStereoProfilerBase profiler);
/** The expansion parameters (each output may be null). */
kFx(kStatus)
    kS3dStereoProfilerBase_TermalExpansionParams(kS3dStereoProfilerBase profiler, k64f* distance0,
                                                 k64f* distance1, k64f* coefficient);

/** 1 when the calibration's disparity runs against depth in view 0's favour (see the cal). */
kFx(k32u) kS3dStereoProfilerBase_LeftViewIndex(kS3dStereoProfilerBase profiler);

/** First disparity of the table. */
kFx(k32s) kS3dStereoProfilerBase_DisparityMin(kS3dStereoProfilerBase profiler);
/** originZ + stepZ × (countZ + 1): one step beyond the table's end, kept as it is. */
kFx(k32s) kS3dStereoProfilerBase_DisparityMax(kS3dStereoProfilerBase profiler);

kFx(kStatus) kS3dStereoProfilerBase_SetResolution(kS3dStereoProfilerBase profiler, k64f resolution);
kFx(k64f) kS3dStereoProfilerBase_Resolution(kS3dStereoProfilerBase profiler);
kFx(kStatus) kS3dStereoProfilerBase_SetProjectionResolution(kS3dStereoProfilerBase profiler,
                                                            k64f resolution);
kFx(k64f) kS3dStereoProfilerBase_ProjectionResolution(kS3dStereoProfilerBase profiler);

/**
 * Bounding box of every valid table entry in world units (entries × resolution at
 * construction); all six members k64F_NULL when the tables hold no valid entry.
 */
kFx(kRect3d64f) kS3dStereoProfilerBase_CalibrationVolume(kS3dStereoProfilerBase profiler);

/** Transpose flag of view 0 or 1 (asserts view ≤ 1; kFALSE for another view). */
kFx(kBool) kS3dStereoProfilerBase_TransposeAt(kS3dStereoProfilerBase profiler, kSize view);

/** Object size plus the data of the two maps and three tables, in bytes. */
kFx(kSize) kS3dStereoProfilerBase_MemoryUsage(kS3dStereoProfilerBase profiler);

/**
 * World point (world units) of a window point of one view at a phase in calibration phase
 * units (converted to 16 fractional bits as phase × 65536 + 0.5 truncated; negative phases
 * give 0). Components are k64F_NULL where the lookup is null or a coordinate cannot be held
 * in 1/256 pixel.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a missing point or a view above 1.
 */
kFx(kStatus) kS3dStereoProfilerBase_EvaluateImagePhase64f(kS3dStereoProfilerBase profiler,
                                                          kSize view, const kPoint64f* imagePoint,
                                                          kPoint3d64f* point3d, k64f phase);

/**
 * World point of a pair of window points (view 0, view 1): both rectified, then looked up by
 * disparity on view 0's rectified row.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a missing point.
 */
kFx(kStatus) kS3dStereoProfilerBase_EvaluateImageDisparity64f(kS3dStereoProfilerBase profiler,
                                                              const kPoint64f* imagePoint0,
                                                              const kPoint64f* imagePoint1,
                                                              kPoint3d64f* point3d);

/**
 * Vertical misalignment of two rectified window points, (py1 − py0) × projection resolution
 * in world units; k64F_NULL when an input is k64F_NULL or either point does not rectify.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when a point or the output is missing.
 */
kFx(kStatus) kS3dStereoProfilerBase_RectificationError(kS3dStereoProfilerBase profiler,
                                                       const kPoint64f* imagePoint0,
                                                       const kPoint64f* imagePoint1, k64f* error);

#endif
