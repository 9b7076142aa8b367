#include "constraints/resolve/ResolverChecks.h"

#include "constraints/resolve/ConstraintResolver.h"

#include <cmath>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

template <typename T> ValueProblem problemOf(const T* values, size_t count) {
    ValueProblem problem = ValueProblem::None;
    for (size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(values[i]);
        if (!std::isfinite(value)) {
            return ValueProblem::NotFinite;
        }
        if (std::fabs(value) > kLargestConstraintValue) {
            problem = ValueProblem::TooLarge;
        }
    }
    return problem;
}

} // namespace

ValueProblem valueProblem(const double* values, size_t count) {
    return problemOf(values, count);
}

ValueProblem valueProblem(const float* values, size_t count) {
    return problemOf(values, count);
}

std::string_view describe(ValueProblem problem) {
    switch (problem) {
    case ValueProblem::NotFinite:
        return "is not finite";
    case ValueProblem::TooLarge:
        return "has a value beyond 1e15";
    case ValueProblem::None:
        break;
    }
    return std::string_view();
}

void requireUsable(ValueProblem problem, std::string_view what) {
    if (problem != ValueProblem::None) {
        throw std::runtime_error(std::string(what) + " " + std::string(describe(problem)) + ".");
    }
}

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

void ResolverChecks::requireUsable(ValueProblem problem, std::string_view what) const {
    if (problem != ValueProblem::None) {
        fail(std::string(what) + " " + std::string(describe(problem)) + ".");
    }
}

const Imath::M44d& ResolverChecks::usableTransform(const Imath::M44d& matrix, const std::string& path) const {
    const ValueProblem problem = valueProblem(matrix);
    // The text is only built for a transform that fails.
    if (problem != ValueProblem::None) {
        requireUsable(problem, "transform of " + path);
    }
    return matrix;
}

const Imath::M44d& ResolverChecks::baseAt(const ConstraintInputs& inputs, float time) const {
    const Imath::M44d* base = findSample(inputs.baseSamples, time);
    if (!base) {
        fail("incorrect time samples for base xform");
    }
    return usableTransform(*base, inputs.baseLocation);
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
    static const std::string kUnnamed;
    return usableTransform(*target, index < inputs.targetPaths.size() ? inputs.targetPaths[index] : kUnnamed);
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
