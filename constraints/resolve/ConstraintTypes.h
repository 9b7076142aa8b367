// Value types shared by the resolve framework and the resolvers.
#pragma once

#include "hostapi/attribute/Attribute.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <boost/container/flat_map.hpp>
#include <boost/container/flat_set.hpp>
#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Qn {
class VexilCookInterface;
}

namespace Vexil3Constraints {
namespace Private {

// Sample maps hold a handful of times each and are made for every constraint at every cook, for the
// base and for each target: sorted vectors whose first few entries are kept inline, so that the usual
// constraint (one to four sample times, one or two targets) allocates none of them.

/// How many sample times, and target transforms, the sample maps keep without an allocation.
constexpr size_t kInlineSamples = 4;

/// Sample times relative to the current time (0 is the current time), ascending, each once.
using SampleTimes = boost::container::flat_set<float, std::less<float>,
                                               boost::container::small_vector<float, kInlineSamples>>;
/// A location's world transform per sample time (row vectors, translation in elements 12 to 14);
/// looked up by exact key.
using XformSamples =
    boost::container::flat_map<float, Imath::M44d, std::less<float>,
                               boost::container::small_vector<std::pair<float, Imath::M44d>, kInlineSamples>>;
/// One XformSamples per target, in target order.
using XformSamplesList = boost::container::small_vector<XformSamples, 2>;
/// Attributes to set on the constrained location, by name, in ascending name order: a sorted vector
/// whose first two entries (a resolved location's `xform` and its messages) are kept inline.
using OutputAttributes =
    boost::container::flat_map<std::string, Qn::Attribute, std::less<std::string>,
                               boost::container::small_vector<std::pair<std::string, Qn::Attribute>, 2>>;
/// A constraint's target paths, in order: nearly always one, kept inline.
using TargetPaths = boost::container::small_vector<std::string, 1>;

/// Thrown by resolvers for bad input; carries only its message.
class ConstraintResolveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Private
} // namespace Vexil3Constraints
