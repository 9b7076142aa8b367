#include "host/attribute/DataValue.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

namespace VexilHost {

namespace {

/// An allocated accessor record: plain members only, so the record's address is the struct's.
struct AllocatedAccessor {
    QnSampleAccessor record;
    const AttributeValue* owner;
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

template <typename T> bool sameValues(const T* a, const T* b, int64_t n) {
    if constexpr (std::is_same_v<T, std::string>)
        return std::equal(a, a + n, b);
    else // bitwise, matching the hash: 0.0 and -0.0 differ, a NaN equals the same NaN
        return n == 0 || std::memcmp(a, b, static_cast<size_t>(n) * sizeof(T)) == 0;
}

/// `offset` rounded up to a multiple of `alignment`, a power of two.
constexpr size_t alignUp(size_t offset, size_t alignment) {
    return (offset + alignment - 1) & ~(alignment - 1);
}

} // namespace

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

template <typename T> size_t DataValue<T>::blockSize(int64_t numSamples, int64_t valuesPerSample) {
    // Counts no block could hold fail like any allocation, before a product can overflow.
    constexpr size_t perValue = sizeof(T) + (kIsString ? sizeof(const char*) : 0);
    constexpr int64_t limit = static_cast<int64_t>((PTRDIFF_MAX / 4) / perValue);
    if (numSamples < 1 || numSamples > limit || valuesPerSample < 0 || valuesPerSample > limit / numSamples)
        throw std::bad_alloc();
    const size_t numValues = static_cast<size_t>(numSamples * valuesPerSample);
    size_t size = alignUp(sizeof(DataValue), alignof(T)) + numValues * sizeof(T);
    if constexpr (kIsString)
        size = alignUp(size, alignof(const char*)) + numValues * sizeof(const char*);
    return alignUp(size, alignof(float)) + static_cast<size_t>(numSamples) * sizeof(float);
}

template <typename T>
DataValue<T>::DataValue(int64_t numSamples, int64_t valuesPerSample, int64_t tupleSize)
    : AttributeValue(kKind), m_numSamples(numSamples), m_valuesPerSample(valuesPerSample),
      m_tupleSize(tupleSize), m_cstrings(nullptr) {
    // The arrays follow the object in the order blockSize() counts them.
    auto* base = reinterpret_cast<unsigned char*>(this);
    const size_t count = static_cast<size_t>(numValues());
    size_t offset = alignUp(sizeof(DataValue), alignof(T));
    m_values = reinterpret_cast<T*>(base + offset);
    if constexpr (kIsString) {
        std::uninitialized_value_construct_n(m_values, count);
        offset = alignUp(offset + count * sizeof(T), alignof(const char*));
        m_cstrings = reinterpret_cast<const char**>(base + offset);
        offset += count * sizeof(const char*);
    } else {
        offset += count * sizeof(T);
    }
    m_times = reinterpret_cast<float*>(base + alignUp(offset, alignof(float)));
    m_embedded.flags = QN_SAMPLE_ACCESSOR_CONTIGUOUS;
    m_embedded.numSamples = m_numSamples;
    m_embedded.valuesPerSample = m_valuesPerSample;
    m_embedded.times = m_times;
    m_embedded.values = m_values;
}

template <typename T> DataValue<T>::~DataValue() {
    if constexpr (kIsString)
        std::destroy_n(m_values, static_cast<size_t>(numValues()));
    delete[] m_samplePointers.load(std::memory_order_acquire);
}

template <typename T> void DataValue<T>::finish() {
    if constexpr (kIsString) {
        for (int64_t i = 0; i < numValues(); ++i)
            m_cstrings[i] = m_values[i].c_str();
    }
}

template <typename T> auto DataValue<T>::sampleValues(int64_t index) const -> const Element* {
    if (index < 0 || index >= numSamples() || m_valuesPerSample == 0)
        return nullptr;
    if constexpr (kIsString)
        return m_cstrings + index * m_valuesPerSample;
    else
        return m_values + index * m_valuesPerSample;
}

template <typename T> const QnSampleAccessor* DataValue<T>::accessor() const {
    if (numSamples() == 1)
        return &m_embedded;
    const void** pointers = m_samplePointers.load(std::memory_order_acquire);
    if (!pointers) {
        // Made once per attribute: a copy per record would make every lookup through a record cost
        // as much as the number of samples. Two threads may race; the first array is kept.
        std::unique_ptr<const void*[]> made(new const void*[static_cast<size_t>(numSamples())]);
        for (int64_t i = 0; i < numSamples(); ++i)
            made[static_cast<size_t>(i)] = m_values + i * m_valuesPerSample;
        if (m_samplePointers.compare_exchange_strong(pointers, made.get(), std::memory_order_acq_rel))
            pointers = made.release();
    }
    auto* allocated = new AllocatedAccessor{};
    allocated->record.flags = QN_SAMPLE_ACCESSOR_HAND_BACK;
    allocated->record.numSamples = numSamples();
    allocated->record.valuesPerSample = m_valuesPerSample;
    allocated->record.times = m_times;
    allocated->record.values = pointers;
    allocated->owner = this;
    retain();
    return &allocated->record;
}

template <typename T> bool DataValue<T>::sameContent(const AttributeValue& other) const {
    const auto& o = static_cast<const DataValue<T>&>(other);
    return m_tupleSize == o.m_tupleSize && m_valuesPerSample == o.m_valuesPerSample &&
           m_numSamples == o.m_numSamples && sameValues(m_times, o.m_times, m_numSamples) &&
           sameValues(m_values, o.m_values, numValues());
}

template <typename T> void DataValue<T>::encode(ByteSink& sink) const {
    sink.u8(static_cast<uint8_t>(kKind));
    sink.i64(m_tupleSize);
    sink.i64(numSamples());
    sink.i64(m_valuesPerSample);
    for (int64_t i = 0; i < m_numSamples; ++i)
        sink.f32(m_times[i]);
    for (int64_t i = 0; i < numValues(); ++i)
        encodeValue(sink, m_values[i]);
}

void releaseAccessor(const QnSampleAccessor* record) {
    if (!record || !(record->flags & QN_SAMPLE_ACCESSOR_HAND_BACK))
        return;
    const auto* allocated = reinterpret_cast<const AllocatedAccessor*>(record);
    const AttributeValue* owner = allocated->owner;
    delete allocated;
    owner->release();
}

template class DataValue<int32_t>;
template class DataValue<float>;
template class DataValue<double>;
template class DataValue<std::string>;

} // namespace VexilHost
