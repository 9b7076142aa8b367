#include "tests/scene/SceneTestSupport.h"

#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>

using namespace VexilHost;
using namespace VexilHost::SceneTest;

namespace {

// A scene whose root carries one attribute "x" (on line 4) encoded as `encoded`.
std::string sceneWithAttribute(const std::string& encoded) {
    return "{\n"
           "  \"scene\": {\n"
           "    \"attrs\": {\n"
           "      \"x\": " +
           encoded +
           "\n"
           "    }\n"
           "  }\n"
           "}\n";
}

Qn::Attribute attributeOf(const std::string& encoded) {
    return read(sceneWithAttribute(encoded)).root.attrs.getChildByName("x");
}

template <typename AttributeType, typename T>
void expectSample(const AttributeType& attribute, float time, const std::vector<T>& expected) {
    const auto view = attribute.getNearestSample(time);
    ASSERT_EQ(view.size, static_cast<int64_t>(expected.size())) << "at time " << time;
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(view[static_cast<int64_t>(i)], expected[i]) << "value " << i << " at time " << time;
    }
}

} // namespace

TEST(SceneReader, ReadsTimeVariablesLocationsAndOps) {
    const SceneFile file = read(R"({
  "comment": "two children in an order that is not alphabetical",
  "time": {"currentTime": 12.5, "shutterOpen": -0.25, "shutterClose": 0.25, "numSamples": 3},
  "variables": {"shot": "sh010", "alpha": "a"},
  "scene": {
    "attrs": {"type": "group"},
    "children": {
      "world": {"attrs": {}, "children": {"zeta": {}, "alpha": {"children": {"leaf": {}}}}},
      "cameras": {}
    }
  },
  "ops": [
    {"type": "ConstraintSetup", "location": "/root/world", "args": {"mode": "add"}},
    {"type": "ConstraintResolve"}
  ]
})");
    EXPECT_EQ(file.time.currentTime, 12.5f);
    EXPECT_EQ(file.time.shutterOpen, -0.25f);
    EXPECT_EQ(file.time.shutterClose, 0.25f);
    EXPECT_EQ(file.time.numSamples, 3);
    ASSERT_EQ(file.variables.size(), 2u);
    EXPECT_EQ(file.variables[0], (std::pair<std::string, std::string>("shot", "sh010")));
    EXPECT_EQ(file.variables[1], (std::pair<std::string, std::string>("alpha", "a")));

    EXPECT_EQ(file.root.name, "root");
    EXPECT_EQ(Qn::StringAttribute(file.root.attrs.getChildByName("type")).getValue(), "group");
    ASSERT_EQ(file.root.children.size(), 2u);
    const SceneLocation& world = file.root.children[0];
    EXPECT_EQ(world.name, "world");
    EXPECT_EQ(file.root.children[1].name, "cameras");
    EXPECT_TRUE(file.root.children[1].attrs.isValid()) << "a location without attrs has an empty group";
    EXPECT_EQ(file.root.children[1].attrs.getNumberOfChildren(), 0);
    ASSERT_EQ(world.children.size(), 2u);
    EXPECT_EQ(world.children[0].name, "zeta");
    EXPECT_EQ(world.children[1].name, "alpha");
    ASSERT_EQ(world.children[1].children.size(), 1u);
    EXPECT_EQ(world.children[1].children[0].name, "leaf");

    ASSERT_EQ(file.ops.size(), 2u);
    EXPECT_EQ(file.ops[0].type, "ConstraintSetup");
    EXPECT_EQ(file.ops[0].location, "/root/world");
    EXPECT_EQ(Qn::StringAttribute(file.ops[0].args.getChildByName("mode")).getValue(), "add");
    EXPECT_EQ(file.ops[1].type, "ConstraintResolve");
    EXPECT_EQ(file.ops[1].location, "/root") << "an op's location defaults to the root";
    ASSERT_TRUE(file.ops[1].args.isValid()) << "an op without args has an empty group";
    EXPECT_EQ(file.ops[1].args.getNumberOfChildren(), 0);
}

