// The op wrapper: errors and aborts escaping a cook, setup, and describe.
#include "tests/plugin/FakeCookHost.h"

#include "PluginApis/src/QnVexil/op/VexilOp.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using VexilTest::FakeCook;

struct ThrowsX : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface&) { throw std::runtime_error("x"); }
};
struct ThrowsInt : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface&) { throw 42; }
};
struct QueriesThenWrites : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface& iface) {
        const Qn::Attribute bound = iface.getAttr("bound", "/root/world/geo");
        iface.setAttr("seen", Qn::StringAttribute(bound.isValid() ? "yes" : "no"));
    }
};
struct Succeeds : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface& iface) { iface.setAttr("done", Qn::IntAttribute(1)); }
};
// An op that catches std::exception itself must not swallow the abort.
struct CatchesStdExceptions : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface& iface) {
        try {
            iface.getAttr("xform");
        } catch (const std::exception&) {
            iface.setAttr("swallowed", Qn::IntAttribute(1));
        }
    }
};

class OpWrapperTest : public ::testing::Test {
protected:
    void SetUp() override { VexilTest::ensureAttributeSuite(); }
};

TEST_F(OpWrapperTest, ExceptionsBecomeTypeThenErrorMessage) {
    struct Case {
        const char* opType;
        const VexilOpSuite* suite;
        const char* message;
    };
    const Case cases[] = {
        {"ConstraintSetup", &Qn::VexilOpSuiteOf<ThrowsX>::suite, "ConstraintSetup Op: x"},
        {"ConstraintListEdit", &Qn::VexilOpSuiteOf<ThrowsInt>::suite,
         "ConstraintListEdit Op: Unknown exception during op cook"},
        {"", &Qn::VexilOpSuiteOf<ThrowsX>::suite, " Op: x"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        FakeCook cook;
        cook.opType = c.opType;
        EXPECT_EQ(cook.cookWith(*c.suite), 0);
        ASSERT_EQ(cook.callLog(), (std::vector<std::string>{"setAttr:type", "setAttr:errorMessage"}));
        EXPECT_EQ(VexilTest::string(cook.calls[0].attr), "error");
        EXPECT_EQ(VexilTest::string(cook.calls[1].attr), c.message);
        EXPECT_EQ(cook.calls[0].groupInherit, 1);
        EXPECT_EQ(cook.calls[1].groupInherit, 1);
    }
}

TEST_F(OpWrapperTest, AbortRaisesTheFlagAndWritesNothing) {
    for (const VexilOpSuite* suite :
         {&Qn::VexilOpSuiteOf<QueriesThenWrites>::suite, &Qn::VexilOpSuiteOf<CatchesStdExceptions>::suite}) {
        FakeCook cook;
        cook.abortQueries = true;
        EXPECT_EQ(cook.cookWith(*suite), 1);
        EXPECT_TRUE(cook.calls.empty());
        EXPECT_EQ(cook.queries.size(), 1u);
    }
}

TEST_F(OpWrapperTest, NormalCookClearsTheFlagAndKeepsItsWrites) {
    FakeCook cook;
    cook.input["/root/world/geo"]["bound"] = Qn::DoubleAttribute(std::vector<double>{0, 1, 0, 1, 0, 1});
    EXPECT_EQ(cook.cookWith(Qn::VexilOpSuiteOf<QueriesThenWrites>::suite), 0);
    ASSERT_EQ(cook.callLog(), std::vector<std::string>{"setAttr:seen"});
    EXPECT_EQ(VexilTest::string(cook.calls[0].attr), "yes");
    ASSERT_EQ(cook.queries.size(), 1u);
    EXPECT_EQ(cook.queries[0].inputIndex, -1);

    FakeCook plain;
    EXPECT_EQ(plain.cookWith(Qn::VexilOpSuiteOf<Succeeds>::suite), 0);
    EXPECT_EQ(plain.callLog(), std::vector<std::string>{"setAttr:done"});
}

TEST_F(OpWrapperTest, MissingHostEntryIsReportedAsAnError) {
    // A host whose cook table lacks the query entry: the op fails with a clear message, no crash.
    VexilCookSuite partial = *FakeCook::suite();
    partial.getAttr = nullptr;
    FakeCook cook;
    cook.opType = "ConstraintResolve";
    uint8_t aborted = 1;
    Qn::VexilOpSuiteOf<QueriesThenWrites>::suite.cook(cook.handle(), &partial, &aborted);
    EXPECT_EQ(aborted, 0);
    EXPECT_EQ(VexilTest::string(cook.output("errorMessage")),
              "ConstraintResolve Op: The host's cook interface has no entry 14.");
}

// ---- setup ----

struct SetupRecorder {
    static std::vector<int32_t>& modes() {
        static std::vector<int32_t> m;
        return m;
    }
    static void setThreading(VexilSetupHandle, int32_t mode) { modes().push_back(mode); }
};

struct SetupThrows : Qn::VexilOp {
    static void setup(Qn::VexilSetupInterface&) { throw std::runtime_error("setup failed"); }
    static void cook(Qn::VexilCookInterface&) {}
};
struct SetupThrowsInt : Qn::VexilOp {
    static void setup(Qn::VexilSetupInterface&) { throw 1; }
    static void cook(Qn::VexilCookInterface&) {}
};

TEST_F(OpWrapperTest, SetupPassesZeroAndSwallowsExceptions) {
    SetupRecorder::modes().clear();
    const VexilSetupSuite setupSuite{&SetupRecorder::setThreading};
    Qn::VexilOpSuiteOf<Succeeds>::suite.setup(nullptr, &setupSuite);
    EXPECT_EQ(SetupRecorder::modes(), std::vector<int32_t>{0});

    EXPECT_NO_THROW(Qn::VexilOpSuiteOf<SetupThrows>::suite.setup(nullptr, &setupSuite));
    EXPECT_NO_THROW(Qn::VexilOpSuiteOf<SetupThrowsInt>::suite.setup(nullptr, &setupSuite));
    EXPECT_NO_THROW(Qn::VexilOpSuiteOf<Succeeds>::suite.setup(nullptr, nullptr));
    EXPECT_EQ(SetupRecorder::modes(), std::vector<int32_t>{0});
}

// ---- describe ----

struct DescribesGroup : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface&) {}
    static Qn::Attribute describe() { return VexilTest::group({{"help", Qn::StringAttribute("text")}}); }
};
struct DescribeThrows : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface&) {}
    static Qn::Attribute describe() { throw std::runtime_error("no docs"); }
};
struct DescribeThrowsInt : Qn::VexilOp {
    static void cook(Qn::VexilCookInterface&) {}
    static Qn::Attribute describe() { throw 3; }
};

