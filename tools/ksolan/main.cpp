// ksolan: command-line front end of the library.
#include <kSolan/kSolan.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    const char* job = argc > 1 ? argv[1] : "demo";
    kAssembly assembly = kNULL;
    kStatus status = kSolan_Construct(&assembly);
    if (!kSuccess(status))
    {
        fprintf(stderr, "kSolan_Construct failed: %d %s\n", status, kStatus_Name(status));
        return 1;
    }
    if (strcmp(job, "demo") == 0 || strcmp(job, "types") == 0)
    {
        printf("%s %u.%u.%u.%u: %zu registered types\n", kAssembly_Name(assembly),
               kVersion_Major(kAssembly_Version(assembly)), kVersion_Minor(kAssembly_Version(assembly)),
               kVersion_Release(kAssembly_Version(assembly)), kVersion_Build(kAssembly_Version(assembly)),
               kAssembly_TypeCount(assembly));
    }
    else
    {
        fprintf(stderr, "unknown job: %s\n", job);
        kObject_Destroy(assembly);
        return 2;
    }
    kObject_Destroy(assembly);
    return 0;
}
