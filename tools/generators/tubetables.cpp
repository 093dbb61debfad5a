// tubetables OUTPUT_DIR
//
// Writes the amplifier's tube tables into OUTPUT_DIR, one file per table, raw little-endian
// float32 with no header, entry i for the input voltage VinMin + i·DeltaV, and prints one line
// per table. Every curve is a DC sweep of a small circuit document by the circuit engine, with
// the engine's own tubes (the built-in sets, their laws computed directly, DoNotInterpolate):
// one model of each tube in the code base. Nothing random or threaded enters, so the files are
// the same bytes on every run of the same build on the same processor (the engine's LU
// divides by the processor's reciprocal estimate refined once, whose last bit may differ
// between makers).
//
// STAGE CURVES: the plate voltage of a stage (V) over the voltage at its input (V).
//
// A stage is swept along its grid's law voltage v (against the cathode) rather than along its
// input: the grid law gives the grid current there, Ig(v), and with it the drive (input less
// cathode) that puts the grid at v through the source resistance Rs, v + Rs·Ig(v). The terms
// below (clamp, rounded onset, blocking, fold-back) act on v and the grid current; the plate
// side, a circuit document of supply, plate load, tube and cathode with the input feeding Rs
// into the grid, is then swept by the engine at those grid voltages and drives, and the swept
// curve is read on the table's inputs by linear interpolation, its points a tenth of a table
// step apart (a little more where the drive rises fastest).
//
// Triode stages: the "12AX7" (Koren's law, mu 100, Ex 1.4, Kg 1060, Kp 600, Kvb 300; grid
// current 3.14e-4·(Vgk + 0.53)³ A), 260 V supply, 100 kΩ plate load, 1.5 kΩ cathode resistor.
// Where the law alone would carry the grid above the cathode, a clamp holds it (clampedGrid).
//   V1, the input stage (−8..8 V by 0.01 V): the cathode bypassed, held at the second stage's
//     operating point at rest (1.2497 V, the bare stage's DC solution); the grid fed from
//     34 kΩ, the two 68 kΩ input resistors in parallel. 176.687 V at rest; from about 4.4 V
//     the clamp holds the grid at 0 V and the plate at 92.90 V.
//   V2.lowCPU, the second stage (−8..100 V by 0.02 V): the cathode unbypassed, its local
//     feedback giving the gentler slope of −2..1 V; the grid fed from 41 kΩ, the first stage's
//     plate resistance as the volume wiper passes it on at full volume. 115.35 V at 2 V, lowest
//     93.87 V near 5 V; past it the cathode resistor carries the grid current too, so the
//     cathode rises and the plate climbs slowly again, to 96.24 V at 100 V.
//   V2.full (−8..80 V by 0.02 V): V2.lowCPU with the grid law at 0.56 of its strength (in the
//     full graph the volume control's handler already loads the wiper with the grid's
//     conductance, so the stage keeps only part of the grid's pull) and grid-current blocking
//     (blockedGrid). From its lowest point (94.58 V near 3.8 V) it climbs to 136.8 V at 80 V.
//
// Output stage: the "GE6V6GT" beam tetrode (mu 12.67, Ex 1.198, Kg1 915, Kp 38.07, Kvb 30.2;
// grid current 2.2e-4·Vgk^1.5 A from 0 V, its onset rounded by roundedOnset). Supply 600 V,
// plate load 6431 Ω, screen held at 261.85 V, fixed bias −14.355 V, cathode grounded; load,
// screen and bias fitted to the gain rising from 24 to 27 as the current grows.
//   V3.lowCPU (−40..100 V by 0.01 V): the grid returned to the bias through the 220 kΩ grid
//     resistor, which carries the grid current. 599.39 V at −40 V (nearly cut off), 325.47 V
//     at rest, 47.13 V at 30 V, 42.85 V at 100 V, falling all the way.
//   V3.full (same range): V3.lowCPU with the grid clamped as the triodes are and the output
//     folded back (foldBack): 34.77 V at 30 V, −30.17 V at 100 V.
//
// GRID CURVES: the resistance (ohms) that a conducting grid puts from the network's node to
// ground, over the node's voltage (V): V/I, I swept from a tube's grid law behind a series
// resistance (the part of the cathode circuit that the grid current crosses); 1e10 Ω where no
// current flows (gridResistance).
//   grid.V2V3 (18..30 V by 0.02 V): the output grid as the interstage coupling sees it: onset
//     18.30 V, 2.2e-4 A/V^1.5 (the output tube's own law), no series resistance (its cathode is
//     grounded).
//   grid.VolumeControl (0..20 V by 0.02 V): the second stage's grid as the volume wiper sees
//     it: onset 1.42 V, where V2's grid reaches the law's onset of −0.53 V; 2.85e-4 A/V^1.5 in
//     series with the 1.5 kΩ cathode resistor.

