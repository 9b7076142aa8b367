#include "host/scene/SceneWriter.h"

#include "host/scene/NumberText.h"

#include <string>

namespace VexilHost {

namespace {

std::string spaces(int count) {
    return std::string(static_cast<size_t>(count), ' ');
}

// `path` names the location in messages; it grows by one name per level and is restored on return.
void writeLocation(const SceneLocation& location, std::string& path, std::ostream& out, int indent) {
    out << "{\n" << spaces(indent + 2) << "\"attrs\": ";
    try {
        encodeAttributeGroup(location.attrs, out, indent + 2, std::string());
    } catch (const SceneWriteError& error) {
        throw SceneWriteError(path + ": " + error.what());
    }
    out << ",\n" << spaces(indent + 2) << "\"children\": ";
    if (location.children.empty()) {
        out << "{}";
    } else {
        out << "{\n";
        for (size_t i = 0; i < location.children.size(); ++i) {
            const SceneLocation& child = location.children[i];
            out << spaces(indent + 4) << jsonString(child.name) << ": ";
            const size_t parentLength = path.size();
            path += "/" + child.name;
            writeLocation(child, path, out, indent + 4);
            path.resize(parentLength);
            out << (i + 1 < location.children.size() ? ",\n" : "\n");
        }
        out << spaces(indent + 2) << '}';
    }
    out << '\n' << spaces(indent) << '}';
}

} // namespace

void writeScene(const SceneLocation& root, std::ostream& out, const std::string& rootPath) {
    out << "{\n  \"scene\": ";
    std::string path = rootPath;
    writeLocation(root, path, out, 2);
    out << "\n}\n";
}

void writeSceneFile(const SceneFile& file, std::ostream& out) {
    const TimeSlice& time = file.time;
    out << "{\n  \"time\": {\"currentTime\": " << formatFloat(time.currentTime)
        << ", \"shutterOpen\": " << formatFloat(time.shutterOpen)
        << ", \"shutterClose\": " << formatFloat(time.shutterClose) << ", \"numSamples\": " << time.numSamples
        << "},\n";
    if (!file.variables.empty()) {
        out << "  \"variables\": {";
        for (size_t i = 0; i < file.variables.size(); ++i) {
            out << (i == 0 ? "" : ", ") << jsonString(file.variables[i].first) << ": "
                << jsonString(file.variables[i].second);
        }
        out << "},\n";
    }
    out << "  \"scene\": ";
    std::string path = "/root";
    writeLocation(file.root, path, out, 2);
    out << ",\n  \"ops\": [";
    for (size_t i = 0; i < file.ops.size(); ++i) {
        const OpDescription& op = file.ops[i];
        out << (i == 0 ? "\n" : ",\n") << "    {\"type\": " << jsonString(op.type)
            << ", \"location\": " << jsonString(op.location) << ", \"args\": ";
        try {
            encodeAttributeGroup(op.args, out, 4, std::string());
        } catch (const SceneWriteError& error) {
            throw SceneWriteError("op " + std::to_string(i) + " (" + op.type + "): " + error.what());
        }
        out << '}';
    }
    out << (file.ops.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

} // namespace VexilHost
