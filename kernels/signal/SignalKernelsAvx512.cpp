#include "kernels/InstructionSet.h"
#include "kernels/signal/BiQuadLayout.h"
#include "kernels/signal/ChainArithmetic.h"
#include "kernels/signal/OctetLanes.h"
#include "kernels/signal/QuadLanes.h"
#include "kernels/signal/SignalArithmetic.h"

#include <immintrin.h>

// g++ 12's AVX-512 intrinsics pass an undefined register as the unused source of their unmasked
// forms, and its flow analysis then warns of an uninitialised value inside its own header.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

namespace nodara::kernels {

namespace {

struct Avx512Tag {};
using Quad = QuadLanes<Avx512Tag>;
using Octet = OctetLanes<Avx512Tag>;

/// Sixteen floats in one AVX-512 register.
struct Avx512Lanes {
    static constexpr int32 width = 16;
    static constexpr int32 skew = 3;
    using Mask = __mmask16;
    struct Index {
        __m512i v;
    };

    __m512 v;

    static Avx512Lanes zero() { return {_mm512_setzero_ps()}; }
    static Avx512Lanes broadcast(scalar value) { return {_mm512_set1_ps(value)}; }
    static Avx512Lanes load(const scalar* p) { return {_mm512_loadu_ps(p)}; }
    void store(scalar* p) const { _mm512_storeu_ps(p, v); }
    scalar lane(int32 index) const {
        alignas(64) scalar lanes[width];
        _mm512_store_ps(lanes, v);
        return lanes[index];
    }
    scalar top() const {
        const __m128 high = _mm512_extractf32x4_ps(v, 3);
        return _mm_cvtss_f32(_mm_shuffle_ps(high, high, 0xff));
    }

    friend Avx512Lanes operator+(Avx512Lanes x, Avx512Lanes y) { return {_mm512_add_ps(x.v, y.v)}; }
    friend Avx512Lanes operator-(Avx512Lanes x, Avx512Lanes y) { return {_mm512_sub_ps(x.v, y.v)}; }
    friend Avx512Lanes operator*(Avx512Lanes x, Avx512Lanes y) { return {_mm512_mul_ps(x.v, y.v)}; }

    Avx512Lanes swapPairs() const { return {_mm512_permute_ps(v, 0xb1)}; }
    Avx512Lanes evenDuplicated() const { return {_mm512_moveldup_ps(v)}; }
    Avx512Lanes oddDuplicated() const { return {_mm512_movehdup_ps(v)}; }
    Avx512Lanes negateEven() const {
        return {_mm512_xor_ps(v, _mm512_castsi512_ps(_mm512_set1_epi64(0x80000000)))};
    }

    /// Lanes 0..14 move up one; the top lane of the broadcast sample comes in at lane 0.
    Avx512Lanes shiftUpInserting(scalar sample) const {
        return {_mm512_castsi512_ps(_mm512_alignr_epi32(
            _mm512_castps_si512(v), _mm512_castps_si512(_mm512_set1_ps(sample)), 15))};
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

    Index truncated() const { return {_mm512_cvttps_epi32(v)}; }
    static Avx512Lanes converted(Index index) { return {_mm512_cvtepi32_ps(index.v)}; }
    /// Lanes 0..7 and 8..15 as (a, b) pairs, sorted into a and b.
    static void gatherNeighbours(const scalar* table, Index index, Avx512Lanes& a, Avx512Lanes& b) {
        const __m512 low = _mm512_castpd_ps(
            _mm512_i32gather_pd(_mm512_castsi512_si256(index.v), table, sizeof(scalar)));
        const __m512 high = _mm512_castpd_ps(
            _mm512_i32gather_pd(_mm512_extracti32x8_epi32(index.v, 1), table, sizeof(scalar)));
        const __m512i evens = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
        const __m512i odds = _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
        a = {_mm512_permutex2var_ps(low, evens, high)};
        b = {_mm512_permutex2var_ps(low, odds, high)};
    }
    static Mask indexBelow(Index index, int32 bound) {
        return _mm512_cmplt_epi32_mask(index.v, _mm512_set1_epi32(bound));
    }
    static Mask indexAtLeast(Index index, int32 bound) {
        return _mm512_cmpge_epi32_mask(index.v, _mm512_set1_epi32(bound));
    }
    static Mask either(Mask a, Mask b) { return static_cast<Mask>(a | b); }
    static Mask equal(Avx512Lanes a, Avx512Lanes b) { return _mm512_cmp_ps_mask(a.v, b.v, _CMP_EQ_OQ); }
    static Index indexOutside(Mask mask, Index index) {
        return {_mm512_maskz_mov_epi32(static_cast<Mask>(~mask), index.v)};
    }
};

/// The interpolator's stages in lanes [0, U) and the decimator's in [U, U + D) of one register,
/// so that one step of vector arithmetic moves both cascades: the chain's loop is bound by how
/// many instructions it issues. Each lane keeps its stage's arithmetic; lane U takes the
/// decimator's input, not lane U − 1's output.
class JointCascades {
public:
    static constexpr bool available = true;
    /// The lane shift and its blends take less than two steps of the recursion's pace here,
    /// and a shorter skew shortens the pipeline's filling and draining at every block.
    static constexpr int32 skew = 2;
    static bool fits(int32 up, int32 down) {
        return up >= 1 && down >= 1 && up + down <= Avx512Lanes::width;
    }

