#pragma once

#include "circuit/Component.h"
#include "circuit/StampMatrix.h"

namespace nodara {

/// A finite-gain amplifier, nodes plus, out, minus, with its output current i as an extra
/// unknown: B = [0, 1, 0]ᵀ puts i into the out node's equation, and the extra row
/// C = [Gain, −1, −Gain] gives v(out) = Gain·(v(plus) − v(minus)). No terminal may be ground:
/// a grounded reference is taken through a resistor to ground. "Gain" may change while
/// running.
class OpAmp : public Component {
public:
    OpAmp();
    Stamp getExtraColumnMatrix() override { return b.rows(); }
    Stamp getExtraRowMatrix() override { return c.rows(); }
    int32 getExtraVariableCount() override { return 1; }
    void propertyChanged(const std::string& propertyName, scalar value) override;

protected:
    void configure(const Properties& properties) override;

private:
    void setGain(scalar value);

    StampMatrix b{3, 1};
    StampMatrix c{1, 3};
};

} // namespace nodara
