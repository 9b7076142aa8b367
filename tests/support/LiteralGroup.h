// Groups for tests, built in literal mode so that a dotted name ("args.xAxis") stays one child, as a
// scene file writes it.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <utility>
#include <vector>

namespace VexilTest {

using Children = std::vector<std::pair<std::string, Qn::Attribute>>;

inline Qn::GroupAttribute literalGroup(const Children& children) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& [name, value] : children)
        builder.set(name, value);
    return builder.build();
}

} // namespace VexilTest