#include "circuit/tubes/KorenTerms.h"
#include "circuit/tubes/PowerLawGridCurrent.h"
#include "circuit/tubes/TubeSets.h"
#include "tools/generators/CircuitSweep.h"
#include "tools/generators/TableFiles.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace torvane::generators;

const std::string twelveAX7 = "Type=\"12AX7\" DoNotInterpolate=\"true\"";
const std::string sixV6 = "Type=\"GE6V6GT\" DoNotInterpolate=\"true\"";

/// The grid law of a built-in set, exactly as the engine's tube parts stamp it, with the
/// entries of `overrides` in place of the set's.
nodara::PowerLawGridCurrent gridLaw(void (*addSet)(const std::string&, nodara::Properties&),
                                    const std::string& type, nodara::Properties overrides) {
    addSet(type, overrides);
    overrides["DoNotInterpolate"] = "true";
    nodara::PowerLawGridCurrent law;
    law.setProperties(overrides);
    return law;
}

// ---- Modelling terms no part of a circuit carries ---------------------------------------------

double softplus(double x) { return nodara::koren::softplusTerms(x).softplus; }

/// The clamp of a driven grid: a stiff grid-cathode diode holds it at 0 V, its bend rounded
/// over 10 mV: v − w·ln(1 + e^(v/w)). No part stands for it because the grid current is then
/// whatever the source resistance carries, not a law of the grid voltage alone.
double clampedGrid(double v) {
    constexpr double width = 0.01;
    return v - width * softplus(v / width);
}

/// The output grid's rounded onset: the electrons' spread of emission energies lets a little
/// current flow before the onset, and the 3/2 law with a sharp onset, fed from the 220 kΩ grid
/// resistor, would turn the plate curve's slope over within a hundredth of a volt (a kink).
/// So the law is read at w·ln(1 + e^(v/w)), w = 0.2 V.
double roundedOnset(double v) {
    constexpr double width = 0.2;
    return width * softplus(v / width);
}

/// Grid-current blocking in the full second stage: the anode sees the grid lowered by 325 Ω
/// times the grid current, the bias that rectified grid current leaves on the coupling
/// capacitor, which a DC sweep has open.
double blockedGrid(double vgk, double gridCurrent) { return vgk - 325.0 * gridCurrent; }

/// The fold-back of V3.full: the output is the plate voltage less 204.1 kΩ times the grid
/// current, about 0.93 V per volt of drive past the clamp. A modelling choice with no single
/// part behind it; it carries the hard-driven output stage through zero, a region the full
/// graph reaches seldom, since its coupling handler loads the grid from 18.3 V on.
double foldBack(double plate, double gridCurrent) { return plate - 204.1e3 * gridCurrent; }

/// The grid as the network sees it: the resistance V/I that draws its current at V, at most
/// 1e10 Ω, whose 1e-10 S is far below the conductance of any resistor around a grid.
double gridResistance(double v, double current) {
    constexpr double nonConducting = 1e10;
    return current > 0.0 ? std::min(nonConducting, v / current) : nonConducting;
}

// ---- The grid side of a stage -----------------------------------------------------------------

/// How a stage's grid is driven and which terms act on it.
struct GridNetwork {
    nodara::PowerLawGridCurrent law;
    double sourceResistance;
    bool rounded = false;
    bool clamped = false;
    bool blocked = false;
};

/// One state of a grid network: the drive (input less cathode), the grid voltage against the
/// cathode, the one the anode sees, and the grid current.
struct GridPoint {
    double drive;
    double vgk;
    double seen;
    double current;
};

/// The grid law's voltages from `lowest` (below −1 V), float values as the law reads them:
/// 1 mV apart up to −1 V, where no grid conducts, 10 µV apart up to 2 V, where the drive rises
/// steeply with them.
std::vector<double> lawVoltages(double lowest) {
    std::vector<double> voltages;
    for (long i = 0; lowest + static_cast<double>(i) * 1e-3 < -1.0; ++i)
        voltages.push_back(static_cast<float>(lowest + static_cast<double>(i) * 1e-3));
    for (long i = 0; i <= 300000; ++i)
        voltages.push_back(static_cast<float>(-1.0 + static_cast<double>(i) * 1e-5));
    return voltages;
}

