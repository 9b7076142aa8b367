#include "host/scene/JsonDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace VexilHost;
using ::testing::HasSubstr;

namespace {

JsonPathStep key(const char* name) {
    return {name, 0, false};
}
JsonPathStep index(std::size_t i) {
    return {std::string(), i, true};
}

} // namespace

TEST(JsonDocument, SyntaxErrorsGiveLineAndColumnOfTheOffendingCharacter) {
    const struct {
        const char* text;
        std::size_t line;
        std::size_t column;
        const char* reason;
    } cases[] = {
        {"", 1, 1, "unexpected end of input"},        {"{\n  \"a\": 1,\n}", 3, 1, "unexpected '}'"},
        {"{\"a\": tru}", 1, 10, "invalid literal"},   {"{\"a\": [1, 2\n\n}", 3, 1, "expected ']'"},
        {"{\"a\": 1}\n  x", 2, 3, "invalid literal"}, {"{\n\t\"a\": \"open\n\"}", 2, 12, "control character"},
        {"{\"a\" 1}", 1, 6, "expected ':'"},
    };
    for (const auto& c : cases) {
        try {
            parseJsonDocument(c.text);
            ADD_FAILURE() << "no error for " << c.text;
        } catch (const JsonSyntaxError& error) {
            EXPECT_EQ(error.line(), c.line) << c.text;
            EXPECT_EQ(error.column(), c.column) << c.text;
            EXPECT_THAT(error.what(), HasSubstr(c.reason)) << c.text;
            EXPECT_THAT(error.what(), ::testing::Not(HasSubstr("json.exception"))) << c.text;
        }
    }
}

TEST(JsonDocument, DuplicateKeysAreErrors) {
    // Small objects are checked one key at a time, large ones through a set: both must catch it.
    std::string large = "{";
    for (int i = 0; i < 40; ++i) {
        large += "\"k" + std::to_string(i) + "\": " + std::to_string(i) + ",\n";
    }
    large += "\"k3\": 0}";
    const struct {
        std::string text;
        std::size_t line;
        std::size_t column;
        const char* message;
    } cases[] = {
        {"{\n \"a\": 1,\n \"a\": 2\n}", 3, 4, "duplicate key \"a\" in one object"},
        {"{\"o\": {\"x\": {}, \"x\": []}}", 1, 19, "duplicate key \"x\" in one object"},
        {large, 41, 4, "duplicate key \"k3\" in one object"},
    };
    for (const auto& c : cases) {
        try {
            parseJsonDocument(c.text);
            ADD_FAILURE() << "no error for " << c.text;
        } catch (const JsonSyntaxError& error) {
            EXPECT_STREQ(error.what(), c.message);
            EXPECT_EQ(error.line(), c.line) << c.text;
            EXPECT_EQ(error.column(), c.column) << c.text;
        }
    }
    // The same key in different objects is fine.
    EXPECT_NO_THROW(parseJsonDocument("{\"a\": {\"a\": 1}, \"b\": {\"a\": 2}}"));
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

TEST(JsonDocument, LinesOfPaths) {
    const std::string text = "{\n"                         // 1
                             "  \"scene\": {\n"            // 2
                             "    \"attrs\": {\"a\": 1,\n" // 3
                             "      \"b\":\n"              // 4
                             "        [1,\n"               // 5
                             "         {\"c\": 2}]},\n"    // 6
                             "    \"children\": {}\n"      // 7
                             "  },\n"                      // 8
                             "  \"ops\": [\n"              // 9
                             "    {\"type\": \"A\"},\n"    // 10
                             "    {\"type\":\n"            // 11
                             "       \"B\"}\n"             // 12
                             "  ]\n"                       // 13
                             "}\n";
    const struct {
        JsonPath path;
        std::size_t line;
    } cases[] = {
        {{key("scene")}, 2},
        {{key("scene"), key("attrs")}, 3},
        {{key("scene"), key("attrs"), key("a")}, 3},
        {{key("scene"), key("attrs"), key("b")}, 4},
        {{key("scene"), key("attrs"), key("b"), index(1)}, 6},
        {{key("scene"), key("attrs"), key("b"), index(1), key("c")}, 6},
        {{key("scene"), key("children")}, 7},
        {{key("ops"), index(1)}, 11},
        {{key("ops"), index(1), key("type")}, 11},
        {{key("ops"), index(0), key("type")}, 10},
        // Missing steps: the deepest existing ancestor, or 0 when even the first is missing.
        {{key("scene"), key("attrs"), key("zz")}, 3},
        {{key("ops"), index(7)}, 9},
        {{key("nothing")}, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(lineOfJsonPath(text, c.path), c.line) << formatJsonPath(c.path);
    }
}
