// Pictures drawn by vexil-cook, checked through the structure of the SVG it writes: an element for
// every location in every view, target lines between the right tripods, positions that follow the
// geometry of the scene, the error legend, and the size of the PNG.
#include "PictureTestSupport.h"

#include "CookTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>

using namespace VexilPictureTest;
using VexilTest::Json;

namespace {

const char* const kOrthoViews[] = {"top", "front", "side"};
constexpr int kWidth = 1120;
// Title bar, two rows of panels and the legend's padding; each legend line adds 18.
constexpr int kHeightWithoutLegendLines = 32 + 2 * 420 + 2 * 10;

/// A cook that writes the SVG (and the JSON with -o) into a scratch folder.
struct Drawn {
    RunResult run;
    std::string svg;
    std::vector<SvgElement> elements;
    Json cooked;
};

Drawn draw(const ScratchFolder& scratch, const std::string& scenePath, std::vector<std::string> extra = {}) {
    Drawn drawn;
    const std::string svgPath = scratch.path("picture.svg");
    const std::string jsonPath = scratch.path("cooked.json");
    std::vector<std::string> arguments{"--svg", svgPath, "-o", jsonPath};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.push_back(scenePath);
    drawn.run = runCook(arguments);
    drawn.svg = readFile(svgPath);
    if (!drawn.svg.empty()) {
        drawn.elements = parseSvg(drawn.svg);
    }
    drawn.cooked = Json::parse(readFile(jsonPath), nullptr, false);
    return drawn;
}

/// Whether the cooked location's xform holds a constraint or its resolved form.
bool carriesConstraint(const Json& location) {
    if (!location.contains("attrs") || !location.at("attrs").contains("xform") ||
        !location.at("attrs").at("xform").is_object()) {
        return false;
    }
    for (const auto& [name, child] : location.at("attrs").at("xform").items()) {
        if (name.rfind("constraint", 0) == 0 || name.rfind("resolvedconstraint", 0) == 0) {
            return true;
        }
    }
    return false;
}

std::string viewTitle(const std::vector<SvgElement>& elements, const std::string& view) {
    const auto titles = select(elements, "text", "view-title", {{"data-view", view}});
    return titles.size() == 1 ? titles[0]->text : std::string();
}

size_t locationGroups(const std::vector<SvgElement>& elements, const std::string& view,
                      const std::string& path, const std::string& state) {
    return select(elements, "g", "location",
                  {{"data-view", view}, {"data-path", path}, {"data-state", state}})
        .size();
}

void expectAt(const Imath::V2d& actual, const Imath::V2d& expected, const std::string& what) {
    // SVG coordinates carry two decimals.
    EXPECT_NEAR(actual.x, expected.x, 0.011) << what;
    EXPECT_NEAR(actual.y, expected.y, 0.011) << what;
}

/// A scene file beside these tests.
std::string caseFile(const std::string& name) {
    return std::string(VEXIL_PICTURE_CASES_DIR) + "/" + name;
}

} // namespace

