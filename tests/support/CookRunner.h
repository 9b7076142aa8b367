// Runs the built vexil-cook as a child process and captures what it prints: the one way every test
// starts the command.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace VexilTest {

/// How to start one run: what standard input holds, where standard error goes, and extra environment.
struct RunOptions {
    /// Standard error goes to a pseudo-terminal (read back into RunResult::err) instead of a file.
    bool stderrOnTerminal = false;
    /// The text on standard input; without one, standard input is /dev/null.
    std::optional<std::string> input;
    /// Variables set (or replaced) in the child's environment.
    std::map<std::string, std::string> environment;
};

/// Options that only put standard error on a pseudo-terminal (when `onTerminal`).
inline RunOptions terminalOptions(bool onTerminal = true) {
    RunOptions options;
    options.stderrOnTerminal = onTerminal;
    return options;
}

/// What one run gave: the exit status (128 + signal when killed) and both output streams.
struct RunResult {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs vexil-cook with `arguments`; VEXIL_PLUGIN_PATH is left out of its environment (unless
/// `options` sets it), so only the build's plug-ins folder and any --plugin-path are searched.
RunResult runCook(const std::vector<std::string>& arguments, const RunOptions& options = {});

/// A fresh folder for one test's files, removed with the object.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    /// Writes `text` to `name` in the folder and returns its path.
    std::string write(const std::string& name, const std::string& text) const;
    /// The path of `name` in the folder.
    std::string path(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// The content of a file ("" when it cannot be read).
std::string readFile(const std::string& path);

} // namespace VexilTest
