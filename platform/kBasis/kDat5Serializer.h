/**
 * @file    kDat5Serializer.h
 * @brief   kDat5Serializer: the serializer of kdat format version 5, and whole-file saving and
 *          loading in that version (files with the extension "kdat").
 *
 * See kSerializer.h for the operations and docs/formats.md for the bytes.
 */
#ifndef K_BASIS_DAT5_SERIALIZER_H
#define K_BASIS_DAT5_SERIALIZER_H

#include <kBasis/kSerializer.h>

typedef kSerializer kDat5Serializer;
kDeclareClass(kDat5Serializer, kSerializer);

/**
 * Constructs a serializer that writes version 5 and reads versions 5 over a stream.
 *
 * @param serializer  Receives the serializer (one reference, owned by the caller).
 * @param stream      Stream to write or read (shared by the serializer; it must be able to seek
 *                    for writing).
 * @param allocator   Allocator of the serializer (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a stream that is not one; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kDat5Serializer_Construct(kDat5Serializer* serializer, kStream stream, kAlloc allocator);

/** Deflates (zlib) the frames written from now on when enable is kTRUE. */
kFx(kStatus) kDat5Serializer_EnableCompression(kDat5Serializer serializer, kBool enable);

/**
 * Writes object to a new version-5 file (extension "kdat"), uncompressed.
 *
 * @return kOK; kSTATUS_NOT_IMPLEMENTED when a type in the object has no "kdat5" version;
 *         kSTATUS_STREAM when the file cannot be created or written.
 */
kFx(kStatus) kSave5(kObject object, const kChar* fileName);

/**
 * Reads the object of a version-5 file.
 *
 * A file holds exactly one object: a null object or anything after the object is
 * kSTATUS_BAD_FORMAT.
 *
 * @param object     Receives the object (one reference, owned by the caller; dispose of
 *                   containers of objects with kObject_Dispose).
 * @param allocator  Allocator of the object (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND for a missing file; kSTATUS_BAD_FORMAT, kSTATUS_INCOMPLETE
 *         or kSTATUS_BAD_VERSION for bad content (a version-6 file is kSTATUS_BAD_VERSION);
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kLoad5(kObject* object, const kChar* fileName, kAlloc allocator);

#endif
