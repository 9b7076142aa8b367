// Reading the `args.*` values of one constraint description without the dotted lookup each time.
#pragma once

#include "constraints/resolve/TargetGeometry.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <optional>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

/// The arguments of one constraint description: `get("args.xAxis")` finds exactly what the group's
/// dotted lookup finds, in one lookup inside `args`. Borrows the group, which must outlive it.
class ConstraintArguments {
public:
    explicit ConstraintArguments(const Qn::GroupAttribute& constraintGroup);

    /// The child at the dotted `name` ("args.xAxis"); an invalid attribute when there is none.
    Qn::Attribute get(std::string_view name) const;

    /// The first value (nearest to time 0) of the string argument `name`; empty when it is missing,
    /// not a string or has no value. Valid while the constraint group lives.
    std::string_view stringValue(std::string_view name) const;

private:
    const Qn::GroupAttribute& m_group;
    /// The `args` group, looked up once; only used when `m_direct` is set.
    Qn::GroupAttribute m_args;
    /// False when a child name of the group holds a dot: a literal "args.xAxis" child would win over
    /// `args` -> `xAxis`, so such groups keep the dotted lookup.
    bool m_direct = true;
};

/// The origin mode of the string argument `argumentName`; none when it is missing, not a string or
/// empty. Lets a resolver read its arguments once and report a missing one only where it is needed.
std::optional<OriginMode> findOriginMode(const ConstraintArguments& arguments, std::string_view argumentName);

/// findOriginMode by one dotted lookup in `constraintGroup`: cheaper where only one argument is read.
std::optional<OriginMode> findOriginMode(const Qn::GroupAttribute& constraintGroup,
                                         std::string_view argumentName);

/// `mode`; when there is none, throws std::runtime_error "<resolverType> constraint resolver: empty
/// <argumentName>." (the argument was missing, not a string or empty).
OriginMode requireOriginMode(const std::optional<OriginMode>& mode, std::string_view resolverType,
                             std::string_view argumentName);

/// The axis switch `name` ("args.xAxis"): false only for an IntAttribute whose value (nearest to
/// time 0) is 0; missing, non-int or empty attributes count as true.
bool getAxisFlag(const ConstraintArguments& arguments, std::string_view name);

} // namespace Private
} // namespace Vexil3Constraints
