// vexil-cook's command line: the options, their checks and the help text.
#pragma once

#include "tools/vexil-cook/OptionValues.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace VexilHost {

/// How the cooked scene is written: chosen by the extension of -o.
enum class OutputFormat { Json, Gltf, Glb };

/// Everything the command line asked for.
struct Options {
    std::string scenePath;  ///< "-": a scene file on standard input
    std::string outputPath; ///< empty: standard output
    OutputFormat outputFormat = OutputFormat::Json;
    std::string location = "/root";
    std::string svgPath;
    std::string pngPath;
    std::string cameraPath;
    std::string explainPath;
    bool world = false;
    bool abortMode = false;
    bool quiet = false;
    bool verbose = false;
    bool failOnError = false;
    int threads = 0;
    std::vector<std::string> pluginPaths;
    std::optional<double> frame;      ///< --frame
    std::optional<FrameRange> frames; ///< --frames
    double fps = 24.0;
    std::optional<std::pair<float, float>> shutter;
    std::optional<int> samples;
    std::uint64_t maxInputBytes = 0;

    /// Whether the scene file is a glTF shot (by its extension).
    bool gltfInput() const;
    /// Whether pictures or an explanation were asked for.
    bool drawsOrExplains() const { return !svgPath.empty() || !pngPath.empty() || !explainPath.empty(); }
};

/// Reads the command line into `options`. Returns -1 to go on, or the exit status to end with: 0
/// after --help or --version (printed on standard output), 2 after a bad command line (reported on
/// standard error as "vexil-cook ERROR: <what>" and a line pointing at --help).
int parseCommandLine(int argc, char** argv, Options& options);

} // namespace VexilHost
