#pragma once

#include "amp/networks/GridLoadedHandler.h"
#include "dsp/recursive/FixedOrderIIR.h"

#include <span>

namespace torvane {

using nodara::Properties;
using nodara::scalar;

/// The coupling of `V2V3Coupling` with the output grid drawing current: the load is the grid
/// resistor in parallel with the grid's conductance g(p), read from a table at the grid
/// voltage p predicted from the filter's last two outputs,
///   H(s) = s·C / (s·C·(1 + R·G) + G),  G = 1/220 kΩ + g.
/// A rising g raises the corner: the blocking of the stage. Recomputed per sample unless g
/// stays within ±10 %, straight into the filter. It has no parameters.
class V2V3PropertiesHandler final : public GridLoadedHandler<V2V3PropertiesHandler> {
public:
    /// `filter` is the FirstOrderIIR served, not owned; `gridResistance` is in ohms over
    /// 18..30 V in steps of 0.02 V.
    V2V3PropertiesHandler(nodara::FixedOrderIIR<1>* filter, std::span<const float> gridResistance);

    void init(const Properties&) override {}
    void propertyChanged(const std::string&, scalar) override {}
    void setSampleRate(scalar sampleRate) override;
    using GridLoadedHandler::update;
    void update(scalar input, scalar lastOutput) override;

private:
    nodara::FixedOrderIIR<1>* filter;
    double R = 69000.0;                   ///< ohms, source resistance
    double C = 2.2e-8;                    ///< farads, coupling capacitor
    double k = 1.0;                       ///< twice the sample rate
    double kC = k * C;
    double RkC = R * kC;
    double G0 = 4.5454545454545455e-6;    ///< siemens, the 220 kΩ grid resistor
};

} // namespace torvane
