// The failure catalogue: for every failure text of the constraint resolvers, the resolve framework
// and the ops, one scene that provokes it, cooked through vexil-cook. The text must appear exactly, on
// the right location and attribute; every other location must carry no message, and a healthy Point
// constraint in the same scene must still move its location onto its target.
//
// Texts that no scene can provoke (a resolver run without targets or without the transform samples
// the framework always gathers, the second bound message, internal size checks) are listed at the end
// of this file.
#include "CookTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace VexilTest;

// ---- scene pieces ----

/// A group location at a translation, with optional extra attributes.
Json placed(double x, double y, double z, const Json& extra = Json::object()) {
    Json attrs = {{"type", "group"}, {"xform", {{"translate", triple(x, y, z)}}}};
    for (auto it = extra.begin(); it != extra.end(); ++it) {
        attrs[it.key()] = it.value();
    }
    return node(attrs);
}

/// The constrained location "subject": a translation, an optional scale, the constraint.
Json subject(const Json& constraintGroup, const Json& extraAttrs = Json::object(), bool zeroScale = false) {
    Json xform = {{"translate", triple(0, 0, -5)}};
    if (zeroScale) {
        xform["scale"] = triple(0, 0, 0);
    }
    xform["constraint"] = constraintGroup;
    Json attrs = {{"type", "group"}, {"xform", xform}};
    for (auto it = extraAttrs.begin(); it != extraAttrs.end(); ++it) {
        attrs[it.key()] = it.value();
    }
    return node(attrs);
}

/// One triangle face over points (0,0,0), (1,0,0), (0,1,0) unless given otherwise.
Json mesh(const std::vector<double>& points = {0, 0, 0, 1, 0, 0, 0, 1, 0},
          const std::vector<int>& startIndex = {0, 3}, const std::vector<int>& vertexList = {0, 1, 2},
          const Json& children = Json::object()) {
    return node({{"type", "polymesh"},
                 {"xform", {{"translate", triple(0, 0, -10)}}},
                 {"geometry",
                  {{"point", {{"P", floats(points, 3)}}},
                   {"poly", {{"startIndex", ints(startIndex)}, {"vertexList", ints(vertexList)}}}}}},
                children);
}

/// A camera's geometry attributes; `omit` leaves one out.
Json cameraGeometry(double fov, const std::vector<double>& window, const std::string& omit = "",
                    const std::string& projection = "perspective") {
    Json g = {{"fov", doubles({fov})},         {"left", doubles({window[0]})},
              {"right", doubles({window[1]})}, {"bottom", doubles({window[2]})},
              {"top", doubles({window[3]})},   {"near", doubles({0.1})},
              {"far", doubles({1000})},        {"projection", projection}};
    if (!omit.empty()) {
        g.erase(omit);
    }
    return g;
}

const std::vector<double> kWindow = {-1, 1, -1, 1};

/// A camera at the origin looking down -z.
Json camera(double fov = 45, const std::vector<double>& window = kWindow, const std::string& omit = "",
            const std::string& projection = "perspective") {
    return node({{"type", "camera"},
                 {"xform", {{"translate", triple(0, 0, 0)}}},
                 {"geometry", cameraGeometry(fov, window, omit, projection)}});
}

/// A box target with a unit bound, at a translation.
Json box(double x, double y, double z) {
    return placed(x, y, z, {{"bound", doubles({-0.5, 0.5, -0.5, 0.5, -0.5, 0.5})}});
}

/// A camera as the constrained location, with the constraint in its xform.
Json constrainedCamera(const Json& constraintGroup, double fov = 45,
                       const std::vector<double>& window = kWindow, const std::string& omit = "",
                       bool zeroScale = false) {
    Json xform = {{"translate", triple(0, 0, 0)}};
    if (zeroScale) {
        xform["scale"] = triple(0, 0, 0);
    }
    xform["constraint"] = constraintGroup;
    return node({{"type", "camera"}, {"xform", xform}, {"geometry", cameraGeometry(fov, window, omit)}});
}

Json pointArgs(const std::string& targetOrigin = "origin", const std::string& baseOrigin = "origin") {
    return {{"targetOrigin", targetOrigin}, {"baseOrigin", baseOrigin}};
}

Json aimArgs(const std::vector<double>& aim = {0, 0, -1}, const std::vector<double>& up = {0, 1, 0},
             const std::vector<double>& targetUp = {0, 1, 0}) {
    return {{"targetOrigin", "origin"},
            {"baseAimAxis", floats(aim, 3)},
            {"baseUpAxis", floats(up, 3)},
            {"targetUpAxis", floats(targetUp, 3)}};
}

Json billboardArgs(const std::vector<double>& aim = {0, 0, 1},
                   const std::vector<double>& rotate = {0, 1, 0}) {
    return {
        {"targetOrigin", "origin"}, {"baseAimAxis", floats(aim, 3)}, {"baseRotateAxis", floats(rotate, 3)}};
}

