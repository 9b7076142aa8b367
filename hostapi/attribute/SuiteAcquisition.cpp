// Suite acquisition: the attribute classes and GroupBuilder each keep their own process-wide suite
// pointer, written when the host is handed over and only read afterwards.
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <dlfcn.h>

#include <atomic>
#include <iostream>

namespace Qn {

namespace {

std::atomic<const AttributeHostSuite*> g_builderSuite{nullptr};
std::atomic<const AttributeHostExtensionSuite*> g_builderExtension{nullptr};

const AttributeHostSuite* suiteFromHost(const VexilHost* host) {
    if (!host || !host->getSuite)
        return nullptr;
    return static_cast<const AttributeHostSuite*>(
        host->getSuite(QN_ATTRIBUTE_HOST_SUITE_NAME, QN_ATTRIBUTE_HOST_SUITE_VERSION));
}

/// The host's extension suite, or null when it withholds it.
const AttributeHostExtensionSuite* extensionFromHost(const VexilHost* host) {
    if (!host || !host->getSuite)
        return nullptr;
    return static_cast<const AttributeHostExtensionSuite*>(
        host->getSuite(QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME, QN_ATTRIBUTE_HOST_EXTENSION_SUITE_VERSION));
}

std::string loaderError() {
    const char* text = dlerror();
    return text ? text : "";
}

} // namespace

int Attribute::setHost(const VexilHost* host) {
    const AttributeHostSuite* s = suiteFromHost(host);
    if (!s)
        return -1;
    s_suite.store(s, std::memory_order_release);
    return 0;
}

void Attribute::setSuite(const AttributeHostSuite* s) {
    if (s)
        s_suite.store(s, std::memory_order_release);
}

void Attribute::setSuites(const AttributeHostSuite* s) {
    if (!s)
        return;
    s_suite.store(s, std::memory_order_release);
    g_builderSuite.store(s, std::memory_order_release);
}

bool Attribute::loadSuite(const std::string& directory) {
    const std::string path = directory + "/bin/libQnAttributeHost.so";
    void* library = dlopen(path.c_str(), RTLD_NOW);
    if (!library) {
        std::cerr << "Error loading QnAttributeHost: " << loaderError() << std::endl;
        return false;
    }
    dlerror(); // a null symbol value is told apart from a missing one by the error state
    void* symbol = dlsym(library, QN_GET_ATTRIBUTE_HOST_SYMBOL);
    if (!symbol) {
        std::cerr << "Error loading ATTRUTIL: " << loaderError() << std::endl;
        dlclose(library);
        return false;
    }
    const auto getHost = reinterpret_cast<QnGetAttributeHostFn>(symbol);
    const VexilHost* host = getHost();
    const AttributeHostSuite* s = suiteFromHost(host);
    // A host that offers no suite is as useless as no host at all.
    if (!s) {
        std::cerr << "Error obtaining QnAttribute host." << std::endl;
        dlclose(library);
        return false;
    }
    setSuites(s);
    GroupBuilder::setExtension(extensionFromHost(host));
    return true; // the library stays open: the suites live in it
}

int GroupBuilder::setHost(const VexilHost* host) {
    const AttributeHostSuite* s = suiteFromHost(host);
    if (!s)
        return -1;
    g_builderSuite.store(s, std::memory_order_release);
    setExtension(extensionFromHost(host));
    return 0;
}

void GroupBuilder::setSuite(const AttributeHostSuite* s) {
    if (s)
        g_builderSuite.store(s, std::memory_order_release);
}

const AttributeHostSuite* GroupBuilder::suite() {
    return g_builderSuite.load(std::memory_order_acquire);
}

void GroupBuilder::setExtension(const AttributeHostExtensionSuite* extension) {
    g_builderExtension.store(extension, std::memory_order_release);
}

const AttributeHostExtensionSuite* GroupBuilder::extension() {
    return g_builderExtension.load(std::memory_order_acquire);
}

} // namespace Qn
