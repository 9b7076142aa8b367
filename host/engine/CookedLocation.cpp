#include "host/engine/CookedLocation.h"

#include <tbb/parallel_for.h>

namespace VexilHost {

CookedLocation::~CookedLocation() {
    delete[] m_childSlots.load(std::memory_order_acquire);
}

CookSlot* CookedLocation::childSlots(bool make) const {
    CookSlot* slots = m_childSlots.load(std::memory_order_acquire);
    if (slots != nullptr || !make) {
        return slots;
    }
    const size_t count = numChildren();
    if (count == 0) {
        return nullptr;
    }
    // Two threads may make the slots at once: the first one stored is kept, the other dropped unused.
    m_childSlotCount.store(count, std::memory_order_relaxed);
    CookSlot* made = new CookSlot[count];
    if (m_childSlots.compare_exchange_strong(slots, made, std::memory_order_acq_rel)) {
        return made;
    }
    delete[] made;
    return slots;
}

void CookedLocation::dismantle() {
    if (CookSlot* slots = m_childSlots.exchange(nullptr, std::memory_order_acq_rel)) {
        const size_t count = m_childSlotCount.load(std::memory_order_relaxed);
        tbb::parallel_for(size_t(0), count, [slots](size_t i) { slots[i].record.dismantle(); });
        delete[] slots;
    }
    // The children first: the op instance that cooked them may own private data they point into.
    created.clear();
    ownChildOp.reset();
    attrs = Qn::GroupAttribute();
    std::vector<std::string>().swap(childNames);
}

bool CookedLocation::childTraversal(std::string_view name, bool inInput, Traversal& out) const {
    out = Traversal();
    for (const CreatedChild& child : created) {
        if (child.name != name) {
            continue;
        }
        out.op = child.op.get();
        switch (child.mode) {
        case VEXIL_RESET_RECURSIVE_ON:
            out.childOp = child.op.get();
            out.atRoot = true;
            break;
        case VEXIL_RESET_RECURSIVE_AUTO:
            // Made by the new op; what lies below it goes on with this location's traversal.
            out.childOp = childOp;
            out.atRoot = true;
            break;
        default:
            out.childOp = child.op.get();
            out.atRoot = false;
            break;
        }
        return true;
    }
    if (!inInput) {
        return false;
    }
    out.op = childOp;
    out.childOp = childOp;
    return true;
}

Qn::GroupAttribute Node::attrs() const {
    if (input != nullptr) {
        return input->attrs;
    }
    if (cooked != nullptr) {
        return cooked->attrs;
    }
    return Qn::GroupAttribute();
}

size_t CookedLocation::numChildren() const {
    if (ownNames) {
        return childNames.size();
    }
    if (namesOfInput != nullptr) {
        return namesOfInput->children.size();
    }
    return namesOfCooked != nullptr ? namesOfCooked->childNames.size() : 0;
}

const std::string& CookedLocation::childName(size_t index) const {
    if (ownNames) {
        return childNames[index];
    }
    return namesOfInput != nullptr ? namesOfInput->children[index].name : namesOfCooked->childNames[index];
}

size_t Node::numChildren() const {
    if (input != nullptr) {
        return input->children.size();
    }
    return cooked != nullptr ? cooked->numChildren() : 0;
}

const std::string& Node::childName(size_t index) const {
    return input != nullptr ? input->children[index].name : cooked->childName(index);
}

} // namespace VexilHost
