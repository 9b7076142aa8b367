// Every attribute handle the host hands the plug-in during a cook is given back: after cooking the
// example scenes (and a scene full of failing constraints) in this process and dropping the results,
// the host's live attribute and builder counts are where they started.
#include "host/engine/Engine.h"
#include "host/scene/SceneReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace {

std::pair<int64_t, int64_t> liveCounts() {
    int64_t attributes = 0, builders = 0;
    Qn::Attribute::suite()->getLiveCounts(&attributes, &builders);
    return {attributes, builders};
}

} // namespace

TEST(NoLeak, CookingExamplesReleasesEveryHandle) {
    std::ostringstream diagnostics;
    VexilHost::OpRegistry registry = VexilHost::OpRegistry::load({VEXIL_PLUGIN_DIR}, diagnostics);
    ASSERT_NE(registry.find("ConstraintResolve"), nullptr) << diagnostics.str();

    std::vector<std::string> scenes;
    for (const auto& entry : std::filesystem::directory_iterator(VEXIL_EXAMPLES_DIR)) {
        if (entry.path().extension() == ".json") {
            scenes.push_back(entry.path().string());
        }
    }
    std::sort(scenes.begin(), scenes.end());
    ASSERT_FALSE(scenes.empty());

    // Read once before counting: the registry and the first reads create long-lived values.
    (void)VexilHost::readSceneFile(scenes.front());
    const auto before = liveCounts();
    for (const std::string& path : scenes) {
        SCOPED_TRACE(path);
        VexilHost::SceneFile scene = VexilHost::readSceneFile(path);
        for (bool abortMode : {false, true}) {
            VexilHost::EngineOptions options;
            options.threads = 2;
            options.abortMode = abortMode;
            VexilHost::Engine engine(scene, registry, options);
            VexilHost::SceneLocation cooked = engine.cook();
            EXPECT_EQ(cooked.name, "root");
        }
    }
    EXPECT_EQ(liveCounts(), before);
}
