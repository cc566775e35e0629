#include <kTessel/kStorageStream.h>
#include <kBasis/kMemoryStream.h>

#include <cstring>

struct kStorageStreamClass
{
    kStreamClass base;
    kStorage storage; // borrowed
    kMemoryStream buffer;
    kBool writing;
    kBool dirty; // written since the last upload
    kChar name[kSTORAGE_NAME_CAPACITY];
};

kDefineClass(kStorageStream, kStream);

namespace
{
kStatus Upload(kStorageStreamClass* obj)
{
    kCheck(kStorage_UploadFromBuffer(obj->storage, obj->name, kMemoryStream_Data(obj->buffer),
                                     kMemoryStream_Length(obj->buffer)));
    obj->dirty = kFALSE;
    return kOK;
}
} // namespace

static kStatus xkStorageStream_VRelease(kObject stream)
{
    kStorageStreamClass* obj = kCastRaw(kStorageStream, stream);
    if (obj->dirty) Upload(obj);
    kCheck(kDestroyRef(&obj->buffer));
    return xkStream_VRelease(stream);
}

static kStatus xkStorageStream_VRead(kStream stream, void* buffer, kSize minCount, kSize maxCount,
                                     kSize* count)
{
    return kStream_ReadSome(kCastRaw(kStorageStream, stream)->buffer, buffer, minCount, maxCount,
                            count);
}

static kStatus xkStorageStream_VWrite(kStream stream, const void* buffer, kSize count)
{
    kStorageStreamClass* obj = kCastRaw(kStorageStream, stream);
    kCheckTrue(obj->writing, kSTATUS_NOT_IMPLEMENTED);
    kCheck(kStream_Write(obj->buffer, buffer, count));
    obj->dirty = kTRUE;
    return kOK;
}

static kStatus xkStorageStream_VSeek(kStream stream, k64s offset, kSeekOrigin origin,
                                     k64u* position)
{
    kStorageStreamClass* obj = kCastRaw(kStorageStream, stream);
    kCheck(kStream_Seek(obj->buffer, offset, origin));
    return kStream_Position(obj->buffer, position);
}

static kStatus xkStorageStream_VFlush(kStream stream)
{
    kStorageStreamClass* obj = kCastRaw(kStorageStream, stream);
    return obj->writing ? Upload(obj) : kOK;
}

kFx(kStatus) xxkStorageStream_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kStorageStream, kStream));
    kCheck(kAddVMethod(kStorageStream, VRelease));
    kCheck(kAddVMethod(kStorageStream, VRead));
    kCheck(kAddVMethod(kStorageStream, VWrite));
    kCheck(kAddVMethod(kStorageStream, VSeek));
    return kAddVMethod(kStorageStream, VFlush);
}

static kStatus xkStorageStream_Init(kStorageStream stream, kStorage storage, const kChar* name,
                                    kFileMode mode, kAlloc alloc)
{
    kStorageStreamClass* obj = static_cast<kStorageStreamClass*>(stream);
    void* data = kNULL;
    kSize size = 0;
    kStatus status;

    kCheck(kStream_Init(stream, kTypeOf(kStorageStream), alloc));
    obj->storage = storage;
    obj->writing = mode == kFILE_MODE_WRITE ? kTRUE : kFALSE;
    strcpy(obj->name, name);
    kTest(kMemoryStream_Construct(&obj->buffer, alloc));
    if (!obj->writing)
    {
        kTest(kStorage_DownloadToBuffer(storage, name, &data, &size, alloc));
        kTest(kStream_Write(obj->buffer, data, size));
        kTest(kStream_Seek(obj->buffer, 0, kSEEK_ORIGIN_BEGIN));
    }
    kAlloc_Free(alloc, data);
    return kOK;

cleanup:
    kAlloc_Free(alloc, data);
    xkStorageStream_VRelease(stream);
    return status;
}

kFx(kStatus) kStorageStream_Construct(kStorageStream* stream, kStorage storage, const kChar* name,
                                      kFileMode mode, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kStorageStreamClass* obj = kNULL;
    kStatus status;

    kCheckArgs(stream && name && strlen(name) < kSTORAGE_NAME_CAPACITY);
    kCheckArgs(mode == kFILE_MODE_READ || mode == kFILE_MODE_WRITE);
    kCheckArgs(kObject_Is(storage, kTypeOf(kStorage)));
    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kStorageStream), &obj))) return status;
    if (!kSuccess(status = xkStorageStream_Init(obj, storage, name, mode, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *stream = obj;
    return kOK;
}
