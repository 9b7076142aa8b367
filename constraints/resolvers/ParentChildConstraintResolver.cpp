// The ParentChild constraint: the base takes over the first target's world transform wholesale, as if
// it hung directly under the target. No arithmetic: the target's samples are copied behind a reset.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

/// Builds `origin` (the transform reset) followed by `matrix`, whose samples are exactly those of
/// the first target's world transform; the requested sample times and the base are not consulted.
class ParentChildConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;

    Qn::GroupAttribute resolve(const SampleTimes&, Qn::VexilCookInterface&, const XformSamples&,
                               const std::string&, const XformSamplesList& targetSamples, const TargetPaths&,
                               ResolvedCache&, OutputAttributes&) override {
        // The framework never calls a resolver without a target; fail clearly rather than read past.
        if (targetSamples.empty()) {
            throw std::runtime_error("ParentChild constraint resolver: no target xform");
        }
        MatrixSamples samples;
        for (const auto& entry : targetSamples.front()) {
            samples[entry.first] = matrixValues(entry.second);
        }
        Qn::GroupBuilder builder;
        // The reset must come first so that it discards the base's own transform chain.
        builder.set("origin", Qn::DoubleAttribute(0.0));
        builder.set("matrix", buildMultiSampledAttribute(samples, 16));
        return builder.build();
    }
};

} // namespace

ConstraintResolverPtr createParentChildConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<ParentChildConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
