#include <kBasis/kSerializer.h>
#include <kBasis/kSerializer.x.h>
#include <kBasis/kFileStream.h>
#include <kBasis/kValue.h>

#include <zlib.h>

#include <bit>
#include <climits>
#include <cstring>

static_assert(std::endian::native == std::endian::little,
              "kdat streams are little-endian and items are copied as laid out in memory");
static_assert(sizeof(kSize) == 8, "sizes and counts travel as 64 bits and are read back as kSize");

kDefineClass(kSerializer, kObject)

namespace
{
constexpr kSize kBufferSize = 64 * 1024;
/* Blocks at least this long bypass the payload buffer. */
constexpr kSize kDirectSize = kBufferSize / 2;
/* Large blocks are stored and loaded in slices of this size, each summed while it is in cache. */
constexpr kSize kChecksumSlice = 256 * 1024;
constexpr kSize kFileHeaderSize = 16;
constexpr kSize kFrameHeaderSize = 48;
constexpr kByte kFileMagic[8] = {'k', 'D', 'A', 'T', 0x0D, 0x0A, 0x1A, 0x0A};
constexpr kByte kFrameTag[4] = {'F', 'R', 'A', 'M'};
constexpr k32u kFlagDeflated = 0x1;
/* Deflate cannot shrink data by more than this factor. */
constexpr k64u kMaxDeflateRatio = 1032;
constexpr k32s kMaxDepth = 64;
constexpr kSize kMaxTypeName = 256;

constexpr k8u kRecordNull = 0;
constexpr k8u kRecordObject = 1;
constexpr k32u kKindClass = 1;
constexpr k32u kKindValue = 2;
constexpr k32u kKindVersioned = 3;

/* ----- Checksum ------------------------------------------------------------------------------- */

k64u LoadWord(const kByte* p)
{
    k64u w;
    memcpy(&w, p, 8);
    return w;
}

void ChecksumReset(xkDatChecksum* c) { memset(c, 0, sizeof(*c)); }

void ChecksumWord(xkDatChecksum* c, k64u w)
{
    kSize lane = (kSize)(c->words & 3);
    c->a[lane] += w;
    c->b[lane] += c->a[lane];
    ++c->words;
}

/* Whole groups of four words, one per lane: the hot loop, kept free of dependencies. */
void ChecksumGroups(xkDatChecksum* c, const kByte* data, kSize groups)
{
    k64u a0 = c->a[0], a1 = c->a[1], a2 = c->a[2], a3 = c->a[3];
    k64u b0 = c->b[0], b1 = c->b[1], b2 = c->b[2], b3 = c->b[3];
    for (kSize g = 0; g < groups; ++g, data += 32)
    {
        a0 += LoadWord(data);
        a1 += LoadWord(data + 8);
        a2 += LoadWord(data + 16);
        a3 += LoadWord(data + 24);
        b0 += a0;
        b1 += a1;
        b2 += a2;
        b3 += a3;
    }
    c->a[0] = a0, c->a[1] = a1, c->a[2] = a2, c->a[3] = a3;
    c->b[0] = b0, c->b[1] = b1, c->b[2] = b2, c->b[3] = b3;
    c->words += 4 * (k64u)groups;
}

void ChecksumUpdate(xkDatChecksum* c, const void* data, kSize size)
{
    const kByte* p = static_cast<const kByte*>(data);
    if (size == 0) return;
    if (c->pendingCount > 0)
    {
        kSize n = kMin_(size, 32 - c->pendingCount);
        memcpy(c->pending + c->pendingCount, p, n);
        c->pendingCount += n;
        p += n;
        size -= n;
        if (c->pendingCount < 32) return;
        ChecksumGroups(c, c->pending, 1);
        c->pendingCount = 0;
    }
    ChecksumGroups(c, p, size / 32);
    memcpy(c->pending, p + size / 32 * 32, size % 32);
    c->pendingCount = size % 32;
}

/* Sums of the whole payload: A = Σ w[i], B = Σ (N - i)·w[i], combined exactly from the lanes.
 */
void ChecksumFinal(const xkDatChecksum* checksum, k64u* sumA, k64u* sumB)
{
    xkDatChecksum c = *checksum;
    for (kSize i = 0; i < c.pendingCount; i += 8)
    {
        kByte word[8] = {};
        memcpy(word, c.pending + i, kMin_((kSize)8, c.pendingCount - i));
        ChecksumWord(&c, LoadWord(word));
    }
    k64u n = c.words, a = 0, b = 0;
    for (k64u j = 0; j < 4; ++j)
    {
        k64u m = n > j ? (n - j + 3) / 4 : 0; // words in lane j
        a += c.a[j];
        b += 4 * c.b[j] + (n - j - 4 * m) * c.a[j];
    }
    *sumA = a;
    *sumB = b;
}

/* ----- Little-endian fields of the headers ---------------------------------------------------- */

void Put32(kByte* p, k32u v) { memcpy(p, &v, 4); }
void Put64(kByte* p, k64u v) { memcpy(p, &v, 8); }
k32u Get32(const kByte* p)
{
    k32u v;
    memcpy(&v, p, 4);
    return v;
}
k64u Get64(const kByte* p) { return LoadWord(p); }

const kChar* FormatName(k32u format) { return format == 5 ? "kdat5" : "kdat6"; }

kSerializerClass* Cast(kSerializer serializer)
{
    return xxkSerializer_Cast(serializer, __FILE__, __LINE__);
}

/* ----- zlib state with the serializer's allocator --------------------------------------------- */

voidpf ZAlloc(voidpf opaque, uInt items, uInt size)
{
    void* mem = kNULL;
    kAlloc_Get(static_cast<kAlloc>(opaque), (kSize)items * size, &mem);
    return mem;
}

void ZFree(voidpf opaque, voidpf address) { kAlloc_Free(static_cast<kAlloc>(opaque), address); }

kStatus ZStatus(int result) { return result == Z_MEM_ERROR ? kSTATUS_MEMORY : kSTATUS_BAD_FORMAT; }

kStatus OpenZ(kSerializerClass* obj, bool write)
{
    kAlloc alloc = obj->base.alloc;
    if (!obj->zbuffer) kCheck(kAlloc_Get(alloc, kBufferSize, &obj->zbuffer));
    kCheck(kAlloc_GetZero(alloc, sizeof(z_stream), &obj->zs));
    obj->zs->zalloc = ZAlloc;
    obj->zs->zfree = ZFree;
    obj->zs->opaque = alloc;
    int result = write ? deflateInit(obj->zs, Z_DEFAULT_COMPRESSION) : inflateInit(obj->zs);
    if (result != Z_OK)
    {
        kAlloc_FreeRef(alloc, &obj->zs);
        return ZStatus(result);
    }
    return kOK;
}

void CloseZ(kSerializerClass* obj)
{
    if (!obj->zs) return;
    if (obj->mode == xkSERIALIZER_MODE_WRITE)
        deflateEnd(obj->zs);
    else
        inflateEnd(obj->zs);
    kAlloc_FreeRef(obj->base.alloc, &obj->zs);
}

/* ----- Frames: payload out -------------------------------------------------------------------- */

/* Stored bytes go to the stream under the checksum, so that any damage to a file shows. */
kStatus Store(kSerializerClass* obj, const void* data, kSize size)
{
    /* In slices that stay in cache between the checksum and the copy to the stream. */
    const kByte* p = static_cast<const kByte*>(data);
    for (kSize done = 0; done < size;)
    {
        kSize n = kMin_(size - done, kChecksumSlice);
        ChecksumUpdate(&obj->checksum, p + done, n);
        kCheck(kStream_Write(obj->stream, p + done, n));
        done += n;
    }
    obj->storedLength += size;
    return kOK;
}

/* Hands payload bytes to the stream, deflated or as they are. */
kStatus Emit(kSerializerClass* obj, const void* data, kSize size)
{
    obj->payloadLength += size;
    if (!obj->compressed) return Store(obj, data, size);

    z_stream* zs = obj->zs;
    const kByte* p = static_cast<const kByte*>(data);
    while (size > 0)
    {
        uInt chunk = (uInt)kMin_(size, (kSize)UINT_MAX);
        zs->next_in = const_cast<Bytef*>(p);
        zs->avail_in = chunk;
        while (zs->avail_in > 0)
        {
            zs->next_out = obj->zbuffer;
            zs->avail_out = (uInt)kBufferSize;
            deflate(zs, Z_NO_FLUSH);
            kCheck(Store(obj, obj->zbuffer, kBufferSize - zs->avail_out));
        }
        p += chunk;
        size -= chunk;
    }
    return kOK;
}

kStatus FlushBuffer(kSerializerClass* obj)
{
    kSize count = obj->bufferCount;
    obj->bufferCount = 0;
    return count ? Emit(obj, obj->buffer, count) : kOK;
}

kStatus Put(kSerializerClass* obj, const void* data, kSize size)
{
    if (obj->mode != xkSERIALIZER_MODE_WRITE) return kSTATUS_BAD_STATE;
    if (size == 0) return kOK;
    if (size >= kDirectSize)
    {
        kCheck(FlushBuffer(obj));
        return Emit(obj, data, size);
    }
    if (obj->bufferCount + size > kBufferSize) kCheck(FlushBuffer(obj));
    memcpy(obj->buffer + obj->bufferCount, data, size);
    obj->bufferCount += size;
    return kOK;
}

kStatus FinishDeflate(kSerializerClass* obj)
{
    z_stream* zs = obj->zs;
    int result;
    zs->next_in = kNULL;
    zs->avail_in = 0;
    do
    {
        zs->next_out = obj->zbuffer;
        zs->avail_out = (uInt)kBufferSize;
        result = deflate(zs, Z_FINISH);
        kCheck(Store(obj, obj->zbuffer, kBufferSize - zs->avail_out));
    } while (result == Z_OK);
    return result == Z_STREAM_END ? kOK : ZStatus(result);
}

/* ----- Frames: payload in --------------------------------------------------------------------- */

/* Stored bytes from the stream, under the checksum. */
kStatus Load(kSerializerClass* obj, void* data, kSize size)
{
    /* In slices that stay in cache between the copy from the stream and the checksum. */
    kByte* p = static_cast<kByte*>(data);
    for (kSize done = 0; done < size;)
    {
        kSize n = kMin_(size - done, kChecksumSlice);
        kCheck(kStream_Read(obj->stream, p + done, n));
        ChecksumUpdate(&obj->checksum, p + done, n);
        done += n;
    }
    obj->storedLeft -= size;
    return kOK;
}

/* Refills zlib's input from the stored bytes; their end before the deflate stream's is an error. */
kStatus LoadZ(kSerializerClass* obj)
{
    kSize n = (kSize)kMin_((k64u)kBufferSize, obj->storedLeft);
    if (n == 0) return kSTATUS_BAD_FORMAT;
    kCheck(Load(obj, obj->zbuffer, n));
    obj->zs->next_in = obj->zbuffer;
    obj->zs->avail_in = (uInt)n;
    return kOK;
}

/* Takes size payload bytes from the stream (inflated or as they are); size never exceeds what
   the payload has left. */
kStatus Fetch(kSerializerClass* obj, void* data, kSize size)
{
    if (!obj->compressed)
        kCheck(Load(obj, data, size));
    else
    {
        z_stream* zs = obj->zs;
        kByte* p = static_cast<kByte*>(data);
        kSize left = size;
        while (left > 0)
        {
            if (obj->zEnded) return kSTATUS_BAD_FORMAT; // shorter than declared
            uInt chunk = (uInt)kMin_(left, (kSize)UINT_MAX);
            zs->next_out = p;
            zs->avail_out = chunk;
            while (zs->avail_out > 0 && !obj->zEnded)
            {
                if (zs->avail_in == 0) kCheck(LoadZ(obj));
                int result = inflate(zs, Z_NO_FLUSH);
                if (result == Z_STREAM_END)
                    obj->zEnded = kTRUE;
                else if (result != Z_OK && result != Z_BUF_ERROR)
                    return ZStatus(result);
            }
            kSize produced = chunk - zs->avail_out;
            p += produced;
            left -= produced;
        }
    }
    obj->payloadFetched += size;
    return kOK;
}

k64u PayloadLeft(const kSerializerClass* obj)
{
    return (obj->bufferCount - obj->bufferPos) + (obj->payloadLength - obj->payloadFetched);
}

kStatus Take(kSerializerClass* obj, void* data, kSize size)
{
    if (obj->mode != xkSERIALIZER_MODE_READ) return kSTATUS_BAD_STATE;
    if (size > PayloadLeft(obj)) return kSTATUS_INCOMPLETE;
    if (size == 0) return kOK;

    kByte* p = static_cast<kByte*>(data);
    kSize buffered = kMin_(size, obj->bufferCount - obj->bufferPos);
    memcpy(p, obj->buffer + obj->bufferPos, buffered);
    obj->bufferPos += buffered;
    p += buffered;
    size -= buffered;
    if (size == 0) return kOK;
    if (size >= kDirectSize) return Fetch(obj, p, size);

    kSize fill = (kSize)kMin_((k64u)kBufferSize, obj->payloadLength - obj->payloadFetched);
    kCheck(Fetch(obj, obj->buffer, fill));
    obj->bufferCount = fill;
    memcpy(p, obj->buffer, size);
    obj->bufferPos = size;
    return kOK;
}

/* The deflate stream must end exactly with the payload and use up the stored bytes. */
kStatus FinishInflate(kSerializerClass* obj)
{
    z_stream* zs = obj->zs;
    while (!obj->zEnded)
    {
        kByte extra;
        if (zs->avail_in == 0) kCheck(LoadZ(obj));
        zs->next_out = &extra;
        zs->avail_out = 1;
        int result = inflate(zs, Z_NO_FLUSH);
        if (zs->avail_out == 0) return kSTATUS_BAD_FORMAT; // longer than declared
        if (result == Z_STREAM_END)
            obj->zEnded = kTRUE;
        else if (result != Z_OK && result != Z_BUF_ERROR)
            return ZStatus(result);
    }
    return (zs->avail_in == 0 && obj->storedLeft == 0) ? kOK : kSTATUS_BAD_FORMAT;
}

/* ----- Type table ----------------------------------------------------------------------------- */

kStatus AddType(kSerializerClass* obj, kType type, const kTypeVersionInfo* version, k32u kind)
{
    if (obj->typeCount == obj->typeCapacity)
    {
        kSize capacity = kMax_((kSize)16, obj->typeCapacity * 2);
        xkDatTypeEntry* types = kNULL;
        kCheck(kAlloc_Get(obj->base.alloc, capacity * sizeof(xkDatTypeEntry), &types));
        kMemCopy(types, obj->types, obj->typeCount * sizeof(xkDatTypeEntry));
        kAlloc_Free(obj->base.alloc, obj->types);
        obj->types = types;
        obj->typeCapacity = capacity;
    }
    obj->types[obj->typeCount++] = {type, version, kind};
    return kOK;
}

kStatus PutU32(kSerializerClass* obj, k32u v) { return Put(obj, &v, 4); }
kStatus PutU8(kSerializerClass* obj, k8u v) { return Put(obj, &v, 1); }

kStatus PutText(kSerializerClass* obj, const kChar* text, kSize length)
{
    kCheckArgs(length <= k32U_MAX);
    kCheck(PutU32(obj, (k32u)length));
    return Put(obj, text, length);
}

kStatus PutTypeRef(kSerializerClass* obj, kType type, const kTypeVersionInfo* version, k32u kind)
{
    for (kSize i = 0; i < obj->typeCount; ++i)
    {
        const xkDatTypeEntry& e = obj->types[i];
        if (e.type == type && e.version == version && e.kind == kind) return PutU32(obj, (k32u)i);
    }
    kCheck(PutU32(obj, (k32u)obj->typeCount));
    kCheck(AddType(obj, type, version, kind));
    kCheck(PutU8(obj, (k8u)kind));
    const kChar* name = kType_Name(type);
    kCheck(PutText(obj, name, strlen(name)));
    if (kind == kKindVersioned)
        return PutText(obj, version->versionName, strlen(version->versionName));
    if (kind == kKindValue) return PutU32(obj, (k32u)kType_Size(type));
    return kOK;
}

kStatus TakeName(kSerializerClass* obj, kChar* name)
{
    k32u length = 0;
    kCheck(Take(obj, &length, 4));
    if (length == 0 || length >= kMaxTypeName) return kSTATUS_BAD_FORMAT;
    kCheck(Take(obj, name, length));
    name[length] = '\0';
    return strlen(name) == length ? kOK : kSTATUS_BAD_FORMAT;
}

/* Value types by name: registered ones, or the opaque "kBytes<n>" of kBytes_GetType. */
kType FindValueType(const kChar* name)
{
    kType type = kType_FindByName(name);
    if (type || strncmp(name, "kBytes", 6) != 0 || name[6] == '\0') return type;
    k64u size = 0;
    for (const kChar* p = name + 6; *p; ++p)
    {
        if (*p < '0' || *p > '9' || size > 1000000000) return kNULL;
        size = size * 10 + (k64u)(*p - '0');
    }
    return size > 0 ? kBytes_GetType((kSize)size) : kNULL;
}

kStatus TakeTypeRef(kSerializerClass* obj, const xkDatTypeEntry** entry)
{
    k32u index = 0;
    kCheck(Take(obj, &index, 4));
    if (index < obj->typeCount)
    {
        *entry = &obj->types[index];
        return kOK;
    }
    if (index > obj->typeCount) return kSTATUS_BAD_FORMAT;

    k8u kind = 0;
    kChar name[kMaxTypeName];
    kCheck(Take(obj, &kind, 1));
    if (kind < kKindClass || kind > kKindVersioned) return kSTATUS_BAD_FORMAT;
    kCheck(TakeName(obj, name));

    kType type = kind == kKindValue ? FindValueType(name) : kType_FindByName(name);
    if (!type) return kSTATUS_BAD_VERSION;
    const kTypeVersionInfo* version = kNULL;
    if (kind == kKindValue)
    {
        k32u size = 0;
        kCheck(Take(obj, &size, 4));
        if (!kType_IsValue(type) || kType_Size(type) != size) return kSTATUS_BAD_FORMAT;
    }
    else
    {
        if (!kType_IsClass(type)) return kSTATUS_BAD_FORMAT;
        if (kind == kKindVersioned)
        {
            kChar versionName[kMaxTypeName];
            kCheck(TakeName(obj, versionName));
            const kChar* format = FormatName(obj->readFormat);
            for (kSize i = 0; i < kType_VersionCount(type) && !version; ++i)
            {
                const kTypeVersionInfo* v = kType_VersionAt(type, i);
                if (strcmp(v->format, format) == 0 && strcmp(v->versionName, versionName) == 0)
                    version = v;
            }
            if (!version) return kSTATUS_BAD_VERSION;
        }
    }
    kCheck(AddType(obj, type, version, kind));
    *entry = &obj->types[obj->typeCount - 1];
    return kOK;
}

/* Newest version for the serializer's format not above its version. */
const kTypeVersionInfo* WriteVersion(const kSerializerClass* obj, kType type)
{
    const kChar* format = FormatName(obj->format);
    const kTypeVersionInfo* best = kNULL;
    for (kSize i = 0; i < kType_VersionCount(type); ++i)
    {
        const kTypeVersionInfo* v = kType_VersionAt(type, i);
        if (strcmp(v->format, format) == 0 && v->formatVersion <= obj->version &&
            (!best || v->formatVersion >= best->formatVersion))
            best = v;
    }
    return best;
}

/* ----- Object records ------------------------------------------------------------------------- */

kStatus PutRecord(kSerializerClass* obj, kObject object)
{
    if (!object) return PutU8(obj, kRecordNull);
    kCheckArgs(xkCastClass_ObjectIs(object, kTypeOf(kObject)));
    kCheckArgs(obj->depth < kMaxDepth);

    kType type = kObject_Type(object);
    const kTypeVersionInfo* version = WriteVersion(obj, type);
    if (!version || !version->writer) return kSTATUS_NOT_IMPLEMENTED;
    kCheck(PutU8(obj, kRecordObject));
    kCheck(PutTypeRef(obj, type, version, kKindVersioned));

    ++obj->depth;
    kStatus status = reinterpret_cast<kSerializerWriteFx>(version->writer)(obj, object);
    --obj->depth;
    return status;
}

kStatus TakeRecord(kSerializerClass* obj, kObject* object, kAlloc allocator)
{
    const xkDatTypeEntry* entry = kNULL;
    k8u tag = 0;
    *object = kNULL;
    if (obj->depth >= kMaxDepth) return kSTATUS_BAD_FORMAT;
    kCheck(Take(obj, &tag, 1));
    if (tag == kRecordNull) return kOK;
    if (tag != kRecordObject) return kSTATUS_BAD_FORMAT;
    kCheck(TakeTypeRef(obj, &entry));
    if (entry->kind != kKindVersioned) return kSTATUS_BAD_FORMAT;

    kType type = entry->type;
    auto reader = reinterpret_cast<kSerializerReadFx>(entry->version->reader);
    auto construct = reinterpret_cast<kFrameworkConstructorFx>(kType_FrameworkConstructor(type));
    if (!reader || !construct) return kSTATUS_NOT_IMPLEMENTED;

    kObject result = kNULL;
    kCheck(construct(&result, allocator));
    ++obj->depth;
    kStatus status = reader(obj, result);
    --obj->depth;
    if (!kSuccess(status))
    {
        kObject_Dispose(result);
        return status;
    }
    *object = result;
    return kOK;
}

/* ----- Frames --------------------------------------------------------------------------------- */

void BeginPayload(kSerializerClass* obj, k32s mode, kBool compressed)
{
    obj->mode = mode;
    obj->depth = 0;
    obj->bufferCount = obj->bufferPos = 0;
    obj->payloadLength = obj->payloadFetched = 0;
    obj->storedLength = obj->storedLeft = 0;
    obj->compressed = compressed;
    obj->zEnded = kFALSE;
    obj->typeCount = 0;
    ChecksumReset(&obj->checksum);
}

void EndPayload(kSerializerClass* obj)
{
    CloseZ(obj);
    obj->mode = xkSERIALIZER_MODE_IDLE;
    obj->depth = 0;
    obj->typeCount = 0;
}

kStatus WriteFileHeader(kSerializerClass* obj)
{
    kByte header[kFileHeaderSize] = {};
    memcpy(header, kFileMagic, 8);
    Put32(header + 8, obj->format);
    kCheck(kStream_Write(obj->stream, header, sizeof(header)));
    obj->wroteHeader = kTRUE;
    return kOK;
}

kStatus WriteFramePayload(kSerializerClass* obj, kObject object)
{
    kCheck(PutRecord(obj, object));
    kCheck(FlushBuffer(obj));
    if (obj->compressed) kCheck(FinishDeflate(obj));

    kByte header[kFrameHeaderSize] = {};
    k64u sumA = 0, sumB = 0;
    ChecksumFinal(&obj->checksum, &sumA, &sumB);
    memcpy(header, kFrameTag, 4);
    Put32(header + 4, obj->compressed ? kFlagDeflated : 0);
    Put64(header + 8, obj->payloadLength);
    Put64(header + 16, obj->storedLength);
    Put64(header + 24, sumA);
    Put64(header + 32, sumB);
    Put32(header + 44, (k32u)crc32(0, header, 44));

    kCheck(kStream_Seek(obj->stream, (k64s)obj->framePosition, kSEEK_ORIGIN_BEGIN));
    kCheck(kStream_Write(obj->stream, header, sizeof(header)));
    kCheck(kStream_Seek(obj->stream,
                        (k64s)(obj->framePosition + kFrameHeaderSize + obj->storedLength),
                        kSEEK_ORIGIN_BEGIN));
    return kStream_Flush(obj->stream);
}

kStatus WriteFrame(kSerializerClass* obj, kObject object)
{
    kByte placeholder[kFrameHeaderSize] = {};
    k64u position = 0;
    kStatus status = kStream_Position(obj->stream, &position);
    if (status == kSTATUS_NOT_IMPLEMENTED) return kSTATUS_BAD_STATE;
    kCheck(status);
    if (!obj->wroteHeader)
    {
        kCheck(WriteFileHeader(obj));
        position += kFileHeaderSize;
    }
    obj->framePosition = position;
    kCheck(kStream_Write(obj->stream, placeholder, sizeof(placeholder)));

    BeginPayload(obj, xkSERIALIZER_MODE_WRITE, obj->compress);
    if (!obj->compressed || kSuccess(status = OpenZ(obj, true)))
        status = WriteFramePayload(obj, object);
    EndPayload(obj);
    return status;
}

kStatus ReadFileHeader(kSerializerClass* obj)
{
    kByte header[kFileHeaderSize];
    kCheck(kStream_Read(obj->stream, header, sizeof(header)));
    if (memcmp(header, kFileMagic, 8) != 0 || Get32(header + 12) != 0) return kSTATUS_BAD_FORMAT;
    k32u format = Get32(header + 8);
    /* A reader takes its own format and older ones. */
    if (format < 5 || format > obj->format) return kSTATUS_BAD_VERSION;
    obj->readFormat = format;
    return kOK;
}

kStatus ReadFrameHeader(kSerializerClass* obj)
{
    kByte header[kFrameHeaderSize];
    kCheck(kStream_Read(obj->stream, header, sizeof(header)));
    if (memcmp(header, kFrameTag, 4) != 0 || Get32(header + 44) != (k32u)crc32(0, header, 44))
        return kSTATUS_BAD_FORMAT;
    k32u flags = Get32(header + 4);
    k64u payload = Get64(header + 8), stored = Get64(header + 16);
    if ((flags & ~kFlagDeflated) != 0 || Get32(header + 40) != 0) return kSTATUS_BAD_FORMAT;
    bool deflated = (flags & kFlagDeflated) != 0;
    if (deflated ? (stored > k64U_MAX / kMaxDeflateRatio || payload > stored * kMaxDeflateRatio)
                 : payload != stored)
        return kSTATUS_BAD_FORMAT;

    k64u remaining = 0;
    kStatus status = kStream_Remaining(obj->stream, &remaining);
    if (kSuccess(status) && stored > remaining) return kSTATUS_INCOMPLETE;
    if (!kSuccess(status) && status != kSTATUS_NOT_IMPLEMENTED) return status;

    BeginPayload(obj, xkSERIALIZER_MODE_READ, deflated);
    obj->payloadLength = payload;
    obj->storedLength = obj->storedLeft = stored;
    obj->expectedA = Get64(header + 24);
    obj->expectedB = Get64(header + 32);
    return kOK;
}

kStatus ReadFramePayload(kSerializerClass* obj, kObject* object, kAlloc allocator)
{
    kCheck(TakeRecord(obj, object, allocator));
    if (obj->bufferPos != obj->bufferCount || obj->payloadFetched != obj->payloadLength)
        return kSTATUS_BAD_FORMAT; // payload left over
    if (obj->compressed) kCheck(FinishInflate(obj));
    k64u a = 0, b = 0;
    ChecksumFinal(&obj->checksum, &a, &b);
    return (a == obj->expectedA && b == obj->expectedB) ? kOK : kSTATUS_BAD_FORMAT;
}

/* Content failures of a reader are format errors; shortage, versions and memory speak for
   themselves. */
kStatus ContentStatus(kStatus status)
{
    switch (status)
    {
    case kSTATUS_OK:
    case kSTATUS_BAD_FORMAT:
    case kSTATUS_INCOMPLETE:
    case kSTATUS_BAD_VERSION:
    case kSTATUS_MEMORY:
    case kSTATUS_STREAM:
        return status;
    default:
        return kSTATUS_BAD_FORMAT;
    }
}

kStatus ReadFrame(kSerializerClass* obj, kObject* object, kAlloc allocator)
{
    if (!obj->readFormat) kCheck(ReadFileHeader(obj));
    kCheck(ReadFrameHeader(obj));

    kStatus status = kOK;
    if (!obj->compressed || kSuccess(status = OpenZ(obj, false)))
        status = ReadFramePayload(obj, object, allocator);
    EndPayload(obj);
    if (!kSuccess(status))
    {
        kObject_Dispose(*object);
        *object = kNULL;
    }
    return ContentStatus(status);
}

template <typename T>
kStatus PutValue(kSerializer serializer, T value)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj);
    return Put(obj, &value, sizeof(T));
}

