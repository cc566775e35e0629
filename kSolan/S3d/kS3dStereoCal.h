/**
 * @file    kS3dStereoCal.h
 * @brief   Stereo calibration record: both camera views described in one rectified frame.
 *
 * The record is a plain structure (not a platform object) holding the tables that the stereo
 * profiler turns into its fixed-point lookups:
 *
 * - projection grids ProjectionX0/Y0/X1/Y1: `kArray2` of `k32s`, [ProjectionYCount]
 *   [ProjectionXCount]; the projection (rectified) x and y of the image grid point
 *   (column × ProjectionXStep, row × ProjectionYStep) of each view, in projection units of
 *   ProjectionResolution world units; k32S_NULL where the point does not rectify;
 * - the disparity table: DisparityMap, `kArray2` of `kPoint32s` [DisparityYCount]
 *   [DisparityXCount], one sparse column per lattice cell (x = first disparity of the column,
 *   y = number of entries; x = k32S_NULL and y = 0 for an empty cell), and DisparityToX/Y/Z,
 *   `kArray1` of `k32f` with DisparityCount entries: the world point of each entry, cells in
 *   row-major order, entries of a cell consecutive with disparity rising by DisparityDStep;
 *   k32F_NULL for an invalid entry;
 * - one phase table per view in the same layout (PhaseMap0, PhaseToX0/Y0/Z0 with PhaseCount0
 *   entries; PhaseMap1, PhaseToX1/Y1/Z1 with PhaseCount1), the third axis being phase.
 *
 * Lattice cell (i, j) of the disparity table sits at projection x = DisparityXBegin +
 * j × DisparityXStep, y = DisparityYBegin + i × DisparityYStep (the phase tables likewise).
 * Every step is a power of two; a third-axis step (DisparityDStep, PhasePStep) may be 0 in a
 * record without that table.
 *
 * Files are data trees ("StereoCal" root, default file "StereoCal.kdat"). A file is read
 * strictly: beyond the keys themselves, every array must have the documented class, item type
 * and shape, the entry arrays must hold exactly the entries that the map's cells claim, and
 * every step must be 0 or a power of two; anything else is refused (see kS3dStereoCal_Read).
 */
#ifndef K_S3D_STEREO_CAL_H
#define K_S3D_STEREO_CAL_H

#include <kSolan/kSolanDef.h>

/** Scalar attributes of a stereo calibration, in file order. */
typedef struct kS3dStereoCalParams
{
    k64f ProjectionResolution; ///< World units per projection unit.
    k32u ProjectionXCount;     ///< Columns of the projection grids.
    k32u ProjectionXStep;      ///< Image pixels between grid columns (power of two).
    k32u ProjectionYCount;     ///< Rows of the projection grids.
    k32u ProjectionYStep;      ///< Image pixels between grid rows (power of two).
    k32s DisparityXBegin;      ///< Projection x of the disparity lattice's first column.
    k32u DisparityXStep;
    k32u DisparityXCount;
    k32s DisparityYBegin;
    k32u DisparityYStep;
    k32u DisparityYCount;
    k32u DisparityDStep; ///< Disparity between consecutive entries of a cell.
    k32u DisparityCount; ///< Entries of DisparityToX/Y/Z.
    k32s PhaseXBegin;
    k32u PhaseXStep;
    k32u PhaseXCount;
    k32s PhaseYBegin;
    k32u PhaseYStep;
    k32u PhaseYCount;
    k32u PhasePStep;       ///< Phase between consecutive entries of a cell.
    k32u PhaseCount0;      ///< Entries of view 0's phase table.
    k32u PhaseCount1;      ///< Entries of view 1's phase table.
    k32u PhasePeriod;      ///< Fringe period (k32U_NULL when the file has none).
    k32u PhaseRepetitions; ///< Fringe repetitions (k32U_NULL when the file has none).
} kS3dStereoCalParams;

/** Handle of a calibration record. */
typedef struct kS3dStereoCalClass* kS3dStereoCal;

/** Name of the record's root item in files. */
#define kS3D_STEREO_CAL_ROOT "StereoCal"
/** File name the phase block loads by default. */
#define kS3D_STEREO_CAL_FILE_NAME "StereoCal.kdat"
/** Version written to "Attributes\Version" (read and ignored). */
#define kS3D_STEREO_CAL_VERSION (3)

/* ----- Lifetime --------------------------------------------------------------------------- */

/**
 * Creates a zero-filled record (no arrays) from the application allocator.
 *
 * @param cal  Receives the record (the caller destroys it with kS3dStereoCal_Destroy).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dStereoCal_Create(kS3dStereoCal* cal);

/** As kS3dStereoCal_Create; the record and all its arrays come from allocator (null: app). */
kFx(kStatus) kS3dStereoCal_CreateEx(kS3dStereoCal* cal, kAlloc allocator);

