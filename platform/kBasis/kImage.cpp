#include <kBasis/kImage.h>
#include <kBasis/kAssembly.h>

#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>

kDefineValue(kPixelFormat, kValue)
kDefineClass(kImage, kObject)

struct kImageClass
{
    kObjectClass base;
    kType pixelType;
    kSize pixelSize;
    kPixelFormat format;
    kSize width;
    kSize height;
    kSize stride;     // bytes from row to row
    kSize alignment;  // row alignment in bytes, 1 for unpadded rows
    kByte* data;      // first pixel: inside buffer, or the attached pixels
    kByte* buffer;    // owned block, null when attached or never allocated
    kSize bufferSize; // bytes of buffer, including the slack used to align data
    kBool attached;
};

/* ----- Registration ------------------------------------------------------------------------ */

kFx(kStatus) xxkPixelFormat_Register(kAssembly assembly, const kChar* name)
{
    static const kEnumeratorInfo formats[] = {
        {kPIXEL_FORMAT_NULL, "kPIXEL_FORMAT_NULL"},
        {kPIXEL_FORMAT_8BPP_GREYSCALE, "kPIXEL_FORMAT_8BPP_GREYSCALE"},
        {kPIXEL_FORMAT_8BPP_CFA, "kPIXEL_FORMAT_8BPP_CFA"},
        {kPIXEL_FORMAT_8BPC_BGRX, "kPIXEL_FORMAT_8BPC_BGRX"},
        {kPIXEL_FORMAT_8BPC_BGRA, "kPIXEL_FORMAT_8BPC_BGRA"},
        {kPIXEL_FORMAT_16BPP_GREYSCALE, "kPIXEL_FORMAT_16BPP_GREYSCALE"},
        {kPIXEL_FORMAT_16BPP_CFA, "kPIXEL_FORMAT_16BPP_CFA"},
    };
    kCheck(xkAssembly_AddValue(assembly, &xxkPixelFormat_type, name, kTypeOf(kValue), "kValue",
                               sizeof(kPixelFormat), kVALUE_FLAGS_ENUM));
    kCheck(
        xkType_AddField(kTypeOf(kPixelFormat), kTypeOf(k32s), "k32s", sizeof(k32s), 0, 1, "value"));
    for (const kEnumeratorInfo& f : formats)
        kCheck(xkType_AddEnumerator(kTypeOf(kPixelFormat), f.value, f.name));
    return kOK;
}

kStatus xkImage_VRelease(kObject image);
kStatus xkImage_VInitClone(kObject image, kObject source, kAlloc allocator);
k32u xkImage_VAllocTraits(kObject image);
kSize xkImage_VSize(kObject image);

kFx(kStatus) xxkImage_Register(kAssembly assembly, const kChar* name)
{
    kCheck(kAddClass(kImage, kObject));
    kCheck(kAddVMethod(kImage, VRelease));
    kCheck(kAddVMethod(kImage, VInitClone));
    kCheck(kAddVMethod(kImage, VAllocTraits));
    kCheck(kAddVMethod(kImage, VSize));
    return kOK;
}

/* ----- Layout ------------------------------------------------------------------------------ */

