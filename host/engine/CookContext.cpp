#include "host/engine/CookContext.h"

#include "host/engine/AttributeEdit.h"
#include "host/services/EntryFailure.h"
#include "hostapi/attribute/DataAttribute.h"

#include <tbb/task_arena.h>

#include <algorithm>

namespace VexilHost {

namespace {

std::string text(const char* data, int32_t length) {
    if (data == nullptr || length <= 0) {
        return std::string();
    }
    return std::string(data, static_cast<size_t>(length));
}

std::string_view view(const char* data, int32_t length) {
    if (data == nullptr || length <= 0) {
        return std::string_view();
    }
    return std::string_view(data, static_cast<size_t>(length));
}

const char* giveString(const std::string& value, int32_t* lengthOut) {
    if (lengthOut != nullptr) {
        *lengthOut = static_cast<int32_t>(value.size());
    }
    return value.c_str();
}

QnAttributeHandle give(Qn::Attribute attr) {
    return attr.releaseHandle();
}

bool validInput(int32_t inputIndex) {
    return inputIndex == -1 || inputIndex == 0;
}

// ---- the C entries: each forwards to the context; nothing may throw across them ----

CookContext& ctx(VexilCookHandle h) {
    return CookContext::from(h);
}

int32_t getNumInputs(VexilCookHandle) {
    return 1;
}

int32_t getCurrentInputIndex(VexilCookHandle) {
    return 0;
}

const char* getInputLocationPath(VexilCookHandle h, int32_t* lengthOut) {
    return giveString(ctx(h).path(), lengthOut);
}

const char* getOutputLocationPath(VexilCookHandle h, int32_t* lengthOut) {
    return giveString(ctx(h).path(), lengthOut);
}

const char* getRootLocationPath(VexilCookHandle h, int32_t* lengthOut) {
    return giveString(ctx(h).traversal().op->rootPath(), lengthOut);
}

uint8_t atRoot(VexilCookHandle h) {
    return ctx(h).traversal().atRoot ? 1 : 0;
}

const char* getOpType(VexilCookHandle h, int32_t* lengthOut) {
    return giveString(ctx(h).traversal().op->type(), lengthOut);
}

QnAttributeHandle getOpArg(VexilCookHandle h, const char* name, int32_t nameLength) {
    try {
        return give(ctx(h).opArg(view(name, nameLength)));
    } catch (...) {
        reportEntryFailure("getOpArg", h);
        return nullptr;
    }
}

void* getPrivateData(VexilCookHandle h) {
    return ctx(h).traversal().op->privateData();
}

void prefetch(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex) {
    try {
        ctx(h).prefetch(text(path, pathLength), inputIndex);
    } catch (...) {
        reportEntryFailure("prefetch", h);
    }
}

QnAttributeHandle getAttr(VexilCookHandle h, const char* name, int32_t nameLength, const char* path,
                          int32_t pathLength, int32_t inputIndex, uint8_t* abort) {
    try {
        Node node;
        if (!ctx(h).queryNode(path, pathLength, inputIndex, abort, node) || !node.exists()) {
            return nullptr;
        }
        return give(AttributeEdit::getDotted(node.attrs(), view(name, nameLength)));
    } catch (...) {
        reportEntryFailure("getAttr", h);
        return nullptr;
    }
}

uint8_t doesLocationExist(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                          uint8_t* abort) {
    try {
        if (ctx(h).knownToExist(path, pathLength, inputIndex, abort)) {
            return 1;
        }
        Node node;
        return ctx(h).queryNode(path, pathLength, inputIndex, abort, node) && node.exists() ? 1 : 0;
    } catch (...) {
        reportEntryFailure("doesLocationExist", h);
        return 0;
    }
}

QnAttributeHandle getPotentialChildren(VexilCookHandle h, const char* path, int32_t pathLength,
                                       int32_t inputIndex, uint8_t* abort) {
    try {
        Node node;
        if (!ctx(h).queryNode(path, pathLength, inputIndex, abort, node)) {
            return nullptr;
        }
        std::vector<std::string> names;
        for (size_t i = 0; i < node.numChildren(); ++i) {
            names.push_back(node.childName(i));
        }
        return give(Qn::StringAttribute(names));
    } catch (...) {
        reportEntryFailure("getPotentialChildren", h);
        return nullptr;
    }
}

void createChild(VexilCookHandle h, const char* name, int32_t nameLength, const char* opType,
                 int32_t opTypeLength, QnAttributeHandle opArgs, int32_t resetRecursive, void* privateData,
                 VexilPrivateDataDeleter deleter) {
    try {
        ctx(h).createChild(text(name, nameLength), text(opType, opTypeLength),
                           Qn::GroupAttribute(Qn::Attribute::share(opArgs)), resetRecursive, privateData,
                           deleter);
    } catch (...) {
        reportEntryFailure("createChild", h);
    }
}

QnAttributeHandle getAllAttrs(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                              uint8_t* abort) {
    try {
        Node node;
        if (!ctx(h).queryNode(path, pathLength, inputIndex, abort, node) || !node.exists()) {
            return nullptr;
        }
        return give(node.attrs());
    } catch (...) {
        reportEntryFailure("getAllAttrs", h);
        return nullptr;
    }
}

QnAttributeHandle getAttrWithFallback(VexilCookHandle h, const char* path, int32_t pathLength,
                                      const char* fallbackPath, int32_t fallbackLength, int32_t inputIndex,
                                      QnAttributeHandle namesPair, uint8_t* abort) {
    try {
        const std::vector<std::string> names =
            Qn::StringAttribute(Qn::Attribute::share(namesPair)).getNearestSampleStrings(0.0f);
        const std::pair<const char*, int32_t> places[2] = {{path, pathLength},
                                                           {fallbackPath, fallbackLength}};
        for (const auto& place : places) {
            Node node;
            if (!ctx(h).queryNode(place.first, place.second, inputIndex, abort, node)) {
                return nullptr;
            }
            if (!node.exists()) {
                continue;
            }
            for (size_t i = 0; i < names.size() && i < 2; ++i) {
                Qn::Attribute attr = AttributeEdit::getDotted(node.attrs(), names[i]);
                if (attr.isValid()) {
                    return give(attr);
                }
            }
        }
        return nullptr;
    } catch (...) {
        reportEntryFailure("getAttrWithFallback", h);
        return nullptr;
    }
}

void setAttr(VexilCookHandle h, const char* name, int32_t nameLength, QnAttributeHandle attr, uint8_t) {
    try {
        ctx(h).setAttr(text(name, nameLength), Qn::Attribute::share(attr));
    } catch (...) {
        reportEntryFailure("setAttr", h);
    }
}

void deleteAttr(VexilCookHandle h, const char* name, int32_t nameLength) {
    try {
        ctx(h).deleteAttr(text(name, nameLength));
    } catch (...) {
        reportEntryFailure("deleteAttr", h);
    }
}

void replaceChildTraversalOp(VexilCookHandle h, const char* opType, int32_t opTypeLength,
                             QnAttributeHandle opArgs, void* privateData, VexilPrivateDataDeleter deleter) {
    try {
        ctx(h).replaceChildTraversal(text(opType, opTypeLength),
                                     Qn::GroupAttribute(Qn::Attribute::share(opArgs)), privateData, deleter);
    } catch (...) {
        reportEntryFailure("replaceChildTraversalOp", h);
    }
}

QnAttributeHandle getLocationType(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                                  uint8_t* abort) {
    try {
        Node node;
        if (!ctx(h).queryNode(path, pathLength, inputIndex, abort, node) || !node.exists()) {
            return nullptr;
        }
        return give(AttributeEdit::childNamed(node.attrs(), "type"));
    } catch (...) {
        reportEntryFailure("getLocationType", h);
        return nullptr;
    }
}

void stopChildTraversal(VexilCookHandle h) {
    ctx(h).stopChildTraversal();
}

void setAttrsAt(VexilCookHandle h, const char* path, int32_t pathLength, QnAttributeHandle attrs) {
    try {
        CookContext& c = ctx(h);
        std::string where = text(path, pathLength);
        while (where.size() > 1 && where.back() == '/') {
            where.pop_back();
        }
        if (!where.empty() && where != c.path()) {
            return;
        }
        const Qn::GroupAttribute group(Qn::Attribute::share(attrs));
        const int64_t n = group.getNumberOfChildren();
        for (int64_t i = 0; i < n; ++i) {
            // Children are top-level attribute names, taken literally.
            const std::string childName = group.getChildName(i);
            if (!childName.empty()) {
                c.setAttr(childName, group.getChildByIndex(i));
            }
        }
    } catch (...) {
        reportEntryFailure("setAttrsAt", h);
    }
}

void copyAttr(VexilCookHandle h, const char* destName, int32_t destLength, const char* srcName,
              int32_t srcLength, uint8_t, const char* srcPath, int32_t srcPathLength, int32_t inputIndex,
              uint8_t* abort) {
    try {
        CookContext& c = ctx(h);
        Node node;
        if (!c.queryNode(srcPath, srcPathLength, inputIndex, abort, node)) {
            return;
        }
        const std::string dest = text(destName, destLength);
        const Qn::Attribute source = node.exists()
                                         ? AttributeEdit::getDotted(node.attrs(), view(srcName, srcLength))
                                         : Qn::Attribute();
        // Copying an absent attribute leaves the destination absent too.
        if (source.isValid()) {
            c.setAttr(dest, source);
        } else {
            c.deleteAttr(dest);
        }
    } catch (...) {
        reportEntryFailure("copyAttr", h);
    }
}

void extendAttr(VexilCookHandle h, const char* name, int32_t nameLength, QnAttributeHandle attr,
                const char* srcName, int32_t srcNameLength, uint8_t, const char* inputPath,
                int32_t inputPathLength, int32_t inputIndex, uint8_t* abort) {
    try {
        ctx(h).extendAttr(text(name, nameLength), Qn::Attribute::share(attr), text(srcName, srcNameLength),
                          inputPath, inputPathLength, inputIndex, abort);
    } catch (...) {
        reportEntryFailure("extendAttr", h);
    }
}

const VexilCookSuite kCookSuite = {
    /* 0 */ &getNumInputs,
    /* 1 */ &getCurrentInputIndex,
    /* 2 */ &getInputLocationPath,
    /* 3 */ &getOutputLocationPath,
    /* 4 */ &getRootLocationPath,
    /* 5 */ nullptr,
    /* 6 */ nullptr,
    /* 7 */ &atRoot,
    /* 8 */ nullptr,
    /* 9 */ nullptr,
    /* 10 */ &getOpType,
    /* 11 */ &getOpArg,
    /* 12 */ &getPrivateData,
    /* 13 */ &prefetch,
    /* 14 */ &getAttr,
    /* 15 */ &doesLocationExist,
    /* 16 */ &getPotentialChildren,
    /* 17 */ nullptr,
    /* 18 */ &createChild,
    /* 19 */ nullptr,
    /* 20 */ &getAllAttrs,
    /* 21 */ nullptr,
    /* 22 */ nullptr,
    /* 23 */ &getAttrWithFallback,
    /* 24 */ &setAttr,
    /* 25 */ &deleteAttr,
    /* 26 */ &replaceChildTraversalOp,
    /* 27 */ &getLocationType,
    /* 28 */ &stopChildTraversal,
    /* 29 */ &setAttrsAt,
    /* 30 */ &copyAttr,
    /* 31 */ &extendAttr,
};

} // namespace

CookContext::CookContext(StageGraph& graph, int stage, const std::string& path, const Traversal& traversal,
                         const Node& input)
    : m_graph(graph), m_stage(stage), m_path(path), m_traversal(traversal), m_input(input),
      m_childOp(traversal.childOp) {}

const VexilCookSuite* CookContext::suite() {
    return &kCookSuite;
}

CookContext::RunResult CookContext::run() {
    const OpInstance& op = *m_traversal.op;
    if (op.suite() == nullptr || op.suite()->cook == nullptr) {
        setError(op.type() + " Op: no op of this type is loaded");
        return RunResult::Finished;
    }
    uint8_t aborted = 0;
    try {
        // Isolated, so that a thread waiting inside an op's own parallel work never picks up another
        // location's cook that might need the one this thread is cooking.
        tbb::this_task_arena::isolate([&] {
            std::unique_lock<std::mutex> serial;
            if (op.serialLock() != nullptr) {
                serial = std::unique_lock<std::mutex>(*op.serialLock());
            }
            op.suite()->cook(handle(), &kCookSuite, &aborted);
        });
    } catch (...) {
        // The op's own wrapper should have caught it; the host must survive anyway.
        setError(op.type() + " Op: host caught an exception");
        return RunResult::Finished;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (aborted == 0 && !m_aborted) {
        return RunResult::Finished;
    }
    if (m_pending.empty()) {
        return RunResult::AbortedWithoutPending;
    }
    m_pending.insert(m_pending.end(), m_prefetched.begin(), m_prefetched.end());
    return RunResult::Aborted;
}

void CookContext::finish(CookedLocation& out) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_attrsMaterialised) {
        Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
        for (const auto& entry : m_attrs) {
            builder.set(entry.first, entry.second);
        }
        out.attrs = builder.build();
    } else if (!m_edits.empty()) {
        // The input's children in their order, each edit in place or after them: as materialised.
        Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
        const Qn::GroupAttribute input = m_input.exists() ? m_input.attrs() : Qn::GroupAttribute();
        if (input.isValid()) {
            builder.update(input);
        }
        for (const auto& edit : m_edits) {
            builder.set(edit.first, edit.second);
        }
        out.attrs = builder.build();
    } else if (m_input.exists()) {
        out.attrs = m_input.attrs();
    } else {
        Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
        out.attrs = builder.build();
    }
    out.ownNames = m_ownChildNames;
    if (m_ownChildNames) {
        out.childNames = std::move(m_childNames);
    } else {
        // Unchanged children are not copied: the record reads them where its input reads them, from the
        // record that made them or the input scene, never back through every op that kept them.
        out.namesOfInput = m_input.input;
        out.namesOfCooked = m_input.cooked;
        if (m_input.cooked != nullptr && !m_input.cooked->ownNames) {
            out.namesOfInput = m_input.cooked->namesOfInput;
            out.namesOfCooked = m_input.cooked->namesOfCooked;
        }
    }
    out.childOp = m_childOp;
    out.ownChildOp = std::move(m_ownChildOp);
    out.created = std::move(m_created);
}

