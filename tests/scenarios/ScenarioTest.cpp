// Runs every scenario folder: cooks its scene file with the real vexil-cook and checks what
// expected.json asks for (README.md describes the form and the tolerance).
#include "CookRunner.h"
#include "CookTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace VexilTest;

namespace {

const std::string kScenarios = VEXIL_SCENARIOS_DIR;
const std::string kTestPlugins = VEXIL_TEST_PLUGINS_DIR;

std::vector<std::string> scenarioNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(kScenarios)) {
        if (entry.is_directory() && std::filesystem::exists(entry.path() / "expected.json")) {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// The values of the first sample of a string attribute in the written form.
std::vector<std::string> stringValues(const Json& attr) {
    const Json* value = &attr;
    if (attr.is_object() && attr.contains("string")) {
        value = &attr["string"];
        if (value->is_object() && !value->empty()) {
            value = &value->begin().value();
        }
    }
    if (value->is_string()) {
        return {value->get<std::string>()};
    }
    std::vector<std::string> values;
    if (value->is_array()) {
        for (const Json& v : *value) {
            values.push_back(v.is_string() ? v.get<std::string>() : v.dump());
        }
    }
    return values;
}

/// The member names of a JSON object in order: child locations, or the children of a group.
std::vector<std::string> keys(const Json& object) {
    std::vector<std::string> names;
    for (auto it = object.begin(); object.is_object() && it != object.end(); ++it) {
        names.push_back(it.key());
    }
    return names;
}

std::vector<std::string> names(const Json& list) {
    return list.get<std::vector<std::string>>();
}

bool isFloatAttribute(const Json& attr) {
    return attr.is_object() && attr.contains("float");
}

/// Checks one attribute against its expectation; `where` names it in failures.
void checkAttribute(const Json& actual, const Json& expected, const std::string& where) {
    if (expected.is_null()) {
        EXPECT_TRUE(actual.is_null()) << where << " should be absent, is " << actual.dump();
        return;
    }
    ASSERT_FALSE(actual.is_null()) << where << " is absent";
    const bool textual =
        expected.is_string() || (expected.is_array() && !expected.empty() && expected[0].is_string());
    if (textual) {
        const std::vector<std::string> want = expected.is_string()
                                                  ? std::vector<std::string>{expected.get<std::string>()}
                                                  : expected.get<std::vector<std::string>>();
        EXPECT_EQ(stringValues(actual), want) << where;
        return;
    }
    Json wanted = expected;
    if (wanted.is_array()) {
        wanted = Json{{"0", expected}};
    }
    const auto got = samples(actual);
    ASSERT_EQ(got.size(), wanted.size()) << where << ": sample count of " << actual.dump();
    const double tolerance = isFloatAttribute(actual) ? 1e-6 : 1e-9;
    auto sample = got.begin();
    for (auto it = wanted.begin(); it != wanted.end(); ++it, ++sample) {
        const float time = std::stof(it.key());
        EXPECT_NEAR(sample->first, time, 1e-6) << where << ": sample times";
        const std::vector<double> want = it.value().get<std::vector<double>>();
        ASSERT_EQ(sample->second.size(), want.size()) << where << " at " << it.key();
        for (size_t i = 0; i < want.size(); ++i) {
            EXPECT_NEAR(sample->second[i], want[i], tolerance + tolerance * std::fabs(want[i]))
                << where << " at " << it.key() << ", value " << i;
        }
    }
}

class Scenario : public ::testing::TestWithParam<std::string> {};

TEST_P(Scenario, Cooks) {
    const std::string folder = kScenarios + "/" + GetParam();
    const Json expected = readJsonFile(folder + "/expected.json");
    ASSERT_TRUE(std::filesystem::exists(folder + "/NOTE.md")) << "every scenario explains its values";
    ScratchFolder scratch;
    std::vector<std::string> arguments;
    for (const Json& argument : expected.value("args", Json::array({"--world"}))) {
        const std::string text = replaced(argument.get<std::string>(), "{DIR}", scratch.path(""));
        if (text.find("{TEST_PLUGINS}") != std::string::npos && kTestPlugins.empty()) {
            GTEST_SKIP() << "this build has no test op plug-ins";
        }
        arguments.push_back(replaced(text, "{TEST_PLUGINS}", kTestPlugins));
    }
    const std::string scene = folder + "/" + expected.value("scene", std::string("scene.json"));
    arguments.push_back(scene);
    const RunResult run = runCook(arguments);
    EXPECT_EQ(run.status, expected.value("status", 0)) << run.err;
    if (expected.contains("stderr")) {
        EXPECT_EQ(run.err, replaced(expected["stderr"].get<std::string>(), "{SCENE}", scene));
    }
    if (!expected.contains("locations")) {
        return;
    }
    const Json cooked = Json::parse(run.out, nullptr, false);
    ASSERT_FALSE(cooked.is_discarded()) << "standard output is not JSON: " << run.out.substr(0, 200);
    for (auto it = expected["locations"].begin(); it != expected["locations"].end(); ++it) {
        const std::string& path = it.key();
        if (it.value().is_null()) {
            EXPECT_FALSE(hasLocation(cooked, path)) << path << " should be absent";
            continue;
        }
        ASSERT_TRUE(hasLocation(cooked, path)) << path << " is missing";
        const Json& cookedLocation = location(cooked, path);
        for (auto attr = it.value().begin(); attr != it.value().end(); ++attr) {
            const std::string& name = attr.key();
            if (name == "(children)") {
                EXPECT_EQ(keys(cookedLocation.value("children", Json::object())), names(attr.value()))
                    << path;
            } else if (name.rfind("(attributes)", 0) == 0) {
                const Json& group = name.size() > 12 ? attribute(cooked, path, name.substr(13))
                                                     : cookedLocation.value("attrs", Json::object());
                EXPECT_EQ(keys(group), names(attr.value())) << path << " " << name;
            } else {
                checkAttribute(attribute(cooked, path, name), attr.value(), path + " " + name);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Scenario, ::testing::ValuesIn(scenarioNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             std::replace_if(
                                 name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
                             return name;
                         });

} // namespace
