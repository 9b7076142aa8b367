// Serialised form: exact bytes, writer failures and each corrupt-input text (round trips and arbitrary
// bytes are the attribute fuzz target's).
#include "tests/attribute/AttributeTestSupport.h"

using namespace AttributeTests;

namespace {

using SerialiseTest = AttributeTest;

const std::string kHeader = std::string("QNAB") + le(1, 4);

TEST_F(SerialiseTest, ExactBytesOfASmallAttribute) {
    // header, kind 1, tuple size 1, one sample, one value, time 0.0, value 7
    const std::string expected = kHeader + le(1, 1) + le(1, 8) + le(1, 8) + le(1, 8) + le(0, 4) + le(7, 4);
    EXPECT_EQ(IntAttribute(7).serialise(), expected);
    std::vector<uint8_t> out{0xAA};
    EXPECT_TRUE(IntAttribute(7).serialise(out));
    EXPECT_EQ(std::string(out.begin() + 1, out.end()), expected); // appended after what was there
    EXPECT_EQ(out[0], 0xAA);

    // a group holding one double -2.0 at time 0.5 named "d"
    GroupBuilder b;
    b.set("d", DoubleAttribute(std::map<float, std::vector<double>>{{0.5f, {-2.0}}}, 1));
    const std::string group = kHeader + le(5, 1) + le(1, 8) + le(1, 8) + "d" + le(3, 1) + le(1, 8) +
                              le(1, 8) + le(1, 8) + le(0x3f000000, 4) + le(0xc000000000000000ull, 8);
    EXPECT_EQ(b.build().serialise(), group);
}

TEST_F(SerialiseTest, SerialisingNothingOrStoppingIsAnError) {
    EXPECT_EQ(thrownMessage([] { Attribute().serialise(); }), "Cannot serialise a null attribute.");
    std::vector<uint8_t> out;
    EXPECT_EQ(thrownMessage([&] { Attribute().serialise(out); }), "Cannot serialise a null attribute.");

    const IntAttribute one(1);
    struct Case {
        QnWriteCallback write;
        int32_t selector;
        const char* message;
    };
    const QnWriteCallback stop = [](void*, const void*, int64_t) {
        return 0;
    };
    const QnWriteCallback go = [](void*, const void*, int64_t) {
        return 1;
    };
    const Case cases[] = {
        {stop, 0, "Serialisation stopped by the writer."},
        {go, 2, "Unknown serialisation format 2."},
        {nullptr, 1, "No writer given for serialisation."},
    };
    for (const Case& c : cases) {
        QnAttributeHandle error = nullptr;
        EXPECT_EQ(suite()->serialise(one.getHandle(), nullptr, c.write, &error, c.selector), 0);
        EXPECT_EQ(StringAttribute(Attribute::adopt(error)).getValue(), c.message);
    }
    EXPECT_EQ(suite()->serialise(one.getHandle(), nullptr, go, nullptr, 0), 1);
}

TEST_F(SerialiseTest, CorruptInputGivesANullHandleAndAnErrorText) {
    const std::string good = IntAttribute(7).serialise();
    std::string badKind = good;
    badKind[8] = 9;
    std::string descending =
        kHeader + le(2, 1) + le(1, 8) + le(2, 8) + le(0, 8) + le(0x3f800000, 4) + le(0, 4);
    struct Case {
        const char* what;
        std::string bytes;
        const char* message;
    };
    const Case cases[] = {
        {"empty", "", "Corrupt serialised attribute: truncated magic at byte 0."},
        {"bad magic", "QNAX" + le(1, 4), "Corrupt serialised attribute: bad magic at byte 0."},
        {"version", "QNAB" + le(2, 4), "Corrupt serialised attribute: unsupported version 2 at byte 4."},
        {"unknown kind", badKind, "Corrupt serialised attribute: unknown kind at byte 8."},
        {"trailing byte", good + "x", "Corrupt serialised attribute: trailing bytes at byte 41."},
        {"huge value count", kHeader + le(1, 1) + le(1, 8) + le(1, 8) + le(1ull << 60, 8) + le(0, 4),
         "Corrupt serialised attribute: counts exceed the data at byte 8."},
        {"descending times", descending,
         "Corrupt serialised attribute: sample times not ascending at byte 8."},
        {"bad tuple size", kHeader + le(1, 1) + le(2, 8) + le(1, 8) + le(1, 8) + le(0, 4) + le(7, 4),
         "Corrupt serialised attribute: bad data layout at byte 8."},
        {"negative children", kHeader + le(5, 1) + le(~0ull, 8),
         "Corrupt serialised attribute: bad child count at byte 8."},
        {"string longer than the data",
         kHeader + le(4, 1) + le(1, 8) + le(1, 8) + le(1, 8) + le(0, 4) + le(99, 8) + "ab",
         "Corrupt serialised attribute: truncated string value at byte 45."},
    };
    for (const Case& c : cases) {
        QnAttributeHandle error = nullptr;
        const QnAttributeHandle h =
            suite()->deserialise(c.bytes.data(), static_cast<int64_t>(c.bytes.size()), &error);
        EXPECT_EQ(h, nullptr) << c.what;
        EXPECT_EQ(StringAttribute(Attribute::adopt(error)).getValue("<none>"), c.message) << c.what;
        EXPECT_EQ(thrownMessage([&] { Attribute::deserialise(c.bytes.data(), c.bytes.size()); }), c.message)
            << c.what;
    }
    EXPECT_EQ(suite()->deserialise(nullptr, 5, nullptr), nullptr);
    EXPECT_EQ(suite()->deserialise(good.data(), -1, nullptr), nullptr);
}

TEST_F(SerialiseTest, DeepNestingIsRefused) {
    std::string deep = kHeader;
    for (int i = 0; i < 300; ++i)
        deep += le(5, 1) + le(1, 8) + le(1, 8) + "g";
    deep += le(5, 1) + le(0, 8);
    EXPECT_EQ(thrownMessage([&] { Attribute::deserialise(deep.data(), deep.size()); }),
              "Corrupt serialised attribute: groups nested too deeply at byte " +
                  std::to_string(8 + 257 * 18) + ".");
}

} // namespace
