// The explain report: a readable account of how the op chain treated one location's constraints.
#pragma once

#include "host/scene/SceneTypes.h"

#include <ostream>
#include <string>

namespace VexilHost {

/// The three states of a scene that the report compares, all rooted at "/root".
struct ExplainScenes {
    /// The scene file's input scene.
    const SceneLocation* input = nullptr;
    /// The scene just before the chain's last ConstraintResolve op (with the constraint descriptions).
    const SceneLocation* beforeResolve = nullptr;
    /// The scene after the whole op chain.
    const SceneLocation* cooked = nullptr;
    /// Whether the op chain has a ConstraintResolve op at all.
    bool hasResolveOp = false;
};

/// Writes the account of the location at `path`: its constraints in order with their type, targets
/// (absolute, kept or dropped and why), switches, arguments, input transform sample times, evaluated
/// sample times and resulting matrix per sample (or the error), the attributes resolution changed,
/// errors and warnings, and its world transform before (input scene) and after (cooked). Numbers are
/// rounded to six significant digits. Returns false, writing nothing, when the cooked scene has no
/// location at `path`.
bool writeExplanation(std::ostream& out, const std::string& path, const ExplainScenes& scenes);

/// A number as the report writes it: six significant digits, magnitudes below 5e-13 as 0.
std::string readableNumber(double value);

} // namespace VexilHost
