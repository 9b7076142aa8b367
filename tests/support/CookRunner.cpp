#include "CookRunner.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <pty.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace VexilTest {

namespace {

std::atomic<int> g_counter{0};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> childEnvironment(const std::map<std::string, std::string>& extra) {
    std::vector<std::string> environment;
    for (char** e = environ; *e; ++e) {
        const std::string entry = *e;
        const std::string name = entry.substr(0, entry.find('='));
        if (name != "VEXIL_PLUGIN_PATH" && extra.count(name) == 0) {
            environment.push_back(entry);
        }
    }
    for (const auto& [name, value] : extra) {
        environment.push_back(name + "=" + value);
    }
    return environment;
}

void drainInto(int fd, std::string& out) {
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            out.append(buffer, static_cast<size_t>(n));
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else {
            return; // end of file, or EIO once the terminal's other side is closed
        }
    }
}

} // namespace

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

ScratchFolder::ScratchFolder()
    : m_path((std::filesystem::temp_directory_path() /
              ("vexil-test-" + std::to_string(::getpid()) + "-" + std::to_string(g_counter++)))
                 .string()) {
    std::filesystem::create_directories(m_path);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string ScratchFolder::write(const std::string& name, const std::string& text) const {
    const std::string file = path(name);
    std::ofstream(file, std::ios::binary) << text;
    return file;
}

RunResult runCook(const std::vector<std::string>& arguments, const RunOptions& options) {
    const ScratchFolder capture;
    const std::string outPath = capture.path("stdout");
    const std::string errPath = capture.path("stderr");
    const std::string inPath = options.input ? capture.write("stdin", *options.input) : "/dev/null";
    std::vector<std::string> argv{VEXIL_COOK_BINARY};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = childEnvironment(options.environment);
    const std::vector<char*> argvPointers = pointers(argv);
    const std::vector<char*> environmentPointers = pointers(environment);

    int terminal = -1;
    int terminalSide = -1;
    if (options.stderrOnTerminal && ::openpty(&terminal, &terminalSide, nullptr, nullptr, nullptr) != 0) {
        throw std::runtime_error(std::string("cannot open a pseudo-terminal: ") + std::strerror(errno));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, inPath.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    if (options.stderrOnTerminal) {
        posix_spawn_file_actions_adddup2(&actions, terminalSide, STDERR_FILENO);
        posix_spawn_file_actions_addclose(&actions, terminal);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
    }
    pid_t child = 0;
    const int spawned = posix_spawn(&child, argv[0].c_str(), &actions, nullptr, argvPointers.data(),
                                    environmentPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    if (options.stderrOnTerminal) {
        ::close(terminalSide);
    }
    if (spawned != 0) {
        if (options.stderrOnTerminal) {
            ::close(terminal);
        }
        throw std::runtime_error("cannot start " + argv[0] + ": " + std::strerror(spawned));
    }
    RunResult result;
    if (options.stderrOnTerminal) {
        // Read while the child runs, so that a full terminal buffer never blocks it.
        drainInto(terminal, result.err);
        ::close(terminal);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = readFile(outPath);
    if (!options.stderrOnTerminal) {
        result.err = readFile(errPath);
    }
    return result;
}

} // namespace VexilTest
