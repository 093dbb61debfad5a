#include "amp/networks/VolumeControl.h"

#include "dsp/recursive/BiQuad.h"
#include "runtime/Exceptions.h"

namespace torvane {

VolumeControl::VolumeControl() : WrappedFilterPropertyCalculator(2) {
    filter = std::make_shared<nodara::BiQuad>();
}

void VolumeControl::init(const std::map<std::string, scalar>& values) {
    auto found = values.find("Wiper");
    if (found != values.end()) {
        wiper = found->second;
        recompute();
    }
}

void VolumeControl::propertyChanged(const std::string& name, scalar value) {
    if (name != "Wiper") {
        throw nodara::NodaraException("VolumeControl: Unknown property " + name);
    }
    wiper = value;
    recompute();
}

void VolumeControl::setSampleRate(scalar sampleRate) {
    k = 2.0 * sampleRate;
    recompute();
}

// With ak = L and bk = M − D: b0 = k·C1·Rp·W/(1 + ak + bk), b2 = −b0,
// a1 = (2 − 2·bk)/(1 + ak + bk), a2 = (1 − ak + bk)/(1 + ak + bk); den is −(1 + ak + bk).
void VolumeControl::recompute() {
    const double W = wiper;
    const double T1 = k * k * C1 * C2 * Rp;
    const double D = T1 * Rp * W * W - T1 * Rp * W;
    const double M = T1 * Rs * W;
    const double L = k * C2 * Rp * W + k * C1 * Rp + k * C1 * Rs;
    const double den = D - M - L - 1.0;
    auto& numerator = *b;
    numerator[0] = static_cast<scalar>(-k * C1 * Rp * W);
    numerator[1] = 0.0f;
    numerator[2] = static_cast<scalar>(k * C1 * Rp * W);
    numerator[0] /= static_cast<scalar>(den);
    numerator[2] /= static_cast<scalar>(den);
    (*a)[0] = static_cast<scalar>(-2.0 * (D - M + 1.0) / den);
    (*a)[1] = static_cast<scalar>((D - M + L - 1.0) / den);
    installCoefficients();
}

} // namespace torvane
