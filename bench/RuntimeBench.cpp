// Driver overhead per block and the lookup stage per sample.
#include "description/SystemLoader.h"
#include "dsp/elements/LookupTableFilter.h"
#include "runtime/DSPContext.h"
#include "runtime/Driver.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <sstream>
#include <string>

namespace {

using nodara::scalar;

std::string gainElement(int index, const std::string& source) {
    const std::string output = source == "Graph" ? "0" : "out";
    return "<Element Type=\"Gain\" Name=\"g" + std::to_string(index) +
           "\"><Properties Gain=\"1.0001\"/><Inputs><Input Port=\"in\" Element=\"" + source +
           "\" Output=\"" + output + "\"/></Inputs></Element>";
}

std::string graphIo(const std::string& source, const std::string& outputElement) {
    const std::string input = source == "System" ? "<Input Graph=\"System\" Node=\"0\"/>"
                                                 : "<Input Graph=\"" + source + "\" Node=\"out\"/>";
    return "<Inputs>" + input + "</Inputs><Output><Node Name=\"out\" Element=\"" + outputElement +
           "\" Index=\"0\"/></Output><NumberOfInputs>1</NumberOfInputs>";
}

/// Ten gains in series inside one graph.
std::string oneGraph() {
    std::string elements;
    for (int i = 0; i < 10; ++i) {
        elements += gainElement(i, i == 0 ? "Graph" : "g" + std::to_string(i - 1));
    }
    return "<System><Graphs><Graph Name=\"G\" Type=\"DSP\">" + elements + graphIo("System", "g9") +
           "</Graph></Graphs><Outputs><Output Graph=\"G\" Node=\"out\"/></Outputs></System>";
}

/// Ten graphs in series with one gain each.
std::string tenGraphs() {
    std::string graphs;
    for (int i = 0; i < 10; ++i) {
        graphs += "<Graph Name=\"G" + std::to_string(i) + "\" Type=\"DSP\">" + gainElement(0, "Graph") +
                  graphIo(i == 0 ? "System" : "G" + std::to_string(i - 1), "g0") + "</Graph>";
    }
    return "<System><Graphs>" + graphs +
           "</Graphs><Outputs><Output Graph=\"G9\" Node=\"out\"/></Outputs></System>";
}

void runDriver(benchmark::State& state, const std::string& document) {
    const auto block = static_cast<int>(state.range(0));
    auto driver = std::make_shared<nodara::Driver>();
    std::istringstream stream(document);
    nodara::loadSystem(*driver, stream);
    driver->setSampleRate(48000.0f);
    driver->setMaxBlockSize(block);
    std::vector<scalar> input(static_cast<size_t>(block), 0.25f);
    const std::vector<scalar*> inputs = {input.data()};
    for (auto _ : state) {
        driver->process(inputs, block);
        benchmark::DoNotOptimize((*driver->getOutputs())[0]);
    }
    state.SetItemsProcessed(state.iterations() * block);
}

void DriverTenGainsOneGraph(benchmark::State& state) { runDriver(state, oneGraph()); }
void DriverTenGainsTenGraphs(benchmark::State& state) { runDriver(state, tenGraphs()); }
BENCHMARK(DriverTenGainsOneGraph)->Arg(1)->Arg(64)->Arg(256);
BENCHMARK(DriverTenGainsTenGraphs)->Arg(1)->Arg(64)->Arg(256);

/// One stage of the amplifier: 4401 values over -8..80 V, inputs spread over the curve.
void LookupTablePerSample(benchmark::State& state) {
    constexpr size_t block = 256;
    nodara::LookupTableFilter stage;
    auto context = std::make_shared<nodara::DSPContext>();
    stage.init("V2", {{"VinMin", "-8"}, {"VinMax", "80"}, {"DeltaV", "0.02"}}, context);
    auto table = std::make_shared<std::vector<scalar>>(4401);
    for (size_t i = 0; i < table->size(); ++i) {
        (*table)[i] = 260.0f - 160.0f * std::tanh(0.002f * static_cast<float>(i));
    }
    stage.propertyChanged("Vout", table);
    stage.setMaxBlockSize(block);
    std::vector<scalar> in(block), out(block);
    for (size_t i = 0; i < block; ++i) {
        in[i] = 6.0f * std::sin(0.05f * static_cast<float>(i));
    }
    for (auto _ : state) {
        stage.process(in.data(), out.data(), block);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}
BENCHMARK(LookupTablePerSample);

} // namespace
