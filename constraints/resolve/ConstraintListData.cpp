#include "constraints/resolve/ConstraintListData.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

ConstraintListData* ConstraintListData::build(const Qn::StringAttribute& list) {
    auto* data = new ConstraintListData;
    data->list = list;
    const Qn::SampleView<const char*> entries = list.getNearestSample(0.0f);
    data->paths.reserve(static_cast<size_t>(entries.size));
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
    data->positions.reserve(paths.size());
    for (size_t i = 0; i < paths.size(); ++i) {
        const std::string_view path = paths[i];
        if (path.size() < kLengthsKnown) {
            data->m_entryLengths.set(path.size());
        }
        auto [found, added] = data->positions.try_emplace(path, Position{i, i, data->positions.size()});
        if (!added) {
            found->second.last = i;
            continue; // its ancestors are in already
        }
        data->slotPaths.push_back(path);
        data->slotFirst.push_back(i);
        // The ancestors are the entry's prefixes that end before a slash, and "/" above any absolute
        // entry, taken from the entry without its trailing slashes.
        std::string_view entry = path;
        const size_t last = entry.find_last_not_of('/');
        entry = last == std::string_view::npos ? std::string_view() : entry.substr(0, last + 1);
        // From the deepest up: an ancestor already in came with all of its own ancestors.
        bool fresh = true;
        for (size_t slash = entry.size() > 1 ? entry.rfind('/', entry.size() - 1) : std::string_view::npos;
             fresh && slash != std::string_view::npos && slash > 0; slash = entry.rfind('/', slash - 1)) {
            fresh = data->ancestorsOfListed.insert(entry.substr(0, slash)).second;
        }
        if (fresh && entry.size() > 1 && entry[0] == '/') {
            data->ancestorsOfListed.insert(entry.substr(0, 1));
        }
    }
    // The nearest listed location strictly above a path is the nearest at or above its parent, and
    // siblings mostly stand together in a list: each parent is looked up once per run of them.
    data->slotAbove.reserve(data->slotPaths.size());
    std::string_view lastParent;
    size_t lastAbove = kNoSlot;
    for (std::string_view path : data->slotPaths) {
        const size_t slash = path.rfind('/');
        if (slash == std::string_view::npos || slash == 0) {
            data->slotAbove.push_back(kNoSlot);
            continue;
        }
        const std::string_view parent = path.substr(0, slash);
        if (lastParent.data() == nullptr || parent != lastParent) {
            lastParent = parent;
            lastAbove = data->nearestListed(parent, true);
        }
        data->slotAbove.push_back(lastAbove);
    }
    data->memo = std::make_unique<ResolvedMemo>(data->positions.size());
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
        return ancestorsOfListed.count(locationPath) != 0;
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
