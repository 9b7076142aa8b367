// Pieces of the resolve framework that need no host: sample-time merging, target paths, the
// per-sample driver and the multi-sampled attribute builder (over the real attribute library).
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

void throwAtSecondSample(const Qn::GroupAttribute&, Qn::VexilCookInterface&, const XformSamples&,
                         const std::string&, const XformSamplesList&, const TargetPaths&, ResolvedCache&,
                         float sampleTime, MatrixSamples& samplesOut) {
    if (sampleTime == 0.5f) {
        throw std::runtime_error("broken at 0.5");
    }
    Imath::M44d m;
    m[3][0] = sampleTime;
    samplesOut[sampleTime] = matrixValues(m);
}

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

TEST(ResolveAtSampleTimes, AFailingSampleLeavesNoPartialMatrix) {
    // The driver hands the interface on untouched; the compute step above never calls it.
    static const VexilCookSuite unusedSuite{};
    Qn::VexilCookInterface cookInterface(
        reinterpret_cast<VexilCookHandle>(const_cast<VexilCookSuite*>(&unusedSuite)), &unusedSuite);
    NoCache cache;
    const Qn::GroupAttribute group = typeGroup("Point");

    Qn::GroupAttribute failed = resolveAtSampleTimes(&throwAtSecondSample, group, {0.0f, 0.5f, 1.0f},
                                                     cookInterface, {}, "/root/world/a", {}, {}, cache);
    ASSERT_EQ(failed.getNumberOfChildren(), 1);
    EXPECT_EQ(failed.getChildName(0), "errorMessage");
    EXPECT_EQ(Qn::StringAttribute(failed.getChildByIndex(0)).getValue(),
              "Point Constraint Error: broken at 0.5");

    Qn::GroupAttribute resolved = resolveAtSampleTimes(&throwAtSecondSample, group, {0.0f, 1.0f},
                                                       cookInterface, {}, "/root/world/a", {}, {}, cache);
    Qn::DoubleAttribute matrix = resolved.getChildByName("matrix");
    ASSERT_TRUE(matrix.isValid());
    EXPECT_EQ(matrix.getTupleSize(), 16);
    EXPECT_EQ(matrix.getSampleTimes(), (std::vector<float>{0.0f, 1.0f}));
    EXPECT_EQ(matrix.getNearestSample(1.0f)[12], 1.0);
}

TEST(BuildMultiSampledAttribute, SamplesOfDifferentSizesAreRefused) {
    try {
        buildMultiSampledAttribute({{0.0f, {1.0, 2.0}}, {1.0f, {1.0}}}, 1);
        FAIL() << "expected an error";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "Error building attribute time samples are different sizes.");
    }
    Qn::DoubleAttribute built = buildMultiSampledAttribute({{1.0f, {3.0, 4.0}}, {0.0f, {1.0, 2.0}}}, 2);
    EXPECT_EQ(built.getSampleTimes(), (std::vector<float>{0.0f, 1.0f}));
    EXPECT_EQ(built.getNearestSample(0.9f)[1], 4.0);
}
