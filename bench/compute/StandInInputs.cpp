#include "bench/compute/StandInInputs.h"

#include "host/xform/XformModel.h"
#include "hostapi/attribute/DataAttribute.h"

namespace VexilBench {

namespace {

using VexilHost::SceneLocation;
namespace XformModel = VexilHost::XformModel;

const SceneIndex& index(VexilCookHandle h) {
    return *reinterpret_cast<const SceneIndex*>(h);
}

std::string text(const char* data, int32_t length) {
    return data && length > 0 ? std::string(data, static_cast<size_t>(length)) : std::string();
}

QnAttributeHandle getAttr(VexilCookHandle h, const char* name, int32_t nameLength, const char* path,
                          int32_t pathLength, int32_t, uint8_t*) {
    return index(h).attrs(text(path, pathLength)).getChildByName(text(name, nameLength)).releaseHandle();
}

uint8_t doesLocationExist(VexilCookHandle h, const char* path, int32_t pathLength, int32_t, uint8_t*) {
    return index(h).attrs(text(path, pathLength)).isValid() ? 1 : 0;
}

QnAttributeHandle getLocationType(VexilCookHandle h, const char* path, int32_t pathLength, int32_t,
                                  uint8_t*) {
    return index(h).attrs(text(path, pathLength)).getChildByName("type").releaseHandle();
}

VexilCookSuite makeSuite() {
    VexilCookSuite suite{};
    suite.getAttr = &getAttr;
    suite.doesLocationExist = &doesLocationExist;
    suite.getLocationType = &getLocationType;
    return suite;
}

std::vector<const XformModel::Operations*> pointers(const std::vector<XformModel::Operations>& chain) {
    std::vector<const XformModel::Operations*> out;
    for (const auto& ops : chain) {
        out.push_back(&ops);
    }
    return out;
}

std::vector<XformModel::Operations> flattened(const std::vector<Qn::Attribute>& xforms) {
    std::vector<XformModel::Operations> chain;
    for (const Qn::Attribute& xform : xforms) {
        chain.push_back(XformModel::flatten(xform));
    }
    return chain;
}

} // namespace

SceneIndex::SceneIndex(const VexilHost::SceneFile& scene) {
    struct Walker {
        std::unordered_map<std::string, Entry>& entries;
        void walk(const SceneLocation& location, const std::string& path, std::vector<Qn::Attribute> chain) {
            chain.push_back(location.attrs.getChildByName("xform"));
            entries[path] = Entry{location.attrs, chain};
            for (const SceneLocation& child : location.children) {
                walk(child, path + "/" + child.name, chain);
            }
        }
    };
    Walker{m_entries}.walk(scene.root, "/root", {});
}

Qn::GroupAttribute SceneIndex::attrs(const std::string& path) const {
    auto it = m_entries.find(path);
    return it == m_entries.end() ? Qn::GroupAttribute() : it->second.attrs;
}

Imath::M44d SceneIndex::worldAt(const std::string& path, float time) const {
    const auto chain = flattened(m_entries.at(path).xformChain);
    return XformModel::worldAt(pointers(chain), time);
}

std::vector<float> SceneIndex::worldTimes(const std::string& path) const {
    const auto chain = flattened(m_entries.at(path).xformChain);
    return XformModel::worldSampleTimes(pointers(chain));
}

VexilCookHandle SceneIndex::handle() const {
    return reinterpret_cast<VexilCookHandle>(const_cast<SceneIndex*>(this));
}

const VexilCookSuite* SceneIndex::suite() {
    static const VexilCookSuite suite = makeSuite();
    return &suite;
}

Qn::Attribute StandInCache::getAttr(Qn::VexilCookInterface&, const std::string& locationPath,
                                    const std::string& name) {
    return m_index.attrs(locationPath).getChildByName(name);
}

Vexil3Constraints::Private::XformSamples
StandInCache::getWorldXform(Qn::VexilCookInterface&, const std::string& locationPath,
                            const Vexil3Constraints::Private::SampleTimes& times) {
    Vexil3Constraints::Private::XformSamples samples;
    for (float t : times) {
        samples.emplace(t, m_index.worldAt(locationPath, t));
    }
    return samples;
}

Vexil3Constraints::Private::SampleTimes
StandInCache::getWorldXformSampleTimes(Qn::VexilCookInterface&, const std::string& locationPath) {
    const std::vector<float> times = m_index.worldTimes(locationPath);
    return Vexil3Constraints::Private::SampleTimes(times.begin(), times.end());
}

} // namespace VexilBench
