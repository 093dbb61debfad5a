#pragma once

#include "runtime/Types.h"

#include <immintrin.h>

namespace nodara::kernels {

/// Eight floats in one AVX register, the Lanes of the signal kernels (SignalArithmetic.h) in
/// the AVX2 build and of mid-length cascades in the AVX-512 one. Each build passes its own tag
/// type of internal linkage, so each gets its own copy compiled with its own flags.
template <class BuildTag>
struct OctetLanes {
    static constexpr int32 width = 8;
    /// The shift across the register's halves is slow: the input path takes three steps.
    static constexpr int32 skew = 3;
    using Mask = __m256;

    __m256 v;

    static OctetLanes zero() { return {_mm256_setzero_ps()}; }
    static OctetLanes load(const scalar* p) { return {_mm256_loadu_ps(p)}; }
    void store(scalar* p) const { _mm256_storeu_ps(p, v); }
    scalar lane(int32 index) const {
        alignas(32) scalar lanes[width];
        _mm256_store_ps(lanes, v);
        return lanes[index];
    }

    friend OctetLanes operator+(OctetLanes x, OctetLanes y) { return {_mm256_add_ps(x.v, y.v)}; }
    friend OctetLanes operator-(OctetLanes x, OctetLanes y) { return {_mm256_sub_ps(x.v, y.v)}; }
    friend OctetLanes operator*(OctetLanes x, OctetLanes y) { return {_mm256_mul_ps(x.v, y.v)}; }

    OctetLanes swapPairs() const { return {_mm256_permute_ps(v, 0xb1)}; }
    OctetLanes evenDuplicated() const { return {_mm256_moveldup_ps(v)}; }
    OctetLanes oddDuplicated() const { return {_mm256_movehdup_ps(v)}; }
    OctetLanes negateEven() const {
        return {_mm256_xor_ps(v, _mm256_castsi256_ps(_mm256_set1_epi64x(0x80000000)))};
    }

    OctetLanes shiftUpInserting(scalar sample) const {
        const __m256 shifted =
            _mm256_permutevar8x32_ps(v, _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6));
        return {_mm256_blend_ps(shifted, _mm256_set1_ps(sample), 1)};
    }

    static Mask working(int32 t, int32 frames) {
        const __m256i sample = _mm256_sub_epi32(
            _mm256_set1_epi32(t), _mm256_setr_epi32(0, skew, 2 * skew, 3 * skew, 4 * skew,
                                                    5 * skew, 6 * skew, 7 * skew));
        const __m256i started = _mm256_cmpgt_epi32(sample, _mm256_set1_epi32(-1));
        const __m256i before = _mm256_cmpgt_epi32(_mm256_set1_epi32(frames), sample);
        return _mm256_castsi256_ps(_mm256_and_si256(started, before));
    }

    static OctetLanes select(Mask mask, OctetLanes a, OctetLanes b) {
        return {_mm256_blendv_ps(b.v, a.v, mask)};
    }
};

} // namespace nodara::kernels
