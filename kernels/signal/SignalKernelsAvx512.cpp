#include "kernels/InstructionSet.h"
#include "kernels/signal/SignalArithmetic.h"

#include <immintrin.h>

namespace nodara::kernels {

namespace {

/// Sixteen floats in one AVX-512 register: eight complex values.
struct Avx512Lanes {
    static constexpr int32 width = 16;
    static constexpr __mmask16 allLanes = 0xffff;

    __m512 v;

    static Avx512Lanes zero() { return {_mm512_setzero_ps()}; }
    static Avx512Lanes load(const scalar* p) { return {_mm512_loadu_ps(p)}; }
    void store(scalar* p) const { _mm512_storeu_ps(p, v); }

    friend Avx512Lanes operator+(Avx512Lanes x, Avx512Lanes y) { return {_mm512_add_ps(x.v, y.v)}; }
    friend Avx512Lanes operator*(Avx512Lanes x, Avx512Lanes y) { return {_mm512_mul_ps(x.v, y.v)}; }

    // The zero-masked forms with every lane kept: g++ 12's plain forms read an undefined
    // register and warn.
    Avx512Lanes swapPairs() const { return {_mm512_maskz_permute_ps(allLanes, v, 0xb1)}; }
    Avx512Lanes evenDuplicated() const { return {_mm512_maskz_moveldup_ps(allLanes, v)}; }
    Avx512Lanes oddDuplicated() const { return {_mm512_maskz_movehdup_ps(allLanes, v)}; }
    Avx512Lanes negateEven() const {
        return {_mm512_xor_ps(v, _mm512_castsi512_ps(_mm512_set1_epi64(0x80000000)))};
    }
};

} // namespace

constinit const SignalKernelBuild signalAvx512Build =
    lanes::buildOver<Avx512Lanes>("AVX512", levelAvx512);

} // namespace nodara::kernels
