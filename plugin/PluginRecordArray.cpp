#include "plugin/PluginRecordArray.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace Vexil3Constraints {
namespace Private {

PluginRecordArray::~PluginRecordArray() {
    std::free(m_begin);
}

void PluginRecordArray::append(const VexilPluginRecord& record) {
    if (m_end == m_capacity) {
        const size_t count = size();
        const size_t newCapacity = count == 0 ? 1 : 2 * count;
        auto* storage = static_cast<VexilPluginRecord*>(std::malloc(newCapacity * sizeof(VexilPluginRecord)));
        if (!storage) {
            throw std::bad_alloc();
        }
        if (count > 0) {
            std::memmove(storage, m_begin, count * sizeof(VexilPluginRecord));
        }
        std::free(m_begin);
        m_begin = storage;
        m_end = storage + count;
        m_capacity = storage + newCapacity;
    }
    std::memcpy(m_end, &record, sizeof(VexilPluginRecord));
    ++m_end;
}

PluginRecordArray& pluginRecords() {
    static PluginRecordArray records;
    return records;
}

} // namespace Private
} // namespace Vexil3Constraints
