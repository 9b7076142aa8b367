#include "tests/scene/SceneTestSupport.h"

#include "host/scene/SceneWriter.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>

using namespace VexilHost;
using namespace VexilHost::SceneTest;

namespace {

std::string written(const SceneLocation& root) {
    std::ostringstream out;
    writeScene(root, out);
    return out.str();
}

template <typename T> std::vector<T> randomFinite(std::mt19937_64& random, size_t count) {
    std::vector<T> values;
    while (values.size() < count) {
        const uint64_t bits = random();
        T value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            values.push_back(value);
        }
    }
    return values;
}

Qn::GroupAttribute group(std::initializer_list<std::pair<std::string, Qn::Attribute>> children) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& [name, attribute] : children) {
        builder.set(name, attribute);
    }
    return builder.build();
}

// One attribute of every kind and sampling, with awkward values.
Qn::GroupAttribute everyKind() {
    std::mt19937_64 random(7);
    const Qn::IntAttribute ints(
        std::map<float, std::vector<int32_t>>{{-1.5f, {INT_MIN, INT_MAX, 0}}, {2.0f, {1, -2, 3}}}, 3);
    const std::vector<float> f0 = randomFinite<float>(random, 64);
    const std::vector<float> f1 = randomFinite<float>(random, 64);
    const std::vector<float> f2 = randomFinite<float>(random, 64);
    const Qn::FloatAttribute floats(std::map<float, std::vector<float>>{{0.1f, f0}, {1e-7f, f1}, {0.3f, f2}},
                                    4);
    const Qn::DoubleAttribute doubles(randomFinite<double>(random, 48), 16);
    const Qn::DoubleAttribute specials(std::vector<double>{-0.0, HUGE_VAL, -HUGE_VAL, 5e-324});
    const Qn::DoubleAttribute single(0.1 + 0.2);
    const Qn::FloatAttribute emptySample(std::vector<float>{});
    const Qn::StringAttribute strings(
        std::map<float, std::vector<std::string>>{{0.0f,
                                                   {"quote\"", "back\\slash", "tab\tcontrol\x01",
                                                    "\xc3\xbcnic\xc3\xb6"
                                                    "de",
                                                    ""}},
                                                  {0.5f, {"a", "b", "c", "d", "e"}}},
        1);
    const Qn::StringAttribute one("polymesh");
    const Qn::StringAttribute pairs(std::vector<std::string>{"x", "y", "z", "w"}, 2);
    const Qn::StringAttribute noStrings(std::vector<std::string>{});
    return group({{"ints", ints},
                  {"floats", floats},
                  {"doubles", doubles},
                  {"specials", specials},
                  {"single", single},
                  {"emptySample", emptySample},
                  {"strings", strings},
                  {"one", one},
                  {"pairs", pairs},
                  {"noStrings", noStrings},
                  {"nested", group({{"a.b", Qn::IntAttribute(1)},
                                    {"tupleSize", group({{"group", Qn::IntAttribute(3)}})},
                                    {"empty", group({})}})}});
}

} // namespace

TEST(SceneWriter, CanonicalForm) {
    const SceneFile file = read(R"({"scene": {
  "attrs": {
    "type": {"string": "group"},
    "names": {"string": ["a", "b"]},
    "count": {"int": [4]},
    "p": {"float": [0.5, -0.0, 1e-45, 3], "tupleSize": 2},
    "m": {"double": {"0.5": [2], "0": [0.1]}},
    "late": {"double": {"0.25": [1]}},
    "pair": {"string": ["x", "y"], "tupleSize": 2},
    "quote": "say \"hi\"\n",
    "empty": {},
    "bad": {"double": ["nan"]},
    "xform": {"translate": {"double": [1, 2, 3]}}
  },
  "children": {"b": {}, "a": {"attrs": {"v": {"int": {"0": [1], "1": [2]}}}}}
}})");
    EXPECT_EQ(written(file.root), R"({
  "scene": {
    "attrs": {
      "type": "group",
      "names": ["a", "b"],
      "count": {"int": 4},
      "p": {"float": [0.5, -0.0, 1e-45, 3], "tupleSize": 2},
      "m": {"double": {"0": [0.1], "0.5": [2]}},
      "late": {"double": {"0.25": [1]}},
      "pair": {"string": ["x", "y"], "tupleSize": 2},
      "quote": "say \"hi\"\n",
      "empty": {},
      "bad": {"double": "nan"},
      "xform": {
        "translate": {"double": [1, 2, 3]}
      }
    },
    "children": {
      "b": {
        "attrs": {},
        "children": {}
      },
      "a": {
        "attrs": {
          "v": {"int": {"0": [1], "1": [2]}}
        },
        "children": {}
      }
    }
  }
}
)");
}

TEST(SceneWriter, EveryKindReadsBackEqual) {
    SceneLocation root;
    root.name = "root";
    root.attrs = everyKind();
    SceneLocation world;
    world.name = "world";
    world.attrs =
        group({{"xform", group({{"translate", Qn::DoubleAttribute(std::vector<double>{1, 2, 3})}})}});
    for (const char* name : {"zeta", "alpha", "mid"}) {
        SceneLocation child;
        child.name = name;
        child.attrs = group({{"name", Qn::StringAttribute(name)}});
        world.children.push_back(child);
    }
    root.children.push_back(world);

    const std::string text = written(root);
    const SceneFile back = read(text);
    EXPECT_EQ(sceneDifference(root, back.root), "");
    // The canonical form is a fixed point: writing what was read gives the same text.
    EXPECT_EQ(written(back.root), text);
}

TEST(SceneWriter, GroupsThatWouldReadBackAsDataAreRefused) {
    for (const char* kind : {"int", "float", "double", "string"}) {
        SceneLocation root;
        root.name = "root";
        SceneLocation world;
        world.name = "world";
        world.attrs = group({{"xform", group({{kind, Qn::DoubleAttribute(1.0)}})}});
        root.children.push_back(world);
        try {
            written(root);
            ADD_FAILURE() << "no error for a child named " << kind;
        } catch (const SceneWriteError& error) {
            EXPECT_EQ(std::string(error.what()), std::string("/root/world: attribute \"xform.") + kind +
                                                     "\": a group child named \"" + kind +
                                                     "\" cannot be written (it would read back as a data "
                                                     "attribute)");
        }
    }
}
