// The add and remove rules of the scene-wide constraint list "globals.constraintList" on "/root/world",
// shared by the authoring ops that edit it. Header-only so that every unit compiling an authoring op
// gets them without another source file.
#pragma once

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The location that carries the constraint list.
inline const char* const kWorldLocationPath = "/root/world";

/// The name of the constraint list attribute on "/root/world".
inline const char* const kConstraintListAttr = "globals.constraintList";

/// The location a list entry names, by the one path rule; an entry that names none is kept as written.
inline std::string listedPath(const std::string& written) {
    if (Qn::PathUtils::isNormalisedPath(written)) {
        return written;
    }
    std::string named = Qn::PathUtils::normalisedPath(std::string_view(), written);
    return named.empty() ? written : named;
}

/// The entries of `paths` as the locations they name.
inline std::vector<std::string> listedPaths(const std::vector<std::string>& paths) {
    std::vector<std::string> named;
    named.reserve(paths.size());
    for (const std::string& path : paths) {
        named.push_back(listedPath(path));
    }
    return named;
}

/// Appends `paths` to "globals.constraintList" of the cooked location (created when absent), after the
/// existing entries and in their order; duplicates are kept. May abort.
inline void appendToConstraintList(const Qn::VexilCookInterface& cookInterface,
                                   const Qn::StringAttribute& paths) {
    cookInterface.extendAttr(kConstraintListAttr, paths, std::string(), false, std::string(), -1);
}

/// Removes from `list` the last occurrence of each distinct location of `requested`, keeping the order of
/// the rest; returns whether anything was removed. Entries and requests are compared as the locations
/// they name: "/root/world/a/" removes "/root/world/a".
inline bool removeLastOccurrences(std::vector<std::string>& list, const std::vector<std::string>& requested) {
    // Walking from the end makes each requested path take its last occurrence, once.
    const std::vector<std::string> named = listedPaths(requested);
    std::set<std::string> toRemove(named.begin(), named.end());
    std::vector<std::string> kept;
    bool dropped = false;
    for (auto it = list.rbegin(); it != list.rend(); ++it) {
        auto found = toRemove.find(listedPath(*it));
        if (found != toRemove.end()) {
            toRemove.erase(found);
            dropped = true;
        } else {
            kept.push_back(*it);
        }
    }
    if (dropped) {
        std::reverse(kept.begin(), kept.end());
        list.swap(kept);
    }
    return dropped;
}

/// Applies removeLastOccurrences to "globals.constraintList" of "/root/world" on the default input and
/// writes the result on the cooked location: unchanged when nothing matched or there is no list,
/// deleted when nothing is left. May abort.
inline void removeFromConstraintList(const Qn::VexilCookInterface& cookInterface,
                                     const std::vector<std::string>& requested) {
    const Qn::StringAttribute list(cookInterface.getAttr(kConstraintListAttr, kWorldLocationPath, -1));
    if (!list.isValid()) {
        return;
    }
    std::vector<std::string> entries = list.getNearestSampleStrings(0.0f);
    if (!removeLastOccurrences(entries, requested)) {
        return;
    }
    if (entries.empty()) {
        cookInterface.deleteAttr(kConstraintListAttr);
        return;
    }
    cookInterface.setAttr(kConstraintListAttr, Qn::StringAttribute(entries), false);
}

} // namespace Private
} // namespace Vexil3Constraints
