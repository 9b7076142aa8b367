// Op plug-in of the progress tests: "TestSlow" sleeps at every location it cooks (op argument
// "sleepMilliseconds", default 30), so that a small scene takes a known least time to cook.
#include "PluginApis/src/QnVexil/op/VexilOp.h"
#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"

#include <chrono>
#include <thread>
#include <vector>

namespace {

struct SlowOp : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface& ci) {
        const int milliseconds = Qn::IntAttribute(ci.getOpArg("sleepMilliseconds")).getValue(30, false);
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
};

int setHostEntry(const VexilHost* host) {
    Qn::VexilPluginHost::setHost(host);
    Qn::GroupBuilder::setHost(host);
    return Qn::Attribute::setHost(host);
}

void flushEntry() {}

std::vector<VexilPluginRecord> g_records;

} // namespace

extern "C" __attribute__((visibility("default"))) VexilPluginRecord* getPlugins(unsigned int* count) {
    g_records = {VexilPluginRecord{"TestSlow", VEXIL_OP_API_NAME, VEXIL_OP_API_VERSION, 0, 1, 0,
                                   &setHostEntry, &Qn::getVexilOpSuite<SlowOp>, &flushEntry}};
    *count = static_cast<unsigned int>(g_records.size());
    return g_records.data();
}
