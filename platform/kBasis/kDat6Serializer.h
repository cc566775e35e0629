/**
 * @file    kDat6Serializer.h
 * @brief   kDat6Serializer: the serializer of kdat format version 6, and whole-file saving and
 *          loading in that version (files with the extension "kdat6").
 *
 * See kSerializer.h for the operations and docs/formats.md for the bytes.
 */
#ifndef K_BASIS_DAT6_SERIALIZER_H
#define K_BASIS_DAT6_SERIALIZER_H

#include <kBasis/kSerializer.h>

typedef kSerializer kDat6Serializer;
kDeclareClass(kDat6Serializer, kSerializer);

/**
 * Constructs a serializer that writes version 6 and reads versions 6 and 5 over a stream.
 *
 * @param serializer  Receives the serializer (one reference, owned by the caller).
 * @param stream      Stream to write or read (shared by the serializer; it must be able to seek
 *                    for writing).
 * @param allocator   Allocator of the serializer (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a stream that is not one; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kDat6Serializer_Construct(kDat6Serializer* serializer, kStream stream, kAlloc allocator);

/** Deflates (zlib) the frames written from now on when enable is kTRUE. */
kFx(kStatus) kDat6Serializer_EnableCompression(kDat6Serializer serializer, kBool enable);

/**
 * Writes object to a new version-6 file (extension "kdat6"), uncompressed.
 *
 * @return kOK; kSTATUS_NOT_IMPLEMENTED when a type in the object has no "kdat6" version;
 *         kSTATUS_STREAM when the file cannot be created or written.
 */
kFx(kStatus) kSave6(kObject object, const kChar* fileName);

/** As kSave6, with the frame deflated (zlib). */
kFx(kStatus) kSaveCompressed6(kObject object, const kChar* fileName);

/**
 * Reads the object of a version-6 or version-5 file, compressed or not.
 *
 * A file holds exactly one object: a null object or anything after the object is
 * kSTATUS_BAD_FORMAT.
 *
 * @param object     Receives the object (one reference, owned by the caller; dispose of
 *                   containers of objects with kObject_Dispose).
 * @param allocator  Allocator of the object (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND for a missing file; kSTATUS_BAD_FORMAT, kSTATUS_INCOMPLETE
 *         or kSTATUS_BAD_VERSION for bad content; kSTATUS_MEMORY.
 */
kFx(kStatus) kLoad6(kObject* object, const kChar* fileName, kAlloc allocator);

#endif
