#pragma once

#include "runtime/Types.h"

#include <emmintrin.h>

namespace nodara::kernels {

/// Four floats in one SSE register, the Lanes of the signal kernels (SignalArithmetic.h) in the
/// SSE2 build and of short cascades in the wider ones. Each build passes its own tag type of
/// internal linkage, so each gets its own copy compiled with its own flags.
template <class BuildTag>
struct QuadLanes {
    static constexpr int32 width = 4;
    /// The lane shift and insertion take two cycles: the input path needs two steps.
    static constexpr int32 skew = 2;
    using Mask = __m128;

    __m128 v;

    static QuadLanes zero() { return {_mm_setzero_ps()}; }
    static QuadLanes load(const scalar* p) { return {_mm_loadu_ps(p)}; }
    void store(scalar* p) const { _mm_storeu_ps(p, v); }
    scalar lane(int32 index) const {
        alignas(16) scalar lanes[width];
        _mm_store_ps(lanes, v);
        return lanes[index];
    }

    friend QuadLanes operator+(QuadLanes x, QuadLanes y) { return {_mm_add_ps(x.v, y.v)}; }
    friend QuadLanes operator-(QuadLanes x, QuadLanes y) { return {_mm_sub_ps(x.v, y.v)}; }
    friend QuadLanes operator*(QuadLanes x, QuadLanes y) { return {_mm_mul_ps(x.v, y.v)}; }

    QuadLanes swapPairs() const { return {_mm_shuffle_ps(v, v, 0xb1)}; }
    QuadLanes evenDuplicated() const { return {_mm_shuffle_ps(v, v, 0xa0)}; }
    QuadLanes oddDuplicated() const { return {_mm_shuffle_ps(v, v, 0xf5)}; }
    QuadLanes negateEven() const {
        return {_mm_xor_ps(v, _mm_castsi128_ps(_mm_set1_epi64x(0x80000000)))};
    }

    QuadLanes shiftUpInserting(scalar sample) const {
        const __m128 shifted = _mm_castsi128_ps(_mm_slli_si128(_mm_castps_si128(v), 4));
        return {_mm_move_ss(shifted, _mm_set_ss(sample))};
    }

    static Mask working(int32 t, int32 frames) {
        const __m128i sample = _mm_sub_epi32(_mm_set1_epi32(t), _mm_setr_epi32(0, skew, 2 * skew, 3 * skew));
        const __m128i started = _mm_cmpgt_epi32(sample, _mm_set1_epi32(-1));
        const __m128i before = _mm_cmpgt_epi32(_mm_set1_epi32(frames), sample);
        return _mm_castsi128_ps(_mm_and_si128(started, before));
    }

    static QuadLanes select(Mask mask, QuadLanes a, QuadLanes b) {
        return {_mm_or_ps(_mm_and_ps(mask, a.v), _mm_andnot_ps(mask, b.v))};
    }
};

} // namespace nodara::kernels
