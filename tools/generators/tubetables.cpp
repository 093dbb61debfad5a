// tubetables OUTPUT_DIR
//
// Writes the amplifier's tube tables into OUTPUT_DIR, one file per table, raw little-endian
// float32 with no header, entry i for the input voltage VinMin + i·DeltaV, and prints one line
// per table. Every point is solved in double precision with bracketed root finding and narrowed
// to float at the end; nothing random or threaded enters, so the files are the same bytes on
// every run with the same compiler settings.
//
// STAGE CURVES: the plate voltage of a stage (V) over the voltage at its input (V).
//
// Triode stages: a 12AX7 after Koren (mu 100, Ex 1.4, Kg1 1060, Kp 600, Kvb 300), 260 V supply,
// 100 kΩ plate load, 1.5 kΩ cathode resistor. The input reaches the grid through a source
// resistance; the grid draws current by Koren's law 3.14e-4·(Vgk + 0.53)³ A. Where that law
// alone would carry the grid above the cathode, a clamp holds it: the grid voltage is limited
// by a smooth ceiling at Vgk = 0 V, 10 mV wide (a stiff grid-cathode diode), and the grid
// current is whatever the source resistance then carries.
//   V1, the input stage (−8..8 V by 0.01 V): the cathode bypassed, held at the stage's
//     quiescent 1.2497 V (solved from the unbypassed stage at rest); the grid fed from 34 kΩ,
//     the two 68 kΩ input resistors in parallel. Up to 0 V this is the bare stage on its load
//     line (176.687 V at rest). With the cathode held, only the product of source resistance
//     and grid law shapes the bend at 1 V and 2 V (34 kΩ with the law is 68 kΩ with half the
//     law). The clamp sets the floor: from about 4 V the grid sits at 0 V, the plate at 92.90 V.
//   V2.lowCPU, the second stage (−8..100 V by 0.02 V): the same stage with the cathode
//     unbypassed, its local feedback giving the gentler slope of −2..1 V; the grid fed from
//     41 kΩ, the first stage's plate resistance as the volume wiper passes it on at full volume.
//     The grid law sets 2 V (115.35 V) and the clamp the lowest point (93.87 V near 5 V). Past
//     it the cathode resistor carries the grid current too, so the cathode rises and the plate
//     climbs slowly again, to 96.24 V at 100 V.
//   V2.full (−8..80 V by 0.02 V): V2.lowCPU with two changes that act only once the grid
//     conducts. The grid law at 0.56 of its strength: in the full graph the volume control's
//     handler already loads the wiper with the grid's conductance, so the stage keeps only part
//     of the grid's pull; this sets 2 V (114.06 V). Grid-current blocking: the plate current
//     sees the grid lowered by 325 Ω times the grid current, the bias that rectified grid
//     current leaves on the coupling capacitor. Blocking folds the curve back: from its lowest
//     point (94.58 V near 3.8 V) it climbs through 95.2 V at 5 V to 136.8 V at 80 V. The two
//     constants balance the errors at 2 V, 5 V, 80 V and the lowest point (each within 0.6%).
//
// Output stage: a beam tetrode of the 6V6 class after Koren (mu 12.67, Ex 1.198, Kg1 915,
// Kp 38.07, Kvb 30.2); grid current by the Child–Langmuir law 2.2e-4·Vgk^1.5 A from 0 V, its
// onset rounded over 0.2 V (without the rounding the 3/2 law, fed from a large resistance,
// turns the plate curve's slope over within a hundredth of a volt: a kink). Supply 600 V (the
// end at −40 V, 599.39 V, is nearly cut off), plate load 6431 Ω, screen held at 261.85 V,
// fixed bias −14.355 V, cathode grounded. Load, screen and bias were fitted together to the
// points at −40, −2, −1, 0, 1, 2 and 5 V (the gain rising from 24 to 27 as the current grows)
// and to the two low-CPU points beyond the onset below: all within 0.1%.
//   V3.lowCPU (−40..100 V by 0.01 V): the grid returned to the bias supply through the 220 kΩ
//     grid resistor, which carries the grid current. From the onset near 14.4 V the grid rises
//     only slowly and the plate settles at the knee: 47.13 V at 30 V, 42.85 V at 100 V, falling
//     all the way.
//   V3.full (same range): V3.lowCPU with the grid clamped at 0 V as the triodes are, and a
//     fold-back term: the output is the plate voltage less 204.1 kΩ times the grid current,
//     about 0.93 V per volt of drive past the clamp. The term is a modelling choice with no
//     single part behind it; it carries the hard-driven output stage through zero (34.77 V at
//     30 V, −30.17 V at 100 V, each within 0.6%). The full graph reaches that region seldom,
//     since its coupling handler loads the grid from 18.3 V on.
//
// GRID CURVES: the resistance (ohms) that a conducting grid puts from the network's node to
// ground, over the node's voltage (V): V/I, with I from a Child–Langmuir diode in series with
// a resistance (see GridDiode); 1e10 Ω at and below the onset.
//   grid.V2V3 (18..30 V by 0.02 V): the output grid as the interstage coupling sees it: onset
//     18.30 V, K = 2.2e-4 A/V^1.5 (the output tube's own law), no series resistance (its
//     cathode is grounded). Within 2% of 922977 Ω at 18.5 V, 87386 at 19.3, 12658 at 22.3,
//     3695 at 29.18.
//   grid.VolumeControl (0..20 V by 0.02 V): the second stage's grid as the volume wiper sees
//     it: onset 1.42 V, where V2's grid reaches the law's onset of −0.53 V; in series with the
//     1.5 kΩ cathode resistor that the grid current crosses; K = 2.85e-4 A/V^1.5, which
//     balances the errors at 1.62, 2.42, 5.42 and 19.42 V (76580, 15279, 4529, 2617 Ω; each
//     within 13%).

