#include "host/loader/LibraryFileCheck.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <vector>

namespace VexilHost {

namespace {

static_assert(sizeof(void*) == 8, "the host checks ELF files of its own class, 64-bit");
constexpr unsigned char kHostByteOrder =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

const char* kindOf(mode_t mode) {
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return "a directory";
    case S_IFIFO:
        return "a FIFO";
    case S_IFSOCK:
        return "a socket";
    case S_IFCHR:
        return "a character device";
    case S_IFBLK:
        return "a block device";
    default:
        return "of an unknown kind";
    }
}

std::string notRegular(mode_t mode) {
    return std::string("not a regular file (") + kindOf(mode) + ")";
}

std::string cannotBeRead(int error) {
    return std::string("cannot be read (") + std::strerror(error) + ")";
}

/// Closes the descriptor on every way out.
class OpenFile {
public:
    explicit OpenFile(int fd) : m_fd(fd) {}
    ~OpenFile() {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
};

/// Reads `size` bytes at `offset` into `out`; false when a read fails or the file ends first.
bool readAt(int fd, uint64_t offset, void* out, size_t size) {
    auto* bytes = static_cast<unsigned char*>(out);
    while (size > 0) {
        const ssize_t got = pread(fd, bytes, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        bytes += got;
        offset += static_cast<uint64_t>(got);
        size -= static_cast<size_t>(got);
    }
    return true;
}

/// offset + size, or the largest value when the sum does not fit (offsets come from the file).
uint64_t endOf(uint64_t offset, uint64_t size) {
    return size > std::numeric_limits<uint64_t>::max() - offset ? std::numeric_limits<uint64_t>::max()
                                                                : offset + size;
}

std::string truncated(uint64_t size, const char* part, uint64_t end) {
    return "truncated ELF file: " + std::to_string(size) + " bytes, " + part + " up to byte " +
           std::to_string(end);
}

/// The size check of an ELF file of this host's class and byte order; empty for anything else.
std::string elfProblem(int fd, uint64_t size) {
    Elf64_Ehdr header{};
    const size_t start = static_cast<size_t>(std::min<uint64_t>(size, sizeof(header)));
    if (size < SELFMAG || !readAt(fd, 0, &header, start) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return std::string(); // not ELF: the loader refuses it from what it reads
    }
    if ((size > EI_CLASS && header.e_ident[EI_CLASS] != ELFCLASS64) ||
        (size > EI_DATA && header.e_ident[EI_DATA] != kHostByteOrder)) {
        return std::string(); // another class or byte order: refused from its header too
    }
    if (size < sizeof(header)) {
        return truncated(size, "ELF header", sizeof(header));
    }
    // Tables of unexpected entry sizes are refused by the loader before it maps anything.
    if (header.e_phentsize == sizeof(Elf64_Phdr)) {
        const uint64_t tableEnd = endOf(header.e_phoff, uint64_t(header.e_phnum) * sizeof(Elf64_Phdr));
        if (tableEnd > size) {
            return truncated(size, "program headers", tableEnd);
        }
        std::vector<Elf64_Phdr> segments(header.e_phnum);
        if (!readAt(fd, header.e_phoff, segments.data(), segments.size() * sizeof(Elf64_Phdr))) {
            return cannotBeRead(EIO);
        }
        uint64_t end = 0;
        for (const Elf64_Phdr& segment : segments) {
            if (segment.p_type == PT_LOAD) {
                end = std::max(end, endOf(segment.p_offset, segment.p_filesz));
            }
        }
        if (end > size) {
            return truncated(size, "loadable segments", end);
        }
    }
    // The loader needs no section headers, but a file cut short after its segments is not whole either:
    // they come last.
    if (header.e_shoff != 0) {
        const uint64_t end = endOf(header.e_shoff, uint64_t(header.e_shnum) * header.e_shentsize);
        if (end > size) {
            return truncated(size, "section headers", end);
        }
    }
    return std::string();
}

} // namespace

std::string libraryFileProblem(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return cannotBeRead(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return notRegular(status.st_mode);
    }
    // Non-blocking, so that a FIFO put in the file's place since the check cannot hold the host up.
    const OpenFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.fd() < 0) {
        return cannotBeRead(errno);
    }
    if (fstat(file.fd(), &status) != 0) {
        return cannotBeRead(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return notRegular(status.st_mode);
    }
    return elfProblem(file.fd(), static_cast<uint64_t>(status.st_size));
}

} // namespace VexilHost
