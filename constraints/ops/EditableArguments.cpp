#include "constraints/ops/EditableArguments.h"

#include "hostapi/attribute/DataAttribute.h"

namespace Vexil3Constraints {
namespace Private {

namespace {

const std::vector<std::string> kOriginModes = {"origin", "boundingBox", "faceCenterAverage",
                                               "faceBoundingBox"};

EditableArgument argument(const std::string& name, ArgumentKind kind, const std::string& widget,
                          const std::string& label, const std::string& help) {
    EditableArgument a;
    a.name = name;
    a.kind = kind;
    a.widget = widget;
    a.label = label;
    a.help = help;
    return a;
}

EditableArgument targets() {
    return argument("target", ArgumentKind::StringArray, "scenegraphLocation", "Targets",
                    "Locations the constraint follows, in order; a relative path starts at the "
                    "constrained location.");
}

EditableArgument checkBox(const std::string& name, const std::string& label, const std::string& help,
                          int32_t defaultValue) {
    EditableArgument a = argument(name, ArgumentKind::Int, "checkBox", label, help);
    a.defaultInt = defaultValue;
    return a;
}

EditableArgument popup(const std::string& name, const std::string& label, const std::string& help,
                       const std::vector<std::string>& options) {
    EditableArgument a = argument(name, ArgumentKind::String, "popup", label, help);
    a.options = options;
    a.defaultString = options.front();
    return a;
}

EditableArgument vector3(const std::string& name, const std::string& label, const std::string& help,
                         const std::array<float, 3>& defaultValue) {
    EditableArgument a = argument(name, ArgumentKind::Float3, "vector3", label, help);
    a.defaultFloat3 = defaultValue;
    return a;
}

std::vector<EditableArgument> commonArguments() {
    return {
        targets(),
        checkBox("allowMissingTargets", "Allow Missing Targets",
                 "When on, missing targets are skipped and a constraint left without targets only warns.", 0),
        checkBox("requireTargetBounds", "Require Target Bounds",
                 "When on, targets without a bound attribute are dropped with a warning.", 0),
        checkBox("respectMotionBlur", "Respect Motion Blur",
                 "When on, the constraint is evaluated at every motion sample; when off, at the current "
                 "time only.",
                 1),
    };
}

std::vector<EditableArgument> aimArguments() {
    std::vector<EditableArgument> arguments = commonArguments();
    arguments.push_back(popup("args.targetOrigin", "Target Origin",
                              "The point of each target that is aimed at; several targets are averaged.",
                              kOriginModes));
    arguments.push_back(vector3("args.baseAimAxis", "Aim Axis",
                                "The axis of the constrained location, in its own space, that points at "
                                "the target.",
                                {{1.0f, 0.0f, 0.0f}}));
    arguments.push_back(vector3("args.baseUpAxis", "Up Axis",
                                "The axis of the constrained location, in its own space, that is turned "
                                "towards the target up axis.",
                                {{0.0f, 1.0f, 0.0f}}));
    arguments.push_back(vector3("args.targetUpAxis", "Target Up Axis",
                                "The world-space direction that the up axis is turned towards.",
                                {{0.0f, 1.0f, 0.0f}}));
    return arguments;
}

std::vector<EditableArgument> orientArguments() {
    std::vector<EditableArgument> arguments = commonArguments();
    arguments.push_back(popup("args.targetOrientation", "Target Orientation",
                              "Take the orientation of the first target's transform (object) or of one "
                              "of its faces (face).",
                              {"object", "face"}));
    EditableArgument faceIndex =
        argument("args.targetFaceIndex", ArgumentKind::Int, "integer", "Target Face Index",
                 "The face of the first target whose orientation is taken when the target "
                 "orientation is face.");
    // Only read for "face": a new constraint leaves it out, the editor offers face 0.
    faceIndex.inNewConstraint = false;
    arguments.push_back(faceIndex);
    arguments.push_back(checkBox("args.xAxis", "Follow X Rotation",
                                 "When on, the rotation about x follows the target; when off, the location "
                                 "keeps its own.",
                                 1));
    arguments.push_back(checkBox("args.yAxis", "Follow Y Rotation",
                                 "When on, the rotation about y follows the target; when off, the location "
                                 "keeps its own.",
                                 1));
    arguments.push_back(checkBox("args.zAxis", "Follow Z Rotation",
                                 "When on, the rotation about z follows the target; when off, the location "
                                 "keeps its own.",
                                 1));
    return arguments;
}

std::vector<EditableArgument> pointArguments() {
    std::vector<EditableArgument> arguments = commonArguments();
    arguments.push_back(popup("args.targetOrigin", "Target Origin",
                              "The point of each target that is followed; several targets are averaged.",
                              kOriginModes));
    arguments.push_back(popup("args.baseOrigin", "Base Origin",
                              "The point of the constrained location, in its own space, that is moved "
                              "onto the target point.",
                              kOriginModes));
    arguments.push_back(checkBox("args.xAxis", "Follow X",
                                 "When on, the location follows the target along x; when off, x stays.", 1));
    arguments.push_back(checkBox("args.yAxis", "Follow Y",
                                 "When on, the location follows the target along y; when off, y stays.", 1));
    arguments.push_back(checkBox("args.zAxis", "Follow Z",
                                 "When on, the location follows the target along z; when off, z stays.", 1));
    return arguments;
}

} // namespace

bool isEditableConstraintType(const std::string& type) {
    return type == "Aim" || type == "Orient" || type == "Point";
}

const std::vector<EditableArgument>& editableArguments(const std::string& type) {
    // Built once on first use and only read afterwards.
    static const std::vector<EditableArgument> aim = aimArguments();
    static const std::vector<EditableArgument> orient = orientArguments();
    static const std::vector<EditableArgument> point = pointArguments();
    static const std::vector<EditableArgument> none;
    if (type == "Aim") {
        return aim;
    }
    if (type == "Orient") {
        return orient;
    }
    if (type == "Point") {
        return point;
    }
    return none;
}

Qn::Attribute defaultValueOf(const EditableArgument& argument) {
    switch (argument.kind) {
    case ArgumentKind::StringArray:
        return Qn::StringAttribute(std::vector<std::string>());
    case ArgumentKind::String:
        return Qn::StringAttribute(argument.defaultString);
    case ArgumentKind::Int:
        return Qn::IntAttribute(argument.defaultInt);
    case ArgumentKind::Float3:
        return Qn::FloatAttribute(argument.defaultFloat3.data(), 3, 3);
    }
    return Qn::Attribute();
}

bool hasEditableKind(const Qn::Attribute& value, const EditableArgument& argument) {
    switch (argument.kind) {
    case ArgumentKind::StringArray:
        return Qn::StringAttribute(value).isValid();
    case ArgumentKind::String:
        return !Qn::StringAttribute(value).getNearestSample(0.0f).empty();
    case ArgumentKind::Int:
        return !Qn::IntAttribute(value).getNearestSample(0.0f).empty();
    case ArgumentKind::Float3:
        return Qn::FloatAttribute(value).getNearestSample(0.0f).size == 3;
    }
    return false;
}

Qn::GroupAttribute newConstraintGroup(const std::string& type) {
    if (!isEditableConstraintType(type)) {
        return Qn::GroupAttribute();
    }
    Qn::GroupBuilder builder;
    builder.set("type", Qn::StringAttribute(type));
    for (const EditableArgument& argument : editableArguments(type)) {
        if (argument.inNewConstraint) {
            builder.set(argument.name, defaultValueOf(argument));
        }
    }
    return builder.build();
}

} // namespace Private
} // namespace Vexil3Constraints
