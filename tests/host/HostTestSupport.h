// Helpers of the engine tests: building scenes in memory, loading the test op plug-ins, and reading
// cooked scenes back.
#pragma once

#include "host/loader/OpRegistry.h"
#include "host/scene/SceneTypes.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <utility>
#include <vector>

namespace VexilHost {
namespace HostTest {

using NamedAttrs = std::vector<std::pair<std::string, Qn::Attribute>>;

/// Installs the host's attribute suite in the attribute classes (call before making attributes).
void useHostAttributes();

/// A group of the given children, names taken literally.
Qn::GroupAttribute group(const NamedAttrs& children = {});
Qn::DoubleAttribute doubles(const std::vector<double>& values, int64_t tupleSize = 1);
/// Several samples of doubles: time -> values.
Qn::DoubleAttribute animated(const std::vector<std::pair<float, std::vector<double>>>& samples,
                             int64_t tupleSize = 1);
Qn::StringAttribute strings(const std::vector<std::string>& values);

SceneLocation location(const std::string& name, const NamedAttrs& attrs = {},
                       std::vector<SceneLocation> children = {});
OpDescription op(const std::string& type, const std::string& where = "/root", const NamedAttrs& args = {});
SceneFile sceneFile(SceneLocation root, std::vector<OpDescription> ops);

/// The location at an absolute path ("/root/a/b") of a cooked tree rooted at "/root", or null.
const SceneLocation* find(const SceneLocation& root, const std::string& path);
/// The attribute `name` (dotted) of the location at `path`; invalid when either is absent.
Qn::Attribute attrOf(const SceneLocation& root, const std::string& path, const std::string& name);
/// The first string of a string attribute at `path`, or "<none>".
std::string stringOf(const SceneLocation& root, const std::string& path, const std::string& name);
/// The first value of an int attribute at `path`, or -999.
int intOf(const SceneLocation& root, const std::string& path, const std::string& name);
/// The top-level attribute names of the location at `path`, in order.
std::vector<std::string> attrNamesOf(const SceneLocation& root, const std::string& path);

/// The folder of the test op plug-ins, and of the unusable libraries.
std::string testPluginDir();
std::string badPluginDir();
/// The registry of the test op plug-ins (loaded once).
const OpRegistry& testRegistry();
/// The address of an exported symbol of the loaded test op library; throws when there is none.
void* testSymbol(const char* symbol);
/// A counter of the test op library: "vexilTestDeletions" (private data freed), "vexilTestAttempts"
/// (TestAttempts cooks), "vexilTestSmallestStack" (bytes of the smallest stack that cooked TestStack)
/// or "vexilTestSerialOverlaps" (TestSerial cooks that overlapped another).
int64_t testCounter(const char* symbol);

} // namespace HostTest
} // namespace VexilHost
