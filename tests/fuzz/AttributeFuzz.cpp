// Fuzz target: the attribute library. The first byte chooses the half:
// - serialised bytes: any bytes must read back as an attribute or as an error, and an attribute read
//   must serialise to the same bytes and keep its content and hash through another round;
// - shapes: random kinds, sample times, value counts and tuple sizes go through the creation entries
//   (valid exactly when the shape is), then through the getters, nearest sample, bounding times,
//   interpolation, hash and serialisation, and random names through both builder modes.
// Every handle made must be released at the end.
#include "hostapi/attribute/Attributes.h"
#include "tests/fuzz/FuzzBytes.h"
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/LiveCounts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using VexilFuzz::check;
using VexilFuzz::FuzzBytes;

const AttributeHostSuite& suite() {
    return *VexilHost::attributeSuite();
}

// ---- serialised bytes ----

std::string serialised(const Qn::Attribute& attr) {
    try {
        return attr.serialise();
    } catch (const std::exception& e) {
        check(false, std::string("a valid attribute does not serialise: ") + e.what());
    }
    return {};
}

void roundTrip(const Qn::Attribute& attr, const std::string* originalBytes) {
    const std::string bytes = serialised(attr);
    if (originalBytes) {
        check(bytes == *originalBytes, "bytes read back do not serialise to the same bytes");
    }
    Qn::Attribute again;
    try {
        again = Qn::Attribute::deserialise(bytes.data(), bytes.size());
    } catch (const std::exception& e) {
        check(false, std::string("serialised bytes do not read back: ") + e.what());
    }
    check(again.isContentEqual(attr), "serialised round trip changed the content");
    check(again.getHash() == attr.getHash(), "serialised round trip changed the hash");
    check(serialised(again) == bytes, "second serialisation differs from the first");
}

void fuzzSerialised(const uint8_t* data, size_t size) {
    QnAttributeHandle error = nullptr;
    QnAttributeHandle handle = suite().deserialise(data, int64_t(size), &error);
    const Qn::Attribute attr = Qn::Attribute::adopt(handle);
    const Qn::StringAttribute errorText = Qn::Attribute::adopt(error);
    if (!attr.isValid()) {
        const std::string text = errorText.getValue(std::string(), false);
        check(text.rfind("Corrupt serialised attribute: ", 0) == 0, "unexpected error text: " + text);
        return;
    }
    check(!errorText.isValid(), "an error beside a valid attribute");
    const std::string original(reinterpret_cast<const char*>(data), size);
    roundTrip(attr, &original);
}

// ---- shapes ----

const float kTimes[] = {0.0f,
                        -0.0f,
                        0.25f,
                        -0.25f,
                        0.5f,
                        1.0f,
                        1e-7f,
                        -3.0f,
                        1e30f,
                        std::numeric_limits<float>::quiet_NaN(),
                        std::numeric_limits<float>::infinity()};
const double kValues[] = {0.0,
                          -0.0,
                          1.0,
                          -1.0,
                          0.5,
                          3.25,
                          1e-300,
                          -7e12,
                          1e38,
                          1e300,
                          std::numeric_limits<double>::quiet_NaN(),
                          std::numeric_limits<double>::infinity()};

struct Shape {
    int kind = QN_ATTRIBUTE_TYPE_INT; ///< 1..4
    std::vector<float> times;
    int64_t valuesPerSample = 0;
    int64_t tupleSize = 1;
    std::vector<std::vector<double>> values; ///< per sample; strings keep the value's text
};

Shape makeShape(FuzzBytes& in) {
    Shape s;
    s.kind = in.range(1, 4);
    const int samples = in.range(0, 4);
    for (int i = 0; i < samples; ++i) {
        // Mostly ascending times; the table also gives repeats, NaN and infinity.
        s.times.push_back(in.chance(70) ? float(i) * 0.25f - 0.25f : in.pick(kTimes));
    }
    s.valuesPerSample = in.chance(95) ? in.range(0, 12) : -in.range(1, 3);
    s.tupleSize = in.chance(80) ? in.pick({1, 1, 2, 3, 6, 16}) : in.range(-1, 5);
    for (int i = 0; i < samples; ++i) {
        std::vector<double> sample;
        for (int64_t v = 0; v < std::max<int64_t>(s.valuesPerSample, 0); ++v) {
            sample.push_back(in.chance(60) ? double(in.range(-8, 8)) : in.pick(kValues));
        }
        s.values.push_back(sample);
    }
    return s;
}

