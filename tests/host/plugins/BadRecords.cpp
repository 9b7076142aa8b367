// A plug-in library whose records are unusable in every way the host must survive, plus one usable op
// and its duplicate.
#include <vexil/VexilOp.h>

#include <vector>

namespace {

void cook(VexilCookHandle, const VexilCookSuite*, uint8_t*) {}

const VexilOpSuite kSuite = {nullptr, &cook, nullptr};
const VexilOpSuite kNoCookSuite = {nullptr, nullptr, nullptr};

int setHostOk(const VexilHost*) {
    return 0;
}
int setHostFails(const VexilHost*) {
    return -1;
}
const void* suite() {
    return &kSuite;
}
const void* noSuite() {
    return nullptr;
}
const void* noCookSuite() {
    return &kNoCookSuite;
}

VexilPluginRecord record(const char* name, const char* api, uint32_t version,
                         int (*setHost)(const VexilHost*), const void* (*getSuite)()) {
    return VexilPluginRecord{name, api, version, 0, 1, 0, setHost, getSuite, nullptr};
}

std::vector<VexilPluginRecord> g_records;

} // namespace

extern "C" __attribute__((visibility("default"))) VexilPluginRecord* getPlugins(unsigned int* count) {
    g_records = {
        record("BadApi", "OtherOp", 1, &setHostOk, &suite),
        record("BadVersion", VEXIL_OP_API_NAME, 2, &setHostOk, &suite),
        record("BadSetHost", VEXIL_OP_API_NAME, 1, &setHostFails, &suite),
        record("BadNoSuite", VEXIL_OP_API_NAME, 1, &setHostOk, &noSuite),
        record("BadNoCook", VEXIL_OP_API_NAME, 1, &setHostOk, &noCookSuite),
        record(nullptr, VEXIL_OP_API_NAME, 1, &setHostOk, &suite),
        record("BadGood", VEXIL_OP_API_NAME, 1, &setHostOk, &suite),
        record("BadGood", VEXIL_OP_API_NAME, 1, &setHostOk, &suite),
        record("TestMark", VEXIL_OP_API_NAME, 1, &setHostOk, &suite),
        record("BadOldVersion", VEXIL_OP_API_NAME, 0, &setHostOk, &suite),
    };
    *count = static_cast<unsigned int>(g_records.size());
    return g_records.data();
}
