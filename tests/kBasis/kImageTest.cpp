// Images: layout, attach/assign/clone, transpose against a direct loop, and BMP/PNG files
// checked against files built byte by byte here (stored deflate blocks, hand-made headers).
#include <kTestSupport.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace
{
typedef std::vector<kByte> Bytes;

kImage MakeImage(kType type, kSize width, kSize height, kAlloc alloc, kSize alignment = 1)
{
    kImage image = kNULL;
    EXPECT_EQ(kImage_ConstructEx(&image, type, width, height, alignment, alloc), kOK);
    return image;
}

/* Deterministic pixel bytes that differ from pixel to pixel and byte to byte. */
void FillPattern(kImage image, k32u seed = 1)
{
    k32u v = seed;
    for (kSize y = 0; y < kImage_Height(image); ++y)
    {
        kByte* row = static_cast<kByte*>(kImage_RowAt(image, y));
        for (kSize i = 0; i < kImage_Width(image) * kImage_PixelSize(image); ++i)
        {
            v = v * 1664525u + 1013904223u;
            row[i] = (kByte)(v >> 24);
        }
    }
}

bool SamePixels(kImage a, kImage b)
{
    if (kImage_PixelType(a) != kImage_PixelType(b) || kImage_Width(a) != kImage_Width(b) ||
        kImage_Height(a) != kImage_Height(b))
        return false;
    for (kSize y = 0; y < kImage_Height(a); ++y)
        if (memcmp(kImage_RowAt(a, y), kImage_RowAt(b, y), kImage_Width(a) * kImage_PixelSize(a)))
            return false;
    return true;
}

Bytes ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const Bytes& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), (std::streamsize)bytes.size());
}

Bytes Export(kImage image, kImageFileFormat format)
{
    kMemory memory = kNULL;
    EXPECT_EQ(kMemory_Construct(&memory, kNULL), kOK);
    EXPECT_EQ(kImage_ExportBytes(image, format, memory), kOK);
    const kByte* at = static_cast<const kByte*>(kMemory_At(memory, 0));
    Bytes bytes(at, at + kMemory_Length(memory));
    kObject_Destroy(memory);
    return bytes;
}

kStatus Import(const Bytes& bytes, kImageFileFormat format, kImage* image, kAlloc alloc = kNULL)
{
    return kImage_ImportBytes(image, bytes.data(), bytes.size(), format, alloc);
}

/* ----- Independent file builders ----- */

void Put(Bytes& b, k64u v, int n, bool bigEndian)
{
    for (int i = 0; i < n; ++i)
        b.push_back((kByte)(v >> (8 * (bigEndian ? n - 1 - i : i))));
}

k32u Crc32(const kByte* p, kSize n)
{
    k32u c = 0xFFFFFFFFu;
    for (kSize i = 0; i < n; ++i)
    {
        c ^= p[i];
        for (int k = 0; k < 8; ++k)
            c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
    }
    return ~c;
}

void Chunk(Bytes& png, const char* type, const Bytes& data)
{
    Put(png, data.size(), 4, true);
    Bytes body(type, type + 4);
    body.insert(body.end(), data.begin(), data.end());
    png.insert(png.end(), body.begin(), body.end());
    Put(png, Crc32(body.data(), body.size()), 4, true);
}

/* A PNG whose pixel stream (filter byte 0 per row, already packed) is held in stored deflate
   blocks, so no compressor is involved. Extra chunks go between IHDR and IDAT. */
Bytes BuildPng(k32u width, k32u height, int depth, int colour, const std::vector<Bytes>& rows,
               const std::vector<std::pair<const char*, Bytes>>& extra = {}, kByte interlace = 0)
{
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    Bytes ihdr;
    Put(ihdr, width, 4, true);
    Put(ihdr, height, 4, true);
    ihdr.insert(ihdr.end(), {(kByte)depth, (kByte)colour, 0, 0, interlace});
    Chunk(png, "IHDR", ihdr);
    for (const auto& e : extra)
        Chunk(png, e.first, e.second);

    Bytes raw;
    for (const Bytes& row : rows)
    {
        raw.push_back(0);
        raw.insert(raw.end(), row.begin(), row.end());
    }
    Bytes z = {0x78, 0x01, 0x01}; // zlib header, one final stored block
    Put(z, raw.size(), 2, false);
    Put(z, (~raw.size()) & 0xFFFF, 2, false);
    z.insert(z.end(), raw.begin(), raw.end());
    k32u a = 1, b = 0;
    for (kByte v : raw)
        a = (a + v) % 65521, b = (b + a) % 65521;
    Put(z, (k64u)b << 16 | a, 4, true);
    Chunk(png, "IDAT", z);
    Chunk(png, "IEND", {});
    return png;
}

