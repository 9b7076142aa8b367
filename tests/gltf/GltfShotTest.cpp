// glTF shots through the real vexil-cook: malformed files end with one line naming what is wrong,
// the real exporter's binary output reads, a shot baked to glTF cooks back to where it was cooked,
// and chunks of a shot joined give the bake of the whole range.
#include "CookRunner.h"
#include "CookTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace VexilTest;

namespace {

const std::string kSource = VEXIL_SOURCE_DIR;
const std::string kShot = kSource + "/examples/shot/shot.gltf";

std::string base64(const std::string& bytes) {
    static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t v = uint32_t(uint8_t(bytes[i])) << 16;
        v |= i + 1 < bytes.size() ? uint32_t(uint8_t(bytes[i + 1])) << 8 : 0;
        v |= i + 2 < bytes.size() ? uint32_t(uint8_t(bytes[i + 2])) : 0;
        text += kDigits[(v >> 18) & 63];
        text += kDigits[(v >> 12) & 63];
        text += i + 1 < bytes.size() ? kDigits[(v >> 6) & 63] : '=';
        text += i + 2 < bytes.size() ? kDigits[v & 63] : '=';
    }
    return text;
}

std::string decodeBase64(const std::string& text) {
    static const std::string kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const size_t digit = kDigits.find(c);
        if (digit == std::string::npos) {
            break;
        }
        bits = (bits << 6) | static_cast<uint32_t>(digit);
        if ((count += 6) >= 8) {
            count -= 8;
            bytes += static_cast<char>((bits >> count) & 0xff);
        }
    }
    return bytes;
}

// The floats of accessor `index` of a written glTF whose one buffer is `bytes`.
std::vector<float> floatsOf(const Json& gltf, const std::string& bytes, int index) {
    const Json& accessor = gltf["accessors"][index];
    const Json& view = gltf["bufferViews"][accessor["bufferView"].get<int>()];
    const size_t width = accessor["type"] == "VEC4" ? 4 : accessor["type"] == "VEC3" ? 3 : 1;
    std::vector<float> values(accessor["count"].get<size_t>() * width);
    std::memcpy(values.data(), bytes.data() + view.value("byteOffset", 0) + accessor.value("byteOffset", 0),
                values.size() * sizeof(float));
    return values;
}

template <typename T> void append(std::string& bytes, std::initializer_list<T> values) {
    for (T v : values) {
        bytes.append(reinterpret_cast<const char*>(&v), sizeof v);
    }
}

// A small valid shot: node A (a triangle, translation animated from (0,0,0) at 0 s to (2,0,0) at
// 1 s) with a child B. Views: 0 points (36 bytes), 1 indices (6), 2 key times (8), 3 translations (24).
Json validShot() {
    std::string bytes;
    append<float>(bytes, {0, 0, 0, 1, 0, 0, 0, 1, 0});
    append<uint16_t>(bytes, {0, 1, 2, 0});
    append<float>(bytes, {0, 1});
    append<float>(bytes, {0, 0, 0, 2, 0, 0});
    return Json::parse(R"({
      "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
      "nodes": [{"name": "A", "mesh": 0, "children": [1]}, {"name": "B"}],
      "meshes": [{"name": "Tri", "primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]}],
      "animations": [{"name": "Slide", "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}],
                      "samplers": [{"input": 2, "output": 3}]}],
      "accessors": [
        {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]},
        {"bufferView": 1, "componentType": 5123, "count": 3, "type": "SCALAR"},
        {"bufferView": 2, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0], "max": [1]},
        {"bufferView": 3, "componentType": 5126, "count": 2, "type": "VEC3"}],
      "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": 36}, {"buffer": 0, "byteOffset": 36, "byteLength": 6},
                      {"buffer": 0, "byteOffset": 44, "byteLength": 8}, {"buffer": 0, "byteOffset": 52, "byteLength": 24}],
      "buffers": [{"byteLength": 76}]})")
        .patch(Json::parse(R"([{"op": "add", "path": "/buffers/0/uri", "value": ""}])"))
        .patch(Json::array({{{"op", "replace"},
                             {"path", "/buffers/0/uri"},
                             {"value", "data:application/octet-stream;base64," + base64(bytes)}}}));
}

