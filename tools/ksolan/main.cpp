// ksolan: command-line front end of the library: the built-in demo scans, decoding of a user's
// own stripe-and-phase or embedded-phase frames, and what this build contains.
#include "Demo.h"
#include "Scan.h"

#include <kSolan/S3d/kS3dEmbeddedPhaseDecoder.h>
#include <kSolan/kSolan.h>

#include <kTessel/kCudaUtils.h>

#include <kBasis/kArray2.h>
#include <kBasis/kImage.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>

#if defined(_OPENMP)
#include <omp.h>
#endif

namespace
{
using namespace ksolan;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string VersionText(kVersion version)
{
    return std::to_string(kVersion_Major(version)) + "." + std::to_string(kVersion_Minor(version)) +
           "." + std::to_string(kVersion_Release(version)) + "." +
           std::to_string(kVersion_Build(version));
}

void PrintWritten(const std::string& path, const Encoding& encoding)
{
    const std::string code = encoding.CodeName();
    printf("pictures: %s/{phase,absolute-phase,%s,contrast,intensity}.png\n", path.c_str(),
           code.c_str());
    printf("maps:     %s/{phase,%s,absolute-phase}.kdat6\n", path.c_str(), code.c_str());
}

/* Figures, times and files of one demo scan; `options` are the decode options that read its
   frames back. */
void PrintDemoScan(const DemoScan& scan, const std::string& path, const Encoding& encoding,
                   const std::string& options)
{
    scan.accuracy.Print();
    scan.times.Print();
    PrintWritten(path, encoding);
    printf("frames:   %s/frames/frame-00.png … frame-%02zu.png\n", path.c_str(), scan.frames - 1);
    printf("decode them again: ksolan decode%s -o %s/decoded %s/frames/*.png\n", options.c_str(),
           path.c_str(), path.c_str());
}

struct DemoOptions
{
    std::string output = "ksolan-demo";
    kSize width = 640;
    kSize height = 480;
    k32u seed = 1;
};

void RunDemo(const DemoOptions& options)
{
    const Encoding encoding;
    printf("demo scan: %zux%zu camera, sphere and step on a tilted plane; 1 reference, "
           "%zu stripe and %zu phase frames, fringe period %g projector columns, P = %u\n",
           options.width, options.height, encoding.stripes, encoding.phases, kDemoPeriod,
           encoding.phasePeriod);
    OutputFolder folder(options.output);
    const DemoScan stripeScan =
        RunDemoScan(folder, "", encoding, options.width, options.height, options.seed);

    const Encoding embedded = DemoEmbeddedEncoding();
    const std::string embeddedPath = folder.Path() + "/embedded";
    const DemoScan embeddedScan =
        RunDemoScan(folder, "embedded", embedded, options.width, options.height, options.seed);
    folder.Commit();

    PrintDemoScan(stripeScan, folder.Path(), encoding, "");

    printf("\nembedded-phase scan of the same scene: coefficients %s (periods %s projector "
           "columns), %s, P = %u; %zu projector columns, each %g times as wide as above\n",
           CommaList(embedded.coefficients).c_str(), CommaList(embedded.Periods()).c_str(),
           embedded.FrameText().c_str(), embedded.phasePeriod, DemoProjectorWidth(embedded),
           kEmbeddedColumnWidth);
    PrintDemoScan(embeddedScan, embeddedPath, embedded,
                  " --embedded " + CommaList(embedded.coefficients) + " --steps " +
                      CommaList(embedded.steps));
}

void RunDecode(const std::vector<std::string>& paths, const Encoding& encoding,
               const std::string& output)
{
    StageTimes times;
    auto start = Clock::now();
    std::vector<Handle> frames = ReadFrames(paths, encoding);
    times.Add("reading frames", SecondsSince(start));
    OutputFolder folder(output);

    Maps maps = Decode(frames, encoding, times);
    start = Clock::now();
    WriteMaps(folder, "", maps, encoding);
    times.Add("writing files", SecondsSince(start));
    folder.Commit();

    const kSize count = kArray2_Count(maps.absolute);
    const kPhasePixel2* absolute = kArray2_DataT<kPhasePixel2>(maps.absolute);
    const kSize valid =
        (kSize)std::count_if(absolute, absolute + count,
                             [](kPhasePixel2 p) { return kPhasePixel2_Phase(&p) != k24U_NULL; });
    printf("decoded %zu frames of %zux%zu: %.2f %% of the pixels have an absolute phase\n",
           frames.size(), kImage_Width(frames[0]), kImage_Height(frames[0]), 100.0 * valid / count);
    times.Print();
    PrintWritten(folder.Path(), encoding);
}

void RunInfo(kAssembly assembly)
{
    printf("%s %s (platform %s)\n", kAssembly_Name(assembly),
           VersionText(kAssembly_Version(assembly)).c_str(),
           VersionText(kAssembly_PlatformVersion(assembly)).c_str());
    printf("CUDA:     %s, device %s\n", kCudaRuntime_IsAvailable() ? "built in" : "not built in",
           kCudaDevice_IsAvailable(kTRUE) ? "present" : "absent (host paths)");
#if defined(_OPENMP)
    printf("OpenMP:   %d threads\n", omp_get_max_threads());
#else
    printf("OpenMP:   not used by this build\n");
#endif
    const kSize count = kAssembly_TypeCount(assembly);
    printf("registered types: %zu\n", count);
    std::string line = " ";
    for (kSize i = 0; i < count; ++i)
    {
        std::string name = kType_Name(kAssembly_TypeAt(assembly, i));
        if (line.size() + name.size() + 1 > 100)
        {
            printf("%s\n", line.c_str());
            line = " ";
        }
        line += " " + name;
    }
    if (line.size() > 1) printf("%s\n", line.c_str());
}

/* CLI11's own positive-number check names its range with 300 digits; this one says it plainly. */
CLI::Validator PositiveNumber()
{
    return CLI::Validator(
        [](std::string& text)
        {
            double value = 0;
            if (!CLI::detail::lexical_cast(text, value) || !(value > 0) || !std::isfinite(value))
                return text + " is not a positive number";
            return std::string();
        },
        "POSITIVE");
}

/* One line on stderr for every failure. */
int Fail(std::string message)
{
    std::replace(message.begin(), message.end(), '\n', ' ');
    fprintf(stderr, "ksolan: %s\n", message.c_str());
    return 1;
}
} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"kSolan command-line tool: the demo scans, decoding of stripe-and-phase or "
                 "embedded-phase frames, and build information."};
    app.require_subcommand(1);

    DemoOptions demo;
    CLI::App* demoCommand =
        app.add_subcommand("demo", "Render the built-in scene as a stripe-and-phase and an "
                                   "embedded-phase scan, decode both, report their accuracy and "
                                   "write pictures, maps and frames.");
    demoCommand->add_option("-o,--output", demo.output, "Output folder")->capture_default_str();
    demoCommand->add_option("--width", demo.width, "Camera width in pixels")
        ->capture_default_str()
        ->check(CLI::Range(32, 4096));
    demoCommand->add_option("--height", demo.height, "Camera height in pixels")
        ->capture_default_str()
        ->check(CLI::Range(32, 4096));
    demoCommand->add_option("--seed", demo.seed, "Seed of the sensor noise")->capture_default_str();

    Encoding encoding;
    std::vector<std::string> paths;
    std::string decodeOutput = "ksolan-decode";
    CLI::App* decodeCommand = app.add_subcommand(
        "decode", "Decode stripe-and-phase frames (8-bit grey PNG or BMP): the reference frame, "
                  "the stripe frames (most significant first), then the phase frames; or, with "
                  "--embedded and --steps, embedded-phase frames: one block of phase frames per "
                  "frequency, finest first.");
    decodeCommand->add_option("frames", paths, "Frame files in projection order")->required();
    decodeCommand->add_option("-o,--output", decodeOutput, "Output folder")->capture_default_str();
    CLI::Option* stripesOption =
        decodeCommand->add_option("--stripes", encoding.stripes, "Gray-code stripe frames")
            ->capture_default_str()
            ->check(CLI::Range(1, 8));
    CLI::Option* phasesOption =
        decodeCommand->add_option("--phases", encoding.phases, "Phase-shifted fringe frames")
            ->capture_default_str()
            ->check(CLI::Range(3, 31));
    decodeCommand->add_option("--period", encoding.phasePeriod, "Phase period P (phase units)")
        ->capture_default_str()
        ->check(CLI::Range(1, 32767));
    decodeCommand
        ->add_option("--contrast", encoding.phaseContrast,
                     "Fringe contrast a valid phase must exceed, grey levels")
        ->capture_default_str()
        ->check(CLI::Range(0, 255));
    CLI::Option* stripeContrastOption =
        decodeCommand
            ->add_option("--stripe-contrast", encoding.stripeContrast,
                         "Difference from the reference a stripe bit needs, grey levels")
            ->capture_default_str()
            ->check(CLI::Range(0, 255));
    CLI::Option* embeddedOption =
        decodeCommand
            ->add_option("--embedded", encoding.coefficients,
                         "Embedded-phase frames instead of stripes: period coefficients, finest "
                         "first, in projector columns (7,7,14: periods 7, 49, 686)")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(PositiveNumber())
            ->excludes(stripesOption)
            ->excludes(phasesOption)
            ->excludes(stripeContrastOption);
    decodeCommand
        ->add_option("--steps", encoding.steps,
                     "Embedded phase: phase-shifted frames per frequency (5,5,5)")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::Range(3, kS3D_EMBEDDED_PHASE_MAX_STEPS))
        ->needs(embeddedOption);
    embeddedOption->needs("--steps");

    CLI::App* infoCommand = app.add_subcommand("info", "Version, build options, registered types.");

    const std::string first = argc > 1 ? argv[1] : "";
    if (first.empty()) return Fail("a command is required: demo, decode or info");
    auto known = [&first](const CLI::App* command) { return command->check_name(first); };
    if (first[0] != '-' && !known(demoCommand) && !known(decodeCommand) && !known(infoCommand))
        return Fail("unknown command " + first + " (commands: demo, decode, info)");
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(e);
        return Fail(e.what());
    }

    kAssembly assembly = kNULL;
    kStatus status = kSolan_Construct(&assembly);
    if (!kSuccess(status))
        return Fail(std::string("cannot load the library: ") + kStatus_Name(status));
    Handle library(assembly);
    try
    {
        if (demoCommand->parsed()) RunDemo(demo);
        if (decodeCommand->parsed())
        {
            encoding.Validate();
            RunDecode(paths, encoding, decodeOutput);
        }
        if (infoCommand->parsed()) RunInfo(assembly);
    }
    catch (const Error& e)
    {
        return Fail(e.what());
    }
    catch (const std::exception& e)
    {
        return Fail(std::string("unexpected failure: ") + e.what());
    }
    return 0;
}
