#pragma once

#include "runtime/Types.h"

#include <emmintrin.h>

namespace nodara::kernels {

/// Four floats in one SSE register, the Lanes of the SSE2 and SSE4 builds. Each build passes
/// its own tag type of internal linkage, so each gets its own copy compiled with its own flags.
template <class BuildTag>
struct FourLanes {
    static constexpr int32 width = 4;

    __m128 v;

    static FourLanes zero() { return {_mm_setzero_ps()}; }
    static FourLanes broadcast(scalar value) { return {_mm_set1_ps(value)}; }
    static FourLanes load(const scalar* p) { return {_mm_loadu_ps(p)}; }

    // SSE has no masked load: the tail is put together from single and paired loads, so nothing
    // past p + count is read and no store is forwarded to a wide load.
    static FourLanes loadFirst(const scalar* p, int32 count) {
        switch (count) {
        case 1:
            return {_mm_load_ss(p)};
        case 2:
            return {loadPair(p)};
        case 3:
            return {_mm_movelh_ps(loadPair(p), _mm_load_ss(p + 2))};
        default:
            return zero();
        }
    }

    void store(scalar* p) const { _mm_storeu_ps(p, v); }

    void storeFirst(scalar* p, int32 count) const {
        if (count >= 2) {
            _mm_storel_pi(reinterpret_cast<__m64*>(p), v);
        }
        if (count == 1) {
            _mm_store_ss(p, v);
        }
        if (count == 3) {
            _mm_store_ss(p + 2, _mm_movehl_ps(v, v));
        }
    }

    friend FourLanes operator+(FourLanes x, FourLanes y) { return {_mm_add_ps(x.v, y.v)}; }
    friend FourLanes operator*(FourLanes x, FourLanes y) { return {_mm_mul_ps(x.v, y.v)}; }

    /// (lane 0 + lane 2) + (lane 1 + lane 3).
    scalar total() const {
        const __m128 pairs = _mm_add_ps(v, _mm_movehl_ps(v, v));
        return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
    }

    FourLanes magnitude() const { return {_mm_andnot_ps(_mm_set1_ps(-0.0f), v)}; }

    /// maxps returns its second operand when either is NaN, so a NaN candidate keeps best.
    static FourLanes largerOf(FourLanes best, FourLanes candidate) {
        return {_mm_max_ps(candidate.v, best.v)};
    }

    scalar largest() const {
        const __m128 pairs = _mm_max_ps(v, _mm_movehl_ps(v, v));
        return _mm_cvtss_f32(_mm_max_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
    }

    int32 equalMask(FourLanes other) const { return _mm_movemask_ps(_mm_cmpeq_ps(v, other.v)); }

    /// The hardware's approximate reciprocal refined by one Newton step: r0·(2 − d·r0).
    static scalar reciprocal(scalar d) {
        const scalar r0 = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
        return r0 * (2.0f - d * r0);
    }

private:
    /// Two floats into the low lanes, zeros above.
    static __m128 loadPair(const scalar* p) {
        return _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p));
    }
};

} // namespace nodara::kernels
