/**
 * @file    Scan.h
 * @brief   A stripe-and-phase scan: its encoding, its camera frames, the decoded maps and the
 *          files the tool writes for them.
 *
 * Frame order is the projector's: one half-intensity reference frame, the Gray-coded stripe
 * frames (most significant bit first), then the phase-shifted fringe frames (shift 2π i / N).
 */
#ifndef KSOLAN_TOOL_SCAN_H
#define KSOLAN_TOOL_SCAN_H

#include "Handle.h"

#include <kBasis/kValue.h>

#include <string>
#include <vector>

namespace ksolan
{
/** How the frames were projected, and the decoders' thresholds. */
struct Encoding
{
    kSize stripes = 5;         ///< Gray-code stripe frames: 2^stripes fringe periods.
    kSize phases = 8;          ///< Phase-shifted fringe frames.
    k32u phasePeriod = 1024;   ///< P: one fringe period spans phases 0 … P − 1.
    k32s phaseContrast = 10;   ///< Fringe contrast (max − min) a valid phase must exceed.
    kSize stripeContrast = 20; ///< Grey levels a stripe pixel must differ from the reference.

    kSize FrameCount() const { return 1 + stripes + phases; }
    /** Largest absolute phase plus one: P × 2^stripes. */
    k32u AbsoluteRange() const { return phasePeriod << stripes; }
};

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

/** Writes the pictures (PNG) and the raw maps (kdat6) of a decoded scan. */
void WriteMaps(OutputFolder& folder, const Maps& maps, const Encoding& encoding);

/** Writes the frames as frames/frame-NN.png, names that sort in frame order. */
void WriteFrames(OutputFolder& folder, const std::vector<Handle>& frames);
} // namespace ksolan

#endif
