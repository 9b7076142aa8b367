#include "plugin/OpRegistration.h"

#include "PluginApis/src/QnVexil/op/VexilOp.h"
#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"
#include "constraints/ops/ConstraintEditAttributesOp.h"
#include "constraints/ops/ConstraintEditOp.h"
#include "constraints/ops/ConstraintListEditOp.h"
#include "constraints/ops/ConstraintSetupOp.h"
#include "constraints/resolve/ConstraintResolveOp.h"
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <vexil/VexilOp.h>

extern "C" void registerPlugin(const VexilPluginRecord* record);

namespace Vexil3Constraints {
namespace Private {

const char* const kOpApiName = VEXIL_OP_API_NAME;
const uint32_t kOpApiVersion = VEXIL_OP_API_VERSION;

int setPluginHost(const VexilHost* host) {
    Qn::VexilPluginHost::setHost(host);
    Qn::GroupBuilder::setHost(host);
    return Qn::Attribute::setHost(host);
}

void flushPlugin() {}

namespace {

int setHostEntry(const VexilHost* host) {
    return setPluginHost(host);
}
void flushEntry() {
    flushPlugin();
}

// One static record per op, refilled on every registration.
template <class Op> void registerOp(VexilPluginRecord& record, const char* name) {
    record.pluginVersionMajor = 0;
    record.pluginVersionMinor = 1;
    record.padding = 0;
    record.name = name;
    record.apiName = kOpApiName;
    record.apiVersion = kOpApiVersion;
    record.setHost = &setHostEntry;
    record.getSuite = &Qn::getVexilOpSuite<Op>;
    record.flush = &flushEntry;
    registerPlugin(&record);
}

VexilPluginRecord g_constraintEditRecord;
VexilPluginRecord g_constraintEditAttributesRecord;
VexilPluginRecord g_constraintListEditRecord;
VexilPluginRecord g_constraintResolveRecord;
VexilPluginRecord g_constraintSetupRecord;

} // namespace

void registerConstraintEditOp() {
    registerOp<ConstraintEditOp>(g_constraintEditRecord, "ConstraintEdit");
}

void registerConstraintEditAttributesOp() {
    registerOp<ConstraintEditAttributesOp>(g_constraintEditAttributesRecord, "ConstraintEditAttributes");
}

void registerConstraintListEditOp() {
    registerOp<ConstraintListEditOp>(g_constraintListEditRecord, "ConstraintListEdit");
}

void registerConstraintResolveOp() {
    registerOp<ConstraintResolveOp>(g_constraintResolveRecord, "ConstraintResolve");
}

void registerConstraintSetupOp() {
    registerOp<ConstraintSetupOp>(g_constraintSetupRecord, "ConstraintSetup");
}

} // namespace Private
} // namespace Vexil3Constraints
