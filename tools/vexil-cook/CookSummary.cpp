#include "tools/vexil-cook/CookSummary.h"

#include "hostapi/attribute/DataAttribute.h"

#include <vector>

namespace VexilHost {

namespace {

std::string oneLine(std::string text) {
    std::string result;
    for (char c : text) {
        if (c == '\n') {
            result += "; ";
        } else {
            result += c;
        }
    }
    return result;
}

/// True when the location's `xform` holds a child whose name begins with "constraint".
bool holdsConstraint(const SceneLocation& location) {
    const Qn::GroupAttribute xform(location.attrs.getChildByName("xform"));
    for (int64_t i = 0, n = xform.getNumberOfChildren(); i < n; ++i) {
        if (xform.getChildNameView(i).substr(0, 10) == "constraint") {
            return true;
        }
    }
    return false;
}

std::string stringAttr(const SceneLocation& location, const char* name, bool& present) {
    const Qn::StringAttribute attr(location.attrs.getChildByName(name));
    present = attr.isValid();
    return present ? attr.getValue(std::string(), false) : std::string();
}

} // namespace

const char* const kUnresolvedAtStart =
    "its constraints are not resolved: ConstraintResolve starts here and resolves only the locations "
    "below the one it starts at";

std::set<std::string> resolveStartLocations(const SceneFile& scene) {
    std::set<std::string> starts;
    for (const OpDescription& op : scene.ops) {
        if (op.type == "ConstraintResolve") {
            starts.insert(op.location.empty() ? std::string("/root") : op.location);
        }
    }
    return starts;
}

CookCounts reportCookProblems(const SceneLocation& root, const std::string& rootPath, std::ostream& err,
                              const std::string& prefix, const std::set<std::string>& resolveStarts) {
    CookCounts counts;
    // Depth first in tree order, without recursion so that deep scenes cannot exhaust the stack.
    std::vector<std::pair<const SceneLocation*, std::string>> pending{{&root, rootPath}};
    while (!pending.empty()) {
        const auto [location, path] = pending.back();
        pending.pop_back();
        ++counts.locations;
        bool hasType = false;
        bool hasError = false;
        bool hasWarning = false;
        const bool isError = stringAttr(*location, "type", hasType) == "error" && hasType;
        const std::string error = stringAttr(*location, "errorMessage", hasError);
        std::string warning = stringAttr(*location, "warningMessage", hasWarning);
        if (resolveStarts.count(path) && holdsConstraint(*location)) {
            warning += hasWarning ? std::string("\n") + kUnresolvedAtStart : std::string(kUnresolvedAtStart);
            hasWarning = true;
        }
        if (isError || hasWarning) {
            err << "vexil-cook: " << prefix << path << ": ";
            if (isError) {
                err << "error: " << (hasError ? oneLine(error) : std::string("(no errorMessage)"));
                ++counts.errors;
            }
            if (hasWarning) {
                err << (isError ? " | " : "") << "warning: " << oneLine(warning);
                ++counts.warnings;
            }
            err << '\n';
        }
        for (auto child = location->children.rbegin(); child != location->children.rend(); ++child) {
            pending.emplace_back(&*child, path + "/" + child->name);
        }
    }
    return counts;
}

std::string countsLine(const CookCounts& counts, const std::string& prefix) {
    return "vexil-cook: " + prefix + std::to_string(counts.locations) +
           (counts.locations == 1 ? " location" : " locations") + " cooked, " +
           std::to_string(counts.errors) + " with errors, " + std::to_string(counts.warnings) +
           " with warnings";
}

} // namespace VexilHost
