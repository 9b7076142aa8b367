// Allocation failure on demand, for tests of what the host does when memory runs out: the test
// program replaces the global operator new, so that the host's libraries and the plug-ins it loads
// all allocate through it.
#pragma once

namespace VexilHost {
namespace HostTest {

/// While alive, the next allocation through operator new of the calling thread throws
/// std::bad_alloc; other threads allocate as usual.
class FailingAllocation {
public:
    FailingAllocation();
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    /// True once the failure has happened.
    bool happened() const;
};

} // namespace HostTest
} // namespace VexilHost
