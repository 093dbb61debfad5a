#include "dsp/convolution/Buffer.h"

#include "runtime/Exceptions.h"

#include <algorithm>
#include <cstring>

namespace nodara {

namespace {

void checkLength(std::uint32_t length) {
    if (length < 1) {
        throw InvalidArgumentException(concat("Buffer size cannot be less than 1. size=", length));
    }
}

} // namespace

Buffer::Buffer(std::uint32_t bufferLength) : allocated(bufferLength), length(bufferLength) {
    checkLength(bufferLength);
    samples = makeAlignedFloats(bufferLength);
}

void Buffer::push(const float* newSamples, std::uint32_t count) {
    float* window = samples.get();
    std::memmove(window, window + count, (length - count) * sizeof(float));
    if (newSamples == nullptr) {
        // An unwired input is silence.
        std::fill_n(window + (length - count), count, 0.0f);
    } else {
        std::memcpy(window + (length - count), newSamples, count * sizeof(float));
    }
}

void Buffer::reset() { std::fill_n(samples.get(), length, 0.0f); }

void Buffer::resize(std::uint32_t newLength) {
    checkLength(newLength);
    const std::uint32_t kept = std::min(length, newLength);
    const float* newest = samples.get() + (length - kept);
    if (newLength > allocated) {
        AlignedFloats grown = makeAlignedFloats(newLength);
        std::memcpy(grown.get() + (newLength - kept), newest, kept * sizeof(float));
        samples = std::move(grown);
        allocated = newLength;
    } else {
        float* window = samples.get();
        std::memmove(window + (newLength - kept), newest, kept * sizeof(float));
        std::fill_n(window, newLength - kept, 0.0f);
    }
    length = newLength;
}

} // namespace nodara
