#include "constraints/resolve/ConstraintResolverRegistry.h"

#include <boost/thread/once.hpp>

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

namespace {

std::map<std::string, ConstraintKind>* g_kinds = nullptr;
boost::once_flag g_kindsOnce = BOOST_ONCE_INIT;

void registerConstraintKinds() {
    static std::map<std::string, ConstraintKind> kinds;
#define VEXIL_REGISTER_KIND(name, describe) kinds.emplace(name, describe());
    VEXIL_CONSTRAINT_KINDS(VEXIL_REGISTER_KIND)
#undef VEXIL_REGISTER_KIND
    g_kinds = &kinds;
}

} // namespace

const std::map<std::string, ConstraintKind>& constraintKinds() {
    boost::call_once(g_kindsOnce, &registerConstraintKinds);
    return *g_kinds;
}

const ConstraintKind* findConstraintKind(const std::string& type) {
    const auto& kinds = constraintKinds();
    auto it = kinds.find(type);
    return it == kinds.end() ? nullptr : &it->second;
}

ConstraintResolverCreator findConstraintResolverCreator(const std::string& type) {
    const ConstraintKind* kind = findConstraintKind(type);
    return kind ? kind->create : nullptr;
}

} // namespace Private
} // namespace Vexil3Constraints
