// Fuzz target: any bytes as a scene file. The reader must give a scene or a SceneFileError naming
// the file, never crash; a scene it accepts must write out and read back to the same text, and
// every attribute it made must be released afterwards.
#include "host/scene/SceneReader.h"
#include "host/scene/SceneWriter.h"
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/LiveCounts.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

namespace {

using namespace VexilHost;
using VexilFuzz::check;

const char* const kName = "fuzz.json";

/// Writes `file` in the canonical form; false when the form cannot express one of its attributes.
bool writeText(const SceneFile& file, std::string& out) {
    std::ostringstream text;
    try {
        writeSceneFile(file, text);
    } catch (const SceneWriteError&) {
        return false;
    }
    out = text.str();
    return true;
}

void readWriteRead(const std::string& text, bool restrictOps) {
    SceneReadOptions options;
    if (restrictOps) {
        options.knownOpTypes = std::vector<std::string>{"ConstraintResolve", "ConstraintSetup"};
    }
    SceneFile file;
    try {
        file = readSceneText(text, kName, options);
    } catch (const SceneFileError& error) {
        const std::string what = error.what();
        check(what.rfind(std::string(kName) + ": ", 0) == 0, "message does not name the file: " + what);
        return;
    }
    check(file.root.name == "root", "the scene root is not named root");
    std::string written;
    if (!writeText(file, written)) {
        return;
    }
    SceneFile again;
    try {
        again = readSceneText(written, kName, options);
    } catch (const SceneFileError& error) {
        check(false, std::string("the written form does not read back: ") + error.what() + "\n" + written);
    }
    std::string rewritten;
    check(writeText(again, rewritten), "the written form read back cannot be written");
    check(rewritten == written,
          "writing the read-back form changed it:\n" + written + "\n----\n" + rewritten);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = VexilFuzz::liveCounts();
    const std::string text(reinterpret_cast<const char*>(data), size);
    readWriteRead(text, size > 0 && (data[size - 1] & 1) != 0);
    const auto after = VexilFuzz::liveCounts();
    check(after == before,
          "live counts went from " + VexilFuzz::describe(before) + " to " + VexilFuzz::describe(after));
    return 0;
}
