#include "amp/networks/V2V3Coupling.h"

#include "dsp/recursive/FirstOrderIIR.h"

namespace torvane {

V2V3Coupling::V2V3Coupling() : WrappedFilterPropertyCalculator(1) {
    filter = std::make_shared<nodara::FirstOrderIIR>();
}

void V2V3Coupling::init(const std::map<std::string, scalar>&) { recompute(); }

void V2V3Coupling::propertyChanged(const std::string&, scalar) { recompute(); }

void V2V3Coupling::setSampleRate(scalar sampleRate) {
    k = 2.0 * sampleRate;
    recompute();
}

// b0 = kC·R2/(1 + kC·(R1 + R2)), b1 = −b0, a1 = (1 − kC·(R1 + R2))/(1 + kC·(R1 + R2)).
void V2V3Coupling::recompute() {
    const double kC = k * C;
    auto& numerator = *b;
    numerator[0] = static_cast<scalar>(-kC * R2);
    numerator[1] = static_cast<scalar>(kC * R2);
    const double den = -kC * R2 - kC * R1 - 1.0;
    numerator[0] /= static_cast<scalar>(den);
    numerator[1] /= static_cast<scalar>(den);
    (*a)[0] = static_cast<scalar>((kC * R2 + kC * R1 - 1.0) / den);
    installCoefficients();
}

} // namespace torvane
