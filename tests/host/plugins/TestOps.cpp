// Op plug-in of the engine tests: small ops that each exercise one part of the cook interface. Built
// as a module into the test plug-in folder and loaded through the host's registry like a real one.
#include "PluginApis/src/QnVexil/op/VexilOp.h"
#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Qn::VexilCookInterface;

std::atomic<int64_t> g_deletions{0};
std::atomic<int64_t> g_serialOverlaps{0};
std::atomic<int> g_serialActive{0};
std::atomic<int64_t> g_smallestStack{std::numeric_limits<int64_t>::max()};

/// Private data of the traversal ops: a label, and a count of deletions kept by the deleter.
struct Label {
    std::string text;
};

void deleteLabel(void* data) {
    delete static_cast<Label*>(data);
    g_deletions.fetch_add(1);
}

std::string stringArg(const VexilCookInterface& ci, const std::string& name,
                      const std::string& fallback = "") {
    return Qn::StringAttribute(ci.getOpArg(name)).getValue(fallback, false);
}

int intArg(const VexilCookInterface& ci, const std::string& name, int fallback = 0) {
    return Qn::IntAttribute(ci.getOpArg(name)).getValue(fallback, false);
}

std::vector<std::string> stringsArg(const VexilCookInterface& ci, const std::string& name) {
    return Qn::StringAttribute(ci.getOpArg(name)).getNearestSampleStrings(0.0f);
}

bool contains(const std::vector<std::string>& list, const std::string& value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

std::string leafName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// Throws a standard runtime error "x".
struct ThrowOp : Qn::VexilOp {
    static void cook(VexilCookInterface&) { throw std::runtime_error("x"); }
};

/// Throws a value that is not a std::exception.
struct ThrowUnknownOp : Qn::VexilOp {
    static void cook(VexilCookInterface&) { throw 42; }
};

/// Records what the host tells it: "seen.atRoot", "seen.root", "seen.opType", "seen.input",
/// "seen.label" (op argument "label"), "seen.privateLabel" (the traversal's private data) and, with
/// "withSystem" set, "seen.system" (the op argument "system"). Stops below names in "stopAt".
struct MarkOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        ci.setAttr("seen.atRoot", Qn::IntAttribute(ci.atRoot() ? 1 : 0));
        ci.setAttr("seen.root", Qn::StringAttribute(ci.getRootLocationPath()));
        ci.setAttr("seen.opType", Qn::StringAttribute(ci.getOpType()));
        ci.setAttr("seen.input", Qn::StringAttribute(ci.getInputLocationPath()));
        const std::string label = stringArg(ci, "label");
        if (!label.empty()) {
            ci.setAttr("seen.label", Qn::StringAttribute(label));
        }
        if (const auto* data = static_cast<const Label*>(ci.getPrivateData())) {
            ci.setAttr("seen.privateLabel", Qn::StringAttribute(data->text));
        }
        if (intArg(ci, "withSystem") != 0) {
            ci.setAttr("seen.system", ci.getOpArg("system"));
        }
        if (contains(stringsArg(ci, "stopAt"), leafName(ci.getOutputLocationPath()))) {
            ci.stopChildTraversal();
        }
    }
};

/// Where the output location's name is in "parents", creates the children "names" cooked by op
/// "childOp" with arguments "childArgs", mode "mode" and (when "privateLabel" is given) private data;
/// then asks whether location "queryAfter" exists, when given.
struct CreateOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        if (!contains(stringsArg(ci, "parents"), leafName(ci.getOutputLocationPath()))) {
            return;
        }
        const std::string label = stringArg(ci, "privateLabel");
        for (const std::string& name : stringsArg(ci, "names")) {
            Label* data = label.empty() ? nullptr : new Label{label + ":" + name};
            ci.createChild(name, stringArg(ci, "childOp", "TestMark"), ci.getOpArg("childArgs"),
                           intArg(ci, "mode"), data, data != nullptr ? &deleteLabel : nullptr);
        }
        // A query after the children were handed over: an abort here drops them with their data.
        const std::string queryAfter = stringArg(ci, "queryAfter");
        if (!queryAfter.empty()) {
            ci.setAttr("queried", Qn::IntAttribute(ci.doesLocationExist(queryAfter) ? 1 : 0));
        }
    }
};

