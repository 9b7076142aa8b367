// Turns fuzzer bytes into a scene file for whole cooks: a few locations with random and degenerate
// transforms, meshes, face sets, patches, cameras and bounds, constraints of every registered type
// with arguments of random kinds and sizes, a constraint list with missing, repeated and cyclic
// entries, and an op chain of the authoring ops and ConstraintResolve.
#pragma once

#include "tests/fuzz/FuzzBytes.h"

#include <nlohmann/json.hpp>

namespace VexilFuzz {

/// A scene file in the JSON form the scene reader accepts; every encoding it writes is valid, so
/// the reader only refuses it for a defect of its own.
nlohmann::ordered_json generateScene(FuzzBytes& in);

} // namespace VexilFuzz