void CookContext::setError(const std::string& message) {
    setAttr("type", Qn::StringAttribute("error"));
    setAttr("errorMessage", Qn::StringAttribute(message));
}

std::string_view CookContext::queriedPath(const char* path, int32_t length) const {
    std::string_view p = path != nullptr && length > 0 ? std::string_view(path, static_cast<size_t>(length))
                                                       : std::string_view();
    while (p.size() > 1 && p.back() == '/') {
        p.remove_suffix(1);
    }
    return p.empty() ? std::string_view(m_path) : p;
}

std::string CookContext::normalisedPath(const char* path, int32_t length) const {
    return std::string(queriedPath(path, length));
}

const XformModel::Operations& CookContext::ownXform() {
    m_ownXformGate.run([&] {
        if (m_input.exists()) {
            XformModel::flattenInto(AttributeEdit::childNamed(m_input.attrs(), "xform"), m_ownXform);
        }
    });
    return m_ownXform;
}

const std::vector<Node>& CookContext::ownChain() {
    m_ownChainGate.run([&] {
        const size_t slash = m_path.rfind('/');
        if (slash == 0 || slash == std::string::npos) {
            // "/root" itself: a walk is no cheaper than asking the graph.
            m_ownChain = m_graph.locateChain(m_stage - 1, m_path, false);
            return;
        }
        // The parent's walk is shared by every sibling; this location's own node on the input step is
        // the input the cook was given, so only the last step of the walk is skipped, never changed.
        m_ownChain = m_graph.locateChain(m_stage - 1, m_path.substr(0, slash));
        if (!m_ownChain.empty() && m_ownChain.back().exists()) {
            m_ownChain.push_back(m_input);
        }
    });
    return m_ownChain;
}

