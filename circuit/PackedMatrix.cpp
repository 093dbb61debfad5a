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
    take(operand, nx, ny);
    productOf(y, nullptr);
}

void PackedMatrix::residual(const scalar* operand, const scalar* r, scalar* y, uint32_t nx,
                            uint32_t ny) {
    take(operand, nx, ny);
    productOf(y, r);
}

void PackedMatrix::take(const scalar* operand, uint32_t nx, uint32_t ny) {
    if (nx != cols) {
        throw NodaraException(concat(
            "Invalid size of the x vector in matrix-vector product. Expected", cols, ", got", nx));
    }
    if (ny != rows) {
        throw NodaraException(concat(
            "Invalid size of the y vector in matrix-vector product. Expected", rows, ", got", ny));
    }
    // Whole groups in and out: a group read soon after a narrower copy wrote it would wait
    // for that copy. The operand is read value by value for the same reason: a solver has
    // just written it one entry at a time. The lanes past n are 0.
    uint32_t full = 0;
    for (; 4 * full + 4 <= cols; ++full) {
        const scalar* values = operand + 4 * full;
        _mm_store_ps(x[full].lanes, _mm_setr_ps(values[0], values[1], values[2], values[3]));
    }
    if (full < blocksN) {
        const scalar* tail = operand + 4 * full;
        const uint32_t left = cols - 4 * full;
        _mm_store_ps(x[full].lanes, _mm_setr_ps(tail[0], left > 1 ? tail[1] : 0.0f,
                                                left > 2 ? tail[2] : 0.0f, 0.0f));
    }
}

void PackedMatrix::productOf(scalar* y, const scalar* r) const {
    switch (blocksN) {
    case 1: return productOf<1>(y, r);
    case 2: return productOf<2>(y, r);
    case 3: return productOf<3>(y, r);
    case 4: return productOf<4>(y, r);
    default: return productOf<0>(y, r);
    }
}

// blocks is blocksN where it is small, so that the walk over the groups unrolls; 0 for any
// other count. The order of the additions is the same either way. Each row's value is stored
// once, whole: a later wide read of y then finds it without waiting.
template <uint32_t blocks>
void PackedMatrix::productOf(scalar* y, const scalar* r) const {
    const uint32_t count = blocks == 0 ? blocksN : blocks;
    for (uint32_t row = 0; row < rows; ++row) {
        // Two accumulators over pairs of groups, so that two products are in flight.
        __m128 first = _mm_setzero_ps();
        __m128 second = _mm_setzero_ps();
        const Group* groups = data.data() + row;
        uint32_t b = 0;
        for (; b + 1 < count; b += 2) {
            first = _mm_add_ps(first, _mm_mul_ps(load(groups[static_cast<std::size_t>(b) * rows]),
                                                 load(x[b])));
            second = _mm_add_ps(second,
                                _mm_mul_ps(load(groups[static_cast<std::size_t>(b + 1) * rows]),
                                           load(x[b + 1])));
        }
        if (b < count) {
            first = _mm_add_ps(first, _mm_mul_ps(load(groups[static_cast<std::size_t>(b) * rows]),
                                                 load(x[b])));
        }
        // (s0 + s1) + (s2 + s3) across the lanes, in registers.
        const __m128 sum = _mm_add_ps(first, second);
        const __m128 pairs = _mm_add_ps(sum, _mm_shuffle_ps(sum, sum, _MM_SHUFFLE(2, 3, 0, 1)));
        const scalar value = _mm_cvtss_f32(_mm_add_ss(pairs, _mm_movehl_ps(pairs, pairs)));
        y[row] = r == nullptr ? value : value + -1.0f * r[row];
    }
}

} // namespace nodara
