/**
 * @file    kImage.h
 * @brief   Two-dimensional pixel buffers, and their BMP and PNG files.
 *
 * An image has a pixel type (any value type: `k8u`, `k16u`, `kRgb`, `kPhasePixel`...), a
 * width and height in pixels, a row stride in bytes and a pixel format that says how the
 * bytes of a pixel are to be read (grey, colour filter array, colour channels). Rows may be
 * padded: the stride is at least width × pixel size, and rows start `stride` bytes apart.
 *
 * An image either owns its pixel buffer (allocated from the image's allocator, zero-filled
 * when allocated) or wraps external pixels given to `kImage_Attach`, which it never frees.
 *
 * Image files (`kImage_Import`, `kImage_Export`; the kind is chosen by the file extension,
 * ".bmp" or ".png", in any letter case):
 *
 * | Pixel type | BMP export                  | PNG export             |
 * |------------|-----------------------------|------------------------|
 * | `k8u`      | 8-bit, grey palette         | grey, 8-bit            |
 * | `k16u`     | refused                     | grey, 16-bit           |
 * | `kRgb`     | 24-bit (the x byte dropped) | RGB, 8-bit             |
 * | `kArgb`    | 32-bit, fourth byte = alpha | RGBA, 8-bit            |
 *
 * Import gives `k8u` for BMP files with an all-grey 8-bit palette (the palette applied) and
 * for PNG grey without transparency (1, 2 and 4-bit levels scaled to 0 … 255); `k16u` for
 * 16-bit grey PNG; `kRgb` (x byte 0) for 24-bit BMP, colour-palette BMP, and RGB or palette
 * PNG without transparency (16-bit channels keep their high byte); `kArgb` for 32-bit BMP
 * (the fourth byte read as alpha) and for PNG with an alpha channel or a transparency chunk.
 * BMP files must be uncompressed (BI_RGB, or BI_BITFIELDS with the standard 8-bit channel
 * masks), 8, 24 or 32 bits per pixel, bottom-up or top-down; other layouts are refused with
 * kSTATUS_BAD_FORMAT. Any prefix of a valid file is refused with kSTATUS_INCOMPLETE.
 */
#ifndef K_BASIS_IMAGE_H
#define K_BASIS_IMAGE_H

#include <kBasis/kAlloc.h>
#include <kBasis/kValue.h>

/** How the bytes of a pixel are read. */
typedef k32s kPixelFormat;
#define kPIXEL_FORMAT_NULL (0)            ///< Unspecified (numbers, phase pixels...).
#define kPIXEL_FORMAT_8BPP_GREYSCALE (1)  ///< One 8-bit grey level.
#define kPIXEL_FORMAT_8BPP_CFA (2)        ///< One 8-bit sample of a colour filter array (Bayer).
#define kPIXEL_FORMAT_8BPC_BGRX (3)       ///< Blue, green, red, unused byte (`kRgb`).
#define kPIXEL_FORMAT_8BPC_BGRA (4)       ///< Blue, green, red, alpha (`kArgb`).
#define kPIXEL_FORMAT_16BPP_GREYSCALE (5) ///< One 16-bit grey level.
#define kPIXEL_FORMAT_16BPP_CFA (6)       ///< One 16-bit sample of a colour filter array.

kDeclareValue(kPixelFormat);

/** Image file kinds, for the in-memory import and export. */
typedef k32s kImageFileFormat;
#define kIMAGE_FILE_FORMAT_BMP (1)
#define kIMAGE_FILE_FORMAT_PNG (2)

typedef kObject kImage;
kDeclareClass(kImage, kObject);

/**
 * Constructs an image with unpadded rows, zero-filled.
 *
 * @param image      Receives the image (the caller owns one reference).
 * @param pixelType  Value type of one pixel.
 * @param width      Width in pixels (0 allowed).
 * @param height     Height in pixels (0 allowed).
 * @param allocator  Allocator of the image and its pixels (null: application allocator).
 * @return kOK; kSTATUS_BAD_PARAMETER for a class or zero-size pixel type, or a size whose
 *         byte count does not fit in kSize; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kImage_Construct(kImage* image, kType pixelType, kSize width, kSize height, kAlloc allocator);

/**
 * Constructs an image whose rows are padded to a multiple of `alignment` bytes and start at
 * addresses aligned to it (for vector loads).
 *
 * @param alignment  Row alignment in bytes, a power of two (0 and 1: no padding).
 * @return As kImage_Construct; kSTATUS_BAD_PARAMETER when alignment is not a power of two.
 */
kFx(kStatus) kImage_ConstructEx(kImage* image, kType pixelType, kSize width, kSize height,
                                kSize alignment, kAlloc allocator);

/**
 * Gives the image a new pixel type and size, with the alignment it was constructed with.
 * The buffer is kept when it is large enough (contents then unspecified), else replaced by a
 * zero-filled one; an attached image gets a buffer of its own. The pixel format becomes the
 * pixel type's default.
 */
