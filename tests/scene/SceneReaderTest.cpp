// The scene reader: each file of read-write/ read and written again gives its .written.json twin
// exactly, and each row of reader-errors.json gives its exact message.
#include "host/scene/SceneReader.h"
#include "host/scene/SceneWriter.h"
#include "tests/support/JsonFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using namespace VexilHost;
using Json = nlohmann::ordered_json;

TEST(SceneReader, FilesReadAndWrittenAgainTakeTheCanonicalForm) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VEXIL_SCENE_CASES_DIR "/read-write")) {
        const std::string path = entry.path().string();
        if (entry.path().extension() != ".json" || path.find(".written.json") != std::string::npos) {
            continue;
        }
        std::ostringstream written, expected;
        writeSceneFile(readSceneFile(path), written);
        expected << std::ifstream(path.substr(0, path.size() - 5) + ".written.json").rdbuf();
        EXPECT_EQ(written.str(), expected.str()) << path;
        ++files;
    }
    EXPECT_EQ(files, 2);
}

TEST(SceneReader, BadFilesGiveTheirExactMessages) {
    const Json cases = VexilTest::readJsonFile(VEXIL_SCENE_CASES_DIR "/reader-errors.json").at("cases");
    for (const Json& c : cases) {
        const std::string text =
            c.contains("attribute")
                ? "{\n  \"scene\": {\n    \"attrs\": {\n      \"x\": " + c["attribute"].get<std::string>() +
                      "\n    }\n  }\n}\n"
                : c.at("text").get<std::string>();
        SceneReadOptions options;
        if (c.contains("knownOpTypes")) {
            options.knownOpTypes = c["knownOpTypes"].get<std::vector<std::string>>();
        }
        std::string message = "no error";
        try {
            readSceneText(text, "test.json", options);
        } catch (const SceneFileError& error) {
            message = error.what();
        }
        EXPECT_EQ(message, c.at("message").is_null() ? "no error" : c["message"].get<std::string>()) << text;
    }
}
