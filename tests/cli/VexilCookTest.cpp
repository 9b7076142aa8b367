#include "CookRunner.h"
#include "CookTestSupport.h"

#include <Imath/ImathMatrix.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <vector>

using namespace VexilTest;

namespace {

const std::string kExamples = VEXIL_EXAMPLES_DIR;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

const std::string kHelp = "Run vexil-cook --help for the options.\n";

const char* const kKnownOps =
    "ConstraintEdit, ConstraintEditAttributes, ConstraintListEdit, ConstraintResolve, "
    "ConstraintSetup";

} // namespace

// Every kind of input that cannot be used ends the run with one "vexil-cook ERROR:" line naming the
// file (and the line and attribute where there is one), nothing on standard output, and status 1
// (2 for a bad command line). {FILE} stands for the scene file's path, {DIR} for the scratch folder.
TEST(VexilCook, UnusableInputFailsWithOneClearLine) {
    const std::string tinyTime = "0." + std::string(49, '0') + "1";
    const struct {
        const char* name;
        std::string scene; // "-": no scene file is written
        std::vector<std::string> arguments;
        int status;
        std::string err;
    } cases[] = {
        {"bad JSON",
         "{\"scene\": {\n  \"attrs\": {,}\n}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 2, column 13: invalid JSON: syntax error while parsing object key - "
         "unexpected ','; expected string literal\n"},
        {"duplicate key",
         "{\"scene\": {},\n \"scene\": {}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 2, column 8: duplicate key \"scene\" in one object\n"},
        {"bare number",
         "{\"scene\": {\"attrs\": {\n  \"n\": 3}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 2: scene.attrs.n: bare number 3: the kind must be explicit "
         "({\"int\": "
         "V}, {\"float\": V} or {\"double\": V})\n"},
        {"ragged samples",
         "{\"scene\": {\"children\": {\"world\": {\"attrs\": {\"xform\": {\n"
         "  \"translate\": {\"double\": {\"0\": [1, 2, 3], \"1\": [1, 2]}}}}}}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 2: scene.children.world.attrs.xform.translate: samples differ in "
         "length: time 0 has 3 values, time 1 has 2\n"},
        {"time key",
         "{\"scene\": {\"attrs\": {\"t\": {\"float\": {\"soon\": [1]}}}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 1: scene.attrs.t: sample time \"soon\" is not a decimal number "
         "(such "
         "as \"0\" or \"-0.25\")\n"},
        {"op without type",
         "{\"scene\": {},\n \"ops\": [\n  {\"location\": \"/root\"}]}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 3: ops[0]: an op needs a \"type\"\n"},
        {"unknown op type",
         "{\"scene\": {},\n \"ops\": [\n  {\"type\": \"ConstraintSetup\"},\n  {\"type\": \"Constrain\"}]}",
         {},
         1,
         std::string(
             "vexil-cook ERROR: {FILE}: line 4: ops[1].type: unknown op type \"Constrain\" (known types: ") +
             kKnownOps + ")\n"},
        {"no scene", "{\"ops\": []}", {}, 1, "vexil-cook ERROR: {FILE}: the file has no \"scene\"\n"},
        {"sample time too small for a float",
         "{\"scene\": {\"attrs\": {\"t\": {\"float\": {\"" + tinyTime + "\": [1]}}}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 1: scene.attrs.t: sample time \"" + tinyTime +
             "\" is too close to zero for a float time (floats reach down to about 1.4e-45)\n"},
        {"name that is a step up",
         "{\"scene\": {\"children\": {\"world\": {\"children\": {\"..\": {}}}}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 1: scene.children.world.children...: \"..\" is not a location name "
         "(a "
         "name is not empty, \".\" or \"..\", and holds no \"/\" or NUL)\n"},
        {"name with a NUL",
         "{\"scene\": {\"children\": {\"a\\u0000b\": {}}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 1: scene.children.a\\u0000b: \"a\\u0000b\" is not a location name "
         "(a name is not empty, \".\" or \"..\", and holds no \"/\" "
         "or NUL)\n"},
        {"string value with a NUL",
         "{\"scene\": {\"attrs\": {\"target\": \"/root/a\\u0000/root/b\"}}}",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 1: scene.attrs.target: \"string\" value \"/root/a\\u0000/root/b\" "
         "holds a "
         "NUL character, which a string attribute cannot keep\n"},
        {"file over the size limit",
         "{\"scene\": {}, \"comment\": \"" + std::string(3000, 'x') + "\"}",
         {"--max-input-size", "2K"},
         1,
         "vexil-cook ERROR: {FILE}: cannot read: larger than the input size limit of 2 KiB (raise it with "
         "--max-input-size)\n"},

        {"empty file",
         "",
         {},
         1,
         "vexil-cook ERROR: {FILE}: line 1, column 1: invalid JSON: syntax error while parsing value - "
         "unexpected "
         "end of input; expected '[', '{', or a literal\n"},
        {"missing file", "-", {}, 1, "vexil-cook ERROR: {FILE}: cannot open: No such file or directory\n"},
        {"bad location path",
         "{\"scene\": {}}",
         {"--location", "root/world"},
         1,
         "vexil-cook ERROR: {FILE}: --location \"root/world\" is not a location path (such as "
         "/root/world)\n"},
        {"missing location",
         "{\"scene\": {\"children\": {\"world\": {}}}}",
         {"--location", "/root/world/geo"},
         1,
         "vexil-cook ERROR: {FILE}: --location /root/world/geo: no such location in the cooked scene\n"},
        {"unwritable output",
         "{\"scene\": {}}",
         {"-o", "{DIR}/no/such/folder/out.json"},
         1,
         "vexil-cook ERROR: {DIR}/no/such/folder/out.json: cannot write: No such file or directory\n"},
        {"negative threads",
         "{\"scene\": {}}",
         {"--threads", "-1"},
         2,
         "vexil-cook ERROR: --threads: Value -1 not in range 0 to 4096\nRun vexil-cook --help for the "
         "options.\n"},
        {"unknown option",
         "{\"scene\": {}}",
         {"--wrld"},
         2,
         "vexil-cook ERROR: The following argument was not expected: --wrld\nRun vexil-cook --help for the "
         "options.\n"},
        {"empty output",
         "{\"scene\": {}}",
         {"-o", ""},
         2,
         "vexil-cook ERROR: -o: the value is empty\n" + kHelp},
        {"empty explain",
         "{\"scene\": {}}",
         {"--explain", ""},
         2,
         "vexil-cook ERROR: --explain: the value is empty\n" + kHelp},
        {"empty camera at the end",
         "{\"scene\": {}}",
         {"--svg", "{DIR}/p.svg", "--camera="},
         2,
         "vexil-cook ERROR: --camera: the value is empty\n" + kHelp},
        {"frame range",
         "{\"scene\": {}}",
         {"--frames", "5-1"},
         2,
         "vexil-cook ERROR: --frames: \"5-1\" is not a frame range (such as 1-24 or 1-100:5)\n" + kHelp},
        {"frame range to one JSON",
         "{\"scene\": {}}",
         {"--frames", "1-5", "-o", "{DIR}/out.json"},
         2,
         "vexil-cook ERROR: --frames: a range writes one JSON file per frame: give -o a name with # for the "
         "frame number (such as -o cooked.####.json), or a .gltf or .glb file\n" +
             kHelp},
        {"shutter",
         "{\"scene\": {}}",
         {"--shutter", "0.5", "0"},
         2,
         "vexil-cook ERROR: --shutter: OPEN 0.5 is after CLOSE 0\n" + kHelp},
    };
    for (const auto& c : cases) {
        const ScratchFolder folder;
        const std::string file =
            c.scene != "-" ? folder.write("scene.json", c.scene) : folder.path("missing.json");
        std::vector<std::string> arguments;
        for (const std::string& argument : c.arguments) {
            arguments.push_back(replaced(argument, "{DIR}/", folder.path("")));
        }
        arguments.push_back(file);
        const RunResult result = runCook(arguments);
        EXPECT_EQ(result.status, c.status) << c.name;
        EXPECT_EQ(result.out, "") << c.name;
        EXPECT_EQ(result.err, replaced(replaced(c.err, "{FILE}", file), "{DIR}/", folder.path(""))) << c.name;
    }
    // An endless device.
    const RunResult endless = runCook({"--max-input-size", "1M", "/dev/zero"});
    EXPECT_EQ(endless.status, 1);
    EXPECT_EQ(endless.err,
              "vexil-cook ERROR: /dev/zero: cannot read: larger than the input size limit of 1 MiB "
              "(raise it with --max-input-size)\n");
    // A folder given as the scene file.
    const ScratchFolder folder;
    const RunResult directory = runCook({folder.path("")});
    EXPECT_EQ(directory.status, 1);
    EXPECT_EQ(directory.err, "vexil-cook ERROR: " + folder.path("") + ": cannot read: it is a directory\n");
    // No scene file at all.
    const RunResult none = runCook({});
    EXPECT_EQ(none.status, 2);
    EXPECT_EQ(none.err, "vexil-cook ERROR: SCENE is required\nRun vexil-cook --help for the options.\n");
}

