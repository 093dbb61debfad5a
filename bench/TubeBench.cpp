// Tube circuits per host sample at 48 kHz, in blocks of 256: the 12AX7 stage with its anode law
// read from tables and computed, the three-stage preamp at 4x oversampling, the EL34 stage.
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

/// Time per host sample of `document` on a 0.5 V 1 kHz sine.
void perSample(benchmark::State& state, const std::string& document) {
    auto driver = std::make_shared<nodara::Driver>();
    std::istringstream stream(document);
    nodara::loadSystem(*driver, stream);
    driver->setSampleRate(48000.0f);
    driver->setMaxBlockSize(block);
    std::vector<scalar> input(block);
    for (int i = 0; i < block; ++i) {
        input[static_cast<size_t>(i)] = 0.5f * static_cast<scalar>(std::sin(2.0 * M_PI * i / 48.0));
    }
    const std::vector<scalar*> inputs = {input.data()};
    for (auto _ : state) {
        driver->process(inputs, block);
        benchmark::DoNotOptimize((*driver->getOutputs())[0][0]);
    }
    state.counters["ns_per_sample"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * block * 1e-9,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

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
