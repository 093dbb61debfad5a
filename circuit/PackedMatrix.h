#pragma once

#include "runtime/Types.h"

#include <emmintrin.h>

#include <cstdint>
#include <vector>

namespace nodara {

/// A constant m×n matrix kept for four-wide products with a vector, as the per-sample solves
/// need them: group (b, r), at b·m + r, holds row r in columns 4b .. 4b + 3, columns past n
/// stored as 0, so a row is read without a stride.
///
/// Threads: `product` on the audio thread, no allocation; the rest allocate or repack, at
/// set-up or at a re-assembly.
class PackedMatrix {
public:
    /// Packs a copy of the column-major m×n `source`.
    PackedMatrix(const scalar* source, uint32_t m, uint32_t n);
    /// Repacks from `source`; the dimensions must be those of the matrix.
    void updateMatrix(const scalar* source, uint32_t m, uint32_t n);
    /// y = M·x, x of length nx = n and y of length ny = m.
    void product(const scalar* x, scalar* y, uint32_t nx, uint32_t ny);
    /// y = M·x − r, r of length m: the product, then y[i] += −1·r[i] as a saxpy would add it,
    /// row by row as each sum is formed.
    void residual(const scalar* x, const scalar* r, scalar* y, uint32_t nx, uint32_t ny);

    uint32_t getRows() const { return rows; }

private:
    struct alignas(16) Group {
        scalar lanes[4];
    };

    void pack(const scalar* source);
    /// Checks the lengths and copies x into the groups.
    void take(const scalar* operand, uint32_t nx, uint32_t ny);
    void productOf(scalar* y, const scalar* r) const;
    template <uint32_t blocks>
    void productOf(scalar* y, const scalar* r) const;
    __m128 load(const Group& group) const { return _mm_load_ps(group.lanes); }

    std::vector<Group> data;
    /// Scratch: the operand in groups of four.
    std::vector<Group> x;
    uint32_t rows;
    uint32_t cols;
    uint32_t blocksN;
};

} // namespace nodara
