#include "constraints/resolvers/CameraInputs.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "constraints/resolve/ResolverChecks.h"
#include "constraints/resolve/TargetGeometry.h"

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

double usableCameraValue(double value, const char* name, const std::string& locationPath) {
    const ValueProblem problem = valueProblem(&value, 1);
    if (problem != ValueProblem::None) {
        requireUsable(problem, "Camera attribute " + std::string(name) + " of " + locationPath);
    }
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
    double values[4];
    for (size_t i = 0; i < kScreenWindowNames.size(); ++i) {
        values[i] = usableCameraValue(valueAtTime(attrs[i], sampleTime), kScreenWindowNames[i], locationPath);
    }
    ScreenWindow window;
    window.left = values[0];
    window.right = values[1];
    window.bottom = values[2];
    window.top = values[3];
    return window;
}

std::array<Imath::V3d, 8> worldBoundCorners(Qn::VexilCookInterface& cookInterface,
                                            const std::string& locationPath, const Imath::M44d& world,
                                            float sampleTime) {
    const Qn::DoubleAttribute bound = Qn::VexilCookInterfaceUtils::getBoundAttr(cookInterface, locationPath);
    const Imath::Box3d box = Qn::VexilCookInterfaceUtils::getBoundsAtTime(bound, sampleTime);
    const double local[6] = {box.min.x, box.min.y, box.min.z, box.max.x, box.max.y, box.max.z};
    requireUsableBound(local, 6, locationPath, "");
    const std::array<Imath::V3d, 8> corners = worldBoxCorners(box, world);
    // A target matrix whose last column is zero sends the corners to infinity.
    requireUsableBound(&corners[0].x, 3 * corners.size(), locationPath, " in world space");
    return corners;
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
