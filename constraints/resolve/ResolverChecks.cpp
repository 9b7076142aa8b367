#include "constraints/resolve/ResolverChecks.h"

#include "constraints/resolve/ConstraintResolver.h"

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

std::string ResolverChecks::text(std::string_view what) const {
    std::string result(m_kind);
    result += " constraint resolver: ";
    result += what;
    return result;
}

void ResolverChecks::fail(std::string_view what) const {
    throw std::runtime_error(text(what));
}

void ResolverChecks::failEmptyArgument(std::string_view argumentName) const {
    fail("empty " + std::string(argumentName) + ".");
}

const Imath::M44d& ResolverChecks::baseAt(const ConstraintInputs& inputs, float time) const {
    const Imath::M44d* base = findSample(inputs.baseSamples, time);
    if (!base) {
        fail("incorrect time samples for base xform");
    }
    return *base;
}

const XformSamples& ResolverChecks::firstTargetSamples(const ConstraintInputs& inputs) const {
    if (inputs.targetSamples.empty()) {
        fail("no target xform");
    }
    return inputs.targetSamples.front();
}

const Imath::M44d& ResolverChecks::targetAt(const ConstraintInputs& inputs, size_t index, float time,
                                            std::string_view whenMissing) const {
    const Imath::M44d* target = findSample(inputs.targetSamples[index], time);
    if (!target) {
        fail(whenMissing);
    }
    return *target;
}

const std::string& ResolverChecks::firstTargetPath(const ConstraintInputs& inputs) const {
    if (inputs.targetPaths.empty()) {
        fail("no target location path.");
    }
    return inputs.targetPaths.front();
}

void ResolverChecks::checkTargetCounts(const ConstraintInputs& inputs) const {
    if (inputs.targetPaths.size() != inputs.targetSamples.size()) {
        throw std::runtime_error(std::string(m_kind) +
                                 " constraint internal error: targetLocationPaths.size() "
                                 "!= targetXformVector.size().");
    }
}

const Imath::M44d* findSample(const XformSamples& samples, float time) {
    auto it = samples.lower_bound(time);
    if (it == samples.end() || it->first > time) {
        return nullptr;
    }
    return &it->second;
}

} // namespace Private
} // namespace Vexil3Constraints
