#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"

#include <algorithm>
#include <stdexcept>

namespace Qn {
namespace VexilPluginHost {

namespace {

// Written only by setHost, while the host loads the library on one thread; read-only afterwards.
const VexilHost* g_host = nullptr;
const XFormUtilHostSuite* g_xformUtilSuite = nullptr;
const VexilCookInterfaceUtilsHostSuite* g_cookUtilsSuite = nullptr;
// True when g_xformUtilSuite is version 2 or later: entries 3 and 4 answer into the caller's buffers.
bool g_xformCopies = false;
// True when g_xformUtilSuite is version 3 or later: entries 5 and 6 continue from an ancestor's world.
bool g_xformBelow = false;

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
    g_xformCopies = false;
    g_xformBelow = false;
    if (!host || !host->getSuite) {
        return -1;
    }
    g_xformUtilSuite = static_cast<const XFormUtilHostSuite*>(
        host->getSuite(VEXIL_XFORM_UTIL_SUITE_NAME, VEXIL_XFORM_UTIL_SUITE_VERSION));
    g_xformBelow = g_xformUtilSuite != nullptr;
    if (!g_xformUtilSuite) {
        // A host of version 2: entries 0-4.
        g_xformUtilSuite =
            static_cast<const XFormUtilHostSuite*>(host->getSuite(VEXIL_XFORM_UTIL_SUITE_NAME, 2));
    }
    g_xformCopies = g_xformUtilSuite != nullptr;
    if (!g_xformUtilSuite) {
        // An older host: entries 0-2 only.
        g_xformUtilSuite =
            static_cast<const XFormUtilHostSuite*>(host->getSuite(VEXIL_XFORM_UTIL_SUITE_NAME, 1));
    }
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

int64_t copyWorldXformSampleTimes(const VexilCookInterface& cookInterface, const std::string& locationPath,
                                  float* timesOut, int64_t capacity, const GroupAttribute& overrides,
                                  int32_t inputIndex) {
    const XFormUtilHostSuite& suite = xformUtil();
    if (!g_xformCopies) {
        const std::vector<float> times =
            getWorldXformSampleTimes(cookInterface, locationPath, overrides, inputIndex);
        const int64_t count = static_cast<int64_t>(times.size());
        std::copy_n(times.begin(), std::min(count, std::max<int64_t>(capacity, 0)), timesOut);
        // Entry 0 always has a time: none means the host gave nothing.
        return times.empty() ? -1 : count;
    }
    uint8_t abortFlag = 0;
    const int64_t count = suite.copyWorldXformSampleTimes(
        cookInterface.getHandle(), locationPath.data(), static_cast<int32_t>(locationPath.size()), inputIndex,
        overrides.getHandle(), timesOut, capacity, &abortFlag);
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    return count;
}

bool copyWorldXformAtTimes(const VexilCookInterface& cookInterface, const std::string& locationPath,
                           const float* times, int64_t numTimes, double* matricesOut,
                           const GroupAttribute& overrides, int32_t inputIndex) {
    const XFormUtilHostSuite& suite = xformUtil();
    if (!g_xformCopies) {
        const std::vector<float> timeList(times,
                                          times == nullptr ? times : times + std::max<int64_t>(numTimes, 0));
        const std::vector<Imath::M44d> matrices =
            getWorldXformAtTimes(cookInterface, locationPath, timeList, overrides, inputIndex);
        for (size_t i = 0; i < matrices.size(); ++i) {
            std::copy_n(matrices[i].getValue(), 16, matricesOut + 16 * i);
        }
        return !matrices.empty();
    }
    uint8_t abortFlag = 0;
    const uint8_t found = suite.copyWorldXformAtTimes(
        cookInterface.getHandle(), locationPath.data(), static_cast<int32_t>(locationPath.size()), inputIndex,
        times, numTimes, overrides.getHandle(), matricesOut, &abortFlag);
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    return found != 0;
}

bool hasWorldBelow() {
    return g_xformBelow;
}

int64_t copyWorldXformSampleTimesBelow(const VexilCookInterface& cookInterface,
                                       const std::string& locationPath, size_t ancestorLength,
                                       float* timesOut, int64_t capacity, const GroupAttribute& overrides,
                                       int32_t inputIndex) {
    uint8_t abortFlag = 0;
    const int64_t count = xformUtil().copyWorldXformSampleTimesBelow(
        cookInterface.getHandle(), locationPath.data(), static_cast<int32_t>(locationPath.size()),
        static_cast<int32_t>(ancestorLength), inputIndex, overrides.getHandle(), timesOut, capacity,
        &abortFlag);
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    return count;
}

bool copyWorldXformAtTimesBelow(const VexilCookInterface& cookInterface, const std::string& locationPath,
                                size_t ancestorLength, const float* times, int64_t numTimes,
                                const double* ancestorWorlds, double* matricesOut,
                                const GroupAttribute& overrides, int32_t inputIndex) {
    uint8_t abortFlag = 0;
    const uint8_t found = xformUtil().copyWorldXformAtTimesBelow(
        cookInterface.getHandle(), locationPath.data(), static_cast<int32_t>(locationPath.size()),
        static_cast<int32_t>(ancestorLength), inputIndex, times, numTimes, ancestorWorlds,
        overrides.getHandle(), matricesOut, &abortFlag);
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
    return found != 0;
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
