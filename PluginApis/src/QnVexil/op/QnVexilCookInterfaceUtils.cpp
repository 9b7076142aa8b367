#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

#include <stdexcept>
#include <vector>

namespace Qn {
namespace VexilCookInterfaceUtils {

const char* const kRemainingPathArg = "remainingPath";

void reportError(const VexilCookInterface& cookInterface, const std::string& message) {
    cookInterface.setAttr("type", StringAttribute("error"), true);
    cookInterface.setAttr("errorMessage", StringAttribute(message), true);
}

void reportWarning(const VexilCookInterface& cookInterface, const std::string& message) {
    cookInterface.setAttr("warningMessage", StringAttribute(message), true);
}

DoubleAttribute getBoundAttr(const VexilCookInterface& cookInterface, const std::string& locationPath,
                             int32_t inputIndex) {
    DoubleAttribute bound(cookInterface.getAttr("bound", locationPath, inputIndex));
    if (!bound.isValid() || bound.getNumberOfValues() != 6) {
        return DoubleAttribute();
    }
    return bound;
}

Imath::Box3d getBoundsAtTime(const DoubleAttribute& boundAttr, float sampleTime) {
    if (!boundAttr.isValid()) {
        throw std::runtime_error("Cannot get bounds attribute.");
    }
    double v[6];
    boundAttr.fillInterpolatedValues(v, 6, sampleTime, 0.0, true);
    return Imath::Box3d(Imath::V3d(v[0], v[2], v[4]), Imath::V3d(v[1], v[3], v[5]));
}

Imath::Box3d transformBox(const Imath::Box3d& box, const Imath::M44d& matrix) {
    Imath::Box3d result;
    for (int corner = 0; corner < 8; ++corner) {
        const Imath::V3d p((corner & 1) ? box.max.x : box.min.x, (corner & 2) ? box.max.y : box.min.y,
                           (corner & 4) ? box.max.z : box.min.z);
        Imath::V3d q;
        matrix.multVecMatrix(p, q);
        result.extendBy(q);
    }
    return result;
}

Imath::Box3d transformBounds(const DoubleAttribute& boundAttr, const Imath::M44d& matrix, float sampleTime) {
    return transformBox(getBoundsAtTime(boundAttr, sampleTime), matrix);
}

namespace {

float floatOpArgAtZero(const VexilCookInterface& cookInterface, const char* name) {
    return FloatAttribute(cookInterface.getOpArg(name)).getValue(0.0f, false);
}

} // namespace

float getCurrentTime(const VexilCookInterface& cookInterface) {
    return floatOpArgAtZero(cookInterface, "system.timeSlice.currentTime");
}

float getShutterOpen(const VexilCookInterface& cookInterface) {
    return floatOpArgAtZero(cookInterface, "system.timeSlice.shutterOpen");
}

float getShutterClose(const VexilCookInterface& cookInterface) {
    return floatOpArgAtZero(cookInterface, "system.timeSlice.shutterClose");
}

int32_t getNumSamples(const VexilCookInterface& cookInterface) {
    return IntAttribute(cookInterface.getOpArg("system.timeSlice.numSamples")).getValue(1, false);
}

Attribute getGraphStateVariable(const VexilCookInterface& cookInterface, const std::string& name) {
    return cookInterface.getOpArg("system.variables." + name);
}

void createChild(const VexilCookInterface& cookInterface, const std::string& name, const std::string& opType,
                 const Attribute& opArgs, int32_t resetRecursive, void* privateData,
                 VexilPrivateDataDeleter deleter) {
    // The interface checks the name and the deleter before it calls the host.
    cookInterface.createChild(name, opType, opArgs, resetRecursive, privateData, deleter);
}

void createLocation(const VexilCookInterface& cookInterface, const std::string& locationPath,
                    const std::string& opType, const GroupAttribute& opArgs) {
    const std::string outputPath = PathUtils::stripTrailingSlashes(cookInterface.getOutputLocationPath());
    const std::string target = PathUtils::stripTrailingSlashes(locationPath);
    if (!PathUtils::isAtOrBelow(outputPath, target)) {
        throw std::runtime_error("createLocation(): \"" + locationPath + "\" does not lie below \"" +
                                 outputPath + "\"");
    }
    const std::string relative = PathUtils::makeRelativePath(outputPath, target);
    std::vector<std::string> parts;
    if (!relative.empty()) {
        const size_t slash = relative.find('/');
        parts.push_back(relative.substr(0, slash));
        if (slash != std::string::npos) {
            parts.push_back(relative.substr(slash + 1));
        }
    }
    if (parts.empty()) {
        throw std::runtime_error("assertion(parts.size() > 0) failed at "
                                 "../Vexil3/PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils: 88");
    }
    GroupBuilder args;
    if (opArgs.isValid()) {
        args.update(opArgs);
    }
    args.set(kRemainingPathArg, StringAttribute(parts.size() > 1 ? parts[1] : std::string()));
    createChild(cookInterface, parts[0], opType.empty() ? cookInterface.getOpType() : opType, args.build(),
                VEXIL_RESET_RECURSIVE_AUTO);
}

} // namespace VexilCookInterfaceUtils
} // namespace Qn
