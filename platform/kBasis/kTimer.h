/**
 * @file    kTimer.h
 * @brief   Monotonic time in microseconds, and a stopwatch object.
 *
 * Times come from a clock that never jumps (not the wall clock); its origin is arbitrary, so
 * only differences mean anything. Callers print milliseconds as elapsed / 1000.0.
 */
#ifndef K_BASIS_TIMER_H
#define K_BASIS_TIMER_H

#include <kBasis/kObject.h>

/** Current monotonic time in microseconds. */
kFx(k64u) kTimer_Now(void);

typedef kObject kTimer;
kDeclareClass(kTimer, kObject);

/**
 * Creates a stopwatch, already started.
 *
 * @param timer      Receives the timer (one reference for the caller).
 * @param allocator  Memory for the object (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kTimer_Construct(kTimer* timer, kAlloc allocator);

/** Restarts the stopwatch at the current time. */
kFx(kStatus) kTimer_Start(kTimer timer);

/** Microseconds since the last Start (or construction). */
kFx(k64u) kTimer_Elapsed(kTimer timer);

#endif
