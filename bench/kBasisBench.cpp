// Foundation images: kIpp_TransposeData (32 × 32 tiles) against the plain row-by-row loop, and
// the BMP and PNG codecs on a camera-sized 8-bit frame. XML settings and kdat files: loading a
// 200-key settings document, and saving and loading a 16 MB array against fwrite and fread.
#include <kBasis.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{
/* The reference: reads along rows, writes down columns, no tiling. */
void NaiveTranspose(const kByte* src, kSize srcStride, kByte* dst, kSize dstStride, kSize width,
                    kSize height, kSize pixelSize)
{
    for (kSize y = 0; y < height; ++y)
        for (kSize x = 0; x < width; ++x)
            memcpy(dst + x * dstStride + y * pixelSize, src + y * srcStride + x * pixelSize,
                   pixelSize);
}

template <bool Tiled>
void BM_Transpose(benchmark::State& state)
{
    kSize size = (kSize)state.range(0), pixelSize = (kSize)state.range(1);
    std::vector<kByte> src(size * size * pixelSize, 7), dst(src.size());
    for (auto _ : state)
    {
        if constexpr (Tiled)
            kIpp_TransposeData(src.data(), size * pixelSize, dst.data(), size * pixelSize, size,
                               size, pixelSize);
        else
            NaiveTranspose(src.data(), size * pixelSize, dst.data(), size * pixelSize, size, size,
                           pixelSize);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed((int64_t)(state.iterations() * src.size()));
}
BENCHMARK(BM_Transpose<true>)->ArgsProduct({{2048}, {1, 2, 4, 8}})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Transpose<false>)->ArgsProduct({{2048}, {1, 2, 4, 8}})->Unit(benchmark::kMillisecond);

/* A 2048 × 1088 camera frame with smooth content, so that PNG compresses as it would in use. */
kImage Frame()
{
    kImage image = kNULL;
    kImage_Construct(&image, kTypeOf(k8u), 2048, 1088, kNULL);
    for (kSize y = 0; y < 1088; ++y)
        for (kSize x = 0; x < 2048; ++x)
            *kImage_AtT<k8u>(image, x, y) = (k8u)((x / 8 + y / 4) & 0xFF);
    return image;
}

void BM_Export(benchmark::State& state)
{
    kImage image = Frame();
    kMemory file = kNULL;
    kMemory_Construct(&file, kNULL);
    for (auto _ : state)
        kImage_ExportBytes(image, (kImageFileFormat)state.range(0), file);
    state.SetBytesProcessed((int64_t)(state.iterations() * kImage_Area(image)));
    kObject_Destroy(file);
    kObject_Destroy(image);
}
BENCHMARK(BM_Export)
    ->Arg(kIMAGE_FILE_FORMAT_BMP)
    ->Arg(kIMAGE_FILE_FORMAT_PNG)
    ->Unit(benchmark::kMillisecond);

void BM_Import(benchmark::State& state)
{
    kImage image = Frame();
    kMemory file = kNULL;
    kMemory_Construct(&file, kNULL);
    kImage_ExportBytes(image, (kImageFileFormat)state.range(0), file);
    for (auto _ : state)
    {
        kImage read = kNULL;
        kImage_ImportBytes(&read, kMemory_At(file, 0), kMemory_Length(file),
                           (kImageFileFormat)state.range(0), kNULL);
        kObject_Destroy(read);
    }
    state.SetBytesProcessed((int64_t)(state.iterations() * kImage_Area(image)));
    kObject_Destroy(file);
    kObject_Destroy(image);
}
BENCHMARK(BM_Import)
    ->Arg(kIMAGE_FILE_FORMAT_BMP)
    ->Arg(kIMAGE_FILE_FORMAT_PNG)
    ->Unit(benchmark::kMillisecond);
} // namespace

/* ----- XML settings and kdat files ----------------------------------------------------------- */

