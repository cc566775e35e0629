/**
 * @file    kIpp.h
 * @brief   Image processing primitives on raw pixel buffers and on images.
 */
#ifndef K_BASIS_IPP_H
#define K_BASIS_IPP_H

#include <kBasis/kImage.h>

/**
 * Transposes a block of pixels of any size: destination pixel (y, x) is source pixel (x, y),
 * so the destination is `height` pixels wide and `width` pixels high. Pixels are moved as
 * opaque groups of pixelSize bytes; rows of either side may be padded and need no alignment.
 *
 * @param src        Source pixel (0, 0).
 * @param srcStride  Bytes between source rows, at least width × pixelSize.
 * @param dst        Destination pixel (0, 0); must not overlap the source.
 * @param dstStride  Bytes between destination rows, at least height × pixelSize.
 * @param width      Source width in pixels.
 * @param height     Source height in pixels.
 * @param pixelSize  Bytes per pixel (at least 1).
 * @return kOK; kSTATUS_BAD_PARAMETER for a zero pixel size, a stride too small, or a null
 *         buffer with a non-empty block.
 */
kFx(kStatus) kIpp_TransposeData(const void* src, kSize srcStride, void* dst, kSize dstStride,
                                kSize width, kSize height, kSize pixelSize);

/**
 * Transposes source into destination, which must be a different image of the same pixel type
 * whose width is source's height and whose height is source's width (the caller allocates
 * it). The destination's pixel format is left as it is.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a pixel type or size mismatch, or when source and
 *         destination are the same image.
 */
kFx(kStatus) kIpp_Transpose(kImage source, kImage destination);

#endif
