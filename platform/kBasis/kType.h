/**
 * @file    kType.h
 * @brief   Runtime types, type registration and the class-declaration helpers.
 *
 * Every class, value and enumeration of the platform and of the library is described at run
 * time by a type record (`kType`). Records are created by an assembly's registration
 * operations (see kAssembly.h) and fill the static handle `xx<Type>_type` of their type, so
 * that `kTypeOf(NAME)` gives the handle of any registered type.
 *
 * Classes dispatch virtual operations through a table of typed function pointers. The table
 * struct of a class is `<Class>VTable`; a class that adds operations derives its table struct
 * from its base's table struct, so that member order is slot order and slot numbers are stated
 * in one place. A class that adds no operations uses its base's table (`kDeclareClass` makes
 * the typedef). Overrides are registered with `kAddVMethod`, which checks the function's
 * signature against the slot at compile time.
 */
#ifndef K_BASIS_TYPE_H
#define K_BASIS_TYPE_H

#include <kBasis/kApiDef.h>

/** Handle of any object instance. */
typedef void* kObject;
/** Handle of an assembly (an object). */
typedef kObject kAssembly;
/** Handle of an allocator (an object). */
typedef kObject kAlloc;
/** Handle of a type record. Type records live as long as their assembly. */
typedef struct kTypeClass* kType;

/** The handle of a registered type: `kTypeOf(k8u)`, `kTypeOf(kS3dPhaseDecoder)`. */
#define kTypeOf(SYMBOL) (xx##SYMBOL##_type)

/** Kinds of type. */
typedef k32s kTypeKind;
#define kTYPE_KIND_CLASS (1)
#define kTYPE_KIND_VALUE (2)
#define kTYPE_KIND_ENUM (3)

/** Value flags (meaning of the numbers passed by registrations). */
#define kVALUE_FLAGS_STRUCT (4)   ///< Plain structure, copied byte for byte.
#define kVALUE_FLAGS_ENUM (140)   ///< Enumeration: one k32s field named "value".
#define kTYPE_FLAGS_ABSTRACT (32) ///< Abstract class: instances only through derived classes.

/** Registration operation of a type, called back by the assembly during finalisation. */
typedef kStatus (*kTypeRegisterFx)(kAssembly assembly, const kChar* name);
/** Per-type static state set-up and tear-down. */
typedef kStatus (*kStaticInitFx)(void);
typedef kStatus (*kStaticReleaseFx)(void);

/* ----- Queries ----------------------------------------------------------------------------- */

kFx(const kChar*) kType_Name(kType type);
kFx(kTypeKind) kType_Kind(kType type);
kFx(kBool) kType_IsClass(kType type);
kFx(kBool) kType_IsValue(kType type);
kFx(kBool) kType_IsEnum(kType type);
/** True for classes whose instances are reference-counted objects (items are handles). */
kFx(kBool) kType_IsReference(kType type);
/** Size of one item of the type in a container: the value size, or a handle's size for classes. */
kFx(kSize) kType_Size(kType type);
/** Instance size of a class, or the value size of a value. */
kFx(kSize) kType_InnerSize(kType type);
/** Resolved base type (null for the root types). */
kFx(kType) kType_Base(kType type);
kFx(const kChar*) kType_BaseName(kType type);
/** True when type is base or derives from it (a type is its own base). */
kFx(kBool) kType_Is(kType type, kType base);
/** True when type derives from base and is not base itself. */
kFx(kBool) kType_Extends(kType type, kType base);
/** Interfaces are not used by this platform; same as kType_Is. */
kFx(kBool) kType_Implements(kType type, kType base);
/** The type's table of virtual operations (read-only; cast with kVTableOf). */
kFx(const void*) kType_VTable(kType type);
/** Number of slots of the type's virtual table. */
kFx(kSize) kType_VMethodCount(kType type);
/** Type flags and value flags as registered. */
kFx(k32u) kType_Flags(kType type);
/** Per-type static state (zero-filled memory of the size given at registration), or null. */
kFx(void*) kType_Static(kType type);
/** Assembly that registered the type. */
kFx(kAssembly) kType_Assembly(kType type);
/** Looks a registered type up by name in every live assembly; null when unknown. */
kFx(kType) kType_FindByName(const kChar* name);

/** Overridden virtual operations: slot numbers and operation names, in registration order. */
kFx(kSize) kType_OverrideCount(kType type);
kFx(kSize) kType_OverrideSlotAt(kType type, kSize index);
kFx(const kChar*) kType_OverrideNameAt(kType type, kSize index);

/** Field descriptions of a value type. */
typedef struct kFieldInfo
{
    const kChar* name;
    kType type;          ///< Resolved field type.
    const kChar* typeName;
    kSize offset;
    kSize size;
    kSize count;
} kFieldInfo;
kFx(kSize) kType_FieldCount(kType type);
kFx(const kFieldInfo*) kType_FieldAt(kType type, kSize index);

