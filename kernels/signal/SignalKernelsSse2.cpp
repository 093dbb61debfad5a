#include "kernels/InstructionSet.h"
#include "kernels/signal/SignalArithmetic.h"

#include <emmintrin.h>

namespace nodara::kernels {

namespace {

/// Four floats in one SSE register: two complex values.
struct Sse2Lanes {
    static constexpr int32 width = 4;

    __m128 v;

    static Sse2Lanes zero() { return {_mm_setzero_ps()}; }
    static Sse2Lanes load(const scalar* p) { return {_mm_loadu_ps(p)}; }
    void store(scalar* p) const { _mm_storeu_ps(p, v); }

    friend Sse2Lanes operator+(Sse2Lanes x, Sse2Lanes y) { return {_mm_add_ps(x.v, y.v)}; }
    friend Sse2Lanes operator*(Sse2Lanes x, Sse2Lanes y) { return {_mm_mul_ps(x.v, y.v)}; }

    Sse2Lanes swapPairs() const { return {_mm_shuffle_ps(v, v, 0xb1)}; }
    Sse2Lanes evenDuplicated() const { return {_mm_shuffle_ps(v, v, 0xa0)}; }
    Sse2Lanes oddDuplicated() const { return {_mm_shuffle_ps(v, v, 0xf5)}; }
    Sse2Lanes negateEven() const {
        return {_mm_xor_ps(v, _mm_castsi128_ps(_mm_set1_epi64x(0x80000000)))};
    }
};

} // namespace

constinit const SignalKernelBuild signalSse2Build =
    lanes::buildOver<Sse2Lanes>("SSE2", levelSse2);

} // namespace nodara::kernels
