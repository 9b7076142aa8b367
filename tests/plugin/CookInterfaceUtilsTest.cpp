// The cook-interface client and its utilities against the stand-in host.
#include "tests/plugin/FakeCookHost.h"
#include "tests/support/ThrownMessage.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

using VexilTest::thrownMessage;

namespace {

using VexilTest::FakeCook;
namespace Utils = Qn::VexilCookInterfaceUtils;

class CookInterfaceUtilsTest : public ::testing::Test {
protected:
    void SetUp() override { VexilTest::ensureAttributeSuite(); }
    Qn::VexilCookInterface iface() { return Qn::VexilCookInterface(m_cook.handle(), FakeCook::suite()); }
    FakeCook m_cook;
};

TEST_F(CookInterfaceUtilsTest, ErrorReportWritesTypeBeforeMessage) {
    Utils::reportError(iface(), "Point constraint resolver: no targets");
    Utils::reportWarning(iface(), "first\nsecond");
    ASSERT_EQ(m_cook.callLog(),
              (std::vector<std::string>{"setAttr:type", "setAttr:errorMessage", "setAttr:warningMessage"}));
    EXPECT_EQ(VexilTest::string(m_cook.calls[0].attr), "error");
    EXPECT_EQ(VexilTest::string(m_cook.calls[1].attr), "Point constraint resolver: no targets");
    EXPECT_EQ(VexilTest::string(m_cook.calls[2].attr), "first\nsecond");
    for (const VexilTest::HostCall& call : m_cook.calls) {
        EXPECT_EQ(call.groupInherit, 1) << call.name;
    }
}

void deleteInt(void* p) {
    delete static_cast<int*>(p);
}

TEST_F(CookInterfaceUtilsTest, CreateChildChecksBeforeCallingTheHost) {
    int data = 0;
    struct Case {
        std::string name;
        void* privateData;
        VexilPrivateDataDeleter deleter;
        std::string message;
    };
    const Case rejected[] = {
        {"", nullptr, nullptr, "createChild(): Invalid child name: \"\""},
        {"a/b", nullptr, nullptr, "createChild(): Invalid child name: \"a/b\""},
        {"/", nullptr, nullptr, "createChild(): Invalid child name: \"/\""},
        {"trailing/", &data, &deleteInt, "createChild(): Invalid child name: \"trailing/\""},
        {"child", &data, nullptr, "Private data provided for child without deletion method."},
    };
    for (const Case& c : rejected) {
        EXPECT_EQ(thrownMessage([&] {
                      Utils::createChild(iface(), c.name, "Op", Qn::Attribute(), 0, c.privateData, c.deleter);
                  }),
                  c.message);
    }
    EXPECT_TRUE(m_cook.calls.empty());

    const Qn::GroupAttribute args = VexilTest::group({{"a", Qn::IntAttribute(1)}});
    Utils::createChild(iface(), "child.v2", "ChildOp", args, VEXIL_RESET_RECURSIVE_ON, &data, &deleteInt);
    ASSERT_EQ(m_cook.callLog(), std::vector<std::string>{"createChild:child.v2"});
    EXPECT_EQ(m_cook.calls[0].opType, "ChildOp");
    EXPECT_EQ(m_cook.calls[0].resetRecursive, 1);
    EXPECT_EQ(m_cook.calls[0].privateData, &data);
    EXPECT_EQ(m_cook.calls[0].attr, args);
}

TEST_F(CookInterfaceUtilsTest, BoundReaderAcceptsOnlySixDoubles) {
    struct Case {
        const char* what;
        Qn::Attribute bound;
        bool present;
    };
    const Case cases[] = {
        {"six doubles", Qn::DoubleAttribute(std::vector<double>{-1, 1, -2, 2, -3, 3}), true},
        {"five doubles", Qn::DoubleAttribute(std::vector<double>{-1, 1, -2, 2, -3}), false},
        {"seven doubles", Qn::DoubleAttribute(std::vector<double>{-1, 1, -2, 2, -3, 3, 4}), false},
        {"six floats", Qn::FloatAttribute(std::vector<float>{-1, 1, -2, 2, -3, 3}), false},
        {"six ints", Qn::IntAttribute(std::vector<int32_t>{-1, 1, -2, 2, -3, 3}), false},
        {"absent", Qn::Attribute(), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FakeCook cook;
        if (c.bound.isValid()) {
            cook.input["/root/world/geo"]["bound"] = c.bound;
        }
        const Qn::VexilCookInterface i(cook.handle(), FakeCook::suite());
        const Qn::DoubleAttribute read = Utils::getBoundAttr(i, "/root/world/geo", 1);
        EXPECT_EQ(read.isValid(), c.present);
        if (c.present) {
            EXPECT_EQ(read, c.bound);
        }
        ASSERT_EQ(cook.queries.size(), 1u);
        EXPECT_EQ(cook.queries[0].name, "bound");
        EXPECT_EQ(cook.queries[0].inputIndex, 1);
    }
}

TEST_F(CookInterfaceUtilsTest, BoundsAtTimeInterpolates) {
    EXPECT_EQ(thrownMessage([] { Utils::getBoundsAtTime(Qn::DoubleAttribute(), 0.0f); }),
              "Cannot get bounds attribute.");

    const std::map<float, std::vector<double>> samples{{0.0f, {0, 2, 0, 2, 0, 2}},
                                                       {1.0f, {2, 4, -2, 0, 10, 20}}};
    const Qn::DoubleAttribute bound(samples, 1);
    const Imath::Box3d mid = Utils::getBoundsAtTime(bound, 0.5f);
    EXPECT_EQ(mid.min, Imath::V3d(1, -1, 5));
    EXPECT_EQ(mid.max, Imath::V3d(3, 1, 11));
    const Imath::Box3d after = Utils::getBoundsAtTime(bound, 3.0f);
    EXPECT_EQ(after.min, Imath::V3d(2, -2, 10));
    EXPECT_EQ(after.max, Imath::V3d(4, 0, 20));
}

TEST_F(CookInterfaceUtilsTest, TransformBoundsTakesTheBoxOfEightCorners) {
    const Qn::DoubleAttribute unitCube(std::vector<double>{0, 1, 0, 2, 0, 3});
    // Row vectors: p * M with rows (0 1 0), (-1 0 0), (0 0 1), translation (10 0 0) maps (x, y, z)
    // to (10 - y, x, z).
    const Imath::M44d quarterTurn(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1);
    const Imath::Box3d turned = Utils::transformBounds(unitCube, quarterTurn, 0.0f);
    EXPECT_EQ(turned.min, Imath::V3d(8, 0, 0));
    EXPECT_EQ(turned.max, Imath::V3d(10, 1, 3));

    // A square of half-width 1 turned by 45 degrees reaches sqrt(2) along both axes.
    const Qn::DoubleAttribute square(std::vector<double>{-1, 1, -1, 1, -1, 1});
    const double c = std::sqrt(0.5);
    const Imath::M44d eighthTurn(c, c, 0, 0, -c, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    const Imath::Box3d diamond = Utils::transformBounds(square, eighthTurn, 0.0f);
    EXPECT_NEAR(diamond.min.x, -std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(diamond.max.x, std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(diamond.min.y, -std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(diamond.max.y, std::sqrt(2.0), 1e-12);
    EXPECT_EQ(diamond.min.z, -1);
    EXPECT_EQ(diamond.max.z, 1);

    // A mirror swaps min and max: the result is still a proper box.
    const Imath::M44d mirror(-2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    const Imath::Box3d mirrored = Utils::transformBounds(unitCube, mirror, 0.0f);
    EXPECT_EQ(mirrored.min, Imath::V3d(-2, 0, 0));
    EXPECT_EQ(mirrored.max, Imath::V3d(0, 2, 3));
}

TEST_F(CookInterfaceUtilsTest, TimeSliceDefaultsAndValues) {
    struct Case {
        const char* what;
        std::vector<std::pair<std::string, Qn::Attribute>> args;
        float currentTime, shutterOpen, shutterClose;
        int32_t numSamples;
    };
    const std::map<float, std::vector<float>> twoSamples{{-0.5f, {1.0f}}, {0.25f, {2.0f}}};
    const Case cases[] = {
        {"absent", {}, 0.0f, 0.0f, 0.0f, 1},
        {"set",
         {{"system.timeSlice.currentTime", Qn::FloatAttribute(12.5f)},
          {"system.timeSlice.shutterOpen", Qn::FloatAttribute(-0.25f)},
          {"system.timeSlice.shutterClose", Qn::FloatAttribute(0.25f)},
          {"system.timeSlice.numSamples", Qn::IntAttribute(3)}},
         12.5f,
         -0.25f,
         0.25f,
         3},
        {"wrong kinds",
         {{"system.timeSlice.currentTime", Qn::DoubleAttribute(12.5)},
          {"system.timeSlice.shutterOpen", Qn::IntAttribute(1)},
          {"system.timeSlice.numSamples", Qn::FloatAttribute(3.0f)}},
         0.0f,
         0.0f,
         0.0f,
         1},
        {"empty numSamples", {{"system.timeSlice.numSamples", VexilTest::emptyInt()}}, 0.0f, 0.0f, 0.0f, 1},
        {"value nearest time 0",
         {{"system.timeSlice.currentTime", Qn::FloatAttribute(twoSamples, 1)}},
         2.0f,
         0.0f,
         0.0f,
         1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FakeCook cook;
        cook.opArgs = VexilTest::group(c.args);
        const Qn::VexilCookInterface i(cook.handle(), FakeCook::suite());
        EXPECT_EQ(Utils::getCurrentTime(i), c.currentTime);
        EXPECT_EQ(Utils::getShutterOpen(i), c.shutterOpen);
        EXPECT_EQ(Utils::getShutterClose(i), c.shutterClose);
        EXPECT_EQ(Utils::getNumSamples(i), c.numSamples);
    }
}

TEST_F(CookInterfaceUtilsTest, GraphStateVariableReadsSystemVariables) {
    m_cook.opArgs = VexilTest::group({{"system.variables.shot", Qn::StringAttribute("sh010")}});
    EXPECT_EQ(VexilTest::string(Utils::getGraphStateVariable(iface(), "shot")), "sh010");
    EXPECT_FALSE(Utils::getGraphStateVariable(iface(), "take").isValid());
}

TEST_F(CookInterfaceUtilsTest, CreateLocationCreatesTheFirstLevel) {
    m_cook.outputPath = "/root/world";
    m_cook.opType = "Builder";
    struct Case {
        std::string path, child, remaining;
    };
    const Case cases[] = {
        {"/root/world/a/b/c", "a", "b/c"},
        {"/root/world/a", "a", ""},
        {"/root/world/a/", "a", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        m_cook.calls.clear();
        Utils::createLocation(iface(), c.path, "", VexilTest::group({{"keep", Qn::IntAttribute(4)}}));
        ASSERT_EQ(m_cook.callLog(), std::vector<std::string>{"createChild:" + c.child});
        const VexilTest::HostCall& call = m_cook.calls[0];
        EXPECT_EQ(call.opType, "Builder");
        EXPECT_EQ(call.resetRecursive, 2);
        EXPECT_EQ(call.privateData, nullptr);
        const Qn::GroupAttribute args(call.attr);
        EXPECT_EQ(VexilTest::string(args.getChildByName("remainingPath")), c.remaining);
        EXPECT_EQ(Qn::IntAttribute(args.getChildByName("keep")).getValue(0), 4);
    }

    m_cook.calls.clear();
    EXPECT_EQ(thrownMessage([&] { Utils::createLocation(iface(), "/root/world"); }),
              "assertion(parts.size() > 0) failed at "
              "../Vexil3/PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils: 88");
    EXPECT_EQ(thrownMessage([&] { Utils::createLocation(iface(), "/root/worldly/a"); }),
              "createLocation(): \"/root/worldly/a\" does not lie below \"/root/world\"");
    EXPECT_TRUE(m_cook.calls.empty());
}

TEST_F(CookInterfaceUtilsTest, AbortingQueriesThrowQueryAbort) {
    m_cook.abortQueries = true;
    m_cook.input["/root/world"]["bound"] = Qn::DoubleAttribute(std::vector<double>{0, 1, 0, 1, 0, 1});
    EXPECT_THROW(iface().getAttr("bound"), Qn::VexilCookInterface::QueryAbortException);
    EXPECT_THROW(iface().doesLocationExist("/root/world"), Qn::VexilCookInterface::QueryAbortException);
    EXPECT_THROW(Utils::getBoundAttr(iface()), Qn::VexilCookInterface::QueryAbortException);
    EXPECT_THROW(iface().extendAttr("globals.constraintList", Qn::StringAttribute("/a")),
                 Qn::VexilCookInterface::QueryAbortException);
    EXPECT_TRUE(m_cook.calls.empty());

    // The flag is cleared before each call: a later answered query does not inherit an abort.
    m_cook.abortQueries = false;
    EXPECT_TRUE(iface().getAttr("bound").isValid());
    EXPECT_TRUE(iface().doesLocationExist("/root/world"));
    EXPECT_FALSE(iface().doesLocationExist("/root/elsewhere"));
}

TEST_F(CookInterfaceUtilsTest, EntriesTheHostLacksFailClearly) {
    EXPECT_EQ(thrownMessage([&] { iface().getPotentialChildren(); }),
              "The host's cook interface has no entry 16.");
    EXPECT_EQ(thrownMessage([&] { iface().copyAttr("a", "b"); }),
              "The host's cook interface has no entry 30.");
    EXPECT_EQ(thrownMessage([] { Qn::VexilCookInterface(nullptr, nullptr); }),
              "The host gave no cook interface.");
}

} // namespace
