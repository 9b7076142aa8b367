#include "tests/fuzz/InProcessCook.h"

#include "host/engine/Engine.h"
#include "host/scene/SceneReader.h"
#include "host/scene/SceneWriter.h"
#include "host/xform/WorldTransforms.h"
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/LiveCounts.h"

#include <iostream>
#include <sstream>

namespace VexilFuzz {

namespace {

struct CookWay {
    const char* name;
    int threads;
    bool abortMode;
};

const CookWay kWays[] = {{"1 thread", 1, false}, {"2 threads", 2, false}, {"2 threads, abort mode", 2, true}};

std::string cookOnce(const VexilHost::SceneFile& scene, const CookWay& way) {
    VexilHost::EngineOptions options;
    options.threads = way.threads;
    options.abortMode = way.abortMode;
    VexilHost::SceneLocation cooked;
    try {
        VexilHost::Engine engine(scene, pluginRegistry(), options);
        cooked = engine.cook();
        VexilHost::addWorldAttributes(cooked);
    } catch (const std::exception& error) {
        // Every op type is known and every location exists, so the engine has no reason to give up.
        check(false, std::string(way.name) + ": the cook failed: " + error.what());
    }
    std::ostringstream text;
    try {
        VexilHost::writeScene(cooked, text);
    } catch (const VexilHost::SceneWriteError& error) {
        return std::string("unwritable: ") + error.what();
    }
    return text.str();
}

} // namespace

const VexilHost::OpRegistry& pluginRegistry() {
    static const VexilHost::OpRegistry registry = [] {
        std::ostringstream diagnostics;
        VexilHost::OpRegistry loaded =
            VexilHost::OpRegistry::load(VexilHost::OpRegistry::defaultSearchPath({}), diagnostics);
        check(loaded.find("ConstraintResolve") != nullptr,
              "the constraint plug-in was not found on the plug-in path: " + diagnostics.str());
        return loaded;
    }();
    return registry;
}

CookCheckResult cookChecked(const std::string& sceneText, const std::string& name) {
    pluginRegistry();
    CookCheckResult result;
    const auto before = liveCounts();
    {
        VexilHost::SceneReadOptions readOptions;
        readOptions.knownOpTypes = pluginRegistry().opTypes();
        VexilHost::SceneFile scene;
        try {
            scene = VexilHost::readSceneText(sceneText, name, readOptions);
            result.readable = true;
        } catch (const VexilHost::SceneFileError&) {
        }
        if (result.readable) {
            for (const CookWay& way : kWays) {
                const std::string cooked = cookOnce(scene, way);
                if (&way == &kWays[0]) {
                    result.cooked = cooked;
                } else if (cooked != result.cooked) {
                    std::cerr << "---- " << kWays[0].name << ":\n"
                              << result.cooked << "\n---- " << way.name << ":\n"
                              << cooked << "\n---- scene:\n"
                              << sceneText << "\n";
                    check(false, std::string(way.name) + " cooked another scene than " + kWays[0].name);
                }
            }
        }
    }
    const auto after = liveCounts();
    check(after == before, name + ": live counts went from " + describe(before) + " to " + describe(after) +
                               " over the cooks");
    return result;
}

} // namespace VexilFuzz
