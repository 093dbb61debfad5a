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
    struct Index {
        __m256i v;
    };

    __m256 v;

    static OctetLanes zero() { return {_mm256_setzero_ps()}; }
    static OctetLanes broadcast(scalar value) { return {_mm256_set1_ps(value)}; }
    static OctetLanes load(const scalar* p) { return {_mm256_loadu_ps(p)}; }
    void store(scalar* p) const { _mm256_storeu_ps(p, v); }
    scalar lane(int32 index) const {
        alignas(32) scalar lanes[width];
        _mm256_store_ps(lanes, v);
        return lanes[index];
    }
    scalar top() const {
        const __m128 high = _mm256_extractf128_ps(v, 1);
        return _mm_cvtss_f32(_mm_shuffle_ps(high, high, 0xff));
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

    Index truncated() const { return {_mm256_cvttps_epi32(v)}; }
    static OctetLanes converted(Index index) { return {_mm256_cvtepi32_ps(index.v)}; }
    static void gatherNeighbours(const scalar* table, Index index, OctetLanes& a, OctetLanes& b) {
        const auto* pairs = reinterpret_cast<const double*>(table);
        // Lanes 0..3 and 4..7 as (a, b) pairs, then the a and b of each pair's 128-bit half
        // side by side, then the halves' middle quarters exchanged.
        const __m256 low = gatherPairs(pairs, _mm256_castsi256_si128(index.v));
        const __m256 high = gatherPairs(pairs, _mm256_extracti128_si256(index.v, 1));
        a = {inOrder(_mm256_shuffle_ps(low, high, 0x88))};
        b = {inOrder(_mm256_shuffle_ps(low, high, 0xdd))};
    }
    static Mask indexBelow(Index index, int32 bound) {
        return _mm256_castsi256_ps(_mm256_cmpgt_epi32(_mm256_set1_epi32(bound), index.v));
    }
    /// bound − 1 does not overflow: bounds are table indices of 1 or more.
    static Mask indexAtLeast(Index index, int32 bound) {
        return _mm256_castsi256_ps(_mm256_cmpgt_epi32(index.v, _mm256_set1_epi32(bound - 1)));
    }
    static Mask either(Mask a, Mask b) { return _mm256_or_ps(a, b); }
    static Mask equal(OctetLanes a, OctetLanes b) { return _mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ); }
    static Index indexOutside(Mask mask, Index index) {
        return {_mm256_andnot_si256(_mm256_castps_si256(mask), index.v)};
    }

private:
    /// The masked form with every lane on: g++ 12's plain form reads an undefined register.
    static __m256 gatherPairs(const double* pairs, __m128i index) {
        const __m256d all = _mm256_castsi256_pd(_mm256_set1_epi64x(-1));
        return _mm256_castpd_ps(
            _mm256_mask_i32gather_pd(_mm256_setzero_pd(), pairs, index, all, sizeof(scalar)));
    }
    /// (0 1 4 5 | 2 3 6 7) to (0 1 2 3 | 4 5 6 7).
    static __m256 inOrder(__m256 v) {
        return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(v), 0xd8));
    }
};

} // namespace nodara::kernels
