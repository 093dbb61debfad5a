#pragma once

#include "runtime/Types.h"

#include <xmmintrin.h>

#include <cstddef>

// The dot product of the finite filters, in a fixed order of additions so that every build
// gives the same bits: lane l (0 to 3) sums taps[4g + l]·window[4g + l] over the groups g in
// storage order, and the lanes are totalled as (lane 0 + lane 2) + (lane 1 + lane 3). IEEE
// addition commutes, so this is also (lane 3 + lane 1) + (lane 2 + lane 0). No fused
// multiply-add: the build turns contraction off.
namespace nodara::fir {

/// Four taps, one vector register.
struct alignas(16) TapGroup {
    scalar lane[4];
};

inline scalar totalOfLanes(__m128 lanes) {
    alignas(16) scalar lane[4];
    _mm_store_ps(lane, lanes);
    return (lane[0] + lane[2]) + (lane[1] + lane[3]);
}

/// One frame: `count` groups against window[0 .. 4·count − 1].
inline scalar dot(const TapGroup* taps, int32 count, const scalar* window) {
    __m128 sum = _mm_setzero_ps();
    for (int32 g = 0; g < count; ++g) {
        sum = _mm_add_ps(sum, _mm_mul_ps(_mm_load_ps(taps[g].lane), _mm_loadu_ps(window + 4 * g)));
    }
    return totalOfLanes(sum);
}

/// Four frames at once, each with the bits of dot(): frame k uses the taps at
/// taps + k·tapStride (in groups) and the window at window + k·windowStride (in floats), and
/// goes to out[k]. Four independent sums keep the adder busy.
inline void dot4(const TapGroup* taps, size_t tapStride, const scalar* window, size_t windowStride,
                 int32 count, scalar* out) {
    __m128 s0 = _mm_setzero_ps(), s1 = s0, s2 = s0, s3 = s0;
    const TapGroup* t1 = taps + tapStride;
    const TapGroup* t2 = t1 + tapStride;
    const TapGroup* t3 = t2 + tapStride;
    const scalar* w1 = window + windowStride;
    const scalar* w2 = w1 + windowStride;
    const scalar* w3 = w2 + windowStride;
    for (int32 g = 0; g < count; ++g) {
        const size_t at = 4 * static_cast<size_t>(g);
        s0 = _mm_add_ps(s0, _mm_mul_ps(_mm_load_ps(taps[g].lane), _mm_loadu_ps(window + at)));
        s1 = _mm_add_ps(s1, _mm_mul_ps(_mm_load_ps(t1[g].lane), _mm_loadu_ps(w1 + at)));
        s2 = _mm_add_ps(s2, _mm_mul_ps(_mm_load_ps(t2[g].lane), _mm_loadu_ps(w2 + at)));
        s3 = _mm_add_ps(s3, _mm_mul_ps(_mm_load_ps(t3[g].lane), _mm_loadu_ps(w3 + at)));
    }
    // After the transpose s<l> holds lane l of the four frames.
    _MM_TRANSPOSE4_PS(s0, s1, s2, s3);
    _mm_storeu_ps(out, _mm_add_ps(_mm_add_ps(s0, s2), _mm_add_ps(s1, s3)));
}

} // namespace nodara::fir
