#include "constraints/resolve/LocationResolver.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"
#include "constraints/resolve/ConstraintDescription.h"
#include "constraints/resolve/ConstraintNaming.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetPaths.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>

namespace Vexil3Constraints {
namespace Private {

const char* const kConstraintListNotSufficient =
    "Constraint list not sufficient to resolve constraint dependencies.";

void mergeSampleTimes(SampleTimes& sampleTimes, bool respectMotionBlur) {
    if (!respectMotionBlur) {
        sampleTimes.clear();
    } else if (!sampleTimes.empty()) {
        auto it = sampleTimes.begin();
        float lastKept = *it++;
        while (it != sampleTimes.end()) {
            // Compared with the last kept time, not the previous one: a chain of close times
            // collapses onto its earliest member.
            if (std::fabs(*it - lastKept) < 0.001f) {
                it = sampleTimes.erase(it);
            } else {
                lastKept = *it++;
            }
        }
    }
    if (sampleTimes.empty()) {
        sampleTimes = SampleTimes{0.0f};
    }
}

namespace {

int readSwitch(const Qn::Attribute& attribute, int defaultValue) {
    return Qn::IntAttribute(attribute).getValue(defaultValue, false);
}

void addWarning(std::string& warnings, const std::string& warning) {
    if (!warnings.empty()) {
        warnings += "\n";
    }
    warnings += warning;
}

/// Calls `visit` with "/root", "/root/world", "/root/world/a" for "/root/world/a": views into `path`, so
/// that the checks every constraint makes on its targets' ancestors allocate nothing.
template <typename Visit> void forEachAncestorOrSelf(const std::string& path, Visit&& visit) {
    const std::string_view whole(path);
    // Paths are short: a plain scan costs less than a search call per component.
    for (size_t slash = 1; slash < whole.size(); ++slash) {
        if (whole[slash] == '/') {
            visit(whole.substr(0, slash));
        }
    }
    if (path.size() > 1) {
        visit(whole);
    }
}

// The children of an `xform` group: a handful, kept on the stack.
using ChildNames = boost::container::small_vector<std::string, 8>;
using ChildValues = boost::container::small_vector<Qn::Attribute, 8>;

Qn::GroupAttribute buildXform(const ChildNames& names, const ChildValues& values) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (size_t i = 0; i < names.size(); ++i) {
        builder.set(names[i], values[i]);
    }
    return builder.build();
}

/// A location after resolution of its constraints.
struct ResolvedLocation {
    OutputAttributes attributes;
    Qn::GroupAttribute xform;
    bool dependencyFailed = false; ///< some constraint failed because the list cannot order its needs
};

/// The constrained location's `xform` as the constraints before the current one left it. `asInput`
/// when none of them changed it: the host then sees the location as it is and needs no override.
struct PartialXform {
    Qn::GroupAttribute xform;
    bool asInput = false;
};

/// What one constraint produced: its "resolved" group (null: leave the constraint as it is).
struct ConstraintOutcome {
    Qn::GroupAttribute resolved;
    bool dependencyFailed = false;
};

class ConstraintFrame;

/// All the resolution one cook does: the cooked location and, on demand, the constrained locations
/// it depends on, each resolved once. Lives on the cook's stack.
class ResolveSession {
public:
    ResolveSession(Qn::VexilCookInterface& cookInterface, const ConstraintListData* constraintList)
        : m_cookInterface(cookInterface), m_list(constraintList) {}

    ResolvedLocation resolveTop(const std::string& path, const Qn::GroupAttribute& xform) {
        m_topPath = &path;
        return resolveLocation(path, xform);
    }

    const ResolvedLocation* findResolved(const std::string& path) const {
        auto it = m_resolved.find(path);
        return it == m_resolved.end() ? nullptr : &it->second;
    }

