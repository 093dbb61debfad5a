#include "kernels/InstructionSet.h"
#include "kernels/KernelArithmetic.h"

#include <immintrin.h>

namespace nodara::kernels {

namespace {

/// Eight floats in one AVX register; the tail uses AVX's masked loads and stores, which touch
/// no memory in the masked-off lanes.
struct EightLanes {
    static constexpr int32 width = 8;
    /// Eight set lanes then eight clear ones: the mask of the first count lanes starts at
    /// width − count.
    static constexpr int32 maskWindow[2 * width] = {-1, -1, -1, -1, -1, -1, -1, -1,
                                                    0,  0,  0,  0,  0,  0,  0,  0};

    __m256 v;

    static __m256i firstLanes(int32 count) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(maskWindow + width - count));
    }

    static EightLanes zero() { return {_mm256_setzero_ps()}; }
    static EightLanes broadcast(scalar value) { return {_mm256_set1_ps(value)}; }
    static EightLanes load(const scalar* p) { return {_mm256_loadu_ps(p)}; }
    static EightLanes loadFirst(const scalar* p, int32 count) {
        return {_mm256_maskload_ps(p, firstLanes(count))};
    }

    void store(scalar* p) const { _mm256_storeu_ps(p, v); }
    void storeFirst(scalar* p, int32 count) const { _mm256_maskstore_ps(p, firstLanes(count), v); }

    friend EightLanes operator+(EightLanes x, EightLanes y) { return {_mm256_add_ps(x.v, y.v)}; }
    friend EightLanes operator*(EightLanes x, EightLanes y) { return {_mm256_mul_ps(x.v, y.v)}; }

    /// The two halves added, then (lane 0 + lane 2) + (lane 1 + lane 3) of that.
    scalar total() const {
        const __m128 halves = _mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
        const __m128 pairs = _mm_add_ps(halves, _mm_movehl_ps(halves, halves));
        return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
    }

    EightLanes magnitude() const { return {_mm256_andnot_ps(_mm256_set1_ps(-0.0f), v)}; }

    /// vmaxps returns its second operand when either is NaN, so a NaN candidate keeps best.
    static EightLanes largerOf(EightLanes best, EightLanes candidate) {
        return {_mm256_max_ps(candidate.v, best.v)};
    }

    scalar largest() const {
        const __m128 halves = _mm_max_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
        const __m128 pairs = _mm_max_ps(halves, _mm_movehl_ps(halves, halves));
        return _mm_cvtss_f32(_mm_max_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
    }

    int32 equalMask(EightLanes other) const {
        return _mm256_movemask_ps(_mm256_cmp_ps(v, other.v, _CMP_EQ_OQ));
    }

    /// The hardware's approximate reciprocal refined by one Newton step: r0·(2 − d·r0).
    static scalar reciprocal(scalar d) {
        const scalar r0 = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
        return r0 * (2.0f - d * r0);
    }
};

} // namespace

constinit const KernelBuild avxBuild = arithmetic::buildOver<EightLanes>("AVX", levelAvx);

} // namespace nodara::kernels