template <typename T>
kStatus TakeValue(kSerializer serializer, T* value)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj && value);
    return Take(obj, value, sizeof(T));
}

bool IsItemType(kType type) { return kType_IsValue(type) && type != kTypeOf(kPointer); }
} // namespace

/* ----- Class ---------------------------------------------------------------------------------- */

kStatus xkSerializer_VRelease(kObject serializer)
{
    kSerializerClass* obj = kCastRaw(kSerializer, serializer);
    kAlloc alloc = obj->base.alloc;
    CloseZ(obj);
    kAlloc_FreeRef(alloc, &obj->zbuffer);
    kAlloc_FreeRef(alloc, &obj->buffer);
    kAlloc_FreeRef(alloc, &obj->types);
    kCheck(kDestroyRef(&obj->stream));
    return xkObject_VRelease(serializer);
}

kFx(kStatus) xxkSerializer_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kSerializer, kObject));
    kCheck(xkType_AddFlags(kTypeOf(kSerializer), kTYPE_FLAGS_ABSTRACT));
    kCheck(kAddVMethod(kSerializer, VRelease));
    /* The foundation's containers are registered before the serializer; give them their
       versions here, where the format lives. */
    return xkSerializer_AddBuiltinVersions();
}

kStatus xkSerializer_Construct(kSerializer* serializer, kType type, kStream stream, k32u format,
                               kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kSerializerClass* obj = kNULL;
    kStatus status;

    kCheckArgs(serializer);
    *serializer = kNULL;
    kCheckArgs(xkCastClass_ObjectIs(stream, kTypeOf(kStream)));
    kCheck(kAlloc_GetObject(alloc, type, &obj));
    kTest(kObject_Init(obj, type, alloc));
    obj->format = format;
    kTest(kVersion_Parse(&obj->version, "10.6.1.30"));
    kTest(kAlloc_Get(alloc, kBufferSize, &obj->buffer));
    kTest(kObject_Share(stream));
    obj->stream = stream;
    *serializer = obj;
    return kOK;

cleanup:
    xkSerializer_VRelease(obj);
    kAlloc_Free(alloc, obj);
    return status;
}

