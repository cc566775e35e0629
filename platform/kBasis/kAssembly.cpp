#include <kBasis/kAssemblyLib.h>
#include <kBasis/kAlloc.h>
#include <kBasis/kLog.h>
#include <kBasis/kType.x.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

kDefineClass(kAssembly, kObject)

namespace
{
struct AssemblyImpl
{
    std::string name;
    kVersion version = 0;
    kVersion platformVersion = 0;
    kAssembly* staticHandle = kNULL;
    std::vector<kAssemblyConstructFx> dependencyConstructors;
    std::vector<kAssembly> dependencies;
    std::vector<std::pair<kTypeRegisterFx, std::string>> pending;
    std::vector<kType> types;
};

kSize s_faultIndex = 0;
kStatus s_faultStatus = kOK;
}  // namespace

struct kAssemblyClass
{
    kObjectClass base;
    AssemblyImpl* impl;
};

namespace
{
/* Assembly handles are checked by tag and implementation only: the foundation assembly is
   in use before the kAssembly type is registered. */
kAssemblyClass* Raw(kAssembly assembly)
{
    kAssemblyClass* obj = static_cast<kAssemblyClass*>(assembly);
    return (obj && obj->base.tag == kOBJECT_TAG && obj->impl) ? obj : kNULL;
}
}  // namespace

namespace
{
/* Static release in reverse order, then handles cleared, names dropped, records freed. */
kStatus Teardown(kAssemblyClass* obj)
{
    AssemblyImpl* impl = obj->impl;
    kStatus status = kOK;
    if (!impl) return kOK;

    for (auto it = impl->types.rbegin(); it != impl->types.rend(); ++it)
    {
        kType type = *it;
        if (type->staticReady && type->staticRelease)
        {
            kStatus s = type->staticRelease();
            if (kSuccess(status)) status = s;
        }
        type->staticReady = false;
    }
    for (kType type : impl->types)
    {
        if (type->handle && *type->handle == type) *type->handle = kNULL;
        xkTypeRegistry_Remove(type);
        delete type;
    }
    for (auto it = impl->dependencies.rbegin(); it != impl->dependencies.rend(); ++it)
        kObject_Destroy(*it);
    if (impl->staticHandle && *impl->staticHandle == obj) *impl->staticHandle = kNULL;

    delete impl;
    obj->impl = kNULL;
    return status;
}

kStatus NewType(kAssemblyClass* obj, kType* handle, const kChar* name, const kChar* baseName,
                kSize size, kTypeKind kind, kType* out)
{
    kCheckArgs(handle && name && name[0]);

    kType type = new kTypeClass();
    type->name = type->Keep(name);
    type->baseName = type->Keep(baseName);
    type->kind = kind;
    type->innerSize = size;
    type->assembly = obj;

    kStatus status = xkTypeRegistry_Add(type);
    if (!kSuccess(status))
    {
        kLogf("Type %s is already registered", name);
        delete type;
        return status;
    }
    type->handle = handle;
    *handle = type;
    obj->impl->types.push_back(type);
    *out = type;
    return kOK;
}
}  // namespace

kStatus xkAssembly_VReleaseSlot(kAssembly assembly)
{
    kCheck(Teardown(kCastRaw(kAssembly, assembly)));
    return xkObject_VRelease(assembly);
}

kFx(kStatus) xxkAssembly_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kAssembly, kObject));
    return xkType_AddVMethod(kTypeOf(kAssembly), xkVTable_Slot(&kObjectVTable::VRelease),
                             reinterpret_cast<kFunction>(xkAssembly_VReleaseSlot), "VRelease");
}

/* ----- Versions ---------------------------------------------------------------------------- */

kFx(kStatus) kVersion_Parse(kVersion* version, const kChar* text)
{
    kCheckArgs(version && text);
    k32u parts[4];
    const kChar* p = text;
    for (int i = 0; i < 4; ++i)
    {
        if (*p < '0' || *p > '9') return kSTATUS_BAD_PARAMETER;
        k32u value = 0;
        while (*p >= '0' && *p <= '9')
        {
            value = value * 10 + (k32u)(*p++ - '0');
            if (value > 255) return kSTATUS_BAD_PARAMETER;
        }
        parts[i] = value;
        if (i < 3 && *p++ != '.') return kSTATUS_BAD_PARAMETER;
    }
    if (*p != '\0') return kSTATUS_BAD_PARAMETER;
    *version = kVersion_Create(parts[0], parts[1], parts[2], parts[3]);
    return kOK;
}

