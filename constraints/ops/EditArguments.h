// Reading and checking the op arguments of the editing ops ConstraintEdit and ConstraintEditAttributes.
// Each reader returns the value, or the message to report on the location when the argument is
// missing or malformed; messages begin with the op type and ": ".
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <utility>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// A checked op argument: `value` when `error` is empty.
struct CheckedArgument {
    std::string value;
    std::string error;
    bool ok() const { return error.empty(); }
};

/// The actions of ConstraintEdit.
extern const char* const kCreateOrOverride;
extern const char* const kAddToConstraintList;
extern const char* const kRemoveFromConstraintList;

/// `locationPath`: a string whose first value begins with "/"; trailing slashes are removed.
CheckedArgument checkLocationPathArg(const Qn::Attribute& arg, const std::string& opType);

/// `constraintType`: a string whose first value is "Aim", "Orient" or "Point".
CheckedArgument checkConstraintTypeArg(const Qn::Attribute& arg, const std::string& opType);

/// `action`: a string whose first value is "createOrOverride", "addToConstraintList" or
/// "removeFromConstraintList".
CheckedArgument checkActionArg(const Qn::Attribute& arg, const std::string& opType);

/// The attributes to set, flattened: each data attribute of `setAttrs` with its dotted path, in group
/// order; nested groups are walked, so {"args": {"xAxis": 0}} and {"args.xAxis": 0} both give
/// ("args.xAxis", 0).
std::vector<std::pair<std::string, Qn::Attribute>> flattenSetAttrs(const Qn::GroupAttribute& setAttrs);

/// Checks `setAttrs` of ConstraintEdit for `constraintType`: absent is fine (nothing to set); a
/// non-group, or a `type` that is not the string `constraintType`, gives the message.
std::string checkSetAttrsArg(const Qn::Attribute& arg, const std::string& constraintType);

} // namespace Private
} // namespace Vexil3Constraints