// Every example: each location has its group in each view, constrained ones also their faded
// state, target lines join the tripods they name, and the legend reports the cook's problems.
TEST(Pictures, EveryExampleShowsEveryLocationInEveryView) {
    size_t examples = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VEXIL_EXAMPLES_DIR)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        ++examples;
        const std::string name = entry.path().filename().string();
        SCOPED_TRACE(name);
        const ScratchFolder scratch;
        const Drawn drawn = draw(scratch, entry.path().string());
        ASSERT_EQ(drawn.run.status, 0) << drawn.run.err;
        ASSERT_FALSE(drawn.elements.empty());
        ASSERT_TRUE(drawn.cooked.is_object());
        const Json input = Json::parse(readFile(entry.path().string()));

        const std::string cameraTitle = viewTitle(drawn.elements, "camera");
        std::string cameraPath;
        if (cameraTitle.rfind("camera: /", 0) == 0) {
            cameraPath = cameraTitle.substr(8, cameraTitle.find(' ', 8) - 8);
        } else {
            EXPECT_EQ(cameraTitle, "camera: none in the scene");
        }

        size_t problems = 0;
        for (const std::string& path : VexilTest::locationPaths(drawn.cooked)) {
            if (path == "/root") {
                continue;
            }
            const Json& location = VexilTest::location(drawn.cooked, path);
            for (const char* view : kOrthoViews) {
                EXPECT_EQ(locationGroups(drawn.elements, view, path, "after"), 1u) << path << " in " << view;
                const bool before = carriesConstraint(location) && VexilTest::hasLocation(input, path);
                EXPECT_EQ(locationGroups(drawn.elements, view, path, "before"), before ? 1u : 0u)
                    << path << " before, in " << view;
            }
            if (!cameraPath.empty()) {
                EXPECT_EQ(locationGroups(drawn.elements, "camera", path, "after"),
                          path == cameraPath ? 0u : 1u)
                    << path << " in the camera view";
            }
            const Json& attrs = location.at("attrs");
            problems += attrs.contains("warningMessage") ? 1 : 0;
            if (attrs.value("type", Json()) == "error") {
                ++problems;
                EXPECT_FALSE(select(drawn.elements, "text", "error-message", {{"data-path", path}}).empty())
                    << path;
            }
        }
        EXPECT_EQ(select(drawn.elements, "text", "note").size(), problems == 0 ? 1u : 0u);

        for (const char* view : kOrthoViews) {
            for (const SvgElement* line :
                 select(drawn.elements, "line", "target-line", {{"data-view", view}})) {
                SCOPED_TRACE(std::string(view) + ": " + line->attr("data-from") + " -> " +
                             line->attr("data-to"));
                expectAt({line->number("x1"), line->number("y1")},
                         tripodOrigin(drawn.elements, view, line->attr("data-from")),
                         "line starts at the base");
                expectAt({line->number("x2"), line->number("y2")},
                         tripodOrigin(drawn.elements, view, line->attr("data-to")),
                         "line ends at the target");
            }
        }

        const SvgElement& svg = drawn.elements.front();
        EXPECT_EQ(svg.number("width"), kWidth);
        const size_t legendLines = select(drawn.elements, "text", "key").size() +
                                   select(drawn.elements, "text", "note").size() +
                                   select(drawn.elements, "text", "error-message").size() +
                                   select(drawn.elements, "text", "warning-message").size();
        EXPECT_EQ(svg.number("height"), kHeightWithoutLegendLines + 18 * double(legendLines));
    }
    EXPECT_GE(examples, 10u) << "the examples folder should hold the example scenes";
}

// Each base's dashed lines go to exactly its targets: the rows of target-lines.json.
TEST(Pictures, ExampleTargetLinesJoinEachBaseToItsTargets) {
    Json cases = VexilTest::readJsonFile(VEXIL_PICTURE_CASES_DIR "/target-lines.json");
    cases.erase("why");
    for (const auto& [example, expected] : cases.items()) {
        SCOPED_TRACE(example);
        const ScratchFolder scratch;
        const Drawn drawn = draw(scratch, std::string(VEXIL_EXAMPLES_DIR) + "/" + example);
        ASSERT_EQ(drawn.run.status, 0) << drawn.run.err;
        for (const char* view : kOrthoViews) {
            std::set<std::pair<std::string, std::string>> lines;
            for (const SvgElement* line :
                 select(drawn.elements, "line", "target-line", {{"data-view", view}})) {
                lines.emplace(line->attr("data-from"), line->attr("data-to"));
            }
            EXPECT_EQ(lines, (expected.get<std::set<std::pair<std::string, std::string>>>())) << view;
        }
    }
}

