// Counts what the real-time rules forbid on the audio thread. A test program that links this
// file replaces the C library's allocation, lock, yield, sleep, read and write entry points
// with counting ones that pass each call on; a module it loads with dlopen reaches them too,
// since the program's own symbols come first. Only the thread inside callsOf counts.
#include "support/AllocationCounter.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <ostream>

namespace {

thread_local bool counting = false;
thread_local nodara::testing::CallCounts counts;

[[maybe_unused]] void count(long nodara::testing::CallCounts::*kind) {
    if (counting) {
        ++(counts.*kind);
    }
}

} // namespace

// A sanitizer replaces these calls itself, and its run time starts before this file's could:
// under one, nothing is counted and the tests that count are skipped.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TORVANE_COUNTING 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TORVANE_COUNTING 0
#endif
#endif
#ifndef TORVANE_COUNTING
#define TORVANE_COUNTING 1
#endif

#if TORVANE_COUNTING

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);
ssize_t __read(int descriptor, void* buffer, size_t count);
ssize_t __write(int descriptor, const void* buffer, size_t count);
int __nanosleep(const struct timespec* request, struct timespec* remaining);
int __sched_yield();
}

namespace {

using namespace nodara::testing;

/// The library's own entry point `name`, found at its first use: a static initialiser could
/// come too late, since locks are taken before this file's statics are set. The holder is
/// constant-initialised, so finding it takes no lock of its own.
template <class Function>
Function next(std::atomic<Function>& holder, const char* name) {
    Function found = holder.load(std::memory_order_acquire);
    if (found == nullptr) {
        found = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        holder.store(found, std::memory_order_release);
    }
    return found;
}
using LockCall = int (*)(pthread_mutex_t*);
using ClockSleep = int (*)(clockid_t, int, const struct timespec*, struct timespec*);
std::atomic<LockCall> realLock{nullptr};
std::atomic<LockCall> realTryLock{nullptr};
std::atomic<ClockSleep> realClockSleep{nullptr};

} // namespace

extern "C" {

void* malloc(size_t size) {
    count(&CallCounts::allocations);
    return __libc_malloc(size);
}

void* calloc(size_t number, size_t size) {
    count(&CallCounts::allocations);
    return __libc_calloc(number, size);
}

void* realloc(void* memory, size_t size) {
    count(&CallCounts::allocations);
    return __libc_realloc(memory, size);
}

void* memalign(size_t alignment, size_t size) {
    count(&CallCounts::allocations);
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    count(&CallCounts::allocations);
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    count(&CallCounts::allocations);
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr && size != 0 ? ENOMEM : 0;
}

void free(void* memory) {
    if (memory != nullptr) {
        count(&CallCounts::frees);
    }
    __libc_free(memory);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    count(&CallCounts::locks);
    return next(realLock, "pthread_mutex_lock")(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    count(&CallCounts::locks);
    return next(realTryLock, "pthread_mutex_trylock")(mutex);
}

int sched_yield() {
    count(&CallCounts::waits);
    return __sched_yield();
}

int nanosleep(const struct timespec* request, struct timespec* remaining) {
    count(&CallCounts::waits);
    return __nanosleep(request, remaining);
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* request,
                    struct timespec* remaining) {
    count(&CallCounts::waits);
    return next(realClockSleep, "clock_nanosleep")(clock, flags, request, remaining);
}

ssize_t read(int descriptor, void* buffer, size_t size) {
    count(&CallCounts::io);
    return __read(descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, size_t size) {
    count(&CallCounts::io);
    return __write(descriptor, buffer, size);
}

} // extern "C"

#endif // TORVANE_COUNTING

namespace nodara::testing {

std::ostream& operator<<(std::ostream& out, const CallCounts& calls) {
    return out << calls.allocations << " allocations, " << calls.frees << " frees, "
               << calls.locks << " locks, " << calls.waits << " yields or sleeps, " << calls.io
               << " reads or writes";
}

CallCounts callsOf(const std::function<void()>& action) {
    counts = {};
    counting = true;
    action();
    counting = false;
    return counts;
}

long allocationsOf(const std::function<void()>& action) { return callsOf(action).allocations; }

bool callsAreCounted() { return TORVANE_COUNTING != 0; }

} // namespace nodara::testing