const char* const kT = "/root/world/t";
const char* const kM = "/root/world/m";
const char* const kCam = "/root/world/cam";
const char* const kBox = "/root/world/box";
const char* const kSubject = "/root/world/subject";

// ---- the table ----

struct Expected {
    std::string path;
    std::string attribute; ///< "errorMessage" or "warningMessage"
    std::string text;
};

struct Entry {
    const char* name;
    Json world;                     ///< children of /root/world besides the healthy pair
    std::vector<Expected> expected; ///< every message the scene must carry, and no other
    Json ops = Json();              ///< null: ConstraintResolve alone
    std::vector<std::string> listed = {kSubject};
};

Expected error(const std::string& text, const std::string& path = kSubject) {
    return {path, "errorMessage", text};
}

Expected warning(const std::string& text, const std::string& path = kSubject) {
    return {path, "warningMessage", text};
}

Json opsBeforeResolve(const Json& op) {
    Json ops = Json::array({op});
    ops.push_back(resolveOps()[0]);
    return ops;
}

std::vector<Entry> framework() {
    return {
        {"UnknownType",
         {{"t", placed(1, 0, 0)}, {"subject", subject(constraint("Bogus", {kT}, pointArgs()))}},
         {error("Bogus Constraint Error: 'Bogus' is an invalid constraint type.")}},
        // The text of an unreadable type keeps its form; a warning says where and what is wrong.
        {"ConstraintWithoutType",
         {{"subject", subject({{"target", {kT}}})}},
         {error(" Constraint Error: Error getting string value from StringAttribute."),
          warning(
              "The constraint 'constraint' of /root/world/subject has no 'type': it needs a string naming "
              "its kind, such as \"Point\".")}},
        {"ConstraintNotAGroup",
         {{"subject", subject("Point")}},
         {error(" Constraint Error: Error getting string value from StringAttribute."),
          warning("The child 'constraint' of xform at /root/world/subject is not a group, so it is no "
                  "constraint description.")}},
        {"NoTargets",
         {{"subject", subject(constraint("Point", {}, pointArgs()))}},
         {error("Point Constraint Error: No constraint targets given.")}},
        {"MissingTarget",
         {{"subject", subject(constraint("Point", {"/root/world/nowhere"}, pointArgs()))}},
         {error("Point Constraint Error: Constraint target (/root/world/nowhere) was not found.")}},
        {"MissingRelativeTarget",
         {{"subject", subject(constraint("Point", {"../nowhere"}, pointArgs()))}},
         {error("Point Constraint Error: Constraint target (/root/world/nowhere) was not found.")}},
        {"AllowedMissingTargets",
         {{"subject", subject(constraint("Point", {"/root/world/nowhere"}, pointArgs(),
                                         {{"allowMissingTargets", ints({1})}}))}},
         {warning("Point Constraint found no valid targets.")}},
        {"TargetWithoutBound",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Point", {kT}, pointArgs(), {{"requireTargetBounds", ints({1})}}))}},
         {error("Point Constraint Error: No valid target found to resolve constraint."),
          warning("Constraint target (/root/world/t) was found but has no bound attribute and is therefore "
                  "being ignored.")}},
        {"TargetWithoutBoundAllowed",
         {{"t", placed(1, 0, 0)},
          {"subject",
           subject(constraint("Point", {kT}, pointArgs(),
                              {{"requireTargetBounds", ints({1})}, {"allowMissingTargets", ints({1})}}))}},
         {warning("Constraint target (/root/world/t) was found but has no bound attribute and is therefore "
                  "being ignored.\nPoint Constraint found no valid targets.")}},
        // The subject needs the resolved transform of a constrained location listed after it.
        {"ListOrderNotSufficient",
         {{"t", placed(1, 0, 0)},
          {"other", subject(constraint("Point", {kT}, pointArgs()))},
          {"subject", subject(constraint("Point", {"/root/world/other"}, pointArgs()))}},
         {error(
             "Point Constraint Error: Constraint list not sufficient to resolve constraint dependencies.")},
         Json(),
         {kSubject, "/root/world/other"}},
        // Two constrained locations targeting each other: no order resolves either.
        {"ListCycle",
         {{"other", subject(constraint("Point", {kSubject}, pointArgs()))},
          {"subject", subject(constraint("Point", {"/root/world/other"}, pointArgs()))}},
         {error("Point Constraint Error: Constraint list not sufficient to resolve constraint dependencies."),
          error("Point Constraint Error: Constraint list not sufficient to resolve constraint dependencies.",
                "/root/world/other")},
         Json(),
         {kSubject, "/root/world/other"}},
    };
}

