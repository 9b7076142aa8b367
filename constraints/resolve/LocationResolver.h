// Resolution of every constraint of one location, including the constrained locations it depends on.
#pragma once

#include "constraints/resolve/ConstraintListData.h"
#include "constraints/resolve/ConstraintTypes.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <functional>
#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The failure text of a constraint whose dependencies the constraint list cannot order.
extern const char* const kConstraintListNotSufficient;

/// Resolves the constraints (children of `xform` whose names begin with "constraint", in order) of
/// the location at `locationPath` and hands each attribute to set there to `set`, in name order:
/// `xform` rebuilt with each constraint replaced by its "resolved" form, `warningMessage` when a
/// warning was produced, `type` and `errorMessage` when a constraint failed, and any attributes a
/// camera constraint changes. `constraintList` is the scene's list (null when there is none); it
/// decides which constrained locations this one may depend on, and in which order they resolve. A
/// listed location's attributes are handed over from the list's memo, not copied.
void resolveLocationConstraints(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                const Qn::GroupAttribute& xform, const ConstraintListData* constraintList,
                                const std::function<void(const std::string&, const Qn::Attribute&)>& set);

/// Thins `sampleTimes` for evaluation: with motion blur respected, each time closer than 0.001 to the
/// last kept one is dropped (so clusters keep their earliest member); otherwise all are dropped.
/// An empty result becomes {0}.
void mergeSampleTimes(SampleTimes& sampleTimes, bool respectMotionBlur);

} // namespace Private
} // namespace Vexil3Constraints