kFx(kStatus) kVersion_Format(kVersion version, kChar* buffer, kSize capacity)
{
    kCheckArgs(buffer && capacity > 0);
    int n = snprintf(buffer, capacity, "%u.%u.%u.%u", kVersion_Major(version), kVersion_Minor(version),
                     kVersion_Release(version), kVersion_Build(version));
    return (n >= 0 && (kSize)n < capacity) ? kOK : kSTATUS_BAD_PARAMETER;
}

kFx(k32u) kVersion_Major(kVersion version) { return (version >> 24) & 0xFF; }
kFx(k32u) kVersion_Minor(kVersion version) { return (version >> 16) & 0xFF; }
kFx(k32u) kVersion_Release(kVersion version) { return (version >> 8) & 0xFF; }
kFx(k32u) kVersion_Build(kVersion version) { return version & 0xFF; }

/* ----- Building ---------------------------------------------------------------------------- */

kFx(kStatus) xkAssembly_ConstructInternal(kAssembly* assembly, kAssembly* staticHandle,
                                          const kChar* name, kVersion version, kVersion platformVersion)
{
    kCheckArgs(assembly && name);
    kAlloc alloc = kAlloc_App();
    kAssemblyClass* obj = kNULL;

    /* The foundation assembly is built before its own types exist: its header is bound to
       kAssembly when it is finalised. */
    kCheck(kAlloc_GetZero(alloc, sizeof(kAssemblyClass), &obj));
    obj->base.type = kTypeOf(kAssembly);
    obj->base.alloc = alloc;
    obj->base.refCount = 1;
    obj->base.tag = kOBJECT_TAG;
    obj->impl = new AssemblyImpl();
    obj->impl->name = name;
    obj->impl->version = version;
    obj->impl->platformVersion = platformVersion;
    obj->impl->staticHandle = staticHandle;
    *assembly = obj;
    return kOK;
}

kFx(kStatus) xkAssembly_AddDependency(kAssembly assembly, kAssemblyConstructFx construct)
{
    kAssemblyClass* obj = Raw(assembly);
    kCheckArgs(obj && construct);
    obj->impl->dependencyConstructors.push_back(construct);
    return kOK;
}

kFx(kStatus) xkAssembly_AddType(kAssembly assembly, kTypeRegisterFx registration, const kChar* name)
{
    kAssemblyClass* obj = Raw(assembly);
    kCheckArgs(obj && registration && name);
    obj->impl->pending.emplace_back(registration, name);
    return kOK;
}

kFx(kStatus) xkAssembly_Finalize(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    kCheckArgs(obj);
    AssemblyImpl* impl = obj->impl;

    kSize faultIndex = s_faultIndex;
    kStatus faultStatus = s_faultStatus;
    s_faultIndex = 0;

    for (kAssemblyConstructFx construct : impl->dependencyConstructors)
    {
        kAssembly dependency = kNULL;
        kCheck(construct(&dependency));
        impl->dependencies.push_back(dependency);
    }

    for (kSize i = 0; i < impl->pending.size(); ++i)
    {
        if (i + 1 == faultIndex) return faultStatus;
        kStatus status = impl->pending[i].first(assembly, impl->pending[i].second.c_str());
        if (!kSuccess(status))
        {
            kLogf("Registration of %s failed: %d %s", impl->pending[i].second.c_str(), status,
                  kStatus_Name(status));
            return status;
        }
    }
    for (kType type : impl->types) kCheck(xkType_Resolve(type));
    for (kType type : impl->types) kCheck(xkType_BuildVTable(type));

    if (!obj->base.type) obj->base.type = kTypeOf(kAssembly);

    for (kType type : impl->types)
    {
        type->staticData.assign(type->staticSize, 0);
        if (type->staticInit) kCheck(type->staticInit());
        type->staticReady = true;
    }
    impl->pending.clear();
    if (impl->staticHandle) *impl->staticHandle = assembly;
    return kOK;
}

