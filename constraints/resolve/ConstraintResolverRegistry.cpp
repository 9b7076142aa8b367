#include "constraints/resolve/ConstraintResolverRegistry.h"

#include <string_view>
#include <utility>
#include <vector>

// One line per constraint kind: its type name and the function, defined in the kind's own source unit
// (constraints/resolvers/<Kind>ConstraintResolver.cpp), that describes it.
#define VEXIL_CONSTRAINT_KINDS(KIND)                                                                         \
    KIND("Aim", aimConstraintKind)                                                                           \
    KIND("Billboard", billboardConstraintKind)                                                               \
    KIND("CameraScreenWindow", cameraScreenWindowConstraintKind)                                             \
    KIND("Clipping", clippingConstraintKind)                                                                 \
    KIND("Dolly", dollyConstraintKind)                                                                       \
    KIND("FOV", fovConstraintKind)                                                                           \
    KIND("Orient", orientConstraintKind)                                                                     \
    KIND("ParentChild", parentChildConstraintKind)                                                           \
    KIND("Point", pointConstraintKind)                                                                       \
    KIND("Reflection", reflectionConstraintKind)                                                             \
    KIND("Scale", scaleConstraintKind)                                                                       \
    KIND("ScreenCoordinate", screenCoordinateConstraintKind)

namespace Vexil3Constraints {
namespace Private {

#define VEXIL_DECLARE_KIND(name, describe) ConstraintKind describe();
VEXIL_CONSTRAINT_KINDS(VEXIL_DECLARE_KIND)
#undef VEXIL_DECLARE_KIND

const std::map<std::string, ConstraintKind>& constraintKinds() {
    // Made on first use, by whichever thread comes first, and read-only afterwards; every later call
    // costs one load.
    static const std::map<std::string, ConstraintKind> kinds = [] {
        std::map<std::string, ConstraintKind> all;
#define VEXIL_REGISTER_KIND(name, describe) all.emplace(name, describe());
        VEXIL_CONSTRAINT_KINDS(VEXIL_REGISTER_KIND)
#undef VEXIL_REGISTER_KIND
        return all;
    }();
    return kinds;
}

const ConstraintKind* findConstraintKind(const std::string& type) {
    // Every constraint of every cook asks: a dozen names told apart mostly by their length are
    // scanned, without the map's string comparisons.
    using Entry = std::pair<std::string_view, const ConstraintKind*>;
    static const std::vector<Entry> byName = [] {
        std::vector<Entry> entries;
        for (const auto& [name, kind] : constraintKinds()) {
            entries.emplace_back(name, &kind);
        }
        return entries;
    }();
    for (const auto& [name, kind] : byName) {
        if (name == type) {
            return kind;
        }
    }
    return nullptr;
}

ConstraintResolverCreator findConstraintResolverCreator(const std::string& type) {
    const ConstraintKind* kind = findConstraintKind(type);
    return kind ? kind->create : nullptr;
}

} // namespace Private
} // namespace Vexil3Constraints
