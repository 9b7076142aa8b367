// Parsing of scene-file JSON into an order-keeping document, with line numbers for messages.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace VexilHost {

/// One step of a path into a JSON document: an object key, or an array index when `isIndex`.
struct JsonPathStep {
    std::string key;
    std::size_t index = 0;
    bool isIndex = false;
};

/// A path from the top of a document to one value.
using JsonPath = std::vector<JsonPathStep>;

/// The dotted text of a path, indices in brackets: "scene.children.world.attrs", "ops[1].type".
std::string formatJsonPath(const JsonPath& path);

/// Malformed JSON text: `what()` is the reason alone; the 1-based line and column of the offending
/// character are separate.
class JsonSyntaxError : public std::runtime_error {
public:
    JsonSyntaxError(const std::string& reason, std::size_t line, std::size_t column)
        : std::runtime_error(reason), m_line(line), m_column(column) {}
    std::size_t line() const { return m_line; }
    std::size_t column() const { return m_column; }

private:
    std::size_t m_line;
    std::size_t m_column;
};

/// Parses `text` into a document whose objects keep the order of their keys. Throws JsonSyntaxError
/// for malformed text and for a key that appears twice in one object.
nlohmann::ordered_json parseJsonDocument(const std::string& text);

/// The 1-based line on which the value at `path` in `text` starts (for an object member, the line of
/// its key). When the path does not exist, the line of its deepest existing ancestor; 0 when not even
/// the first step exists. `text` must be well-formed JSON.
std::size_t lineOfJsonPath(const std::string& text, const JsonPath& path);

} // namespace VexilHost
