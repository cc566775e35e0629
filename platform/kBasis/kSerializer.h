/**
 * @file    kSerializer.h
 * @brief   kSerializer: writes objects to a stream in the kdat format and reads them back.
 *
 * The byte format is described in docs/formats.md. A serializer is constructed for one
 * format version (`kDat5Serializer_Construct`, `kDat6Serializer_Construct`, see
 * kDat5Serializer.h and kDat6Serializer.h) over a stream that can seek. The first write puts
 * the file header on the stream and the first read checks it; then each top-level
 * `kSerializer_WriteObject` writes one frame and each top-level `kSerializer_ReadObject` reads
 * one.
 *
 * Types take part by registering, for each format ("kdat5", "kdat6"), a named version with a
 * writer and a reader (`xkSerializer_AddVersion`), and a framework constructor that makes the
 * default instance a reader fills (`xkSerializer_AddFrameworkConstructor`). A writer writes the
 * object's content with the kSerializer_Write* operations below (nested objects with
 * kSerializer_WriteObject); the reader reads the same sequence back. The version written is
 * the one with the highest format version not above the serializer's version (see
 * kSerializer_SetVersion); the version read is the one named in the stream.
 *
 * Primitive reads and writes are only valid inside a writer or reader (kSTATUS_BAD_STATE
 * otherwise). A failure inside a frame abandons the frame: what was written of it is
 * incomplete, and the stream position after a failed read is unspecified.
 */
#ifndef K_BASIS_SERIALIZER_H
#define K_BASIS_SERIALIZER_H

#include <kBasis/kAssembly.h>
#include <kBasis/kStream.h>
#include <kBasis/kString.h>

typedef kObject kSerializer;
kDeclareClass(kSerializer, kObject);

/** Writes the content of object (the registered type's own layout). */
typedef kStatus (*kSerializerWriteFx)(kSerializer serializer, kObject object);
/** Fills object, a fresh instance from the type's framework constructor, from the stream. */
typedef kStatus (*kSerializerReadFx)(kSerializer serializer, kObject object);
/** Constructs a default instance of a type, for a reader to fill. */
typedef kStatus (*kFrameworkConstructorFx)(kObject* object, kAlloc allocator);

/** Registers a serialisation version with signature checks (see xkType_AddVersion). */
inline kStatus xkSerializer_AddVersion(kType type, const kChar* format, const kChar* formatVersion,
                                       const kChar* versionName, kSerializerWriteFx writer,
                                       kSerializerReadFx reader)
{
    return xkType_AddVersion(type, format, formatVersion, versionName,
                             reinterpret_cast<kFunction>(writer),
                             reinterpret_cast<kFunction>(reader));
}

/** Registers a framework constructor with a signature check. */
inline kStatus xkSerializer_AddFrameworkConstructor(kType type, kFrameworkConstructorFx constructor)
{
    return xkType_AddFrameworkConstructor(type, reinterpret_cast<kFunction>(constructor));
}

/**
 * Writes an object (null allowed) with its type and version: at top level as a frame of its
 * own (the stream is flushed after it), inside a writer as a nested object.
 *
 * @return kOK; kSTATUS_NOT_IMPLEMENTED when the type has no version for the serializer's
 *         format; kSTATUS_BAD_PARAMETER for objects nested more than 64 deep (a cycle);
 *         kSTATUS_BAD_STATE when the stream cannot seek; the stream's or the writer's failure.
 */
kFx(kStatus) kSerializer_WriteObject(kSerializer serializer, kObject object);

/**
 * Reads an object written by kSerializer_WriteObject.
 *
 * @param object     Receives the object (one reference, owned by the caller; containers of
 *                   objects are released with kObject_Dispose), or null for a null handle.
 * @param allocator  Allocator of the object (null: application allocator).
 * @return kOK; kSTATUS_BAD_FORMAT, kSTATUS_INCOMPLETE or kSTATUS_BAD_VERSION for bad content
 *         (docs/formats.md lists which); kSTATUS_MEMORY.
 */
kFx(kStatus) kSerializer_ReadObject(kSerializer serializer, kObject* object, kAlloc allocator);

/** Flushes the stream. */
kFx(kStatus) kSerializer_Flush(kSerializer serializer);

/**
 * Sets the newest format version whose type versions are written (default: the platform
 * version, "10.6.1.30"), so that a file can be made for an older reader.
 */
kFx(kStatus) kSerializer_SetVersion(kSerializer serializer, kVersion version);
kFx(kVersion) kSerializer_Version(kSerializer serializer);
/** Format number written: 5 or 6. */
kFx(k32u) kSerializer_Format(kSerializer serializer);
/** Format number of the stream being read (after its header was read), else 0. */
kFx(k32u) kSerializer_ReadFormat(kSerializer serializer);
/** Stream (borrowed). */
kFx(kStream) kSerializer_Stream(kSerializer serializer);

