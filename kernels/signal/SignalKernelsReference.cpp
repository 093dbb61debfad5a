#include "kernels/InstructionSet.h"
#include "kernels/signal/BiQuadLayout.h"
#include "kernels/signal/SignalKernelBuilds.h"
#include "kernels/signal/TableLookup.h"

// The signal kernels as plain loops, one statement of the arithmetic per step: the vector
// builds must equal these bit for bit.
namespace nodara::kernels {

namespace {

void sumOfSpectrumProducts(int32 complexCount, int32 terms, const scalar* const* spectra,
                           const scalar* responses, int32 responseStride, scalar* sum) {
    for (int32 k = 0; k < complexCount; ++k) {
        scalar real = 0.0f;
        scalar imaginary = 0.0f;
        for (int32 t = 0; t < terms; ++t) {
            const scalar* x = spectra[t] + 2 * k;
            const scalar* h = responses + t * responseStride + 2 * k;
            real += x[0] * h[0] - x[1] * h[1];
            imaginary += x[1] * h[0] + x[0] * h[1];
        }
        sum[2 * k] = real;
        sum[2 * k + 1] = imaginary;
    }
}

// Stage after stage over the whole block, as single biquads run.
void biQuadCascade(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride,
                   const scalar* in, scalar* out, int32 frames) {
    const auto row = [&](const scalar* rows, int32 r, int32 s) { return rows[r * rowStride + s]; };
    const scalar* source = in;
    for (int32 s = 0; s < stages; ++s) {
        const scalar b0 = row(coefficients, rowB0, s), b1 = row(coefficients, rowB1, s);
        const scalar b2 = row(coefficients, rowB2, s), a1 = row(coefficients, rowA1, s);
        const scalar a2 = row(coefficients, rowA2, s);
        scalar& x1 = state[rowX1 * rowStride + s];
        scalar& x2 = state[rowX2 * rowStride + s];
        scalar& y1 = state[rowY1 * rowStride + s];
        scalar& y2 = state[rowY2 * rowStride + s];
        for (int32 n = 0; n < frames; ++n) {
            const scalar x = source[n];
            scalar sum = b0 * x + b1 * x1;
            sum = sum + b2 * x2;
            sum = sum - a1 * y1;
            sum = sum - a2 * y2;
            x2 = x1;
            x1 = x;
            y2 = y1;
            y1 = sum;
            out[n] = sum;
        }
        source = out;
    }
}

void tableLookup(const scalar* table, int32 last, scalar vinMin, scalar deltaV, scalar inverse,
                 const scalar* in, scalar* out, int32 frames) {
    for (int32 n = 0; n < frames; ++n) {
        out[n] = lookupOne(in[n], table, last, vinMin, deltaV, inverse);
    }
}

} // namespace

constinit const SignalKernelBuild signalReferenceBuild = {
    "Reference", levelSse2, &sumOfSpectrumProducts, &biQuadCascade, &tableLookup, nullptr, nullptr};

} // namespace nodara::kernels
