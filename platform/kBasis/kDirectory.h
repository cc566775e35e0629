/**
 * @file    kDirectory.h
 * @brief   Directories: create, test, list, and the system's temporary directory.
 */
#ifndef K_BASIS_DIRECTORY_H
#define K_BASIS_DIRECTORY_H

#include <kBasis/kArrayList.h>

/**
 * Creates a directory and any missing parents. An existing directory is success.
 *
 * @return kOK; kSTATUS_STREAM when the system refuses (a file of that name exists, no
 *         permission); kSTATUS_BAD_PARAMETER for a null or empty path.
 */
kFx(kStatus) kDirectory_Create(const kChar* path);

/** True when path names an existing directory. */
kFx(kBool) kDirectory_Exists(const kChar* path);

/**
 * Names of the regular files in a directory (not of its subdirectories, not recursive), sorted
 * by byte value ("B.kdat" before "a.kdat").
 *
 * @param path       Directory path.
 * @param files      Receives a new kArrayList of kString holding the bare names (the caller
 *                   releases the list and its strings with kObject_Dispose).
 * @param allocator  Allocator of the list and the names (null: application allocator).
 * @return kOK; kSTATUS_NOT_FOUND when path is not a directory; kSTATUS_STREAM when it cannot
 *         be read; kSTATUS_BAD_PARAMETER for null arguments; kSTATUS_MEMORY (no list then).
 */
kFx(kStatus) kDirectory_ListFiles(const kChar* path, kArrayList* files, kAlloc allocator);

/**
 * The system's directory for temporary files (from TMPDIR, else "/tmp").
 *
 * @param result    Receives the null-terminated path.
 * @param capacity  Size of result in characters, terminator included.
 * @return kOK; kSTATUS_BAD_PARAMETER for a null or too small buffer; kSTATUS_NOT_FOUND when
 *         the system names no usable directory.
 */
kFx(kStatus) kDirectory_Temp(kChar* result, kSize capacity);

#endif
