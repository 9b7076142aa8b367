#include "host/loader/OpRegistry.h"

#include "host/loader/LibraryFileCheck.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifndef VEXIL_DEFAULT_PLUGIN_DIR
#define VEXIL_DEFAULT_PLUGIN_DIR ""
#endif

namespace VexilHost {

namespace {

/// What an op's setup tells the host through the setup suite.
struct SetupState {
    int threading = 0;
};

void setThreading(VexilSetupHandle handle, int32_t mode) {
    if (handle != nullptr) {
        reinterpret_cast<SetupState*>(handle)->threading = mode == 1 ? 1 : 0;
    }
}

const VexilSetupSuite kSetupSuite = {&setThreading};

std::string dlText() {
    const char* text = dlerror();
    return text != nullptr ? text : "unknown loader error";
}

/// The entries named *.so of one folder, whatever they are (each is checked before it is opened),
/// sorted by name so that loading does not depend on the file system.
std::vector<std::string> librariesIn(const std::string& folder) {
    std::vector<std::string> found;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        const std::filesystem::path& path = it->path();
        if (path.extension() == ".so") {
            found.push_back(path.string());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace

struct OpRegistry::Impl {
    struct Op {
        const VexilOpSuite* suite = nullptr;
        int threading = 0;
        std::string library;
    };
    std::vector<void*> libraries;
    std::map<std::string, Op> ops;

    ~Impl() {
        // Libraries stay loaded until every op of them is gone; then they are closed in reverse order.
        ops.clear();
        for (auto it = libraries.rbegin(); it != libraries.rend(); ++it) {
            dlclose(*it);
        }
    }

    void loadLibrary(const std::string& path, std::ostream& diagnostics);
};

void OpRegistry::Impl::loadLibrary(const std::string& path, std::ostream& diagnostics) {
    const std::string prefix = "plug-in " + path + ": ";
    // The loader would block on a FIFO and die of a file shorter than its headers: neither may reach it.
    const std::string problem = libraryFileProblem(path);
    if (!problem.empty()) {
        diagnostics << prefix << problem << "; skipped\n";
        return;
    }
    dlerror();
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        diagnostics << prefix << "cannot be loaded (" << dlText() << "); skipped\n";
        return;
    }
    auto getPlugins = reinterpret_cast<VexilGetPluginsFn>(dlsym(handle, VEXIL_GET_PLUGINS_SYMBOL));
    if (getPlugins == nullptr) {
        diagnostics << prefix << "no " << VEXIL_GET_PLUGINS_SYMBOL << " symbol; skipped\n";
        dlclose(handle);
        return;
    }
    unsigned int count = 0;
    VexilPluginRecord* records = nullptr;
    try {
        records = getPlugins(&count);
    } catch (...) {
        diagnostics << prefix << VEXIL_GET_PLUGINS_SYMBOL << " failed; skipped\n";
        dlclose(handle);
        return;
    }
    if (records == nullptr || count == 0) {
        diagnostics << prefix << "offers no plug-ins; skipped\n";
        dlclose(handle);
        return;
    }
    // getPlugins' array stays valid only until its next call: copy it before calling into the records.
    const std::vector<VexilPluginRecord> copies(records, records + count);
    int accepted = 0;
    for (unsigned int i = 0; i < copies.size(); ++i) {
        const VexilPluginRecord& record = copies[i];
        const std::string name = record.name != nullptr ? record.name : "";
        const std::string what =
            prefix + (name.empty() ? "record " + std::to_string(i) : "op \"" + name + "\"") + ": ";
        if (name.empty()) {
            diagnostics << what << "has no name; skipped\n";
            continue;
        }
        if (record.apiName == nullptr || std::strcmp(record.apiName, VEXIL_OP_API_NAME) != 0) {
            diagnostics << what << "API \"" << (record.apiName != nullptr ? record.apiName : "")
                        << "\" is not " VEXIL_OP_API_NAME "; skipped\n";
            continue;
        }
        if (record.apiVersion != VEXIL_OP_API_VERSION) {
            diagnostics << what << VEXIL_OP_API_NAME " version " << record.apiVersion
                        << " is not supported (expected " << VEXIL_OP_API_VERSION << "); skipped\n";
            continue;
        }
        auto existing = ops.find(name);
        if (existing != ops.end()) {
            diagnostics << what << "already provided by " << existing->second.library << "; skipped\n";
            continue;
        }
        if (record.setHost == nullptr || record.getSuite == nullptr) {
            diagnostics << what << "record lacks " << (record.setHost == nullptr ? "setHost" : "getSuite")
                        << "; skipped\n";
            continue;
        }
        int status = -1;
        const VexilOpSuite* suite = nullptr;
        try {
            status = record.setHost(hostServices());
            if (status == 0) {
                suite = static_cast<const VexilOpSuite*>(record.getSuite());
            }
        } catch (...) {
            diagnostics << what << "threw while being set up; skipped\n";
            continue;
        }
        if (status != 0) {
            diagnostics << what << "setHost returned " << status << "; skipped\n";
            continue;
        }
        if (suite == nullptr || suite->cook == nullptr) {
            diagnostics << what
                        << (suite == nullptr ? "getSuite gave no op suite" : "op suite has no cook function")
                        << "; skipped\n";
            continue;
        }
        SetupState setup;
        if (suite->setup != nullptr) {
            try {
                suite->setup(reinterpret_cast<VexilSetupHandle>(&setup), &kSetupSuite);
            } catch (...) {
                setup.threading = 0; // a failing setup leaves the default
            }
        }
        ops.emplace(name, Op{suite, setup.threading, path});
        ++accepted;
    }
    if (accepted == 0) {
        dlclose(handle);
        return;
    }
    libraries.push_back(handle);
}

OpRegistry::OpRegistry() : m_impl(std::make_unique<Impl>()) {}
OpRegistry::~OpRegistry() = default;
OpRegistry::OpRegistry(OpRegistry&&) noexcept = default;
OpRegistry& OpRegistry::operator=(OpRegistry&&) noexcept = default;

OpRegistry OpRegistry::load(const std::vector<std::string>& searchPath, std::ostream& diagnostics) {
    OpRegistry registry;
    hostServices(); // the attribute suite must be in place before any plug-in sees the host
    for (const std::string& folder : searchPath) {
        for (const std::string& library : librariesIn(folder)) {
            registry.m_impl->loadLibrary(library, diagnostics);
        }
    }
    return registry;
}

std::vector<std::string> OpRegistry::defaultSearchPath(const std::vector<std::string>& explicitPaths) {
    std::vector<std::string> path = explicitPaths;
    if (const char* environment = std::getenv("VEXIL_PLUGIN_PATH")) {
        const std::string text = environment;
        size_t start = 0;
        while (start <= text.size()) {
            size_t colon = text.find(':', start);
            if (colon == std::string::npos) {
                colon = text.size();
            }
            if (colon > start) {
                path.push_back(text.substr(start, colon - start));
            }
            start = colon + 1;
        }
    }
    const std::string builtIn = VEXIL_DEFAULT_PLUGIN_DIR;
    if (!builtIn.empty()) {
        path.push_back(builtIn);
    }
    return path;
}

const VexilOpSuite* OpRegistry::find(const std::string& type) const {
    auto it = m_impl->ops.find(type);
    return it == m_impl->ops.end() ? nullptr : it->second.suite;
}

int OpRegistry::threadingMode(const std::string& type) const {
    auto it = m_impl->ops.find(type);
    return it == m_impl->ops.end() ? 0 : it->second.threading;
}

std::string OpRegistry::libraryOf(const std::string& type) const {
    auto it = m_impl->ops.find(type);
    return it == m_impl->ops.end() ? std::string() : it->second.library;
}

std::vector<std::string> OpRegistry::opTypes() const {
    std::vector<std::string> types;
    for (const auto& entry : m_impl->ops) {
        types.push_back(entry.first);
    }
    return types;
}

} // namespace VexilHost
