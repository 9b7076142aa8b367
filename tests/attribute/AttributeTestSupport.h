// Shared set-up of the attribute tests: the real host library, live-count leak checks and capture of
// the standard error stream.
#pragma once

#include "hostapi/attribute/Attributes.h"
#include "tests/support/ThrownMessage.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace AttributeTests {

using Qn::Attribute;
using Qn::DoubleAttribute;
using Qn::FloatAttribute;
using Qn::GroupAttribute;
using Qn::GroupBuilder;
using Qn::IntAttribute;
using Qn::StringAttribute;

/// Loads <build>/bin/libQnAttributeHost.so once per process.
inline const AttributeHostSuite* hostSuite() {
    static const AttributeHostSuite* suite = [] {
        const bool loaded = Qn::Attribute::loadSuite(VEXIL_BUILD_DIR);
        return loaded ? Qn::Attribute::suite() : nullptr;
    }();
    return suite;
}

/// Live attributes and builders as the host counts them.
struct Live {
    int64_t attributes = 0;
    int64_t builders = 0;
};

inline Live liveCounts() {
    Live live;
    hostSuite()->getLiveCounts(&live.attributes, &live.builders);
    return live;
}

/// Every test starts with the suite loaded and must release every handle it made.
class AttributeTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(hostSuite(), nullptr);
        m_start = liveCounts();
    }
    void TearDown() override {
        const Live end = liveCounts();
        EXPECT_EQ(end.attributes, m_start.attributes) << "attributes leaked";
        EXPECT_EQ(end.builders, m_start.builders) << "builders leaked";
    }
    const AttributeHostSuite* suite() const { return hostSuite(); }

private:
    Live m_start;
};

/// Redirects std::cerr into a string while alive.
class CerrCapture {
public:
    CerrCapture() : m_old(std::cerr.rdbuf(m_text.rdbuf())) {}
    ~CerrCapture() { std::cerr.rdbuf(m_old); }
    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_old;
};

/// `v` as `n` little-endian bytes, for the canonical encodings written out independently of the host.
inline std::string le(uint64_t v, int n) {
    std::string s;
    for (int i = 0; i < n; ++i)
        s.push_back(static_cast<char>(v >> (8 * i)));
    return s;
}

/// The message of the std::runtime_error thrown by `f`, or "<no exception>".
template <typename F> std::string thrownMessage(F&& f) {
    return VexilTest::thrownMessage<std::runtime_error>(f);
}

} // namespace AttributeTests