/// The network's states from the drive `lowest` on, thinned so that their drives lie at least
/// `spacing` apart.
std::vector<GridPoint> gridPoints(const GridNetwork& network, double lowest, double spacing) {
    const std::vector<double> voltages = lawVoltages(lowest);
    std::vector<GridPoint> points;
    for (std::size_t i = 0; i < voltages.size(); ++i) {
        const double v = voltages[i];
        const double lawCurrent = network.law.getCurrent(
            static_cast<float>(network.rounded ? roundedOnset(v) : v));
        const double drive = v + network.sourceResistance * lawCurrent;
        if (!points.empty() && drive - points.back().drive < spacing && i + 1 < voltages.size())
            continue;
        const double vgk = network.clamped ? clampedGrid(v) : v;
        const double current = (drive - vgk) / network.sourceResistance;
        points.push_back({drive, vgk, network.blocked ? blockedGrid(vgk, current) : vgk, current});
    }
    return points;
}

/// Swept points lie this part of a table step apart, or one law step's drive more.
constexpr double sweepSpacing = 0.1;

/// A swept stage: the input voltage at each point and the value there.
struct SweptCurve {
    std::vector<double> inputs;
    std::vector<double> values;
};

/// `curve` read on the table's inputs by linear interpolation; its inputs must rise and
/// cover them.
std::vector<double> onGrid(const SweptCurve& curve, const TableGrid& grid) {
    if (!std::is_sorted(curve.inputs.begin(), curve.inputs.end()))
        throw std::runtime_error("a swept curve's inputs do not rise");
    std::vector<double> values(grid.count());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = grid.vinAt(i);
        const auto above = std::upper_bound(curve.inputs.begin(), curve.inputs.end(), x);
        if (above == curve.inputs.begin() || above == curve.inputs.end())
            throw std::runtime_error("a swept curve does not cover " + number(x) + " V");
        const auto j = static_cast<std::size_t>(above - curve.inputs.begin());
        const double t = (x - curve.inputs[j - 1]) / (curve.inputs[j] - curve.inputs[j - 1]);
        values[i] = curve.values[j - 1] + t * (curve.values[j] - curve.values[j - 1]);
    }
    return values;
}

/// The stages' solves: the voltages read are volts or more.
constexpr Tolerances plateSideTolerance{1e-6, 1e-9};

// ---- The triode stages ------------------------------------------------------------------------

/// Supply, plate load and cathode of a 12AX7 stage around the tube's three nodes.
std::string triodeLoads(const std::string& cathode) {
    return supply("Supply", 260.0, "supply") + resistor("RL", 100e3, "supply", "plate") +
           cathode;
}

const std::string unbypassedCathode = resistor("Rk", 1.5e3, "cathode", "0");

/// The input stage's cathode: its bypass capacitor holds it at `voltage`.
std::string bypassedCathode(double voltage) { return supply("Bypass", voltage, "cathode"); }

/// The second stage, bare: input through 41 kΩ to the grid, at rest; its cathode voltage.
double quiescentCathode() {
    const std::string stage =
        triodeLoads(unbypassedCathode) + sweptSource("In", 0, "in", "0") +
        resistor("Rs", 41e3, "in", "grid") +
        part("Triode", "V", twelveAX7, {"plate", "grid", "cathode"});
    return sweep(sweepDocument(stage, 1, {"cathode"}, plateSideTolerance), {{0.0}})[0][0];
}

/// A stage's plate side, swept at the grid side's states: input 0 is the drive, which an
/// ideal amplifier lifts onto the cathode to form the input; it feeds the source resistance
/// into the grid, which input 1 holds above the cathode, so that the grid current enters the
/// cathode. The tube's anode reads the grid voltage the anode sees (input 2); its own grid law
/// is off (Igc 0), as the grid side carries it.
SweepDocument triodePlateSide(double sourceResistance, const std::string& cathode) {
    const std::string parts =
        triodeLoads(cathode) +
        part("Triode", "V", twelveAX7 + " Igc=\"0\"", {"plate", "seen", "cathode"}) +
        sweptSource("Drive", 0, "0", "lessDrive") +
        part("IdealDifferentialAmplifier", "Input", "Gain=\"1\"",
             {"cathode", "lessDrive", "in"}) +
        resistor("Rs", sourceResistance, "in", "grid") + sweptSource("Grid", 1, "grid", "cathode") +
        sweptSource("Seen", 2, "seen", "cathode");
    return sweepDocument(parts, 3, {"plate", "cathode"}, plateSideTolerance);
}

