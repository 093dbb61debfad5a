#pragma once

#include "dsp/fir/Fir.h"

namespace nodara {

/// Lowers the rate by `Factor`: the finite filter computed only at the frames it keeps,
/// 0, F, 2F, … of each block, so the first frame of every block is kept and a block should be
/// a multiple of F long. A block of n frames gives ceil(n / F).
///
/// Properties: Factor (at least 1), optional Coefficients. Block sizes count input frames, at
/// the high rate. A change of Factor sets the rate ratio of the element's graph to 1 / Factor.
/// Iteration is not supported.
class PolyphaseDownsampler : public Fir {
public:
    using Fir::process;
    using Fir::propertyChanged;
    /// "Factor". Audio thread.
    void propertyChanged(const std::string& name, scalar value) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// In place is allowed.
    void process(const scalar* in, scalar* out, size_t framesPerBuffer) override;
    IterationResults& iteration(const IterationResults& in, size_t frame, int32 iteration) override;
    IterationResults& getLastIterationResults() override;
    size_t endIteration(size_t frame) override;

    int32 getFactor() const { return factor; }

protected:
    int32 factor = 1;
};

} // namespace nodara
