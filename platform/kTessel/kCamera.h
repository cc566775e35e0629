/**
 * @file    kCamera.h
 * @brief   kCamera: a camera of a (simulated) sensor node: enable, controls, port and output
 *          modes, extensions, pixel lookup table, PRNU and FPN tables, range lookup tables.
 *
 * Cameras belong to their node (kNode_AddCamera, kNode_CameraAt). Every operation records one
 * call line on the node (see kNode.h), shown with each operation below; "<c>" is the camera's
 * index. Tables written to the camera are kept (copied) and can be read back.
 */
#ifndef K_TESSEL_CAMERA_H
#define K_TESSEL_CAMERA_H

#include <kTessel/kCameraExt.h>
#include <kTessel/kCameraInfo.h>
#include <kBasis/kArray1.h>
#include <kBasis/kImage.h>

typedef kObject kCamera;
kDeclareClass(kCamera, kObject);

/** Capability bits (kCamera_Capabilities). */
#define kCAMERA_CAPABILITY_PHASE_DECODER (0x01) ///< Decodes phase on the camera.
#define kCAMERA_CAPABILITY_RANGE_LUT (0x02)     ///< Looks spots up into ranges on the camera.
#define kCAMERA_CAPABILITY_PIXEL_LUT (0x04)     ///< Maps every 8-bit pixel through a table.
#define kCAMERA_CAPABILITY_PRNU (0x08)          ///< Corrects pixel response non-uniformity.
#define kCAMERA_CAPABILITY_FPN (0x10)           ///< Subtracts fixed-pattern noise.

/** What a simulated camera is made with. */
typedef struct kCameraConfig
{
    k32u capabilities;          ///< kCAMERA_CAPABILITY_* bits.
    kSize pixelLutCapacity;     ///< Entries of the pixel lookup table.
    k32u rangeLutFormat;        ///< Bits per range table value: 16 or 18.
    kBool hasRescaler;          ///< The camera rescales its output width.
    k64f rescalerRatio;         ///< Output width / imager width, when it has a rescaler.
    kRangeLutCaps rangeLutCaps; ///< Range table limits of the camera's model.
} kCameraConfig;

/**
 * Default configuration: every capability, a pixel table of 1024 entries, 16-bit range tables,
 * no rescaler (ratio 1.0), range table limits {1024, 1024, 8, 8, 8, 4096, 16384, 32768}.
 */
kFx(kStatus) kCameraConfig_Init(kCameraConfig* config);

/** Position of the camera on its node. */
kFx(kSize) kCamera_Index(kCamera camera);

/** "kCamera_Enable <c> <0|1>". */
kFx(kStatus) kCamera_Enable(kCamera camera, kBool enable);
kFx(kBool) kCamera_IsEnabled(kCamera camera);
/** Sets a control word of the camera's sequencer. "kCamera_SetControl <c> <control>". */
kFx(kStatus) kCamera_SetControl(kCamera camera, k32u control);
/** "kCamera_SetPortMode <c> <mode>". */
kFx(kStatus) kCamera_SetPortMode(kCamera camera, k32u mode);
/** "kCamera_SetOutputMode <c> <mode>". */
kFx(kStatus) kCamera_SetOutputMode(kCamera camera, k32u mode);

/* ----- Extensions -------------------------------------------------------------------------- */

kFx(kSize) kCamera_ExtensionCount(kCamera camera);
/** Extension at index (borrowed), or null. */
kFx(kCameraExt) kCamera_ExtensionAt(kCamera camera, kSize index);
/**
 * Adds an extension of a type derived from kCameraExt (kCameraPhaseDecoder).
 * "kCamera_AddExtension <c> <type name>".
 *
 * @param extension  Receives the extension (borrowed: the camera owns it; may be null).
 * @return kOK; kSTATUS_BAD_PARAMETER for a type that is not an extension; kSTATUS_MEMORY.
 */
kFx(kStatus) kCamera_AddExtension(kCamera camera, kType type, kCameraExt* extension);
/**
 * Removes and destroys an extension; the ones after it move down by one index.
 * "kCamera_DeleteExtension <c> <index>".
 *
 * @return kOK; kSTATUS_NOT_FOUND when extension is not one of the camera's.
 */
kFx(kStatus) kCamera_DeleteExtension(kCamera camera, kCameraExt extension);

/* ----- Queries (not recorded) -------------------------------------------------------------- */

kFx(k32u) kCamera_Capabilities(kCamera camera);
/** The camera model's description (borrowed). */
kFx(kCameraInfo) kCamera_ModelInfo(kCamera camera);
kFx(kBool) kCamera_HasRescaler(kCamera camera);
/** Output width / imager width (1.0 without a rescaler). */
kFx(k64f) kCamera_RescalerRatio(kCamera camera);
/** Bits per range table value, 16 or 18. */
kFx(k32u) kCamera_RangeLutFormat(kCamera camera);
/** Entries of the pixel lookup table. @return kOK. */
kFx(kStatus) kCamera_PixelLutCapacityInfo(kCamera camera, kSize* capacity);

/* ----- Tables ------------------------------------------------------------------------------ */

/**
 * Loads the 8-bit pixel lookup table. "kCamera_SetPixelLut <c> <count>".
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when count differs from the capacity or data is null.
 */
kFx(kStatus) kCamera_SetPixelLut(kCamera camera, const k8u* data, kSize count);
/** Last pixel table loaded (kArray1 of k8u, borrowed), or null. */
kFx(kArray1) kCamera_PixelLut(kCamera camera);

/**
 * Loads the camera's PRNU correction: per calibrated pixel its sensor position, offset and
 * scale. "kCamera_WritePrnu <c> <pixel count>".
 *
 * @param coordinates  kArray1 of kPoint16s.
 * @param offsets      kArray1 of 8-bit offsets (one per pixel).
 * @param scales       kArray1 of 16-bit scales (one per pixel).
 * @return kOK; kSTATUS_BAD_PARAMETER when the three are not kArray1 of the same length.
 */
kFx(kStatus)
    kCamera_WritePrnu(kCamera camera, kArray1 coordinates, kArray1 offsets, kArray1 scales);
/** Last PRNU tables written (borrowed copies), or null: 0 coordinates, 1 offsets, 2 scales. */
kFx(kArray1) kCamera_PrnuTable(kCamera camera, kSize which);

/** "kCamera_EnableFpn <c> <0|1>". */
kFx(kStatus) kCamera_EnableFpn(kCamera camera, kBool enable);
kFx(kBool) kCamera_IsFpnEnabled(kCamera camera);
/**
 * Loads the fixed-pattern noise offsets, an image of k8u. "kCamera_WriteFpn <c> <w>x<h>".
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an image that is not k8u.
 */
kFx(kStatus) kCamera_WriteFpn(kCamera camera, kImage image);
/** Last FPN image written (borrowed copy), or null. */
kFx(kImage) kCamera_Fpn(kCamera camera);

/**
 * Loads range lookup tables (a range table object of the platform, kept with one more
 * reference). "kCamera_WriteRangeLut <c> <type name>".
 */
kFx(kStatus) kCamera_WriteRangeLut(kCamera camera, kObject rangeLut);
/** Last range table object written (borrowed), or null. */
kFx(kObject) kCamera_RangeLut(kCamera camera);

#endif
