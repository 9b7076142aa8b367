// The client over the host's setup interface: what an op tells its host before any cook.
#pragma once

#include <vexil/VexilOp.h>

#include <cstdint>

namespace Qn {

/// Wraps the host's setup handle and setup suite (both borrowed) for one setup call.
class VexilSetupInterface {
public:
    VexilSetupInterface(VexilSetupHandle handle, const VexilSetupSuite* suite)
        : m_handle(handle), m_suite(suite) {}

    /// The setup suite's first operation: 0 lets the host cook the op on any thread at once.
    void setThreading(int32_t mode) const;

private:
    VexilSetupHandle m_handle;
    const VexilSetupSuite* m_suite;
};

} // namespace Qn
