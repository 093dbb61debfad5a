#include "circuit/solvers/SmallLu.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <xmmintrin.h>

namespace nodara {

namespace {

// Every loop is unrolled in full: the order is a constant, and a straight line of arithmetic is
// what makes these forms worth having.
scalar reciprocal(scalar d) {
    const scalar r0 = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
    return r0 * (2.0f - d * r0);
}

template <int32 n>
int32 ludcmp(scalar* a, int32 lda, int32* ipiv) {
    const auto at = [&](int32 row, int32 column) -> scalar& {
        return a[static_cast<std::ptrdiff_t>(column) * lda + row];
    };
    #pragma GCC unroll 8
    for (int32 i = 0; i < n; ++i) {
        ipiv[i] = i;
    }
    #pragma GCC unroll 8
    for (int32 j = 0; j < n; ++j) {
        int32 p = j;
        scalar largest = std::fabs(at(j, j));
        #pragma GCC unroll 8
        for (int32 i = j + 1; i < n; ++i) {
            if (std::fabs(at(i, j)) > largest) {
                largest = std::fabs(at(i, j));
                p = i;
            }
        }
        if (p != j) {
            std::swap(ipiv[j], ipiv[p]);
            #pragma GCC unroll 8
            for (int32 k = 0; k < n; ++k) {
                std::swap(at(j, k), at(p, k));
            }
        }
        const scalar pivot = at(j, j);
        if (!(std::fabs(pivot) >= 1e-20f)) {
            return -1;
        }
        const scalar r = reciprocal(pivot);
        #pragma GCC unroll 8
        for (int32 i = j + 1; i < n; ++i) {
            at(i, j) *= r;
        }
        #pragma GCC unroll 8
        for (int32 k = j + 1; k < n; ++k) {
            #pragma GCC unroll 8
            for (int32 i = j + 1; i < n; ++i) {
                at(i, k) -= at(j, k) * at(i, j);
            }
        }
    }
    return 0;
}

template <int32 n>
int32 lubksb(const scalar* a, int32 lda, const int32* ipiv, const scalar* b, scalar* x) {
    const auto at = [&](int32 row, int32 column) {
        return a[static_cast<std::ptrdiff_t>(column) * lda + row];
    };
    #pragma GCC unroll 8
    for (int32 i = 0; i < n; ++i) {
        x[i] = b[ipiv[i]];
    }
    #pragma GCC unroll 8
    for (int32 j = 0; j + 1 < n; ++j) {
        #pragma GCC unroll 8
        for (int32 i = j + 1; i < n; ++i) {
            x[i] -= at(i, j) * x[j];
        }
    }
    #pragma GCC unroll 8
    for (int32 j = n - 1; j >= 0; --j) {
        x[j] *= reciprocal(at(j, j));
        #pragma GCC unroll 8
        for (int32 i = 0; i < j; ++i) {
            x[i] -= at(i, j) * x[j];
        }
    }
    return 0;
}

template <int32... orders>
constexpr auto formsFor(std::integer_sequence<int32, orders...>) {
    return std::array<SmallLu, sizeof...(orders)>{SmallLu{&ludcmp<orders + 1>, &lubksb<orders + 1>}...};
}

constexpr auto forms = formsFor(std::make_integer_sequence<int32, smallLuOrders>());

} // namespace

const SmallLu& smallLuFor(int32 n) { return forms[static_cast<size_t>(n - 1)]; }

} // namespace nodara
