/**
 * @file    kAssemblyLib.h
 * @brief   Shared construction of the platform libraries' own assemblies.
 */
#ifndef K_BASIS_ASSEMBLY_LIB_H
#define K_BASIS_ASSEMBLY_LIB_H

#include <kBasis/kAssembly.h>

/**
 * Builds a platform library's assembly on the first call and shares it on later ones: version
 * "10.6.1.30" (platform version the same), the dependencies in order, the types added by
 * addTypes, finalised. On failure no assembly is left and the failing status is returned.
 *
 * @param assembly         Receives a reference to the assembly.
 * @param staticHandle     The library's static assembly handle.
 * @param name             Assembly name.
 * @param dependencies     Construct operations of the assemblies it builds on (may be null).
 * @param dependencyCount  Number of dependencies.
 * @param addTypes         Adds the library's types in registration order.
 */
kFx(kStatus) xkAssembly_ConstructLibrary(kAssembly* assembly, kAssembly* staticHandle, const kChar* name,
                                         const kAssemblyConstructFx* dependencies, kSize dependencyCount,
                                         kStatus (*addTypes)(kAssembly assembly));

#endif
