#include "constraints/ops/ConstraintListEditOp.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kWorldPath = "/root/world";
const char* const kConstraintList = "globals.constraintList";

// Each requested path drops at most one entry, its last occurrence; the rest keep their order.
void removeFromConstraintList(const Qn::VexilCookInterface& cookInterface,
                              const Qn::StringAttribute& locationPaths) {
    const Qn::StringAttribute list(cookInterface.getAttr(kConstraintList, kWorldPath, -1));
    if (!list.isValid()) {
        return;
    }
    const std::vector<std::string> existing = list.getNearestSampleStrings(0.0f);
    const std::vector<std::string> requested = locationPaths.getNearestSampleStrings(0.0f);
    std::set<std::string> toRemove(requested.begin(), requested.end());

    std::vector<std::string> kept;
    bool dropped = false;
    for (auto it = existing.rbegin(); it != existing.rend(); ++it) {
        auto found = toRemove.find(*it);
        if (found != toRemove.end()) {
            toRemove.erase(found);
            dropped = true;
        } else {
            kept.push_back(*it);
        }
    }
    if (!dropped) {
        return;
    }
    if (kept.empty()) {
        cookInterface.deleteAttr(kConstraintList);
        return;
    }
    std::reverse(kept.begin(), kept.end());
    cookInterface.setAttr(kConstraintList, Qn::StringAttribute(kept), false);
}

} // namespace

void ConstraintListEditOp::cook(Qn::VexilCookInterface& cookInterface) {
    if (cookInterface.atRoot()) {
        return;
    }
    if (cookInterface.getOutputLocationPath() != kWorldPath) {
        cookInterface.stopChildTraversal();
        return;
    }
    const Qn::StringAttribute mode(cookInterface.getOpArg("mode"));
    if (!mode.isValid()) {
        // The message names 'edit' although the adding mode is "add": the text is kept as users know it.
        Qn::VexilCookInterfaceUtils::reportError(cookInterface,
                                                 "A valid 'mode' argument must be given, 'edit' or 'remove'");
        return;
    }
    const Qn::StringAttribute locationPaths(cookInterface.getOpArg("locationPaths"));
    if (!locationPaths.isValid()) {
        Qn::VexilCookInterfaceUtils::reportError(cookInterface, "A 'locationPaths' arg must be given.");
        return;
    }
    const std::string modeValue = mode.getValue(std::string(), true);
    if (modeValue == "add") {
        cookInterface.extendAttr(kConstraintList, locationPaths, std::string(), false, std::string(), -1);
    } else if (modeValue == "remove") {
        removeFromConstraintList(cookInterface, locationPaths);
    }
    cookInterface.stopChildTraversal();
}

} // namespace Private
} // namespace Vexil3Constraints
