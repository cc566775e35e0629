/**
 * @file    Scan.h
 * @brief   A structured-light scan: its encoding, its camera frames, the decoded maps and the
 *          files the tool writes for them.
 *
 * Two encodings. Stripe and phase: one half-intensity reference frame, the Gray-coded stripe
 * frames (most significant bit first), then the phase-shifted fringe frames (shift 2π i / N).
 * Embedded phase: one block of phase-shifted fringe frames per frequency, finest first; the
 * beats of the coarser blocks against the finest give its fringe order, no stripes needed.
 */
#ifndef KSOLAN_TOOL_SCAN_H
#define KSOLAN_TOOL_SCAN_H

#include "Handle.h"

#include <kBasis/kValue.h>

#include <sstream>
#include <string>
#include <vector>

namespace ksolan
{
/** How the frames were projected, and the decoders' thresholds. */
struct Encoding
{
    kSize stripes = 5; ///< Gray-code stripe frames: 2^stripes fringe periods.
    kSize phases = 8;  ///< Phase-shifted fringe frames.
    /**
     * Embedded phase (stripes and phases then unused): period coefficients, finest first. The
     * cumulative period C_i is the product of coefficients 0 … i, in projector columns (7, 7, 14
     * give 7, 49, 686). Empty for a stripe-and-phase scan.
     */
    std::vector<double> coefficients;
    std::vector<kSize> steps;  ///< Embedded phase: phase-shifted frames per frequency.
    k32u phasePeriod = 1024;   ///< P: one fringe period spans phases 0 … P − 1.
    k32s phaseContrast = 10;   ///< Fringe contrast (max − min) a valid phase must exceed.
    kSize stripeContrast = 20; ///< Grey levels a stripe pixel must differ from the reference.

    bool IsEmbedded() const { return !coefficients.empty(); }
    /** Embedded phase: the cumulative periods C_i. */
    std::vector<double> Periods() const;
    kSize FrameCount() const;
    /** Fringe orders the code map can hold: 2^stripes, or C_last / C_0 rounded up. */
    kSize OrderCount() const;
    /** Largest absolute phase plus one: P × OrderCount(). */
    k32u AbsoluteRange() const { return phasePeriod * (k32u)OrderCount(); }
    /** File name of the code map: "stripe-code" or "fringe-order". */
    std::string CodeName() const { return IsEmbedded() ? "fringe-order" : "stripe-code"; }
    /** The frames expected, for messages: "1 reference, 5 stripe, 8 phase" or "phase steps 5, 5,
     * 5". */
    std::string FrameText() const;
    /**
     * Embedded phase: throws Error unless there are 2 … 16 frequencies, one step count each,
     * and at most 255 fringe orders (the code map is 8-bit, 255 marks an unknown order).
     */
    void Validate() const;
};

/** Values joined by commas, as the tool takes them ("7,7,14"). */
template <typename T>
std::string CommaList(const std::vector<T>& values)
{
    std::ostringstream text;
    for (kSize i = 0; i < values.size(); ++i)
        text << (i ? "," : "") << values[i];
    return text.str();
}

/** Seconds spent per stage, in the order the stages ran. */
class StageTimes
{
public:
    void Add(const std::string& stage, double seconds);
    void Print() const;

private:
    std::vector<std::pair<std::string, double>> m_stages;
};

/** The decoders' outputs, height × width each. */
struct Maps
{
    Handle phase;    ///< `kArray2` of `kPhasePixel`: contrast, intensity, wrapped phase.
    Handle code;     ///< `kArray2` of `k8u`: fringe period index, 255 where undecided.
    Handle absolute; ///< `kArray2` of `kPhasePixel2`: code × P + (P − phase), or null.
};

/** Decodes one scan; frames are `k8u` images of one size, FrameCount() of them, in order. */
Maps Decode(const std::vector<Handle>& frames, const Encoding& encoding, StageTimes& times);

/**
 * Reads the frames of a scan (8-bit grey PNG or BMP files).
 * Throws Error for a wrong count, a file that is missing or not such an image, or sizes that
 * differ.
 */
std::vector<Handle> ReadFrames(const std::vector<std::string>& paths, const Encoding& encoding);

/**
 * An output folder that holds only finished work: created on demand, and on failure (when it
 * is destroyed before Commit) cleared of the files written into it, and removed if it was
 * created here.
 */
class OutputFolder
{
public:
    /** Throws Error when the path exists and is not a folder, or cannot be created. */
    explicit OutputFolder(const std::string& path);
    ~OutputFolder();
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    const std::string& Path() const { return m_path; }
    /** Path of a new file in the folder (subfolders created), remembered for clean-up. */
    std::string File(const std::string& name);
    void Commit() { m_committed = true; }

private:
    std::string m_path;
    bool m_created = false;
    bool m_committed = false;
    std::vector<std::string> m_written;
};

/**
 * Writes the pictures (PNG) and the raw maps (kdat6) of a decoded scan into the subfolder
 * `where` of the folder ("" for the folder itself).
 */
void WriteMaps(OutputFolder& folder, const std::string& where, const Maps& maps,
               const Encoding& encoding);

/** Writes the frames as `where`/frames/frame-NN.png, names that sort in frame order. */
void WriteFrames(OutputFolder& folder, const std::string& where, const std::vector<Handle>& frames);
} // namespace ksolan

#endif