kFx(kStatus) kImage_Allocate(kImage image, kType pixelType, kSize width, kSize height);

/**
 * Wraps external pixels. The image frees its own buffer and uses `pixels` until the next
 * Allocate, Assign or Attach; it never frees them.
 *
 * @param pixels  First pixel; may be null only when width or height is 0.
 * @param stride  Bytes from one row to the next, at least width × pixel size.
 */
kFx(kStatus) kImage_Attach(kImage image, void* pixels, kType pixelType, kSize width, kSize height,
                           kSize stride);

/** Deep copy of source's pixel type, format, size and pixels (rows re-laid with this image's
 *  alignment). Assigning an image to itself succeeds and changes nothing. */
kFx(kStatus) kImage_Assign(kImage image, kImage source);

/** Sets every pixel to zero bytes; row padding is left alone (it may belong to someone else). */
kFx(kStatus) kImage_Zero(kImage image);

/** Copies one pixel (pixel size bytes) to (x, y); kSTATUS_BAD_PARAMETER outside the image. */
kFx(kStatus) kImage_SetPixel(kImage image, kSize x, kSize y, const void* pixel);

/** Copies the pixel at (x, y) into `pixel`; kSTATUS_BAD_PARAMETER outside the image. */
kFx(kStatus) kImage_GetPixel(kImage image, kSize x, kSize y, void* pixel);

/**
 * Sets the pixel format. kSTATUS_BAD_PARAMETER when the format's pixel size differs from the
 * image's (8-bit formats need 1-byte pixels, BGRX/BGRA 4 bytes, 16-bit formats 2 bytes) or the
 * value is unknown; kPIXEL_FORMAT_NULL fits every image.
 */
kFx(kStatus) kImage_SetPixelFormat(kImage image, kPixelFormat format);
kFx(kPixelFormat) kImage_PixelFormat(kImage image);

kFx(kType) kImage_PixelType(kImage image);
kFx(kSize) kImage_PixelSize(kImage image);
kFx(kSize) kImage_Width(kImage image);
kFx(kSize) kImage_Height(kImage image);
/** Width × height, in pixels. */
kFx(kSize) kImage_Area(kImage image);
/** Bytes from one row to the next. */
kFx(kSize) kImage_Stride(kImage image);
/** Row alignment given at construction (1 when rows are not padded). */
kFx(kSize) kImage_Alignment(kImage image);
/** True when the pixels are external (kImage_Attach). */
kFx(kBool) kImage_IsAttached(kImage image);

/** First pixel (row 0); null for an empty image. */
kFx(void*) kImage_Data(kImage image);
/** Byte `offset` from the first pixel, unchecked: for code that computes y × stride + x × size. */
kFx(void*) kImage_DataAt(kImage image, kSSize offset);
/** Row y; null when y >= height. */
kFx(void*) kImage_RowAt(kImage image, kSize y);
/** Pixel (x, y); null outside the image. */
kFx(void*) kImage_At(kImage image, kSize x, kSize y);

/** Typed pixel access for C++ callers who know the pixel type; no checks. */
template <typename T>
inline T* kImage_AtT(kImage image, kSize x, kSize y)
{
    return static_cast<T*>(
        kImage_DataAt(image, (kSSize)(y * kImage_Stride(image) + x * sizeof(T))));
}

/**
 * Reads a BMP or PNG file (kind from the extension) into a new image with unpadded rows.
 *
 * @param image      Receives the image (the caller owns one reference).
 * @param path       File path ending in ".bmp" or ".png" (any case).
 * @param allocator  Allocator of the image.
 * @return kOK; kSTATUS_BAD_PARAMETER for another extension; kSTATUS_NOT_FOUND when the path
 *         is not a regular file that can be opened; kSTATUS_BAD_FORMAT when the content is not
 *         an image of a supported layout or is corrupt; kSTATUS_INCOMPLETE when it is cut
 *         short; kSTATUS_MEMORY.
 */
kFx(kStatus) kImage_Import(kImage* image, const kChar* path, kAlloc allocator);

/** Decodes an image file held in memory; statuses as kImage_Import. */
kFx(kStatus) kImage_ImportBytes(kImage* image, const void* data, kSize size,
                                kImageFileFormat format, kAlloc allocator);

/**
 * Writes the image to a BMP or PNG file (kind from the extension).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for another extension, a pixel type the file kind does
 *         not store (see the table above) or an empty image; kSTATUS_STREAM when the file
 *         cannot be written.
 */
kFx(kStatus) kImage_Export(kImage image, const kChar* path);

/** Encodes the image as a file image into `memory` (replacing its contents). */
kFx(kStatus) kImage_ExportBytes(kImage image, kImageFileFormat format, kMemory memory);

#endif
