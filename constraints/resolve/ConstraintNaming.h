// Constraint children of `xform`: how they are recognised, found and named, shared by the ops.
// Header-only so that every unit compiling an op gets it without another source file.
#pragma once

#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <set>
#include <string>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

/// True when `name` is that of a constraint child of `xform` (it begins with "constraint").
inline bool isConstraintChildName(std::string_view name) {
    return name.substr(0, 10) == "constraint";
}

/// The first of "constraint", "constraint1", "constraint2", ... from number `counter` on such that
/// neither it nor "resolved" followed by it is in `taken` (a resolved constraint keeps its name
/// reserved); `counter` is left at its number. Names are only ever added to `taken`, so a caller naming
/// several new children keeps `counter` and never looks at a taken name twice.
inline std::string freshConstraintName(const std::set<std::string>& taken, int& counter) {
    for (;; ++counter) {
        std::string candidate =
            counter == 0 ? std::string("constraint") : "constraint" + std::to_string(counter);
        if (!taken.count(candidate) && !taken.count("resolved" + candidate)) {
            return candidate;
        }
    }
}

/// The first free constraint name in `taken`, as above from "constraint" on.
inline std::string freshConstraintName(const std::set<std::string>& taken) {
    int counter = 0;
    return freshConstraintName(taken, counter);
}

/// The fresh constraint name for a new child of the group `xform` (an invalid group has no children).
inline std::string freshConstraintName(const Qn::GroupAttribute& xform) {
    std::set<std::string> taken;
    if (xform.isValid()) {
        const int64_t n = xform.getNumberOfChildren();
        for (int64_t i = 0; i < n; ++i) {
            taken.insert(xform.getChildName(i));
        }
    }
    return freshConstraintName(taken);
}

/// A constraint child of `xform`; `name` is empty when none was found.
struct FoundConstraint {
    std::string name;
    Qn::GroupAttribute group;
};

/// The first constraint child of the group `xform` (in group order) that is a group whose `type` is the
/// string `constraintType`.
inline FoundConstraint findConstraintOfType(const Qn::GroupAttribute& xform,
                                            const std::string& constraintType) {
    const int64_t n = xform.isValid() ? xform.getNumberOfChildren() : 0;
    for (int64_t i = 0; i < n; ++i) {
        const std::string name = xform.getChildName(i);
        const Qn::GroupAttribute child(xform.getChildByIndex(i));
        if (isConstraintChildName(name) && child.isValid() &&
            Qn::StringAttribute(child.getChildByName("type")).getValue(std::string(), false) ==
                constraintType) {
            return FoundConstraint{name, child};
        }
    }
    return FoundConstraint();
}

} // namespace Private
} // namespace Vexil3Constraints
