// A glTF mesh as a polymesh location's attributes.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <tiny_gltf.h>

namespace VexilHost {
namespace Gltf {

/// The polymesh of glTF mesh `index`, all its primitives together.
struct MeshAttributes {
    /// `point.P` (float, three per point) and `poly.startIndex`, `poly.vertexList` (int): the
    /// children of the location's `geometry`. Invalid when the mesh has no faces.
    Qn::GroupAttribute geometry;
    /// The box around the points (double: xmin, xmax, ymin, ymax, zmin, zmax); invalid without points.
    Qn::Attribute bound;
};

/// Reads mesh `index`: triangles, triangle strips and fans become triangles (points and lines carry
/// no faces and are left out). Throws GltfFormatError naming the mesh or accessor for a primitive
/// without positions, an index beyond the points, indices that do not make whole triangles, or
/// positions outside the accessor's own min and max.
MeshAttributes meshAttributes(const tinygltf::Model& model, int index);

} // namespace Gltf
} // namespace VexilHost
