/**
 * @file    kFile.h
 * @brief   Files: an open-file object, and whole-file helpers by path.
 *
 * Paths are the operating system's, with "/" separators (see kPath.h). Offsets and sizes are
 * in bytes.
 */
#ifndef K_BASIS_FILE_H
#define K_BASIS_FILE_H

#include <kBasis/kObject.h>

/** Open modes (flags). */
typedef k32s kFileMode;
#define kFILE_MODE_READ (0x1)  ///< Existing file, read from the start.
#define kFILE_MODE_WRITE (0x2) ///< File created, or emptied when it exists.
/** Existing file, read and written in place (READ | WRITE). */
#define kFILE_MODE_UPDATE (kFILE_MODE_READ | kFILE_MODE_WRITE)

typedef kObject kFile;
kDeclareClass(kFile, kObject);

/**
 * Opens a file.
 *
 * @param file       Receives the open file (one reference for the caller).
 * @param path       File path.
 * @param mode       kFILE_MODE_READ, kFILE_MODE_WRITE or kFILE_MODE_UPDATE.
 * @param allocator  Memory for the object (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND when a file to read or update does not exist;
 *         kSTATUS_STREAM when the system refuses to open it; kSTATUS_BAD_PARAMETER for a null
 *         path or an unknown mode; kSTATUS_MEMORY.
 */
kFx(kStatus) kFile_Construct(kFile* file, const kChar* path, kFileMode mode, kAlloc allocator);

/**
 * Reads exactly `size` bytes at the current position.
 *
 * @return kOK; kSTATUS_INCOMPLETE when the file ends first (the bytes up to the end are in
 *         buffer and the position is at the end); kSTATUS_BAD_STATE when the file is closed or
 *         not open for reading; kSTATUS_STREAM for a system read error.
 */
kFx(kStatus) kFile_Read(kFile file, void* buffer, kSize size);

/**
 * Writes `size` bytes at the current position.
 *
 * @return kOK; kSTATUS_BAD_STATE when the file is closed or not open for writing;
 *         kSTATUS_STREAM when the system refuses (for example a full disk).
 */
kFx(kStatus) kFile_Write(kFile file, const void* buffer, kSize size);

/**
 * Moves the position to `offset` bytes from the start. A position past the end is allowed;
 * a write there fills the gap with zeros.
 *
 * @return kOK; kSTATUS_BAD_STATE when closed; kSTATUS_STREAM when the system refuses.
 */
kFx(kStatus) kFile_Seek(kFile file, k64u offset);

/** Current position in bytes from the start (0 when closed). */
kFx(k64u) kFile_Position(kFile file);

/** Current length of the open file in bytes, including unflushed writes (0 when closed). */
kFx(k64u) kFile_Length(kFile file);

/** Writes buffered data to the system. kSTATUS_STREAM when that fails. */
kFx(kStatus) kFile_Flush(kFile file);

/**
 * Flushes and closes the file; later reads and writes return kSTATUS_BAD_STATE. Destroying
 * the object closes it too, but only Close reports a failed final write.
 *
 * @return kOK; kSTATUS_STREAM when buffered data could not be written; kSTATUS_BAD_STATE when
 *         already closed.
 */
kFx(kStatus) kFile_Close(kFile file);

/** True when path names an existing regular file. */
kFx(kBool) kFile_Exists(const kChar* path);

/** Size of a regular file in bytes; 0 when it does not exist. */
kFx(k64u) kFile_Size(const kChar* path);

/**
 * Writes a whole file, replacing any previous content.
 *
 * @return kOK; kSTATUS_STREAM when it cannot be created or written; kSTATUS_BAD_PARAMETER for
 *         a null path, or null data with a non-zero size.
 */
kFx(kStatus) kFile_Save(const kChar* path, const void* data, kSize size);

/**
 * Reads a whole file into memory from `allocator`; the caller frees it with
 * kAlloc_Free(allocator, data). An empty file gives a null pointer and size 0.
 *
 * @return kOK; kSTATUS_NOT_FOUND; kSTATUS_STREAM for a read error; kSTATUS_MEMORY.
 */
kFx(kStatus) kFile_Load(const kChar* path, void* data, kSize* size, kAlloc allocator);

/**
 * Deletes a regular file.
 *
 * @return kOK; kSTATUS_NOT_FOUND when no such file exists; kSTATUS_STREAM when the system
 *         refuses.
 */
kFx(kStatus) kFile_Delete(const kChar* path);

#endif