std::vector<Entry> targetGeometry() {
    const std::string prefix = "Point Constraint Error: Point constraint resolver target: ";
    auto pointOn = [](const std::string& target, const std::string& mode) {
        return subject(constraint("Point", {target}, pointArgs(mode)));
    };
    return {
        {"BoundMissing",
         {{"t", placed(1, 0, 0)}, {"subject", pointOn(kT, "boundingBox")}},
         {error(prefix + "Cannot get bounds attribute (/root/world/t).")}},
        {"BoundOfFloats",
         {{"t", placed(1, 0, 0, {{"bound", floats({0, 1, 0, 1, 0, 1})}})},
          {"subject", pointOn(kT, "boundingBox")}},
         {error(prefix + "Cannot get bounds attribute (/root/world/t).")}},
        {"BoundOfFiveValues",
         {{"t", placed(1, 0, 0, {{"bound", doubles({0, 1, 0, 1, 0})}})},
          {"subject", pointOn(kT, "boundingBox")}},
         {error(prefix + "Cannot get bounds attribute (/root/world/t).")}},
        {"FacesOfAGroup",
         {{"t", placed(1, 0, 0)}, {"subject", pointOn(kT, "faceCenterAverage")}},
         {error(prefix + "FaceIterator mesh has unsupport type: group.")}},
        {"MeshWithoutFaces",
         {{"m", node({{"type", "polymesh"}, {"geometry", {{"point", {{"P", floats({0, 0, 0}, 3)}}}}}})},
          {"subject", pointOn(kM, "faceBoundingBox")}},
         {error(prefix + "FaceIterator mesh has missing attributes for mesh description.")}},
        {"FaceSetBeyondTheMesh",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 2},
                     {{"fs", node({{"type", "faceset"}, {"geometry", {{"faces", ints({4})}}}})}})},
          {"subject", pointOn("/root/world/m/fs", "faceCenterAverage")}},
         {error(prefix + "FaceIterator faceset has invalid face index.")}},
        // The second face runs from vertex 3 to vertex 0 (a next start of 0 would wrap instead).
        {"FaceEndsBeforeItStarts",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3, 1}, {0, 1, 2})},
          {"subject", pointOn(kM, "faceCenterAverage")}},
         {error(prefix + "FaceIterator mesh has invalid vertex range (end < start).")}},
        // The second face has no vertices: its end (the next start less one) is just before its start.
        {"FaceWithoutVertices",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3, 3}, {0, 1, 2})},
          {"subject", pointOn(kM, "faceBoundingBox")}},
         {error(prefix + "FaceIterator mesh has invalid vertex range (end < start).")}},
        {"VertexBeyondTheList",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 5}, {0, 1, 2})},
          {"subject", pointOn(kM, "faceCenterAverage")}},
         {error(prefix + "FaceIterator mesh has out of range vertex.")}},
        {"PointBeyondThePoints",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 7})},
          {"subject", pointOn(kM, "faceBoundingBox")}},
         {error(prefix + "FaceIterator mesh has out of range point.")}},
        // P, written as single values, holds 3 points and two stray values: point 3 would read one
        // value past the end.
        {"PointPastAShortLastTriple",
         {{"m",
           [] {
               Json m = mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 3});
               m["attrs"]["geometry"]["point"]["P"] = floats({0, 0, 0, 1, 0, 0, 0, 1, 0, 5, 5});
               return m;
           }()},
          {"subject", pointOn(kM, "faceBoundingBox")}},
         {error(prefix + "FaceIterator mesh has out of range point.")}},
        {"NegativePoint",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, -1, 2})},
          {"subject", pointOn(kM, "faceBoundingBox")}},
         {error(prefix + "FaceIterator mesh has out of range point.")}},
        {"BaseBoundMissing",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Point", {kT}, pointArgs("origin", "boundingBox")))}},
         {error("Point Constraint Error: Point constraint resolver base: Cannot get bounds attribute "
                "(/root/world/subject).")}},
    };
}

