#include <kBasis/kIpp.h>

#include <cstring>

namespace
{
/* Square tiles keep both the rows read and the rows written in cache: 32 × 32 pixels of up to
   8 bytes is 8 KiB on each side. */
constexpr kSize kTile = 32;

/* One kernel for every pixel size: N bytes moved by a fixed-size copy (a single load and store
   for the common sizes), or N = 0 for any other size, copied with its run-time length. */
template <kSize N>
void TransposeTiles(const kByte* src, kSize srcStride, kByte* dst, kSize dstStride, kSize width,
                    kSize height, kSize pixelSize)
{
    const kSize size = N ? N : pixelSize;
    for (kSize y0 = 0; y0 < height; y0 += kTile)
    {
        kSize y1 = kMin_(y0 + kTile, height);
        for (kSize x0 = 0; x0 < width; x0 += kTile)
        {
            kSize x1 = kMin_(x0 + kTile, width);
            for (kSize y = y0; y < y1; ++y)
            {
                const kByte* in = src + y * srcStride;
                kByte* out = dst + y * size;
                for (kSize x = x0; x < x1; ++x)
                    memcpy(out + x * dstStride, in + x * size, size);
            }
        }
    }
}
} // namespace

kFx(kStatus) kIpp_TransposeData(const void* src, kSize srcStride, void* dst, kSize dstStride,
                                kSize width, kSize height, kSize pixelSize)
{
    kCheckArgs(pixelSize > 0);
    if (width == 0 || height == 0) return kOK;
    kSize srcRow = 0, dstRow = 0;
    kCheckArgs(!__builtin_mul_overflow(width, pixelSize, &srcRow) && srcStride >= srcRow);
    kCheckArgs(!__builtin_mul_overflow(height, pixelSize, &dstRow) && dstStride >= dstRow);
    kCheckArgs(src && dst);

    const kByte* s = static_cast<const kByte*>(src);
    kByte* d = static_cast<kByte*>(dst);
    switch (pixelSize)
    {
    case 1:
        TransposeTiles<1>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 2:
        TransposeTiles<2>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 3:
        TransposeTiles<3>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 4:
        TransposeTiles<4>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 6:
        TransposeTiles<6>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 8:
        TransposeTiles<8>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 12:
        TransposeTiles<12>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    case 16:
        TransposeTiles<16>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    default:
        TransposeTiles<0>(s, srcStride, d, dstStride, width, height, pixelSize);
        break;
    }
    return kOK;
}

kFx(kStatus) kIpp_Transpose(kImage source, kImage destination)
{
    kCheckArgs(kObject_Is(source, kTypeOf(kImage)) && kObject_Is(destination, kTypeOf(kImage)));
    kCheckArgs(source != destination);
    kCheckArgs(kImage_PixelType(source) == kImage_PixelType(destination));
    kCheckArgs(kImage_Width(destination) == kImage_Height(source) &&
               kImage_Height(destination) == kImage_Width(source));
    return kIpp_TransposeData(kImage_Data(source), kImage_Stride(source), kImage_Data(destination),
                              kImage_Stride(destination), kImage_Width(source),
                              kImage_Height(source), kImage_PixelSize(source));
}