kFx(kStatus) xkAssembly_VRelease(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    if (!obj) return kOK;
    kStatus status = Teardown(obj);
    obj->base.tag = 0;
    kAlloc_Free(obj->base.alloc, obj);
    return status;
}

kFx(kStatus) xkAssembly_AddClass(kAssembly assembly, kType* type, const kChar* name, kType,
                                 const kChar* baseName, kSize size, kSize vtableSize)
{
    kAssemblyClass* obj = Raw(assembly);
    kCheckArgs(obj && size >= sizeof(kObjectClass) && vtableSize >= sizeof(kObjectVTable));
    kType t = kNULL;
    kCheck(NewType(obj, type, name, baseName, size, kTYPE_KIND_CLASS, &t));
    t->vtableSize = vtableSize;
    return kOK;
}

kFx(kStatus) xkAssembly_AddValue(kAssembly assembly, kType* type, const kChar* name, kType,
                                 const kChar* baseName, kSize size, k32u flags)
{
    kAssemblyClass* obj = Raw(assembly);
    kCheckArgs(obj);
    kType t = kNULL;
    kTypeKind kind = (flags & kVALUE_FLAGS_ENUM) == kVALUE_FLAGS_ENUM ? kTYPE_KIND_ENUM : kTYPE_KIND_VALUE;
    kCheck(NewType(obj, type, name, baseName, size, kind, &t));
    t->flags = flags;
    return kOK;
}

/* ----- Queries ----------------------------------------------------------------------------- */

kFx(const kChar*) kAssembly_Name(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    return obj ? obj->impl->name.c_str() : "";
}

kFx(kVersion) kAssembly_Version(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    return obj ? obj->impl->version : 0;
}

kFx(kVersion) kAssembly_PlatformVersion(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    return obj ? obj->impl->platformVersion : 0;
}

kFx(kSize) kAssembly_TypeCount(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    return obj ? obj->impl->types.size() : 0;
}

kFx(kType) kAssembly_TypeAt(kAssembly assembly, kSize index)
{
    kAssemblyClass* obj = Raw(assembly);
    return (obj && index < obj->impl->types.size()) ? obj->impl->types[index] : kNULL;
}

kFx(kSize) kAssembly_DependencyCount(kAssembly assembly)
{
    kAssemblyClass* obj = Raw(assembly);
    return obj ? obj->impl->dependencies.size() : 0;
}

kFx(kAssembly) kAssembly_DependencyAt(kAssembly assembly, kSize index)
{
    kAssemblyClass* obj = Raw(assembly);
    return (obj && index < obj->impl->dependencies.size()) ? obj->impl->dependencies[index] : kNULL;
}

kFx(kStatus) kAssembly_FindType(kAssembly assembly, const kChar* name, kType* type)
{
    kAssemblyClass* obj = Raw(assembly);
    kCheckArgs(obj && name && type);
    for (kType t : obj->impl->types)
    {
        if (strcmp(t->name, name) == 0)
        {
            *type = t;
            return kOK;
        }
    }
    return kSTATUS_NOT_FOUND;
}

kFx(void) xkAssembly_SetRegistrationFault(kSize n, kStatus status)
{
    s_faultIndex = n;
    s_faultStatus = status;
}

kFx(kStatus) xkAssembly_ConstructLibrary(kAssembly* assembly, kAssembly* staticHandle, const kChar* name,
                                         const kAssemblyConstructFx* dependencies, kSize dependencyCount,
                                         kStatus (*addTypes)(kAssembly assembly))
{
    kCheckArgs(assembly && staticHandle && addTypes);
    if (*staticHandle)
    {
        kCheck(kObject_Share(*staticHandle));
        *assembly = *staticHandle;
        return kOK;
    }

    kVersion version = 0;
    kAssembly output = kNULL;
    kStatus status;

    kTest(kVersion_Parse(&version, "10.6.1.30"));
    kTest(xkAssembly_ConstructInternal(&output, staticHandle, name, version, version));
    for (kSize i = 0; i < dependencyCount; ++i) kTest(xkAssembly_AddDependency(output, dependencies[i]));
    kTest(addTypes(output));
    kTest(xkAssembly_Finalize(output));
    *assembly = output;
    return kOK;

cleanup:
    xkAssembly_VRelease(output);
    return status;
}
