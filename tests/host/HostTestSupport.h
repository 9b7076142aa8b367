// Helpers of the engine tests: scenes and attributes written as scene-file JSON (with the builders of
// tests/support) and read by the host's own reader, the test op plug-ins, and reading cooked scenes back.
#pragma once

#include "CookTestSupport.h"
#include "host/loader/OpRegistry.h"
#include "host/scene/SceneTypes.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace VexilHost {
namespace HostTest {

using Json = nlohmann::ordered_json;
using VexilTest::doubles;
using VexilTest::opAt;
using VexilTest::sampledDoubles;
using VexilTest::strings;

/// The attribute that `encoded` stands for in the scene-file form, read by the host's own decoder.
Qn::Attribute decoded(const Json& encoded);
/// The scene file of `scene` (the root location in the scene-file form) and `ops` (the op entries),
/// read by the host's own reader.
SceneFile readScene(const Json& scene, const Json& ops);

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
