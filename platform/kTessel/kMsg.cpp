#include <kTessel/kMsg.h>

struct kMsgClass
{
    kObjectClass base;
    kStamp stamp;
    kObject data; // owned, disposed with the message
};

kDefineClass(kMsg, kObject);

static kStatus xkMsg_Init(kMsg msg, const kStamp* stamp, kObject data, kAlloc alloc)
{
    kMsgClass* obj = static_cast<kMsgClass*>(msg);
    kCheck(kObject_Init(msg, kTypeOf(kMsg), alloc));
    if (stamp) obj->stamp = *stamp;
    obj->data = data;
    return kOK;
}

static kStatus xkMsg_VRelease(kObject msg)
{
    kCheck(kDisposeRef(&kCastRaw(kMsg, msg)->data));
    return xkObject_VRelease(msg);
}

static kStatus xkMsg_VInitClone(kObject msg, kObject source, kAlloc allocator)
{
    kMsgClass* src = kCastRaw(kMsg, source);
    kObject data = kNULL;
    kCheck(kObject_Clone(&data, src->data, allocator));
    kStatus status = xkMsg_Init(msg, &src->stamp, data, allocator);
    if (!kSuccess(status)) kObject_Dispose(data);
    return status;
}

/* A message is where its payload is (the header alone tells nothing): the pipeline copies
   foreign payloads to host memory before handing them to a port that does not accept them. */
static k32u xkMsg_VAllocTraits(kObject msg)
{
    return kObject_AllocTraits(kCastRaw(kMsg, msg)->data);
}

static kSize xkMsg_VSize(kObject msg)
{
    return xkObject_VSize(msg) + kObject_Size(kCastRaw(kMsg, msg)->data);
}

kFx(kStatus) xxkMsg_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kMsg, kObject));
    kCheck(kAddVMethod(kMsg, VRelease));
    kCheck(kAddVMethod(kMsg, VInitClone));
    kCheck(kAddVMethod(kMsg, VAllocTraits));
    return kAddVMethod(kMsg, VSize);
}

kFx(kStatus) kMsg_Construct(kMsg* msg, const kStamp* stamp, kObject data, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kMsgClass* obj = kNULL;
    kStatus status;

    kCheckArgs(msg && kObject_Is(data, kTypeOf(kObject)));
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kMsg), &obj))) return status;
    if (!kSuccess(status = xkMsg_Init(obj, stamp, data, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *msg = obj;
    return kOK;
}

kFx(kStamp*) kMsg_Stamp(kMsg msg)
{
    kObjN(kMsg, obj, msg);
    return obj ? &obj->stamp : kNULL;
}

kFx(kObject) kMsg_Data(kMsg msg)
{
    kObjN(kMsg, obj, msg);
    return obj ? obj->data : kNULL;
}
