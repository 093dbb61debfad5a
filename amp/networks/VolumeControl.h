#pragma once

#include "amp/networks/WrappedFilterPropertyCalculator.h"

namespace torvane {

/// The volume network between the first and second triode, as a BiQuad: the driving plate
/// (source resistance Rs) feeds coupling capacitor C1 into a potentiometer Rp; the wiper W
/// (0 ground, 1 top) feeds the next grid, loaded by the stray capacitance C2:
///   H(s) = s·C1·Rlow / [1 + s·(C1·(Rs + Rup + Rlow) + C2·Rlow) + s²·C1·C2·Rlow·(Rs + Rup)]
/// with Rlow = W·Rp and Rup = (1 − W)·Rp, by the bilinear transform with k = 2·rate and no
/// pre-warping. Parameter "Wiper". Low-CPU form: no grid current.
class VolumeControl : public WrappedFilterPropertyCalculator {
public:
    VolumeControl();
    void init(const std::map<std::string, scalar>& values) override;
    /// "Wiper" only.
    void propertyChanged(const std::string& name, scalar value) override;
    void setSampleRate(scalar sampleRate) override;

private:
    void recompute();

    double wiper = 1.0;
    double Rs = 41000.0;   ///< ohms, plate resistance of the driving stage
    double Rp = 1000000.0; ///< ohms, the potentiometer
    double C1 = 2.2e-8;    ///< farads, coupling capacitor
    double C2 = 1.44e-10;  ///< farads, wiper to ground
    double k = 1.0;        ///< twice the sample rate
};

} // namespace torvane
