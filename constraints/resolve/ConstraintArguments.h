// The arguments of constraint descriptions: declared once, by the kind that reads them, for its
// resolver and for the editing ops; and read without the dotted lookup each time.
#pragma once

#include "constraints/resolve/TargetGeometry.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <array>
#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The kind of value an argument holds, as the resolvers read it.
enum class ArgumentKind {
    StringArray, ///< string attribute with any number of values (the target paths)
    String,      ///< string attribute whose first value is used
    Int,         ///< integer attribute whose first value is used (switches, flags, indices)
    Float3,      ///< float attribute of exactly three values (a vector, row convention)
};

/// One argument of a constraint description, declared once by what reads it (a kind's resolver, or the
/// framework for the description's own switches): the name the reader uses, the kind of value, the
/// value a new constraint is given, and how an editor shows it.
struct EditableArgument {
    std::string name; ///< dotted path inside the constraint group ("args.targetOrigin")
    ArgumentKind kind = ArgumentKind::String; ///< the kind the resolver reads
    std::string widget;               ///< "scenegraphLocation", "checkBox", "popup", "vector3" or "integer"
    std::string label;                ///< short title for the editor
    std::string help;                 ///< one line on what the argument does
    std::vector<std::string> options; ///< the choices of a "popup", in display order; empty otherwise
    std::string defaultString;        ///< default of a String argument
    int32_t defaultInt = 0;           ///< default of an Int argument
    std::array<float, 3> defaultFloat3{{0.0f, 0.0f, 0.0f}}; ///< default of a Float3 argument
    bool inNewConstraint = true; ///< whether ConstraintEdit writes the default into a new constraint
};

/// A list of location paths (widget "scenegraphLocation"); a new constraint gets none.
EditableArgument pathsArgument(const std::string& name, const std::string& label, const std::string& help);

/// An on/off integer switch (widget "checkBox") whose new value is `defaultValue`.
EditableArgument switchArgument(const std::string& name, const std::string& label, const std::string& help,
                                int32_t defaultValue);

/// A string chosen from `options` (widget "popup"); a new constraint gets the first option.
EditableArgument choiceArgument(const std::string& name, const std::string& label, const std::string& help,
                                const std::vector<std::string>& options);

/// Three floats (widget "vector3") whose new value is `defaultValue`.
EditableArgument vectorArgument(const std::string& name, const std::string& label, const std::string& help,
                                const std::array<float, 3>& defaultValue);

/// An integer index (widget "integer") that a new constraint leaves out; an editor offers 0.
EditableArgument indexArgument(const std::string& name, const std::string& label, const std::string& help);

/// The names of the origin modes in the order an editor offers them, "origin" first.
const std::vector<std::string>& originModeNames();

/// The arguments of one constraint description: `get("args.xAxis")` finds exactly what the group's
/// dotted lookup finds, in one lookup inside `args`. Borrows the group, which must outlive it.
class ConstraintArguments {
public:
    explicit ConstraintArguments(const Qn::GroupAttribute& constraintGroup);

    /// The arguments of `constraintGroup` as a pass over its children found them: `args`, its first
    /// child of that name (null when there is none), and whether some child name holds a dot.
    ConstraintArguments(const Qn::GroupAttribute& constraintGroup, const Qn::Attribute& args,
                        bool dottedNames);

    /// The child at the dotted `name` ("args.xAxis"); an invalid attribute when there is none.
    Qn::Attribute get(std::string_view name) const;

    /// The first value (nearest to time 0) of the string argument `name`; empty when it is missing,
    /// not a string or has no value. Valid while the constraint group lives.
    std::string_view stringValue(std::string_view name) const;

    /// The `args` group when every `args.*` argument is read from it alone, so that what is read
    /// depends on that value and nothing else; null otherwise (no `args` group, or dotted names).
    const Qn::Attribute* argsOnly() const { return m_direct && m_args.isValid() ? &m_args : nullptr; }

private:
    const Qn::GroupAttribute& m_group;
    /// The `args` group, looked up once; only used when `m_direct` is set.
    Qn::GroupAttribute m_args;
    /// False when a child name of the group holds a dot: a literal "args.xAxis" child would win over
    /// `args` -> `xAxis`, so such groups keep the dotted lookup.
    bool m_direct = true;
};

/// A value read once, when a resolver is made, or the message its reading failed with, thrown again
/// where the value is first needed: each argument is read once, and a failure still comes at its
/// place among a sample's checks.
template <typename T> class ReadOnce {
public:
    template <typename Read> explicit ReadOnce(Read&& read) {
        try {
            m_value = read();
        } catch (const std::exception& e) {
            m_error = e.what();
        }
    }

    /// The value; throws std::runtime_error with the reading's message when it failed.
    const T& get() const {
        if (!m_value) {
            throw std::runtime_error(m_error);
        }
        return *m_value;
    }

private:
    std::optional<T> m_value;
    std::string m_error;
};

/// The origin mode of the string argument `argumentName`; none when it is missing, not a string or
/// empty. Lets a resolver read its arguments once and report a missing one only where it is needed.
std::optional<OriginMode> findOriginMode(const ConstraintArguments& arguments, std::string_view argumentName);

/// findOriginMode by one dotted lookup in `constraintGroup`: cheaper where only one argument is read.
std::optional<OriginMode> findOriginMode(const Qn::GroupAttribute& constraintGroup,
                                         std::string_view argumentName);

/// `mode`; when there is none, throws std::runtime_error "<resolverType> constraint resolver: empty
/// <argumentName>." (the argument was missing, not a string or empty).
OriginMode requireOriginMode(const std::optional<OriginMode>& mode, std::string_view resolverType,
                             std::string_view argumentName);

/// The float vector argument `name` ("args.baseAimAxis"), read and checked as getFloat3Attr does.
Imath::V3d getFloat3Arg(const ConstraintArguments& arguments, const std::string& name);

/// The axis switch `name` ("args.xAxis"): false only for an IntAttribute whose value (nearest to
/// time 0) is 0; missing, non-int or empty attributes count as true.
bool getAxisFlag(const ConstraintArguments& arguments, std::string_view name);

} // namespace Private
} // namespace Vexil3Constraints
