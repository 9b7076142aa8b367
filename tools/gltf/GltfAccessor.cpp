#include "tools/gltf/GltfAccessor.h"

#include "tools/gltf/GltfFormatError.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace VexilHost {
namespace Gltf {

namespace {

constexpr std::size_t kMaxElementsWithoutData = std::size_t(1) << 24;

[[noreturn]] void fail(int index, const std::string& what) {
    throw GltfFormatError("accessor " + std::to_string(index) + ": " + what);
}

const char* typeName(int components) {
    switch (components) {
    case 1:
        return "SCALAR";
    case 2:
        return "VEC2";
    case 3:
        return "VEC3";
    case 4:
        return "VEC4";
    case 16:
        return "MAT4";
    default:
        return "another type";
    }
}

// Where an accessor's elements are: the bytes of its buffer, the first element and the step between
// elements. No bytes at all for an accessor without a buffer view (its elements are zeros).
struct Layout {
    const unsigned char* first = nullptr;
    std::size_t stride = 0;
    std::size_t componentSize = 0;
};

Layout layoutOf(const tinygltf::Model& model, int index, const tinygltf::Accessor& accessor, int components) {
    if (accessor.sparse.isSparse) {
        fail(index, "sparse accessors are not read");
    }
    const int size = tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(accessor.componentType));
    if (size <= 0) {
        fail(index, "unknown component type " + std::to_string(accessor.componentType));
    }
    Layout layout;
    layout.componentSize = static_cast<std::size_t>(size);
    if (accessor.bufferView < 0) {
        // Zeros take no room in the file, so their number is bounded here instead.
        if (accessor.count > kMaxElementsWithoutData) {
            fail(index, std::to_string(accessor.count) +
                            " elements without a buffer view are more than the " +
                            std::to_string(kMaxElementsWithoutData) + " read");
        }
        return layout;
    }
    if (static_cast<std::size_t>(accessor.bufferView) >= model.bufferViews.size()) {
        fail(index, "buffer view " + std::to_string(accessor.bufferView) + " does not exist (the file has " +
                        std::to_string(model.bufferViews.size()) + ")");
    }
    const tinygltf::BufferView& view = model.bufferViews[static_cast<std::size_t>(accessor.bufferView)];
    if (view.buffer < 0 || static_cast<std::size_t>(view.buffer) >= model.buffers.size()) {
        fail(index, "buffer view " + std::to_string(accessor.bufferView) + " names buffer " +
                        std::to_string(view.buffer) + ", which does not exist");
    }
    const tinygltf::Buffer& buffer = model.buffers[static_cast<std::size_t>(view.buffer)];
    // All in 64-bit unsigned arithmetic, each sum checked against what it must fit in, so that huge
    // offsets cannot wrap around.
    const std::uint64_t bufferBytes = buffer.data.size();
    const std::uint64_t viewOffset = view.byteOffset;
    const std::uint64_t viewLength = view.byteLength;
    if (viewOffset > bufferBytes || viewLength > bufferBytes - viewOffset) {
        fail(index, "buffer view " + std::to_string(accessor.bufferView) + " (" + std::to_string(viewLength) +
                        " bytes from byte " + std::to_string(viewOffset) + ") does not fit in the " +
                        std::to_string(bufferBytes) + " bytes of buffer " + std::to_string(view.buffer));
    }
    const std::uint64_t elementBytes =
        static_cast<std::uint64_t>(size) * static_cast<std::uint64_t>(components);
    const std::uint64_t stride = view.byteStride == 0 ? elementBytes : view.byteStride;
    if (stride < elementBytes) {
        fail(index, "a byte stride of " + std::to_string(stride) + " is shorter than its " +
                        std::to_string(elementBytes) + "-byte elements");
    }
    const std::uint64_t count = accessor.count;
    const std::uint64_t offset = accessor.byteOffset;
    if (count > 0) {
        const bool fits = offset <= viewLength && elementBytes <= viewLength - offset &&
                          (count - 1) <= (viewLength - offset - elementBytes) / stride;
        if (!fits) {
            fail(index, std::to_string(count) + " elements of " + std::to_string(elementBytes) +
                            " bytes every " + std::to_string(stride) + " bytes from byte " +
                            std::to_string(offset) + " do not fit in the " + std::to_string(viewLength) +
                            " bytes of buffer view " + std::to_string(accessor.bufferView));
        }
    }
    layout.first = buffer.data.data() + viewOffset + offset;
    layout.stride = static_cast<std::size_t>(stride);
    return layout;
}

template <typename T> T load(const unsigned char* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

double component(const unsigned char* at, int type, bool normalized) {
    switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE: {
        const double v = load<std::int8_t>(at);
        return normalized ? std::max(v / 127.0, -1.0) : v;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE: {
        const double v = load<std::uint8_t>(at);
        return normalized ? v / 255.0 : v;
    }
    case TINYGLTF_COMPONENT_TYPE_SHORT: {
        const double v = load<std::int16_t>(at);
        return normalized ? std::max(v / 32767.0, -1.0) : v;
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT: {
        const double v = load<std::uint16_t>(at);
        return normalized ? v / 65535.0 : v;
    }
    case TINYGLTF_COMPONENT_TYPE_INT:
        return load<std::int32_t>(at);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        return load<std::uint32_t>(at);
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
        return load<float>(at);
    default:
        return load<double>(at);
    }
}

const tinygltf::Accessor& accessorAt(const tinygltf::Model& model, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= model.accessors.size()) {
        fail(index, "does not exist (the file has " + std::to_string(model.accessors.size()) + " accessors)");
    }
    return model.accessors[static_cast<std::size_t>(index)];
}

} // namespace

std::vector<double> accessorValues(const tinygltf::Model& model, int index, int components) {
    const tinygltf::Accessor& accessor = accessorAt(model, index);
    const int actual = tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(accessor.type));
    if (actual != components) {
        fail(index, std::string("is ") + typeName(actual) + " where " + typeName(components) + " is needed");
    }
    const Layout layout = layoutOf(model, index, accessor, components);
    std::vector<double> values(accessor.count * static_cast<std::size_t>(components), 0.0);
    if (!layout.first) {
        return values;
    }
    for (std::size_t i = 0; i < accessor.count; ++i) {
        const unsigned char* element = layout.first + i * layout.stride;
        for (int c = 0; c < components; ++c) {
            const double v = component(element + static_cast<std::size_t>(c) * layout.componentSize,
                                       accessor.componentType, accessor.normalized);
            if (!std::isfinite(v)) {
                fail(index, "element " + std::to_string(i) + " holds a value that is not finite");
            }
            values[i * static_cast<std::size_t>(components) + static_cast<std::size_t>(c)] = v;
        }
    }
    return values;
}

std::vector<std::uint32_t> accessorIndices(const tinygltf::Model& model, int index) {
    const tinygltf::Accessor& accessor = accessorAt(model, index);
    const int type = accessor.componentType;
    if (type != TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE && type != TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT &&
        type != TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT) {
        fail(index, "vertex indices must be unsigned integers, not component type " + std::to_string(type));
    }
    if (accessor.normalized) {
        fail(index, "vertex indices cannot be normalized");
    }
    const std::vector<double> values = accessorValues(model, index, 1);
    return std::vector<std::uint32_t>(values.begin(), values.end());
}

} // namespace Gltf
} // namespace VexilHost
