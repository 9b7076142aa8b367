// What one constraint gives before the driver checks it and turns it into attributes.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"
#include "constraints/resolve/ResolverChecks.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <Imath/ImathMatrix.h>
#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <string>
#include <utility>

namespace Vexil3Constraints {
namespace Private {

/// The result of one constraint: either a transform (one matrix X per sample time, row by row; the
/// base's world transform B becomes X · B, or X itself after a reset) or camera values to set on the
/// base location, and warnings in both cases. A value; kept on the cook's stack.
class ConstraintResult {
public:
    /// A transform without samples yet. With `resetOrigin` its group begins with `origin`, the
    /// transform reset that discards the base's own transform chain and its parents'.
    static ConstraintResult transform(bool resetOrigin = false);
    /// Camera values (`geometry.near`, ...) instead of a transform; the constraint's group is empty.
    static ConstraintResult cameraValues();

    /// Appends the matrix of `time`; times come in ascending order, each once.
    void addMatrix(float time, const Imath::M44d& matrix);
    /// Sets the double attribute `name` ("geometry.fov") of the base location to `value`.
    void setCameraValue(const char* name, double value);
    /// Adds a line to the warnings the framework reports with the location's others.
    void addWarning(const std::string& text);

    /// The problem of the values a location would receive: each matrix (not finite), each new world
    /// transform X · B with B the base's at that time from `baseSamples` (X alone after a reset or
    /// when there is no B; beyond the largest constraint value), each camera value.
    ValueProblem problem(const XformSamples& baseSamples) const;

    /// The constraint's result group (`origin` and `matrix`, `matrix`, or empty); camera values and
    /// warnings go into `outputAttributes`.
    Qn::GroupAttribute apply(OutputAttributes& outputAttributes) const;

private:
    ConstraintResult(bool isTransform, bool resetOrigin)
        : m_isTransform(isTransform), m_resetOrigin(resetOrigin) {}

    bool m_isTransform;
    bool m_resetOrigin;
    // A constraint has a few sample times: kept on the stack, one block for all the matrices.
    boost::container::small_vector<float, 4> m_times;
    boost::container::small_vector<double, 4 * 16> m_values;
    boost::container::small_vector<std::pair<const char*, double>, 2> m_cameraValues;
    std::string m_warnings;
};

/// A group holding `matrix`: a double attribute of tuple size 16 with `count` samples at `times`, sample
/// i being the 16 doubles (row by row) from values[16 * i] in one contiguous block.
Qn::GroupAttribute matrixResultGroup(const float* times, const double* values, size_t count);

} // namespace Private
} // namespace Vexil3Constraints
