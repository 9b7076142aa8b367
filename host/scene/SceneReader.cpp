#include "host/scene/SceneReader.h"

#include "host/scene/AttributeDecoder.h"
#include "host/scene/InputFile.h"
#include "host/scene/JsonDocument.h"
#include "host/scene/SceneFormatError.h"
#include "host/scene/ScenePaths.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace VexilHost {

using Json = nlohmann::ordered_json;

namespace {

JsonPath child(const JsonPath& path, const std::string& key) {
    JsonPath result = path;
    result.push_back({key, 0, false});
    return result;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

// Rejects members of `object` other than `allowed`, naming what was expected.
void checkKeys(const Json& object, const JsonPath& path, const std::vector<std::string>& allowed,
               const std::string& what) {
    for (const auto& member : object.items()) {
        if (std::find(allowed.begin(), allowed.end(), member.key()) == allowed.end()) {
            throw SceneFormatError(child(path, member.key()), "unknown key \"" + member.key() + "\" in " +
                                                                  what + " (expected " + joined(allowed) +
                                                                  ")");
        }
    }
}

const Json* member(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

float timeValue(const Json& value, const JsonPath& path) {
    if (value.is_number()) {
        const double v = value.get<double>();
        if (std::isfinite(v) && std::fabs(v) <= std::numeric_limits<float>::max()) {
            return static_cast<float>(v);
        }
    }
    throw SceneFormatError(path, "must be a number");
}

TimeSlice readTime(const Json& value, const JsonPath& path) {
    if (!value.is_object()) {
        throw SceneFormatError(
            path, "must be an object with currentTime, shutterOpen, shutterClose and numSamples");
    }
    checkKeys(value, path, {"currentTime", "shutterOpen", "shutterClose", "numSamples"}, "\"time\"");
    TimeSlice time;
    if (const Json* v = member(value, "currentTime")) {
        time.currentTime = timeValue(*v, child(path, "currentTime"));
    }
    if (const Json* v = member(value, "shutterOpen")) {
        time.shutterOpen = timeValue(*v, child(path, "shutterOpen"));
    }
    if (const Json* v = member(value, "shutterClose")) {
        time.shutterClose = timeValue(*v, child(path, "shutterClose"));
    }
    if (const Json* v = member(value, "numSamples")) {
        if (!v->is_number_integer() || v->get<int64_t>() < 1 ||
            v->get<int64_t>() > std::numeric_limits<int>::max()) {
            throw SceneFormatError(child(path, "numSamples"), "must be a whole number of at least 1");
        }
        time.numSamples = static_cast<int>(v->get<int64_t>());
    }
    return time;
}

std::vector<std::pair<std::string, std::string>> readVariables(const Json& value, const JsonPath& path) {
    if (!value.is_object()) {
        throw SceneFormatError(path, "must be an object from variable name to string value");
    }
    std::vector<std::pair<std::string, std::string>> variables;
    for (const auto& [name, v] : value.items()) {
        if (name.empty()) {
            throw SceneFormatError(child(path, name), "a variable name is empty");
        }
        if (!v.is_string()) {
            throw SceneFormatError(child(path, name), "a variable's value must be a string");
        }
        if (name.find('\0') != std::string::npos ||
            v.get_ref<const std::string&>().find('\0') != std::string::npos) {
            throw SceneFormatError(child(path, name), "a variable's name and value hold no NUL character");
        }
        variables.emplace_back(name, v.get<std::string>());
    }
    return variables;
}

// `path` is the location's place in the file; it is extended while the location is read and is as it
// was on return, so deep scenes do not copy it at every level.
SceneLocation readLocation(const Json& value, const std::string& name, JsonPath& path,
                           const Qn::GroupAttribute& emptyGroup) {
    if (!value.is_object()) {
        throw SceneFormatError(path, "a location must be an object with \"attrs\" and \"children\"");
    }
    checkKeys(value, path, {"attrs", "children"}, "a location");
    SceneLocation location;
    location.name = name;
    if (const Json* attrs = member(value, "attrs")) {
        const JsonPathScope step(path, "attrs");
        location.attrs = decodeAttributeGroup(*attrs, path);
    } else {
        location.attrs = emptyGroup;
    }
    if (const Json* children = member(value, "children")) {
        const JsonPathScope childrenStep(path, "children");
        if (!children->is_object()) {
            throw SceneFormatError(path, "must be an object from child name to location");
        }
        location.children.reserve(children->size());
        for (const auto& [childName, childValue] : children->items()) {
            const JsonPathScope childStep(path, childName);
            if (!isLocationName(childName)) {
                throw SceneFormatError(path,
                                       Json(childName).dump(-1, ' ', false, Json::error_handler_t::replace) +
                                           " is not a location name (a name is not empty, \".\" or "
                                           "\"..\", and holds no \"/\" or NUL)");
            }
            location.children.push_back(readLocation(childValue, childName, path, emptyGroup));
        }
    }
    return location;
}

OpDescription readOp(const Json& value, JsonPath& path, const SceneReadOptions& options,
                     const Qn::GroupAttribute& emptyGroup) {
    if (!value.is_object()) {
        throw SceneFormatError(path, "an op must be an object with \"type\", \"location\" and \"args\"");
    }
    checkKeys(value, path, {"type", "location", "args"}, "an op");
    OpDescription op;
    const Json* type = member(value, "type");
    if (!type) {
        throw SceneFormatError(path, "an op needs a \"type\"");
    }
    if (!type->is_string() || type->get_ref<const std::string&>().empty()) {
        throw SceneFormatError(child(path, "type"), "an op's \"type\" must be a non-empty string");
    }
    op.type = type->get<std::string>();
    if (options.knownOpTypes) {
        const std::vector<std::string>& known = *options.knownOpTypes;
        if (std::find(known.begin(), known.end(), op.type) == known.end()) {
            throw SceneFormatError(child(path, "type"),
                                   "unknown op type \"" + op.type + "\" (" +
                                       (known.empty() ? std::string("no op types are loaded")
                                                      : "known types: " + joined(known)) +
                                       ")");
        }
    }
    if (const Json* location = member(value, "location")) {
        if (!location->is_string() || !isLocationPath(location->get_ref<const std::string&>())) {
            throw SceneFormatError(child(path, "location"), "\"location\" must be a location path such as "
                                                            "\"/root/world\", not " +
                                                                location->dump());
        }
        op.location = location->get<std::string>();
    }
    if (const Json* args = member(value, "args")) {
        const JsonPathScope step(path, "args");
        op.args = decodeAttributeGroup(*args, path);
    } else {
        op.args = emptyGroup;
    }
    return op;
}

SceneFile readDocument(const Json& document, const SceneReadOptions& options) {
    JsonPath top;
    if (!document.is_object()) {
        throw SceneFormatError(top, "the file must hold one object with \"scene\" (and optionally \"time\", "
                                    "\"variables\" and \"ops\")");
    }
    checkKeys(document, top, {"time", "variables", "scene", "ops", "comment"}, "the file");
    SceneFile file;
    if (const Json* time = member(document, "time")) {
        file.time = readTime(*time, child(top, "time"));
    }
    if (const Json* variables = member(document, "variables")) {
        file.variables = readVariables(*variables, child(top, "variables"));
    }
    if (const Json* comment = member(document, "comment"); comment && !comment->is_string()) {
        throw SceneFormatError(child(top, "comment"), "a comment must be a string");
    }
    const Json* scene = member(document, "scene");
    if (!scene) {
        throw SceneFormatError(top, "the file has no \"scene\"");
    }
    // Locations and ops without attributes share one empty group.
    Qn::GroupBuilder emptyBuilder;
    const Qn::GroupAttribute emptyGroup = emptyBuilder.build();
    if (!emptyGroup.isValid()) {
        throw SceneFormatError(top, "the attribute host cannot make groups");
    }
    {
        const JsonPathScope step(top, "scene");
        file.root = readLocation(*scene, "root", top, emptyGroup);
    }
    if (const Json* ops = member(document, "ops")) {
        const JsonPathScope opsStep(top, "ops");
        if (!ops->is_array()) {
            throw SceneFormatError(top, "must be an array of ops");
        }
        for (std::size_t i = 0; i < ops->size(); ++i) {
            const JsonPathScope opStep(top, i);
            file.ops.push_back(readOp((*ops)[i], top, options, emptyGroup));
        }
    }
    return file;
}

} // namespace

SceneFile readSceneText(const std::string& text, const std::string& nameForMessages,
                        const SceneReadOptions& options) {
    Json document;
    try {
        document = parseJsonDocument(text);
    } catch (const JsonSyntaxError& error) {
        throw SceneFileError(nameForMessages + ": line " + std::to_string(error.line()) + ", column " +
                             std::to_string(error.column()) + ": " + error.what());
    } catch (const std::bad_alloc&) {
        throw SceneFileError(nameForMessages + ": out of memory while parsing " +
                             std::to_string(text.size()) + " bytes of JSON");
    }
    try {
        return readDocument(document, options);
    } catch (const SceneFormatError& error) {
        std::string where;
        if (const std::size_t line = error.path().empty() ? 0 : lineOfJsonPath(text, error.path())) {
            where += "line " + std::to_string(line) + ": ";
        }
        if (!error.path().empty()) {
            where += formatJsonPath(error.path()) + ": ";
        }
        throw SceneFileError(nameForMessages + ": " + where + error.what());
    } catch (const std::bad_alloc&) {
        throw SceneFileError(nameForMessages + ": out of memory while making the scene");
    }
}

SceneFile readSceneFile(const std::string& path, const SceneReadOptions& options) {
    return readSceneText(readInputFile(path, options.maxInputBytes), inputName(path), options);
}

} // namespace VexilHost
