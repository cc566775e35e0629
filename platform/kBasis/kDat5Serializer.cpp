#include <kBasis/kDat5Serializer.h>
#include <kBasis/kSerializer.x.h>

kDefineClass(kDat5Serializer, kSerializer)

struct kDat5SerializerClass
{
    kSerializerClass base;
};

kFx(kStatus) xxkDat5Serializer_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kDat5Serializer, kSerializer));
    return kOK;
}

kFx(kStatus)
    kDat5Serializer_Construct(kDat5Serializer* serializer, kStream stream, kAlloc allocator)
{
    return xkSerializer_Construct(serializer, kTypeOf(kDat5Serializer), stream, 5, allocator);
}

kFx(kStatus) kDat5Serializer_EnableCompression(kDat5Serializer serializer, kBool enable)
{
    kCheckArgs(kObject_Is(serializer, kTypeOf(kDat5Serializer)));
    return xkSerializer_EnableCompression(serializer, enable);
}

kFx(kStatus) kSave5(kObject object, const kChar* fileName)
{
    return xkSerializer_SaveFile(object, fileName, kTypeOf(kDat5Serializer), 5, kFALSE);
}

kFx(kStatus) kLoad5(kObject* object, const kChar* fileName, kAlloc allocator)
{
    return xkSerializer_LoadFile(object, fileName, kTypeOf(kDat5Serializer), 5, allocator);
}
