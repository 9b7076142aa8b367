#include "host/scene/JsonDocument.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <unordered_set>

namespace VexilHost {

using Json = nlohmann::ordered_json;

namespace {

// A character iterator that publishes how far the parser has read, so that SAX callbacks know the
// position of the token they are handed.
class CountingIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* position, const char** consumed)
        : m_position(position), m_consumed(consumed) {}
    reference operator*() const { return *m_position; }
    CountingIterator& operator++() {
        ++m_position;
        *m_consumed = m_position;
        return *this;
    }
    CountingIterator operator++(int) {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return m_position == other.m_position; }
    bool operator!=(const CountingIterator& other) const { return m_position != other.m_position; }

private:
    const char* m_position;
    const char** m_consumed;
};

struct TextPosition {
    std::size_t line;
    std::size_t column;
};

// Line and column (both 1-based) of the character at `offset`; an offset at the end of the text
// names the place just after the last character.
TextPosition positionOf(const std::string& text, std::size_t offset) {
    offset = std::min(offset, text.size());
    const auto begin = text.begin();
    const auto at = begin + static_cast<std::ptrdiff_t>(offset);
    const std::size_t line = 1 + static_cast<std::size_t>(std::count(begin, at, '\n'));
    const auto lastNewline = std::find(std::make_reverse_iterator(at), text.rend(), '\n');
    const std::size_t lineStart = static_cast<std::size_t>(text.rend() - lastNewline);
    return {line, offset - lineStart + 1};
}

// The parser's own message without its "[json.exception...] parse error at line L, column C: "
// preamble, since the position is reported separately.
std::string reasonOf(const std::string& message) {
    const std::size_t column = message.find("column ");
    if (column != std::string::npos) {
        const std::size_t colon = message.find(": ", column);
        if (colon != std::string::npos) {
            return message.substr(colon + 2);
        }
    }
    const std::size_t bracket = message.find("] ");
    return bracket == std::string::npos ? message : message.substr(bracket + 2);
}

// Builds an ordered document like the library's own DOM parser, with two differences: duplicate keys
// are rejected instead of silently keeping the last value, and objects are built in linear time. An
// object's members are staged in a vector of movable pairs while it is open and moved into the object
// when it closes; the ordered map itself would look every key up linearly, and its pairs (with const
// keys) are copied, subtrees and all, each time its storage grows.
class DocumentBuilder {
public:
    DocumentBuilder(const std::string& text, const char** consumed) : m_text(text), m_consumed(consumed) {}

    bool null() { return placed(Json(nullptr)); }
    bool boolean(bool value) { return placed(Json(value)); }
    bool number_integer(Json::number_integer_t value) { return placed(Json(value)); }
    bool number_unsigned(Json::number_unsigned_t value) { return placed(Json(value)); }
    bool number_float(Json::number_float_t value, const Json::string_t&) { return placed(Json(value)); }
    bool string(Json::string_t& value) { return placed(Json(std::move(value))); }
    bool binary(Json::binary_t& value) { return placed(Json::binary(std::move(value))); }

    bool start_object(std::size_t) {
        if (tooDeep()) {
            return false;
        }
        Json* object = place(Json(Json::value_t::object));
        m_stack.push_back(Frame{object, {}, nullptr});
        return true;
    }
    bool end_object() {
        Frame& frame = m_stack.back();
        auto& members = static_cast<Members&>(frame.container->get_ref<Json::object_t&>());
        members.reserve(frame.staged.size());
        for (auto& [name, value] : frame.staged) {
            members.emplace_back(std::move(name), std::move(value));
        }
        m_stack.pop_back();
        return true;
    }
    bool start_array(std::size_t) {
        if (tooDeep()) {
            return false;
        }
        Json* array = place(Json(Json::value_t::array));
        m_stack.push_back(Frame{array, {}, nullptr});
        return true;
    }
    bool end_array() {
        m_stack.pop_back();
        return true;
    }

