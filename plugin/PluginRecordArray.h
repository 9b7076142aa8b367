// The library's array of plug-in records, as getPlugins hands it to the host.
#pragma once

#include <vexil/VexilPlugin.h>

#include <cstddef>

namespace Vexil3Constraints {
namespace Private {

/// A growable array of 56-byte plug-in records. Emptying keeps the storage; when full it grows to
/// twice its element count (first allocation: one record), moving the old records bytewise. Used
/// only by the host's loader thread, before any cook.
class PluginRecordArray {
public:
    PluginRecordArray() = default;
    PluginRecordArray(const PluginRecordArray&) = delete;
    PluginRecordArray& operator=(const PluginRecordArray&) = delete;
    ~PluginRecordArray();

    /// Sets the end back to the beginning; the storage is kept.
    void clear() { m_end = m_begin; }
    /// Appends a copy of the record's 56 bytes. Throws std::bad_alloc when memory runs out.
    void append(const VexilPluginRecord& record);

    /// The first record, or null when the array is empty.
    VexilPluginRecord* data() { return m_begin == m_end ? nullptr : m_begin; }
    size_t size() const { return static_cast<size_t>(m_end - m_begin); }
    size_t capacity() const { return static_cast<size_t>(m_capacity - m_begin); }

private:
    VexilPluginRecord* m_begin = nullptr;
    VexilPluginRecord* m_end = nullptr;
    VexilPluginRecord* m_capacity = nullptr;
};

/// The process-wide record array of this library.
PluginRecordArray& pluginRecords();

} // namespace Private
} // namespace Vexil3Constraints
