#include "Scan.h"

#include "Pictures.h"
#include "Progress.h"

#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.h>
#include <kSolan/S3d/kS3dPhaseDecoder.h>
#include <kSolan/S3d/kS3dStripeDecoder.h>
#include <kSolan/kpp/Common/kppPhasePixel2.h>

#include <kBasis/kArray2.h>
#include <kBasis/kDat6Serializer.h>
#include <kBasis/kImage.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>

namespace fs = std::filesystem;

namespace ksolan
{
kSize Encoding::FrameCount() const
{
    if (!IsEmbedded()) return 1 + stripes + phases;
    kSize count = 0;
    for (kSize s : steps)
        count += s;
    return count;
}

std::vector<double> Encoding::Periods() const
{
    std::vector<double> periods;
    double period = 1;
    for (double c : coefficients)
        periods.push_back(period *= c);
    return periods;
}

kSize Encoding::OrderCount() const
{
    if (!IsEmbedded()) return (kSize)1 << stripes;
    const std::vector<double> periods = Periods();
    // Whole coefficients give an exact ratio; the margin keeps the rounding of others from
    // adding an order.
    return (kSize)std::ceil(periods.back() / periods.front() - 1e-9);
}

std::string Encoding::FrameText() const
{
    if (!IsEmbedded())
        return "1 reference, " + std::to_string(stripes) + " stripe, " + std::to_string(phases) +
               " phase";
    std::string text = "phase steps ";
    for (kSize i = 0; i < steps.size(); ++i)
        text += (i ? ", " : "") + std::to_string(steps[i]);
    return text;
}

void Encoding::Validate() const
{
    if (!IsEmbedded()) return;
    const kSize n = coefficients.size();
    if (n < 2)
        throw Error("an embedded sequence needs at least 2 frequencies, --embedded gives " +
                    std::to_string(n));
    if (n > kS3D_EMBEDDED_PHASE_MAX_FREQUENCIES)
        throw Error("an embedded sequence has at most " +
                    std::to_string(kS3D_EMBEDDED_PHASE_MAX_FREQUENCIES) +
                    " frequencies, --embedded gives " + std::to_string(n));
    if (steps.size() != n)
        throw Error("--steps gives " + std::to_string(steps.size()) + " step counts for " +
                    std::to_string(n) + " frequencies");
    if (OrderCount() > kS3D_STRIPE_CODE_NULL)
        throw Error("--embedded " + CommaList(coefficients) + " gives " +
                    std::to_string(OrderCount()) + " fringe orders, at most " +
                    std::to_string(kS3D_STRIPE_CODE_NULL) + " fit the 8-bit code map");
}

void StageTimes::Add(const std::string& stage, double seconds)
{
    m_stages.emplace_back(stage, seconds);
}

void StageTimes::Print() const
{
    printf("time per stage:\n");
    for (const auto& [stage, seconds] : m_stages)
        printf("  %-22s %9.1f ms\n", stage.c_str(), seconds * 1e3);
}

namespace
{
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

Handle NewMap(kType type, kSize width, kSize height)
{
    Handle map;
    Check(kArray2_Construct(map.Out(), type, height, width, kNULL), "cannot allocate a map");
    return map;
}

/* Code × P + (P − phase), as the phase combiner stores it; null unless both are valid. */
void Combine(const Maps& maps, k32u period)
{
    const kSize count = kArray2_Count(maps.phase);
    const kPhasePixel* phase = kArray2_DataT<kPhasePixel>(maps.phase);
    const k8u* code = kArray2_DataT<k8u>(maps.code);
    kPhasePixel2* absolute = kArray2_DataT<kPhasePixel2>(maps.absolute);
    for (kSize i = 0; i < count; ++i)
    {
        kpp::PhasePixel2 pixel(absolute[i]);
        pixel.SetIntensity(phase[i].intensity);
        if (phase[i].phase == k16S_NULL || code[i] == kS3D_STRIPE_CODE_NULL)
        {
            pixel.SetNull();
            pixel.SetIntensity(0);
        }
        else
            pixel.SetPhase(period, code[i], phase[i].phase);
    }
}

/* Owns a decoder of either kind. */
template <typename Construct>
Handle NewDecoder(Construct construct, const char* what)
{
    Handle decoder;
    Check(construct(decoder.Out(), kNULL), std::string("cannot construct the ") + what);
    return decoder;
}

void DecodeStripePhase(const std::vector<Handle>& frames, const Encoding& encoding,
                       const Maps& maps, StageTimes& times)
{
    const kSize width = kImage_Width(frames.front()), height = kImage_Height(frames.front());
    auto start = Clock::now();
    {
        Handle stripe = NewDecoder(kS3dStripeDecoder_Construct, "stripe decoder");
        Check(kS3dStripeDecoder_SetImageSize(stripe, width, height), "stripe decoder: image size");
        Check(kS3dStripeDecoder_SetStripeImageCount(stripe, encoding.stripes),
              "stripe decoder: stripe count");
        Check(kS3dStripeDecoder_SetContrastThreshold(stripe, encoding.stripeContrast),
              "stripe decoder: contrast threshold");
        Check(kS3dStripeDecoder_Begin(stripe, maps.code), "stripe decoder: begin");
        Progress progress("stripe decoding", encoding.stripes + 1);
        Check(kS3dStripeDecoder_UpdateReferenceImage(stripe, frames[0]),
              "stripe decoder: reference frame");
        progress.Step();
        for (kSize i = 0; i < encoding.stripes; ++i, progress.Step())
            Check(kS3dStripeDecoder_UpdateStripeImage(stripe, i, frames[1 + i]),
                  "stripe decoder: frame " + std::to_string(1 + i));
    }
    times.Add("stripe decoding", SecondsSince(start));

    start = Clock::now();
    {
        Handle phase = NewDecoder(kS3dPhaseDecoder_Construct, "phase decoder");
        Check(kS3dPhaseDecoder_SetImageSize(phase, width, height), "phase decoder: image size");
        Check(kS3dPhaseDecoder_SetImageCount(phase, encoding.phases), "phase decoder: frame count");
        Check(kS3dPhaseDecoder_SetPhasePeriod(phase, encoding.phasePeriod),
              "phase decoder: phase period");
        Check(kS3dPhaseDecoder_SetContrastThreshold(phase, encoding.phaseContrast),
              "phase decoder: contrast threshold");
        Check(kS3dPhaseDecoder_Begin(phase, maps.phase), "phase decoder: begin");
        Progress progress("phase decoding", encoding.phases);
        const kSize first = 1 + encoding.stripes;
        for (kSize i = 0; i < encoding.phases; ++i, progress.Step())
            Check(kS3dPhaseDecoder_Update(phase, i, frames[first + i]),
                  "phase decoder: frame " + std::to_string(first + i));
    }
    times.Add("phase decoding", SecondsSince(start));
}

/* The last frame does the work of the sequence (wrapped phases, beats, smoothing, orders), so
   it is timed on its own. */
void DecodeEmbedded(const std::vector<Handle>& frames, const Encoding& encoding, const Maps& maps,
                    StageTimes& times)
{
    const kSize width = kImage_Width(frames.front()), height = kImage_Height(frames.front());
    auto start = Clock::now();
    Handle decoder = NewDecoder(kS3dEmbeddedPhaseDecoder_Construct, "embedded phase decoder");
    Check(kS3dEmbeddedPhaseDecoder_SetImageSize(decoder, width, height),
          "embedded phase decoder: image size");
    Check(kS3dEmbeddedPhaseDecoder_SetSequenceInfo(decoder, encoding.coefficients.data(),
                                                   encoding.steps.data(),
                                                   encoding.coefficients.size()),
          "embedded phase decoder: sequence");
    Check(kS3dEmbeddedPhaseDecoder_SetPhasePeriod(decoder, encoding.phasePeriod),
          "embedded phase decoder: phase period");
    // This decoder keeps a pixel whose contrast reaches the threshold; one more makes the
    // tool's contrast mean the same for both encodings: a valid phase exceeds it.
    Check(kS3dEmbeddedPhaseDecoder_SetContrastThreshold(decoder, (kSize)encoding.phaseContrast + 1),
          "embedded phase decoder: contrast threshold");
    Check(kS3dEmbeddedPhaseDecoder_Begin(decoder, maps.code, maps.phase),
          "embedded phase decoder: begin");
    {
        Progress progress("embedded frames", frames.size() - 1);
        for (kSize i = 0; i + 1 < frames.size(); ++i, progress.Step())
            Check(kS3dEmbeddedPhaseDecoder_Update(decoder, frames[i]),
                  "embedded phase decoder: frame " + std::to_string(i));
    }
    times.Add("embedded frames", SecondsSince(start));

    start = Clock::now();
    Check(kS3dEmbeddedPhaseDecoder_Update(decoder, frames.back()),
          "embedded phase decoder: frame " + std::to_string(frames.size() - 1));
    times.Add("order and phase", SecondsSince(start));
}
} // namespace

Maps Decode(const std::vector<Handle>& frames, const Encoding& encoding, StageTimes& times)
{
    const kSize width = kImage_Width(frames.front()), height = kImage_Height(frames.front());
    Maps maps;
    maps.phase = NewMap(kTypeOf(kPhasePixel), width, height);
    maps.code = NewMap(kTypeOf(k8u), width, height);
    maps.absolute = NewMap(kTypeOf(kPhasePixel2), width, height);

    if (encoding.IsEmbedded())
        DecodeEmbedded(frames, encoding, maps, times);
    else
        DecodeStripePhase(frames, encoding, maps, times);

    auto start = Clock::now();
    Combine(maps, encoding.phasePeriod);
    times.Add("code and phase", SecondsSince(start));
    return maps;
}

std::vector<Handle> ReadFrames(const std::vector<std::string>& paths, const Encoding& encoding)
{
    if (paths.size() != encoding.FrameCount())
        throw Error("expected " + std::to_string(encoding.FrameCount()) + " frames (" +
                    encoding.FrameText() + "), got " + std::to_string(paths.size()));

    std::vector<Handle> frames;
    Progress progress("reading frames", paths.size());
    for (const std::string& path : paths)
    {
        Handle frame;
        kStatus status = kImage_Import(frame.Out(), path.c_str(), kNULL);
        if (status == kSTATUS_NOT_FOUND) throw Error("cannot open frame " + path);
        if (status == kSTATUS_BAD_PARAMETER)
            throw Error(path + ": frames must be .png or .bmp files");
        if (status == kSTATUS_BAD_FORMAT || status == kSTATUS_INCOMPLETE)
            throw Error(path + " is not a readable PNG or BMP image");
        Check(status, "cannot read " + path);
        if (kImage_PixelType(frame) != kTypeOf(k8u))
            throw Error(path + " is not an 8-bit grey image");

        const kSize width = kImage_Width(frame), height = kImage_Height(frame);
        if (!frames.empty() &&
            (width != kImage_Width(frames[0]) || height != kImage_Height(frames[0])))
            throw Error(path + " is " + std::to_string(width) + "x" + std::to_string(height) +
                        ", the first frame " + std::to_string(kImage_Width(frames[0])) + "x" +
                        std::to_string(kImage_Height(frames[0])));
        if (width == 0 || height == 0) throw Error(path + " is empty");
        frames.push_back(std::move(frame));
        progress.Step();
    }
    return frames;
}

OutputFolder::OutputFolder(const std::string& path) : m_path(path)
{
    std::error_code error;
    if (fs::exists(path, error))
    {
        if (!fs::is_directory(path, error)) throw Error(path + " exists and is not a folder");
        return;
    }
    if (!fs::create_directories(path, error))
        throw Error("cannot create the folder " + path + ": " + error.message());
    m_created = true;
}

OutputFolder::~OutputFolder()
{
    if (m_committed) return;
    std::error_code error;
    if (m_created)
        fs::remove_all(m_path, error);
    else
        for (const std::string& file : m_written)
            fs::remove(file, error);
}

std::string OutputFolder::File(const std::string& name)
{
    fs::path path = fs::path(m_path) / name;
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error) throw Error("cannot create the folder " + path.parent_path().string());
    m_written.push_back(path.string());
    return m_written.back();
}

