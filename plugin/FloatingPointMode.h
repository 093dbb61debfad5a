#pragma once

#include <xmmintrin.h>

namespace torvane {

/// Flush-to-zero and denormals-are-zero for the life of the guard, on the calling thread; the
/// caller's MXCSR comes back when it ends. Denormals cost hundreds of cycles in the recursive
/// filters' tails, but the mode belongs to the host's thread, so every entry point that sets
/// it must give it back.
class FlushDenormals {
public:
    static constexpr unsigned flushToZero = 0x8000;
    static constexpr unsigned denormalsAreZero = 0x0040;

    FlushDenormals() : saved(_mm_getcsr()) { _mm_setcsr(saved | flushToZero | denormalsAreZero); }
    ~FlushDenormals() { _mm_setcsr(saved); }
    FlushDenormals(const FlushDenormals&) = delete;
    FlushDenormals& operator=(const FlushDenormals&) = delete;

private:
    unsigned saved;
};

} // namespace torvane
