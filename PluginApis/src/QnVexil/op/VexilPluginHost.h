// The plug-in's hold on its host: the service table handed to setHost, the host utility suites
// taken from it once, and wrappers over the host's world-transform and bound services.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>

#include <vexil/VexilOp.h>

#include <string>
#include <vector>

namespace Qn {
namespace VexilPluginHost {

/// Stores the host's service table and takes its XFormUtilHost (version 2, else version 1) and
/// VexilCookInterfaceUtilsHost suites (null when the host lacks them). Called once while the host loads the
/// library, before any cook. Returns 0, or -1 for a null host.
int setHost(const VexilHost* host);

/// The host's service table, or null before setHost.
const VexilHost* getHost();

/// The host's XFormUtilHost suite, or null.
const XFormUtilHostSuite* getXFormUtilSuite();

/// The host's VexilCookInterfaceUtilsHost suite, or null.
const VexilCookInterfaceUtilsHostSuite* getCookInterfaceUtilsSuite();

/// The ascending sample times (relative to the current time) of every transform operation of the
/// location and its ancestors; `overrides` (null, or a literal-mode group keyed by location path)
/// replaces those locations' `xform` groups. Empty when the host gives nothing. Throws
/// QueryAbortException on abort and std::runtime_error when the host lacks the suite.
std::vector<float> getWorldXformSampleTimes(const VexilCookInterface& cookInterface,
                                            const std::string& locationPath,
                                            const GroupAttribute& overrides = GroupAttribute(),
                                            int32_t inputIndex = -1);

/// The world transform (row vectors) of the location at each of `times`, in the order of `times`;
/// empty when the location does not exist. Throws QueryAbortException on abort and
/// std::runtime_error when the host lacks the suite or answers with other than 16 values per time.
std::vector<Imath::M44d> getWorldXformAtTimes(const VexilCookInterface& cookInterface,
                                              const std::string& locationPath,
                                              const std::vector<float>& times,
                                              const GroupAttribute& overrides = GroupAttribute(),
                                              int32_t inputIndex = -1);

/// Writes the times getWorldXformSampleTimes gives to `timesOut` (at most `capacity` of them) and
/// returns how many there are: more than `capacity` means ask again with room for that many; -1 when
/// the host gives nothing. Makes no attribute when the host offers the suite's version 2. Throws as
/// getWorldXformSampleTimes does.
int64_t copyWorldXformSampleTimes(const VexilCookInterface& cookInterface, const std::string& locationPath,
                                  float* timesOut, int64_t capacity,
                                  const GroupAttribute& overrides = GroupAttribute(),
                                  int32_t inputIndex = -1);

/// Writes the world transform (row vectors) of the location at each of `times`, in their order, to
/// `matricesOut` as 16 doubles per time (room for 16 * numTimes); false when the location does not
/// exist or there is no time. Makes no attribute when the host offers the suite's version 2. Throws as
/// getWorldXformAtTimes does.
bool copyWorldXformAtTimes(const VexilCookInterface& cookInterface, const std::string& locationPath,
                           const float* times, int64_t numTimes, double* matricesOut,
                           const GroupAttribute& overrides = GroupAttribute(), int32_t inputIndex = -1);

/// True when the host's XFormUtilHost suite is version 3 or later: copyWorldXformSampleTimesBelow and
/// copyWorldXformAtTimesBelow may be called.
bool hasWorldBelow();

/// The sample times of the transform operations of the locations strictly below the ancestor
/// `locationPath[0, ancestorLength)` down to the location (the whole chain for 0), written to
/// `timesOut` (at most `capacity`); returns how many there are (which may be 0, or exceed `capacity`:
/// ask again), or -1 when the host gives nothing. Requires hasWorldBelow(). Throws QueryAbortException.
int64_t copyWorldXformSampleTimesBelow(const VexilCookInterface& cookInterface,
                                       const std::string& locationPath, size_t ancestorLength,
                                       float* timesOut, int64_t capacity,
                                       const GroupAttribute& overrides = GroupAttribute(),
                                       int32_t inputIndex = -1);

/// The world transform of the location at each of `times`, given `ancestorWorlds` (16 doubles per time)
/// of its ancestor `locationPath[0, ancestorLength)` (not read for 0), written to `matricesOut`: bit for
/// bit what copyWorldXformAtTimes gives when those are the ancestor's world transforms. False when the
/// location does not exist or there is no time. Requires hasWorldBelow(). Throws QueryAbortException.
bool copyWorldXformAtTimesBelow(const VexilCookInterface& cookInterface, const std::string& locationPath,
                                size_t ancestorLength, const float* times, int64_t numTimes,
                                const double* ancestorWorlds, double* matricesOut,
                                const GroupAttribute& overrides = GroupAttribute(), int32_t inputIndex = -1);

/// The local transform (row vectors) of an `xform` group at each of `times`, in their order. Throws
/// std::runtime_error when the host lacks the suite or answers with other than 16 values per time.
std::vector<Imath::M44d> getLocalXformAtTimes(const GroupAttribute& xformGroup,
                                              const std::vector<float>& times);

/// The location's `bound` carried to world space at `time`; false (and `boundOut` untouched) when it
/// has none. Throws QueryAbortException on abort and std::runtime_error when the host lacks the suite.
bool getWorldBound(const VexilCookInterface& cookInterface, const std::string& locationPath, float time,
                   Imath::Box3d& boundOut, int32_t inputIndex = -1);

} // namespace VexilPluginHost
} // namespace Qn
