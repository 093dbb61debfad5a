#include "circuit/solvers/SmallLu.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <emmintrin.h>

namespace nodara {

namespace {

// The hardware's estimate of 1/d and one Newton step, as the kernels form it.
scalar reciprocal(scalar d) {
    const scalar r0 = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
    return r0 * (2.0f - d * r0);
}

// Every loop is unrolled in full: the order is a constant, and a straight line of arithmetic is
// what makes these forms worth having. The matrix is worked on in a local copy: with no pointer
// that might alias it, the compiler keeps the entries in registers instead of reloading them
// after every store.
template <int32 n>
int32 ludcmp(scalar* a, int32 lda, int32* ipiv) {
    scalar m[n][n];
    #pragma GCC unroll 12
    for (int32 k = 0; k < n; ++k) {
        #pragma GCC unroll 12
        for (int32 i = 0; i < n; ++i) {
            m[k][i] = a[static_cast<std::ptrdiff_t>(k) * lda + i];
        }
    }
    int32 order[n];
    #pragma GCC unroll 12
    for (int32 i = 0; i < n; ++i) {
        order[i] = i;
    }
    int32 status = 0;
    #pragma GCC unroll 12
    for (int32 j = 0; j < n; ++j) {
        int32 p = j;
        scalar largest = std::fabs(m[j][j]);
        #pragma GCC unroll 12
        for (int32 i = j + 1; i < n; ++i) {
            if (std::fabs(m[j][i]) > largest) {
                largest = std::fabs(m[j][i]);
                p = i;
            }
        }
        // Each candidate row by its constant index, so that no entry needs an address.
        #pragma GCC unroll 12
        for (int32 i = j + 1; i < n; ++i) {
            if (p == i) {
                std::swap(order[j], order[i]);
                #pragma GCC unroll 12
                for (int32 k = 0; k < n; ++k) {
                    std::swap(m[k][j], m[k][i]);
                }
            }
        }
        const scalar pivot = m[j][j];
        if (!(std::fabs(pivot) >= 1e-20f)) {
            status = -1;
            break;
        }
        const scalar r = reciprocal(pivot);
        #pragma GCC unroll 12
        for (int32 i = j + 1; i < n; ++i) {
            m[j][i] *= r;
        }
        #pragma GCC unroll 12
        for (int32 k = j + 1; k < n; ++k) {
            #pragma GCC unroll 12
            for (int32 i = j + 1; i < n; ++i) {
                m[k][i] -= m[k][j] * m[j][i];
            }
        }
    }
    #pragma GCC unroll 12
    for (int32 k = 0; k < n; ++k) {
        ipiv[k] = order[k];
        #pragma GCC unroll 12
        for (int32 i = 0; i < n; ++i) {
            a[static_cast<std::ptrdiff_t>(k) * lda + i] = m[k][i];
        }
    }
    return status;
}

// The row of the largest magnitude in rows j .. n − 1 of a column, the first of equal ones, j
// unless another is strictly larger, NaNs never chosen: the plain loop's answer, with the
// search done on four rows at a time.
template <int32 n, int32 padded>
int32 pivotRow(const scalar (&column)[padded], int32 j) {
    const __m128i lane = _mm_setr_epi32(0, 1, 2, 3);
    const __m128 magnitude = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const __m128 none = _mm_set1_ps(-1.0f);
    const int32 first = (j + 1) & ~3;
    // Magnitudes of rows j + 1 .. n − 1 in the group at g, −1 elsewhere.
    const auto candidates = [&](int32 g) {
        const __m128i rows = _mm_add_epi32(lane, _mm_set1_epi32(g));
        const __m128 wanted = _mm_castsi128_ps(_mm_and_si128(
            _mm_cmpgt_epi32(rows, _mm_set1_epi32(j)), _mm_cmplt_epi32(rows, _mm_set1_epi32(n))));
        const __m128 value = _mm_and_ps(_mm_load_ps(&column[g]), magnitude);
        return _mm_or_ps(_mm_and_ps(wanted, value), _mm_andnot_ps(wanted, none));
    };
    // maxps gives its second operand where the first is NaN.
    __m128 best = none;
    for (int32 g = first; g < padded; g += 4) {
        best = _mm_max_ps(candidates(g), best);
    }
    best = _mm_max_ps(best, _mm_shuffle_ps(best, best, _MM_SHUFFLE(1, 0, 3, 2)));
    best = _mm_max_ps(best, _mm_shuffle_ps(best, best, _MM_SHUFFLE(2, 3, 0, 1)));
    if (!(_mm_cvtss_f32(best) > std::fabs(column[j]))) {
        return j;
    }
    for (int32 g = first;; g += 4) {
        if (const int bits = _mm_movemask_ps(_mm_cmpeq_ps(candidates(g), best))) {
            return g + __builtin_ctz(static_cast<unsigned>(bits));
        }
    }
}

// Exchanges rows j and p of every column through whole groups: a column's groups are read as
// groups right after, which a store of a single entry would hold up.
template <int32 n, int32 padded>
void exchangeRows(scalar (&m)[n][padded], int32 j, int32 p) {
    const __m128i lane = _mm_setr_epi32(0, 1, 2, 3);
    const __m128 atJ = _mm_castsi128_ps(_mm_cmpeq_epi32(lane, _mm_set1_epi32(j & 3)));
    const __m128 atP = _mm_castsi128_ps(_mm_cmpeq_epi32(lane, _mm_set1_epi32(p & 3)));
    const auto put = [](__m128 group, __m128 mask, scalar value) {
        return _mm_or_ps(_mm_andnot_ps(mask, group), _mm_and_ps(mask, _mm_set1_ps(value)));
    };
    const int32 groupJ = j & ~3;
    const int32 groupP = p & ~3;
    for (int32 k = 0; k < n; ++k) {
        const scalar valueJ = m[k][j];
        const scalar valueP = m[k][p];
        if (groupJ == groupP) {
            _mm_store_ps(&m[k][groupJ],
                         put(put(_mm_load_ps(&m[k][groupJ]), atJ, valueP), atP, valueJ));
        } else {
            _mm_store_ps(&m[k][groupJ], put(_mm_load_ps(&m[k][groupJ]), atJ, valueP));
            _mm_store_ps(&m[k][groupP], put(_mm_load_ps(&m[k][groupP]), atP, valueJ));
        }
    }
}

// What the multipliers of step j (rows j + 1 .. n − 1 of column j) allow to be skipped. A
// Jacobian is mostly zeros: a column whose factor is 0, or every column when all multipliers
// are 0, would have 0 subtracted from each entry, which leaves a finite entry as it is (but
// for the sign of a zero, which no later step can turn into a different non-zero value). An
// infinite or NaN multiplier (or factor) would make that 0 a NaN, so then nothing is skipped.
struct Multipliers {
    bool finite;
    bool zero;
};

template <int32 n, int32 padded>
Multipliers multipliersOf(const scalar (&column)[padded], int32 j) {
    const __m128i lane = _mm_setr_epi32(0, 1, 2, 3);
    int notFinite = 0;
    int notZero = 0;
    for (int32 g = (j + 1) & ~3; g < padded; g += 4) {
        const __m128i rows = _mm_add_epi32(lane, _mm_set1_epi32(g));
        const int wanted = _mm_movemask_ps(_mm_castsi128_ps(_mm_and_si128(
            _mm_cmpgt_epi32(rows, _mm_set1_epi32(j)), _mm_cmplt_epi32(rows, _mm_set1_epi32(n)))));
        const __m128 value = _mm_load_ps(&column[g]);
        const __m128 zero = _mm_setzero_ps();
        notFinite |= wanted & ~_mm_movemask_ps(_mm_cmpeq_ps(_mm_mul_ps(value, zero), zero));
        notZero |= wanted & ~_mm_movemask_ps(_mm_cmpeq_ps(value, zero));
    }
    return {notFinite == 0, notZero == 0};
}

// Above order 8 the unrolled form has more entries than registers. There each column, padded
// to a whole number of four-lane groups, is updated four rows at a time; the lanes of rows that
// are not below the pivot keep their values by selection, so every entry sees the same
// multiplications and subtractions, in the same order, as in the plain loops.
template <int32 n>
int32 ludcmpByColumns(scalar* a, int32 lda, int32* ipiv) {
    constexpr int32 padded = (n + 3) & ~3;
    // Filled by whole groups, so that the first group loads of each column find it in one
    // store rather than in four.
    alignas(16) scalar m[n][padded];
    for (int32 k = 0; k < n; ++k) {
        const scalar* column = a + static_cast<std::ptrdiff_t>(k) * lda;
        int32 i = 0;
        for (; i + 4 <= n; i += 4) {
            _mm_store_ps(&m[k][i], _mm_loadu_ps(column + i));
        }
        if constexpr (n % 4 != 0) {
            _mm_store_ps(&m[k][i], _mm_setr_ps(column[i], n % 4 > 1 ? column[i + 1] : 0.0f,
                                               n % 4 > 2 ? column[i + 2] : 0.0f, 0.0f));
        }
    }
    for (int32 i = 0; i < n; ++i) {
        ipiv[i] = i;
    }
    const __m128i lane = _mm_setr_epi32(0, 1, 2, 3);
    int32 status = 0;
    for (int32 j = 0; j < n; ++j) {
        const int32 p = pivotRow<n, padded>(m[j], j);
        if (p != j) {
            std::swap(ipiv[j], ipiv[p]);
            exchangeRows(m, j, p);
        }
        const scalar pivot = m[j][j];
        if (!(std::fabs(pivot) >= 1e-20f)) {
            status = -1;
            break;
        }
        // The group holding row j + 1 is the only one with lanes to keep: those of rows j and
        // above, and those past n.
        const int32 first = (j + 1) & ~3;
        if (first == padded) {
            break; // the last column of an order that fills its groups: no row below the pivot
        }
        const __m128i rows = _mm_add_epi32(lane, _mm_set1_epi32(first));
        const __m128 below = _mm_castsi128_ps(_mm_and_si128(
            _mm_cmpgt_epi32(rows, _mm_set1_epi32(j)), _mm_cmplt_epi32(rows, _mm_set1_epi32(n))));
        const auto select = [below](__m128 changed, __m128 kept) {
            return _mm_or_ps(_mm_and_ps(below, changed), _mm_andnot_ps(below, kept));
        };
        const __m128 r = _mm_set1_ps(reciprocal(pivot));
        const __m128 head = _mm_load_ps(&m[j][first]);
        _mm_store_ps(&m[j][first], select(_mm_mul_ps(head, r), head));
        #pragma GCC unroll 4
        for (int32 g = first + 4; g < padded; g += 4) {
            _mm_store_ps(&m[j][g], _mm_mul_ps(_mm_load_ps(&m[j][g]), r));
        }
        const Multipliers multipliers = multipliersOf<n, padded>(m[j], j);
        for (int32 k = j + 1; k < n; ++k) {
            if (multipliers.finite && (m[k][j] == 0.0f || (multipliers.zero &&
                                                           std::isfinite(m[k][j])))) {
                continue;
            }
            const __m128 factor = _mm_set1_ps(m[k][j]);
            const __m128 column = _mm_load_ps(&m[k][first]);
            _mm_store_ps(&m[k][first],
                         select(_mm_sub_ps(column, _mm_mul_ps(factor, _mm_load_ps(&m[j][first]))),
                                column));
            #pragma GCC unroll 4
            for (int32 g = first + 4; g < padded; g += 4) {
                _mm_store_ps(&m[k][g], _mm_sub_ps(_mm_load_ps(&m[k][g]),
                                                  _mm_mul_ps(factor, _mm_load_ps(&m[j][g]))));
            }
        }
    }
    for (int32 k = 0; k < n; ++k) {
        for (int32 i = 0; i < n; ++i) {
            a[static_cast<std::ptrdiff_t>(k) * lda + i] = m[k][i];
        }
    }
    return status;
}

template <int32 n>
int32 lubksb(const scalar* a, int32 lda, const int32* ipiv, const scalar* b, scalar* x) {
    const auto at = [&](int32 row, int32 column) {
        return a[static_cast<std::ptrdiff_t>(column) * lda + row];
    };
    scalar v[n];
    #pragma GCC unroll 12
    for (int32 i = 0; i < n; ++i) {
        v[i] = b[ipiv[i]];
    }
    #pragma GCC unroll 12
    for (int32 j = 0; j + 1 < n; ++j) {
        #pragma GCC unroll 12
        for (int32 i = j + 1; i < n; ++i) {
            v[i] -= at(i, j) * v[j];
        }
    }
    #pragma GCC unroll 12
    for (int32 j = n - 1; j >= 0; --j) {
        v[j] *= reciprocal(at(j, j));
        #pragma GCC unroll 12
        for (int32 i = 0; i < j; ++i) {
            v[i] -= at(i, j) * v[j];
        }
    }
    #pragma GCC unroll 12
    for (int32 i = 0; i < n; ++i) {
        x[i] = v[i];
    }
    return 0;
}

template <int32... orders>
constexpr auto formsFor(std::integer_sequence<int32, orders...>) {
    return std::array<SmallLu, sizeof...(orders)>{SmallLu{orders < 8 ? &ludcmp<orders + 1> : &ludcmpByColumns<orders + 1>,
                &lubksb<orders + 1>}...};
}

constexpr auto forms = formsFor(std::make_integer_sequence<int32, smallLuOrders>());

} // namespace

const SmallLu& smallLuFor(int32 n) { return forms[static_cast<size_t>(n - 1)]; }

} // namespace nodara
