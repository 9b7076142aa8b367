// Data attributes: time samples of flat value arrays with a tuple size, for int, float, double and
// string values.
#pragma once

#include "host/attribute/AttributeValue.h"

#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

namespace VexilHost {

/// True when the arguments of a creation entry describe a valid attribute: at least one sample,
/// strictly ascending finite times, a positive tuple size dividing the values per sample, and a value
/// pointer for every sample that holds values.
bool validSampleLayout(const float* times, int64_t numSamples, const void* const* values,
                       int64_t valuesPerSample, int64_t tupleSize);

/// A data attribute of element type T: int32_t, float, double or std::string. The object, its values
/// (sample i starts at i * valuesPerSample), for strings a C string pointer per value, and its times
/// share one allocation, made by create().
template <typename T> class DataValue final : public AttributeValue {
public:
    /// The element type handed out by the nearest-sample entries (const char* for strings).
    using Element = std::conditional_t<std::is_same_v<T, std::string>, const char*, T>;
    static const int32_t kKind;

    /// A new value (one reference, owned by the caller) of `numSamples` times and
    /// numSamples * valuesPerSample values, which `fill(float* times, T* values)` writes in place;
    /// what `fill` throws is passed on after the value is freed. Arguments validated by the caller.
    template <typename Fill>
    static DataValue* create(int64_t numSamples, int64_t valuesPerSample, int64_t tupleSize, Fill&& fill);

    int64_t numSamples() const { return m_numSamples; }
    int64_t valuesPerSample() const { return m_valuesPerSample; }
    int64_t tupleSize() const { return m_tupleSize; }
    /// The numSamples() ascending sample times.
    const float* times() const { return m_times; }
    /// The first value of sample `index`; valid while this attribute lives.
    const Element* sampleValues(int64_t index) const;

    /// The record of the sample accessor entry: embedded for a single sample (contiguous, not handed
    /// back), allocated for several (one pointer per sample, handed back, holding a reference). The
    /// array of pointers is made on first use and shared by every record, so each costs the same
    /// whatever the number of samples.
    const QnSampleAccessor* accessor() const;

    void encodeForHash(ByteSink& sink) const override { encode(sink); }
    void serialise(ByteSink& sink) const override { encode(sink); }

    /// Frees the block made by create().
    static void operator delete(void* block) { ::operator delete(block); }

protected:
    bool sameContent(const AttributeValue& other) const override;

private:
    static constexpr bool kIsString = std::is_same_v<T, std::string>;

    /// Lays the arrays out right after the object, in a block of blockSize() bytes; strings start empty.
    DataValue(int64_t numSamples, int64_t valuesPerSample, int64_t tupleSize);
    ~DataValue() override;
    /// The bytes of the object and its arrays; throws std::bad_alloc for counts no block could hold.
    static size_t blockSize(int64_t numSamples, int64_t valuesPerSample);
    int64_t numValues() const { return m_numSamples * m_valuesPerSample; }
    /// For strings: points every C string pointer at its string, once the strings are filled.
    void finish();
    void encode(ByteSink& sink) const;

    int64_t m_numSamples;
    int64_t m_valuesPerSample;
    int64_t m_tupleSize;
    T* m_values;
    const char** m_cstrings; ///< null unless T is std::string
    float* m_times;
    QnSampleAccessor m_embedded{};
    /// The first value of each sample, made by the first accessor() of several samples.
    mutable std::atomic<const void**> m_samplePointers{nullptr};
};

template <typename T>
template <typename Fill>
DataValue<T>* DataValue<T>::create(int64_t numSamples, int64_t valuesPerSample, int64_t tupleSize,
                                   Fill&& fill) {
    static_assert(alignof(DataValue) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    void* block = ::operator new(blockSize(numSamples, valuesPerSample));
    DataValue* value = new (block) DataValue(numSamples, valuesPerSample, tupleSize);
    try {
        fill(value->m_times, value->m_values);
    } catch (...) {
        delete value;
        throw;
    }
    value->finish();
    return value;
}

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
