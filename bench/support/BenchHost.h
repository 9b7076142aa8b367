// The host side of the benchmarks: the real plug-in loaded through the host's registry, and cooks of
// generated scenes through the real engine.
#pragma once

#include "host/engine/Engine.h"
#include "host/loader/OpRegistry.h"

#include <string>

namespace VexilBench {

/// The registry of this build's op plug-ins (VexilConstraints.so), loaded once; the host's attribute
/// suite is installed in the attribute classes first. Throws std::runtime_error when the plug-in or
/// its ConstraintResolve op is missing.
const VexilHost::OpRegistry& pluginRegistry();

/// Cooks `scene` once with `threads` cook threads and returns the cooked scene.
VexilHost::SceneLocation cookScene(const VexilHost::SceneFile& scene, int threads);

/// The first `errorMessage` found on the cooked location at `path` or below it ("" when none): a
/// benchmark that cooks failures measures the wrong thing.
std::string firstError(const VexilHost::SceneLocation& root, const std::string& path);

} // namespace VexilBench