kStatus xkSerializer_EnableCompression(kSerializer serializer, kBool enable)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj);
    obj->compress = enable ? kTRUE : kFALSE;
    return kOK;
}

kStatus xkSerializer_SaveFile(kObject object, const kChar* fileName, kType type, k32u format,
                              kBool compress)
{
    kStream stream = kNULL;
    kSerializer serializer = kNULL;
    kStatus status;

    kCheckArgs(object && fileName);
    kCheck(kFileStream_Construct(&stream, fileName, kFILE_MODE_WRITE, kNULL));
    kTest(xkSerializer_Construct(&serializer, type, stream, format, kNULL));
    kTest(xkSerializer_EnableCompression(serializer, compress));
    kTest(kSerializer_WriteObject(serializer, object));

cleanup:
    kObject_Destroy(serializer);
    kObject_Destroy(stream);
    return status;
}

kStatus xkSerializer_LoadFile(kObject* object, const kChar* fileName, kType type, k32u format,
                              kAlloc allocator)
{
    kStream stream = kNULL;
    kSerializer serializer = kNULL;
    kObject result = kNULL;
    k64u remaining = 0;
    kStatus status;

    kCheckArgs(object && fileName);
    *object = kNULL;
    kCheck(kFileStream_Construct(&stream, fileName, kFILE_MODE_READ, allocator));
    kTest(xkSerializer_Construct(&serializer, type, stream, format, allocator));
    kTest(kSerializer_ReadObject(serializer, &result, allocator));
    kTest(kStream_Remaining(stream, &remaining));
    if (!result || remaining != 0)
    {
        status = kSTATUS_BAD_FORMAT; // a file holds one object, in one frame
        goto cleanup;
    }
    *object = result;
    result = kNULL;

cleanup:
    kObject_Dispose(result);
    kObject_Destroy(serializer);
    kObject_Destroy(stream);
    return status;
}

