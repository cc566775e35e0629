/**
 * @file    kFileStream.h
 * @brief   kFileStream: a stream over an open file (kFile), for serialisers and documents.
 *
 * The stream owns its file and closes it when destroyed; kStream_Flush reports a failed
 * write. Reads and writes go through the file's own buffering.
 */
#ifndef K_BASIS_FILE_STREAM_H
#define K_BASIS_FILE_STREAM_H

#include <kBasis/kFile.h>
#include <kBasis/kStream.h>

typedef kStream kFileStream;
kDeclareClass(kFileStream, kStream);

/**
 * Opens a file as a stream.
 *
 * @param stream     Receives the stream (one reference, owned by the caller).
 * @param path       File path.
 * @param mode       kFILE_MODE_READ, kFILE_MODE_WRITE or kFILE_MODE_UPDATE (see kFile.h).
 * @param allocator  Allocator of the stream (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND when a file to read does not exist; kSTATUS_STREAM when the
 *         system refuses to open it; kSTATUS_BAD_PARAMETER; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kFileStream_Construct(kFileStream* stream, const kChar* path, kFileMode mode, kAlloc allocator);

/** The file under the stream (borrowed). */
kFx(kFile) kFileStream_File(kFileStream stream);

#endif
