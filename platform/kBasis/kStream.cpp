#include <kBasis/kStream.h>
#include <kBasis/kAssembly.h>

kDefineClass(kStream, kObject)

namespace
{
constexpr kSize kCopyBlockSize = 64 * 1024;

const kStreamVTable* Table(kStream stream) { return kVTableOf<kStreamVTable>(stream); }

/* Placeholders of the abstract slots: a class that leaves one out does not offer it. */
kStatus xkStream_VRead(kStream, void*, kSize, kSize, kSize* count)
{
    *count = 0;
    return kSTATUS_NOT_IMPLEMENTED;
}
kStatus xkStream_VWrite(kStream, const void*, kSize) { return kSTATUS_NOT_IMPLEMENTED; }
kStatus xkStream_VSeek(kStream, k64s, kSeekOrigin, k64u*) { return kSTATUS_NOT_IMPLEMENTED; }
kStatus xkStream_VFlush(kStream) { return kOK; }
} // namespace

kFx(kStatus) xxkStream_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kStream, kObject));
    kCheck(xkType_AddFlags(kTypeOf(kStream), kTYPE_FLAGS_ABSTRACT));
    kCheck(kAddVMethod(kStream, VRead));
    kCheck(kAddVMethod(kStream, VWrite));
    kCheck(kAddVMethod(kStream, VSeek));
    kCheck(kAddVMethod(kStream, VFlush));
    return kOK;
}

kFx(kStatus) kStream_Init(kStream stream, kType type, kAlloc allocator)
{
    return kObject_Init(stream, type, allocator);
}

kFx(kStatus) xkStream_VRelease(kStream stream) { return xkObject_VRelease(stream); }

kFx(kStatus) kStream_Read(kStream stream, void* buffer, kSize size)
{
    kSize count = 0;
    return kStream_ReadSome(stream, buffer, size, size, &count);
}

kFx(kStatus)
    kStream_ReadSome(kStream stream, void* buffer, kSize minCount, kSize maxCount, kSize* count)
{
    kSize read = 0;
    if (count) *count = 0;
    kObjR(kStream, stream);
    kCheckArgs(minCount <= maxCount && (buffer || maxCount == 0));
    if (maxCount == 0) return kOK;
    kStatus status = Table(obj)->VRead(obj, buffer, minCount, maxCount, &read);
    if (count) *count = read;
    return status;
}

kFx(kStatus) kStream_Write(kStream stream, const void* buffer, kSize size)
{
    kObjR(kStream, stream);
    kCheckArgs(buffer || size == 0);
    if (size == 0) return kOK;
    return Table(obj)->VWrite(obj, buffer, size);
}

kFx(kStatus) kStream_Seek(kStream stream, k64s offset, kSeekOrigin origin)
{
    kObjR(kStream, stream);
    kCheckArgs(origin == kSEEK_ORIGIN_BEGIN || origin == kSEEK_ORIGIN_CURRENT ||
               origin == kSEEK_ORIGIN_END);
    k64u position = 0;
    return Table(obj)->VSeek(obj, offset, origin, &position);
}

kFx(kStatus) kStream_Position(kStream stream, k64u* position)
{
    kObjR(kStream, stream);
    kCheckArgs(position);
    return Table(obj)->VSeek(obj, 0, kSEEK_ORIGIN_CURRENT, position);
}

kFx(kStatus) kStream_Remaining(kStream stream, k64u* remaining)
{
    kObjR(kStream, stream);
    kCheckArgs(remaining);
    const kStreamVTable* vt = Table(obj);
    k64u position = 0, end = 0;
    kCheck(vt->VSeek(obj, 0, kSEEK_ORIGIN_CURRENT, &position));
    kCheck(vt->VSeek(obj, 0, kSEEK_ORIGIN_END, &end));
    kCheck(vt->VSeek(obj, (k64s)position, kSEEK_ORIGIN_BEGIN, &position));
    *remaining = end > position ? end - position : 0;
    return kOK;
}

kFx(kStatus) kStream_Flush(kStream stream)
{
    kObjR(kStream, stream);
    return Table(obj)->VFlush(obj);
}

kFx(kStatus) kStream_CopyAll(kStream destination, kStream source)
{
    kObjN(kStream, dst, destination);
    kObjR(kStream, source);
    kCheckArgs(dst);

    kAlloc alloc = kObject_Alloc(dst);
    kByte* block = kNULL;
    kCheck(kAlloc_Get(alloc, kCopyBlockSize, &block));

    kStatus status = kOK;
    for (;;)
    {
        kSize count = 0;
        kStatus read = Table(obj)->VRead(obj, block, 1, kCopyBlockSize, &count);
        if (count > 0 && !kSuccess(status = Table(dst)->VWrite(dst, block, count))) break;
        if (read == kSTATUS_INCOMPLETE) break; // end of the source
        if (!kSuccess(status = read)) break;
    }
    kAlloc_Free(alloc, block);
    return status;
}
