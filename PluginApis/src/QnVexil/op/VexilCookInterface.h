// The client over the host's cook-interface function table: what an op sees of the location being
// cooked, its inputs and its op arguments.
#pragma once

#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <vexil/VexilOp.h>

#include <cstdint>
#include <string>

namespace Qn {

/// One cook of one location: wraps the host's cook handle and cook suite. Lives only during the cook
/// it was made for; passed by reference and never kept. Holds no mutable state of its own.
class VexilCookInterface {
public:
    /// Thrown when the host answers a query with its abort flag set: the queried location is not
    /// ready yet. Ops never catch it; the op wrapper turns it into the host's abort flag. Not derived
    /// from std::exception so that handlers of ordinary errors do not swallow it.
    class QueryAbortException {};

    /// Wraps a host cook handle and the host's cook suite (both borrowed).
    VexilCookInterface(VexilCookHandle handle, const VexilCookSuite* suite);

    VexilCookHandle getHandle() const { return m_handle; }
    const VexilCookSuite* getSuite() const { return m_suite; }

    /// The number of inputs of the op.
    int32_t getNumInputs() const;
    /// The index of the op's current (default) input.
    int32_t getCurrentInputIndex() const;
    /// The absolute path of the location on the input that corresponds to the cooked one.
    std::string getInputLocationPath() const;
    /// The absolute path of the location being cooked.
    std::string getOutputLocationPath() const;
    /// The absolute path of the location at which the op's traversal started.
    std::string getRootLocationPath() const;
    /// True when this cook runs at the root of the op's traversal.
    bool atRoot() const;
    /// The op type name of the op being cooked ("ConstraintSetup").
    std::string getOpType() const;
    /// The op argument at a dotted path; null when absent.
    Attribute getOpArg(const std::string& name = std::string()) const;
    /// The private data the host keeps for this op's traversal, or null.
    void* getPrivateData() const;

    /// Asks the host to start cooking a location that will be queried later; never aborts.
    void prefetch(const std::string& locationPath = std::string(), int32_t inputIndex = -1) const;
    /// An attribute (dotted name) of a location on an input; null when absent. May abort.
    Attribute getAttr(const std::string& name, const std::string& locationPath = std::string(),
                      int32_t inputIndex = -1) const;
    /// Whether a location exists on an input. May abort.
    bool doesLocationExist(const std::string& locationPath = std::string(), int32_t inputIndex = -1) const;
    /// The names of a location's children on an input; null unless the host returns a string
    /// attribute. May abort.
    StringAttribute getPotentialChildren(const std::string& locationPath = std::string(),
                                         int32_t inputIndex = -1) const;
    /// Every attribute of a location on an input as one group; null when it does not exist. May abort.
    GroupAttribute getAllAttrs(const std::string& locationPath = std::string(),
                               int32_t inputIndex = -1) const;
    /// The first of the two names in `namesPair` that the location at `locationPath` has, looked up
    /// there and, failing that, at `fallbackPath`; null when neither has one. May abort.
    Attribute getAttrWithFallback(const std::string& locationPath, const std::string& fallbackPath,
                                  const StringAttribute& namesPair, int32_t inputIndex = -1) const;
    /// The location type (its `type` attribute) of a location on an input, or null. May abort.
    StringAttribute getLocationType(const std::string& locationPath = std::string(),
                                    int32_t inputIndex = -1) const;

    /// Creates a child of the cooked location cooked by op `opType` with `opArgs`. Throws
    /// std::runtime_error, before the host is called, for an empty name or one containing a slash,
    /// and for private data without a deletion function.
    void createChild(const std::string& name, const std::string& opType,
                     const Attribute& opArgs = Attribute(),
                     int32_t resetRecursive = VEXIL_RESET_RECURSIVE_NONE, void* privateData = nullptr,
                     VexilPrivateDataDeleter deleter = nullptr) const;
    /// Sets an attribute (dotted name) of the cooked location; `groupInherit` is handed on as is.
    void setAttr(const std::string& name, const Attribute& attr, bool groupInherit = true) const;
    /// Deletes an attribute (dotted name) of the cooked location.
    void deleteAttr(const std::string& name) const;
    /// Hands the cooking of the cooked location's children to a new instance of `opType`; the host
    /// owns `privateData` from now on and frees it with `deleter`.
    void replaceChildTraversalOp(const std::string& opType, const Attribute& opArgs,
                                 void* privateData = nullptr,
                                 VexilPrivateDataDeleter deleter = nullptr) const;
    /// Stops the traversal below the cooked location: the op is not cooked at its children.
    void stopChildTraversal() const;
    /// Sets every child of `attrs` as an attribute of the cooked location (`locationPath` must be it).
    void setAttrsAt(const std::string& locationPath, const GroupAttribute& attrs) const;
    /// Copies attribute `srcName` of a location on an input to `destName` of the cooked location.
    /// May abort.
    void copyAttr(const std::string& destName, const std::string& srcName, bool groupInherit = true,
                  const std::string& srcLocationPath = std::string(), int32_t inputIndex = -1) const;
    /// Appends the values of `attr` to the array attribute `name` of the cooked location (read from
    /// `srcName` at `inputLocationPath`; empty means the same name and this location), creating it
    /// when absent. May abort.
    void extendAttr(const std::string& name, const Attribute& attr,
                    const std::string& srcName = std::string(), bool groupInherit = true,
                    const std::string& inputLocationPath = std::string(), int32_t inputIndex = -1) const;

private:
    VexilCookHandle m_handle;
    const VexilCookSuite* m_suite;
};

} // namespace Qn
