#pragma once

#include <functional>
#include <iosfwd>

namespace nodara::testing {

/// What the real-time rules forbid on the audio thread, as counted by the replacements of the
/// C library's entry points that support/AllocationCounter.cpp links into a test program: they
/// count the calls the calling thread makes, wherever from (the plug-in's module included),
/// and pass them on.
struct CallCounts {
    long allocations = 0;  ///< malloc, calloc, realloc, the aligned forms; operator new
    long frees = 0;        ///< free; operator delete
    long locks = 0;        ///< pthread_mutex_lock and pthread_mutex_trylock
    long waits = 0;        ///< sched_yield, nanosleep, clock_nanosleep
    long io = 0;           ///< read and write

    long total() const { return allocations + frees + locks + waits + io; }
};

std::ostream& operator<<(std::ostream& out, const CallCounts& counts);

/// The calls `action` makes on the calling thread.
CallCounts callsOf(const std::function<void()>& action);

/// Heap allocations `action` makes on the calling thread.
long allocationsOf(const std::function<void()>& action);

/// False in a sanitizer's build, which counts nothing: the counting tests skip there.
bool callsAreCounted();

} // namespace nodara::testing
