// vexil-cook: cooks a scene file with the op plug-ins on the search path and prints the cooked scene
// as JSON, or draws it (--svg, --png), or explains one location (--explain). Exit status: 0 when the
// cook finished (locations may carry errors), 1 for input that cannot be read or output that cannot
// be written, 2 for a bad command line.
#include "host/engine/Engine.h"
#include "host/loader/OpRegistry.h"
#include "host/scene/ScenePaths.h"
#include "host/scene/SceneReader.h"
#include "host/scene/SceneWriter.h"
#include "host/xform/WorldTransforms.h"
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include "tools/vexil-cook/CookSummary.h"
#include "tools/views/ExplainReport.h"
#include "tools/views/PictureFiles.h"
#include "tools/views/ProgressDisplay.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kInputError = 1;
constexpr int kUsageError = 2;

struct Options {
    std::string scenePath;
    std::string outputPath;
    std::string location = "/root";
    std::string svgPath;
    std::string pngPath;
    std::string cameraPath;
    std::string explainPath;
    bool world = false;
    bool abortMode = false;
    bool quiet = false;
    int threads = 0;
    std::vector<std::string> pluginPaths;
};

// One "vexil-cook ERROR: ..." line on standard error.
int fail(const std::string& what, int status = kInputError) {
    std::cerr << "vexil-cook ERROR: " << what << std::endl;
    return status;
}

constexpr const char* kResolveOpType = "ConstraintResolve";

bool wantsJsonOnStandardOutput(const Options& options) {
    return options.svgPath.empty() && options.pngPath.empty() && options.explainPath.empty();
}

// Cooks `scene`, with a progress line on a terminal for long cooks unless quiet.
VexilHost::SceneLocation cookWithProgress(const VexilHost::SceneFile& scene,
                                          const VexilHost::OpRegistry& registry,
                                          VexilHost::EngineOptions engineOptions, const Options& options,
                                          const std::string& label) {
    using namespace VexilHost;
    std::atomic<int64_t> cooked{0};
    engineOptions.locationsCooked = &cooked;
    ProgressDisplay progress(cooked, std::cerr, label);
    if (!options.quiet && standardErrorIsTerminal()) {
        progress.start();
    }
    Engine engine(scene, registry, engineOptions);
    SceneLocation result = engine.cook();
    progress.stop();
    return result;
}

// The scene as it reaches the chain's last ConstraintResolve op, where the constraint descriptions are
// still unresolved; the cooked scene itself when the chain has no such op.
const VexilHost::SceneLocation& sceneBeforeResolve(const VexilHost::SceneFile& scene,
                                                   const VexilHost::OpRegistry& registry,
                                                   const VexilHost::EngineOptions& engineOptions,
                                                   const Options& options,
                                                   const VexilHost::SceneLocation& cooked,
                                                   VexilHost::SceneLocation& storage, bool& hasResolveOp) {
    size_t resolveAt = scene.ops.size();
    for (size_t i = 0; i < scene.ops.size(); ++i) {
        if (scene.ops[i].type == kResolveOpType) {
            resolveAt = i;
        }
    }
    hasResolveOp = resolveAt < scene.ops.size();
    if (!hasResolveOp) {
        return cooked;
    }
    VexilHost::SceneFile prefix;
    prefix.time = scene.time;
    prefix.variables = scene.variables;
    prefix.root = scene.root;
    prefix.ops.assign(scene.ops.begin(), scene.ops.begin() + static_cast<std::ptrdiff_t>(resolveAt));
    storage =
        cookWithProgress(prefix, registry, engineOptions, options, "vexil-cook: cooking before resolution");
    return storage;
}

int writeText(const std::string& text, const std::string& path) {
    if (path.empty()) {
        std::cout << text << std::flush;
        if (!std::cout) {
            return fail("standard output: cannot write");
        }
        return 0;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) {
        return fail(path + ": cannot write: " + std::strerror(errno));
    }
    out << text;
    out.close();
    if (!out) {
        return fail(path + ": cannot write: " + std::strerror(errno));
    }
    return 0;
}

