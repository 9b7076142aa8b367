#include "tests/geometry/StandInCook.h"

namespace GeometryTests {

namespace {

StandInCook& cookOf(VexilCookHandle handle) {
    return *reinterpret_cast<StandInCook*>(handle);
}

// A new reference for the caller, as the host hands out.
QnAttributeHandle handOut(const Qn::Attribute& attr) {
    Qn::Attribute copy(attr);
    return copy.releaseHandle();
}

QnAttributeHandle lookUp(StandInCook& cook, const std::string& name, const std::string& path,
                         uint8_t* abort) {
    cook.queries.push_back(name + "@" + path);
    if (cook.abortQueries) {
        *abort = 1;
        return nullptr;
    }
    const auto location = cook.scene.find(path);
    if (location == cook.scene.end())
        return nullptr;
    const auto attr = location->second.find(name);
    return attr == location->second.end() ? nullptr : handOut(attr->second);
}

QnAttributeHandle getAttr(VexilCookHandle h, const char* name, int32_t nameLength, const char* path,
                          int32_t pathLength, int32_t, uint8_t* abort) {
    return lookUp(cookOf(h), std::string(name, nameLength), std::string(path, pathLength), abort);
}

QnAttributeHandle getLocationType(VexilCookHandle h, const char* path, int32_t pathLength, int32_t,
                                  uint8_t* abort) {
    return lookUp(cookOf(h), "type", std::string(path, pathLength), abort);
}

const VexilCookSuite* standInSuite() {
    static const VexilCookSuite suite = [] {
        VexilCookSuite s{};
        s.getAttr = &getAttr;
        s.getLocationType = &getLocationType;
        return s;
    }();
    return &suite;
}

} // namespace

bool loadAttributeSuite() {
    static const bool loaded = Qn::Attribute::loadSuite(VEXIL_BUILD_DIR);
    return loaded;
}

Qn::VexilCookInterface StandInCook::cookInterface() {
    return Qn::VexilCookInterface(reinterpret_cast<VexilCookHandle>(this), standInSuite());
}

void StandInCook::addMesh(const std::string& path, const std::vector<float>& points,
                          const std::vector<int32_t>& startIndex, const std::vector<int32_t>& vertexList,
                          const std::string& type) {
    auto& location = scene[path];
    location["type"] = Qn::StringAttribute(type);
    location["geometry.point.P"] = Qn::FloatAttribute(points, 3);
    location["geometry.poly.startIndex"] = Qn::IntAttribute(startIndex);
    location["geometry.poly.vertexList"] = Qn::IntAttribute(vertexList);
}

void StandInCook::addFaceSet(const std::string& path, const std::vector<int32_t>& faces) {
    auto& location = scene[path];
    location["type"] = Qn::StringAttribute("faceset");
    location["geometry.faces"] = Qn::IntAttribute(faces);
}

} // namespace GeometryTests
