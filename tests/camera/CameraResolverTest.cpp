// The camera resolvers called directly, with inputs a cooked scene never hands them: no targets, a
// base or target transform missing at a sample time, an empty set of sample times. The stand-in cook
// table serves camera attributes and bounds; the resolved cache passes its queries on to it.
#include "constraints/resolvers/Resolvers.h"
#include "tests/geometry/StandInCook.h"

#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Vexil3Constraints::Private;
using GeometryTests::StandInCook;
using Imath::M44d;
using Imath::V3d;

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

M44d translation(double x, double y, double z) {
    M44d m;
    m.setTranslation(V3d(x, y, z));
    return m;
}

XformSamples at0(const M44d& m) {
    return XformSamples{{0.0f, m}};
}

class CameraResolverTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(GeometryTests::loadAttributeSuite());
        auto& camera = m_cook.scene[kCamera];
        camera["geometry.left"] = Qn::DoubleAttribute(-1.0);
        camera["geometry.right"] = Qn::DoubleAttribute(1.0);
        camera["geometry.bottom"] = Qn::DoubleAttribute(-1.0);
        camera["geometry.top"] = Qn::DoubleAttribute(1.0);
        camera["geometry.fov"] = Qn::DoubleAttribute(90.0);
        m_cook.scene[kBox]["bound"] = Qn::DoubleAttribute(std::vector<double>{-1, 1, -1, 1, -1, 1});
    }

    // Runs a resolver made by `create` from `group`.
    Qn::GroupAttribute resolve(ConstraintResolverCreator create, const Qn::GroupAttribute& group,
                               const SampleTimes& times, const XformSamples& base,
                               const XformSamplesList& targets, const TargetPaths& paths,
                               const std::string& baseLocation = kCamera) {
        Qn::VexilCookInterface cook = m_cook.cookInterface();
        m_output.clear();
        return create(group)->resolve(times, cook, base, baseLocation, targets, paths, m_cache, m_output);
    }

    static std::string errorOf(const Qn::GroupAttribute& result) {
        return Qn::StringAttribute(result.getChildByName("errorMessage")).getValue("", false);
    }

    std::string thrownBy(ConstraintResolverCreator create, const Qn::GroupAttribute& group,
                         const SampleTimes& times, const XformSamples& base, const XformSamplesList& targets,
                         const TargetPaths& paths) {
        try {
            resolve(create, group, times, base, targets, paths);
        } catch (const std::exception& e) {
            return e.what();
        }
        return "<no exception>";
    }

    double outputDouble(const std::string& name) const {
        auto it = m_output.find(name);
        return it == m_output.end() ? std::nan("")
                                    : Qn::DoubleAttribute(it->second).getValue(std::nan(""), false);
    }

    StandInCook m_cook;
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

TEST_F(CameraResolverTest, CameraScreenWindowKeepsTheScaleWordingForMissingSamples) {
    const std::string prefix = "CameraScreenWindow Constraint Error: ";
    const XformSamples base = at0(translation(0, 0, -5));
    const XformSamples late = XformSamples{{1.0f, M44d()}};
    struct Case {
        const char* name;
        XformSamples base;
        XformSamplesList targets;
        TargetPaths paths;
        std::string message;
    } cases[] = {
        {"no target path",
         base,
         {at0(M44d())},
         {},
         "CameraScreenWindow constraint resolver: no target location path."},
        {"no base sample",
         late,
         {at0(M44d())},
         {kCamera},
         "Scale constraint resolver: incorrect time samples for base xform"},
        {"no target samples", base, {}, {kCamera}, "Scale constraint resolver: no target xform"},
        {"no target sample at the time",
         base,
         {late},
         {kCamera},
         "Scale constraint resolver: incorrect time samples for target xform"},
    };
    for (const Case& c : cases) {
        const Qn::GroupAttribute result = resolve(&createCameraScreenWindowConstraintResolver,
                                                  screenWindowGroup(), {0.0f}, c.base, c.targets, c.paths);
        EXPECT_EQ(errorOf(result), prefix + c.message) << c.name;
        EXPECT_FALSE(result.getChildByName("matrix").isValid()) << c.name;
    }
}

TEST_F(CameraResolverTest, ClippingWithoutSamplesOrTargets) {
    // No sample times at all: both distances are written as 0.
    Qn::GroupAttribute result = resolve(&createClippingConstraintResolver, clippingGroup(), {}, {}, {}, {});
    EXPECT_EQ(result.getNumberOfChildren(), 0);
    EXPECT_EQ(outputDouble("geometry.near"), 0.0);
    EXPECT_EQ(outputDouble("geometry.far"), 0.0);
    // No targets: the range is 0 .. 0 and both distances end at the floor.
    resolve(&createClippingConstraintResolver, clippingGroup(), {0.0f}, at0(M44d()), {}, {});
    EXPECT_EQ(outputDouble("geometry.near"), 1e-05);
    EXPECT_EQ(outputDouble("geometry.far"), 1e-05);
    // More paths than transform maps: the extra path is ignored (it has no bound and would fail).
    resolve(&createClippingConstraintResolver, clippingGroup(), {0.0f}, at0(M44d()),
            {at0(translation(0, 0, -10))}, {kBox, "/root/world/nothing"});
    EXPECT_NEAR(outputDouble("geometry.near"), 8.8, 1e-12);
    EXPECT_NEAR(outputDouble("geometry.far"), 11.2, 1e-12);
}

