#include "host/xform/WorldTransforms.h"

#include "host/engine/AttributeEdit.h"
#include "host/xform/XformModel.h"
#include "hostapi/attribute/DataAttribute.h"

#include <tbb/parallel_for.h>

namespace VexilHost {

namespace {

void addWorld(SceneLocation& location, std::vector<const XformModel::Operations*> chain) {
    const XformModel::Operations own =
        XformModel::flatten(AttributeEdit::childNamed(location.attrs, "xform"));
    chain.push_back(&own);
    const std::vector<float> times = XformModel::worldSampleTimes(chain);
    std::vector<Imath::M44d> matrices;
    std::vector<const double*> pointers;
    matrices.reserve(times.size());
    for (float t : times) {
        matrices.push_back(XformModel::worldAt(chain, t));
        pointers.push_back(matrices.back().getValue());
    }
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    if (location.attrs.isValid()) {
        builder.update(location.attrs);
    }
    builder.set("world", Qn::DoubleAttribute(times.data(), static_cast<int64_t>(times.size()),
                                             pointers.data(), 16, 16));
    location.attrs = builder.build();
    tbb::parallel_for(size_t(0), location.children.size(),
                      [&](size_t i) { addWorld(location.children[i], chain); });
}

} // namespace

void addWorldAttributes(SceneLocation& root, const std::vector<Qn::Attribute>& ancestorXforms) {
    std::vector<XformModel::Operations> ancestors;
    ancestors.reserve(ancestorXforms.size());
    for (const Qn::Attribute& xform : ancestorXforms) {
        ancestors.push_back(XformModel::flatten(xform));
    }
    std::vector<const XformModel::Operations*> chain;
    for (const auto& ops : ancestors) {
        chain.push_back(&ops);
    }
    addWorld(root, chain);
}

} // namespace VexilHost
