#include "kernels/InstructionSet.h"
#include "kernels/signal/SignalKernelBuilds.h"

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

} // namespace

constinit const SignalKernelBuild signalReferenceBuild = {"Reference", levelSse2,
                                                          &sumOfSpectrumProducts};

} // namespace nodara::kernels