TEST(SceneReader, DefaultsWhenOnlyTheSceneIsGiven) {
    const SceneFile file = read(R"({"scene": {}})");
    EXPECT_EQ(file.time.currentTime, 0.0f);
    EXPECT_EQ(file.time.shutterOpen, 0.0f);
    EXPECT_EQ(file.time.shutterClose, 0.0f);
    EXPECT_EQ(file.time.numSamples, 1);
    EXPECT_TRUE(file.variables.empty());
    EXPECT_TRUE(file.ops.empty());
    EXPECT_TRUE(file.root.children.empty());
}

TEST(SceneReader, NumericKindsAndSampling) {
    {
        const Qn::IntAttribute a = attributeOf(R"({"int": -2147483648})");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getSampleTimes(), std::vector<float>{0.0f});
        EXPECT_EQ(a.getTupleSize(), 1);
        expectSample(a, 0.0f, std::vector<int32_t>{-2147483648});
    }
    {
        const Qn::IntAttribute a = attributeOf(R"({"int": [1, 2, 3, 4], "tupleSize": 2})");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getTupleSize(), 2);
        expectSample(a, 0.0f, std::vector<int32_t>{1, 2, 3, 4});
    }
    {
        // Integers are fine in float attributes; 0.1 becomes the nearest float.
        const Qn::FloatAttribute a = attributeOf(R"({"float": [1, 2.5, 0.1]})");
        ASSERT_TRUE(a.isValid());
        expectSample(a, 0.0f, std::vector<float>{1.0f, 2.5f, 0.1f});
    }
    {
        // Sample times in any order in the file, ascending in the attribute.
        const Qn::DoubleAttribute a = attributeOf(
            R"({"double": {"0.5": [1, 2, 3], "-0.25": [7, 8, 9], "0": [4, 5, 6]}, "tupleSize": 3})");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getSampleTimes(), (std::vector<float>{-0.25f, 0.0f, 0.5f}));
        EXPECT_EQ(a.getTupleSize(), 3);
        expectSample(a, -0.25f, std::vector<double>{7, 8, 9});
        expectSample(a, 0.0f, std::vector<double>{4, 5, 6});
        expectSample(a, 0.5f, std::vector<double>{1, 2, 3});
    }
    {
        // A single sample at a time other than 0.
        const Qn::DoubleAttribute a = attributeOf(R"({"double": {"0.75": [2]}})");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getSampleTimes(), std::vector<float>{0.75f});
    }
    {
        const Qn::DoubleAttribute a = attributeOf(R"({"double": ["nan", "inf", "-inf", -0.0]})");
        ASSERT_TRUE(a.isValid());
        const auto v = a.getNearestSample(0.0f);
        ASSERT_EQ(v.size, 4);
        EXPECT_TRUE(std::isnan(v[0]));
        EXPECT_EQ(v[1], std::numeric_limits<double>::infinity());
        EXPECT_EQ(v[2], -std::numeric_limits<double>::infinity());
        EXPECT_TRUE(v[3] == 0.0 && std::signbit(v[3]));
    }
    {
        const Qn::FloatAttribute a = attributeOf(R"({"float": []})");
        ASSERT_TRUE(a.isValid()) << "a sample may hold no values";
        EXPECT_EQ(a.getNumberOfValues(), 0);
    }
}

TEST(SceneReader, StringsAndGroups) {
    {
        const Qn::StringAttribute a = attributeOf(R"("polymesh")");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getNearestSampleStrings(0.0f), std::vector<std::string>{"polymesh"});
    }
    {
        const Qn::StringAttribute a = attributeOf(R"(["/root/a", "/root/b"])");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getNearestSampleStrings(0.0f), (std::vector<std::string>{"/root/a", "/root/b"}));
    }
    {
        const Qn::StringAttribute a = attributeOf(R"([])");
        ASSERT_TRUE(a.isValid()) << "an empty bare array is an empty string attribute";
        EXPECT_EQ(a.getNumberOfValues(), 0);
    }
    {
        const Qn::StringAttribute a =
            attributeOf(R"({"string": {"0": ["a", "b"], "1": ["c", "d"]}, "tupleSize": 2})");
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getTupleSize(), 2);
        EXPECT_EQ(a.getNearestSampleStrings(1.0f), (std::vector<std::string>{"c", "d"}));
    }
    {
        // Group children keep the file's order; a dotted name is one child, taken literally.
        const Qn::GroupAttribute g = attributeOf(
            R"({"translate": {"double": [1, 2, 3]}, "a.b": "x", "rotate": {}, "tupleSize": {"int": 3}})");
        ASSERT_TRUE(g.isValid());
        ASSERT_EQ(g.getNumberOfChildren(), 4);
        EXPECT_EQ(g.getChildName(0), "translate");
        EXPECT_EQ(g.getChildName(1), "a.b");
        EXPECT_EQ(g.getChildName(2), "rotate");
        EXPECT_EQ(g.getChildName(3), "tupleSize") << "tupleSize without a kind is an ordinary child";
        EXPECT_EQ(g.getChildByIndex(2).getType(), QN_ATTRIBUTE_TYPE_GROUP);
        EXPECT_EQ(Qn::DoubleAttribute(g.getChildByIndex(0)).getNumberOfValues(), 3);
    }
}