    bool key(Json::string_t& name) {
        Frame& frame = m_stack.back();
        if (isDuplicate(frame, name)) {
            // The parser has just read the key's closing quote: point at it.
            const TextPosition at =
                positionOf(m_text, static_cast<std::size_t>(*m_consumed - m_text.data()) - 1);
            m_error = std::make_unique<JsonSyntaxError>("duplicate key \"" + name + "\" in one object",
                                                        at.line, at.column);
            return false;
        }
        if (frame.keys) {
            frame.keys->insert(name);
        }
        frame.staged.emplace_back(std::move(name), nullptr);
        return true;
    }

    bool parse_error(std::size_t byte, const std::string&, const nlohmann::detail::exception& error) {
        // `byte` counts the characters read, the offending one included.
        const TextPosition at = positionOf(m_text, byte == 0 ? 0 : byte - 1);
        m_error =
            std::make_unique<JsonSyntaxError>("invalid JSON: " + reasonOf(error.what()), at.line, at.column);
        return false;
    }

    Json takeDocument() { return std::move(m_root); }
    const JsonSyntaxError* error() const { return m_error.get(); }

private:
    using Members = std::vector<std::pair<const std::string, Json>>;
    // Past this many members an object keeps a hash set of its keys for the duplicate check.
    static constexpr std::size_t kLinearKeyCheck = 16;

    struct Frame {
        Json* container;
        std::vector<std::pair<std::string, Json>> staged; // an open object's members so far
        std::unique_ptr<std::unordered_set<std::string>> keys;
    };

    // Readers of the document recurse once per level; the limit keeps a hostile file from exhausting
    // the stack.
    bool tooDeep() {
        if (m_stack.size() < kMaxJsonDepth) {
            return false;
        }
        // The parser has just read the opening bracket: point at it.
        const TextPosition at = positionOf(m_text, static_cast<std::size_t>(*m_consumed - m_text.data()) - 1);
        m_error = std::make_unique<JsonSyntaxError>("objects and arrays nested deeper than " +
                                                        std::to_string(kMaxJsonDepth) + " levels",
                                                    at.line, at.column);
        return true;
    }

    static bool isDuplicate(Frame& frame, const std::string& name) {
        if (!frame.keys && frame.staged.size() >= kLinearKeyCheck) {
            frame.keys = std::make_unique<std::unordered_set<std::string>>();
            for (const auto& member : frame.staged) {
                frame.keys->insert(member.first);
            }
        }
        if (frame.keys) {
            return frame.keys->count(name) != 0;
        }
        return std::any_of(frame.staged.begin(), frame.staged.end(),
                           [&](const auto& member) { return member.first == name; });
    }

    // Stores a value where the parser is: the document itself, the next array element or the member
    // whose key came last. A container only grows while it is the innermost open one, so the
    // pointers kept on the stack stay valid.
    Json* place(Json&& value) {
        if (m_stack.empty()) {
            m_root = std::move(value);
            return &m_root;
        }
        Frame& frame = m_stack.back();
        if (frame.container->is_array()) {
            auto& elements = frame.container->get_ref<Json::array_t&>();
            elements.push_back(std::move(value));
            return &elements.back();
        }
        Json& member = frame.staged.back().second;
        member = std::move(value);
        return &member;
    }

    // place() in the SAX convention of returning whether to go on.
    bool placed(Json&& value) { return place(std::move(value)) != nullptr; }

    const std::string& m_text;
    const char** m_consumed;
    Json m_root;
    std::vector<Frame> m_stack;
    std::unique_ptr<JsonSyntaxError> m_error;
};

// Follows the parse until it reaches the value at a given path and notes the line it starts on.
class PathLocator {
public:
    PathLocator(const std::string& text, const char** consumed, const JsonPath& target)
        : m_text(text), m_consumed(consumed), m_target(target) {}

