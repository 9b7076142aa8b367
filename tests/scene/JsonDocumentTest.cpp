// The JSON reader of scene files: the rows of json-document.json, the nesting limit and wide objects.
#include "host/scene/JsonDocument.h"
#include "tests/support/JsonFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace VexilHost;
using Json = nlohmann::ordered_json;
using ::testing::HasSubstr;

namespace {

const Json& cases(const char* name) {
    static const Json file = VexilTest::readJsonFile(VEXIL_SCENE_CASES_DIR "/json-document.json");
    return file.at(name);
}

} // namespace

TEST(JsonDocument, ErrorsGiveLineAndColumnOfTheOffendingCharacter) {
    for (const Json& c : cases("errors")) {
        const std::string text = c.at("text");
        try {
            parseJsonDocument(text);
            EXPECT_FALSE(c.contains("line")) << "no error for " << text;
        } catch (const JsonSyntaxError& error) {
            ASSERT_TRUE(c.contains("line")) << error.what();
            EXPECT_EQ(error.line(), c.at("line")) << text;
            EXPECT_EQ(error.column(), c.at("column")) << text;
            if (c.contains("message")) {
                EXPECT_EQ(error.what(), c.at("message")) << text;
            } else {
                EXPECT_THAT(error.what(), HasSubstr(c.at("contains"))) << text;
                EXPECT_THAT(error.what(), ::testing::Not(HasSubstr("json.exception"))) << text;
            }
        }
    }
}

TEST(JsonDocument, LinesOfPaths) {
    const Json& table = cases("linesOfPaths");
    for (const Json& c : table.at("cases")) {
        JsonPath path;
        for (const Json& step : c[0]) {
            path.push_back(step.is_string() ? JsonPathStep{step.get<std::string>(), 0, false}
                                            : JsonPathStep{std::string(), step.get<std::size_t>(), true});
        }
        EXPECT_EQ(lineOfJsonPath(table.at("text"), path), c[1]) << formatJsonPath(path);
    }
}

TEST(JsonDocument, NestingIsLimited) {
    const std::string deepest = std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']');
    EXPECT_NO_THROW(parseJsonDocument(deepest));
    // One level more: the error points at the bracket that opens it, on the second line.
    const std::string tooDeep =
        "\n" + std::string(kMaxJsonDepth, '[') + "{}" + std::string(kMaxJsonDepth, ']');
    try {
        parseJsonDocument(tooDeep);
        ADD_FAILURE() << "no error for nesting deeper than the limit";
    } catch (const JsonSyntaxError& error) {
        EXPECT_STREQ(error.what(), "objects and arrays nested deeper than 4096 levels");
        EXPECT_EQ(error.line(), 2u);
        EXPECT_EQ(error.column(), kMaxJsonDepth + 1);
    }
}

TEST(JsonDocument, WideObjectsParseInOrder) {
    std::string text = "{";
    const int count = 100000;
    for (int i = count - 1; i >= 0; --i) {
        text += "\"n" + std::to_string(i) + "\": " + std::to_string(i) + (i > 0 ? "," : "}");
    }
    const nlohmann::ordered_json document = parseJsonDocument(text);
    ASSERT_EQ(document.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(document.begin().key(), "n" + std::to_string(count - 1));
    EXPECT_EQ(document.back().get<int>(), 0);
}