#include "tools/generators/GridCurves.h"
#include "tools/generators/TableFiles.h"
#include "tools/generators/TubeStages.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace torvane::generators;

constexpr KorenTriode twelveAX7{100.0, 1.4, 1060.0, 600.0, 300.0};
constexpr GridPowerLaw twelveAX7Grid{3.14e-4, 0.53, 3.0};
constexpr double gridClampWidth = 0.01;

constexpr KorenPentode outputTube{12.67, 1.198, 915.0, 38.07, 30.2};
constexpr GridPowerLaw outputTubeGrid{2.2e-4, 0.0, 1.5, 0.2};

/// The second stage as the low-CPU graph has it; the others are variations of it.
TriodeStage secondStage() {
    TriodeStage stage;
    stage.tube = twelveAX7;
    stage.grid = {twelveAX7Grid, 41e3, gridClampWidth};
    stage.supply = 260.0;
    stage.plateLoad = 100e3;
    stage.cathodeResistor = 1.5e3;
    return stage;
}

double quiescentCathode(const TriodeStage& unbypassed) {
    return solveTriodeStage(unbypassed, 0.0, 1.0).cathode;
}

TriodeStage inputStage() {
    TriodeStage stage = secondStage();
    stage.grid.sourceResistance = 34e3;
    stage.bypassedCathode = quiescentCathode(secondStage());
    return stage;
}

TriodeStage secondStageFull() {
    TriodeStage stage = secondStage();
    stage.grid.law.coefficient *= 0.56;
    stage.blockingResistance = 325.0;
    return stage;
}

PentodeStage outputStage() {
    PentodeStage stage;
    stage.tube = outputTube;
    stage.grid = {outputTubeGrid, 220e3, std::nullopt};
    stage.supply = 600.0;
    stage.plateLoad = 6431.0;
    stage.screen = 261.85;
    stage.bias = 14.355;
    return stage;
}

PentodeStage outputStageFull() {
    PentodeStage stage = outputStage();
    stage.grid.clampWidth = gridClampWidth;
    stage.foldBackResistance = 204.1e3;
    return stage;
}

/// The plate voltage over the grid, each point's cathode solve starting from the previous one.
std::vector<double> curveOf(const TriodeStage& stage, const TableGrid& grid) {
    std::vector<double> values(grid.count());
    double cathode = stage.bypassedCathode.value_or(0.0);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const StagePoint point = solveTriodeStage(stage, grid.vinAt(i), cathode);
        values[i] = point.plate;
        cathode = point.cathode;
    }
    return values;
}

std::vector<double> curveOf(const PentodeStage& stage, const TableGrid& grid) {
    std::vector<double> values(grid.count());
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = solvePentodeStage(stage, grid.vinAt(i));
    return values;
}

std::vector<double> curveOf(const GridDiode& diode, const TableGrid& grid) {
    std::vector<double> values(grid.count());
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = diode.resistanceAt(grid.vinAt(i));
    return values;
}

struct TableRecipe {
    std::string name;
    TableGrid grid;
    std::function<std::vector<double>(const TableGrid&)> compute;
    std::vector<double> checkpoints; ///< input voltages printed in the summary line
};

std::vector<TableRecipe> recipes() {
    const auto tabulate = [](auto model) {
        return [model](const TableGrid& grid) { return curveOf(model, grid); };
    };
    return {
        {"V1", {-8.0, 8.0, 0.01}, tabulate(inputStage()), {-8.0, 0.0, 1.0, 2.0, 5.0, 8.0}},
        {"V2.lowCPU", {-8.0, 100.0, 0.02}, tabulate(secondStage()), {-8.0, 0.0, 2.0, 5.0, 100.0}},
        {"V2.full", {-8.0, 80.0, 0.02}, tabulate(secondStageFull()), {-8.0, 0.0, 2.0, 5.0, 80.0}},
        {"V3.lowCPU", {-40.0, 100.0, 0.01}, tabulate(outputStage()), {-40.0, 0.0, 5.0, 30.0, 100.0}},
        {"V3.full", {-40.0, 100.0, 0.01}, tabulate(outputStageFull()), {-40.0, 0.0, 5.0, 30.0, 100.0}},
        {"grid.V2V3", {18.0, 30.0, 0.02}, tabulate(GridDiode{18.3, 2.2e-4, 0.0}),
         {18.3, 18.5, 19.3, 22.3, 29.18}},
        {"grid.VolumeControl", {0.0, 20.0, 0.02}, tabulate(GridDiode{1.42, 2.85e-4, 1.5e3}),
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
