// Foundation images: kIpp_TransposeData (32 × 32 tiles) against the plain row-by-row loop, and
// the BMP and PNG codecs on a camera-sized 8-bit frame.
#include <kBasis.h>

#include <benchmark/benchmark.h>

#include <cstring>
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
