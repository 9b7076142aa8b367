#include "constraints/ops/ConstraintSetupIndex.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "hostapi/attribute/DataAttribute.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    const size_t last = path.find_last_not_of('/');
    if (last == std::string_view::npos) {
        return path.empty() ? path : path.substr(0, 1);
    }
    return path.substr(0, last + 1);
}

} // namespace

std::string ConstraintSetupIndex::basePathOf(const Qn::GroupAttribute& entry) {
    std::string written =
        Qn::StringAttribute(entry.getChildByName("baseLocationPath")).getValue(std::string(), false);
    if (Qn::PathUtils::isNormalisedPath(written)) {
        return written;
    }
    std::string named = Qn::PathUtils::normalisedPath(std::string_view(), written);
    return named.empty() ? written : named;
}

ConstraintSetupIndex::ConstraintSetupIndex(const Qn::GroupAttribute& constraints) {
    const int64_t n = constraints.isValid() ? constraints.getNumberOfChildren() : 0;
    for (int64_t i = 0; i < n; ++i) {
        const Qn::GroupAttribute entry(constraints.getChildByIndex(i));
        if (!entry.isValid()) {
            continue;
        }
        std::string base = basePathOf(entry);
        if (!base.empty()) {
            m_bases.emplace_back(withoutTrailingSlashes(base));
            m_entries.emplace_back(std::move(base), i);
        }
    }
    std::sort(m_entries.begin(), m_entries.end());
    std::sort(m_bases.begin(), m_bases.end());
    m_bases.erase(std::unique(m_bases.begin(), m_bases.end()), m_bases.end());
}

void ConstraintSetupIndex::destroy(void* index) {
    delete static_cast<ConstraintSetupIndex*>(index);
}

std::vector<int64_t> ConstraintSetupIndex::entriesAt(std::string_view path) const {
    std::vector<int64_t> positions;
    auto it = std::lower_bound(m_entries.begin(), m_entries.end(), path,
                               [](const auto& entry, std::string_view p) { return entry.first < p; });
    for (; it != m_entries.end() && it->first == path; ++it) {
        positions.push_back(it->second);
    }
    return positions;
}

bool ConstraintSetupIndex::isAboveSomeBase(std::string_view path) const {
    const std::string_view location = withoutTrailingSlashes(path);
    if (location.empty()) {
        return false;
    }
    // Every base below the location begins with its path and a slash ("/" itself is above every other
    // absolute path), so the first base not before that prefix tells.
    const std::string prefix = location == "/" ? std::string("/") : std::string(location) + "/";
    const auto it = std::lower_bound(m_bases.begin(), m_bases.end(), prefix);
    for (auto candidate = it; candidate != m_bases.end(); ++candidate) {
        if (candidate->compare(0, prefix.size(), prefix) != 0) {
            return false;
        }
        if (candidate->size() > location.size()) {
            return true; // for "/": the base "/" itself is not below it, anything longer is
        }
    }
    return false;
}

} // namespace Private
} // namespace Vexil3Constraints