// Without ops the cooked scene is the input scene, printed in the canonical form.
TEST(VexilCook, PrintsTheCookedSceneOrWritesItToAFile) {
    const ScratchFolder folder;
    const std::string scene = folder.write("scene.json", R"({
  "scene": {"attrs": {"type": {"string": "group"}},
            "children": {"world": {"children": {"geo": {"attrs": {"n": {"int": [3]}, "p": {"float": {"0": [0.5]}}}}}}}}
})");
    const std::string expected = R"({
  "scene": {
    "attrs": {
      "type": "group"
    },
    "children": {
      "world": {
        "attrs": {},
        "children": {
          "geo": {
            "attrs": {
              "n": {"int": 3},
              "p": {"float": 0.5}
            },
            "children": {}
          }
        }
      }
    }
  }
}
)";
    const RunResult printed = runCook({scene});
    EXPECT_EQ(printed.status, 0);
    EXPECT_EQ(printed.out, expected);
    EXPECT_EQ(printed.err, "vexil-cook: 3 locations cooked, 0 with errors, 0 with warnings\n");

    const std::string output = folder.path("cooked.json");
    const RunResult written = runCook({"-o", output, scene});
    EXPECT_EQ(written.status, 0);
    EXPECT_EQ(written.out, "");
    EXPECT_EQ(readFile(output), expected);

    const RunResult subtree = runCook({"--location", "/root/world/geo", scene});
    EXPECT_EQ(subtree.status, 0);
    EXPECT_EQ(subtree.out, R"({
  "scene": {
    "attrs": {
      "n": {"int": 3},
      "p": {"float": 0.5}
    },
    "children": {}
  }
}
)");
    EXPECT_EQ(subtree.err, "vexil-cook: 1 location cooked, 0 with errors, 0 with warnings\n");
}

