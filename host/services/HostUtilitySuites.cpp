// The XFormUtilHost and VexilCookInterfaceUtilsHost suites: world transforms and bounds of locations
// on an op's input, following the transform model.
#include "host/engine/AttributeEdit.h"
#include "host/engine/CookContext.h"
#include "host/services/EntryFailure.h"
#include "host/services/HostServices.h"
#include "host/xform/XformModel.h"
#include "hostapi/attribute/DataAttribute.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <limits>
#include <memory>

namespace VexilHost {

namespace {

/// The flattened transforms of a location and its ancestors ("/root" first), `overrides` applied.
struct XformChain {
    bool exists = false;
    /// One entry per location: the graph's memoised operations, or one of `overridden`.
    std::vector<const XformModel::Operations*> chain;
    /// Made only for overrides (a deque would allocate even when empty).
    std::vector<std::unique_ptr<XformModel::Operations>> overridden;

    const std::vector<const XformModel::Operations*>& pointers() const { return chain; }
};

/// The position in the chain of `path` ("/root" first) of the location whose path is `key`, when that is
/// `path` or one of its ancestors; otherwise -1. Keys are matched whole, never split at dots.
int64_t chainIndexOf(std::string_view path, std::string_view key) {
    if (key.size() > path.size() || path.compare(0, key.size(), key) != 0 ||
        (key.size() < path.size() && path[key.size()] != '/') || key.size() < 2) {
        return -1;
    }
    return static_cast<int64_t>(std::count(key.begin(), key.end(), '/')) - 1;
}

/// Fills `chain`; false when the query aborted.
bool readChain(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
               QnAttributeHandle overrides, uint8_t* abort, XformChain& chain) {
    std::vector<Node> nodes;
    CookContext& context = CookContext::from(h);
    if (!context.queryChain(path, pathLength, inputIndex, abort, nodes, nullptr)) {
        return false;
    }
    const std::string_view queried = context.queriedPath(path, pathLength);
    chain.exists = !nodes.empty() && nodes.back().exists();
    if (!chain.exists) {
        return true;
    }
    // The overrides are few: each is placed in the chain by its key, rather than every location's path
    // being made to look it up (which costs the square of the depth).
    std::vector<Qn::Attribute> overridden(nodes.size());
    const Qn::GroupAttribute overrideGroup(Qn::Attribute::share(overrides));
    for (int64_t i = 0, n = overrideGroup.isValid() ? overrideGroup.getNumberOfChildren() : 0; i < n; ++i) {
        const int64_t at = chainIndexOf(queried, overrideGroup.getChildNameView(i));
        if (at >= 0 && static_cast<size_t>(at) < nodes.size() &&
            !overridden[static_cast<size_t>(at)].isValid()) {
            overridden[static_cast<size_t>(at)] = overrideGroup.getChildByIndex(i); // the first of a name
        }
    }
    // The cook's own location is kept by its context rather than by the graph: other cooks rarely ask
    // for it.
    const bool own = queried == context.path();
    chain.chain.reserve(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) {
        const Qn::Attribute& xform = overridden[i];
        if (!xform.isValid() && own && i + 1 == nodes.size()) {
            chain.chain.push_back(&context.ownXform());
        } else if (xform.isValid()) {
            chain.overridden.push_back(std::make_unique<XformModel::Operations>(XformModel::flatten(xform)));
            chain.chain.push_back(chain.overridden.back().get());
        } else {
            chain.chain.push_back(&context.graph().flattenedXform(nodes[i]));
        }
    }
    return true;
}

/// How a query is answered: a query without overrides of any location but the cook's own (which
/// other cooks rarely ask for) through the world memo, one of the cook's own location through what
/// the attempt shares, and any other by reading the chain.
enum class QueryRoute { WorldMemo, Own, Chain };

QueryRoute routeOf(VexilCookHandle h, const char* path, int32_t pathLength, QnAttributeHandle overrides) {
    if (overrides != nullptr) {
        return QueryRoute::Chain;
    }
    const CookContext& context = CookContext::from(h);
    return context.queriedPath(path, pathLength) != context.path() ? QueryRoute::WorldMemo : QueryRoute::Own;
}

/// The world memo of a location queried without overrides: found, or made from its chain on first
/// use (a finished walk never changes, and targets are asked for by every location aiming at them).
/// False when the query aborted or cannot be answered; `memo` stays null when the location does not
/// exist.
bool plainWorld(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort,
                StageGraph::WorldMemo*& memo) {
    memo = nullptr;
    CookContext& context = CookContext::from(h);
    if (!CookContext::isValidInput(inputIndex)) {
        return false;
    }
    const std::string_view queried = context.queriedPath(path, pathLength);
    memo = context.findInputWorld(queried);
    if (memo != nullptr) {
        return true;
    }
    const std::string key(queried);
    XformChain chain;
    if (!readChain(h, path, pathLength, inputIndex, nullptr, abort, chain)) {
        return false;
    }
    if (chain.exists) {
        memo = &context.graph().makeWorldMemo(context.inputStage(), key, chain.chain);
    }
    return true;
}

/// For a query of the cook's own location without overrides: the world memo of its parent, shared
/// with its siblings, so that only the location's own operations remain to apply (the same products
/// in the same order as a walk of the whole chain). False when that does not apply: the location is
/// "/root" or has no input, or the parent's transform cannot be had; the caller then reads the chain.
bool ownParentWorld(VexilCookHandle h, int32_t inputIndex, StageGraph::WorldMemo*& parent) {
    parent = nullptr;
    const CookContext& context = CookContext::from(h);
    const std::string& path = context.path();
    const size_t slash = path.rfind('/');
    if (slash == 0 || slash == std::string::npos || !context.hasInput()) {
        return false;
    }
    // No abort flag: the parent of a location being cooked is always cooked already.
    return plainWorld(h, path.data(), static_cast<int32_t>(slash), inputIndex, nullptr, parent) &&
           parent != nullptr;
}

/// For a query of the cook's own location without overrides on `inputIndex`: the world memo of its
/// parent, found once per attempt, or null when it cannot be shared (the caller then reads the chain).
StageGraph::WorldMemo* sharedOwnParentWorld(VexilCookHandle h, int32_t inputIndex) {
    if (!CookContext::isValidInput(inputIndex)) {
        return nullptr;
    }
    return CookContext::from(h).ownParentWorld([&]() -> StageGraph::WorldMemo* {
        StageGraph::WorldMemo* parent = nullptr;
        return ownParentWorld(h, inputIndex, parent) ? parent : nullptr;
    });
}

// A query asks for a handful of times: kept on the stack, a query's times and matrices take no
// allocation of their own.
using QueryTimes = boost::container::small_vector<float, 8>;
using QueryMatrices = boost::container::small_vector<Imath::M44d, 8>;

QueryTimes sortedTimes(const float* times, int64_t numTimes) {
    QueryTimes out;
    if (times != nullptr && numTimes > 0) {
        out.assign(times, times + numTimes);
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

/// One sample of 16 values (the matrix row by row) per time.
QnAttributeHandle matrixSamples(const QueryTimes& times, const QueryMatrices& matrices) {
    boost::container::small_vector<const double*, 8> pointers;
    for (const Imath::M44d& m : matrices) {
        pointers.push_back(m.getValue());
    }
    return Qn::DoubleAttribute(times.data(), static_cast<int64_t>(times.size()), pointers.data(), 16, 16)
        .releaseHandle();
}

/// Hands the world sample times of the location to `sink(times, count)`; false when the query aborted
/// or cannot be answered. A missing location has the times of an empty chain ({0}).
template <class Sink>
bool worldSampleTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                      QnAttributeHandle overrides, uint8_t* abort, Sink&& sink) {
    const QueryRoute route = routeOf(h, path, pathLength, overrides);
    if (route == QueryRoute::WorldMemo) {
        StageGraph::WorldMemo* memo = nullptr;
        if (!plainWorld(h, path, pathLength, inputIndex, abort, memo)) {
            return false;
        }
        if (memo == nullptr) {
            sink(&XformModel::kUnsampledTime, 1); // a missing location: the times of an empty chain
        } else {
            sink(memo->times.data(), memo->times.size());
        }
        return true;
    }
    StageGraph::WorldMemo* parent = route == QueryRoute::Own ? sharedOwnParentWorld(h, inputIndex) : nullptr;
    if (parent != nullptr) {
        // The parent's times with the location's own added: the times of the whole chain.
        QueryTimes times;
        if (parent->timed) {
            times.assign(parent->times.begin(), parent->times.end());
        }
        XformModel::addSampleTimes(CookContext::from(h).ownXform(), times);
        if (times.empty()) {
            sink(&XformModel::kUnsampledTime, 1);
        } else {
            sink(times.data(), times.size());
        }
        return true;
    }
    XformChain chain;
    if (!readChain(h, path, pathLength, inputIndex, overrides, abort, chain)) {
        return false;
    }
    const std::vector<float> times = XformModel::worldSampleTimes(chain.pointers());
    sink(times.data(), times.size());
    return true;
}

/// Hands the world transform of the location at each of `times`, in their order, to
/// `sink(index, matrix)`; false when the query aborted, the location does not exist or there is no
/// time. Each matrix depends on its own time alone.
template <class Sink>
bool worldAtTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                  const float* times, size_t numTimes, QnAttributeHandle overrides, uint8_t* abort,
                  Sink&& sink) {
    const QueryRoute route = routeOf(h, path, pathLength, overrides);
    if (route == QueryRoute::WorldMemo) {
        StageGraph::WorldMemo* memo = nullptr;
        if (!plainWorld(h, path, pathLength, inputIndex, abort, memo) || memo == nullptr || numTimes == 0) {
            return false;
        }
        for (size_t i = 0; i < numTimes; ++i) {
            sink(i, StageGraph::worldAt(*memo, times[i]));
        }
        return true;
    }
    StageGraph::WorldMemo* sharedParent =
        route == QueryRoute::Own ? sharedOwnParentWorld(h, inputIndex) : nullptr;
    if (sharedParent != nullptr) {
        if (numTimes == 0) {
            return false;
        }
        StageGraph::WorldMemo& parent = *sharedParent;
        const XformModel::Operations& own = CookContext::from(h).ownXform();
        for (size_t i = 0; i < numTimes; ++i) {
            // As XformModel::worldAt does for the last location of a chain.
            const XformModel::Local local = XformModel::localAt(own, times[i]);
            sink(i, local.resetsParent ? local.matrix : local.matrix * StageGraph::worldAt(parent, times[i]));
        }
        return true;
    }
    XformChain chain;
    if (!readChain(h, path, pathLength, inputIndex, overrides, abort, chain) || !chain.exists ||
        numTimes == 0) {
        return false;
    }
    for (size_t i = 0; i < numTimes; ++i) {
        sink(i, XformModel::worldAt(chain.pointers(), times[i]));
    }
    return true;
}

QnAttributeHandle getWorldXformSampleTimes(VexilCookHandle h, const char* path, int32_t pathLength,
                                           int32_t inputIndex, QnAttributeHandle overrides, uint8_t* abort) {
    try {
        QnAttributeHandle result = nullptr;
        worldSampleTimes(h, path, pathLength, inputIndex, overrides, abort,
                         [&result](const float* times, size_t count) {
                             result = Qn::FloatAttribute(times, static_cast<int64_t>(count)).releaseHandle();
                         });
        return result;
    } catch (...) {
        reportEntryFailure("getWorldXformSampleTimes", h);
        return nullptr;
    }
}

QnAttributeHandle getWorldXformAtTimes(VexilCookHandle h, const char* path, int32_t pathLength,
                                       int32_t inputIndex, const float* times, int64_t numTimes,
                                       QnAttributeHandle overrides, uint8_t* abort) {
    try {
        const QueryTimes sorted = sortedTimes(times, numTimes);
        QueryMatrices matrices(sorted.size());
        if (!worldAtTimes(h, path, pathLength, inputIndex, sorted.data(), sorted.size(), overrides, abort,
                          [&matrices](size_t i, const Imath::M44d& m) { matrices[i] = m; })) {
            return nullptr;
        }
        return matrixSamples(sorted, matrices);
    } catch (...) {
        reportEntryFailure("getWorldXformAtTimes", h);
        return nullptr;
    }
}

int64_t copyWorldXformSampleTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                                  QnAttributeHandle overrides, float* timesOut, int64_t capacity,
                                  uint8_t* abort) {
    try {
        int64_t count = -1;
        worldSampleTimes(h, path, pathLength, inputIndex, overrides, abort,
                         [&](const float* times, size_t n) {
                             count = static_cast<int64_t>(n);
                             if (timesOut != nullptr && capacity > 0) {
                                 std::copy_n(times, std::min(count, capacity), timesOut);
                             }
                         });
        return count;
    } catch (...) {
        reportEntryFailure("copyWorldXformSampleTimes", h);
        return -1;
    }
}

uint8_t copyWorldXformAtTimes(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                              const float* times, int64_t numTimes, QnAttributeHandle overrides,
                              double* matricesOut, uint8_t* abort) {
    try {
        const size_t count =
            times != nullptr && matricesOut != nullptr && numTimes > 0 ? static_cast<size_t>(numTimes) : 0;
        return worldAtTimes(h, path, pathLength, inputIndex, times, count, overrides, abort,
                            [matricesOut](size_t i, const Imath::M44d& m) {
                                std::copy_n(m.getValue(), 16, matricesOut + 16 * i);
                            })
                   ? 1
                   : 0;
    } catch (...) {
        reportEntryFailure("copyWorldXformAtTimes", h);
        return 0;
    }
}

/// The number of locations of the chain of `path` at or above its ancestor `path[0, ancestorLength)`
/// ("/root" counts one): where the locations below it start. 0 for `ancestorLength` 0; -1 when the
/// ancestor is not a strict ancestor of `path`.
int64_t chainStartBelow(std::string_view path, int32_t ancestorLength) {
    if (ancestorLength == 0) {
        return 0;
    }
    if (ancestorLength < 0 || static_cast<size_t>(ancestorLength) >= path.size() ||
        path[static_cast<size_t>(ancestorLength)] != '/' || path[0] != '/') {
        return -1;
    }
    return static_cast<int64_t>(std::count(path.begin(), path.begin() + ancestorLength, '/'));
}

int64_t copyWorldXformSampleTimesBelow(VexilCookHandle h, const char* path, int32_t pathLength,
                                       int32_t ancestorLength, int32_t inputIndex,
                                       QnAttributeHandle overrides, float* timesOut, int64_t capacity,
                                       uint8_t* abort) {
    try {
        const int64_t start =
            chainStartBelow(CookContext::from(h).queriedPath(path, pathLength), ancestorLength);
        XformChain chain;
        if (start < 0 || !readChain(h, path, pathLength, inputIndex, overrides, abort, chain)) {
            return -1;
        }
        QueryTimes times;
        if (chain.exists) {
            for (size_t i = static_cast<size_t>(start); i < chain.chain.size(); ++i) {
                if (chain.chain[i] != nullptr) {
                    XformModel::addSampleTimes(*chain.chain[i], times);
                }
            }
        }
        const int64_t count = static_cast<int64_t>(times.size());
        if (timesOut != nullptr && capacity > 0) {
            std::copy_n(times.begin(), std::min(count, capacity), timesOut);
        }
        return count;
    } catch (...) {
        return -1;
    }
}

uint8_t copyWorldXformAtTimesBelow(VexilCookHandle h, const char* path, int32_t pathLength,
                                   int32_t ancestorLength, int32_t inputIndex, const float* times,
                                   int64_t numTimes, const double* ancestorWorlds,
                                   QnAttributeHandle overrides, double* matricesOut, uint8_t* abort) {
    try {
        const int64_t start =
            chainStartBelow(CookContext::from(h).queriedPath(path, pathLength), ancestorLength);
        if (start < 0 || times == nullptr || matricesOut == nullptr || numTimes <= 0 ||
            (start > 0 && ancestorWorlds == nullptr)) {
            return 0;
        }
        XformChain chain;
        if (!readChain(h, path, pathLength, inputIndex, overrides, abort, chain) || !chain.exists ||
            static_cast<size_t>(start) > chain.chain.size()) {
            return 0;
        }
        for (int64_t i = 0; i < numTimes; ++i) {
            Imath::M44d world;
            if (start > 0) {
                const double* given = ancestorWorlds + 16 * i;
                world = Imath::M44d(given[0], given[1], given[2], given[3], given[4], given[5], given[6],
                                    given[7], given[8], given[9], given[10], given[11], given[12], given[13],
                                    given[14], given[15]);
            }
            // As XformModel::worldAt does, from the given world on.
            for (size_t k = static_cast<size_t>(start); k < chain.chain.size(); ++k) {
                if (chain.chain[k] == nullptr) {
                    continue;
                }
                const XformModel::Local local = XformModel::localAt(*chain.chain[k], times[i]);
                world = local.resetsParent ? local.matrix : local.matrix * world;
            }
            std::copy_n(world.getValue(), 16, matricesOut + 16 * i);
        }
        return 1;
    } catch (...) {
        return 0;
    }
}

QnAttributeHandle getLocalXformAtTimes(QnAttributeHandle xformGroup, const float* times, int64_t numTimes) {
    try {
        const XformModel::Operations ops = XformModel::flatten(Qn::Attribute::share(xformGroup));
        const QueryTimes sorted = sortedTimes(times, numTimes);
        if (sorted.empty()) {
            return nullptr;
        }
        QueryMatrices matrices;
        for (float t : sorted) {
            matrices.push_back(XformModel::localAt(ops, t).matrix);
        }
        return matrixSamples(sorted, matrices);
    } catch (...) {
        reportEntryFailure("getLocalXformAtTimes", nullptr);
        return nullptr;
    }
}

uint8_t getWorldBound(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex, float time,
                      double boundOut[6], uint8_t* abort) {
    try {
        XformChain chain;
        if (!readChain(h, path, pathLength, inputIndex, nullptr, abort, chain) || !chain.exists) {
            return 0;
        }
        Node node;
        if (!CookContext::from(h).queryNode(path, pathLength, inputIndex, abort, node) || !node.exists()) {
            return 0;
        }
        // Only a double bound of exactly six values is a bound.
        const Qn::DoubleAttribute bound(AttributeEdit::childNamed(node.attrs(), "bound"));
        if (!bound.isValid() || bound.getNumberOfValues() != 6) {
            return 0;
        }
        // Interpolated like an operation's values, reading only the two samples around the time.
        double b[6];
        bound.fillInterpolatedValues(b, 6, time, 0.0, false);
        const Imath::M44d world = XformModel::worldAt(chain.pointers(), time);
        Imath::V3d lo(std::numeric_limits<double>::max());
        Imath::V3d hi(-std::numeric_limits<double>::max());
        for (int corner = 0; corner < 8; ++corner) {
            const Imath::V3d p(b[(corner & 1) ? 1 : 0], b[(corner & 2) ? 3 : 2], b[(corner & 4) ? 5 : 4]);
            Imath::V3d q;
            world.multVecMatrix(p, q);
            for (int axis = 0; axis < 3; ++axis) {
                lo[axis] = std::min(lo[axis], q[axis]);
                hi[axis] = std::max(hi[axis], q[axis]);
            }
        }
        for (int axis = 0; axis < 3; ++axis) {
            boundOut[2 * axis] = lo[axis];
            boundOut[2 * axis + 1] = hi[axis];
        }
        return 1;
    } catch (...) {
        reportEntryFailure("getWorldBound", h);
        return 0;
    }
}

const XFormUtilHostSuite kXformUtilSuite = {&getWorldXformSampleTimes,  &getWorldXformAtTimes,
                                            &getLocalXformAtTimes,      &copyWorldXformSampleTimes,
                                            &copyWorldXformAtTimes,     &copyWorldXformSampleTimesBelow,
                                            &copyWorldXformAtTimesBelow};
const VexilCookInterfaceUtilsHostSuite kCookUtilsSuite = {&getWorldBound};

} // namespace

const XFormUtilHostSuite* xformUtilSuite() {
    return &kXformUtilSuite;
}

const VexilCookInterfaceUtilsHostSuite* cookUtilsSuite() {
    return &kCookUtilsSuite;
}

} // namespace VexilHost