void WriteMaps(OutputFolder& folder, const std::string& where, const Maps& maps,
               const Encoding& encoding)
{
    const kSize width = kArray2_Length(maps.phase, 1), height = kArray2_Length(maps.phase, 0);
    const kSize count = width * height;
    const float none = std::numeric_limits<float>::quiet_NaN();
    const kPhasePixel* phase = kArray2_DataT<kPhasePixel>(maps.phase);
    const k8u* code = kArray2_DataT<k8u>(maps.code);
    kPhasePixel2* absolute = kArray2_DataT<kPhasePixel2>(maps.absolute);

    const fs::path base(where);
    auto file = [&](const std::string& name) { return folder.File((base / name).string()); };
    auto write =
        [&](const std::string& name, Palette palette, double lo, double hi, bool legend, auto value)
    {
        ScalarMap map{width, height, std::vector<float>(count)};
        for (kSize i = 0; i < count; ++i)
            map.values[i] = value(i);
        WritePicture(file(name), map, palette, lo, hi, legend);
    };
    const double P = encoding.phasePeriod;
    write("phase.png", Palette::Cyclic, 0, P, true,
          [&](kSize i) { return phase[i].phase == k16S_NULL ? none : (float)phase[i].phase; });
    write("absolute-phase.png", Palette::Sequential, 0, encoding.AbsoluteRange(), true,
          [&](kSize i)
          {
              kpp::PhasePixel2 pixel(absolute[i]);
              return pixel.IsNull() ? none : (float)pixel.Phase();
          });
    const std::string codeName = encoding.CodeName();
    write(codeName + ".png", Palette::Sequential, 0, (double)encoding.OrderCount() - 1, true,
          [&](kSize i) { return code[i] == kS3D_STRIPE_CODE_NULL ? none : (float)code[i]; });
    write("contrast.png", Palette::Sequential, 0, 255, true,
          [&](kSize i) { return (float)phase[i].contrast; });
    write("intensity.png", Palette::Grey, 0, 255, false,
          [&](kSize i) { return (float)phase[i].intensity; });

    auto save = [&](const std::string& name, kObject map)
    {
        std::string path = file(name + ".kdat6");
        Check(kSave6(map, path.c_str()), "cannot write " + path);
    };
    save("phase", maps.phase);
    save(codeName, maps.code);
    save("absolute-phase", maps.absolute);
}

void WriteFrames(OutputFolder& folder, const std::string& where, const std::vector<Handle>& frames)
{
    Progress progress("writing frames", frames.size());
    for (kSize i = 0; i < frames.size(); ++i, progress.Step())
    {
        char name[48];
        snprintf(name, sizeof(name), "frames/frame-%02zu.png", i);
        std::string path = folder.File((fs::path(where) / name).string());
        Check(kImage_Export(frames[i], path.c_str()), "cannot write " + path);
    }
}
} // namespace ksolan