bool CookContext::markAborted(uint8_t* abort, const std::string& path) {
    *abort = 1;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!path.empty()) {
        m_pending.push_back({m_stage - 1, path});
    }
    m_aborted = true;
    return false;
}

bool CookContext::queryNode(const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort,
                            Node& out) {
    out = Node();
    if (!validInput(inputIndex)) {
        return false;
    }
    const std::string_view view = queriedPath(path, pathLength);
    if (view == m_path) {
        out = m_input; // the op's own input location is always cooked before the op runs
        return true;
    }
    const std::string p(view);
    const bool canAbort = m_graph.abortMode() && abort != nullptr;
    if (canAbort) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_aborted) {
                *abort = 1;
                return false;
            }
        }
        if (!m_graph.probe(m_stage - 1, p, out)) {
            return markAborted(abort, p);
        }
        return true;
    }
    out = m_graph.locate(m_stage - 1, p);
    return true;
}

StageGraph::WorldMemo* CookContext::findInputWorld(std::string_view path) {
    for (const std::atomic<StageGraph::WorldMemo*>& kept : m_lastWorlds) {
        StageGraph::WorldMemo* last = kept.load(std::memory_order_acquire);
        if (last != nullptr && last->path == path) {
            return last;
        }
    }
    StageGraph::WorldMemo* found = m_graph.findWorldMemo(inputStage(), path);
    if (found != nullptr) {
        const unsigned slot = m_nextLastWorld.fetch_add(1, std::memory_order_relaxed) % 2;
        m_lastWorlds[slot].store(found, std::memory_order_release);
    }
    return found;
}

