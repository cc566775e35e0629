#include <kBasis/kType.x.h>
#include <kBasis/kObject.h>
#include <kBasis/kLog.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>

namespace
{
struct Registry
{
    std::mutex lock;
    std::map<std::string, kType, std::less<>> byName;
};

Registry& TheRegistry()
{
    static Registry registry;
    return registry;
}

void DefaultAssert(const kChar* file, k32s line, const kChar* expression)
{
    kLogf("Assertion failed: %s (%s:%d)", expression, file, line);
#ifndef NDEBUG
    abort();
#endif
}

void DefaultCastFail(const kChar* file, k32s line)
{
    kLogf("Cast failed: handle is not of the expected type (%s:%d)", file, line);
}

kAssertHandler s_assertHandler = DefaultAssert;
kCastFailHandler s_castFailHandler = DefaultCastFail;
}  // namespace

kStatus xkTypeRegistry_Add(kType type)
{
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> guard(r.lock);
    if (r.byName.count(type->name)) return kSTATUS_DUPLICATE;
    r.byName.emplace(type->name, type);
    return kOK;
}

void xkTypeRegistry_Remove(kType type)
{
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.byName.find(type->name);
    if (it != r.byName.end() && it->second == type) r.byName.erase(it);
}

kType xkTypeRegistry_Find(const kChar* name)
{
    if (!name) return kNULL;
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> guard(r.lock);
    auto it = r.byName.find(std::string_view(name));
    return it == r.byName.end() ? kNULL : it->second;
}

kStatus xkType_Resolve(kType type)
{
    if (type->baseName[0] != '\0')
    {
        type->base = xkTypeRegistry_Find(type->baseName);
        if (!type->base)
        {
            kLogf("Type %s: base type %s is not registered", type->name, type->baseName);
            return kSTATUS_NOT_FOUND;
        }
        if (type->kind == kTYPE_KIND_CLASS && type->base->kind != kTYPE_KIND_CLASS)
            return kSTATUS_BAD_PARAMETER;
    }
    for (kFieldInfo& field : type->fields)
    {
        field.type = xkTypeRegistry_Find(field.typeName);
        if (!field.type)
        {
            kLogf("Type %s: field type %s is not registered", type->name, field.typeName);
            return kSTATUS_NOT_FOUND;
        }
    }
    return kOK;
}

kStatus xkType_BuildVTable(kType type)
{
    if (type->vtableBuilt || type->kind != kTYPE_KIND_CLASS) return kOK;

    kSize slots = type->vtableSize / sizeof(kFunction);
    if (type->base)
    {
        kCheck(xkType_BuildVTable(type->base));
        if (type->base->vtable.size() > slots) return kSTATUS_BAD_PARAMETER;
        type->vtable = type->base->vtable;
    }
    type->vtable.resize(slots, kNULL);

    for (const kTypeClass::Override& o : type->overrides)
    {
        if (o.slot >= slots) return kSTATUS_BAD_PARAMETER;
        type->vtable[o.slot] = o.function;
    }
    type->vtableBuilt = true;
    return kOK;
}

/* ----- Queries ----------------------------------------------------------------------------- */

kFx(const kChar*) kType_Name(kType type) { return type ? type->name : ""; }
kFx(kTypeKind) kType_Kind(kType type) { return type->kind; }
kFx(kBool) kType_IsClass(kType type) { return type && type->kind == kTYPE_KIND_CLASS; }
kFx(kBool) kType_IsValue(kType type) { return type && type->kind != kTYPE_KIND_CLASS; }
kFx(kBool) kType_IsEnum(kType type) { return type && type->kind == kTYPE_KIND_ENUM; }
kFx(kBool) kType_IsReference(kType type) { return kType_IsClass(type); }

kFx(kSize) kType_Size(kType type)
{
    if (!type) return 0;
    return type->kind == kTYPE_KIND_CLASS ? sizeof(kObject) : type->innerSize;
}

kFx(kSize) kType_InnerSize(kType type) { return type ? type->innerSize : 0; }
kFx(kType) kType_Base(kType type) { return type ? type->base : kNULL; }
kFx(const kChar*) kType_BaseName(kType type) { return type ? type->baseName : ""; }

kFx(kBool) kType_Is(kType type, kType base)
{
    if (!base) return kFALSE;
    for (kType t = type; t; t = t->base)
        if (t == base) return kTRUE;
    return kFALSE;
}

kFx(kBool) kType_Extends(kType type, kType base) { return type != base && kType_Is(type, base); }
kFx(kBool) kType_Implements(kType type, kType base) { return kType_Is(type, base); }
kFx(const void*) kType_VTable(kType type) { return type->vtable.data(); }
kFx(kSize) kType_VMethodCount(kType type) { return type->vtable.size(); }
kFx(k32u) kType_Flags(kType type) { return type ? type->flags : 0; }

kFx(void*) kType_Static(kType type)
{
    return (type && type->staticReady && type->staticSize) ? type->staticData.data() : kNULL;
}

kFx(kAssembly) kType_Assembly(kType type) { return type ? type->assembly : kNULL; }
kFx(kType) kType_FindByName(const kChar* name) { return xkTypeRegistry_Find(name); }
kFx(kSize) kType_OverrideCount(kType type) { return type->overrides.size(); }
kFx(kSize) kType_OverrideSlotAt(kType type, kSize index) { return type->overrides.at(index).slot; }
kFx(const kChar*) kType_OverrideNameAt(kType type, kSize index) { return type->overrides.at(index).name; }
kFx(kSize) kType_FieldCount(kType type) { return type->fields.size(); }

