/**
 * @file    kString.h
 * @brief   kString, a growable text object, and the C-string helpers of the foundation.
 *
 * A string holds Length characters followed by a terminating NUL in memory for Capacity
 * characters. Two strings are equal (`kObject_Equals`) when their characters are, and hash
 * alike (`kObject_HashCode`), so maps can key by strings. Text arguments of the operations
 * may point into the string itself, except the arguments of the printf-style ones.
 */
#ifndef K_BASIS_STRING_H
#define K_BASIS_STRING_H

#include <kBasis/kArrayList.h>

typedef kObject kString;
kDeclareClass(kString, kObject);

/**
 * Constructs a string.
 *
 * @param str        Receives the string (one reference, owned by the caller).
 * @param content    Initial text (null: empty).
 * @param allocator  Allocator (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kString_Construct(kString* str, const kChar* content, kAlloc allocator);

/** Replaces the text (null: empty). */
kFx(kStatus) kString_Set(kString str, const kChar* content);
/** Replaces the text with printf-style formatted text. */
kFx(kStatus) kString_Setf(kString str, const kChar* format, ...)
    __attribute__((format(printf, 2, 3)));
kFx(kStatus) kString_Setv(kString str, const kChar* format, va_list args);

/** Appends text (null: nothing). */
kFx(kStatus) kString_Add(kString str, const kChar* content);
/** Appends printf-style formatted text. */
kFx(kStatus) kString_Addf(kString str, const kChar* format, ...)
    __attribute__((format(printf, 2, 3)));
kFx(kStatus) kString_Addv(kString str, const kChar* format, va_list args);

/**
 * Appends count characters of content, starting at character start.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when start + count runs past the end of content.
 */
kFx(kStatus) kString_AddSubstring(kString str, const kChar* content, kSize start, kSize count);

/** Copies the text of source (another kString). */
kFx(kStatus) kString_Assign(kString str, kString source);

/** Empties the string (the capacity stays). */
kFx(kStatus) kString_Clear(kString str);

/** Makes room for capacity characters (plus the NUL); never shrinks. */
kFx(kStatus) kString_Reserve(kString str, kSize capacity);

/**
 * Sets the length: cuts the text, or extends it with NUL characters that the caller then
 * overwrites through kString_Chars (so the C length may be shorter than Length).
 */
kFx(kStatus) kString_SetLength(kString str, kSize length);

/** Removes leading and trailing white space (space, tab, CR, LF, VT, FF). */
kFx(kStatus) kString_Trim(kString str);

/**
 * Splits the text at every character found in delimiters.
 *
 * @param str         String to split (unchanged).
 * @param tokens      Receives a new kArrayList of kString, one per token in order (the caller
 *                    owns the list and its strings: release both with kObject_Dispose).
 * @param delimiters  Delimiter characters (null or "": the whole text is one token).
 * @param keepEmpty   kTRUE keeps the empty tokens between adjacent delimiters and at either
 *                    end (so "" gives one empty token); kFALSE drops them.
 * @param allocator   Allocator of the list and the tokens (null: application allocator).
 * @return kOK; kSTATUS_MEMORY (nothing is returned then).
 */
kFx(kStatus) kString_SplitEx(kString str, kArrayList* tokens, const kChar* delimiters,
                             kBool keepEmpty, kAlloc allocator);

/**
 * The characters, NUL-terminated (never null for a string). Writable up to Length characters;
 * the pointer stays valid until the next operation that changes the length or capacity.
 */
kFx(kChar*) kString_Chars(kString str);
kFx(kSize) kString_Length(kString str);
kFx(kSize) kString_Capacity(kString str);
/** True when the text equals content (null content counts as ""). */
kFx(kBool) kString_Equals(kString str, const kChar* content);

/* ----- C-string helpers ------------------------------------------------------------------- */

/**
 * Copies src into dest, a buffer of capacity characters including the NUL.
 *
 * Text that does not fit is an error, not a silent truncation: dest then holds the first
 * capacity - 1 characters (still terminated) and kSTATUS_BAD_PARAMETER is returned.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER when src does not fit, or for a null argument or a
 *         capacity of 0 (nothing written then).
 */
kFx(kStatus) kStrCopy(kChar* dest, kSize capacity, const kChar* src);

/**
 * Formats printf-style into dest, a buffer of capacity characters including the NUL. Like
 * kStrCopy, text that does not fit is left truncated and reported as kSTATUS_BAD_PARAMETER.
 */
kFx(kStatus) kStrPrintf(kChar* dest, kSize capacity, const kChar* format, ...)
    __attribute__((format(printf, 3, 4)));

/** True when both texts are equal (two nulls are equal; a null and a text are not). */
kFx(kBool) kStrEquals(const kChar* a, const kChar* b);

/**
 * Compares as if both texts were lower case (ASCII letters only): negative when a sorts
 * before b, 0 when equal, positive after. Null counts as "".
 */
kFx(k32s) kStrCompareLower(const kChar* a, const kChar* b);

/** Number of characters before the NUL (0 for null). */
kFx(kSize) kStrLength(const kChar* text);

/** First occurrence of sub in text, or null (an empty sub is found at text). */
kFx(const kChar*) kStrFindFirst(const kChar* text, const kChar* sub);

/** Last occurrence of sub in text, or null (an empty sub is found at the end of text). */
kFx(const kChar*) kStrFindLast(const kChar* text, const kChar* sub);

/**
 * Parses one record of comma-separated values into its fields.
 *
 * Fields are separated by commas and kept as written (no trimming). A field that starts with a
 * double quote is quoted: it runs to the closing quote, may contain commas and line breaks,
 * and writes a quote as two quotes; after the closing quote only a comma or the end of the
 * record may follow. The record ends at the end of text or at the first line break (CR or LF)
 * outside quotes. An empty record gives one empty field.
 *
 * @param fields     Receives a new kArrayList of kString (the caller disposes of it).
 * @param text       Record text.
 * @param allocator  Allocator of the list and the fields (null: application allocator).
 * @return kOK; kSTATUS_BAD_FORMAT for an unterminated quoted field or text after a closing
 *         quote; kSTATUS_BAD_PARAMETER for null text; kSTATUS_MEMORY.
 */
kFx(kStatus) kParseCsv(kArrayList* fields, const kChar* text, kAlloc allocator);

#endif