namespace
{
bool IsPixelType(kType type)
{
    return (kType_IsValue(type) || kType_IsEnum(type)) && kType_Size(type) > 0;
}

kPixelFormat DefaultFormat(kType pixelType)
{
    if (pixelType == kTypeOf(k8u)) return kPIXEL_FORMAT_8BPP_GREYSCALE;
    if (pixelType == kTypeOf(k16u)) return kPIXEL_FORMAT_16BPP_GREYSCALE;
    if (pixelType == kTypeOf(kRgb)) return kPIXEL_FORMAT_8BPC_BGRX;
    if (pixelType == kTypeOf(kArgb)) return kPIXEL_FORMAT_8BPC_BGRA;
    return kPIXEL_FORMAT_NULL;
}

/* Pixel size a format describes; 0 for the null format (any size) and -1 for unknown values. */
kSSize FormatPixelSize(kPixelFormat format)
{
    switch (format)
    {
    case kPIXEL_FORMAT_NULL:
        return 0;
    case kPIXEL_FORMAT_8BPP_GREYSCALE:
    case kPIXEL_FORMAT_8BPP_CFA:
        return 1;
    case kPIXEL_FORMAT_16BPP_GREYSCALE:
    case kPIXEL_FORMAT_16BPP_CFA:
        return 2;
    case kPIXEL_FORMAT_8BPC_BGRX:
    case kPIXEL_FORMAT_8BPC_BGRA:
        return 4;
    default:
        return -1;
    }
}

/* Stride and total bytes of a layout; false when a product does not fit in kSize. */
bool Layout(kSize pixelSize, kSize width, kSize height, kSize alignment, kSize* stride,
            kSize* bytes)
{
    kSize row = 0;
    if (__builtin_mul_overflow(width, pixelSize, &row)) return false;
    if (row > kSIZE_MAX - (alignment - 1)) return false;
    *stride = (row + alignment - 1) & ~(alignment - 1);
    return !__builtin_mul_overflow(*stride, height, bytes);
}

kByte* AlignUp(kByte* p, kSize alignment)
{
    return reinterpret_cast<kByte*>((reinterpret_cast<uintptr_t>(p) + alignment - 1) &
                                    ~(uintptr_t)(alignment - 1));
}

/* Gives obj an owned buffer for the new layout, reusing the current one when it is big
   enough. On failure the image is unchanged. */
kStatus Reshape(kImageClass* obj, kType pixelType, kSize width, kSize height)
{
    kCheckArgs(IsPixelType(pixelType));
    kSize pixelSize = kType_Size(pixelType), stride = 0, bytes = 0;
    kCheckArgs(Layout(pixelSize, width, height, obj->alignment, &stride, &bytes));
    kSize slack = obj->alignment > 1 ? obj->alignment - 1 : 0;
    kCheckArgs(bytes <= kSIZE_MAX - slack);
    kSize needed = bytes ? bytes + slack : 0;

    if (obj->attached || needed > obj->bufferSize)
    {
        kByte* buffer = kNULL;
        kCheck(kAlloc_GetZero(obj->base.alloc, needed, &buffer));
        kAlloc_Free(obj->base.alloc, obj->buffer);
        obj->buffer = buffer;
        obj->bufferSize = needed;
        obj->attached = kFALSE;
    }
    obj->data = obj->buffer ? AlignUp(obj->buffer, obj->alignment) : kNULL;
    obj->pixelType = pixelType;
    obj->pixelSize = pixelSize;
    obj->format = DefaultFormat(pixelType);
    obj->width = width;
    obj->height = height;
    obj->stride = stride;
    return kOK;
}

void CopyPixels(kImageClass* dst, const kImageClass* src)
{
    kSize rowBytes = src->width * src->pixelSize;
    for (kSize y = 0; y < src->height; ++y)
        kMemCopy(dst->data + y * dst->stride, src->data + y * src->stride, rowBytes);
}

kStatus Init(kImageClass* obj, kType type, kType pixelType, kSize width, kSize height,
             kSize alignment, kAlloc alloc)
{
    kCheck(kObject_Init(obj, type, alloc));
    obj->alignment = alignment;
    return Reshape(obj, pixelType, width, height);
}
} // namespace

kStatus xkImage_VRelease(kObject image)
{
    kImageClass* obj = kCastRaw(kImage, image);
    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->buffer));
    return xkObject_VRelease(image);
}

kStatus xkImage_VInitClone(kObject image, kObject source, kAlloc allocator)
{
    kImageClass* obj = kCastRaw(kImage, image);
    const kImageClass* src = kCastRaw(kImage, source);
    kCheck(Init(obj, kObject_Type(source), src->pixelType, src->width, src->height, src->alignment,
                allocator));
    obj->format = src->format;
    CopyPixels(obj, src);
    return kOK;
}

k32u xkImage_VAllocTraits(kObject image)
{
    return xkObject_VAllocTraits(image) |
           (kCastRaw(kImage, image)->attached ? kALLOC_TRAIT_FOREIGN : 0u);
}

kSize xkImage_VSize(kObject image)
{
    return sizeof(kImageClass) + kCastRaw(kImage, image)->bufferSize;
}

/* ----- Construction and shape -------------------------------------------------------------- */

kFx(kStatus)
    kImage_Construct(kImage* image, kType pixelType, kSize width, kSize height, kAlloc allocator)
{
    return kImage_ConstructEx(image, pixelType, width, height, 1, allocator);
}