/* A BMP with a 40-byte info header. */
Bytes BuildBmp(k32s width, k32s height, int bits, k32u compression, const Bytes& tables,
               const std::vector<Bytes>& fileRows, k32u paletteCount = 0)
{
    Bytes bmp = {'B', 'M'};
    k64u offset = 14 + 40 + tables.size();
    k64u stride = ((k64u)width * bits + 31) / 32 * 4;
    Put(bmp, offset + stride * fileRows.size(), 4, false);
    Put(bmp, 0, 4, false);
    Put(bmp, offset, 4, false);
    Put(bmp, 40, 4, false);
    Put(bmp, (k32u)width, 4, false);
    Put(bmp, (k32u)height, 4, false);
    Put(bmp, 1, 2, false);
    Put(bmp, bits, 2, false);
    Put(bmp, compression, 4, false);
    Put(bmp, 0, 4, false); // image size (may be 0 for BI_RGB)
    Put(bmp, 0, 4, false);
    Put(bmp, 0, 4, false);
    Put(bmp, paletteCount, 4, false);
    Put(bmp, 0, 4, false);
    bmp.insert(bmp.end(), tables.begin(), tables.end());
    for (const Bytes& row : fileRows)
    {
        bmp.insert(bmp.end(), row.begin(), row.end());
        bmp.resize(bmp.size() + (stride - row.size()), 0);
    }
    return bmp;
}
} // namespace

TEST(Image, ConstructLaysOutRowsAndDefaultsTheFormat)
{
    ktest::CountingAlloc alloc;
    kImage image = MakeImage(kTypeOf(k16u), 7, 3, alloc);
    EXPECT_EQ(kObject_Type(image), kTypeOf(kImage));
    EXPECT_EQ(kImage_PixelType(image), kTypeOf(k16u));
    EXPECT_EQ(kImage_PixelSize(image), 2u);
    EXPECT_EQ(kImage_Width(image), 7u);
    EXPECT_EQ(kImage_Height(image), 3u);
    EXPECT_EQ(kImage_Area(image), 21u);
    EXPECT_EQ(kImage_Stride(image), 14u);
    EXPECT_EQ(kImage_Alignment(image), 1u);
    EXPECT_EQ(kImage_PixelFormat(image), kPIXEL_FORMAT_16BPP_GREYSCALE);
    EXPECT_FALSE(kImage_IsAttached(image));
    EXPECT_EQ(kObject_Size(image), kType_InnerSize(kTypeOf(kImage)) + 42u);
    for (kSize y = 0; y < 3; ++y)
        for (kSize x = 0; x < 7; ++x)
            EXPECT_EQ(*kImage_AtT<k16u>(image, x, y), 0);
    EXPECT_EQ(kImage_At(image, 6, 2), kImage_DataAt(image, 2 * 14 + 6 * 2));
    EXPECT_EQ(kImage_At(image, 7, 0), nullptr);
    EXPECT_EQ(kImage_At(image, 0, 3), nullptr);
    EXPECT_EQ(kImage_RowAt(image, 3), nullptr);
    kObject_Destroy(image);

    struct
    {
        kType type;
        kPixelFormat format;
    } defaults[] = {{kTypeOf(k8u), kPIXEL_FORMAT_8BPP_GREYSCALE},
                    {kTypeOf(kRgb), kPIXEL_FORMAT_8BPC_BGRX},
                    {kTypeOf(kArgb), kPIXEL_FORMAT_8BPC_BGRA},
                    {kTypeOf(k32f), kPIXEL_FORMAT_NULL},
                    {kTypeOf(k16s), kPIXEL_FORMAT_NULL}};
    for (const auto& d : defaults)
    {
        image = MakeImage(d.type, 2, 2, alloc);
        EXPECT_EQ(kImage_PixelFormat(image), d.format) << kType_Name(d.type);
        kObject_Destroy(image);
    }

    kImage empty = MakeImage(kTypeOf(k64f), 0, 5, alloc);
    EXPECT_EQ(kImage_Data(empty), nullptr);
    EXPECT_EQ(kImage_Area(empty), 0u);
    kObject_Destroy(empty);
}

