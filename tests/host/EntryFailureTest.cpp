// Every C entry of the host's suites that catches an exception reports it. An allocation made to fail
// inside the entry marks the location being cooked, or, where the entry has no location, gives one
// line on standard error; the entry hands back nothing and the host goes on.
#include "host/engine/Engine.h"
#include "host/services/HostServices.h"
#include "tests/host/FailingAllocation.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <sstream>

namespace VexilHost {
namespace {

using namespace HostTest;

/// What one entry did with the failing allocation.
struct Outcome {
    bool failed = false;   ///< the allocation failed inside the entry
    bool returned = false; ///< the entry handed something back all the same
};

/// Calls `entry`, which tells whether the host handed something back, with the next allocation failing.
template <class Entry> Outcome callFailing(Entry&& entry) {
    Outcome outcome;
    {
        const FailingAllocation failing;
        outcome.returned = entry();
        outcome.failed = failing.happened();
    }
    return outcome;
}

// Long enough to be allocated: strings of up to 15 characters are kept inline.
const char kPath[] = "/root/world/no-location-has-this-long-path";
const int32_t kPathLength = sizeof(kPath) - 1;
const char kName[] = "an-attribute-name-longer-than-fifteen";
const int32_t kNameLength = sizeof(kName) - 1;
const char kOpType[] = "NoOpTypeHasThisLongName";

using CookEntry = std::function<bool(VexilCookHandle, const VexilCookSuite*)>;
using PlainEntry = std::function<bool()>;

/// An entry called from a cook, on a location of its own.
struct CookCase {
    const char* entry;
    CookEntry call;
};

/// An entry called outside any cook, and the library that names it on standard error.
struct PlainCase {
    const char* entry;
    PlainEntry call;
    const char* library;
};

/// Runs each in-cook case at its own location "/root/world/e<i>" of a TestCallback cook.
struct CallbackContext {
    const std::vector<CookCase>* cases;
    std::vector<Outcome> outcomes;
};

void runCase(VexilCookHandle handle, const VexilCookSuite* suite, void* context) {
    auto& run = *static_cast<CallbackContext*>(context);
    int32_t length = 0;
    const char* path = suite->getOutputLocationPath(handle, &length);
    const std::string where(path, static_cast<size_t>(length));
    const std::string prefix = "/root/world/e";
    if (where.compare(0, prefix.size(), prefix) != 0) {
        return;
    }
    const size_t i = std::stoul(where.substr(prefix.size()));
    run.outcomes[i] = callFailing([&] { return (*run.cases)[i].call(handle, suite); });
}

using SetCallback = void (*)(void (*)(VexilCookHandle, const VexilCookSuite*, void*), void*);

TEST(EntryFailure, EveryEntryReportsWhatItCaughtAndGivesNothingBack) {
    const AttributeHostSuite* attributes = attributeSuite();
    const XFormUtilHostSuite* xform = xformUtilSuite();
    const VexilCookInterfaceUtilsHostSuite* utils = cookUtilsSuite();
    const Qn::IntAttribute value(1);
    const Qn::GroupAttribute args = decoded(Json::object());
    const Qn::StringAttribute names(std::vector<std::string>{"first", "second"});
    // More operations than a flattened `xform` keeps inline, so that reading them allocates.
    const Qn::GroupAttribute xformGroup = decoded({{"translate", doubles({1, 2, 3})},
                                                   {"rotate", doubles({90, 0, 0, 1})},
                                                   {"scale", doubles({2, 2, 2})}});
    const Qn::GroupAttribute longNamed = decoded({{kName, VexilTest::ints({1})}});
    const Qn::DoubleAttribute sampled = decoded(sampledDoubles({{"0", {1}}, {"1", {2}}}));
    const float times[] = {0.0f};
    float timesOut[4];
    double matricesOut[16];
    double boundOut[6];
    uint8_t abort = 0;
    const auto handle = [](const Qn::Attribute& a) {
        return a.getHandle();
    };
    // One builder per builder entry, made before its allocation is made to fail.
    std::vector<QnGroupBuilderHandle> builders;
    const auto builder = [&] {
        return builders.emplace_back(attributes->createGroupBuilder());
    };

    const std::vector<CookCase> cookCases = {
        // The cook suite, on the location being cooked.
        // getOpArg allocates nothing: it has no allocation to make fail.
        {"prefetch",
         [](auto h, auto s) {
             return s->prefetch(h, kPath, kPathLength, 0), false;
         }},
        {"getAttr",
         [&](auto h, auto s) {
             return s->getAttr(h, "x", 1, kPath, kPathLength, 0, &abort) != nullptr;
         }},
        {"doesLocationExist",
         [&](auto h, auto s) {
             return s->doesLocationExist(h, kPath, kPathLength, 0, &abort) != 0;
         }},
        {"getPotentialChildren",
         [&](auto h, auto s) {
             return s->getPotentialChildren(h, kPath, kPathLength, 0, &abort) != nullptr;
         }},
        {"createChild",
         [&](auto h, auto s) {
             return s->createChild(h, kName, kNameLength, "TestMark", 8, handle(args), 0, nullptr, nullptr),
                    false;
         }},
        {"getAllAttrs",
         [&](auto h, auto s) {
             return s->getAllAttrs(h, kPath, kPathLength, 0, &abort) != nullptr;
         }},
        {"getAttrWithFallback",
         [&](auto h, auto s) {
             return s->getAttrWithFallback(h, kPath, kPathLength, kPath, kPathLength, 0, handle(names),
                                           &abort) != nullptr;
         }},
        {"setAttr",
         [&](auto h, auto s) {
             return s->setAttr(h, kName, kNameLength, handle(value), 1), false;
         }},
        {"deleteAttr",
         [](auto h, auto s) {
             return s->deleteAttr(h, kName, kNameLength), false;
         }},
        {"replaceChildTraversalOp",
         [&](auto h, auto s) {
             return s->replaceChildTraversalOp(h, kOpType, sizeof(kOpType) - 1, handle(args), nullptr,
                                               nullptr),
                    false;
         }},
        {"getLocationType",
         [&](auto h, auto s) {
             return s->getLocationType(h, kPath, kPathLength, 0, &abort) != nullptr;
         }},
        {"setAttrsAt",
         [&](auto h, auto s) {
             return s->setAttrsAt(h, kPath, kPathLength, handle(args)), false;
         }},
        {"copyAttr",
         [&](auto h, auto s) {
             return s->copyAttr(h, kName, kNameLength, "x", 1, 1, kPath, kPathLength, 0, &abort), false;
         }},
        {"extendAttr",
         [&](auto h, auto s) {
             return s->extendAttr(h, kName, kNameLength, handle(value), "", 0, 1, "", 0, -1, &abort), false;
         }},
        // The utility suites, on the location being cooked.
        {"getWorldXformSampleTimes",
         [&](auto h, auto) {
             return xform->getWorldXformSampleTimes(h, kPath, kPathLength, 0, nullptr, &abort) != nullptr;
         }},
        {"getWorldXformAtTimes",
         [&](auto h, auto) {
             return xform->getWorldXformAtTimes(h, kPath, kPathLength, 0, times, 1, nullptr, &abort) !=
                    nullptr;
         }},
        {"copyWorldXformSampleTimes",
         [&](auto h, auto) {
             return xform->copyWorldXformSampleTimes(h, kPath, kPathLength, 0, nullptr, timesOut, 4,
                                                     &abort) != -1;
         }},
        {"copyWorldXformAtTimes",
         [&](auto h, auto) {
             return xform->copyWorldXformAtTimes(h, kPath, kPathLength, 0, times, 1, nullptr, matricesOut,
                                                 &abort) != 0;
         }},
        {"getWorldBound",
         [&](auto h, auto) {
             return utils->getWorldBound(h, kPath, kPathLength, 0, 0.0f, boundOut, &abort) != 0;
         }},
    };
    // Entries without a location: a line on standard error.
    const std::vector<PlainCase> plainCases = {
        {"getLocalXformAtTimes",
         [&] { return xform->getLocalXformAtTimes(handle(xformGroup), times, 1) != nullptr; }, "vexil-cook"},
        {"createDoubleSamples",
         [&] {
             const double one = 1.0;
             const double* values[] = {&one};
             return attributes->createDoubleSamples(times, 1, values, 1, 1) != nullptr;
         },
         "QnAttributeHost"},
        {"createGroupBuilder", [&] { return attributes->createGroupBuilder() != nullptr; },
         "QnAttributeHost"},
        {"groupBuilderSet",
         [&, b = builder()] { return attributes->groupBuilderSet(b, kName, -1, handle(value)), false; },
         "QnAttributeHost"},
        {"groupBuilderDelete",
         [&, b = builder()] { return attributes->groupBuilderDelete(b, "dotted.name", -1), false; },
         "QnAttributeHost"},
        {"groupBuilderUpdate",
         [&, b = builder()] { return attributes->groupBuilderUpdate(b, handle(longNamed)), false; },
         "QnAttributeHost"},
        {"groupBuilderBuild", [&, b = builder()] { return attributes->groupBuilderBuild(b, 0) != nullptr; },
         "QnAttributeHost"},
        {"getSampleAccessor",
         [&] {
             return attributes->getSampleAccessor(handle(sampled), QN_ATTRIBUTE_TYPE_DOUBLE, 1) != nullptr;
         },
         "QnAttributeHost"},
    };

    // The in-cook cases, each at its own location.
    Json locations = Json::object();
    for (size_t i = 0; i < cookCases.size(); ++i) {
        locations["e" + std::to_string(i)] = Json::object();
    }
    const SceneFile file = readScene({{"children", {{"world", {{"children", locations}}}}}},
                                     Json::array({opAt("TestCallback", "/root/world")}));
    CallbackContext context{&cookCases, std::vector<Outcome>(cookCases.size())};
    const auto setCallback = reinterpret_cast<SetCallback>(testSymbol("vexilTestSetCookCallback"));
    setCallback(&runCase, &context);
    EngineOptions oneThread;
    oneThread.threads = 1;
    const SceneLocation cooked = Engine(file, testRegistry(), oneThread).cook();
    setCallback(nullptr, nullptr);
    for (size_t i = 0; i < cookCases.size(); ++i) {
        const char* entry = cookCases[i].entry;
        EXPECT_TRUE(context.outcomes[i].failed) << entry << ": no allocation to fail";
        EXPECT_FALSE(context.outcomes[i].returned) << entry << " handed something back";
        const std::string path = "/root/world/e" + std::to_string(i);
        EXPECT_EQ(stringOf(cooked, path, "type"), "error") << entry;
        EXPECT_EQ(stringOf(cooked, path, "errorMessage"),
                  std::string("TestCallback Op: host caught an exception in ") + entry + ": std::bad_alloc");
    }

    std::ostringstream errors;
    std::streambuf* const standardError = std::cerr.rdbuf(errors.rdbuf());
    std::vector<Outcome> outcomes;
    for (const PlainCase& c : plainCases) {
        outcomes.push_back(callFailing(c.call));
    }
    std::cerr.rdbuf(standardError);
    for (QnGroupBuilderHandle b : builders) {
        attributes->releaseGroupBuilder(b);
    }
    std::string expectedErrors;
    for (size_t i = 0; i < plainCases.size(); ++i) {
        EXPECT_TRUE(outcomes[i].failed) << plainCases[i].entry << ": no allocation to fail";
        EXPECT_FALSE(outcomes[i].returned) << plainCases[i].entry << " handed something back";
        expectedErrors +=
            std::string(plainCases[i].library) + ": " + plainCases[i].entry + " failed: std::bad_alloc\n";
    }
    EXPECT_EQ(errors.str(), expectedErrors);
}

} // namespace
} // namespace VexilHost
