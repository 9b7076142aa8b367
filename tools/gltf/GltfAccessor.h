// Reading accessors of a glTF model with every reference and length checked first, so that a
// malformed file gives a message naming the accessor instead of a read outside the data.
#pragma once

#include <tiny_gltf.h>

#include <cstdint>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// The elements of accessor `index` as doubles, `components` per element one after another (1 for
/// SCALAR, 3 for VEC3, 4 for VEC4, 16 for MAT4; the accessor's type must match). Float components
/// are read as they are, integer ones as integers, or mapped to [0, 1] or [-1, 1] when the accessor
/// is normalized. Throws GltfFormatError "accessor <index>: <what>" for a missing accessor, buffer
/// view or buffer, data that does not fit, a sparse accessor, or a value that is not finite.
std::vector<double> accessorValues(const tinygltf::Model& model, int index, int components);

/// The elements of a SCALAR accessor of unsigned integers (vertex indices). Throws GltfFormatError as
/// accessorValues does, also for another component type.
std::vector<std::uint32_t> accessorIndices(const tinygltf::Model& model, int index);

} // namespace Gltf
} // namespace VexilHost
