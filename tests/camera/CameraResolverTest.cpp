// The camera resolvers called directly, with inputs a cooked scene never hands them: no targets, a
// base or target transform missing at a sample time, an empty set of sample times. The stand-in cook
// table serves camera attributes and bounds; the resolved cache passes its queries on to it.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "tests/geometry/TransformSamples.h"
#include "tests/plugin/FakeCookHost.h"

#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>

using namespace Vexil3Constraints::Private;
using GeometryTests::at0;
using GeometryTests::translation;
using Imath::M44d;
using Imath::V3d;
using VexilTest::FakeCook;

namespace {

const std::string kCamera = "/root/world/cam";
const std::string kBox = "/root/world/box";

// Serves attributes as the input has them; these tests resolve no constraint ahead of another.
class PassThroughCache : public ResolvedCache {
public:
    Qn::Attribute getAttr(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                          const std::string& name) override {
        return cookInterface.getAttr(name, locationPath);
    }
    XformSamples getWorldXform(Qn::VexilCookInterface&, const std::string&, const SampleTimes&) override {
        return {};
    }
    SampleTimes getWorldXformSampleTimes(Qn::VexilCookInterface&, const std::string&) override { return {}; }
};

class CameraResolverTest : public ::testing::Test {
protected:
    void SetUp() override {
        VexilTest::ensureAttributeSuite();
        auto& camera = m_cook.input[kCamera];
        camera["geometry.left"] = Qn::DoubleAttribute(-1.0);
        camera["geometry.right"] = Qn::DoubleAttribute(1.0);
        camera["geometry.bottom"] = Qn::DoubleAttribute(-1.0);
        camera["geometry.top"] = Qn::DoubleAttribute(1.0);
        camera["geometry.fov"] = Qn::DoubleAttribute(90.0);
        m_cook.input[kBox]["bound"] = Qn::DoubleAttribute(std::vector<double>{-1, 1, -1, 1, -1, 1});
    }

    // Runs a resolver of the kind named by the group's `type`.
    Qn::GroupAttribute resolve(const Qn::GroupAttribute& group, const SampleTimes& times,
                               const XformSamples& base, const XformSamplesList& targets,
                               const TargetPaths& paths, const std::string& baseLocation = kCamera) {
        Qn::VexilCookInterface cook = m_cook.cookInterface();
        m_output.clear();
        const std::string type = Qn::StringAttribute(group.getChildByName("type")).getValue();
        return findConstraintResolverCreator(type)(group)->resolve(times, cook, base, baseLocation, targets,
                                                                   paths, m_cache, m_output);
    }

    static std::string errorOf(const Qn::GroupAttribute& result) {
        return Qn::StringAttribute(result.getChildByName("errorMessage")).getValue("", false);
    }

    double outputDouble(const std::string& name) const {
        auto it = m_output.find(name);
        return it == m_output.end() ? std::nan("")
                                    : Qn::DoubleAttribute(it->second).getValue(std::nan(""), false);
    }

    FakeCook m_cook;
    PassThroughCache m_cache;
    OutputAttributes m_output;
};

Qn::GroupAttribute screenWindowGroup() {
    Qn::GroupBuilder b;
    b.set("type", Qn::StringAttribute("CameraScreenWindow"));
    b.set("args.distance", Qn::FloatAttribute(5.0f));
    b.set("args.planeType", Qn::StringAttribute("XY"));
    return b.build();
}

Qn::GroupAttribute clippingGroup() {
    Qn::GroupBuilder b;
    b.set("type", Qn::StringAttribute("Clipping"));
    b.set("args.pad.near", Qn::FloatAttribute(10.0f));
    b.set("args.pad.far", Qn::FloatAttribute(10.0f));
    return b.build();
}

Qn::GroupAttribute boundsGroup(const char* type, const char* bounds) {
    Qn::GroupBuilder b;
    b.set("type", Qn::StringAttribute(type));
    b.set("args.targetBounds", Qn::StringAttribute(bounds));
    return b.build();
}

Qn::GroupAttribute screenCoordinateGroup() {
    Qn::GroupBuilder b;
    b.set("type", Qn::StringAttribute("ScreenCoordinate"));
    return b.build();
}

} // namespace

