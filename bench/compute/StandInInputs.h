// The inputs a resolver's compute step sees, prepared ahead from a generated scene with the host's
// transform model: world transforms per sample time, and a stand-in for the few scene queries some
// kinds make (bounds, camera attributes, mesh points) answered from the scene in memory.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/ConstraintTypes.h"
#include "constraints/resolve/ResolvedCache.h"
#include "host/scene/SceneTypes.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace VexilBench {

/// Every location of a scene by absolute path, with its world transform at any time.
class SceneIndex {
public:
    explicit SceneIndex(const VexilHost::SceneFile& scene);

    /// The attributes of `path` (invalid when it does not exist).
    Qn::GroupAttribute attrs(const std::string& path) const;
    /// The world transform of `path` at `time`, as the host's transform model gives it.
    Imath::M44d worldAt(const std::string& path, float time) const;
    /// The world-transform sample times of `path`.
    std::vector<float> worldTimes(const std::string& path) const;

    /// A cook handle and suite answering getAttr, doesLocationExist and getLocationType from this
    /// index (other entries are absent); the handle is this object.
    VexilCookHandle handle() const;
    static const VexilCookSuite* suite();

private:
    struct Entry {
        Qn::GroupAttribute attrs;
        std::vector<Qn::Attribute> xformChain; ///< "/root" first, down to the location
    };
    std::unordered_map<std::string, Entry> m_entries;
};

/// The resolved cache of a compute step without a host: attributes from the index, world transforms
/// precomputed per path and time.
class StandInCache : public Vexil3Constraints::Private::ResolvedCache {
public:
    explicit StandInCache(const SceneIndex& index) : m_index(index) {}

    Qn::Attribute getAttr(Qn::VexilCookInterface&, const std::string& locationPath,
                          const std::string& name) override;
    Vexil3Constraints::Private::XformSamples
    getWorldXform(Qn::VexilCookInterface&, const std::string& locationPath,
                  const Vexil3Constraints::Private::SampleTimes& times) override;
    Vexil3Constraints::Private::SampleTimes
    getWorldXformSampleTimes(Qn::VexilCookInterface&, const std::string& locationPath) override;

private:
    const SceneIndex& m_index;
};

} // namespace VexilBench
