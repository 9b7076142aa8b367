#include "constraints/ops/ConstraintListEditOp.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "constraints/ops/ConstraintListRules.h"

#include <string>

namespace Vexil3Constraints {
namespace Private {

void ConstraintListEditOp::cook(Qn::VexilCookInterface& cookInterface) {
    if (cookInterface.atRoot()) {
        return;
    }
    if (cookInterface.getOutputLocationPath() != kWorldLocationPath) {
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
        // Paths are listed as the locations they name; written so already, the argument goes as it is.
        const std::vector<std::string> written = locationPaths.getNearestSampleStrings(0.0f);
        const std::vector<std::string> named = listedPaths(written);
        appendToConstraintList(cookInterface, named == written ? locationPaths : Qn::StringAttribute(named));
    } else if (modeValue == "remove") {
        removeFromConstraintList(cookInterface, locationPaths.getNearestSampleStrings(0.0f));
    }
    cookInterface.stopChildTraversal();
}

} // namespace Private
} // namespace Vexil3Constraints
