// The scene-file tests read into attributes of the real host library, loaded once for the whole run.
#include "hostapi/attribute/Attribute.h"

#include <gtest/gtest.h>

#include <cstdlib>

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
