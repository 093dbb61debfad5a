#pragma once

#include "dsp/recursive/FixedOrderIIR.h"

namespace nodara {

/// y[n] = (((b1·x[n−1] + b0·x[n]) + b2·x[n−2] + b3·x[n−3] − a1·y[n−1]) − a2·y[n−2]) − a3·y[n−3].
/// Properties "A" (three), "B" (four) and "InputIndex", which is required although input 0 is
/// always read.
class ThirdOrderIIR : public FixedOrderIIR<3> {
public:
    ThirdOrderIIR() : FixedOrderIIR<3>("ThirdOrderIIR", "BiQuad") {}

    using FixedOrderIIR<3>::process;
    using Filter::init;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// Runs the block from `in` into the filter's own buffer and returns it.
    scalar* process(scalar* in, size_t framesPerBuffer) override;

private:
    int32 inputIndex = 0;
};

} // namespace nodara
