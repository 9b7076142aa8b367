// The five ops of this library: their plug-in records, the shared setHost and flush, and the
// registration functions that getPlugins calls.
#pragma once

#include <vexil/VexilPlugin.h>

#include <cstdint>

namespace Vexil3Constraints {
namespace Private {

/// The API name of every record of this library.
extern const char* const kOpApiName;
/// The API version of every record of this library.
extern const uint32_t kOpApiVersion;

/// Hands the host to the plug-in's host holder, then to GroupBuilder, then to the attribute
/// classes; returns the last status (0, or -1 for a null host or one without the attribute suite).
int setPluginHost(const VexilHost* host);

/// Does nothing: the library keeps no cache.
void flushPlugin();

/// Each fills its op's static record and hands it to registerPlugin.
void registerConstraintEditOp();
void registerConstraintEditAttributesOp();
void registerConstraintListEditOp();
void registerConstraintResolveOp();
void registerConstraintSetupOp();

} // namespace Private
} // namespace Vexil3Constraints
