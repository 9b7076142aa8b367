// The C entry points of the AttributeHost suite and the exported service table. Every entry is
// safe on a null handle and never lets an exception out.
#include "host/attribute/AttributeHostExtensionSuite.h"
#include "host/attribute/CaughtException.h"
#include "host/attribute/DataValue.h"
#include "host/attribute/GroupBuilderState.h"
#include "host/attribute/GroupValue.h"
#include "host/attribute/Serialiser.h"
#include "hostapi/attribute/SampleSearch.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <new>

namespace VexilHost {
namespace {

const AttributeValue* val(QnAttributeHandle h) {
    return AttributeValue::fromHandle(h);
}
QnAttributeHandle handleOf(const AttributeValue* v) {
    return AttributeValue::toHandle(v);
}
GroupBuilderState* builderOf(QnGroupBuilderHandle h) {
    return reinterpret_cast<GroupBuilderState*>(h);
}

/// Reports the exception being handled, caught by the entry `entry`, as one line on standard error:
/// this library has no location to mark, and a failure must not pass unseen. Never throws.
void reportFailure(const char* entry) noexcept {
    std::cerr << "QnAttributeHost: " << entry << " failed: " << caughtExceptionText() << '\n';
}

/// A string attribute holding `text`, or null when even that cannot be made (then `text` goes to
/// standard error, so that the error is not lost).
QnAttributeHandle errorText(const std::string& text) {
    try {
        return handleOf(StringValue::create(1, 1, 1, [&text](float* times, std::string* values) {
            times[0] = 0.0f;
            values[0] = text;
        }));
    } catch (...) {
        std::cerr << "QnAttributeHost: an error attribute failed: " << caughtExceptionText()
                  << "; the error was: " << text << '\n';
        return nullptr;
    }
}

template <typename T> const DataValue<T>* asData(QnAttributeHandle h) {
    const AttributeValue* v = val(h);
    return v && v->kind() == DataValue<T>::kKind ? static_cast<const DataValue<T>*>(v) : nullptr;
}

const GroupValue* asGroup(QnAttributeHandle h) {
    const AttributeValue* v = val(h);
    return v && v->kind() == QN_ATTRIBUTE_TYPE_GROUP ? static_cast<const GroupValue*>(v) : nullptr;
}

/// Calls `f` on the data attribute behind `h`, whatever its element type; `fallback` otherwise.
template <typename R, typename F> R withData(QnAttributeHandle h, R fallback, F&& f) {
    const AttributeValue* v = val(h);
    if (!v)
        return fallback;
    switch (v->kind()) {
    case QN_ATTRIBUTE_TYPE_INT:
        return f(*static_cast<const IntValue*>(v));
    case QN_ATTRIBUTE_TYPE_FLOAT:
        return f(*static_cast<const FloatValue*>(v));
    case QN_ATTRIBUTE_TYPE_DOUBLE:
        return f(*static_cast<const DoubleValue*>(v));
    case QN_ATTRIBUTE_TYPE_STRING:
        return f(*static_cast<const StringValue*>(v));
    default:
        return fallback;
    }
}

/// A length below zero means a NUL-terminated name.
std::string_view nameOf(const char* name, int32_t length) {
    if (!name)
        return {};
    return length < 0 ? std::string_view(name) : std::string_view(name, static_cast<size_t>(length));
}

QnAttributeHandle deserialise(const void* bytes, int64_t length, QnAttributeHandle* errorOut) {
    if (errorOut)
        *errorOut = nullptr;
    std::string error;
    const AttributeValue* v = nullptr;
    if (length < 0)
        error = "Corrupt serialised attribute: negative length.";
    else
        v = deserialiseAttribute(static_cast<const uint8_t*>(bytes), static_cast<size_t>(length), error);
    if (!v && errorOut)
        *errorOut = errorText(error);
    return handleOf(v);
}

uint8_t serialise(QnAttributeHandle attr, void* context, QnWriteCallback write, QnAttributeHandle* errorOut,
                  int32_t formatSelector) {
    if (errorOut)
        *errorOut = nullptr;
    std::string error;
    if (!attr)
        error = "Cannot serialise a null attribute.";
    else if (!write)
        error = "No writer given for serialisation.";
    else if (formatSelector != 0 && formatSelector != 1)
        error = "Unknown serialisation format " + std::to_string(formatSelector) + ".";
    if (error.empty()) {
        try {
            const std::vector<uint8_t> bytes = serialiseAttribute(*val(attr));
            if (write(context, bytes.data(), static_cast<int64_t>(bytes.size())))
                return 1;
            error = "Serialisation stopped by the writer.";
        } catch (const std::bad_alloc&) {
            error = "Out of memory while serialising.";
        }
    }
    if (errorOut)
        *errorOut = errorText(error);
    return 0;
}

int32_t getType(QnAttributeHandle attr) {
    return attr ? val(attr)->kind() : QN_ATTRIBUTE_TYPE_NULL;
}

void retain(QnAttributeHandle attr) {
    if (attr)
        val(attr)->retain();
}

void release(QnAttributeHandle attr) {
    if (attr)
        val(attr)->release();
}

void getLiveCounts(int64_t* attributes, int64_t* builders) {
    if (attributes)
        *attributes = LiveCounts::attributes.sum();
    if (builders)
        *builders = LiveCounts::builders.sum();
}

void getHash(QnAttributeHandle attr, uint64_t hashOut[2]) {
    if (!hashOut)
        return;
    hashOut[0] = hashOut[1] = 0;
    if (attr)
        val(attr)->hash(hashOut); // allocates nothing and cannot fail
}

int64_t getNumberOfTimeSamples(QnAttributeHandle attr) {
    return withData<int64_t>(attr, 0, [](const auto& d) { return d.numSamples(); });
}

int64_t getNumberOfValues(QnAttributeHandle attr) {
    return withData<int64_t>(attr, 0, [](const auto& d) { return d.valuesPerSample(); });
}

float getSampleTime(QnAttributeHandle attr, int64_t index) {
    return withData<float>(attr, 0.0f, [index](const auto& d) {
        return index >= 0 && index < d.numSamples() ? d.times()[index] : 0.0f;
    });
}

int64_t getTupleSize(QnAttributeHandle attr) {
    return withData<int64_t>(attr, 0, [](const auto& d) { return d.tupleSize(); });
}

int64_t getNumberOfChildren(QnAttributeHandle group) {
    const GroupValue* g = asGroup(group);
    return g ? g->numChildren() : 0;
}

void getBoundingSampleTimes(QnAttributeHandle attr, float time, float* left, float* right) {
    float l = 0.0f, r = 0.0f;
    withData<int>(attr, 0, [&](const auto& d) {
        Qn::boundingSampleTimes(d.times(), d.numSamples(), time, l, r);
        return 0;
    });
    if (left)
        *left = l;
    if (right)
        *right = r;
}

/// A new data attribute of the caller's samples, or null for invalid input (see validSampleLayout;
/// a null string gives no value either) or a failure, which is reported as entry `entry`'s.
template <typename T, typename In>
QnAttributeHandle createSamples(const char* entry, const float* times, int64_t numSamples,
                                const In* const* values, int64_t valuesPerSample, int64_t tupleSize) {
    if (!validSampleLayout(times, numSamples, reinterpret_cast<const void* const*>(values), valuesPerSample,
                           tupleSize))
        return nullptr;
    if constexpr (std::is_same_v<T, std::string>) {
        for (int64_t i = 0; i < numSamples && valuesPerSample > 0; ++i)
            if (std::find(values[i], values[i] + valuesPerSample, nullptr) != values[i] + valuesPerSample)
                return nullptr;
    }
    try {
        // Straight from the caller's arrays into the value's own block.
        return handleOf(DataValue<T>::create(numSamples, valuesPerSample, tupleSize, [&](float* t, T* v) {
            std::copy(times, times + numSamples, t);
            for (int64_t i = 0; i < numSamples && valuesPerSample > 0; ++i)
                v = std::copy(values[i], values[i] + valuesPerSample, v);
        }));
    } catch (...) {
        reportFailure(entry);
        return nullptr;
    }
}

QnAttributeHandle createIntSamples(const float* t, int64_t n, const int32_t* const* v, int64_t c, int64_t s) {
    return createSamples<int32_t>("createIntSamples", t, n, v, c, s);
}
QnAttributeHandle createFloatSamples(const float* t, int64_t n, const float* const* v, int64_t c, int64_t s) {
    return createSamples<float>("createFloatSamples", t, n, v, c, s);
}
QnAttributeHandle createDoubleSamples(const float* t, int64_t n, const double* const* v, int64_t c,
                                      int64_t s) {
    return createSamples<double>("createDoubleSamples", t, n, v, c, s);
}
QnAttributeHandle createStringSamples(const float* t, int64_t n, const char* const* const* v, int64_t c,
                                      int64_t s) {
    return createSamples<std::string>("createStringSamples", t, n, v, c, s);
}

uint8_t isEqual(QnAttributeHandle a, QnAttributeHandle b) {
    if (!a || !b)
        return a == b;
    return val(a)->contentEquals(*val(b)) ? 1 : 0;
}

const char* getChildName(QnAttributeHandle group, int64_t index, int32_t* lengthOut) {
    const GroupValue* g = asGroup(group);
    const GroupChild* c = g ? g->child(index) : nullptr;
    if (lengthOut)
        *lengthOut = c ? static_cast<int32_t>(c->name.size()) : 0;
    return c ? c->name.data() : nullptr;
}

QnAttributeHandle createString(const char* text) {
    if (!text)
        return nullptr;
    const float time = 0.0f;
    const char* const* values = &text;
    return createSamples<std::string>("createString", &time, 1, &values, 1, 1);
}

QnAttributeHandle getChildByIndex(QnAttributeHandle group, int64_t index) {
    const GroupValue* g = asGroup(group);
    const GroupChild* c = g ? g->child(index) : nullptr;
    if (!c)
        return nullptr;
    c->value->retain();
    return handleOf(c->value);
}

QnAttributeHandle getChildByName(QnAttributeHandle group, const char* name, int32_t length) {
    const GroupValue* g = asGroup(group);
    if (!g || !name)
        return nullptr;
    const AttributeValue* c = g->find(nameOf(name, length));
    if (!c)
        return nullptr;
    c->retain();
    return handleOf(c);
}

template <typename T> QnAttributeHandle createOne(const char* entry, T value) {
    const float time = 0.0f;
    const T* values = &value;
    return createSamples<T>(entry, &time, 1, &values, 1, 1);
}
QnAttributeHandle createInt(int32_t value) {
    return createOne("createInt", value);
}
QnAttributeHandle createFloat(float value) {
    return createOne("createFloat", value);
}
QnAttributeHandle createDouble(double value) {
    return createOne("createDouble", value);
}

QnGroupBuilderHandle createBuilder(const char* entry, bool literal) {
    try {
        return reinterpret_cast<QnGroupBuilderHandle>(new GroupBuilderState(literal));
    } catch (...) {
        reportFailure(entry);
        return nullptr;
    }
}
QnGroupBuilderHandle createGroupBuilder() {
    return createBuilder("createGroupBuilder", false);
}
QnGroupBuilderHandle createGroupBuilderWithMode(uint8_t mode) {
    return createBuilder("createGroupBuilderWithMode", mode == QN_GROUP_BUILDER_MODE_LITERAL);
}

void releaseGroupBuilder(QnGroupBuilderHandle builder) {
    delete builderOf(builder);
}

void groupBuilderSet(QnGroupBuilderHandle builder, const char* name, int32_t length, QnAttributeHandle attr) {
    if (!builder || !name || !attr)
        return;
    try {
        builderOf(builder)->set(nameOf(name, length), val(attr));
    } catch (...) {
        reportFailure("groupBuilderSet"); // the builder keeps what it had
    }
}

void groupBuilderDelete(QnGroupBuilderHandle builder, const char* name, int32_t length) {
    if (!builder || !name)
        return;
    try {
        builderOf(builder)->remove(nameOf(name, length));
    } catch (...) {
        reportFailure("groupBuilderDelete");
    }
}

void groupBuilderUpdate(QnGroupBuilderHandle builder, QnAttributeHandle group) {
    const GroupValue* g = asGroup(group);
    if (!builder || !g)
        return;
    try {
        builderOf(builder)->update(*g);
    } catch (...) {
        reportFailure("groupBuilderUpdate");
    }
}

QnAttributeHandle groupBuilderBuild(QnGroupBuilderHandle builder, uint8_t flag) {
    if (!builder)
        return nullptr;
    try {
        const GroupValue* g = builderOf(builder)->build();
        if (flag & 1)
            builderOf(builder)->clear();
        return handleOf(g);
    } catch (...) {
        reportFailure("groupBuilderBuild");
        return nullptr;
    }
}

template <typename T>
const typename DataValue<T>::Element* nearestSample(QnAttributeHandle attr, float time, int64_t* countOut) {
    const DataValue<T>* d = asData<T>(attr);
    const int64_t index = d ? Qn::nearestSampleIndex(d->times(), d->numSamples(), time) : -1;
    const auto* values = d ? d->sampleValues(index) : nullptr;
    if (countOut)
        *countOut = values ? d->valuesPerSample() : 0;
    return values;
}
const int32_t* getIntNearestSample(QnAttributeHandle a, float t, int64_t* n) {
    return nearestSample<int32_t>(a, t, n);
}
const float* getFloatNearestSample(QnAttributeHandle a, float t, int64_t* n) {
    return nearestSample<float>(a, t, n);
}
const double* getDoubleNearestSample(QnAttributeHandle a, float t, int64_t* n) {
    return nearestSample<double>(a, t, n);
}
const char* const* getStringNearestSample(QnAttributeHandle a, float t, int64_t* n) {
    return nearestSample<std::string>(a, t, n);
}

const QnSampleAccessor* getSampleAccessor(QnAttributeHandle attr, int32_t typeCode, int32_t version) {
    if (version != 1 || !attr || getType(attr) != typeCode)
        return nullptr;
    try {
        if (typeCode == QN_ATTRIBUTE_TYPE_FLOAT)
            return asData<float>(attr)->accessor();
        if (typeCode == QN_ATTRIBUTE_TYPE_DOUBLE)
            return asData<double>(attr)->accessor();
    } catch (...) {
        reportFailure("getSampleAccessor");
    }
    return nullptr;
}

void releaseSampleAccessor(const QnSampleAccessor* accessor) {
    releaseAccessor(accessor);
}

AttributeHostSuite makeSuite() {
    AttributeHostSuite s{};
    s.deserialise = deserialise;
    s.serialise = serialise;
    s.getType = getType;
    s.retain = retain;
    s.release = release;
    s.getLiveCounts = getLiveCounts;
    s.getHash = getHash;
    s.getNumberOfTimeSamples = getNumberOfTimeSamples;
    s.getNumberOfValues = getNumberOfValues;
    s.getSampleTime = getSampleTime;
    s.getTupleSize = getTupleSize;
    s.getNumberOfChildren = getNumberOfChildren;
    s.getBoundingSampleTimes = getBoundingSampleTimes;
    s.createIntSamples = createIntSamples;
    s.createFloatSamples = createFloatSamples;
    s.createDoubleSamples = createDoubleSamples;
    s.createStringSamples = createStringSamples;
    s.isEqual = isEqual;
    s.getChildName = getChildName;
    s.createString = createString;
    s.getChildByIndex = getChildByIndex;
    s.getChildByName = getChildByName;
    s.createInt = createInt;
    s.createFloat = createFloat;
    s.createDouble = createDouble;
    s.createGroupBuilder = createGroupBuilder;
    s.createGroupBuilderWithMode = createGroupBuilderWithMode;
    s.releaseGroupBuilder = releaseGroupBuilder;
    s.groupBuilderSet = groupBuilderSet;
    s.groupBuilderDelete = groupBuilderDelete;
    s.groupBuilderUpdate = groupBuilderUpdate;
    s.groupBuilderBuild = groupBuilderBuild;
    s.getIntNearestSample = getIntNearestSample;
    s.getFloatNearestSample = getFloatNearestSample;
    s.getDoubleNearestSample = getDoubleNearestSample;
    s.getSampleAccessor = getSampleAccessor;
    s.releaseSampleAccessor = releaseSampleAccessor;
    s.getStringNearestSample = getStringNearestSample;
    return s;
}

const AttributeHostSuite kSuite = makeSuite();

const void* hostGetSuite(const char* name, unsigned int version) {
    if (name && std::strcmp(name, QN_ATTRIBUTE_HOST_SUITE_NAME) == 0 &&
        version == QN_ATTRIBUTE_HOST_SUITE_VERSION)
        return &kSuite;
    if (name && std::strcmp(name, QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME) == 0 &&
        version == QN_ATTRIBUTE_HOST_EXTENSION_SUITE_VERSION && hostExtensionsOffered())
        return attributeHostExtension();
    return nullptr;
}

const char* hostName() {
    return "QnAttributeHost";
}

const VexilHostServices kHost = {hostGetSuite, hostName};

} // namespace
} // namespace VexilHost

/// The attribute library's service table: offers "AttributeHost" version 5 and, unless withheld,
/// "AttributeHostExtension" version 1.
extern "C" __attribute__((visibility("default"))) const VexilHostServices* getAttributeHost(void) {
    return &VexilHost::kHost;
}
