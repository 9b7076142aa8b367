// Reference counting of client objects under many threads at once (the single-threaded counts are the
// leak checks' concern).
#include "tests/attribute/AttributeTestSupport.h"

#include <thread>

using namespace AttributeTests;

namespace {

using LifetimeTest = AttributeTest;

TEST_F(LifetimeTest, ManyThreadsShareAndReleaseAttributes) {
    GroupBuilder b;
    b.set("xform.matrix",
          DoubleAttribute(std::map<float, std::vector<double>>{{0.0f, {1, 2}}, {1.0f, {3, 4}}}, 2));
    b.set("name", StringAttribute("shared"));
    const GroupAttribute shared = b.build();
    const Live before = liveCounts();

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
    EXPECT_EQ(liveCounts().attributes, before.attributes + 2);
    EXPECT_EQ(liveCounts().builders, before.builders);
}

} // namespace