bool CookContext::knownToExist(const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort) {
    if (!validInput(inputIndex)) {
        return false;
    }
    const std::string_view view = queriedPath(path, pathLength);
    if (view == m_path) {
        return false;
    }
    if (m_graph.abortMode() && abort != nullptr) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_aborted) {
            return false; // the graph's answer reports the abort
        }
    }
    // A memo is made only from the finished walk of an existing location.
    return findInputWorld(view) != nullptr;
}

bool CookContext::queryChain(const char* path, int32_t pathLength, int32_t inputIndex, uint8_t* abort,
                             std::vector<Node>& chain, std::vector<std::string>* paths) {
    chain.clear();
    if (paths != nullptr) {
        paths->clear();
    }
    if (!validInput(inputIndex)) {
        return false;
    }
    const std::string_view view = queriedPath(path, pathLength);
    const bool own = view == m_path;
    const bool canAbort = m_graph.abortMode() && abort != nullptr && !own;
    if (canAbort) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_aborted) {
                *abort = 1;
                return false;
            }
        }
        const std::string p(view);
        Node node;
        if (!m_graph.probe(m_stage - 1, p, node, &chain)) {
            chain.clear();
            return markAborted(abort, p);
        }
    } else if (own) {
        chain = ownChain();
    } else {
        chain = m_graph.locateChain(m_stage - 1, std::string(view));
    }
    if (paths == nullptr) {
        return true;
    }
    // The paths of the chain's nodes: "/root" and each longer prefix of `p` ending before a slash.
    for (size_t end = view.find('/', 1); paths->size() < chain.size(); end = view.find('/', end + 1)) {
        paths->emplace_back(view.substr(0, end == std::string_view::npos ? view.size() : end));
        if (end == std::string_view::npos) {
            break;
        }
    }
    return true;
}

