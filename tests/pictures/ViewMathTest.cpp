// Unit tests of the pieces behind pictures and explanations: projections, panel fits, text helpers,
// target paths, constraint descriptions and the progress line.
#include "host/loader/OpRegistry.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tests/support/JsonFile.h"
#include "tools/views/ConstraintDescription.h"
#include "tools/views/ExplainReport.h"
#include "tools/views/PictureRenderer.h"
#include "tools/views/ProgressDisplay.h"
#include "tools/views/SvgCanvas.h"
#include "tools/views/ViewProjection.h"

#include <Imath/ImathMatrix.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using namespace VexilHost;
using namespace VexilHost::Picture;

namespace {

using Json = nlohmann::ordered_json;

/// The table `name` of view-math.json.
Json viewCases(const std::string& name) {
    return VexilTest::readJsonFile(VEXIL_PICTURE_CASES_DIR "/view-math.json").at(name);
}

Imath::V3d vec(const Json& v) {
    return Imath::V3d(v.at(0).get<double>(), v.at(1).get<double>(), v.at(2).get<double>());
}

void expectNear(const Imath::V3d& actual, const Imath::V3d& expected, const std::string& what) {
    EXPECT_NEAR(actual.x, expected.x, 1e-12) << what;
    EXPECT_NEAR(actual.y, expected.y, 1e-12) << what;
    EXPECT_NEAR(actual.z, expected.z, 1e-12) << what;
}

void expectNear(const Imath::V2d& actual, const Imath::V2d& expected, const std::string& what) {
    EXPECT_NEAR(actual.x, expected.x, 1e-12) << what;
    EXPECT_NEAR(actual.y, expected.y, 1e-12) << what;
}

} // namespace

TEST(ViewMath, ViewCornersFollowTheWindowAndLens) {
    Lens perspective;
    perspective.left = -1.5;
    perspective.right = 1.5;
    perspective.fovDegrees = 90.0; // tan(45°) = 1: the window spans depth · [left, right]
    const auto corners = viewCorners(perspective, 2.0);
    expectNear(corners[0], {-3.0, -2.0, -2.0}, "left-bottom");
    expectNear(corners[2], {3.0, 2.0, -2.0}, "right-top");

    Lens orthographic = perspective;
    orthographic.orthographic = true;
    const auto flat = viewCorners(orthographic, 7.0);
    expectNear(flat[1], {1.5, -1.0, -7.0}, "orthographic right-bottom");
    expectNear(flat[3], {-1.5, 1.0, -7.0}, "orthographic left-top");
}

TEST(ViewMath, CameraProjectionMapsWorldPointsToTheScreenWindow) {
    Lens lens;
    lens.fovDegrees = 90.0;
    lens.nearDistance = 0.5;

    Imath::M44d moved;
    moved.setTranslation(Imath::V3d(0.0, 0.0, 5.0));
    const CameraProjection fromBehind(moved, lens);
    ASSERT_TRUE(fromBehind.valid());
    const Imath::V3d inCamera = fromBehind.toCamera(Imath::V3d(1.0, 0.5, 0.0));
    expectNear(inCamera, {1.0, 0.5, -5.0}, "camera space");
    expectNear(fromBehind.toScreen(inCamera), {0.2, 0.1}, "screen");

    // Turned +90° about y (row vectors): local x goes to world -z, local z to world +x, so the camera
    // looks down world -x.
    Imath::M44d turned;
    turned.setAxisAngle(Imath::V3d(0.0, 1.0, 0.0), M_PI / 2.0);
    const CameraProjection sideways(turned, lens);
    const Imath::V3d seen = sideways.toCamera(Imath::V3d(-4.0, 1.0, 0.0));
    EXPECT_NEAR(seen.x, 0.0, 1e-12);
    EXPECT_NEAR(seen.y, 1.0, 1e-12);
    EXPECT_NEAR(seen.z, -4.0, 1e-12);
    expectNear(sideways.toScreen(seen), {0.0, 0.25}, "turned camera screen");

    lens.orthographic = true;
    const CameraProjection flat(moved, lens);
    expectNear(flat.toScreen(Imath::V3d(1.0, 0.5, -30.0)), {1.0, 0.5}, "orthographic ignores depth");

    EXPECT_FALSE(CameraProjection(Imath::M44d(0.0), lens).valid())
        << "a singular camera cannot be looked through";
}

TEST(ViewMath, SegmentsAreClippedAtTheNearPlane) {
    Lens lens;
    lens.nearDistance = 0.5;
    const CameraProjection projection(Imath::M44d(), lens);
    for (const Json& c : viewCases("nearClips")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        Imath::V3d a = vec(c.at("a")), b = vec(c.at("b"));
        ASSERT_EQ(projection.clip(a, b), !c.at("clipped").is_null());
        if (!c.at("clipped").is_null()) {
            expectNear(a, vec(c.at("clipped").at(0)), "clipped a");
            expectNear(b, vec(c.at("clipped").at(1)), "clipped b");
        }
    }
}

