// One instance of an op in a traversal: what cooks a set of locations, with its arguments and the
// private data the host keeps for it.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <vexil/VexilOp.h>

#include <memory>
#include <mutex>
#include <string>

namespace VexilHost {

/// An op type with its arguments, traversal root and private data. The private data is handed to its
/// deletion function exactly once, when the instance is released: with the step, or with the record
/// of the cook that made it (records live until the graph is cleared; an aborted attempt drops its own).
class OpInstance {
public:
    /// `suite` may be null for an op type that is not loaded; `serialLock` is null unless the op asked
    /// for one cook at a time.
    OpInstance(std::string type, const VexilOpSuite* suite, Qn::GroupAttribute args, std::string rootPath,
               void* privateData, VexilPrivateDataDeleter deleter, std::mutex* serialLock);
    ~OpInstance();
    OpInstance(const OpInstance&) = delete;
    OpInstance& operator=(const OpInstance&) = delete;

    const std::string& type() const { return m_type; }
    const VexilOpSuite* suite() const { return m_suite; }
    /// The op arguments, the system.timeSlice.* and system.variables.* groups included.
    const Qn::GroupAttribute& args() const { return m_args; }
    /// The absolute path of the location where this instance's traversal began.
    const std::string& rootPath() const { return m_rootPath; }
    void* privateData() const { return m_privateData; }
    std::mutex* serialLock() const { return m_serialLock; }

private:
    std::string m_type;
    const VexilOpSuite* m_suite;
    Qn::GroupAttribute m_args;
    std::string m_rootPath;
    void* m_privateData;
    VexilPrivateDataDeleter m_deleter;
    std::mutex* m_serialLock;
};

using OpInstancePtr = std::shared_ptr<const OpInstance>;

} // namespace VexilHost