// The world translation of `path` at `frame` of a shot, sampled once: at shutter open, `offset`
// frames from it (the shutter closes two frames later).
std::vector<double> positionAt(const std::string& shot, int frame,
                               const std::string& path = "/root/world/Follower",
                               const std::string& offset = "0") {
    const RunResult run = runCook({"-q", "--world", "--frame", std::to_string(frame), "--shutter", offset,
                                   std::to_string(std::stoi(offset) + 2), "--location", path, shot});
    EXPECT_EQ(run.status, 0) << run.err;
    Json world = Json::parse(run.out)["scene"]["attrs"]["world"]["double"];
    if (world.is_object()) { // a still location constrained to the sample also has one at time 0
        world = Json(world[offset]);
    }
    return {world[12].get<double>(), world[13].get<double>(), world[14].get<double>()};
}

void expectNear(const std::vector<double>& actual, const std::vector<double>& expected, double tolerance,
                const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i], expected[i], tolerance) << what << ", value " << i;
    }
}

} // namespace

// Each malformed shot ends the run with status 1, nothing on standard output, and one line that
// names the node, accessor, animation, camera or mesh at fault. The cases are the rows of
// malformed-shots.json: a JSON patch of the valid shot and the line after "vexil-cook ERROR: <file>: "
// ({DIR} is the scratch folder; an empty line: the shot cooks).
TEST(GltfShot, MalformedShotsEndWithOneLine) {
    const Json cases = readJsonFile(VEXIL_GLTF_CASES_DIR "/malformed-shots.json");
    ASSERT_FALSE(cases.empty());
    for (const Json& c : cases) {
        const std::string name = c.at("name");
        const ScratchFolder folder;
        const Json shot = validShot().patch(c.at("patch"));
        folder.write("short.bin", std::string(10, '\0'));
        const std::string file =
            folder.write("shot.gltf", shot.is_string() ? shot.get<std::string>() : shot.dump(1));
        const RunResult run = runCook({"-q", file});
        std::string err = c.at("stderr");
        if (err.empty()) {
            EXPECT_EQ(run.status, 0) << run.err;
            continue;
        }
        EXPECT_EQ(run.status, 1) << name;
        EXPECT_EQ(run.out, "") << name;
        if (const size_t at = err.find("{DIR}"); at != std::string::npos) {
            err.replace(at, 5, folder.path(""));
        }
        EXPECT_EQ(run.err, "vexil-cook ERROR: " + file + ": " + err + "\n") << name;
    }
}

// The binary container as Blender's exporter wrote it, its animation sampled at every frame: the
// follower lands on the target's position between Blender's smooth keys at frame 1 (0,0,0) and frame
// 12 (4,2,0) (zero tangents: the fraction s = (frame - 1) / 11 eased to 3s² - 2s³). Frame 6: s = 5/11,
// eased 575/1331; the file holds floats.
TEST(GltfShot, BlenderBinaryExportReads) {
    const std::string glb = kSource + "/tests/gltf/fixtures/shot_sampled.glb";
    expectNear(positionAt(glb, 6), {4.0 * 575 / 1331, 2.0 * 575 / 1331, 0.0}, 1e-6, "frame 6");
    expectNear(positionAt(glb, 12), {4, 2, 0}, 1e-6, "frame 12");
    // Before the first key (frame 1) and after the last (frame 24) the end keys hold.
    expectNear(positionAt(glb, 0), {0, 0, 0}, 1e-6, "frame 0");
    expectNear(positionAt(glb, 30), {4, 2, 4}, 1e-6, "frame 30");
}

