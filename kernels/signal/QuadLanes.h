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
    /// The input path (shift, insertion, a product and four sums) is about twice the
    /// recursion's length; three steps leave it room, measured faster than two.
    static constexpr int32 skew = 3;
    using Mask = __m128;
    struct Index {
        __m128i v;
    };

    __m128 v;

    static QuadLanes zero() { return {_mm_setzero_ps()}; }
    static QuadLanes broadcast(scalar value) { return {_mm_set1_ps(value)}; }
    static QuadLanes load(const scalar* p) { return {_mm_loadu_ps(p)}; }
    void store(scalar* p) const { _mm_storeu_ps(p, v); }
    scalar lane(int32 index) const {
        alignas(16) scalar lanes[width];
        _mm_store_ps(lanes, v);
        return lanes[index];
    }
    scalar top() const { return _mm_cvtss_f32(_mm_shuffle_ps(v, v, 0xff)); }

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

    Index truncated() const { return {_mm_cvttps_epi32(v)}; }
    static QuadLanes converted(Index index) { return {_mm_cvtepi32_ps(index.v)}; }
    /// SSE2 has no gather: four loads of two neighbours each, then sorted into a and b.
    static void gatherNeighbours(const scalar* table, Index index, QuadLanes& a, QuadLanes& b) {
        alignas(16) int32 at[width];
        _mm_store_si128(reinterpret_cast<__m128i*>(at), index.v);
        const __m128 first = _mm_loadh_pi(pairAt(table, at[0]), pairAddress(table, at[1]));
        const __m128 second = _mm_loadh_pi(pairAt(table, at[2]), pairAddress(table, at[3]));
        a = {_mm_shuffle_ps(first, second, 0x88)};
        b = {_mm_shuffle_ps(first, second, 0xdd)};
    }
    static Mask indexBelow(Index index, int32 bound) {
        return _mm_castsi128_ps(_mm_cmplt_epi32(index.v, _mm_set1_epi32(bound)));
    }
    /// bound − 1 does not overflow: bounds are table indices of 1 or more.
    static Mask indexAtLeast(Index index, int32 bound) {
        return _mm_castsi128_ps(_mm_cmpgt_epi32(index.v, _mm_set1_epi32(bound - 1)));
    }
    static Mask either(Mask a, Mask b) { return _mm_or_ps(a, b); }
    static Mask equal(QuadLanes a, QuadLanes b) { return _mm_cmpeq_ps(a.v, b.v); }
    static Index indexOutside(Mask mask, Index index) {
        return {_mm_andnot_si128(_mm_castps_si128(mask), index.v)};
    }

private:
    static const __m64* pairAddress(const scalar* table, int32 index) {
        return reinterpret_cast<const __m64*>(table + index);
    }
    static __m128 pairAt(const scalar* table, int32 index) {
        return _mm_loadl_pi(_mm_setzero_ps(), pairAddress(table, index));
    }
};

} // namespace nodara::kernels
