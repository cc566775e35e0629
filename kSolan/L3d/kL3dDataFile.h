/**
 * @file    kL3dDataFile.h
 * @brief   Data files of the laser family, on a storage of the sensor or on the local file
 *          system, with the format chosen by the file name's extension.
 *
 * Extensions, compared without regard to case: "kdat" → version-5 data file, "kdat6" →
 * version-6 data file, "xml" → an XML document (the object is a kXml). Any other extension
 * fails with kSTATUS_NOT_IMPLEMENTED (-996). A null storage means the local file system, where
 * the file name is a path.
 */
#ifndef K_SOLAN_L3D_DATA_FILE_H
#define K_SOLAN_L3D_DATA_FILE_H

#include <kSolan/kSolanDef.h>

/**
 * Opens a stream on a file.
 *
 * @param storage     Storage (null: local file system).
 * @param fileName    File name in the storage, or local path.
 * @param forReading  kTRUE to read an existing file, kFALSE to create or empty it for writing.
 * @param stream      Receives the stream (one reference, owned by the caller). A writing
 *                    stream must be flushed to see whether the file was written.
 * @param allocator   Allocator of the stream (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND for a missing file to read; kSTATUS_STREAM.
 */
kFx(kStatus) kL3dFile_Get(kStorage storage, const kChar* fileName, kBool forReading,
                          kStream* stream, kAlloc allocator);

/**
 * Saves an object, uncompressed. For "xml" the object must be a kXml.
 *
 * @return kOK; -996 for an unknown extension; kSTATUS_BAD_PARAMETER for an "xml" file and an
 *         object that is not a kXml; the serializer's or the stream's failure.
 */
kFx(kStatus) kL3dData_Save(kObject object, kStorage storage, const kChar* fileName);

/** As kL3dData_Save, with the frames of "kdat" and "kdat6" files deflated ("xml" is plain). */
kFx(kStatus) kL3dData_SaveCompressed(kObject object, kStorage storage, const kChar* fileName);

/**
 * Loads the object of a file.
 *
 * @param object     Receives the object (one reference, owned by the caller; dispose of
 *                   containers of objects with kObject_Dispose). For "xml", the document.
 * @return kOK; -996 for an unknown extension; kSTATUS_NOT_FOUND for a missing file; the
 *         reader's failure for bad content.
 */
kFx(kStatus)
    kL3dData_Load(kObject* object, kStorage storage, const kChar* fileName, kAlloc allocator);

/**
 * Loads a file into *object, disposing of the object held there before (null allowed). On
 * failure *object is left as it was.
 */
kFx(kStatus)
    kL3dData_Replace(kObject* object, kStorage storage, const kChar* fileName, kAlloc allocator);

/** Writes text, without its terminator, as the whole content of a file. */
kFx(kStatus) kL3dString_Save(const kChar* text, kStorage storage, const kChar* fileName);

/**
 * Replaces every occurrence of find in text by replacement, scanning left to right and
 * continuing after each replacement (so a replacement is never searched again).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an empty find.
 */
kFx(kStatus) kL3dString_ReplaceSubstr(kString text, const kChar* find, const kChar* replacement);

#endif
