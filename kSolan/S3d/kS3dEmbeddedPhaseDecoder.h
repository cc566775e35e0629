/**
 * @file    kS3dEmbeddedPhaseDecoder.h
 * @brief   Embedded (multi-frequency) phase decoder: fringe order and phase without stripes.
 *
 * The projector shows n blocks of phase-shifted fringes, block i of pattern period Q_i with
 * step count s_i (kS3dPatternSequence_SetupEmbeddedPhase with the periods of
 * kS3dEncodingMath_PatternPhasePeriods). The beat of block i against block 0 has the
 * cumulative period C_i (kS3dEncodingMath_EmbeddedPhasePeriods of the coefficients: 7, 7, 14
 * give 7, 49, 686 projector columns), so the coarse beats find the fringe order of block 0.
 *
 * Every frame is demodulated by a least-squares shift matrix (a shared offset and a cosine and
 * sine term per frequency); the wrapped phase of frequency i is frac(u / Q_i) for projector
 * column u, in [0, 1). The beats are smoothed by a Kuwahara filter (window 15) and turned,
 * coarse to fine, into the order k = floor(u / C_0). The outputs are those of the stripe path:
 * a code map (k, `k8u`; 255 where unknown) and a `kPhasePixel` map whose phase is
 * truncate((1 − φ0) P), running against the column like kS3dPhaseDecoder's, so that
 * u = C_0 (k + 1 − phase / P). A pixel whose φ0 is exactly 0 exports P (the stripe decoder's
 * convention of phases 1 … P); k16S_NULL marks an unknown phase.
 *
 * A pixel is valid when its contrast (maximum − minimum over the frames of frequency 0) is at
 * least the contrast threshold (at least: unlike kS3dPhaseDecoder, where it must exceed it).
 * Float maps mark invalid samples with k32F_NULL.
 *
 * Scan lines: the coarsest beat must run once from 0 to 1 along each scan line of the
 * orientation (0: rows, left to right; 1: rows, right to left; 2: columns, top to bottom;
 * 3: columns, bottom to top). Its ramp correction forgives ±0.1 of a beat period at the ends
 * of a line: t = i / (L − 1) at index i of L along the scan direction (t = 0 when L = 1).
 *
 * Kuwahara filter (window w = 15, h = 7): each output pixel is the mean of the quadrant
 * ((h + 1) × (h + 1) pixels with the pixel at one corner) of smallest variance among its four.
 * Invalid samples and samples outside the image are left out of a quadrant, so quadrants at
 * the border are clipped (a one-sample quadrant has variance 0: a corner pixel keeps its
 * value); empty quadrants take no part; an invalid pixel stays invalid. Quadrants whose
 * variances are equal (exactly: the sums are kept in fixed point, 2^-20) are pooled, so a
 * noise-free ramp keeps its centre value. Sums are exact, so results do not depend on the
 * number of workers. The filter shifts a noisy ramp by up to h / 2 pixels: the camera must see
 * C_0 projector columns over more than h pixels (more than 1 pixel per column for C_0 = 7)
 * for the fringe order to come out right.
 *
 * Usage: construct; SetImageSize; SetSequenceInfo (coefficients and step counts); optionally
 * SetPhasePeriod, SetContrastThreshold, SetOrientation, SetJobQueue; Begin with the two
 * outputs; Update once per frame in sequence order; after the last frame the outputs are
 * written (kS3dEmbeddedPhaseDecoder_IsComplete). Begin again for the next sequence.
 *
 * Threads: accumulation, wrapped phases and smoothing run in row blocks on the job queue
 * (block size height div workers + 1); without a queue they run on the caller.
 */
#ifndef K_S3D_EMBEDDED_PHASE_DECODER_H
#define K_S3D_EMBEDDED_PHASE_DECODER_H

#include <kSolan/kSolanDef.h>
#include <kSolan/Vs/kVsJobQueue.h>

/** Most frames in one block of an embedded-phase sequence. */
#define kS3D_EMBEDDED_PHASE_MAX_STEPS (30)

/** Most frequencies of a sequence (orders are 8-bit, so useful sequences have at most 8). */
#define kS3D_EMBEDDED_PHASE_MAX_FREQUENCIES (16)

/** Scale of the 32-bit shift matrix: entries are truncate(M × 2^20). */
#define kS3D_EMBEDDED_PHASE_MATRIX_ONE (1048576)

typedef kObject kS3dEmbeddedPhaseDecoder;
kDeclareClass(kS3dEmbeddedPhaseDecoder, kObject);

