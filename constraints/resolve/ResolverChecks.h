// The checks every constraint kind makes on its inputs and results, and the prescribed texts of their
// failures, made from the kind's name.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"

#include <Imath/ImathMatrix.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

struct ConstraintInputs;

/// The largest magnitude of a number a constraint reads or gives. At 1e15 a double still resolves an
/// eighth of a unit; nothing a scene places is that far out, and every value beyond it seen so far was
/// the sign of a degenerate input (a screen-window edge on the view axis, a value near the largest
/// double), not an intended one.
constexpr double kLargestConstraintValue = 1e15;

/// What is wrong with a run of numbers, if anything, in increasing order of weight: a NaN or an
/// infinity wins over a size.
enum class ValueProblem { None, TooLarge, NotFinite };

/// The problem of `count` values (None for zero values).
ValueProblem valueProblem(const double* values, size_t count);
ValueProblem valueProblem(const float* values, size_t count);
inline ValueProblem valueProblem(const Imath::M44d& matrix) {
    return valueProblem(matrix.getValue(), 16);
}

/// The words for a problem after the name of what has it: "is not finite" or "has a value beyond
/// 1e15"; empty for None.
std::string_view describe(ValueProblem problem);

/// Throws std::runtime_error "<what> is not finite." or "<what> has a value beyond 1e15." when the
/// values have that problem; `what` begins the sentence ("Bound of /root/world/box").
void requireUsable(ValueProblem problem, std::string_view what);

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

    /// Throws "<Kind> constraint resolver: <what> is not finite." or "... <what> has a value beyond
    /// 1e15." when the values have that problem.
    void requireUsable(ValueProblem problem, std::string_view what) const;

    /// `matrix`, the world transform of `path`; throws requireUsable's text for "transform of <path>"
    /// when it cannot be used.
    const Imath::M44d& usableTransform(const Imath::M44d& matrix, const std::string& path) const;

    /// The base's world transform at exactly `time`. Throws "... incorrect time samples for base xform"
    /// when there is none, and requireUsable's text for "transform of <base path>".
    const Imath::M44d& baseAt(const ConstraintInputs& inputs, float time) const;

    /// The first target's transform samples. Throws "... no target xform" when there are none.
    const XformSamples& firstTargetSamples(const ConstraintInputs& inputs) const;

    /// Target `index`'s world transform at exactly `time` (the index must be below the number of target
    /// sample maps). Throws text(whenMissing) when there is none, and requireUsable's text for
    /// "transform of <target path>".
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
