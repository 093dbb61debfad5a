#include "kernels/InstructionSet.h"
#include "kernels/KernelBuilds.h"

#include <cmath>
#include <cstddef>
#include <utility>
#include <xmmintrin.h>

// The kernels as plain loops, one statement of the arithmetic per step; the vector builds must
// agree with these bit for bit, except for the summation order of dot.
namespace nodara::kernels {

namespace {

scalar* columnOf(scalar* a, int32 lda, int32 k) { return a + static_cast<std::ptrdiff_t>(k) * lda; }

const scalar* columnOf(const scalar* a, int32 lda, int32 k) {
    return a + static_cast<std::ptrdiff_t>(k) * lda;
}

// The hardware's approximate reciprocal refined by one Newton step, as in every build.
scalar reciprocal(scalar d) {
    const scalar r0 = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(d)));
    return r0 * (2.0f - d * r0);
}

scalar dot(const scalar* a, const scalar* b, int32 n) {
    scalar sum = 0.0f;
    for (int32 i = 0; i < n; ++i) {
        sum += a[i] * b[i];
    }
    return sum;
}

void multiplyAdd(int32 n, scalar alpha, const scalar* x, scalar* y) {
    for (int32 i = 0; i < n; ++i) {
        y[i] += alpha * x[i];
    }
}

void multiply(int32 n, scalar alpha, scalar* y) {
    for (int32 i = 0; i < n; ++i) {
        y[i] *= alpha;
    }
}

void scale(int32 n, scalar alpha, scalar* y) {
    if (alpha != 1.0f) {
        multiply(n, alpha, y);
    }
}

int32 findPivot(const scalar* column, int32 start, int32 end) {
    if (start >= end) {
        return start;
    }
    int32 pivot = start;
    scalar largest = std::fabs(column[start]);
    for (int32 i = start + 1; i < end; ++i) {
        if (std::fabs(column[i]) > largest) {
            largest = std::fabs(column[i]);
            pivot = i;
        }
    }
    return pivot;
}

void exchangeRows(int32 n, scalar* a, int32 lda, int32* ipiv, int32 i, int32 j) {
    std::swap(ipiv[i], ipiv[j]);
    for (int32 k = 0; k < n; ++k) {
        std::swap(columnOf(a, lda, k)[i], columnOf(a, lda, k)[j]);
    }
}

int32 ludcmp(int32 n, scalar* a, int32 lda, int32* ipiv) {
    for (int32 i = 0; i < n; ++i) {
        ipiv[i] = i;
    }
    for (int32 j = 0; j < n; ++j) {
        scalar* pivotColumn = columnOf(a, lda, j);
        const int32 p = findPivot(pivotColumn, j, n);
        if (p != j) {
            exchangeRows(n, a, lda, ipiv, j, p);
        }
        const scalar pivot = pivotColumn[j];
        if (!(std::fabs(pivot) >= 1e-20f)) {
            return -1;
        }
        multiply(n - j - 1, reciprocal(pivot), pivotColumn + j + 1);
        for (int32 k = j + 1; k < n; ++k) {
            scalar* target = columnOf(a, lda, k);
            for (int32 i = j + 1; i < n; ++i) {
                target[i] -= target[j] * pivotColumn[i];
            }
        }
    }
    return 0;
}

int32 lubksb(int32 n, const scalar* a, int32 lda, const int32* ipiv, const scalar* b,
             scalar* x) {
    for (int32 i = 0; i < n; ++i) {
        x[i] = b[ipiv[i]];
    }
    for (int32 j = 0; j + 1 < n; ++j) {
        const scalar* lower = columnOf(a, lda, j);
        for (int32 i = j + 1; i < n; ++i) {
            x[i] -= lower[i] * x[j];
        }
    }
    for (int32 j = n - 1; j >= 0; --j) {
        const scalar* upper = columnOf(a, lda, j);
        x[j] *= reciprocal(upper[j]);
        for (int32 i = 0; i < j; ++i) {
            x[i] -= upper[i] * x[j];
        }
    }
    return 0;
}

} // namespace

constinit const KernelBuild referenceBuild = {
    "Reference", levelSse2, &dot, &multiplyAdd, &scale, &ludcmp, &lubksb, &findPivot,
    &exchangeRows,
};

} // namespace nodara::kernels