std::vector<Entry> transformKinds() {
    auto orientOn = [](const std::string& target, const Json& args, bool zeroScale = false) {
        return subject(constraint("Orient", {target}, args), Json::object(), zeroScale);
    };
    const Json face = {{"targetOrientation", "face"}, {"targetFaceIndex", ints({0})}};
    return {
        {"PointEmptyBaseOrigin",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Point", {kT}, {{"targetOrigin", "origin"}}))}},
         {error("Point Constraint Error: Point constraint resolver: empty args.baseOrigin.")}},
        {"PointEmptyTargetOrigin",
         {{"t", placed(1, 0, 0)}, {"subject", subject(constraint("Point", {kT}, pointArgs("")))}},
         {error("Point Constraint Error: Point constraint resolver: empty args.targetOrigin.")}},
        {"AimEmptyTargetOrigin",
         {{"t", placed(1, 0, 0)}, {"subject", subject(constraint("Aim", {kT}, Json::object()))}},
         {error("Aim Constraint Error: Aim constraint resolver: empty args.targetOrigin.")}},
        {"AimTargetBound",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Aim", {kT},
                                         [] {
                                             Json a = aimArgs();
                                             a["targetOrigin"] = "boundingBox";
                                             return a;
                                         }()))}},
         {error("Aim Constraint Error: Aim constraint resolver target: Cannot get bounds attribute "
                "(/root/world/t).")}},
        {"AimAxisMissing",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Aim", {kT}, {{"targetOrigin", "origin"}}))}},
         {error("Aim Constraint Error: Cannot find float attribute of size 3 args.baseAimAxis")}},
        {"AimAxisZero",
         {{"t", placed(1, 0, 0)}, {"subject", subject(constraint("Aim", {kT}, aimArgs({0, 0, 0})))}},
         {error("Aim Constraint Error: Aim Axis or Up Axis is zero.")}},
        {"AimTargetUpZero",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Aim", {kT}, aimArgs({0, 0, -1}, {0, 1, 0}, {0, 0, 0})))}},
         {error("Aim Constraint Error: Target Up Axis is zero.")}},
        {"AimAtItself",
         {{"t", placed(0, 0, -5)}, {"subject", subject(constraint("Aim", {kT}, aimArgs()))}},
         {error("Aim Constraint Error: Base and target are at same location, nowhere to aim.")}},
        {"OrientZeroScaleBase",
         {{"t", placed(1, 0, 0)}, {"subject", orientOn(kT, {{"targetOrientation", "object"}}, true)}},
         {error("Orient Constraint Error: Orient constraint resolver: Imath detected zero scale in base "
                "matrix row")}},
        {"OrientEmptyOrientation",
         {{"t", placed(1, 0, 0)}, {"subject", orientOn(kT, Json::object())}},
         {error("Orient Constraint Error: Orient constraint resolver: empty args.targetOrientation.")}},
        {"OrientZeroScaleTarget",
         {{"t", node({{"type", "group"}, {"xform", {{"scale", triple(1, 0, 1)}}}})},
          {"subject", orientOn(kT, {{"targetOrientation", "object"}})}},
         {error("Orient Constraint Error: Orient constraint resolver: Imath detected zero scale in target "
                "matrix row")}},
        {"OrientFaceIndexMissing",
         {{"m", mesh()}, {"subject", orientOn(kM, {{"targetOrientation", "face"}})}},
         {error("Orient Constraint Error: Orient constraint resolver: empty args.targetFaceIndex.")}},
        {"OrientFaceIndexWithoutValue",
         {{"m", mesh()},
          {"subject", orientOn(kM, {{"targetOrientation", "face"}, {"targetFaceIndex", ints({})}})}},
         {error("Orient Constraint Error: Error getting int value from IntAttribute.")}},
        {"OrientFaceBeyondTheMesh",
         {{"m", mesh()},
          {"subject", orientOn(kM, {{"targetOrientation", "face"}, {"targetFaceIndex", ints({5})}})}},
         {error("Orient Constraint Error: Orient constraint resolver: Cannot get valid face 5. "
                "(/root/world/m).")}},
        {"OrientFaceOfAGroup",
         {{"t", placed(1, 0, 0)}, {"subject", orientOn(kT, face)}},
         {error("Orient Constraint Error: Orient constraint resolver: FaceIterator mesh has unsupport type: "
                "group.")}},
        {"OrientCollinearFace",
         {{"m", mesh({0, 0, 0, 1, 0, 0, 2, 0, 0})}, {"subject", orientOn(kM, face)}},
         {error("Orient Constraint Error: Orient constraint resolver: Error creating rotation from face "
                "points.")}},
        {"OrientUnknownOrientation",
         {{"t", placed(1, 0, 0)}, {"subject", orientOn(kT, {{"targetOrientation", "Object"}})}},
         {error("Orient Constraint Error: Orient constraint resolver: unknown targetOrientation 'Object'.")}},
        {"ScaleSingularBase",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Scale", {kT}, Json::object()), Json::object(), true)}},
         {error("Scale Constraint Error: Cannot invert singular matrix.")}},
        {"BillboardEmptyTargetOrigin",
         {{"t", placed(1, 0, 0)}, {"subject", subject(constraint("Billboard", {kT}, Json::object()))}},
         {error("Billboard Constraint Error: Billboard constraint resolver: empty args.targetOrigin.")}},
        {"BillboardAxisMissing",
         {{"t", placed(1, 0, 0)},
          {"subject",
           subject(constraint("Billboard", {kT},
                              {{"targetOrigin", "origin"}, {"baseAimAxis", floats({0, 0, 1}, 3)}}))}},
         {error("Billboard Constraint Error: Cannot find float attribute of size 3 args.baseRotateAxis")}},
        {"BillboardAxisZero",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Billboard", {kT}, billboardArgs({0, 0, 0})))}},
         {error("Billboard Constraint Error: Base aim or rotate axis is zero.")}},
        // Texts of the bound reader pass through as they are.
        {"BillboardTargetBoundMissing",
         {{"t", placed(1, 0, 0)},
          {"subject", subject(constraint("Billboard", {kT},
                                         [] {
                                             Json a = billboardArgs();
                                             a["targetOrigin"] = "boundingBox";
                                             return a;
                                         }()))}},
         {error("Billboard Constraint Error: Cannot get bounds attribute.")}},
        {"ReflectionFaceIndexMissing",
         {{"m", mesh()}, {"subject", subject(constraint("Reflection", {kM}, Json::object()))}},
         {error("Reflection Constraint Error: Reflection constraint resolver: empty args.targetFaceIndex.")}},
        {"ReflectionFaceIndexWithoutValue",
         {{"m", mesh()},
          {"subject", subject(constraint("Reflection", {kM}, {{"targetFaceIndex", ints({})}}))}},
         {error("Reflection Constraint Error: Error getting int value from IntAttribute.")}},
        {"ReflectionFaceBeyondTheMesh",
         {{"m", mesh()},
          {"subject", subject(constraint("Reflection", {kM}, {{"targetFaceIndex", ints({5})}}))}},
         {error("Reflection Constraint Error: Reflection constraint resolver: Cannot get valid face 5. "
                "(/root/world/m).")}},
        {"ReflectionTwoPointFace",
         {{"m", mesh({0, 0, 0, 1, 0, 0}, {0, 2}, {0, 1})},
          {"subject", subject(constraint("Reflection", {kM}, {{"targetFaceIndex", ints({0})}}))}},
         {error(
             "Reflection Constraint Error: Reflection constraint resolver: target has fewer than three plane "
             "points (/root/world/m).")}},
        {"ReflectionZeroWeight",
         {{"p", node({{"type", "nurbspatch"},
                      {"geometry", {{"point", {{"Pw", floats({0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 1}, 4)}}}}}})},
          {"subject", subject(constraint("Reflection", {"/root/world/p"}, Json::object()))}},
         {error("Reflection Constraint Error: Reflection constraint resolver: control point weight is zero "
                "(/root/world/p).")}},
        {"ReflectionSingularBase",
         {{"m", mesh()},
          {"subject",
           subject(constraint("Reflection", {kM}, {{"targetFaceIndex", ints({0})}}), Json::object(), true)}},
         {error("Reflection Constraint Error: Cannot invert singular matrix.")}},
    };
}

