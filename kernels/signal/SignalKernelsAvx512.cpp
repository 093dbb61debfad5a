#include "kernels/InstructionSet.h"
#include "kernels/signal/OctetLanes.h"
#include "kernels/signal/QuadLanes.h"
#include "kernels/signal/SignalArithmetic.h"

#include <immintrin.h>

namespace nodara::kernels {

namespace {

struct Avx512Tag {};
using Quad = QuadLanes<Avx512Tag>;
using Octet = OctetLanes<Avx512Tag>;

/// Sixteen floats in one AVX-512 register.
struct Avx512Lanes {
    static constexpr int32 width = 16;
    static constexpr int32 skew = 3;
    static constexpr __mmask16 allLanes = 0xffff;
    using Mask = __mmask16;

    __m512 v;

    static Avx512Lanes zero() { return {_mm512_setzero_ps()}; }
    static Avx512Lanes load(const scalar* p) { return {_mm512_loadu_ps(p)}; }
    void store(scalar* p) const { _mm512_storeu_ps(p, v); }
    scalar lane(int32 index) const {
        alignas(64) scalar lanes[width];
        _mm512_store_ps(lanes, v);
        return lanes[index];
    }

    friend Avx512Lanes operator+(Avx512Lanes x, Avx512Lanes y) { return {_mm512_add_ps(x.v, y.v)}; }
    friend Avx512Lanes operator-(Avx512Lanes x, Avx512Lanes y) { return {_mm512_sub_ps(x.v, y.v)}; }
    friend Avx512Lanes operator*(Avx512Lanes x, Avx512Lanes y) { return {_mm512_mul_ps(x.v, y.v)}; }

    // The zero-masked forms with every lane kept: g++ 12's plain forms read an undefined
    // register and warn.
    Avx512Lanes swapPairs() const { return {_mm512_maskz_permute_ps(allLanes, v, 0xb1)}; }
    Avx512Lanes evenDuplicated() const { return {_mm512_maskz_moveldup_ps(allLanes, v)}; }
    Avx512Lanes oddDuplicated() const { return {_mm512_maskz_movehdup_ps(allLanes, v)}; }
    Avx512Lanes negateEven() const {
        return {_mm512_xor_ps(v, _mm512_castsi512_ps(_mm512_set1_epi64(0x80000000)))};
    }

    /// Lanes 0..14 move up one; the top lane of the broadcast sample comes in at lane 0.
    Avx512Lanes shiftUpInserting(scalar sample) const {
        return {_mm512_castsi512_ps(_mm512_maskz_alignr_epi32(
            allLanes, _mm512_castps_si512(v), _mm512_castps_si512(_mm512_set1_ps(sample)), 15))};
    }

    static Mask working(int32 t, int32 frames) {
        const __m512i sample = _mm512_sub_epi32(
            _mm512_set1_epi32(t),
            _mm512_mullo_epi32(_mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                               _mm512_set1_epi32(skew)));
        return _mm512_cmpge_epi32_mask(sample, _mm512_setzero_si512()) &
               _mm512_cmplt_epi32_mask(sample, _mm512_set1_epi32(frames));
    }

    static Avx512Lanes select(Mask mask, Avx512Lanes a, Avx512Lanes b) {
        return {_mm512_mask_blend_ps(mask, b.v, a.v)};
    }
};

/// The narrowest lanes that hold every stage: a shorter vector shifts sooner.
void biQuadCascade(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride,
                   const scalar* in, scalar* out, int32 frames) {
    if (stages <= Quad::width) {
        lanes::biQuadCascadeIn<Quad>(stages, coefficients, state, rowStride, in, out, frames);
    } else if (stages <= Octet::width) {
        lanes::biQuadCascadeIn<Octet>(stages, coefficients, state, rowStride, in, out, frames);
    } else {
        lanes::biQuadCascadeIn<Avx512Lanes>(stages, coefficients, state, rowStride, in, out,
                                            frames);
    }
}

} // namespace

constinit const SignalKernelBuild signalAvx512Build =
    lanes::buildOver<Avx512Lanes>("AVX512", levelAvx512, &biQuadCascade);

} // namespace nodara::kernels
