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

std::string stringAttr(const SceneLocation& location, const char* name, bool& present) {
    const Qn::StringAttribute attr(location.attrs.getChildByName(name));
    present = attr.isValid();
    return present ? attr.getValue(std::string(), false) : std::string();
}

} // namespace

CookCounts reportCookProblems(const SceneLocation& root, const std::string& rootPath, std::ostream& err,
                              const std::string& prefix) {
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
        const std::string warning = stringAttr(*location, "warningMessage", hasWarning);
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
