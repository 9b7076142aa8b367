// The one shape of a constraint kind: the base every resolver derives from, the inputs its
// computation sees, and the driver that runs the computation, checks its result and turns every
// failure into the constraint's error text.
#pragma once

#include "constraints/resolve/ConstraintResult.h"
#include "constraints/resolve/ConstraintTypes.h"
#include "constraints/resolve/ResolvedCache.h"
#include "constraints/resolve/ResolverChecks.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

/// What a kind may read of the scene besides its own arguments: the host, the constrained (base)
/// location, its kept targets in order, and locations as constraints resolved them.
struct ConstraintScene {
    Qn::VexilCookInterface& cookInterface;
    const std::string& baseLocation;
    const TargetPaths& targetPaths;
    ResolvedCache& resolvedCache;
};

/// The scene and what the framework gathered for one constraint: its sample times, and the world
/// transforms of the base and of each target (in target order) at least at every one of them.
struct ConstraintInputs : ConstraintScene {
    const SampleTimes& sampleTimes;
    const XformSamples& baseSamples;
    const XformSamplesList& targetSamples;
};

/// Resolves one constraint description (a child group of a location's `xform`). Every kind derives
/// from it (most through PerSampleConstraintResolver) and supplies one computation; the framework
/// calls only addTimeSamples and resolve. Holds the description group, from which the kind reads its
/// `args.*`; immutable and usable from any thread.
class ConstraintResolver {
public:
    virtual ~ConstraintResolver() = default;

    /// Adds to `sampleTimes` the sample times of inputs that only this kind reads (animated bounds,
    /// points, camera attributes). May throw (an empty required argument).
    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                        const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                        SampleTimes& sampleTimes);

    /// The driver. Runs the kind's computation over `sampleTimes` (ascending) and returns the
    /// constraint's result group: `matrix` (16 doubles per sample time), `origin` then `matrix`, or an
    /// empty group with camera values and warnings added to `outputAttributes`. When the computation
    /// throws a std::exception, or its result is not finite or places the location beyond the largest
    /// constraint value (see ConstraintResult::problem), it returns a group holding only
    /// `errorMessage` ("<type> Constraint Error: <what>") and adds nothing to `outputAttributes`: never
    /// a partial result.
    /// `baseSamples` and `targetSamples` are world transforms at (at least) every sample time.
    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache& resolvedCache, OutputAttributes& outputAttributes);

    const Qn::GroupAttribute& constraintGroup() const { return m_constraintGroup; }

protected:
    /// `kind` is the kind's name as its texts begin (a string literal).
    ConstraintResolver(std::string_view kind, const Qn::GroupAttribute& constraintGroup)
        : m_constraintGroup(constraintGroup), m_checks(kind) {}

    /// Adds the sample times of inputs only this kind reads. The default adds nothing.
    virtual void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const;

    /// The kind's computation over all sample times. Throws std::runtime_error (or any
    /// std::exception) with the failure's text.
    virtual ConstraintResult compute(const ConstraintInputs& inputs) const = 0;

    /// The kind's prescribed guard texts and input checks.
    const ResolverChecks& checks() const { return m_checks; }

    const Qn::GroupAttribute m_constraintGroup;

private:
    const ResolverChecks m_checks;
};

using ConstraintResolverPtr = boost::shared_ptr<ConstraintResolver>;

/// The shape of a kind whose result is one matrix per sample time, each computed on its own.
class PerSampleConstraintResolver : public ConstraintResolver {
protected:
    using ConstraintResolver::ConstraintResolver;

    /// The matrix X at `sampleTime` (row vectors) that moves the base's world transform B to X · B.
    /// Throws with the failure's text; the first failing sample time fails the constraint.
    virtual Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const = 0;

private:
    ConstraintResult compute(const ConstraintInputs& inputs) const final;
};

/// "<type> Constraint Error: <what>", the type read from the constraint group's `type`.
std::string constraintErrorText(const Qn::GroupAttribute& constraintGroup, const std::string& what);

/// A group whose single child `errorMessage` holds `text`.
Qn::GroupAttribute errorGroup(const std::string& text);

} // namespace Private
} // namespace Vexil3Constraints