/// A triode stage over the inputs of `grid`: its drives start 2 V below them, as no cathode
/// of these stages stands higher when the tube is near cut-off.
SweptCurve sweepTriodeStage(const GridNetwork& network, const std::string& cathode,
                            const TableGrid& grid) {
    const std::vector<GridPoint> points =
        gridPoints(network, grid.vinMin - 2.0, sweepSpacing * grid.deltaV);
    std::vector<std::vector<double>> inputs(3);
    for (const GridPoint& point : points) {
        inputs[0].push_back(point.drive);
        inputs[1].push_back(point.vgk);
        inputs[2].push_back(point.seen);
    }
    const auto swept = sweep(triodePlateSide(network.sourceResistance, cathode), inputs);
    SweptCurve curve;
    for (std::size_t i = 0; i < points.size(); ++i) {
        curve.inputs.push_back(swept[1][i] + points[i].drive);
        curve.values.push_back(swept[0][i]);
    }
    return curve;
}

/// A 12AX7 grid with its law at `strength`, fed from `sourceResistance` and clamped, its
/// grid current blocked when `blocked`.
GridNetwork triodeGrid(double strength, double sourceResistance, bool blocked) {
    return {gridLaw(nodara::addTriodeSet, "12AX7", {{"Igc", number(strength * 3.14e-4)}}),
            sourceResistance, false, true, blocked};
}

// ---- The output stage -------------------------------------------------------------------------

constexpr double outputBias = 14.355;

/// The output stage's plate side: 600 V supply, 6431 Ω plate load, screen held at 261.85 V,
/// cathode grounded, the grid (its law off) held at the voltage the anode sees (input 0).
SweepDocument pentodePlateSide() {
    const std::string parts =
        supply("Supply", 600.0, "supply") + supply("Screen", 261.85, "screen") +
        resistor("RL", 6431.0, "supply", "plate") +
        part("Pentode", "V3", sixV6 + " Igc=\"0\"", {"plate", "screen", "seen", "0"}) +
        sweptSource("Seen", 0, "seen", "0");
    return sweepDocument(parts, 1, {"plate"}, plateSideTolerance);
}

/// The output stage over its input voltage: the grid returned to the −14.355 V bias through
/// the 220 kΩ grid resistor, which carries the grid current.
SweptCurve sweepOutputStage(bool full, const TableGrid& grid) {
    const GridNetwork network{gridLaw(nodara::addPentodeSet, "GE6V6GT", {}), 220e3, true, full,
                              false};
    const std::vector<GridPoint> points =
        gridPoints(network, grid.vinMin - outputBias - 0.1, sweepSpacing * grid.deltaV);
    std::vector<double> seen;
    for (const GridPoint& point : points)
        seen.push_back(point.seen);
    const std::vector<double> plates = sweep(pentodePlateSide(), {seen})[0];
    SweptCurve curve;
    for (std::size_t i = 0; i < points.size(); ++i) {
        curve.inputs.push_back(points[i].drive + outputBias);
        curve.values.push_back(full ? foldBack(plates[i], points[i].current) : plates[i]);
    }
    return curve;
}

// ---- The grid curves --------------------------------------------------------------------------

/// The current is read across this resistance from the grid's cathode side to ground: it
/// drops at most 10 µV, and at the first conducting entry reads 0.6 nV, which the solves
/// resolve to 1e-13 V.
constexpr double senseResistance = 1e-3;

/// The grid curves' solves. Behind a series resistance Newton's method converges only
/// linearly here, as the grid law's slope is (N − 1)/N of the true one, so the relative
/// tolerance sits at about one float step: some points dither in the last bit until the
/// iteration limit, which the curves' 1,600 points can afford.
constexpr Tolerances gridTolerance{1e-7, 1e-13};