int cookScene(const Options& options) {
    using namespace VexilHost;
    const OpRegistry registry =
        OpRegistry::load(OpRegistry::defaultSearchPath(options.pluginPaths), std::cerr);
    if (Qn::Attribute::setHost(hostServices()) != 0 || Qn::GroupBuilder::setHost(hostServices()) != 0) {
        return fail("the host offers no attribute suite");
    }
    if (!isLocationPath(options.location)) {
        return fail(options.scenePath + ": --location \"" + options.location +
                    "\" is not a location path (such as /root/world)");
    }

    SceneReadOptions readOptions;
    readOptions.knownOpTypes = registry.opTypes();
    SceneFile scene;
    try {
        scene = readSceneFile(options.scenePath, readOptions);
    } catch (const SceneFileError& error) {
        return fail(error.what());
    }

    EngineOptions engineOptions;
    engineOptions.threads = options.threads;
    engineOptions.abortMode = options.abortMode;
    SceneLocation cooked;
    SceneLocation beforeResolveStorage;
    const SceneLocation* beforeResolve = nullptr;
    bool hasResolveOp = false;
    try {
        cooked = cookWithProgress(scene, registry, engineOptions, options, "vexil-cook: cooking");
        if (!wantsJsonOnStandardOutput(options)) {
            beforeResolve = &sceneBeforeResolve(scene, registry, engineOptions, options, cooked,
                                                beforeResolveStorage, hasResolveOp);
        }
    } catch (const std::exception& error) {
        return fail(options.scenePath + ": the cook failed: " + error.what());
    }

    // Pictures and explanations read the cooked scene before "world" attributes are added to it.
    std::string explanation;
    if (!options.explainPath.empty()) {
        std::ostringstream text;
        if (!writeExplanation(text, options.explainPath,
                              {&scene.root, beforeResolve, &cooked, hasResolveOp})) {
            return fail(options.scenePath + ": --explain " + options.explainPath +
                        ": no such location in the cooked scene");
        }
        explanation = text.str();
    }
    if (!options.svgPath.empty() || !options.pngPath.empty()) {
        Picture::PictureOptions pictureOptions;
        pictureOptions.title = options.scenePath;
        pictureOptions.cameraPath = options.cameraPath;
        try {
            const Picture::PictureModel model(scene.root, *beforeResolve, cooked);
            const std::string error =
                Picture::writePictureFiles(model, pictureOptions, options.svgPath, options.pngPath);
            if (!error.empty()) {
                return fail(error);
            }
        } catch (const Picture::PictureError& error) {
            return fail(options.scenePath + ": " + error.what());
        }
    }
    // World transforms need every ancestor, so they are computed on the whole scene.
    if (options.world) {
        addWorldAttributes(cooked);
    }

    const SceneLocation* printed = findLocation(cooked, options.location);
    if (!printed) {
        return fail(options.scenePath + ": --location " + options.location +
                    ": no such location in the cooked scene");
    }

    // The whole text is made before anything is written, so a failure leaves no half-written JSON.
    std::ostringstream text;
    try {
        writeScene(*printed, text, options.location);
    } catch (const SceneWriteError& error) {
        return fail(options.scenePath + ": the cooked scene cannot be written: " + error.what());
    }
    // The JSON goes to -o, else to standard output unless a picture or an explanation was asked for.
    if (!options.outputPath.empty() || wantsJsonOnStandardOutput(options)) {
        if (const int status = writeText(text.str(), options.outputPath)) {
            return status;
        }
    }
    if (!explanation.empty()) {
        if (const int status = writeText(explanation, std::string())) {
            return status;
        }
    }

    if (!options.quiet) {
        std::ostringstream report;
        const CookCounts counts = reportCookProblems(*printed, options.location, report);
        std::cerr << report.str() << countsLine(counts) << std::endl;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Cooks a scene file with the op plug-ins and prints the cooked scene as JSON.",
                 "vexil-cook"};
    Options options;
    app.add_option("SCENE", options.scenePath, "The scene file (JSON) to cook")->required();
    app.add_option("-o,--output", options.outputPath,
                   "Write the cooked scene to this file instead of standard output");
    app.add_flag("--world", options.world, "Give every location a \"world\" attribute: its world transform");
    app.add_option("--location", options.location, "Print only the subtree at this location path")
        ->type_name("PATH");
    app.add_option("--threads", options.threads, "Cook threads (0: one per core)")
        ->check(CLI::Range(0, 4096))
        ->type_name("N");
    app.add_option("--plugin-path", options.pluginPaths,
                   "A folder of op plug-ins, searched before VEXIL_PLUGIN_PATH and the build's plug-ins "
                   "(repeatable)")
        ->allow_extra_args(false)
        ->type_name("DIR");
    app.add_flag("--abort-mode", options.abortMode,
                 "Abort the first query of a location not yet cooked, cook it, then cook the asker again");
    app.add_option("--svg", options.svgPath,
                   "Draw the cooked scene (top, front, side and camera views) as SVG into this file")
        ->type_name("FILE");
    app.add_option("--png", options.pngPath, "Draw the cooked scene as a PNG image into this file")
        ->type_name("FILE");
    app.add_option("--camera", options.cameraPath,
                   "The camera of the pictures' camera view (default: the first camera of the scene)")
        ->type_name("PATH");
    app.add_option("--explain", options.explainPath,
                   "Print an account of how the op chain treated the constraints of this location")
        ->type_name("PATH");
    app.add_flag("--quiet", options.quiet,
                 "No progress line and no report of errors and warnings on standard error");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error); // --help
        }
        fail(error.what(), kUsageError);
        std::cerr << "Run vexil-cook --help for the options." << std::endl;
        return kUsageError;
    }
    try {
        return cookScene(options);
    } catch (const std::exception& error) {
        return fail(options.scenePath + ": " + error.what());
    } catch (...) {
        return fail(options.scenePath + ": an unknown failure");
    }
}
