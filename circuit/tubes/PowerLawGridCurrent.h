#pragma once

#include "circuit/tubes/TriodeCurrent.h"
#include "runtime/Properties.h"

#include <vector>

namespace nodara {

/// Grid current of a grid driven towards its cathode: Ig = Igc·(Vgk + Vc)^N above
/// Vgk = −Vc, 0 below; Vc is the contact potential (V) at which conduction begins. The slope
/// is taken as Igc·(N − 1)·(Vgk + Vc)^(N − 1).
///
/// Unless DoNotInterpolate, both are read by linear interpolation from tables over
/// Vgk + Vc = 0 .. VgkMax by DeltaVgk (defaults 8 V and 0.01 V), built once; beyond VgkMax the
/// last entry holds, and the first two current entries are 0.
class PowerLawGridCurrent {
public:
    void setProperties(const Properties& properties);
    scalar getCurrent(scalar vgk) const;
    scalar getDerivative(scalar vgk) const;

private:
    /// The current or, with `slopeWanted`, its slope at vgk: 0 below the onset.
    scalar valueAt(scalar vgk, bool slopeWanted) const;
    scalar lookUp(const std::vector<scalar>& table, scalar overOnset) const;
    double lawCurrent(double overOnset) const;
    double lawSlope(double overOnset) const;

    double vc = 0.0;
    double igc = 0.0;
    double n = 0.0;
    scalar vgkMax = 8.0f;
    scalar deltaVgk = 0.01f;
    scalar reciprocalDeltaVgk = 100.0f;
    bool doNotInterpolate = false;
    std::vector<scalar> current;
    std::vector<scalar> slope;
};

/// The power law as a triode's grid current: it depends on Vgk alone.
class PowerLawTriodeGridCurrent final : public TriodeCurrent {
public:
    void setProperties(const Properties& properties) override { law.setProperties(properties); }
    scalar getCurrent(scalar vgk, scalar) override { return law.getCurrent(vgk); }
    CurrentSlopes getDerivatives(scalar vgk, scalar) override {
        return {law.getDerivative(vgk), 0.0f};
    }

private:
    PowerLawGridCurrent law;
};

inline scalar PowerLawGridCurrent::lookUp(const std::vector<scalar>& table, scalar overOnset) const {
    if (overOnset >= vgkMax) {
        return table.back();
    }
    const auto i = static_cast<size_t>(overOnset * reciprocalDeltaVgk);
    return table[i] + (overOnset - static_cast<scalar>(i) * deltaVgk) * (table[i + 1] - table[i]) *
                          reciprocalDeltaVgk;
}

inline scalar PowerLawGridCurrent::valueAt(scalar vgk, bool slopeWanted) const {
    const double overOnset = static_cast<double>(vgk) + vc;
    if (!(overOnset >= 0.0)) {
        return 0.0f;
    }
    if (doNotInterpolate) {
        return static_cast<scalar>(slopeWanted ? lawSlope(overOnset) : lawCurrent(overOnset));
    }
    return lookUp(slopeWanted ? slope : current, static_cast<scalar>(overOnset));
}

inline scalar PowerLawGridCurrent::getCurrent(scalar vgk) const { return valueAt(vgk, false); }

inline scalar PowerLawGridCurrent::getDerivative(scalar vgk) const { return valueAt(vgk, true); }

} // namespace nodara
