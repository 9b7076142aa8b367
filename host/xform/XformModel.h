// The host's transform model: how an `xform` group turns into a local matrix, and how local
// matrices chain into world transforms. Free functions over attributes and Imath, no engine state.
#pragma once

#include "hostapi/attribute/Attribute.h"

#include <Imath/ImathMatrix.h>
#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <vector>

namespace VexilHost {
namespace XformModel {

/// Sample times kept inline for the usual one or two samples.
class SampleTimes : public boost::container::small_vector<float, 2> {
public:
    using small_vector::small_vector;
    /// Takes the times of `times`, in order.
    SampleTimes& operator=(const std::vector<float>& times) {
        assign(times.begin(), times.end());
        return *this;
    }
};

/// One operation of a flattened `xform` group, with its samples converted to doubles.
struct Operation {
    enum class Kind { Translate, Rotate, Scale, Matrix, Origin };
    Kind kind = Kind::Origin;
    /// Ascending sample times; never empty.
    SampleTimes times;
    /// The values of every sample time one after another, `count` per time (3, 4, 3 or 16; none for
    /// origin): one block, inline for a matrix or up to four samples of the others, since an operation
    /// is read for every location a cook asks about.
    boost::container::small_vector<double, 16> values;
    size_t count = 0;

    /// The first of the `count` values of sample `index`.
    const double* sample(size_t index) const { return values.data() + index * count; }
};

/// The operations of one location's `xform`, in the order they are read (O1 first): the usual one or
/// two kept inline, since the cooked location's own are read again for every cook.
using Operations = boost::container::small_vector<Operation, 2>;

/// Reads an `xform` attribute into operations: data children `translate` (3 values), `rotate` (angle in
/// degrees, then the axis), `scale` (3), `matrix` (16, row-major) and `origin` (any kind), groups read
/// recursively, groups named "constraint..." skipped. Numeric children of any kind (int, float, double)
/// are accepted; a child with too few values, another name or another kind contributes nothing. A
/// null or non-group attribute yields no operations.
Operations flatten(const Qn::Attribute& xform);

/// Appends the operations of `xform`, read as flatten reads them, to `out`, taking `xform` over: read
/// in place, the inline operations are not moved again, and the group's kind is asked once.
void flattenInto(Qn::Attribute&& xform, Operations& out);

/// The matrix of one operation at `time` (row vectors; rotation right-handed, angle in degrees; a zero
/// rotation axis gives the identity; origin gives the identity).
Imath::M44d operationMatrix(const Operation& operation, float time);

/// A location's local transform at one time: L = On * ... * O1 over the operations after the last
/// origin, and whether an origin cut the parent's world transform off.
struct Local {
    Imath::M44d matrix;
    bool resetsParent = false;
};

/// The local transform of `operations` at `time`.
Local localAt(const Operations& operations, float time);

/// Appends the sample times of every operation to `times`, a vector of floats, unsorted.
template <class Times> void appendSampleTimes(const Operations& operations, Times& times) {
    for (const Operation& op : operations) {
        for (float t : op.times) {
            times.push_back(t);
        }
    }
}

/// Sorts `times`, a vector of finite floats, and keeps one of each time. Of 0 and -0, which are one
/// time, the first in `times` is kept, as an insertion of each time in turn would keep it.
template <class Times> void sortSampleTimes(Times& times) {
    // One sort for all the times: inserting each time in place shifts every later one, which costs the
    // square of the number of samples when two sampled operations interleave.
    const auto zero = std::find(times.begin(), times.end(), 0.0f);
    const float firstZero = zero != times.end() ? *zero : 0.0f;
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    const auto kept = std::lower_bound(times.begin(), times.end(), 0.0f);
    if (kept != times.end() && *kept == 0.0f) {
        *kept = firstZero;
    }
}

/// Adds the sample times of every operation to `times`, a vector of floats (sorted, unique).
template <class Times> void addSampleTimes(const Operations& operations, Times& times) {
    const size_t known = times.size();
    for (const Operation& op : operations) {
        for (float t : op.times) {
            // A time already there adds nothing: the sort would keep the one there, which comes first
            // (of 0 and -0 too). Mostly every time is, and nothing is left to sort.
            const auto end = times.begin() + static_cast<std::ptrdiff_t>(known);
            const auto at = std::lower_bound(times.begin(), end, t);
            if ((at == end || !(*at == t)) && std::find(end, times.end(), t) == times.end()) {
                times.push_back(t);
            }
        }
    }
    // Times in strictly ascending order (so none is NaN) are what the sort would leave.
    const bool ascending = std::adjacent_find(times.begin(), times.end(),
                                              [](float a, float b) { return !(a < b); }) == times.end();
    if (times.size() != known && !ascending) {
        sortSampleTimes(times);
    }
}

/// The world transform at `time` of the last location of `chain`, whose entries are the operations of
/// "/root" and of each location down to it: W = L * Wparent, an origin dropping everything above.
Imath::M44d worldAt(const std::vector<const Operations*>& chain, float time);

/// The world-transform sample times of the last location of `chain`: the sorted union of the sample
/// times of every operation of it and of its ancestors ({0} when there is none).
std::vector<float> worldSampleTimes(const std::vector<const Operations*>& chain);

/// The one world-transform sample time of a chain none of whose operations is sampled.
inline constexpr float kUnsampledTime = 0.0f;

/// The world-transform sample times of a chain whose operations are sampled at `times` (sorted,
/// unique, possibly empty): those, or {kUnsampledTime} when none is sampled.
std::vector<float> sampledOrCurrentTime(std::vector<float> times);

} // namespace XformModel
} // namespace VexilHost
