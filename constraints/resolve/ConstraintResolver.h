// The interface every constraint kind implements, and the per-sample driver most of them use.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"
#include "constraints/resolve/ResolvedCache.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <boost/container/small_vector.hpp>
#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <exception>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// Resolves one constraint description (a child group of a location's `xform`). Holds only the
/// description group, from which it reads its `args.*`; immutable and usable from any thread.
class ConstraintResolver {
public:
    explicit ConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : m_constraintGroup(constraintGroup) {}
    virtual ~ConstraintResolver() = default;

    /// Adds the sample times of inputs that only this kind reads (animated bounds, points, camera
    /// attributes). The default adds nothing.
    virtual void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                                SampleTimes& sampleTimes);

    /// Computes the result group (usually a `matrix` child, or `errorMessage`) for all sample times.
    /// `baseSamples` and `targetSamples` are world transforms at (at least) every sample time;
    /// camera kinds may add entries to `outputAttributes` instead.
    virtual Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                                       const XformSamples& baseSamples, const std::string& baseLocation,
                                       const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                                       ResolvedCache& resolvedCache, OutputAttributes& outputAttributes) = 0;

    const Qn::GroupAttribute& constraintGroup() const { return m_constraintGroup; }

protected:
    Qn::GroupAttribute m_constraintGroup;
};

using ConstraintResolverPtr = boost::shared_ptr<ConstraintResolver>;

/// One resolver kind's computation at one sample time: stores 16 doubles (the matrix X that moves
/// the base's world transform from B to X·B, row by row) as samplesOut[sampleTime]. May throw.
using ComputeSampleFn = void (*)(const Qn::GroupAttribute& constraintGroup,
                                 Qn::VexilCookInterface& cookInterface, const XformSamples& baseSamples,
                                 const std::string& baseLocation, const XformSamplesList& targetSamples,
                                 const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                                 float sampleTime, MatrixSamples& samplesOut);

/// Runs `computeSample` at every sample time in ascending order. Returns a group holding `matrix`
/// (a double attribute, tuple size 16, one sample per time), or, as soon as one sample throws a
/// std::exception, a group holding only `errorMessage` with its text: never a partial matrix.
Qn::GroupAttribute resolveAtSampleTimes(ComputeSampleFn computeSample,
                                        const Qn::GroupAttribute& constraintGroup,
                                        const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                                        const XformSamples& baseSamples, const std::string& baseLocation,
                                        const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                                        ResolvedCache& resolvedCache);

/// A group holding `matrix`: a double attribute of tuple size 16 with `count` samples at `times`, sample
/// i being the 16 doubles (row by row) from values[16 * i] in one contiguous block.
Qn::GroupAttribute matrixResultGroup(const float* times, const double* values, size_t count);

/// A double attribute whose samples are the map's entries in ascending time order. Throws
/// std::runtime_error "Error building attribute time samples are different sizes." when the value
/// vectors differ in length.
Qn::DoubleAttribute buildMultiSampledAttribute(const MatrixSamples& samples, int64_t tupleSize);

/// "<type> Constraint Error: <what>", the type read from the constraint group's `type`.
std::string constraintErrorText(const Qn::GroupAttribute& constraintGroup, const std::string& what);

/// A group whose single child `errorMessage` holds `text`.
Qn::GroupAttribute errorGroup(const std::string& text);

/// The 16 values of a matrix, row by row.
std::vector<double> matrixValues(const Imath::M44d& m);

/// The matrix of an exact sample-time key, or null when the map has none at `time`.
const Imath::M44d* findSample(const XformSamples& samples, float time);

/// Like resolveAtSampleTimes, for a compute step that reads its arguments once per constraint:
/// `computeSample(time)` returns the matrix X at `time` (row vectors) or throws. Returns the
/// `matrix` group, or, as soon as one sample throws a std::exception, a group holding only
/// `errorMessage` with its text.
template <typename Compute>
Qn::GroupAttribute resolveMatricesAtSampleTimes(const Qn::GroupAttribute& constraintGroup,
                                                const SampleTimes& sampleTimes, Compute&& computeSample) {
    try {
        // A constraint has a few sample times: kept on the stack, one block for all the matrices.
        boost::container::small_vector<float, 4> times;
        boost::container::small_vector<double, 4 * 16> values;
        times.reserve(sampleTimes.size());
        values.reserve(16 * sampleTimes.size());
        for (float time : sampleTimes) {
            const Imath::M44d matrix = computeSample(time);
            times.push_back(time);
            values.insert(values.end(), matrix.getValue(), matrix.getValue() + 16);
        }
        return matrixResultGroup(times.data(), values.data(), times.size());
    } catch (const std::exception& e) {
        return errorGroup(constraintErrorText(constraintGroup, e.what()));
    }
}

/// Convenience for resolvers whose `resolve` is the driver over their own compute step.
template <ComputeSampleFn Compute> class DrivenConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;
    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache& resolvedCache, OutputAttributes&) override {
        return resolveAtSampleTimes(Compute, m_constraintGroup, sampleTimes, cookInterface, baseSamples,
                                    baseLocation, targetSamples, targetPaths, resolvedCache);
    }
};

} // namespace Private
} // namespace Vexil3Constraints
