#include "kernels/InstructionSet.h"
#include "kernels/signal/ChainArithmetic.h"
#include "kernels/signal/OctetLanes.h"
#include "kernels/signal/QuadLanes.h"
#include "kernels/signal/SignalArithmetic.h"

namespace nodara::kernels {

namespace {

struct Avx2Tag {};
using Quad = QuadLanes<Avx2Tag>;
using Octet = OctetLanes<Avx2Tag>;

/// Up to four stages in four lanes, whose shift is quicker; more in eight.
void biQuadCascade(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride,
                   const scalar* in, scalar* out, int32 frames) {
    if (stages <= Quad::width) {
        lanes::biQuadCascadeIn<Quad>(stages, coefficients, state, rowStride, in, out, frames);
    } else {
        lanes::biQuadCascadeIn<Octet>(stages, coefficients, state, rowStride, in, out, frames);
    }
}

} // namespace

constinit const SignalKernelBuild signalAvx2Build =
    lanes::buildOver<Octet>("AVX2", levelAvx2, &biQuadCascade,
                            &lanes::fusedChainIn<Avx2Tag, Quad, Octet,
                                                lanes::NoJointCascades, false>,
                            &lanes::fusedChainIn<Avx2Tag, Quad, Octet,
                                                lanes::NoJointCascades, true>);

} // namespace nodara::kernels