kFx(kStatus) kImage_ConstructEx(kImage* image, kType pixelType, kSize width, kSize height,
                                kSize alignment, kAlloc allocator)
{
    kAlloc alloc = kAlloc_Fallback(allocator);
    kImageClass* obj = kNULL;
    kStatus status;

    kCheckArgs(image);
    *image = kNULL;
    if (alignment == 0) alignment = 1;
    kCheckArgs(std::has_single_bit(alignment));

    if (!kSuccess(status = kAlloc_GetObject(alloc, kTypeOf(kImage), &obj))) return status;
    if (!kSuccess(status = Init(obj, kTypeOf(kImage), pixelType, width, height, alignment, alloc)))
    {
        kAlloc_FreeRef(alloc, &obj);
        return status;
    }
    *image = obj;
    return kOK;
}

kFx(kStatus) kImage_Allocate(kImage image, kType pixelType, kSize width, kSize height)
{
    kObjR(kImage, image);
    return Reshape(obj, pixelType, width, height);
}

kFx(kStatus) kImage_Attach(kImage image, void* pixels, kType pixelType, kSize width, kSize height,
                           kSize stride)
{
    kObjR(kImage, image);
    kCheckArgs(IsPixelType(pixelType));
    kSize pixelSize = kType_Size(pixelType), row = 0, bytes = 0;
    kCheckArgs(!__builtin_mul_overflow(width, pixelSize, &row) && stride >= row);
    kCheckArgs(!__builtin_mul_overflow(stride, height, &bytes));
    kCheckArgs(pixels || width == 0 || height == 0);

    kCheck(kAlloc_FreeRef(obj->base.alloc, &obj->buffer));
    obj->bufferSize = 0;
    obj->attached = kTRUE;
    obj->data = static_cast<kByte*>(pixels);
    obj->pixelType = pixelType;
    obj->pixelSize = pixelSize;
    obj->format = DefaultFormat(pixelType);
    obj->width = width;
    obj->height = height;
    obj->stride = stride;
    return kOK;
}

kFx(kStatus) kImage_Assign(kImage image, kImage source)
{
    kObjR(kImage, image);
    kObjN(kImage, src, source);
    kCheckArgs(src);
    if (src == obj) return kOK;
    kCheck(Reshape(obj, src->pixelType, src->width, src->height));
    obj->format = src->format;
    CopyPixels(obj, src);
    return kOK;
}

kFx(kStatus) kImage_Zero(kImage image)
{
    kObjR(kImage, image);
    for (kSize y = 0; y < obj->height; ++y)
        kMemZero(obj->data + y * obj->stride, obj->width * obj->pixelSize);
    return kOK;
}

kFx(kStatus) kImage_SetPixel(kImage image, kSize x, kSize y, const void* pixel)
{
    kObjR(kImage, image);
    kCheckArgs(x < obj->width && y < obj->height && pixel);
    kMemCopy(obj->data + y * obj->stride + x * obj->pixelSize, pixel, obj->pixelSize);
    return kOK;
}

kFx(kStatus) kImage_GetPixel(kImage image, kSize x, kSize y, void* pixel)
{
    kObjR(kImage, image);
    kCheckArgs(x < obj->width && y < obj->height && pixel);
    kMemCopy(pixel, obj->data + y * obj->stride + x * obj->pixelSize, obj->pixelSize);
    return kOK;
}

kFx(kStatus) kImage_SetPixelFormat(kImage image, kPixelFormat format)
{
    kObjR(kImage, image);
    kSSize size = FormatPixelSize(format);
    kCheckArgs(size == 0 || size == (kSSize)obj->pixelSize);
    obj->format = format;
    return kOK;
}

/* ----- Accessors --------------------------------------------------------------------------- */

kFx(kPixelFormat) kImage_PixelFormat(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->format : kPIXEL_FORMAT_NULL;
}

kFx(kType) kImage_PixelType(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->pixelType : kNULL;
}

kFx(kSize) kImage_PixelSize(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->pixelSize : 0;
}

kFx(kSize) kImage_Width(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->width : 0;
}

kFx(kSize) kImage_Height(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->height : 0;
}

kFx(kSize) kImage_Area(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->width * obj->height : 0;
}

kFx(kSize) kImage_Stride(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->stride : 0;
}

kFx(kSize) kImage_Alignment(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->alignment : 0;
}

kFx(kBool) kImage_IsAttached(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->attached : kFALSE;
}

kFx(void*) kImage_Data(kImage image)
{
    kObjN(kImage, obj, image);
    return obj ? obj->data : kNULL;
}

