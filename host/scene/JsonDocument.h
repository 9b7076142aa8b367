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

/// Adds one step to a path for as long as it lives, so that a reader descending through a document
/// keeps one path instead of copying it at every level.
class JsonPathScope {
public:
    JsonPathScope(JsonPath& path, std::string key) : m_path(path) {
        m_path.push_back({std::move(key), 0, false});
    }
    JsonPathScope(JsonPath& path, std::size_t index) : m_path(path) {
        m_path.push_back({std::string(), index, true});
    }
    ~JsonPathScope() { m_path.pop_back(); }
    JsonPathScope(const JsonPathScope&) = delete;
    JsonPathScope& operator=(const JsonPathScope&) = delete;

private:
    JsonPath& m_path;
};

/// The dotted text of a path, indices in brackets: "scene.children.world.attrs", "ops[1].type";
/// control characters in keys as \u00XX.
std::string formatJsonPath(const JsonPath& path);

/// Objects and arrays nest at most this deep in a document.
constexpr std::size_t kMaxJsonDepth = 4096;

/// JSON text that cannot be read: malformed ("invalid JSON: <reason>"), a key twice in one object, or
/// nesting deeper than kMaxJsonDepth. `what()` says which; the 1-based line and column of the
/// offending character are separate.
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
/// for malformed text, for a key that appears twice in one object and for nesting deeper than
/// kMaxJsonDepth.
nlohmann::ordered_json parseJsonDocument(const std::string& text);

/// The 1-based line on which the value at `path` in `text` starts (for an object member, the line of
/// its key). When the path does not exist, the line of its deepest existing ancestor; 0 when not even
/// the first step exists. `text` must be well-formed JSON.
std::size_t lineOfJsonPath(const std::string& text, const JsonPath& path);

} // namespace VexilHost
