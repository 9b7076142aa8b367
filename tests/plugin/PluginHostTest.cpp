// The plug-in's host holder and its wrappers over the host's transform and bound suites.
#include "tests/plugin/FakeCookHost.h"

#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

using VexilTest::FakeCook;
namespace Host = Qn::VexilPluginHost;

FakeCook& fake(VexilCookHandle h) {
    return *reinterpret_cast<FakeCook*>(h);
}

// The stand-in world: a location translated by (t, 2t, 0) at time t; "/short" answers with 15 values.
QnAttributeHandle sampleTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t,
                              QnAttributeHandle, uint8_t* abort) {
    if (fake(h).abortQueries) {
        *abort = 1;
        return nullptr;
    }
    if (std::string(path, static_cast<size_t>(pathLength)) == "/nothing") {
        return nullptr;
    }
    return Qn::FloatAttribute(std::vector<float>{-0.25f, 0.0f, 0.25f}).releaseHandle();
}

QnAttributeHandle xformAtTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t,
                               const float* times, int64_t numTimes, QnAttributeHandle, uint8_t* abort) {
    if (fake(h).abortQueries) {
        *abort = 1;
        return nullptr;
    }
    const std::string location(path, static_cast<size_t>(pathLength));
    if (location == "/missing") {
        return nullptr;
    }
    std::map<float, std::vector<double>> samples;
    for (int64_t i = 0; i < numTimes; ++i) {
        const double t = times[i];
        std::vector<double> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, t, 2 * t, 0, 1};
        if (location == "/short") {
            m.pop_back();
        }
        samples[times[i]] = m;
    }
    return Qn::DoubleAttribute(samples, location == "/short" ? 15 : 16).releaseHandle();
}

// Entries 3 and 4 answer as entries 0 and 1 do, counting their calls.
int g_copies = 0;

int64_t copySampleTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t, QnAttributeHandle,
                        float* out, int64_t capacity, uint8_t* abort) {
    ++g_copies;
    if (fake(h).abortQueries) {
        *abort = 1;
        return -1;
    }
    if (std::string(path, static_cast<size_t>(pathLength)) == "/nothing") {
        return -1;
    }
    const float times[] = {-0.25f, 0.0f, 0.25f};
    std::copy_n(times, std::min<int64_t>(capacity, 3), out);
    return 3;
}

uint8_t copyXformAtTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t, const float* times,
                         int64_t numTimes, QnAttributeHandle, double* out, uint8_t* abort) {
    ++g_copies;
    if (fake(h).abortQueries) {
        *abort = 1;
        return 0;
    }
    if (std::string(path, static_cast<size_t>(pathLength)) == "/missing" || numTimes < 1) {
        return 0;
    }
    for (int64_t i = 0; i < numTimes; ++i) {
        const double t = times[i];
        const double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, t, 2 * t, 0, 1};
        std::copy_n(m, 16, out + 16 * i);
    }
    return 1;
}

QnAttributeHandle localAtTimes(QnAttributeHandle, const float* times, int64_t numTimes) {
    std::map<float, std::vector<double>> samples;
    for (int64_t i = 0; i < numTimes; ++i) {
        samples[times[i]] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
    }
    return Qn::DoubleAttribute(samples, 16).releaseHandle();
}

uint8_t worldBound(VexilCookHandle h, const char* path, int32_t pathLength, int32_t, float time,
                   double out[6], uint8_t* abort) {
    if (fake(h).abortQueries) {
        *abort = 1;
        return 0;
    }
    if (std::string(path, static_cast<size_t>(pathLength)) != "/root/world/geo") {
        return 0;
    }
    const double b[6] = {-1, 1, -2, 2, time, time + 3};
    std::memcpy(out, b, sizeof(b));
    return 1;
}

