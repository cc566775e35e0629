#include <kBasis/kFileStream.h>
#include <kBasis/kAssembly.h>

kDefineClass(kFileStream, kStream)

struct kFileStreamClass
{
    kStreamClass base;
    kFile file;
};

kStatus xkFileStream_VRelease(kObject stream)
{
    kCheck(kDestroyRef(&kCastRaw(kFileStream, stream)->file));
    return xkStream_VRelease(stream);
}

kStatus xkFileStream_VRead(kStream stream, void* buffer, kSize minCount, kSize maxCount,
                           kSize* count)
{
    kFile file = kCastRaw(kFileStream, stream)->file;
    k64u start = kFile_Position(file);
    kStatus status = kFile_Read(file, buffer, maxCount);
    *count = maxCount;
    if (status == kSTATUS_INCOMPLETE)
    {
        /* The file ended: the position tells how much arrived. */
        *count = (kSize)(kFile_Position(file) - start);
        status = *count >= minCount ? kOK : kSTATUS_INCOMPLETE;
    }
    return status;
}

kStatus xkFileStream_VWrite(kStream stream, const void* buffer, kSize count)
{
    return kFile_Write(kCastRaw(kFileStream, stream)->file, buffer, count);
}

kStatus xkFileStream_VSeek(kStream stream, k64s offset, kSeekOrigin origin, k64u* position)
{
    kFile file = kCastRaw(kFileStream, stream)->file;
    k64u base = origin == kSEEK_ORIGIN_BEGIN     ? 0
                : origin == kSEEK_ORIGIN_CURRENT ? kFile_Position(file)
                                                 : kFile_Length(file);
    kCheckArgs(offset >= 0 ? (k64u)offset <= (k64u)k64S_MAX - base : (k64u)-offset <= base);
    k64u target = base + (k64u)offset;
    kCheck(kFile_Seek(file, target));
    *position = target;
    return kOK;
}

kStatus xkFileStream_VFlush(kStream stream)
{
    return kFile_Flush(kCastRaw(kFileStream, stream)->file);
}

kFx(kStatus) xxkFileStream_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kFileStream, kStream));
    kCheck(kAddVMethod(kFileStream, VRelease));
    kCheck(kAddVMethod(kFileStream, VRead));
    kCheck(kAddVMethod(kFileStream, VWrite));
    kCheck(kAddVMethod(kFileStream, VSeek));
    kCheck(kAddVMethod(kFileStream, VFlush));
    return kOK;
}

kFx(kStatus)
    kFileStream_Construct(kFileStream* stream, const kChar* path, kFileMode mode, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kFileStreamClass* obj = kNULL;
    kStatus status;

    kCheckArgs(stream);
    *stream = kNULL;
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kFileStream), &obj));
    kTest(kStream_Init(obj, kTypeOf(kFileStream), alloc));
    kTest(kFile_Construct(&obj->file, path, mode, alloc));
    *stream = obj;
    return kOK;

cleanup:
    kAlloc_Free(alloc, obj);
    return status;
}

kFx(kFile) kFileStream_File(kFileStream stream)
{
    kObjN(kFileStream, obj, stream);
    return obj ? obj->file : kNULL;
}