/**
 * Constructs a decoder: 1 × 1 images, no sequence, phase period 1, contrast threshold 10,
 * orientation 0, no job queue. Cloning is refused (kSTATUS_NOT_IMPLEMENTED).
 *
 * @param decoder    Receives the decoder (the caller owns one reference).
 * @param allocator  Allocator of the decoder and everything it owns (null: application).
 * @return kOK; allocation failures.
 */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_Construct(kS3dEmbeddedPhaseDecoder* decoder, kAlloc allocator);

/** Sets the frame size in pixels; takes effect at the next Setup or Begin. */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetImageSize(kS3dEmbeddedPhaseDecoder decoder, kSize width,
                                                   kSize height);
kFx(kStatus) kS3dEmbeddedPhaseDecoder_ImageSize(kS3dEmbeddedPhaseDecoder decoder, kSize* width,
                                                kSize* height);

/**
 * Sets the phase period P of the output phase (one fringe of frequency 0 spans P).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (unchanged) for 0 or above 32767.
 */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SetPhasePeriod(kS3dEmbeddedPhaseDecoder decoder, kSize period);
kFx(kSize) kS3dEmbeddedPhaseDecoder_PhasePeriod(kS3dEmbeddedPhaseDecoder decoder);

/** Grey levels of contrast (maximum − minimum) a pixel needs at least to be decoded. */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetContrastThreshold(kS3dEmbeddedPhaseDecoder decoder,
                                                           kSize threshold);
kFx(kSize) kS3dEmbeddedPhaseDecoder_ContrastThreshold(kS3dEmbeddedPhaseDecoder decoder);

/**
 * Sets the scan direction of the beat ramp: 0 and 1 scan rows, 2 and 3 scan columns; 1 and 3
 * scan backwards.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER (unchanged) outside 0 … 3.
 */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SetOrientation(kS3dEmbeddedPhaseDecoder decoder, k32s orientation);
kFx(k32s) kS3dEmbeddedPhaseDecoder_Orientation(kS3dEmbeddedPhaseDecoder decoder);

/**
 * Job queue whose workers share the rows (borrowed; null: run on the caller's thread). A queue
 * serves one waiting caller at a time: decoders updated from different threads need their own.
 */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SetJobQueue(kS3dEmbeddedPhaseDecoder decoder, kVsJobQueue queue);

/**
 * Sets the sequence: count frequencies with their period coefficients and step counts. The
 * shift matrix is rebuilt at the next Setup. Step counts above 30 are refused there; a
 * sequence of one frequency is accepted here and refused when its last frame arrives.
 *
 * Orders are 8-bit (255 marks an unknown one): keep C_{n−1} / C_0 below 255.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for no frequency or more than 16, null pointers, a
 *         coefficient that is not positive and finite, a step count of 0, or a ratio
 *         C_{n−1} / C_0 above 65536; allocation failures (the old sequence then stays).
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetSequenceInfo(kS3dEmbeddedPhaseDecoder decoder,
                                                      const k64f* coefficients,
                                                      const kSize* stepCounts, kSize count);

/**
 * Copies the sequence out.
 *
 * @param coefficients, stepCounts  Receive count entries each (capacity entries available).
 * @param count                     Receives the number of frequencies.
 * @return kOK; kSTATUS_BAD_PARAMETER when capacity is below the frequency count.
 */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_SequenceInfo(kS3dEmbeddedPhaseDecoder decoder, k64f* coefficients,
                                          kSize* stepCounts, kSize capacity, kSize* count);

/** Frames per sequence: the sum of the step counts. */
kFx(kSize) kS3dEmbeddedPhaseDecoder_SequenceLength(kS3dEmbeddedPhaseDecoder decoder);

