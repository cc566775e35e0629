/**
 * @file    kS3dPhaseDecoderKernels.h
 * @brief   Per-pixel arithmetic of the phase decoder, shared by the host and GPU paths.
 *
 * A fringe sequence of N frames is accumulated pixel by pixel into running sums; the frame
 * that completes the sequence turns the sums into a `kPhasePixel`. The sine and cosine table
 * entries of frame i are round(16384 × sin(2π i / N)) and round(16384 × cos(2π i / N)). With
 * at most 31 frames every sum, and every intermediate of the table arctangent, stays inside
 * 32-bit signed range.
 *
 * Nothing here knows about handles: these are the functions the CUDA kernels, the host
 * vector kernels (for their reference) and the tests share.
 */
#ifndef K_S3D_PHASE_DECODER_KERNELS_H
#define K_S3D_PHASE_DECODER_KERNELS_H

#include <kTessel/kPhasePixel.h>

#include <math.h>

#if defined(__CUDACC__)
#define kS3D_KERNEL_FX __host__ __device__ inline
#else
#define kS3D_KERNEL_FX inline
#endif

/** Running sums of one pixel over the frames received so far (12 bytes). */
typedef struct kS3dPhaseDecoderAccum
{
    k32s cosSum; ///< Σ pixel × cosine entry of its frame.
    k32s sinSum; ///< Σ pixel × sine entry of its frame.
    k8u min;     ///< Smallest sample.
    k8u max;     ///< Largest sample.
    k16u sum;    ///< Σ pixel.
} kS3dPhaseDecoderAccum;

/** Frames per sequence that the 32-bit arithmetic below supports. */
#define kS3D_PHASE_DECODER_MAX_IMAGES (31)
/** Entries of the arctangent table: tangents 0 … 1 in steps of 1/65536. */
#define kS3D_PHASE_DECODER_ARCTAN_COUNT (65537)
/** Scale of the sine and cosine tables (14 fractional bits). */
#define kS3D_PHASE_DECODER_TRIG_ONE (16384)

/** What the frame that completes a sequence needs besides the sums. */
typedef struct kS3dPhaseDecoderOutputParams
{
    k32s intensityFactor;   ///< 256 div N: intensity = (sum × factor) >> shift.
    k32s intensityShift;    ///< 8.
    k32s contrastThreshold; ///< Phase only where max − min exceeds this.
    k32s period;            ///< Phase period P.
    k32s halfPeriod;        ///< P div 2.
    k32s quarterPeriod;     ///< P div 4.
    const k32s* arctan;     ///< Arctangent table (table method), 65537 entries.
} kS3dPhaseDecoderOutputParams;

/** First frame of a sequence: the sums start from this frame's pixel p. */
kS3D_KERNEL_FX void kS3dPhaseAccum_First(kS3dPhaseDecoderAccum* acc, k32s p, k32s sine, k32s cosine)
{
    acc->cosSum = cosine * p;
    acc->sinSum = sine * p;
    acc->min = (k8u)p;
    acc->max = (k8u)p;
    acc->sum = (k16u)p;
}

/** Any later frame: adds pixel p. */
kS3D_KERNEL_FX void kS3dPhaseAccum_Add(kS3dPhaseDecoderAccum* acc, k32s p, k32s sine, k32s cosine)
{
    acc->cosSum += cosine * p;
    acc->sinSum += sine * p;
    acc->min = (k8u)(p < acc->min ? p : acc->min);
    acc->max = (k8u)(p > acc->max ? p : acc->max);
    acc->sum = (k16u)(acc->sum + p);
}

/**
 * Exact arctangent: round(atan2(S, C) / 2π × P), half away from zero, in 0 … P − 1.
 * The 2π constant and the operation order are fixed so that host and GPU agree.
 */
kS3D_KERNEL_FX k32s kS3dPhase_Exact(k32s sinSum, k32s cosSum, k32s period)
{
    const double twoPi = 6.283185307179586476925286766559;
    k32s phase = (k32s)round(atan2((double)sinSum, (double)cosSum) / twoPi * (double)period);
    return phase < 0 ? phase + period : phase;
}

/**
 * Table arctangent, integer only. The octant comes from the signs and the larger magnitude;
 * the tangent of the angle to the nearer axis, in 1/65536, indexes the table. The larger
 * magnitude is first cut to 12 fewer bits so that the quotient fits 32 bits; when both sums
 * are below 4096 there is too little signal for that and the pixel stays invalid, on purpose,
 * even though its contrast passed.
 */
kS3D_KERNEL_FX k32s kS3dPhase_Table(k32s sinSum, k32s cosSum,
                                    const kS3dPhaseDecoderOutputParams* params)
{
    k32s a = sinSum < 0 ? -sinSum : sinSum;
    k32s b = cosSum < 0 ? -cosSum : cosSum;
    k32s value;

    if (a < b && (b >> 12) != 0)
    {
        k32s k = (a << 4) / (b >> 12);
        k32s t = params->arctan[k < 65536 ? k : 65536];
        value = cosSum > 0 ? t : params->halfPeriod - t;
    }
    else if ((a >> 12) != 0)
    {
        k32s k = (b << 4) / (a >> 12);
        k32s t = params->arctan[k < 65536 ? k : 65536];
        value = cosSum > 0 ? params->quarterPeriod - t : params->quarterPeriod + t;
    }
    else
    {
        return k16S_NULL;
    }

    k32s phase = sinSum > 0 ? value : -value;
    return phase < 0 ? phase + params->period : phase;
}

/** The output pixel of a completed sequence. */
template <bool kExact>
kS3D_KERNEL_FX kPhasePixel kS3dPhase_Output(const kS3dPhaseDecoderAccum* acc,
                                            const kS3dPhaseDecoderOutputParams* params)
{
    kPhasePixel out;
    k32s contrast = (k32s)acc->max - (k32s)acc->min;
    out.contrast = (k8u)contrast;
    out.intensity = (k8u)(((k32s)acc->sum * params->intensityFactor) >> params->intensityShift);
    if (contrast <= params->contrastThreshold)
    {
        out.phase = k16S_NULL;
    }
    else
    {
        if constexpr (kExact)
            out.phase = (k16s)kS3dPhase_Exact(acc->sinSum, acc->cosSum, params->period);
        else
            out.phase = (k16s)kS3dPhase_Table(acc->sinSum, acc->cosSum, params);
    }
    return out;
}

#endif
