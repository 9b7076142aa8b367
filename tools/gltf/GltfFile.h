// glTF 2.0 files in and out through tinygltf: reading within a size limit and writing with the data
// embedded, images left as they are.
#pragma once

#include <tiny_gltf.h>

#include <cstdint>
#include <string>

namespace VexilHost {
namespace Gltf {

/// Reads the glTF file at `path` (JSON, or the binary container when the file starts with its
/// magic). External buffers and images are read relative to the file's folder; the file and each of
/// them may hold at most `maxBytes`. Images are kept as they were written (never decoded), so that
/// writing the model again leaves them untouched. Throws SceneFileError "<file>: <what>" (one line).
tinygltf::Model readGltfModel(const std::string& path, std::uint64_t maxBytes);

/// Writes `model` to `path` ("-": standard output) as JSON with its buffers embedded, or as the binary
/// container when `binary`. Relative image paths are rewritten to stay valid from the folder of
/// `path`, which they were written relative to `sourceFolder`. Returns an empty text, or
/// "<file>: cannot write: <why>".
std::string writeGltfModel(tinygltf::Model model, const std::string& path, bool binary,
                           const std::string& sourceFolder);

} // namespace Gltf
} // namespace VexilHost
