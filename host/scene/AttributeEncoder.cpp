#include "host/scene/AttributeEncoder.h"

#include "host/scene/NumberText.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace VexilHost {

namespace {

bool isKindName(const std::string& name) {
    return name == "int" || name == "float" || name == "double" || name == "string";
}

std::string valueText(int32_t value) {
    return std::to_string(value);
}
std::string valueText(float value) {
    return formatFloat(value);
}
std::string valueText(double value) {
    return formatDouble(value);
}
std::string valueText(const char* value) {
    return jsonString(value);
}

template <typename View> void writeArray(const View& values, std::ostream& out) {
    out << '[';
    for (int64_t i = 0; i < values.size; ++i) {
        out << (i == 0 ? "" : ", ") << valueText(values[i]);
    }
    out << ']';
}

// The canonical form of a data attribute:
//  - one sample at time 0, a string kind, tuple size 1: a bare string (one value) or a bare array;
//  - one sample at time 0, a numeric kind: {"kind": value} for a single value of tuple size 1,
//    otherwise {"kind": [values]};
//  - any other sampling: {"kind": {"time": [values], ...}} in ascending time order;
//  - "tupleSize" follows the kind key unless it is 1.
template <typename AttributeType>
void writeData(const AttributeType& data, const char* kind, std::ostream& out) {
    const std::vector<float> times = data.getSampleTimes();
    const int64_t tupleSize = data.getTupleSize();
    const bool singleAtZero = times.size() == 1 && times[0] == 0.0f;
    if (singleAtZero && AttributeType::kTypeCode == QN_ATTRIBUTE_TYPE_STRING && tupleSize == 1) {
        const auto values = data.getNearestSample(0.0f);
        if (values.size == 1) {
            out << valueText(values[0]);
        } else {
            writeArray(values, out);
        }
        return;
    }
    out << "{\"" << kind << "\": ";
    if (singleAtZero) {
        const auto values = data.getNearestSample(0.0f);
        if (values.size == 1 && tupleSize == 1) {
            out << valueText(values[0]);
        } else {
            writeArray(values, out);
        }
    } else {
        out << '{';
        for (size_t i = 0; i < times.size(); ++i) {
            out << (i == 0 ? "" : ", ") << '"' << formatSampleTime(times[i]) << "\": ";
            writeArray(data.getNearestSample(times[i]), out);
        }
        out << '}';
    }
    if (tupleSize != 1) {
        out << ", \"tupleSize\": " << tupleSize;
    }
    out << '}';
}

} // namespace

std::string jsonString(const std::string& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void encodeAttributeGroup(const Qn::Attribute& attribute, std::ostream& out, int indent,
                          const std::string& name) {
    const Qn::GroupAttribute group(attribute);
    const int64_t count = group.getNumberOfChildren();
    if (count == 0) {
        out << "{}";
        return;
    }
    const std::string inner(static_cast<size_t>(indent) + 2, ' ');
    out << "{\n";
    for (int64_t i = 0; i < count; ++i) {
        const std::string childName = group.getChildName(i);
        const std::string childPath = name.empty() ? childName : name + "." + childName;
        if (childName.empty()) {
            throw SceneWriteError("attribute \"" + childPath +
                                  "\": a child with an empty name cannot be written");
        }
        if (isKindName(childName)) {
            throw SceneWriteError("attribute \"" + childPath + "\": a group child named \"" + childName +
                                  "\" cannot be written (it would read back as a data attribute)");
        }
        out << inner << jsonString(childName) << ": ";
        encodeAttribute(group.getChildByIndex(i), out, indent + 2, childPath);
        out << (i + 1 < count ? ",\n" : "\n");
    }
    out << std::string(static_cast<size_t>(indent), ' ') << '}';
}

void encodeAttribute(const Qn::Attribute& attribute, std::ostream& out, int indent, const std::string& name) {
    switch (attribute.getType()) {
    case QN_ATTRIBUTE_TYPE_INT:
        writeData(Qn::IntAttribute(attribute), "int", out);
        return;
    case QN_ATTRIBUTE_TYPE_FLOAT:
        writeData(Qn::FloatAttribute(attribute), "float", out);
        return;
    case QN_ATTRIBUTE_TYPE_DOUBLE:
        writeData(Qn::DoubleAttribute(attribute), "double", out);
        return;
    case QN_ATTRIBUTE_TYPE_STRING:
        writeData(Qn::StringAttribute(attribute), "string", out);
        return;
    case QN_ATTRIBUTE_TYPE_GROUP:
        encodeAttributeGroup(attribute, out, indent, name);
        return;
    default:
        throw SceneWriteError("attribute \"" + name + "\": an attribute of type code " +
                              std::to_string(attribute.getType()) + " cannot be written");
    }
}

} // namespace VexilHost