TEST(Image, BadArgumentsAreRefused)
{
    ktest::CountingAlloc alloc;
    kImage image = reinterpret_cast<kImage>(0x1);
    EXPECT_EQ(kImage_Construct(&image, kTypeOf(kMemory), 2, 2, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(kImage_Construct(&image, kTypeOf(kVoid), 2, 2, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Construct(&image, kTypeOf(k64f), kSIZE_MAX / 4, 2, alloc),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Construct(&image, kTypeOf(k8u), kSIZE_MAX / 2, 3, alloc),
              kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_ConstructEx(&image, kTypeOf(k8u), 2, 2, 24, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_ConstructEx(&image, kTypeOf(k8u), kSIZE_MAX - 2, 1, 64, alloc),
              kSTATUS_BAD_PARAMETER);

    image = MakeImage(kTypeOf(k8u), 4, 4, alloc);
    k8u pixel = 9;
    EXPECT_EQ(kImage_SetPixel(image, 4, 0, &pixel), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_GetPixel(image, 0, 4, &pixel), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Allocate(image, kTypeOf(kMemory), 1, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Width(image), 4u); // unchanged
    EXPECT_EQ(kImage_Attach(image, &pixel, kTypeOf(k8u), 2, 1, 1), kSTATUS_BAD_PARAMETER); // stride
    EXPECT_EQ(kImage_Attach(image, kNULL, kTypeOf(k8u), 1, 1, 1), kSTATUS_BAD_PARAMETER);
    {
        ktest::CastFailCapture capture;
        EXPECT_EQ(kImage_Assign(image, alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(kImage_Zero(alloc.get()), kSTATUS_BAD_PARAMETER);
        EXPECT_EQ(capture.Count(), 2);
    }
    kObject_Destroy(image);
}

TEST(Image, AlignedRowsArePaddedAndStartAligned)
{
    ktest::CountingAlloc alloc;
    for (kSize alignment : {8u, 64u, 256u})
    {
        kImage image = MakeImage(kTypeOf(kRgb24), 5, 4, alloc, alignment);
        EXPECT_EQ(kImage_Alignment(image), alignment);
        EXPECT_EQ(kImage_Stride(image), (15 + alignment - 1) / alignment * alignment);
        for (kSize y = 0; y < 4; ++y)
            EXPECT_EQ(reinterpret_cast<uintptr_t>(kImage_RowAt(image, y)) % alignment, 0u);

        /* Allocate keeps the alignment; a buffer big enough is kept. */
        void* before = kImage_Data(image);
        ASSERT_EQ(kImage_Allocate(image, kTypeOf(k8u), 3, 2), kOK);
        EXPECT_EQ(kImage_Data(image), before);
        EXPECT_EQ(kImage_Stride(image), kMax_(alignment, (kSize)3));
        EXPECT_EQ(kImage_PixelFormat(image), kPIXEL_FORMAT_8BPP_GREYSCALE);
        ASSERT_EQ(kImage_Allocate(image, kTypeOf(k64f), 100, 9), kOK);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(kImage_Data(image)) % alignment, 0u);
        EXPECT_EQ(kImage_Stride(image) % alignment, 0u);
        kObject_Destroy(image);
    }
}

TEST(Image, AttachWrapsExternalPixelsWithoutOwningThem)
{
    ktest::CountingAlloc alloc;
    std::vector<k16s> pixels(5 * 4, 7); // 3 × 4 pixels, rows of 5
    kImage image = MakeImage(kTypeOf(k8u), 8, 8, alloc);
    kSize outstanding = alloc.Outstanding();
    ASSERT_EQ(kImage_Attach(image, pixels.data(), kTypeOf(k16s), 3, 4, 10), kOK);
    EXPECT_EQ(alloc.Outstanding(), outstanding - 1); // own buffer gone
    EXPECT_TRUE(kImage_IsAttached(image));
    EXPECT_NE(kObject_AllocTraits(image) & kALLOC_TRAIT_FOREIGN, 0u);
    EXPECT_EQ(kImage_Stride(image), 10u);
    EXPECT_EQ(kImage_At(image, 2, 3), &pixels[3 * 5 + 2]);

    /* Zero clears the pixels, not the padding that belongs to the caller. */
    ASSERT_EQ(kImage_Zero(image), kOK);
    for (kSize y = 0; y < 4; ++y)
        for (kSize x = 0; x < 5; ++x)
            EXPECT_EQ(pixels[y * 5 + x], x < 3 ? 0 : 7);

    k16s value = -3;
    ASSERT_EQ(kImage_SetPixel(image, 1, 2, &value), kOK);
    EXPECT_EQ(pixels[2 * 5 + 1], -3);

    /* A clone owns a compact copy; the original memory is never freed by the image. */
    kImage copy = kNULL;
    ASSERT_EQ(kObject_Clone(&copy, image, alloc), kOK);
    EXPECT_FALSE(kImage_IsAttached(copy));
    EXPECT_EQ(kImage_Stride(copy), 6u);
    EXPECT_TRUE(SamePixels(copy, image));
    EXPECT_EQ(kObject_AllocTraits(copy) & kALLOC_TRAIT_FOREIGN, 0u);

    ASSERT_EQ(kImage_Allocate(image, kTypeOf(k16s), 3, 4), kOK);
    EXPECT_FALSE(kImage_IsAttached(image));
    EXPECT_NE(kImage_Data(image), pixels.data());
    kObject_Destroy(copy);
    kObject_Destroy(image);
}

TEST(Image, AssignAndCloneCopyDeeply)
{
    ktest::CountingAlloc alloc;
    kImage source = MakeImage(kTypeOf(kRgb), 9, 5, alloc, 64);
    FillPattern(source);
    ASSERT_EQ(kImage_SetPixelFormat(source, kPIXEL_FORMAT_NULL), kOK);

    kImage target = MakeImage(kTypeOf(k8u), 1, 1, alloc);
    ASSERT_EQ(kImage_Assign(target, source), kOK);
    EXPECT_TRUE(SamePixels(target, source));
    EXPECT_EQ(kImage_Stride(target), 36u); // the target's own (unpadded) layout
    EXPECT_EQ(kImage_PixelFormat(target), kPIXEL_FORMAT_NULL);
    EXPECT_EQ(kImage_Assign(target, target), kOK);
    EXPECT_TRUE(SamePixels(target, source));

    kImage clone = kNULL;
    ASSERT_EQ(kObject_Clone(&clone, source, alloc), kOK);
    EXPECT_EQ(kImage_Alignment(clone), 64u);
    EXPECT_TRUE(SamePixels(clone, source));
    kRgb red = {0, 0, 255, 0};
    ASSERT_EQ(kImage_SetPixel(clone, 0, 0, &red), kOK);
    EXPECT_FALSE(SamePixels(clone, source));
    kRgb back = {};
    ASSERT_EQ(kImage_GetPixel(clone, 0, 0, &back), kOK);
    EXPECT_EQ(back.r, 255);

    kObject_Destroy(clone);
    kObject_Destroy(target);
    kObject_Destroy(source);
}

TEST(Image, PixelFormatMustFitThePixelSize)
{
    ktest::CountingAlloc alloc;
    kImage grey = MakeImage(kTypeOf(k8u), 2, 2, alloc);
    kImage rgb = MakeImage(kTypeOf(kRgb), 2, 2, alloc);
    EXPECT_EQ(kImage_SetPixelFormat(grey, kPIXEL_FORMAT_8BPP_CFA), kOK);
    EXPECT_EQ(kImage_PixelFormat(grey), kPIXEL_FORMAT_8BPP_CFA);
    EXPECT_EQ(kImage_SetPixelFormat(grey, kPIXEL_FORMAT_8BPC_BGRX), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_SetPixelFormat(grey, 99), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_SetPixelFormat(rgb, kPIXEL_FORMAT_8BPC_BGRA), kOK);
    EXPECT_EQ(kImage_SetPixelFormat(rgb, kPIXEL_FORMAT_16BPP_CFA), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_PixelFormat(rgb), kPIXEL_FORMAT_8BPC_BGRA);

    EXPECT_TRUE(kType_IsEnum(kTypeOf(kPixelFormat)));
    EXPECT_STREQ(kType_EnumeratorName(kTypeOf(kPixelFormat), kPIXEL_FORMAT_16BPP_GREYSCALE),
                 "kPIXEL_FORMAT_16BPP_GREYSCALE");
    kObject_Destroy(grey);
    kObject_Destroy(rgb);
}

TEST(Image, ConstructorsCloneAndFilesReleaseEverythingOnAllocationFailure)
{
    EXPECT_EQ(ktest::ExpectCleanFailures(
                  [](kAlloc a, kObject* out)
                  { return kImage_ConstructEx(out, kTypeOf(k32f), 13, 7, 32, a); }),
              2u); // instance, pixels

    ktest::CountingAlloc alloc;
    kImage source = MakeImage(kTypeOf(k16u), 33, 17, alloc);
    FillPattern(source);
    EXPECT_EQ(ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                                         { return kObject_Clone(out, source, a); }),
              2u);

    for (kImageFileFormat format : {kIMAGE_FILE_FORMAT_BMP, kIMAGE_FILE_FORMAT_PNG})
    {
        kImage picture = MakeImage(kTypeOf(kArgb), 21, 11, alloc);
        FillPattern(picture, 7);
        Bytes file = Export(picture, format);
        kSize steps = ktest::ExpectCleanFailures(
            [&](kAlloc a, kObject* out)
            {
                kStatus status = Import(file, format, out, a);
                EXPECT_TRUE(!kSuccess(status) || SamePixels(*out, picture));
                return status;
            });
        EXPECT_GE(steps, format == kIMAGE_FILE_FORMAT_PNG ? 6u : 2u);

        /* Export into memory of a failing allocator: the memory object is all that is left. */
        ktest::ExpectCleanFailures(
            [&](kAlloc a, kObject* out)
            {
                kMemory memory = kNULL;
                kCheck(kMemory_Construct(&memory, a));
                kStatus status = kImage_ExportBytes(picture, format, memory);
                if (!kSuccess(status))
                    kObject_Destroy(memory);
                else
                    *out = memory;
                return status;
            });
        kObject_Destroy(picture);
    }
    kObject_Destroy(source);

    ktest::TempDir dir;
    kImage small = MakeImage(kTypeOf(k8u), 5, 3, alloc);
    ASSERT_EQ(kImage_Export(small, dir.File("small.png").c_str()), kOK);
    kObject_Destroy(small);
    ktest::ExpectCleanFailures([&](kAlloc a, kObject* out)
                               { return kImage_Import(out, dir.File("small.png").c_str(), a); });
}

/* ----- Transpose ----- */

TEST(ImageTranspose, MatchesADirectLoopForEveryPixelSizeAndOddShapes)
{
    const kSize sizes[][2] = {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {31, 33}, {33, 65}, {70, 3}, {5, 97}};
    for (kSize pixelSize : {1u, 2u, 3u, 4u, 5u, 6u, 8u, 12u, 16u, 24u})
    {
        for (const auto& s : sizes)
        {
            kSize w = s[0], h = s[1];
            kSize srcStride = w * pixelSize + 3, dstStride = h * pixelSize + 5; // odd padding
            std::vector<kByte> src(srcStride * h), dst(dstStride * w, 0xEE);
            for (kSize i = 0; i < src.size(); ++i)
                src[i] = (kByte)(i * 131 + i / 7);
            ASSERT_EQ(
                kIpp_TransposeData(src.data(), srcStride, dst.data(), dstStride, w, h, pixelSize),
                kOK);
            for (kSize y = 0; y < h; ++y)
                for (kSize x = 0; x < w; ++x)
                    for (kSize b = 0; b < pixelSize; ++b)
                        ASSERT_EQ(dst[x * dstStride + y * pixelSize + b],
                                  src[y * srcStride + x * pixelSize + b])
                            << pixelSize << "-byte pixels, " << w << "x" << h << " at " << x << ","
                            << y;
            for (kSize x = 0; x < w; ++x) // padding untouched
                for (kSize p = h * pixelSize; p < dstStride; ++p)
                    ASSERT_EQ(dst[x * dstStride + p], 0xEE);
        }
    }
}

TEST(ImageTranspose, ImageFormChecksShapesAndTypes)
{
    ktest::CountingAlloc alloc;
    kImage source = MakeImage(kTypeOf(kPoint3d16s), 13, 6, alloc, 16);
    FillPattern(source);
    kImage target = MakeImage(kTypeOf(kPoint3d16s), 6, 13, alloc);
    ASSERT_EQ(kIpp_Transpose(source, target), kOK);
    for (kSize y = 0; y < 6; ++y)
        for (kSize x = 0; x < 13; ++x)
            ASSERT_EQ(memcmp(kImage_At(target, y, x), kImage_At(source, x, y), 6), 0);

    kImage wrongType = MakeImage(kTypeOf(k16u), 6, 13, alloc);
    kImage wrongShape = MakeImage(kTypeOf(kPoint3d16s), 13, 6, alloc);
    EXPECT_EQ(kIpp_Transpose(source, wrongType), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kIpp_Transpose(source, wrongShape), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kIpp_Transpose(source, source), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kIpp_Transpose(source, kNULL), kSTATUS_BAD_PARAMETER);
    k8u one = 0;
    EXPECT_EQ(kIpp_TransposeData(&one, 1, &one, 1, 1, 1, 0), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kIpp_TransposeData(&one, 1, &one, 1, 2, 1, 1), kSTATUS_BAD_PARAMETER); // src stride
    EXPECT_EQ(kIpp_TransposeData(&one, 1, &one, 1, 1, 2, 1), kSTATUS_BAD_PARAMETER); // dst stride
    EXPECT_EQ(kIpp_TransposeData(kNULL, 1, &one, 1, 1, 1, 1), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kIpp_TransposeData(kNULL, 0, kNULL, 0, 0, 9, 4), kOK); // nothing to move

    kObject_Destroy(wrongType);
    kObject_Destroy(wrongShape);
    kObject_Destroy(target);
    kObject_Destroy(source);
}

/* ----- Files ----- */

TEST(ImageFiles, RoundTripsKeepEveryPixelInBothFormats)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    struct Case
    {
        kType type;
        const char* name;
    } cases[] = {{kTypeOf(k8u), "grey8.bmp"},   {kTypeOf(k8u), "grey8.png"},
                 {kTypeOf(k16u), "grey16.PNG"}, {kTypeOf(kRgb), "rgb.BMP"},
                 {kTypeOf(kRgb), "rgb.png"},    {kTypeOf(kArgb), "argb.bmp"},
                 {kTypeOf(kArgb), "argb.Png"}};
    for (const Case& c : cases)
    {
        for (kSize width : {1u, 2u, 3u, 5u, 38u})
        {
            /* Padded rows in memory; BMP rows padded to 4 bytes in the file. */
            kImage image = MakeImage(c.type, width, 7, alloc, 16);
            FillPattern(image, (k32u)width);
            if (c.type == kTypeOf(kRgb))
                for (kSize y = 0; y < 7; ++y)
                    for (kSize x = 0; x < width; ++x)
                        kImage_AtT<kRgb>(image, x, y)->x = 0; // not stored

            std::string path = dir.File(std::to_string(width) + c.name);
            ASSERT_EQ(kImage_Export(image, path.c_str()), kOK) << path;
            kImage read = kNULL;
            ASSERT_EQ(kImage_Import(&read, path.c_str(), alloc), kOK) << path;
            EXPECT_TRUE(SamePixels(read, image)) << path;
            EXPECT_EQ(kImage_Stride(read), width * kImage_PixelSize(image));
            EXPECT_EQ(kImage_PixelFormat(read), kImage_PixelFormat(image));
            kObject_Destroy(read);
            kObject_Destroy(image);
        }
    }
}

TEST(ImageFiles, FilesMatchIndependentlyBuiltReferences)
{
    ktest::CountingAlloc alloc;
    kImage image = MakeImage(kTypeOf(k8u), 3, 2, alloc);
    const k8u pixels[2][3] = {{0, 128, 255}, {10, 20, 30}};
    for (kSize y = 0; y < 2; ++y)
        for (kSize x = 0; x < 3; ++x)
            kImage_SetPixel(image, x, y, &pixels[y][x]);

    /* Our BMP is exactly the textbook layout: grey ramp palette, bottom-up rows of 4 bytes. */
    Bytes ramp;
    for (int i = 0; i < 256; ++i)
        ramp.insert(ramp.end(), {(kByte)i, (kByte)i, (kByte)i, 0});
    Bytes bmp = BuildBmp(3, 2, 8, 0, ramp, {{10, 20, 30}, {0, 128, 255}}, 256);
    Bytes written = Export(image, kIMAGE_FILE_FORMAT_BMP);
    ASSERT_EQ(written.size(), bmp.size());
    for (kSize i = 0; i < bmp.size(); ++i)
        EXPECT_TRUE((i >= 34 && i < 46) || written[i] == bmp[i])
            << "byte " << i; // size, resolution
    kObject_Destroy(image);

    /* Hand-made PNGs through every colour type the reader converts. */
    struct PngCase
    {
        const char* name;
        Bytes file;
        kType type;
        std::vector<k32u> expect; // per pixel: k8u/k16u value, or 0xAARRGGBB / 0x00RRGGBB
    } cases[] = {
        {"grey 1-bit", BuildPng(3, 1, 1, 0, {{0xA0}}), kTypeOf(k8u), {255, 0, 255}},
        {"grey 4-bit", BuildPng(2, 1, 4, 0, {{0x3F}}), kTypeOf(k8u), {0x33, 0xFF}},
        {"grey 16-bit",
         BuildPng(2, 1, 16, 0, {{0x12, 0x34, 0xFE, 0xDC}}),
         kTypeOf(k16u),
         {0x1234, 0xFEDC}},
        {"rgb 16-bit",
         BuildPng(1, 1, 16, 2, {{0x11, 0x99, 0x22, 0x88, 0x33, 0x77}}),
         kTypeOf(kRgb),
         {0x112233}},
        {"grey+alpha", BuildPng(1, 1, 8, 4, {{0x40, 0x80}}), kTypeOf(kArgb), {0x80404040}},
        {"palette",
         BuildPng(2, 1, 8, 3, {{1, 0}}, {{"PLTE", {1, 2, 3, 4, 5, 6}}}),
         kTypeOf(kRgb),
         {0x040506, 0x010203}},
        {"palette+tRNS",
         BuildPng(2, 1, 8, 3, {{1, 0}}, {{"PLTE", {1, 2, 3, 4, 5, 6}}, {"tRNS", {0x10}}}),
         kTypeOf(kArgb),
         {0xFF040506, 0x10010203}},
        {"rgba", BuildPng(1, 1, 8, 6, {{9, 8, 7, 6}}), kTypeOf(kArgb), {0x06090807}},
    };
    for (const PngCase& c : cases)
    {
        kImage read = kNULL;
        ASSERT_EQ(Import(c.file, kIMAGE_FILE_FORMAT_PNG, &read, alloc), kOK) << c.name;
        ASSERT_EQ(kImage_PixelType(read), c.type) << c.name;
        ASSERT_EQ(kImage_Width(read), c.expect.size()) << c.name;
        for (kSize x = 0; x < c.expect.size(); ++x)
        {
            k32u got = 0;
            if (c.type == kTypeOf(k8u))
                got = *kImage_AtT<k8u>(read, x, 0);
            else if (c.type == kTypeOf(k16u))
                got = *kImage_AtT<k16u>(read, x, 0);
            else if (c.type == kTypeOf(kRgb))
            {
                kRgb p = *kImage_AtT<kRgb>(read, x, 0);
                got = (k32u)p.r << 16 | p.g << 8 | p.b;
                EXPECT_EQ(p.x, 0);
            }
            else
            {
                kArgb p = *kImage_AtT<kArgb>(read, x, 0);
                got = (k32u)p.a << 24 | (k32u)p.r << 16 | p.g << 8 | p.b;
            }
            EXPECT_EQ(got, c.expect[x]) << c.name << " pixel " << x;
        }
        kObject_Destroy(read);
    }
}

TEST(ImageFiles, InterlacedPngIsAssembledFromItsSevenPasses)
{
    /* 3 × 3 grey, Adam7: passes 1, 4, 5, 6, 7 hold pixels; 2 and 3 are empty at this size. */
    Bytes file = BuildPng(3, 3, 8, 0, {{10}, {12}, {30, 32}, {11}, {31}, {20, 21, 22}}, {}, 1);
    ktest::CountingAlloc alloc;
    kImage read = kNULL;
    ASSERT_EQ(Import(file, kIMAGE_FILE_FORMAT_PNG, &read, alloc), kOK);
    for (kSize y = 0; y < 3; ++y)
        for (kSize x = 0; x < 3; ++x)
            EXPECT_EQ(*kImage_AtT<k8u>(read, x, y), 10 * (y + 1) + x);
    kObject_Destroy(read);
}

TEST(ImageFiles, HandMadeBmpLayoutsDecode)
{
    ktest::CountingAlloc alloc;
    kImage read = kNULL;

    /* Top-down 24-bit: the first file row is the top row. */
    Bytes topDown = BuildBmp(2, -2, 24, 0, {}, {{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}});
    ASSERT_EQ(Import(topDown, kIMAGE_FILE_FORMAT_BMP, &read, alloc), kOK);
    ASSERT_EQ(kImage_PixelType(read), kTypeOf(kRgb));
    EXPECT_EQ(kImage_AtT<kRgb>(read, 1, 0)->r, 6);
    EXPECT_EQ(kImage_AtT<kRgb>(read, 0, 1)->b, 7);
    kObject_Destroy(read);

    /* Colour palette: two entries listed, indices past them read as black. */
    Bytes palette = {10, 20, 30, 0, 40, 50, 60, 0};
    Bytes colour = BuildBmp(3, 1, 8, 0, palette, {{1, 0, 200}}, 2);
    ASSERT_EQ(Import(colour, kIMAGE_FILE_FORMAT_BMP, &read, alloc), kOK);
    ASSERT_EQ(kImage_PixelType(read), kTypeOf(kRgb));
    EXPECT_EQ(kImage_AtT<kRgb>(read, 0, 0)->g, 50);
    EXPECT_EQ(kImage_AtT<kRgb>(read, 1, 0)->r, 30);
    EXPECT_EQ(kImage_AtT<kRgb>(read, 2, 0)->b, 0);
    kObject_Destroy(read);

    /* Grey palette that is not the identity ramp: the palette is applied. */
    Bytes inverted;
    for (int i = 0; i < 256; ++i)
        inverted.insert(inverted.end(), {(kByte)(255 - i), (kByte)(255 - i), (kByte)(255 - i), 0});
    ASSERT_EQ(
        Import(BuildBmp(2, 1, 8, 0, inverted, {{0, 55}}), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
        kOK);
    ASSERT_EQ(kImage_PixelType(read), kTypeOf(k8u));
    EXPECT_EQ(*kImage_AtT<k8u>(read, 0, 0), 255);
    EXPECT_EQ(*kImage_AtT<k8u>(read, 1, 0), 200);
    kObject_Destroy(read);

    /* 32-bit BI_BITFIELDS with the standard masks. */
    Bytes masks;
    Put(masks, 0x00FF0000, 4, false);
    Put(masks, 0x0000FF00, 4, false);
    Put(masks, 0x000000FF, 4, false);
    ASSERT_EQ(
        Import(BuildBmp(1, 1, 32, 3, masks, {{1, 2, 3, 4}}), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
        kOK);
    EXPECT_EQ(kImage_AtT<kArgb>(read, 0, 0)->a, 4);
    kObject_Destroy(read);

    /* Layouts this reader does not take. */
    Bytes odd;
    Put(odd, 0x0000001F, 4, false);
    Put(odd, 0x000003E0, 4, false);
    Put(odd, 0x00007C00, 4, false);
    EXPECT_EQ(
        Import(BuildBmp(1, 1, 32, 3, odd, {{1, 2, 3, 4}}), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
        kSTATUS_BAD_FORMAT);
    EXPECT_EQ(
        Import(BuildBmp(2, 1, 16, 0, {}, {{1, 2, 3, 4}}), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
        kSTATUS_BAD_FORMAT);
    EXPECT_EQ(
        Import(BuildBmp(2, 1, 8, 1, inverted, {{0, 1}}), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
        kSTATUS_BAD_FORMAT); // RLE8
    EXPECT_EQ(Import(BuildBmp(0, 1, 24, 0, {}, {{}}), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
              kSTATUS_BAD_FORMAT);
    EXPECT_EQ(
        Import(BuildBmp(2, 1, 8, 0, inverted, {{0, 1}}, 300), kIMAGE_FILE_FORMAT_BMP, &read, alloc),
        kSTATUS_BAD_FORMAT);
    /* BI_BITFIELDS with a 44-byte header: no room for the masks inside it, none after it. The
       red mask sits where a 40-byte header's would, and the file ends after it. */
    Bytes shortHeader = BuildBmp(1, 1, 32, 3, {0x00, 0x00, 0xFF, 0x00}, {});
    shortHeader[14] = 44;
    std::unique_ptr<kByte[]> exact(new kByte[shortHeader.size()]); // ASan sees a read past it
    memcpy(exact.get(), shortHeader.data(), shortHeader.size());
    EXPECT_EQ(
        kImage_ImportBytes(&read, exact.get(), shortHeader.size(), kIMAGE_FILE_FORMAT_BMP, alloc),
        kSTATUS_BAD_FORMAT);
    EXPECT_EQ(read, nullptr);
}

TEST(ImageFiles, TruncatedCorruptAndForeignFilesAreRefusedCleanly)
{
    ktest::CountingAlloc alloc;
    kImage image = MakeImage(kTypeOf(kRgb), 6, 5, alloc);
    FillPattern(image);
    kImage read = kNULL;

    for (kImageFileFormat format : {kIMAGE_FILE_FORMAT_BMP, kIMAGE_FILE_FORMAT_PNG})
    {
        Bytes file = Export(image, format);
        kSize complete =
            file.size() - (format == kIMAGE_FILE_FORMAT_BMP ? 2 : 0); // last row's padding may go
        for (kSize length = 0; length < complete; ++length)
        {
            Bytes cut(file.begin(), file.begin() + (kSSize)length);
            ASSERT_EQ(Import(cut, format, &read, alloc), kSTATUS_INCOMPLETE)
                << "format " << format << ", " << length << " bytes";
            ASSERT_EQ(read, nullptr);
        }
        /* Single corrupted bytes: any outcome but a crash, a leak or a half-made image. */
        for (kSize at = 0; at < file.size(); ++at)
        {
            Bytes bad = file;
            bad[at] ^= 0x5A;
            kStatus status = Import(bad, format, &read, alloc);
            EXPECT_TRUE(status == kOK || status == kSTATUS_BAD_FORMAT ||
                        status == kSTATUS_INCOMPLETE)
                << status;
            EXPECT_EQ(read == nullptr, status != kOK);
            kDestroyRef(&read);
        }
        Bytes text = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd', '\n'};
        EXPECT_EQ(Import(text, format, &read, alloc), kSTATUS_BAD_FORMAT);
        Bytes other = Export(image, format == kIMAGE_FILE_FORMAT_BMP ? kIMAGE_FILE_FORMAT_PNG
                                                                     : kIMAGE_FILE_FORMAT_BMP);
        EXPECT_EQ(Import(other, format, &read, alloc), kSTATUS_BAD_FORMAT);
    }

    /* A PNG whose pixel data sits in the IDAT CRC region is caught by the checksum. */
    Bytes png = Export(image, kIMAGE_FILE_FORMAT_PNG);
    png[png.size() - 12 - 5] ^= 0x01; // last byte of the IDAT payload (before CRC and IEND)
    EXPECT_EQ(Import(png, kIMAGE_FILE_FORMAT_PNG, &read, alloc), kSTATUS_BAD_FORMAT);

    /* A header promising far more pixels than the data could hold is refused before allocating. */
    Bytes huge = BuildPng(100000, 100000, 8, 6, {{0, 0, 0, 0}});
    EXPECT_EQ(Import(huge, kIMAGE_FILE_FORMAT_PNG, &read, alloc), kSTATUS_INCOMPLETE);
    Bytes tall = BuildBmp(4000, 4000, 24, 0, {}, {{1, 2, 3}});
    EXPECT_EQ(Import(tall, kIMAGE_FILE_FORMAT_BMP, &read, alloc), kSTATUS_INCOMPLETE);
    /* Pixel data that runs out inside a complete stream. */
    Bytes shortRows = BuildPng(4, 2, 8, 0, {{1, 2, 3, 4}});
    EXPECT_EQ(Import(shortRows, kIMAGE_FILE_FORMAT_PNG, &read, alloc), kSTATUS_BAD_FORMAT);
    EXPECT_EQ(kImage_ImportBytes(&read, kNULL, 0, kIMAGE_FILE_FORMAT_PNG, alloc),
              kSTATUS_INCOMPLETE);
    EXPECT_EQ(kImage_ImportBytes(&read, png.data(), png.size(), 7, alloc), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(read, nullptr);
    kObject_Destroy(image);
}

TEST(ImageFiles, PathsAndPixelTypesOutsideTheFormatsAreRefused)
{
    ktest::CountingAlloc alloc;
    ktest::TempDir dir;
    kImage read = kNULL;
    kImage grey16 = MakeImage(kTypeOf(k16u), 2, 2, alloc);
    kImage real = MakeImage(kTypeOf(k32f), 2, 2, alloc);
    kImage empty = MakeImage(kTypeOf(k8u), 0, 0, alloc);

    EXPECT_EQ(kImage_Export(grey16, dir.File("a.bmp").c_str()), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Export(real, dir.File("a.png").c_str()), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Export(empty, dir.File("a.png").c_str()), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Export(grey16, dir.File("a.jpg").c_str()), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Export(grey16, dir.File("png").c_str()), kSTATUS_BAD_PARAMETER);
    EXPECT_EQ(kImage_Export(grey16, dir.File("missing/a.png").c_str()), kSTATUS_STREAM);

    EXPECT_EQ(kImage_Import(&read, dir.File("nothing.png").c_str(), alloc), kSTATUS_NOT_FOUND);
    EXPECT_EQ(kImage_Import(&read, dir.File("a.tif").c_str(), alloc), kSTATUS_BAD_PARAMETER);
    std::string folder = dir.File("folder.bmp");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    EXPECT_EQ(kImage_Import(&read, folder.c_str(), alloc), kSTATUS_NOT_FOUND);
    WriteFile(dir.File("text.png"), {'#', '!', '/', 'b', 'i', 'n'});
    EXPECT_EQ(kImage_Import(&read, dir.File("text.png").c_str(), alloc), kSTATUS_BAD_FORMAT);
    WriteFile(dir.File("empty.bmp"), {});
    EXPECT_EQ(kImage_Import(&read, dir.File("empty.bmp").c_str(), alloc), kSTATUS_INCOMPLETE);
    EXPECT_EQ(read, nullptr);

    /* The file written is exactly the in-memory encoding. */
    ASSERT_EQ(kImage_Export(grey16, dir.File("g.png").c_str()), kOK);
    EXPECT_EQ(ReadFile(dir.File("g.png")), Export(grey16, kIMAGE_FILE_FORMAT_PNG));

    kObject_Destroy(grey16);
    kObject_Destroy(real);
    kObject_Destroy(empty);
}