/**
 * Builds the shift matrix (when the sequence changed), the accumulators, the statistics, the
 * smoothing map and scratch. Begin calls it; call it early to allocate up front.
 *
 * @return kOK; kSTATUS_BAD_PARAMETER without a sequence, for a block of more than 30 steps or
 *         a sequence whose shift matrix cannot be formed; allocation failures.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_Setup(kS3dEmbeddedPhaseDecoder decoder);

/**
 * Starts a sequence.
 *
 * @param codeMap   `kArray2` of `k8u`, height × width (borrowed until the sequence completes).
 * @param phaseMap  `kArray2` of `kPhasePixel`, height × width (borrowed likewise).
 * @return kOK; kSTATUS_BAD_PARAMETER for maps of another kind or shape; Setup's failures.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_Begin(kS3dEmbeddedPhaseDecoder decoder, kArray2 codeMap,
                                            kArray2 phaseMap);

/**
 * Accumulates the next frame of the sequence; the last one writes the outputs.
 *
 * @param image  `k8u` frame of the configured size with unpadded rows (borrowed).
 * @return kOK; kSTATUS_BAD_PARAMETER for a frame of another type, size or stride, and, on the
 *         last frame, for a sequence of fewer than two frequencies; kSTATUS_BAD_STATE before
 *         Begin or after the sequence is complete; allocation failures of the last frame.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_Update(kS3dEmbeddedPhaseDecoder decoder, kImage image);

/** True when every frame of the sequence has arrived. */
kFx(kBool) kS3dEmbeddedPhaseDecoder_IsComplete(kS3dEmbeddedPhaseDecoder decoder);

/**
 * Records diagnostics: while a list is set, every sequence runs the general path and appends a
 * copy of the wrapped-phase maps (a `kArray1` of `kArray2` of `k32f`, one per frequency, null
 * for maps not yet formed) at each of its stages. The list owns the copies.
 *
 * @param index  Must be 0.
 * @param list   `kArrayList` of `kArray1` (borrowed), or null to stop recording.
 * @return kOK; kSTATUS_NOT_IMPLEMENTED for another index; kSTATUS_BAD_PARAMETER for a list of
 *         another kind.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_SetPhaseArrayStates(kS3dEmbeddedPhaseDecoder decoder,
                                                          kSize index, kArrayList list);

/**
 * Least-squares shift matrix M = (AᵀA)⁻¹Aᵀ of a sequence: a new `kArray2` of `k64f`,
 * (2 × frequencyCount + 1) rows × imageCount columns. Row 0 estimates the offset, rows 2i + 1
 * and 2i + 2 the cosine and sine terms of frequency i (A's row of step j of frequency i is
 * 1, cos(step j), −sin(step j) in columns 0, 2i + 1, 2i + 2).
 *
 * @return kOK; kSTATUS_BAD_PARAMETER for a null pointer, no frequency, a block of more than 30
 *         steps, image count other than the sum of the step counts, or a singular system;
 *         allocation failures, with nothing left behind.
 */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix64f(kArray2* matrix, kSize frequencyCount,
                                                     kSize imageCount, const kSize* stepCounts,
                                                     kAlloc allocator);

/** The shift matrix as the camera takes it (table 8): a `kArray2` of `k32s`, truncate(M × 2^20). */
kFx(kStatus)
    kS3dEmbeddedPhaseDecoder_ConstructShiftMatrix32s(kArray2* matrix, kSize frequencyCount,
                                                     kSize imageCount, const kSize* stepCounts,
                                                     kAlloc allocator);

/**
 * destination = truncate(source × 2^20), element by element.
 *
 * @param source       `kArray2` of `k64f`.
 * @param destination  `kArray2` of `k32s` of the same shape.
 * @return kOK; kSTATUS_BAD_PARAMETER for other kinds or shapes.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_MatrixConvert(kArray2 source, kArray2 destination);

/*
 * Map steps of the longer paths, on `kArray2`s of `k32f` of one shape (phases in periods, in
 * [0, 1)); every step keeps k32F_NULL where an input is invalid. Each returns kOK, or
 * kSTATUS_BAD_PARAMETER for maps of another kind or shape (or periods that are not positive, or
 * whose ratio pb / pa exceeds 65536).
 */

/** a = a − b, plus 1 where negative. */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_SubtractPhase(kArray2 a, kArray2 b);

/**
 * a = a − b with the ramp correction along the scan lines of the orientation: d = a − b gets
 * +1 where it is below (2t − 1) × 0.1 (t running 0 … 1 along the line), else a negative d
 * becomes 0.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_SubtractPhaseBase(kArray2 a, kArray2 b, k32s orientation);

/**
 * b = the fringe order of a within b: with r = pb / pa, t = r b, k = truncate(t), corrected by
 * one where φa and t − k are more than half a period apart, clamped to 0 … r − 1.
 */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_BaseRamp(k64f pa, kArray2 a, k64f pb, kArray2 b);

/** b = (b + a) / r with r = pb / pa: the order plus the finer phase, on the coarser scale. */
kFx(kStatus) kS3dEmbeddedPhaseDecoder_Unwrap(k64f pa, kArray2 a, k64f pb, kArray2 b);

#endif