// Three unconstrained locations at known places: in each view the tripods sit where the view's plane
// coordinates put them, under one uniform scale (v up is y down), and the view is filled.
TEST(Pictures, OrthographicViewsPlaceLocationsByTheirWorldPositions) {
    const ScratchFolder scratch;
    const Drawn drawn = draw(scratch, caseFile("picture-known-places.json"));
    ASSERT_EQ(drawn.run.status, 0) << drawn.run.err;

    // Plane coordinates (u right, v up) of b and c relative to a, worked out per view.
    const struct {
        const char* view;
        Imath::V2d b, c;
    } cases[] = {
        {"top", {4, 3}, {-2, -1}},  // u = x, v = -z
        {"front", {4, 2}, {-2, 6}}, // u = x, v = y
        {"side", {3, 2}, {-1, 6}},  // u = -z, v = y
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.view);
        const Imath::V2d a = tripodOrigin(drawn.elements, c.view, "/root/world/a");
        const Imath::V2d b = tripodOrigin(drawn.elements, c.view, "/root/world/b");
        const Imath::V2d pc = tripodOrigin(drawn.elements, c.view, "/root/world/c");
        const double scale = (b.x - a.x) / c.b.x;
        ASSERT_GT(scale, 0.0);
        expectAt(b - a, {c.b.x * scale, -c.b.y * scale}, "b");
        // Rounding of both ends to 0.01 px, magnified by the ratio of the distances.
        EXPECT_NEAR(pc.x - a.x, c.c.x * scale, 0.05) << "c.x";
        EXPECT_NEAR(pc.y - a.y, -c.c.y * scale, 0.05) << "c.y";

        const auto edges =
            select(drawn.elements, "path", "mesh", {{"data-view", c.view}, {"data-path", "/root/world/m"}});
        ASSERT_EQ(edges.size(), 1u);
        Imath::V2d from, to;
        ASSERT_EQ(
            std::sscanf(edges[0]->attr("d").c_str(), "M%lf,%lf L%lf,%lf", &from.x, &from.y, &to.x, &to.y), 4);
        expectAt(from, a, "mesh edge start");
        expectAt(to, b, "mesh edge end");

        const auto views = select(drawn.elements, "g", "view", {{"data-view", c.view}});
        ASSERT_EQ(views.size(), 1u);
        const double left = views[0]->number("data-x");
        const double top = views[0]->number("data-y");
        const double width = views[0]->number("data-width");
        const double height = views[0]->number("data-height");
        double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
        for (const Imath::V2d& p : {a, b, pc}) {
            EXPECT_GT(p.x, left);
            EXPECT_LT(p.x, left + width);
            EXPECT_GT(p.y, top);
            EXPECT_LT(p.y, top + height);
            minX = std::min(minX, p.x);
            maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y);
            maxY = std::max(maxY, p.y);
        }
        EXPECT_GT(std::max((maxX - minX) / width, (maxY - minY) / height), 0.6) << "the scene fills the view";
    }
}

// The point constraint of point_follow: the follower's solid tripod sits on the target, its faded one
// 10 units along +x at (10, 0, 0), and the target's trail runs to (4, 2, 0) at the second sample.
TEST(Pictures, PointConstraintDrawsBeforeAfterAndTrail) {
    const ScratchFolder scratch;
    const Drawn drawn = draw(scratch, std::string(VEXIL_EXAMPLES_DIR) + "/point_follow.json");
    ASSERT_EQ(drawn.run.status, 0) << drawn.run.err;
    const std::string follower = "/root/world/follower";
    const std::string target = "/root/world/target";

    const Imath::V2d onTarget = tripodOrigin(drawn.elements, "front", target);
    expectAt(tripodOrigin(drawn.elements, "front", follower), onTarget, "after: on the target");
    const Imath::V2d before = tripodOrigin(drawn.elements, "front", follower, "before");
    const double scale = (before.x - onTarget.x) / 10.0;
    ASSERT_GT(scale, 0.0);
    EXPECT_NEAR(before.y, onTarget.y, 0.011) << "moved along x only";
    expectAt(tripodOrigin(drawn.elements, "side", follower, "before"),
             tripodOrigin(drawn.elements, "side", follower), "x is not seen from the side");

    const auto trails = select(drawn.elements, "polyline", "trail",
                               {{"data-view", "front"}, {"data-path", target}, {"data-state", "after"}});
    ASSERT_EQ(trails.size(), 1u);
    const std::string points = trails[0]->attr("points");
    double x0, y0, x1, y1;
    ASSERT_EQ(std::sscanf(points.c_str(), "%lf,%lf %lf,%lf", &x0, &y0, &x1, &y1), 4) << points;
    expectAt({x0, y0}, onTarget, "trail starts at time 0");
    EXPECT_NEAR(x1 - x0, 4.0 * scale, 0.03);
    EXPECT_NEAR(y1 - y0, -2.0 * scale, 0.03);
    EXPECT_EQ(
        select(drawn.elements, "g", "motion-sample", {{"data-view", "front"}, {"data-path", target}}).size(),
        2u);
    EXPECT_EQ(
        select(drawn.elements, "line", "move-line", {{"data-view", "front"}, {"data-path", follower}}).size(),
        1u);
}

