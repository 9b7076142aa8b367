// Typed data attributes: IntAttribute, FloatAttribute, DoubleAttribute, StringAttribute.
#pragma once

#include "Attribute.h"

#include <boost/container/container_fwd.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace Qn {

/// A borrowed view of one sample's values; valid while the attribute it came from lives.
template <typename T> struct SampleView {
    const T* data = nullptr;
    int64_t size = 0;
    bool empty() const { return size == 0; }
    const T& operator[](int64_t i) const { return data[i]; }
    const T* begin() const { return data; }
    const T* end() const { return data + size; }
};

/// A type code the host has already given for an attribute, so that a typed class need not ask again.
struct KnownType {
    int32_t code;
};

/// Operations common to every data attribute (int, float, double, string).
class DataAttribute : public Attribute {
public:
    DataAttribute() = default;
    int64_t getNumberOfValues() const;
    int64_t getTupleSize() const;
    int64_t getNumberOfTimeSamples() const;
    /// The time of sample `index` (0.0 when out of range or invalid).
    float getSampleTime(int64_t index) const;
    /// The sample times in ascending order.
    std::vector<float> getSampleTimes() const;

protected:
    using Attribute::Attribute;
};

/// Numeric data attribute of value type T (int32_t, float or double) and type code Code.
template <typename T, int32_t Code> class NumericAttribute : public DataAttribute {
public:
    using value_type = T;
    static constexpr int32_t kTypeCode = Code;

    NumericAttribute() = default;
    /// Invalid (no error) unless `attr` is of this kind.
    NumericAttribute(const Attribute& attr) : DataAttribute(attr, Code) {}
    NumericAttribute(Attribute&& attr) : DataAttribute(std::move(attr), Code) {}
    /// Takes over `attr` when `type` is this kind, without asking the host; invalid otherwise, `attr`
    /// then left as it was.
    NumericAttribute(Attribute&& attr, KnownType type) {
        if (type.code == Code)
            m_handle = attr.releaseHandle();
    }
    /// One value at time 0.
    explicit NumericAttribute(T value);
    /// One sample at time 0.
    NumericAttribute(const T* values, int64_t count, int64_t tupleSize = 1);
    explicit NumericAttribute(const std::vector<T>& values, int64_t tupleSize = 1)
        : NumericAttribute(values.data(), static_cast<int64_t>(values.size()), tupleSize) {}
    /// Several samples in ascending time order; every sample holds the same number of values.
    NumericAttribute(const std::map<float, std::vector<T>>& samples, int64_t tupleSize);
    NumericAttribute(const float* times, int64_t numSamples, const T* const* values, int64_t valuesPerSample,
                     int64_t tupleSize);

    /// The values of the sample nearest to `time` (earliest on a tie); empty when there is none.
    SampleView<T> getNearestSample(float time) const;
    /// The first value of the sample nearest to 0.0; `defaultValue` or a runtime error when absent.
    T getValue(T defaultValue = T(), bool throwOnError = true) const;
    /// The sample times, ascending, into `times`, and the first `count` values of every sample, one
    /// sample after another and converted to double (exact for every kind), into `values`, in place of
    /// what they held; false, with both unspecified, when there is no sample or a sample holds fewer
    /// values. Floats and doubles are read through the host's sample record when it gives one.
    bool copySamples(size_t count, boost::container::small_vector_base<float>& times,
                     boost::container::small_vector_base<double>& values) const;
};

/// Float and double attributes add interpolation between samples.
template <typename T, int32_t Code> class InterpolatedAttribute : public NumericAttribute<T, Code> {
public:
    using NumericAttribute<T, Code>::NumericAttribute;
    /// Fills `count` values interpolated at `time`; missing values take `defaultValue`.
    void fillInterpolatedValues(T* out, int64_t count, float time, T defaultValue = T(0),
                                bool throwOnError = true) const;
};

using IntAttribute = NumericAttribute<int32_t, QN_ATTRIBUTE_TYPE_INT>;
using FloatAttribute = InterpolatedAttribute<float, QN_ATTRIBUTE_TYPE_FLOAT>;
using DoubleAttribute = InterpolatedAttribute<double, QN_ATTRIBUTE_TYPE_DOUBLE>;

/// String data attribute.
class StringAttribute : public DataAttribute {
public:
    using value_type = std::string;
    static constexpr int32_t kTypeCode = QN_ATTRIBUTE_TYPE_STRING;

    StringAttribute() = default;
    StringAttribute(const Attribute& attr) : DataAttribute(attr, kTypeCode) {}
    StringAttribute(Attribute&& attr) : DataAttribute(std::move(attr), kTypeCode) {}
    explicit StringAttribute(const std::string& value);
    explicit StringAttribute(const char* value) : StringAttribute(std::string(value)) {}
    explicit StringAttribute(const std::vector<std::string>& values, int64_t tupleSize = 1);
    StringAttribute(const std::map<float, std::vector<std::string>>& samples, int64_t tupleSize);

    /// The values of the sample nearest to `time` (earliest on a tie); empty when there is none.
    SampleView<const char*> getNearestSample(float time) const;
    std::vector<std::string> getNearestSampleStrings(float time) const;
    /// The first value of the sample nearest to 0.0; `defaultValue` or a runtime error when absent.
    std::string getValue(const std::string& defaultValue = std::string(), bool throwOnError = true) const;
};

extern template class NumericAttribute<int32_t, QN_ATTRIBUTE_TYPE_INT>;
extern template class NumericAttribute<float, QN_ATTRIBUTE_TYPE_FLOAT>;
extern template class NumericAttribute<double, QN_ATTRIBUTE_TYPE_DOUBLE>;
extern template class InterpolatedAttribute<float, QN_ATTRIBUTE_TYPE_FLOAT>;
extern template class InterpolatedAttribute<double, QN_ATTRIBUTE_TYPE_DOUBLE>;

} // namespace Qn
