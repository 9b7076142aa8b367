#include "constraints/ops/ConstraintSetupOp.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "constraints/ops/ConstraintListRules.h"
#include "constraints/resolve/ConstraintNaming.h"

#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kWorldPath = "/root/world";

std::string baseLocationPath(const Qn::GroupAttribute& entry) {
    return Qn::StringAttribute(entry.getChildByName("baseLocationPath")).getValue(std::string(), false);
}

// An absent or non-integer field takes its default; a present integer without a value is an error
// for the switches that change what is written, and counts as off for setRelativeTargets.
int32_t intField(const Qn::GroupAttribute& entry, const char* name, int32_t defaultValue, bool throwOnError) {
    const Qn::IntAttribute field(entry.getChildByName(name));
    if (!field.isValid()) {
        return defaultValue;
    }
    return field.getValue(0, throwOnError);
}

bool addToConstraintList(const Qn::GroupAttribute& entry) {
    return intField(entry, "addToConstraintList", 1, true) != 0;
}

// The constraint group with its `target` paths made relative to the base location.
Qn::GroupAttribute withRelativeTargets(const Qn::GroupAttribute& constraintGroup,
                                       const std::string& basePath) {
    const Qn::StringAttribute target(constraintGroup.getChildByName("target"));
    if (!target.isValid()) {
        return constraintGroup;
    }
    std::vector<std::string> relativeTargets;
    for (const std::string& path : target.getNearestSampleStrings(0.0f)) {
        relativeTargets.push_back(Qn::PathUtils::makeRelativePath(basePath, path));
    }
    Qn::GroupBuilder builder;
    builder.update(constraintGroup);
    builder.set("target", Qn::StringAttribute(relativeTargets));
    return builder.build();
}

void extendConstraintList(const Qn::VexilCookInterface& cookInterface,
                          const Qn::GroupAttribute& constraints) {
    std::vector<std::string> paths;
    const int64_t n = constraints.getNumberOfChildren();
    for (int64_t i = 0; i < n; ++i) {
        const Qn::GroupAttribute entry(constraints.getChildByIndex(i));
        if (!entry.isValid()) {
            continue;
        }
        const std::string base = baseLocationPath(entry);
        if (!base.empty() && addToConstraintList(entry)) {
            paths.push_back(base);
        }
    }
    if (!paths.empty()) {
        appendToConstraintList(cookInterface, Qn::StringAttribute(paths));
    }
}

} // namespace

void ConstraintSetupOp::cook(Qn::VexilCookInterface& cookInterface) {
    // Absent or not a group: no entries, and the traversal stops below (n < 1).
    const Qn::GroupAttribute constraints(cookInterface.getOpArg("constraints"));
    const std::string outputPath = cookInterface.getOutputLocationPath();
    const int64_t n = constraints.isValid() ? constraints.getNumberOfChildren() : 0;

    if (outputPath == kWorldPath && n > 0) {
        extendConstraintList(cookInterface, constraints);
    }
    if (n < 1) {
        cookInterface.stopChildTraversal();
        return;
    }

    Qn::GroupAttribute newXform;
    bool aboveSomeBase = false;
    for (int64_t i = 0; i < n; ++i) {
        const Qn::GroupAttribute entry(constraints.getChildByIndex(i));
        if (!entry.isValid()) {
            continue;
        }
        const std::string base = baseLocationPath(entry);
        if (base.empty()) {
            continue;
        }
        if (base != outputPath) {
            if (Qn::PathUtils::isStrictAncestor(outputPath, base)) {
                aboveSomeBase = true;
            }
            continue;
        }

        Qn::GroupAttribute constraintGroup(entry.getChildByName("constraintGroup"));
        if (!constraintGroup.isValid()) {
            continue;
        }
        if (intField(entry, "setRelativeTargets", 0, false) != 0) {
            constraintGroup = withRelativeTargets(constraintGroup, outputPath);
        }
        const Qn::GroupAttribute existing =
            newXform.isValid() ? newXform : Qn::GroupAttribute(cookInterface.getAttr("xform"));
        const std::string name = freshConstraintName(existing);

        Qn::GroupBuilder builder;
        if (intField(entry, "prependConstraint", 0, true) != 0) {
            builder.set(name, constraintGroup);
            if (existing.isValid()) {
                builder.update(existing);
            }
        } else {
            if (existing.isValid()) {
                builder.update(existing);
            }
            builder.set(name, constraintGroup);
        }
        const Qn::GroupAttribute built = builder.build();
        if (built.isValid()) {
            newXform = built;
        }
    }

    if (newXform.isValid()) {
        cookInterface.setAttr("xform", newXform);
    }
    if (!aboveSomeBase) {
        cookInterface.stopChildTraversal();
    }
}

} // namespace Private
} // namespace Vexil3Constraints