    explicit JointCascades(const FusedChain& chain)
        : chain(chain), upStages(chain.up.stages), downStages(chain.down.stages),
          upLanes(static_cast<__mmask16>((1u << upStages) - 1)),
          downLanes(static_cast<__mmask16>(((1u << downStages) - 1) << upStages)),
          filter{row(rowB0), row(rowB1), row(rowB2), row(rowA1),
                 row(rowA2)},
          memory{stateRow(rowX1), stateRow(rowX2), stateRow(rowY1), stateRow(rowY2)},
          last(Avx512Lanes::zero()) {
        alignas(64) int32 skews[Avx512Lanes::width];
        for (int32 i = 0; i < Avx512Lanes::width; ++i) {
            skews[i] = skew * (i < upStages ? i : i - upStages);
        }
        laneSkews = _mm512_load_si512(skews);
        upIndex = _mm512_set1_epi32(upStages - 1);
        downIndex = _mm512_set1_epi32(upStages + downStages - 1);
        for (Avx512Lanes& output : recent) {
            output = Avx512Lanes::zero();
        }
    }

    int32 upLag() const { return skew * (upStages - 1); }
    int32 downLag() const { return skew * (downStages - 1); }

    /// Interpolator step t and decimator step n of a block of `frames`, as CascadeGroup's.
    template <bool partial>
    void advance(scalar upSample, int32 t, scalar downSample, int32 n, int32 frames) {
        const __m512 shifted = _mm512_castsi512_ps(_mm512_alignr_epi32(
            _mm512_castps_si512(recent[skew - 1].v), _mm512_setzero_si512(), 15));
        const __m512 samples = _mm512_mask_blend_ps(static_cast<__mmask16>(1u << upStages),
                                                    _mm512_set1_ps(upSample),
                                                    _mm512_set1_ps(downSample));
        const Avx512Lanes x{_mm512_mask_blend_ps(
            static_cast<__mmask16>(1u | (1u << upStages)), shifted, samples)};
        const Avx512Lanes y = memory.next(filter, x);
        if constexpr (partial) {
            memory.takeWhere(workingLanes(t, n, frames), x, y);
        } else {
            memory.take(x, y);
        }
        for (int32 k = skew - 1; k > 0; --k) {
            recent[k] = recent[k - 1];
        }
        recent[0] = y;
        last = y;
    }
    scalar upOutput() const { return laneOf(upIndex); }
    scalar downOutput() const { return laneOf(downIndex); }

    void save() const {
        saveRow(memory.x1, rowX1);
        saveRow(memory.x2, rowX2);
        saveRow(memory.y1, rowY1);
        saveRow(memory.y2, rowY2);
    }

private:
    Avx512Lanes row(int32 r) const {
        const __m512 up =
            _mm512_maskz_loadu_ps(upLanes, chain.up.coefficients + r * chain.up.rowStride);
        return {_mm512_mask_expandloadu_ps(up, downLanes,
                                           chain.down.coefficients + r * chain.down.rowStride)};
    }
    Avx512Lanes stateRow(int32 r) const {
        const __m512 up = _mm512_maskz_loadu_ps(upLanes, chain.up.state + r * chain.up.rowStride);
        return {_mm512_mask_expandloadu_ps(up, downLanes,
                                           chain.down.state + r * chain.down.rowStride)};
    }
    void saveRow(Avx512Lanes values, int32 r) const {
        _mm512_mask_storeu_ps(chain.up.state + r * chain.up.rowStride, upLanes, values.v);
        _mm512_mask_compressstoreu_ps(chain.down.state + r * chain.down.rowStride, downLanes,
                                      values.v);
    }
    __mmask16 workingLanes(int32 t, int32 n, int32 frames) const {
        const __m512i step = _mm512_mask_blend_epi32(downLanes, _mm512_set1_epi32(t),
                                                     _mm512_set1_epi32(n));
        const __m512i sample = _mm512_sub_epi32(step, laneSkews);
        return static_cast<__mmask16>(
            (upLanes | downLanes) & _mm512_cmpge_epi32_mask(sample, _mm512_setzero_si512()) &
            _mm512_cmplt_epi32_mask(sample, _mm512_set1_epi32(frames)));
    }
    scalar laneOf(__m512i index) const {
        return _mm512_cvtss_f32(_mm512_permutexvar_ps(index, last.v));
    }

    const FusedChain& chain;
    int32 upStages;
    int32 downStages;
    __mmask16 upLanes;
    __mmask16 downLanes;
    lanes::BiQuadLanes<Avx512Lanes> filter;
    lanes::BiQuadMemory<Avx512Lanes> memory;
    Avx512Lanes last;
    Avx512Lanes recent[skew];
    __m512i laneSkews;
    __m512i upIndex;
    __m512i downIndex;
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
    lanes::buildOver<Avx512Lanes>(
        "AVX512", levelAvx512, &biQuadCascade,
        &lanes::fusedChainIn<Avx512Tag, Quad, Octet, JointCascades, false>,
        &lanes::fusedChainIn<Avx512Tag, Quad, Octet, JointCascades, true>);

} // namespace nodara::kernels
