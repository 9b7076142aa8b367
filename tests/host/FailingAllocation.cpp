// The replaced operator new and delete, in a file of their own: inlined beside their callers, the
// compiler would take malloc and free under them for a mismatch.
#include "tests/host/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool t_failNext = false;
} // namespace

void* operator new(std::size_t size) {
    if (t_failNext) {
        t_failNext = false;
        throw std::bad_alloc();
    }
    if (void* block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace VexilHost {
namespace HostTest {

FailingAllocation::FailingAllocation() {
    t_failNext = true;
}

FailingAllocation::~FailingAllocation() {
    t_failNext = false;
}

bool FailingAllocation::happened() const {
    return !t_failNext;
}

} // namespace HostTest
} // namespace VexilHost
