// The memoised cook of a scene through an op chain: step 0 is the input scene, step k the output of
// the k-th op. Locations are cooked on demand, each at most once per step, from any thread.
#pragma once

#include "host/attribute/ShardedCounter.h"
#include "host/engine/CookedLocation.h"
#include "host/loader/OpRegistry.h"
#include "host/scene/SceneTypes.h"
#include "host/xform/XformModel.h"

#include <tbb/concurrent_unordered_map.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VexilHost {

/// A hash of record addresses: their low bits are alike (records are aligned and of one size), so
/// they are mixed into every bit before a hash table takes its buckets from them.
struct RecordHash {
    size_t operator()(const void* record) const {
        uint64_t x = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(record));
        x ^= x >> 33;
        x *= 0xff51afd7ed558ccdull;
        x ^= x >> 33;
        return static_cast<size_t>(x);
    }
};

/// A hash of paths that finds a std::string key from a view of it, without making a string.
struct PathHash {
    using transparent_key_equal = std::equal_to<>;
    size_t operator()(std::string_view path) const { return std::hash<std::string_view>()(path); }
};

/// The nodes of one location on the steps of the op chain, kept only where they change: each entry holds
/// from its `stage` on (a node that does not exist holds the step from which the location is absent).
/// Ascending by stage, the first at step 0. A location no op touches has one entry however long the chain.
using Column = std::vector<Node>;

/// The node of `column` on `stage`: the last entry whose stage is not after it.
const Node& nodeAt(const Column& column, int stage);

/// A location that a query needed but that was not cooked yet (abort mode).
struct PendingLocation {
    int stage = 0;
    std::string path;
};

/// The cooked steps of one scene. Thread-safe; nothing cooked is ever changed or dropped until clear().
class StageGraph {
public:
    /// Throws std::runtime_error naming the op when an op type of the chain is not in `registry`.
    StageGraph(const SceneFile& scene, const OpRegistry& registry, bool abortMode);
    ~StageGraph();
    StageGraph(const StageGraph&) = delete;
    StageGraph& operator=(const StageGraph&) = delete;

    /// The number of ops in the chain (the last step's number).
    int lastStage() const { return static_cast<int>(m_stages.size()) - 1; }
    bool abortMode() const { return m_abortMode; }

    /// The location at absolute `path` on step `stage`, cooking whatever it depends on.
    Node locate(int stage, const std::string& path);

    /// Like locate, but cooks nothing: false when a location it depends on is not cooked yet. `chain`,
    /// when given, receives the nodes of "/root" and every location down to `path`.
    bool probe(int stage, const std::string& path, Node& out, std::vector<Node>* chain = nullptr);

    /// The nodes on `stage` of "/root" and every location down to `path`, cooking as needed; empty when
    /// the path is malformed; ends early (with a node that does not exist) when a location is missing.
    /// `remember` false keeps the walk out of the memo of finished walks (for a path asked for once,
    /// such as a cook's own location).
    std::vector<Node> locateChain(int stage, const std::string& path, bool remember = true);

    /// The column of child `name` (path `childPath`) up to `stage`, given the same for its parent.
    /// Cooks as needed. `childIndex`, when known, is the child's position among the parent's children on
    /// `stage`: a hint that spares a search of the input parent's children.
    Column childColumn(const Column& parent, const std::string& childPath, int stage,
                       size_t childIndex = kNoIndex);
    /// No position known.
    static constexpr size_t kNoIndex = static_cast<size_t>(-1);
    /// The column of the location at `path` up to `stage`; empty when the path is malformed or the
    /// location does not exist on `stage`.
    Column columnOf(int stage, const std::string& path);

    /// A new op instance cooking on `stage` (arguments get the system.* groups added).
    OpInstancePtr makeInstance(int stage, const std::string& type, const Qn::GroupAttribute& args,
                               const std::string& rootPath, void* privateData,
                               VexilPrivateDataDeleter deleter);

    /// The operations of the `xform` of an existing location node, flattened once and kept: a node never
    /// changes until clear(), and the transform of a target is asked for by every location aiming at it.
    const XformModel::Operations& flattenedXform(const Node& node);