/* ----- Objects -------------------------------------------------------------------------------- */

kFx(kStatus) kSerializer_WriteObject(kSerializer serializer, kObject object)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj);
    if (obj->mode == xkSERIALIZER_MODE_WRITE) return PutRecord(obj, object);
    if (obj->mode != xkSERIALIZER_MODE_IDLE) return kSTATUS_BAD_STATE;
    return WriteFrame(obj, object);
}

kFx(kStatus) kSerializer_ReadObject(kSerializer serializer, kObject* object, kAlloc allocator)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj && object);
    *object = kNULL;
    if (obj->mode == xkSERIALIZER_MODE_READ) return TakeRecord(obj, object, allocator);
    if (obj->mode != xkSERIALIZER_MODE_IDLE) return kSTATUS_BAD_STATE;
    return ReadFrame(obj, object, allocator);
}

kFx(kStatus) kSerializer_Flush(kSerializer serializer)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj);
    return kStream_Flush(obj->stream);
}

kFx(kStatus) kSerializer_SetVersion(kSerializer serializer, kVersion version)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj);
    obj->version = version;
    return kOK;
}

kFx(kVersion) kSerializer_Version(kSerializer serializer)
{
    kSerializerClass* obj = Cast(serializer);
    return obj ? obj->version : 0;
}

