/**
 * @file    kStorage.h
 * @brief   kStorage: the sensor's file storage — named byte files kept in memory or in a
 *          directory of the host.
 *
 * File names are paths relative to the storage root with "/" separators ("PRNUCal0.kdat6",
 * "user/data.kdat6"); a leading "/" is ignored, so "/user/data.kdat6" names the same file.
 * A directory storage creates the directories a name needs when a file is uploaded.
 *
 * The storage of a node (kNode_Storage) records its calls on the node: the operation name and
 * the file name ("kStorage_UploadFromBuffer PRNUCal0.kdat6"); a fault set on an operation makes
 * it fail without effect.
 */
#ifndef K_TESSEL_STORAGE_H
#define K_TESSEL_STORAGE_H

#include <kTessel/kTsApiDef.h>
#include <kBasis/kArrayList.h>
#include <kBasis/kStream.h>

typedef kObject kStorage;
kDeclareClass(kStorage, kObject);

/** Longest file name, terminator included. */
#define kSTORAGE_NAME_CAPACITY (256)

/**
 * Constructs an empty storage.
 *
 * @param storage    Receives the storage (the caller owns one reference).
 * @param directory  Existing directory that holds the files (null: the files live in memory).
 * @param allocator  Allocator of the storage and of in-memory files (null: application).
 * @return kOK; kSTATUS_NOT_FOUND when the directory does not exist; kSTATUS_MEMORY.
 */
kFx(kStatus) kStorage_Construct(kStorage* storage, const kChar* directory, kAlloc allocator);

kFx(kBool) kStorage_FileExists(kStorage storage, const kChar* name);

/** Size of a file in bytes. @return kOK; kSTATUS_NOT_FOUND. */
kFx(kStatus) kStorage_FileSize(kStorage storage, const kChar* name, k64u* size);

/**
 * Lists the files, in name order.
 *
 * @param names  A list whose content is replaced (held objects destroyed) by one kString per
 *               file, constructed with the list's allocator.
 * @return kOK; kSTATUS_BAD_PARAMETER when names is not a kArrayList; kSTATUS_MEMORY.
 */
kFx(kStatus) kStorage_ListFiles(kStorage storage, kArrayList names);

/** Deletes a file. @return kOK; kSTATUS_NOT_FOUND. */
kFx(kStatus) kStorage_Delete(kStorage storage, const kChar* name);

/** Storage directory meant for scratch files ("temp"), for names like "temp/x.kdat". */
kFx(kStatus) kStorage_TempDirectory(kStorage storage, kChar* directory, kSize capacity);

/**
 * Copies a whole file into a new buffer.
 *
 * @param data       Receives the buffer (from allocator; the caller frees it with kAlloc_Free;
 *                   null for an empty file).
 * @param size       Receives the size in bytes.
 * @param allocator  Allocator of the buffer (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND; kSTATUS_MEMORY; kSTATUS_STREAM for a read error.
 */
kFx(kStatus) kStorage_DownloadToBuffer(kStorage storage, const kChar* name, void** data,
                                       kSize* size, kAlloc allocator);

/** Copies a file to a file of the host. @return kOK; kSTATUS_NOT_FOUND; kSTATUS_STREAM. */
kFx(kStatus) kStorage_DownloadToFile(kStorage storage, const kChar* name, const kChar* path);

/** Writes a whole file at the stream's position. @return kOK; kSTATUS_NOT_FOUND; the stream's
 *  failure. */
kFx(kStatus) kStorage_DownloadToStream(kStorage storage, const kChar* name, kStream stream);

/** Creates or replaces a file with size bytes. @return kOK; kSTATUS_BAD_PARAMETER for an
 *  empty or too long name; kSTATUS_MEMORY; kSTATUS_STREAM. */
kFx(kStatus)
    kStorage_UploadFromBuffer(kStorage storage, const kChar* name, const void* data, kSize size);

/**
 * Creates or replaces a file with size bytes read from the stream.
 *
 * @return As kStorage_UploadFromBuffer; kSTATUS_INCOMPLETE when the stream ends first (no file
 *         is written).
 */
kFx(kStatus)
    kStorage_UploadFromStream(kStorage storage, const kChar* name, kStream stream, kSize size);

#endif
