// Suite acquisition: from a host's service table, directly, and by loading the library from a
// directory, with the exact messages of each loading failure.
#include "tests/attribute/AttributeTestSupport.h"

#include <dlfcn.h>

#include <cstring>

using namespace AttributeTests;

namespace {

bool isLoaded(const std::string& directory) {
    void* h = dlopen((directory + "/bin/libQnAttributeHost.so").c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (h)
        dlclose(h);
    return h != nullptr;
}

const VexilHost* realHost() {
    void* h = dlopen(VEXIL_BUILD_DIR "/bin/libQnAttributeHost.so", RTLD_NOW | RTLD_NOLOAD);
    void* entry = h ? dlsym(h, QN_GET_ATTRIBUTE_HOST_SYMBOL) : nullptr;
    if (h)
        dlclose(h);
    return entry ? reinterpret_cast<QnGetAttributeHostFn>(entry)() : nullptr;
}

TEST(SuiteLoadTest, LoadingFromTheBuildDirectorySucceedsSilently) {
    CerrCapture err;
    EXPECT_TRUE(Attribute::loadSuite(VEXIL_BUILD_DIR));
    EXPECT_EQ(err.text(), "");
    ASSERT_NE(Attribute::suite(), nullptr);
    EXPECT_EQ(GroupBuilder::suite(), Attribute::suite());
    EXPECT_TRUE(isLoaded(VEXIL_BUILD_DIR)); // stays open
    EXPECT_EQ(Qn::IntAttribute(3).getValue(), 3);
}

TEST(SuiteLoadTest, EachLoadingFailureIsReportedAndKeepsTheSuite) {
    ASSERT_NE(hostSuite(), nullptr);
    const std::string missing = "/nonexistent/vexil-attribute-test";
    struct Case {
        std::string directory;
        std::string message;
    };
    const Case cases[] = {
        {missing,
         "Error loading QnAttributeHost: " + missing +
             "/bin/libQnAttributeHost.so: cannot open shared object file: No such file or directory\n"},
        {VEXIL_FAKE_NOSYMBOL_DIR, std::string("Error loading ATTRUTIL: ") + VEXIL_FAKE_NOSYMBOL_DIR +
                                      "/bin/libQnAttributeHost.so: undefined symbol: getAttributeHost\n"},
        {VEXIL_FAKE_NULLHOST_DIR, "Error obtaining QnAttribute host.\n"},
    };
    for (const Case& c : cases) {
        CerrCapture err;
        EXPECT_FALSE(Attribute::loadSuite(c.directory)) << c.directory;
        EXPECT_EQ(err.text(), c.message);
        EXPECT_FALSE(isLoaded(c.directory)) << "closed again: " << c.directory;
        EXPECT_EQ(Attribute::suite(), hostSuite());
        EXPECT_EQ(GroupBuilder::suite(), hostSuite());
    }
}

TEST(SuiteLoadTest, TheHostOffersOnlyTheAttributeSuiteVersion5) {
    ASSERT_NE(hostSuite(), nullptr);
    const VexilHost* host = realHost();
    ASSERT_NE(host, nullptr);
    EXPECT_STREQ(host->getHostName(), "QnAttributeHost");
    EXPECT_EQ(host->getSuite("AttributeHost", 5), hostSuite());
    EXPECT_EQ(host->getSuite("AttributeHost", 4), nullptr);
    EXPECT_EQ(host->getSuite("AttributeHost", 6), nullptr);
    EXPECT_EQ(host->getSuite("XFormUtilHost", 1), nullptr);
    EXPECT_EQ(host->getSuite(nullptr, 5), nullptr);
}

} // namespace
