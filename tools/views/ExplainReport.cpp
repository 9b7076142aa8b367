#include "tools/views/ExplainReport.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "host/engine/AttributeEdit.h"
#include "host/scene/AttributeEncoder.h"
#include "host/scene/NumberText.h"
#include "host/scene/ScenePaths.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tools/views/ConstraintDescription.h"
#include "tools/views/SceneWalk.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>
#include <vector>

namespace VexilHost {

namespace {

std::string timesText(const std::vector<float>& times) {
    std::string text;
    for (float time : times) {
        text += (text.empty() ? "" : ", ") + formatSampleTime(time);
    }
    return text.empty() ? std::string("(none)") : text;
}

std::string matrixText(const double* m) {
    std::string text = "[";
    for (int i = 0; i < 16; ++i) {
        text += readableNumber(m[i]);
        text += i == 15 ? "]" : (i % 4 == 3 ? " | " : " ");
    }
    return text;
}

std::string positionText(const Imath::M44d& m) {
    return "position (" + readableNumber(m[3][0]) + ", " + readableNumber(m[3][1]) + ", " +
           readableNumber(m[3][2]) + ")";
}

void writeWorld(std::ostream& out, const char* heading, const SceneLocation* root, const std::string& path) {
    WorldSamples samples;
    if (!root || !worldSamplesOf(*root, path, samples)) {
        out << "  " << heading << ": the location is not in that scene\n";
        return;
    }
    out << "  " << heading << ":\n";
    for (size_t i = 0; i < samples.times.size(); ++i) {
        out << "    at " << formatSampleTime(samples.times[i]) << ": " << positionText(samples.matrices[i])
            << "  " << matrixText(samples.matrices[i].getValue()) << "\n";
    }
}

std::string oneLine(const Qn::Attribute& attr, const std::string& name) {
    std::ostringstream text;
    try {
        encodeAttribute(attr, text, 0, name);
    } catch (const SceneWriteError& error) {
        return std::string("(cannot be shown: ") + error.what() + ")";
    }
    std::string result = text.str();
    // Groups come out over several lines; the report keeps one attribute to one line.
    std::string flat;
    bool space = false;
    for (char c : result) {
        if (c == '\n' || c == ' ') {
            space = !flat.empty();
            continue;
        }
        if (space && flat.back() != '{' && c != '}') {
            flat += ' ';
        }
        space = false;
        flat += c;
    }
    return flat;
}

/// Every data attribute below `group`, by dotted name ("geometry.near"), in group order.
void collectLeaves(const Qn::GroupAttribute& group, const std::string& prefix,
                   std::vector<std::pair<std::string, Qn::Attribute>>& out) {
    for (int64_t i = 0, n = group.getNumberOfChildren(); i < n; ++i) {
        const std::string name = prefix + group.getChildName(i);
        const Qn::Attribute child = group.getChildByIndex(i);
        if (const Qn::GroupAttribute nested(child); nested.isValid() && nested.getNumberOfChildren() > 0) {
            collectLeaves(nested, name + ".", out);
        } else {
            out.emplace_back(name, child);
        }
    }
}

void writeArguments(std::ostream& out, const Qn::GroupAttribute& args) {
    std::vector<std::pair<std::string, Qn::Attribute>> leaves;
    collectLeaves(args, "args.", leaves);
    if (leaves.empty()) {
        out << "       arguments: none\n";
        return;
    }
    out << "       arguments:\n";
    for (const auto& [name, attr] : leaves) {
        out << "         " << name << ": " << oneLine(attr, name) << "\n";
    }
}

bool hasBound(const SceneLocation& location) {
    return AttributeEdit::childNamed(location.attrs, "bound").isValid();
}

bool isConstrainedLocation(const SceneLocation& location) {
    return !readConstraintDescriptions(AttributeEdit::childNamed(location.attrs, "xform")).empty();
}

void writeTargets(std::ostream& out, const std::string& path, const ConstraintDescription& constraint,
                  const SceneLocation& scene, std::vector<std::string>& kept) {
    if (constraint.targets.empty()) {
        out << "       targets: none (the constraint fails: no targets given)\n";
        return;
    }
    out << "       targets:\n";
    for (const std::string& target : constraint.targets) {
        const std::string absolute = Qn::PathUtils::normalisedPath(path, target);
        out << "         " << (absolute.empty() ? target : absolute);
        if (!absolute.empty() && absolute != target) {
            out << " (written " << target << ")";
        }
        const SceneLocation* location = absolute.empty() ? nullptr : findLocation(scene, absolute);
        if (!location) {
            out << (constraint.allowMissingTargets
                        ? ": dropped: no such location, skipped because allowMissingTargets is on\n"
                        : ": not found: no such location, so the constraint fails (allowMissingTargets is "
                          "off)\n");
        } else if (constraint.requireTargetBounds && !hasBound(*location)) {
            out << ": dropped: it has no bound and requireTargetBounds is on\n";
        } else {
            out << ": kept";
            if (absolute != path && isConstrainedLocation(*location)) {
                out << " (itself constrained: its resolved transform is used)";
            }
            out << "\n";
            kept.push_back(absolute);
        }
    }
}

void writeSampleTimes(std::ostream& out, const std::string& path, const ConstraintDescription& constraint,
                      const SceneLocation& scene, const std::vector<std::string>& kept) {
    WorldSamples samples;
    out << "       transform sample times:";
    if (worldSamplesOf(scene, path, samples)) {
        out << " this location " << timesText(samples.times);
    }
    for (const std::string& target : kept) {
        if (worldSamplesOf(scene, target, samples)) {
            out << "; " << target << " " << timesText(samples.times);
        }
    }
    out << "\n       respectMotionBlur " << constraint.respectMotionBlur
        << (constraint.respectMotionBlur
                ? ": evaluated at these times and those of target geometry, times closer than 0.001 "
                  "merged\n"
                : ": evaluated at time 0 only\n");
}

void writeResult(std::ostream& out, const ConstraintDescription& constraint,
                 const Qn::GroupAttribute& cookedXform, bool hasResolveOp) {
    const std::string resolvedName = "resolved" + constraint.name;
    const Qn::GroupAttribute resolved(AttributeEdit::childNamed(cookedXform, resolvedName));
    if (!resolved.isValid()) {
        if (!hasResolveOp) {
            out << "       result: not resolved: the op chain has no ConstraintResolve op\n";
        } else if (AttributeEdit::childNamed(cookedXform, constraint.name).isValid()) {
            out << "       result: left unresolved (see the warnings)\n";
        } else {
            out << "       result: none found in the cooked xform\n";
        }
        return;
    }
    const Qn::StringAttribute error(AttributeEdit::childNamed(resolved, "errorMessage"));
    if (error.isValid()) {
        out << "       result (" << resolvedName << "): error: " << error.getValue(std::string(), false)
            << "\n";
        return;
    }
    const Qn::DoubleAttribute matrix(AttributeEdit::childNamed(resolved, "matrix"));
    if (!matrix.isValid()) {
        out << "       result (" << resolvedName
            << "): no matrix: the constraint changes the location's attributes instead (see below)\n";
        return;
    }
    const std::vector<float> times = matrix.getSampleTimes();
    out << "       evaluated at: " << timesText(times) << "\n";
    out << "       result (" << resolvedName << ".matrix), appended to the location's transform:\n";
    for (float time : times) {
        const auto sample = matrix.getNearestSample(time);
        out << "         at " << formatSampleTime(time) << ": ";
        if (sample.size == 16) {
            out << matrixText(sample.data) << "\n";
        } else {
            out << "(" << sample.size << " values, not a matrix)\n";
        }
    }
}

void writeChangedAttributes(std::ostream& out, const SceneLocation* before, const SceneLocation& cooked) {
    static const char* const kShownElsewhere[] = {"xform", "type", "errorMessage", "warningMessage"};
    auto leaves = [](const SceneLocation* location) {
        std::vector<std::pair<std::string, Qn::Attribute>> result;
        if (location) {
            collectLeaves(location->attrs, "", result);
        }
        std::map<std::string, std::string> texts;
        for (const auto& [name, attr] : result) {
            bool skip = false;
            for (const char* prefix : kShownElsewhere) {
                const std::string p = prefix;
                skip = skip || name == p || name.compare(0, p.size() + 1, p + ".") == 0;
            }
            if (!skip) {
                texts[name] = oneLine(attr, name);
            }
        }
        return texts;
    };
    const std::map<std::string, std::string> was = leaves(before);
    const std::map<std::string, std::string> is = leaves(&cooked);
    std::vector<std::string> lines;
    for (const auto& [name, text] : is) {
        auto it = was.find(name);
        if (it == was.end()) {
            lines.push_back(name + ": added: " + text);
        } else if (it->second != text) {
            lines.push_back(name + ": " + it->second + " -> " + text);
        }
    }
    for (const auto& [name, text] : was) {
        if (!is.count(name)) {
            lines.push_back(name + ": removed (was " + text + ")");
        }
    }
    if (lines.empty()) {
        out << "  attributes changed by resolution: none\n";
        return;
    }
    out << "  attributes changed by resolution:\n";
    for (const std::string& line : lines) {
        out << "    " << line << "\n";
    }
}

void writeMessage(std::ostream& out, const char* heading, const std::string& message) {
    out << "  " << heading << ":\n";
    std::istringstream lines(message);
    std::string line;
    while (std::getline(lines, line)) {
        out << "    " << line << "\n";
    }
}

} // namespace

std::string readableNumber(double value) {
    if (std::fabs(value) < 5e-13) {
        return "0";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

bool writeExplanation(std::ostream& out, const std::string& path, const ExplainScenes& scenes) {
    const SceneLocation* cooked = findLocation(*scenes.cooked, path);
    if (!cooked) {
        return false;
    }
    const SceneLocation* before = findLocation(*scenes.beforeResolve, path);
    const Qn::StringAttribute type(AttributeEdit::childNamed(cooked->attrs, "type"));
    out << "Location " << path << "\n";
    out << "  type: " << (type.isValid() ? type.getValue(std::string(), false) : std::string("(none)"))
        << "\n";
    writeWorld(out, "world transform before (input scene)", scenes.input, path);

    const std::vector<ConstraintDescription> constraints =
        before ? readConstraintDescriptions(AttributeEdit::childNamed(before->attrs, "xform"))
               : std::vector<ConstraintDescription>();
    const Qn::GroupAttribute cookedXform(AttributeEdit::childNamed(cooked->attrs, "xform"));
    if (constraints.empty()) {
        out << "  constraints: none\n";
    } else {
        out << "  constraints, in order:\n";
    }
    for (size_t i = 0; i < constraints.size(); ++i) {
        const ConstraintDescription& constraint = constraints[i];
        out << "    " << (i + 1) << ". " << constraint.name << ": type "
            << (constraint.typeIsString ? constraint.type : std::string("(not a string)")) << "\n";
        std::vector<std::string> kept;
        writeTargets(out, path, constraint, *scenes.beforeResolve, kept);
        out << "       switches: allowMissingTargets " << constraint.allowMissingTargets
            << ", requireTargetBounds " << constraint.requireTargetBounds << ", respectMotionBlur "
            << constraint.respectMotionBlur << "\n";
        writeArguments(out, constraint.args);
        writeSampleTimes(out, path, constraint, *scenes.beforeResolve, kept);
        writeResult(out, constraint, cookedXform, scenes.hasResolveOp);
    }
    if (!constraints.empty()) {
        writeChangedAttributes(out, before, *cooked);
    }
    if (type.getValue(std::string(), false) == "error") {
        const Qn::StringAttribute error(AttributeEdit::childNamed(cooked->attrs, "errorMessage"));
        writeMessage(out, "error",
                     error.isValid() ? error.getValue(std::string(), false) : "(no errorMessage)");
    }
    const Qn::StringAttribute warning(AttributeEdit::childNamed(cooked->attrs, "warningMessage"));
    if (warning.isValid()) {
        writeMessage(out, "warnings", warning.getValue(std::string(), false));
    } else {
        out << "  warnings: none\n";
    }
    writeWorld(out, "world transform after", scenes.cooked, path);
    return true;
}

} // namespace VexilHost
