// kslist: loads the library the way a host does (dlopen, then its entry by name), builds its
// assembly and lists the registered types in registration order with their count.
#include <kBasis.h>

#include <dlfcn.h>

#include <cstdio>

namespace
{
const char* KindName(kType type)
{
    switch (kType_Kind(type))
    {
    case kTYPE_KIND_CLASS:
        return "class";
    case kTYPE_KIND_ENUM:
        return "enumeration";
    default:
        return "value";
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        fprintf(stderr, "usage: kslist <path of libkSolan.so>\n");
        return 2;
    }
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!library)
    {
        fprintf(stderr, "kslist: %s\n", dlerror());
        return 1;
    }
    auto construct = reinterpret_cast<kAssemblyConstructFx>(dlsym(library, "kSolan_Construct"));
    if (!construct)
    {
        fprintf(stderr, "kslist: no kSolan_Construct in %s\n", argv[1]);
        dlclose(library);
        return 1;
    }

    kAssembly assembly = kNULL;
    kStatus status = construct(&assembly);
    if (!kSuccess(status))
    {
        fprintf(stderr, "kslist: kSolan_Construct failed: %d %s\n", status, kStatus_Name(status));
        dlclose(library);
        return 1;
    }
    char version[32];
    kVersion_Format(kAssembly_Version(assembly), version, sizeof(version));
    for (kSize i = 0; i < kAssembly_TypeCount(assembly); ++i)
    {
        kType type = kAssembly_TypeAt(assembly, i);
        printf("%4zu  %-32s %-12s %s\n", i + 1, kType_Name(type), KindName(type),
               kType_BaseName(type));
    }
    printf("%s %s: %zu registered types\n", kAssembly_Name(assembly), version,
           kAssembly_TypeCount(assembly));

    status = kObject_Destroy(assembly);
    dlclose(library);
    return kSuccess(status) ? 0 : 1;
}
