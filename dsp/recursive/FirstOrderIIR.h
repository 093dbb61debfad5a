#pragma once

#include "dsp/recursive/FixedOrderIIR.h"

namespace nodara {

/// y[n] = (b0·x[n] + b1·x[n−1]) − a1·y[n−1]. Properties "A" (one number: the whole text is
/// read as one) and "B" (two). The amplifier's DC blocker and interstage coupling.
class FirstOrderIIR : public FixedOrderIIR<1> {
public:
    FirstOrderIIR() : FixedOrderIIR<1>("FirstOrderIIR", "FirstOrderIIR") {}

    using FixedOrderIIR<1>::process;
    using Filter::init;
    void init(const std::string& name, std::shared_ptr<DSPContext>& context) override;
    void init(const std::string& name, const Properties& properties,
              std::shared_ptr<DSPContext>& context) override;
    /// Does nothing and returns null.
    scalar* process(scalar* in, size_t framesPerBuffer) override;
};

} // namespace nodara
