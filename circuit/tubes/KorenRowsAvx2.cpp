// Compiled with AVX2: the vector forms of exp, log1p and pow (the C library's, four doubles
// at a time) take and give their values in 256-bit registers.
#include "circuit/tubes/KorenRows.h"

#include <immintrin.h>

extern "C" {
__m256d _ZGVdN4v_exp(__m256d);
__m256d _ZGVdN4v_log1p(__m256d);
__m256d _ZGVdN4vv_pow(__m256d, __m256d);
}

namespace nodara::koren {

namespace {

struct Terms {
    __m256d p;
    __m256d e1;
    __m256d softplus;
    __m256d logistic;
};

// The law's terms at grid voltage vg + shift, as the point-by-point form computes them:
//   u = Kp·(1/mu + (vg + shift)/S), e = exp(−|u|), L = max(u, 0) + log1p(e),
//   σ = (u ≥ 0 ? 1 : e)/(1 + e), E1 = Vpk·L/Kp, P = (Ex/Kg)·E1^(Ex − 1)·(1 + sign E1).
Terms termsAt(const TriodeLaw& law, double vgShifted, __m256d vp, __m256d s) {
    const __m256d zero = _mm256_setzero_pd();
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d u = _mm256_mul_pd(
        _mm256_set1_pd(law.kp),
        _mm256_add_pd(_mm256_set1_pd(1.0 / law.mu), _mm256_div_pd(_mm256_set1_pd(vgShifted), s)));
    const __m256d e = _ZGVdN4v_exp(_mm256_or_pd(u, _mm256_set1_pd(-0.0)));
    const __m256d softplus = _mm256_add_pd(_mm256_max_pd(u, zero), _ZGVdN4v_log1p(e));
    const __m256d rising = _mm256_cmp_pd(u, zero, _CMP_GE_OQ);
    const __m256d logistic =
        _mm256_div_pd(_mm256_blendv_pd(e, one, rising), _mm256_add_pd(one, e));
    const __m256d e1 = _mm256_div_pd(_mm256_mul_pd(vp, softplus), _mm256_set1_pd(law.kp));
    const __m256d negative = _mm256_cmp_pd(zero, e1, _CMP_GT_OQ);
    const __m256d signPlusOne = _mm256_add_pd(
        _mm256_blendv_pd(one, _mm256_set1_pd(-1.0), negative), one);
    const __m256d power = _ZGVdN4vv_pow(e1, _mm256_set1_pd(law.ex - 1.0));
    const __m256d p = _mm256_mul_pd(_mm256_mul_pd(_mm256_set1_pd(law.ex / law.kg), power),
                                    signPlusOne);
    return {p, e1, softplus, logistic};
}

__m256d currentOf(const TriodeLaw& law, const Terms& terms) {
    return _mm256_div_pd(_mm256_mul_pd(terms.p, terms.e1), _mm256_set1_pd(law.ex));
}

} // namespace

void triodeRowAvx2(const TriodeLaw& law, double vg, double currentVg, const double* vp,
                   int32 count, scalar* out) {
    for (int32 j = 0; j < count; j += 4) {
        const __m256d v = _mm256_loadu_pd(vp + j);
        const __m256d s = _mm256_sqrt_pd(_mm256_add_pd(_mm256_set1_pd(law.kvb), _mm256_mul_pd(v, v)));
        const Terms withVct = termsAt(law, vg + law.vct, v, s);
        // The slope by Vpk leaves Vct out, on purpose.
        const Terms withoutVct = law.vct == 0.0 ? withVct : termsAt(law, vg + 0.0, v, s);
        const __m256d current = currentVg == vg ? currentOf(law, withVct)
                                                : currentOf(law, termsAt(law, currentVg + law.vct, v, s));
        const __m256d byVgk =
            _mm256_div_pd(_mm256_mul_pd(_mm256_mul_pd(withVct.p, v), withVct.logistic), s);
        const __m256d curvature = _mm256_div_pd(
            _mm256_mul_pd(_mm256_mul_pd(_mm256_mul_pd(withoutVct.logistic, _mm256_set1_pd(vg)), v), v),
            _mm256_mul_pd(_mm256_mul_pd(s, s), s));
        const __m256d byVpk = _mm256_mul_pd(
            withoutVct.p,
            _mm256_sub_pd(_mm256_div_pd(withoutVct.softplus, _mm256_set1_pd(law.kp)), curvature));
        alignas(16) scalar values[3][4];
        _mm_store_ps(values[0], _mm256_cvtpd_ps(current));
        _mm_store_ps(values[1], _mm256_cvtpd_ps(byVgk));
        _mm_store_ps(values[2], _mm256_cvtpd_ps(byVpk));
        for (int32 lane = 0; lane < 4 && j + lane < count; ++lane) {
            scalar* cell = out + 3 * (j + lane);
            cell[0] = values[0][lane];
            cell[1] = values[1][lane];
            cell[2] = values[2][lane];
        }
    }
}

} // namespace nodara::koren