    bool null() { return scalar(); }
    bool boolean(bool) { return scalar(); }
    bool number_integer(Json::number_integer_t) { return scalar(); }
    bool number_unsigned(Json::number_unsigned_t) { return scalar(); }
    bool number_float(Json::number_float_t, const Json::string_t&) { return scalar(); }
    bool string(Json::string_t&) { return scalar(); }
    bool binary(Json::binary_t&) { return scalar(); }
    bool start_object(std::size_t) { return open(false); }
    bool start_array(std::size_t) { return open(true); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    bool key(Json::string_t& name) {
        m_frames.back().key = name;
        // A member is located by its key, which sits on the line where the member starts.
        const std::size_t depth = m_frames.size();
        if (m_matched == depth - 1 && depth <= m_target.size() && !m_target[depth - 1].isIndex &&
            m_target[depth - 1].key == name) {
            m_line = currentLine();
            if (depth == m_target.size()) {
                return false;
            }
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) { return false; }

    std::size_t line() const { return m_line; }

private:
    struct Frame {
        bool isArray;
        std::size_t nextIndex;
        std::string key;
    };

    std::size_t currentLine() const {
        return positionOf(m_text, static_cast<std::size_t>(*m_consumed - m_text.data())).line;
    }

    // Whether the value that starts now is the next step of the target path.
    bool entersTarget() {
        const std::size_t depth = m_frames.size();
        if (depth == 0) {
            return false;
        }
        Frame& frame = m_frames.back();
        if (m_matched != depth - 1 || depth > m_target.size()) {
            if (frame.isArray) {
                ++frame.nextIndex;
            }
            return false;
        }
        const JsonPathStep& step = m_target[depth - 1];
        if (frame.isArray) {
            const std::size_t index = frame.nextIndex++;
            if (!step.isIndex || step.index != index) {
                return false;
            }
            m_line = currentLine();
            return true;
        }
        return !step.isIndex && step.key == frame.key;
    }

    bool scalar() {
        const bool entered = entersTarget();
        return !(entered && m_frames.size() == m_target.size());
    }
    bool open(bool isArray) {
        const bool entered = entersTarget();
        if (entered && m_frames.size() == m_target.size()) {
            return false;
        }
        if (entered) {
            m_matched = m_frames.size();
        }
        m_frames.push_back({isArray, 0, std::string()});
        return true;
    }
    bool close() {
        m_frames.pop_back();
        m_matched = std::min(m_matched, m_frames.empty() ? std::size_t(0) : m_frames.size() - 1);
        return true;
    }

    const std::string& m_text;
    const char** m_consumed;
    const JsonPath& m_target;
    std::vector<Frame> m_frames;
    // The number of leading steps of the target that the open containers match.
    std::size_t m_matched = 0;
    std::size_t m_line = 0;
};

} // namespace

std::string formatJsonPath(const JsonPath& path) {
    std::string text;
    for (const JsonPathStep& step : path) {
        if (step.isIndex) {
            text += "[" + std::to_string(step.index) + "]";
        } else {
            if (!text.empty()) {
                text += '.';
            }
            // Control characters would break the one-line message: they are shown escaped.
            for (const char c : step.key) {
                if (static_cast<unsigned char>(c) < 0x20) {
                    static const char kHex[] = "0123456789abcdef";
                    text += std::string("\\u00") + kHex[(c >> 4) & 0xf] + kHex[c & 0xf];
                } else {
                    text += c;
                }
            }
        }
    }
    return text;
}

Json parseJsonDocument(const std::string& text) {
    const char* consumed = text.data();
    DocumentBuilder builder(text, &consumed);
    const CountingIterator first(text.data(), &consumed);
    const CountingIterator last(text.data() + text.size(), &consumed);
    if (!Json::sax_parse(first, last, &builder)) {
        if (const JsonSyntaxError* error = builder.error()) {
            throw *error;
        }
        throw JsonSyntaxError("unreadable JSON", 1, 1);
    }
    return builder.takeDocument();
}

std::size_t lineOfJsonPath(const std::string& text, const JsonPath& path) {
    const char* consumed = text.data();
    PathLocator locator(text, &consumed, path);
    const CountingIterator first(text.data(), &consumed);
    const CountingIterator last(text.data() + text.size(), &consumed);
    Json::sax_parse(first, last, &locator);
    return locator.line();
}

} // namespace VexilHost