// A camera at the origin with a 90° lens and a square window: a point at camera-space (x, y, -d) shows
// at window (x / d, y / d); a point behind the camera is not drawn.
TEST(Pictures, CameraViewProjectsThroughTheChosenCamera) {
    const ScratchFolder scratch;
    const std::string scene = caseFile("picture-cameras.json");
    const Drawn drawn = draw(scratch, scene);
    ASSERT_EQ(drawn.run.status, 0) << drawn.run.err;
    EXPECT_EQ(viewTitle(drawn.elements, "camera"), "camera: /root/world/cam   near 0.1, far 100");

    const auto windows = select(drawn.elements, "rect", "screen-window");
    ASSERT_EQ(windows.size(), 1u);
    const double x = windows[0]->number("x");
    const double y = windows[0]->number("y");
    const double w = windows[0]->number("width");
    const double h = windows[0]->number("height");
    EXPECT_NEAR(w, h, 0.02) << "a square window stays square";
    auto pixel = [&](double sx, double sy) {
        return Imath::V2d(x + (sx + 1.0) / 2.0 * w, y + (1.0 - sy) / 2.0 * h);
    };
    expectAt(tripodOrigin(drawn.elements, "camera", "/root/world/near"), pixel(0.5, 0.25), "near");
    expectAt(tripodOrigin(drawn.elements, "camera", "/root/world/far"), pixel(-0.5, 0.5), "far");
    EXPECT_EQ(locationGroups(drawn.elements, "camera", "/root/world/behind", "after"), 1u);
    EXPECT_TRUE(select(drawn.elements, "circle", "origin",
                       {{"data-view", "camera"}, {"data-path", "/root/world/behind"}})
                    .empty())
        << "behind the camera";

    // Frusta: the first camera's far plane lies beyond the scene, the second's (3) within it.
    auto frustumParts = [&](const std::string& path, const std::string& part) {
        return select(drawn.elements, "path", part, {{"data-view", "front"}, {"data-path", path}}).size();
    };
    EXPECT_EQ(frustumParts("/root/world/cam", "frustum"), 1u);
    EXPECT_EQ(frustumParts("/root/world/cam", "near-plane"), 1u);
    EXPECT_EQ(frustumParts("/root/world/cam", "frustum-end"), 1u);
    EXPECT_EQ(frustumParts("/root/world/cam", "far-plane"), 0u);
    EXPECT_EQ(frustumParts("/root/world/cam2", "far-plane"), 1u);
    EXPECT_EQ(frustumParts("/root/world/cam2", "frustum-end"), 0u);

    const Drawn second = draw(scratch, scene, {"--camera", "/root/world/cam2"});
    ASSERT_EQ(second.run.status, 0) << second.run.err;
    EXPECT_EQ(viewTitle(second.elements, "camera"), "camera: /root/world/cam2   near 1, far 3");
    EXPECT_EQ(locationGroups(second.elements, "camera", "/root/world/cam", "after"), 1u);
    EXPECT_EQ(locationGroups(second.elements, "camera", "/root/world/cam2", "after"), 0u);

    const struct {
        const char* camera;
        std::string message;
    } bad[] = {
        {"/root/world/near", "--camera /root/world/near: not a camera (type \"group\")"},
        {"/root/world/none", "--camera /root/world/none: no such location in the cooked scene"},
    };
    for (const auto& b : bad) {
        const RunResult run = runCook({"--svg", scratch.path("bad.svg"), "--camera", b.camera, scene});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, "vexil-cook ERROR: " + scene + ": " + b.message + "\n");
        EXPECT_FALSE(std::filesystem::exists(scratch.path("bad.svg")));
    }
}