// A shot cooked over a range and written as glTF cooks back to the same places: the baked file's
// follower stands where the shot's follower was cooked, without its constraint being installed again.
// A scene file written as glTF and read back keeps its cooked motion samples.
TEST(GltfShot, BakedShotsCookBackToWhereTheyWereCooked) {
    const ScratchFolder folder;
    const std::string baked = folder.path("baked.glb");
    const RunResult bake = runCook({"--frames", "1-24", "-o", baked, kShot});
    ASSERT_EQ(bake.status, 0) << bake.err;
    EXPECT_EQ(bake.out, "");
    for (const int frame : {1, 6, 13, 20, 24}) {
        expectNear(positionAt(baked, frame), positionAt(kShot, frame), 1e-5,
                   "frame " + std::to_string(frame));
    }
    const RunResult again = runCook({"-q", "--frame", "13", baked});
    EXPECT_EQ(again.out.find("resolvedconstraint"), std::string::npos)
        << "the baked constraints stay in extras";

    const std::string json = folder.path("follow.gltf");
    ASSERT_EQ(runCook({"-q", "-o", json, kSource + "/examples/point_follow.json"}).status, 0);
    const std::string text = readFile(json);
    EXPECT_NE(text.find("\"vexilBakedConstraints\""), std::string::npos);
    const RunResult back = runCook({"--world", "--shutter", "0", "0.5", "--samples", "2", json});
    ASSERT_EQ(back.status, 0) << back.err;
    const auto follower = worldSamples(Json::parse(back.out), "/root/world/follower");
    ASSERT_EQ(follower.size(), 2u);
    EXPECT_LT(maxDifference(follower.at(0.0f), Imath::M44d()), 1e-6);
    EXPECT_NEAR(follower.at(0.5f)[3][0], 4.0, 1e-6);
    EXPECT_NEAR(follower.at(0.5f)[3][1], 2.0, 1e-6);
}

// The bake's own rules, seen from a file cooked back: a shot sampled once at shutter open; a node
// below /root/world written with its world transform, so that the transform of /root/world is kept;
// of two frames that reach the same time the later one's value; rotation keys that go past half a
// turn kept on one side, so that the file blends them along the shorter arc.
TEST(GltfShot, BakeKeepsTransformsTimesAndTurns) {
    const ScratchFolder folder;
    expectNear(positionAt(kShot, 12, "/root/world/Follower", "6"), {4, 2, 2}, 1e-6, "frame 12 seen at 18");

    const std::string scene = folder.write("scene.json", R"({
      "time": {"shutterOpen": 0, "shutterClose": 1, "numSamples": 2},
      "scene": {"children": {"world": {"attrs": {"xform": {"translate": {"double": [0, 10, 0]}}}, "children": {
        "a": {"attrs": {"xform": {"translate": {"double": [1, 0, 0]}}}},
        "steps": {"attrs": {"xform": {"translate": {"double": {"0": [0, 0, 0], "0.5": [4, 0, 0]}}}}},
        "spinner": {"attrs": {"xform": {"rotate": {"double": {"0": [0, 0, 0, 1], "1": [330, 0, 0, 1]}}}}}}}}}})");
    const std::string baked = folder.path("baked.gltf");
    ASSERT_EQ(runCook({"-q", "--frames", "0-1", "--samples", "12", "-o", baked, scene}).status, 0);
    expectNear(positionAt(baked, 0, "/root/world/a"), {1, 10, 0}, 1e-6, "a child of /root/world");
    // Frame 0's last sample (offset 1: 4, held) and frame 1's first (offset 0: 0) are both at 1/24 s.
    // (1/24 s as a float key is a little later than 1/24: the key before it still shows, a little.)
    expectNear(positionAt(baked, 1, "/root/world/steps"), {0, 10, 0}, 1e-5, "a time two frames reach");
    const Json gltf = Json::parse(readFile(baked));
    const Json& bake = gltf["animations"].back();
    const std::string data = gltf["buffers"][0]["uri"].get<std::string>();
    ASSERT_EQ(data.rfind("data:application/octet-stream;base64,", 0), 0u);
    size_t rotations = 0;
    for (const Json& channel : bake["channels"]) {
        if (channel["target"]["path"] != "rotation" ||
            gltf["nodes"][channel["target"]["node"].get<int>()]["name"] != "spinner") {
            continue;
        }
        ++rotations;
        const std::vector<float> q =
            floatsOf(gltf, decodeBase64(data.substr(37)),
                     bake["samplers"][channel["sampler"].get<int>()]["output"].get<int>());
        ASSERT_EQ(q.size(), 4u * 23); // two frames of 12 samples, one time shared
        for (size_t k = 4; k < q.size(); k += 4) {
            EXPECT_GE(q[k] * q[k - 4] + q[k + 1] * q[k - 3] + q[k + 2] * q[k - 2] + q[k + 3] * q[k - 1], 0.0f)
                << k / 4;
        }
    }
    EXPECT_EQ(rotations, 1u);
}

