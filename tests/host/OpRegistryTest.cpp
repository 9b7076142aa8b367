// Loading op plug-ins: usable records are registered, every unusable library or record is reported on
// one line and skipped, and nothing brings the host down.
#include "host/loader/OpRegistry.h"
#include "host/services/HostServices.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <elf.h>
#include <linux/capability.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

namespace VexilHost {
namespace {

using namespace HostTest;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        out.push_back(line);
    }
    return out;
}

TEST(OpRegistry, ReportsAndSkipsUnusableLibrariesAndRecords) {
    std::ostringstream diagnostics;
    const OpRegistry registry =
        OpRegistry::load({testPluginDir(), badPluginDir(), "/no/such/folder"}, diagnostics);
    const std::string bad = badPluginDir() + "/";
    const std::string records = "plug-in " + bad + "BadRecords.so: ";
    const std::vector<std::string> got = lines(diagnostics.str());
    const std::vector<std::string> expected = {
        records + "op \"BadApi\": API \"OtherOp\" is not VexilOp; skipped",
        records + "op \"BadVersion\": VexilOp version 2 is not supported (expected 1); skipped",
        records + "op \"BadSetHost\": setHost returned -1; skipped",
        records + "op \"BadNoSuite\": getSuite gave no op suite; skipped",
        records + "op \"BadNoCook\": op suite has no cook function; skipped",
        records + "record 5: has no name; skipped",
        records + "op \"BadGood\": already provided by " + bad + "BadRecords.so; skipped",
        records + "op \"TestMark\": already provided by " + testPluginDir() + "/VexilTestOps.so; skipped",
        records + "op \"BadOldVersion\": VexilOp version 0 is not supported (expected 1); skipped",
        "plug-in " + bad + "NoEntry.so: no getPlugins symbol; skipped",
        "plug-in " + bad + "NoRecords.so: offers no plug-ins; skipped",
    };
    ASSERT_EQ(got.size(), expected.size() + 1) << diagnostics.str();
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(got[i], expected[i]);
    }
    // The loader's own reason follows the file name; its wording is the system's.
    const std::string garbage = "plug-in " + bad + "garbage.so: cannot be loaded (";
    EXPECT_EQ(got.back().compare(0, garbage.size(), garbage), 0) << got.back();
    EXPECT_EQ(got.back().substr(got.back().size() - 10), "); skipped");

    // The usable op of the bad library is kept; the first provider of a duplicate wins; each op keeps
    // the threading it asked for.
    EXPECT_NE(registry.find("BadGood"), nullptr);
    EXPECT_EQ(registry.find("ConstraintSetup"), nullptr);
    EXPECT_EQ(registry.threadingMode("TestSerial"), 1);
    EXPECT_EQ(registry.threadingMode("TestMark"), 0);
    EXPECT_EQ(registry.libraryOf("TestMark"), testPluginDir() + "/VexilTestOps.so");
    for (const char* skipped :
         {"BadApi", "BadVersion", "BadOldVersion", "BadSetHost", "BadNoSuite", "BadNoCook"}) {
        EXPECT_EQ(registry.find(skipped), nullptr) << skipped;
    }
}

/// While alive, the calling thread lacks the capabilities that let root read any file, so that a
/// file without read permission is unreadable to it as to anyone else.
class WithoutReadOverride {
public:
    WithoutReadOverride() {
        syscall(SYS_capget, &m_header, m_saved);
        __user_cap_data_struct reduced[2] = {m_saved[0], m_saved[1]};
        reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        syscall(SYS_capset, &m_header, reduced);
    }
    ~WithoutReadOverride() { syscall(SYS_capset, &m_header, m_saved); }
    WithoutReadOverride(const WithoutReadOverride&) = delete;
    WithoutReadOverride& operator=(const WithoutReadOverride&) = delete;

private:
    __user_cap_header_struct m_header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_saved[2] = {};
};

