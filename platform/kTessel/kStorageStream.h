/**
 * @file    kStorageStream.h
 * @brief   kStorageStream: a stream over one file of a storage, for readers and writers that
 *          work on streams (serialisers, XML).
 *
 * A stream opened for reading holds a copy of the file taken at construction. A stream opened
 * for writing collects what is written and uploads it on kStream_Flush and again, if anything
 * was written since, when it is destroyed (a failure then is lost: flush to see it).
 */
#ifndef K_TESSEL_STORAGE_STREAM_H
#define K_TESSEL_STORAGE_STREAM_H

#include <kTessel/kStorage.h>
#include <kBasis/kFile.h>

typedef kStream kStorageStream;
kDeclareClass(kStorageStream, kStream);

/**
 * Opens a file of a storage.
 *
 * @param stream     Receives the stream (the caller owns one reference).
 * @param storage    Storage (borrowed; must outlive the stream).
 * @param name       File name in the storage.
 * @param mode       kFILE_MODE_READ (the file must exist) or kFILE_MODE_WRITE (created or
 *                   emptied on the first upload).
 * @param allocator  Allocator of the stream and its buffer (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND for a missing file to read; kSTATUS_BAD_PARAMETER for another
 *         mode or a bad name; kSTATUS_MEMORY.
 */
kFx(kStatus) kStorageStream_Construct(kStorageStream* stream, kStorage storage, const kChar* name,
                                      kFileMode mode, kAlloc allocator);

#endif
