#include <kBasis/kTimer.h>
#include <kBasis/kAlloc.h>

#include <chrono>

kDefineClass(kTimer, kObject)

    struct kTimerClass
{
    kObjectClass base;
    k64u start; // kTimer_Now at the last Start
};

kFx(kStatus) xxkTimer_Register(kAssembly assembly, const kChar* name)
{
    return kAddClass(kTimer, kObject);
}

kFx(k64u) kTimer_Now(void)
{
    auto now = std::chrono::steady_clock::now().time_since_epoch();
    return (k64u)std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

kFx(kStatus) kTimer_Construct(kTimer* timer, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kTimerClass* obj = kNULL;
    kStatus status;

    kCheckArgs(timer);
    *timer = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kTimer), &obj));
    kTest(kObject_Init(obj, kTypeOf(kTimer), alloc));
    obj->start = kTimer_Now();
    *timer = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kTimer_Start(kTimer timer)
{
    kObjR(kTimer, timer);
    obj->start = kTimer_Now();
    return kOK;
}

kFx(k64u) kTimer_Elapsed(kTimer timer)
{
    kObjN(kTimer, obj, timer);
    return obj ? kTimer_Now() - obj->start : 0;
}
