// Pieces of the resolve framework that need no host: sample-time merging, target paths and the
// per-sample driver (over the real attribute library).
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/LocationResolver.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

using namespace Vexil3Constraints::Private;

namespace {

class AttributeSuite : public ::testing::Environment {
public:
    void SetUp() override { ASSERT_TRUE(Qn::Attribute::loadSuite(VEXIL_BUILD_DIR)); }
};
const auto* const g_suite = ::testing::AddGlobalTestEnvironment(new AttributeSuite);

} // namespace

TEST(MergeSampleTimes, ClustersKeepTheirEarliestMember) {
    struct Case {
        SampleTimes input;
        bool respectMotionBlur;
        SampleTimes expected;
    };
    const std::vector<Case> cases = {
        {{0.0f, 0.0005f, 0.0009f, 0.5f}, true, {0.0f, 0.5f}},
        {{0.0f, 0.0008f, 0.0016f}, true, {0.0f, 0.0016f}},
        {{-0.25f, 0.0f, 0.25f}, true, {-0.25f, 0.0f, 0.25f}},
        {{0.0f, 0.001f}, true, {0.0f, 0.001f}},
        {{}, true, {0.0f}},
        {{0.25f, 0.5f}, false, {0.0f}},
    };
    for (const Case& c : cases) {
        SampleTimes times = c.input;
        mergeSampleTimes(times, c.respectMotionBlur);
        EXPECT_EQ(times, c.expected);
    }
}

namespace {

// A kind whose sample at time 0.5 fails; elsewhere it moves the base along x by the time.
class BrokenAtHalf : public PerSampleConstraintResolver {
public:
    explicit BrokenAtHalf(const Qn::GroupAttribute& group) : PerSampleConstraintResolver("Broken", group) {}

private:
    Imath::M44d computeSample(const ConstraintInputs&, float sampleTime) const override {
        if (sampleTime == 0.5f) {
            throw std::runtime_error("broken at 0.5");
        }
        Imath::M44d m;
        m[3][0] = sampleTime;
        return m;
    }
};

struct NoCache : ResolvedCache {
    Qn::Attribute getAttr(Qn::VexilCookInterface&, const std::string&, const std::string&) override {
        return {};
    }
    XformSamples getWorldXform(Qn::VexilCookInterface&, const std::string&, const SampleTimes&) override {
        return {};
    }
    SampleTimes getWorldXformSampleTimes(Qn::VexilCookInterface&, const std::string&) override { return {}; }
};

Qn::GroupAttribute typeGroup(const std::string& type) {
    Qn::GroupBuilder builder;
    builder.set("type", Qn::StringAttribute(type));
    return builder.build();
}

} // namespace

TEST(PerSampleDriver, AFailingSampleLeavesNoPartialMatrix) {
    // The driver hands the interface on untouched; the compute step above never calls it.
    static const VexilCookSuite unusedSuite{};
    Qn::VexilCookInterface cookInterface(
        reinterpret_cast<VexilCookHandle>(const_cast<VexilCookSuite*>(&unusedSuite)), &unusedSuite);
    NoCache cache;
    BrokenAtHalf resolver(typeGroup("Point"));
    OutputAttributes output;

    Qn::GroupAttribute failed =
        resolver.resolve({0.0f, 0.5f, 1.0f}, cookInterface, {}, "/root/world/a", {}, {}, cache, output);
    ASSERT_EQ(failed.getNumberOfChildren(), 1);
    EXPECT_EQ(failed.getChildName(0), "errorMessage");
    EXPECT_EQ(Qn::StringAttribute(failed.getChildByIndex(0)).getValue(),
              "Point Constraint Error: broken at 0.5");

    Qn::GroupAttribute resolved =
        resolver.resolve({0.0f, 1.0f}, cookInterface, {}, "/root/world/a", {}, {}, cache, output);
    Qn::DoubleAttribute matrix = resolved.getChildByName("matrix");
    ASSERT_TRUE(matrix.isValid());
    EXPECT_EQ(matrix.getTupleSize(), 16);
    EXPECT_EQ(matrix.getSampleTimes(), (std::vector<float>{0.0f, 1.0f}));
    EXPECT_EQ(matrix.getNearestSample(1.0f)[12], 1.0);
    EXPECT_TRUE(output.empty());
}
