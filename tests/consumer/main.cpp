// Uses the installed library the way a host does: load the assembly, make and drop objects.
#include <kSolan/kSolan.h>

#include <cstdio>

int main()
{
    kAssembly assembly = kNULL;
    kImage image = kNULL;
    kArray1 array = kNULL;
    kStatus status = kSolan_Construct(&assembly);
    if (kSuccess(status)) status = kImage_Construct(&image, kTypeOf(kRgb), 4, 3, kNULL);
    if (kSuccess(status)) status = kArray1_Construct(&array, kTypeOf(k64f), 10, kNULL);
    if (kSuccess(status))
        printf("%s %u.%u.%u.%u: image %zux%zu, array of %zu\n", kAssembly_Name(assembly),
               kVersion_Major(kAssembly_Version(assembly)),
               kVersion_Minor(kAssembly_Version(assembly)),
               kVersion_Release(kAssembly_Version(assembly)),
               kVersion_Build(kAssembly_Version(assembly)), kImage_Width(image),
               kImage_Height(image), kArray1_Length(array));
    kObject_Destroy(array);
    kObject_Destroy(image);
    kObject_Destroy(assembly);
    if (!kSuccess(status)) fprintf(stderr, "failed: %d %s\n", status, kStatus_Name(status));
    return kSuccess(status) ? 0 : 1;
}
