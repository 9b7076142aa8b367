#include "constraints/resolve/ConstraintListData.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

ConstraintListData* ConstraintListData::build(const Qn::StringAttribute& list) {
    const Qn::SampleView<const char*> entries = list.getNearestSample(0.0f);
    const auto count = static_cast<size_t>(entries.size);
    // Room for the entries and, as lists mostly hold siblings, a few of their ancestors.
    auto* data = new ConstraintListData(count + count / 8 + 8);
    data->list = list;
    data->paths.reserve(count);
    for (const char* entry : entries) {
        const std::string_view written(entry);
        const std::string named = Qn::PathUtils::isNormalisedPath(written)
                                      ? std::string()
                                      : Qn::PathUtils::normalisedPath(std::string_view(), written);
        if (named.empty()) {
            data->paths.push_back(written); // in normal form, or naming no location at all
        } else {
            data->paths.push_back(data->rewritten.emplace_back(named));
        }
    }
    const std::vector<std::string_view>& paths = data->paths;
    ListedPathIndex& index = data->m_index;
    data->m_positions.reserve(count);
    data->slotPaths.reserve(count);
    // The node of each slot's parent path, when the path has one and no trailing slash.
    std::vector<uint32_t> parents;
    parents.reserve(count);
    // Siblings mostly stand together in a list: the last parent's node is taken without hashing it again.
    std::string_view lastParent;
    uint32_t lastParentNode = ListedPathIndex::kNone;
    for (size_t i = 0; i < paths.size(); ++i) {
        const std::string_view path = paths[i];
        if (path.size() < kLengthsKnown) {
            data->m_entryLengths.set(path.size());
        }
        const uint32_t node = index.insert(path);
        if (index.node(node).slot != ListedPathIndex::kNone) {
            data->m_positions[index.node(node).slot].last = i;
            continue; // its ancestors are in already
        }
        const size_t slot = data->m_positions.size();
        index.node(node).slot = static_cast<uint32_t>(slot);
        data->m_positions.push_back(Position{i, i, slot});
        data->slotPaths.push_back(path);
        parents.push_back(ListedPathIndex::kNone);
        // The ancestors are the entry's prefixes that end before a slash, and "/" above any absolute
        // entry, taken from the entry without its trailing slashes; each is linked to the next one up.
        std::string_view entry = path;
        const size_t last = entry.find_last_not_of('/');
        entry = last == std::string_view::npos ? std::string_view() : entry.substr(0, last + 1);
        // From the deepest up: an ancestor already in came with all of its own ancestors and links.
        bool fresh = true;
        uint32_t below = ListedPathIndex::kNone;
        for (size_t slash = entry.size() > 1 ? entry.rfind('/', entry.size() - 1) : std::string_view::npos;
             slash != std::string_view::npos && slash > 0; slash = entry.rfind('/', slash - 1)) {
            const std::string_view prefix = entry.substr(0, slash);
            uint32_t ancestor;
            if (below == ListedPathIndex::kNone && lastParentNode != ListedPathIndex::kNone &&
                prefix == lastParent) {
                ancestor = lastParentNode;
            } else {
                ancestor = index.insert(prefix);
            }
            if (below == ListedPathIndex::kNone) {
                parents.back() = ancestor;
                lastParent = prefix;
                lastParentNode = ancestor;
            } else {
                index.node(below).up = ancestor;
            }
            if (index.node(ancestor).ancestor) {
                fresh = false;
                break;
            }
            index.node(ancestor).ancestor = true;
            below = ancestor;
        }
        if (fresh && entry.size() > 1 && entry[0] == '/') {
            const std::string_view root = entry.substr(0, 1);
            index.node(index.insert(root)).ancestor = true;
        }
        if (!path.empty() && path.back() == '/') {
            parents.back() = ListedPathIndex::kNone; // its parent is not its first ancestor
        }
    }
    // The nearest listed location strictly above a path is the nearest at or above its parent: found by
    // following the ancestors' links, without hashing any path again. A path written with a trailing
    // slash (which the normal form never has) is looked up as before.
    const size_t slots = data->slotPaths.size();
    data->slotAbove.reserve(slots);
    for (size_t slot = 0; slot < slots; ++slot) {
        if (parents[slot] == ListedPathIndex::kNone) {
            const std::string_view path = data->slotPaths[slot];
            const size_t slash = path.rfind('/');
            const bool hasParent = slash != std::string_view::npos && slash > 0;
            data->slotAbove.push_back(hasParent ? data->nearestListed(path.substr(0, slash), true) : kNoSlot);
            continue;
        }
        size_t above = kNoSlot;
        for (uint32_t n = parents[slot]; n != ListedPathIndex::kNone; n = index.node(n).up) {
            if (index.node(n).slot != ListedPathIndex::kNone) {
                above = index.node(n).slot;
                break;
            }
        }
        data->slotAbove.push_back(above);
    }
    data->memo = std::make_unique<ResolvedMemo>(slots);
    return data;
}

size_t ConstraintListData::nearestListed(std::string_view path, bool withSelf) const {
    if (withSelf) {
        if (const Position* listed = find(path)) {
            return listed->slot;
        }
    }
    for (size_t slash = path.rfind('/'); slash != std::string_view::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        if (const Position* listed = find(path.substr(0, slash))) {
            return listed->slot;
        }
    }
    return kNoSlot;
}

const std::vector<int32_t>& ConstraintListData::sortedOrder() const {
    std::call_once(m_orderOnce, [this] {
        m_order.resize(paths.size());
        for (size_t i = 0; i < m_order.size(); ++i) {
            m_order[i] = static_cast<int32_t>(i);
        }
        std::sort(m_order.begin(), m_order.end(),
                  [this](int32_t a, int32_t b) { return paths[a] < paths[b]; });
    });
    return m_order;
}

void ConstraintListData::destroy(void* data) {
    delete static_cast<ConstraintListData*>(data);
}

bool ConstraintListData::isStrictAncestorOfListed(const std::string& locationPath) const {
    if (locationPath.empty()) {
        return false;
    }
    if (locationPath.size() == 1 || locationPath.back() != '/') {
        const uint32_t node = m_index.lookup(locationPath);
        return node != ListedPathIndex::kNone && m_index.node(node).ancestor;
    }
    // A location written with a trailing slash: search the sorted entries.
    const std::vector<int32_t>& order = sortedOrder();
    auto it = std::lower_bound(order.begin(), order.end(), locationPath,
                               [this](int32_t index, std::string_view path) { return paths[index] < path; });
    // Paths below the location sort right after it, but siblings that share its name as a prefix
    // ("/a/geo-x" before "/a/geo/x") and the location itself may come first: look on while the
    // candidates still begin with the location's path.
    for (; it != order.end(); ++it) {
        const std::string_view candidate = paths[*it];
        if (candidate.compare(0, locationPath.size(), locationPath) != 0) {
            break;
        }
        if (Qn::PathUtils::isStrictAncestor(locationPath, std::string(candidate))) {
            return true;
        }
    }
    return false;
}

size_t ConstraintListData::firstIndexOf(std::string_view path) const {
    const Position* position = find(path);
    return position ? position->first : kNotListed;
}

size_t ConstraintListData::lastIndexOf(std::string_view path) const {
    const Position* position = find(path);
    return position ? position->last : kNotListed;
}

} // namespace Private
} // namespace Vexil3Constraints
