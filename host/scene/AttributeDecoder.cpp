#include "host/scene/AttributeDecoder.h"

#include "host/scene/NumberText.h"
#include "host/scene/SceneFormatError.h"
#include "hostapi/attribute/DataAttribute.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace VexilHost {

using Json = nlohmann::ordered_json;

namespace {

const char* const kKindKeys[] = {"int", "float", "double", "string"};
const char* const kTupleSizeKey = "tupleSize";

bool isKindKey(const std::string& key) {
    for (const char* kind : kKindKeys) {
        if (key == kind) {
            return true;
        }
    }
    return false;
}

// A JSON value as it appears in messages, cut short when long.
std::string shown(const Json& value) {
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (text.size() > 40) {
        text = text.substr(0, 37) + "...";
    }
    return text;
}

// Non-finite values are written as these strings, since JSON has no numbers for them.
std::optional<double> nonFinite(const Json& value) {
    if (!value.is_string()) {
        return std::nullopt;
    }
    const std::string& text = value.get_ref<const std::string&>();
    if (text == "nan") {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (text == "inf") {
        return std::numeric_limits<double>::infinity();
    }
    if (text == "-inf") {
        return -std::numeric_limits<double>::infinity();
    }
    return std::nullopt;
}

// Reads one value of a data attribute of kind `kind` (value type T).
template <typename T> T valueOf(const Json& value, const char* kind, const JsonPath& path);

template <> int32_t valueOf<int32_t>(const Json& value, const char* kind, const JsonPath& path) {
    if (value.is_number_unsigned()) {
        const uint64_t v = value.get<uint64_t>();
        if (v <= static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
            return static_cast<int32_t>(v);
        }
    } else if (value.is_number_integer()) {
        const int64_t v = value.get<int64_t>();
        if (v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max()) {
            return static_cast<int32_t>(v);
        }
    }
    throw SceneFormatError(path, std::string("\"") + kind + "\" value " + shown(value) +
                                     " is not a 32-bit integer");
}

template <> double valueOf<double>(const Json& value, const char* kind, const JsonPath& path) {
    if (value.is_number()) {
        const double v = value.get<double>();
        if (std::isfinite(v)) {
            return v;
        }
        throw SceneFormatError(path, std::string("\"") + kind + "\" value " + shown(value) +
                                         " is outside the double range");
    }
    if (const std::optional<double> special = nonFinite(value)) {
        return *special;
    }
    throw SceneFormatError(path, std::string("\"") + kind + "\" value " + shown(value) + " is not a number");
}

template <> float valueOf<float>(const Json& value, const char* kind, const JsonPath& path) {
    const double v = valueOf<double>(value, kind, path);
    const float narrowed = static_cast<float>(v);
    if (std::isfinite(v) && !std::isfinite(narrowed)) {
        throw SceneFormatError(path, std::string("\"") + kind + "\" value " + shown(value) +
                                         " is outside the float range");
    }
    return narrowed;
}

template <> std::string valueOf<std::string>(const Json& value, const char* kind, const JsonPath& path) {
    if (value.is_string()) {
        // Strings cross the host contract NUL-terminated: one with a NUL inside would be cut short.
        if (value.get_ref<const std::string&>().find('\0') != std::string::npos) {
            throw SceneFormatError(path, std::string("\"") + kind + "\" value " + shown(value) +
                                             " holds a NUL character, which a string attribute cannot keep");
        }
        return value.get<std::string>();
    }
    throw SceneFormatError(path, std::string("\"") + kind + "\" value " + shown(value) + " is not a string");
}

// The values of one sample: an array, or a scalar standing for one value (the scalar form of V).
template <typename T>
std::vector<T> sampleValues(const Json& sample, const char* kind, const JsonPath& path) {
    std::vector<T> values;
    if (sample.is_array()) {
        values.reserve(sample.size());
        for (const Json& element : sample) {
            values.push_back(valueOf<T>(element, kind, path));
        }
    } else {
        values.push_back(valueOf<T>(sample, kind, path));
    }
    return values;
}

template <typename T> struct Samples {
    std::map<float, std::vector<T>> byTime;
    std::map<float, std::string> timeText; // as written in the file, for messages
};

template <typename T> Samples<T> samplesOf(const Json& encoded, const char* kind, const JsonPath& path) {
    Samples<T> samples;
    if (!encoded.is_object()) {
        samples.byTime[0.0f] = sampleValues<T>(encoded, kind, path);
        samples.timeText[0.0f] = "0";
        return samples;
    }
    if (encoded.empty()) {
        throw SceneFormatError(path, std::string("\"") + kind +
                                         "\" has no samples (an attribute has at least one)");
    }
    for (const auto& [timeText, sample] : encoded.items()) {
        float time = 0.0f;
        if (const SampleTimeText read = parseSampleTime(timeText, time); read != SampleTimeText::Valid) {
            throw SceneFormatError(path, sampleTimeError(timeText, read));
        }
        if (samples.byTime.count(time) != 0) {
            throw SceneFormatError(path, "sample times \"" + samples.timeText[time] + "\" and \"" + timeText +
                                             "\" are the same time");
        }
        if (!sample.is_array()) {
            throw SceneFormatError(path, "sample \"" + timeText + "\" must be an array of values");
        }
        samples.byTime[time] = sampleValues<T>(sample, kind, path);
        samples.timeText[time] = timeText;
    }
    return samples;
}

template <typename T> void checkShape(const Samples<T>& samples, int64_t tupleSize, const JsonPath& path) {
    if (samples.byTime.empty()) {
        return;
    }
    const auto& [firstTime, firstValues] = *samples.byTime.begin();
    for (const auto& [time, values] : samples.byTime) {
        if (values.size() != firstValues.size()) {
            throw SceneFormatError(path, "samples differ in length: time " + samples.timeText.at(firstTime) +
                                             " has " + std::to_string(firstValues.size()) + " values, time " +
                                             samples.timeText.at(time) + " has " +
                                             std::to_string(values.size()));
        }
    }
    if (firstValues.size() % static_cast<uint64_t>(tupleSize) != 0) {
        throw SceneFormatError(path, "tupleSize " + std::to_string(tupleSize) + " does not divide the " +
                                         std::to_string(firstValues.size()) + " values of a sample");
    }
}

template <typename AttributeType>
Qn::Attribute decodeData(const Json& encoded, const char* kind, int64_t tupleSize, const JsonPath& path) {
    using T = typename AttributeType::value_type;
    const Samples<T> samples = samplesOf<T>(encoded, kind, path);
    checkShape(samples, tupleSize, path);
    AttributeType attribute(samples.byTime, tupleSize);
    if (!attribute.isValid()) {
        throw SceneFormatError(path, "the attribute host refused this attribute");
    }
    return attribute;
}

int64_t tupleSizeOf(const Json& value, const JsonPath& path) {
    if (value.is_number_integer() && value.get<int64_t>() >= 1 &&
        value.get<int64_t>() <= std::numeric_limits<int32_t>::max()) {
        return value.get<int64_t>();
    }
    throw SceneFormatError(path, "\"tupleSize\" must be a positive integer, not " + shown(value));
}

Qn::Attribute decodeKindObject(const Json& object, const JsonPath& path) {
    std::string kind;
    const Json* encoded = nullptr;
    int64_t tupleSize = 1;
    for (const auto& [key, value] : object.items()) {
        if (!isKindKey(key)) {
            continue;
        }
        if (!kind.empty()) {
            throw SceneFormatError(path, "an attribute has one kind, not both \"" + kind + "\" and \"" + key +
                                             "\"");
        }
        kind = key;
        encoded = &value;
    }
    for (const auto& [key, value] : object.items()) {
        if (key == kTupleSizeKey) {
            tupleSize = tupleSizeOf(value, path);
        } else if (!isKindKey(key)) {
            throw SceneFormatError(path, "unexpected key \"" + key + "\" beside the kind \"" + kind +
                                             "\" (only \"tupleSize\" may go with it)");
        }
    }
    if (kind == "int") {
        return decodeData<Qn::IntAttribute>(*encoded, "int", tupleSize, path);
    }
    if (kind == "float") {
        return decodeData<Qn::FloatAttribute>(*encoded, "float", tupleSize, path);
    }
    if (kind == "double") {
        return decodeData<Qn::DoubleAttribute>(*encoded, "double", tupleSize, path);
    }
    return decodeData<Qn::StringAttribute>(*encoded, "string", tupleSize, path);
}

bool hasKindKey(const Json& object) {
    for (const auto& member : object.items()) {
        if (isKindKey(member.key())) {
            return true;
        }
    }
    return false;
}

Qn::GroupAttribute decodeGroupMembers(const Json& object, JsonPath& path) {
    // Literal names: a name with a dot is one child, exactly as it was written out.
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& [name, value] : object.items()) {
        const JsonPathScope step(path, name);
        if (name.empty()) {
            throw SceneFormatError(path, "an attribute name is empty");
        }
        if (name.find('\0') != std::string::npos) {
            throw SceneFormatError(path,
                                   "the attribute name " + shown(Json(name)) + " holds a NUL character");
        }
        builder.set(name, decodeAttribute(value, path));
    }
    Qn::GroupAttribute group = builder.build();
    if (!group.isValid()) {
        throw SceneFormatError(path, "the attribute host refused this group");
    }
    return group;
}

} // namespace