bool shapeIsValid(const Shape& s) {
    if (s.times.empty() || s.valuesPerSample < 0 || s.tupleSize < 1 || s.valuesPerSample % s.tupleSize != 0) {
        return false;
    }
    for (size_t i = 0; i < s.times.size(); ++i) {
        if (!std::isfinite(s.times[i]) || (i > 0 && !(s.times[i - 1] < s.times[i]))) {
            return false;
        }
    }
    return true;
}

/// The text a string value stands for.
std::string textOf(double value) {
    return std::isnan(value) ? std::string("") : "v" + std::to_string(value);
}

/// A shape's number as a value of type T: integers outside the int range become -1.
template <typename T> T valueAs(double v) {
    if constexpr (std::is_same_v<T, int32_t>) {
        return std::isfinite(v) && std::fabs(v) < 2e9 ? int32_t(v) : -1;
    } else {
        return T(v);
    }
}

/// Calls the suite's creation entry `createSamples` with sample `i`'s value `v` given by `value(i, v)`.
template <typename T, typename Value, typename Create>
Qn::Attribute createWith(const Shape& s, const Value& value, Create createSamples) {
    std::vector<std::vector<T>> values(s.values.size());
    std::vector<const T*> pointers;
    for (size_t i = 0; i < s.values.size(); ++i) {
        for (size_t v = 0; v < s.values[i].size(); ++v) {
            values[i].push_back(value(i, v));
        }
        pointers.push_back(values[i].data());
    }
    return Qn::Attribute::adopt(createSamples(s.times.empty() ? nullptr : s.times.data(),
                                              int64_t(s.times.size()), pointers.data(), s.valuesPerSample,
                                              s.tupleSize));
}

/// Creates the attribute through the suite's creation entries, as the shape says.
Qn::Attribute create(const Shape& s) {
    const auto number = [&](auto zero) {
        return [&s](size_t i, size_t v) {
            return valueAs<decltype(zero)>(s.values[i][v]);
        };
    };
    switch (s.kind) {
    case QN_ATTRIBUTE_TYPE_INT:
        return createWith<int32_t>(s, number(int32_t()), suite().createIntSamples);
    case QN_ATTRIBUTE_TYPE_FLOAT:
        return createWith<float>(s, number(float()), suite().createFloatSamples);
    case QN_ATTRIBUTE_TYPE_DOUBLE:
        return createWith<double>(s, number(double()), suite().createDoubleSamples);
    default: {
        std::vector<std::vector<std::string>> texts;
        for (const std::vector<double>& sample : s.values) {
            texts.emplace_back();
            for (double v : sample) {
                texts.back().push_back(textOf(v));
            }
        }
        return createWith<const char*>(
            s, [&](size_t i, size_t v) { return texts[i][v].c_str(); }, suite().createStringSamples);
    }
    }
}

/// The sample nearest to `time` in single precision, the earliest on a tie.
size_t nearestIndex(const std::vector<float>& times, float time) {
    size_t best = 0;
    for (size_t i = 1; i < times.size(); ++i) {
        if (std::fabs(times[i] - time) < std::fabs(times[best] - time)) {
            best = i;
        }
    }
    return best;
}

bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <typename Attr> void checkNumericValues(const Attr& attr, const Shape& s, float time, size_t index) {
    using T = typename Attr::value_type;
    const Qn::SampleView<T> view = attr.getNearestSample(time);
    check(view.size == s.valuesPerSample, "nearest sample holds the wrong number of values");
    for (int64_t v = 0; v < view.size; ++v) {
        const T want = valueAs<T>(s.values[index][size_t(v)]);
        check(sameBits(double(view[v]), double(want)) ||
                  (std::isnan(double(want)) && std::isnan(double(view[v]))),
              "nearest sample holds other values than were given");
    }
}