// Each bad encoding of root attribute "x" (on line 4 of the file) and the exact message it gives.
TEST(SceneReader, BadAttributeEncodings) {
    const std::string prefix = "test.json: line 4: scene.attrs.x: ";
    const struct {
        const char* encoded;
        const char* message;
    } cases[] = {
        {"1.5", R"(bare number 1.5: the kind must be explicit ({"int": V}, {"float": V} or {"double": V}))"},
        {"7", R"(bare number 7: the kind must be explicit ({"int": V}, {"float": V} or {"double": V}))"},
        {"true", R"(bare boolean true: the kind must be explicit (such as {"int": 1}))"},
        {"null", "null is not an attribute: the kind must be explicit"},
        {"[\"a\", 1]",
         R"(a bare array is a string attribute and holds only strings; 1 is not a string (numbers need an explicit kind such as {"double": [...]}))"},
        {R"({"int": 2.5})", R"("int" value 2.5 is not a 32-bit integer)"},
        {R"({"int": 2147483648})", R"("int" value 2147483648 is not a 32-bit integer)"},
        {R"({"int": "3"})", R"("int" value "3" is not a 32-bit integer)"},
        {R"({"float": "abc"})", R"("float" value "abc" is not a number)"},
        {R"({"float": 1e39})", R"("float" value 1e+39 is outside the float range)"},
        {R"({"double": [[1, 2]]})", R"("double" value [1,2] is not a number)"},
        {R"({"double": [{"a": 1}]})", R"("double" value {"a":1} is not a number)"},
        {R"({"double": true})", R"("double" value true is not a number)"},
        {R"({"string": [1]})", R"("string" value 1 is not a string)"},
        {R"({"double": {"0": [1, 2], "0.5": [1]}})",
         "samples differ in length: time 0 has 2 values, time 0.5 has 1"},
        {R"({"double": {"zero": [1]}})",
         R"(sample time "zero" is not a decimal number (such as "0" or "-0.25"))"},
        {R"({"double": {"1e-3": [1]}})",
         R"(sample time "1e-3" is not a decimal number (such as "0" or "-0.25"))"},
        {R"({"double": {"0.5": [1], "0.50": [2]}})", R"(sample times "0.5" and "0.50" are the same time)"},
        {R"({"double": {"0": 1}})", R"(sample "0" must be an array of values)"},
        {R"({"double": {}})", R"("double" has no samples (an attribute has at least one))"},
        {R"({"double": [1, 2, 3, 4], "tupleSize": 3})",
         "tupleSize 3 does not divide the 4 values of a sample"},
        {R"({"double": [1], "tupleSize": 0})", R"("tupleSize" must be a positive integer, not 0)"},
        {R"({"double": [1], "tupleSize": 1.5})", R"("tupleSize" must be a positive integer, not 1.5)"},
        {R"({"double": [1], "tupleSize": "1"})", R"("tupleSize" must be a positive integer, not "1")"},
        {R"({"int": 1, "float": 2})", R"(an attribute has one kind, not both "int" and "float")"},
        {R"({"int": 1, "size": 2})",
         R"(unexpected key "size" beside the kind "int" (only "tupleSize" may go with it))"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(readError(sceneWithAttribute(c.encoded)), prefix + c.message) << c.encoded;
    }
}

TEST(SceneReader, ErrorsInsideGroupsNameTheFullPathAndItsLine) {
    const std::string text = "{\"scene\": {\n"
                             "  \"children\": {\n"
                             "    \"world\": {\n"
                             "      \"attrs\": {\n"
                             "        \"xform\": {\n"
                             "          \"translate\": [1, 2, 3]\n"
                             "        }}}}}}\n";
    EXPECT_EQ(
        readError(text),
        "test.json: line 6: scene.children.world.attrs.xform.translate: a bare array is a string attribute "
        "and holds only strings; 1 is not a string (numbers need an explicit kind such as {\"double\": "
        "[...]})");
    EXPECT_EQ(readError(R"({"scene": {"attrs": {"g": {"": {"int": 1}}}}})"),
              "test.json: line 1: scene.attrs.g.: an attribute name is empty");
}

// Structural mistakes, with the exact message each gives.
TEST(SceneReader, BadFileStructure) {
    const struct {
        const char* text;
        const char* message;
    } cases[] = {
        {"[]",
         R"(test.json: the file must hold one object with "scene" (and optionally "time", "variables" and "ops"))"},
        {"{}", R"(test.json: the file has no "scene")"},
        {R"({"scene": {}, "sceen": {}})",
         R"(test.json: line 1: sceen: unknown key "sceen" in the file (expected time, variables, scene, ops, comment))"},
        {R"({"scene": {}, "comment": 3})", "test.json: line 1: comment: a comment must be a string"},
        {R"({"scene": []})",
         R"(test.json: line 1: scene: a location must be an object with "attrs" and "children")"},
        {R"({"scene": {"atrs": {}}})",
         R"(test.json: line 1: scene.atrs: unknown key "atrs" in a location (expected attrs, children))"},
        {R"({"scene": {"attrs": {"int": 1}}})",
         R"(test.json: line 1: scene.attrs: must be an object of named attributes, not {"int":1})"},
        {R"({"scene": {"attrs": "group"}})",
         R"(test.json: line 1: scene.attrs: must be an object of named attributes, not "group")"},
        {R"({"scene": {"children": []}})",
         "test.json: line 1: scene.children: must be an object from child name to location"},
        {R"({"scene": {"children": {"a/b": {}}}})",
         R"(test.json: line 1: scene.children.a/b: "a/b" is not a location name (a name is not empty, "." or "..", and holds no "/" or NUL))"},
        {R"({"scene": {"children": {"a": {"children": {"": {}}}}}})",
         R"(test.json: line 1: scene.children.a.children.: "" is not a location name (a name is not empty, "." or "..", and holds no "/" or NUL))"},
        {R"({"scene": {}, "time": 0})", "test.json: line 1: time: must be an object with currentTime, "
                                        "shutterOpen, shutterClose and numSamples"},
        {R"({"scene": {}, "time": {"fps": 24}})",
         R"(test.json: line 1: time.fps: unknown key "fps" in "time" (expected currentTime, shutterOpen, shutterClose, numSamples))"},
        {R"({"scene": {}, "time": {"numSamples": 0}})",
         "test.json: line 1: time.numSamples: must be a whole number of at least 1"},
        {R"({"scene": {}, "time": {"numSamples": 2.5}})",
         "test.json: line 1: time.numSamples: must be a whole number of at least 1"},
        {R"({"scene": {}, "time": {"shutterOpen": "0"}})",
         "test.json: line 1: time.shutterOpen: must be a number"},
        {R"({"scene": {}, "time": {"currentTime": 1e39}})",
         "test.json: line 1: time.currentTime: must be a number"},
        {R"({"scene": {}, "variables": ["shot"]})",
         "test.json: line 1: variables: must be an object from variable name to string value"},
        {R"({"scene": {}, "variables": {"shot": 10}})",
         "test.json: line 1: variables.shot: a variable's value must be a string"},
        {R"({"scene": {}, "ops": {}})", "test.json: line 1: ops: must be an array of ops"},
        {R"({"scene": {}, "ops": [3]})",
         R"(test.json: line 1: ops[0]: an op must be an object with "type", "location" and "args")"},
        {R"({"scene": {}, "ops": [{"location": "/root"}]})",
         R"(test.json: line 1: ops[0]: an op needs a "type")"},
        {R"({"scene": {}, "ops": [{"type": ""}]})",
         R"(test.json: line 1: ops[0].type: an op's "type" must be a non-empty string)"},
        {R"({"scene": {}, "ops": [{"type": 5}]})",
         R"(test.json: line 1: ops[0].type: an op's "type" must be a non-empty string)"},
        {R"({"scene": {}, "ops": [{"type": "A", "arg": {}}]})",
         R"(test.json: line 1: ops[0].arg: unknown key "arg" in an op (expected type, location, args))"},
        {R"({"scene": {}, "ops": [{"type": "A", "location": "root/world"}]})",
         R"(test.json: line 1: ops[0].location: "location" must be a location path such as "/root/world", not "root/world")"},
        {R"({"scene": {}, "ops": [{"type": "A", "location": "/root/"}]})",
         R"(test.json: line 1: ops[0].location: "location" must be a location path such as "/root/world", not "/root/")"},
        {R"({"scene": {}, "ops": [{"type": "A", "args": {"n": 1}}]})",
         R"(test.json: line 1: ops[0].args.n: bare number 1: the kind must be explicit ({"int": V}, {"float": V} or {"double": V}))"},
        {R"({"scene": {}, "ops": [{"type": "A", "args": [1]}]})",
         R"(test.json: line 1: ops[0].args: must be an object of named attributes, not [1])"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(readError(c.text), c.message) << c.text;
    }
}

TEST(SceneReader, UnknownOpTypesWhenTheKnownOnesAreGiven) {
    const std::string text = "{\"scene\": {},\n"
                             " \"ops\": [\n"
                             "  {\"type\": \"ConstraintSetup\"},\n"
                             "  {\"location\": \"/root/world\",\n"
                             "   \"type\": \"Bogus\"}]}\n";
    SceneReadOptions known;
    known.knownOpTypes = std::vector<std::string>{"ConstraintSetup", "ConstraintResolve"};
    EXPECT_EQ(readError(text, known),
              "test.json: line 5: ops[1].type: unknown op type \"Bogus\" (known types: ConstraintSetup, "
              "ConstraintResolve)");
    SceneReadOptions none;
    none.knownOpTypes = std::vector<std::string>();
    EXPECT_EQ(readError(text, none),
              "test.json: line 3: ops[0].type: unknown op type \"ConstraintSetup\" (no op types are loaded)");
    EXPECT_EQ(readError(text), "no error") << "without a list of known types any type is accepted";
}

TEST(SceneReader, MalformedJsonGivesLineAndColumn) {
    EXPECT_EQ(
        readError("{\"scene\": {\n  \"attrs\": {,}\n}}"),
        "test.json: line 2, column 13: invalid JSON: syntax error while parsing object key - unexpected ','; "
        "expected string literal");
    EXPECT_EQ(readError("{\"scene\": {}, \"scene\": {}}"),
              "test.json: line 1, column 21: duplicate key \"scene\" in one object");
    EXPECT_EQ(readError(""), "test.json: line 1, column 1: invalid JSON: syntax error while parsing value - "
                             "unexpected end of input; expected '[', '{', or a literal");
}

TEST(SceneReader, FilesThatCannotBeRead) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "vexil_scene_reader_test";
    std::filesystem::create_directories(folder);
    const std::string missing = (folder / "missing.json").string();
    std::filesystem::remove(missing);
    try {
        readSceneFile(missing);
        ADD_FAILURE() << "no error for a missing file";
    } catch (const SceneFileError& error) {
        EXPECT_EQ(std::string(error.what()), missing + ": cannot open: No such file or directory");
    }
    try {
        readSceneFile(folder.string());
        ADD_FAILURE() << "no error for a directory";
    } catch (const SceneFileError& error) {
        EXPECT_EQ(std::string(error.what()), folder.string() + ": cannot read: it is a directory");
    }
    const std::string bad = (folder / "bad.json").string();
    std::ofstream(bad) << "{\"scene\": {\"attrs\": {\"n\":\n 3}}}";
    try {
        readSceneFile(bad);
        ADD_FAILURE() << "no error for a bad file";
    } catch (const SceneFileError& error) {
        EXPECT_EQ(std::string(error.what()),
                  bad + ": line 1: scene.attrs.n: bare number 3: the kind must be explicit ({\"int\": V}, "
                        "{\"float\": V} or {\"double\": V})");
    }
    std::filesystem::remove_all(folder);
}