Qn::Attribute decodeAttribute(const Json& value, JsonPath& path) {
    switch (value.type()) {
    case Json::value_t::string:
        return decodeData<Qn::StringAttribute>(Json::array({value}), "string", 1, path);
    case Json::value_t::array:
        for (const Json& element : value) {
            if (!element.is_string()) {
                throw SceneFormatError(path, "a bare array is a string attribute and holds only strings; " +
                                                 shown(element) +
                                                 " is not a string (numbers need an explicit kind such as "
                                                 "{\"double\": [...]})");
            }
        }
        return decodeData<Qn::StringAttribute>(value, "string", 1, path);
    case Json::value_t::object:
        return hasKindKey(value) ? decodeKindObject(value, path)
                                 : Qn::Attribute(decodeGroupMembers(value, path));
    case Json::value_t::boolean:
        throw SceneFormatError(path, "bare boolean " + shown(value) +
                                         ": the kind must be explicit (such as {\"int\": 1})");
    case Json::value_t::null:
        throw SceneFormatError(path, "null is not an attribute: the kind must be explicit");
    default:
        throw SceneFormatError(path, "bare number " + shown(value) +
                                         ": the kind must be explicit ({\"int\": V}, {\"float\": V} or "
                                         "{\"double\": V})");
    }
}

Qn::GroupAttribute decodeAttributeGroup(const Json& value, JsonPath& path) {
    if (!value.is_object() || hasKindKey(value)) {
        throw SceneFormatError(path, "must be an object of named attributes, not " + shown(value));
    }
    return decodeGroupMembers(value, path);
}

} // namespace VexilHost