TEST(VexilCook, ErrorsAndWarningsAreSummarisedOnStandardError) {
    const ScratchFolder folder;
    const std::string scene = folder.write("scene.json", R"({
  "scene": {"children": {"world": {"children": {"a": {"attrs": {"xform": {"translate": {"double": [1, 0, 0]}}}}, "b": {}}}}},
  "ops": [
    {"type": "ConstraintSetup", "args": {"constraints": {
      "c0": {"baseLocationPath": "/root/world/a",
             "constraintGroup": {"type": "Point", "target": ["/root/world/nothing"], "allowMissingTargets": {"int": 1},
                                 "args": {"targetOrigin": "origin", "baseOrigin": "origin"}}}}}},
    {"type": "ConstraintResolve"},
    {"type": "ConstraintListEdit", "args": {"locationPaths": ["/root/world/a"]}}
  ]
})");
    const RunResult result = runCook({scene});
    EXPECT_EQ(result.status, 0) << "a cook that finished succeeds, whatever its locations carry";
    EXPECT_EQ(result.err,
              "vexil-cook: /root/world: error: A valid 'mode' argument must be given, 'edit' or 'remove'\n"
              "vexil-cook: /root/world/a: warning: Point Constraint found no valid targets.\n"
              "vexil-cook: 4 locations cooked, 1 with errors, 1 with warnings\n");
    const Json cooked = Json::parse(result.out);
    EXPECT_EQ(location(cooked, "/root/world").at("attrs").at("type"), "error");
}

