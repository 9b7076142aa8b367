// The host attribute library's live attribute and builder counts, for checks that everything a
// piece of work created has been released again.
#pragma once

#include "host/services/HostServices.h"

#include <cstdint>
#include <string>
#include <utility>

namespace VexilFuzz {

/// Live (attributes, builders) of the whole process; installs the host suite on first use.
inline std::pair<int64_t, int64_t> liveCounts() {
    int64_t attributes = 0;
    int64_t builders = 0;
    VexilHost::attributeSuite()->getLiveCounts(&attributes, &builders);
    return {attributes, builders};
}

/// "12 attributes, 0 builders", for messages.
inline std::string describe(const std::pair<int64_t, int64_t>& counts) {
    return std::to_string(counts.first) + " attributes, " + std::to_string(counts.second) + " builders";
}

} // namespace VexilFuzz
