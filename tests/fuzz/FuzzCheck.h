// The fuzz targets' invariant check: a broken invariant prints what broke and aborts, which the
// fuzzer (or the replay test) reports as a crash together with the input that caused it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace VexilFuzz {

/// Aborts the process with `what` on standard error unless `condition` holds.
inline void check(bool condition, const std::string& what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz invariant broken: %s\n", what.c_str());
        std::fflush(stderr);
        std::abort();
    }
}

} // namespace VexilFuzz