int64_t liveAttributes() {
    int64_t attributes = 0, builders = 0;
    Qn::Attribute::suite()->getLiveCounts(&attributes, &builders);
    return attributes;
}

TEST_F(OpWrapperTest, DescribeHandsOverOneReference) {
    EXPECT_EQ(Qn::VexilOpSuiteOf<Succeeds>::suite.describe(), nullptr);

    const int64_t before = liveAttributes();
    {
        QnAttributeHandle handle = Qn::VexilOpSuiteOf<DescribesGroup>::suite.describe();
        ASSERT_NE(handle, nullptr);
        const Qn::GroupAttribute description(Qn::Attribute::adopt(handle));
        EXPECT_EQ(VexilTest::string(description.getChildByName("help")), "text");
        EXPECT_GT(liveAttributes(), before);
    }
    // The caller's one reference was the only one left: dropping it frees the description.
    EXPECT_EQ(liveAttributes(), before);
}

TEST_F(OpWrapperTest, DescribeReportsStdExceptionsOnStderr) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Qn::VexilOpSuiteOf<DescribeThrows>::suite.describe(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "VexilOp::describe() failed: no docs\n");
    EXPECT_THROW(Qn::VexilOpSuiteOf<DescribeThrowsInt>::suite.describe(), int);
}

} // namespace
