/**
 * @file    kAssembly.h
 * @brief   Assemblies: named, versioned sets of registered types with their dependencies.
 *
 * Building an assembly:
 * 1. `xkAssembly_ConstructInternal` with the address of the library's static assembly handle;
 * 2. `xkAssembly_AddDependency` for each assembly it builds on (their construct operations);
 * 3. `xkAssembly_AddType` for each type, in registration order;
 * 4. `xkAssembly_Finalize`: constructs the dependencies, runs the registration operations in
 *    order, resolves base types by name (in this assembly and its dependencies), builds the
 *    virtual tables (base table, then overrides), resolves field types and runs per-type
 *    static set-up. On success the static handle is set.
 *
 * When the last reference to an assembly is destroyed, per-type static release operations run
 * (reverse order), every static type handle is cleared, the names stop resolving and the
 * dependencies are released. The foundation (`kBasisLib_Construct`) and sensor-platform
 * (`kTesselLib_Construct`) assemblies are built when their libraries load and hold a
 * reference of their own, so their types are usable at any time.
 */
#ifndef K_BASIS_ASSEMBLY_H
#define K_BASIS_ASSEMBLY_H

#include <kBasis/kObject.h>

typedef k32u kVersion;
/** Version value from its four parts. */
#define kVersion_Create(MAJOR, MINOR, RELEASE, BUILD)                                             \
    ((kVersion)((((k32u)(MAJOR) & 0xFF) << 24) | (((k32u)(MINOR) & 0xFF) << 16) |                  \
                (((k32u)(RELEASE) & 0xFF) << 8) | ((k32u)(BUILD) & 0xFF)))

/** Parses "major.minor.release.build" (each 0..255); kSTATUS_BAD_PARAMETER otherwise. */
kFx(kStatus) kVersion_Parse(kVersion* version, const kChar* text);
/** Writes the dotted text of a version into buffer. */
kFx(kStatus) kVersion_Format(kVersion version, kChar* buffer, kSize capacity);
kFx(k32u) kVersion_Major(kVersion version);
kFx(k32u) kVersion_Minor(kVersion version);
kFx(k32u) kVersion_Release(kVersion version);
kFx(k32u) kVersion_Build(kVersion version);

typedef kStatus (*kAssemblyConstructFx)(kAssembly* assembly);

kDeclareClass(kAssembly, kObject);

kFx(kStatus) xkAssembly_ConstructInternal(kAssembly* assembly, kAssembly* staticHandle,
                                          const kChar* name, kVersion version,
                                          kVersion platformVersion);
kFx(kStatus) xkAssembly_AddDependency(kAssembly assembly, kAssemblyConstructFx construct);
kFx(kStatus) xkAssembly_AddType(kAssembly assembly, kTypeRegisterFx registration,
                                const kChar* name);
kFx(kStatus) xkAssembly_Finalize(kAssembly assembly);
/** Discards an assembly that failed to build (whatever its reference count). */
kFx(kStatus) xkAssembly_VRelease(kAssembly assembly);

kFx(const kChar*) kAssembly_Name(kAssembly assembly);
kFx(kVersion) kAssembly_Version(kAssembly assembly);
kFx(kVersion) kAssembly_PlatformVersion(kAssembly assembly);
kFx(kSize) kAssembly_TypeCount(kAssembly assembly);
kFx(kType) kAssembly_TypeAt(kAssembly assembly, kSize index);
kFx(kSize) kAssembly_DependencyCount(kAssembly assembly);
kFx(kAssembly) kAssembly_DependencyAt(kAssembly assembly, kSize index);
/** Finds a type of this assembly by name; kSTATUS_NOT_FOUND when unknown. */
kFx(kStatus) kAssembly_FindType(kAssembly assembly, const kChar* name, kType* type);

/**
 * Test hook: makes the registration of the n-th type added to the next finalised assembly
 * fail with `status` (n counts from 1; 0 disables). Used to prove that a failed build leaves
 * nothing behind.
 */
kFx(void) xkAssembly_SetRegistrationFault(kSize n, kStatus status);

/** Foundation assembly (shared, built at library load). */
kFx(kStatus) kBasisLib_Construct(kAssembly* assembly);

#endif
