// The add and remove rules of the scene-wide constraint list "globals.constraintList" on "/root/world",
// shared by the authoring ops that edit it. Header-only so that every unit compiling an authoring op
// gets them without another source file.
#pragma once

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

/// Appends `paths` to "globals.constraintList" of the cooked location (created when absent), after the
/// existing entries and in their order; duplicates are kept. May abort.
inline void appendToConstraintList(const Qn::VexilCookInterface& cookInterface,
                                   const Qn::StringAttribute& paths) {
    cookInterface.extendAttr(kConstraintListAttr, paths, std::string(), false, std::string(), -1);
}

/// Removes from `list` the last occurrence of each distinct path of `requested`, keeping the order of
/// the rest; returns whether anything was removed.
inline bool removeLastOccurrences(std::vector<std::string>& list, const std::vector<std::string>& requested) {
    // Walking from the end makes each requested path take its last occurrence, once.
    std::set<std::string> toRemove(requested.begin(), requested.end());
    std::vector<std::string> kept;
    bool dropped = false;
    for (auto it = list.rbegin(); it != list.rend(); ++it) {
        auto found = toRemove.find(*it);
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
