/**
 * @file    kSolanDef.h
 * @brief   Common definitions included by every header of the library.
 */
#ifndef K_SOLAN_DEF_H
#define K_SOLAN_DEF_H

#include <kBasis.h>
#include <kTessel.h>

/**
 * Declares TYPE (a k32s) as an enumeration of the assembly being registered: value flags 140
 * and its one field "value". Use inside xx<TYPE>_Register, then kAddEnumerator per enumerator.
 */
#define kAddEnum(TYPE) xkSolan_AddEnum(assembly, &xx##TYPE##_type, name, sizeof(TYPE))

/** Adds SYMBOL (a constant of enumeration TYPE) under its own name, "kL3D_SPOT_TYPE_SPOT". */
#define kAddEnumerator(TYPE, SYMBOL) xkType_AddEnumerator(xx##TYPE##_type, (SYMBOL), #SYMBOL)

inline kStatus xkSolan_AddEnum(kAssembly assembly, kType* type, const kChar* name, kSize size)
{
    kCheck(xkAssembly_AddValue(assembly, type, name, kTypeOf(kValue), "kValue", size,
                               kVALUE_FLAGS_ENUM));
    return xkType_AddField(*type, kTypeOf(k32s), "k32s", sizeof(k32s), 0, 1, "value");
}

#endif
