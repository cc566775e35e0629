/**
 * @file    kStream.h
 * @brief   kStream: the abstract byte stream (read, write, seek, flush) under files, memory
 *          and serialisers.
 *
 * A stream class overrides the four operations of `kStreamVTable`; callers use only the public
 * wrappers below. Streams are not buffered by this base: file streams rely on the buffering
 * of their file, serialisers buffer for themselves, and large transfers go straight through.
 *
 * Positions and offsets are in bytes from the start of the stream. A stream that cannot seek
 * answers kSTATUS_NOT_IMPLEMENTED to Seek and Position.
 */
#ifndef K_BASIS_STREAM_H
#define K_BASIS_STREAM_H

#include <kBasis/kAlloc.h>

/** Reference point of a seek. */
typedef k32s kSeekOrigin;
#define kSEEK_ORIGIN_BEGIN (0)   ///< Offset from the start of the stream.
#define kSEEK_ORIGIN_CURRENT (1) ///< Offset from the current position.
#define kSEEK_ORIGIN_END (2)     ///< Offset from the end of the stream.

typedef kObject kStream;

/**
 * Virtual operations of streams, after the root's: 8 VRead, 9 VWrite, 10 VSeek, 11 VFlush.
 */
struct kStreamVTable : kObjectVTable
{
    /**
     * Reads at least minCount and at most maxCount bytes into buffer; *count receives the
     * number read. Fewer than minCount bytes only at the end of the stream, then
     * kSTATUS_INCOMPLETE (with *count set to what was read).
     */
    kStatus (*VRead)(kStream stream, void* buffer, kSize minCount, kSize maxCount, kSize* count);
    /** Writes count bytes; kSTATUS_STREAM when the medium refuses them. */
    kStatus (*VWrite)(kStream stream, const void* buffer, kSize count);
    /** Moves the position; *position receives the new one. */
    kStatus (*VSeek)(kStream stream, k64s offset, kSeekOrigin origin, k64u* position);
    /** Hands buffered output to the medium. */
    kStatus (*VFlush)(kStream stream);
};

kDeclareVirtualClass(kStream, kObject);

/** Instance header of every stream. */
struct kStreamClass
{
    kObjectClass base;
};

/** Initialises the stream header (derived classes call it first from their Init). */
kFx(kStatus) kStream_Init(kStream stream, kType type, kAlloc allocator);
/** Root release of streams (derived classes call it last from their VRelease). */
kFx(kStatus) xkStream_VRelease(kStream stream);

/**
 * Reads exactly size bytes.
 *
 * @return kOK; kSTATUS_INCOMPLETE when the stream ends first (the bytes before the end are
 *         in buffer); kSTATUS_STREAM for a medium error.
 */
kFx(kStatus) kStream_Read(kStream stream, void* buffer, kSize size);

/**
 * Reads between minCount and maxCount bytes.
 *
 * @param count  Receives the number of bytes read (may be null).
 * @return kOK; kSTATUS_INCOMPLETE when fewer than minCount bytes remain (*count tells how
 *         many were read); kSTATUS_BAD_PARAMETER when minCount > maxCount.
 */
kFx(kStatus)
    kStream_ReadSome(kStream stream, void* buffer, kSize minCount, kSize maxCount, kSize* count);

/** Writes size bytes. @return kOK; kSTATUS_STREAM when the medium refuses them. */
kFx(kStatus) kStream_Write(kStream stream, const void* buffer, kSize size);

/**
 * Moves the read/write position.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a position before the start or an unknown origin;
 *         kSTATUS_NOT_IMPLEMENTED for a stream that cannot seek.
 */
kFx(kStatus) kStream_Seek(kStream stream, k64s offset, kSeekOrigin origin);

/** Current position. @return kOK; kSTATUS_NOT_IMPLEMENTED for a stream that cannot seek. */
kFx(kStatus) kStream_Position(kStream stream, k64u* position);

/**
 * Bytes from the current position to the end, for a stream that can seek (the position is
 * kept). @return kOK; kSTATUS_NOT_IMPLEMENTED for a stream that cannot seek.
 */
kFx(kStatus) kStream_Remaining(kStream stream, k64u* remaining);

/** Hands buffered output to the medium. */
kFx(kStatus) kStream_Flush(kStream stream);

/**
 * Copies everything from the source's position to its end into destination (in blocks of
 * 64 KB).
 *
 * @return kOK; the first failure of either stream.
 */
kFx(kStatus) kStream_CopyAll(kStream destination, kStream source);

#endif
