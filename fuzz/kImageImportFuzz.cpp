// Image file readers: any bytes decoded as BMP and as PNG must give an image or a status,
// never a crash or a leak. A decoded image must also survive its own format's round trip.
#include <kBasis.h>

#include <cstdint>
#include <cstdlib>

namespace
{
bool SamePixels(kImage a, kImage b)
{
    if (kImage_PixelType(a) != kImage_PixelType(b) || kImage_Width(a) != kImage_Width(b) ||
        kImage_Height(a) != kImage_Height(b))
        return false;
    for (kSize y = 0; y < kImage_Height(a); ++y)
        if (!kMemEquals(kImage_RowAt(a, y), kImage_RowAt(b, y),
                        kImage_Width(a) * kImage_PixelSize(a)))
            return false;
    return true;
}

void Check(const uint8_t* data, size_t size, kImageFileFormat format)
{
    kImage image = kNULL;
    kStatus status = kImage_ImportBytes(&image, data, size, format, kNULL);
    if (!kSuccess(status))
    {
        if (image || (status != kSTATUS_BAD_FORMAT && status != kSTATUS_INCOMPLETE &&
                      status != kSTATUS_MEMORY))
            abort();
        return;
    }

    /* 16-bit grey has no BMP form; every other decoded type writes back to its own format. */
    kMemory file = kNULL;
    kImage again = kNULL;
    if (!kSuccess(kMemory_Construct(&file, kNULL))) abort();
    if (!kSuccess(kImage_ExportBytes(image, format, file))) abort();
    if (!kSuccess(
            kImage_ImportBytes(&again, kMemory_At(file, 0), kMemory_Length(file), format, kNULL)))
        abort();
    if (!SamePixels(image, again)) abort();
    kObject_Destroy(again);
    kObject_Destroy(file);
    kObject_Destroy(image);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Check(data, size, kIMAGE_FILE_FORMAT_BMP);
    Check(data, size, kIMAGE_FILE_FORMAT_PNG);
    return 0;
}
