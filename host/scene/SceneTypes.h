// The in-memory form of a scene file, shared by the scene-file reader and writer, the cooking
// engine and the command-line tools.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <utility>
#include <vector>

namespace VexilHost {

/// One location of a scene: its attributes (a group, possibly empty) and its children in order.
struct SceneLocation {
    std::string name;
    Qn::GroupAttribute attrs;
    std::vector<SceneLocation> children;
};

/// One op of the op chain, applied at `location` and everything below it.
struct OpDescription {
    std::string type;
    std::string location = "/root";
    Qn::GroupAttribute args; ///< always a valid group (empty when the file gives none)
};

/// The time slice every op sees as "system.timeSlice.*".
struct TimeSlice {
    float currentTime = 0.0f;
    float shutterOpen = 0.0f;
    float shutterClose = 0.0f;
    int numSamples = 1;
};

/// A whole scene file: time slice, graph-state variables ("system.variables.*"), the input scene
/// rooted at "/root" (root.name is "root") and the op chain in order.
struct SceneFile {
    TimeSlice time;
    std::vector<std::pair<std::string, std::string>> variables;
    SceneLocation root;
    std::vector<OpDescription> ops;
};

} // namespace VexilHost
