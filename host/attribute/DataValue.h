// Data attributes: time samples of flat value arrays with a tuple size, for int, float, double and
// string values.
#pragma once

#include "host/attribute/AttributeValue.h"

#include <string>
#include <vector>

namespace VexilHost {

/// The index of the sample whose time is nearest to `time`, differences taken in single precision;
/// the earliest sample wins a tie. -1 when there are no samples.
int64_t nearestSampleIndex(const float* times, int64_t numSamples, float time);

/// The two sample times that bracket `time`; both the same when `time` falls on a sample or outside
/// the sampled range (then the nearer end's time).
void boundingSampleTimes(const float* times, int64_t numSamples, float time, float& left, float& right);

/// True when the arguments of a creation entry describe a valid attribute: at least one sample,
/// strictly ascending finite times, a positive tuple size dividing the values per sample, and a value
/// pointer for every sample that holds values.
bool validSampleLayout(const float* times, int64_t numSamples, const void* const* values,
                       int64_t valuesPerSample, int64_t tupleSize);

/// A data attribute of element type T: int32_t, float, double or std::string. Values of all samples
/// are stored in one block; sample i starts at i * valuesPerSample.
template <typename T> class DataValue final : public AttributeValue {
public:
    /// The element type handed out by the nearest-sample entries (const char* for strings).
    using Element = std::conditional_t<std::is_same_v<T, std::string>, const char*, T>;
    static const int32_t kKind;

    /// Takes times and the value block (numSamples * valuesPerSample values); arguments validated by
    /// the caller.
    DataValue(std::vector<float> times, std::vector<T> values, int64_t valuesPerSample, int64_t tupleSize);

    int64_t numSamples() const { return static_cast<int64_t>(m_times.size()); }
    int64_t valuesPerSample() const { return m_valuesPerSample; }
    int64_t tupleSize() const { return m_tupleSize; }
    const std::vector<float>& times() const { return m_times; }
    /// The first value of sample `index`; valid while this attribute lives.
    const Element* sampleValues(int64_t index) const;

    /// The record of the sample accessor entry: embedded for a single sample (contiguous, not handed
    /// back), allocated for several (one pointer per sample, handed back, holding a reference).
    const QnSampleAccessor* accessor() const;

    void encodeForHash(ByteSink& sink) const override { encode(sink); }
    void serialise(ByteSink& sink) const override { encode(sink); }

protected:
    bool sameContent(const AttributeValue& other) const override;

private:
    void encode(ByteSink& sink) const;

    std::vector<float> m_times;
    std::vector<T> m_values;
    int64_t m_valuesPerSample;
    int64_t m_tupleSize;
    /// For strings: a C string pointer per value, so that callers get a flat const char* array.
    std::vector<const char*> m_cstrings;
    QnSampleAccessor m_embedded{};
};

using IntValue = DataValue<int32_t>;
using FloatValue = DataValue<float>;
using DoubleValue = DataValue<double>;
using StringValue = DataValue<std::string>;

/// Hands back a record from DataValue::accessor(); records without the hand-back bit are ignored.
void releaseAccessor(const QnSampleAccessor* record);

extern template class DataValue<int32_t>;
extern template class DataValue<float>;
extern template class DataValue<double>;
extern template class DataValue<std::string>;

} // namespace VexilHost
