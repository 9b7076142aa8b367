// Geometric facts about targets and the base that the resolvers share: target origins, face points,
// the sample times of the geometry an origin mode reads, and two argument readers.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The origin modes: what point of a target stands for it.
enum class OriginMode { Origin, BoundingBox, FaceCenterAverage, FaceBoundingBox };

/// The mode named `mode` ("origin", "boundingBox", "faceCenterAverage", "faceBoundingBox"); any
/// other name counts as "origin".
OriginMode originModeOf(std::string_view mode);

/// The average origin of `targetPaths` at `sampleTime` for origin `mode`: in world space when
/// `applyTransform` is set (each target's matrix at exactly `sampleTime` taken from `targetSamples`,
/// one map per path), otherwise in the targets' local space. (0,0,0) for an empty path list.
/// Throws std::runtime_error with a fixed message when a transform, bound or face is unusable, and
/// when a transform, a bound or a point carried to world space is not finite or is beyond the largest
/// constraint value ("Transform of <path> is not finite.", "Origin of <path> is not finite in world
/// space.", "Bound of <path> has a value beyond 1e15.").
Imath::V3d computeTargetOrigin(OriginMode mode, const XformSamplesList& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const TargetPaths& targetPaths,
                               bool applyTransform, float sampleTime);

/// The single-target form of computeTargetOrigin (used for the base location).
Imath::V3d computeTargetOrigin(OriginMode mode, const XformSamples& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const std::string& targetPath,
                               bool applyTransform, float sampleTime);

/// computeTargetOrigin with the mode given by name (see originModeOf).
Imath::V3d computeTargetOrigin(const std::string& mode, const XformSamplesList& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const TargetPaths& targetPaths,
                               bool applyTransform, float sampleTime);

/// The single-target form of computeTargetOrigin with the mode given by name.
Imath::V3d computeTargetOrigin(const std::string& mode, const XformSamples& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const std::string& targetPath,
                               bool applyTransform, float sampleTime);

/// Throws std::runtime_error "Bound of <path> is not finite<where>." or "Bound of <path> has a value
/// beyond 1e15<where>." when one of the `count` values is that (`where`: "" or " in world space").
void requireUsableBound(const double* values, size_t count, const std::string& path, std::string_view where);

/// The points of face `faceIndex` of the mesh or face set at `locationPath`, in vertex-list order,
/// in the location's local space, with positions interpolated at `sampleTime`. Throws
/// std::runtime_error "Cannot get valid face <index>. (<path>)." for an index outside the faces, or
/// the face iterator's message when the mesh (or its face 0) is unusable.
std::vector<Imath::V3d> getFacePoints(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                      int32_t faceIndex, float sampleTime);

/// Adds to `sampleTimes` every sample time of the attribute that origin `mode` reads on each path
/// ("geometry.point.P" for the face modes, "bound" for "boundingBox"), when it has two or more
/// samples; missing or mistyped attributes and other modes add nothing.
void addTargetOriginSampleTimes(const std::string& mode, Qn::VexilCookInterface& cookInterface,
                                const TargetPaths& targetPaths, SampleTimes& sampleTimes);

/// The single-path form of addTargetOriginSampleTimes (used for the base location).
void addTargetOriginSampleTimes(const std::string& mode, Qn::VexilCookInterface& cookInterface,
                                const std::string& locationPath, SampleTimes& sampleTimes);

/// addTargetOriginSampleTimes with the mode already parsed (see originModeOf).
void addTargetOriginSampleTimes(OriginMode mode, Qn::VexilCookInterface& cookInterface,
                                const TargetPaths& targetPaths, SampleTimes& sampleTimes);

/// The single-path form of addTargetOriginSampleTimes with the mode already parsed.
void addTargetOriginSampleTimes(OriginMode mode, Qn::VexilCookInterface& cookInterface,
                                const std::string& locationPath, SampleTimes& sampleTimes);

/// The three values (widened to double) of the float attribute `name` (dotted) of `group`, taken from
/// the sample nearest to time 0. Throws std::runtime_error "Cannot find float attribute of size 3 "
/// + name unless it is a FloatAttribute with exactly three values there, and "<name> is not finite."
/// (or "<name> has a value beyond 1e15.") when a value cannot be used.
Imath::V3d getFloat3Attr(const Qn::GroupAttribute& group, const std::string& name);

/// getFloat3Attr of `attribute`, already found at `name`.
Imath::V3d float3Value(const Qn::Attribute& attribute, const std::string& name);

/// The non-empty string argument `argumentName` of `constraintGroup`: requiredStringValue of what the
/// group holds at that name.
std::string getRequiredStringArg(const Qn::GroupAttribute& constraintGroup, const std::string& resolverType,
                                 const std::string& argumentName);

/// The first value of the string argument `attribute`, found at `argumentName`. Throws
/// std::runtime_error "<resolverType> constraint resolver: empty <argumentName>." when it is missing,
/// not a string or empty.
std::string requiredStringValue(const Qn::Attribute& attribute, const std::string& resolverType,
                                const std::string& argumentName);

} // namespace Private
} // namespace Vexil3Constraints
