#pragma once

#include "kernels/signal/FusedChain.h"
#include "runtime/Types.h"

#include <vector>

namespace nodara::kernels {

/// One compiled form of every signal kernel (SignalKernels.h). The dispatchers pick one by the
/// instruction-set level; tests and benchmarks call a form directly.
struct SignalKernelBuild {
    const char* name;
    /// The lowest instruction-set level whose processors can execute this form.
    int32 minimumLevel;
    void (*sumOfSpectrumProducts)(int32 complexCount, int32 terms, const scalar* const* spectra,
                                  const scalar* responses, int32 responseStride, scalar* sum);
    void (*biQuadCascade)(int32 stages, const scalar* coefficients, scalar* state,
                          int32 rowStride, const scalar* in, scalar* out, int32 frames);
    void (*tableLookup)(const scalar* table, int32 last, scalar vinMin, scalar deltaV,
                        scalar inverse, const scalar* in, scalar* out, int32 frames);
    /// Null where the build has no fused chains.
    bool (*fusedChainSupported)(FusedChain& chain, const scalar* in, scalar* out, int32 frames);
    bool (*runFusedChain)(FusedChain& chain, const scalar* in, scalar* out, int32 frames);
};

/// Plain loops: the reference every vector form must equal bit for bit.
extern const SignalKernelBuild signalReferenceBuild;
/// Four lanes, SSE2.
extern const SignalKernelBuild signalSse2Build;
/// Eight lanes, AVX2.
extern const SignalKernelBuild signalAvx2Build;
/// Sixteen lanes, AVX-512.
extern const SignalKernelBuild signalAvx512Build;

/// The form the dispatchers run at a level: AVX-512 from level 5, AVX2 at 4, SSE2 below.
const SignalKernelBuild& signalBuildForLevel(int32 level);

/// The vector forms, SSE2 first, that this processor can execute.
std::vector<const SignalKernelBuild*> supportedSignalBuilds();

} // namespace nodara::kernels
