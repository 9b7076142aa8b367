#include "tools/gltf/GltfFile.h"

#include "host/scene/InputFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <sstream>

namespace VexilHost {
namespace Gltf {

namespace {

constexpr char kBinaryMagic[] = "glTF";

struct ReadContext {
    std::uint64_t maxBytes;
};

bool fileExists(const std::string& path, void*) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

std::string expandFilePath(const std::string& path, void*) {
    return path;
}

// Buffers and images outside the file are read within the same size limit as the file itself.
bool readWholeFile(std::vector<unsigned char>* out, std::string* err, const std::string& path, void* user) {
    try {
        const std::string bytes = readInputFile(path, static_cast<ReadContext*>(user)->maxBytes);
        out->assign(bytes.begin(), bytes.end());
        return true;
    } catch (const SceneFileError& error) {
        if (err) {
            *err += error.what();
        }
        return false;
    }
}

bool writeWholeFile(std::string* err, const std::string&, const std::vector<unsigned char>&, void*) {
    if (err) {
        *err += "files are not written by the reader";
    }
    return false;
}

std::string base64(const unsigned char* bytes, std::size_t size) {
    static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        const unsigned value = (unsigned(bytes[i]) << 16) |
                               (i + 1 < size ? unsigned(bytes[i + 1]) << 8 : 0u) |
                               (i + 2 < size ? unsigned(bytes[i + 2]) : 0u);
        text += kDigits[(value >> 18) & 63];
        text += kDigits[(value >> 12) & 63];
        text += i + 1 < size ? kDigits[(value >> 6) & 63] : '=';
        text += i + 2 < size ? kDigits[value & 63] : '=';
    }
    return text;
}

// Images are not decoded: one in a buffer view or an external file keeps its reference, and one
// embedded as a data URI (which tinygltf has just decoded) gets the same data URI back.
bool keepImage(tinygltf::Image* image, const int, std::string*, std::string*, int, int,
               const unsigned char* bytes, int size, void*) {
    if (image->uri.empty() && image->bufferView < 0) {
        const std::string mime = image->mimeType.empty() ? "application/octet-stream" : image->mimeType;
        image->uri = "data:" + mime + ";base64," + base64(bytes, static_cast<std::size_t>(size));
    }
    return true;
}

bool leaveImage(const std::string*, const std::string*, const tinygltf::Image*, bool, std::string*, void*) {
    return false; // not written: the writer keeps the image's own uri
}

// tinygltf's messages end lines with line feeds, and quote whole data URIs; the report is one line,
// with the data left out.
std::string oneLine(const std::string& text) {
    std::string line;
    std::istringstream lines(text);
    for (std::string part; std::getline(lines, part);) {
        const std::size_t data = part.find(";base64,");
        if (data != std::string::npos) {
            const std::size_t end = part.find_first_of(" '\"", data);
            part.replace(data + 8, (end == std::string::npos ? part.size() : end) - data - 8, "...");
        }
        while (!part.empty() && (part.back() == ' ' || part.back() == '\r')) {
            part.pop_back();
        }
        if (!part.empty()) {
            line += (line.empty() ? "" : "; ") + part;
        }
    }
    return line.empty() ? std::string("unreadable glTF") : line;
}

bool isRelativeFileUri(const std::string& uri) {
    return !uri.empty() && uri.rfind("data:", 0) != 0 && uri.find("://") == std::string::npos &&
           uri[0] != '/';
}

} // namespace

tinygltf::Model readGltfModel(const std::string& path, std::uint64_t maxBytes) {
    const std::string bytes = readInputFile(path, maxBytes);
    if (bytes.size() > std::numeric_limits<unsigned int>::max()) {
        throw SceneFileError(path + ": cannot read: glTF files of 4 GiB and more are not read");
    }
    ReadContext context{maxBytes};
    tinygltf::TinyGLTF loader;
    loader.SetFsCallbacks({&fileExists, &expandFilePath, &readWholeFile, &writeWholeFile, &context});
    loader.SetImageLoader(&keepImage, nullptr);
    loader.SetStoreOriginalJSONForExtrasAndExtensions(true);
    const std::string folder = std::filesystem::path(path).parent_path().string();
    tinygltf::Model model;
    std::string err;
    std::string warn;
    const bool binary = bytes.compare(0, 4, kBinaryMagic) == 0;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto size = static_cast<unsigned int>(bytes.size());
    bool read = false;
    try {
        read = binary ? loader.LoadBinaryFromMemory(&model, &err, &warn, data, size, folder)
                      : loader.LoadASCIIFromString(&model, &err, &warn, bytes.data(), size, folder);
    } catch (const std::bad_alloc&) {
        throw SceneFileError(path + ": out of memory while reading the glTF");
    } catch (const std::exception& error) {
        err = error.what();
    }
    if (!read) {
        throw SceneFileError(path + ": not a readable glTF 2.0 file: " + oneLine(err));
    }
    return model;
}

std::string writeGltfModel(tinygltf::Model model, const std::string& path, bool binary,
                           const std::string& sourceFolder) {
    // Every buffer is embedded: the first one as the binary chunk, the others as data URIs.
    for (tinygltf::Buffer& buffer : model.buffers) {
        buffer.uri.clear();
    }
    const auto folderOf = [](const std::string& file) {
        const std::filesystem::path parent =
            file == "-" ? std::filesystem::path() : std::filesystem::path(file).parent_path();
        return std::filesystem::absolute(parent.empty() ? std::filesystem::path(".") : parent)
            .lexically_normal();
    };
    const std::filesystem::path outputFolder = folderOf(path);
    const std::filesystem::path inputFolder = std::filesystem::absolute(
        sourceFolder.empty() ? std::filesystem::path(".") : std::filesystem::path(sourceFolder));
    for (tinygltf::Image& image : model.images) {
        if (isRelativeFileUri(image.uri)) {
            const std::filesystem::path file = (inputFolder / image.uri).lexically_normal();
            image.uri = file.lexically_relative(outputFolder).generic_string();
        }
    }
    tinygltf::TinyGLTF writer;
    writer.SetImageWriter(&leaveImage, nullptr);
    std::ostringstream text;
    if (!writer.WriteGltfSceneToStream(&model, text, true, binary)) {
        return path + ": cannot write: tinygltf could not serialise the model";
    }
    const std::string name = path == "-" ? std::string("standard output") : path;
    if (path == "-") {
        std::cout << text.str() << std::flush;
        return std::cout ? std::string() : name + ": cannot write";
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out) {
        out << text.str();
        out.close();
    }
    return out ? std::string() : name + ": cannot write: " + std::strerror(errno);
}

} // namespace Gltf
} // namespace VexilHost
