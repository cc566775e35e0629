#include <kBasis/kThread.h>
#include <kBasis/kThread.x.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

kDefineClass(kThread, kObject)

struct kThreadImpl
{
    std::thread thread;
    std::mutex mutex;
    std::condition_variable ended;
    bool done = false;
    kStatus exitCode = kOK;
};

struct kThreadClass
{
    kObjectClass base;
    kThreadImpl* impl;
    kThreadFx function;
    kPointer context;
    k32s priority;
    kChar name[kTHREAD_NAME_CAPACITY + 1];
};

namespace
{
/* Niceness step of the low and high priorities against the process's own niceness. */
constexpr int kNiceStep = 10;

void ApplyPriority(k32s priority)
{
    if (priority == kTHREAD_PRIORITY_NORMAL) return;
    errno = 0;
    int base = getpriority(PRIO_PROCESS, 0);
    if (errno != 0) return;
    int nice =
        std::clamp(base + (priority == kTHREAD_PRIORITY_LOW ? kNiceStep : -kNiceStep), -20, 19);
    // On Linux a thread id is a scheduling entity of its own; a refused raise is not an error.
    (void)setpriority(PRIO_PROCESS, (id_t)gettid(), nice);
}

/* The kThread whose function the calling thread runs, if any: lets a thread recognise a join
   of itself without reading the std::thread that its starter may still be assigning. */
thread_local kThreadClass* t_current = kNULL;

void Run(kThreadClass* obj)
{
    t_current = obj;
    if (obj->name[0]) pthread_setname_np(pthread_self(), obj->name);
    ApplyPriority(obj->priority);

    kStatus status = obj->function(obj->context);

    std::lock_guard<std::mutex> guard(obj->impl->mutex);
    obj->impl->exitCode = status;
    obj->impl->done = true;
    obj->impl->ended.notify_all();
}

/* Waits for the running thread and reaps it; the caller has checked that one was started. */
kStatus Reap(kThreadClass* obj, k64u timeout, kStatus* exitCode)
{
    kThreadImpl* impl = obj->impl;
    {
        std::unique_lock<std::mutex> lock(impl->mutex);
        if (!xkWaitFor(impl->ended, lock, timeout, [impl] { return impl->done; }))
            return kSTATUS_TIMEOUT;
    }
    impl->thread.join();
    if (exitCode) *exitCode = impl->exitCode;
    return kOK;
}
} // namespace

kStatus xkThread_VRelease(kObject thread)
{
    kThreadClass* obj = kCastRaw(kThread, thread);
    if (obj->impl && obj->impl->thread.joinable()) Reap(obj, kINFINITE, kNULL);
    xkImpl_Delete(obj->base.alloc, &obj->impl);
    return xkObject_VRelease(thread);
}

kFx(kStatus) xxkThread_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kThread, kObject));
    kCheck(kAddVMethod(kThread, VRelease));
    return kOK;
}

kFx(kStatus) kThread_Construct(kThread* thread, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kThreadClass* obj = kNULL;
    kStatus status;

    kCheckArgs(thread);
    *thread = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kThread), &obj));
    kTest(kObject_Init(obj, kTypeOf(kThread), alloc));
    obj->priority = kTHREAD_PRIORITY_NORMAL;
    kTest(xkImpl_New(alloc, &obj->impl));
    *thread = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kThread_Start(kThread thread, kThreadFx function, kPointer context)
{
    kObjR(kThread, thread);
    kCheckArgs(function);
    kCheckState(!obj->impl->thread.joinable());

    obj->function = function;
    obj->context = context;
    obj->impl->done = false;
    try
    {
        obj->impl->thread = std::thread(Run, obj);
    }
    catch (...)
    {
        return kSTATUS_FAILED;
    }
    return kOK;
}

kFx(kStatus) kThread_Join(kThread thread, k64u timeout, kStatus* exitCode)
{
    kObjR(kThread, thread);
    kCheckState(t_current != obj);
    kCheckState(obj->impl->thread.joinable());
    return Reap(obj, timeout, exitCode);
}

kFx(kStatus) kThread_SetName(kThread thread, const kChar* name)
{
    kObjR(kThread, thread);
    kCheckArgs(name && strlen(name) <= kTHREAD_NAME_CAPACITY);
    kCheckState(!obj->impl->thread.joinable());
    strcpy(obj->name, name);
    return kOK;
}

kFx(kStatus) kThread_SetPriority(kThread thread, k32s priority)
{
    kObjR(kThread, thread);
    kCheckArgs(priority >= kTHREAD_PRIORITY_LOW && priority <= kTHREAD_PRIORITY_HIGH);
    kCheckState(!obj->impl->thread.joinable());
    obj->priority = priority;
    return kOK;
}

kFx(kStatus) kThread_Sleep(k64u duration)
{
    /* Slices keep the nanosecond arithmetic of the clock within range. */
    constexpr k64u slice = 1000000000000ull;
    for (k64u left = duration; left > 0;)
    {
        k64u step = std::min(left, slice);
        std::this_thread::sleep_for(std::chrono::microseconds((k64s)step));
        left -= step;
    }
    return kOK;
}

kFx(kSize) kThread_ProcessorCount(void)
{
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof(set), &set) == 0 && CPU_COUNT(&set) > 0)
        return (kSize)CPU_COUNT(&set);
    unsigned count = std::thread::hardware_concurrency();
    return count > 0 ? count : 1;
}
