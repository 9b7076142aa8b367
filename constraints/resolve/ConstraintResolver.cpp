#include "constraints/resolve/ConstraintResolver.h"

#include <exception>

namespace Vexil3Constraints {
namespace Private {

namespace {

const std::string kMatrix("matrix");

} // namespace

void ConstraintResolver::addTimeSamples(Qn::VexilCookInterface&, const std::string&, const TargetPaths&,
                                        ResolvedCache&, SampleTimes&) {}

std::string constraintErrorText(const Qn::GroupAttribute& constraintGroup, const std::string& what) {
    const std::string type = Qn::StringAttribute(constraintGroup.getChildByName("type")).getValue("", false);
    return type + " Constraint Error: " + what;
}

Qn::GroupAttribute errorGroup(const std::string& text) {
    Qn::GroupBuilder builder;
    builder.set("errorMessage", Qn::StringAttribute(text));
    return builder.build();
}

Qn::GroupAttribute resolveAtSampleTimes(ComputeSampleFn computeSample,
                                        const Qn::GroupAttribute& constraintGroup,
                                        const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                                        const XformSamples& baseSamples, const std::string& baseLocation,
                                        const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                                        ResolvedCache& resolvedCache) {
    MatrixSamples samples;
    try {
        for (float time : sampleTimes) {
            computeSample(constraintGroup, cookInterface, baseSamples, baseLocation, targetSamples,
                          targetPaths, resolvedCache, time, samples);
        }
        Qn::GroupBuilder builder;
        builder.set(kMatrix, buildMultiSampledAttribute(samples, 16));
        return builder.build();
    } catch (const std::exception& e) {
        // Stop at the first failing sample: a partial matrix would animate wrongly.
        return errorGroup(constraintErrorText(constraintGroup, e.what()));
    }
}

Qn::GroupAttribute matrixResultGroup(const float* times, const double* values, size_t count) {
    boost::container::small_vector<const double*, 4> pointers(count);
    for (size_t i = 0; i < count; ++i) {
        pointers[i] = values + 16 * i;
    }
    // No samples means no values per sample, as a matrix built from an empty sample map has.
    const int64_t perSample = count == 0 ? 0 : 16;
    Qn::GroupBuilder builder;
    builder.set(kMatrix,
                Qn::DoubleAttribute(times, static_cast<int64_t>(count), pointers.data(), perSample, 16));
    return builder.build();
}

Qn::DoubleAttribute buildMultiSampledAttribute(const MatrixSamples& samples, int64_t tupleSize) {
    std::vector<float> times;
    std::vector<const double*> values;
    times.reserve(samples.size());
    values.reserve(samples.size());
    size_t count = samples.empty() ? 0 : samples.begin()->second.size();
    for (const auto& [time, sample] : samples) {
        if (sample.size() != count) {
            throw std::runtime_error("Error building attribute time samples are different sizes.");
        }
        times.push_back(time);
        values.push_back(sample.data());
    }
    return Qn::DoubleAttribute(times.data(), static_cast<int64_t>(times.size()), values.data(),
                               static_cast<int64_t>(count), tupleSize);
}

std::vector<double> matrixValues(const Imath::M44d& m) {
    return std::vector<double>(m.getValue(), m.getValue() + 16);
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
