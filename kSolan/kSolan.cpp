/* The library's assembly and its types, registered in the manifest's order. */
#include <kSolan/kSolan.h>

kAssembly xxkSolan_assembly = kNULL;

#define kAddType(TYPE) kCheck(xkAssembly_AddType(assembly, xx##TYPE##_Register, #TYPE))

namespace
{
kStatus AddTypes(kAssembly)
{
    return kOK;
}
}  // namespace

kFx(kStatus) kSolan_Construct(kAssembly* assembly)
{
    if (xxkSolan_assembly)
    {
        kCheck(kObject_Share(xxkSolan_assembly));
        *assembly = xxkSolan_assembly;
        return kOK;
    }

    kVersion version = 0, platformVersion = 0;
    kAssembly output = kNULL;
    kStatus status;

    kCheck(kVersion_Parse(&version, "10.6.1.30"));
    kCheck(kVersion_Parse(&platformVersion, "10.6.1.30"));
    kCheck(xkAssembly_ConstructInternal(&output, &xxkSolan_assembly, "kSolan", version, platformVersion));
    kTest(xkAssembly_AddDependency(output, kBasisLib_Construct));
    kTest(xkAssembly_AddDependency(output, kTesselLib_Construct));
    kTest(AddTypes(output));
    kTest(xkAssembly_Finalize(output));
    *assembly = output;
    return kOK;

cleanup:
    xkAssembly_VRelease(output);
    return status;
}
