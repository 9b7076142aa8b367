// What the engine keeps of one location: a cooked location record, the traversal that cooks it, and
// a view of a location on one step of the op chain (either an input-scene location or a cooked one).
#pragma once

#include "host/engine/OnceGate.h"
#include "host/engine/OpInstance.h"
#include "host/scene/SceneTypes.h"

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace VexilHost {

/// Which op instance cooks a location, whether it is the root of that op's traversal, and which
/// instance cooks its children unless the cook says otherwise. The instances are borrowed: each is
/// owned by the step (its root instance) or by the record of the cook that made it, and every record
/// lives until the graph is cleared. A traversal is made for every location cooked, by every thread;
/// shared ownership would make them all count references on the same few instances.
struct Traversal {
    const OpInstance* op = nullptr;
    const OpInstance* childOp = nullptr;
    bool atRoot = false;
};

/// A child made by createChild: its op instance and reset-recursive mode.
struct CreatedChild {
    std::string name;
    OpInstancePtr op;
    int32_t mode = VEXIL_RESET_RECURSIVE_NONE;
};

struct CookSlot;

/// The output of one op cook at one location.
struct CookedLocation {
    CookedLocation() = default;
    ~CookedLocation();
    CookedLocation(const CookedLocation&) = delete;
    CookedLocation& operator=(const CookedLocation&) = delete;

    /// The attributes after the cook (a valid group).
    Qn::GroupAttribute attrs;
    /// The children after the cook when a cook created some: the input's, then created ones, in
    /// order. Empty otherwise: the children are then the input's, read through `namesOfInput` or
    /// `namesOfCooked` (both null when there was no input), which stay put until the graph is cleared;
    /// `namesOfCooked` is always a record that owns its names, however many ops kept them since.
    std::vector<std::string> childNames;
    bool ownNames = false;
    const SceneLocation* namesOfInput = nullptr;
    const CookedLocation* namesOfCooked = nullptr;
    /// The instance that cooks the children that came from the input; null when traversal stopped.
    const OpInstance* childOp = nullptr;
    /// The instance this cook handed its children (kept alive here), if it made one.
    OpInstancePtr ownChildOp;
    std::vector<CreatedChild> created;

    /// How child `name` is cooked on this step, given whether the input location had such a child:
    /// false when there is no such child; otherwise `out.op` is null when it passes through unchanged.
    bool childTraversal(std::string_view name, bool inInput, Traversal& out) const;
    /// The number of children after the cook, and the name of one of them.
    size_t numChildren() const;
    const std::string& childName(size_t index) const;

    /// The slots of this location's children cooked on the same step, one per child in the order
    /// above, made on first need unless `make` is false (then null until made). A child is found from
    /// its parent, so the slots spare the engine a table of every cooked location, and a group's
    /// children are allocated together.
    CookSlot* childSlots(bool make) const;

    /// Frees what this record owns and every record below it, the subtrees side by side on the
    /// threads of the calling task arena: the teardown of a large cook would otherwise be the one part
    /// of it that a single thread does. Leaves an empty record. Only once no cook reads the graph.
    void dismantle();

private:
    mutable std::atomic<CookSlot*> m_childSlots{nullptr};
    /// The number of slots above (both threads that may make them store the same count). Kept, not
    /// asked of numChildren() again: during the teardown the names may be those of a record already
    /// torn down.
    mutable std::atomic<size_t> m_childSlotCount{0};
};

/// A location that is cooked at most once: its record and the gate that cooks it.
struct CookSlot {
    OnceGate cook;
    CookedLocation record;
};

/// One location on one step of the op chain, or none. Exactly one of `input` and `cooked` is set when
/// the location exists.
struct Node {
    const SceneLocation* input = nullptr;
    const CookedLocation* cooked = nullptr;
    /// The step of the chain whose op cooked `cooked` (0 for an input location).
    int stage = 0;

    bool exists() const { return input != nullptr || cooked != nullptr; }
    /// The attributes (invalid when the location does not exist).
    Qn::GroupAttribute attrs() const;
    size_t numChildren() const;
    const std::string& childName(size_t index) const;
};

} // namespace VexilHost
