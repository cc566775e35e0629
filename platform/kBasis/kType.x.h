/* Private layout of type records, shared by kType.cpp, kAssembly.cpp and kValue.cpp. */
#ifndef K_BASIS_TYPE_X_H
#define K_BASIS_TYPE_X_H

#include <kBasis/kType.h>

#include <deque>
#include <string>
#include <vector>

/* Type records are process-side C++ structures, not allocator instances. */
struct kTypeClass
{
    struct Override
    {
        kSize slot;
        kFunction function;
        const kChar* name;
    };

    std::deque<std::string> strings;   // stable storage for every name handed out
    const kChar* name = "";
    kTypeKind kind = kTYPE_KIND_CLASS;
    kSize innerSize = 0;
    kSize vtableSize = 0;              // bytes
    const kChar* baseName = "";
    kType base = kNULL;
    kAssembly assembly = kNULL;
    kType* handle = kNULL;             // static handle filled by registration
    k32u flags = 0;

    std::vector<Override> overrides;
    std::vector<kFunction> vtable;
    bool vtableBuilt = false;

    std::vector<kFieldInfo> fields;
    std::vector<kEnumeratorInfo> enumerators;
    std::vector<kTypeVersionInfo> versions;
    kFunction frameworkConstructor = kNULL;
    const kChar* baseCheck = kNULL;

    kSize staticSize = 0;
    kStaticInitFx staticInit = kNULL;
    kStaticReleaseFx staticRelease = kNULL;
    std::vector<kByte> staticData;
    bool staticReady = false;

    const kChar* Keep(const kChar* text)
    {
        strings.emplace_back(text ? text : "");
        return strings.back().c_str();
    }
};

/* Registry of type names (kType.cpp). */
kStatus xkTypeRegistry_Add(kType type);
void xkTypeRegistry_Remove(kType type);
kType xkTypeRegistry_Find(const kChar* name);

/* Finalisation steps used by the assembly (kType.cpp). */
kStatus xkType_Resolve(kType type);      // base, field types, base check
kStatus xkType_BuildVTable(kType type);  // base table then overrides

#endif
