// The library's two exported entry points.
#include "plugin/OpRegistration.h"
#include "plugin/PluginRecordArray.h"

#include <vexil/VexilPlugin.h>

using namespace Vexil3Constraints::Private;

extern "C" {

/// Rebuilds the record array with the five ops in their fixed order; stores the count in `*count`
/// and returns the first record (null when empty). Valid until the next call.
__attribute__((visibility("default"))) VexilPluginRecord* getPlugins(unsigned int* count) {
    PluginRecordArray& records = pluginRecords();
    records.clear();
    try {
        registerConstraintEditOp();
        registerConstraintEditAttributesOp();
        registerConstraintListEditOp();
        registerConstraintResolveOp();
        registerConstraintSetupOp();
    } catch (...) {
        // Out of memory: no exception may reach the host's loader; it sees the records made so far.
    }
    if (count) {
        *count = static_cast<unsigned int>(records.size());
    }
    return records.data();
}

/// Appends a copy of the 56-byte record to the library's record array.
__attribute__((visibility("default"))) void registerPlugin(const VexilPluginRecord* record) {
    if (record) {
        pluginRecords().append(*record);
    }
}

} // extern "C"
