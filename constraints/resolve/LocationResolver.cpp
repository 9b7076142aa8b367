#include "constraints/resolve/LocationResolver.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"
#include "constraints/resolve/ConstraintDescription.h"
#include "constraints/resolve/ConstraintNaming.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/ResolvedWorlds.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace Vexil3Constraints {
namespace Private {

const char* const kConstraintListNotSufficient =
    "Constraint list not sufficient to resolve constraint dependencies.";

void mergeSampleTimes(SampleTimes& sampleTimes, bool respectMotionBlur) {
    if (!respectMotionBlur) {
        sampleTimes.clear();
    } else if (!sampleTimes.empty()) {
        // Kept times are moved to the front in one pass: erasing one by one would cost the square of the
        // number of close times.
        SampleTimes::sequence_type times = sampleTimes.extract_sequence();
        size_t kept = 1;
        for (size_t i = 1; i < times.size(); ++i) {
            // Compared with the last kept time, not the previous one: a chain of close times collapses
            // onto its earliest member.
            if (!(std::fabs(times[i] - times[kept - 1]) < 0.001f)) {
                times[kept++] = times[i];
            }
        }
        times.resize(kept);
        sampleTimes.adopt_sequence(boost::container::ordered_unique_range, std::move(times));
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
template <typename Visit> void forEachAncestorOrSelf(std::string_view path, Visit&& visit) {
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

// The children of an `xform` group: a handful, kept on the stack. The names are views into the group,
// which outlives them; a child replaced by its constraint's resolved group is marked, and its name is
// put together only where the group is built.
using ChildNames = boost::container::small_vector<std::string_view, 8>;
using ChildValues = boost::container::small_vector<Qn::Attribute, 8>;
using ChildResolved = boost::container::small_vector<bool, 8>;

constexpr std::string_view kResolvedPrefix("resolved");

/// A resolved listed location at or above a queried path.
struct ResolvedAbove {
    std::string_view path;
    const ResolvedLocation* resolved;
    size_t slot;
};
/// The resolved listed locations at or above a path, deepest first.
using ResolvedChain = boost::container::small_vector<ResolvedAbove, 4>;

/// The `xform` of the children, each marked one named "resolved" + its name.
Qn::GroupAttribute buildXform(const ChildNames& names, const ChildValues& values,
                              const ChildResolved& resolved) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    // The builder copies each name as it is set: one buffer serves every resolved child.
    boost::container::small_vector<char, 64> renamed;
    for (size_t i = 0; i < names.size(); ++i) {
        if (!resolved[i]) {
            builder.set(names[i], values[i]);
            continue;
        }
        renamed.assign(kResolvedPrefix.begin(), kResolvedPrefix.end());
        renamed.insert(renamed.end(), names[i].begin(), names[i].end());
        builder.set(std::string_view(renamed.data(), renamed.size()), values[i]);
    }
    return builder.build();
}

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

/// One constraint child checked as far as it can be before anything it depends on is resolved: its
/// kind, its kept targets, and the listed constrained locations it needs.
struct PreparedConstraint {
    size_t child = 0; ///< its position among the children of `xform`
    std::string type;
    /// Set when the constraint already failed: the text after "<type> Constraint Error: ".
    std::optional<std::string> failure;
    /// Warnings of the target checks, reported before anything the resolver says.
    std::vector<std::string> warnings;
    /// Every target was missing and that is allowed: the constraint stays as it is.
    bool noValidTargets = false;
    ConstraintResolverPtr resolver;
    TargetPaths targets;
    bool respectMotionBlur = true;
    /// The memo slots of the listed constrained locations it needs, in the order of their first entries.
    std::vector<size_t> needs;
    /// The slot of the nearest listed location at or above the base, and at or above each kept target
    /// (kNoSlot: none), found with the needs and kept for the routes of the queries about them.
    size_t baseListed = ConstraintListData::kNoSlot;
    boost::container::small_vector<size_t, 4> targetsListed;
    /// Some need is not listed before the location that needs it.
    bool needsOutOfOrder = false;
};

/// The constraints of one location: nearly always one, kept inline.
using PreparedConstraints = boost::container::small_vector<PreparedConstraint, 1>;

/// A location whose constraints are prepared, waiting for what they need.
struct PreparedLocation {
    std::string_view path;
    Qn::GroupAttribute xform;
    PreparedConstraints constraints;
};

class ConstraintFrame;

/// The memo slots on a walk's stack, in stack order: found by a scan while the walk is shallow, as
/// nearly every walk is, and through a hash set once it is deep (a chain of N links is N deep).
class SlotsInProgress {
public:
    void push(size_t slot) {
        m_stack.push_back(slot);
        if (!m_index.empty()) {
            m_index.insert(slot);
        } else if (m_stack.size() > kScanned) {
            m_index.insert(m_stack.begin(), m_stack.end());
        }
    }
    /// Removes the slot pushed last.
    void pop() {
        if (!m_index.empty()) {
            m_index.erase(m_stack.back());
        }
        m_stack.pop_back();
    }
    bool contains(size_t slot) const {
        if (!m_index.empty()) {
            return m_index.count(slot) != 0;
        }
        return std::find(m_stack.begin(), m_stack.end(), slot) != m_stack.end();
    }

private:
    static constexpr size_t kScanned = 16;
    boost::container::small_vector<size_t, kScanned> m_stack;
    std::unordered_set<size_t> m_index;
};

/// The resolution one cook does: the cooked location and, when it needs them, the listed constrained
/// locations it depends on, which go into the traversal's memo so that each is resolved once for all
/// cooks. What a location needs is found by a walk with its own stack, not by recursion: a chain of
/// locations each following the one before is as deep as it is long. Lives on the cook's stack.
class ResolveSession {
public:
    ResolveSession(Qn::VexilCookInterface& cookInterface, const ConstraintListData* constraintList)
        : m_cookInterface(cookInterface), m_list(constraintList) {
        if (m_list && ResolvedWorlds::available()) {
            m_worlds.emplace(cookInterface, *m_list);
        }
    }

    /// The worlds of resolved locations, when the host can continue from them; null otherwise.
    ResolvedWorlds* worlds() const { return m_worlds ? &*m_worlds : nullptr; }
    const ConstraintListData* list() const { return m_list; }

    /// The resolution of the cooked location: a listed one's as the memo keeps it, any other's made
    /// into `unlisted`.
    const ResolvedLocation& resolveTop(const std::string& path, const Qn::GroupAttribute& xform,
                                       ResolvedLocation& unlisted) {
        m_topPath = &path;
        if (const ConstraintListData::Position* listed = m_list ? m_list->find(path) : nullptr) {
            // A listed location may have been resolved already, as what another location needed.
            return resolveListed(listed->slot, path, xform);
        }
        PendingStack stack;
        push(stack, kNoSlot, path, xform);
        if (m_list) {
            walkNeeds(stack);
        }
        unlisted = resolveLocation(stack.back().location);
        return unlisted;
    }

    /// The published resolution of a listed location, or null.
    const ResolvedLocation* findResolved(std::string_view path) const {
        const ConstraintListData::Position* listed = m_list ? m_list->find(path) : nullptr;
        return listed ? m_list->memo->find(listed->slot) : nullptr;
    }

    /// The overrides that make the host see resolved transforms on the way down to `path`; the base is
    /// overridden by `partialXform` unless that is null. `resolved` holds the resolved listed locations
    /// at or above `path` (as `resolvedFrom` finds them), deepest first.
    static Qn::GroupAttribute overridesFor(std::string_view path, std::string_view basePath,
                                           const Qn::GroupAttribute& partialXform,
                                           const ResolvedChain& resolved) {
        // The base counts where it lies at or above `path`, as a location path's own prefix.
        const bool baseAtOrAbove =
            partialXform.isValid() && !basePath.empty() && basePath.size() <= path.size() &&
            path.compare(0, basePath.size(), basePath) == 0 &&
            (basePath.size() == path.size() ? path.size() > 1 : path[basePath.size()] == '/');
        // From the top down, the base in its place: every entry is a prefix of `path`, so length orders
        // them. Most queries need no override at all: the builder is made only for the first one.
        std::optional<Qn::GroupBuilder> builder;
        auto add = [&](std::string_view location, const Qn::Attribute& xform) {
            if (!builder) {
                builder.emplace(QN_GROUP_BUILDER_MODE_LITERAL);
            }
            builder->set(std::string(location), xform);
        };
        bool basePending = baseAtOrAbove;
        for (size_t i = resolved.size(); i-- > 0;) {
            const std::string_view location = resolved[i].path;
            if (basePending && basePath.size() < location.size()) {
                add(basePath, partialXform);
                basePending = false;
            }
            // The base is seen as the constraints before this one left it, resolved or not; a path of
            // one character is no location of its own way down.
            if (location != basePath && (location.size() < path.size() || path.size() > 1)) {
                add(location, resolved[i].resolved->xform);
            }
        }
        if (basePending) {
            add(basePath, partialXform);
        }
        return builder ? builder->build() : Qn::GroupAttribute();
    }

    /// The slot of the nearest listed location at or above `path`, or kNoSlot: the one hashed lookup of
    /// a route; the listed locations above it are found by the list's links from there.
    size_t nearestListed(std::string_view path) const {
        return m_list ? m_list->nearestListed(path, true) : ConstraintListData::kNoSlot;
    }

    /// The first resolved location on the links up from `slot` (included), or none.
    std::optional<ResolvedAbove> firstResolvedFrom(size_t slot) const {
        for (; slot != ConstraintListData::kNoSlot; slot = m_list->slotAbove[slot]) {
            if (const ResolvedLocation* resolved = m_list->memo->find(slot)) {
                return ResolvedAbove{m_list->pathOfSlot(slot), resolved, slot};
            }
        }
        return std::nullopt;
    }

    /// Every resolved location on the links up from `slot` (included), deepest first.
    ResolvedChain resolvedFrom(size_t slot) const {
        ResolvedChain chain;
        for (; slot != ConstraintListData::kNoSlot; slot = m_list->slotAbove[slot]) {
            if (const ResolvedLocation* resolved = m_list->memo->find(slot)) {
                chain.push_back(ResolvedAbove{m_list->pathOfSlot(slot), resolved, slot});
            }
        }
        return chain;
    }

private:
    static constexpr size_t kNoSlot = static_cast<size_t>(-1);

    /// A location on the walk's stack: prepared, some of its needs perhaps still to be resolved.
    struct Pending {
        size_t slot; ///< its memo slot, or kNoSlot for an unlisted cooked location
        PreparedLocation location;
        size_t constraint = 0; ///< the next constraint whose needs are looked at
        size_t need = 0;       ///< the next need of that constraint
    };
    /// The walk's stack: most walks hold the cooked location alone, kept inline; a deep walk moves to
    /// the heap.
    using PendingStack = boost::container::small_vector<Pending, 1>;

    const ResolvedLocation& resolveListed(size_t slot, std::string_view path,
                                          const Qn::GroupAttribute& xform);
    void walkNeeds(PendingStack& stack);
    /// Puts the location of `slot` on the stack, prepared: in place, as its constraints are large.
    void push(PendingStack& stack, size_t slot, std::string_view path, const Qn::GroupAttribute& xform);
    void prepareConstraint(std::string_view path, size_t child, std::string_view name,
                           const Qn::Attribute& value, PreparedConstraint& constraint);
    void findNeeds(std::string_view path, PreparedConstraint& constraint);
    ResolvedLocation resolveLocation(const PreparedLocation& location);
    ConstraintOutcome resolveConstraint(const PreparedLocation& location,
                                        const PreparedConstraint& constraint,
                                        const PartialXform& partialXform, std::string& warnings,
                                        OutputAttributes& output);
    ConstraintOutcome resolveWithTargets(std::string_view path, const PreparedConstraint& constraint,
                                         const PartialXform& partialXform, std::string& warnings,
                                         OutputAttributes& output);

    bool isConstrained(size_t slot, std::string_view path) {
        const int known = m_list->memo->constrained(slot);
        if (known >= 0) {
            return known == 1;
        }
        bool constrained = false;
        const Qn::GroupAttribute xform = m_cookInterface.getAttr("xform", std::string(path));
        for (int64_t i = 0, n = xform.getNumberOfChildren(); i < n && !constrained; ++i) {
            constrained = isConstraintChildName(xform.getChildNameView(i));
        }
        m_list->memo->setConstrained(slot, constrained);
        return constrained;
    }

    Qn::VexilCookInterface& m_cookInterface;
    /// The cooked location's path, which the queries about it take as it is, without a copy.
    const std::string* m_topPath = nullptr;
    const ConstraintListData* m_list;
    mutable std::optional<ResolvedWorlds> m_worlds;
    /// The memo slots on the walk's stack: a need among them closes a cycle.
    SlotsInProgress m_inProgress;
};

/// What the resolvers of one constraint see: resolved attributes and transforms of the listed locations
/// already resolved, and the constrained location as it is before this constraint.
class ConstraintFrame : public ResolvedCache {
public:
    /// `targets` are the constraint's kept targets: with the base, the locations whose routes are kept.
    ConstraintFrame(const ResolveSession& session, std::string_view basePath,
                    const PreparedConstraint& constraint, const PartialXform& partialXform,
                    const OutputAttributes& baseOutput)
        : m_session(session), m_basePath(basePath), m_targets(constraint.targets),
          m_baseListed(constraint.baseListed), m_targetsListed(constraint.targetsListed),
          m_partialXform(partialXform.xform),
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
        const float* timeArray = times.empty() ? nullptr : &*times.begin();
        const int64_t count = static_cast<int64_t>(times.size());
        const Route& route = routeOf(locationPath);
        if (const std::optional<size_t> from = route.from) {
            if (count == 0) {
                return samples;
            }
            ResolvedWorlds& worlds = *m_session.worlds();
            const std::string_view top = m_session.list()->pathOfSlot(*from);
            if (top.size() == locationPath.size()) {
                worlds.worldsAt(*from, timeArray, times.size(), values);
            } else {
                std::vector<double> above(16 * times.size());
                worlds.worldsAt(*from, timeArray, times.size(), above.data());
                if (!Qn::VexilPluginHost::copyWorldXformAtTimesBelow(cookInterface, locationPath, top.size(),
                                                                     timeArray, count, above.data(), values,
                                                                     route.overrides)) {
                    return samples;
                }
            }
        } else if (!Qn::VexilPluginHost::copyWorldXformAtTimes(cookInterface, locationPath, timeArray, count,
                                                               values, route.overrides)) {
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
                                  SampleTimes& sampleTimes) {
        const Route& route = routeOf(locationPath);
        if (const std::optional<size_t> from = route.from) {
            std::vector<float> times = m_session.worlds()->sampleTimes(*from);
            const std::string_view top = m_session.list()->pathOfSlot(*from);
            if (top.size() != locationPath.size()) {
                const Qn::GroupAttribute& overrides = route.overrides;
                std::vector<float> below(4);
                int64_t count = Qn::VexilPluginHost::copyWorldXformSampleTimesBelow(
                    cookInterface, locationPath, top.size(), below.data(), 4, overrides);
                if (count > 4) {
                    below.resize(static_cast<size_t>(count));
                    count = Qn::VexilPluginHost::copyWorldXformSampleTimesBelow(
                        cookInterface, locationPath, top.size(), below.data(), count, overrides);
                }
                below.resize(
                    static_cast<size_t>(std::max<int64_t>(0, std::min<int64_t>(count, below.size()))));
                std::vector<float> merged;
                std::set_union(times.begin(), times.end(), below.begin(), below.end(),
                               std::back_inserter(merged));
                times.swap(merged);
            }
            if (times.empty()) {
                times.push_back(0.0f); // a chain none of whose operations is sampled has the one time 0
            }
            sampleTimes.insert(times.begin(), times.end());
            return;
        }
        const Qn::GroupAttribute& overrides = route.overrides;
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
    /// How the queries about one location reach the host: the memo slot of the resolved location whose
    /// world the location's can be continued from, or none, and the overrides the host must see.
    struct Route {
        std::string_view path;
        std::optional<size_t> from;
        Qn::GroupAttribute overrides;
    };

    /// The route of `locationPath`, found by one walk up the list and kept for the base and the targets,
    /// which are each asked about twice (their sample times, then their matrices).
    const Route& routeOf(const std::string& locationPath) {
        for (const Route& route : m_routes) {
            if (route.path == locationPath) {
                return route;
            }
        }
        std::string_view kept;
        // The nearest listed location at or above it, when the needs found it already.
        std::optional<size_t> listed;
        const bool knownListed = m_session.list() != nullptr && m_targetsListed.size() == m_targets.size();
        if (locationPath == m_basePath) {
            kept = m_basePath;
            listed = knownListed ? std::optional<size_t>(m_baseListed) : std::nullopt;
        } else {
            for (size_t i = 0; i < m_targets.size(); ++i) {
                if (m_targets[i] == locationPath) {
                    kept = m_targets[i];
                    listed = knownListed ? std::optional<size_t>(m_targetsListed[i]) : std::nullopt;
                    break;
                }
            }
        }
        Route route = makeRoute(locationPath, listed ? *listed : m_session.nearestListed(locationPath));
        if (kept.data() == nullptr) {
            m_other = std::move(route);
            return m_other;
        }
        route.path = kept;
        m_routes.push_back(std::move(route));
        return m_routes.back();
    }

    /// The route of `locationPath`, whose nearest listed location at or above it is `listed`.
    Route makeRoute(const std::string& locationPath, size_t listed) const {
        Route route;
        // Where the host can continue from is the first resolved location up the links: the walk stops
        // there, and goes on to the top only when the overrides need every resolved one.
        const std::optional<ResolvedAbove> nearest =
            m_session.worlds() ? m_session.firstResolvedFrom(listed) : std::nullopt;
        route.from = continuableFrom(nearest);
        if (!route.from) {
            route.overrides = ResolveSession::overridesFor(locationPath, m_basePath, m_baseOverride,
                                                           m_session.resolvedFrom(listed));
        } else if (nearest->path.size() != locationPath.size()) {
            route.overrides = baseOverrideFor(locationPath); // continued below a resolved ancestor
        }
        return route;
    }

    /// The memo slot of the resolved location whose world the queried location's can be continued from,
    /// or none: there is none (`nearest`, the first resolved location at or above the queried one), or
    /// the base lies above it (the memo's worlds see the base as it came, where this constraint must see
    /// it as the constraints before it left it).
    std::optional<size_t> continuableFrom(const std::optional<ResolvedAbove>& nearest) const {
        if (!nearest) {
            return std::nullopt;
        }
        const std::string_view top = nearest->path;
        const bool baseAbove = m_basePath.size() < top.size() &&
                               top.compare(0, m_basePath.size(), m_basePath) == 0 &&
                               top[m_basePath.size()] == '/';
        return baseAbove ? std::nullopt : std::optional<size_t>(nearest->slot);
    }

    /// The override of the base by the partial xform, when the base is `locationPath` or above it.
    Qn::GroupAttribute baseOverrideFor(std::string_view locationPath) const {
        const bool baseAtOrAbove =
            locationPath.compare(0, m_basePath.size(), m_basePath) == 0 &&
            (locationPath.size() == m_basePath.size() || locationPath[m_basePath.size()] == '/');
        if (!m_baseOverride.isValid() || !baseAtOrAbove) {
            return Qn::GroupAttribute();
        }
        Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
        builder.set(std::string(m_basePath), m_baseOverride);
        return builder.build();
    }

    const ResolveSession& m_session;
    std::string_view m_basePath;
    const TargetPaths& m_targets;
    size_t m_baseListed;
    const boost::container::small_vector<size_t, 4>& m_targetsListed;
    /// The routes of the base and the targets asked about so far; a handful.
    boost::container::small_vector<Route, 4> m_routes;
    /// The route of the last other location asked about.
    Route m_other;
    Qn::GroupAttribute m_partialXform;
    Qn::GroupAttribute m_baseOverride; ///< null when the host's own view of the base is the partial xform
    const OutputAttributes& m_baseOutput;
};

const ResolvedLocation& ResolveSession::resolveListed(size_t slot, std::string_view path,
                                                      const Qn::GroupAttribute& xform) {
    if (const ResolvedLocation* done = m_list->memo->find(slot)) {
        return *done;
    }
    PendingStack stack;
    push(stack, slot, path, xform);
    walkNeeds(stack);
    return *m_list->memo->find(slot);
}

void ResolveSession::walkNeeds(PendingStack& stack) {
    // Depth first, with the stack on the heap: a location is resolved once every location it needs is
    // resolved, or is on the stack below it (a cycle, which fails the constraint that closes it). The
    // stack's bottom entry is left for the caller when it belongs to no slot.
    const ResolvedMemo& memo = *m_list->memo;
    for (const Pending& pending : stack) {
        if (pending.slot != kNoSlot) {
            m_inProgress.push(pending.slot);
        }
    }
    while (!stack.empty()) {
        Pending& top = stack.back();
        std::optional<size_t> next;
        PreparedConstraints& constraints = top.location.constraints;
        while (!next && top.constraint < constraints.size()) {
            const PreparedConstraint& constraint = constraints[top.constraint];
            // A constraint whose needs are out of order fails before any of them is resolved.
            if (constraint.failure || constraint.needsOutOfOrder || top.need >= constraint.needs.size()) {
                ++top.constraint;
                top.need = 0;
                continue;
            }
            const size_t need = constraint.needs[top.need++];
            if (!memo.find(need) && !m_inProgress.contains(need)) {
                next = need;
            }
        }
        if (next) {
            const std::string_view path = m_list->pathOfSlot(*next);
            m_inProgress.push(*next);
            push(stack, *next, path, m_cookInterface.getAttr("xform", std::string(path)));
            continue;
        }
        if (top.slot == kNoSlot) {
            return; // the unlisted cooked location: the caller resolves it
        }
        const size_t slot = top.slot;
        m_list->memo->resolveOnce(slot, [&] { return resolveLocation(top.location); });
        m_inProgress.pop(); // the slot of `top`, pushed last
        stack.pop_back();
    }
}

void ResolveSession::push(PendingStack& stack, size_t slot, std::string_view path,
                          const Qn::GroupAttribute& xform) {
    Pending& pending = stack.emplace_back();
    pending.slot = slot;
    PreparedLocation& location = pending.location;
    location.path = path;
    location.xform = xform;
    for (int64_t i = 0, n = xform.getNumberOfChildren(); i < n; ++i) {
        const std::string_view name = xform.getChildNameView(i); // valid while `xform` lives
        if (isConstraintChildName(name)) {
            prepareConstraint(path, static_cast<size_t>(i), name, xform.getChildByIndex(i),
                              location.constraints.emplace_back());
        }
    }
}

void ResolveSession::prepareConstraint(std::string_view path, size_t child, std::string_view name,
                                       const Qn::Attribute& value, PreparedConstraint& constraint) {
    constraint.child = child;
    const Qn::GroupAttribute group(value);
    try {
        const ConstraintDescription description = readConstraintDescription(group);
        if (!Qn::StringAttribute(description.type).isValid()) {
            // The error itself only says that no string could be read; the warning says where and why.
            constraint.warnings.push_back(
                group.isValid() ? "The constraint '" + std::string(name) + "' of " + std::string(path) +
                                      " has no 'type': it needs a string naming its kind, such as \"Point\"."
                                : "The child '" + std::string(name) + "' of xform at " + std::string(path) +
                                      " is not a group, so it is no constraint description.");
        }
        constraint.type = Qn::StringAttribute(description.type).getValue(std::string(), true);
        ConstraintResolverCreator creator = findConstraintResolverCreator(constraint.type);
        if (!creator) {
            throw std::runtime_error("'" + constraint.type + "' is an invalid constraint type.");
        }
        const ConstraintArguments arguments(group, description.args, description.dottedNames);
        constraint.resolver =
            creator(group, ResolverSetup{&arguments, m_list ? m_list->arguments.get() : nullptr});

        // The written paths are read in place: only the kept ones are copied.
        const Qn::StringAttribute targetAttribute(description.target);
        const Qn::SampleView<const char*> written = targetAttribute.getNearestSample(0.0f);
        if (written.empty()) {
            throw std::runtime_error("No constraint targets given.");
        }
        const bool allowMissingTargets = readSwitch(description.allowMissingTargets, 0) != 0;
        const bool requireTargetBounds = readSwitch(description.requireTargetBounds, 0) != 0;
        constraint.targets.reserve(static_cast<size_t>(written.size));
        for (const char* target : written) {
            std::string targetPath = Qn::PathUtils::normalisedPath(path, target);
            if (targetPath.empty() || !m_cookInterface.doesLocationExist(targetPath)) {
                if (!allowMissingTargets) {
                    throw std::runtime_error("Constraint target (" +
                                             (targetPath.empty() ? std::string(target) : targetPath) +
                                             ") was not found.");
                }
                continue;
            }
            if (requireTargetBounds && !m_cookInterface.getAttr("bound", targetPath).isValid()) {
                constraint.warnings.push_back("Constraint target (" + targetPath + ") was found but has no " +
                                              "bound attribute and is therefore being " + "ignored.");
                continue;
            }
            constraint.targets.push_back(std::move(targetPath));
        }
        if (constraint.targets.empty()) {
            if (allowMissingTargets) {
                constraint.noValidTargets = true;
                return;
            }
            throw std::runtime_error("No valid target found to resolve constraint.");
        }
        constraint.respectMotionBlur = readSwitch(description.respectMotionBlur, 1) != 0;
        findNeeds(path, constraint);
    } catch (const std::exception& e) {
        constraint.failure = e.what();
    }
}

void ResolveSession::findNeeds(std::string_view path, PreparedConstraint& constraint) {
    if (!m_list) {
        return;
    }
    // A constraint needs the resolved transform of every listed constrained location at or above one
    // of its targets, and of the constrained location's own listed constrained ancestors.
    std::vector<std::pair<size_t, size_t>> needs; // (first entry, slot)
    // Entries before the limit may be resolved ahead of `path`: its last entry, or the whole list for an
    // unlisted location. Its own place is looked up once, for the limit and its listed ancestors.
    const ConstraintListData::Position* self = m_list->find(path);
    const size_t limit = self ? self->last : m_list->paths.size();
    auto consider = [&](size_t slot) {
        const std::string_view location = m_list->pathOfSlot(slot);
        if (location == path || !isConstrained(slot, location)) {
            return;
        }
        const size_t first = m_list->firstEntryOfSlot(slot);
        needs.emplace_back(first, slot);
        // What a location needs must be listed before it.
        constraint.needsOutOfOrder = constraint.needsOutOfOrder || first >= limit;
    };
    // The listed locations at or above a path: its nearest, then each one's nearest listed ancestor.
    auto considerListedFrom = [&](size_t nearest) {
        for (size_t slot = nearest; slot != ConstraintListData::kNoSlot; slot = m_list->slotAbove[slot]) {
            consider(slot);
        }
        return nearest;
    };
    constraint.targetsListed.reserve(constraint.targets.size());
    for (const std::string& target : constraint.targets) {
        constraint.targetsListed.push_back(considerListedFrom(m_list->nearestListed(target, true)));
    }
    constraint.baseListed = considerListedFrom(self ? self->slot : m_list->nearestListed(path, false));
    // They resolve in the order of their first entries, as a walk of the list would meet them.
    std::sort(needs.begin(), needs.end());
    needs.erase(std::unique(needs.begin(), needs.end()), needs.end());
    constraint.needs.reserve(needs.size());
    for (const auto& need : needs) {
        constraint.needs.push_back(need.second);
    }
}

ResolvedLocation ResolveSession::resolveLocation(const PreparedLocation& location) {
    ResolvedLocation result;
    std::string warnings;
    const Qn::GroupAttribute& xform = location.xform;
    const int64_t count = xform.getNumberOfChildren();
    ChildNames names;
    ChildValues values;
    ChildResolved resolved(static_cast<size_t>(count), false);
    names.reserve(static_cast<size_t>(count));
    values.reserve(static_cast<size_t>(count));
    bool changed = false;
    for (int64_t i = 0; i < count; ++i) {
        names.push_back(xform.getChildNameView(i)); // valid while `xform` lives
        values.push_back(xform.getChildByIndex(i));
    }
    for (const PreparedConstraint& constraint : location.constraints) {
        // The base seen by this constraint: the ones before it resolved, the rest not yet. Until one is
        // resolved that is the xform as it came, group and all.
        const PartialXform partial =
            changed ? PartialXform{buildXform(names, values, resolved), false} : PartialXform{xform, true};
        ConstraintOutcome outcome =
            resolveConstraint(location, constraint, partial, warnings, result.attributes);
        result.dependencyFailed = result.dependencyFailed || outcome.dependencyFailed;
        if (outcome.resolved.isValid()) {
            resolved[constraint.child] = true;
            values[constraint.child] = outcome.resolved;
            changed = true;
        }
    }
    result.xform = buildXform(names, values, resolved);
    result.attributes["xform"] = result.xform;
    if (!warnings.empty()) {
        result.attributes["warningMessage"] = Qn::StringAttribute(warnings);
    }
    return result;
}

ConstraintOutcome ResolveSession::resolveConstraint(const PreparedLocation& location,
                                                    const PreparedConstraint& constraint,
                                                    const PartialXform& partialXform, std::string& warnings,
                                                    OutputAttributes& output) {
    auto fail = [&](const std::string& what, bool dependencyFailed) {
        const std::string text = constraint.type + " Constraint Error: " + what;
        output["type"] = Qn::StringAttribute("error");
        output["errorMessage"] = Qn::StringAttribute(text);
        return ConstraintOutcome{errorGroup(text), dependencyFailed};
    };
    for (const std::string& warning : constraint.warnings) {
        addWarning(warnings, warning);
    }
    if (constraint.failure) {
        return fail(*constraint.failure, false);
    }
    if (constraint.noValidTargets) {
        addWarning(warnings, constraint.type + " Constraint found " + "no valid targets.");
        return ConstraintOutcome{};
    }
    if (constraint.needsOutOfOrder) {
        return fail(kConstraintListNotSufficient, true);
    }
    for (size_t need : constraint.needs) {
        // A need still in progress closes a cycle; one that failed for its own needs fails this one too.
        const ResolvedLocation* resolved = m_list->memo->find(need);
        if (!resolved || resolved->dependencyFailed) {
            return fail(kConstraintListNotSufficient, true);
        }
    }
    try {
        return resolveWithTargets(location.path, constraint, partialXform, warnings, output);
    } catch (const std::exception& e) {
        return fail(e.what(), false);
    }
}

ConstraintOutcome ResolveSession::resolveWithTargets(std::string_view path,
                                                     const PreparedConstraint& constraint,
                                                     const PartialXform& partialXform, std::string& warnings,
                                                     OutputAttributes& output) {
    std::string copied;
    const std::string& base =
        m_topPath != nullptr && *m_topPath == path ? *m_topPath : copied.assign(path.data(), path.size());
    const TargetPaths& targets = constraint.targets;
    ConstraintFrame frame(*this, path, constraint, partialXform, output);

    SampleTimes sampleTimes = frame.getWorldXformSampleTimes(m_cookInterface, base);
    for (const std::string& target : targets) {
        frame.addWorldXformSampleTimes(m_cookInterface, target, sampleTimes);
    }
    constraint.resolver->addTimeSamples(m_cookInterface, base, targets, frame, sampleTimes);
    mergeSampleTimes(sampleTimes, constraint.respectMotionBlur);

    const XformSamples baseSamples = frame.getWorldXform(m_cookInterface, base, sampleTimes);
    XformSamplesList targetSamples;
    targetSamples.reserve(targets.size());
    for (const std::string& target : targets) {
        targetSamples.push_back(frame.getWorldXform(m_cookInterface, target, sampleTimes));
    }

    OutputAttributes resolverOutput;
    Qn::GroupAttribute resolved = constraint.resolver->resolve(
        sampleTimes, m_cookInterface, baseSamples, base, targetSamples, targets, frame, resolverOutput);
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

} // namespace

void resolveLocationConstraints(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                const Qn::GroupAttribute& xform, const ConstraintListData* constraintList,
                                const std::function<void(const std::string&, const Qn::Attribute&)>& set) {
    ResolveSession session(cookInterface, constraintList);
    ResolvedLocation unlisted;
    const ResolvedLocation& resolved = session.resolveTop(locationPath, xform, unlisted);
    for (const auto& [name, attribute] : resolved.attributes) {
        set(name, attribute);
    }
}

} // namespace Private
} // namespace Vexil3Constraints
