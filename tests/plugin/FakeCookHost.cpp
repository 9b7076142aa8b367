#include "tests/plugin/FakeCookHost.h"

#include <gtest/gtest.h>

#include <mutex>

namespace VexilTest {

namespace {

FakeCook& fake(VexilCookHandle h) {
    return *reinterpret_cast<FakeCook*>(h);
}

std::string text(const char* data, int32_t length) {
    return length > 0 ? std::string(data, static_cast<size_t>(length)) : std::string();
}

// Handles going out are new references owned by the caller.
QnAttributeHandle handOut(const Qn::Attribute& attr) {
    Qn::Attribute copy = attr;
    return copy.releaseHandle();
}

const char* outputPathEntry(VexilCookHandle h, int32_t* length) {
    *length = static_cast<int32_t>(fake(h).outputPath.size());
    return fake(h).outputPath.data();
}

uint8_t atRootEntry(VexilCookHandle h) {
    return fake(h).atRoot ? 1 : 0;
}

const char* opTypeEntry(VexilCookHandle h, int32_t* length) {
    *length = static_cast<int32_t>(fake(h).opType.size());
    return fake(h).opType.data();
}

QnAttributeHandle opArgEntry(VexilCookHandle h, const char* name, int32_t length) {
    const Qn::GroupAttribute& args = fake(h).opArgs;
    if (!args.isValid()) {
        return nullptr;
    }
    const std::string key = text(name, length);
    return handOut(key.empty() ? Qn::Attribute(args) : args.getChildByName(key));
}

QnAttributeHandle getAttrEntry(VexilCookHandle h, const char* name, int32_t nameLength, const char* path,
                               int32_t pathLength, int32_t inputIndex, uint8_t* abort) {
    FakeCook& cook = fake(h);
    std::string location = text(path, pathLength);
    if (location.empty()) {
        location = cook.outputPath;
    }
    cook.queries.push_back({text(name, nameLength), location, inputIndex});
    if (cook.abortQueries) {
        *abort = 1;
        return nullptr;
    }
    auto at = cook.input.find(location);
    if (at == cook.input.end()) {
        return nullptr;
    }
    auto attr = at->second.find(text(name, nameLength));
    return attr == at->second.end() ? nullptr : handOut(attr->second);
}

QnAttributeHandle locationTypeEntry(VexilCookHandle h, const char* path, int32_t pathLength,
                                    int32_t inputIndex, uint8_t* abort) {
    static const char kType[] = "type";
    return getAttrEntry(h, kType, 4, path, pathLength, inputIndex, abort);
}

uint8_t existsEntry(VexilCookHandle h, const char* path, int32_t pathLength, int32_t inputIndex,
                    uint8_t* abort) {
    FakeCook& cook = fake(h);
    cook.queries.push_back({"", text(path, pathLength), inputIndex});
    if (cook.abortQueries) {
        *abort = 1;
        return 0;
    }
    return cook.input.count(text(path, pathLength)) ? 1 : 0;
}

void createChildEntry(VexilCookHandle h, const char* name, int32_t nameLength, const char* opType,
                      int32_t opTypeLength, QnAttributeHandle opArgs, int32_t resetRecursive,
                      void* privateData, VexilPrivateDataDeleter) {
    HostCall call;
    call.kind = "createChild";
    call.name = text(name, nameLength);
    call.opType = text(opType, opTypeLength);
    call.attr = Qn::Attribute::share(opArgs);
    call.resetRecursive = resetRecursive;
    call.privateData = privateData;
    fake(h).calls.push_back(call);
}

void setAttrEntry(VexilCookHandle h, const char* name, int32_t nameLength, QnAttributeHandle attr,
                  uint8_t groupInherit) {
    HostCall call;
    call.kind = "setAttr";
    call.name = text(name, nameLength);
    call.attr = Qn::Attribute::share(attr);
    call.groupInherit = groupInherit;
    fake(h).calls.push_back(call);
}

void deleteAttrEntry(VexilCookHandle h, const char* name, int32_t nameLength) {
    HostCall call;
    call.kind = "deleteAttr";
    call.name = text(name, nameLength);
    fake(h).calls.push_back(call);
}

void* privateDataEntry(VexilCookHandle h) {
    return fake(h).privateData;
}

void replaceChildTraversalEntry(VexilCookHandle h, const char* opType, int32_t opTypeLength,
                                QnAttributeHandle opArgs, void* privateData,
                                VexilPrivateDataDeleter deleter) {
    HostCall call;
    call.kind = "replaceChildTraversalOp";
    call.opType = text(opType, opTypeLength);
    call.attr = Qn::Attribute::share(opArgs);
    call.privateData = privateData;
    FakeCook& cook = fake(h);
    cook.calls.push_back(call);
    if (privateData != nullptr && deleter != nullptr) {
        cook.handedOver.emplace_back(privateData, deleter);
    }
}

void stopEntry(VexilCookHandle h) {
    HostCall call;
    call.kind = "stopChildTraversal";
    fake(h).calls.push_back(call);
}

void extendAttrEntry(VexilCookHandle h, const char* name, int32_t nameLength, QnAttributeHandle attr,
                     const char* srcName, int32_t srcNameLength, uint8_t groupInherit, const char* inputPath,
                     int32_t inputPathLength, int32_t inputIndex, uint8_t* abort) {
    FakeCook& cook = fake(h);
    if (cook.abortQueries) {
        *abort = 1;
        return;
    }
    HostCall call;
    call.kind = "extendAttr";
    call.name = text(name, nameLength);
    call.attr = Qn::Attribute::share(attr);
    call.groupInherit = groupInherit;
    call.srcName = text(srcName, srcNameLength);
    call.inputPath = text(inputPath, inputPathLength);
    call.inputIndex = inputIndex;
    cook.calls.push_back(call);
}

} // namespace

void ensureAttributeSuite() {
    static std::once_flag once;
    static bool loaded = false;
    std::call_once(once, [] { loaded = Qn::Attribute::loadSuite(VEXIL_TEST_BUILD_DIR); });
    ASSERT_TRUE(loaded) << "cannot load " << VEXIL_TEST_BUILD_DIR << "/bin/libQnAttributeHost.so";
}

const VexilCookSuite* FakeCook::suite() {
    static const VexilCookSuite table = [] {
        VexilCookSuite s{};
        s.getOutputLocationPath = &outputPathEntry;
        s.atRoot = &atRootEntry;
        s.getOpType = &opTypeEntry;
        s.getOpArg = &opArgEntry;
        s.getAttr = &getAttrEntry;
        s.getLocationType = &locationTypeEntry;
        s.doesLocationExist = &existsEntry;
        s.createChild = &createChildEntry;
        s.setAttr = &setAttrEntry;
        s.deleteAttr = &deleteAttrEntry;
        s.stopChildTraversal = &stopEntry;
        s.getPrivateData = &privateDataEntry;
        s.replaceChildTraversalOp = &replaceChildTraversalEntry;
        s.extendAttr = &extendAttrEntry;
        return s;
    }();
    return &table;
}

uint8_t FakeCook::cookWith(const VexilOpSuite& opSuite) {
    uint8_t aborted = 7; // the wrapper must clear it
    opSuite.cook(handle(), suite(), &aborted);
    return aborted;
}

Qn::Attribute FakeCook::output(const std::string& name) const {
    Qn::Attribute value;
    auto at = input.find(outputPath);
    if (at != input.end() && at->second.count(name)) {
        value = at->second.at(name);
    }
    for (const HostCall& call : calls) {
        if (call.name != name) {
            continue;
        }
        if (call.kind == "setAttr") {
            value = call.attr;
        } else if (call.kind == "deleteAttr") {
            value = Qn::Attribute();
        } else if (call.kind == "extendAttr") {
            std::vector<std::string> joined = strings(value);
            for (const std::string& s : strings(call.attr)) {
                joined.push_back(s);
            }
            value = Qn::StringAttribute(joined);
        }
    }
    return value;
}

std::vector<std::string> FakeCook::callLog() const {
    std::vector<std::string> log;
    for (const HostCall& call : calls) {
        log.push_back(call.name.empty() ? call.kind : call.kind + ":" + call.name);
    }
    return log;
}

bool FakeCook::stopped() const {
    for (const HostCall& call : calls) {
        if (call.kind == "stopChildTraversal") {
            return true;
        }
    }
    return false;
}

void FakeCook::addMesh(const std::string& path, const std::vector<float>& points,
                       const std::vector<int32_t>& startIndex, const std::vector<int32_t>& vertexList,
                       const std::string& type) {
    auto& location = input[path];
    location["type"] = Qn::StringAttribute(type);
    location["geometry.point.P"] = Qn::FloatAttribute(points, 3);
    location["geometry.poly.startIndex"] = Qn::IntAttribute(startIndex);
    location["geometry.poly.vertexList"] = Qn::IntAttribute(vertexList);
}

void FakeCook::addFaceSet(const std::string& path, const std::vector<int32_t>& faces) {
    auto& location = input[path];
    location["type"] = Qn::StringAttribute("faceset");
    location["geometry.faces"] = Qn::IntAttribute(faces);
}

std::vector<std::string> strings(const Qn::Attribute& attr) {
    return Qn::StringAttribute(attr).getNearestSampleStrings(0.0f);
}

std::string string(const Qn::Attribute& attr) {
    return Qn::StringAttribute(attr).getValue(std::string(), false);
}

Qn::GroupAttribute group(const std::vector<std::pair<std::string, Qn::Attribute>>& children) {
    Qn::GroupBuilder builder;
    for (const auto& child : children) {
        builder.set(child.first, child.second);
    }
    return builder.build();
}

Qn::IntAttribute emptyInt() {
    return Qn::IntAttribute(static_cast<const int32_t*>(nullptr), 0);
}

} // namespace VexilTest