/// At the root of its traversal, hands the children to a new TestMark instance with private data
/// labelled by "privateLabel" and arguments {"label": "handed"}; marks every location it cooks.
struct HandOverOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        ci.setAttr("handOver.cooked", Qn::IntAttribute(1));
        if (!ci.atRoot()) {
            return;
        }
        Qn::GroupBuilder args;
        args.set("label", Qn::StringAttribute("handed"));
        ci.replaceChildTraversalOp("TestMark", args.build(), new Label{stringArg(ci, "privateLabel", "none")},
                                   &deleteLabel);
    }
};

/// Writes "before" = 1, then copies attribute "attr" of location "from" to "copied", and records
/// "exists" and "children" of "from". Under abort the whole attempt must vanish.
struct QueryOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        if (ci.atRoot() && intArg(ci, "skipRoot") != 0) {
            return;
        }
        ci.setAttr("before", Qn::IntAttribute(1));
        const std::string from = stringArg(ci, "from");
        const Qn::Attribute value = ci.getAttr(stringArg(ci, "attr"), from);
        ci.setAttr("exists", Qn::IntAttribute(ci.doesLocationExist(from) ? 1 : 0));
        if (value.isValid()) {
            ci.setAttr("copied", value);
        }
        const Qn::StringAttribute children = ci.getPotentialChildren(from);
        if (children.isValid()) {
            ci.setAttr("children", children);
        }
        const Qn::StringAttribute type = ci.getLocationType(from);
        if (type.isValid()) {
            ci.setAttr("fromType", type);
        }
    }
};

/// Appends op argument "values" to attribute "name" (read from "source" at "sourcePath" when given).
struct ExtendOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        if (stringArg(ci, "at") != ci.getOutputLocationPath()) {
            return;
        }
        const int times = intArg(ci, "times", 1);
        for (int i = 0; i < times; ++i) {
            ci.extendAttr(stringArg(ci, "name"), ci.getOpArg("values"), stringArg(ci, "source"), false,
                          stringArg(ci, "sourcePath"));
        }
    }
};

/// Writes the world transform of location "of" at its world sample times ("queried.world", double,
/// tuple size 16), those times ("queried.times") and its world bound at time 0 ("queried.bound"), with
/// op argument "overrides" (a literal group keyed by location path) replacing `xform` groups.
struct WorldOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        if (stringArg(ci, "at") != ci.getOutputLocationPath()) {
            return;
        }
        const std::string of = stringArg(ci, "of");
        const Qn::GroupAttribute overrides(ci.getOpArg("overrides"));
        const std::vector<float> times = Qn::VexilPluginHost::getWorldXformSampleTimes(ci, of, overrides);
        const std::vector<Imath::M44d> world =
            Qn::VexilPluginHost::getWorldXformAtTimes(ci, of, times, overrides);
        std::vector<double> values;
        for (const auto& m : world) {
            values.insert(values.end(), m.getValue(), m.getValue() + 16);
        }
        ci.setAttr("queried.times", Qn::FloatAttribute(times));
        ci.setAttr("queried.world", Qn::DoubleAttribute(values, 16));
        Imath::Box3d box;
        if (Qn::VexilPluginHost::getWorldBound(ci, of, 0.0f, box)) {
            ci.setAttr("queried.bound",
                       Qn::DoubleAttribute(std::vector<double>{box.min.x, box.max.x, box.min.y, box.max.y,
                                                               box.min.z, box.max.z}));
        }
    }
};