std::vector<Entry> cameraKinds() {
    const Json window = {{"distance", floats({5})}, {"planeType", "XY"}};
    auto screenWindowOn = [](const Json& target, const Json& args, bool zeroScale = false) {
        return Json{
            {"cam", target},
            {"subject", subject(constraint("CameraScreenWindow", {kCam}, args), Json::object(), zeroScale)}};
    };
    const Json pads = {{"pad", {{"near", floats({0})}, {"far", floats({0})}}}};
    auto onCamera = [](const std::string& type, const Json& args, double fov = 45,
                       const std::vector<double>& win = kWindow, const std::string& omit = "",
                       bool zeroScale = false) {
        return Json{
            {"box", box(0, 0, -10)},
            {"subject", constrainedCamera(constraint(type, {kBox}, args), fov, win, omit, zeroScale)}};
    };
    auto screenCoordinateOn = [](const Json& cam, double z = -5, bool zeroScale = false) {
        Json xform = {{"translate", triple(0, 0, z)}};
        if (zeroScale) {
            xform["scale"] = triple(0, 0, 0);
        }
        xform["constraint"] = constraint("ScreenCoordinate", {kCam}, Json::object());
        return Json{{"cam", cam}, {"subject", node({{"type", "group"}, {"xform", xform}})}};
    };
    const std::string sw = "CameraScreenWindow Constraint Error: CameraScreenWindow constraint resolver: ";
    const std::string sc = "ScreenCoordinate Constraint Error: ScreenCoordinate constraint resolver: ";
    return {
        {"ScreenWindowDistanceMissing",
         screenWindowOn(camera(), {{"planeType", "XY"}}),
         {error(sw + "empty args.distance.")}},
        {"ScreenWindowDistanceDouble",
         screenWindowOn(camera(), {{"distance", doubles({5})}, {"planeType", "XY"}}),
         {error(sw + "empty args.distance.")}},
        {"ScreenWindowDistanceWithoutValue",
         screenWindowOn(camera(), {{"distance", floats({})}, {"planeType", "XY"}}),
         {error("CameraScreenWindow Constraint Error: Error getting float value from FloatAttribute.")}},
        {"ScreenWindowPlaneTypeMissing",
         screenWindowOn(camera(), {{"distance", floats({5})}}),
         {error(sw + "empty args.planeType.")}},
        {"ScreenWindowNoWindow",
         screenWindowOn(camera(45, kWindow, "left"), window),
         {error(sw + "cannot get screen window geometry on target.")}},
        {"ScreenWindowNoFov",
         screenWindowOn(camera(45, kWindow, "fov"), window),
         {error(sw + "cannot get fov attribute on target.")}},
        {"ScreenWindowZeroScale",
         screenWindowOn(camera(), window, true),
         {error("CameraScreenWindow Constraint Error: Cannot remove zero scaling from matrix.")}},
        {"ClippingNearMissing",
         onCamera("Clipping", {{"pad", {{"far", floats({0})}}}}),
         {error("Clipping Constraint Error: Clipping constraint resolver: no args.pad.near.")}},
        {"ClippingFarMissing",
         onCamera("Clipping", {{"pad", {{"near", floats({0})}}}}),
         {error("Clipping Constraint Error: Clipping constraint resolver: no args.pad.far.")}},
        {"ClippingSingularCamera",
         onCamera("Clipping", pads, 45, kWindow, "", true),
         {error("Clipping Constraint Error: Cannot invert singular matrix.")}},
        {"ClippingTargetBoundMissing",
         {{"box", placed(0, 0, -10)}, {"subject", constrainedCamera(constraint("Clipping", {kBox}, pads))}},
         {error("Clipping Constraint Error: Cannot get bounds attribute.")}},
        {"DollyTargetBoundMissing",
         {{"box", placed(0, 0, -10)},
          {"subject", constrainedCamera(constraint("Dolly", {kBox}, {{"targetBounds", "box"}}))}},
         {error("Dolly Constraint Error: Cannot get bounds attribute.")}},
        {"FovTargetBoundMissing",
         {{"box", placed(0, 0, -10)},
          {"subject", constrainedCamera(constraint("FOV", {kBox}, {{"targetBounds", "sphere"}}))}},
         {error("FOV Constraint Error: Cannot get bounds attribute.")}},
        {"DollyBoundsMissing",
         onCamera("Dolly", Json::object()),
         {error("Dolly Constraint Error: Dolly constraint resolver: empty args.targetBounds.")}},
        {"DollyBoundsUnknown",
         onCamera("Dolly", {{"targetBounds", "Box"}}),
         {error("Dolly Constraint Error: Dolly constraint resolver: unsupported target bound type 'Box'. Use "
                "'sphere'' or 'box' target bound type instead")}},
        {"DollyNoWindow",
         onCamera("Dolly", {{"targetBounds", "box"}}, 45, kWindow, "top"),
         {error(
             "Dolly Constraint Error: Dolly constraint resolver: error getting screen window geometry from "
             "base location.")}},
        // A window value without a single number fails in the attribute's own getter.
        {"DollyEmptyWindowValue",
         {{"box", box(0, 0, -10)},
          {"subject",
           [] {
               Json cam = constrainedCamera(constraint("Dolly", {kBox}, {{"targetBounds", "box"}}));
               cam["attrs"]["geometry"]["left"] = doubles({});
               return cam;
           }()}},
         {error("Dolly Constraint Error: Error getting double value from DoubleAttribute.")}},
        {"DollyNoFov",
         onCamera("Dolly", {{"targetBounds", "box"}}, 45, kWindow, "fov"),
         {error("Dolly Constraint Error: Dolly constraint resolver: error getting fov from base location.")}},
        {"DollyOffsetTooLarge",
         onCamera("Dolly", {{"targetBounds", "box"}, {"angleOffset", floats({45})}}),
         {error("Dolly Constraint Error: Dolly constraint resolver: fov - angleOffset must be greater than "
                "zero.")}},
        {"DollyWindowBesideOrigin",
         onCamera("Dolly", {{"targetBounds", "box"}}, 45, {0.5, 1, -1, 1}),
         {error("Dolly Constraint Error: Dolly constraint resolver: Screen window must include origin")}},
        {"FovBoundsMissing",
         onCamera("FOV", Json::object()),
         {error("FOV Constraint Error: FOV constraint resolver: empty args.targetBounds.")}},
        {"FovBoundsUnknown",
         onCamera("FOV", {{"targetBounds", "Box"}}),
         {error("FOV Constraint Error: FOV constraint resolver: unsupported target bound type 'Box'. Use "
                "'sphere' or 'box' target bound type instead.")}},
        {"FovSingularCamera",
         onCamera("FOV", {{"targetBounds", "box"}}, 45, kWindow, "", true),
         {error("FOV Constraint Error: Cannot invert singular matrix.")}},
        {"FovNoWindow",
         onCamera("FOV", {{"targetBounds", "box"}}, 45, kWindow, "right"),
         {error(
             "FOV Constraint Error: FOV constraint resolver: error getting screen window geometry from base "
             "location.")}},
        {"FovWindowBesideOrigin",
         onCamera("FOV", {{"targetBounds", "box"}}, 45, {-1, 1, 0, 1}),
         {error("FOV Constraint Error: FOV constraint resolver: screen window must contain the origin.")}},
        {"FovTargetBehind",
         {{"box", box(0, 0, 10)},
          {"subject", constrainedCamera(constraint("FOV", {kBox}, {{"targetBounds", "box"}}))}},
         {error("FOV Constraint Error: FOV constraint resolver: target (/root/world/box) is not entirely in "
                "front "
                "of the camera.")}},
        {"FovOutOfRange",
         onCamera("FOV", {{"targetBounds", "box"}, {"angleOffset", floats({-90})}}),
         {error(
             "FOV Constraint Error: FOV constraint resolver: fov + angleOffset must be greater than zero and "
             "less than 180.")}},
        // A target that is a point on the view axis needs a fov of exactly 0.
        {"FovZero",
         {{"box", placed(0, 0, -10, {{"bound", doubles({0, 0, 0, 0, 0, 0})}})},
          {"subject", constrainedCamera(constraint("FOV", {kBox}, {{"targetBounds", "box"}}))}},
         {warning("FOV constraint resolver: resolved to FOV of 0.0.  Skipping.")}},
        {"ScreenCoordinateNoWindow",
         screenCoordinateOn(camera(45, kWindow, "bottom")),
         {error(sc + "cannot get screen window geometry on target.")}},
        {"ScreenCoordinateNoFov",
         screenCoordinateOn(camera(45, kWindow, "fov")),
         {error(sc + "cannot get fov attribute on target.")}},
        {"ScreenCoordinateFlatWindow",
         screenCoordinateOn(camera(45, {-1, 1, 0, 0})),
         {error(sc + "screen window of target has zero width or height.")}},
        {"ScreenCoordinateFovRange",
         screenCoordinateOn(camera(180)),
         {error(sc + "fov of target must be greater than 0 and less than 180.")}},
        {"ScreenCoordinateBehind",
         screenCoordinateOn(camera(), 5),
         {error(sc + "base z must be negative (a distance in front of the camera).")}},
        {"ScreenCoordinateSingularBase",
         screenCoordinateOn(camera(), -5, true),
         {error("ScreenCoordinate Constraint Error: Cannot invert singular matrix.")}},
    };
}

