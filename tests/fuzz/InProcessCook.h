// Cooks a scene file inside this process with the real host engine and the real plug-in, several
// ways, and checks what must hold for any input: no crash, the same output for one thread, two
// threads and two threads in abort mode, and every attribute and builder released afterwards.
#pragma once

#include "host/loader/OpRegistry.h"

#include <string>

namespace VexilFuzz {

/// The op registry of this build's plug-in folder (and VEXIL_PLUGIN_PATH), loaded once.
const VexilHost::OpRegistry& pluginRegistry();

/// What cookChecked saw.
struct CookCheckResult {
    bool readable = false; ///< the scene reader accepted the text
    std::string cooked;    ///< the cooked scene with world transforms, in the written form
};

/// Reads `sceneText` (named `name` in messages) and, when readable, cooks it with 1 thread, 2 threads
/// and 2 threads in abort mode; aborts the process with a description unless every cook gives the
/// same text and the live attribute and builder counts are back where they started.
CookCheckResult cookChecked(const std::string& sceneText, const std::string& name);

} // namespace VexilFuzz