Qn::Attribute CookContext::opArg(std::string_view name) const {
    const Qn::GroupAttribute& args = m_traversal.op->args();
    if (name.empty()) {
        return args;
    }
    return AttributeEdit::getDotted(args, name);
}

void CookContext::prefetch(const std::string& path, int32_t inputIndex) {
    if (!validInput(inputIndex)) {
        return;
    }
    std::string p = normalisedPath(path.data(), static_cast<int32_t>(path.size()));
    if (m_graph.abortMode()) {
        // Like a scheduling host: what was prefetched is cooked before the next attempt.
        std::lock_guard<std::mutex> lock(m_mutex);
        m_prefetched.push_back({m_stage - 1, std::move(p)});
        return;
    }
    m_graph.locate(m_stage - 1, p);
}

void CookContext::materialiseAttrs() {
    if (m_attrsMaterialised) {
        return;
    }
    m_attrsMaterialised = true;
    if (m_input.exists()) {
        const Qn::GroupAttribute attrs = m_input.attrs();
        const int64_t n = attrs.getNumberOfChildren();
        m_attrs.reserve(static_cast<size_t>(n) + m_edits.size());
        for (int64_t i = 0; i < n; ++i) {
            m_attrs.emplace_back(attrs.getChildName(i), attrs.getChildByIndex(i));
        }
    }
    std::vector<std::pair<std::string, Qn::Attribute>> edits;
    edits.swap(m_edits);
    for (auto& edit : edits) {
        setTopLevel(edit.first, edit.second);
    }
}