/** Enumerators of an enumeration. */
typedef struct kEnumeratorInfo
{
    k32s value;
    const kChar* name;
} kEnumeratorInfo;
kFx(kSize) kType_EnumeratorCount(kType type);
kFx(const kEnumeratorInfo*) kType_EnumeratorAt(kType type, kSize index);
/** Symbolic name of an enumerator value; "" when the value is not listed. */
kFx(const kChar*) kType_EnumeratorName(kType type, k32s value);
/** Value of a named enumerator: kOK, or kSTATUS_NOT_FOUND. */
kFx(kStatus) kType_EnumeratorValue(kType type, const kChar* name, k32s* value);

/** Serialisation versions of a type (see xkType_AddVersion). */
typedef kStatus (*kTypeVersionFx)(kObject serializer, kObject object);
typedef struct kTypeVersionInfo
{
    const kChar* format;        ///< "kdat5" or "kdat6".
    k32u formatVersion;         ///< Version value of the format this writer targets.
    const kChar* versionName;   ///< Name stored in files ("kVsPrnuCal-0").
    kFunction writer;
    kFunction reader;
} kTypeVersionInfo;
kFx(kSize) kType_VersionCount(kType type);
kFx(const kTypeVersionInfo*) kType_VersionAt(kType type, kSize index);
kFx(kFunction) kType_FrameworkConstructor(kType type);
/** Prefix given to a base check (xkCheckBase), or null. */
kFx(const kChar*) kType_BaseCheck(kType type);

/* ----- Registration facilities (called from xx<Type>_Register) ------------------------------ */

/**
 * Declares a class. The static handle is filled at once; the base is resolved by name when the
 * assembly is finalised, so a derived class may be declared before its base.
 *
 * @param assembly    Assembly being built.
 * @param type        Address of the type's static handle.
 * @param name        Type name.
 * @param base        Base's static handle value (may still be null), for information.
 * @param baseName    Base type name ("kObject" for the root's direct children).
 * @param size        Instance size in bytes.
 * @param vtableSize  Size of the class's table struct (at least its base's).
 * @return kOK; kSTATUS_DUPLICATE when the name is already registered.
 */
kFx(kStatus) xkAssembly_AddClass(kAssembly assembly, kType* type, const kChar* name, kType base,
                                 const kChar* baseName, kSize size, kSize vtableSize);
/** Declares a value type (flags 4 for plain structures, 140 for enumerations). */
kFx(kStatus) xkAssembly_AddValue(kAssembly assembly, kType* type, const kChar* name, kType base,
                                 const kChar* baseName, kSize size, k32u flags);
/** Overrides a virtual operation by slot number. */
kFx(kStatus) xkType_AddVMethod(kType type, kSize slot, kFunction function, const kChar* name);
/** Describes a field of a value type, in declaration order. */
kFx(kStatus) xkType_AddField(kType type, kType fieldType, const kChar* fieldTypeName,
                             kSize fieldSize, kSize offset, kSize count, const kChar* name);
kFx(kStatus) xkType_AddEnumerator(kType type, k32s value, const kChar* name);
kFx(kStatus) xkType_AddFlags(kType type, k32u flags);
kFx(kStatus) xkType_AddStatic(kType type, kSize size, kStaticInitFx init, kStaticReleaseFx release);
kFx(kStatus) xkType_AddVersion(kType type, const kChar* format, const kChar* formatVersion,
                               const kChar* versionName, kFunction writer, kFunction reader);
kFx(kStatus) xkType_AddFrameworkConstructor(kType type, kFunction constructor);
/** Asks finalisation to check that the type's base resolves; prefix names the family asking. */
kFx(kStatus) xkCheckBase(kType type, const kChar* prefix);

/** Assertion handler: called with the failed expression's file and line. */
typedef void (*kAssertHandler)(const kChar* file, k32s line, const kChar* expression);
kFx(void) kBasisLib_SetAssertHandler(kAssertHandler handler);
kFx(void) xkBasisLib_Assert(const kChar* file, k32s line, const kChar* expression);
/** Checks an internal invariant; never used for bad input, which gets a status instead. */
#define kAssert(EXPR) ((EXPR) ? (void)0 : xkBasisLib_Assert(__FILE__, __LINE__, #EXPR))

/** Cast-failure handler: called when a handle is not of the class an operation expects. */
typedef void (*kCastFailHandler)(const kChar* file, k32s line);
kFx(void) kBasisLib_SetCastFailHandler(kCastFailHandler handler);
kFx(void) xkBasisLib_CastFailHandler(const kChar* file, k32s line);

/* ----- Class declaration helpers ------------------------------------------------------------ */

/**
 * Declares the registration symbols of TYPE in a header:
 * `xx<TYPE>_type`, `xx<TYPE>_Base`, `xx<TYPE>_BaseName`, `xx<TYPE>_Register`, and for classes
 * `xx<TYPE>_Cast` returning the instance struct `<TYPE>Class*` (null after reporting a
 * mismatch to the cast-failure handler).
 */
#define kDeclareType(TYPE)                                                                        \
    extern "C" kEXPORT_ATTR kType xx##TYPE##_type;                                                \
    kFx(kType) xx##TYPE##_Base(void);                                                             \
    kFx(const kChar*) xx##TYPE##_BaseName(void);                                                  \
    kFx(kStatus) xx##TYPE##_Register(kAssembly assembly, const kChar* name)