    /// What the world-transform queries keep of a location seen without overrides, once its walk has
    /// finished: its transform chain, its sample times, and its world matrix at each time asked for.
    struct WorldMemo {
        /// The location's path, as the memo is found by.
        std::string path;
        std::vector<const XformModel::Operations*> chain;
        std::vector<float> times;
        /// Whether an operation of the chain has sample times (`times` is {0} otherwise).
        bool timed = false;
        /// Whether no operation of the chain has more than one sample: the matrix is then the same at
        /// every time.
        bool constant = false;
        /// The world matrix at each of `times`, made with the memo: read by every cook without a lock.
        std::vector<Imath::M44d> atTimes;
        std::mutex mutex;
        /// Other times asked for; guarded by `mutex`. Hashed: a location below a target with a long baked
        /// animation is asked for at every one of its times.
        std::unordered_map<float, Imath::M44d> matrices;
    };
    /// The memo of the location at `path` on `stage`, or null when none was made yet.
    WorldMemo* findWorldMemo(int stage, std::string_view path);
    /// The memo of the location at `path` on `stage`, made from `chain` (its operations, "/root" first)
    /// unless another thread made it first.
    WorldMemo& makeWorldMemo(int stage, const std::string& path,
                             std::vector<const XformModel::Operations*> chain);
    /// The world matrix of a memo's location at `time`, computed on first use.
    static Imath::M44d worldAt(WorldMemo& memo, float time);

    /// Op cooks that finished, and attempts that aborted, so far.
    int64_t finishedCooks() const { return m_finishedCooks.sum(); }
    int64_t abortedAttempts() const { return m_abortedAttempts.sum(); }

    /// Drops every cooked location (their op instances, and so their private data, go with them), on
    /// the threads of the calling task arena.
    void clear();

private:
    struct FinishedWalk;
    struct Stage;
    enum class Mode { Cook, Probe };

    bool column(const Column& parent, const std::string& childPath, int stage, Mode mode, Column& out,
                size_t childIndex = kNoIndex);
    /// The input-scene child `name` of `parent` (the first of that name), or null; `hint` is tried first.
    const SceneLocation* inputChild(const SceneLocation& parent, std::string_view name, size_t hint);
    struct ChildIndex;
    bool rootColumn(int stage, Mode mode, Column& out);
    /// The steps (ascending) whose op starts at `path`; empty for most paths.
    const std::vector<int>& stagesRootedAt(std::string_view path) const;
    bool walk(int stage, const std::string& path, Mode mode, Node& out, std::vector<Node>* chain,
              bool remember = true);
    bool walkFromRoot(int stage, const std::string& path, Mode mode, Node& out, std::vector<Node>& visited);
    /// Cooks `slot` (in a probe: only looks whether it was cooked) and points `out` at its record.
    bool cooked(int stage, const std::string& path, const Traversal& traversal, const Node& input, Mode mode,
                CookSlot& slot, Node& out);
    /// The same for a location cooked as the root of the step's op.
    bool cookedRoot(int stage, const std::string& path, const Traversal& traversal, const Node& input,
                    Mode mode, Node& out);
    /// The place of child `name` among the children of `parent`, a record cooked on some step, given the
    /// input-scene nodes of the parent and the child; kNoIndex when it has no such child.
    static size_t childPosition(const CookedLocation& parent, std::string_view name, const Node& parentInput,
                                const Node& childInput, size_t hint);
    void cookInto(CookedLocation& record, int stage, const std::string& path, const Traversal& traversal,
                  const Node& input);

    const SceneFile& m_scene;
    const OpRegistry& m_registry;
    bool m_abortMode;
    Qn::GroupAttribute m_systemArgs;
    // Child names to positions of input locations with many children, made on first search.
    tbb::concurrent_unordered_map<const SceneLocation*, std::unique_ptr<ChildIndex>, RecordHash>
        m_childIndexes;
    std::vector<std::unique_ptr<Stage>> m_stages; // [0] is the input scene
    /// The steps whose op starts at each op location, ascending.
    std::map<std::string, std::vector<int>, std::less<>> m_stagesByRoot;
    std::map<std::string, std::unique_ptr<std::mutex>> m_serialLocks;
    std::mutex m_serialLocksMutex;
    // Keyed by the node's record (a SceneLocation or CookedLocation), which stays put until clear().
    tbb::concurrent_unordered_map<const void*, std::unique_ptr<XformModel::Operations>, RecordHash>
        m_flattened;
    // Counted by every cook of every thread.
    ShardedCounter m_finishedCooks;
    ShardedCounter m_abortedAttempts;
};

} // namespace VexilHost
