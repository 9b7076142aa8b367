// The constraint kinds by type name: what the framework makes resolvers with, and what the editing
// ops offer.
#pragma once

#include "constraints/resolve/ArgumentsMemo.h"
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolver.h"

#include <boost/make_shared.hpp>

#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// Makes a resolver holding the given constraint description group; `setup` is what the framework
/// already found in it (a default one: nothing).
using ConstraintResolverCreator = ConstraintResolverPtr (*)(const Qn::GroupAttribute& constraintGroup,
                                                            const ResolverSetup& setup);

/// The creator of resolvers of the class `Resolver`, made from the constraint description group, and
/// from the setup when the class takes one.
template <typename Resolver>
ConstraintResolverPtr createResolver(const Qn::GroupAttribute& constraintGroup, const ResolverSetup& setup) {
    if constexpr (std::is_constructible_v<Resolver, const Qn::GroupAttribute&, const ResolverSetup&>) {
        return boost::make_shared<Resolver>(constraintGroup, setup);
    } else {
        static_cast<void>(setup);
        return boost::make_shared<Resolver>(constraintGroup);
    }
}

/// What the plug-in knows of one constraint kind; each kind defines its own in its source unit.
struct ConstraintKind {
    ConstraintResolverCreator create = nullptr;
    /// The kind's `args.*` in the order an editor shows them, declared where the resolver reads them;
    /// empty for a kind the editing ops do not handle.
    std::vector<EditableArgument> editableArguments;
};

/// Every kind by type name, in name order; filled once (thread-safe) on first use and read-only
/// afterwards. Type names are compared exactly (case-sensitive).
const std::map<std::string, ConstraintKind>& constraintKinds();

/// The kind registered as `type`, or null.
const ConstraintKind* findConstraintKind(const std::string& type);

/// The creator registered for `type`, or null.
ConstraintResolverCreator findConstraintResolverCreator(const std::string& type);

} // namespace Private
} // namespace Vexil3Constraints
