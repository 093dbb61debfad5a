#pragma once

#include "amp/networks/GridLoadedHandler.h"
#include "dsp/recursive/FixedOrderIIR.h"

#include <span>

namespace torvane {

using nodara::Properties;
using nodara::scalar;

/// The volume network of `VolumeControl` with the next grid drawing current when driven
/// positive: the wiper is loaded by a grid conductance g(p), read from a table at the grid
/// voltage p predicted by straight-line extrapolation of the filter's last two outputs. The
/// BiQuad's coefficients are recomputed per sample, unless g stays within ±10 % of the value
/// they stand for. Parameters "Wiper" and "Gain" (scales the numerator: the Feedback control).
///
/// Threads: `update` runs on the audio thread inside the filter's `process`; the rest between
/// blocks. New coefficients go straight into the BiQuad, with no property lookup by name.
class VolCtrlPropertiesHandler final : public GridLoadedHandler<VolCtrlPropertiesHandler> {
public:
    /// `filter` is the BiQuad served, not owned; `gridResistance` is in ohms over 0..20 V in
    /// steps of 0.02 V.
    VolCtrlPropertiesHandler(nodara::FixedOrderIIR<2>* filter, std::span<const float> gridResistance);

    void init(const Properties& properties) override;
    void propertyChanged(const std::string& name, scalar value) override;
    void setSampleRate(scalar sampleRate) override;
    using GridLoadedHandler::update;
    void update(scalar input, scalar lastOutput) override;

private:
    void setWiper(double value);
    void computeTermsFreeOfG();

    nodara::FixedOrderIIR<2>* filter;
    scalar gain = 0.61f;
    double wiper = 1.0;
    double Rs = 41000.0;
    double Rp = 1000000.0;
    double C1 = 2.2e-8;
    double C2 = 1.44e-10;
    double k = 1.0;
    double kC1 = C1;
    double kC2 = C2;
    double Rlow = Rp;
    double Rup = 0.0;
    /// k²·C1·C2·Rlow·(Rs + Rup): the s² term after the transform.
    double S2 = 0.0;
    /// Denominator sums: z⁰ is D0 + g·E0, z⁻² is D2 + g·E2.
    double D0 = 0.0, E0 = 0.0, D2 = 0.0, E2 = 0.0;
};

} // namespace torvane
