// What vexil-cook takes from its surroundings: plug-in folders named by VEXIL_PLUGIN_PATH.
#include "PictureTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilPictureTest;

namespace {

// One op of the slow plug-in, which lives outside the build's plug-ins folder.
const char* const kSlowScene =
    R"({"scene": {}, "ops": [{"type": "TestSlow", "location": "/root", "args": {"sleepMilliseconds": {"int": 0}}}]})";

const char* const kEmptyCooked = "{\n  \"scene\": {\n    \"attrs\": {},\n    \"children\": {}\n  }\n}\n";

} // namespace

TEST(Environment, PluginPathVariableAddsFolders) {
    const ScratchFolder scratch;
    const std::string scene = scratch.write("slow.json", kSlowScene);
    // Without the variable the op's type is unknown (the failure text is the command's, tested there).
    EXPECT_EQ(runCook({scene}).status, 1);

    RunOptions withFolder;
    withFolder.environment["VEXIL_PLUGIN_PATH"] = VEXIL_SLOW_PLUGIN_DIR;
    const RunResult with = runCook({scene}, withFolder);
    EXPECT_EQ(with.status, 0) << with.err;
    EXPECT_EQ(with.out, kEmptyCooked);
    EXPECT_EQ(with.err, "vexil-cook: 1 location cooked, 0 with errors, 0 with warnings\n");
}
