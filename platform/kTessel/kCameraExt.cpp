#include <kTessel/kNode.x.h>

kDefineClass(kCameraExt, kObject);

kFx(kStatus) xxkCameraExt_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kCameraExt, kObject));
    return xkType_AddFlags(kTypeOf(kCameraExt), kTYPE_FLAGS_ABSTRACT);
}

kStatus xkCameraExt_Construct(kCameraExt* extension, kType type, kCamera camera, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kCameraExtClass* obj = kNULL;
    kStatus status;

    kCheckArgs(type && kType_Extends(type, kTypeOf(kCameraExt)) &&
               !(kType_Flags(type) & kTYPE_FLAGS_ABSTRACT));
    if (!kSuccess(status = kAlloc_GetObject(alloc, type, &obj))) return status;
    if (!kSuccess(status = kObject_Init(obj, type, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    obj->camera = camera;
    *extension = obj;
    return kOK;
}

kFx(kObject) kCameraExt_Camera(kCameraExt extension)
{
    kObjN(kCameraExt, obj, extension);
    return obj ? obj->camera : kNULL;
}
