#include "host/services/HostServices.h"

#include "host/loader/OpRegistry.h"
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <cstring>
#include <mutex>

extern "C" const VexilHostServices* getAttributeHost(void);

namespace VexilHost {

namespace {

const void* getSuite(const char* suiteName, unsigned int suiteVersion) {
    if (suiteName == nullptr) {
        return nullptr;
    }
    if (std::strcmp(suiteName, QN_ATTRIBUTE_HOST_SUITE_NAME) == 0 &&
        suiteVersion == QN_ATTRIBUTE_HOST_SUITE_VERSION) {
        return attributeSuite();
    }
    // Offered exactly when the attribute library offers it (not when VEXIL_HOST_EXTENSIONS=0).
    if (std::strcmp(suiteName, QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME) == 0) {
        const VexilHostServices* attributeHost = getAttributeHost();
        return attributeHost == nullptr ? nullptr : attributeHost->getSuite(suiteName, suiteVersion);
    }
    // Later versions only added entries at the end: a plug-in built for an earlier one reads the same
    // table.
    if (std::strcmp(suiteName, VEXIL_XFORM_UTIL_SUITE_NAME) == 0 && suiteVersion >= 1 &&
        suiteVersion <= VEXIL_XFORM_UTIL_SUITE_VERSION) {
        return xformUtilSuite();
    }
    if (std::strcmp(suiteName, VEXIL_COOK_UTILS_SUITE_NAME) == 0 &&
        suiteVersion == VEXIL_COOK_UTILS_SUITE_VERSION) {
        return cookUtilsSuite();
    }
    return nullptr;
}

const char* getHostName() {
    return "vexil-cook";
}

const VexilHostServices kServices = {&getSuite, &getHostName};

} // namespace

const AttributeHostSuite* attributeSuite() {
    static const AttributeHostSuite* suite = [] {
        const VexilHostServices* attributeHost = getAttributeHost();
        const auto* found = attributeHost == nullptr
                                ? nullptr
                                : static_cast<const AttributeHostSuite*>(attributeHost->getSuite(
                                      QN_ATTRIBUTE_HOST_SUITE_NAME, QN_ATTRIBUTE_HOST_SUITE_VERSION));
        Qn::Attribute::setSuites(found);
        if (attributeHost != nullptr) {
            Qn::GroupBuilder::setExtension(
                static_cast<const AttributeHostExtensionSuite*>(attributeHost->getSuite(
                    QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME, QN_ATTRIBUTE_HOST_EXTENSION_SUITE_VERSION)));
        }
        return found;
    }();
    return suite;
}

const VexilHostServices* hostServices() {
    attributeSuite();
    return &kServices;
}

} // namespace VexilHost
