/* Private layout of serializers, shared by the serializer classes of each format version. */
#ifndef K_BASIS_SERIALIZER_X_H
#define K_BASIS_SERIALIZER_X_H

#include <kBasis/kSerializer.h>

struct z_stream_s;

/* Running payload checksum (docs/formats.md): four interleaved Fletcher lanes of 64-bit words. */
struct xkDatChecksum
{
    k64u a[4];
    k64u b[4];
    k64u words;        // whole words summed so far
    kByte pending[32]; // bytes of an incomplete group of four words
    kSize pendingCount;
};

/* One entry of a frame's type table. */
struct xkDatTypeEntry
{
    kType type;
    const kTypeVersionInfo* version; // kind 3 only
    k32u kind;                       // 1 class, 2 value, 3 class with version
};

struct kSerializerClass
{
    kObjectClass base;
    kStream stream;   // one reference held
    k32u format;      // format written: 5 or 6
    k32u readFormat;  // format of the stream read; 0 until its header was read
    kVersion version; // newest type version written
    kBool compress;   // deflate the frames written
    kBool wroteHeader;
    k32s mode;  // xkSERIALIZER_MODE_*
    k32s depth; // object records open in the current frame

    kByte* buffer;       // payload buffer (kSERIALIZER_BUFFER_SIZE bytes)
    kSize bufferCount;   // writing: bytes pending; reading: bytes filled
    kSize bufferPos;     // reading: bytes of the buffer already taken
    k64u framePosition;  // stream position of the frame header being written
    k64u payloadLength;  // writing: produced so far; reading: declared
    k64u payloadFetched; // reading: payload bytes taken from the stored payload
    k64u storedLength;   // writing: stored so far; reading: declared
    k64u storedLeft;     // reading: stored bytes not yet taken from the stream
    kBool compressed;    // the current frame is deflated
    kBool zEnded;        // reading: the deflate stream reached its end
    z_stream_s* zs;      // zlib state while a compressed frame is open
    kByte* zbuffer;      // compressed side of zlib (kSERIALIZER_BUFFER_SIZE bytes)
    xkDatChecksum checksum;
    k64u expectedA; // reading: checksums from the frame header
    k64u expectedB;

    xkDatTypeEntry* types;
    kSize typeCount;
    kSize typeCapacity;
};

#define xkSERIALIZER_MODE_IDLE (0)
#define xkSERIALIZER_MODE_WRITE (1)
#define xkSERIALIZER_MODE_READ (2)

/** Constructs a serializer of class type (a kSerializer) for format 5 or 6 over stream. */
kStatus xkSerializer_Construct(kSerializer* serializer, kType type, kStream stream, k32u format,
                               kAlloc allocator);
kStatus xkSerializer_EnableCompression(kSerializer serializer, kBool enable);

/** Writes object to a new file with a serializer of class type: header and one frame. */
kStatus xkSerializer_SaveFile(kObject object, const kChar* fileName, kType type, k32u format,
                              kBool compress);
/** Reads the one object of a file; content after it is a format error. */
kStatus xkSerializer_LoadFile(kObject* object, const kChar* fileName, kType type, k32u format,
                              kAlloc allocator);

/** Registers the versions of the foundation containers (kDatBuiltins.cpp). */
kStatus xkSerializer_AddBuiltinVersions(void);

#endif
