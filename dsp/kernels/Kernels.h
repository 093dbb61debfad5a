#pragma once

#include "runtime/Types.h"

namespace nodara::kernels {

/// Sum of a[i]·b[i]; 0 for n = 0. Lanes are summed last, so the last bits depend on the
/// instruction-set level.
scalar dot(const scalar* a, const scalar* b, int32 n);
/// y[i] += alpha·x[i].
void multiplyAdd(int32 n, scalar alpha, const scalar* x, scalar* y);
/// y[i] *= alpha; skipped as a whole when alpha is exactly 1, so NaN and denormals stay.
void scale(int32 n, scalar alpha, scalar* y);

} // namespace nodara::kernels
