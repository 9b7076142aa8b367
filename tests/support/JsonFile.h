// The JSON files beside the tests (case tables, expected outputs), read in one way: a file that cannot
// be opened is named in the failure instead of surfacing as a parse error at byte 0.
#pragma once

#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>
#include <string>

namespace VexilTest {

/// The parsed content of the JSON file at `path`; throws naming `path` when it cannot be read.
inline nlohmann::ordered_json readJsonFile(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    return nlohmann::ordered_json::parse(in);
}

} // namespace VexilTest