void CookContext::setAttr(const std::string& name, const Qn::Attribute& attr) {
    if (attr.isValid() && !name.empty() && name.find('.') == std::string::npos) {
        // A plain name, as nearly every op writes: its own only part, set without splitting it.
        std::lock_guard<std::mutex> lock(m_mutex);
        setTopLevel(name, attr);
        return;
    }
    const std::vector<std::string> parts = AttributeEdit::splitDotted(name);
    if (parts.empty()) {
        // An empty name with a group replaces every attribute of the location.
        if (attr.getType() != QN_ATTRIBUTE_TYPE_GROUP) {
            return;
        }
        const Qn::GroupAttribute group(attr);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_attrsMaterialised = true;
        m_attrs.clear();
        m_edits.clear();
        for (int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            m_attrs.emplace_back(group.getChildName(i), group.getChildByIndex(i));
        }
        return;
    }
    if (!attr.isValid()) {
        deleteAttr(name);
        return;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    if (parts.size() == 1) {
        setTopLevel(parts[0], attr);
        return;
    }
    materialiseAttrs();
    auto it =
        std::find_if(m_attrs.begin(), m_attrs.end(), [&](const auto& e) { return e.first == parts[0]; });
    const Qn::GroupAttribute existing(it == m_attrs.end() ? Qn::Attribute() : it->second);
    Qn::Attribute value =
        AttributeEdit::set(existing, std::vector<std::string>(parts.begin() + 1, parts.end()), attr);
    if (it == m_attrs.end()) {
        m_attrs.emplace_back(parts[0], std::move(value));
    } else {
        it->second = std::move(value);
    }
}

void CookContext::setTopLevel(const std::string& name, const Qn::Attribute& attr) {
    // Until something needs the whole output, a set is kept as an edit of the input.
    auto& target = m_attrsMaterialised ? m_attrs : m_edits;
    auto it = std::find_if(target.begin(), target.end(), [&](const auto& e) { return e.first == name; });
    if (it == target.end()) {
        target.emplace_back(name, attr);
    } else {
        it->second = attr;
    }
}

void CookContext::deleteAttr(const std::string& name) {
    const std::vector<std::string> parts = AttributeEdit::splitDotted(name);
    std::lock_guard<std::mutex> lock(m_mutex);
    materialiseAttrs();
    if (parts.empty()) {
        m_attrs.clear();
        return;
    }
    auto it =
        std::find_if(m_attrs.begin(), m_attrs.end(), [&](const auto& e) { return e.first == parts[0]; });
    if (it == m_attrs.end()) {
        return;
    }
    if (parts.size() == 1) {
        m_attrs.erase(it);
        return;
    }
    const Qn::GroupAttribute existing(it->second);
    if (existing.isValid()) {
        it->second =
            AttributeEdit::remove(existing, std::vector<std::string>(parts.begin() + 1, parts.end()));
    }
}

Qn::Attribute CookContext::outputAttr(const std::string& name) {
    const std::vector<std::string> parts = AttributeEdit::splitDotted(name);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_attrsMaterialised && !m_edits.empty()) {
        materialiseAttrs();
    }
    if (!m_attrsMaterialised) {
        return m_input.exists() ? AttributeEdit::get(m_input.attrs(), parts) : Qn::Attribute();
    }
    if (parts.empty()) {
        return Qn::Attribute();
    }
    auto it =
        std::find_if(m_attrs.begin(), m_attrs.end(), [&](const auto& e) { return e.first == parts[0]; });
    if (it == m_attrs.end()) {
        return Qn::Attribute();
    }
    return parts.size() == 1 ? it->second
                             : AttributeEdit::get(Qn::GroupAttribute(it->second),
                                                  std::vector<std::string>(parts.begin() + 1, parts.end()));
}

