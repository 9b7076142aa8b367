// What a constraint sees of other constrained locations: their attributes after resolution.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"

#include <functional>
#include <memory>

namespace Vexil3Constraints {
namespace Private {

/// Serves attributes of locations as they are after constraint resolution: for a listed
/// constrained location (or one below it) the resolved values (its `xform`, or camera attributes
/// such as "geometry.fov" set by a camera constraint); for any other location the input's values.
/// Lives for one cook of one location; not shared between threads.
class ResolvedCache {
public:
    virtual ~ResolvedCache() = default;

    /// The attribute `name` (dotted) of `locationPath` as resolved; null when absent.
    virtual Qn::Attribute getAttr(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                  const std::string& name) = 0;

    /// World transforms of `locationPath` at `times`, seeing the resolved transforms of listed
    /// constrained locations at or above it.
    virtual XformSamples getWorldXform(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                       const SampleTimes& times) = 0;

    /// The sample times of the world transform of `locationPath`, resolved constraints included.
    virtual SampleTimes getWorldXformSampleTimes(Qn::VexilCookInterface& cookInterface,
                                                 const std::string& locationPath) = 0;
};

} // namespace Private
} // namespace Vexil3Constraints
