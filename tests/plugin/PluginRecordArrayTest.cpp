// The plug-in record array: emptying keeps storage, growth doubles from one record.
#include "plugin/PluginRecordArray.h"

#include <gtest/gtest.h>

namespace {

using Vexil3Constraints::Private::PluginRecordArray;

VexilPluginRecord record(uintptr_t n) {
    VexilPluginRecord r{};
    r.name = reinterpret_cast<const char*>(n);
    r.apiVersion = static_cast<uint32_t>(n);
    r.padding = static_cast<uint32_t>(n * 3);
    return r;
}

TEST(PluginRecordArrayTest, GrowsByDoublingAndKeepsRecords) {
    PluginRecordArray array;
    EXPECT_EQ(array.data(), nullptr);
    const size_t expectedCapacity[] = {1, 2, 4, 4, 8, 8, 8, 8, 16};
    for (uintptr_t n = 0; n < 9; ++n) {
        array.append(record(n + 1));
        EXPECT_EQ(array.size(), n + 1);
        EXPECT_EQ(array.capacity(), expectedCapacity[n]) << "after " << n + 1 << " records";
    }
    for (uintptr_t n = 0; n < 9; ++n) {
        const VexilPluginRecord& r = array.data()[n];
        EXPECT_EQ(reinterpret_cast<uintptr_t>(r.name), n + 1);
        EXPECT_EQ(r.apiVersion, n + 1);
        EXPECT_EQ(r.padding, (n + 1) * 3);
    }
}

TEST(PluginRecordArrayTest, ClearKeepsTheStorage) {
    PluginRecordArray array;
    for (uintptr_t n = 0; n < 5; ++n) {
        array.append(record(n));
    }
    const VexilPluginRecord* storage = array.data();
    array.clear();
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.capacity(), 8u);
    EXPECT_EQ(array.data(), nullptr);
    array.append(record(42));
    EXPECT_EQ(array.data(), storage);
    EXPECT_EQ(array.data()[0].apiVersion, 42u);
}

} // namespace
