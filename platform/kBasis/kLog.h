/**
 * @file    kLog.h
 * @brief   The platform log: formatted messages for failures and notices with no block console.
 *
 * Messages go to standard error unless a sink is installed; tests install a sink to read what
 * an operation logged. A sink is called under a lock, one message at a time, without the
 * trailing line feed.
 */
#ifndef K_BASIS_LOG_H
#define K_BASIS_LOG_H

#include <kBasis/kApiDef.h>

typedef void (*kLogSink)(void* context, const kChar* message);

/** Installs a sink (null restores standard error). */
kFx(void) kLog_SetSink(kLogSink sink, void* context);
kFx(kStatus) kLog(const kChar* message);
kFx(kStatus) kLogf(const kChar* format, ...) __attribute__((format(printf, 1, 2)));
kFx(kStatus) kLogfv(const kChar* format, va_list args);

#endif
