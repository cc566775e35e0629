#include <kTessel/kSystem.h>

struct kSystemClass
{
    kObjectClass base;
    kMemory nodes; // kNode handles, one reference each
};

kDefineClass(kSystem, kObject);

static kStatus xkSystem_VRelease(kObject system)
{
    kSystemClass* obj = kCastRaw(kSystem, system);
    for (kSize i = 0; i < kSystem_NodeCount(system); ++i)
        kCheck(kObject_Destroy(kSystem_NodeAt(system, i)));
    kCheck(kDestroyRef(&obj->nodes));
    return xkObject_VRelease(system);
}

kFx(kStatus) xxkSystem_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kSystem, kObject));
    return kAddVMethod(kSystem, VRelease);
}

kFx(kStatus) kSystem_Construct(kSystem* system, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kSystemClass* obj = kNULL;
    kStatus status;

    kCheckArgs(system);
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kSystem), &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, kTypeOf(kSystem), alloc)) ||
        !kSuccess(status = kMemory_Construct(&obj->nodes, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *system = obj;
    return kOK;
}

kFx(kStatus) kSystem_AddNode(kSystem system, kNode node)
{
    kObjR(kSystem, system);
    kCheckArgs(kObject_Is(node, kTypeOf(kNode)));
    kCheck(kMemory_Append(obj->nodes, &node, sizeof(node)));
    return kObject_Share(node);
}

kFx(kSize) kSystem_NodeCount(kSystem system)
{
    kObjN(kSystem, obj, system);
    return (obj && obj->nodes) ? kMemory_Length(obj->nodes) / sizeof(kNode) : 0;
}

kFx(kNode) kSystem_NodeAt(kSystem system, kSize index)
{
    if (index >= kSystem_NodeCount(system)) return kNULL;
    return *static_cast<kNode*>(
        kMemory_At(kCastRaw(kSystem, system)->nodes, index * sizeof(kNode)));
}

kFx(kStatus) kSystem_Disconnect(kSystem system)
{
    kStatus first = kOK;
    for (kSize i = 0; i < kSystem_NodeCount(system); ++i)
    {
        kStatus status = kNode_Disconnect(kSystem_NodeAt(system, i));
        if (kSuccess(first)) first = status;
    }
    return first;
}
