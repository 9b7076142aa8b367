#include "constraints/resolve/ConstraintResolver.h"

#include "hostapi/attribute/DataAttribute.h"

#include <exception>

namespace Vexil3Constraints {
namespace Private {

void ConstraintResolver::addTimeSamples(Qn::VexilCookInterface& cookInterface,
                                        const std::string& locationPath, const TargetPaths& targetPaths,
                                        ResolvedCache& resolvedCache, SampleTimes& sampleTimes) {
    addInputSampleTimes(ConstraintScene{cookInterface, locationPath, targetPaths, resolvedCache},
                        sampleTimes);
}

void ConstraintResolver::addInputSampleTimes(const ConstraintScene&, SampleTimes&) const {}

Qn::GroupAttribute
ConstraintResolver::resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                            const XformSamples& baseSamples, const std::string& baseLocation,
                            const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                            ResolvedCache& resolvedCache, OutputAttributes& outputAttributes) {
    const ConstraintInputs inputs{
        {cookInterface, baseLocation, targetPaths, resolvedCache}, sampleTimes, baseSamples, targetSamples};
    try {
        const ConstraintResult result = compute(inputs);
        // Nothing that is not finite, or absurdly large, leaves a resolver, whatever the kind.
        m_checks.requireUsable(result.problem(baseSamples), "result");
        return result.apply(outputAttributes);
    } catch (const std::exception& e) {
        return errorGroup(constraintErrorText(m_constraintGroup, e.what()));
    }
}

ConstraintResult PerSampleConstraintResolver::compute(const ConstraintInputs& inputs) const {
    ConstraintResult result = ConstraintResult::transform();
    for (float time : inputs.sampleTimes) {
        result.addMatrix(time, computeSample(inputs, time));
    }
    return result;
}

std::string constraintErrorText(const Qn::GroupAttribute& constraintGroup, const std::string& what) {
    const std::string type = Qn::StringAttribute(constraintGroup.getChildByName("type")).getValue("", false);
    return type + " Constraint Error: " + what;
}

Qn::GroupAttribute errorGroup(const std::string& text) {
    Qn::GroupBuilder builder;
    builder.set("errorMessage", Qn::StringAttribute(text));
    return builder.build();
}

} // namespace Private
} // namespace Vexil3Constraints
