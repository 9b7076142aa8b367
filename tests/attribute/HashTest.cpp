// Content hash: its text form, its canonical encoding, and which changes it sees.
#include "tests/attribute/AttributeTestSupport.h"

#include <xxhash.h>

#include <cstring>

using namespace AttributeTests;
using Qn::Hash;

namespace {

TEST(HashTextTest, KnownVectors) {
    uint8_t bytes[16] = {};
    EXPECT_EQ(Hash::textOf(bytes), std::string(26, 'a'));
    bytes[0] = 0x30; // 00110: index 6, where h stands
    EXPECT_EQ(Hash::textOf(bytes)[0], 'h');
    bytes[0] = 0x38; // 00111: index 7, where g stands
    EXPECT_EQ(Hash::textOf(bytes)[0], 'g');

    std::memset(bytes, 0xff, sizeof(bytes)); // 25 groups of 31, then 111 followed by 00 = 28
    EXPECT_EQ(Hash::textOf(bytes), std::string(25, '7') + "4");
    std::memset(bytes, 0, sizeof(bytes));
    bytes[15] = 0x01; // the last bit is the third bit of the 26th group: 00100 = 4
    EXPECT_EQ(Hash::textOf(bytes), std::string(25, 'a') + "e");
    bytes[15] = 0;
    bytes[0] = 0x08; // 00001 000..: b then a
    EXPECT_EQ(Hash::textOf(bytes).substr(0, 2), "ba");
    bytes[0] = 0x04; // 00000 100..: a then q (10000 = 16)
    EXPECT_EQ(Hash::textOf(bytes).substr(0, 2), "aq");
}

TEST(HashTextTest, WordsAreReadMostSignificantFirst) {
    EXPECT_EQ(Hash(0x3000000000000000ull, 0).str()[0], 'h');
    EXPECT_EQ(Hash(0, 1).str(), std::string(25, 'a') + "e");
    uint8_t bytes[16];
    Hash(0x0102030405060708ull, 0x090a0b0c0d0e0f10ull).bytes(bytes);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(bytes[i], i + 1);
    EXPECT_EQ(Hash(1, 2), Hash(1, 2));
    EXPECT_NE(Hash(1, 2), Hash(2, 1));
}

using HashTest = AttributeTest;

Hash xxh(const std::string& bytes) {
    const XXH128_hash_t h = XXH3_128bits(bytes.data(), bytes.size());
    return Hash(h.high64, h.low64);
}

TEST_F(HashTest, HashIsXxh3OfTheDocumentedEncoding) {
    // int 7: kind 1, tuple size 1, 1 sample, 1 value, time 0.0, value 7.
    const Hash intHash = xxh(le(1, 1) + le(1, 8) + le(1, 8) + le(1, 8) + le(0, 4) + le(7, 4));
    EXPECT_EQ(IntAttribute(7).getHash(), intHash);
    // string "ab": kind 4, as above, then a 64-bit length and the bytes.
    EXPECT_EQ(StringAttribute("ab").getHash(),
              xxh(le(4, 1) + le(1, 8) + le(1, 8) + le(1, 8) + le(0, 4) + le(2, 8) + "ab"));
    // group {n: int 7}: kind 5, one child, name "n", then the child's hash high word and low word.
    GroupBuilder b;
    b.set("n", IntAttribute(7));
    EXPECT_EQ(b.build().getHash(),
              xxh(le(5, 1) + le(1, 8) + le(1, 8) + "n" + le(intHash.high(), 8) + le(intHash.low(), 8)));
}

GroupAttribute sampleGroup(int value, const char* name, float time) {
    GroupBuilder b;
    b.set("args.targetOrigin", StringAttribute("origin"));
    b.set(name, FloatAttribute(std::map<float, std::vector<float>>{{time, {1, 2, 3}}, {1.0f, {4, 5, 6}}}, 3));
    b.set("args.n", IntAttribute(value));
    return b.build();
}

TEST_F(HashTest, EqualContentHasEqualHashAndEveryChangeChangesIt) {
    const Attribute base = sampleGroup(1, "xform", 0.0f);
    const Attribute same = sampleGroup(1, "xform", 0.0f);
    ASSERT_NE(base.getHandle(), same.getHandle());
    EXPECT_EQ(base.getHash(), same.getHash());
    EXPECT_TRUE(base.isContentEqual(same));
    EXPECT_EQ(base.getHash().str().size(), 26u);

    struct Case {
        const char* what;
        Attribute other;
    };
    const Case changed[] = {
        {"nested value", sampleGroup(2, "xform", 0.0f)},
        {"child name", sampleGroup(1, "xforms", 0.0f)},
        {"sample time", sampleGroup(1, "xform", 0.5f)},
    };
    for (const Case& c : changed) {
        EXPECT_NE(base.getHash(), c.other.getHash()) << c.what;
        EXPECT_FALSE(base.isContentEqual(c.other)) << c.what;
    }

    const std::vector<float> six{1, 2, 3, 4, 5, 6};
    const Case pairs[] = {
        {"tuple size", FloatAttribute(six, 2)},
        {"kind", DoubleAttribute(std::vector<double>(six.begin(), six.end()), 3)},
        {"one value", FloatAttribute(std::vector<float>{1, 2, 3, 4, 5, 7}, 3)},
        {"value count", FloatAttribute(std::vector<float>{1, 2, 3}, 3)},
        {"sign of zero", FloatAttribute(std::vector<float>{-0.0f, 2, 3, 4, 5, 6}, 3)},
    };
    const FloatAttribute reference(std::vector<float>{1, 2, 3, 4, 5, 6}, 3);
    EXPECT_EQ(reference.getHash(), FloatAttribute(six, 3).getHash());
    for (const Case& c : pairs) {
        EXPECT_NE(reference.getHash(), c.other.getHash()) << c.what;
        EXPECT_FALSE(reference.isContentEqual(c.other)) << c.what;
    }

    // Order of children counts; so does int 1 against float 1.
    GroupBuilder ab, ba;
    ab.set("a", IntAttribute(1)).set("b", IntAttribute(2));
    ba.set("b", IntAttribute(2)).set("a", IntAttribute(1));
    EXPECT_NE(ab.build().getHash(), ba.build().getHash());
    EXPECT_NE(IntAttribute(1).getHash(), FloatAttribute(1.0f).getHash());
    // Strings: the length is part of the encoding, so "a"+"bc" differs from "ab"+"c".
    EXPECT_NE(StringAttribute(std::vector<std::string>{"a", "bc"}).getHash(),
              StringAttribute(std::vector<std::string>{"ab", "c"}).getHash());
    EXPECT_EQ(Attribute().getHash(), Hash());
    EXPECT_TRUE(Attribute().isContentEqual(Attribute()));
    EXPECT_FALSE(Attribute().isContentEqual(reference));
}

} // namespace
