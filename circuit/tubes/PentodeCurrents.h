#pragma once

#include <limits>

#include "circuit/tubes/PowerLawGridCurrent.h"
#include "runtime/Properties.h"
#include "runtime/Types.h"

#include <string>

namespace nodara {

/// The partial derivatives of a pentode current (A/V).
struct PentodeSlopes {
    scalar byVgk = 0.0f;
    scalar byVpk = 0.0f;
    scalar byVsk = 0.0f;
};

/// A current law of a pentode, as a function of grid, anode and screen voltages against the
/// cathode (V), in amperes; computed in doubles, answered in floats, with no tables.
class PentodeCurrent {
public:
    virtual ~PentodeCurrent() = default;
    virtual void setProperties(const Properties& properties) = 0;
    virtual scalar getCurrent(scalar vgk, scalar vpk, scalar vsk) = 0;
    virtual PentodeSlopes getDerivatives(scalar vgk, scalar vpk, scalar vsk) = 0;
};

/// The parameters Koren's pentode laws share: Kp, Kvb, mu, Ex, Kg1, Kg2 (Vct is read and
/// checked but unused). `className` heads the messages of a missing key.
struct KorenPentodeParameters {
    double vct = 0.0;
    double kp = 0.0;
    double kvb = 0.0;
    double mu = 0.0;
    double ex = 0.0;
    double kg1 = 0.0;
    double kg2 = 0.0;

    void read(const Properties& properties, const std::string& className);
};

/// Koren's pentode anode current:
///   E1 = Vsk·ln(1 + e^u)/Kp,  u = Kp·(1/mu + Vgk/Vsk)   (E1 = 0 at Vsk = 0)
///   Ip = atan(Vpk/Kvb)·E1^Ex·(1 + sign E1)/Kg1.
/// The slopes by Vgk and Vsk are formed from the current with screen and anode voltages
/// exchanged, Ex·I′/E1·dE1/dX with I′ = Ip(Vgk, Vsk, Vpk): that is how this law defines them.
class NKPentodeAnodeCurrent final : public PentodeCurrent {
public:
    void setProperties(const Properties& properties) override;
    scalar getCurrent(scalar vgk, scalar vpk, scalar vsk) override;
    PentodeSlopes getDerivatives(scalar vgk, scalar vpk, scalar vsk) override;

    /// E1 = ln(1 + e^u)·Vsk/Kp with u = Kp·(1/mu + Vgk/Vsk), its parts, and E1^Ex.
    struct Terms {
        double e1 = 0.0;
        double l = 0.0;
        double sigma = 0.0;
        double powered = 0.0;
    };

private:
    /// The terms at (Vgk, Vsk), kept from the last call: a Newton iteration asks for the
    /// current and then the slopes at the same voltages.
    const Terms& termsAt(scalar vgk, scalar vsk);
    double currentAt(scalar vgk, scalar vpk, scalar vsk);

    KorenPentodeParameters k;
    scalar termsVgk = std::numeric_limits<scalar>::quiet_NaN();
    scalar termsVsk = std::numeric_limits<scalar>::quiet_NaN();
    Terms terms;
};

/// Koren's screen current: Is = w^1.5/Kg2 with w = Vsk/mu + Vgk, 0 for w ≤ 0.
class NKPentodeScreenCurrent final : public PentodeCurrent {
public:
    void setProperties(const Properties& properties) override;
    scalar getCurrent(scalar vgk, scalar vpk, scalar vsk) override;
    PentodeSlopes getDerivatives(scalar vgk, scalar vpk, scalar vsk) override;

private:
    KorenPentodeParameters k;
};

/// The grid power law of PowerLawGridCurrent, on Vgk alone.
class PowerLawPentodeGridCurrent final : public PentodeCurrent {
public:
    void setProperties(const Properties& properties) override { law.setProperties(properties); }
    scalar getCurrent(scalar vgk, scalar, scalar) override { return law.getCurrent(vgk); }
    PentodeSlopes getDerivatives(scalar vgk, scalar, scalar) override {
        return {law.getDerivative(vgk), 0.0f, 0.0f};
    }

private:
    PowerLawGridCurrent law;
};

} // namespace nodara
