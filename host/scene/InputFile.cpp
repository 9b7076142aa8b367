#include "host/scene/InputFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace VexilHost {

namespace {

// Closes a descriptor this reader opened (never standard input).
class Descriptor {
public:
    explicit Descriptor(int fd, bool owned) : m_fd(fd), m_owned(owned) {}
    ~Descriptor() {
        if (m_owned && m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
    bool m_owned;
};

std::string tooLarge(const std::string& name, std::uint64_t maxBytes) {
    return name + ": cannot read: larger than the input size limit of " + byteSizeText(maxBytes);
}

} // namespace

std::string inputName(const std::string& path) {
    return path == "-" ? "standard input" : path;
}

std::string byteSizeText(std::uint64_t bytes) {
    static const char* const kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
    std::string unit;
    std::uint64_t amount = bytes;
    for (const char* name : kUnits) {
        if (amount == 0 || amount % 1024 != 0) {
            break;
        }
        amount /= 1024;
        unit = name;
    }
    return unit.empty() ? std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes")
                        : std::to_string(amount) + " " + unit;
}

std::string readInputFile(const std::string& path, std::uint64_t maxBytes) {
    const std::string name = inputName(path);
    const bool standardInput = path == "-";
    const Descriptor file(standardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC),
                          !standardInput);
    if (file.fd() < 0) {
        throw SceneFileError(name + ": cannot open: " + std::strerror(errno));
    }
    struct stat status {};
    if (::fstat(file.fd(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            throw SceneFileError(name + ": cannot read: it is a directory");
        }
        if (S_ISREG(status.st_mode) && static_cast<std::uint64_t>(status.st_size) > maxBytes) {
            throw InputTooLargeError(tooLarge(name, maxBytes));
        }
    }
    std::string content;
    try {
        constexpr std::size_t kChunk = 1 << 20;
        for (;;) {
            const std::size_t used = content.size();
            content.resize(used + kChunk);
            const ssize_t n = ::read(file.fd(), &content[used], kChunk);
            if (n < 0 && errno == EINTR) {
                content.resize(used);
                continue;
            }
            if (n < 0) {
                throw SceneFileError(name + ": cannot read: " + std::strerror(errno));
            }
            content.resize(used + static_cast<std::size_t>(n));
            if (content.size() > maxBytes) {
                throw InputTooLargeError(tooLarge(name, maxBytes));
            }
            if (n == 0) {
                break;
            }
        }
    } catch (const std::bad_alloc&) {
        const std::size_t read = content.size();
        std::string().swap(content);
        throw SceneFileError(name + ": cannot read: out of memory after " + std::to_string(read) + " bytes");
    }
    return content;
}

} // namespace VexilHost
