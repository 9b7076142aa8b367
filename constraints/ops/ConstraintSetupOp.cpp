#include "constraints/ops/ConstraintSetupOp.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "constraints/ops/ConstraintListRules.h"
#include "constraints/ops/ConstraintSetupIndex.h"
#include "constraints/resolve/ConstraintNaming.h"

#include <set>
#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kWorldPath = "/root/world";

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
        const std::string base = ConstraintSetupIndex::basePathOf(entry);
        if (!base.empty() && addToConstraintList(entry)) {
            paths.push_back(base);
        }
    }
    if (!paths.empty()) {
        appendToConstraintList(cookInterface, Qn::StringAttribute(paths));
    }
}

/// Installs the constraints of the entries at `positions` (ascending) into the location's `xform`: each
/// under a fresh name, before or after what is there. Returns the new `xform`, or null when none was
/// installed. Built once, whatever the number of entries: the order is that of installing them one by
/// one (the later of two prepended entries first, the appended ones after the existing children).
Qn::GroupAttribute installConstraints(const Qn::VexilCookInterface& cookInterface,
                                      const Qn::GroupAttribute& constraints,
                                      const std::vector<int64_t>& positions, const std::string& outputPath) {
    std::vector<std::pair<std::string, Qn::GroupAttribute>> prepended;
    std::vector<std::pair<std::string, Qn::GroupAttribute>> appended;
    Qn::GroupAttribute existing;
    std::set<std::string> taken;
    int counter = 0; // names are only ever taken, so the first free one never moves back
    for (int64_t position : positions) {
        const Qn::GroupAttribute entry(constraints.getChildByIndex(position));
        Qn::GroupAttribute constraintGroup(entry.getChildByName("constraintGroup"));
        if (!constraintGroup.isValid()) {
            continue;
        }
        if (intField(entry, "setRelativeTargets", 0, false) != 0) {
            constraintGroup = withRelativeTargets(constraintGroup, outputPath);
        }
        if (prepended.empty() && appended.empty()) {
            existing = Qn::GroupAttribute(cookInterface.getAttr("xform"));
            for (int64_t i = 0, n = existing.isValid() ? existing.getNumberOfChildren() : 0; i < n; ++i) {
                taken.insert(existing.getChildName(i));
            }
        }
        std::string name = freshConstraintName(taken, counter);
        const bool prepend = intField(entry, "prependConstraint", 0, true) != 0;
        taken.insert(name);
        (prepend ? prepended : appended).emplace_back(std::move(name), constraintGroup);
    }
    if (prepended.empty() && appended.empty()) {
        return Qn::GroupAttribute();
    }
    Qn::GroupBuilder builder;
    for (auto it = prepended.rbegin(); it != prepended.rend(); ++it) {
        builder.set(it->first, it->second);
    }
    if (existing.isValid()) {
        builder.update(existing);
    }
    for (const auto& [name, group] : appended) {
        builder.set(name, group);
    }
    return builder.build();
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

    // The entries are indexed once, where the traversal starts, and the index travels down with it: a
    // location looks up its own entries instead of walking all of them.
    const auto* index = static_cast<const ConstraintSetupIndex*>(cookInterface.getPrivateData());
    if (!index) {
        auto* made = new ConstraintSetupIndex(constraints);
        cookInterface.replaceChildTraversalOp("ConstraintSetup",
                                              Qn::GroupAttribute(cookInterface.getOpArg("")), made,
                                              &ConstraintSetupIndex::destroy);
        index = made;
    }
    const Qn::GroupAttribute newXform =
        installConstraints(cookInterface, constraints, index->entriesAt(outputPath), outputPath);
    // Read before the traversal may be stopped: stopping lets the host free the index it was handed.
    const bool aboveSomeBase = index->isAboveSomeBase(outputPath);
    if (newXform.isValid()) {
        cookInterface.setAttr("xform", newXform);
    }
    if (!aboveSomeBase) {
        cookInterface.stopChildTraversal();
    }
}

} // namespace Private
} // namespace Vexil3Constraints