namespace
{
std::string TempFile(const char* name)
{
    kChar dir[1024], path[1200];
    kDirectory_Temp(dir, sizeof(dir));
    kPath_Combine(dir, name, path, sizeof(path));
    return path;
}

/* A settings document of 200 keys: 20 windows of 10 settings each, integers, reals and text. */
std::string Settings200()
{
    kXml xml = kNULL;
    kString text = kNULL;
    kXml_Construct(&xml, kNULL);
    kString_Construct(&text, kNULL, kNULL);
    char path[64];
    for (int w = 0; w < 20; ++w)
    {
        for (int k = 0; k < 10; ++k)
        {
            snprintf(path, sizeof(path), "Settings\\Window%d\\Key%d", w, k);
            if (k % 3 == 0)
                kXml_SetChild32s(xml, kNULL, path, w * 1000 + k);
            else if (k % 3 == 1)
                kXml_SetChild64f(xml, kNULL, path, (w + 1) * 0.1 + k * 1e-7);
            else
                kXml_SetChildText(xml, kNULL, path, "CalibrationFile.kdat");
        }
    }
    kXml_ToString(xml, text);
    std::string result = kString_Chars(text);
    kObject_Destroy(text);
    kObject_Destroy(xml);
    return result;
}

/* Loading a 200-key settings file: parse only, and parse plus every typed read. */
template <bool ReadEvery>
void BM_XmlLoadSettings200(benchmark::State& state)
{
    const std::string path = TempFile("kbench-settings.xml"), text = Settings200();
    kFile_Save(path.c_str(), text.data(), text.size());
    char key[64], buffer[256];
    for (auto _ : state)
    {
        kXml xml = kNULL;
        if (!kSuccess(kXml_Load(&xml, path.c_str(), kNULL))) state.SkipWithError("load failed");
        if constexpr (ReadEvery)
        {
            kXmlItem root = kXml_Root(xml);
            for (int w = 0; w < 20; ++w)
            {
                for (int k = 0; k < 10; ++k)
                {
                    snprintf(key, sizeof(key), "Window%d\\Key%d", w, k);
                    k32s i = 0;
                    k64f f = 0;
                    if (k % 3 == 0) kXml_Child32s(xml, root, key, &i);
                    if (k % 3 == 1) kXml_Child64f(xml, root, key, &f);
                    if (k % 3 == 2) kXml_ChildText(xml, root, key, buffer, sizeof(buffer));
                    benchmark::DoNotOptimize(i + f);
                }
            }
        }
        kObject_Destroy(xml);
    }
    state.SetBytesProcessed((int64_t)(state.iterations() * text.size()));
    kFile_Delete(path.c_str());
}
BENCHMARK(BM_XmlLoadSettings200<false>)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_XmlLoadSettings200<true>)->Unit(benchmark::kMicrosecond);

constexpr kSize kDatBytes = 16 << 20;

kArray1 DatArray()
{
    kArray1 array = kNULL;
    kArray1_Construct(&array, kTypeOf(k8u), kDatBytes, kNULL);
    for (kSize i = 0; i < kDatBytes; ++i)
        *kArray1_AtT<k8u>(array, i) = (k8u)(i * 2654435761u >> 13);
    return array;
}

/* Saving a 16 MB array as an uncompressed kdat6 file, against fwrite of the same bytes. */
void BM_DatSave16MB(benchmark::State& state)
{
    const std::string path = TempFile("kbench-array.kdat6");
    kArray1 array = DatArray();
    for (auto _ : state)
        if (!kSuccess(kSave6(array, path.c_str()))) state.SkipWithError("save failed");
    state.SetBytesProcessed((int64_t)(state.iterations() * kDatBytes));
    kObject_Destroy(array);
    kFile_Delete(path.c_str());
}
BENCHMARK(BM_DatSave16MB)->Unit(benchmark::kMillisecond);

void BM_DatSave16MB_PeerFwrite(benchmark::State& state)
{
    const std::string path = TempFile("kbench-array.bin");
    kArray1 array = DatArray();
    for (auto _ : state)
    {
        FILE* file = fopen(path.c_str(), "wb");
        fwrite(kArray1_Data(array), 1, kDatBytes, file);
        fclose(file);
    }
    state.SetBytesProcessed((int64_t)(state.iterations() * kDatBytes));
    kObject_Destroy(array);
    kFile_Delete(path.c_str());
}
BENCHMARK(BM_DatSave16MB_PeerFwrite)->Unit(benchmark::kMillisecond);

/* Loading it back: a new array per load, against fread into a new buffer and into a reused one. */
void BM_DatLoad16MB(benchmark::State& state)
{
    const std::string path = TempFile("kbench-array.kdat6");
    kArray1 array = DatArray();
    kSave6(array, path.c_str());
    kObject_Destroy(array);
    for (auto _ : state)
    {
        kObject loaded = kNULL;
        if (!kSuccess(kLoad6(&loaded, path.c_str(), kNULL))) state.SkipWithError("load failed");
        kObject_Destroy(loaded);
    }
    state.SetBytesProcessed((int64_t)(state.iterations() * kDatBytes));
    kFile_Delete(path.c_str());
}
BENCHMARK(BM_DatLoad16MB)->Unit(benchmark::kMillisecond);

template <bool Reuse>
void FreadPeer(benchmark::State& state)
{
    const std::string path = TempFile("kbench-array.bin");
    kArray1 array = DatArray();
    kFile_Save(path.c_str(), kArray1_Data(array), kDatBytes);
    kObject_Destroy(array);
    std::vector<kByte> reused(kDatBytes);
    for (auto _ : state)
    {
        kByte* buffer = Reuse ? reused.data() : static_cast<kByte*>(malloc(kDatBytes));
        FILE* file = fopen(path.c_str(), "rb");
        benchmark::DoNotOptimize(fread(buffer, 1, kDatBytes, file));
        fclose(file);
        if (!Reuse) free(buffer);
    }
    state.SetBytesProcessed((int64_t)(state.iterations() * kDatBytes));
    kFile_Delete(path.c_str());
}
void BM_DatLoad16MB_PeerFread(benchmark::State& state) { FreadPeer<false>(state); }
void BM_DatLoad16MB_PeerFreadReused(benchmark::State& state) { FreadPeer<true>(state); }
BENCHMARK(BM_DatLoad16MB_PeerFread)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DatLoad16MB_PeerFreadReused)->Unit(benchmark::kMillisecond);
} // namespace
