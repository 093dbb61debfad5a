#pragma once

#include "runtime/Types.h"

// Single-precision vector and dense matrix kernels, each run by the build for the instruction
// set detected at the first call. Arrays need no alignment. Matrices are column-major: element
// (i, k) of a lies at a[k·lda + i]. Pointers are not checked; n = 0 does nothing.
namespace nodara::kernels {

/// Sum of a[i]·b[i]; 0 for n = 0. The lanes are summed last, so the last bits depend on the
/// instruction-set level.
scalar dot(const scalar* a, const scalar* b, int32 n);
/// y[i] += alpha·x[i].
void multiplyAdd(int32 n, scalar alpha, const scalar* x, scalar* y);
/// y[i] += alpha·x[i], under the name the circuit solvers use.
inline void saxpy(int32 n, scalar alpha, const scalar* x, scalar* y) {
    multiplyAdd(n, alpha, x, y);
}
/// y[i] *= alpha; skipped as a whole when alpha is exactly 1, so NaN and denormals stay.
void scale(int32 n, scalar alpha, scalar* y);

/// In-place LU factorisation with partial pivoting of the n×n matrix a (column stride lda).
/// ipiv (n entries) receives the row permutation: row i of the factors is row ipiv[i] of the
/// original. Returns 0, or −1 when a pivot is below 1e-20 in magnitude or NaN; a is then
/// left half factorised.
int32 ludcmp(int32 n, scalar* a, int32 lda, int32* ipiv);
/// Solves A·x = b from the factors and permutation of ludcmp; b and x must not overlap.
/// Returns 0.
int32 lubksb(int32 n, const scalar* a, int32 lda, const int32* ipiv, const scalar* b,
             scalar* x);
/// Index of the largest magnitude in column[start .. end − 1], the first of equal ones; a
/// NaN never wins unless it stands at start. An empty range gives start.
int32 findPivot(const scalar* column, int32 start, int32 end);
/// Swaps ipiv[i] with ipiv[j], and rows i and j of the n columns of a.
void exchangeRows(int32 n, scalar* a, int32 lda, int32* ipiv, int32 i, int32 j);

} // namespace nodara::kernels
