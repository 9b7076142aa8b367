// The progress line of vexil-cook: shown on a terminal for cooks longer than a second, never when
// standard error is not a terminal or with --quiet. The slow scene's op sleeps 40 ms at each of its
// 42 locations on one thread, so its cook lasts at least 1.68 s.
#include "PictureTestSupport.h"

#include "CookTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilPictureTest;
using VexilTest::Json;

namespace {

std::string slowScene(const ScratchFolder& scratch) {
    Json children = Json::object();
    for (int i = 0; i < 40; ++i) {
        children["n" + std::to_string(i)] = {{"attrs", {{"type", "group"}}}};
    }
    const Json ops = Json::array(
        {{{"type", "TestSlow"}, {"location", "/root"}, {"args", {{"sleepMilliseconds", {{"int", 40}}}}}}});
    return scratch.write("slow.json", VexilTest::sceneFile(children, ops).dump());
}

std::vector<std::string> slowArguments(const std::string& scene, std::vector<std::string> extra = {}) {
    std::vector<std::string> arguments{"--plugin-path", VEXIL_SLOW_PLUGIN_DIR, "--threads", "1", "-o",
                                       "/dev/null"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.push_back(scene);
    return arguments;
}

} // namespace

TEST(Progress, LongCookOnATerminalShowsALineThatEndsWithTheFinalCount) {
    const ScratchFolder scratch;
    const RunResult run = runCook(slowArguments(slowScene(scratch)), VexilTest::terminalOptions());
    ASSERT_EQ(run.status, 0) << run.err;
    // The terminal turns each line feed into a carriage return and a line feed.
    EXPECT_EQ(run.err.rfind("\rvexil-cook: cooking: ", 0), 0u) << run.err;
    const std::string summary = "vexil-cook: 42 locations cooked, 0 with errors, 0 with warnings\r\n";
    ASSERT_GE(run.err.size(), summary.size());
    EXPECT_EQ(run.err.substr(run.err.size() - summary.size()), summary);
    const std::string progress = run.err.substr(0, run.err.size() - summary.size());
    const std::string last = progress.substr(progress.rfind('\r', progress.size() - 3));
    EXPECT_EQ(last.rfind("\rvexil-cook: cooking: 42 locations cooked, ", 0), 0u) << last;
    EXPECT_NE(last.find(" per second, "), std::string::npos) << last;
    EXPECT_EQ(last.substr(last.size() - 15), " s elapsed\x1b[K\r\n") << last;
}

TEST(Progress, SilentWhenNotATerminalOrQuietOrShort) {
    const ScratchFolder scratch;
    const std::string slow = slowScene(scratch);
    const struct {
        const char* what;
        std::vector<std::string> arguments;
        bool terminal;
        std::string err;
    } cases[] = {
        {"not a terminal", slowArguments(slow), false,
         "vexil-cook: 42 locations cooked, 0 with errors, 0 with warnings\n"},
        {"quiet on a terminal", slowArguments(slow, {"--quiet"}), true, ""},
        {"short cook on a terminal",
         {"-o", "/dev/null", std::string(VEXIL_EXAMPLES_DIR) + "/point_follow.json"},
         true,
         "vexil-cook: 4 locations cooked, 0 with errors, 0 with warnings\r\n"},
    };
    for (const auto& c : cases) {
        const RunResult run = runCook(c.arguments, VexilTest::terminalOptions(c.terminal));
        EXPECT_EQ(run.status, 0) << c.what;
        EXPECT_EQ(run.err, c.err) << c.what;
    }
}
