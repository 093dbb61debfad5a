#pragma once

#include "dsp/recursive/FixedOrderIIR.h"
#include "runtime/Filter.h"

#include <memory>
#include <vector>

namespace nodara {

/// A cascade of biquad stages run side by side in vector lanes (kernels::biQuadCascade), each
/// stage with its own arithmetic in its own order, so that the output is bit for bit that of
/// the stages run one after another. The stage filters stay the owners of the coefficients,
/// read at every block; the state of the cascade lives here.
class CascadeLanes {
public:
    /// The stages, all biquads. Allocates.
    explicit CascadeLanes(const std::vector<std::shared_ptr<Filter>>& stages);

    /// Whether every stage is a biquad.
    static bool suits(const std::vector<std::shared_ptr<Filter>>& stages);

    /// The cascade over `frames` frames; `out` may be `in`. Allocates nothing.
    void run(const scalar* in, scalar* out, size_t frames);
    /// Copies the stages' coefficients in force into the lane layout, as `run` does first.
    void loadCoefficients();
    int32 stageCount() const { return static_cast<int32>(biquads.size()); }
    int32 rowStride() const { return stride; }
    const scalar* coefficientRows() const { return coefficients.data(); }
    /// The state rows (BiQuadLayout.h), for a caller that runs the cascade itself.
    scalar* stateRows() { return state.data(); }
    /// Silence in every stage.
    void reset();

private:
    std::vector<const FixedOrderIIR<2>*> biquads;
    int32 stride;
    std::vector<scalar> coefficients;
    std::vector<scalar> state;
};

} // namespace nodara
