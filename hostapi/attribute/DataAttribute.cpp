#include "hostapi/attribute/DataAttribute.h"

#include "hostapi/attribute/SampleSearch.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <stdexcept>

namespace Qn {

namespace {

/// The suite entries and messages that differ between the numeric kinds.
template <typename T> struct NumericTraits;

template <> struct NumericTraits<int32_t> {
    static constexpr const char* kGetError = "Error getting int value from IntAttribute.";
    static QnAttributeHandle create(const AttributeHostSuite* s, const float* t, int64_t n,
                                    const int32_t* const* v, int64_t c, int64_t ts) {
        return s ? s->createIntSamples(t, n, v, c, ts) : nullptr;
    }
    static const int32_t* nearest(const AttributeHostSuite* s, QnAttributeHandle h, float t, int64_t* n) {
        return s->getIntNearestSample(h, t, n);
    }
};

template <> struct NumericTraits<float> {
    static constexpr const char* kGetError = "Error getting float value from FloatAttribute.";
    static constexpr const char* kFillError = "Error filling interpolated float value from FloatAttribute.";
    static constexpr const char* kCountError =
        "Error interpolating FloatAttribute. Attrs do not have sufficient value counts.";
    static QnAttributeHandle create(const AttributeHostSuite* s, const float* t, int64_t n,
                                    const float* const* v, int64_t c, int64_t ts) {
        return s ? s->createFloatSamples(t, n, v, c, ts) : nullptr;
    }
    static const float* nearest(const AttributeHostSuite* s, QnAttributeHandle h, float t, int64_t* n) {
        return s->getFloatNearestSample(h, t, n);
    }
};

template <> struct NumericTraits<double> {
    static constexpr const char* kGetError = "Error getting double value from DoubleAttribute.";
    static constexpr const char* kFillError = "Error filling interpolated double value from DoubleAttribute.";
    static constexpr const char* kCountError =
        "Error interpolating DoubleAttribute. Attrs do not have sufficient value counts.";
    static QnAttributeHandle create(const AttributeHostSuite* s, const float* t, int64_t n,
                                    const double* const* v, int64_t c, int64_t ts) {
        return s ? s->createDoubleSamples(t, n, v, c, ts) : nullptr;
    }
    static const double* nearest(const AttributeHostSuite* s, QnAttributeHandle h, float t, int64_t* n) {
        return s->getDoubleNearestSample(h, t, n);
    }
};

/// The values of sample `index` of a sample record, in either of its layouts.
template <typename T> const T* recordSample(const QnSampleAccessor& record, int64_t index) {
    if (record.flags & QN_SAMPLE_ACCESSOR_CONTIGUOUS)
        return static_cast<const T*>(record.values) + index * record.valuesPerSample;
    return static_cast<const T* const*>(record.values)[index];
}

/// The values of the record's sample nearest to `time` (earliest on a tie), or null.
template <typename T> const T* nearestInRecord(const QnSampleAccessor* record, float time, int64_t& count) {
    count = 0;
    if (!record || record->numSamples <= 0)
        return nullptr;
    count = record->valuesPerSample;
    return recordSample<T>(*record, nearestSampleIndex(record->times, record->numSamples, time));
}

/// The host's sample record of a handle (null when it gives none), handed back on every way out when
/// the host asks for that. The handle must outlive it.
class SampleRecord {
public:
    SampleRecord(const AttributeHostSuite* s, QnAttributeHandle h, int32_t code)
        : m_suite(s), m_record(s->getSampleAccessor(h, code, 1)) {}
    ~SampleRecord() {
        if (m_record && (m_record->flags & QN_SAMPLE_ACCESSOR_HAND_BACK))
            m_suite->releaseSampleAccessor(m_record);
    }
    SampleRecord(const SampleRecord&) = delete;
    SampleRecord& operator=(const SampleRecord&) = delete;
    const QnSampleAccessor* get() const { return m_record; }

private:
    const AttributeHostSuite* m_suite;
    const QnSampleAccessor* m_record;
};

using CopiedTimes = boost::container::small_vector_base<float>;
using CopiedValues = boost::container::small_vector_base<double>;

/// Copies the times and the first `count` values of every sample of a record of values T; false when
/// it has no sample or its samples hold fewer values.
template <typename T>
bool copyRecord(const QnSampleAccessor& record, size_t count, CopiedTimes& times, CopiedValues& values) {
    const size_t numSamples = static_cast<size_t>(std::max<int64_t>(record.numSamples, 0));
    const size_t perSample = static_cast<size_t>(std::max<int64_t>(record.valuesPerSample, 0));
    const bool usable = numSamples > 0 && perSample >= count;
    if (!usable)
        return false;
    // Sized once and written in place: an append per value or per sample costs a capacity check each.
    times.resize(numSamples, boost::container::default_init);
    values.resize(numSamples * count, boost::container::default_init);
    double* out = values.data();
    for (size_t i = 0; i < numSamples; ++i) {
        times[i] = record.times[i];
        out = std::copy_n(recordSample<T>(record, static_cast<int64_t>(i)), count, out);
    }
    return true;
}

/// Copies sample by sample: each sample's time, then the values nearest to it, each a call.
template <class A>
bool copyNearestSamples(const A& attr, size_t count, CopiedTimes& times, CopiedValues& values) {
    const int64_t numSamples = attr.getNumberOfTimeSamples();
    times.resize(static_cast<size_t>(std::max<int64_t>(numSamples, 0)));
    for (size_t i = 0; i < times.size(); ++i)
        times[i] = attr.getSampleTime(static_cast<int64_t>(i));
    values.resize(times.size() * count, boost::container::default_init);
    double* out = values.data();
    for (float t : times) {
        const auto view = attr.getNearestSample(t);
        if (view.size < 0 || static_cast<size_t>(view.size) < count)
            return false;
        out = std::copy_n(view.data, count, out);
    }
    return !times.empty();
}

/// Creates a multi-sample attribute; null when the samples do not all hold the same count.
template <typename Value, typename Create>
QnAttributeHandle createFromMap(const std::map<float, std::vector<Value>>& samples, Create&& create) {
    if (samples.empty())
        return nullptr;
    std::vector<float> times;
    std::vector<const Value*> pointers;
    times.reserve(samples.size());
    pointers.reserve(samples.size());
    const size_t count = samples.begin()->second.size();
    for (const auto& [time, values] : samples) {
        if (values.size() != count)
            return nullptr;
        times.push_back(time);
        pointers.push_back(values.data());
    }
    return create(times.data(), static_cast<int64_t>(times.size()), pointers.data(),
                  static_cast<int64_t>(count));
}

} // namespace

// ---- DataAttribute ----

int64_t DataAttribute::getNumberOfValues() const {
    return m_handle ? suite()->getNumberOfValues(m_handle) : 0;
}

int64_t DataAttribute::getTupleSize() const {
    return m_handle ? suite()->getTupleSize(m_handle) : 0;
}

int64_t DataAttribute::getNumberOfTimeSamples() const {
    return m_handle ? suite()->getNumberOfTimeSamples(m_handle) : 0;
}

float DataAttribute::getSampleTime(int64_t index) const {
    return m_handle ? suite()->getSampleTime(m_handle, index) : 0.0f;
}

std::vector<float> DataAttribute::getSampleTimes() const {
    std::vector<float> times(static_cast<size_t>(getNumberOfTimeSamples()));
    for (size_t i = 0; i < times.size(); ++i)
        times[i] = suite()->getSampleTime(m_handle, static_cast<int64_t>(i));
    return times;
}

// ---- NumericAttribute ----

template <typename T, int32_t Code>
NumericAttribute<T, Code>::NumericAttribute(T value) : NumericAttribute(&value, 1, 1) {}

template <typename T, int32_t Code>
NumericAttribute<T, Code>::NumericAttribute(const T* values, int64_t count, int64_t tupleSize) {
    const float time = 0.0f;
    m_handle = NumericTraits<T>::create(suite(), &time, 1, &values, count, tupleSize);
}

template <typename T, int32_t Code>
NumericAttribute<T, Code>::NumericAttribute(const std::map<float, std::vector<T>>& samples,
                                            int64_t tupleSize) {
    m_handle = createFromMap(samples, [&](const float* t, int64_t n, const T* const* v, int64_t c) {
        return NumericTraits<T>::create(suite(), t, n, v, c, tupleSize);
    });
}

template <typename T, int32_t Code>
NumericAttribute<T, Code>::NumericAttribute(const float* times, int64_t numSamples, const T* const* values,
                                            int64_t valuesPerSample, int64_t tupleSize) {
    m_handle = NumericTraits<T>::create(suite(), times, numSamples, values, valuesPerSample, tupleSize);
}

template <typename T, int32_t Code>
SampleView<T> NumericAttribute<T, Code>::getNearestSample(float time) const {
    SampleView<T> view;
    if (m_handle)
        view.data = NumericTraits<T>::nearest(suite(), m_handle, time, &view.size);
    if (!view.data)
        view.size = 0;
    return view;
}

template <typename T, int32_t Code>
T NumericAttribute<T, Code>::getValue(T defaultValue, bool throwOnError) const {
    const SampleView<T> view = getNearestSample(0.0f);
    if (!view.empty())
        return view[0];
    if (throwOnError)
        throw std::runtime_error(NumericTraits<T>::kGetError);
    return defaultValue;
}

template <typename T, int32_t Code>
bool NumericAttribute<T, Code>::copySamples(size_t count, CopiedTimes& times, CopiedValues& values) const {
    if (!m_handle)
        return false;
    // The host keeps records for floats and doubles only: for an int the call would be wasted.
    if constexpr (Code != QN_ATTRIBUTE_TYPE_INT) {
        const SampleRecord record(suite(), m_handle, Code);
        if (record.get())
            return copyRecord<T>(*record.get(), count, times, values);
    }
    return copyNearestSamples(*this, count, times, values);
}

// ---- InterpolatedAttribute ----

template <typename T, int32_t Code>
void InterpolatedAttribute<T, Code>::fillInterpolatedValues(T* out, int64_t count, float time, T defaultValue,
                                                            bool throwOnError) const {
    const QnAttributeHandle handle = this->m_handle;
    if (!out || !handle) {
        if (throwOnError)
            throw std::runtime_error(NumericTraits<T>::kFillError);
        return;
    }
    const AttributeHostSuite* s = Attribute::suite();
    float left = 0.0f, right = 0.0f;
    s->getBoundingSampleTimes(handle, time, &left, &right);

    // The attribute is retained while the record is held, and released after it is handed back.
    const Attribute retained = Attribute::share(handle);
    const SampleRecord record(s, handle, Code);
    int64_t leftCount = 0, rightCount = 0;
    const T* leftValues = nearestInRecord<T>(record.get(), left, leftCount);
    const T* rightValues = nearestInRecord<T>(record.get(), right, rightCount);
    // Both samples come from one attribute and hold the same count; the larger is taken on purpose.
    const int64_t available = std::max(leftCount, rightCount);
    if (throwOnError && available < count)
        throw std::runtime_error(NumericTraits<T>::kCountError);

    const int64_t n = std::min(available, count);
    if (n > 0 && leftValues && rightValues) {
        if (left == right) {
            std::copy(leftValues, leftValues + n, out);
        } else {
            const T w = (static_cast<T>(time) - static_cast<T>(left)) /
                        (static_cast<T>(right) - static_cast<T>(left));
            for (int64_t i = 0; i < n; ++i)
                out[i] = leftValues[i] + (rightValues[i] - leftValues[i]) * w;
        }
    }
    for (int64_t i = std::max<int64_t>(n, 0); i < count; ++i)
        out[i] = defaultValue;
}

template class NumericAttribute<int32_t, QN_ATTRIBUTE_TYPE_INT>;
template class NumericAttribute<float, QN_ATTRIBUTE_TYPE_FLOAT>;
template class NumericAttribute<double, QN_ATTRIBUTE_TYPE_DOUBLE>;
template class InterpolatedAttribute<float, QN_ATTRIBUTE_TYPE_FLOAT>;
template class InterpolatedAttribute<double, QN_ATTRIBUTE_TYPE_DOUBLE>;

// ---- StringAttribute ----

StringAttribute::StringAttribute(const std::string& value) {
    if (const AttributeHostSuite* s = suite())
        m_handle = s->createString(value.c_str());
}

StringAttribute::StringAttribute(const std::vector<std::string>& values, int64_t tupleSize) {
    std::vector<const char*> pointers;
    pointers.reserve(values.size());
    for (const std::string& v : values)
        pointers.push_back(v.c_str());
    const float time = 0.0f;
    const char* const* sample = pointers.data();
    if (const AttributeHostSuite* s = suite())
        m_handle =
            s->createStringSamples(&time, 1, &sample, static_cast<int64_t>(pointers.size()), tupleSize);
}

StringAttribute::StringAttribute(const std::map<float, std::vector<std::string>>& samples,
                                 int64_t tupleSize) {
    const AttributeHostSuite* s = suite();
    if (!s)
        return;
    std::map<float, std::vector<const char*>> pointers;
    for (const auto& [time, values] : samples) {
        std::vector<const char*>& p = pointers[time];
        p.reserve(values.size());
        for (const std::string& v : values)
            p.push_back(v.c_str());
    }
    m_handle =
        createFromMap(pointers, [&](const float* t, int64_t n, const char* const* const* v, int64_t c) {
            return s->createStringSamples(t, n, v, c, tupleSize);
        });
}

SampleView<const char*> StringAttribute::getNearestSample(float time) const {
    SampleView<const char*> view;
    if (m_handle)
        view.data = suite()->getStringNearestSample(m_handle, time, &view.size);
    if (!view.data)
        view.size = 0;
    return view;
}

std::vector<std::string> StringAttribute::getNearestSampleStrings(float time) const {
    const SampleView<const char*> view = getNearestSample(time);
    return std::vector<std::string>(view.begin(), view.end());
}

std::string StringAttribute::getValue(const std::string& defaultValue, bool throwOnError) const {
    const SampleView<const char*> view = getNearestSample(0.0f);
    if (!view.empty())
        return view[0];
    if (throwOnError)
        throw std::runtime_error("Error getting string value from StringAttribute.");
    return defaultValue;
}

} // namespace Qn