kFx(k32u) kSerializer_Format(kSerializer serializer)
{
    kSerializerClass* obj = Cast(serializer);
    return obj ? obj->format : 0;
}

kFx(k32u) kSerializer_ReadFormat(kSerializer serializer)
{
    kSerializerClass* obj = Cast(serializer);
    return obj ? obj->readFormat : 0;
}

kFx(kStream) kSerializer_Stream(kSerializer serializer)
{
    kSerializerClass* obj = Cast(serializer);
    return obj ? obj->stream : kNULL;
}

/* ----- Primitives ----------------------------------------------------------------------------- */

kFx(kStatus) kSerializer_Write8u(kSerializer s, k8u value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write8s(kSerializer s, k8s value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write16u(kSerializer s, k16u value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write16s(kSerializer s, k16s value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write32u(kSerializer s, k32u value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write32s(kSerializer s, k32s value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write64u(kSerializer s, k64u value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write64s(kSerializer s, k64s value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write32f(kSerializer s, k32f value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_Write64f(kSerializer s, k64f value) { return PutValue(s, value); }
kFx(kStatus) kSerializer_WriteBool(kSerializer s, kBool value)
{
    return PutValue(s, (k8u)(value ? 1 : 0));
}
kFx(kStatus) kSerializer_WriteSize(kSerializer s, kSize value) { return PutValue(s, (k64u)value); }

kFx(kStatus) kSerializer_WriteText(kSerializer serializer, const kChar* text)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj && text);
    return PutText(obj, text, strlen(text));
}

kFx(kStatus) kSerializer_WriteBytes(kSerializer serializer, const void* data, kSize size)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj && (data || size == 0));
    return Put(obj, data, size);
}

kFx(kStatus) kSerializer_WriteType(kSerializer serializer, kType type)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj && (kType_IsClass(type) || IsItemType(type)));
    return PutTypeRef(obj, type, kNULL, kType_IsClass(type) ? kKindClass : kKindValue);
}

kFx(kStatus)
    kSerializer_WriteItems(kSerializer serializer, kType itemType, const void* items, kSize count)
{
    kSerializerClass* obj = Cast(serializer);
    kSize size = 0;
    kCheckArgs(obj && IsItemType(itemType));
    kCheckArgs(!__builtin_mul_overflow(kType_Size(itemType), count, &size));
    kCheckArgs(items || size == 0);
    return Put(obj, items, size);
}

kFx(kStatus) kSerializer_Read8u(kSerializer s, k8u* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read8s(kSerializer s, k8s* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read16u(kSerializer s, k16u* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read16s(kSerializer s, k16s* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read32u(kSerializer s, k32u* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read32s(kSerializer s, k32s* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read64u(kSerializer s, k64u* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read64s(kSerializer s, k64s* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read32f(kSerializer s, k32f* value) { return TakeValue(s, value); }
kFx(kStatus) kSerializer_Read64f(kSerializer s, k64f* value) { return TakeValue(s, value); }

kFx(kStatus) kSerializer_ReadBool(kSerializer serializer, kBool* value)
{
    k8u byte = 0;
    kCheckArgs(value);
    kCheck(TakeValue(serializer, &byte));
    if (byte > 1) return kSTATUS_BAD_FORMAT;
    *value = byte;
    return kOK;
}

kFx(kStatus) kSerializer_ReadSize(kSerializer serializer, kSize* value)
{
    k64u v = 0;
    kCheckArgs(value);
    kCheck(TakeValue(serializer, &v));
    *value = (kSize)v;
    return kOK;
}

kFx(kStatus) kSerializer_Expect(kSerializer serializer, kSize itemSize, kSize count)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj);
    if (obj->mode != xkSERIALIZER_MODE_READ) return kSTATUS_BAD_STATE;
    return count <= PayloadLeft(obj) / kMax_(itemSize, (kSize)1) ? kOK : kSTATUS_INCOMPLETE;
}

kFx(kStatus) kSerializer_ReadCount(kSerializer serializer, kSize itemSize, kSize* count)
{
    kSize n = 0;
    kCheckArgs(count);
    kCheck(kSerializer_ReadSize(serializer, &n));
    kCheck(kSerializer_Expect(serializer, itemSize, n));
    *count = n;
    return kOK;
}

kFx(kStatus) kSerializer_ReadText(kSerializer serializer, kChar* buffer, kSize capacity)
{
    kSerializerClass* obj = Cast(serializer);
    k32u length = 0;
    kCheckArgs(obj && buffer && capacity > 0);
    kCheck(Take(obj, &length, 4));
    if (length >= capacity) return kSTATUS_BAD_FORMAT;
    kCheck(Take(obj, buffer, length));
    buffer[length] = '\0';
    return strlen(buffer) == length ? kOK : kSTATUS_BAD_FORMAT;
}

kFx(kStatus) kSerializer_ReadString(kSerializer serializer, kString text)
{
    kSerializerClass* obj = Cast(serializer);
    k32u length = 0;
    kCheckArgs(obj);
    kCheck(Take(obj, &length, 4));
    if (length > PayloadLeft(obj)) return kSTATUS_INCOMPLETE;
    kCheck(kString_SetLength(text, length));
    return Take(obj, kString_Chars(text), length);
}

kFx(kStatus) kSerializer_ReadBytes(kSerializer serializer, void* data, kSize size)
{
    kSerializerClass* obj = Cast(serializer);
    kCheckArgs(obj && (data || size == 0));
    return Take(obj, data, size);
}

kFx(kStatus) kSerializer_ReadType(kSerializer serializer, kType* type)
{
    kSerializerClass* obj = Cast(serializer);
    const xkDatTypeEntry* entry = kNULL;
    kCheckArgs(obj && type);
    kCheck(TakeTypeRef(obj, &entry));
    if (entry->kind == kKindVersioned) return kSTATUS_BAD_FORMAT;
    *type = entry->type;
    return kOK;
}

kFx(kStatus) kSerializer_ReadItems(kSerializer serializer, kType itemType, void* items, kSize count)
{
    kSerializerClass* obj = Cast(serializer);
    kSize size = 0;
    kCheckArgs(obj && IsItemType(itemType));
    kCheckArgs(!__builtin_mul_overflow(kType_Size(itemType), count, &size));
    kCheckArgs(items || size == 0);
    return Take(obj, items, size);
}
