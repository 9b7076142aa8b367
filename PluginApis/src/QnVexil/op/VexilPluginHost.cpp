#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"

#include <stdexcept>

namespace Qn {
namespace VexilPluginHost {

namespace {

// Written only by setHost, while the host loads the library on one thread; read-only afterwards.
const VexilHost* g_host = nullptr;
const XFormUtilHostSuite* g_xformUtilSuite = nullptr;
const VexilCookInterfaceUtilsHostSuite* g_cookUtilsSuite = nullptr;

const XFormUtilHostSuite& xformUtil() {
    if (!g_xformUtilSuite) {
        throw std::runtime_error(
            "The host offers no XFormUtilHost suite: world transforms are not available.");
    }
    return *g_xformUtilSuite;
}

/// `what` names the answer in an error ("world transform of " + `path` when `path` is given); the
/// text is made only on error.
std::vector<Imath::M44d> matricesAtTimes(const DoubleAttribute& matrices, const std::vector<float>& times,
                                         const char* what, const std::string* path = nullptr) {
    std::vector<Imath::M44d> result;
    result.reserve(times.size());
    for (float time : times) {
        const SampleView<double> values = matrices.getNearestSample(time);
        if (values.size != 16) {
            throw std::runtime_error("The host's " + std::string(what) + (path ? *path : std::string()) +
                                     " has " + std::to_string(values.size) + " values at time " +
                                     std::to_string(time) + " instead of 16.");
        }
        Imath::M44d m;
        for (int i = 0; i < 16; ++i) {
            m[i / 4][i % 4] = values[i];
        }
        result.push_back(m);
    }
    return result;
}

} // namespace

int setHost(const VexilHost* host) {
    g_host = host;
    g_xformUtilSuite = nullptr;
    g_cookUtilsSuite = nullptr;
    if (!host || !host->getSuite) {
        return -1;
    }
    g_xformUtilSuite = static_cast<const XFormUtilHostSuite*>(
        host->getSuite(VEXIL_XFORM_UTIL_SUITE_NAME, VEXIL_XFORM_UTIL_SUITE_VERSION));
    g_cookUtilsSuite = static_cast<const VexilCookInterfaceUtilsHostSuite*>(
        host->getSuite(VEXIL_COOK_UTILS_SUITE_NAME, VEXIL_COOK_UTILS_SUITE_VERSION));
    return 0;
}

const VexilHost* getHost() {
    return g_host;
}

const XFormUtilHostSuite* getXFormUtilSuite() {
    return g_xformUtilSuite;
}

const VexilCookInterfaceUtilsHostSuite* getCookInterfaceUtilsSuite() {
    return g_cookUtilsSuite;
}

std::vector<float> getWorldXformSampleTimes(const VexilCookInterface& cookInterface,
                                            const std::string& locationPath, const GroupAttribute& overrides,
                                            int32_t inputIndex) {
    const XFormUtilHostSuite& suite = xformUtil();
    uint8_t abortFlag = 0;
    FloatAttribute times(Attribute::adopt(suite.getWorldXformSampleTimes(
        cookInterface.getHandle(), locationPath.data(), static_cast<int32_t>(locationPath.size()), inputIndex,
        overrides.getHandle(), &abortFlag)));
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    const SampleView<float> values = times.getNearestSample(0.0f);
    return std::vector<float>(values.begin(), values.end());
}

std::vector<Imath::M44d> getWorldXformAtTimes(const VexilCookInterface& cookInterface,
                                              const std::string& locationPath,
                                              const std::vector<float>& times,
                                              const GroupAttribute& overrides, int32_t inputIndex) {
    const XFormUtilHostSuite& suite = xformUtil();
    uint8_t abortFlag = 0;
    DoubleAttribute matrices(Attribute::adopt(suite.getWorldXformAtTimes(
        cookInterface.getHandle(), locationPath.data(), static_cast<int32_t>(locationPath.size()), inputIndex,
        times.data(), static_cast<int64_t>(times.size()), overrides.getHandle(), &abortFlag)));
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    if (!matrices.isValid()) {
        return {};
    }
    return matricesAtTimes(matrices, times, "world transform of ", &locationPath);
}

std::vector<Imath::M44d> getLocalXformAtTimes(const GroupAttribute& xformGroup,
                                              const std::vector<float>& times) {
    const XFormUtilHostSuite& suite = xformUtil();
    DoubleAttribute matrices(Attribute::adopt(suite.getLocalXformAtTimes(
        xformGroup.getHandle(), times.data(), static_cast<int64_t>(times.size()))));
    return matricesAtTimes(matrices, times, "local transform");
}

bool getWorldBound(const VexilCookInterface& cookInterface, const std::string& locationPath, float time,
                   Imath::Box3d& boundOut, int32_t inputIndex) {
    if (!g_cookUtilsSuite || !g_cookUtilsSuite->getWorldBound) {
        throw std::runtime_error("The host offers no VexilCookInterfaceUtilsHost suite: world bounds are not "
                                 "available.");
    }
    uint8_t abortFlag = 0;
    double bound[6] = {0, 0, 0, 0, 0, 0};
    const uint8_t found = g_cookUtilsSuite->getWorldBound(cookInterface.getHandle(), locationPath.data(),
                                                          static_cast<int32_t>(locationPath.size()),
                                                          inputIndex, time, bound, &abortFlag);
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    if (!found) {
        return false;
    }
    boundOut =
        Imath::Box3d(Imath::V3d(bound[0], bound[2], bound[4]), Imath::V3d(bound[1], bound[3], bound[5]));
    return true;
}

} // namespace VexilPluginHost
} // namespace Qn
