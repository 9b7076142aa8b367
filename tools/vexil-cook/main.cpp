// vexil-cook: cooks a scene file with the op plug-ins on the search path and prints the cooked scene
// as JSON. Exit status: 0 when the cook finished (locations may carry errors), 1 for input that
// cannot be read or output that cannot be written, 2 for a bad command line.
#include "host/engine/Engine.h"
#include "host/engine/OpRegistry.h"
#include "host/engine/WorldTransforms.h"
#include "host/scene/ScenePaths.h"
#include "host/scene/SceneReader.h"
#include "host/scene/SceneWriter.h"
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include "tools/vexil-cook/CookSummary.h"

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
    bool world = false;
    bool abortMode = false;
    int threads = 0;
    std::vector<std::string> pluginPaths;
};

// One "vexil-cook ERROR: ..." line on standard error.
int fail(const std::string& what, int status = kInputError) {
    std::cerr << "vexil-cook ERROR: " << what << std::endl;
    return status;
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
    try {
        Engine engine(scene, registry, engineOptions);
        cooked = engine.cook();
        // World transforms need every ancestor, so they are computed on the whole scene.
        if (options.world) {
            addWorldAttributes(cooked);
        }
    } catch (const std::exception& error) {
        return fail(options.scenePath + ": the cook failed: " + error.what());
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
    if (options.outputPath.empty()) {
        std::cout << text.str() << std::flush;
        if (!std::cout) {
            return fail("standard output: cannot write");
        }
    } else {
        std::ofstream out(options.outputPath, std::ios::binary | std::ios::trunc);
        if (!out) {
            return fail(options.outputPath + ": cannot write: " + std::strerror(errno));
        }
        out << text.str();
        out.close();
        if (!out) {
            return fail(options.outputPath + ": cannot write: " + std::strerror(errno));
        }
    }

    const CookCounts counts = reportCookProblems(*printed, options.location, std::cerr);
    std::cerr << countsLine(counts) << std::endl;
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