/// At location "at": every attribute of "from" (entry 20) counted in "entries.allCount"; the attribute
/// of a missing location noted in "entries.allMissing"; for each child of group "fallbacks" (a
/// string pair: path, fallback path) the first of "first"/"second" found (entry 23) as
/// "fallback.<child>"; two setAttrsAt calls (entry 29), one at another path; "value" of "from"
/// copied to "entries.copied" and an absent attribute copied over "gone" (entry 30); "doomed.inner"
/// deleted; the number of op arguments (empty name) in "entries.argCount".
struct EntriesOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        if (stringArg(ci, "at") != ci.getOutputLocationPath()) {
            return;
        }
        const std::string from = stringArg(ci, "from");
        const Qn::GroupAttribute all = ci.getAllAttrs(from);
        ci.setAttr("entries.allCount", Qn::IntAttribute(static_cast<int32_t>(all.getNumberOfChildren())));
        ci.setAttr("entries.allMissing", Qn::IntAttribute(ci.getAllAttrs("/root/missing").isValid() ? 0 : 1));
        const Qn::GroupAttribute fallbacks(ci.getOpArg("fallbacks"));
        const Qn::StringAttribute names(std::vector<std::string>{"first", "second"});
        for (int64_t i = 0; i < fallbacks.getNumberOfChildren(); ++i) {
            const auto pair = Qn::StringAttribute(fallbacks.getChildByIndex(i)).getNearestSampleStrings(0.0f);
            const Qn::Attribute found = ci.getAttrWithFallback(pair.at(0), pair.at(1), names);
            if (found.isValid()) {
                ci.setAttr("fallback." + fallbacks.getChildName(i), found);
            }
        }
        Qn::GroupBuilder here;
        here.set("fromSetAt", Qn::IntAttribute(1));
        ci.setAttrsAt(ci.getOutputLocationPath(), here.build());
        Qn::GroupBuilder elsewhere;
        elsewhere.set("ignored", Qn::IntAttribute(1));
        ci.setAttrsAt("/root/world", elsewhere.build());
        ci.copyAttr("entries.copied", "value", true, from);
        ci.copyAttr("gone", "noSuchAttribute", true, from);
        ci.deleteAttr("doomed.inner");
        ci.setAttr("entries.argCount", Qn::IntAttribute(static_cast<int32_t>(
                                           Qn::GroupAttribute(ci.getOpArg()).getNumberOfChildren())));
    }
};

std::atomic<int64_t> g_attempts{0};

/// Writes "attempt<N>" (N counting every cook of this op in the process), then copies attribute
/// "attr" of location "from" to "copied". Aborted attempts must leave no "attempt<N>" behind.
struct AttemptsOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        ci.setAttr("attempt" + std::to_string(g_attempts.fetch_add(1)), Qn::IntAttribute(1));
        const Qn::Attribute value = ci.getAttr(stringArg(ci, "attr"), stringArg(ci, "from"));
        if (value.isValid()) {
            ci.setAttr("copied", value);
        }
    }
};

/// Asks for one cook at a time and counts cooks that overlap anyway.
struct SerialOp : Qn::VexilOp {
    static void setup(Qn::VexilSetupInterface& setupInterface) { setupInterface.setThreading(1); }
    static void cook(VexilCookInterface& ci) {
        if (g_serialActive.fetch_add(1) != 0) {
            g_serialOverlaps.fetch_add(1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        ci.setAttr("serial", Qn::IntAttribute(1));
        g_serialActive.fetch_sub(1);
    }
};

/// Notes the smallest stack of the threads that cooked it.
struct StackOp : Qn::VexilOp {
    static void cook(VexilCookInterface& ci) {
        pthread_attr_t attributes;
        size_t bytes = 0;
        if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
            pthread_attr_getstacksize(&attributes, &bytes);
            pthread_attr_destroy(&attributes);
        }
        int64_t smallest = g_smallestStack.load();
        while (static_cast<int64_t>(bytes) < smallest &&
               !g_smallestStack.compare_exchange_weak(smallest, static_cast<int64_t>(bytes))) {
        }
        ci.setAttr("stacked", Qn::IntAttribute(1));
    }
};

// ---- raw suites: ops that break the rules the op wrapper normally keeps ----

/// Lets a C++ exception out of the C cook entry.
void escapingCook(VexilCookHandle, const VexilCookSuite*, uint8_t*) {
    throw std::runtime_error("escaped");
}

/// Reports an abort without having asked the host anything.
void abortWithoutQueryCook(VexilCookHandle handle, const VexilCookSuite* suite, uint8_t* aborted) {
    const Qn::StringAttribute value("left behind");
    suite->setAttr(handle, "attempt", 7, value.getHandle(), 1);
    *aborted = 1;
}

/// What the test program installs to run as TestCallback's cook (its cook handle, the host's cook
/// suite, and a context of its own).
using CookCallback = void (*)(VexilCookHandle, const VexilCookSuite*, void*);
CookCallback g_callback = nullptr;
void* g_callbackContext = nullptr;

/// Hands the raw cook to the test program's callback, so that a test can call the host's entries
/// itself; does nothing when none is installed.
void callbackCook(VexilCookHandle handle, const VexilCookSuite* suite, uint8_t*) {
    if (g_callback != nullptr) {
        g_callback(handle, suite, g_callbackContext);
    }
}

const VexilOpSuite kEscapingSuite = {nullptr, &escapingCook, nullptr};
const VexilOpSuite kAbortWithoutQuerySuite = {nullptr, &abortWithoutQueryCook, nullptr};
const VexilOpSuite kCallbackSuite = {nullptr, &callbackCook, nullptr};

int setHostEntry(const VexilHost* host) {
    Qn::VexilPluginHost::setHost(host);
    Qn::GroupBuilder::setHost(host);
    return Qn::Attribute::setHost(host);
}

void flushEntry() {}

const void* escapingSuite() {
    return &kEscapingSuite;
}
const void* abortWithoutQuerySuite() {
    return &kAbortWithoutQuerySuite;
}
const void* callbackSuite() {
    return &kCallbackSuite;
}

VexilPluginRecord record(const char* name, const void* (*getSuite)()) {
    return VexilPluginRecord{name,          VEXIL_OP_API_NAME, VEXIL_OP_API_VERSION, 0, 1, 0,
                             &setHostEntry, getSuite,          &flushEntry};
}

std::vector<VexilPluginRecord> g_records;

} // namespace

