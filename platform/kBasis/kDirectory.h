/**
 * @file    kDirectory.h
 * @brief   Directories: create, test, list, and the system's temporary directory.
 */
#ifndef K_BASIS_DIRECTORY_H
#define K_BASIS_DIRECTORY_H

#include <kBasis/kApiDef.h>

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
 * The system's directory for temporary files (from TMPDIR, else "/tmp").
 *
 * @param result    Receives the null-terminated path.
 * @param capacity  Size of result in characters, terminator included.
 * @return kOK; kSTATUS_BAD_PARAMETER for a null or too small buffer; kSTATUS_NOT_FOUND when
 *         the system names no usable directory.
 */
kFx(kStatus) kDirectory_Temp(kChar* result, kSize capacity);

#endif
