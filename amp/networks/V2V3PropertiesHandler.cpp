#include "amp/networks/V2V3PropertiesHandler.h"

namespace torvane {

V2V3PropertiesHandler::V2V3PropertiesHandler(nodara::FixedOrderIIR<1>* filter,
                                             std::span<const float> gridResistance)
    : GridLoadedHandler(gridResistance, "18", "30", "0.02"), filter(filter) {}

void V2V3PropertiesHandler::setSampleRate(scalar sampleRate) {
    dirty = true;
    k = 2.0 * sampleRate;
    kC = C * k;
    RkC = R * kC;
}

// With N = G·R·kC + kC + G: b0 = kC/N, b1 = −kC/N, a1 = −(G·R·kC + kC − G)/N.
void V2V3PropertiesHandler::update(scalar, scalar lastOutput) {
    double g = 0.0;
    if (!grid.next(lastOutput, dirty, g)) {
        return;
    }
    dirty = false;
    const double G = G0 + g;
    const double inv = 1.0 / (-G * RkC - kC - G);
    const auto b1 = static_cast<scalar>(kC * inv);
    const scalar b[] = {-b1, b1};
    const scalar a[] = {static_cast<scalar>((G * RkC + kC - G) * inv)};
    filter->setCoefficients(a, b);
}

} // namespace torvane
