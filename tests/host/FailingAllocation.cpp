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

// Every other form of the plain operators goes through the two above, so that a sanitizer's own
// allocator never sees a block of malloc freed as its own, or the other way round.
void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (...) {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, nothrow);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
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
