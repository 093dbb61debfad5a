#include "dsp/resampling/CascadeLanes.h"

#include "kernels/signal/SignalKernels.h"

#include <algorithm>

namespace nodara {

CascadeLanes::CascadeLanes(const std::vector<std::shared_ptr<Filter>>& stages)
    : stride(kernels::biQuadRowStride(static_cast<int32>(stages.size()))),
      coefficients(static_cast<size_t>(kernels::biQuadRows * stride), 0.0f),
      state(static_cast<size_t>(kernels::biQuadStateRows * stride), 0.0f) {
    for (const auto& stage : stages) {
        biquads.push_back(dynamic_cast<const FixedOrderIIR<2>*>(stage.get()));
    }
}

bool CascadeLanes::suits(const std::vector<std::shared_ptr<Filter>>& stages) {
    return std::all_of(stages.begin(), stages.end(), [](const auto& stage) {
        return dynamic_cast<const FixedOrderIIR<2>*>(stage.get()) != nullptr;
    });
}

void CascadeLanes::run(const scalar* in, scalar* out, size_t frames) {
    loadCoefficients();
    kernels::biQuadCascade(static_cast<int32>(biquads.size()), coefficients.data(), state.data(),
                           stride, in, out, static_cast<int32>(frames));
}

void CascadeLanes::loadCoefficients() {
    for (size_t s = 0; s < biquads.size(); ++s) {
        const auto& b = biquads[s]->getB();
        const auto& a = biquads[s]->getA();
        const auto column = [&](int32 row) -> scalar& {
            return coefficients[static_cast<size_t>(row * stride) + s];
        };
        column(kernels::rowB0) = b[0];
        column(kernels::rowB1) = b[1];
        column(kernels::rowB2) = b[2];
        column(kernels::rowA1) = a[0];
        column(kernels::rowA2) = a[1];
    }
}

void CascadeLanes::reset() { std::fill(state.begin(), state.end(), 0.0f); }

} // namespace nodara
