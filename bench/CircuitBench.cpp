// The circuit engine per sample at 48 kHz: the example circuits under each solver, a linear
// ladder of ten nodes, the cost of a property change (the system reassembled), and the tube
// examples (the 12AX7 stage with its anode law read from tables and computed, the three-stage
// preamp per host sample at 4x oversampling, the EL34 stage).
#include "description/SystemLoader.h"
#include "runtime/Driver.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace {

using nodara::scalar;

constexpr int block = 256;

std::string example(const std::string& name) {
    std::ifstream file(std::string(TORVANE_EXAMPLES_DIR) + "/" + name);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

const char* const solverTexts[] = {
    "<Solver Type=\"Linear\"/>",
    "<Solver Type=\"NewtonRaphson\"><Properties RelativeTollerance=\"1e-4\" "
    "AbsoluteTollerance=\"1e-5\" MaxIterations=\"20\"/></Solver>",
    "<Solver Type=\"SimplifiedNewton\"><Properties RelativeTollerance=\"1e-4\" "
    "AbsoluteTollerance=\"1e-5\" MaxIterations=\"20\"/></Solver>",
    "<Solver Type=\"SuccessiveApproximations\"><Properties RelativeTollerance=\"1e-4\" "
    "AbsoluteTollerance=\"1e-5\" InitialRelaxation=\"1\" MinRelaxation=\"0.1\" "
    "MaxRelaxation=\"1\" Growth=\"1.1\" Reduction=\"0.5\" MaxIterations=\"20\"/></Solver>",
};
const char* const solverNames[] = {"Linear", "NewtonRaphson", "SimplifiedNewton",
                                   "SuccessiveApproximations"};

/// The document with every linear solver replaced by solver `index`.
std::string solvedBy(std::string document, int index) {
    const std::string linear = solverTexts[0];
    for (size_t at = document.find(linear); at != std::string::npos;
         at = document.find(linear, at + 1)) {
        document.replace(at, linear.size(), solverTexts[index]);
    }
    return document;
}

std::shared_ptr<nodara::Driver> driverFor(const std::string& document, int frames) {
    auto driver = std::make_shared<nodara::Driver>();
    std::istringstream stream(document);
    nodara::loadSystem(*driver, stream);
    driver->setSampleRate(48000.0f);
    driver->setMaxBlockSize(frames);
    return driver;
}

std::vector<scalar> sine(int frames) {
    std::vector<scalar> values(static_cast<size_t>(frames));
    for (int i = 0; i < frames; ++i) {
        values[static_cast<size_t>(i)] = 0.5f * static_cast<scalar>(std::sin(2.0 * M_PI * i / 48.0));
    }
    return values;
}

/// Time per sample of `document` on a 1 kHz sine, in blocks of 256.
void perSample(benchmark::State& state, const std::string& document) {
    auto driver = driverFor(document, block);
    auto input = sine(block);
    const std::vector<scalar*> inputs = {input.data()};
    for (auto _ : state) {
        driver->process(inputs, block);
        benchmark::DoNotOptimize((*driver->getOutputs())[0][0]);
    }
    state.SetItemsProcessed(state.iterations() * block);
    state.counters["ns_per_sample"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * block * 1e-9,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void rcLowPass(benchmark::State& state) {
    perSample(state, solvedBy(example("rc-lowpass.xml"), static_cast<int>(state.range(0))));
    state.SetLabel(solverNames[state.range(0)]);
}
BENCHMARK(rcLowPass)->DenseRange(0, 3);

void opAmpStage(benchmark::State& state) {
    perSample(state, solvedBy(example("opamp-inverting.xml"), static_cast<int>(state.range(0))));
    state.SetLabel(solverNames[state.range(0)]);
}
BENCHMARK(opAmpStage)->DenseRange(0, 3);

/// Ten RC sections in series: ten ordinary nodes besides the input.
std::string ladder() {
    std::string parts = "<Element Type=\"VoltageInputSource\" Name=\"Vin\"><Properties "
                        "InputNumber=\"0\" UseFixedVoltage=\"true\"/><Node Name=\"n0\"/><Node "
                        "Name=\"0\"/></Element>";
    for (int i = 1; i <= 10; ++i) {
        const std::string from = "n" + std::to_string(i - 1), to = "n" + std::to_string(i);
        parts += "<Element Type=\"Resistor\" Name=\"R" + to + "\"><Properties Resistance=\"1000\"/>"
                 "<Node Name=\"" + from + "\"/><Node Name=\"" + to + "\"/></Element>"
                 "<Element Type=\"Capacitor\" Name=\"C" + to + "\"><Properties "
                 "Capacitance=\"1e-8\"/><Node Name=\"" + to + "\"/><Node Name=\"0\"/></Element>";
    }
    return "<System><Graphs><Graph Name=\"L\" Type=\"MNA\">" + parts +
           "<Inputs><Input Graph=\"System\" Node=\"0\"/></Inputs><Output><Node Name=\"n10\"/>"
           "</Output><NumberOfInputs>1</NumberOfInputs><Analysis Type=\"AC\"><InitialCondition "
           "Type=\"Zero\"/><Solver Type=\"Linear\"/></Analysis></Graph></Graphs><Outputs><Output "
           "Graph=\"L\" Node=\"n10\"/></Outputs></System>";
}

void tenNodeLadder(benchmark::State& state) { perSample(state, ladder()); }
BENCHMARK(tenNodeLadder);

/// One sample after the gain knob moved: the system is reassembled and refactored, or
/// inverted, at the head of the block.
void propertyChange(benchmark::State& state) {
    auto driver = driverFor(solvedBy(example("opamp-inverting.xml"),
                                     static_cast<int>(state.range(0))), 1);
    auto& gain = *(*driver->getControls())[0];
    scalar input = 0.1f;
    const std::vector<scalar*> inputs = {&input};
    float position = 0.3f;
    for (auto _ : state) {
        position = position > 0.6f ? 0.3f : position + 0.01f;
        gain.setValue(position);
        driver->process(inputs, 1);
    }
    state.SetLabel(solverNames[state.range(0)]);
}
BENCHMARK(propertyChange)->DenseRange(0, 3);

void triodeStageFromTables(benchmark::State& state) { perSample(state, example("triode-stage.xml")); }
BENCHMARK(triodeStageFromTables);

void triodeStageComputed(benchmark::State& state) {
    std::string document = example("triode-stage.xml");
    const std::string type = "<Properties Type=\"12AX7\"/>";
    document.replace(document.find(type), type.size(),
                     "<Properties Type=\"12AX7\" DoNotInterpolate=\"true\"/>");
    perSample(state, document);
}
BENCHMARK(triodeStageComputed);

void threeStagePreampAt4x(benchmark::State& state) {
    perSample(state, example("three-stage-preamp.xml"));
}
BENCHMARK(threeStagePreampAt4x);

void pentodeStage(benchmark::State& state) { perSample(state, example("pentode-power-stage.xml")); }
BENCHMARK(pentodeStage);

} // namespace
