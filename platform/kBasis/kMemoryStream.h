/**
 * @file    kMemoryStream.h
 * @brief   kMemoryStream: a stream over bytes in memory, either a growable buffer that the
 *          stream owns or a read-only view of bytes that the caller owns.
 *
 * Writing past the end of an owned buffer extends it; seeking past the end is allowed and a
 * later write fills the gap with zeros. A view refuses writes with kSTATUS_NOT_IMPLEMENTED.
 */
#ifndef K_BASIS_MEMORY_STREAM_H
#define K_BASIS_MEMORY_STREAM_H

#include <kBasis/kStream.h>

typedef kStream kMemoryStream;
kDeclareClass(kMemoryStream, kStream);

/**
 * Constructs an empty stream over a growable buffer of its own.
 *
 * @param stream     Receives the stream (one reference, owned by the caller).
 * @param allocator  Allocator of the stream and its buffer (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kMemoryStream_Construct(kMemoryStream* stream, kAlloc allocator);

/**
 * Constructs a read-only stream over size bytes at data (borrowed: they must outlive the
 * stream).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null data with a non-zero size; kSTATUS_MEMORY.
 */
kFx(kStatus) kMemoryStream_ConstructView(kMemoryStream* stream, const void* data, kSize size,
                                         kAlloc allocator);

/** First byte of the stream's contents (null when empty). Valid until the next write. */
kFx(const kByte*) kMemoryStream_Data(kMemoryStream stream);
/** Length of the contents in bytes (the end of the stream). */
kFx(kSize) kMemoryStream_Length(kMemoryStream stream);
/** Empties an owned buffer (capacity is kept) and moves to the start; a view moves to its start. */
kFx(kStatus) kMemoryStream_Clear(kMemoryStream stream);

#endif
