#include <kTessel/kNode.x.h>
#include <kBasis/kLock.h>

struct kSerialOutClass
{
    kObjectClass base;
    kNode node; // owner (borrowed)
    kSize index;
    kLock lock; // guards sent
    kMemory sent;
};

kDefineClass(kSerialOut, kObject);

static kStatus xkSerialOut_VRelease(kObject serialOut)
{
    kSerialOutClass* obj = kCastRaw(kSerialOut, serialOut);
    kCheck(kDestroyRef(&obj->sent));
    kCheck(kDestroyRef(&obj->lock));
    return xkObject_VRelease(serialOut);
}

kFx(kStatus) xxkSerialOut_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kSerialOut, kObject));
    return kAddVMethod(kSerialOut, VRelease);
}

static kStatus xkSerialOut_Init(kSerialOut serialOut, kNode node, kSize index, kAlloc alloc)
{
    kSerialOutClass* obj = static_cast<kSerialOutClass*>(serialOut);
    kStatus status;

    kCheck(kObject_Init(serialOut, kTypeOf(kSerialOut), alloc));
    obj->node = node;
    obj->index = index;
    kTest(kLock_Construct(&obj->lock, alloc));
    kTest(kMemory_Construct(&obj->sent, alloc));
    return kOK;

cleanup:
    xkSerialOut_VRelease(serialOut);
    return status;
}

kStatus xkSerialOut_Construct(kSerialOut* serialOut, kNode node, kSize index, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kSerialOutClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kSerialOut), &obj))) return status;
    if (!kSuccess(status = xkSerialOut_Init(obj, node, index, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *serialOut = obj;
    return kOK;
}

kFx(kSize) kSerialOut_Index(kSerialOut serialOut)
{
    kObjN(kSerialOut, obj, serialOut);
    return obj ? obj->index : kSIZE_MAX;
}

kFx(kStatus) kSerialOut_Write(kSerialOut serialOut, const void* data, kSize size)
{
    kObjR(kSerialOut, serialOut);
    kCheckArgs(data || size == 0);
    kCheck(xkNode_Call(obj->node, "kSerialOut_Write", "%zu %zu", obj->index, size));
    kCheck(kLock_Enter(obj->lock));
    kStatus status = kMemory_Append(obj->sent, data, size);
    kLock_Exit(obj->lock);
    return status;
}

kFx(kStatus) kSerialOut_Sent(kSerialOut serialOut, void* buffer, kSize capacity, kSize* size)
{
    kObjR(kSerialOut, serialOut);
    kCheckArgs(size && (buffer || capacity == 0));
    kCheck(kLock_Enter(obj->lock));
    *size = kMemory_Length(obj->sent);
    kMemCopy(buffer, kMemory_At(obj->sent, 0), kMin_(capacity, *size));
    return kLock_Exit(obj->lock);
}
