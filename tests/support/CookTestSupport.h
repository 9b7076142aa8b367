// End-to-end test support: cooks scene files through the real `vexil-cook` and the real plug-in, and
// reads the cooked scene back.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace VexilTest {

using Json = nlohmann::ordered_json;

/// What one run of vexil-cook gave.
struct CookResult {
    int exitCode = -1;
    std::string out; ///< standard output
    std::string err; ///< standard error
    Json scene;      ///< the parsed output (null when stdout was not JSON)
};

/// Writes `scene` to a temporary file and runs vexil-cook on it with `arguments` (the plug-in
/// folder of this build is always on the search path).
CookResult cook(const Json& scene, const std::vector<std::string>& arguments = {"--world"});

/// A scene file around `world` (the children of "/root/world") and `ops`, with a time slice.
Json sceneFile(const Json& worldChildren, const Json& ops, float shutterOpen = 0.0f,
               float shutterClose = 0.0f, int numSamples = 1, const Json& worldAttrs = Json::object());

/// An op entry of a scene file: `type` cooked at `location` with `args`.
Json opAt(const std::string& type, const std::string& location, const Json& args = Json::object());
/// The ops ConstraintResolve alone at "/root".
Json resolveOps();

/// The output location at an absolute path ("/root/world/a"); throws when absent.
const Json& location(const Json& cooked, const std::string& path);
/// True when the cooked scene has the location.
bool hasLocation(const Json& cooked, const std::string& path);
/// The absolute path of every location of a scene file, "/root" first, each parent before its children.
std::vector<std::string> locationPaths(const Json& cooked);
/// The attribute at a dotted name of a location, or null Json.
const Json& attribute(const Json& cooked, const std::string& path, const std::string& name);

/// Samples of a data attribute in the file's encoding, decoded: time → values (as doubles).
std::map<float, std::vector<double>> samples(const Json& attr);
/// The first value of the first sample of a string attribute ("" when absent).
std::string stringValue(const Json& cooked, const std::string& path, const std::string& name);

/// The location's "world" attribute (from --world), per sample time.
std::map<float, Imath::M44d> worldSamples(const Json& cooked, const std::string& path);
/// The world transform at one sample time (throws when there is no such sample).
Imath::M44d world(const Json& cooked, const std::string& path, float time = 0.0f);

/// Encoders of attributes in the scene-file form.
Json doubles(const std::vector<double>& values, int tupleSize = 1);
Json floats(const std::vector<double>& values, int tupleSize = 1);
Json ints(const std::vector<int>& values, int tupleSize = 1);
Json strings(const std::vector<std::string>& values);
/// Doubles sampled at several times: (time as written in the file, values), in file order.
Json sampledDoubles(const std::vector<std::pair<std::string, std::vector<double>>>& samples,
                    int tupleSize = 1);
/// An xform group with a translate (and optional rotate: angle in degrees, axis).
Json translateXform(const Imath::V3d& t);

/// Largest absolute element difference.
double maxDifference(const Imath::M44d& a, const Imath::M44d& b);

} // namespace VexilTest
