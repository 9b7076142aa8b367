// Loading op plug-ins: usable records are registered, every unusable library or record is reported on
// one line and skipped, and nothing brings the host down.
#include "host/loader/OpRegistry.h"
#include "host/services/HostServices.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace VexilHost {
namespace {

using namespace HostTest;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        out.push_back(line);
    }
    return out;
}

TEST(OpRegistry, RegistersEveryOpOfTheTestLibrary) {
    std::ostringstream diagnostics;
    const OpRegistry registry = OpRegistry::load({testPluginDir()}, diagnostics);
    EXPECT_EQ(diagnostics.str(), "");
    EXPECT_EQ(
        registry.opTypes(),
        (std::vector<std::string>{"TestAbortWithoutQuery", "TestAttempts", "TestCreate", "TestEntries",
                                  "TestEscape", "TestExtend", "TestHandOver", "TestMark", "TestQuery",
                                  "TestSerial", "TestStack", "TestThrow", "TestThrowUnknown", "TestWorld"}));
    EXPECT_NE(registry.find("TestMark"), nullptr);
    EXPECT_EQ(registry.find("ConstraintSetup"), nullptr);
    EXPECT_EQ(registry.threadingMode("TestSerial"), 1);
    EXPECT_EQ(registry.threadingMode("TestMark"), 0);
    EXPECT_EQ(registry.libraryOf("TestMark"), testPluginDir() + "/VexilTestOps.so");
}

TEST(OpRegistry, ReportsAndSkipsUnusableLibrariesAndRecords) {
    std::ostringstream diagnostics;
    const OpRegistry registry =
        OpRegistry::load({testPluginDir(), badPluginDir(), "/no/such/folder"}, diagnostics);
    const std::string bad = badPluginDir() + "/";
    const std::string records = "plug-in " + bad + "BadRecords.so: ";
    const std::vector<std::string> got = lines(diagnostics.str());
    const std::vector<std::string> expected = {
        records + "op \"BadApi\": API \"OtherOp\" is not VexilOp; skipped",
        records + "op \"BadVersion\": VexilOp version 2 is not supported (expected 1); skipped",
        records + "op \"BadSetHost\": setHost returned -1; skipped",
        records + "op \"BadNoSuite\": getSuite gave no op suite; skipped",
        records + "op \"BadNoCook\": op suite has no cook function; skipped",
        records + "record 5: has no name; skipped",
        records + "op \"BadGood\": already provided by " + bad + "BadRecords.so; skipped",
        records + "op \"TestMark\": already provided by " + testPluginDir() + "/VexilTestOps.so; skipped",
        "plug-in " + bad + "NoEntry.so: no getPlugins symbol; skipped",
        "plug-in " + bad + "NoRecords.so: offers no plug-ins; skipped",
    };
    ASSERT_EQ(got.size(), expected.size() + 1) << diagnostics.str();
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(got[i], expected[i]);
    }
    // The loader's own reason follows the file name; its wording is the system's.
    const std::string garbage = "plug-in " + bad + "garbage.so: cannot be loaded (";
    EXPECT_EQ(got.back().compare(0, garbage.size(), garbage), 0) << got.back();
    EXPECT_EQ(got.back().substr(got.back().size() - 10), "); skipped");

    // The usable op of the bad library is kept; the first provider of a duplicate wins.
    EXPECT_NE(registry.find("BadGood"), nullptr);
    EXPECT_EQ(registry.libraryOf("TestMark"), testPluginDir() + "/VexilTestOps.so");
    for (const char* skipped : {"BadApi", "BadVersion", "BadSetHost", "BadNoSuite", "BadNoCook"}) {
        EXPECT_EQ(registry.find(skipped), nullptr) << skipped;
    }
}

TEST(OpRegistry, DefaultSearchPathPutsExplicitFoldersFirstThenTheEnvironment) {
    const char* saved = std::getenv("VEXIL_PLUGIN_PATH");
    const std::string restore = saved != nullptr ? saved : "";
    setenv("VEXIL_PLUGIN_PATH", "/env/one::/env/two", 1);
    const std::vector<std::string> path = OpRegistry::defaultSearchPath({"/explicit/a", "/explicit/b"});
    ASSERT_EQ(path.size(), 5u);
    EXPECT_EQ(std::vector<std::string>(path.begin(), path.begin() + 4),
              (std::vector<std::string>{"/explicit/a", "/explicit/b", "/env/one", "/env/two"}));
    // Last, the build's own plug-in folder.
    EXPECT_EQ(path.back().substr(path.back().size() - 8), "/plugins");
    unsetenv("VEXIL_PLUGIN_PATH");
    EXPECT_EQ(OpRegistry::defaultSearchPath({}).size(), 1u);
    if (saved != nullptr) {
        setenv("VEXIL_PLUGIN_PATH", restore.c_str(), 1);
    }
}

TEST(HostServices, OffersTheThreeSuitesByNameAndVersionOnly) {
    const VexilHostServices* host = hostServices();
    ASSERT_NE(host, nullptr);
    EXPECT_STREQ(host->getHostName(), "vexil-cook");
    EXPECT_EQ(host->getSuite("AttributeHost", 5), attributeSuite());
    EXPECT_NE(attributeSuite(), nullptr);
    EXPECT_EQ(host->getSuite("XFormUtilHost", 1), xformUtilSuite());
    EXPECT_EQ(host->getSuite("VexilCookInterfaceUtilsHost", 1), cookUtilsSuite());
    EXPECT_EQ(host->getSuite("AttributeHost", 4), nullptr);
    EXPECT_EQ(host->getSuite("XFormUtilHost", 2), xformUtilSuite());
    EXPECT_EQ(host->getSuite("XFormUtilHost", 3), xformUtilSuite());
    EXPECT_EQ(host->getSuite("XFormUtilHost", 4), nullptr);
    EXPECT_EQ(host->getSuite("Unknown", 1), nullptr);
    EXPECT_EQ(host->getSuite(nullptr, 1), nullptr);
}

} // namespace
} // namespace VexilHost
