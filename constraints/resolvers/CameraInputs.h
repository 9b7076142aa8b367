// Inputs shared by the camera resolvers: camera attributes as constraints resolved them, their
// animation, and target bounds carried to world space.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"
#include "constraints/resolve/ResolvedCache.h"
#include "constraints/resolvers/CameraMath.h"
#include "hostapi/attribute/DataAttribute.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The names of a camera's screen-window attributes in reading order: left, right, bottom, top.
extern const std::array<const char*, 4> kScreenWindowNames;

/// The attribute `name` of `locationPath` as constraints resolved it, if it is a double attribute;
/// otherwise a null attribute (an attribute of another kind counts as absent).
Qn::DoubleAttribute getResolvedDoubleAttr(ResolvedCache& resolvedCache, Qn::VexilCookInterface& cookInterface,
                                          const std::string& locationPath, const std::string& name);

/// Inserts every sample time of each named double attribute of `locationPath` (as resolved) that has two
/// or more samples; other attributes add nothing.
void addAnimatedSampleTimes(ResolvedCache& resolvedCache, Qn::VexilCookInterface& cookInterface,
                            const std::string& locationPath, const std::vector<std::string>& names,
                            SampleTimes& sampleTimes);

/// The screen window of `locationPath` (as resolved) interpolated at `sampleTime`; nullopt when any of
/// the four is absent. Interpolation errors propagate; a value that is not finite or is beyond the
/// largest constraint value throws usableCameraValue's text.
std::optional<ScreenWindow> getScreenWindowAtTime(ResolvedCache& resolvedCache,
                                                  Qn::VexilCookInterface& cookInterface,
                                                  const std::string& locationPath, float sampleTime);

/// The value of a double attribute interpolated at `sampleTime`; interpolation errors propagate.
double valueAtTime(const Qn::DoubleAttribute& attr, float sampleTime);

/// The eight corners of the `bound` of `locationPath`, interpolated at `sampleTime`, carried to world
/// space by `world` as points (projective divide). Throws "Cannot get bounds attribute." when the
/// location has no well-formed bound, and "Bound of <path> is not finite." (or "... in world space.",
/// or "has a value beyond 1e15") when the bound or its carried corners cannot be used.
std::array<Imath::V3d, 8> worldBoundCorners(Qn::VexilCookInterface& cookInterface,
                                            const std::string& locationPath, const Imath::M44d& world,
                                            float sampleTime);

/// `value`, the camera attribute `name` of `locationPath`; throws std::runtime_error "Camera attribute
/// <name> of <path> is not finite." or "... has a value beyond 1e15." when it cannot be used.
double usableCameraValue(double value, const char* name, const std::string& locationPath);

/// Inserts the sample times of the `bound` of each target that has one with at least `minimumSamples`
/// samples.
void addBoundSampleTimes(Qn::VexilCookInterface& cookInterface, const TargetPaths& targetPaths,
                         int64_t minimumSamples, SampleTimes& sampleTimes);

} // namespace Private
} // namespace Vexil3Constraints
