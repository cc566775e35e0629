/**
 * @file    kAtomic.h
 * @brief   Atomic operations on 32-bit counters shared between threads.
 *
 * A kAtomic32s is a plain k32s that is only ever touched through these operations, so that it
 * can sit in an instance struct. Every operation is sequentially consistent.
 */
#ifndef K_BASIS_ATOMIC_H
#define K_BASIS_ATOMIC_H

#include <kBasis/kApiDef.h>

typedef k32s kAtomic32s;

/** Adds one; returns the new value. */
kFx(k32s) kAtomic32s_Increment(kAtomic32s* atomic);
/** Subtracts one; returns the new value (0 tells the last of a reference count). */
kFx(k32s) kAtomic32s_Decrement(kAtomic32s* atomic);
/** Stores value; returns the previous value. */
kFx(k32s) kAtomic32s_Exchange(kAtomic32s* atomic, k32s value);
/**
 * Stores value when the current value equals oldValue.
 *
 * @return kTRUE when the store happened; kFALSE when another value was found.
 */
kFx(kBool) kAtomic32s_CompareExchange(kAtomic32s* atomic, k32s oldValue, k32s value);
/** Current value. */
kFx(k32s) kAtomic32s_Get(const kAtomic32s* atomic);

#endif
