#pragma once

#include <cmath>

// Tube laws after Norman Koren, "Improved VT models for Spice simulations" (1996). All
// voltages in volts relative to the cathode, currents in amperes.
namespace torvane::generators {

/// ln(1 + e^x) to full precision: no overflow for large x, no loss for very negative x.
inline double softplus(double x) {
    return x > 0.0 ? x + std::log1p(std::exp(-x)) : std::log1p(std::exp(x));
}

/// The smaller of v and `ceiling`, with the corner rounded over about `width` volts:
/// v − width·ln(1 + e^((v − ceiling)/width)). Below the ceiling it follows v (the difference
/// falls off as e^((v − ceiling)/width)); above it, it approaches the ceiling from below.
inline double smoothCeiling(double v, double ceiling, double width) {
    return v - width * softplus((v - ceiling) / width);
}

/// Koren's triode:
///   E1 = (Vpk/Kp)·ln(1 + exp(Kp·(1/mu + Vgk/sqrt(Kvb + Vpk²))))
///   Ip = 2·E1^Ex / Kg1, and 0 for Vpk ≤ 0.
struct KorenTriode {
    double mu;  ///< amplification factor
    double ex;  ///< exponent of the current law (3/2 in the ideal tube)
    double kg1; ///< current scale, in V^Ex/A
    double kp;  ///< sharpness of the approach to cutoff
    double kvb; ///< knee of the plate characteristic at low plate voltage, in V²

    double plateCurrent(double vgk, double vpk) const {
        if (vpk <= 0.0)
            return 0.0;
        const double e1 = vpk / kp * softplus(kp * (1.0 / mu + vgk / std::sqrt(kvb + vpk * vpk)));
        return 2.0 * std::pow(e1, ex) / kg1;
    }
};

/// Koren's pentode (and beam tetrode), plate current only:
///   E1 = (Vsk/Kp)·ln(1 + exp(Kp·(1/mu + Vgk/Vsk)))
///   Ip = 2·E1^Ex / Kg1 · atan(Vpk/Kvb)
/// The screen voltage Vsk sets the current; the plate voltage enters only through the knee.
struct KorenPentode {
    double mu;  ///< amplification factor, grid to screen
    double ex;  ///< exponent of the current law
    double kg1; ///< current scale, in V^Ex/A
    double kp;  ///< sharpness of the approach to cutoff
    double kvb; ///< knee of the plate characteristic, in V

    double plateCurrent(double vgk, double vpk, double vsk) const {
        const double e1 = vsk / kp * softplus(kp * (1.0 / mu + vgk / vsk));
        return 2.0 * std::pow(e1, ex) / kg1 * std::atan(vpk / kvb);
    }
};

/// Grid current of a grid driven towards the cathode: Ig = Igc·(Vgk + Vc)^N above Vgk = −Vc,
/// 0 below. Vc is the contact potential at which conduction begins. With an onset width w the
/// start is rounded, Ig = Igc·(w·ln(1 + e^((Vgk + Vc)/w)))^N: the electrons' spread of
/// emission energies lets a little current flow before the onset, and a law whose slope
/// would otherwise turn on abruptly (N < 2) bends smoothly into conduction.
struct GridPowerLaw {
    double coefficient;      ///< Igc, in A/V^N
    double contactPotential; ///< Vc, in V
    double exponent;         ///< N
    double onsetWidth = 0.0; ///< w, in V; 0: a sharp onset

    double current(double vgk) const {
        const double overOnset = vgk + contactPotential;
        if (onsetWidth > 0.0)
            return coefficient * std::pow(onsetWidth * softplus(overOnset / onsetWidth), exponent);
        return overOnset > 0.0 ? coefficient * std::pow(overOnset, exponent) : 0.0;
    }
};

} // namespace torvane::generators
