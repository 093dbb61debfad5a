#include "kernels/InstructionSet.h"
#include "kernels/signal/SignalArithmetic.h"

#include <immintrin.h>

namespace nodara::kernels {

namespace {

/// Eight floats in one AVX register: four complex values.
struct Avx2Lanes {
    static constexpr int32 width = 8;

    __m256 v;

    static Avx2Lanes zero() { return {_mm256_setzero_ps()}; }
    static Avx2Lanes load(const scalar* p) { return {_mm256_loadu_ps(p)}; }
    void store(scalar* p) const { _mm256_storeu_ps(p, v); }

    friend Avx2Lanes operator+(Avx2Lanes x, Avx2Lanes y) { return {_mm256_add_ps(x.v, y.v)}; }
    friend Avx2Lanes operator*(Avx2Lanes x, Avx2Lanes y) { return {_mm256_mul_ps(x.v, y.v)}; }

    Avx2Lanes swapPairs() const { return {_mm256_permute_ps(v, 0xb1)}; }
    Avx2Lanes evenDuplicated() const { return {_mm256_moveldup_ps(v)}; }
    Avx2Lanes oddDuplicated() const { return {_mm256_movehdup_ps(v)}; }
    Avx2Lanes negateEven() const {
        return {_mm256_xor_ps(v, _mm256_castsi256_ps(_mm256_set1_epi64x(0x80000000)))};
    }
};

} // namespace

constinit const SignalKernelBuild signalAvx2Build =
    lanes::buildOver<Avx2Lanes>("AVX2", levelAvx2);

} // namespace nodara::kernels
