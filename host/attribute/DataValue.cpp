#include "host/attribute/DataValue.h"

#include <cmath>

namespace VexilHost {

namespace {

/// An allocated accessor record: plain members only, so the record's address is the struct's.
struct AllocatedAccessor {
    QnSampleAccessor record;
    const AttributeValue* owner;
    const void** pointers;
};
static_assert(std::is_standard_layout_v<AllocatedAccessor>);

template <typename T> void encodeValue(ByteSink& sink, const T& v) {
    if constexpr (std::is_same_v<T, int32_t>)
        sink.i32(v);
    else if constexpr (std::is_same_v<T, float>)
        sink.f32(v);
    else if constexpr (std::is_same_v<T, double>)
        sink.f64(v);
    else
        sink.text(v);
}

template <typename T> bool sameValues(const std::vector<T>& a, const std::vector<T>& b) {
    if constexpr (std::is_same_v<T, std::string>)
        return a == b;
    else // bitwise, matching the hash: 0.0 and -0.0 differ, a NaN equals the same NaN
        return a.size() == b.size() &&
               (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

} // namespace

int64_t nearestSampleIndex(const float* times, int64_t numSamples, float time) {
    if (numSamples <= 0)
        return -1;
    int64_t best = 0;
    float bestDiff = std::fabs(times[0] - time);
    for (int64_t i = 1; i < numSamples; ++i) {
        const float diff = std::fabs(times[i] - time);
        if (diff < bestDiff) { // strictly smaller: the earliest sample wins a tie
            best = i;
            bestDiff = diff;
        }
    }
    return best;
}

void boundingSampleTimes(const float* times, int64_t numSamples, float time, float& left, float& right) {
    if (numSamples <= 0) {
        left = right = 0.0f;
        return;
    }
    const float first = times[0];
    const float last = times[numSamples - 1];
    if (!(time > first)) { // also catches NaN
        left = right = first;
        return;
    }
    if (time >= last) {
        left = right = last;
        return;
    }
    int64_t i = 0;
    while (times[i + 1] <= time)
        ++i;
    left = times[i];
    right = times[i] == time ? times[i] : times[i + 1];
}

bool validSampleLayout(const float* times, int64_t numSamples, const void* const* values,
                       int64_t valuesPerSample, int64_t tupleSize) {
    if (!times || numSamples < 1 || valuesPerSample < 0 || tupleSize < 1 || valuesPerSample % tupleSize != 0)
        return false;
    if (valuesPerSample > 0 && !values)
        return false;
    for (int64_t i = 0; i < numSamples; ++i) {
        if (!std::isfinite(times[i]) || (i > 0 && !(times[i] > times[i - 1])))
            return false;
        if (valuesPerSample > 0 && !values[i])
            return false;
    }
    return true;
}

template <typename T>
const int32_t DataValue<T>::kKind = [] {
    if constexpr (std::is_same_v<T, int32_t>)
        return int32_t(QN_ATTRIBUTE_TYPE_INT);
    else if constexpr (std::is_same_v<T, float>)
        return int32_t(QN_ATTRIBUTE_TYPE_FLOAT);
    else if constexpr (std::is_same_v<T, double>)
        return int32_t(QN_ATTRIBUTE_TYPE_DOUBLE);
    else
        return int32_t(QN_ATTRIBUTE_TYPE_STRING);
}();

template <typename T>
DataValue<T>::DataValue(std::vector<float> times, std::vector<T> values, int64_t valuesPerSample,
                        int64_t tupleSize)
    : AttributeValue(kKind), m_times(std::move(times)), m_values(std::move(values)),
      m_valuesPerSample(valuesPerSample), m_tupleSize(tupleSize) {
    if constexpr (std::is_same_v<T, std::string>) {
        m_cstrings.reserve(m_values.size());
        for (const std::string& s : m_values)
            m_cstrings.push_back(s.c_str());
    }
    m_embedded.flags = QN_SAMPLE_ACCESSOR_CONTIGUOUS;
    m_embedded.numSamples = numSamples();
    m_embedded.valuesPerSample = m_valuesPerSample;
    m_embedded.times = m_times.data();
    m_embedded.values = m_values.data();
}

template <typename T> auto DataValue<T>::sampleValues(int64_t index) const -> const Element* {
    if (index < 0 || index >= numSamples() || m_valuesPerSample == 0)
        return nullptr;
    if constexpr (std::is_same_v<T, std::string>)
        return m_cstrings.data() + index * m_valuesPerSample;
    else
        return m_values.data() + index * m_valuesPerSample;
}

template <typename T> const QnSampleAccessor* DataValue<T>::accessor() const {
    if (numSamples() == 1)
        return &m_embedded;
    auto* allocated = new AllocatedAccessor{};
    allocated->pointers = new const void*[static_cast<size_t>(numSamples())];
    for (int64_t i = 0; i < numSamples(); ++i)
        allocated->pointers[i] = m_values.data() + i * m_valuesPerSample;
    allocated->record.flags = QN_SAMPLE_ACCESSOR_HAND_BACK;
    allocated->record.numSamples = numSamples();
    allocated->record.valuesPerSample = m_valuesPerSample;
    allocated->record.times = m_times.data();
    allocated->record.values = allocated->pointers;
    allocated->owner = this;
    retain();
    return &allocated->record;
}

template <typename T> bool DataValue<T>::sameContent(const AttributeValue& other) const {
    const auto& o = static_cast<const DataValue<T>&>(other);
    return m_tupleSize == o.m_tupleSize && m_valuesPerSample == o.m_valuesPerSample &&
           sameValues(m_times, o.m_times) && sameValues(m_values, o.m_values);
}

template <typename T> void DataValue<T>::encode(ByteSink& sink) const {
    sink.u8(static_cast<uint8_t>(kKind));
    sink.i64(m_tupleSize);
    sink.i64(numSamples());
    sink.i64(m_valuesPerSample);
    for (float t : m_times)
        sink.f32(t);
    for (const T& v : m_values)
        encodeValue(sink, v);
}

void releaseAccessor(const QnSampleAccessor* record) {
    if (!record || !(record->flags & QN_SAMPLE_ACCESSOR_HAND_BACK))
        return;
    const auto* allocated = reinterpret_cast<const AllocatedAccessor*>(record);
    const AttributeValue* owner = allocated->owner;
    delete[] allocated->pointers;
    delete allocated;
    owner->release();
}

template class DataValue<int32_t>;
template class DataValue<float>;
template class DataValue<double>;
template class DataValue<std::string>;

} // namespace VexilHost
