/**
 * @file    kS3dEmbeddedPhaseHost.h
 * @brief   Host kernels of the embedded phase decoders: one frame into the running sums.
 *
 * An accumulator is a pair per pixel, (cosine sum, sine sum), interleaved. A frame adds, for
 * every pixel p, the products of the pixel with the frame's two shift-matrix coefficients
 * (a, b) of one frequency. The kernels run on the best vector unit of the machine (chosen at
 * run time); the leftover pixels of a run take the same arithmetic one by one, so a pixel's
 * result does not depend on where a run starts.
 */
#ifndef K_S3D_EMBEDDED_PHASE_HOST_H
#define K_S3D_EMBEDDED_PHASE_HOST_H

#include <kSolan/kSolanDef.h>

/** Per-pixel statistics over the frames of frequency 0 (4 bytes). */
typedef struct kS3dEmbeddedPhaseStats
{
    k8u minimum;
    k8u maximum;
    k16u sum;
} kS3dEmbeddedPhaseStats;

/** The float decoder's scale of a pixel: v = p / 255, written as the product with 0.003921569. */
#define kS3D_EMBEDDED_PHASE_PIXEL_SCALE (0.003921569f)

/**
 * Float sums: pair = (v a, v b) for the first frame of a sequence, pair += (v a, v b) after,
 * with v = kS3D_EMBEDDED_PHASE_PIXEL_SCALE × p (no fused multiply-adds).
 */
void xkS3dEmbeddedPhaseHost_Accumulate32f(k32f* pairs, const k8u* pixels, kSize count, k32f a,
                                          k32f b, kBool first);

/** Integer sums: pair = (p a, p b) for the first frame, pair += (p a, p b) after. */
void xkS3dEmbeddedPhaseHost_Accumulate32s(k32s* pairs, const k8u* pixels, kSize count, k32s a,
                                          k32s b, kBool first);

/** Statistics: first frame minimum = maximum = sum = p; later frames update them. */
void xkS3dEmbeddedPhaseHost_Statistics(kS3dEmbeddedPhaseStats* stats, const k8u* pixels,
                                       kSize count, kBool first);

#endif
