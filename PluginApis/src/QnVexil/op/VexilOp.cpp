#include "PluginApis/src/QnVexil/op/VexilOp.h"

#include <iostream>
#include <stdexcept>
#include <string>

namespace Qn {

namespace VexilOpWrapper {

namespace {

// Written straight through the cook suite with explicit name lengths, so that an error can still be
// reported when building the cook interface itself failed.
void writeCookError(VexilCookHandle handle, const VexilCookSuite* cookSuite, const std::string& what) {
    if (!cookSuite || !cookSuite->setAttr) {
        return;
    }
    try {
        const StringAttribute type("error");
        cookSuite->setAttr(handle, "type", 4, type.getHandle(), 1);
        std::string opType;
        if (cookSuite->getOpType) {
            int32_t length = 0;
            const char* text = cookSuite->getOpType(handle, &length);
            if (text && length > 0) {
                opType.assign(text, static_cast<size_t>(length));
            }
        }
        const StringAttribute message(opType + " Op: " + what);
        cookSuite->setAttr(handle, "errorMessage", 12, message.getHandle(), 1);
    } catch (...) {
        // Nothing more can be reported: an exception must never cross into the host.
    }
}

} // namespace

void setup(VexilSetupHandle handle, const VexilSetupSuite* setupSuite,
           void (*opSetup)(VexilSetupInterface&)) {
    try {
        VexilSetupInterface setupInterface(handle, setupSuite);
        opSetup(setupInterface);
    } catch (...) {
        // The host has no way to receive a setup failure; the op then runs with the host's defaults.
    }
}

void cook(VexilCookHandle handle, const VexilCookSuite* cookSuite, uint8_t* aborted,
          void (*opCook)(VexilCookInterface&)) {
    if (aborted) {
        *aborted = 0;
    }
    try {
        VexilCookInterface cookInterface(handle, cookSuite);
        opCook(cookInterface);
    } catch (const VexilCookInterface::QueryAbortException&) {
        if (aborted) {
            *aborted = 1;
        }
    } catch (const std::exception& e) {
        writeCookError(handle, cookSuite, e.what());
    } catch (...) {
        writeCookError(handle, cookSuite, "Unknown exception during op cook");
    }
}

QnAttributeHandle describe(Attribute (*opDescribe)()) {
    try {
        Attribute description = opDescribe();
        // The caller owns the returned reference; ours is handed over rather than released.
        return description.releaseHandle();
    } catch (const std::exception& e) {
        std::cerr << "VexilOp::describe() failed: " << e.what() << std::endl;
        return nullptr;
    }
}

} // namespace VexilOpWrapper
} // namespace Qn
