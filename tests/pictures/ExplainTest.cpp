// vexil-cook --explain: the account of one location, checked against values worked out by hand. The
// cases are the rows of explain.json: the whole report, or the parts of it each case is about.
#include "PictureTestSupport.h"

#include "CookTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

using namespace VexilPictureTest;
using VexilTest::Json;

TEST(Explain, AccountsOfLocations) {
    const Json cases = VexilTest::readJsonFile(VEXIL_PICTURE_CASES_DIR "/explain.json");
    ASSERT_FALSE(cases.empty());
    for (const Json& c : cases) {
        const std::string path = c.at("path");
        SCOPED_TRACE(path + ": " + c.at("why").get<std::string>());
        const std::string name = c.at("scene");
        const std::string folder =
            name.rfind("explain", 0) == 0 ? VEXIL_PICTURE_CASES_DIR : VEXIL_EXAMPLES_DIR;
        const std::string scene = folder + "/" + name;
        const RunResult run = runCook({"--explain", path, scene});
        ASSERT_EQ(run.status, c.value("status", 0)) << run.err;
        if (c.contains("out")) {
            EXPECT_EQ(run.out, c.at("out"));
        }
        for (const Json& part : c.value("contains", Json::array())) {
            EXPECT_NE(run.out.find(part.get<std::string>()), std::string::npos) << part << " in:\n"
                                                                                << run.out;
        }
        if (c.contains("err")) {
            std::string err = c.at("err");
            const size_t at = err.find("{scene}");
            EXPECT_EQ(run.err, at == std::string::npos ? err : err.replace(at, 7, scene));
        }
    }
}