/** Declares a class whose virtual table is its base's. */
#define kDeclareClass(TYPE, BASE)                                                                 \
    typedef struct TYPE##Class TYPE##Class;                                                       \
    typedef BASE##VTable TYPE##VTable;                                                            \
    kDeclareType(TYPE);                                                                           \
    kFx(TYPE##Class*) xx##TYPE##_Cast(kObject object, const kChar* file, k32s line)

/** Declares a class that adds virtual operations: define `struct TYPE##VTable : BASE##VTable`. */
#define kDeclareVirtualClass(TYPE, BASE)                                                          \
    typedef struct TYPE##Class TYPE##Class;                                                       \
    struct TYPE##VTable;                                                                          \
    kDeclareType(TYPE);                                                                           \
    kFx(TYPE##Class*) xx##TYPE##_Cast(kObject object, const kChar* file, k32s line)

/** Declares a value type or enumeration. */
#define kDeclareValue(TYPE) kDeclareType(TYPE)

/** Defines `xx<TYPE>_type`, `_Base` and `_BaseName` in the type's source file. */
#define kDefineType(TYPE, BASE)                                                                   \
    kType xx##TYPE##_type = kNULL;                                                                \
    kType xx##TYPE##_Base(void) { return xx##BASE##_type; }                                       \
    const kChar* xx##TYPE##_BaseName(void) { return #BASE; }

/** Defines the registration symbols and the cast of a class in its source file. */
#define kDefineClass(TYPE, BASE)                                                                  \
    kDefineType(TYPE, BASE)                                                                       \
    TYPE##Class* xx##TYPE##_Cast(kObject object, const kChar* file, k32s line)                    \
    {                                                                                             \
        if (xkCastClass_ObjectIs(object, xx##TYPE##_type)) return static_cast<TYPE##Class*>(object); \
        xkBasisLib_CastFailHandler(file, line);                                                   \
        return kNULL;                                                                             \
    }

/** Defines the registration symbols of a value type whose base is BASE (normally kValue). */
#define kDefineValue(TYPE, BASE) kDefineType(TYPE, BASE)

/** Declares TYPE as a class of the assembly being registered (use inside xx<TYPE>_Register). */
#define kAddClass(TYPE, BASE)                                                                     \
    xkAssembly_AddClass(assembly, &xx##TYPE##_type, name, xx##BASE##_type, #BASE,                 \
                        sizeof(TYPE##Class), sizeof(TYPE##VTable))

/** Declares TYPE as a plain value structure of the assembly being registered. */
#define kAddValue(TYPE, BASE)                                                                     \
    xkAssembly_AddValue(assembly, &xx##TYPE##_type, name, xx##BASE##_type, #BASE, sizeof(TYPE),   \
                        kVALUE_FLAGS_STRUCT)

/** Describes field FIELD (of value type FIELD_TYPE) of value struct TYPE. */
#define kAddField(TYPE, FIELD_TYPE, FIELD)                                                        \
    xkType_AddField(xx##TYPE##_type, xx##FIELD_TYPE##_type, #FIELD_TYPE,                          \
                    sizeof(((TYPE*)0)->FIELD), offsetof(TYPE, FIELD), 1, #FIELD)

/** Slot number of virtual operation MEMBER of table struct VT. */
template <typename VT, typename F>
inline kSize xkVTable_Slot(F VT::*member)
{
    static const VT table{};
    return (kSize)((const char*)&(table.*member) - (const char*)&table) / sizeof(kFunction);
}

/**
 * Registers `x<CLASS>_<SLOT>` (for example xkS3dThing_VRelease) as the override of SLOT. Compilation fails when the function's
 * signature differs from the slot's.
 */
#define kAddVMethod(CLASS, SLOT)                                                                  \
    xkType_AddVMethod(xx##CLASS##_type, xkVTable_Slot(&CLASS##VTable::SLOT),                      \
                      reinterpret_cast<kFunction>(                                                \
                          static_cast<decltype(CLASS##VTable::SLOT)>(x##CLASS##_##SLOT)),        \
                      #SLOT)

/** Casts HANDLE to CLASS and declares `obj`; returns kSTATUS_BAD_PARAMETER on a mismatch. */
#define kObjR(CLASS, HANDLE)                                                                      \
    CLASS##Class* obj = xx##CLASS##_Cast((HANDLE), __FILE__, __LINE__);                           \
    if (!obj) return kSTATUS_BAD_PARAMETER

/** Casts HANDLE to CLASS into VAR (null after reporting a mismatch). */
#define kObjN(CLASS, VAR, HANDLE) CLASS##Class* VAR = xx##CLASS##_Cast((HANDLE), __FILE__, __LINE__)

/** Casts without a check; for private operations whose callers already checked. */
#define kCastRaw(CLASS, HANDLE) (static_cast<CLASS##Class*>(HANDLE))

kFx(kBool) xkCastClass_ObjectIs(kObject object, kType type);

#endif
