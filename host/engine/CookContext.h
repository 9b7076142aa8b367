// The state of one cook attempt of one op at one location, and the cook suite that ops reach it
// through (the VexilCookHandle is a pointer to a CookContext).
#pragma once

#include "host/engine/CookedLocation.h"
#include "host/engine/OnceGate.h"
#include "host/engine/StageGraph.h"
#include "host/xform/XformModel.h"

#include <vexil/VexilOp.h>

#include <atomic>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace VexilHost {

/// One cook attempt. Queries read the step below (the op's input); writes go to the output, which
/// starts as the input location (attributes and children). Safe to call from several threads of one op.
/// The path given to the constructor must outlive the attempt.
class CookContext {
public:
    CookContext(StageGraph& graph, int stage, const std::string& path, const Traversal& traversal,
                const Node& input);
    CookContext(const CookContext&) = delete;
    CookContext& operator=(const CookContext&) = delete;

    /// The cook suite whose entries take a handle made by handle().
    static const VexilCookSuite* suite();
    VexilCookHandle handle() { return reinterpret_cast<VexilCookHandle>(this); }
    static CookContext& from(VexilCookHandle handle) { return *reinterpret_cast<CookContext*>(handle); }

    enum class RunResult { Finished, Aborted, AbortedWithoutPending };
    /// Runs the op's cook once. After Aborted, `pending()` lists what to cook before trying again; an
    /// op that aborts without a pending query gives AbortedWithoutPending (its output is not to be used).
    RunResult run();
    /// The locations to cook before trying again, after an aborted run.
    const std::vector<PendingLocation>& pending() const { return m_pending; }
    /// The output of a finished run.
    void finish(CookedLocation& out);
    /// Marks the output location as failed: "type" = "error" and "errorMessage" = `message`.
    void setError(const std::string& message);

    // ---- queries shared with the host utility suites ----

    /// The location at `path` (empty: this location) on input `inputIndex`; false when the query
    /// must abort (then *abort is 1) or the input index is not valid.
    bool queryNode(const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort, Node& out);
    /// Like queryNode, also giving the nodes of "/root" and every location down to it, and their paths
    /// unless `paths` is null.
    bool queryChain(const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort,
                    std::vector<Node>& chain, std::vector<std::string>* paths);

    /// The memoised cook this attempt belongs to.
    StageGraph& graph() { return m_graph; }
    /// The step that queries read (the op's input).
    int inputStage() const { return m_stage - 1; }
    /// True when this location exists on the op's input (false for a child an op created).
    bool hasInput() const { return m_input.exists(); }
    /// True for the input indices queries accept (-1, the current input, and 0).
    static bool isValidInput(int32_t inputIndex) { return inputIndex == -1 || inputIndex == 0; }
    /// The world memo of `path` on the input step, or null when none was made yet. The last two found
    /// are kept: a constraint asks about the same target several times (whether it exists, its sample
    /// times, its matrices), with the parent of the cook's own location in between, and a comparison of
    /// a path costs less than hashing it again.
    StageGraph::WorldMemo* findInputWorld(std::string_view path);
    /// True when the location at `path` on the input is known to exist without a walk: its world memo
    /// was made. False says nothing (the caller asks the graph), and is the answer for the cook's own
    /// location and whenever an aborted attempt must be reported.
    bool knownToExist(const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort);
    /// The absolute path a query names: trailing slashes dropped, empty meaning this location. The
    /// view points into `path` or into this context's own path.
    std::string_view queriedPath(const char* path, int32_t pathLength) const;
    /// The operations of this location's input `xform`, flattened on first use and kept for the attempt:
    /// a constraint asks for its own location's transform several times per cook.
    const XformModel::Operations& ownXform();
    /// The world memo of this location's parent on the input step, looked up by `find` (which gives
    /// null when there is none to share) on first use and kept for the attempt: a constraint asks for
    /// its own location's times and then its matrices, and each answer needed the lookup.
    template <class Find> StageGraph::WorldMemo* ownParentWorld(Find&& find) {
        m_ownParentWorldGate.run([&] { m_ownParentWorld = find(); });
        return m_ownParentWorld;
    }

    // ---- the cook suite entries ----
    const std::string& path() const { return m_path; }
    const Traversal& traversal() const { return m_traversal; }
    Qn::Attribute opArg(std::string_view name) const;
    void prefetch(const std::string& path, int32_t inputIndex);
    void setAttr(const std::string& name, const Qn::Attribute& attr);
    void deleteAttr(const std::string& name);
    /// The attribute `name` of the output as written so far (invalid when absent).
    Qn::Attribute outputAttr(const std::string& name);
    void createChild(const std::string& name, const std::string& opType, const Qn::GroupAttribute& args,
                     int32_t mode, void* privateData, VexilPrivateDataDeleter deleter);
    void replaceChildTraversal(const std::string& opType, const Qn::GroupAttribute& args, void* privateData,
                               VexilPrivateDataDeleter deleter);
    void stopChildTraversal();
    /// Appends `extra` to the attribute `name` (base: `sourceName` of this output, or of the input
    /// location `sourcePath` when it is another location). False when the query aborted.
    bool extendAttr(const std::string& name, const Qn::Attribute& extra, const std::string& sourceName,
                    const char* sourcePath, int32_t sourcePathLength, int32_t inputIndex, uint8_t* abort);

private:
    void materialiseAttrs();
    /// Sets the top-level attribute `name` to the valid `attr`, in place when present. Holds m_mutex.
    void setTopLevel(const std::string& name, const Qn::Attribute& attr);
    std::string normalisedPath(const char* path, int32_t length) const;
    /// The nodes of "/root" and every location down to this one on the input step, made on first use.
    const std::vector<Node>& ownChain();
    bool markAborted(uint8_t* abort, const std::string& path);

    StageGraph& m_graph;
    int m_stage;
    const std::string& m_path; // the caller's, which outlives the attempt
    Traversal m_traversal;
    Node m_input;

    OnceGate m_ownXformGate;
    XformModel::Operations m_ownXform;
    OnceGate m_ownParentWorldGate;
    StageGraph::WorldMemo* m_ownParentWorld = nullptr;
    /// The world memos findInputWorld found last (immutable once made), or null; and the one to
    /// replace next.
    std::atomic<StageGraph::WorldMemo*> m_lastWorlds[2] = {nullptr, nullptr};
    std::atomic<unsigned> m_nextLastWorld{0};
    OnceGate m_ownChainGate;
    std::vector<Node> m_ownChain;

    std::mutex m_mutex; // guards everything below
    bool m_attrsMaterialised = false;
    std::vector<std::pair<std::string, Qn::Attribute>> m_attrs;
    /// Top-level attributes set while the output is still the input's (nothing removed, no nested
    /// edit), each once, in the order first set: the output is the input's group updated with them,
    /// built in one pass without copying the input's children out and back.
    std::vector<std::pair<std::string, Qn::Attribute>> m_edits;
    bool m_ownChildNames = false; ///< set once a child is created; m_childNames then holds them all
    std::vector<std::string> m_childNames;
    const OpInstance* m_childOp;
    OpInstancePtr m_ownChildOp; ///< the instance replaceChildTraversal made, if any
    std::vector<CreatedChild> m_created;
    bool m_aborted = false;
    std::vector<PendingLocation> m_pending;
    std::vector<PendingLocation> m_prefetched;
};

} // namespace VexilHost
