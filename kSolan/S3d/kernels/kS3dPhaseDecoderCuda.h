/**
 * @file    kS3dPhaseDecoderCuda.h
 * @brief   GPU kernels of the phase decoder, launched on a stream (built with CUDA only).
 *
 * Each launch covers width × height pixels with 32 × 8 thread blocks and returns the status
 * of the launch; the kernels run asynchronously and the caller synchronises the stream before
 * reading the output. Accumulators, image and output must be reachable by the device.
 */
#ifndef K_S3D_PHASE_DECODER_CUDA_H
#define K_S3D_PHASE_DECODER_CUDA_H

#include <kSolan/S3d/kernels/kS3dPhaseDecoderKernels.h>

/** Launches kS3dPhaseDecoder_UpdateFirstFrameKernel: the sums start from this frame. */
kStatus xkS3dPhaseDecoderCuda_UpdateFirst(void* stream, kS3dPhaseDecoderAccum* accum,
                                          const k8u* image, k32s sine, k32s cosine, k32s width,
                                          k32s height);

/** Launches kS3dPhaseDecoder_UpdateDefaultFrameKernel: adds a frame. */
kStatus xkS3dPhaseDecoderCuda_UpdateDefault(void* stream, kS3dPhaseDecoderAccum* accum,
                                            const k8u* image, k32s sine, k32s cosine, k32s width,
                                            k32s height);

/** Launches kS3dPhaseDecoder_UpdateLastFrameKernel: adds the last frame, writes the output
 *  with the exact arctangent. */
kStatus xkS3dPhaseDecoderCuda_UpdateLast(void* stream, kS3dPhaseDecoderAccum* accum,
                                         const k8u* image, kPhasePixel* output, k32s sine,
                                         k32s cosine, k32s intensityShift, k32s intensityFactor,
                                         k32s contrastThreshold, k32s period, k32s width,
                                         k32s height);

#endif
