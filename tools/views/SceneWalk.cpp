#include "tools/views/SceneWalk.h"

#include "host/engine/AttributeEdit.h"
#include "host/scene/ScenePaths.h"

#include <algorithm>
#include <memory>

namespace VexilHost {

namespace {

struct Frame {
    const SceneLocation* location = nullptr;
    std::string path;
    XformModel::Operations operations;
    size_t nextChild = 0;
};

std::unique_ptr<Frame> enter(const SceneLocation& location, std::string path) {
    auto frame = std::make_unique<Frame>();
    frame->location = &location;
    frame->path = std::move(path);
    frame->operations = XformModel::flatten(AttributeEdit::childNamed(location.attrs, "xform"));
    return frame;
}

} // namespace

void walkScene(
    const SceneLocation& root,
    const std::function<void(const std::string&, const SceneLocation&, const TransformChain&)>& visit) {
    std::vector<std::unique_ptr<Frame>> frames;
    TransformChain chain;
    frames.push_back(enter(root, "/root"));
    chain.push_back(&frames.back()->operations);
    visit(frames.back()->path, root, chain);
    while (!frames.empty()) {
        Frame& top = *frames.back();
        if (top.nextChild == top.location->children.size()) {
            frames.pop_back();
            chain.pop_back();
            continue;
        }
        const SceneLocation& child = top.location->children[top.nextChild++];
        frames.push_back(enter(child, top.path + "/" + child.name));
        chain.push_back(&frames.back()->operations);
        visit(frames.back()->path, child, chain);
    }
}

WorldSamples worldSamples(const TransformChain& chain) {
    WorldSamples samples;
    samples.times = XformModel::worldSampleTimes(chain);
    samples.matrices.reserve(samples.times.size());
    for (float time : samples.times) {
        samples.matrices.push_back(XformModel::worldAt(chain, time));
    }
    return samples;
}

bool worldSamplesOf(const SceneLocation& root, const std::string& path, WorldSamples& out) {
    const std::string rootPath = "/root";
    if (path.compare(0, rootPath.size(), rootPath) != 0 ||
        (path.size() > rootPath.size() && path[rootPath.size()] != '/')) {
        return false;
    }
    std::vector<XformModel::Operations> operations;
    const SceneLocation* location = &root;
    operations.push_back(XformModel::flatten(AttributeEdit::childNamed(root.attrs, "xform")));
    size_t start = rootPath.size() + 1;
    while (start <= path.size() && path.size() > rootPath.size()) {
        const size_t end = std::min(path.find('/', start), path.size());
        const std::string name = path.substr(start, end - start);
        const SceneLocation* child = findChild(*location, name);
        if (!child) {
            return false;
        }
        location = child;
        operations.push_back(XformModel::flatten(AttributeEdit::childNamed(child->attrs, "xform")));
        start = end + 1;
    }
    TransformChain chain;
    for (const XformModel::Operations& ops : operations) {
        chain.push_back(&ops);
    }
    out = worldSamples(chain);
    return true;
}

} // namespace VexilHost
