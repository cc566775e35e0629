/**
 * @file    kParallel.h
 * @brief   Parallel loop: splits an index range into contiguous parts, one per worker thread.
 *
 * kParallel_Execute calls the body once per part, each on its own thread (the first part on
 * the calling thread), and returns when all parts are done. The parts cover [0, count) exactly
 * once, in order: with n parts, q = count / n and r = count mod n, the first r parts hold q + 1
 * indices and the others q. Threads are started for the call, so a body should carry work
 * worth a thread start (tens of microseconds); fine-grained work belongs on a pool.
 */
#ifndef K_BASIS_PARALLEL_H
#define K_BASIS_PARALLEL_H

#include <kBasis/kApiDef.h>

/** One part of a parallel loop, as seen by the body. */
typedef struct kParallelArgs
{
    kSize index; ///< Part number, 0 .. count - 1.
    kSize count; ///< Number of parts.
    kSize begin; ///< First index of the part.
    kSize end;   ///< One past the last index of the part.
} kParallelArgs;

/** Body of a parallel loop: handles indices [kParallelArgs_Begin, kParallelArgs_End). */
typedef kStatus (*kParallelFx)(kPointer context, const kParallelArgs* args);

/** First index of the part. */
kFx(kSize) kParallelArgs_Begin(const kParallelArgs* args);
/** One past the last index of the part. */
kFx(kSize) kParallelArgs_End(const kParallelArgs* args);
/** Part number, 0 .. kParallelArgs_Count - 1 (for per-worker scratch). */
kFx(kSize) kParallelArgs_Index(const kParallelArgs* args);
/** Number of parts. */
kFx(kSize) kParallelArgs_Count(const kParallelArgs* args);

/**
 * Runs body over [0, count) with one part per processor (kThread_ProcessorCount).
 *
 * @param function  Body, called once per non-empty part.
 * @param context   Passed to every call.
 * @param count     Number of indices; 0 calls nothing.
 * @return kOK; the status of the lowest-numbered part that failed;
 *         kSTATUS_BAD_PARAMETER for a null function.
 */
kFx(kStatus) kParallel_Execute(kParallelFx function, kPointer context, kSize count);

/**
 * Same as kParallel_Execute with a chosen number of parts: min(threadCount, count) parts,
 * threadCount 0 meaning one per processor. When the system refuses a thread, the parts it
 * would have run are run on the calling thread instead.
 */
kFx(kStatus)
    kParallel_ExecuteEx(kParallelFx function, kPointer context, kSize count, kSize threadCount);

#endif
