#include "constraints/resolve/ConstraintArguments.h"

#include "constraints/resolve/ResolverChecks.h"
#include "hostapi/attribute/DataAttribute.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kArgsPrefix("args.");

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

} // namespace

EditableArgument pathsArgument(const std::string& name, const std::string& label, const std::string& help) {
    return argument(name, ArgumentKind::StringArray, "scenegraphLocation", label, help);
}

EditableArgument switchArgument(const std::string& name, const std::string& label, const std::string& help,
                                int32_t defaultValue) {
    EditableArgument a = argument(name, ArgumentKind::Int, "checkBox", label, help);
    a.defaultInt = defaultValue;
    return a;
}

EditableArgument choiceArgument(const std::string& name, const std::string& label, const std::string& help,
                                const std::vector<std::string>& options) {
    EditableArgument a = argument(name, ArgumentKind::String, "popup", label, help);
    a.options = options;
    a.defaultString = options.front();
    return a;
}

EditableArgument vectorArgument(const std::string& name, const std::string& label, const std::string& help,
                                const std::array<float, 3>& defaultValue) {
    EditableArgument a = argument(name, ArgumentKind::Float3, "vector3", label, help);
    a.defaultFloat3 = defaultValue;
    return a;
}

EditableArgument indexArgument(const std::string& name, const std::string& label, const std::string& help) {
    EditableArgument a = argument(name, ArgumentKind::Int, "integer", label, help);
    // Only read in some modes: a new constraint leaves it out, the editor offers 0.
    a.inNewConstraint = false;
    return a;
}

const std::vector<std::string>& originModeNames() {
    static const std::vector<std::string> names = {"origin", "boundingBox", "faceCenterAverage",
                                                   "faceBoundingBox"};
    return names;
}

ConstraintArguments::ConstraintArguments(const Qn::GroupAttribute& constraintGroup)
    : m_group(constraintGroup) {
    // The scan for dotted names also finds `args`, the first child of that name as the lookup by
    // name would: no second search for it.
    int64_t argsIndex = -1;
    for (int64_t i = 0, n = m_group.getNumberOfChildren(); i < n; ++i) {
        const std::string_view name = m_group.getChildNameView(i);
        if (name.find('.') != std::string_view::npos) {
            m_direct = false;
            return;
        }
        if (argsIndex < 0 && name == "args") {
            argsIndex = i;
        }
    }
    if (argsIndex >= 0) {
        m_args = m_group.getChildByIndex(argsIndex);
    }
}

ConstraintArguments::ConstraintArguments(const Qn::GroupAttribute& constraintGroup, const Qn::Attribute& args,
                                         bool dottedNames)
    : m_group(constraintGroup), m_args(dottedNames ? Qn::Attribute() : args), m_direct(!dottedNames) {}

Qn::Attribute ConstraintArguments::get(std::string_view name) const {
    // Without dotted child names, the dotted lookup of "args.<rest>" can only end in `args`.
    if (m_direct && name.substr(0, kArgsPrefix.size()) == kArgsPrefix) {
        return m_args.getChildByName(name.substr(kArgsPrefix.size()));
    }
    return m_group.getChildByName(name);
}

namespace {

/// The first value (nearest to time 0) of `attribute` if it is a string; empty otherwise. Valid while
/// the group holding the attribute lives.
std::string_view firstString(Qn::Attribute&& attribute) {
    const Qn::SampleView<const char*> values =
        Qn::StringAttribute(std::move(attribute)).getNearestSample(0.0f);
    return values.empty() ? std::string_view() : std::string_view(values[0]);
}

/// The origin mode a string argument names; none for an empty value (missing, or not a string).
std::optional<OriginMode> originModeIfAny(std::string_view value) {
    return value.empty() ? std::nullopt : std::optional<OriginMode>(originModeOf(value));
}

} // namespace

std::string_view ConstraintArguments::stringValue(std::string_view name) const {
    // The group holds the attribute, so its values outlive the temporary.
    return firstString(get(name));
}

std::optional<OriginMode> findOriginMode(const ConstraintArguments& arguments,
                                         std::string_view argumentName) {
    return originModeIfAny(arguments.stringValue(argumentName));
}

std::optional<OriginMode> findOriginMode(const Qn::GroupAttribute& constraintGroup,
                                         std::string_view argumentName) {
    return originModeIfAny(firstString(constraintGroup.getChildByName(argumentName)));
}

OriginMode requireOriginMode(const std::optional<OriginMode>& mode, std::string_view resolverType,
                             std::string_view argumentName) {
    if (!mode) {
        ResolverChecks(resolverType).failEmptyArgument(argumentName);
    }
    return *mode;
}

Imath::V3d getFloat3Arg(const ConstraintArguments& arguments, const std::string& name) {
    return float3Value(arguments.get(name), name);
}

bool getAxisFlag(const ConstraintArguments& arguments, std::string_view name) {
    return Qn::IntAttribute(arguments.get(name)).getValue(1, false) != 0;
}

} // namespace Private
} // namespace Vexil3Constraints
