#include "constraints/resolve/ConstraintResult.h"

#include "hostapi/attribute/DataAttribute.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

namespace {

const std::string kMatrix("matrix");
const std::string kWarningMessage("warningMessage");

// A double attribute of tuple size 16 with `count` samples at `times`, sample i being the 16 doubles
// (row by row) from values[16 * i].
Qn::DoubleAttribute matrixAttribute(const float* times, const double* values, size_t count) {
    boost::container::small_vector<const double*, 4> pointers(count);
    for (size_t i = 0; i < count; ++i) {
        pointers[i] = values + 16 * i;
    }
    // No samples means no values per sample, as a matrix built from an empty sample map has.
    const int64_t perSample = count == 0 ? 0 : 16;
    return Qn::DoubleAttribute(times, static_cast<int64_t>(count), pointers.data(), perSample, 16);
}

} // namespace

ConstraintResult ConstraintResult::transform(bool resetOrigin) {
    return ConstraintResult(true, resetOrigin);
}

ConstraintResult ConstraintResult::cameraValues() {
    return ConstraintResult(false, false);
}

void ConstraintResult::addMatrix(float time, const Imath::M44d& matrix) {
    m_times.push_back(time);
    m_values.insert(m_values.end(), matrix.getValue(), matrix.getValue() + 16);
}

void ConstraintResult::setCameraValue(const char* name, double value) {
    m_cameraValues.emplace_back(name, value);
}

void ConstraintResult::addWarning(const std::string& text) {
    if (!m_warnings.empty()) {
        m_warnings += "\n";
    }
    m_warnings += text;
}

ValueProblem ConstraintResult::problem(const XformSamples& baseSamples) const {
    ValueProblem problem = ValueProblem::None;
    for (size_t i = 0; i < m_times.size(); ++i) {
        const double* values = m_values.data() + 16 * i;
        if (valueProblem(values, 16) == ValueProblem::NotFinite) {
            return ValueProblem::NotFinite;
        }
        // Only where the location ends up counts: a base scaled down to 1e-20 needs a large X.
        const Imath::M44d* base = m_resetOrigin ? nullptr : findSample(baseSamples, m_times[i]);
        const Imath::M44d x(reinterpret_cast<const double(*)[4]>(values));
        problem = std::max(problem, valueProblem(base ? x * *base : x));
    }
    for (const auto& value : m_cameraValues) {
        problem = std::max(problem, valueProblem(&value.second, 1));
    }
    return problem;
}

Qn::GroupAttribute ConstraintResult::apply(OutputAttributes& outputAttributes) const {
    for (const auto& [name, value] : m_cameraValues) {
        outputAttributes[name] = Qn::DoubleAttribute(value);
    }
    if (!m_warnings.empty()) {
        Qn::Attribute& warnings = outputAttributes[kWarningMessage];
        const std::string earlier = Qn::StringAttribute(warnings).getValue(std::string(), false);
        warnings = Qn::StringAttribute(earlier.empty() ? m_warnings : earlier + "\n" + m_warnings);
    }
    if (!m_isTransform) {
        return Qn::GroupBuilder().build();
    }
    if (!m_resetOrigin) {
        return matrixResultGroup(m_times.data(), m_values.data(), m_times.size());
    }
    Qn::GroupBuilder builder;
    // The reset must come first so that it discards the base's own transform chain.
    builder.set("origin", Qn::DoubleAttribute(0.0));
    builder.set(kMatrix, matrixAttribute(m_times.data(), m_values.data(), m_times.size()));
    return builder.build();
}

Qn::GroupAttribute matrixResultGroup(const float* times, const double* values, size_t count) {
    Qn::GroupBuilder builder;
    builder.set(kMatrix, matrixAttribute(times, values, count));
    return builder.build();
}

} // namespace Private
} // namespace Vexil3Constraints