void CookContext::createChild(const std::string& name, const std::string& opType,
                              const Qn::GroupAttribute& args, int32_t mode, void* privateData,
                              VexilPrivateDataDeleter deleter) {
    if (name.empty() || name.find('/') != std::string::npos) {
        // Nothing is created; the private data handed over is still freed, exactly once.
        if (privateData != nullptr && deleter != nullptr) {
            deleter(privateData);
        }
        return;
    }
    if (mode != VEXIL_RESET_RECURSIVE_ON && mode != VEXIL_RESET_RECURSIVE_AUTO) {
        mode = VEXIL_RESET_RECURSIVE_NONE;
    }
    const std::string childPath = m_path + "/" + name;
    const std::string& root = mode == VEXIL_RESET_RECURSIVE_NONE ? m_traversal.op->rootPath() : childPath;
    OpInstancePtr instance = m_graph.makeInstance(m_stage, opType, args, root, privateData, deleter);
    OpInstancePtr replaced;
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = std::find_if(m_created.begin(), m_created.end(),
                           [&](const CreatedChild& c) { return c.name == name; });
    if (it != m_created.end()) {
        replaced = std::move(it->op); // a second createChild of one name replaces the first
        it->op = std::move(instance);
        it->mode = mode;
        return;
    }
    m_created.push_back({name, std::move(instance), mode});
    if (!m_ownChildNames) {
        m_ownChildNames = true;
        m_childNames.reserve(m_input.numChildren() + 1);
        for (size_t i = 0; i < m_input.numChildren(); ++i) {
            m_childNames.push_back(m_input.childName(i));
        }
    }
    if (std::find(m_childNames.begin(), m_childNames.end(), name) == m_childNames.end()) {
        m_childNames.push_back(name);
    }
}

void CookContext::replaceChildTraversal(const std::string& opType, const Qn::GroupAttribute& args,
                                        void* privateData, VexilPrivateDataDeleter deleter) {
    OpInstancePtr instance =
        m_graph.makeInstance(m_stage, opType, args, m_traversal.op->rootPath(), privateData, deleter);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_childOp = instance.get();
    m_ownChildOp.swap(instance); // the previous instance is released after the lock
}

void CookContext::stopChildTraversal() {
    OpInstancePtr previous;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_childOp = nullptr;
    m_ownChildOp.swap(previous);
}

bool CookContext::extendAttr(const std::string& name, const Qn::Attribute& extra,
                             const std::string& sourceName, const char* sourcePath, int32_t sourcePathLength,
                             int32_t inputIndex, uint8_t* abort) {
    const std::string source = sourceName.empty() ? name : sourceName;
    const std::string where = normalisedPath(sourcePath, sourcePathLength);
    Qn::Attribute base;
    if (where == m_path) {
        // This location: the output as the cook has left it so far, so that edits accumulate.
        base = outputAttr(source);
    } else {
        Node node;
        if (!queryNode(sourcePath, sourcePathLength, inputIndex, abort, node)) {
            return false;
        }
        if (node.exists()) {
            base = AttributeEdit::getDotted(node.attrs(), source);
        }
    }
    std::string error;
    const Qn::Attribute result = AttributeEdit::appendValues(base, extra, error);
    if (!error.empty()) {
        setError(m_traversal.op->type() + " Op: extendAttr(\"" + name + "\"): " + error);
        return true;
    }
    if (result.isValid()) {
        setAttr(name, result);
    }
    return true;
}

} // namespace VexilHost
