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
    };
    for (int64_t i = 0, n = constraintGroup.getNumberOfChildren(); i < n; ++i) {
        const std::string_view name = constraintGroup.getChildNameView(i);
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

} // namespace Private
} // namespace Vexil3Constraints