std::vector<Entry> ops() {
    auto op = [](const std::string& type, const Json& args, const std::string& location = "/root") {
        return opsBeforeResolve({{"type", type}, {"location", location}, {"args", args}});
    };
    const Json plain = {{"t", placed(1, 0, 0)}};
    const std::string edit = "ConstraintEdit: ";
    const std::string editAttrs = "ConstraintEditAttributes: ";
    const std::vector<std::string> none;
    return {
        {"ListEditWithoutMode",
         plain,
         {error("A valid 'mode' argument must be given, 'edit' or 'remove'", "/root/world")},
         op("ConstraintListEdit", {{"locationPaths", Json::array({kT})}}),
         none},
        {"ListEditWithoutPaths",
         plain,
         {error("A 'locationPaths' arg must be given.", "/root/world")},
         op("ConstraintListEdit", {{"mode", "add"}}),
         none},
        {"ListEditModeWithoutValue",
         plain,
         {error("ConstraintListEdit Op: Error getting string value from StringAttribute.", "/root/world")},
         op("ConstraintListEdit",
            {{"mode", {{"string", Json::array()}}}, {"locationPaths", Json::array({kT})}}),
         none},
        {"SetupListedWithoutValue",
         plain,
         {error("ConstraintSetup Op: Error getting int value from IntAttribute.", "/root/world")},
         op("ConstraintSetup",
            {{"constraints",
              {{"a",
                {{"baseLocationPath", kT},
                 {"addToConstraintList", ints({})},
                 {"constraintGroup", constraint("Point", {"/root/world/sentinelTarget"}, pointArgs())}}}}}}),
         none},
        {"SetupPrependWithoutValue",
         plain,
         {error("ConstraintSetup Op: Error getting int value from IntAttribute.", kT)},
         op("ConstraintSetup",
            {{"constraints",
              {{"a",
                {{"baseLocationPath", kT},
                 {"addToConstraintList", ints({0})},
                 {"prependConstraint", ints({})},
                 {"constraintGroup", constraint("Point", {"/root/world/sentinelTarget"}, pointArgs())}}}}}}),
         none},
        {"EditWithoutLocation",
         plain,
         {error(edit + "a 'locationPath' argument must be given.", "/root")},
         op("ConstraintEdit", {{"action", "addToConstraintList"}}),
         none},
        {"EditRelativeLocation",
         plain,
         {error(edit + "'locationPath' must be an absolute location path, not 'root/world/t'.", "/root")},
         op("ConstraintEdit", {{"locationPath", "root/world/t"}, {"action", "addToConstraintList"}}),
         none},
        {"EditWithoutAction",
         plain,
         {error(edit + "an 'action' argument must be given: 'createOrOverride', 'addToConstraintList' or "
                       "'removeFromConstraintList'.",
                "/root")},
         op("ConstraintEdit", {{"locationPath", kT}}),
         none},
        {"EditUnknownAction",
         plain,
         {error(edit +
                    "unsupported action 'create'; the actions are 'createOrOverride', 'addToConstraintList' "
                    "and 'removeFromConstraintList'.",
                "/root")},
         op("ConstraintEdit", {{"locationPath", kT}, {"action", "create"}}),
         none},
        {"EditWithoutType",
         plain,
         {error(edit + "a 'constraintType' argument must be given: 'Aim', 'Orient' or 'Point'.", "/root")},
         op("ConstraintEdit", {{"locationPath", kT}, {"action", "createOrOverride"}}),
         none},
        {"EditUnknownType",
         plain,
         {error(edit + "unsupported constraint type 'Scale'; the types are 'Aim', 'Orient' and 'Point'.",
                "/root")},
         op("ConstraintEdit",
            {{"locationPath", kT}, {"action", "createOrOverride"}, {"constraintType", "Scale"}}),
         none},
        {"EditSetAttrsNotAGroup",
         plain,
         {error(edit + "'setAttrs' must be a group of attributes.", "/root")},
         op("ConstraintEdit", {{"locationPath", kT},
                               {"action", "createOrOverride"},
                               {"constraintType", "Point"},
                               {"setAttrs", "x"}}),
         none},
        {"EditSetAttrsChangesType",
         plain,
         {error(edit + "'setAttrs' cannot change the constraint type ('Point'); choose the type with "
                       "'constraintType'.",
                "/root")},
         op("ConstraintEdit", {{"locationPath", kT},
                               {"action", "createOrOverride"},
                               {"constraintType", "Point"},
                               {"setAttrs", {{"type", "Aim"}}}}),
         none},
        {"EditAttributesWithoutLocation",
         plain,
         {error(editAttrs + "a 'locationPath' argument must be given.", "/root")},
         op("ConstraintEditAttributes", {{"constraintType", "Point"}}),
         none},
        {"EditAttributesRelativeLocation",
         plain,
         {error(editAttrs + "'locationPath' must be an absolute location path, not 't'.", "/root")},
         op("ConstraintEditAttributes", {{"locationPath", "t"}, {"constraintType", "Point"}}),
         none},
        {"EditAttributesWithoutType",
         plain,
         {error(editAttrs + "a 'constraintType' argument must be given: 'Aim', 'Orient' or 'Point'.",
                "/root")},
         op("ConstraintEditAttributes", {{"locationPath", kT}}),
         none},
        {"EditAttributesUnknownType",
         plain,
         {error(editAttrs + "unsupported constraint type 'aim'; the types are 'Aim', 'Orient' and 'Point'.",
                "/root")},
         op("ConstraintEditAttributes", {{"locationPath", kT}, {"constraintType", "aim"}}),
         none},
    };
}

