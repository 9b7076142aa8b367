// The creators of every resolver kind, one per source unit of this folder.
#pragma once

#include "constraints/resolve/ConstraintResolverRegistry.h"

namespace Vexil3Constraints {
namespace Private {

ConstraintResolverPtr createAimConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createBillboardConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createCameraScreenWindowConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createClippingConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createDollyConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createFOVConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createOrientConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createParentChildConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createPointConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createReflectionConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createScaleConstraintResolver(const Qn::GroupAttribute& constraintGroup);
ConstraintResolverPtr createScreenCoordinateConstraintResolver(const Qn::GroupAttribute& constraintGroup);

} // namespace Private
} // namespace Vexil3Constraints