// The conventions of the command line: version, help, standard input and output, quiet and verbose,
// --fail-on-error, a thread count above the machine's, and outputs nobody asked for.
TEST(VexilCook, CommandLineConventions) {
    const ScratchFolder folder;
    const std::string tiny = R"({"scene": {"children": {"world": {}}}})";
    const std::string broken = folder.write("broken.json", R"({"scene": {"children": {"world": {}}},
      "ops": [{"type": "ConstraintListEdit", "location": "/root", "args": {}}]})");
    // ConstraintEdit sets "args.int" by dotted path: a group child named "int", which the JSON form
    // cannot hold.
    const std::string unwritable =
        folder.write("unwritable.json", R"({"scene": {"children": {"world": {"children": {"a": {}}}}},
      "ops": [{"type": "ConstraintEdit", "args": {"locationPath": "/root/world/a", "action": "createOrOverride",
               "constraintType": "Point", "setAttrs": {"args.int": {"int": 1}}}}]})");
    const std::string unwritableError =
        "vexil-cook ERROR: " + unwritable +
        ": the cooked scene cannot be written: /root/world/a: attribute "
        "\"xform.constraint.args.int\": a group child named \"int\" cannot be "
        "written (it would read back as a data attribute)\n";
    const std::string counts2 = "vexil-cook: 2 locations cooked, 0 with errors, 0 with warnings\n";
    const std::string tinyCooked =
        "{\n  \"scene\": {\n    \"attrs\": {},\n    \"children\": {\n      \"world\": "
        "{\n        \"attrs\": {},\n        \"children\": {}\n      }\n    }\n  }\n}\n";
    const struct {
        const char* name;
        std::vector<std::string> arguments;
        std::optional<std::string> input;
        int status;
        std::vector<std::string> outHas; // each must be in standard output ("=" first: all of it)
        std::vector<std::string> errHas; // likewise for standard error
        std::string errHasNot;
    } cases[] = {
        {"version", {"--version"}, {}, 0, {std::string("=vexil-cook ") + VEXIL_VERSION + "\n"}, {"="}, ""},
        {"help",
         {"--help"},
         {},
         0,
         {"SCENE FILE REQUIRED", "-o,--output FILE", "--frames A-B[:S]",
          "Exit status:\n  0  the cook finished", "  2  a bad command line",
          "VEXIL_PLUGIN_PATH  folders of op plug-ins",
          "Examples:\n  vexil-cook --world examples/point_follow.json\n  vexil-cook --frames 1-24"},
         {"="},
         ""},
        {"standard input and output", {"-o", "-", "-"}, tiny, 0, {"=" + tinyCooked}, {"=" + counts2}, ""},
        {"quiet", {"-q", "-"}, tiny, 0, {"=" + tinyCooked}, {"="}, ""},
        {"verbose",
         {"-v", "-"},
         tiny,
         0,
         {"=" + tinyCooked},
         {"vexil-cook: op ConstraintSetup from ", "vexil-cook: read standard input in ",
          "vexil-cook: cooked 1 frame in ", counts2},
         ""},
        {"fail on error",
         {"--fail-on-error", broken},
         {},
         1,
         {"\"type\": \"error\""},
         {"2 locations cooked, 1 with errors",
          "vexil-cook ERROR: " + broken + ": 1 cooked location carries an error (--fail-on-error)\n"},
         ""},
        {"more threads than cores",
         {"--threads", "4096", "-"},
         tiny,
         0,
         {"=" + tinyCooked},
         {"vexil-cook: --threads 4096: the machine has ", counts2},
         "TBB"},
        {"an unwritable JSON that was asked for", {unwritable}, {}, 1, {"="}, {"=" + unwritableError}, ""},
        {"an unwritable JSON nobody asked for: pictures",
         {"--svg", folder.path("a.svg"), unwritable},
         {},
         0,
         {"="},
         {},
         "ERROR"},
        {"an unwritable JSON nobody asked for: explanation",
         {"--explain", "/root/world/a", unwritable},
         {},
         0,
         {"Location /root/world/a\n"},
         {},
         "ERROR"},
    };
    const auto expectHas = [](const std::string& text, const std::vector<std::string>& parts,
                              const std::string& what) {
        for (const std::string& part : parts) {
            if (!part.empty() && part[0] == '=') {
                EXPECT_EQ(text, part.substr(1)) << what;
            } else {
                EXPECT_NE(text.find(part), std::string::npos) << what << " lacks: " << part << "\nin:\n"
                                                              << text;
            }
        }
    };
    for (const auto& c : cases) {
        RunOptions options;
        options.input = c.input;
        const RunResult result = runCook(c.arguments, options);
        EXPECT_EQ(result.status, c.status) << c.name << ": " << result.err;
        expectHas(result.out, c.outHas, std::string(c.name) + ", standard output");
        expectHas(result.err, c.errHas, std::string(c.name) + ", standard error");
        if (!c.errHasNot.empty()) {
            EXPECT_EQ(result.err.find(c.errHasNot), std::string::npos) << c.name << ": " << result.err;
        }
    }
}

