/**
 * @file    kS3dPhaseDecoderHost.h
 * @brief   Host kernels of the phase decoder: one pass over `count` consecutive pixels.
 *
 * The kernels run on the best vector unit of the machine (chosen at run time) and give
 * exactly the results of the per-pixel functions of kS3dPhaseDecoderKernels.h. Accumulators
 * keep their 12-byte layout; images and outputs are unpadded, so a whole frame is one run.
 */
#ifndef K_S3D_PHASE_DECODER_HOST_H
#define K_S3D_PHASE_DECODER_HOST_H

#include <kSolan/S3d/kernels/kS3dPhaseDecoderKernels.h>

/** Starts the sums of a sequence from its first frame. */
void xkS3dPhaseDecoderHost_First(kS3dPhaseDecoderAccum* accum, const k8u* pixels, kSize count,
                                 k32s sine, k32s cosine);

/** Adds a frame that neither starts nor completes the sequence. */
void xkS3dPhaseDecoderHost_Add(kS3dPhaseDecoderAccum* accum, const k8u* pixels, kSize count,
                               k32s sine, k32s cosine);

/**
 * Adds the frame that completes the sequence and writes the output pixels. The accumulators
 * are read, not updated: nothing reads them after the sequence is complete.
 *
 * @param exact  kTRUE for the exact arctangent, kFALSE for the (integer-only) table.
 */
void xkS3dPhaseDecoderHost_Last(const kS3dPhaseDecoderAccum* accum, const k8u* pixels,
                                kPhasePixel* output, kSize count, k32s sine, k32s cosine,
                                const kS3dPhaseDecoderOutputParams* params, kBool exact);

#endif
