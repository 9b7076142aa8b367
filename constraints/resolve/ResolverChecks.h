// The checks every constraint kind makes on its inputs, and the prescribed texts of their failures,
// made from the kind's name.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"

#include <Imath/ImathMatrix.h>

#include <string>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

struct ConstraintInputs;

/// The checks of one constraint kind, with the texts the kind's failures carry: each begins with
/// "<Kind> constraint resolver: ". Immutable; `kind` must outlive it (a string literal).
class ResolverChecks {
public:
    explicit constexpr ResolverChecks(std::string_view kind) : m_kind(kind) {}

    std::string_view kind() const { return m_kind; }

    /// "<Kind> constraint resolver: <what>".
    std::string text(std::string_view what) const;

    /// Throws std::runtime_error with text(what).
    [[noreturn]] void fail(std::string_view what) const;

    /// Throws "<Kind> constraint resolver: empty <argumentName>." (a required argument that is missing,
    /// of another kind or empty).
    [[noreturn]] void failEmptyArgument(std::string_view argumentName) const;

    /// The base's world transform at exactly `time`. Throws "... incorrect time samples for base xform"
    /// when there is none.
    const Imath::M44d& baseAt(const ConstraintInputs& inputs, float time) const;

    /// The first target's transform samples. Throws "... no target xform" when there are none.
    const XformSamples& firstTargetSamples(const ConstraintInputs& inputs) const;

    /// Target `index`'s world transform at exactly `time` (the index must be below the number of target
    /// sample maps). Throws text(whenMissing) when there is none.
    const Imath::M44d&
    targetAt(const ConstraintInputs& inputs, size_t index, float time,
             std::string_view whenMissing = "incorrect time samples for target xform") const;

    /// The first target path. Throws "... no target location path." when there is none.
    const std::string& firstTargetPath(const ConstraintInputs& inputs) const;

    /// Throws "<Kind> constraint internal error: targetLocationPaths.size() != targetXformVector.size()."
    /// when the target paths and the target sample maps differ in number.
    void checkTargetCounts(const ConstraintInputs& inputs) const;

private:
    std::string_view m_kind;
};

/// The matrix of an exact sample-time key, or null when the map has none at `time`.
const Imath::M44d* findSample(const XformSamples& samples, float time);

} // namespace Private
} // namespace Vexil3Constraints