// Chunks of a shot baked apart and joined give the same animation as one bake of the whole range.
TEST(GltfShot, JoinedChunksAreTheBakeOfTheWholeRange) {
    const ScratchFolder folder;
    const std::string whole = folder.path("whole.glb");
    ASSERT_EQ(runCook({"-q", "--frames", "1-24", "-o", whole, kShot}).status, 0);
    ASSERT_EQ(runCook({"-q", "--frames", "1-10", "-o", folder.path("a.glb"), kShot}).status, 0);
    ASSERT_EQ(runCook({"-q", "--frames", "11-24", "-o", folder.path("b.gltf"), kShot}).status, 0);
    const std::string joined = folder.path("joined.glb");
    const std::string command = kSource + "/scripts/join-gltf-chunks " + joined + " " +
                                folder.path("b.gltf") + " " + folder.path("a.glb");
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    for (const int frame : {1, 10, 11, 17, 24}) {
        EXPECT_EQ(positionAt(joined, frame), positionAt(whole, frame)) << "frame " << frame;
    }
}

// What glTF cannot hold is said, one line each, after the file is written: a location outside the
// shot, an off-centre window, a shear that moves, a lens that changes.
TEST(GltfShot, ExportSaysWhatGltfCannotHold) {
    const ScratchFolder folder;
    const std::string scene = folder.write("scene.json", R"({
      "time": {"shutterOpen": 0, "shutterClose": 0.5, "numSamples": 2},
      "scene": {"children": {
        "world": {"children": {
          "cam": {"attrs": {"type": "camera", "geometry": {"fov": {"double": {"0": [40], "0.5": [50]}},
                  "left": {"double": -1}, "right": {"double": 2}, "bottom": {"double": -1}, "top": {"double": 1}}}},
          "sheared": {"attrs": {"xform": {"matrix": {"double": {"0": [1, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1],
                                                                "0.5": [1, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 3, 0, 0, 1]}}}}}}},
        "other": {}}}})");
    const std::string out = folder.path("out.gltf");
    const RunResult run = runCook({scene, "-o", out});
    EXPECT_EQ(run.status, 0);
    const std::string prefix = "vexil-cook: " + out + ": warning: ";
    EXPECT_EQ(
        run.err,
        "vexil-cook: 5 locations cooked, 0 with errors, 0 with warnings\n" + prefix +
            "/root/other: not below /root/world, so not part of the glTF scene\n" + prefix +
            "/root/world/cam: glTF cannot hold an off-centre screen window; it is written centred\n" +
            prefix + "/root/world/cam: glTF cannot animate a lens; the lens of the first frame is written\n" +
            prefix + "/root/world/sheared: glTF cannot animate a shear; the baked animation leaves it out\n");
}
