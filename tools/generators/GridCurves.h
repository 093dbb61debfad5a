#pragma once

#include "tools/generators/LoadLineSolver.h"

#include <algorithm>
#include <cmath>

namespace torvane::generators {

/// What the networks use for a grid that draws no current: a resistance high enough to load
/// nothing (its conductance, 1e-10 S, is far below that of any resistor around it).
constexpr double nonConductingResistance = 1e10;

/// A grid as the network that drives it sees it: a diode whose current follows the 3/2-power
/// (Child–Langmuir) law above an onset voltage, in series with a resistance (the part of the
/// cathode circuit that the grid current crosses). At grid voltage V above the onset the
/// current I solves
///   V − onset = (I/K)^(2/3) + I·Rs,
/// and the network sees the grid as the resistance V/I to ground: the load that draws the same
/// current at that voltage. At and below the onset no current flows.
struct GridDiode {
    double onset;            ///< V, grid voltage at which conduction begins
    double coefficient;      ///< K, in A/V^1.5
    double seriesResistance; ///< Rs, in ohms

    double currentAt(double v) const {
        const double overOnset = v - onset;
        if (overOnset <= 0.0)
            return 0.0;
        if (seriesResistance == 0.0)
            return coefficient * std::pow(overOnset, 1.5);
        // The resistance alone would pass overOnset/Rs: more than the pair passes.
        return findRoot(
            [&](double i) {
                return std::pow(i / coefficient, 2.0 / 3.0) + i * seriesResistance - overOnset;
            },
            0.0, overOnset / seriesResistance);
    }

    /// Grid resistance in ohms at grid voltage `v`, at most nonConductingResistance.
    double resistanceAt(double v) const {
        const double current = currentAt(v);
        if (current <= 0.0)
            return nonConductingResistance;
        return std::min(nonConductingResistance, v / current);
    }
};

} // namespace torvane::generators