// No target, or a base or target transform missing at the sample time: each kind's text, the
// irregular ones included (CameraScreenWindow keeps the Scale resolver's wording; Dolly's sphere fit has
// 28 blanks in its). No result is written.
TEST_F(CameraResolverTest, MissingInputTexts) {
    const XformSamples base = at0(translation(0, 0, -5));
    const XformSamples late = XformSamples{{1.0f, M44d()}};
    const struct {
        const char* name;
        XformSamples base;
        XformSamplesList targets;
        TargetPaths paths;
    } inputs[] = {
        {"no target path", base, {at0(M44d())}, {}},
        {"no base sample", late, {at0(M44d())}, {kCamera}},
        {"no target samples", base, {}, {kCamera}},
        {"no target sample at the time", base, {late}, {kCamera}},
    };
    const std::string window = "CameraScreenWindow Constraint Error: ";
    const std::string screen = "ScreenCoordinate Constraint Error: ScreenCoordinate constraint resolver: ";
    const std::string dolly = "Dolly Constraint Error: Dolly constraint resolver: ";
    const std::string clipping = "Clipping Constraint Error: Clipping constraint resolver: ";
    const std::string fov = "FOV Constraint Error: FOV constraint resolver: ";
    const std::string missingBase = "incorrect time samples for base xform";
    const std::string missingTarget = "incorrect time samples for target xform";
    const struct {
        Qn::GroupAttribute group;
        std::string baseLocation;
        std::vector<std::string> messages; // one per input, in order; "" where the input is no fault
    } resolvers[] = {
        {screenWindowGroup(),
         kCamera,
         {window + "CameraScreenWindow constraint resolver: no target location path.",
          window + "Scale constraint resolver: " + missingBase,
          window + "Scale constraint resolver: no target xform",
          window + "Scale constraint resolver: " + missingTarget}},
        {screenCoordinateGroup(),
         "/root/world/base",
         {screen + "no target location path.", screen + missingBase, screen + "no target xform",
          screen + missingTarget}},
        {boundsGroup("Dolly", "box"), kCamera, {"", dolly + missingBase, "", dolly + missingTarget}},
        {boundsGroup("Dolly", "sphere"),
         kCamera,
         {"", dolly + missingBase, "",
          dolly + "incorrect time samples for" + std::string(28, ' ') + "target xform"}},
        {clippingGroup(), kCamera, {"", clipping + missingBase, "", clipping + missingTarget}},
        {boundsGroup("FOV", "box"), kCamera, {"", fov + missingBase, "", fov + missingTarget}},
    };
    for (const auto& r : resolvers) {
        for (size_t i = 0; i < std::size(inputs); ++i) {
            const auto& in = inputs[i];
            if (r.messages[i].empty()) {
                continue;
            }
            const Qn::GroupAttribute result =
                resolve(r.group, {0.0f}, in.base, in.targets, in.paths, r.baseLocation);
            EXPECT_EQ(errorOf(result), r.messages[i]) << in.name;
            EXPECT_FALSE(result.getChildByName("matrix").isValid()) << in.name;
            EXPECT_TRUE(m_output.empty()) << in.name;
        }
    }
}

TEST_F(CameraResolverTest, ClippingWithoutSamplesOrTargets) {
    // No sample times at all: both distances are written as 0.
    Qn::GroupAttribute result = resolve(clippingGroup(), {}, {}, {}, {});
    EXPECT_EQ(result.getNumberOfChildren(), 0);
    EXPECT_EQ(outputDouble("geometry.near"), 0.0);
    EXPECT_EQ(outputDouble("geometry.far"), 0.0);
    // No targets: the range is 0 .. 0 and both distances end at the floor.
    resolve(clippingGroup(), {0.0f}, at0(M44d()), {}, {});
    EXPECT_EQ(outputDouble("geometry.near"), 1e-05);
    EXPECT_EQ(outputDouble("geometry.far"), 1e-05);
    // More paths than transform maps: the extra path is ignored (it has no bound and would fail).
    resolve(clippingGroup(), {0.0f}, at0(M44d()), {at0(translation(0, 0, -10))},
            {kBox, "/root/world/nothing"});
    EXPECT_NEAR(outputDouble("geometry.near"), 8.8, 1e-12);
    EXPECT_NEAR(outputDouble("geometry.far"), 11.2, 1e-12);
}

TEST_F(CameraResolverTest, DollyWithoutTargetsKeepsTheBoxCameraButSendsTheSphereCameraHome) {
    const M44d base = translation(3, 4, 5);
    for (const char* bounds : {"box", "sphere"}) {
        const Qn::GroupAttribute result = resolve(boundsGroup("Dolly", bounds), {0.0f}, at0(base), {}, {});
        const Qn::DoubleAttribute matrix(result.getChildByName("matrix"));
        ASSERT_TRUE(matrix.isValid()) << bounds;
        const auto values = matrix.getNearestSample(0.0f);
        M44d x;
        for (int i = 0; i < 16; ++i) {
            x[i / 4][i % 4] = values[i];
        }
        const M44d moved = x * base;
        const V3d expected = std::string(bounds) == "box" ? V3d(3, 4, 5) : V3d(0, 0, 0);
        EXPECT_NEAR((V3d(moved[3][0], moved[3][1], moved[3][2]) - expected).length(), 0.0, 1e-12) << bounds;
    }
}

TEST_F(CameraResolverTest, FovWithoutSampleTimesWarnsAndLeavesTheFovAlone) {
    const Qn::GroupAttribute result = resolve(boundsGroup("FOV", "box"), {}, {}, {}, {});
    EXPECT_EQ(result.getNumberOfChildren(), 0);
    EXPECT_EQ(m_output.count("geometry.fov"), 0u);
    ASSERT_EQ(m_output.count("warningMessage"), 1u);
    EXPECT_EQ(Qn::StringAttribute(m_output["warningMessage"]).getValue(),
              "FOV constraint resolver: resolved to FOV of 0.0.  Skipping.");
}
