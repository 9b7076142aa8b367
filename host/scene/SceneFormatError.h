// The error raised inside the scene-file reader for content that is well-formed JSON but not a
// valid scene: it carries the path of the offending value, from which the reader finds the line.
#pragma once

#include "host/scene/JsonDocument.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace VexilHost {

/// A mistake at `path()` of a scene file; `what()` says what is wrong, without file or path.
class SceneFormatError : public std::runtime_error {
public:
    SceneFormatError(JsonPath path, const std::string& message)
        : std::runtime_error(message), m_path(std::move(path)) {}
    const JsonPath& path() const { return m_path; }

private:
    JsonPath m_path;
};

} // namespace VexilHost
