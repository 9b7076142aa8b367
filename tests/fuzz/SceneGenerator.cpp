#include "tests/fuzz/SceneGenerator.h"

#include <string>
#include <vector>

namespace VexilFuzz {

namespace {

using Json = nlohmann::ordered_json;

const char* const kTypes[] = {"Aim",
                              "Billboard",
                              "CameraScreenWindow",
                              "Clipping",
                              "Dolly",
                              "FOV",
                              "Orient",
                              "ParentChild",
                              "Point",
                              "Reflection",
                              "Scale",
                              "ScreenCoordinate",
                              "Bogus",
                              ""};
const char* const kLocationTypes[] = {"group",  "polymesh",   "subdmesh", "faceset",
                                      "camera", "nurbspatch", "locator"};
const char* const kArgNames[] = {"args.targetOrigin",    "args.baseOrigin",     "args.xAxis",
                                 "args.yAxis",           "args.zAxis",          "args.baseAimAxis",
                                 "args.baseUpAxis",      "args.targetUpAxis",   "args.targetOrientation",
                                 "args.targetFaceIndex", "args.baseRotateAxis", "args.distance",
                                 "args.planeType",       "args.pad.near",       "args.pad.far",
                                 "args.targetBounds",    "args.angleOffset",    "args.keepAspectRatio"};
const char* const kWords[] = {"origin",
                              "boundingBox",
                              "faceCenterAverage",
                              "faceBoundingBox",
                              "object",
                              "face",
                              "box",
                              "sphere",
                              "Box",
                              "XZ",
                              "XY",
                              "perspective",
                              "orthographic",
                              "",
                              "Object",
                              "caf\u00e9"};
// Numbers as the scene file writes them: the non-finite ones are strings.
const char* const kSpecial[] = {"nan", "inf", "-inf"};
const double kNumbers[] = {0.0,  -0.0,  1.0,   -1.0, 0.5,    2.0,  3.0,
                           90.0, 180.0, -45.0, 1e-9, 1e-300, 1e30, -7.25};

/// One number of a float or double attribute.
Json number(FuzzBytes& in, bool isFloat) {
    const uint32_t choice = in.below(20);
    if (choice < 2) {
        return in.pick(kSpecial);
    }
    if (choice < 8) {
        const double value = in.pick(kNumbers);
        return isFloat && (value > 3e38 || value < -3e38) ? Json(1.0) : Json(value);
    }
    return double(in.range(-20, 20)) / 4.0;
}

/// A numeric attribute of `count` values in a random kind (mostly `kind`), sometimes animated.
Json numbers(FuzzBytes& in, size_t count, const char* kind = "double", int tupleSize = 1) {
    static const char* const kinds[] = {"double", "float", "int"};
    const std::string chosen = in.chance(80) ? kind : in.pick(kinds);
    auto sample = [&] {
        Json values = Json::array();
        for (size_t i = 0; i < count; ++i) {
            if (chosen == "int") {
                values.push_back(in.chance(80) ? in.range(-4, 8) : in.anyInt());
            } else {
                values.push_back(number(in, chosen == "float"));
            }
        }
        return values;
    };
    Json attr;
    if (in.chance(20)) {
        static const char* const times[] = {"0", "0.5", "-0.25", "1", "0.0001"};
        Json samples = Json::object();
        for (int i = in.range(1, 3); i > 0; --i) {
            samples[in.pick(times)] = sample();
        }
        attr[chosen] = samples;
    } else {
        attr[chosen] = sample();
    }
    if (tupleSize > 1 && count % size_t(tupleSize) == 0 && in.chance(70)) {
        attr["tupleSize"] = tupleSize;
    }
    return attr;
}

/// A count that is usually right and sometimes one off, or zero.
size_t sizeNear(FuzzBytes& in, size_t right) {
    const uint32_t choice = in.below(10);
    return choice == 0 ? 0 : choice == 1 ? right + 1 : choice == 2 && right > 0 ? right - 1 : right;
}

Json xform(FuzzBytes& in) {
    Json group = Json::object();
    static const char* const ops[] = {"translate", "rotate", "scale", "matrix", "origin"};
    for (int i = in.range(0, 3); i > 0; --i) {
        const std::string op = in.pick(ops);
        if (op == "origin") {
            group["origin"] = {{"int", 1}};
            continue;
        }
        if (op == "matrix") {
            // Mostly well-formed matrices: identity-based with a few random entries (singular ones too).
            Json values = Json::array();
            for (int e = 0; e < 16; ++e) {
                values.push_back(in.chance(75) ? Json(e % 5 == 0 ? 1.0 : 0.0) : number(in, false));
            }
            group["matrix"] =
                in.chance(85) ? Json{{"double", values}, {"tupleSize", 16}} : numbers(in, sizeNear(in, 16));
            continue;
        }
        group[op] = numbers(in, sizeNear(in, op == "rotate" ? 4 : 3));
    }
    return group;
}

Json strings(FuzzBytes& in, const std::vector<std::string>& choices, int most) {
    Json list = Json::array();
    for (int i = in.range(0, most); i > 0; --i) {
        list.push_back(choices[in.below(uint32_t(choices.size()))]);
    }
    return list;
}

/// A value for a constraint argument: usually the kind the resolvers read, often not.
Json argument(FuzzBytes& in) {
    switch (in.below(8)) {
    case 0:
        return in.pick(kWords);
    case 1:
        return Json{{"string", Json::array({in.pick(kWords), in.pick(kWords)})}};
    case 2:
        return {{"int", in.chance(70) ? in.range(-1, 3) : in.anyInt()}};
    case 3:
        return {{"int", Json::array()}};
    case 4:
        return numbers(in, sizeNear(in, 3), "float", 3);
    case 5:
        return numbers(in, sizeNear(in, 1), "float");
    case 6:
        return numbers(in, sizeNear(in, 1), "double");
    default:
        return Json{{"nested", "group"}};
    }
}

Json constraintGroup(FuzzBytes& in, const std::vector<std::string>& targets) {
    Json group = Json::object();
    if (in.chance(95)) {
        group["type"] = in.chance(90) ? Json(in.pick(kTypes)) : argument(in);
    }
    if (in.chance(95)) {
        group["target"] = in.chance(90) ? strings(in, targets, 3) : argument(in);
    }
    static const char* const switches[] = {"allowMissingTargets", "requireTargetBounds", "respectMotionBlur"};
    for (const char* name : switches) {
        if (in.chance(40)) {
            group[name] = in.chance(80) ? Json{{"int", in.range(0, 1)}} : argument(in);
        }
    }
    Json args = Json::object();
    for (int i = in.range(0, 8); i > 0; --i) {
        const std::string name = std::string(in.pick(kArgNames)).substr(5);
        const size_t dot = name.find('.');
        if (dot == std::string::npos) {
            args[name] = argument(in);
        } else {
            args[name.substr(0, dot)][name.substr(dot + 1)] = argument(in);
        }
    }
    group["args"] = args;
    return group;
}

Json geometry(FuzzBytes& in, const std::string& type) {
    Json g = Json::object();
    if (type == "polymesh" || type == "subdmesh") {
        const int points = in.range(0, 6);
        if (in.chance(90)) {
            Json point = Json::object();
            point["P"] = numbers(in, sizeNear(in, size_t(points) * 3), "float", 3);
            g["point"] = point;
        }
        const int faces = in.range(0, 3);
        Json start = Json::array();
        for (int f = 0; f <= faces; ++f) {
            start.push_back(in.chance(85) ? f * 3 : in.range(-2, 12));
        }
        Json vertices = Json::array();
        for (int v = 0; v < faces * 3; ++v) {
            vertices.push_back(in.chance(85) ? in.range(0, points > 0 ? points - 1 : 0) : in.range(-3, 9));
        }
        if (in.chance(90)) {
            g["poly"] = {{"startIndex", {{"int", start}}}, {"vertexList", {{"int", vertices}}}};
        }
    } else if (type == "faceset") {
        Json faces = Json::array();
        for (int i = in.range(0, 3); i > 0; --i) {
            faces.push_back(in.range(-1, 4));
        }
        g["faces"] = {{"int", faces}};
    } else if (type == "nurbspatch") {
        g["point"] = {{"Pw", numbers(in, sizeNear(in, size_t(in.range(0, 4)) * 4), "float", 4)}};
    } else if (type == "camera") {
        static const char* const names[] = {"fov", "left", "right", "bottom", "top", "near", "far"};
        static const double defaults[] = {45.0, -1.0, 1.0, -1.0, 1.0, 0.1, 1000.0};
        for (size_t i = 0; i < 7; ++i) {
            if (in.chance(85)) {
                g[names[i]] = in.chance(70) ? Json{{"double", defaults[i]}} : numbers(in, sizeNear(in, 1));
            }
        }
        g["projection"] = in.chance(80) ? Json(in.chance(70) ? "perspective" : "orthographic") : argument(in);
    }
    return g;
}

} // namespace

Json generateScene(FuzzBytes& in) {
    const int count = in.range(2, 6);
    std::vector<std::string> paths;
    std::vector<int> parents; // -1: below /root/world
    std::vector<std::string> types;
    for (int i = 0; i < count; ++i) {
        const int parent = i > 0 && in.chance(25) ? int(in.below(uint32_t(i))) : -1;
        parents.push_back(parent);
        paths.push_back((parent < 0 ? std::string("/root/world") : paths[size_t(parent)]) + "/l" +
                        std::to_string(i));
        types.push_back(in.pick(kLocationTypes));
    }
    // Targets and list entries: every location, a missing one, relative paths, the world and nonsense.
    std::vector<std::string> targets = paths;
    for (const char* extra :
         {"/root/world/missing", "../l0", "l1", "", "/root/world", "/root", "//root//world/l0/"}) {
        targets.push_back(extra);
    }

    std::vector<Json> locations(static_cast<size_t>(count), Json::object());
    for (int i = count - 1; i >= 0; --i) {
        Json attrs = Json::object();
        attrs["type"] = types[size_t(i)];
        Json x = xform(in);
        for (int c = in.chance(75) ? in.range(1, 2) : 0; c > 0; --c) {
            const std::string name = c == 1 ? "constraint" : "constraint" + std::to_string(c);
            x[name] = constraintGroup(in, targets);
        }
        if (!x.empty()) {
            attrs["xform"] = x;
        }
        if (in.chance(50)) {
            attrs["bound"] = numbers(in, sizeNear(in, 6));
        }
        Json g = geometry(in, types[size_t(i)]);
        if (!g.empty()) {
            attrs["geometry"] = g;
        }
        locations[size_t(i)]["attrs"] = attrs;
        // Children were filled in by their (later) entries, which hang themselves under their parents.
        if (!locations[size_t(i)].contains("children")) {
            locations[size_t(i)]["children"] = Json::object();
        }
        if (parents[size_t(i)] >= 0) {
            locations[size_t(parents[size_t(i)])]["children"]["l" + std::to_string(i)] = locations[size_t(i)];
        }
    }
    Json world = Json::object();
    for (int i = 0; i < count; ++i) {
        if (parents[size_t(i)] < 0) {
            world["l" + std::to_string(i)] = locations[size_t(i)];
        }
    }

    Json worldAttrs = Json::object();
    if (in.chance(85)) {
        worldAttrs["globals"] = {{"constraintList", strings(in, targets, 5)}};
    }

    Json ops = Json::array();
    if (in.chance(25)) {
        Json entry = {{"baseLocationPath", targets[in.below(uint32_t(targets.size()))]},
                      {"constraintGroup", constraintGroup(in, targets)}};
        if (in.chance(50)) {
            entry["setRelativeTargets"] = {{"int", 1}};
        }
        if (in.chance(30)) {
            entry["prependConstraint"] = {{"int", 1}};
        }
        ops.push_back({{"type", "ConstraintSetup"},
                       {"location", "/root"},
                       {"args", {{"constraints", {{"e", entry}}}}}});
    }
    if (in.chance(20)) {
        static const char* const modes[] = {"add", "remove", "other"};
        ops.push_back({{"type", "ConstraintListEdit"},
                       {"location", "/root"},
                       {"args", {{"mode", in.pick(modes)}, {"locationPaths", strings(in, targets, 3)}}}});
    }
    if (in.chance(15)) {
        static const char* const actions[] = {"createOrOverride", "addToConstraintList",
                                              "removeFromConstraintList", "x"};
        static const char* const editTypes[] = {"Aim", "Orient", "Point", "Scale"};
        Json args = {{"locationPath", targets[in.below(uint32_t(targets.size()))]},
                     {"action", in.pick(actions)},
                     {"constraintType", in.pick(editTypes)}};
        if (in.chance(50)) {
            args["setAttrs"] = {{"target", strings(in, targets, 2)}, {"args", {{"xAxis", argument(in)}}}};
        }
        ops.push_back({{"type", "ConstraintEdit"}, {"location", "/root"}, {"args", args}});
    }
    if (in.chance(10)) {
        static const char* const editTypes[] = {"Aim", "Orient", "Point", ""};
        ops.push_back({{"type", "ConstraintEditAttributes"},
                       {"location", "/root/world"},
                       {"args",
                        {{"locationPath", targets[in.below(uint32_t(targets.size()))]},
                         {"constraintType", in.pick(editTypes)}}}});
    }
    ops.push_back({{"type", "ConstraintResolve"},
                   {"location", in.chance(90) ? "/root" : "/root/world"},
                   {"args", Json::object()}});

    static const double shutters[] = {0.0, 0.5, -0.25, 1.0};
    Json file;
    file["time"] = {{"currentTime", 0.0},
                    {"shutterOpen", in.pick(shutters)},
                    {"shutterClose", in.pick(shutters)},
                    {"numSamples", in.range(1, 3)}};
    file["scene"] = {{"attrs", {{"type", "group"}}},
                     {"children", {{"world", {{"attrs", worldAttrs}, {"children", world}}}}}};
    file["ops"] = ops;
    return file;
}

} // namespace VexilFuzz