    /// The overrides that make the host see resolved transforms on the way down to `path`; the base is
    /// overridden by `partialXform` unless that is null.
    Qn::GroupAttribute overridesFor(const std::string& path, const std::string& basePath,
                                    const Qn::GroupAttribute& partialXform) const {
        if (!partialXform.isValid() && m_resolved.empty()) {
            return Qn::GroupAttribute(); // the usual case: the host's own view of every location
        }
        // Most queries need no override at all: the builder is made only for the first one.
        std::optional<Qn::GroupBuilder> builder;
        auto add = [&](std::string_view location, const Qn::Attribute& xform) {
            if (!builder) {
                builder.emplace(QN_GROUP_BUILDER_MODE_LITERAL);
            }
            builder->set(std::string(location), xform);
        };
        forEachAncestorOrSelf(path, [&](std::string_view location) {
            if (location == basePath) {
                if (partialXform.isValid()) {
                    add(location, partialXform);
                }
            } else if (!m_resolved.empty()) {
                if (const ResolvedLocation* resolved = findResolved(std::string(location))) {
                    add(location, resolved->xform);
                }
            }
        });
        return builder ? builder->build() : Qn::GroupAttribute();
    }

private:
    ResolvedLocation resolveLocation(const std::string& path, const Qn::GroupAttribute& xform);
    ConstraintOutcome resolveConstraint(const std::string& path, const Qn::Attribute& child,
                                        const PartialXform& partialXform, std::string& warnings,
                                        OutputAttributes& output);
    ConstraintOutcome resolveWithTargets(const ConstraintResolverPtr& resolver, bool respectMotionBlur,
                                         const std::string& path, const TargetPaths& targets,
                                         const PartialXform& partialXform, std::string& warnings,
                                         OutputAttributes& output);
    void requireDependencies(const std::string& path, const TargetPaths& targets);
    const ResolvedLocation& resolveDependency(const std::string& path);

    bool isConstrained(const std::string& path) {
        auto it = m_constrained.find(path);
        if (it != m_constrained.end()) {
            return it->second;
        }
        bool constrained = false;
        Qn::GroupAttribute xform = m_cookInterface.getAttr("xform", path);
        for (int64_t i = 0, n = xform.getNumberOfChildren(); i < n && !constrained; ++i) {
            constrained = isConstraintChildName(xform.getChildNameView(i));
        }
        m_constrained.emplace(path, constrained);
        return constrained;
    }

    // The list's sorted index answers these by binary search: a cook must not cost in proportion to
    // the length of the whole scene's list.
    bool isListed(std::string_view path) const { return m_list && m_list->contains(path); }

    /// Entries before this position may be resolved ahead of `path`: the last occurrence of the path in
    /// the list, or the whole list for an unlisted location.
    size_t listLimit(const std::string& path) const {
        const size_t last = m_list ? m_list->lastIndexOf(path) : ConstraintListData::kNotListed;
        return last != ConstraintListData::kNotListed ? last : (m_list ? m_list->paths.size() : 0);
    }

    Qn::VexilCookInterface& m_cookInterface;
    const ConstraintListData* m_list;
    std::unordered_map<std::string, ResolvedLocation> m_resolved;
    std::unordered_map<std::string, bool> m_constrained;
    /// The cooked location, in progress all session long: kept apart from the dependencies in progress
    /// so that a cook without dependencies copies no path.
    const std::string* m_topPath = nullptr;
    std::set<std::string> m_inProgress;
};

/// What the resolvers of one constraint see: resolved attributes and transforms of the locations
/// already resolved in this session, and the constrained location as it is before this constraint.
class ConstraintFrame : public ResolvedCache {
public:
    ConstraintFrame(const ResolveSession& session, const std::string& basePath,
                    const PartialXform& partialXform, const OutputAttributes& baseOutput)
        : m_session(session), m_basePath(basePath), m_partialXform(partialXform.xform),
          m_baseOverride(partialXform.asInput ? Qn::GroupAttribute() : partialXform.xform),
          m_baseOutput(baseOutput) {}

