/**
 * @file    kSolan.h
 * @brief   Entry of the kSolan library and umbrella header of its families.
 *
 * A host loads the shared library and calls `kSolan_Construct` once (it may be found with
 * dlsym). The first call builds the assembly "kSolan" 10.6.1.30 with its dependencies (the
 * foundation and the sensor platform) and registers the library's types; later calls add a
 * reference to the same assembly. Release a reference with kObject_Destroy; the assembly is
 * torn down with the last one, after which none of its types resolves.
 */
#ifndef K_SOLAN_H
#define K_SOLAN_H

#include <kSolan/kSolanDef.h>

/**
 * Builds (first call) or shares (later calls) the library's assembly.
 *
 * @param assembly  Receives a reference to the assembly.
 * @return kOK, or the status of the first failing step; on failure no assembly exists.
 */
kFx(kStatus) kSolan_Construct(kAssembly* assembly);

#endif
