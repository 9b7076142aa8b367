// The pattern every op class of the plug-in follows, and the C suite the host calls it through.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "PluginApis/src/QnVexil/op/VexilSetupInterface.h"

#include <vexil/VexilOp.h>

namespace Qn {

/// Base of the op classes. An op class derives from it and supplies
/// `static void cook(Qn::VexilCookInterface&)`; it may hide `setup` and `describe`.
class VexilOp {
public:
    /// Lets the host cook the op on any thread at once.
    static void setup(VexilSetupInterface& setupInterface) { setupInterface.setThreading(0); }
    /// The op's description for the host; the default is the null attribute.
    static Attribute describe() { return Attribute(); }
};

/// The shared body of every op's suite entries; each takes the op class's static function.
namespace VexilOpWrapper {

/// Calls `setup` with a setup interface over the host's handle and suite; swallows every exception.
void setup(VexilSetupHandle handle, const VexilSetupSuite* setupSuite, void (*opSetup)(VexilSetupInterface&));

/// Clears `*aborted`, then runs `opCook` over a cook interface. A QueryAbortException sets `*aborted`
/// to 1 and writes nothing; a std::exception sets "type" = "error" and "errorMessage" = "<op type>
/// Op: <what>"; any other exception does the same with "Unknown exception during op cook". Never
/// throws.
void cook(VexilCookHandle handle, const VexilCookSuite* cookSuite, uint8_t* aborted,
          void (*opCook)(VexilCookInterface&));

/// Returns the handle of `opDescribe()`'s attribute as a new reference for the caller, or null. A
/// std::exception is reported on the standard error stream and gives null; others propagate.
QnAttributeHandle describe(Attribute (*opDescribe)());

} // namespace VexilOpWrapper

/// The one static suite of op class `Op`, filled during static initialisation.
template <class Op> struct VexilOpSuiteOf {
    static void setup(VexilSetupHandle handle, const VexilSetupSuite* setupSuite) {
        VexilOpWrapper::setup(handle, setupSuite, &Op::setup);
    }
    static void cook(VexilCookHandle handle, const VexilCookSuite* cookSuite, uint8_t* aborted) {
        VexilOpWrapper::cook(handle, cookSuite, aborted, &Op::cook);
    }
    static QnAttributeHandle describe() { return VexilOpWrapper::describe(&Op::describe); }

    static const VexilOpSuite suite;
};

template <class Op>
const VexilOpSuite VexilOpSuiteOf<Op>::suite = {&VexilOpSuiteOf<Op>::setup, &VexilOpSuiteOf<Op>::cook,
                                                &VexilOpSuiteOf<Op>::describe};

/// The address of op class `Op`'s suite, as a record's getSuite hands it to the host.
template <class Op> const void* getVexilOpSuite() {
    return &VexilOpSuiteOf<Op>::suite;
}

} // namespace Qn
