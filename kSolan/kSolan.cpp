/* The library's assembly and its types, registered in the manifest's order. */
#include <kSolan/kSolan.h>

kAssembly xxkSolan_assembly = kNULL;

/* Every registration operation of the manifest, declared weak: the operation of a type whose
   source is not part of the build is null and the type is skipped, so that the manifest's
   order holds for whatever set of types is built, and adding a type needs no edit here. */
#define kM_TYPE(NUMBER, TYPE, ...)                                                                 \
    extern "C" kEXPORT_ATTR __attribute__((weak))                                                  \
    kStatus xx##TYPE##_Register(kAssembly assembly, const kChar* name);
#include <kSolan/kSolanManifest.inc>

namespace
{
kStatus AddTypes(kAssembly assembly)
{
#define kM_TYPE(NUMBER, TYPE, ...)                                                                 \
    if (xx##TYPE##_Register) kCheck(xkAssembly_AddType(assembly, xx##TYPE##_Register, #TYPE));
#include <kSolan/kSolanManifest.inc>
    return kOK;
}
} // namespace

kFx(kStatus) kSolan_Construct(kAssembly* assembly)
{
    kCheckArgs(assembly);

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
    kCheck(xkAssembly_ConstructInternal(&output, &xxkSolan_assembly, "kSolan", version,
                                        platformVersion));
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
