#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"

#include <stdexcept>

namespace Qn {

namespace {

// A host that lacks an entry this client needs is a broken host: say which entry, never call null.
template <typename Fn> Fn entry(Fn fn, int number) {
    if (!fn) {
        throw std::runtime_error("The host's cook interface has no entry " + std::to_string(number) + ".");
    }
    return fn;
}

int32_t length(const std::string& text) {
    return static_cast<int32_t>(text.size());
}

std::string hostString(const char* text, int32_t textLength) {
    if (!text || textLength <= 0) {
        return std::string();
    }
    return std::string(text, static_cast<size_t>(textLength));
}

// Every query that may abort passes a flag byte cleared here; a set flag ends the cook. A handle the
// host returned anyway is adopted first so that it is released.
void throwIfAborted(uint8_t abortFlag) {
    if (abortFlag) {
        throw VexilCookInterface::QueryAbortException();
    }
}

} // namespace

VexilCookInterface::VexilCookInterface(VexilCookHandle handle, const VexilCookSuite* suite)
    : m_handle(handle), m_suite(suite) {
    if (!m_suite) {
        throw std::runtime_error("The host gave no cook interface.");
    }
}

int32_t VexilCookInterface::getNumInputs() const {
    return entry(m_suite->getNumInputs, 0)(m_handle);
}

int32_t VexilCookInterface::getCurrentInputIndex() const {
    return entry(m_suite->getCurrentInputIndex, 1)(m_handle);
}

std::string VexilCookInterface::getInputLocationPath() const {
    int32_t n = 0;
    const char* text = entry(m_suite->getInputLocationPath, 2)(m_handle, &n);
    return hostString(text, n);
}

std::string VexilCookInterface::getOutputLocationPath() const {
    int32_t n = 0;
    const char* text = entry(m_suite->getOutputLocationPath, 3)(m_handle, &n);
    return hostString(text, n);
}

std::string VexilCookInterface::getRootLocationPath() const {
    int32_t n = 0;
    const char* text = entry(m_suite->getRootLocationPath, 4)(m_handle, &n);
    return hostString(text, n);
}

bool VexilCookInterface::atRoot() const {
    return entry(m_suite->atRoot, 7)(m_handle) != 0;
}

std::string VexilCookInterface::getOpType() const {
    int32_t n = 0;
    const char* text = entry(m_suite->getOpType, 10)(m_handle, &n);
    return hostString(text, n);
}

Attribute VexilCookInterface::getOpArg(const std::string& name) const {
    return Attribute::adopt(entry(m_suite->getOpArg, 11)(m_handle, name.data(), length(name)));
}

void* VexilCookInterface::getPrivateData() const {
    return entry(m_suite->getPrivateData, 12)(m_handle);
}

void VexilCookInterface::prefetch(const std::string& locationPath, int32_t inputIndex) const {
    entry(m_suite->prefetch, 13)(m_handle, locationPath.data(), length(locationPath), inputIndex);
}

Attribute VexilCookInterface::getAttr(const std::string& name, const std::string& locationPath,
                                      int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    Attribute result =
        Attribute::adopt(entry(m_suite->getAttr, 14)(m_handle, name.data(), length(name), locationPath.data(),
                                                     length(locationPath), inputIndex, &abortFlag));
    throwIfAborted(abortFlag);
    return result;
}

bool VexilCookInterface::doesLocationExist(const std::string& locationPath, int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    const uint8_t exists = entry(m_suite->doesLocationExist, 15)(
        m_handle, locationPath.data(), length(locationPath), inputIndex, &abortFlag);
    throwIfAborted(abortFlag);
    return exists != 0;
}

StringAttribute VexilCookInterface::getPotentialChildren(const std::string& locationPath,
                                                         int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    Attribute result = Attribute::adopt(entry(m_suite->getPotentialChildren, 16)(
        m_handle, locationPath.data(), length(locationPath), inputIndex, &abortFlag));
    throwIfAborted(abortFlag);
    return StringAttribute(result);
}

GroupAttribute VexilCookInterface::getAllAttrs(const std::string& locationPath, int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    Attribute result = Attribute::adopt(entry(m_suite->getAllAttrs, 20)(
        m_handle, locationPath.data(), length(locationPath), inputIndex, &abortFlag));
    throwIfAborted(abortFlag);
    return GroupAttribute(result);
}

Attribute VexilCookInterface::getAttrWithFallback(const std::string& locationPath,
                                                  const std::string& fallbackPath,
                                                  const StringAttribute& namesPair,
                                                  int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    Attribute result = Attribute::adopt(entry(m_suite->getAttrWithFallback, 23)(
        m_handle, locationPath.data(), length(locationPath), fallbackPath.data(), length(fallbackPath),
        inputIndex, namesPair.getHandle(), &abortFlag));
    throwIfAborted(abortFlag);
    return result;
}

StringAttribute VexilCookInterface::getLocationType(const std::string& locationPath,
                                                    int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    Attribute result = Attribute::adopt(entry(m_suite->getLocationType, 27)(
        m_handle, locationPath.data(), length(locationPath), inputIndex, &abortFlag));
    throwIfAborted(abortFlag);
    return StringAttribute(result);
}

void VexilCookInterface::createChild(const std::string& name, const std::string& opType,
                                     const Attribute& opArgs, int32_t resetRecursive, void* privateData,
                                     VexilPrivateDataDeleter deleter) const {
    if (name.empty() || name.find('/') != std::string::npos) {
        throw std::runtime_error("createChild(): Invalid child name: \"" + name + "\"");
    }
    if (privateData && !deleter) {
        throw std::runtime_error("Private data provided for child without deletion method.");
    }
    entry(m_suite->createChild, 18)(m_handle, name.data(), length(name), opType.data(), length(opType),
                                    opArgs.getHandle(), resetRecursive, privateData, deleter);
}

void VexilCookInterface::setAttr(const std::string& name, const Attribute& attr, bool groupInherit) const {
    entry(m_suite->setAttr, 24)(m_handle, name.data(), length(name), attr.getHandle(), groupInherit ? 1 : 0);
}

void VexilCookInterface::deleteAttr(const std::string& name) const {
    entry(m_suite->deleteAttr, 25)(m_handle, name.data(), length(name));
}

void VexilCookInterface::replaceChildTraversalOp(const std::string& opType, const Attribute& opArgs,
                                                 void* privateData, VexilPrivateDataDeleter deleter) const {
    entry(m_suite->replaceChildTraversalOp, 26)(m_handle, opType.data(), length(opType), opArgs.getHandle(),
                                                privateData, deleter);
}

void VexilCookInterface::stopChildTraversal() const {
    entry(m_suite->stopChildTraversal, 28)(m_handle);
}

void VexilCookInterface::setAttrsAt(const std::string& locationPath, const GroupAttribute& attrs) const {
    entry(m_suite->setAttrsAt, 29)(m_handle, locationPath.data(), length(locationPath), attrs.getHandle());
}

void VexilCookInterface::copyAttr(const std::string& destName, const std::string& srcName, bool groupInherit,
                                  const std::string& srcLocationPath, int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    entry(m_suite->copyAttr, 30)(m_handle, destName.data(), length(destName), srcName.data(), length(srcName),
                                 groupInherit ? 1 : 0, srcLocationPath.data(), length(srcLocationPath),
                                 inputIndex, &abortFlag);
    throwIfAborted(abortFlag);
}

void VexilCookInterface::extendAttr(const std::string& name, const Attribute& attr,
                                    const std::string& srcName, bool groupInherit,
                                    const std::string& inputLocationPath, int32_t inputIndex) const {
    uint8_t abortFlag = 0;
    entry(m_suite->extendAttr, 31)(m_handle, name.data(), length(name), attr.getHandle(), srcName.data(),
                                   length(srcName), groupInherit ? 1 : 0, inputLocationPath.data(),
                                   length(inputLocationPath), inputIndex, &abortFlag);
    throwIfAborted(abortFlag);
}

} // namespace Qn
