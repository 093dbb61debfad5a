#include "circuit/PackedMatrix.h"

#include "runtime/Exceptions.h"

#include <cstddef>

namespace nodara {

PackedMatrix::PackedMatrix(const scalar* source, uint32_t m, uint32_t n)
    : data(static_cast<std::size_t>(m) * (((n - 1) >> 2) + 1)),
      x(((n - 1) >> 2) + 1, Group{{0.0f, 0.0f, 0.0f, 0.0f}}),
      rows(m),
      cols(n),
      blocksN(((n - 1) >> 2) + 1) {
    pack(source);
}

void PackedMatrix::updateMatrix(const scalar* source, uint32_t m, uint32_t n) {
    if (m != rows || n != cols) {
        throw NodaraException(concat(
            "Changing matrix dimensions is not allowed in updateMatrix. Old dimensions mxn=", rows,
            "x", cols, ". New dimensions mxn", m, "x", n));
    }
    pack(source);
}

void PackedMatrix::pack(const scalar* source) {
    for (uint32_t b = 0; b < blocksN; ++b) {
        for (uint32_t r = 0; r < rows; ++r) {
            Group& group = data[static_cast<std::size_t>(b) * rows + r];
            for (uint32_t lane = 0; lane < 4; ++lane) {
                group.lanes[lane] = 4 * b + lane < cols
                                        ? source[static_cast<std::size_t>(4 * b + lane) * rows + r]
                                        : 0.0f;
            }
        }
    }
}

void PackedMatrix::product(const scalar* operand, scalar* y, uint32_t nx, uint32_t ny) {
    if (nx != cols) {
        throw NodaraException(concat(
            "Invalid size of the x vector in matrix-vector product. Expected", cols, ", got", nx));
    }
    if (ny != rows) {
        throw NodaraException(concat(
            "Invalid size of the y vector in matrix-vector product. Expected", rows, ", got", ny));
    }
    // Whole groups in and out: a group read soon after a narrower copy wrote it would wait
    // for that copy. The lanes past n are 0.
    uint32_t full = 0;
    for (; 4 * full + 4 <= cols; ++full) {
        _mm_store_ps(x[full].lanes, _mm_loadu_ps(operand + 4 * full));
    }
    if (full < blocksN) {
        const scalar* tail = operand + 4 * full;
        const uint32_t left = cols - 4 * full;
        _mm_store_ps(x[full].lanes, _mm_setr_ps(tail[0], left > 1 ? tail[1] : 0.0f,
                                                left > 2 ? tail[2] : 0.0f, 0.0f));
    }
    switch (blocksN) {
    case 1: return productOf<1>(y);
    case 2: return productOf<2>(y);
    case 3: return productOf<3>(y);
    case 4: return productOf<4>(y);
    default: return productOf<0>(y);
    }
}

// blocks is blocksN where it is small, so that the walk over the groups unrolls; 0 for any
// other count. The order of the additions is the same either way.
template <uint32_t blocks>
void PackedMatrix::productOf(scalar* y) const {
    const uint32_t count = blocks == 0 ? blocksN : blocks;
    for (uint32_t r = 0; r < rows; ++r) {
        // Two accumulators over pairs of groups, so that two products are in flight.
        __m128 first = _mm_setzero_ps();
        __m128 second = _mm_setzero_ps();
        const Group* row = data.data() + r;
        uint32_t b = 0;
        for (; b + 1 < count; b += 2) {
            first = _mm_add_ps(first,
                               _mm_mul_ps(load(row[static_cast<std::size_t>(b) * rows]), load(x[b])));
            second = _mm_add_ps(second, _mm_mul_ps(load(row[static_cast<std::size_t>(b + 1) * rows]),
                                                   load(x[b + 1])));
        }
        if (b < count) {
            first = _mm_add_ps(first,
                               _mm_mul_ps(load(row[static_cast<std::size_t>(b) * rows]), load(x[b])));
        }
        alignas(16) scalar sum[4];
        _mm_store_ps(sum, _mm_add_ps(first, second));
        y[r] = (sum[0] + sum[1]) + (sum[2] + sum[3]);
    }
}

} // namespace nodara