/// A grid conducting `coefficient`·(V − onset)^1.5 A (a tube whose anode passes nothing)
/// behind `series` ohms, swept over the table's voltages: its resistance V/I at each.
std::vector<double> gridResistances(double onset, double coefficient, double series,
                                    const TableGrid& grid) {
    const std::string cathodeSide = series > 0.0 ? "diode" : "sense";
    std::string parts = sweptSource("Drive", 0, "grid", "0") +
                        part("Triode", "Grid",
                             twelveAX7 + " Kg=\"1e30\" Vc=\"" + number(-onset) + "\" Igc=\"" +
                                 number(coefficient) + "\" N=\"1.5\"",
                             {"0", "grid", cathodeSide}) +
                        resistor("Sense", senseResistance, "sense", "0");
    if (series > 0.0)
        parts += resistor("Series", series, "diode", "sense");
    std::vector<double> voltages(grid.count());
    for (std::size_t i = 0; i < voltages.size(); ++i)
        voltages[i] = grid.vinAt(i);
    const std::vector<double> sensed =
        sweep(sweepDocument(parts, 1, {"sense"}, gridTolerance), {voltages})[0];
    std::vector<double> values(voltages.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = gridResistance(voltages[i], sensed[i] / senseResistance);
    return values;
}

// ---- The tables -------------------------------------------------------------------------------

struct TableRecipe {
    std::string name;
    TableGrid grid;
    std::function<std::vector<double>(const TableGrid&)> compute;
    std::vector<double> checkpoints; ///< input voltages printed in the summary line
};

std::vector<TableRecipe> recipes() {
    const auto triodeStage = [](GridNetwork network, std::string cathode) {
        return [=](const TableGrid& grid) {
            return onGrid(sweepTriodeStage(network, cathode, grid), grid);
        };
    };
    const auto outputStage = [](bool full) {
        return [=](const TableGrid& grid) {
            return onGrid(sweepOutputStage(full, grid), grid);
        };
    };
    const auto gridCurve = [](double onset, double coefficient, double series) {
        return [=](const TableGrid& grid) {
            return gridResistances(onset, coefficient, series, grid);
        };
    };
    return {
        {"V1", {-8.0, 8.0, 0.01},
         triodeStage(triodeGrid(1.0, 34e3, false), bypassedCathode(quiescentCathode())),
         {-8.0, 0.0, 1.0, 2.0, 5.0, 8.0}},
        {"V2.lowCPU", {-8.0, 100.0, 0.02},
         triodeStage(triodeGrid(1.0, 41e3, false), unbypassedCathode),
         {-8.0, 0.0, 2.0, 5.0, 100.0}},
        {"V2.full", {-8.0, 80.0, 0.02},
         triodeStage(triodeGrid(0.56, 41e3, true), unbypassedCathode),
         {-8.0, 0.0, 2.0, 5.0, 80.0}},
        {"V3.lowCPU", {-40.0, 100.0, 0.01}, outputStage(false), {-40.0, 0.0, 5.0, 30.0, 100.0}},
        {"V3.full", {-40.0, 100.0, 0.01}, outputStage(true), {-40.0, 0.0, 5.0, 30.0, 100.0}},
        {"grid.V2V3", {18.0, 30.0, 0.02}, gridCurve(18.3, 2.2e-4, 0.0),
         {18.3, 18.5, 19.3, 22.3, 29.18}},
        {"grid.VolumeControl", {0.0, 20.0, 0.02}, gridCurve(1.42, 2.85e-4, 1.5e3),
         {1.42, 1.62, 2.42, 5.42, 19.42}},
    };
}

std::vector<float> narrowed(const std::vector<double>& values) {
    return {values.begin(), values.end()};
}

void printSummary(const TableRecipe& recipe, const std::vector<float>& values) {
    std::printf("%-20s %g..%g V step %g  %zu values ", recipe.name.c_str(), recipe.grid.vinMin,
                recipe.grid.vinMax, recipe.grid.deltaV, values.size());
    for (const double vin : recipe.checkpoints)
        std::printf(" @%g: %.6g", vin, values[recipe.grid.indexOf(vin)]);
    const auto lowest = std::min_element(values.begin(), values.end());
    std::printf("  lowest %.6g @%g\n", *lowest,
                recipe.grid.vinAt(static_cast<std::size_t>(lowest - values.begin())));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: tubetables OUTPUT_DIR\n");
        return 2;
    }
    try {
        const std::filesystem::path directory = argv[1];
        std::filesystem::create_directories(directory);
        for (const TableRecipe& recipe : recipes()) {
            const std::vector<float> values = narrowed(recipe.compute(recipe.grid));
            writeFloat32File(directory / (recipe.name + ".f32"), values);
            printSummary(recipe, values);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tubetables: %s\n", error.what());
        return 1;
    }
    return 0;
}
