#include "constraints/resolve/ConstraintResolverRegistry.h"

#include "constraints/resolvers/Resolvers.h"

#include <boost/thread/once.hpp>

namespace Vexil3Constraints {
namespace Private {

namespace {

std::map<std::string, ConstraintResolverCreator>* g_registry = nullptr;
boost::once_flag g_registryOnce = BOOST_ONCE_INIT;

// One line per constraint kind; the map keeps them in name order.
void registerConstraintResolvers() {
    static std::map<std::string, ConstraintResolverCreator> registry;
    // REGISTRY LINES (keep in this order)
    registry["Aim"] = &createAimConstraintResolver;
    registry["Billboard"] = &createBillboardConstraintResolver;
    registry["CameraScreenWindow"] = &createCameraScreenWindowConstraintResolver;
    registry["Clipping"] = &createClippingConstraintResolver;
    registry["Dolly"] = &createDollyConstraintResolver;
    registry["FOV"] = &createFOVConstraintResolver;
    registry["Orient"] = &createOrientConstraintResolver;
    registry["ParentChild"] = &createParentChildConstraintResolver;
    registry["Point"] = &createPointConstraintResolver;
    registry["Reflection"] = &createReflectionConstraintResolver;
    registry["Scale"] = &createScaleConstraintResolver;
    registry["ScreenCoordinate"] = &createScreenCoordinateConstraintResolver;
    g_registry = &registry;
}

} // namespace

const std::map<std::string, ConstraintResolverCreator>& constraintResolverRegistry() {
    boost::call_once(g_registryOnce, &registerConstraintResolvers);
    return *g_registry;
}

ConstraintResolverCreator findConstraintResolverCreator(const std::string& type) {
    const auto& registry = constraintResolverRegistry();
    auto it = registry.find(type);
    return it == registry.end() ? nullptr : it->second;
}

} // namespace Private
} // namespace Vexil3Constraints
