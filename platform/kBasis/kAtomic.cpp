#include <kBasis/kAtomic.h>

#include <atomic>

namespace
{
std::atomic_ref<k32s> Ref(kAtomic32s* atomic) { return std::atomic_ref<k32s>(*atomic); }
} // namespace

/* Counters wrap around like the atomic operations themselves, without signed overflow. */
kFx(k32s) kAtomic32s_Increment(kAtomic32s* atomic)
{
    return (k32s)((k32u)Ref(atomic).fetch_add(1) + 1u);
}

kFx(k32s) kAtomic32s_Decrement(kAtomic32s* atomic)
{
    return (k32s)((k32u)Ref(atomic).fetch_sub(1) - 1u);
}

kFx(k32s) kAtomic32s_Exchange(kAtomic32s* atomic, k32s value)
{
    return Ref(atomic).exchange(value);
}

kFx(kBool) kAtomic32s_CompareExchange(kAtomic32s* atomic, k32s oldValue, k32s value)
{
    return Ref(atomic).compare_exchange_strong(oldValue, value) ? kTRUE : kFALSE;
}

kFx(k32s) kAtomic32s_Get(const kAtomic32s* atomic)
{
    return std::atomic_ref<k32s>(*const_cast<kAtomic32s*>(atomic)).load();
}
