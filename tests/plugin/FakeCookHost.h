// A stand-in for the host's cook interface: one FakeCook per cooked location, with the input scene's
// attributes, the op arguments, and a log of everything the op asked the host to do.
#pragma once

#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include "tests/support/ThrownMessage.h"

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"

#include <vexil/VexilOp.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace VexilTest {

/// Loads the build's attribute host library once; fails the calling test when it cannot.
void ensureAttributeSuite();

/// One request the op made of the host, in call order.
struct HostCall {
    /// "setAttr", "deleteAttr", "extendAttr", "stopChildTraversal", "createChild", "replaceChildTraversalOp"
    std::string kind;
    std::string name;   ///< attribute or child name
    Qn::Attribute attr; ///< the attribute handed over (setAttr, extendAttr) or the op args (createChild)
    int groupInherit = -1;
    std::string srcName;   ///< extendAttr
    std::string inputPath; ///< extendAttr
    int inputIndex = 0;    ///< extendAttr
    std::string opType;    ///< createChild, replaceChildTraversalOp
    int resetRecursive = -1;
    void* privateData = nullptr;
};

/// A query the op made of the host's scene.
struct HostQuery {
    std::string name;
    std::string path;
    int inputIndex = 0;
};

/// The cook of one location. The handle handed to the op is the object's address. It also stands in
/// for the host's cook table in tests of code that queries other locations (target origins, faces).
class FakeCook {
public:
    std::string outputPath = "/root/world";
    std::string opType = "ConstraintSetup";
    bool atRoot = false;
    /// Every query that may abort sets the abort flag and returns nothing.
    bool abortQueries = false;
    /// The op arguments; a dotted name reaches into nested groups.
    Qn::GroupAttribute opArgs;
    /// The input scene: location path -> attribute name (dotted, as queried) -> value; the attribute
    /// "type" also answers location-type queries.
    std::map<std::string, std::map<std::string, Qn::Attribute>> input;

    /// What getPrivateData answers: the private data of the traversal this location is cooked in.
    void* privateData = nullptr;
    /// Private data handed over by replaceChildTraversalOp, freed with the last copy of the cook.
    std::vector<std::shared_ptr<void>> handedOver;

    std::vector<HostCall> calls;
    std::vector<HostQuery> queries;

    VexilCookHandle handle() { return reinterpret_cast<VexilCookHandle>(this); }
    /// The cook suite whose entries forward to the FakeCook behind the handle.
    static const VexilCookSuite* suite();

    /// Runs an op suite's cook on this location; returns the abort flag.
    uint8_t cookWith(const VexilOpSuite& opSuite);

    /// The attribute of the output location after the recorded calls (input value, then set,
    /// delete and extend applied in order); null when absent.
    Qn::Attribute output(const std::string& name) const;
    /// Kinds and names of the calls, "setAttr:type", "stopChildTraversal", ... in order.
    std::vector<std::string> callLog() const;
    /// Whether the op stopped the traversal below this location.
    bool stopped() const;

    /// A cook interface over this location; valid while this object lives.
    Qn::VexilCookInterface cookInterface() { return Qn::VexilCookInterface(handle(), suite()); }
    /// Adds a mesh location of `type` with flat point positions, start indices and vertex list.
    void addMesh(const std::string& path, const std::vector<float>& points,
                 const std::vector<int32_t>& startIndex, const std::vector<int32_t>& vertexList,
                 const std::string& type = "polymesh");
    /// Adds a face set location naming `faces` of its parent mesh.
    void addFaceSet(const std::string& path, const std::vector<int32_t>& faces);
};

/// The string values of the sample nearest to 0 (empty for an invalid attribute).
std::vector<std::string> strings(const Qn::Attribute& attr);
/// The first string value nearest to 0, "" when none.
std::string string(const Qn::Attribute& attr);

/// Builds a group from name/value pairs, in order (default builder mode).
Qn::GroupAttribute group(const std::vector<std::pair<std::string, Qn::Attribute>>& children);
/// An integer attribute with one sample at time 0 and no values (present but unreadable).
Qn::IntAttribute emptyInt();

} // namespace VexilTest
