// Counts heap allocations, so that tests can measure that the audio path allocates nothing.
#include "support/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> allocations{0};
std::atomic<bool> counting{false};
} // namespace

// The replacements pair malloc with free; the compiler only sees free meet a pointer from new.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    if (counting.load(std::memory_order_relaxed)) {
        allocations.fetch_add(1, std::memory_order_relaxed);
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace nodara::testing {

long allocationsOf(const std::function<void()>& action) {
    allocations = 0;
    counting = true;
    action();
    counting = false;
    return allocations.load();
}

} // namespace nodara::testing
