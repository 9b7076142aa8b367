// The error raised inside the glTF reader and writer for a file that cannot be used: its message
// names the part of the file (node, accessor, animation, ...) and what is wrong, on one line.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace VexilHost {
namespace Gltf {

/// Something wrong in a glTF file, such as `accessor 3: 24 elements of 12 bytes do not fit in the
/// 200 bytes of buffer view 1`; the reader adds the file's name in front.
class GltfFormatError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A part of a glTF file as messages name it: `<kind> <index>`, then its name in quotes when it has
/// one (`node 1 "Follower"`, `mesh 0`).
inline std::string partName(const char* kind, std::size_t index, const std::string& name) {
    return kind + (" " + std::to_string(index)) + (name.empty() ? std::string() : " \"" + name + "\"");
}

} // namespace Gltf
} // namespace VexilHost
