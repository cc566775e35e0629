#include <kTessel/kAxAction.h>

kDefineClass(kAxAction, kObject);

namespace
{
const kAxActionVTable* VTableOf(kType type)
{
    return static_cast<const kAxActionVTable*>(kType_VTable(type));
}

bool IsActionType(kType type) { return type && kType_Extends(type, kTypeOf(kAxAction)); }
} // namespace

kFx(kStatus) xkAxAction_VInitialize(kAxAction) { return kOK; }
kFx(const kChar*) xkAxAction_VDescription(void) { return ""; }
kFx(kStatus) xkAxAction_VValidate(kXml, kAlloc) { return kOK; }
kFx(kStatus) xkAxAction_VPrepare(kAxAction) { return kOK; }
kFx(kStatus) xkAxAction_VInvoke(kAxAction) { return kSTATUS_NOT_IMPLEMENTED; }

kFx(kStatus) xxkAxAction_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kAxAction, kObject));
    kCheck(xkType_AddFlags(kTypeOf(kAxAction), kTYPE_FLAGS_ABSTRACT));
    kCheck(kAddVMethod(kAxAction, VInitialize));
    kCheck(kAddVMethod(kAxAction, VDescription));
    kCheck(kAddVMethod(kAxAction, VValidate));
    kCheck(kAddVMethod(kAxAction, VPrepare));
    return kAddVMethod(kAxAction, VInvoke);
}

kFx(kXml) kAxAction_Settings(kAxAction action)
{
    kObjN(kAxAction, obj, action);
    return obj ? obj->settings : kNULL;
}

kFx(kNode) kAxAction_Node(kAxAction action)
{
    kObjN(kAxAction, obj, action);
    return obj ? obj->node : kNULL;
}

kFx(kSystem) kAxAction_System(kAxAction action)
{
    kObjN(kAxAction, obj, action);
    return obj ? obj->system : kNULL;
}

kFx(const kChar*) kAxAction_Description(kType type)
{
    return IsActionType(type) ? VTableOf(type)->VDescription() : "";
}

kFx(kStatus) kAxAction_Validate(kType type, kXml settings, kAlloc allocator)
{
    kCheckArgs(IsActionType(type) && kObject_Is(settings, kTypeOf(kXml)));
    return VTableOf(type)->VValidate(settings, kAlloc_Fallback(allocator));
}

kFx(kStatus)
    kAxAction_Invoke(kType type, kXml settings, kNode node, kSystem system, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kAxActionClass* obj = kNULL;
    kStatus status;

    kCheckArgs(IsActionType(type) && !(kType_Flags(type) & kTYPE_FLAGS_ABSTRACT));
    kCheckArgs(kObject_Is(settings, kTypeOf(kXml)) && kObject_Is(node, kTypeOf(kNode)));
    kCheck(kAlloc_GetObject(alloc, type, &obj));
    if (!kSuccess(status = kObject_Init(obj, type, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->settings = settings;
    obj->node = node;
    obj->system = system;

    const kAxActionVTable* vt = VTableOf(type);
    if (kSuccess(status = vt->VInitialize(obj)) && kSuccess(status = vt->VPrepare(obj)))
        status = vt->VInvoke(obj);
    kStatus destroyed = kObject_Destroy(obj);
    return kSuccess(status) ? destroyed : status;
}
