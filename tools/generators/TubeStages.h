#pragma once

#include "tools/generators/KorenTubes.h"
#include "tools/generators/LoadLineSolver.h"

#include <algorithm>
#include <optional>

// Tube stages solved on their load lines, one input voltage at a time. Voltages in volts
// against ground unless named relative to the cathode (vgk), resistances in ohms, currents in
// amperes.
namespace torvane::generators {

/// The grid circuit of a stage. The drive (input voltage minus cathode voltage) reaches the
/// grid through a source resistance; the grid draws current by its power law. With a clamp,
/// the grid voltage that the law sets is then held below 0 V by a smooth ceiling, as a stiff
/// grid-cathode diode would hold it; the grid current is whatever the source resistance then
/// carries.
struct GridNetwork {
    GridPowerLaw law;
    double sourceResistance;
    std::optional<double> clampWidth; ///< V, the width of the bend into the clamp
};

/// The grid's operating point.
struct GridPoint {
    double vgk;
    double current;
};

/// Solves vgk + Rs·Ig(vgk) = drive, then applies the clamp. The left side rises with vgk, and
/// the zero lies between drive − Rs·Ig(drive) and drive, as Ig rises with vgk.
inline GridPoint solveGrid(const GridNetwork& grid, double drive) {
    const double largestDrop = grid.sourceResistance * grid.law.current(drive);
    double vgk = drive;
    if (largestDrop > 0.0) {
        vgk = findRoot(
            [&](double v) { return v + grid.sourceResistance * grid.law.current(v) - drive; },
            drive - largestDrop, drive);
    }
    if (grid.clampWidth)
        vgk = smoothCeiling(vgk, 0.0, *grid.clampWidth);
    return {vgk, (drive - vgk) / grid.sourceResistance};
}

/// A common-cathode triode stage: plate load to the supply, cathode resistor to ground, either
/// bypassed (the cathode stays at a fixed voltage) or not (the cathode carries Rk·(Ip + Ig)).
struct TriodeStage {
    KorenTriode tube;
    GridNetwork grid;
    double supply;
    double plateLoad;
    double cathodeResistor;
    std::optional<double> bypassedCathode; ///< V, the cathode voltage a bypass capacitor holds
    /// Grid-current blocking: the plate current sees the grid lowered by this resistance times
    /// the grid current, the bias that grid current leaves on a coupling capacitor. 0: none.
    double blockingResistance = 0.0;
};

/// One solved point of a stage.
struct StagePoint {
    double plate;
    double cathode;
    GridPoint grid;
};

/// Plate current on the load line Vp = B − RL·Ip, for a given grid and cathode: the zero of
/// Ip − Ia(vgk, B − RL·Ip − Vk), which rises with Ip.
inline double triodePlateCurrent(const TriodeStage& stage, double vgk, double cathode) {
    const double headroom = stage.supply - cathode;
    return findRoot(
        [&](double ip) {
            return ip - stage.tube.plateCurrent(vgk, headroom - stage.plateLoad * ip);
        },
        0.0, headroom / stage.plateLoad);
}

/// The stage at input `vin`, the cathode voltage taken as known.
inline StagePoint triodeAtCathode(const TriodeStage& stage, double vin, double cathode) {
    const GridPoint grid = solveGrid(stage.grid, vin - cathode);
    const double vgkSeen = grid.vgk - stage.blockingResistance * grid.current;
    const double ip = triodePlateCurrent(stage, vgkSeen, cathode);
    return {stage.supply - stage.plateLoad * ip, cathode, grid};
}

/// The stage at input `vin`. An unbypassed cathode is the zero of Rk·(Ip + Ig) − Vk, which
/// falls with Vk (more cathode voltage, less of both currents); `cathodeGuess` (the previous
/// point's) starts the search.
inline StagePoint solveTriodeStage(const TriodeStage& stage, double vin, double cathodeGuess) {
    if (stage.bypassedCathode)
        return triodeAtCathode(stage, vin, *stage.bypassedCathode);
    const auto residual = [&](double cathode) {
        const StagePoint point = triodeAtCathode(stage, vin, cathode);
        const double plateCurrent = (stage.supply - point.plate) / stage.plateLoad;
        return stage.cathodeResistor * (plateCurrent + point.grid.current) - cathode;
    };
    // Neither current can exceed what the supply or the drive alone would push.
    const double highest = stage.cathodeResistor *
                               (stage.supply / stage.plateLoad +
                                std::max(vin, 0.0) / stage.grid.sourceResistance) +
                           1.0;
    const double cathode = findRootNear(residual, cathodeGuess, 1e-3, 0.0, highest);
    return triodeAtCathode(stage, vin, cathode);
}

/// A pentode (or beam tetrode) stage with grounded cathode, fixed grid bias and a fixed screen
/// supply: plate load to the supply.
struct PentodeStage {
    KorenPentode tube;
    GridNetwork grid;
    double supply;
    double plateLoad;
    double screen; ///< V
    double bias;   ///< V, the grid's standing voltage is −bias
    /// Fold-back: the output is the plate voltage less this resistance times the grid current.
    /// 0: none.
    double foldBackResistance = 0.0;
};

/// The stage's output at input `vin`: the plate voltage is the zero of Vp − B + RL·Ia, which
/// rises with Vp.
inline double solvePentodeStage(const PentodeStage& stage, double vin) {
    const GridPoint grid = solveGrid(stage.grid, vin - stage.bias);
    const double plate = findRoot(
        [&](double vp) {
            return vp - stage.supply +
                   stage.plateLoad * stage.tube.plateCurrent(grid.vgk, vp, stage.screen);
        },
        0.0, stage.supply);
    return plate - stage.foldBackResistance * grid.current;
}

} // namespace torvane::generators
