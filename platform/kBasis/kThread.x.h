/**
 * @file    kThread.x.h
 * @brief   Private helpers of the thread family: C++ state behind an instance, timed waits.
 *
 * Instances are raw allocator memory, so the standard synchronisation objects of a class live
 * in a C++ struct that the instance holds by pointer. The struct is placed in memory from the
 * instance's allocator, so that failure tests see it like any other allocation.
 */
#ifndef K_BASIS_THREAD_X_H
#define K_BASIS_THREAD_X_H

#include <kBasis/kAlloc.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

/** Constructs a T in memory from `alloc`; kSTATUS_MEMORY leaves *impl null. */
template <typename T>
kStatus xkImpl_New(kAlloc alloc, T** impl)
{
    void* mem = kNULL;
    *impl = kNULL;
    kCheck(kAlloc_Get(alloc, sizeof(T), &mem));
    *impl = new (mem) T();
    return kOK;
}

/** Destroys and frees a T from xkImpl_New; null is accepted. */
template <typename T>
void xkImpl_Delete(kAlloc alloc, T** impl)
{
    if (!*impl) return;
    (*impl)->~T();
    kAlloc_Free(alloc, *impl);
    *impl = kNULL;
}

/*
 * Waits on `cv` until `ready()` holds or `timeout` microseconds pass (kINFINITE: no limit).
 * Long timeouts are waited in slices because the clock's nanosecond count would overflow on
 * a single deadline of more than a few months.
 */
template <typename Ready>
bool xkWaitFor(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, k64u timeout,
               Ready ready)
{
    if (timeout == kINFINITE)
    {
        cv.wait(lock, ready);
        return true;
    }
    constexpr k64u slice = 1000000000000ull; // about 11.6 days
    for (k64u left = timeout;;)
    {
        k64u step = std::min(left, slice);
        if (cv.wait_for(lock, std::chrono::microseconds((k64s)step), ready)) return true;
        left -= step;
        if (left == 0) return false;
    }
}

#endif
