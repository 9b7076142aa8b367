// Helpers shared by the ops over one VexilCookInterface: error and warning reporting, bounds, the
// time slice, graph-state variables and child creation.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>

#include <string>

namespace Qn {
namespace VexilCookInterfaceUtils {

/// Sets "type" = "error" and then "errorMessage" = `message` on the cooked location (group-inherit on).
void reportError(const VexilCookInterface& cookInterface, const std::string& message);

/// Sets "warningMessage" = `message` on the cooked location (group-inherit on).
void reportWarning(const VexilCookInterface& cookInterface, const std::string& message);

/// The "bound" of a location on an input if it is a double attribute of exactly 6 values
/// (xmin, xmax, ymin, ymax, zmin, zmax, object space); otherwise null. May abort.
DoubleAttribute getBoundAttr(const VexilCookInterface& cookInterface,
                             const std::string& locationPath = std::string(), int32_t inputIndex = -1);

/// The box of a bound attribute interpolated at `sampleTime`. Throws std::runtime_error "Cannot get
/// bounds attribute." for a null attribute; interpolation errors propagate.
Imath::Box3d getBoundsAtTime(const DoubleAttribute& boundAttr, float sampleTime);

/// The axis-aligned box holding the 8 corners of the bound at `sampleTime` transformed as points by
/// `matrix` (row vectors).
Imath::Box3d transformBounds(const DoubleAttribute& boundAttr, const Imath::M44d& matrix, float sampleTime);

/// The axis-aligned box holding the 8 corners of `box` transformed as points by `matrix`.
Imath::Box3d transformBox(const Imath::Box3d& box, const Imath::M44d& matrix);

/// Op argument "system.timeSlice.currentTime" at time 0 (frames); 0.0 when absent or not a float.
float getCurrentTime(const VexilCookInterface& cookInterface);
/// Op argument "system.timeSlice.shutterOpen" at time 0, relative to the current time; 0.0 when absent.
float getShutterOpen(const VexilCookInterface& cookInterface);
/// Op argument "system.timeSlice.shutterClose" at time 0, relative to the current time; 0.0 when absent.
float getShutterClose(const VexilCookInterface& cookInterface);
/// Op argument "system.timeSlice.numSamples" at time 0; 1 when absent, not an integer or empty.
int32_t getNumSamples(const VexilCookInterface& cookInterface);

/// The op argument "system.variables.<name>"; null when absent.
Attribute getGraphStateVariable(const VexilCookInterface& cookInterface, const std::string& name);

/// Creates a child of the cooked location. Throws std::runtime_error, before the host is called,
/// "createChild(): Invalid child name: \"<name>\"" for an empty name or one containing a slash, and
/// "Private data provided for child without deletion method." for private data without a deleter.
void createChild(const VexilCookInterface& cookInterface, const std::string& name, const std::string& opType,
                 const Attribute& opArgs = Attribute(), int32_t resetRecursive = VEXIL_RESET_RECURSIVE_NONE,
                 void* privateData = nullptr, VexilPrivateDataDeleter deleter = nullptr);

/// Name of the op argument through which createLocation hands the rest of the path to the child.
extern const char* const kRemainingPathArg;

/// Starts creating `locationPath`, which must lie below the cooked location: creates the first
/// missing level as a child (reset-recursive mode 2) cooked by `opType` (empty: the cooked op's own
/// type) with `opArgs` (a group, or null) plus the string argument "remainingPath" holding the rest of
/// the path below that child ("" when the child is the location itself). An op that wants the deeper
/// levels calls createLocation again at the child with outputPath + "/" + remainingPath. Throws the
/// assertion error for a path equal to the cooked location, and std::runtime_error for a path
/// elsewhere.
void createLocation(const VexilCookInterface& cookInterface, const std::string& locationPath,
                    const std::string& opType = std::string(),
                    const GroupAttribute& opArgs = GroupAttribute());

} // namespace VexilCookInterfaceUtils
} // namespace Qn
