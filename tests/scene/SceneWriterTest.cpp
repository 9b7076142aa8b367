#include "tests/scene/SceneTestSupport.h"

#include "host/scene/SceneWriter.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace VexilHost;
using namespace VexilHost::SceneTest;

namespace {

std::string written(const SceneLocation& root) {
    std::ostringstream out;
    writeScene(root, out);
    return out.str();
}

Qn::GroupAttribute group(std::initializer_list<std::pair<std::string, Qn::Attribute>> children) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& [name, attribute] : children) {
        builder.set(name, attribute);
    }
    return builder.build();
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
