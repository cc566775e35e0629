/**
 * @file    kDateTime.h
 * @brief   Calendar time for timestamps in records and file names.
 *
 * A kDateTime counts microseconds since 1970-01-01 00:00:00 UTC. Timestamps are formatted in
 * UTC, so that records written by sensors in different time zones compare as text.
 */
#ifndef K_BASIS_DATE_TIME_H
#define K_BASIS_DATE_TIME_H

#include <kBasis/kApiDef.h>

/** Microseconds since 1970-01-01 00:00:00 UTC (negative before). */
typedef k64s kDateTime;

/** Characters of a formatted timestamp, without the terminating null. */
#define kDATE_TIME_FORMAT_LENGTH (19)

/** The current wall-clock time. */
kFx(kDateTime) kDateTime_Now(void);

/**
 * Formats a time as "YYYY-MM-DD HH:MM:SS" (UTC; microseconds are dropped, not rounded).
 *
 * @param dateTime  Time to format.
 * @param text      Receives the null-terminated text.
 * @param capacity  Size of text in characters: at least kDATE_TIME_FORMAT_LENGTH + 1.
 * @return kOK; kSTATUS_BAD_PARAMETER for a null or too small buffer, or a year outside
 *         0 .. 9999.
 */
kFx(kStatus) kDateTime_Format(kDateTime dateTime, kChar* text, kSize capacity);

#endif