template <typename Attr> void checkInterpolation(const Attr& attr, const Shape& s, float time) {
    using T = typename Attr::value_type;
    std::vector<T> out(size_t(s.valuesPerSample) + 1, T(-99));
    try {
        attr.fillInterpolatedValues(out.data(), s.valuesPerSample + 1, time, T(-99), true);
        check(false, "filling more values than a sample holds did not throw");
    } catch (const std::runtime_error&) {
    }
    attr.fillInterpolatedValues(out.data(), s.valuesPerSample + 1, time, T(-99), false);
    check(out.back() == T(-99), "a value beyond the sample was not given the default");
    float left = 0, right = 0;
    suite().getBoundingSampleTimes(attr.getHandle(), time, &left, &right);
    const size_t a = nearestIndex(s.times, left);
    const size_t b = nearestIndex(s.times, right);
    for (int64_t v = 0; v < s.valuesPerSample; ++v) {
        const T x = T(s.values[a][size_t(v)]);
        const T y = T(s.values[b][size_t(v)]);
        if (!std::isfinite(x) || !std::isfinite(y) || std::fabs(x) > T(1e30) || std::fabs(y) > T(1e30)) {
            continue;
        }
        const T slack = T(1e-5) * std::max(std::fabs(x), std::fabs(y)) + T(1e-30);
        check(out[size_t(v)] >= std::min(x, y) - slack && out[size_t(v)] <= std::max(x, y) + slack,
              "an interpolated value lies outside its two samples");
        if (left == right) {
            check(out[size_t(v)] == x, "the value at a sample time is not that sample's value");
        }
    }
}

void checkBounds(const Qn::Attribute& attr, const Shape& s, float time) {
    float left = -1, right = -1;
    suite().getBoundingSampleTimes(attr.getHandle(), time, &left, &right);
    if (std::isnan(time)) {
        return;
    }
    if (time <= s.times.front()) {
        check(left == s.times.front() && right == s.times.front(), "bracket before the first sample");
    } else if (time >= s.times.back()) {
        check(left == s.times.back() && right == s.times.back(), "bracket after the last sample");
    } else {
        check(left <= time && time <= right, "bracket does not hold the time");
        check(std::find(s.times.begin(), s.times.end(), left) != s.times.end() &&
                  std::find(s.times.begin(), s.times.end(), right) != s.times.end(),
              "bracket ends are not sample times");
        check((left == right) == (std::find(s.times.begin(), s.times.end(), time) != s.times.end()),
              "bracket ends equal exactly when the time is a sample time");
    }
}

void fuzzShape(FuzzBytes& in) {
    const Shape s = makeShape(in);
    const Qn::Attribute attr = create(s);
    check(attr.isValid() == shapeIsValid(s), "creation validity does not follow the shape");
    const QnAttributeHandle handle = attr.getHandle();
    const float probes[] = {0.0f, s.times.empty() ? 0.0f : s.times.back(), in.pick(kTimes), -1e-3f, 0.1f};
    if (!attr.isValid()) {
        check(attr.getType() == QN_ATTRIBUTE_TYPE_NULL && suite().getNumberOfValues(handle) == 0 &&
                  suite().getNumberOfTimeSamples(handle) == 0,
              "the null attribute answers non-zero counts");
        return;
    }
    check(attr.getType() == s.kind, "created attribute has another kind");
    check(suite().getNumberOfTimeSamples(handle) == int64_t(s.times.size()), "wrong sample count");
    check(suite().getNumberOfValues(handle) == s.valuesPerSample, "wrong values per sample");
    check(suite().getTupleSize(handle) == s.tupleSize, "wrong tuple size");
    for (size_t i = 0; i < s.times.size(); ++i) {
        check(suite().getSampleTime(handle, int64_t(i)) == s.times[i], "sample times changed");
    }

    for (float time : probes) {
        checkBounds(attr, s, time);
        const size_t index = std::isnan(time) ? 0 : nearestIndex(s.times, time);
        const auto numeric = [&](const auto& typed) {
            if (!std::isnan(time)) {
                checkNumericValues(typed, s, time, index);
            }
            if constexpr (!std::is_same_v<std::decay_t<decltype(typed)>, Qn::IntAttribute>) {
                checkInterpolation(typed, s, time);
            }
        };
        switch (s.kind) {
        case QN_ATTRIBUTE_TYPE_INT:
            numeric(Qn::IntAttribute(attr));
            break;
        case QN_ATTRIBUTE_TYPE_FLOAT:
            numeric(Qn::FloatAttribute(attr));
            break;
        case QN_ATTRIBUTE_TYPE_DOUBLE:
            numeric(Qn::DoubleAttribute(attr));
            break;
        default: {
            const std::vector<std::string> got = Qn::StringAttribute(attr).getNearestSampleStrings(time);
            check(int64_t(got.size()) == s.valuesPerSample, "string sample holds the wrong count");
            if (!std::isnan(time)) {
                for (size_t v = 0; v < got.size(); ++v) {
                    check(got[v] == textOf(s.values[index][v]), "string sample holds other text");
                }
            }
            break;
        }
        }
    }
    // The same shape made again is equal in content and hash; the round trip keeps both.
    const Qn::Attribute twin = create(s);
    check(twin.isContentEqual(attr) && twin.getHash() == attr.getHash(), "equal shapes differ");
    roundTrip(attr, nullptr);
}

