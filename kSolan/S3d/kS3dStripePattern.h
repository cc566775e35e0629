/**
 * @file    kS3dStripePattern.h
 * @brief   Stripe pattern generator: the projector rows of a stripe-plus-phase scan.
 *
 * A plain structure with C-style functions (not a registered type): created with
 * kS3dStripePattern_Create or _Construct, freed with kS3dStripePattern_Destroy.
 *
 * The pattern map holds one 8-bit row per projected pattern, one column per projector column,
 * in four groups: reference (flat) rows, Gray-code rows, a first set of phase-shifted
 * raised-cosine fringes and a second set. Every value is shaped by a quadratic uniformity
 * profile, u at the centre and rising towards 1 at the edges (u = 0 switches it off), that
 * compensates the projector's fall-off. All levels are written as truncate(… + 0.5), from
 * Imax = truncate(maximum intensity × 255 + 0.5) and A = truncate(phase intensity × 255 + 0.5):
 * - reference row r of R: Imax div 2 when R = 1, else truncate(Imax × r / (R − 1));
 * - Gray rows, coarsest first: with w the line width halved after each row, the column is
 *   bright (Imax) when truncate((x + 0.5 + w / 2) / w) is odd: the first row is dark on the
 *   left half of a line and bright on the right;
 * - fringe row p of n, period w (the first set: the line width halved once per Gray row; the
 *   second: halved secondPeriodHalvings times): t = x + p w / n + 0.5, d = t − round(t / w) w,
 *   z = clamp(2d / (duty w), −1, 1), value A (cos(π z) + 1) / 2. Each row is the previous one
 *   shifted by w / n columns; a duty below 1 gives a narrower bump on a dark ground.
 */
#ifndef K_S3D_STRIPE_PATTERN_H
#define K_S3D_STRIPE_PATTERN_H

#include <kSolan/kSolanDef.h>

/** Parameters of a stripe pattern, in this order. */
typedef struct kS3dStripePatternParams
{
    k32u width;                ///< Pattern columns (projector width).
    k32u lineWidth;            ///< Period of the coarsest Gray stripe in columns; 0: the width.
    k32u height;               ///< Rows of the images handed out.
    k32u referenceCount;       ///< Flat reference rows; 0 means 1.
    k32u grayCount;            ///< Gray-code rows.
    k32u phaseCount;           ///< Rows of the first fringe set.
    k32u secondPhaseCount;     ///< Rows of the second fringe set.
    k32u secondPeriodHalvings; ///< The second set's period: the line width halved this often.
    k64f fringeDuty;           ///< Fraction of a period covered by the raised-cosine bump.
    k64f maxIntensity;         ///< 0 … 1: level of reference and Gray rows.
    k64f phaseIntensity;       ///< 0 … 1: amplitude of the fringe rows.
    k64f uniformity;           ///< Profile value at the centre relative to the edges; 0: off.
} kS3dStripePatternParams;

/** A rendered stripe pattern. */
typedef struct kS3dStripePattern
{
    kS3dStripePatternParams params; ///< As given, with the defaults applied.
    kArray2 map;                    ///< k8u, image count rows × width.
    kArray1 profile;                ///< k64f, one factor per column.
    k32s maxLevel;                  ///< Imax.
    k32s amplitude;                 ///< A.
} kS3dStripePattern;

/** Pattern kinds of kS3dStripePattern_Image. */
#define kS3D_STRIPE_PATTERN_REFERENCE (0)
#define kS3D_STRIPE_PATTERN_GRAY (1)
#define kS3D_STRIPE_PATTERN_PHASE (2)
#define kS3D_STRIPE_PATTERN_SECOND_PHASE (3)

/** Allocates a zeroed pattern (free it with kS3dStripePattern_Destroy). */
kFx(kStatus) kS3dStripePattern_Create(kS3dStripePattern** pattern);

/** Create, then Init; on failure nothing is left and *pattern is null. */
kFx(kStatus)
    kS3dStripePattern_Construct(kS3dStripePattern** pattern, const kS3dStripePatternParams* params);

/**
 * Releases what the pattern holds, copies the parameters (reference count 0 → 1, line width
 * 0 → width), builds the profile and renders every row.
 */
kFx(kStatus)
    kS3dStripePattern_Init(kS3dStripePattern* pattern, const kS3dStripePatternParams* params);

/** Releases the map and the profile and frees the structure (null accepted). */
kFx(kStatus) kS3dStripePattern_Destroy(kS3dStripePattern* pattern);

/** The parameters as stored. */
kFx(const kS3dStripePatternParams*) kS3dStripePattern_Params(const kS3dStripePattern* pattern);

/** Renders every row into a new map (the old one is released). */
kFx(kStatus) kS3dStripePattern_Update(kS3dStripePattern* pattern);

/**
 * Re-renders reference row `row` at `level` (0 … 255): truncate(profile(x) × level + 0.5).
 *
 * @return kOK; kSTATUS_FAILED (0, nothing changed) for a row not below the reference count:
 *         kept so for the callers that test for it.
 */
kFx(kStatus)
    kS3dStripePattern_SetReferenceIntensity(kS3dStripePattern* pattern, k32u row, k32u level);

/**
 * A new `k8u` image, width × height, every row a copy of one map row.
 *
 * @param kind   kS3D_STRIPE_PATTERN_REFERENCE, _GRAY, _PHASE or _SECOND_PHASE.
 * @param index  Row within that group.
 * @param image  Receives the image (the caller owns it).
 * @return kOK; kSTATUS_BAD_PARAMETER for an unknown kind or an index outside the group.
 */
kFx(kStatus)
    kS3dStripePattern_Image(const kS3dStripePattern* pattern, k32u kind, k32u index, kImage* image);

/** A new `kArrayList` of the images of kinds 0, 1, 2 and 3 in this order, all indices of each. */
kFx(kStatus) kS3dStripePattern_ImageList(const kS3dStripePattern* pattern, kArrayList* list);

/** A new map with the reference, Gray and first fringe rows only (no second fringe set, on
 * purpose). */
kFx(kStatus) kS3dStripePattern_Map(const kS3dStripePattern* pattern, kArray2* map);

/** A copy of the whole map, all four groups. */
kFx(kStatus) kS3dStripePattern_WideMap(const kS3dStripePattern* pattern, kArray2* map);

/** Rows of the pattern map. */
kFx(k32u) kS3dStripePattern_ImageCount(const kS3dStripePattern* pattern);

/** 2 to the power of the Gray count (0 when that does not fit 32 bits). */
kFx(k32u) kS3dStripePattern_LineCount(const kS3dStripePattern* pattern);

/** Line width div line count, or all ones when the line count is 0. */
kFx(k32u) kS3dStripePattern_LineWidth(const kS3dStripePattern* pattern);

/**
 * Saves the image list followed by the map (kS3dStripePattern_Map) to a version-5 data file
 * (extension "kdat"). The list and the map are released in every case.
 *
 * @return kOK; kSTATUS_STREAM when the file cannot be written; allocation failures.
 */
kFx(kStatus) kS3dStripePattern_Export(const kS3dStripePattern* pattern, const kChar* fileName);

#endif
