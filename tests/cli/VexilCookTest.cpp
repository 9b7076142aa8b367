#include "CookRunner.h"
#include "CookTestSupport.h"
#include "JsonFile.h"

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

} // namespace

// Every kind of input that cannot be used ends the run with one "vexil-cook ERROR:" line naming the
// file (and the line and attribute where there is one), nothing on standard output, and status 1
// (2 for a bad command line). The cases are the rows of unusable-input.json: the scene file's text ("-":
// none is written), the arguments, the status and the exact standard error, where {FILE} stands for
// the scene file's path and {DIR} for the scratch folder.
TEST(VexilCook, UnusableInputFailsWithOneClearLine) {
    const Json cases = readJsonFile(VEXIL_CLI_CASES_DIR "/unusable-input.json");
    ASSERT_FALSE(cases.empty());
    for (const Json& c : cases) {
        const std::string name = c.at("name");
        const std::string scene = c.at("scene");
        const ScratchFolder folder;
        const std::string file =
            scene != "-" ? folder.write("scene.json", scene) : folder.path("missing.json");
        std::vector<std::string> arguments;
        for (const Json& argument : c.at("args")) {
            arguments.push_back(replaced(argument.get<std::string>(), "{DIR}/", folder.path("")));
        }
        arguments.push_back(file);
        const RunResult result = runCook(arguments);
        EXPECT_EQ(result.status, c.at("status").get<int>()) << name;
        EXPECT_EQ(result.out, "") << name;
        EXPECT_EQ(result.err, replaced(replaced(c.at("stderr"), "{FILE}", file), "{DIR}/", folder.path("")))
            << name;
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

// Without ops the cooked scene is the input scene, printed in the canonical form (-o writes the same: the
// picture tests compare the two).
TEST(VexilCook, PrintsTheCookedSceneInTheCanonicalForm) {
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
