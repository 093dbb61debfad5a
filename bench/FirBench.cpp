// Finite filters per sample, and the designed polyphase pair by 4 per input sample, to set
// beside the recursive pair in FilterBench.cpp.
#include "dsp/fir/Fir.h"
#include "dsp/resampling/polyphase/ResamplingDecimator.h"
#include "dsp/resampling/polyphase/ResamplingUpsampler.h"
#include "runtime/DSPContext.h"

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

using nodara::scalar;
constexpr size_t block = 256;

std::vector<scalar> testBlock(size_t frames) {
    std::vector<scalar> values(frames);
    for (size_t i = 0; i < frames; ++i) {
        values[i] = 0.5f * std::sin(0.03f * static_cast<float>(i));
    }
    return values;
}

void FirPerSample(benchmark::State& state) {
    const auto taps = testBlock(static_cast<size_t>(state.range(0)));
    nodara::Fir fir;
    auto context = std::make_shared<nodara::DSPContext>();
    fir.init("fir", {}, context);
    fir.setCoefficients(taps.data(), taps.size());
    fir.setMaxBlockSize(block);
    const auto in = testBlock(block);
    std::vector<scalar> out(block);
    for (auto _ : state) {
        fir.process(in.data(), out.data(), block);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}
BENCHMARK(FirPerSample)->Arg(64)->Arg(256);

/// Up by 4 and down by 4 with the settings of examples/fir-oversampled-lookup.xml (192 taps
/// each, 80 dB, corner 18 kHz), per host sample at 48 kHz.
void PolyphaseBy4PerInputSample(benchmark::State& state) {
    auto context = std::make_shared<nodara::DSPContext>();
    const nodara::Properties design = {{"Factor", "4"},
                                       {"Order", "192"},
                                       {"Attenuation", "80"},
                                       {"AbsoluteCornerFrequency", "18000"}};
    nodara::ResamplingUpsampler up;
    nodara::ResamplingDecimator down;
    up.init("up", design, context);
    down.init("down", design, context);
    up.setMaxBlockSize(block);
    down.setMaxBlockSize(4 * block);
    up.setSampleRate(48000.0f);
    down.setSampleRate(4 * 48000.0f);
    auto in = testBlock(block);
    const std::vector<scalar*> inputs = {in.data()};
    std::vector<scalar*> high = {nullptr};
    for (auto _ : state) {
        up.process(inputs, block);
        high[0] = up.getOutput(0);
        down.process(high, 4 * block);
        benchmark::DoNotOptimize(down.getOutput(0));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block));
}
BENCHMARK(PolyphaseBy4PerInputSample);

} // namespace