TEST(ViewMath, PanelMappingFitsTheExtentCentredWithOneScale) {
    const PanelMapping mapping(Imath::Box2d(Imath::V2d(0.0, 0.0), Imath::V2d(4.0, 2.0)),
                               PixelRect{10, 20, 200, 200});
    EXPECT_DOUBLE_EQ(mapping.scale(), 50.0); // the wider side limits: 200 px / 4 units
    expectNear(mapping.toPixel(Imath::V2d(2.0, 1.0)), {110.0, 120.0}, "centre");
    expectNear(mapping.toPixel(Imath::V2d(0.0, 0.0)), {10.0, 170.0}, "v up is y down");
    expectNear(mapping.toPixel(Imath::V2d(4.0, 2.0)), {210.0, 70.0}, "far corner");

    const PanelMapping point(Imath::Box2d(Imath::V2d(3.0, 3.0), Imath::V2d(3.0, 3.0)),
                             PixelRect{0, 0, 100, 50});
    EXPECT_DOUBLE_EQ(point.scale(), 50.0) << "a single point is shown as a unit square";
    expectNear(point.toPixel(Imath::V2d(3.0, 3.0)), {50.0, 25.0}, "single point centred");
}

TEST(PictureText, WrappedLinesSvgNumbersReadableNumbersAndEscapes) {
    for (const Json& c : viewCases("wraps")) {
        EXPECT_EQ(wrapText(c.at(0), c.at(1)), c.at(2).get<std::vector<std::string>>()) << c.dump();
    }
    for (const Json& c : viewCases("pixelTexts")) {
        EXPECT_EQ(pixelText(c.at(0).is_null() ? NAN : c.at(0).get<double>()), c.at(1)) << c.dump();
    }
    for (const Json& c : viewCases("readableNumbers")) {
        EXPECT_EQ(readableNumber(c.at(0)), c.at(1)) << c.dump();
    }
    EXPECT_EQ(xmlEscape("a<b & \"c\" > 'd'"), "a&lt;b &amp; &quot;c&quot; &gt; &apos;d&apos;");
}

class ConstraintDescriptionsWithAttributes : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(Qn::Attribute::setHost(hostServices()), 0);
        ASSERT_EQ(Qn::GroupBuilder::setHost(hostServices()), 0);
    }
};

TEST_F(ConstraintDescriptionsWithAttributes, ReadsConstraintChildrenInOrderWithDefaults) {
    Qn::GroupBuilder first;
    first.set("type", Qn::StringAttribute("Aim"));
    first.set("target", Qn::StringAttribute(std::vector<std::string>{"/root/a", "../b"}));
    first.set("allowMissingTargets", Qn::IntAttribute(1));
    first.set("respectMotionBlur", Qn::FloatAttribute(0.0f)); // not an int: the default stays
    first.set("args.targetOrigin", Qn::StringAttribute("origin"));
    Qn::GroupBuilder second;
    second.set("type", Qn::IntAttribute(3));
    Qn::GroupBuilder xform(QN_GROUP_BUILDER_MODE_LITERAL);
    xform.set("translate", Qn::DoubleAttribute(std::vector<double>{1, 2, 3}));
    xform.set("constraint", first.build());
    xform.set("resolvedconstraint9", Qn::GroupBuilder().build()); // resolved: not a description
    xform.set("constraint1", second.build());

    const std::vector<ConstraintDescription> constraints = readConstraintDescriptions(xform.build());
    ASSERT_EQ(constraints.size(), 2u);
    EXPECT_EQ(constraints[0].name, "constraint");
    EXPECT_EQ(constraints[0].type, "Aim");
    EXPECT_TRUE(constraints[0].typeIsString);
    EXPECT_EQ(constraints[0].targets, (std::vector<std::string>{"/root/a", "../b"}));
    EXPECT_EQ(constraints[0].allowMissingTargets, 1);
    EXPECT_EQ(constraints[0].requireTargetBounds, 0);
    EXPECT_EQ(constraints[0].respectMotionBlur, 1);
    EXPECT_EQ(Qn::StringAttribute(constraints[0].args.getChildByName("targetOrigin")).getValue(), "origin");
    EXPECT_EQ(constraints[1].name, "constraint1");
    EXPECT_FALSE(constraints[1].typeIsString);
    EXPECT_TRUE(constraints[1].targets.empty());
    EXPECT_TRUE(constraints[1].args.isValid()) << "a missing args group reads as an empty one";

    EXPECT_TRUE(readConstraintDescriptions(Qn::DoubleAttribute(1.0)).empty());
    EXPECT_TRUE(readConstraintDescriptions(Qn::Attribute()).empty());
}

TEST(Progress, StaysQuietUntilTheDelayThenRewritesOneLine) {
    std::atomic<int64_t> counter{10};
    std::ostringstream out;
    ProgressDisplay display(counter, out, "cooking",
                            {std::chrono::milliseconds(1000), std::chrono::milliseconds(50)});
    display.update(std::chrono::milliseconds(999));
    EXPECT_EQ(out.str(), "");
    EXPECT_FALSE(display.shown());
    display.update(std::chrono::milliseconds(2000));
    counter = 30;
    display.update(std::chrono::milliseconds(3000));
    EXPECT_TRUE(display.shown());
    EXPECT_EQ(out.str(), "\rcooking: 10 locations cooked, 5 per second, 2.0 s elapsed\x1b[K"
                         "\rcooking: 30 locations cooked, 10 per second, 3.0 s elapsed\x1b[K");
    display.stop(); // never started: writes nothing more
    EXPECT_EQ(out.str().back(), 'K');
}
