// One run of vexil-cook once its command line is read: read the input, cook every frame, write what
// was asked for and report on standard error.
#pragma once

#include "tools/vexil-cook/CommandLine.h"

namespace VexilHost {

/// Runs the cook `options` describe and returns the exit status: 0 when it finished, 1 for input
/// that cannot be used, output that cannot be written or (with --fail-on-error) a location with an
/// error, each reported as one "vexil-cook ERROR: ..." line on standard error.
int runCookCommand(const Options& options);

} // namespace VexilHost
