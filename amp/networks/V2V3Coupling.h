#pragma once

#include "amp/networks/WrappedFilterPropertyCalculator.h"

namespace torvane {

/// The coupling between the second stage and the output stage, as a first-order high pass:
/// source resistance R1 through capacitor C into the grid resistor R2,
///   H(s) = s·C·R2 / (1 + s·C·(R1 + R2)),
/// by the bilinear transform with k = 2·rate and no pre-warping. It has no parameter and
/// changes only with the rate. Low-CPU form: no grid current.
class V2V3Coupling : public WrappedFilterPropertyCalculator {
public:
    V2V3Coupling();
    void init(const std::map<std::string, scalar>& values) override;
    /// Any name is accepted; the network is recomputed.
    void propertyChanged(const std::string& name, scalar value) override;
    void setSampleRate(scalar sampleRate) override;

private:
    void recompute();

    double R1 = 69000.0;  ///< ohms, source resistance
    double R2 = 220000.0; ///< ohms, grid resistor
    double C = 2.2e-8;    ///< farads, coupling capacitor
    double k = 1.0;       ///< twice the sample rate
};

} // namespace torvane