    Qn::Attribute getAttr(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                          const std::string& name) override {
        if (const ResolvedLocation* resolved = m_session.findResolved(locationPath)) {
            auto it = resolved->attributes.find(name);
            if (it != resolved->attributes.end()) {
                return it->second;
            }
        }
        if (locationPath == m_basePath) {
            // The constrained location as the constraints before this one left it.
            if (name == "xform") {
                return m_partialXform;
            }
            auto it = m_baseOutput.find(name);
            if (it != m_baseOutput.end()) {
                return it->second;
            }
        }
        return cookInterface.getAttr(name, locationPath);
    }

    XformSamples getWorldXform(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                               const SampleTimes& times) override {
        // A constraint asks for a handful of times: their matrices land on the stack, then in the samples.
        double onStack[4 * 16];
        std::vector<double> onHeap;
        double* values = onStack;
        if (times.size() > 4) {
            onHeap.resize(16 * times.size());
            values = onHeap.data();
        }
        XformSamples samples;
        if (!Qn::VexilPluginHost::copyWorldXformAtTimes(
                cookInterface, locationPath, times.empty() ? nullptr : &*times.begin(),
                static_cast<int64_t>(times.size()), values,
                m_session.overridesFor(locationPath, m_basePath, m_baseOverride))) {
            return samples;
        }
        samples.reserve(times.size());
        const double* m = values;
        for (float time : times) {
            // The times are sorted and distinct: each sample goes at the end.
            samples.emplace_hint(samples.end(), time,
                                 Imath::M44d(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9],
                                             m[10], m[11], m[12], m[13], m[14], m[15]));
            m += 16;
        }
        return samples;
    }

    SampleTimes getWorldXformSampleTimes(Qn::VexilCookInterface& cookInterface,
                                         const std::string& locationPath) override {
        SampleTimes sampleTimes;
        addWorldXformSampleTimes(cookInterface, locationPath, sampleTimes);
        return sampleTimes;
    }

