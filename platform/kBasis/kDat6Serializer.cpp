#include <kBasis/kDat6Serializer.h>
#include <kBasis/kSerializer.x.h>

kDefineClass(kDat6Serializer, kSerializer)

struct kDat6SerializerClass
{
    kSerializerClass base;
};

kFx(kStatus) xxkDat6Serializer_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kDat6Serializer, kSerializer));
    return kOK;
}

kFx(kStatus)
    kDat6Serializer_Construct(kDat6Serializer* serializer, kStream stream, kAlloc allocator)
{
    return xkSerializer_Construct(serializer, kTypeOf(kDat6Serializer), stream, 6, allocator);
}

kFx(kStatus) kDat6Serializer_EnableCompression(kDat6Serializer serializer, kBool enable)
{
    kCheckArgs(kObject_Is(serializer, kTypeOf(kDat6Serializer)));
    return xkSerializer_EnableCompression(serializer, enable);
}

kFx(kStatus) kSave6(kObject object, const kChar* fileName)
{
    return xkSerializer_SaveFile(object, fileName, kTypeOf(kDat6Serializer), 6, kFALSE);
}

kFx(kStatus) kSaveCompressed6(kObject object, const kChar* fileName)
{
    return xkSerializer_SaveFile(object, fileName, kTypeOf(kDat6Serializer), 6, kTRUE);
}

kFx(kStatus) kLoad6(kObject* object, const kChar* fileName, kAlloc allocator)
{
    return xkSerializer_LoadFile(object, fileName, kTypeOf(kDat6Serializer), 6, allocator);
}