/* ----- Content of a writer or reader ---------------------------------------------------------- */

kFx(kStatus) kSerializer_Write8u(kSerializer serializer, k8u value);
kFx(kStatus) kSerializer_Write8s(kSerializer serializer, k8s value);
kFx(kStatus) kSerializer_Write16u(kSerializer serializer, k16u value);
kFx(kStatus) kSerializer_Write16s(kSerializer serializer, k16s value);
kFx(kStatus) kSerializer_Write32u(kSerializer serializer, k32u value);
kFx(kStatus) kSerializer_Write32s(kSerializer serializer, k32s value);
kFx(kStatus) kSerializer_Write64u(kSerializer serializer, k64u value);
kFx(kStatus) kSerializer_Write64s(kSerializer serializer, k64s value);
kFx(kStatus) kSerializer_Write32f(kSerializer serializer, k32f value);
kFx(kStatus) kSerializer_Write64f(kSerializer serializer, k64f value);
/** Writes one byte, 0 or 1. */
kFx(kStatus) kSerializer_WriteBool(kSerializer serializer, kBool value);
/** Writes a size or count as 64 bits. */
kFx(kStatus) kSerializer_WriteSize(kSerializer serializer, kSize value);
/** Writes a null-terminated text (length and bytes, without the terminator). */
kFx(kStatus) kSerializer_WriteText(kSerializer serializer, const kChar* text);
/** Writes size raw bytes. */
kFx(kStatus) kSerializer_WriteBytes(kSerializer serializer, const void* data, kSize size);
/** Writes a reference to a type (value or class). */
kFx(kStatus) kSerializer_WriteType(kSerializer serializer, kType type);
/**
 * Writes count items of a value type in the stream's byte order.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a class or a pointer type.
 */
kFx(kStatus)
    kSerializer_WriteItems(kSerializer serializer, kType itemType, const void* items, kSize count);

kFx(kStatus) kSerializer_Read8u(kSerializer serializer, k8u* value);
kFx(kStatus) kSerializer_Read8s(kSerializer serializer, k8s* value);
kFx(kStatus) kSerializer_Read16u(kSerializer serializer, k16u* value);
kFx(kStatus) kSerializer_Read16s(kSerializer serializer, k16s* value);
kFx(kStatus) kSerializer_Read32u(kSerializer serializer, k32u* value);
kFx(kStatus) kSerializer_Read32s(kSerializer serializer, k32s* value);
kFx(kStatus) kSerializer_Read64u(kSerializer serializer, k64u* value);
kFx(kStatus) kSerializer_Read64s(kSerializer serializer, k64s* value);
kFx(kStatus) kSerializer_Read32f(kSerializer serializer, k32f* value);
kFx(kStatus) kSerializer_Read64f(kSerializer serializer, k64f* value);
/** Reads a boolean; kSTATUS_BAD_FORMAT for a byte other than 0 and 1. */
kFx(kStatus) kSerializer_ReadBool(kSerializer serializer, kBool* value);
/** Reads a 64-bit size. */
kFx(kStatus) kSerializer_ReadSize(kSerializer serializer, kSize* value);
/**
 * Checks that the payload still holds count items of itemSize bytes each (1 if 0): use it
 * before allocating for items whose count was read.
 *
 * @return kOK; kSTATUS_INCOMPLETE when the payload is too short.
 */
kFx(kStatus) kSerializer_Expect(kSerializer serializer, kSize itemSize, kSize count);
/**
 * Reads a count of items of itemSize bytes each (1 if 0) that are still to come, and checks
 * that the payload has that much left: use it before allocating.
 *
 * @return kOK; kSTATUS_INCOMPLETE when the payload is too short for count items.
 */
kFx(kStatus) kSerializer_ReadCount(kSerializer serializer, kSize itemSize, kSize* count);
/**
 * Reads a text into buffer with its terminator.
 *
 * @return kOK; kSTATUS_BAD_FORMAT when it needs more than capacity characters or holds a NUL.
 */
kFx(kStatus) kSerializer_ReadText(kSerializer serializer, kChar* buffer, kSize capacity);
/** Reads a text into a kString (any length; embedded NULs are kept). */
kFx(kStatus) kSerializer_ReadString(kSerializer serializer, kString text);
kFx(kStatus) kSerializer_ReadBytes(kSerializer serializer, void* data, kSize size);
/** Reads a type reference; kSTATUS_BAD_VERSION when no loaded assembly knows it. */
kFx(kStatus) kSerializer_ReadType(kSerializer serializer, kType* type);
/** Reads count items of a value type (kSTATUS_BAD_PARAMETER for a class or pointer type). */
kFx(kStatus)
    kSerializer_ReadItems(kSerializer serializer, kType itemType, void* items, kSize count);

#endif