kFx(void*) kImage_DataAt(kImage image, kSSize offset)
{
    kObjN(kImage, obj, image);
    return obj ? obj->data + offset : kNULL;
}

kFx(void*) kImage_RowAt(kImage image, kSize y)
{
    kObjN(kImage, obj, image);
    return (obj && y < obj->height) ? obj->data + y * obj->stride : kNULL;
}

kFx(void*) kImage_At(kImage image, kSize x, kSize y)
{
    kObjN(kImage, obj, image);
    return (obj && x < obj->width && y < obj->height)
               ? obj->data + y * obj->stride + x * obj->pixelSize
               : kNULL;
}

/* ----- BMP --------------------------------------------------------------------------------- */

namespace
{
/* Little-endian fields of the file and info headers. */
k32u Get16(const kByte* p) { return (k32u)p[0] | (k32u)p[1] << 8; }
k32u Get32(const kByte* p) { return Get16(p) | Get16(p + 2) << 16; }
void Put16(kByte* p, k32u v)
{
    p[0] = (kByte)v;
    p[1] = (kByte)(v >> 8);
}
void Put32(kByte* p, k32u v)
{
    Put16(p, v);
    Put16(p + 2, v >> 16);
}

constexpr kSize kBmpFileHeader = 14;
constexpr kSize kBmpInfoHeader = 40; // BITMAPINFOHEADER
constexpr k32u kBmpRgb = 0;          // BI_RGB
constexpr k32u kBmpBitFields = 3;    // BI_BITFIELDS

/* Rows of a BMP file are padded to 4 bytes. */
k64u BmpStride(k64u width, k64u bitsPerPixel) { return (width * bitsPerPixel + 31) / 32 * 4; }

/* A prefix of a valid file is reported as incomplete; anything that contradicts the format
   as a bad format. */
kStatus DecodeBmp(kImage* image, const kByte* data, kSize size, kAlloc alloc)
{
    const kByte signature[2] = {'B', 'M'};
    if (!kMemEquals(data, signature, kMin_(size, sizeof(signature)))) return kSTATUS_BAD_FORMAT;
    if (size < kBmpFileHeader + 4) return kSTATUS_INCOMPLETE;

    k64u dataOffset = Get32(data + 10);
    k64u headerSize = Get32(data + kBmpFileHeader);
    if (headerSize < kBmpInfoHeader) return kSTATUS_BAD_FORMAT; // OS/2 core headers
    if (size < kBmpFileHeader + kBmpInfoHeader) return kSTATUS_INCOMPLETE;

    const kByte* info = data + kBmpFileHeader;
    k32s width = (k32s)Get32(info + 4);
    k32s signedHeight = (k32s)Get32(info + 8);
    k32u planes = Get16(info + 12), bits = Get16(info + 14), compression = Get32(info + 16);
    k64u paletteCount = Get32(info + 32);
    bool topDown = signedHeight < 0;
    k64u height = topDown ? (k64u)(-(k64s)signedHeight) : (k64u)signedHeight;

    if (width <= 0 || height == 0 || planes != 1) return kSTATUS_BAD_FORMAT;
    if (bits != 8 && bits != 24 && bits != 32) return kSTATUS_BAD_FORMAT;
    if (compression != kBmpRgb && !(compression == kBmpBitFields && bits == 32))
        return kSTATUS_BAD_FORMAT;

    /* Three masks follow a 40-byte header, or are part of the longer ones (52 bytes and up). */
    k64u tableStart = kBmpFileHeader + headerSize;
    if (compression == kBmpBitFields)
    {
        k64u masksAt = kBmpFileHeader + kBmpInfoHeader;
        if (headerSize == kBmpInfoHeader)
            tableStart += 12;
        else if (headerSize < kBmpInfoHeader + 12)
            return kSTATUS_BAD_FORMAT;
        if (tableStart > size) return kSTATUS_INCOMPLETE;
        if (Get32(data + masksAt) != 0x00FF0000u || Get32(data + masksAt + 4) != 0x0000FF00u ||
            Get32(data + masksAt + 8) != 0x000000FFu)
            return kSTATUS_BAD_FORMAT;
    }

    kRgb palette[256] = {};
    bool grey = true;
    if (bits == 8)
    {
        if (paletteCount == 0) paletteCount = 256;
        if (paletteCount > 256) return kSTATUS_BAD_FORMAT;
        if (tableStart + paletteCount * 4 > size) return kSTATUS_INCOMPLETE;
        for (k64u i = 0; i < paletteCount; ++i)
        {
            const kByte* e = data + tableStart + i * 4;
            palette[i] = kRgb{e[0], e[1], e[2], 0};
            grey = grey && e[0] == e[1] && e[1] == e[2];
        }
        tableStart += paletteCount * 4;
    }
    if (dataOffset < tableStart) return kSTATUS_BAD_FORMAT;

    /* The last row may lack its padding. */
    k64u fileStride = BmpStride((k64u)width, bits);
    k64u need = 0;
    if (__builtin_mul_overflow(fileStride, height - 1, &need) ||
        __builtin_add_overflow(need, (k64u)width * (bits / 8), &need) ||
        __builtin_add_overflow(need, dataOffset, &need) || need > size)
        return kSTATUS_INCOMPLETE;

    kType pixelType = bits == 32            ? kTypeOf(kArgb)
                      : (bits == 8 && grey) ? kTypeOf(k8u)
                                            : kTypeOf(kRgb);
    kImage output = kNULL;
    kCheck(kImage_Construct(&output, pixelType, (kSize)width, (kSize)height, alloc));

    for (k64u y = 0; y < height; ++y)
    {
        const kByte* src = data + dataOffset + (topDown ? y : height - 1 - y) * fileStride;
        kByte* dst = static_cast<kByte*>(kImage_RowAt(output, (kSize)y));
        kRgb* rgb = reinterpret_cast<kRgb*>(dst);
        if (bits == 32)
            memcpy(dst, src, (kSize)width * 4); // BGRA in both
        else if (bits == 24)
            for (k32s x = 0; x < width; ++x)
                rgb[x] = kRgb{src[3 * x], src[3 * x + 1], src[3 * x + 2], 0};
        else if (grey)
            for (k32s x = 0; x < width; ++x)
                dst[x] = palette[src[x]].r;
        else
            for (k32s x = 0; x < width; ++x)
                rgb[x] = palette[src[x]];
    }
    *image = output;
    return kOK;
}

kStatus EncodeBmp(const kImageClass* obj, kMemory memory)
{
    k32u bits = 0;
    if (obj->pixelType == kTypeOf(k8u))
        bits = 8;
    else if (obj->pixelType == kTypeOf(kRgb))
        bits = 24;
    else if (obj->pixelType == kTypeOf(kArgb))
        bits = 32;
    kCheckArgs(bits != 0 && obj->width > 0 && obj->height > 0);
    kCheckArgs(obj->width <= (kSize)k32S_MAX && obj->height <= (kSize)k32S_MAX);

    k64u paletteBytes = bits == 8 ? 256 * 4 : 0;
    k64u dataOffset = kBmpFileHeader + kBmpInfoHeader + paletteBytes;
    k64u fileStride = BmpStride(obj->width, bits);
    k64u imageBytes = 0, fileBytes = 0;
    kCheckArgs(!__builtin_mul_overflow(fileStride, (k64u)obj->height, &imageBytes));
    kCheckArgs(!__builtin_add_overflow(imageBytes, dataOffset, &fileBytes) &&
               fileBytes <= k32U_MAX);

    kCheck(kMemory_Allocate(memory, (kSize)fileBytes));
    kByte* out = static_cast<kByte*>(kMemory_At(memory, 0));
    kMemZero(out, (kSize)dataOffset);
    out[0] = 'B';
    out[1] = 'M';
    Put32(out + 2, (k32u)fileBytes);
    Put32(out + 10, (k32u)dataOffset);
    kByte* info = out + kBmpFileHeader;
    Put32(info, kBmpInfoHeader);
    Put32(info + 4, (k32u)obj->width);
    Put32(info + 8, (k32u)obj->height); // bottom-up, the usual order
    Put16(info + 12, 1);
    Put16(info + 14, bits);
    Put32(info + 16, kBmpRgb);
    Put32(info + 20, (k32u)imageBytes);
    Put32(info + 24, 2835); // 72 dpi, in pixels per metre
    Put32(info + 28, 2835);
    Put32(info + 32, bits == 8 ? 256 : 0);
    kByte* palette = info + kBmpInfoHeader; // grey ramp: the stored value is the grey level
    for (k32u i = 0; i < paletteBytes / 4; ++i)
        palette[4 * i] = palette[4 * i + 1] = palette[4 * i + 2] = (kByte)i;

    for (kSize y = 0; y < obj->height; ++y)
    {
        kByte* dst = out + dataOffset + (obj->height - 1 - y) * fileStride;
        const kByte* src = obj->data + y * obj->stride;
        kMemZero(dst, (kSize)fileStride);
        for (kSize x = 0; x < obj->width; ++x)
        {
            if (bits == 8)
                dst[x] = src[x];
            else if (bits == 24)
                memcpy(dst + 3 * x, src + 4 * x, 3);
            else
                memcpy(dst + 4 * x, src + 4 * x, 4);
        }
    }
    return kOK;
}

/* ----- PNG --------------------------------------------------------------------------------- */

/* Most pixel bytes a deflate stream can expand to per compressed byte (258-byte matches coded
   in two bits each, rounded up). A header that promises more than the file can hold is
   refused before the pixels are allocated. */
constexpr k64u kDeflateMaxRatio = 1032;

/* libpng reports errors by longjmp: the state lives in the caller's frame, the callbacks
   record the first failure in it, and no C++ object with a destructor lives across setjmp. */
struct PngState
{
    kAlloc alloc;
    kStatus status; // first failure recorded by a callback; kOK while none
    png_structp png;
    png_infop info;
    const kByte* input;
    kSize inputSize;
    kSize inputOffset;
    kMemory output;
    const kImageClass* source;
    kImage image;
    png_bytep* rows;
};

void PngFail(PngState* s, kStatus status)
{
    if (kSuccess(s->status)) s->status = status;
}

[[noreturn]] void PngError(png_structp png, png_const_charp)
{
    PngFail(static_cast<PngState*>(png_get_error_ptr(png)), kSTATUS_BAD_FORMAT);
    png_longjmp(png, 1);
}

void PngWarning(png_structp, png_const_charp) {}

png_voidp PngMalloc(png_structp png, png_alloc_size_t size)
{
    PngState* s = static_cast<PngState*>(png_get_mem_ptr(png));
    void* mem = kNULL;
    kStatus status = kAlloc_Get(s->alloc, size, &mem);
    if (!kSuccess(status)) PngFail(s, status);
    return mem;
}

void PngFree(png_structp png, png_voidp mem)
{
    kAlloc_Free(static_cast<PngState*>(png_get_mem_ptr(png))->alloc, mem);
}

void PngRead(png_structp png, png_bytep data, size_t length)
{
    PngState* s = static_cast<PngState*>(png_get_io_ptr(png));
    if (length > s->inputSize - s->inputOffset)
    {
        PngFail(s, kSTATUS_INCOMPLETE);
        png_error(png, "file is cut short");
    }
    memcpy(data, s->input + s->inputOffset, length);
    s->inputOffset += length;
}

void PngWrite(png_structp png, png_bytep data, size_t length)
{
    PngState* s = static_cast<PngState*>(png_get_io_ptr(png));
    kStatus status = kMemory_Append(s->output, data, length);
    if (!kSuccess(status))
    {
        PngFail(s, status);
        png_error(png, "cannot store the encoded file");
    }
}

void PngFlush(png_structp) {}

kStatus PngResult(const PngState* s)
{
    return kSuccess(s->status) ? kSTATUS_BAD_FORMAT : s->status;
}

/* Decodes into s->image and s->rows, which the caller releases on failure. Runs under the
   setjmp of DecodePngGuarded: a libpng error unwinds this frame. */
[[gnu::noinline]] kStatus DecodePngSteps(PngState* s)
{
    png_set_read_fn(s->png, s, PngRead);
    png_read_info(s->png, s->info);

    png_uint_32 width = 0, height = 0;
    int depth = 0, colour = 0;
    png_get_IHDR(s->png, s->info, &width, &height, &depth, &colour, kNULL, kNULL, kNULL);
    k64u bits = (k64u)width * height * depth * png_get_channels(s->png, s->info);
    if (bits / 8 > kDeflateMaxRatio * s->inputSize)
    {
        PngFail(s, kSTATUS_INCOMPLETE);
        return s->status;
    }

    bool alpha = (colour & PNG_COLOR_MASK_ALPHA) || png_get_valid(s->png, s->info, PNG_INFO_tRNS);
    bool grey = !(colour & PNG_COLOR_MASK_COLOR);
    kType pixelType = kTypeOf(kArgb);
    if (colour == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(s->png);
    if (png_get_valid(s->png, s->info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(s->png);
    if (grey && !alpha)
    {
        pixelType = depth == 16 ? kTypeOf(k16u) : kTypeOf(k8u);
        if (depth < 8) png_set_expand_gray_1_2_4_to_8(s->png);
        if (depth == 16 && std::endian::native == std::endian::little) png_set_swap(s->png);
    }
    else
    {
        if (depth == 16) png_set_strip_16(s->png);
        if (grey) png_set_gray_to_rgb(s->png);
        png_set_bgr(s->png);
        if (!alpha)
        {
            pixelType = kTypeOf(kRgb);
            png_set_filler(s->png, 0, PNG_FILLER_AFTER);
        }
    }
    png_set_interlace_handling(s->png);
    png_read_update_info(s->png, s->info);
    if (png_get_rowbytes(s->png, s->info) != (size_t)width * kType_Size(pixelType))
    {
        PngFail(s, kSTATUS_BAD_FORMAT);
        return s->status;
    }

    kStatus status = kImage_Construct(&s->image, pixelType, width, height, s->alloc);
    if (kSuccess(status)) status = kAlloc_Get(s->alloc, height * sizeof(png_bytep), &s->rows);
    if (!kSuccess(status))
    {
        PngFail(s, status);
        return s->status;
    }
    for (png_uint_32 y = 0; y < height; ++y)
        s->rows[y] = static_cast<png_bytep>(kImage_RowAt(s->image, y));
    png_read_image(s->png, s->rows);
    png_read_end(s->png, kNULL);
    return kOK;
}

kStatus DecodePngGuarded(PngState* s)
{
    if (setjmp(png_jmpbuf(s->png))) return PngResult(s);
    return DecodePngSteps(s);
}

kStatus DecodePng(kImage* image, const kByte* data, kSize size, kAlloc alloc)
{
    const kByte signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (!kMemEquals(data, signature, kMin_(size, sizeof(signature)))) return kSTATUS_BAD_FORMAT;

    PngState s = {};
    s.alloc = alloc;
    s.status = kOK;
    s.input = data;
    s.inputSize = size;
    s.png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &s, PngError, PngWarning, &s, PngMalloc,
                                     PngFree);
    if (!s.png) return kSuccess(s.status) ? kSTATUS_MEMORY : s.status;
    s.info = png_create_info_struct(s.png);
    kStatus status = s.info ? DecodePngGuarded(&s) : kSTATUS_MEMORY;
    png_destroy_read_struct(&s.png, &s.info, kNULL);
    kAlloc_Free(alloc, s.rows);

    if (!kSuccess(status))
    {
        kObject_Destroy(s.image);
        return status;
    }
    *image = s.image;
    return kOK;
}

[[gnu::noinline]] kStatus EncodePngSteps(PngState* s)
{
    const kImageClass* img = s->source;
    int colour = PNG_COLOR_TYPE_GRAY, depth = 8;
    if (img->pixelType == kTypeOf(k16u))
        depth = 16;
    else if (img->pixelType == kTypeOf(kRgb))
        colour = PNG_COLOR_TYPE_RGB;
    else if (img->pixelType == kTypeOf(kArgb))
        colour = PNG_COLOR_TYPE_RGB_ALPHA;

    png_set_write_fn(s->png, s, PngWrite, PngFlush);
    png_set_IHDR(s->png, s->info, (png_uint_32)img->width, (png_uint_32)img->height, depth, colour,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(s->png, s->info);
    if (colour != PNG_COLOR_TYPE_GRAY) png_set_bgr(s->png);
    if (colour == PNG_COLOR_TYPE_RGB) png_set_filler(s->png, 0, PNG_FILLER_AFTER);
    if (depth == 16 && std::endian::native == std::endian::little) png_set_swap(s->png);
    for (kSize y = 0; y < img->height; ++y)
        png_write_row(s->png, img->data + y * img->stride);
    png_write_end(s->png, kNULL);
    return kOK;
}

kStatus EncodePngGuarded(PngState* s)
{
    if (setjmp(png_jmpbuf(s->png))) return PngResult(s);
    return EncodePngSteps(s);
}

kStatus EncodePng(const kImageClass* obj, kMemory memory)
{
    kType t = obj->pixelType;
    kCheckArgs(t == kTypeOf(k8u) || t == kTypeOf(k16u) || t == kTypeOf(kRgb) ||
               t == kTypeOf(kArgb));
    kCheckArgs(obj->width > 0 && obj->height > 0);
    kCheckArgs(obj->width <= PNG_USER_WIDTH_MAX && obj->height <= PNG_USER_HEIGHT_MAX);
    kCheck(kMemory_Allocate(memory, 0));

    PngState s = {};
    s.alloc = kObject_Alloc(memory);
    s.status = kOK;
    s.output = memory;
    s.source = obj;
    s.png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &s, PngError, PngWarning, &s,
                                      PngMalloc, PngFree);
    if (!s.png) return kSuccess(s.status) ? kSTATUS_MEMORY : s.status;
    s.info = png_create_info_struct(s.png);
    kStatus status = s.info ? EncodePngGuarded(&s) : kSTATUS_MEMORY;
    png_destroy_write_struct(&s.png, &s.info);
    return status;
}

/* File kind from the extension, in any letter case; 0 when neither. */
kImageFileFormat FormatOfPath(const kChar* path)
{
    const kChar* slash = strrchr(path, '/');
    const kChar* dot = strrchr(slash ? slash : path, '.');
    if (!dot) return 0;
    if (strcasecmp(dot, ".bmp") == 0) return kIMAGE_FILE_FORMAT_BMP;
    if (strcasecmp(dot, ".png") == 0) return kIMAGE_FILE_FORMAT_PNG;
    return 0;
}

} // namespace

/* ----- Files ------------------------------------------------------------------------------- */

kFx(kStatus) kImage_ImportBytes(kImage* image, const void* data, kSize size,
                                kImageFileFormat format, kAlloc allocator)
{
    kCheckArgs(image && (data || size == 0));
    *image = kNULL;
    kAlloc alloc = kAlloc_Fallback(allocator);
    const kByte* bytes = static_cast<const kByte*>(data);
    static const kByte empty = 0;
    if (!bytes) bytes = &empty;

    if (format == kIMAGE_FILE_FORMAT_BMP) return DecodeBmp(image, bytes, size, alloc);
    if (format == kIMAGE_FILE_FORMAT_PNG) return DecodePng(image, bytes, size, alloc);
    return kSTATUS_BAD_PARAMETER;
}

kFx(kStatus) kImage_ExportBytes(kImage image, kImageFileFormat format, kMemory memory)
{
    kObjR(kImage, image);
    kCheckArgs(kObject_Is(memory, kTypeOf(kMemory)));
    if (format == kIMAGE_FILE_FORMAT_BMP) return EncodeBmp(obj, memory);
    if (format == kIMAGE_FILE_FORMAT_PNG) return EncodePng(obj, memory);
    return kSTATUS_BAD_PARAMETER;
}

kFx(kStatus) kImage_Import(kImage* image, const kChar* path, kAlloc allocator)
{
    kCheckArgs(image && path);
    *image = kNULL;
    kImageFileFormat format = FormatOfPath(path);
    kCheckArgs(format != 0);
    kAlloc alloc = kAlloc_Fallback(allocator);

    FILE* file = fopen(path, "rb");
    if (!file) return kSTATUS_NOT_FOUND;
    struct stat info = {};
    kStatus status =
        fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode) ? kOK : kSTATUS_NOT_FOUND;
    kSize length = kSuccess(status) ? (kSize)info.st_size : 0;
    kByte* content = kNULL;
    if (kSuccess(status)) status = kAlloc_Get(alloc, length, &content);
    if (kSuccess(status) && fread(content, 1, length, file) != length) status = kSTATUS_STREAM;
    fclose(file);
    if (kSuccess(status)) status = kImage_ImportBytes(image, content, length, format, alloc);
    kAlloc_Free(alloc, content);
    return status;
}

kFx(kStatus) kImage_Export(kImage image, const kChar* path)
{
    kObjR(kImage, image);
    kCheckArgs(path);
    kImageFileFormat format = FormatOfPath(path);
    kCheckArgs(format != 0);

    kObjectGuard memory;
    kCheck(kMemory_Construct(&memory, obj->base.alloc));
    kCheck(kImage_ExportBytes(image, format, memory));

    FILE* file = fopen(path, "wb");
    if (!file) return kSTATUS_STREAM;
    kSize length = kMemory_Length(memory);
    bool written = fwrite(kMemory_At(memory, 0), 1, length, file) == length;
    bool closed = fclose(file) == 0;
    return written && closed ? kOK : kSTATUS_STREAM;
}
