#include "host/engine/OpInstance.h"

#include <utility>

namespace VexilHost {

OpInstance::OpInstance(std::string type, const VexilOpSuite* suite, Qn::GroupAttribute args,
                       std::string rootPath, void* privateData, VexilPrivateDataDeleter deleter,
                       std::mutex* serialLock)
    : m_type(std::move(type)), m_suite(suite), m_args(std::move(args)), m_rootPath(std::move(rootPath)),
      m_privateData(privateData), m_deleter(deleter), m_serialLock(serialLock) {}

OpInstance::~OpInstance() {
    if (m_deleter != nullptr && m_privateData != nullptr) {
        m_deleter(m_privateData);
    }
}

} // namespace VexilHost
