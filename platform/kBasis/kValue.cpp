#include <kBasis/kValue.h>
#include <kBasis/kAssembly.h>
#include <kBasis/kType.x.h>

#include <cstring>
#include <map>
#include <memory>
#include <mutex>

/* Scalars: registered by size, no fields. */
#define kDefineScalar(TYPE, SIZE)                                                                 \
    kDefineValue(TYPE, kValue)                                                                    \
    kFx(kStatus) xx##TYPE##_Register(kAssembly assembly, const kChar* name)                       \
    {                                                                                             \
        return xkAssembly_AddValue(assembly, &xx##TYPE##_type, name, kTypeOf(kValue), "kValue",   \
                                   SIZE, kVALUE_FLAGS_STRUCT);                                    \
    }

kDefineScalar(k8u, 1)
kDefineScalar(k8s, 1)
kDefineScalar(k16u, 2)
kDefineScalar(k16s, 2)
kDefineScalar(k32u, 4)
kDefineScalar(k32s, 4)
kDefineScalar(k32f, 4)
kDefineScalar(k64u, 8)
kDefineScalar(k64s, 8)
kDefineScalar(k64f, 8)
kDefineScalar(kBool, sizeof(kBool))
kDefineScalar(kByte, 1)
kDefineScalar(kChar, 1)
kDefineScalar(kSize, sizeof(kSize))
kDefineScalar(kSSize, sizeof(kSSize))
kDefineScalar(kPointer, sizeof(kPointer))
kDefineScalar(kVoid, 0)
kDefineScalar(kColor, sizeof(kColor))

/* Structured values: registered with their fields, all of one component type. */
#define kDefineStruct(TYPE, FIELD_TYPE, ...)                                                      \
    kDefineValue(TYPE, kValue)                                                                    \
    kFx(kStatus) xx##TYPE##_Register(kAssembly assembly, const kChar* name)                       \
    {                                                                                             \
        kCheck(kAddValue(TYPE, kValue));                                                          \
        static const struct                                                                       \
        {                                                                                         \
            const kChar* name;                                                                    \
            kSize offset;                                                                         \
        } fields[] = {__VA_ARGS__};                                                               \
        for (const auto& f : fields)                                                              \
            kCheck(xkType_AddField(kTypeOf(TYPE), kTypeOf(FIELD_TYPE), #FIELD_TYPE,               \
                                   sizeof(FIELD_TYPE), f.offset, 1, f.name));                     \
        return kOK;                                                                               \
    }
#define kF(TYPE, FIELD) {#FIELD, offsetof(TYPE, FIELD)}

kDefineStruct(kRgb, k8u, kF(kRgb, b), kF(kRgb, g), kF(kRgb, r), kF(kRgb, x))
kDefineStruct(kArgb, k8u, kF(kArgb, b), kF(kArgb, g), kF(kArgb, r), kF(kArgb, a))
kDefineStruct(kRgb24, k8u, kF(kRgb24, b), kF(kRgb24, g), kF(kRgb24, r))

#define kDefinePoint2Type(TYPE, T) kDefineStruct(TYPE, T, kF(TYPE, x), kF(TYPE, y))
#define kDefinePoint3Type(TYPE, T) kDefineStruct(TYPE, T, kF(TYPE, x), kF(TYPE, y), kF(TYPE, z))
#define kDefineRectType(TYPE, T)                                                                  \
    kDefineStruct(TYPE, T, kF(TYPE, x), kF(TYPE, y), kF(TYPE, width), kF(TYPE, height))

kDefinePoint2Type(kPoint16s, k16s)
kDefinePoint2Type(kPoint32s, k32s)
kDefinePoint2Type(kPoint32f, k32f)
kDefinePoint2Type(kPoint64f, k64f)
kDefinePoint3Type(kPoint3d16s, k16s)
kDefinePoint3Type(kPoint3d32s, k32s)
kDefinePoint3Type(kPoint3d32f, k32f)
kDefinePoint3Type(kPoint3d64f, k64f)
kDefineStruct(kPoint4d16s, k16s, kF(kPoint4d16s, x), kF(kPoint4d16s, y), kF(kPoint4d16s, z), kF(kPoint4d16s, w))
kDefineRectType(kRect16s, k16s)
kDefineRectType(kRect32s, k32s)
kDefineRectType(kRect32f, k32f)
kDefineRectType(kRect64f, k64f)
kDefineStruct(kRect3d64f, k64f, kF(kRect3d64f, x), kF(kRect3d64f, y), kF(kRect3d64f, z),
              kF(kRect3d64f, width), kF(kRect3d64f, height), kF(kRect3d64f, depth))
kDefineStruct(kRotatedRect32s, k32s, kF(kRotatedRect32s, xc), kF(kRotatedRect32s, yc),
              kF(kRotatedRect32s, width), kF(kRotatedRect32s, height), kF(kRotatedRect32s, angle))
kDefineStruct(kRotatedRect32f, k32f, kF(kRotatedRect32f, xc), kF(kRotatedRect32f, yc),
              kF(kRotatedRect32f, width), kF(kRotatedRect32f, height), kF(kRotatedRect32f, angle))

kDefineValue(kText32, kValue)

kFx(kStatus) xxkText32_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddValue(kText32, kValue));
    return xkType_AddField(kTypeOf(kText32), kTypeOf(kChar), "kChar", sizeof(kChar),
                           offsetof(kText32, chars), sizeof(((kText32*)0)->chars), "chars");
}

kFx(kStatus) kText32_Set(kText32* text, const kChar* source, kSize length)
{
    kCheckArgs(text && source);
    kSize n = 0;
    while (n < length && n < sizeof(text->chars) - 1 && source[n] != '\0')
        ++n;
    memset(text->chars, 0, sizeof(text->chars));
    memcpy(text->chars, source, n);
    return kOK;
}

kFx(kType) kBytes_GetType(kSize size)
{
    /* Opaque item types belong to no assembly and are never released. */
    static std::mutex lock;
    static std::map<kSize, std::unique_ptr<kTypeClass>> types;

    std::lock_guard<std::mutex> guard(lock);
    std::unique_ptr<kTypeClass>& slot = types[size];
    if (!slot)
    {
        slot = std::make_unique<kTypeClass>();
        slot->name = slot->Keep(("kBytes" + std::to_string(size)).c_str());
        slot->baseName = slot->Keep("kValue");
        slot->base = kTypeOf(kValue);
        slot->kind = kTYPE_KIND_VALUE;
        slot->innerSize = size;
        slot->flags = kVALUE_FLAGS_STRUCT;
    }
    return slot.get();
}