// A failed constraint is drawn red and its message goes to the legend; a warning is listed too.
TEST(Pictures, ErrorsAreRedAndListedWithWarningsInTheLegend) {
    const ScratchFolder scratch;
    const std::string path = caseFile("picture-errors.json");
    const Drawn drawn = draw(scratch, path, {"--png", scratch.path("errors.png")});
    ASSERT_EQ(drawn.run.status, 0) << drawn.run.err;

    const auto errors = select(drawn.elements, "text", "error-message");
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0]->attr("data-path"), "/root/world/a");
    EXPECT_EQ(errors[0]->text, "/root/world/a: error: Point Constraint Error: Constraint target "
                               "(/root/world/nowhere) was not found.");
    EXPECT_EQ(errors[0]->attr("fill"), "#e00f0f");
    const auto warnings = select(drawn.elements, "text", "warning-message");
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0]->text, "/root/world/b: warning: Point Constraint found no valid targets.");
    EXPECT_TRUE(select(drawn.elements, "text", "note").empty());

    for (const char* view : kOrthoViews) {
        const auto failed =
            select(drawn.elements, "g", "location",
                   {{"data-view", view}, {"data-path", "/root/world/a"}, {"data-state", "after"}});
        ASSERT_EQ(failed.size(), 1u);
        EXPECT_EQ(failed[0]->attr("data-error"), "1");
        for (const char* axis : {"axis-x", "axis-y", "axis-z"}) {
            for (const SvgElement* line : select(drawn.elements, "line", axis,
                                                 {{"data-view", view}, {"data-path", "/root/world/a"}})) {
                EXPECT_EQ(line->attr("stroke"), "#e00f0f") << view << " " << axis;
            }
        }
        const auto fine =
            select(drawn.elements, "g", "location",
                   {{"data-view", view}, {"data-path", "/root/world/b"}, {"data-state", "after"}});
        ASSERT_EQ(fine.size(), 1u);
        EXPECT_EQ(fine[0]->attr("data-error"), "");
        EXPECT_TRUE(select(drawn.elements, "line", "target-line", {{"data-view", view}}).empty())
            << "no line to a target that does not exist";
    }

    // Two key lines, one error and one warning below the panels.
    int width = 0, height = 0;
    ASSERT_TRUE(pngSize(scratch.path("errors.png"), width, height));
    EXPECT_EQ(width, kWidth);
    EXPECT_EQ(height, kHeightWithoutLegendLines + 18 * 4);
}

TEST(Pictures, JsonGoesToTheOutputFileUnchangedAndBadFilesFail) {
    const ScratchFolder scratch;
    const std::string example = std::string(VEXIL_EXAMPLES_DIR) + "/point_follow.json";
    const RunResult plain = runCook({"--world", example});
    ASSERT_EQ(plain.status, 0);
    const RunResult drawn =
        runCook({"--world", "--svg", scratch.path("a.svg"), "-o", scratch.path("a.json"), example});
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    EXPECT_EQ(readFile(scratch.path("a.json")), plain.out);
    const RunResult pictureOnly = runCook({"--png", scratch.path("a.png"), example});
    ASSERT_EQ(pictureOnly.status, 0) << pictureOnly.err;
    EXPECT_EQ(pictureOnly.out, "") << "a picture replaces the JSON on standard output";

    for (const char* option : {"--svg", "--png"}) {
        const RunResult bad = runCook({option, "/nonexistent-folder/picture", example});
        EXPECT_EQ(bad.status, 1) << option;
        EXPECT_EQ(bad.err,
                  "vexil-cook ERROR: /nonexistent-folder/picture: cannot write: No such file or directory\n")
            << option;
    }
}
