#pragma once

#include <functional>

namespace nodara::testing {

/// Heap allocations made by `action` on any thread: the test programs that include
/// support/AllocationCounter.cpp count them in a replaced operator new.
long allocationsOf(const std::function<void()>& action);

} // namespace nodara::testing
