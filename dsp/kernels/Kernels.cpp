#include "dsp/kernels/Kernels.h"

namespace nodara::kernels {

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

void scale(int32 n, scalar alpha, scalar* y) {
    if (alpha == 1.0f) {
        return;
    }
    for (int32 i = 0; i < n; ++i) {
        y[i] *= alpha;
    }
}

} // namespace nodara::kernels
