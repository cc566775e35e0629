/**
 * @file    kThread.h
 * @brief   Threads: start, timed join, name and priority; sleeping and the processor count.
 *
 * A kThread object runs one function at a time on an operating-system thread. Every time value
 * is in microseconds; kINFINITE means no limit. Destroying a thread that is still running
 * waits for its function to return, so an owner that stops its workers (by a flag, a closed
 * queue) and then destroys them knows that no worker touches it afterwards.
 */
#ifndef K_BASIS_THREAD_H
#define K_BASIS_THREAD_H

#include <kBasis/kObject.h>

/** Function run by a thread; its status is the thread's exit code. */
typedef kStatus (*kThreadFx)(kPointer context);

/** Scheduling priorities. Raising a priority needs privileges that a sensor may not grant. */
#define kTHREAD_PRIORITY_LOW (-1)
#define kTHREAD_PRIORITY_NORMAL (0)
#define kTHREAD_PRIORITY_HIGH (1)

/** Longest thread name, in characters (the operating system's limit). */
#define kTHREAD_NAME_CAPACITY (15)

typedef kObject kThread;
kDeclareClass(kThread, kObject);

/**
 * Creates a thread object; no thread runs until Start.
 *
 * @param thread     Receives the thread (one reference for the caller).
 * @param allocator  Memory for the object (null: application allocator).
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kThread_Construct(kThread* thread, kAlloc allocator);

/**
 * Starts function(context) on a new operating-system thread. A joined thread may be started
 * again.
 *
 * @return kOK; kSTATUS_BAD_STATE while a started thread has not been joined;
 *         kSTATUS_BAD_PARAMETER for a null function; kSTATUS_FAILED when the operating system
 *         refuses a new thread.
 */
kFx(kStatus) kThread_Start(kThread thread, kThreadFx function, kPointer context);

/**
 * Waits for the thread's function to return. One thread at a time may join a thread.
 *
 * @param thread    Thread.
 * @param timeout   Longest wait in microseconds; kINFINITE waits without limit.
 * @param exitCode  Receives the function's status (may be null).
 * @return kOK once the thread has ended (it may then be started again);
 *         kSTATUS_TIMEOUT when it still runs after the timeout (join again later);
 *         kSTATUS_BAD_STATE when no thread was started, or when a thread joins itself.
 */
kFx(kStatus) kThread_Join(kThread thread, k64u timeout, kStatus* exitCode);

/**
 * Names the thread for debuggers and system tools; applied when the thread starts.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null name or one longer than kTHREAD_NAME_CAPACITY;
 *         kSTATUS_BAD_STATE once started.
 */
kFx(kStatus) kThread_SetName(kThread thread, const kChar* name);

/**
 * Sets the scheduling priority (kTHREAD_PRIORITY_*), applied when the thread starts, as a
 * niceness 10 above or below the process's. A raise that the system refuses leaves the thread
 * at normal priority: a sensor without scheduling privileges still runs, only less eagerly.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an unknown priority; kSTATUS_BAD_STATE once started.
 */
kFx(kStatus) kThread_SetPriority(kThread thread, k32s priority);

/** Suspends the calling thread for at least `duration` microseconds. */
kFx(kStatus) kThread_Sleep(k64u duration);

/** Number of processors the process may run on (at least 1). */
kFx(kSize) kThread_ProcessorCount(void);

#endif
