/**
 * @file    kL3dDataFile.cpp
 */
#include <kSolan/L3d/kL3dDataFile.h>

#include <cstring>

namespace
{
enum class Format
{
    Dat5,
    Dat6,
    Xml
};

kStatus FormatOf(const kChar* fileName, Format* format)
{
    kChar ext[16];
    if (!kSuccess(kPath_Extension(fileName, ext, sizeof(ext)))) return kSTATUS_NOT_IMPLEMENTED;
    if (kStrCompareLower(ext, "kdat") == 0)
        *format = Format::Dat5;
    else if (kStrCompareLower(ext, "kdat6") == 0)
        *format = Format::Dat6;
    else if (kStrCompareLower(ext, "xml") == 0)
        *format = Format::Xml;
    else
        return kSTATUS_NOT_IMPLEMENTED;
    return kOK;
}

kStatus ConstructSerializer(kSerializer* serializer, Format format, kStream stream)
{
    return format == Format::Dat5 ? kDat5Serializer_Construct(serializer, stream, kNULL)
                                  : kDat6Serializer_Construct(serializer, stream, kNULL);
}

kStatus WriteObject(kObject object, Format format, bool compressed, kStream stream)
{
    if (format == Format::Xml) return kXml_Write(object, stream);

    kSerializer serializer = kNULL;
    kCheck(ConstructSerializer(&serializer, format, stream));
    kStatus status = kOK;
    if (compressed)
    {
        status = format == Format::Dat5 ? kDat5Serializer_EnableCompression(serializer, kTRUE)
                                        : kDat6Serializer_EnableCompression(serializer, kTRUE);
    }
    if (kSuccess(status)) status = kSerializer_WriteObject(serializer, object);
    if (kSuccess(status)) status = kSerializer_Flush(serializer);
    kObject_Destroy(serializer);
    return status;
}

kStatus Save(kObject object, kStorage storage, const kChar* fileName, bool compressed)
{
    Format format;
    kCheck(FormatOf(fileName, &format));
    kCheckArgs(format != Format::Xml || kObject_Is(object, kTypeOf(kXml)));

    kStream stream = kNULL;
    kCheck(kL3dFile_Get(storage, fileName, kFALSE, &stream, kNULL));
    kStatus status = WriteObject(object, format, compressed, stream);
    if (kSuccess(status)) status = kStream_Flush(stream);
    kObject_Destroy(stream);
    return status;
}
} // namespace

kFx(kStatus) kL3dFile_Get(kStorage storage, const kChar* fileName, kBool forReading,
                          kStream* stream, kAlloc allocator)
{
    const kFileMode mode = forReading ? kFILE_MODE_READ : kFILE_MODE_WRITE;
    if (storage == kNULL) return kFileStream_Construct(stream, fileName, mode, allocator);
    return kStorageStream_Construct(stream, storage, fileName, mode, allocator);
}

kFx(kStatus) kL3dData_Save(kObject object, kStorage storage, const kChar* fileName)
{
    return Save(object, storage, fileName, false);
}

kFx(kStatus) kL3dData_SaveCompressed(kObject object, kStorage storage, const kChar* fileName)
{
    return Save(object, storage, fileName, true);
}

kFx(kStatus)
    kL3dData_Load(kObject* object, kStorage storage, const kChar* fileName, kAlloc allocator)
{
    Format format;
    kCheck(FormatOf(fileName, &format));

    kStream stream = kNULL;
    kCheck(kL3dFile_Get(storage, fileName, kTRUE, &stream, kNULL));
    kStatus status;
    if (format == Format::Xml)
    {
        status = kXml_Read(object, stream, allocator);
    }
    else
    {
        kSerializer serializer = kNULL;
        status = ConstructSerializer(&serializer, format, stream);
        if (kSuccess(status)) status = kSerializer_ReadObject(serializer, object, allocator);
        kObject_Destroy(serializer);
    }
    kObject_Destroy(stream);
    return status;
}

kFx(kStatus)
    kL3dData_Replace(kObject* object, kStorage storage, const kChar* fileName, kAlloc allocator)
{
    kObject loaded = kNULL;
    kCheck(kL3dData_Load(&loaded, storage, fileName, allocator));
    kObject_Dispose(*object);
    *object = loaded;
    return kOK;
}

kFx(kStatus) kL3dString_Save(const kChar* text, kStorage storage, const kChar* fileName)
{
    kStream stream = kNULL;
    kCheck(kL3dFile_Get(storage, fileName, kFALSE, &stream, kNULL));
    kStatus status = kStream_Write(stream, text, strlen(text));
    if (kSuccess(status)) status = kStream_Flush(stream);
    kObject_Destroy(stream);
    return status;
}

kFx(kStatus) kL3dString_ReplaceSubstr(kString text, const kChar* find, const kChar* replacement)
{
    const kSize findLength = strlen(find);
    kCheckArgs(findLength > 0);

    kString out = kNULL;
    kCheck(kString_Construct(&out, "", kObject_Alloc(text)));
    kStatus status = kOK;
    const kChar* p = kString_Chars(text);
    const kChar* hit;
    while (kSuccess(status) && (hit = strstr(p, find)) != kNULL)
    {
        status = kString_AddSubstring(out, p, 0, (kSize)(hit - p));
        if (kSuccess(status)) status = kString_Add(out, replacement);
        p = hit + findLength;
    }
    if (kSuccess(status)) status = kString_Add(out, p);
    if (kSuccess(status)) status = kString_Assign(text, out);
    kObject_Destroy(out);
    return status;
}
