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

} // namespace VexilHost::SceneTest
