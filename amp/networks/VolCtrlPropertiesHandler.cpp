#include "amp/networks/VolCtrlPropertiesHandler.h"

#include "runtime/Exceptions.h"

namespace torvane {

VolCtrlPropertiesHandler::VolCtrlPropertiesHandler(nodara::FixedOrderIIR<2>* filter,
                                                   std::span<const float> gridResistance)
    : GridLoadedHandler(gridResistance, "0", "20", "0.02"), filter(filter) {}

void VolCtrlPropertiesHandler::setWiper(double value) {
    wiper = value;
    Rup = (1.0 - wiper) * Rp;
    Rlow = wiper * Rp;
}

void VolCtrlPropertiesHandler::init(const Properties& properties) {
    double value = 0.0;
    if (nodara::readProperty(properties, "Wiper", value, nodara::doubleParser)) {
        setWiper(value);
    }
    nodara::readProperty(properties, "Gain", gain, nodara::scalarParser);
    dirty = true;
}

void VolCtrlPropertiesHandler::propertyChanged(const std::string& name, scalar value) {
    if (name == "Wiper") {
        setWiper(value);
    } else if (name == "Gain") {
        gain = value;
    } else {
        throw nodara::NodaraException("VolCtrlPropertiesHandler: Unknown property " + name);
    }
    dirty = true;
}

void VolCtrlPropertiesHandler::setSampleRate(scalar sampleRate) {
    dirty = true;
    k = 2.0 * sampleRate;
    kC1 = C1 * k;
    kC2 = C2 * k;
}

// The bilinear transform of H(s), multiplied out: the z⁰ and z⁻² sums split into parts with
// and without g, so a new g costs one division and a few products.
void VolCtrlPropertiesHandler::computeTermsFreeOfG() {
    const double Pa = Rs * kC1;
    const double Pb = Rup * kC1;
    const double Pc = kC2 * Rlow;
    const double Pd = Rlow * kC1;
    const double Q = Rlow * Pb;
    const double S2a = Pa * Pc;
    const double S2b = Pc * Pb;
    S2 = S2a + S2b;
    const double S1 = Rs * Pd + Q;
    D0 = S2 + Pb + Pc + Pd + Pa + 1.0;
    D2 = S2 - Pb - Pc - Pd - Pa + 1.0;
    E0 = Rlow + S1;
    E2 = Rlow - S1;
}

void VolCtrlPropertiesHandler::update(scalar, scalar lastOutput) {
    double g = 0.0;
    if (!grid.next(lastOutput, dirty, g)) {
        return;
    }
    if (dirty) {
        dirty = false;
        computeTermsFreeOfG();
    }
    const double inv = 1.0 / (E0 * g + D0);
    const scalar b0 = static_cast<scalar>(kC1 * Rlow * inv) * gain;
    const scalar b[] = {b0, 0.0f, -b0};
    const scalar a[] = {static_cast<scalar>(-2.0 * (S2 - g * Rlow - 1.0) * inv),
                        static_cast<scalar>((E2 * g + D2) * inv)};
    filter->setCoefficients(a, b);
}

} // namespace torvane
