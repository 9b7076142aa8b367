#include "tools/gltf/FrameTransforms.h"

#include "host/xform/XformModel.h"
#include "hostapi/attribute/DataAttribute.h"

namespace VexilHost {
namespace Gltf {

namespace {

std::string text(const SceneLocation& location, const char* name) {
    const Qn::StringAttribute attr(location.attrs.getChildByName(name));
    return attr.isValid() ? attr.getValue(std::string(), false) : std::string();
}

} // namespace

FrameTransforms gatherFrame(const SceneLocation& cooked, double frame, const std::vector<float>& offsets) {
    FrameTransforms result;
    result.frame = frame;
    result.offsets = offsets;
    struct Pending {
        const SceneLocation* location;
        std::string path;
        std::size_t depth; // 0 for /root
        std::vector<Imath::M44d> parentWorld;
    };
    // Depth first without recursion, each location's world made from its parent's.
    std::vector<Pending> pending{{&cooked, "/root", 0, std::vector<Imath::M44d>(offsets.size())}};
    while (!pending.empty()) {
        Pending next = std::move(pending.back());
        pending.pop_back();
        const XformModel::Operations operations =
            XformModel::flatten(next.location->attrs.getChildByName("xform"));
        std::vector<Imath::M44d> world(offsets.size());
        LocationFrame frameOf;
        for (std::size_t i = 0; i < offsets.size(); ++i) {
            const XformModel::Local local = XformModel::localAt(operations, offsets[i]);
            world[i] = local.resetsParent ? local.matrix : local.matrix * next.parentWorld[i];
            if (next.depth == 2) {
                frameOf.local.push_back(world[i]);
            } else if (!local.resetsParent) {
                frameOf.local.push_back(local.matrix);
            } else {
                // An origin cut the parent off; a glTF node cannot, so it undoes its parent instead.
                frameOf.local.push_back(world[i] * next.parentWorld[i].inverse());
            }
        }
        if (next.depth >= 2) {
            const std::string type = text(*next.location, "type");
            frameOf.isCamera = type == "camera";
            if (frameOf.isCamera) {
                frameOf.lens = lensAt(next.location->attrs, offsets.front(), frameOf.lensAnimated);
            }
            if (type == "error") {
                frameOf.errorMessage = text(*next.location, "errorMessage");
            }
            frameOf.warningMessage = text(*next.location, "warningMessage");
            result.locations.emplace(next.path, std::move(frameOf));
        }
        // /root's other children are not part of the shot: only /root/world's subtree is written.
        for (auto child = next.location->children.rbegin(); child != next.location->children.rend();
             ++child) {
            if (next.depth == 0 && child->name != "world") {
                continue;
            }
            pending.push_back({&*child, next.path + "/" + child->name, next.depth + 1, world});
        }
    }
    return result;
}

} // namespace Gltf
} // namespace VexilHost
