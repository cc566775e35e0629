/**
 * @file    kL3dSensor.h
 * @brief   Sensor-level helpers of the laser family: the identity file "Id.xml", XML documents
 *          and file sets of a sensor directory, acquisition-point names, health statistics and
 *          stamp windows.
 *
 * Files live in a sensor directory, either on a storage of the sensor (names relative to the
 * storage root, "/" separated; "" or null is the root) or, with a null storage, in a directory
 * of the local file system ("" or null is the working directory). Only the files directly in
 * the directory belong to it; subdirectories (a backup directory among them) are left alone.
 */
#ifndef K_SOLAN_L3D_SENSOR_H
#define K_SOLAN_L3D_SENSOR_H

#include <kSolan/L3d/kL3dXml.h>

/** File name of a sensor's identity document. */
#define kL3D_SENSOR_IDENTITY_FILE_NAME "Id.xml"

/**
 * What a sensor says it is. Stored in "Id.xml" as the root element "Id" with the children
 * "SerialNumber" (32-bit unsigned), "Model" (text of up to 31 characters) and "CameraCount"
 * (32-bit unsigned).
 */
typedef struct kL3dSensorIdentity
{
    k32u serialNumber;
    kText32 model;
    k32u cameraCount;
} kL3dSensorIdentity;

/**
 * Reads "Id.xml" of a sensor directory.
 *
 * @return kOK; kSTATUS_NOT_FOUND for a missing file or child; kSTATUS_BAD_FORMAT for a root
 *         other than "Id" or a child that is not a number; kSTATUS_BAD_PARAMETER for a model
 *         longer than 31 characters; the XML reader's status for a malformed document. The
 *         identity is unchanged on failure.
 */
kFx(kStatus)
    kL3dSensor_ReadIdentity(kL3dSensorIdentity* identity, kStorage storage, const kChar* directory);

/** Writes "Id.xml" of a sensor directory (created or replaced). */
kFx(kStatus) kL3dSensor_WriteIdentity(const kL3dSensorIdentity* identity, kStorage storage,
                                      const kChar* directory);

/**
 * Loads an XML document of a sensor directory.
 *
 * @param xml        Receives the document (one reference, owned by the caller).
 * @return kOK; kSTATUS_NOT_FOUND for a missing file; the XML reader's status for bad content.
 */
kFx(kStatus) kL3dSensor_ReadXml(kXml* xml, kStorage storage, const kChar* directory,
                                const kChar* fileName, kAlloc allocator);

/** Saves an XML document into a sensor directory (created or replaced). */
kFx(kStatus)
    kL3dSensor_WriteXml(kXml xml, kStorage storage, const kChar* directory, const kChar* fileName);

/**
 * Copies every file of a sensor directory into backupDirectory under the same name, replacing
 * earlier copies; a local backup directory is created when missing.
 *
 * @return kOK; kSTATUS_NOT_FOUND for a missing local directory; kSTATUS_BAD_PARAMETER when
 *         both directories are the same; the first failing copy's status (files copied before
 *         it stay copied).
 */
kFx(kStatus)
    kL3dSensor_BackupFiles(kStorage storage, const kChar* directory, const kChar* backupDirectory);

/**
 * Deletes every file of a sensor directory (its subdirectories are kept).
 *
 * @return kOK; kSTATUS_NOT_FOUND for a missing local directory; the first failing deletion's
 *         status.
 */
kFx(kStatus) kL3dSensor_ClearFiles(kStorage storage, const kChar* directory);

/**
 * Name of the acquisition point of a camera in a sensor state, "Camera %u/State %u"
 * ("Camera 0/State 2"): the relative directory, on a storage or locally, of the files recorded
 * at that point. (The blanks make it unfit as an XML element name.)
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when the name does not fit in capacity (name then holds
 *         the truncated text).
 */
kFx(kStatus) kL3dSensor_AcquisitionPoint(kChar* name, kSize capacity, k32u camera, k32u state);

/**
 * Value of the health statistic with the given id in a health message (the first one when
 * the id repeats).
 *
 * @return kOK; kSTATUS_NOT_FOUND when no statistic has the id, or when the message's content is
 *         not a kArrayList of kHealthStat (value unchanged then).
 */
kFx(kStatus) kL3dHealthMsg_GetStatById(kHealthMsg msg, k32u id, k64s* value);

/**
 * Sets a stamp's camera window to the given region of the imager (roiX, roiY, roiWidth,
 * roiHeight, roiXSubsampling, roiYSubsampling) and its payload size to the image that region
 * yields: width / x subsampling by height / y subsampling (integer division). Other fields are
 * kept.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a zero subsampling, an origin or size above 65535 or a
 *         subsampling above 255 (the stamp is then unchanged).
 */
kFx(kStatus) kL3dStamp_UpdateWindow(kStamp* stamp, const kL3dCameraWindow* window);

#endif