// A range of frames of a scene file: one JSON file per frame, named by the # in -o, and one report
// per frame.
TEST(VexilCook, FrameRangeWritesOneJsonFilePerFrame) {
    const ScratchFolder folder;
    const RunResult result =
        runCook({"--frames", "9-11", "-o", folder.path("cooked.##.json"), kExamples + "/point_follow.json"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "vexil-cook: frame 9: 4 locations cooked, 0 with errors, 0 with warnings\n"
                          "vexil-cook: frame 10: 4 locations cooked, 0 with errors, 0 with warnings\n"
                          "vexil-cook: frame 11: 4 locations cooked, 0 with errors, 0 with warnings\n");
    const std::string single = runCook({kExamples + "/point_follow.json"}).out;
    for (const char* name : {"cooked.09.json", "cooked.10.json", "cooked.11.json"}) {
        EXPECT_EQ(readFile(folder.path(name)), single)
            << name << ": a scene file is the same scene at every frame";
    }
}

// An input that never ends, through a real pipe, ends the run at the size limit with one line; and
// when memory runs out first, the line says so.
TEST(VexilCook, EndlessInputEndsWithOneLine) {
    const auto shell = [](const std::string& command) {
        RunResult result;
        const std::string line = "sh -c '" + command + "' 2>&1";
        FILE* pipe = ::popen(line.c_str(), "r");
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
            result.err.append(buffer, n);
        }
        result.status = WEXITSTATUS(::pclose(pipe));
        return result;
    };
    const std::string cook = VEXIL_COOK_BINARY;
    // A pipe (not a file whose size is known before it is read) half a limit too long.
    const RunResult longer = shell("head -c 1536 /dev/zero | " + cook + " --max-input-size 1K -");
    EXPECT_EQ(longer.err,
              "vexil-cook ERROR: standard input: cannot read: larger than the input size limit of 1 KiB "
              "(raise it with --max-input-size)\n");
    const RunResult endless = shell("yes \"{\" | " + cook + " --max-input-size 1M -");
    EXPECT_EQ(endless.status, 1);
    EXPECT_EQ(endless.err,
              "vexil-cook ERROR: standard input: cannot read: larger than the input size limit of 1 MiB "
              "(raise it with --max-input-size)\n");
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs more address space than the memory limit leaves";
#else
    const RunResult starved = shell("ulimit -v 400000; " + cook + " --max-input-size 2G /dev/zero");
    EXPECT_EQ(starved.status, 1);
    EXPECT_EQ(starved.err.rfind("vexil-cook ERROR: /dev/zero: cannot read: out of memory after ", 0), 0u)
        << starved.err;
#endif
}