    /// Adds the sample times of `locationPath`'s world transform to `sampleTimes`: for the targets,
    /// whose times join the base's without a set of their own.
    void addWorldXformSampleTimes(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                  SampleTimes& sampleTimes) const {
        const Qn::GroupAttribute overrides = m_session.overridesFor(locationPath, m_basePath, m_baseOverride);
        float onStack[4];
        int64_t count = Qn::VexilPluginHost::copyWorldXformSampleTimes(cookInterface, locationPath, onStack,
                                                                       4, overrides);
        const float* times = onStack;
        std::vector<float> onHeap;
        if (count > 4) {
            onHeap.resize(static_cast<size_t>(count));
            count = std::min(count, Qn::VexilPluginHost::copyWorldXformSampleTimes(
                                        cookInterface, locationPath, onHeap.data(), count, overrides));
            times = onHeap.data();
        }
        if (count <= 0) {
            return;
        }
        // The host's times are sorted and distinct; anything else is sorted here.
        const float* end = times + count;
        if (std::adjacent_find(times, end, [](float a, float b) { return !(a < b); }) == end) {
            sampleTimes.insert(boost::container::ordered_unique_range, times, end);
        } else {
            sampleTimes.insert(times, end);
        }
    }

private:
    const ResolveSession& m_session;
    const std::string& m_basePath;
    Qn::GroupAttribute m_partialXform;
    Qn::GroupAttribute m_baseOverride; ///< null when the host's own view of the base is the partial xform
    const OutputAttributes& m_baseOutput;
};

ResolvedLocation ResolveSession::resolveLocation(const std::string& path, const Qn::GroupAttribute& xform) {
    ResolvedLocation result;
    std::string warnings;
    const int64_t count = xform.getNumberOfChildren();
    ChildNames names;
    ChildValues values;
    names.reserve(static_cast<size_t>(count));
    values.reserve(static_cast<size_t>(count));
    bool changed = false;
    for (int64_t i = 0; i < count; ++i) {
        names.emplace_back(xform.getChildNameView(i));
        values.push_back(xform.getChildByIndex(i));
    }
    for (int64_t i = 0; i < count; ++i) {
        if (!isConstraintChildName(names[i])) {
            continue;
        }
        // The base seen by this constraint: the ones before it resolved, the rest not yet. Until one is
        // resolved that is the xform as it came, group and all.
        const PartialXform partial =
            changed ? PartialXform{buildXform(names, values), false} : PartialXform{xform, true};
        ConstraintOutcome outcome = resolveConstraint(path, values[i], partial, warnings, result.attributes);
        result.dependencyFailed = result.dependencyFailed || outcome.dependencyFailed;
        if (outcome.resolved.isValid()) {
            names[i].insert(0, "resolved");
            values[i] = outcome.resolved;
            changed = true;
        }
    }
    result.xform = buildXform(names, values);
    result.attributes["xform"] = result.xform;
    if (!warnings.empty()) {
        result.attributes["warningMessage"] = Qn::StringAttribute(warnings);
    }
    return result;
}

ConstraintOutcome ResolveSession::resolveConstraint(const std::string& path, const Qn::Attribute& child,
                                                    const PartialXform& partialXform, std::string& warnings,
                                                    OutputAttributes& output) {
    const Qn::GroupAttribute group(child);
    std::string type;
    auto fail = [&](const std::string& what, bool dependencyFailed) {
        const std::string text = type + " Constraint Error: " + what;
        output["type"] = Qn::StringAttribute("error");
        output["errorMessage"] = Qn::StringAttribute(text);
        return ConstraintOutcome{errorGroup(text), dependencyFailed};
    };
    try {
        const ConstraintDescription description = readConstraintDescription(group);
        type = Qn::StringAttribute(description.type).getValue(std::string(), true);
        ConstraintResolverCreator creator = findConstraintResolverCreator(type);
        if (!creator) {
            throw std::runtime_error("'" + type + "' is an invalid constraint type.");
        }
        ConstraintResolverPtr resolver = creator(group);

        // The written paths are read in place: only the kept ones are copied.
        const Qn::StringAttribute targetAttribute(description.target);
        const Qn::SampleView<const char*> written = targetAttribute.getNearestSample(0.0f);
        if (written.empty()) {
            throw std::runtime_error("No constraint targets given.");
        }
        const bool allowMissingTargets = readSwitch(description.allowMissingTargets, 0) != 0;
        const bool requireTargetBounds = readSwitch(description.requireTargetBounds, 0) != 0;
        TargetPaths targets;
        targets.reserve(static_cast<size_t>(written.size));
        for (const char* target : written) {
            std::string targetPath = resolveTargetPath(path, target);
            if (targetPath.empty() || !m_cookInterface.doesLocationExist(targetPath)) {
                if (!allowMissingTargets) {
                    throw std::runtime_error("Constraint target (" +
                                             (targetPath.empty() ? std::string(target) : targetPath) +
                                             ") was not found.");
                }
                continue;
            }
            if (requireTargetBounds && !m_cookInterface.getAttr("bound", targetPath).isValid()) {
                addWarning(warnings, "Constraint target (" + targetPath + ") was found but has no " +
                                         "bound attribute and is therefore being " + "ignored.");
                continue;
            }
            targets.push_back(std::move(targetPath));
        }
        if (targets.empty()) {
            if (allowMissingTargets) {
                addWarning(warnings, type + " Constraint found " + "no valid targets.");
                return ConstraintOutcome{};
            }
            throw std::runtime_error("No valid target found to resolve constraint.");
        }
        return resolveWithTargets(resolver, readSwitch(description.respectMotionBlur, 1) != 0, path, targets,
                                  partialXform, warnings, output);
    } catch (const ConstraintResolveError& e) {
        return fail(e.what(), std::string(e.what()) == kConstraintListNotSufficient);
    } catch (const std::exception& e) {
        return fail(e.what(), false);
    }
}

ConstraintOutcome ResolveSession::resolveWithTargets(const ConstraintResolverPtr& resolver,
                                                     bool respectMotionBlur, const std::string& path,
                                                     const TargetPaths& targets,
                                                     const PartialXform& partialXform, std::string& warnings,
                                                     OutputAttributes& output) {
    requireDependencies(path, targets);
    ConstraintFrame frame(*this, path, partialXform, output);

    SampleTimes sampleTimes = frame.getWorldXformSampleTimes(m_cookInterface, path);
    for (const std::string& target : targets) {
        frame.addWorldXformSampleTimes(m_cookInterface, target, sampleTimes);
    }
    resolver->addTimeSamples(m_cookInterface, path, targets, frame, sampleTimes);
    mergeSampleTimes(sampleTimes, respectMotionBlur);

    const XformSamples baseSamples = frame.getWorldXform(m_cookInterface, path, sampleTimes);
    XformSamplesList targetSamples;
    targetSamples.reserve(targets.size());
    for (const std::string& target : targets) {
        targetSamples.push_back(frame.getWorldXform(m_cookInterface, target, sampleTimes));
    }

    OutputAttributes resolverOutput;
    Qn::GroupAttribute resolved = resolver->resolve(sampleTimes, m_cookInterface, baseSamples, path,
                                                    targetSamples, targets, frame, resolverOutput);
    auto warning = resolverOutput.find("warningMessage");
    if (warning != resolverOutput.end()) {
        addWarning(warnings, Qn::StringAttribute(warning->second).getValue(std::string(), false));
        resolverOutput.erase(warning);
    }
    const Qn::Attribute error = resolved.getChildByName("errorMessage");
    if (error.isValid()) {
        output["type"] = Qn::StringAttribute("error");
        output["errorMessage"] = error;
        return ConstraintOutcome{resolved, false};
    }
    for (auto& [name, attribute] : resolverOutput) {
        output[name] = attribute;
    }
    return ConstraintOutcome{resolved, false};
}

void ResolveSession::requireDependencies(const std::string& path, const TargetPaths& targets) {
    // A constraint needs the resolved transform of every listed constrained location at or above one
    // of its targets, and of the constrained location's own listed constrained ancestors.
    std::set<std::string> required;
    auto consider = [&](std::string_view location) {
        if (location != path && isListed(location)) {
            std::string listed(location);
            if (isConstrained(listed)) {
                required.insert(std::move(listed));
            }
        }
    };
    for (const std::string& target : targets) {
        forEachAncestorOrSelf(target, consider);
    }
    forEachAncestorOrSelf(path, consider);
    if (required.empty()) {
        return;
    }
    // The list orders resolution: what a location needs must be listed before it, and it is resolved
    // in the order of its first entries (what a walk of the list up to the limit would meet).
    std::vector<std::pair<size_t, std::string>> order;
    const size_t limit = listLimit(path);
    for (const std::string& location : required) {
        const size_t first = m_list->firstIndexOf(location);
        if (first >= limit) {
            throw ConstraintResolveError(kConstraintListNotSufficient);
        }
        order.emplace_back(first, location);
    }
    std::sort(order.begin(), order.end());
    for (const auto& [position, location] : order) {
        if (resolveDependency(location).dependencyFailed) {
            throw ConstraintResolveError(kConstraintListNotSufficient);
        }
    }
}

const ResolvedLocation& ResolveSession::resolveDependency(const std::string& path) {
    auto found = m_resolved.find(path);
    if (found != m_resolved.end()) {
        return found->second;
    }
    if ((m_topPath && path == *m_topPath) || m_inProgress.count(path)) {
        throw ConstraintResolveError(kConstraintListNotSufficient);
    }
    m_inProgress.insert(path);
    ResolvedLocation resolved = resolveLocation(path, m_cookInterface.getAttr("xform", path));
    m_inProgress.erase(path);
    return m_resolved.emplace(path, std::move(resolved)).first->second;
}

} // namespace

void resolveLocationConstraints(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                const Qn::GroupAttribute& xform, const ConstraintListData* constraintList,
                                OutputAttributes& outputAttributes) {
    ResolveSession session(cookInterface, constraintList);
    ResolvedLocation resolved = session.resolveTop(locationPath, xform);
    if (outputAttributes.empty()) {
        outputAttributes.swap(resolved.attributes);
        return;
    }
    for (auto& [name, attribute] : resolved.attributes) {
        outputAttributes[name] = std::move(attribute);
    }
}

} // namespace Private
} // namespace Vexil3Constraints