kFx(const kFieldInfo*) kType_FieldAt(kType type, kSize index)
{
    return index < type->fields.size() ? &type->fields[index] : kNULL;
}

kFx(kSize) kType_EnumeratorCount(kType type) { return type->enumerators.size(); }

kFx(const kEnumeratorInfo*) kType_EnumeratorAt(kType type, kSize index)
{
    return index < type->enumerators.size() ? &type->enumerators[index] : kNULL;
}

kFx(const kChar*) kType_EnumeratorName(kType type, k32s value)
{
    for (const kEnumeratorInfo& e : type->enumerators)
        if (e.value == value) return e.name;
    return "";
}

kFx(kStatus) kType_EnumeratorValue(kType type, const kChar* name, k32s* value)
{
    for (const kEnumeratorInfo& e : type->enumerators)
    {
        if (strcmp(e.name, name) == 0)
        {
            *value = e.value;
            return kOK;
        }
    }
    return kSTATUS_NOT_FOUND;
}

kFx(kSize) kType_VersionCount(kType type) { return type->versions.size(); }

kFx(const kTypeVersionInfo*) kType_VersionAt(kType type, kSize index)
{
    return index < type->versions.size() ? &type->versions[index] : kNULL;
}

kFx(kFunction) kType_FrameworkConstructor(kType type) { return type->frameworkConstructor; }
kFx(const kChar*) kType_BaseCheck(kType type) { return type->baseCheck; }

/* ----- Registration ------------------------------------------------------------------------ */

kFx(kStatus) xkType_AddVMethod(kType type, kSize slot, kFunction function, const kChar* name)
{
    kCheckArgs(type && function && type->kind == kTYPE_KIND_CLASS);
    kCheckArgs(slot < type->vtableSize / sizeof(kFunction));
    type->overrides.push_back({slot, function, type->Keep(name)});
    return kOK;
}

kFx(kStatus) xkType_AddField(kType type, kType fieldType, const kChar* fieldTypeName, kSize fieldSize,
                             kSize offset, kSize count, const kChar* name)
{
    kCheckArgs(type && type->kind != kTYPE_KIND_CLASS && fieldTypeName && name);
    kCheckArgs(offset + fieldSize * count <= type->innerSize);
    kFieldInfo info{};
    info.name = type->Keep(name);
    info.type = fieldType;
    info.typeName = type->Keep(fieldTypeName);
    info.offset = offset;
    info.size = fieldSize;
    info.count = count;
    type->fields.push_back(info);
    return kOK;
}

kFx(kStatus) xkType_AddEnumerator(kType type, k32s value, const kChar* name)
{
    kCheckArgs(type && type->kind == kTYPE_KIND_ENUM && name);
    for (const kEnumeratorInfo& e : type->enumerators)
        if (strcmp(e.name, name) == 0) return kSTATUS_DUPLICATE;
    type->enumerators.push_back({value, type->Keep(name)});
    return kOK;
}

kFx(kStatus) xkType_AddFlags(kType type, k32u flags)
{
    kCheckArgs(type);
    type->flags |= flags;
    return kOK;
}

kFx(kStatus) xkType_AddStatic(kType type, kSize size, kStaticInitFx init, kStaticReleaseFx release)
{
    kCheckArgs(type && !type->staticInit && !type->staticRelease && type->staticSize == 0);
    type->staticSize = size;
    type->staticInit = init;
    type->staticRelease = release;
    return kOK;
}

kFx(kStatus) xkType_AddVersion(kType type, const kChar* format, const kChar* formatVersion,
                               const kChar* versionName, kFunction writer, kFunction reader)
{
    kCheckArgs(type && format && formatVersion && versionName);
    kTypeVersionInfo info{};
    k32u parts[4] = {0, 0, 0, 0};
    if (sscanf(formatVersion, "%u.%u.%u.%u", &parts[0], &parts[1], &parts[2], &parts[3]) != 4)
        return kSTATUS_BAD_PARAMETER;
    info.format = type->Keep(format);
    info.formatVersion = (parts[0] << 24) | ((parts[1] & 0xFF) << 16) | ((parts[2] & 0xFF) << 8) |
                         (parts[3] & 0xFF);
    info.versionName = type->Keep(versionName);
    info.writer = writer;
    info.reader = reader;
    type->versions.push_back(info);
    return kOK;
}

kFx(kStatus) xkType_AddFrameworkConstructor(kType type, kFunction constructor)
{
    kCheckArgs(type && constructor);
    type->frameworkConstructor = constructor;
    return kOK;
}

kFx(kStatus) xkCheckBase(kType type, const kChar* prefix)
{
    kCheckArgs(type && prefix);
    type->baseCheck = type->Keep(prefix);
    return kOK;
}

kFx(kBool) xkCastClass_ObjectIs(kObject object, kType type)
{
    const kObjectClass* obj = static_cast<const kObjectClass*>(object);
    return obj && type && obj->tag == kOBJECT_TAG && kType_Is(obj->type, type);
}

kFx(void) kBasisLib_SetAssertHandler(kAssertHandler handler)
{
    s_assertHandler = handler ? handler : DefaultAssert;
}

kFx(void) xkBasisLib_Assert(const kChar* file, k32s line, const kChar* expression)
{
    s_assertHandler(file, line, expression);
}

kFx(void) kBasisLib_SetCastFailHandler(kCastFailHandler handler)
{
    s_castFailHandler = handler ? handler : DefaultCastFail;
}

kFx(void) xkBasisLib_CastFailHandler(const kChar* file, k32s line) { s_castFailHandler(file, line); }