TEST_F(CameraResolverTest, ClippingMissingSamplesPassTheErrorOnAndWriteNothing) {
    const XformSamples late = XformSamples{{1.0f, M44d()}};
    EXPECT_EQ(
        thrownBy(&createClippingConstraintResolver, clippingGroup(), {0.0f}, late, {at0(M44d())}, {kBox}),
        "Clipping constraint resolver: incorrect time samples for base xform");
    EXPECT_EQ(thrownBy(&createClippingConstraintResolver, clippingGroup(), {0.0f, 1.0f},
                       XformSamples{{0.0f, M44d()}, {1.0f, M44d()}}, {at0(translation(0, 0, -10))}, {kBox}),
              "Clipping constraint resolver: incorrect time samples for target xform");
    EXPECT_TRUE(m_output.empty());
}

TEST_F(CameraResolverTest, DollyWithoutTargetsKeepsTheBoxCameraButSendsTheSphereCameraHome) {
    const M44d base = translation(3, 4, 5);
    for (const char* bounds : {"box", "sphere"}) {
        const Qn::GroupAttribute result =
            resolve(&createDollyConstraintResolver, boundsGroup("Dolly", bounds), {0.0f}, at0(base), {}, {});
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

TEST_F(CameraResolverTest, DollyMissingSampleTexts) {
    const std::string prefix = "Dolly Constraint Error: Dolly constraint resolver: ";
    const XformSamples late = XformSamples{{1.0f, M44d()}};
    struct Case {
        const char* bounds;
        XformSamples base;
        XformSamplesList targets;
        std::string message;
    } cases[] = {
        {"box", late, {at0(M44d())}, "incorrect time samples for base xform"},
        {"sphere", late, {at0(M44d())}, "incorrect time samples for base xform"},
        {"box", at0(M44d()), {late}, "incorrect time samples for target xform"},
        // 28 blanks between "for" and "target".
        {"sphere", at0(M44d()), {late}, "incorrect time samples for" + std::string(28, ' ') + "target xform"},
    };
    for (const Case& c : cases) {
        const Qn::GroupAttribute result =
            resolve(&createDollyConstraintResolver, boundsGroup("Dolly", c.bounds), {0.0f}, c.base, c.targets,
                    {kBox});
        EXPECT_EQ(errorOf(result), prefix + c.message) << c.bounds;
    }
}

TEST_F(CameraResolverTest, FovWithoutSampleTimesWarnsAndLeavesTheFovAlone) {
    const Qn::GroupAttribute result =
        resolve(&createFOVConstraintResolver, boundsGroup("FOV", "box"), {}, {}, {}, {});
    EXPECT_EQ(result.getNumberOfChildren(), 0);
    EXPECT_EQ(m_output.count("geometry.fov"), 0u);
    ASSERT_EQ(m_output.count("warningMessage"), 1u);
    EXPECT_EQ(Qn::StringAttribute(m_output["warningMessage"]).getValue(),
              "FOV constraint resolver: resolved to FOV of 0.0.  Skipping.");
}

TEST_F(CameraResolverTest, FovMissingSampleTexts) {
    const XformSamples late = XformSamples{{1.0f, M44d()}};
    EXPECT_EQ(thrownBy(&createFOVConstraintResolver, boundsGroup("FOV", "box"), {0.0f}, late, {at0(M44d())},
                       {kBox}),
              "FOV constraint resolver: incorrect time samples for base xform");
    EXPECT_EQ(thrownBy(&createFOVConstraintResolver, boundsGroup("FOV", "sphere"), {0.0f}, at0(M44d()),
                       {late}, {kBox}),
              "FOV constraint resolver: incorrect time samples for target xform");
}

TEST_F(CameraResolverTest, ScreenCoordinateMissingInputTexts) {
    const std::string prefix = "ScreenCoordinate Constraint Error: ScreenCoordinate constraint resolver: ";
    const XformSamples base = at0(translation(0, 0, -5));
    const XformSamples late = XformSamples{{1.0f, M44d()}};
    struct Case {
        const char* name;
        XformSamples base;
        XformSamplesList targets;
        TargetPaths paths;
        std::string message;
    } cases[] = {
        {"no target path", base, {at0(M44d())}, {}, "no target location path."},
        {"no base sample", late, {at0(M44d())}, {kCamera}, "incorrect time samples for base xform"},
        {"no target samples", base, {}, {kCamera}, "no target xform"},
        {"no target sample at the time", base, {late}, {kCamera}, "incorrect time samples for target xform"},
    };
    for (const Case& c : cases) {
        const Qn::GroupAttribute result =
            resolve(&createScreenCoordinateConstraintResolver, screenCoordinateGroup(), {0.0f}, c.base,
                    c.targets, c.paths, "/root/world/base");
        EXPECT_EQ(errorOf(result), prefix + c.message) << c.name;
    }
}