// ---- groups ----

std::string childName(FuzzBytes& in) {
    static const char* const parts[] = {"a", "b", "args", "x.y", "/root/w", "geo.001", "."};
    std::string name = in.pick(parts);
    for (int extra = in.range(0, 2); extra > 0; --extra) {
        name += std::string(in.chance(50) ? "." : "") + in.pick(parts);
    }
    return name;
}

void fuzzGroups(FuzzBytes& in) {
    const bool literal = in.chance(50);
    Qn::GroupBuilder builder(literal ? QN_GROUP_BUILDER_MODE_LITERAL : QN_GROUP_BUILDER_MODE_DEFAULT);
    // In literal mode the builder is an ordered map of whole names (the generated names are never
    // empty): a model kept beside it must match the group.
    std::vector<std::pair<std::string, Qn::Attribute>> model;
    auto modelSet = [&](const std::string& name, const Qn::Attribute& value) {
        auto it = std::find_if(model.begin(), model.end(), [&](const auto& e) { return e.first == name; });
        if (it != model.end()) {
            it->second = value;
        } else {
            model.emplace_back(name, value);
        }
    };
    const int steps = in.range(1, 12);
    for (int step = 0; step < steps; ++step) {
        const std::string name = childName(in);
        switch (in.below(4)) {
        case 0:
        case 1: {
            const Qn::Attribute value =
                in.chance(85) ? Qn::Attribute(Qn::IntAttribute(in.range(-3, 3))) : Qn::Attribute();
            builder.set(name, value);
            if (value.isValid()) {
                modelSet(name, value);
            }
            break;
        }
        case 2:
            builder.del(name);
            model.erase(
                std::remove_if(model.begin(), model.end(), [&](const auto& e) { return e.first == name; }),
                model.end());
            break;
        default: {
            Qn::GroupBuilder inner(QN_GROUP_BUILDER_MODE_LITERAL);
            inner.set(name, Qn::StringAttribute("u"));
            const Qn::GroupAttribute group = inner.build();
            builder.update(group);
            modelSet(name, group.getChildByIndex(0));
            break;
        }
        }
    }
    const Qn::GroupAttribute built = builder.build();
    const Qn::GroupAttribute again = builder.build();
    check(built.isValid() && again.isContentEqual(built) && again.getHash() == built.getHash(),
          "building twice gave different groups");
    if (literal) {
        check(built.getNumberOfChildren() == int64_t(model.size()),
              "literal group has the wrong child count");
        for (size_t i = 0; i < model.size(); ++i) {
            check(built.getChildName(int64_t(i)) == model[i].first, "literal group has another child order");
            check(built.getChildByIndex(int64_t(i)).isContentEqual(model[i].second),
                  "literal group holds another value");
            check(built.getChildByName(model[i].first).isContentEqual(model[i].second),
                  "literal child not found by its whole name");
        }
    }
    for (int64_t i = 0; i < built.getNumberOfChildren(); ++i) {
        check(!built.getChildName(i).empty(), "a group child has an empty name");
    }
    built.getChildByName(childName(in));
    roundTrip(built, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = VexilFuzz::liveCounts();
    if (size > 0) {
        if (data[0] % 3 == 0) {
            fuzzSerialised(data + 1, size - 1);
        } else {
            FuzzBytes in(data + 1, size - 1);
            if (data[0] % 3 == 1) {
                while (in.more()) {
                    fuzzShape(in);
                }
            } else {
                fuzzGroups(in);
            }
        }
    }
    const auto after = VexilFuzz::liveCounts();
    check(after == before,
          "live counts went from " + VexilFuzz::describe(before) + " to " + VexilFuzz::describe(after));
    return 0;
}
