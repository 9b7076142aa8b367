#include "tests/cli/CookRunner.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace VexilCliTest {

namespace {

std::atomic<int> g_counter{0};

std::string uniqueName(const char* stem) {
    return std::string(stem) + "-" + std::to_string(::getpid()) + "-" + std::to_string(g_counter++);
}

} // namespace

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

ScratchFolder::ScratchFolder()
    : m_path((std::filesystem::temp_directory_path() / uniqueName("vexil-cli")).string()) {
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

RunResult runCook(const std::vector<std::string>& arguments) {
    const ScratchFolder capture;
    const std::string outPath = capture.path("stdout");
    const std::string errPath = capture.path("stderr");

    std::vector<std::string> argv{VEXIL_COOK_BINARY};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<char*> argvPointers;
    for (std::string& a : argv) {
        argvPointers.push_back(a.data());
    }
    argvPointers.push_back(nullptr);

    std::vector<std::string> environment;
    for (char** e = environ; *e; ++e) {
        if (std::strncmp(*e, "VEXIL_PLUGIN_PATH=", 18) != 0) {
            environment.emplace_back(*e);
        }
    }
    std::vector<char*> environmentPointers;
    for (std::string& e : environment) {
        environmentPointers.push_back(e.data());
    }
    environmentPointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, argv[0].c_str(), &actions, nullptr, argvPointers.data(),
                                    environmentPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        throw std::runtime_error("cannot start " + argv[0] + ": " + std::strerror(spawned));
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    RunResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    return result;
}

} // namespace VexilCliTest
