#include "constraints/resolve/ConstraintArguments.h"

#include "hostapi/attribute/DataAttribute.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kArgsPrefix("args.");

} // namespace

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
        throw std::runtime_error(std::string(resolverType) + " constraint resolver: empty " +
                                 std::string(argumentName) + ".");
    }
    return *mode;
}

bool getAxisFlag(const ConstraintArguments& arguments, std::string_view name) {
    return Qn::IntAttribute(arguments.get(name)).getValue(1, false) != 0;
}

} // namespace Private
} // namespace Vexil3Constraints
