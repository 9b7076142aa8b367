#include "tests/scene/SceneTestSupport.h"

#include "hostapi/attribute/Attribute.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace VexilHost::SceneTest {

namespace {

class AttributeHostEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        if (!Qn::Attribute::loadSuite(VEXIL_BUILD_DIR)) {
            std::abort();
        }
    }
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new AttributeHostEnvironment);

} // namespace

SceneFile read(const std::string& text, const SceneReadOptions& options) {
    return readSceneText(text, "test.json", options);
}

std::string readError(const std::string& text, const SceneReadOptions& options) {
    try {
        read(text, options);
    } catch (const SceneFileError& error) {
        return error.what();
    }
    return "no error";
}

std::string sceneDifference(const SceneLocation& a, const SceneLocation& b, const std::string& path) {
    if (a.name != b.name) {
        return path + ": names " + a.name + " and " + b.name;
    }
    if (!a.attrs.isContentEqual(b.attrs)) {
        return path + ": attributes differ";
    }
    if (a.children.size() != b.children.size()) {
        return path + ": child counts differ";
    }
    for (size_t i = 0; i < a.children.size(); ++i) {
        const std::string difference =
            sceneDifference(a.children[i], b.children[i], path + "/" + a.children[i].name);
        if (!difference.empty()) {
            return difference;
        }
    }
    return std::string();
}

} // namespace VexilHost::SceneTest
