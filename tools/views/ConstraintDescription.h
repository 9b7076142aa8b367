// The constraint descriptions of a location as the host sees them before resolution: the children of
// its `xform` group whose names begin with "constraint", read into plain values for pictures and the
// explain report.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <vector>

namespace VexilHost {

/// One constraint description, read without judging it (the resolver does that).
struct ConstraintDescription {
    /// The child's name in `xform` ("constraint", "constraint1", ...).
    std::string name;
    /// `type` as written; empty when it is not a string.
    std::string type;
    bool typeIsString = false;
    /// `target` as written, in order.
    std::vector<std::string> targets;
    /// The switches, with the defaults of a missing or non-int attribute.
    int allowMissingTargets = 0;
    int requireTargetBounds = 0;
    int respectMotionBlur = 1;
    /// `args` (a valid group, empty when absent).
    Qn::GroupAttribute args;
};

/// True for the name of a constraint description ("constraint" followed by anything).
bool isConstraintName(const std::string& name);

/// The constraint descriptions in `xform` (a group, or anything else for none), in group order.
std::vector<ConstraintDescription> readConstraintDescriptions(const Qn::Attribute& xform);

} // namespace VexilHost
