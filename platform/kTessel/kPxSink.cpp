#include <kTessel/kPxSink.x.h>

struct kPxSinkClass
{
    kObjectClass base;
    kMemory messages; // kObject handles, owned
};

kDefineClass(kPxSink, kObject);

static kStatus xkPxSink_VRelease(kObject sink)
{
    kPxSinkClass* obj = kCastRaw(kPxSink, sink);
    if (obj->messages) kCheck(kPxSink_Clear(sink));
    kCheck(kDestroyRef(&obj->messages));
    return xkObject_VRelease(sink);
}

kFx(kStatus) xxkPxSink_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kPxSink, kObject));
    return kAddVMethod(kPxSink, VRelease);
}

kStatus xkPxSink_Construct(kPxSink* sink, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPxSinkClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPxSink), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kPxSink), alloc)) ||
        !kSuccess(status = kMemory_Construct(&obj->messages, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *sink = obj;
    return kOK;
}

kStatus xkPxSink_Add(kPxSink sink, kObject message)
{
    return kMemory_Append(kCastRaw(kPxSink, sink)->messages, &message, sizeof(message));
}

kFx(kSize) kPxSink_Count(kPxSink sink)
{
    kObjN(kPxSink, obj, sink);
    return obj ? kMemory_Length(obj->messages) / sizeof(kObject) : 0;
}

kFx(kObject) kPxSink_At(kPxSink sink, kSize index)
{
    if (index >= kPxSink_Count(sink)) return kNULL;
    return *static_cast<kObject*>(
        kMemory_At(kCastRaw(kPxSink, sink)->messages, index * sizeof(kObject)));
}

kFx(kStatus) kPxSink_Clear(kPxSink sink)
{
    kObjR(kPxSink, sink);
    kStatus status = kOK;
    for (kSize i = 0; i < kPxSink_Count(sink); ++i)
    {
        kStatus disposed = kObject_Dispose(kPxSink_At(sink, i));
        if (kSuccess(status)) status = disposed;
    }
    kCheck(kMemory_Allocate(obj->messages, 0));
    return status;
}
