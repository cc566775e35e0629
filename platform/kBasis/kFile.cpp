#include <kBasis/kFile.h>
#include <kBasis/kAlloc.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

kDefineClass(kFile, kObject)

namespace fs = std::filesystem;

/* Last transfer direction: stdio needs a seek between a read and a write of an update file. */
enum LastOp : k32s
{
    kLAST_NONE,
    kLAST_READ,
    kLAST_WRITE
};

struct kFileClass
{
    kObjectClass base;
    FILE* stream; // null once closed
    kFileMode mode;
    k32s lastOp;
};

namespace
{
kStatus Switch(kFileClass* obj, k32s op)
{
    if (obj->lastOp != kLAST_NONE && obj->lastOp != op && fseeko(obj->stream, 0, SEEK_CUR) != 0)
        return kSTATUS_STREAM;
    obj->lastOp = op;
    return kOK;
}

/* A missing file is news to a reader; to a writer a missing directory is a failed open. */
kStatus OpenFailure(int error, kFileMode mode)
{
    return error == ENOENT && (mode & kFILE_MODE_READ) ? kSTATUS_NOT_FOUND : kSTATUS_STREAM;
}
} // namespace

kStatus xkFile_VRelease(kObject file)
{
    kFileClass* obj = kCastRaw(kFile, file);
    if (obj->stream) fclose(obj->stream);
    return xkObject_VRelease(file);
}

kFx(kStatus) xxkFile_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kFile, kObject));
    kCheck(kAddVMethod(kFile, VRelease));
    return kOK;
}

kFx(kStatus) kFile_Construct(kFile* file, const kChar* path, kFileMode mode, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kFileClass* obj = kNULL;
    const char* how = mode == kFILE_MODE_READ     ? "rb"
                      : mode == kFILE_MODE_WRITE  ? "wb"
                      : mode == kFILE_MODE_UPDATE ? "r+b"
                                                  : kNULL;
    kStatus status;

    kCheckArgs(file);
    *file = kNULL;
    kCheckArgs(path && how);
    kCheck(kAlloc_GetObject(alloc, kTypeOf(kFile), &obj));
    kTest(kObject_Init(obj, kTypeOf(kFile), alloc));
    obj->mode = mode;
    obj->lastOp = kLAST_NONE;
    if (!(obj->stream = fopen(path, how)))
    {
        status = OpenFailure(errno, mode);
        goto cleanup;
    }
    *file = obj;
    return kOK;

cleanup:
    kAlloc_FreeRef(alloc, &obj);
    return status;
}

kFx(kStatus) kFile_Read(kFile file, void* buffer, kSize size)
{
    kObjR(kFile, file);
    kCheckArgs(buffer || size == 0);
    kCheckState(obj->stream && (obj->mode & kFILE_MODE_READ));
    kCheck(Switch(obj, kLAST_READ));

    if (size == 0 || fread(buffer, 1, size, obj->stream) == size) return kOK;
    return ferror(obj->stream) ? kSTATUS_STREAM : kSTATUS_INCOMPLETE;
}

kFx(kStatus) kFile_Write(kFile file, const void* buffer, kSize size)
{
    kObjR(kFile, file);
    kCheckArgs(buffer || size == 0);
    kCheckState(obj->stream && (obj->mode & kFILE_MODE_WRITE));
    kCheck(Switch(obj, kLAST_WRITE));
    return size == 0 || fwrite(buffer, 1, size, obj->stream) == size ? kOK : kSTATUS_STREAM;
}

kFx(kStatus) kFile_Seek(kFile file, k64u offset)
{
    kObjR(kFile, file);
    kCheckState(obj->stream);
    kCheckArgs(offset <= (k64u)k64S_MAX);
    kCheckTrue(fseeko(obj->stream, (off_t)offset, SEEK_SET) == 0, kSTATUS_STREAM);
    obj->lastOp = kLAST_NONE;
    return kOK;
}

kFx(k64u) kFile_Position(kFile file)
{
    kObjN(kFile, obj, file);
    if (!obj || !obj->stream) return 0;
    off_t position = ftello(obj->stream);
    return position < 0 ? 0 : (k64u)position;
}

kFx(k64u) kFile_Length(kFile file)
{
    kObjN(kFile, obj, file);
    if (!obj || !obj->stream) return 0;
    off_t position = ftello(obj->stream);
    if (position < 0 || fseeko(obj->stream, 0, SEEK_END) != 0) return 0;
    off_t length = ftello(obj->stream);
    fseeko(obj->stream, position, SEEK_SET);
    obj->lastOp = kLAST_NONE;
    return length < 0 ? 0 : (k64u)length;
}

kFx(kStatus) kFile_Flush(kFile file)
{
    kObjR(kFile, file);
    kCheckState(obj->stream);
    return fflush(obj->stream) == 0 ? kOK : kSTATUS_STREAM;
}

kFx(kStatus) kFile_Close(kFile file)
{
    kObjR(kFile, file);
    kCheckState(obj->stream);
    int result = fclose(obj->stream);
    obj->stream = kNULL;
    return result == 0 ? kOK : kSTATUS_STREAM;
}

kFx(kBool) kFile_Exists(const kChar* path)
{
    std::error_code error;
    return path && fs::is_regular_file(path, error);
}

kFx(k64u) kFile_Size(const kChar* path)
{
    std::error_code error;
    if (!kFile_Exists(path)) return 0;
    std::uintmax_t size = fs::file_size(path, error);
    return error ? 0 : (k64u)size;
}

kFx(kStatus) kFile_Save(const kChar* path, const void* data, kSize size)
{
    kCheckArgs(path && (data || size == 0));
    FILE* stream = fopen(path, "wb");
    kCheckTrue(stream, kSTATUS_STREAM);
    bool written = size == 0 || fwrite(data, 1, size, stream) == size;
    bool closed = fclose(stream) == 0;
    return written && closed ? kOK : kSTATUS_STREAM;
}

kFx(kStatus) kFile_Load(const kChar* path, void* data, kSize* size, kAlloc allocator)
{
    kCheckArgs(path && data && size);
    void** out = static_cast<void**>(data);
    *out = kNULL;
    *size = 0;
    kCheckTrue(kFile_Exists(path), kSTATUS_NOT_FOUND);

    FILE* stream = fopen(path, "rb");
    if (!stream) return OpenFailure(errno, kFILE_MODE_READ);

    kByte* bytes = kNULL;
    off_t length = -1;
    kStatus status = kOK;
    if (fseeko(stream, 0, SEEK_END) == 0) length = ftello(stream);
    if (length < 0 || fseeko(stream, 0, SEEK_SET) != 0)
        status = kSTATUS_STREAM;
    else if ((k64u)length > kSIZE_MAX)
        status = kSTATUS_MEMORY;
    else if (kSuccess(status = kAlloc_Get(allocator, (kSize)length, &bytes)) && length > 0 &&
             fread(bytes, 1, (kSize)length, stream) != (kSize)length)
        status = kSTATUS_STREAM;
    fclose(stream);

    if (!kSuccess(status))
    {
        kAlloc_Free(allocator, bytes);
        return status;
    }
    *out = bytes;
    *size = (kSize)length;
    return kOK;
}

kFx(kStatus) kFile_Delete(const kChar* path)
{
    kCheckArgs(path);
    kCheckTrue(kFile_Exists(path), kSTATUS_NOT_FOUND);
    std::error_code error;
    return fs::remove(path, error) && !error ? kOK : kSTATUS_STREAM;
}
