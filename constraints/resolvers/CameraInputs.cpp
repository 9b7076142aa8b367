#include "constraints/resolvers/CameraInputs.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"

namespace Vexil3Constraints {
namespace Private {

const std::array<const char*, 4> kScreenWindowNames = {"geometry.left", "geometry.right", "geometry.bottom",
                                                       "geometry.top"};

Qn::DoubleAttribute getResolvedDoubleAttr(ResolvedCache& resolvedCache, Qn::VexilCookInterface& cookInterface,
                                          const std::string& locationPath, const std::string& name) {
    return Qn::DoubleAttribute(resolvedCache.getAttr(cookInterface, locationPath, name));
}

void addAnimatedSampleTimes(ResolvedCache& resolvedCache, Qn::VexilCookInterface& cookInterface,
                            const std::string& locationPath, const std::vector<std::string>& names,
                            SampleTimes& sampleTimes) {
    for (const std::string& name : names) {
        const Qn::DoubleAttribute attr =
            getResolvedDoubleAttr(resolvedCache, cookInterface, locationPath, name);
        if (attr.isValid() && attr.getNumberOfTimeSamples() >= 2) {
            for (float time : attr.getSampleTimes()) {
                sampleTimes.insert(time);
            }
        }
    }
}

double valueAtTime(const Qn::DoubleAttribute& attr, float sampleTime) {
    double value = 0.0;
    attr.fillInterpolatedValues(&value, 1, sampleTime, 0.0, true);
    return value;
}

std::optional<ScreenWindow> getScreenWindowAtTime(ResolvedCache& resolvedCache,
                                                  Qn::VexilCookInterface& cookInterface,
                                                  const std::string& locationPath, float sampleTime) {
    Qn::DoubleAttribute attrs[4];
    for (size_t i = 0; i < kScreenWindowNames.size(); ++i) {
        attrs[i] = getResolvedDoubleAttr(resolvedCache, cookInterface, locationPath, kScreenWindowNames[i]);
        if (!attrs[i].isValid()) {
            return std::nullopt;
        }
    }
    ScreenWindow window;
    window.left = valueAtTime(attrs[0], sampleTime);
    window.right = valueAtTime(attrs[1], sampleTime);
    window.bottom = valueAtTime(attrs[2], sampleTime);
    window.top = valueAtTime(attrs[3], sampleTime);
    return window;
}

std::array<Imath::V3d, 8> worldBoundCorners(Qn::VexilCookInterface& cookInterface,
                                            const std::string& locationPath, const Imath::M44d& world,
                                            float sampleTime) {
    const Qn::DoubleAttribute bound = Qn::VexilCookInterfaceUtils::getBoundAttr(cookInterface, locationPath);
    return worldBoxCorners(Qn::VexilCookInterfaceUtils::getBoundsAtTime(bound, sampleTime), world);
}

void addBoundSampleTimes(Qn::VexilCookInterface& cookInterface, const TargetPaths& targetPaths,
                         int64_t minimumSamples, SampleTimes& sampleTimes) {
    for (const std::string& path : targetPaths) {
        const Qn::DoubleAttribute bound = Qn::VexilCookInterfaceUtils::getBoundAttr(cookInterface, path);
        if (bound.isValid() && bound.getNumberOfTimeSamples() >= minimumSamples) {
            for (float time : bound.getSampleTimes()) {
                sampleTimes.insert(time);
            }
        }
    }
}

} // namespace Private
} // namespace Vexil3Constraints
