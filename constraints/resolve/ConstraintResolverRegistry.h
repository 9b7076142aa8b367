// The factory of resolvers by constraint type name.
#pragma once

#include "constraints/resolve/ConstraintResolver.h"

#include <map>
#include <string>

namespace Vexil3Constraints {
namespace Private {

/// Makes a resolver holding the given constraint description group.
using ConstraintResolverCreator = ConstraintResolverPtr (*)(const Qn::GroupAttribute& constraintGroup);

/// The registry, filled once (thread-safe) on first use and read-only afterwards. Type names are
/// compared exactly (case-sensitive).
const std::map<std::string, ConstraintResolverCreator>& constraintResolverRegistry();

/// The creator registered for `type`, or null.
ConstraintResolverCreator findConstraintResolverCreator(const std::string& type);

} // namespace Private
} // namespace Vexil3Constraints
