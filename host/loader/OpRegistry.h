// Loads op plug-in libraries from a search path and keeps the ops they offer.
#pragma once

#include <vexil/VexilOp.h>

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace VexilHost {

/// The ops of every usable plug-in library found on a search path. Libraries stay loaded while the
/// registry lives. Read-only after loading.
class OpRegistry {
public:
    OpRegistry();
    ~OpRegistry();
    OpRegistry(OpRegistry&&) noexcept;
    OpRegistry& operator=(OpRegistry&&) noexcept;

    /// Opens every `*.so` entry of each folder of `searchPath`, in order, and registers the ops of
    /// records of API "VexilOp" version 1. Entries the dynamic loader would block or die on (not a
    /// regular file, a truncated ELF file), unusable libraries and unusable records are reported on
    /// `diagnostics` (one line each) and skipped; an op name seen twice keeps its first library.
    static OpRegistry load(const std::vector<std::string>& searchPath, std::ostream& diagnostics);

    /// The default search path: `explicitPaths`, then the folders of VEXIL_PLUGIN_PATH (colon
    /// separated), then the build's plugins folder.
    static std::vector<std::string> defaultSearchPath(const std::vector<std::string>& explicitPaths);

    /// The suite of op `type`, or null.
    const VexilOpSuite* find(const std::string& type) const;
    /// The threading mode op `type` asked for in its setup: 0 any number of cooks at once, 1 one at a time.
    int threadingMode(const std::string& type) const;
    /// The path of the library that provides op `type` (empty when unknown).
    std::string libraryOf(const std::string& type) const;
    /// The op types, sorted.
    std::vector<std::string> opTypes() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// The service table this host hands to plug-ins (AttributeHost, XFormUtilHost,
/// VexilCookInterfaceUtilsHost).
const VexilHostServices* hostServices();

} // namespace VexilHost
