#include <kTessel/kPxPort.x.h>

#include <cstring>

kDefineClass(kPxPort, kObject);

kFx(kStatus) xxkPxPort_Register(kAssembly assembly, const kChar* name)
{
    return kAddClass(kPxPort, kObject);
}

kStatus xkPxPort_Construct(kPxPort* port, kObject block, const kChar* name, k32u id, kBool isInput,
                           kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kPxPortClass* obj = kNULL;
    kStatus status;

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kPxPort), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kPxPort), alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->block = block;
    obj->id = id;
    obj->isInput = isInput ? kTRUE : kFALSE;
    strncpy(obj->name, name, sizeof(obj->name) - 1);
    *port = obj;
    return kOK;
}

kFx(k32u) kPxPort_Id(kPxPort port)
{
    kObjN(kPxPort, obj, port);
    return obj ? obj->id : k32U_NULL;
}

kFx(const kChar*) kPxPort_Name(kPxPort port)
{
    kObjN(kPxPort, obj, port);
    return obj ? obj->name : "";
}

kFx(kBool) kPxPort_IsInput(kPxPort port)
{
    kObjN(kPxPort, obj, port);
    return obj ? obj->isInput : kFALSE;
}

kFx(kBool) kPxPort_IsRouted(kPxPort port)
{
    kObjN(kPxPort, obj, port);
    return (obj && obj->routeCount > 0) ? kTRUE : kFALSE;
}

kFx(kObject) kPxPort_Block(kPxPort port)
{
    kObjN(kPxPort, obj, port);
    return obj ? obj->block : kNULL;
}

kFx(kStatus) kPxPort_AcceptForeignData(kPxPort port, kBool accept)
{
    kObjR(kPxPort, port);
    kCheckArgs(obj->isInput);
    obj->acceptForeign = accept ? kTRUE : kFALSE;
    return kOK;
}

kFx(kBool) kPxPort_AcceptsForeignData(kPxPort port)
{
    kObjN(kPxPort, obj, port);
    return obj ? obj->acceptForeign : kFALSE;
}