// ---- checks ----

void runEntry(const Entry& entry) {
    SCOPED_TRACE(entry.name);
    // The healthy pair: a Point constraint that must still move "sentinel" onto its target.
    Json children = entry.world;
    children["sentinelTarget"] = placed(3, 4, 5);
    children["sentinel"] = subject(constraint("Point", {"/root/world/sentinelTarget"}, pointArgs()));
    std::vector<std::string> listed = entry.listed;
    listed.push_back("/root/world/sentinel");
    const Json ops = entry.ops.is_null() ? resolveOps() : entry.ops;
    const CookResult result =
        cook(sceneFile(children, ops, 0.0f, 0.0f, 1, {{"globals", {{"constraintList", listed}}}}));
    ASSERT_EQ(0, result.exitCode) << result.err;

    for (const Expected& e : entry.expected) {
        EXPECT_EQ(e.text, stringValue(result.scene, e.path, e.attribute)) << e.path << " " << e.attribute;
        if (e.attribute == "errorMessage") {
            EXPECT_EQ("error", stringValue(result.scene, e.path, "type")) << e.path;
        }
    }
    for (const std::string& path : locationPaths(result.scene)) {
        for (const char* attr : {"errorMessage", "warningMessage"}) {
            bool expected = false;
            for (const Expected& e : entry.expected) {
                expected = expected || (e.path == path && e.attribute == attr);
            }
            if (!expected) {
                EXPECT_EQ("", stringValue(result.scene, path, attr))
                    << path << " carries an unexpected " << attr;
            }
        }
    }
    // The sentinel sits at (0, 0, -5) and its target at (3, 4, 5): it must be moved by (3, 4, 10).
    const Imath::M44d sentinel = world(result.scene, "/root/world/sentinel");
    EXPECT_NEAR(3.0, sentinel[3][0], 1e-12);
    EXPECT_NEAR(4.0, sentinel[3][1], 1e-12);
    EXPECT_NEAR(5.0, sentinel[3][2], 1e-12);
}

void runAll(const std::vector<Entry>& entries) {
    for (const Entry& entry : entries) {
        runEntry(entry);
    }
}

TEST(FailureCatalogue, FrameworkTextsOnTheConstrainedLocation) {
    runAll(framework());
}

TEST(FailureCatalogue, TargetGeometryTexts) {
    runAll(targetGeometry());
}

TEST(FailureCatalogue, TransformConstraintTexts) {
    runAll(transformKinds());
}

TEST(FailureCatalogue, CameraConstraintTexts) {
    runAll(cameraKinds());
}

TEST(FailureCatalogue, OpTexts) {
    runAll(ops());
}

// Not provokable by a scene, since the framework gathers every sample time of base and targets and
// never runs a resolver without a target: "<Kind> constraint resolver: incorrect time samples for base
// xform" / "... for target xform", "... no target xform", "... no target location path", the
// "internal error" size checks of Aim and Billboard, "Incorrect time samples for xform (<path>).",
// "Cannot get bounds attribute <path>)." and "Error building attribute time samples are different
// sizes."; nor "<Op> Op: Unknown exception during op cook" (every op throws standard exceptions).

} // namespace