/**
 * Releases the record's contents, copies params and constructs every array zero-filled with
 * the sizes the params give, and an empty timestamp.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null record or params; allocation failures (the
 *         record is then released).
 */
kFx(kStatus) kS3dStereoCal_Init(kS3dStereoCal cal, const kS3dStereoCalParams* params);

/** Create, then Init; on failure nothing is left and *cal is untouched. */
kFx(kStatus) kS3dStereoCal_Construct(kS3dStereoCal* cal, const kS3dStereoCalParams* params);

/** As kS3dStereoCal_Construct, with the record's allocator (null: application). */
kFx(kStatus) kS3dStereoCal_ConstructEx(kS3dStereoCal* cal, const kS3dStereoCalParams* params,
                                       kAlloc allocator);

/** Destroys the arrays and the timestamp, then zero-fills the record (null accepted). */
kFx(kStatus) kS3dStereoCal_Release(kS3dStereoCal cal);

/** Releases and frees the record (null accepted). */
kFx(kStatus) kS3dStereoCal_Destroy(kS3dStereoCal cal);

/* ----- Files ------------------------------------------------------------------------------ */

/**
 * Loads a record from a version-5 data file (a `kDataTree` whose root is the record).
 *
 * @param cal       Receives the record; set only on success.
 * @param fileName  Local path.
 * @return kOK; kSTATUS_NOT_FOUND for a missing file or key; kSTATUS_BAD_FORMAT for a file that
 *         is not a data tree or a value of the wrong kind; kSTATUS_INCOMPLETE for truncated
 *         content or arrays whose shapes and counts disagree; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dStereoCal_Load(kS3dStereoCal* cal, const kChar* fileName);

/** As kS3dStereoCal_Load, with the allocator of the tree, the record and its arrays. */
kFx(kStatus) kS3dStereoCal_LoadEx(kS3dStereoCal* cal, const kChar* fileName, kAlloc allocator);

/**
 * Loads a record from a file of a storage (a node's storage, kNode_Storage), in the format the
 * file name's extension selects ("kdat", "kdat6", see kL3dData_Load).
 *
 * @param node  Storage that holds the file (null: local file system).
 * @return as kS3dStereoCal_Load; kSTATUS_BAD_FORMAT when the file holds no data tree;
 *         kSTATUS_NOT_IMPLEMENTED for an unknown extension.
 */
kFx(kStatus) kS3dStereoCal_LoadFromNode(kS3dStereoCal* cal, kStorage node, const kChar* fileName);

/** As kS3dStereoCal_LoadFromNode, with the allocator of the tree, record and arrays. */
kFx(kStatus) kS3dStereoCal_LoadFromNodeEx(kS3dStereoCal* cal, kStorage node, const kChar* fileName,
                                          kAlloc allocator);

/**
 * Writes the record as a new data tree (root "StereoCal") to a version-5 data file.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a record without arrays; the file's failure.
 */
kFx(kStatus) kS3dStereoCal_Store(kS3dStereoCal cal, const kChar* fileName);

/** Writes the record to a file of a storage, in the format the extension selects. */
kFx(kStatus) kS3dStereoCal_StoreToNode(kS3dStereoCal cal, kStorage node, const kChar* fileName);

/**
 * Reads the record from the children of item (null: the tree's root). The record's contents
 * are released first; on failure the record is left released.
 *
 * Required keys are "Attributes\Version", "\Id", "\Timestamp" (a `kString` data object, or a
 * text), "\ProjectionResolution" and every count, step and begin of kS3dStereoCalParams, and
 * the sixteen arrays; "Attributes\Temperature" defaults to 0, "\PhasePeriod" and
 * "\PhaseRepetitions" to k32U_NULL, the six "ViewInfo\View<v>\..." flags to false.
 *
 * @return kOK; kSTATUS_NOT_FOUND for a missing required key; kSTATUS_BAD_FORMAT for a value of
 *         the wrong kind, an array of the wrong class or item type, a step that is neither 0
 *         nor a power of two, or an empty cell with entries; kSTATUS_INCOMPLETE for an array
 *         whose shape differs from its counts or entry arrays that do not hold exactly the
 *         entries of their map; kSTATUS_MEMORY.
 */
kFx(kStatus) kS3dStereoCal_Read(kS3dStereoCal cal, kDataTree tree, kDataTreeItem item);

/**
 * Writes the record under item (null: the tree's root, which must exist): the keys of
 * kS3dStereoCal_Read in the same order, "Attributes\Version" = 3, every optional key present.
 * Arrays are stored as copies.
 */
kFx(kStatus) kS3dStereoCal_Write(kS3dStereoCal cal, kDataTree tree, kDataTreeItem item);

