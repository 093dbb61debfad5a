#pragma once

#include "kernels/AlignedFloats.h"

#include <cstdint>

namespace nodara {

/// A sliding window over the latest `size()` samples, oldest first, 64-byte aligned.
/// Not thread-safe; `push` allocates nothing.
class Buffer {
public:
    /// A window of `length` zeros; a length of 0 throws. Allocates.
    explicit Buffer(std::uint32_t length);

    /// Drops the oldest `count` samples and appends `samples`; `count` must not exceed size().
    /// Moves the window on by `count` samples; null samples are silence.
    void push(const float* samples, std::uint32_t count);
    /// Zeros the window; its length stays.
    void reset();
    /// Changes the length, keeping the newest samples; the older part of a longer window is
    /// zero. Allocates only when `length` exceeds the capacity; a length of 0 throws.
    void resize(std::uint32_t length);

    const float* data() const { return samples.get(); }
    std::uint32_t size() const { return length; }
    std::uint32_t capacity() const { return allocated; }

private:
    AlignedFloats samples;
    std::uint32_t allocated;
    std::uint32_t length;
};

} // namespace nodara
