// The cabinet's convolver alone, per sample at each host block size, with the error of its output
// against a direct convolution in double precision.

#include "amp/EmbeddedData.h"
#include "dsp/convolution/Convolver.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr size_t responseLength = 8192;

std::vector<float> noise(size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    std::vector<float> out(count);
    for (float& sample : out) {
        sample = uniform(generator);
    }
    return out;
}

/// The cabinet response as the amplifier uses it: its first 8192 samples at a quarter level.
std::vector<float> cabinet() {
    const auto& stored = torvane::embeddedTable("u87").values;
    std::vector<float> response(stored.begin(), stored.begin() + responseLength);
    for (float& tap : response) {
        tap *= 0.25f;
    }
    return response;
}

std::unique_ptr<nodara::Convolver> convolverFor(const std::vector<float>& response, size_t block) {
    std::shared_ptr<nodara::DSPContext> noContext;
    auto convolver = std::make_unique<nodara::Convolver>();
    convolver->init("bench", {{"MaxIRSize", std::to_string(responseLength)}}, noContext);
    convolver->setMaxBlockSize(static_cast<nodara::int32>(block));
    convolver->propertyChanged("ImpulseResponse", std::make_shared<std::vector<float>>(response));
    return convolver;
}

/// Largest |y − h∗x| over the largest |h∗x|, h∗x summed directly in double precision.
double errorOfPeak(nodara::Convolver& convolver, const std::vector<float>& response, size_t block) {
    const std::vector<float> x = noise(3 * responseLength, 3);
    double worst = 0.0;
    double peak = 0.0;
    std::vector<float*> inputs{nullptr};
    for (size_t at = 0; at < x.size(); at += block) {
        const size_t n = std::min(block, x.size() - at);
        inputs[0] = const_cast<float*>(x.data() + at);
        convolver.process(inputs, n);
        for (size_t i = 0; i < n; ++i) {
            const size_t t = at + i;
            double exact = 0.0;
            for (size_t k = 0; k < response.size() && k <= t; ++k) {
                exact += static_cast<double>(response[k]) * x[t - k];
            }
            peak = std::max(peak, std::fabs(exact));
            worst = std::max(worst, std::fabs(convolver.getOutput(0)[i] - exact));
        }
    }
    convolver.reset();
    return worst / peak;
}

void Convolver(benchmark::State& state) {
    const auto block = static_cast<size_t>(state.range(0));
    const std::vector<float> response = cabinet();
    auto convolver = convolverFor(response, block);
    state.counters["error_of_peak"] = errorOfPeak(*convolver, response, block);
    std::vector<float> input = noise(block, 2);
    std::vector<float*> inputs{input.data()};
    for (auto _ : state) {
        convolver->process(inputs, block);
        benchmark::DoNotOptimize(convolver->getOutput(0)[0]);
    }
    state.counters["ns_per_sample"] =
        benchmark::Counter(static_cast<double>(state.iterations() * block) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(Convolver)->Arg(1)->Arg(16)->Arg(64)->Arg(256)->Arg(1024)->Unit(benchmark::kMicrosecond);
