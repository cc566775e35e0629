/**
 * @file    kL3dArrayUtils.h
 * @brief   Array and image helpers of the laser family: generated grids and steps, null
 *          filtering, reversal, row and column averages, transposition, column slices,
 *          unpadded copies and rectangle fills.
 *
 * Arrays follow the platform's layout: a kArray2 is row-major, length 0 the rows and length 1
 * the columns. Helpers that return a new container construct it with the given allocator (null:
 * the application allocator) and give the caller one reference; on failure nothing is returned
 * and nothing is left allocated.
 *
 * Null-aware helpers know the null codes of these item types: k16s -32768, k32s -2147483648,
 * k32u 4294967295, k32f -3.4028235e38, k64f -1.7976931348623157e308, and the points kPoint16s,
 * kPoint32s, kPoint32f, kPoint64f, kPoint3d16s, kPoint3d32s, kPoint3d32f, kPoint3d64f, which
 * are null when their x is the null of their component type.
 */
#ifndef K_SOLAN_L3D_ARRAY_UTILS_H
#define K_SOLAN_L3D_ARRAY_UTILS_H

#include <kSolan/kSolanDef.h>

/**
 * Constructs a rows × columns kArray2 of kPoint64f holding a regular grid: item (i, j) is
 * (xStart + j·xStep, yStart + i·yStep), each coordinate computed from its index (no running
 * sum, so no drift over long rows).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a size that overflows; kSTATUS_MEMORY.
 */
kFx(kStatus) kL3dArray2_GenerateGrid(kArray2* grid, kSize rows, kSize columns, k64f xStart,
                                     k64f xStep, k64f yStart, k64f yStep, kAlloc allocator);

/**
 * Constructs a kArray1 of count k64f positions: item i is start + i·step.
 *
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus)
    kL3dArray1_GenerateSteps(kArray1* steps, k64f start, k64f step, kSize count, kAlloc allocator);

/**
 * Constructs a kArray1 of the source's item type holding its non-null items in their order
 * (possibly none).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for an item type without a null code (see above);
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kL3dArray1_FilterNull(kArray1* result, kArray1 source, kAlloc allocator);

/** Reverses the order of the items, in place; any item type (object handles move, unchanged). */
kFx(kStatus) kL3dArrayList_Reverse(kArrayList list);

/** Reverses the order of the items, in place; any item type. */
kFx(kStatus) kL3dArray1_Reverse(kArray1 array);

/**
 * Constructs a kArray1 of k64f with one average per column: item j is the mean of the non-null
 * items of column j over all rows, or the k64f null when the column has none (or there are no
 * rows). Item types k8u, k16u (no null code), k16s, k32s, k32u, k32f, k64f; sums in k64f.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for another item type; kSTATUS_MEMORY.
 */
kFx(kStatus) kL3dArray2_AverageColumns(kArray1* averages, kArray2 source, kAlloc allocator);

/** As kL3dArray2_AverageColumns, with one average per row (item i: mean of row i). */
kFx(kStatus) kL3dArray2_AverageRows(kArray1* averages, kArray2 source, kAlloc allocator);

/**
 * Subtracts from each non-null item the mean of the non-null items of its row, in place; nulls
 * stay null and a row of nulls is unchanged. Item types k32f and k64f; the mean and the
 * difference are formed in k64f, then stored in the item type.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for another item type.
 */
kFx(kStatus) kL3dArray2_SubRowAverage(kArray2 array);

/** As kL3dArray2_SubRowAverage, with the mean of each item's column. */
kFx(kStatus) kL3dArray2_SubColumnAverage(kArray2 array);

/**
 * Reverses the order of the rows (row i trades places with row rows − 1 − i), in place; the
 * items within a row keep their order. Any item type.
 */
kFx(kStatus) kL3dArray2_ReverseRows(kArray2 array);

/**
 * Constructs the transpose: a columns × rows kArray2 of the source's item type whose item
 * (j, i) is the source's item (i, j).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for object items; kSTATUS_MEMORY.
 */
kFx(kStatus) kL3dArray2_Transpose(kArray2* result, kArray2 source, kAlloc allocator);

/**
 * Constructs a kArray1 of the source's item type holding column index of every row, top to
 * bottom.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for index ≥ the column count or object items;
 *         kSTATUS_MEMORY.
 */
kFx(kStatus) kL3dArray2_SliceColumn(kArray1* column, kArray2 source, kSize index, kAlloc allocator);

/**
 * Constructs a copy of an image with unpadded rows (stride = width × pixel size), the same
 * pixel type, pixel format, size and pixels, whatever the source's row padding or stride.
 *
 * @return kOK; kSTATUS_MEMORY.
 */
kFx(kStatus) kL3dImage_Pack(kImage* result, kImage source, kAlloc allocator);

/**
 * Sets every pixel inside region (x, y, width, height in pixels, clipped to the image) to the
 * given pixel value. A region with a width or height ≤ 0, or outside the image, sets nothing.
 *
 * @param pixel  One pixel of the image's pixel type (its pixel size in bytes).
 * @return kOK; kSTATUS_BAD_PARAMETER for a null region or pixel.
 */
kFx(kStatus) kL3dImage_FillInner(kImage image, const kRect32s* region, const void* pixel);

/**
 * Sets every pixel outside region (clipped as for kL3dImage_FillInner) to the given pixel value;
 * an empty region sets the whole image.
 */
kFx(kStatus) kL3dImage_FillOuter(kImage image, const kRect32s* region, const void* pixel);

#endif
