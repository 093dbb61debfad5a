#include "circuit/solvers/SmallLu.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <emmintrin.h>

namespace nodara {

namespace {

// Every loop is unrolled in full: the order is a constant, and a straight line of arithmetic is
// what makes these forms worth having.
scalar reciprocal(scalar d) {
    const scalar r0 = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
    return r0 * (2.0f - d * r0);
}

// The matrix is worked on in a local copy: with no pointer that might alias it, the compiler
// keeps the entries in registers instead of reloading them after every store.
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

// Above order 4 the entries no longer fit in registers. There each column, padded to a whole
// number of four-lane groups, is updated four rows at a time; the lanes of rows that are not
// below the pivot keep their values by selection, so every entry sees the same multiplications
// and subtractions, in the same order, as in the plain loops.
template <int32 n>
int32 ludcmpByColumns(scalar* a, int32 lda, int32* ipiv) {
    constexpr int32 padded = (n + 3) & ~3;
    alignas(16) scalar m[n][padded] = {};
    for (int32 k = 0; k < n; ++k) {
        for (int32 i = 0; i < n; ++i) {
            m[k][i] = a[static_cast<std::ptrdiff_t>(k) * lda + i];
        }
    }
    for (int32 i = 0; i < n; ++i) {
        ipiv[i] = i;
    }
    const __m128i lane = _mm_setr_epi32(0, 1, 2, 3);
    int32 status = 0;
    for (int32 j = 0; j < n; ++j) {
        int32 p = j;
        scalar largest = std::fabs(m[j][j]);
        for (int32 i = j + 1; i < n; ++i) {
            if (std::fabs(m[j][i]) > largest) {
                largest = std::fabs(m[j][i]);
                p = i;
            }
        }
        if (p != j) {
            std::swap(ipiv[j], ipiv[p]);
            for (int32 k = 0; k < n; ++k) {
                std::swap(m[k][j], m[k][p]);
            }
        }
        const scalar pivot = m[j][j];
        if (!(std::fabs(pivot) >= 1e-20f)) {
            status = -1;
            break;
        }
        // The group holding row j + 1 is the only one with lanes to keep: those of rows j and
        // above, and those past n.
        const int32 first = (j + 1) & ~3;
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
        for (int32 k = j + 1; k < n; ++k) {
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
    return std::array<SmallLu, sizeof...(orders)>{SmallLu{orders < 4 ? &ludcmp<orders + 1> : &ludcmpByColumns<orders + 1>,
                &lubksb<orders + 1>}...};
}

constexpr auto forms = formsFor(std::make_integer_sequence<int32, smallLuOrders>());

} // namespace

const SmallLu& smallLuFor(int32 n) { return forms[static_cast<size_t>(n - 1)]; }

} // namespace nodara
