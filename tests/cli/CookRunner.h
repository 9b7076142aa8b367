// Runs the built vexil-cook as a child process and captures what it prints.
#pragma once

#include <string>
#include <vector>

namespace VexilCliTest {

/// What one run gave: the exit status (128 + signal when killed) and both output streams.
struct RunResult {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs vexil-cook with `arguments`, without VEXIL_PLUGIN_PATH in its environment, so that only the
/// build's plug-ins folder (and any --plugin-path) is searched.
RunResult runCook(const std::vector<std::string>& arguments);

/// A fresh folder for one test's files, removed with the object.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    /// Writes `text` to `name` in the folder and returns its path.
    std::string write(const std::string& name, const std::string& text) const;
    std::string path(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// The content of a file ("" when it cannot be read).
std::string readFile(const std::string& path);

} // namespace VexilCliTest
