// Arguments a constraint kind reads from a description's `args` group, read once per distinct `args`
// value of a traversal: scenes made by copying one constraint share one `args` value among many
// locations, and each would otherwise read the same few children through the attribute suite.
#pragma once

#include "constraints/resolve/ConstraintArguments.h"
#include "hostapi/attribute/Attribute.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace Vexil3Constraints {
namespace Private {

/// Values read from `args` values, per kind, for the lifetime of one traversal. Entries are published
/// once and never change; a lookup takes no lock and writes nothing shared, so that cooks on several
/// threads do not contend. Each entry holds its `args` value, so that no other value can take its
/// handle while the memo lives. The table is small and fixed: once it is full, or the few slots a
/// value may use are taken by others, the value is read again by each resolver, as without a memo.
class ArgumentsMemo {
public:
    ArgumentsMemo() = default;
    ArgumentsMemo(const ArgumentsMemo&) = delete;
    ArgumentsMemo& operator=(const ArgumentsMemo&) = delete;
    ~ArgumentsMemo();

    /// What `read` returns for `args`, as `kind` (any address unique to the reader) read it first
    /// from this value; `read` runs only when no entry holds it. An exception of `read` is passed on
    /// and nothing is kept.
    template <typename T, typename Read> T get(const void* kind, const Qn::Attribute& args, Read&& read) {
        const std::pair<const Entry*, size_t> found = find(kind, args.getHandle());
        if (found.first != nullptr) {
            return static_cast<const Held<T>*>(found.first)->value;
        }
        auto entry = std::make_unique<Held<T>>(kind, args, read());
        const T value = entry->value;
        publish(std::move(entry), found.second);
        return value;
    }

private:
    struct Entry {
        Entry(const void* k, const Qn::Attribute& a) : kind(k), args(a) {}
        virtual ~Entry() = default;
        const void* kind;
        const Qn::Attribute args;
    };
    template <typename T> struct Held : Entry {
        Held(const void* k, const Qn::Attribute& a, T v) : Entry(k, a), value(std::move(v)) {}
        const T value;
    };

    static constexpr size_t kSlots = 64;
    static constexpr size_t kProbes = 8;

    /// The entry of (`kind`, `handle`), or null and the first free slot where it may go (kSlots: none).
    std::pair<const Entry*, size_t> find(const void* kind, const void* handle) const;
    /// Puts `entry` in a free slot from `from` on, unless another cook put one there first (then
    /// `entry` is dropped: both read the same value).
    void publish(std::unique_ptr<Entry> entry, size_t from);
    static size_t home(const void* kind, const void* handle);

    std::array<std::atomic<const Entry*>, kSlots> m_slots{};
};

/// What the framework already found in a constraint description when it makes the kind's resolver.
struct ResolverSetup {
    /// The description's arguments, found in the framework's own pass over its children; null when the
    /// resolver is made without that pass.
    const ConstraintArguments* arguments = nullptr;
    /// Where values read per shared `args` value are kept; null when there is none.
    ArgumentsMemo* memo = nullptr;
};

/// `read(arguments)` of the description `constraintGroup`, taken from the memo of `setup` when one is
/// given and the value depends on `args` alone; `read` itself is the key of its kind.
template <typename T>
T readKindArguments(const ResolverSetup& setup, const Qn::GroupAttribute& constraintGroup,
                    T (*read)(const ConstraintArguments&)) {
    if (setup.arguments == nullptr) {
        return read(ConstraintArguments(constraintGroup));
    }
    const ConstraintArguments& arguments = *setup.arguments;
    const Qn::Attribute* args = arguments.argsOnly();
    if (setup.memo == nullptr || args == nullptr) {
        return read(arguments);
    }
    return setup.memo->get<T>(reinterpret_cast<const void*>(read), *args, [&] { return read(arguments); });
}

} // namespace Private
} // namespace Vexil3Constraints
