#include "PluginApis/src/QnVexil/op/VexilSetupInterface.h"

#include <stdexcept>

namespace Qn {

void VexilSetupInterface::setThreading(int32_t mode) const {
    if (!m_suite || !m_suite->setThreading) {
        throw std::runtime_error("The host's setup interface has no entry 0.");
    }
    m_suite->setThreading(m_handle, mode);
}

} // namespace Qn
