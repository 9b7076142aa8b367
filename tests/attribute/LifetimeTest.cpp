// Reference counting of client objects: copies retain, moves transfer, destruction releases; also
// under many threads at once.
#include "tests/attribute/AttributeTestSupport.h"

#include <thread>

using namespace AttributeTests;

namespace {

using LifetimeTest = AttributeTest;

int64_t liveAttributes() {
    return liveCounts().attributes;
}
int64_t liveBuilders() {
    return liveCounts().builders;
}

TEST_F(LifetimeTest, CopiesShareOneHandleAndTheLastReleaseFreesIt) {
    const int64_t start = liveAttributes();
    {
        IntAttribute a(5);
        EXPECT_EQ(liveAttributes(), start + 1);
        IntAttribute copy = a;
        Attribute generic = a;
        EXPECT_EQ(copy.getHandle(), a.getHandle());
        EXPECT_TRUE(generic == a);
        EXPECT_EQ(liveAttributes(), start + 1);
        a = IntAttribute(6); // the old value lives on in the copies
        EXPECT_EQ(liveAttributes(), start + 2);
        EXPECT_EQ(copy.getValue(), 5);
        copy = copy; // self-assignment keeps the handle
        EXPECT_EQ(copy.getValue(), 5);
        copy = a;
        generic = Attribute();
        EXPECT_EQ(liveAttributes(), start + 1);
    }
    EXPECT_EQ(liveAttributes(), start);
}

TEST_F(LifetimeTest, MovesTransferWithoutRetaining) {
    const int64_t start = liveAttributes();
    StringAttribute a("moved");
    const QnAttributeHandle h = a.getHandle();
    StringAttribute b(std::move(a));
    EXPECT_FALSE(a.isValid());
    EXPECT_EQ(b.getHandle(), h);
    Attribute generic(std::move(b));
    StringAttribute typed(std::move(generic)); // a matching typed move takes the handle over
    EXPECT_FALSE(generic.isValid());
    EXPECT_EQ(typed.getHandle(), h);
    IntAttribute wrongKind(std::move(typed)); // a mismatched move leaves the source alone
    EXPECT_FALSE(wrongKind.isValid());
    EXPECT_EQ(typed.getHandle(), h);
    typed = std::move(typed);
    EXPECT_EQ(typed.getValue(), "moved");
    EXPECT_EQ(liveAttributes(), start + 1);

    QnAttributeHandle raw = typed.releaseHandle();
    EXPECT_FALSE(typed.isValid());
    EXPECT_EQ(liveAttributes(), start + 1);
    const Attribute adopted = Attribute::adopt(raw);
    const Attribute shared = Attribute::share(raw);
    EXPECT_EQ(shared, adopted);
}

TEST_F(LifetimeTest, GroupsHoldTheirChildrenAlive) {
    const int64_t start = liveAttributes();
    const int64_t builders = liveBuilders();
    Attribute child;
    {
        GroupBuilder b;
        b.set("x.y", DoubleAttribute(2.5));
        const GroupAttribute g = b.build();
        child = g.getChildByName("x.y");
        EXPECT_EQ(liveBuilders(), builders + 1);
    }
    // The group and its inner group are gone; the double lives on in `child`.
    EXPECT_EQ(liveAttributes(), start + 1);
    EXPECT_EQ(DoubleAttribute(child).getValue(), 2.5);
    child = Attribute();
    EXPECT_EQ(liveAttributes(), start);
    EXPECT_EQ(liveBuilders(), builders);
}

TEST_F(LifetimeTest, BuilderMovesTransferTheHandle) {
    const int64_t builders = liveBuilders();
    GroupBuilder a;
    a.set("n", IntAttribute(1));
    GroupBuilder b(std::move(a));
    EXPECT_EQ(liveBuilders(), builders + 1);
    GroupBuilder c;
    c = std::move(b);
    EXPECT_EQ(liveBuilders(), builders + 1);
    EXPECT_EQ(IntAttribute(c.build().getChildByName("n")).getValue(), 1);
    EXPECT_FALSE(a.build().isValid()); // moved-from builders build nothing
}

TEST_F(LifetimeTest, ManyThreadsShareAndReleaseAttributes) {
    GroupBuilder b;
    b.set("xform.matrix",
          DoubleAttribute(std::map<float, std::vector<double>>{{0.0f, {1, 2}}, {1.0f, {3, 4}}}, 2));
    b.set("name", StringAttribute("shared"));
    const GroupAttribute shared = b.build();
    const int64_t before = liveAttributes();
    const int64_t builders = liveBuilders();

    // A fresh attribute whose hash no thread has asked for yet: all compute it at once.
    const FloatAttribute fresh(std::vector<float>(1000, 0.5f));
    const FloatAttribute twin(std::vector<float>(1000, 0.5f));
    const Qn::Hash expectedHash = twin.getHash();

    constexpr int kThreads = 8;
    constexpr int kRounds = 4000;
    std::vector<int> failures(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            if (fresh.getHash() != expectedHash)
                ++failures[t];
            for (int r = 0; r < kRounds; ++r) {
                GroupAttribute copy = shared;
                const Attribute child = copy.getChildByName("xform.matrix");
                const DoubleAttribute matrix(child);
                double out[2];
                matrix.fillInterpolatedValues(out, 2, 0.5f);
                if (out[0] != 2.0 || out[1] != 3.0)
                    ++failures[t];
                std::vector<Attribute> many(4, copy);
                many.push_back(StringAttribute(copy.getChildByName("name")));
                if (StringAttribute(many.back()).getValue() != "shared")
                    ++failures[t];
                GroupBuilder own;
                own.set("k", many[0]).set("k.v", IntAttribute(r));
                if (IntAttribute(own.build().getChildByName("k.v")).getValue() != r)
                    ++failures[t];
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    for (int t = 0; t < kThreads; ++t)
        EXPECT_EQ(failures[t], 0) << "thread " << t;
    EXPECT_EQ(liveAttributes(), before + 2);
    EXPECT_EQ(liveBuilders(), builders);
}

} // namespace
