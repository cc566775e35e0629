#include <kTessel/kHealthMsg.h>

struct kHealthMsgClass
{
    kObjectClass base;
    kObject content; // owned, disposed with the message
};

kDefineClass(kHealthMsg, kObject);

static kStatus xkHealthMsg_Init(kHealthMsg msg, kObject content, kAlloc alloc)
{
    kCheck(kObject_Init(msg, kTypeOf(kHealthMsg), alloc));
    static_cast<kHealthMsgClass*>(msg)->content = content;
    return kOK;
}

static kStatus xkHealthMsg_VRelease(kObject msg)
{
    kCheck(kDisposeRef(&kCastRaw(kHealthMsg, msg)->content));
    return xkObject_VRelease(msg);
}

static kStatus xkHealthMsg_VInitClone(kObject msg, kObject source, kAlloc allocator)
{
    kObject content = kNULL;
    kCheck(kObject_Clone(&content, kCastRaw(kHealthMsg, source)->content, allocator));
    kStatus status = xkHealthMsg_Init(msg, content, allocator);
    if (!kSuccess(status)) kObject_Dispose(content);
    return status;
}

static kSize xkHealthMsg_VSize(kObject msg)
{
    return xkObject_VSize(msg) + kObject_Size(kCastRaw(kHealthMsg, msg)->content);
}

kFx(kStatus) xxkHealthMsg_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kHealthMsg, kObject));
    kCheck(kAddVMethod(kHealthMsg, VRelease));
    kCheck(kAddVMethod(kHealthMsg, VInitClone));
    return kAddVMethod(kHealthMsg, VSize);
}

kFx(kStatus) kHealthMsg_Construct(kHealthMsg* msg, kObject content, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kHealthMsgClass* obj = kNULL;
    kStatus status;

    kCheckArgs(msg && kObject_Is(content, kTypeOf(kObject)));
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kHealthMsg), &obj))) return status;
    if (!kSuccess(status = xkHealthMsg_Init(obj, content, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *msg = obj;
    return kOK;
}

kFx(kObject) kHealthMsg_Content(kHealthMsg msg)
{
    kObjN(kHealthMsg, obj, msg);
    return obj ? obj->content : kNULL;
}
