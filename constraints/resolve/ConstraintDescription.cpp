#include "constraints/resolve/ConstraintDescription.h"

#include <string_view>

namespace Vexil3Constraints {
namespace Private {

ConstraintDescription readConstraintDescription(const Qn::GroupAttribute& constraintGroup) {
    ConstraintDescription description;
    struct Slot {
        std::string_view name;
        Qn::Attribute* attribute;
    };
    const Slot slots[] = {
        {"type", &description.type},
        {"target", &description.target},
        {"allowMissingTargets", &description.allowMissingTargets},
        {"requireTargetBounds", &description.requireTargetBounds},
        {"respectMotionBlur", &description.respectMotionBlur},
        {"args", &description.args},
    };
    for (int64_t i = 0, n = constraintGroup.getNumberOfChildren(); i < n; ++i) {
        const std::string_view name = constraintGroup.getChildNameView(i);
        description.dottedNames = description.dottedNames || name.find('.') != std::string_view::npos;
        for (const Slot& slot : slots) {
            // The first child of a name wins, as in the lookup by name.
            if (name == slot.name && !slot.attribute->isValid()) {
                *slot.attribute = constraintGroup.getChildByIndex(i);
                break;
            }
        }
    }
    return description;
}

const std::vector<EditableArgument>& descriptionArguments() {
    static const std::vector<EditableArgument> arguments = {
        pathsArgument("target", "Targets",
                      "Locations the constraint follows, in order; a relative path starts at the "
                      "constrained location."),
        switchArgument(
            "allowMissingTargets", "Allow Missing Targets",
            "When on, missing targets are skipped and a constraint left without targets only warns.", 0),
        switchArgument("requireTargetBounds", "Require Target Bounds",
                       "When on, targets without a bound attribute are dropped with a warning.", 0),
        switchArgument(
            "respectMotionBlur", "Respect Motion Blur",
            "When on, the constraint is evaluated at every motion sample; when off, at the current "
            "time only.",
            1),
    };
    return arguments;
}

} // namespace Private
} // namespace Vexil3Constraints
