#include "host/engine/StageGraph.h"

#include "host/engine/AttributeEdit.h"
#include "host/engine/CookContext.h"
#include "host/engine/OnceGate.h"
#include "hostapi/attribute/DataAttribute.h"

#include <algorithm>
#include <stdexcept>

#include <tbb/task_arena.h>

namespace VexilHost {

namespace {

// A cook keeps aborting only while it finds locations not cooked yet; this bound is a safety net
// against an op that aborts for no query at all in some other way.
constexpr int kMaxAttempts = 1000000;

std::string normalisedRoot(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

/// 0: `path` is not at or below `root`; 1: it is `root`; 2: it lies strictly below `root`.
int relation(const std::string& path, const std::string& root) {
    if (path.size() < root.size() || path.compare(0, root.size(), root) != 0) {
        return 0;
    }
    if (path.size() == root.size()) {
        return 1;
    }
    return path[root.size()] == '/' ? 2 : 0;
}

// Input locations with fewer children are searched by a scan.
constexpr size_t kIndexedChildren = 16;

Qn::GroupAttribute systemArgs(const SceneFile& scene) {
    Qn::GroupBuilder timeSlice(QN_GROUP_BUILDER_MODE_LITERAL);
    timeSlice.set("currentTime", Qn::FloatAttribute(scene.time.currentTime));
    timeSlice.set("shutterOpen", Qn::FloatAttribute(scene.time.shutterOpen));
    timeSlice.set("shutterClose", Qn::FloatAttribute(scene.time.shutterClose));
    timeSlice.set("numSamples", Qn::IntAttribute(scene.time.numSamples));
    Qn::GroupBuilder variables(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& variable : scene.variables) {
        variables.set(variable.first, Qn::StringAttribute(variable.second));
    }
    Qn::GroupBuilder system(QN_GROUP_BUILDER_MODE_LITERAL);
    system.set("timeSlice", timeSlice.build());
    system.set("variables", variables.build());
    return system.build();
}

/// Splits "/root/a/b" into {"a", "b"}; false when the path is not "/root" or below it, or malformed.
bool componentsBelowRoot(const std::string& path, std::vector<std::string>& parts) {
    static const std::string kRoot = "/root";
    if (relation(path, kRoot) == 0) {
        return false;
    }
    size_t start = kRoot.size() + 1;
    while (start <= path.size() && path.size() > kRoot.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string::npos) {
            slash = path.size();
        }
        if (slash == start) {
            return false;
        }
        parts.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    return true;
}

} // namespace

namespace {

/// The slot of `key` in `map`, made when absent unless `findOnly` (then null).
template <class Map, class Key> CookSlot* findOrMake(Map& map, const Key& key, bool findOnly) {
    auto it = map.find(key);
    if (it != map.end()) {
        return &it->second;
    }
    if (findOnly) {
        return nullptr;
    }
    return &map.emplace(std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple())
                .first->second;
}

} // namespace

struct StageGraph::ChildIndex {
    OnceGate build;
    std::unordered_map<std::string_view, size_t> positions;
};

struct StageGraph::FinishedWalk {
    Node out;
    std::vector<Node> nodes;
};

struct StageGraph::Stage {
    std::string root;
    OpInstancePtr rootInstance;
    /// Locations cooked as the root of this step's op, keyed by their input node's record (an
    /// input-scene location, or the record of the same path on a lower step). Every other location
    /// cooked on this step is a child of a location cooked on it, and has a slot in its parent's record.
    tbb::concurrent_unordered_map<const void*, CookSlot, RecordHash> roots;
    /// Finished walks from "/root" to a path: the nodes on the way. A walk that finished never changes,
    /// and every constraint asks again for the chains of the targets its neighbours asked for.
    tbb::concurrent_unordered_map<std::string, FinishedWalk, PathHash, std::equal_to<>> walks;
    /// World transforms of locations that other locations ask about again and again (their targets).
    tbb::concurrent_unordered_map<std::string, std::unique_ptr<WorldMemo>, PathHash, std::equal_to<>> worlds;
};

StageGraph::StageGraph(const SceneFile& scene, const OpRegistry& registry, bool abortMode)
    : m_scene(scene), m_registry(registry), m_abortMode(abortMode), m_systemArgs(systemArgs(scene)) {
    m_stages.push_back(std::make_unique<Stage>());
    for (size_t i = 0; i < scene.ops.size(); ++i) {
        const OpDescription& op = scene.ops[i];
        if (registry.find(op.type) == nullptr) {
            throw std::runtime_error("unknown op type \"" + op.type + "\" (op " + std::to_string(i + 1) +
                                     " of " + std::to_string(scene.ops.size()) + ")");
        }
        auto stage = std::make_unique<Stage>();
        stage->root = normalisedRoot(op.location.empty() ? "/root" : op.location);
        m_stages.push_back(std::move(stage));
        m_stages.back()->rootInstance =
            makeInstance(static_cast<int>(i) + 1, op.type, op.args, m_stages.back()->root, nullptr, nullptr);
        m_stagesByRoot[m_stages.back()->root].push_back(static_cast<int>(i) + 1);
    }
}

const Node& nodeAt(const Column& column, int stage) {
    static const Node kNone;
    // Columns are short (one entry per step that changed the location): searched from the end.
    for (auto it = column.rbegin(); it != column.rend(); ++it) {
        if (it->stage <= stage) {
            return *it;
        }
    }
    return kNone;
}

const std::vector<int>& StageGraph::stagesRootedAt(std::string_view path) const {
    static const std::vector<int> kNone;
    const auto found = m_stagesByRoot.find(path);
    return found == m_stagesByRoot.end() ? kNone : found->second;
}

StageGraph::~StageGraph() {
    clear();
}

void StageGraph::clear() {
    m_flattened.clear();
    m_childIndexes.clear();
    for (auto& stage : m_stages) {
        stage->worlds.clear();
        stage->walks.clear();
        if (tbb::this_task_arena::max_concurrency() > 1) {
            for (auto& root : stage->roots) {
                root.second.record.dismantle();
            }
        }
        stage->roots.clear();
    }
}

StageGraph::WorldMemo* StageGraph::findWorldMemo(int stage, std::string_view path) {
    auto& worlds = m_stages[static_cast<size_t>(stage)]->worlds;
    auto it = worlds.find(path);
    return it == worlds.end() ? nullptr : it->second.get();
}

StageGraph::WorldMemo& StageGraph::makeWorldMemo(int stage, const std::string& path,
                                                 std::vector<const XformModel::Operations*> chain) {
    auto memo = std::make_unique<WorldMemo>();
    memo->path = path;
    memo->times = XformModel::worldSampleTimes(chain);
    memo->timed = std::any_of(chain.begin(), chain.end(), [](const XformModel::Operations* ops) {
        return ops != nullptr && !ops->empty();
    });
    memo->constant = std::all_of(chain.begin(), chain.end(), [](const XformModel::Operations* ops) {
        return ops == nullptr || std::all_of(ops->begin(), ops->end(), [](const XformModel::Operation& op) {
                   return op.times.size() <= 1;
               });
    });
    memo->atTimes.reserve(memo->times.size());
    for (float time : memo->times) {
        memo->atTimes.push_back(XformModel::worldAt(chain, time));
    }
    memo->chain = std::move(chain);
    return *m_stages[static_cast<size_t>(stage)]->worlds.emplace(path, std::move(memo)).first->second;
}

Imath::M44d StageGraph::worldAt(WorldMemo& memo, float time) {
    // Cooks ask mostly at the location's own sample times; a lock there would be taken by every
    // cook of every thread asking about the same target.
    if (memo.constant) {
        return memo.atTimes.front();
    }
    const auto known = std::lower_bound(memo.times.begin(), memo.times.end(), time);
    if (known != memo.times.end() && *known == time) {
        return memo.atTimes[static_cast<size_t>(known - memo.times.begin())];
    }
    std::lock_guard<std::mutex> lock(memo.mutex);
    const auto asked = memo.matrices.find(time);
    if (asked != memo.matrices.end()) {
        return asked->second;
    }
    const Imath::M44d matrix = XformModel::worldAt(memo.chain, time);
    memo.matrices.emplace(time, matrix);
    return matrix;
}

const XformModel::Operations& StageGraph::flattenedXform(const Node& node) {
    const void* key = node.input != nullptr ? static_cast<const void*>(node.input) : node.cooked;
    auto it = m_flattened.find(key);
    if (it != m_flattened.end()) {
        return *it->second;
    }
    // Two threads may flatten the same node at once; both results are equal and the first one kept.
    auto flattened = std::make_unique<XformModel::Operations>(
        XformModel::flatten(AttributeEdit::childNamed(node.attrs(), "xform")));
    return *m_flattened.emplace(key, std::move(flattened)).first->second;
}

OpInstancePtr StageGraph::makeInstance(int stage, const std::string& type, const Qn::GroupAttribute& args,
                                       const std::string& rootPath, void* privateData,
                                       VexilPrivateDataDeleter deleter) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    if (args.isValid()) {
        builder.update(args);
    }
    builder.set("system", m_systemArgs);
    std::mutex* serialLock = nullptr;
    if (m_registry.threadingMode(type) == 1) {
        // One cook at a time per op type and step: a cook only waits on lower steps, so it can never
        // wait on a cook holding the same lock.
        std::lock_guard<std::mutex> lock(m_serialLocksMutex);
        auto& slot = m_serialLocks[std::to_string(stage) + ":" + type];
        if (!slot) {
            slot = std::make_unique<std::mutex>();
        }
        serialLock = slot.get();
    }
    return std::make_shared<OpInstance>(type, m_registry.find(type), builder.build(), rootPath, privateData,
                                        deleter, serialLock);
}

bool StageGraph::cooked(int stage, const std::string& path, const Traversal& traversal, const Node& input,
                        Mode mode, CookSlot& slot, Node& out) {
    if (mode == Mode::Probe) {
        if (!slot.cook.done()) {
            return false;
        }
    } else {
        slot.cook.run([&] { cookInto(slot.record, stage, path, traversal, input); });
    }
    out = Node{nullptr, &slot.record, stage};
    return true;
}

bool StageGraph::cookedRoot(int stage, const std::string& path, const Traversal& traversal, const Node& input,
                            Mode mode, Node& out) {
    const void* key = input.input != nullptr ? static_cast<const void*>(input.input) : input.cooked;
    CookSlot* slot = findOrMake(m_stages[static_cast<size_t>(stage)]->roots, key, mode == Mode::Probe);
    return slot != nullptr && cooked(stage, path, traversal, input, mode, *slot, out);
}

size_t StageGraph::childPosition(const CookedLocation& parent, std::string_view name, const Node& parentInput,
                                 const Node& childInput, size_t hint) {
    const size_t count = parent.numChildren();
    if (hint < count && parent.childName(hint) == name) {
        return hint;
    }
    // Children keep their places on every step (an op only adds children after its input's), so a
    // child of the input scene is where it is there.
    if (childInput.input != nullptr && parentInput.input != nullptr) {
        const size_t position = static_cast<size_t>(childInput.input - parentInput.input->children.data());
        if (position < count && parent.childName(position) == name) {
            return position;
        }
    }
    for (size_t i = 0; i < count; ++i) {
        if (parent.childName(i) == name) {
            return i;
        }
    }
    return kNoIndex;
}

void StageGraph::cookInto(CookedLocation& record, int stage, const std::string& path,
                          const Traversal& traversal, const Node& input) {
    for (int attempt = 1;; ++attempt) {
        std::vector<PendingLocation> pending;
        {
            CookContext context(*this, stage, path, traversal, input);
            const CookContext::RunResult result = context.run();
            if (result == CookContext::RunResult::Finished) {
                context.finish(record);
                m_finishedCooks.add(1);
                return;
            }
            m_abortedAttempts.add(1);
            if (result == CookContext::RunResult::Aborted && attempt < kMaxAttempts) {
                pending = context.pending();
            }
        } // an aborted attempt is dropped whole, with the private data it was handed
        if (pending.empty()) {
            CookContext failed(*this, stage, path, traversal, input);
            failed.setError(traversal.op->type() + " Op: cook aborted without a query to wait for");
            failed.finish(record);
            m_finishedCooks.add(1);
            return;
        }
        for (const PendingLocation& location : pending) {
            locate(location.stage, location.path);
        }
    }
}

namespace {

/// Makes `node` the location's node from step `stage` on, unless it is the node it already has.
void changeAt(Column& column, int stage, Node node) {
    const Node& current = column.back();
    if (node.input == current.input && node.cooked == current.cooked) {
        return; // passed through, or absent as before
    }
    node.stage = node.exists() ? node.stage : stage;
    column.push_back(node);
}

} // namespace

bool StageGraph::rootColumn(int stage, Mode mode, Column& out) {
    static const std::string kRoot = "/root";
    out.assign(1, Node{&m_scene.root, nullptr, 0});
    // "/root" changes only on the steps whose op starts at it; every other step passes it through.
    for (int k : stagesRootedAt(kRoot)) {
        if (k > stage) {
            break;
        }
        const Node below = out.back();
        if (!below.exists()) {
            continue;
        }
        const Stage& s = *m_stages[static_cast<size_t>(k)];
        const Traversal traversal{s.rootInstance.get(), s.rootInstance.get(), true};
        Node cookedNode;
        if (!cookedRoot(k, kRoot, traversal, below, mode, cookedNode)) {
            return false;
        }
        changeAt(out, k, cookedNode);
    }
    return true;
}

const SceneLocation* StageGraph::inputChild(const SceneLocation& parent, std::string_view name, size_t hint) {
    const std::vector<SceneLocation>& children = parent.children;
    // Names of one parent's children are unique (a scene file cannot hold two of one name), so a
    // matching hint is the child.
    if (hint < children.size() && children[hint].name == name) {
        return &children[hint];
    }
    if (children.size() < kIndexedChildren) {
        for (const SceneLocation& child : children) {
            if (child.name == name) {
                return &child;
            }
        }
        return nullptr;
    }
    ChildIndex* index = nullptr;
    auto it = m_childIndexes.find(&parent);
    if (it != m_childIndexes.end()) {
        index = it->second.get();
    } else {
        index = m_childIndexes.emplace(&parent, std::make_unique<ChildIndex>()).first->second.get();
    }
    index->build.run([&] {
        index->positions.reserve(children.size());
        for (size_t i = 0; i < children.size(); ++i) {
            index->positions.emplace(children[i].name, i); // the first of equal names wins, as in a scan
        }
    });
    auto found = index->positions.find(name);
    return found == index->positions.end() ? nullptr : &children[found->second];
}

bool StageGraph::column(const Column& parent, const std::string& childPath, int stage, Mode mode, Column& out,
                        size_t childIndex) {
    const std::string_view name = std::string_view(childPath).substr(childPath.rfind('/') + 1);
    const Node& parentInput = parent.front();
    out.assign(1,
               Node{parentInput.input != nullptr ? inputChild(*parentInput.input, name, childIndex) : nullptr,
                    nullptr, 0});
    // The child can change only on a step where its parent changed (was cooked, or went away) or whose
    // op starts at the child: the two lists of steps are walked together, so that a location no op
    // touches costs nothing however long the chain is.
    const std::vector<int>& rooted = stagesRootedAt(childPath);
    size_t p = 1; // parent[0] is the input scene
    size_t r = 0;
    for (;;) {
        const int fromParent = p < parent.size() ? parent[p].stage : stage + 1;
        const int fromRoot = r < rooted.size() ? rooted[r] : stage + 1;
        const int k = std::min(fromParent, fromRoot);
        if (k > stage) {
            return true;
        }
        p += fromParent == k ? 1 : 0;
        r += fromRoot == k ? 1 : 0;
        const Node& up = parent[p - 1]; // the parent's node on step k: its last change not after k
        const Node below = out.back();
        if (!up.exists()) {
            changeAt(out, k, Node());
            continue;
        }
        const Stage& s = *m_stages[static_cast<size_t>(k)];
        if (fromRoot == k) {
            if (!below.exists()) {
                continue;
            }
            const Traversal traversal{s.rootInstance.get(), s.rootInstance.get(), true};
            Node cookedNode;
            if (!cookedRoot(k, childPath, traversal, below, mode, cookedNode)) {
                return false;
            }
            changeAt(out, k, cookedNode);
            continue;
        }
        if (up.cooked == nullptr || up.stage != k) {
            continue; // the parent passes through on this step, and so does all below it
        }
        // The cooked parent's children are its input's plus the ones it created.
        Traversal traversal;
        if (!up.cooked->childTraversal(name, below.exists(), traversal)) {
            changeAt(out, k, Node());
            continue;
        }
        if (!traversal.op) {
            continue; // passed through unchanged
        }
        const size_t position = childPosition(*up.cooked, name, parentInput, out.front(), childIndex);
        CookSlot* slots = up.cooked->childSlots(mode == Mode::Cook);
        if (slots == nullptr || position == kNoIndex) {
            return false; // in a probe: not cooked yet (a child that exists always has a position)
        }
        Node cookedNode;
        if (!cooked(k, childPath, traversal, below, mode, slots[position], cookedNode)) {
            return false;
        }
        changeAt(out, k, cookedNode);
    }
}

bool StageGraph::walk(int stage, const std::string& path, Mode mode, Node& out, std::vector<Node>* chain,
                      bool remember) {
    out = Node();
    auto& walks = m_stages[static_cast<size_t>(stage)]->walks;
    auto known = walks.find(path);
    if (known != walks.end()) {
        out = known->second.out;
        if (chain != nullptr) {
            chain->insert(chain->end(), known->second.nodes.begin(), known->second.nodes.end());
        }
        return true;
    }
    FinishedWalk finished;
    if (!walkFromRoot(stage, path, mode, finished.out, finished.nodes)) {
        return false;
    }
    out = finished.out;
    if (chain != nullptr) {
        chain->insert(chain->end(), finished.nodes.begin(), finished.nodes.end());
    }
    if (remember) {
        walks.emplace(path, std::move(finished));
    }
    return true;
}

bool StageGraph::walkFromRoot(int stage, const std::string& path, Mode mode, Node& out,
                              std::vector<Node>& visited) {
    std::vector<std::string> parts;
    if (!componentsBelowRoot(path, parts)) {
        return true;
    }
    Column current;
    if (!rootColumn(stage, mode, current)) {
        return false;
    }
    visited.push_back(nodeAt(current, stage));
    std::string currentPath = "/root";
    Column next;
    for (const std::string& part : parts) {
        if (!nodeAt(current, stage).exists()) {
            return true;
        }
        currentPath += "/";
        currentPath += part;
        if (!column(current, currentPath, stage, mode, next)) {
            return false;
        }
        current.swap(next);
        visited.push_back(nodeAt(current, stage));
    }
    out = nodeAt(current, stage);
    return true;
}

Node StageGraph::locate(int stage, const std::string& path) {
    Node out;
    walk(stage, path, Mode::Cook, out, nullptr);
    return out;
}

bool StageGraph::probe(int stage, const std::string& path, Node& out, std::vector<Node>* chain) {
    return walk(stage, path, Mode::Probe, out, chain);
}

std::vector<Node> StageGraph::locateChain(int stage, const std::string& path, bool remember) {
    std::vector<Node> chain;
    Node out;
    walk(stage, path, Mode::Cook, out, &chain, remember);
    return chain;
}

Column StageGraph::childColumn(const Column& parent, const std::string& childPath, int stage,
                               size_t childIndex) {
    Column out;
    column(parent, childPath, stage, Mode::Cook, out, childIndex);
    return out;
}

Column StageGraph::columnOf(int stage, const std::string& path) {
    std::vector<std::string> parts;
    Column current;
    if (!componentsBelowRoot(path, parts) || !rootColumn(stage, Mode::Cook, current)) {
        return {};
    }
    std::string currentPath = "/root";
    Column next;
    for (const std::string& part : parts) {
        if (!nodeAt(current, stage).exists()) {
            return {};
        }
        currentPath += "/";
        currentPath += part;
        column(current, currentPath, stage, Mode::Cook, next);
        current.swap(next);
    }
    if (!nodeAt(current, stage).exists()) {
        return {};
    }
    return current;
}

} // namespace VexilHost