extern "C" __attribute__((visibility("default"))) VexilPluginRecord* getPlugins(unsigned int* count) {
    g_records = {
        record("TestThrow", &Qn::getVexilOpSuite<ThrowOp>),
        record("TestThrowUnknown", &Qn::getVexilOpSuite<ThrowUnknownOp>),
        record("TestMark", &Qn::getVexilOpSuite<MarkOp>),
        record("TestCreate", &Qn::getVexilOpSuite<CreateOp>),
        record("TestHandOver", &Qn::getVexilOpSuite<HandOverOp>),
        record("TestQuery", &Qn::getVexilOpSuite<QueryOp>),
        record("TestExtend", &Qn::getVexilOpSuite<ExtendOp>),
        record("TestWorld", &Qn::getVexilOpSuite<WorldOp>),
        record("TestSerial", &Qn::getVexilOpSuite<SerialOp>),
        record("TestStack", &Qn::getVexilOpSuite<StackOp>),
        record("TestAttempts", &Qn::getVexilOpSuite<AttemptsOp>),
        record("TestEntries", &Qn::getVexilOpSuite<EntriesOp>),
        record("TestEscape", &escapingSuite),
        record("TestAbortWithoutQuery", &abortWithoutQuerySuite),
        record("TestCallback", &callbackSuite),
    };
    *count = static_cast<unsigned int>(g_records.size());
    return g_records.data();
}

/// The number of private-data objects freed through the ops' deletion function so far.
extern "C" __attribute__((visibility("default"))) int64_t vexilTestDeletions() {
    return g_deletions.load();
}

/// The number of TestAttempts cooks so far, aborted ones included.
extern "C" __attribute__((visibility("default"))) int64_t vexilTestAttempts() {
    return g_attempts.load();
}

/// The number of TestSerial cooks that found another one running.
extern "C" __attribute__((visibility("default"))) int64_t vexilTestSerialOverlaps() {
    return g_serialOverlaps.load();
}

/// The smallest stack, in bytes, of a thread that cooked TestStack so far (the largest int64 before).
extern "C" __attribute__((visibility("default"))) int64_t vexilTestSmallestStack() {
    return g_smallestStack.load();
}

/// Installs the function TestCallback's cook calls (null: none), with a context passed to it.
extern "C" __attribute__((visibility("default"))) void vexilTestSetCookCallback(CookCallback callback,
                                                                                void* context) {
    g_callback = callback;
    g_callbackContext = context;
}
