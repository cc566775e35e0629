/**
 * @file    kPath.h
 * @brief   File path text: joining and taking apart. No file system access.
 *
 * Paths use "/" as separator. Every operation writes a null-terminated result to a caller
 * buffer of `capacity` characters (terminator included) and fails with kSTATUS_BAD_PARAMETER,
 * writing nothing, when the result does not fit: a truncated path would name another file.
 * The result may be written over the input.
 */
#ifndef K_BASIS_PATH_H
#define K_BASIS_PATH_H

#include <kBasis/kApiDef.h>

/** The path separator, '/'. */
kFx(kChar) kPath_Separator(void);

/** True for a path from the root ("/data/cal.kdat"); false for relative or null paths. */
kFx(kBool) kPath_IsAbsolute(const kChar* path);

/**
 * Joins two paths with one separator: ("a", "b.kdat") and ("a/", "b.kdat") give "a/b.kdat".
 * An empty part gives the other unchanged; an absolute second part replaces the first.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null arguments or a too small buffer.
 */
kFx(kStatus) kPath_Combine(const kChar* path1, const kChar* path2, kChar* result, kSize capacity);

/**
 * The directory part: everything before the last separator ("a/b/c.kdat" gives "a/b",
 * "/c.kdat" gives "/", "c.kdat" gives "").
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null arguments or a too small buffer.
 */
kFx(kStatus) kPath_Directory(const kChar* path, kChar* result, kSize capacity);

/**
 * The file name: everything after the last separator ("a/b/c.kdat" gives "c.kdat"; a path
 * ending in a separator gives "").
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null arguments or a too small buffer.
 */
kFx(kStatus) kPath_FileName(const kChar* path, kChar* result, kSize capacity);

/**
 * The extension of the file name, without its dot: "a/b.tar.kdat" gives "kdat"; names without
 * a dot, ending in a dot, or whose only dot leads (".profile") give "".
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for null arguments or a too small buffer.
 */
kFx(kStatus) kPath_Extension(const kChar* path, kChar* result, kSize capacity);

#endif
