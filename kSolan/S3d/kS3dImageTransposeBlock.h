/**
 * @file    kS3dImageTransposeBlock.h
 * @brief   Image transpose block: sends every received image transposed.
 */
#ifndef K_SOLAN_S3D_IMAGE_TRANSPOSE_BLOCK_H
#define K_SOLAN_S3D_IMAGE_TRANSPOSE_BLOCK_H

#include <kSolan/kSolanDef.h>

/**
 * Port ids of the image transpose block.
 * Its registration operation exists, but the library deliberately does not register it:
 * the name never resolves and the type handle stays empty.
 */
typedef k32s kS3dImageTransposeBlockPort;
#define kS3D_IMAGE_TRANSPOSE_BLOCK_INIMAGE (0)  ///< Image input.
#define kS3D_IMAGE_TRANSPOSE_BLOCK_OUTIMAGE (1) ///< Transposed image output.
kDeclareValue(kS3dImageTransposeBlockPort);

#endif