/* ----- Accessors ---------------------------------------------------------------------------- */

/** The scalar attributes (borrowed; valid while the record lives). */
kFx(const kS3dStereoCalParams*) kS3dStereoCal_Parameters(kS3dStereoCal cal);
kFx(k32u) kS3dStereoCal_PhasePeriod(kS3dStereoCal cal);
kFx(k32u) kS3dStereoCal_PhaseRepetitions(kS3dStereoCal cal);
kFx(kStatus) kS3dStereoCal_SetId(kS3dStereoCal cal, k32u id);
kFx(k32u) kS3dStereoCal_Id(kS3dStereoCal cal);
/** Replaces the timestamp text. @return kOK; kSTATUS_BAD_PARAMETER before Init; kSTATUS_MEMORY. */
kFx(kStatus) kS3dStereoCal_SetTimestamp(kS3dStereoCal cal, const kChar* timestamp);
/** Timestamp text (borrowed); "" when the record has none. */
kFx(const kChar*) kS3dStereoCal_Timestamp(kS3dStereoCal cal);
kFx(kStatus) kS3dStereoCal_SetTemperature(kS3dStereoCal cal, k64f temperature);
kFx(k64f) kS3dStereoCal_Temperature(kS3dStereoCal cal);

/** Orientation flags of view 0 or 1. Setters: kSTATUS_BAD_PARAMETER for another view. */
kFx(kStatus) kS3dStereoCal_SetInvertXAt(kS3dStereoCal cal, kSize view, kBool invert);
kFx(kBool) kS3dStereoCal_InvertXAt(kS3dStereoCal cal, kSize view);
kFx(kStatus) kS3dStereoCal_SetInvertYAt(kS3dStereoCal cal, kSize view, kBool invert);
kFx(kBool) kS3dStereoCal_InvertYAt(kS3dStereoCal cal, kSize view);
kFx(kStatus) kS3dStereoCal_SetTransposeAt(kS3dStereoCal cal, kSize view, kBool transpose);
kFx(kBool) kS3dStereoCal_TransposeAt(kS3dStereoCal cal, kSize view);
kFx(kStatus) kS3dStereoCal_SetInvertX0(kS3dStereoCal cal, kBool invert);
kFx(kBool) kS3dStereoCal_InvertX0(kS3dStereoCal cal);
kFx(kStatus) kS3dStereoCal_SetInvertY0(kS3dStereoCal cal, kBool invert);
kFx(kBool) kS3dStereoCal_InvertY0(kS3dStereoCal cal);
kFx(kStatus) kS3dStereoCal_SetInvertX1(kS3dStereoCal cal, kBool invert);
kFx(kBool) kS3dStereoCal_InvertX1(kS3dStereoCal cal);
kFx(kStatus) kS3dStereoCal_SetInvertY1(kS3dStereoCal cal, kBool invert);
kFx(kBool) kS3dStereoCal_InvertY1(kS3dStereoCal cal);

/** The record's arrays (borrowed; null before Init). */
kFx(kArray2) kS3dStereoCal_ProjectionX0(kS3dStereoCal cal);
kFx(kArray2) kS3dStereoCal_ProjectionY0(kS3dStereoCal cal);
kFx(kArray2) kS3dStereoCal_ProjectionX1(kS3dStereoCal cal);
kFx(kArray2) kS3dStereoCal_ProjectionY1(kS3dStereoCal cal);
kFx(kArray2) kS3dStereoCal_DisparityMap(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_DisparityToX(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_DisparityToY(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_DisparityToZ(kS3dStereoCal cal);
kFx(kArray2) kS3dStereoCal_PhaseMap0(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_PhaseToX0(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_PhaseToY0(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_PhaseToZ0(kS3dStereoCal cal);
kFx(kArray2) kS3dStereoCal_PhaseMap1(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_PhaseToX1(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_PhaseToY1(kS3dStereoCal cal);
kFx(kArray1) kS3dStereoCal_PhaseToZ1(kS3dStereoCal cal);

/** True when PhaseXCount × PhaseYCount × PhaseCount0 > 1 (the record has a phase table). */
kFx(kBool) kS3dStereoCal_PhaseCalExists(kS3dStereoCal cal);

/**
 * Which view is the left one: 1 when, in the disparity cell whose z changes most over its
 * entries, z falls as disparity rises; else 0 (also for a map without cells).
 *
 * @param index  Receives 0 or 1.
 * @return kOK; kSTATUS_BAD_PARAMETER before Init; kSTATUS_FAILED (0) when DisparityToZ is
 *         shorter than the map claims.
 */
kFx(kStatus) kS3dStereoCal_LeftViewIndex(kS3dStereoCal cal, k32u* index);

#endif
