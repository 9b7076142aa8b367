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
    const RunResult without = runCook({scene});
    EXPECT_EQ(without.status, 1);
    EXPECT_EQ(without.out, "");
    EXPECT_EQ(without.err,
              "vexil-cook ERROR: " + scene +
                  ": line 1: ops[0].type: unknown op type \"TestSlow\" (known types: ConstraintEdit, "
                  "ConstraintEditAttributes, ConstraintListEdit, ConstraintResolve, ConstraintSetup)\n");

    RunOptions withFolder;
    withFolder.environment["VEXIL_PLUGIN_PATH"] = VEXIL_SLOW_PLUGIN_DIR;
    const RunResult with = runCook({scene}, withFolder);
    EXPECT_EQ(with.status, 0) << with.err;
    EXPECT_EQ(with.out, kEmptyCooked);
    EXPECT_EQ(with.err, "vexil-cook: 1 location cooked, 0 with errors, 0 with warnings\n");
}