// A host of version 2 of the transform suite: the copying entries, not the continuing ones.
const XFormUtilHostSuite g_xformSuite{&sampleTimes,      &xformAtTimes, &localAtTimes, &copySampleTimes,
                                      &copyXformAtTimes, nullptr,       nullptr};
const VexilCookInterfaceUtilsHostSuite g_boundSuite{&worldBound};

const void* fullHostSuite(const char* name, unsigned int version) {
    if (std::strcmp(name, VEXIL_XFORM_UTIL_SUITE_NAME) == 0 && version == 2) {
        return &g_xformSuite;
    }
    if (std::strcmp(name, VEXIL_COOK_UTILS_SUITE_NAME) == 0 && version == VEXIL_COOK_UTILS_SUITE_VERSION) {
        return &g_boundSuite;
    }
    return nullptr;
}
// A host that knows only the first version of the transform suite.
const void* olderHostSuite(const char* name, unsigned int version) {
    return std::strcmp(name, VEXIL_XFORM_UTIL_SUITE_NAME) == 0 && version == 1 ? &g_xformSuite : nullptr;
}
const void* bareHostSuite(const char*, unsigned int) {
    return nullptr;
}
const char* hostName() {
    return "test host";
}

const VexilHost g_fullHost{&fullHostSuite, &hostName};
const VexilHost g_bareHost{&bareHostSuite, &hostName};
const VexilHost g_olderHost{&olderHostSuite, &hostName};

class PluginHostTest : public ::testing::Test {
protected:
    void SetUp() override { VexilTest::ensureAttributeSuite(); }
    Qn::VexilCookInterface iface() { return Qn::VexilCookInterface(m_cook.handle(), FakeCook::suite()); }
    FakeCook m_cook;
};

TEST_F(PluginHostTest, SetHostTakesTheUtilitySuitesOnce) {
    EXPECT_EQ(Host::setHost(&g_fullHost), 0);
    EXPECT_EQ(Host::getHost(), &g_fullHost);
    EXPECT_EQ(Host::getXFormUtilSuite(), &g_xformSuite);
    EXPECT_EQ(Host::getCookInterfaceUtilsSuite(), &g_boundSuite);

    EXPECT_EQ(Host::setHost(&g_bareHost), 0);
    EXPECT_EQ(Host::getXFormUtilSuite(), nullptr);
    EXPECT_EQ(Host::getCookInterfaceUtilsSuite(), nullptr);

    EXPECT_EQ(Host::setHost(nullptr), -1);
    EXPECT_EQ(Host::getHost(), nullptr);
}

TEST_F(PluginHostTest, WorldTransformsComeInTheOrderOfTheTimes) {
    Host::setHost(&g_fullHost);
    EXPECT_EQ(Host::getWorldXformSampleTimes(iface(), "/root/world/a"),
              (std::vector<float>{-0.25f, 0.0f, 0.25f}));

    const std::vector<Imath::M44d> m =
        Host::getWorldXformAtTimes(iface(), "/root/world/a", {0.25f, -0.5f, 0.0f});
    ASSERT_EQ(m.size(), 3u);
    EXPECT_EQ(m[0].translation(), Imath::V3d(0.25, 0.5, 0));
    EXPECT_EQ(m[1].translation(), Imath::V3d(-0.5, -1.0, 0));
    EXPECT_EQ(m[2], Imath::M44d());

    EXPECT_TRUE(Host::getWorldXformAtTimes(iface(), "/missing", {0.0f}).empty());
    try {
        Host::getWorldXformAtTimes(iface(), "/short", {0.0f});
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "The host's world transform of /short has 15 values at time 0.000000 instead of 16.");
    }

    const std::vector<Imath::M44d> local = Host::getLocalXformAtTimes(Qn::GroupAttribute(), {0.0f, 1.0f});
    ASSERT_EQ(local.size(), 2u);
    EXPECT_EQ(local[1], Imath::M44d().setScale(2.0));
}

