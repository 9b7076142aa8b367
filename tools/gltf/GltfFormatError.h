// The error raised inside the glTF reader and writer for a file that cannot be used: its message
// names the part of the file (node, accessor, animation, ...) and what is wrong, on one line.
#pragma once

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

} // namespace Gltf
} // namespace VexilHost
