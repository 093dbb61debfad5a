#include "kernels/signal/SignalKernels.h"

#include "kernels/InstructionSet.h"
#include "kernels/signal/SignalKernelBuilds.h"

namespace nodara::kernels {

namespace {

const SignalKernelBuild& selectedBuild() { return signalBuildForLevel(instructionSetLevel()); }

} // namespace

const SignalKernelBuild& signalBuildForLevel(int32 level) {
    if (level >= levelAvx512) {
        return signalAvx512Build;
    }
    if (level >= levelAvx2) {
        return signalAvx2Build;
    }
    return signalSse2Build;
}

std::vector<const SignalKernelBuild*> supportedSignalBuilds() {
    std::vector<const SignalKernelBuild*> builds;
    for (const SignalKernelBuild* build : {&signalSse2Build, &signalAvx2Build, &signalAvx512Build}) {
        if (build->minimumLevel <= instructionSetLevel()) {
            builds.push_back(build);
        }
    }
    return builds;
}

void sumOfSpectrumProducts(int32 complexCount, int32 terms, const scalar* const* spectra,
                           const scalar* responses, int32 responseStride, scalar* sum) {
    selectedBuild().sumOfSpectrumProducts(complexCount, terms, spectra, responses, responseStride,
                                          sum);
}

void biQuadCascade(int32 stages, const scalar* coefficients, scalar* state, int32 rowStride,
                   const scalar* in, scalar* out, int32 frames) {
    selectedBuild().biQuadCascade(stages, coefficients, state, rowStride, in, out, frames);
}

void tableLookup(const scalar* table, int32 last, scalar vinMin, scalar deltaV, scalar inverse,
                 const scalar* in, scalar* out, int32 frames) {
    selectedBuild().tableLookup(table, last, vinMin, deltaV, inverse, in, out, frames);
}

bool fusedChainSupported(FusedChain& chain) {
    const auto supported = selectedBuild().fusedChainSupported;
    return supported != nullptr && supported(chain, nullptr, nullptr, 0);
}

void runFusedChain(FusedChain& chain, const scalar* in, scalar* out, int32 frames) {
    selectedBuild().runFusedChain(chain, in, out, frames);
}

} // namespace nodara::kernels
