#pragma once

#include "dsp/recursive/FixedOrderIIR.h"

namespace nodara {

/// y[n] = ((b1·x[n−1] + b0·x[n]) + b2·x[n−2] − a1·y[n−1]) − a2·y[n−2]. Properties "A" (two
/// numbers) and "B" (three). The stages of the oversampling filters and the volume network.
class BiQuad : public FixedOrderIIR<2> {
public:
    BiQuad() : FixedOrderIIR<2>("BiQuad", "BiQuad") {}

    using FixedOrderIIR<2>::process;
    using Filter::init;
    /// Also clears the state.
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// Does nothing and returns null.
    scalar* process(scalar* in, size_t framesPerBuffer) override;
};

} // namespace nodara