TEST_F(PluginHostTest, CopiesUseTheNewEntriesOrFallBackOnAnOlderHost) {
    for (const VexilHost* host : {&g_fullHost, &g_olderHost}) {
        Host::setHost(host);
        EXPECT_EQ(Host::getXFormUtilSuite(), &g_xformSuite);
        g_copies = 0;
        float times[2] = {9.0f, 9.0f};
        EXPECT_EQ(Host::copyWorldXformSampleTimes(iface(), "/root/world/a", times, 2), 3);
        EXPECT_EQ(std::vector<float>(times, times + 2), (std::vector<float>{-0.25f, 0.0f}));
        EXPECT_EQ(Host::copyWorldXformSampleTimes(iface(), "/nothing", times, 2), -1);

        const float asked[] = {0.25f, -0.5f, 0.25f};
        double m[3 * 16 + 1];
        m[48] = 7.0;
        ASSERT_TRUE(Host::copyWorldXformAtTimes(iface(), "/root/world/a", asked, 3, m));
        const double translations[3][2] = {{0.25, 0.5}, {-0.5, -1.0}, {0.25, 0.5}};
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(m[16 * i + 12], translations[i][0]) << i;
            EXPECT_EQ(m[16 * i + 13], translations[i][1]) << i;
            EXPECT_EQ(m[16 * i + 15], 1.0) << i;
        }
        EXPECT_EQ(m[48], 7.0);
        EXPECT_FALSE(Host::copyWorldXformAtTimes(iface(), "/missing", asked, 1, m));
        EXPECT_FALSE(Host::copyWorldXformAtTimes(iface(), "/root/world/a", asked, 0, m));
        EXPECT_EQ(g_copies, host == &g_fullHost ? 5 : 0);

        m_cook.abortQueries = true;
        EXPECT_THROW(Host::copyWorldXformSampleTimes(iface(), "/a", times, 2),
                     Qn::VexilCookInterface::QueryAbortException);
        EXPECT_THROW(Host::copyWorldXformAtTimes(iface(), "/a", asked, 1, m),
                     Qn::VexilCookInterface::QueryAbortException);
        m_cook.abortQueries = false;
    }
}

TEST_F(PluginHostTest, WorldBound) {
    Host::setHost(&g_fullHost);
    Imath::Box3d box(Imath::V3d(7));
    EXPECT_FALSE(Host::getWorldBound(iface(), "/root/world/cam", 0.0f, box));
    EXPECT_EQ(box.min, Imath::V3d(7));
    ASSERT_TRUE(Host::getWorldBound(iface(), "/root/world/geo", 0.5f, box));
    EXPECT_EQ(box.min, Imath::V3d(-1, -2, 0.5));
    EXPECT_EQ(box.max, Imath::V3d(1, 2, 3.5));
}

TEST_F(PluginHostTest, AbortsAndMissingSuites) {
    Host::setHost(&g_fullHost);
    m_cook.abortQueries = true;
    Imath::Box3d box;
    EXPECT_THROW(Host::getWorldXformSampleTimes(iface(), "/a"), Qn::VexilCookInterface::QueryAbortException);
    EXPECT_THROW(Host::getWorldXformAtTimes(iface(), "/a", {0.0f}),
                 Qn::VexilCookInterface::QueryAbortException);
    EXPECT_THROW(Host::getWorldBound(iface(), "/root/world/geo", 0.0f, box),
                 Qn::VexilCookInterface::QueryAbortException);

    Host::setHost(&g_bareHost);
    m_cook.abortQueries = false;
    const std::string noXform = "The host offers no XFormUtilHost suite: world transforms are not available.";
    try {
        Host::getWorldXformAtTimes(iface(), "/a", {0.0f});
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(e.what(), noXform);
    }
    try {
        Host::getWorldBound(iface(), "/a", 0.0f, box);
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "The host offers no VexilCookInterfaceUtilsHost suite: world bounds are not available.");
    }
}

} // namespace