TEST(OpRegistry, SkipsWhatTheLoaderWouldBlockOrDieOnAndGoesOn) {
    namespace fs = std::filesystem;
    const std::string real = testPluginDir() + "/VexilTestOps.so";
    std::ifstream in(real, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Elf64_Ehdr header;
    ASSERT_GT(bytes.size(), sizeof(header));
    std::memcpy(&header, bytes.data(), sizeof(header));
    const uint64_t programHeadersEnd = header.e_phoff + header.e_phnum * sizeof(Elf64_Phdr);
    uint64_t segmentsEnd = 0;
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment;
        std::memcpy(&segment, bytes.data() + header.e_phoff + i * sizeof(segment), sizeof(segment));
        if (segment.p_type == PT_LOAD) {
            segmentsEnd = std::max(segmentsEnd, segment.p_offset + segment.p_filesz);
        }
    }
    const uint64_t sectionHeadersEnd = header.e_shoff + header.e_shnum * sizeof(Elf64_Shdr);
    // The last loadable segment ends after the program headers, and the section headers come last.
    ASSERT_LT(programHeadersEnd, segmentsEnd - 4096);
    ASSERT_EQ(sectionHeadersEnd, bytes.size());

    char folderTemplate[] = "/tmp/vexil-plugins-XXXXXX";
    ASSERT_NE(mkdtemp(folderTemplate), nullptr);
    const std::string folder = folderTemplate;
    const auto write = [&](const std::string& name, size_t length, mode_t mode = 0644) {
        std::ofstream(folder + "/" + name, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(length));
        chmod((folder + "/" + name).c_str(), mode);
    };
    const std::string skipped = "; skipped";
    const auto cut = [&](uint64_t size, const char* part, uint64_t end) {
        return "truncated ELF file: " + std::to_string(size) + " bytes, " + part + " up to byte " +
               std::to_string(end) + skipped;
    };
    const struct {
        std::string name;
        std::function<void(const std::string& path)> make;
        std::string line; ///< what follows "plug-in <path>: "
    } cases[] = {
        {"cut1.so", [&](const std::string&) { write("cut1.so", 20); }, cut(20, "ELF header", 64)},
        {"cut2.so", [&](const std::string&) { write("cut2.so", header.e_phoff + 60); },
         cut(header.e_phoff + 60, "program headers", programHeadersEnd)},
        {"cut3.so", [&](const std::string&) { write("cut3.so", segmentsEnd - 4096); },
         cut(segmentsEnd - 4096, "loadable segments", segmentsEnd)},
        {"cut4.so", [&](const std::string&) { write("cut4.so", header.e_shoff + 100); },
         cut(header.e_shoff + 100, "section headers", sectionHeadersEnd)},
        {"dir.so", [](const std::string& path) { mkdir(path.c_str(), 0755); },
         "not a regular file (a directory)" + skipped},
        // A 32-bit header is shorter than a 64-bit one, but it is not cut: the loader gives its reason.
        {"elf32.so",
         [&](const std::string& path) {
             std::string head = bytes.substr(0, sizeof(Elf32_Ehdr));
             head[EI_CLASS] = ELFCLASS32;
             std::ofstream(path, std::ios::binary) << head;
         },
         "cannot be loaded ("},
        // Not ELF at all: the loader reads it and gives its reason.
        {"empty.so", [&](const std::string&) { write("empty.so", 0); }, "cannot be loaded ("},
        {"fifo.so", [](const std::string& path) { mkfifo(path.c_str(), 0644); },
         "not a regular file (a FIFO)" + skipped},
        {"null.so", [](const std::string& path) { ASSERT_EQ(symlink("/dev/null", path.c_str()), 0); },
         "not a regular file (a character device)" + skipped},
        {"socket.so",
         [](const std::string& path) {
             sockaddr_un address{};
             address.sun_family = AF_UNIX;
             std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
             const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
             ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
             close(fd);
         },
         "not a regular file (a socket)" + skipped},
        {"unreadable.so", [&](const std::string&) { write("unreadable.so", bytes.size(), 0); },
         "cannot be read (Permission denied)" + skipped},
        // Last in name order: the whole library still loads after all of the above.
        {"whole.so", [&](const std::string&) { write("whole.so", bytes.size()); }, ""},
    };
    for (const auto& c : cases) {
        c.make(folder + "/" + c.name);
    }
    std::ostringstream diagnostics;
    const OpRegistry registry = [&] {
        const WithoutReadOverride asAnyone;
        return OpRegistry::load({folder}, diagnostics);
    }();
    const std::vector<std::string> got = lines(diagnostics.str());
    ASSERT_EQ(got.size(), std::size(cases) - 1) << diagnostics.str();
    for (size_t i = 0; i + 1 < std::size(cases); ++i) {
        const std::string expected = "plug-in " + folder + "/" + cases[i].name + ": " + cases[i].line;
        if (cases[i].line.back() == '(') { // the loader's own reason follows
            EXPECT_EQ(got[i].substr(0, expected.size()), expected);
            EXPECT_EQ(got[i].substr(got[i].size() - 10), ")" + skipped);
        } else {
            EXPECT_EQ(got[i], expected);
        }
    }
    EXPECT_EQ(registry.libraryOf("TestMark"), folder + "/whole.so");
    fs::remove_all(folder);
}

TEST(OpRegistry, DefaultSearchPathPutsExplicitFoldersFirstThenTheEnvironment) {
    const char* saved = std::getenv("VEXIL_PLUGIN_PATH");
    const std::string restore = saved != nullptr ? saved : "";
    setenv("VEXIL_PLUGIN_PATH", "/env/one::/env/two", 1);
    const std::vector<std::string> path = OpRegistry::defaultSearchPath({"/explicit/a", "/explicit/b"});
    ASSERT_EQ(path.size(), 5u);
    EXPECT_EQ(std::vector<std::string>(path.begin(), path.begin() + 4),
              (std::vector<std::string>{"/explicit/a", "/explicit/b", "/env/one", "/env/two"}));
    // Last, the build's own plug-in folder.
    EXPECT_EQ(path.back().substr(path.back().size() - 8), "/plugins");
    unsetenv("VEXIL_PLUGIN_PATH");
    EXPECT_EQ(OpRegistry::defaultSearchPath({}).size(), 1u);
    if (saved != nullptr) {
        setenv("VEXIL_PLUGIN_PATH", restore.c_str(), 1);
    }
}

TEST(HostServices, OffersTheThreeSuitesByNameAndVersionOnly) {
    const VexilHostServices* host = hostServices();
    ASSERT_NE(host, nullptr);
    EXPECT_STREQ(host->getHostName(), "vexil-cook");
    EXPECT_EQ(host->getSuite("AttributeHost", 5), attributeSuite());
    EXPECT_NE(attributeSuite(), nullptr);
    EXPECT_EQ(host->getSuite("XFormUtilHost", 1), xformUtilSuite());
    EXPECT_EQ(host->getSuite("VexilCookInterfaceUtilsHost", 1), cookUtilsSuite());
    EXPECT_EQ(host->getSuite("AttributeHost", 4), nullptr);
    EXPECT_EQ(host->getSuite("XFormUtilHost", 2), xformUtilSuite());
    EXPECT_EQ(host->getSuite("XFormUtilHost", 3), xformUtilSuite());
    EXPECT_EQ(host->getSuite("XFormUtilHost", 4), nullptr);
    EXPECT_EQ(host->getSuite("Unknown", 1), nullptr);
    EXPECT_EQ(host->getSuite(nullptr, 1), nullptr);
}

} // namespace
} // namespace VexilHost
