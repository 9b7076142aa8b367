#include "tools/vexil-cook/CommandLine.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "host/scene/SceneFileError.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iostream>
#include <limits>

namespace VexilHost {

namespace {

constexpr int kUsageError = 2;
/// One run cooks at most this many frames; a farm splits longer shots into chunks.
constexpr std::int64_t kMaxFrames = 1000000;

const char* const kFooter = R"(Scene files:
  FILE.json       a scene file (see docs/scene-format.md); - reads one from standard input
  FILE.gltf|.glb  a glTF 2.0 shot: its default scene below /root/world, constraints from the
                  nodes' extras (see docs/gltf.md)
Output (-o): FILE.gltf or FILE.glb writes glTF with the cooked transforms baked into an
  animation over the frames; any other FILE, or - (standard output, the default), writes JSON.
  With --frames, JSON goes to one file per frame: # in FILE stands for the frame number.

Exit status:
  0  the cook finished; locations may carry errors, which are part of the output
  1  input that cannot be used or output that cannot be written (nothing is printed on
     standard output), or, with --fail-on-error, a cooked location with an error
  2  a bad command line

Environment:
  VEXIL_PLUGIN_PATH  folders of op plug-ins, separated by colons, searched after --plugin-path
                     and before the build's plugins folder

Examples:
  vexil-cook --world examples/point_follow.json
  vexil-cook --frames 1-24 -o baked.glb examples/shot/shot.gltf)";

bool endsWith(const std::string& text, const std::string& ending) {
    if (text.size() < ending.size()) {
        return false;
    }
    return std::equal(ending.rbegin(), ending.rend(), text.rbegin(),
                      [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

int usageError(const std::string& what) {
    std::cerr << "vexil-cook ERROR: " << what << "\nRun vexil-cook --help for the options." << std::endl;
    return kUsageError;
}

// The options that take values, and how many.
const std::pair<const char*, int> kValueOptions[] = {
    {"-o", 1},    {"--output", 1},  {"--location", 1}, {"--frame", 1},          {"--frames", 1},
    {"--fps", 1}, {"--shutter", 2}, {"--samples", 1},  {"--threads", 1},        {"--plugin-path", 1},
    {"--svg", 1}, {"--png", 1},     {"--camera", 1},   {"--max-input-size", 1}, {"--explain", 1},
};

// The first option given an empty value ("-o ''", "--camera=''"), or empty. The option parser would
// take an empty value as no value at all, or as the next argument's, so they are found first.
std::string optionWithEmptyValue(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--") {
            break;
        }
        for (const auto& [name, count] : kValueOptions) {
            if (argument == name) {
                for (int v = 1; v <= count; ++v) {
                    if (i + v < argc && argv[i + v][0] == '\0') {
                        return argument;
                    }
                }
                i += count;
                break;
            }
            if (argument == std::string(name) + "=") {
                return name;
            }
        }
    }
    return std::string();
}

// An empty value is an error, not "not given".
const CLI::Validator kNonEmpty(
    [](std::string& value) { return value.empty() ? std::string("the value is empty") : std::string(); }, "",
    "not empty");

} // namespace

bool Options::gltfInput() const {
    return endsWith(scenePath, ".gltf") || endsWith(scenePath, ".glb");
}

int parseCommandLine(int argc, char** argv, Options& options) {
    CLI::App app{
        "Cooks a scene file or glTF shot with the op plug-ins and prints or writes the cooked scene.",
        "vexil-cook"};
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("vexil-cook ") + VEXIL_VERSION);
    std::string frames;
    std::string maxInputSize;
    std::vector<double> shutter;
    app.add_option("SCENE", options.scenePath, "The scene file (.json), glTF shot (.gltf, .glb) or - to cook")
        ->required()
        ->type_name("FILE")
        ->check(kNonEmpty);
    app.add_option("-o,--output", options.outputPath,
                   "Write the cooked scene to FILE (.gltf, .glb: glTF; else JSON; -: standard output)")
        ->type_name("FILE")
        ->check(kNonEmpty);
    app.add_flag("--world", options.world, "Give every location a \"world\" attribute: its world transform");
    app.add_option("--location", options.location, "Print only the subtree at this location path")
        ->type_name("PATH")
        ->check(kNonEmpty);
    auto* frame = app.add_option("--frame", options.frame, "Cook frame F (the time slice's current time)")
                      ->type_name("F");
    auto* range = app.add_option("--frames", frames, "Cook every S-th frame from A to B (S: 1 when left out)")
                      ->type_name("A-B[:S]")
                      ->check(kNonEmpty);
    frame->excludes(range);
    app.add_option("--fps", options.fps,
                   "Frames per second, which place frames on glTF's time in seconds (24)")
        ->type_name("R")
        ->check(CLI::Validator(
            [](std::string& value) {
                const double fps = std::strtod(value.c_str(), nullptr);
                return fps > 0.0 && fps <= 1e6 ? std::string() : std::string("must be a number above 0");
            },
            "", "positive"));
    app.add_option("--shutter", shutter, "Shutter open and close, in frames from the frame (glTF: 0 0)")
        ->expected(2)
        ->type_name("OPEN CLOSE");
    app.add_option("--samples", options.samples, "Motion samples from shutter open to close (glTF: 1)")
        ->type_name("N")
        ->check(CLI::Range(1, 10000));
    app.add_option("--threads", options.threads, "Cook threads (0: one per core)")
        ->check(CLI::Range(0, 4096))
        ->type_name("N");
    app.add_option("--plugin-path", options.pluginPaths,
                   "A folder of op plug-ins, searched before VEXIL_PLUGIN_PATH and the build's plug-ins "
                   "(repeatable)")
        ->allow_extra_args(false)
        ->type_name("DIR")
        ->check(kNonEmpty);
    app.add_flag("--abort-mode", options.abortMode,
                 "Abort the first query of a location not yet cooked, cook it, then cook the asker again");
    app.add_option("--svg", options.svgPath,
                   "Draw the cooked scene (top, front, side and camera views) as SVG into FILE")
        ->type_name("FILE")
        ->check(kNonEmpty);
    app.add_option("--png", options.pngPath, "Draw the cooked scene as a PNG image into FILE")
        ->type_name("FILE")
        ->check(kNonEmpty);
    app.add_option("--camera", options.cameraPath,
                   "The camera of the pictures' camera view (default: the first camera of the scene)")
        ->type_name("PATH")
        ->check(kNonEmpty);
    app.add_option("--explain", options.explainPath,
                   "Print an account of how the op chain treated the constraints of this location")
        ->type_name("PATH")
        ->check(kNonEmpty);
    app.add_option("--max-input-size", maxInputSize,
                   "Refuse input files larger than SIZE bytes (K, M, G: times 1024; default 1G)")
        ->type_name("SIZE")
        ->check(kNonEmpty);
    app.add_flag("--fail-on-error", options.failOnError,
                 "Exit with status 1 when a cooked location has an error");
    auto* quiet =
        app.add_flag("-q,--quiet", options.quiet,
                     "No progress line and no report of errors, warnings and counts on standard error");
    auto* verbose =
        app.add_flag("-v,--verbose", options.verbose,
                     "Also report the plug-ins found, and what was read, cooked and written, with times");
    quiet->excludes(verbose);
    if (const std::string option = optionWithEmptyValue(argc, argv); !option.empty()) {
        return usageError(option + ": the value is empty");
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error); // --help, --version
        }
        return usageError(error.what());
    }

    const std::string& out = options.outputPath;
    options.outputFormat = endsWith(out, ".gltf")  ? OutputFormat::Gltf
                           : endsWith(out, ".glb") ? OutputFormat::Glb
                                                   : OutputFormat::Json;
    if (out == "-") {
        options.outputPath.clear();
    }
    if (!maxInputSize.empty()) {
        const std::optional<std::uint64_t> bytes = parseByteSize(maxInputSize);
        if (!bytes) {
            return usageError("--max-input-size: \"" + maxInputSize +
                              "\" is not a size (such as 4096, 512M or 2G)");
        }
        options.maxInputBytes = *bytes;
    } else {
        options.maxInputBytes = kDefaultMaxInputBytes;
    }
    if (options.frame && !(std::fabs(*options.frame) <= 1e9)) {
        return usageError("--frame: " + std::to_string(*options.frame) + " is not a frame number");
    }
    if (!shutter.empty()) {
        const double limit = std::numeric_limits<float>::max();
        if (!(std::fabs(shutter[0]) <= limit && std::fabs(shutter[1]) <= limit)) {
            return usageError("--shutter: OPEN and CLOSE must be numbers");
        }
        if (shutter[0] > shutter[1]) {
            return usageError("--shutter: OPEN " + CLI::detail::to_string(shutter[0]) + " is after CLOSE " +
                              CLI::detail::to_string(shutter[1]));
        }
        options.shutter = std::make_pair(static_cast<float>(shutter[0]), static_cast<float>(shutter[1]));
    }
    if (!frames.empty()) {
        options.frames = parseFrameRange(frames);
        if (!options.frames) {
            return usageError("--frames: \"" + frames + "\" is not a frame range (such as 1-24 or 1-100:5)");
        }
        if (options.frames->count() > kMaxFrames) {
            return usageError("--frames: " + std::to_string(options.frames->count()) +
                              " frames are more than the " + std::to_string(kMaxFrames) +
                              " one run cooks; split the range into chunks");
        }
        if (options.drawsOrExplains()) {
            return usageError("--frames: pictures and explanations show one frame; give --frame instead");
        }
        if (options.outputFormat == OutputFormat::Json && options.outputPath.find('#') == std::string::npos) {
            return usageError(
                "--frames: a range writes one JSON file per frame: give -o a name with # for the "
                "frame number (such as -o cooked.####.json), or a .gltf or .glb file");
        }
    }
    // Location paths are read by the one path rule ("/root/world/" is "/root/world"); one that names no
    // location stays as written, for the error that says so.
    for (std::string* path : {&options.location, &options.explainPath, &options.cameraPath}) {
        const std::string named = Qn::PathUtils::normalisedPath(std::string_view(), *path);
        if (!named.empty()) {
            *path = named;
        }
    }
    if (options.outputFormat != OutputFormat::Json && options.location != "/root") {
        return usageError("--location: a glTF output holds the whole scene; --location is for JSON output");
    }
    if (out == "-" && !options.explainPath.empty()) {
        return usageError("-o -: standard output carries the explanation; write the JSON to a file");
    }
    return -1;
}

} // namespace VexilHost
