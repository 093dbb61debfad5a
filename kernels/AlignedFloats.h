#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace nodara {

/// Alignment of the arrays handed to vectorised transforms: one cache line.
inline constexpr std::size_t floatArrayAlignment = 64;

/// Releases an array made by makeAlignedFloats.
struct AlignedFloatsDeleter {
    void operator()(float* array) const {
        ::operator delete[](array, std::align_val_t(floatArrayAlignment));
    }
};

/// An owned float array aligned to `floatArrayAlignment` bytes.
using AlignedFloats = std::unique_ptr<float[], AlignedFloatsDeleter>;

/// `count` zeros. Allocates.
inline AlignedFloats makeAlignedFloats(std::size_t count) {
    return AlignedFloats(new (std::align_val_t(floatArrayAlignment)) float[count]());
}

} // namespace nodara
